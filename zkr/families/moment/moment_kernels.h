// Interface between the Moment family's entry points (moment.cpp) and its row
// kernels, compiled once per instruction-set level (moment_kernels.cpp). A
// row kernel gives, per channel c and power k = 0..3, the row's sums
// sum over x of x^k I(x, c); the entry points weight them by the row's y
// powers.
#pragma once

#include <cstdint>

#include "elem_info.h"
#include "levels.h"

namespace zkr::moment {

inline constexpr int kOrders = 4;    // powers 0..3
inline constexpr int kChannels = 3;  // C1: 1, C3 and AC4: 3
inline constexpr int kSegment = 1024;  // integer rows are summed in segments of this many pixels

// Double sums (64f states) and exact sums (64s states) of one row.
using RowFnF = void (*)(const void* row, int width, double (&s)[kOrders][kChannels]);
using RowFnS = void (*)(const void* row, int width, __int128 (&s)[kOrders][kChannels]);

// [component type][period index: 0 for 1 channel, 1 for 3, 2 for 4 (AC4)]
struct Kernels {
    RowFnF rowF[kCompTypes][3];
    RowFnS rowS[kCompTypes][3];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::moment
