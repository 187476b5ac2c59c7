// Interface between the Border family's entry points (border.cpp) and its
// kernels, compiled once per instruction-set level (border_kernels.cpp).
//
// Copying with borders only moves pixels, so the kernels see a pixel as a
// unit of bytes: whole pixels of 1 to 16 bytes, or AC4 pixels whose fourth
// component stays untouched. One kernel writes a band of destination rows:
// the copied source row and its left and right borders, or a border row.
#pragma once

#include <cstddef>

#include "levels.h"
#include "zkrcore.h"

namespace zkr::border {

enum class PixKind : int {
    B1, B2, B3, B4, B6, B8, B12, B16,  // whole pixels of that many bytes
    A1, A2, A4,                        // AC4 pixels of 1-, 2- or 4-byte components: three are written
    Count
};

constexpr PixKind kindOf(int compBytes, int channels, bool alpha) {
    if (alpha) return compBytes == 1 ? PixKind::A1 : (compBytes == 2 ? PixKind::A2 : PixKind::A4);
    switch (compBytes * channels) {
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

enum class Kind : int { Replicate, Const, Wrap };

struct Job {
    const void* src = nullptr;  // the source ROI's first pixel
    std::ptrdiff_t srcStep = 0;
    int srcWidth = 0, srcHeight = 0;
    void* dst = nullptr;  // the destination's first pixel (its top-left border corner)
    std::ptrdiff_t dstStep = 0;
    int dstWidth = 0;
    int top = 0, left = 0;
    Kind kind = Kind::Replicate;
    bool inPlace = false;              // the source is the destination's interior: its rows stay
    alignas(16) unsigned char value[16] = {};  // one pixel of the border value (Const)
};

// Destination rows [y0, y1).
using BandFn = void (*)(const Job& job, int y0, int y1);

struct Kernels {
    BandFn band[int(PixKind::Count)];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::border
