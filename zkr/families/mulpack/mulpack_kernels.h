// Interface between the packed-spectrum family's entry points (mulpack.cpp)
// and its kernels, compiled once per instruction-set level (mulpack_kernels.cpp).
//
// A job is one call: up to two sources and a destination with their row
// steps in bytes, the ROI and the scale factor. The kernels work on row bands
// [y0, y1): the products and the unpacking read and write whole bands, and
// the real-valued columns of a packed spectrum (rows 2j - 1 and 2j pair up)
// are done by the band holding the pair's first row.
#pragma once

#include <cstddef>

#include "levels.h"

namespace zkr::mulpack {

struct Job {
    const void* a = nullptr;
    std::ptrdiff_t aStep = 0;
    const void* b = nullptr;  // MulPack: the second operand (the destination in place)
    std::ptrdiff_t bStep = 0;
    void* d = nullptr;
    std::ptrdiff_t dStep = 0;
    int width = 0, height = 0;
    int scale = 0;
};

using RowsFn = void (*)(const Job& job, int y0, int y1);

// Component types: 32f, 32s, 16s.
inline constexpr int kTypes = 3;
// Layouts: C1, C3, C4, AC4.
inline constexpr int kLayouts = 4;

struct Kernels {
    // [type][conjugate second operand][in place: b and d the same image][layout]
    RowsFn mulPack[kTypes][2][2][kLayouts];
    RowsFn magnitudePack[kTypes][kLayouts];
    RowsFn phasePack[kTypes][kLayouts];
    RowsFn magnitude[kTypes][kLayouts];  // complex elements of the type's components
    RowsFn phase[kTypes][kLayouts];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::mulpack
