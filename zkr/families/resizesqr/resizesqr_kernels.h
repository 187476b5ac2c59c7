// Interface between the separable resamplers' entry points (resizesqr.cpp) and their kernels,
// compiled once per instruction-set level (resizesqr_kernels.cpp).
//
// Every function of the family is separable: destination coordinate j of one axis reads `taps`
// source coordinates with weights, built by the entry points from the mode, factor, shift and ROI
// of the axis. The kernels combine the source rows of a destination row into one float row
// (vertical pass, a straight loop over the row per tap), then sample that row per destination
// pixel (horizontal pass).
#pragma once

#include <cstddef>

#include "levels.h"
#include "zkrcore.h"

namespace zkr::resizesqr {

enum class EType : int { U8, U16, S16, F32, Count };
// Interleaved layouts the kernels know: C1 also serves each plane.
enum class Lay : int { C1, C3, C4, AC4, Count };

// One axis: destination coordinate j reads source coordinates idx[j * taps + k] (relative to the
// first source pixel the job points at) with weights w[j * taps + k]; a weight may be zero (a
// padding tap). The entry points own the arrays.
struct AxisMap {
    int count = 0;
    int taps = 1;
    const int* idx = nullptr;
    const float* w = nullptr;
};

struct Job {
    const void* src = nullptr;  // the first source pixel the maps count from
    std::ptrdiff_t srcStep = 0;
    int srcLen = 0;             // components in one source row the vertical pass reads
    void* dst = nullptr;        // the first destination pixel written
    std::ptrdiff_t dstStep = 0;
    const AxisMap* x = nullptr;
    const AxisMap* y = nullptr;
};

// Destination rows [y0, y1); `row` holds srcLen floats of scratch.
using BandFn = void (*)(const Job& job, float* row, int y0, int y1);

struct Kernels {
    BandFn band[int(EType::Count)][int(Lay::Count)];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

template <class T> struct ETypeOf;
template <> struct ETypeOf<Zkr8u> { static constexpr EType id = EType::U8; };
template <> struct ETypeOf<Zkr16u> { static constexpr EType id = EType::U16; };
template <> struct ETypeOf<Zkr16s> { static constexpr EType id = EType::S16; };
template <> struct ETypeOf<Zkr32f> { static constexpr EType id = EType::F32; };

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::resizesqr
