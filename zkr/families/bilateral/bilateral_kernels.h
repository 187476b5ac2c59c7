// Interface between the Bilateral family's entry points (bilateral.cpp) and its kernels, compiled
// once per instruction-set level (bilateral_kernels.cpp). The entry point computes the weight
// tables once a call; the kernels filter the destination rows [y0, y1) and may run on disjoint
// bands at once.
#pragma once

#include <cstddef>

#include "levels.h"
#include "zkrcore.h"

namespace zkr::bilateral {

inline constexpr int kMaxRadius = 64;

struct BilateralJob {
    const Zkr8u* src = nullptr;  // first pixel of the source ROI
    std::ptrdiff_t srcStep = 0;
    Zkr8u* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    int width = 0, height = 0;
    int radius = 1;
    const float* spatial = nullptr;  // (2r + 1)^2 weights, row by row
    const float* range = nullptr;    // 256 weights by absolute difference
};

using BilateralFn = bool (*)(const BilateralJob& job, int y0, int y1);

struct Kernels {
    BilateralFn rows;
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::bilateral
