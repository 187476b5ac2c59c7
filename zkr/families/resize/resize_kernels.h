// Interface between the Resize family's entry points (resize.cpp) and its
// kernels, compiled once per instruction-set level (resize_kernels.cpp).
//
// Every mode is separable: a destination coordinate on one axis reads `taps`
// source coordinates with weights. The entry points turn the mode, factor and
// ROI of each axis into an AxisMap; the kernels first combine the source rows
// of a destination row into one float row (vertical pass), then sample that
// row per destination column (horizontal pass). Both passes work in the
// difference form  v = p[0] + sum_k w[k] * (p[k] - p[0]), so a constant image
// reproduces the source value exactly; float values that are not finite are
// handled apart (the kernels' careful pass), and an axis whose taps beyond the
// base all weigh zero (factor one) has one tap, so it copies.
#pragma once

#include <cstddef>

#include "levels.h"
#include "zkrcore.h"

namespace zkr::resize {

// Element types the kernels are compiled for.
enum class EType : int { U8, U16, S16, F32, Count };

// One axis: for destination coordinate j, source coordinates idx[j * taps + k]
// (already clamped into the ROI, relative to its origin) with weights
// w[j * taps + k]; w[j * taps] is the base tap's weight (never zero), which
// only the plain weighted sums of the careful float pass read.
// The entry points own the arrays; the kernels (compiled with other code
// generation flags) see plain pointers only.
struct AxisMap {
    int count = 0;
    int taps = 1;
    const int* idx = nullptr;
    const float* w = nullptr;
};

// Interleaved channels of one pass of the horizontal sampler: components
// `offset`, `offset + stride`, ... of the float row, written to the same
// positions of the destination row.
struct Lane {
    const AxisMap* x = nullptr;
    int stride = 1;
    int offset = 0;
};

struct Job {
    const void* src = nullptr;  // the source ROI's first pixel
    std::ptrdiff_t srcStep = 0;
    void* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    int srcLen = 0;             // components in one source ROI row
    const AxisMap* y = nullptr;
    Lane lanes[4];              // horizontal passes: one per processed channel
    int numLanes = 0;
    bool nearest = false;       // one tap per axis: copy, no arithmetic
};

// Destination rows [y0, y1); `row` holds srcLen floats of scratch.
using BandFn = void (*)(const Job& job, float* row, int y0, int y1);

struct Kernels {
    BandFn band[int(EType::Count)];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

template <class T> struct ETypeOf;
template <> struct ETypeOf<Zkr8u> { static constexpr EType id = EType::U8; };
template <> struct ETypeOf<Zkr16u> { static constexpr EType id = EType::U16; };
template <> struct ETypeOf<Zkr16s> { static constexpr EType id = EType::S16; };
template <> struct ETypeOf<Zkr32f> { static constexpr EType id = EType::F32; };

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::resize
