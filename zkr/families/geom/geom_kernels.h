// Interface between the geometric family's entry points (geom.cpp) and its
// kernels, compiled once per instruction-set level (geom_kernels.cpp).
//
// Transpose and Mirror only move pixels, so their kernels see a pixel as a
// unit of bytes (PixKind): whole pixels of 1 to 16 bytes, or AC4 pixels whose
// fourth component must stay untouched. The entry points walk the rows and
// tiles (and split them over threads); the kernels move one row or one tile.
#pragma once

#include <cstddef>

#include "levels.h"
#include "zkrcore.h"

namespace zkr::geom {

// How a kernel moves one pixel.
enum class PixKind : int {
    B1, B2, B3, B4, B6, B8, B12, B16,  // whole pixels of that many bytes
    A1, A2, A4,                        // AC4 pixels of 1-, 2- or 4-byte components: three are moved
    Count
};

// Whole pixels of `bytes` bytes, or AC4 pixels of `compBytes` components.
constexpr PixKind wholeKind(int bytes) {
    switch (bytes) {
        case 1: return PixKind::B1;
        case 2: return PixKind::B2;
        case 3: return PixKind::B3;
        case 4: return PixKind::B4;
        case 6: return PixKind::B6;
        case 8: return PixKind::B8;
        case 12: return PixKind::B12;
        default: return PixKind::B16;
    }
}
constexpr PixKind alphaKind(int compBytes) {
    return compBytes == 1 ? PixKind::A1 : (compBytes == 2 ? PixKind::A2 : PixKind::A4);
}

// n pixels from s to d, in order (copy) or last first (reverse); d and s do not overlap.
using RowFn = void (*)(unsigned char* __restrict d, const unsigned char* __restrict s, int n);

// The w x h pixel block at s (rows sStep bytes apart) into the h x w block at d: d's row x is
// s's column x. Whole pixels only; the blocks do not overlap.
using TileFn = void (*)(const unsigned char* s, std::ptrdiff_t sStep, unsigned char* d, std::ptrdiff_t dStep,
                        int w, int h);

// Element types and layouts of ImageRamp.
enum class RampType : int { U8, S8, U16, S16, S32, F32, Count };
enum class RampLayout : int { C1, C3, C4, AC4, Count };

struct RampJob {
    void* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    int width = 0;
    double offset = 0.0;
    double slope = 0.0;
    int axis = 0;  // ZkriAxis
};

// Rows [y0, y1) of the ramp.
using RampFn = void (*)(const RampJob& job, int y0, int y1);

struct Kernels {
    RowFn copy[int(PixKind::Count)];
    RowFn reverse[int(PixKind::Count)];
    TileFn tile[int(PixKind::A1)];
    RampFn ramp[int(RampType::Count)][int(RampLayout::Count)];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::geom
