// Interface between the SSIM entry point (ssim.cpp) and its kernel, compiled
// once per instruction-set level (ssim_kernels.cpp): the exact integer sums of
// one band of 8-row block rows.
#pragma once

#include <cstddef>
#include <cstdint>

#include "levels.h"

namespace zkr::ssim {

inline constexpr int kBlock = 8;

struct SsimJob {
    const std::uint8_t* a = nullptr;
    std::ptrdiff_t aStep = 0;
    const std::uint8_t* b = nullptr;
    std::ptrdiff_t bStep = 0;
    int width = 0, height = 0;
};

// Sums the SSIM of the blocks of block rows [r0, r1), each weighted by its pixels.
using BandFn = double (*)(const SsimJob& job, int r0, int r1);

struct Kernels {
    BandFn band;
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::ssim
