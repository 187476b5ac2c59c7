// Interface between the FilterBox family's entry points (filterbox.cpp) and
// its neighbourhood kernels, compiled once per instruction-set level
// (filterbox_kernels.cpp).
//
// A call is described as a FilterJob: the source pointer is the first pixel
// of the ROI and the kernels read the border around it that the mask and the
// anchor ask for. A kernel computes the destination rows [y0, y1) and may be
// run on disjoint row bands at once: every band keeps its own work buffers.
#pragma once

#include <cstddef>

#include "elem_info.h"
#include "levels.h"

namespace zkr::filterbox {

// Element types the kernels are compiled for.
enum class FType : int { U8, U16, S16, F32, Count };

enum class Fop : int { Box, Max, Min, Median, Count };

struct FilterJob {
    const void* src = nullptr;  // first pixel of the source ROI
    std::ptrdiff_t srcStep = 0;
    void* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    int width = 0, height = 0;     // ROI in pixels
    int channels = 1;              // channels in memory (1, 3, 4)
    int active = 1;                // channels computed and written (AC4: 3)
    int maskW = 1, maskH = 1;      // mask size
    int anchorX = 0, anchorY = 0;  // anchor inside the mask
    // In place (Box only): the destination is the source. Source rows other bands write are read
    // from copies: origRows[r + anchorY] is the copy of row r (pointing at the ROI's first column),
    // or null where the image row itself is read.
    bool inPlace = false;
    const void* const* origRows = nullptr;
};

// False when a work buffer could not be allocated (nothing is known of the band's rows then).
using FilterFn = bool (*)(const FilterJob& job, int y0, int y1);

struct Kernels {
    FilterFn filter[int(FType::Count)][int(Fop::Count)];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

template <class T> struct FilterType;
template <> struct FilterType<Zkr8u>  { static constexpr FType id = FType::U8; };
template <> struct FilterType<Zkr16u> { static constexpr FType id = FType::U16; };
template <> struct FilterType<Zkr16s> { static constexpr FType id = FType::S16; };
template <> struct FilterType<Zkr32f> { static constexpr FType id = FType::F32; };

// Largest mask (in elements) the functions accept: integer window sums stay
// below 2^32 and the median histograms' counts fit their counters.
inline constexpr long kMaxMaskArea = 65536;

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::filterbox
