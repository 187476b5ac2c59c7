// Interface between the Convert family's entry points (convert.cpp) and its
// row kernels, compiled once per instruction-set level (convert_kernels.cpp).
//
// Every function of the family maps each source component to the component
// at the same place in the destination, so a kernel sees a row as a run of
// components; AC4 rows skip every fourth component (alpha). What a kernel does
// to one component is fixed by its kind and types at compile time, the
// constants it needs (shifts, rounding biases, thresholds, factors) come in
// the job.
#pragma once

#include <cstddef>
#include <cstdint>

#include "elem_info.h"
#include "levels.h"

namespace zkr::convert {

// Rounding of float values (the library's ZkrRoundMode, in the same order).
enum class Rnd : int { Zero, Near, Financial, Count };

struct CvtJob {
    const void* s = nullptr;
    std::ptrdiff_t sStep = 0;
    void* d = nullptr;
    std::ptrdiff_t dStep = 0;
    int rowLen = 0;  // components per row (alpha included)

    // Integer scaling up (scale factor <= 0): x * mul, saturated beyond [loT, hiT].
    std::int64_t mul = 1, loT = 0, hiT = 0;
    // Integer scaling down (scale factor > 0): (x + bias + (x < 0 ? negBias : 0)
    // + ((x >> shift) & oddMask)) >> shift rounds x / 2^shift by the job's mode.
    int shift = 0;
    std::int64_t bias = 0, negBias = 0, oddMask = 0;
    // Float to integer: x * fmul before rounding.
    float fmul = 1.0f;
    // Linear maps: to float d = offset + (x - tmin) * factor; from float the
    // source is clamped to [vMin, vMax] and d = (x - vMin) * factor + tmin.
    float offset = 0.0f, factor = 1.0f, vMin = 0.0f, vMax = 0.0f, tmin = 0.0f;
};

using RowsFn = void (*)(const CvtJob& job, int y0, int y1);

inline constexpr int kTypes = kCompTypes;

// Null where the family has no such function.
struct Kernels {
    RowsFn exact[kTypes][kTypes][2];                 // [src][dst][alpha]: widening, exact
    RowsFn intUp[kTypes][kTypes][2];                 // integer, scale factor <= 0
    RowsFn intDown[kTypes][kTypes][2];               // integer, scale factor > 0
    RowsFn fromFloat[kTypes][int(Rnd::Count)][2];    // [dst][mode][alpha]
    RowsFn mapToFloat[kTypes][2];                    // [src][alpha]
    RowsFn mapFromFloat[kTypes][2];                  // [dst][alpha]
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::convert
