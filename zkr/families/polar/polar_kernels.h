// Interface between the polar family's entry points (polar.cpp) and its row
// kernels, compiled once per instruction-set level (polar_kernels.cpp).
#pragma once

#include <cstddef>

#include "levels.h"

namespace zkr::polar {

struct Job {
    const void* magn = nullptr;
    const void* phase = nullptr;
    std::ptrdiff_t sStep = 0;
    void* re = nullptr;  // interleaved destinations: re points at the complex image, im is null
    void* im = nullptr;
    std::ptrdiff_t dStep = 0;
    int width = 0;  // in pixels
    int scale = 0;
};

using RowsFn = void (*)(const Job& job, int y0, int y1);

struct Kernels {
    RowsFn f32[4];   // 32f to 32fc: C1, C3, C4, AC4
    RowsFn f32p2;    // 32f to two planes, C1
    RowsFn s16[2];   // 16s to 16sc, scaled: C1, C3
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::polar
