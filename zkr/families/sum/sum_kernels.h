// Interface between the Sum family's entry points (sum.cpp) and its
// reduction kernels, compiled once per instruction-set level
// (sum_kernels.cpp).
//
// A kernel reduces a band of rows to one ChunkOut. Rows are runs of
// components; the kernels accumulate them in kLanes independent lanes (a
// multiple of every pixel period, so lane k always holds channel k % period)
// and fold the lanes into channels once per row. The entry points split an
// image into a fixed number of chunks whatever the thread count, so results
// do not depend on the thread split.
#pragma once

#include <cstddef>
#include <cstdint>

#include "elem_info.h"
#include "levels.h"

namespace zkr::sum {


// What a kernel computes. Extremes: which of min and max, with or without
// the first position of each.
enum class Red : int { Sum, SumFast, Min, Max, MinMax, MinIndx, MaxIndx, Quality, Count };

inline constexpr int kLanes = 48;  // multiple of 1, 3 and 4
inline constexpr int kMaxChannels = 4;

struct RedJob {
    const void* s = nullptr;
    std::ptrdiff_t sStep = 0;
    const void* s2 = nullptr;  // Quality: the second image
    std::ptrdiff_t s2Step = 0;
    int rowLen = 0;  // components per row
    int period = 1;  // channels in memory per pixel (1, 3, 4)
};

// Per channel results of one chunk of rows. Sums of integer images are exact
// in double (they stay far below 2^53).
struct ChunkOut {
    double sum[kMaxChannels];                  // Sum
    double min[kMaxChannels], max[kMaxChannels];  // extremes
    int minX[kMaxChannels], minY[kMaxChannels];   // first position of the minimum
    int maxX[kMaxChannels], maxY[kMaxChannels];
    double sx[kMaxChannels], sy[kMaxChannels];    // Quality: sums of x, y, x^2, y^2, x*y
    double sxx[kMaxChannels], syy[kMaxChannels], sxy[kMaxChannels];
};

using ChunkFn = void (*)(const RedJob& job, int y0, int y1, ChunkOut& out);

struct Kernels {
    ChunkFn fn[kCompTypes][int(Red::Count)];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)


inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::sum
