// Interface between the window family's entry points (win.cpp) and its
// kernels, compiled once per instruction-set level (win_kernels.cpp).
//
// The entry point computes the window's factors once per call in double
// precision: along the rows (wx, W values) and the columns (wy, H values) for
// the separable windows, the squared normalised coordinates (tx^2, ty^2) for
// the radial ones. A row kernel multiplies one band of rows.
#pragma once

#include <cstddef>

#include "levels.h"

namespace zkr::win {

enum class Win : int { Bartlett, Hamming, Count };

struct Job {
    const void* s = nullptr;
    std::ptrdiff_t sStep = 0;
    void* d = nullptr;
    std::ptrdiff_t dStep = 0;
    int width = 0;
    const double* fx = nullptr;  // separable: the row window; radial: tx^2
    const double* fy = nullptr;  // separable: the column window; radial: ty^2
};

using RowsFn = void (*)(const Job& job, int y0, int y1);

// Component types: 8u, 16u, 32f.
struct Kernels {
    RowsFn separable[3];
    RowsFn radial[3][int(Win::Count)];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::win
