// Interface between the Wiener family's entry points (wiener.cpp) and its kernels, compiled once
// per instruction-set level (wiener_kernels.cpp).
//
// A call runs in two passes over row bands: the statistics pass writes the local mean and variance
// of every component into the work buffer (and each row's sum of variances per channel, for the
// noise estimate); the filter pass reads them back with the source and writes the destination.
#pragma once

#include <cstddef>

#include "elem_info.h"
#include "levels.h"

namespace zkr::wiener {

struct WienerJob {
    const void* src = nullptr;  // first pixel of the source ROI (the border around it is read)
    std::ptrdiff_t srcStep = 0;
    void* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    int width = 0, height = 0;
    int channels = 1, active = 1;
    int maskW = 1, maskH = 1, anchorX = 0, anchorY = 0;
    double* mean = nullptr;      // width * channels per row, height rows
    double* variance = nullptr;  // likewise
    double* rowSums = nullptr;   // per row: the sum of the row's variances of each channel (4 a row)
    double noise[4] = {};        // per channel, for the filter pass
};

// False when a work buffer could not be allocated.
using WienerFn = bool (*)(const WienerJob& job, int y0, int y1);

struct Kernels {
    WienerFn stats[kCompTypes];
    WienerFn filter[kCompTypes];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

inline constexpr long kMaxMaskArea = 65536;

}  // namespace zkr::wiener
