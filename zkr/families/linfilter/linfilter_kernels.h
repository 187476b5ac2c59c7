// Interface between the linear filter family's entry points (linfilter.cpp) and its kernels,
// compiled once per instruction-set level (linfilter_kernels.cpp).
//
// A call is described as a FilterJob: the source pointer is the first pixel of the ROI, and the
// kernels read the source at the offsets of the job's taps around each destination pixel (the
// border the caller supplies). A kernel computes the destination rows [y0, y1) and may run on
// disjoint row bands at once: every band keeps its own work buffers.
#pragma once

#include <cstddef>
#include <cstdint>

#include "levels.h"
#include "zkrcore.h"

namespace zkr::linfilter {

// The element types and the sum's type of a linear path: source, destination, accumulator.
// I32: fixed integer kernels (exact), F32: single-precision sums, F64: double sums (exact for
// integer kernels, rounded by the mode).
enum class Path : int { U8_I32, U16_I32, S16_I32, U8S16_I32, S16F32_F32, F32_F32, U8_F64, U16_F64, S16_F64, F64_F64, Count };

// Element types of the median kernels; the colour median adds 32f.
enum class MType : int { U8, U16, S16, F32, Count };

// Median sizes the kernels have networks for: 3, 5 and 9 elements.
enum class MSize : int { N3, N5, N9, Count };

inline constexpr int kMaxTaps = 65536;

struct FilterJob {
    const void* src = nullptr;  // first pixel of the source ROI
    std::ptrdiff_t srcStep = 0;
    void* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    int width = 0, height = 0;  // destination ROI in pixels
    int channels = 1;           // channels in memory (1, 3, 4)
    int active = 1;             // channels computed and written (AC4: 3)
    // Taps: offsets (pixels) from the destination pixel and, for the linear paths, weights of the
    // path's accumulator type. Medians take the taps as their window, the colour median the
    // square window in row order.
    int taps = 0;
    const int* dx = nullptr;
    const int* dy = nullptr;
    const void* weights = nullptr;
    // Linear paths into integers: the sum is divided by `divisor` (when not 1) and rounded by
    // `round` (ZkrRoundMode), then saturated; 32f destinations divide without rounding.
    int divisor = 1;
    int round = zkrRndNear;
    // Separable integer kernels (the taps above unused): a row pass of `rowTaps` taps (column offsets
    // rdx, weights rw) over every source row the window reaches, then a column pass over
    // `colTaps` consecutive rows starting colTop rows from the destination row, weights cw (some
    // may be 0). Weights are 32-bit integers.
    int rowTaps = 0;
    const int* rdx = nullptr;
    const std::int32_t* rw = nullptr;
    int colTaps = 0;
    int colTop = 0;
    const std::int32_t* cw = nullptr;
    // Decimation: the factor and the source ROI it reads.
    int factor = 1;
};

// False when a work buffer could not be allocated.
using FilterFn = bool (*)(const FilterJob& job, int y0, int y1);

struct Kernels {
    FilterFn linear[int(Path::Count)];
    FilterFn separable[int(Path::Count)];  // the 32-bit integer paths only
    FilterFn median[int(MType::Count)][int(MSize::Count)];
    FilterFn colour[int(MType::Count)];
    FilterFn decimateRow;     // 8u
    FilterFn decimateColumn;  // 8u
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::linfilter
