// Interface between the Rand family's entry points (rand.cpp) and its row
// kernels, compiled once per instruction-set level (rand_kernels.cpp).
//
// The noise of component k of the image is a function of (key, k) alone: a
// 64-bit mix of key + k (uniform) or of key + 3k, key + 3k + 1, key + 3k + 2
// (Gauss: twelve 16-bit uniforms), so that any row band computes the same
// values as a whole-image pass.
#pragma once

#include <cstddef>
#include <cstdint>

#include "elem_info.h"
#include "levels.h"

namespace zkr::rand {

struct RandJob {
    void* p = nullptr;
    std::ptrdiff_t step = 0;
    int rowLen = 0;        // components per row (alpha included)
    std::uint64_t key = 0;  // from the seed
    float a = 0, b = 0;     // uniform: low, high - low; Gauss: mean, stdDev
};

using RowsFn = void (*)(const RandJob& job, int y0, int y1);

// fn[component type][gauss][alpha (AC4)]
struct Kernels {
    RowsFn fn[kCompTypes][2][2];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

// The 64-bit finaliser both the kernels and the seed update use.
inline constexpr std::uint64_t mix64(std::uint64_t z) {
    z += 0x9E3779B97F4A7C15ull;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

}  // namespace zkr::rand
