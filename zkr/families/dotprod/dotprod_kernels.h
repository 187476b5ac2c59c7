// Interface between the DotProd family's entry points (dotprod.cpp) and its
// reduction kernels, compiled once per instruction-set level
// (dotprod_kernels.cpp). A kernel sums the products of a band of rows of two
// images into one ChunkOut per channel; rows are runs of components taken in
// kLanes independent lanes (lane k holds channel k % period), folded into the
// double channel sums before a lane could lose exactness. The entry points
// split an image into chunks fixed by its size alone, so results do not depend
// on the thread split.
#pragma once

#include <cstddef>

#include "levels.h"
#include "zkrcore.h"

namespace zkr::dotprod {

// The element types of the family (32u has no entry in the shared component index).
enum class Elem : int { U8, S8, U16, S16, U32, S32, F32, Count };

inline constexpr int kLanes = 48;  // multiple of 1, 3 and 4
inline constexpr int kMaxChannels = 4;

struct DotJob {
    const void* a = nullptr;
    std::ptrdiff_t aStep = 0;
    const void* b = nullptr;
    std::ptrdiff_t bStep = 0;
    int rowLen = 0;  // components per row
    int period = 1;  // channels in memory per pixel (1, 3, 4)
};

struct ChunkOut {
    double sum[kMaxChannels];
};

using ChunkFn = void (*)(const DotJob& job, int y0, int y1, ChunkOut& out);

struct Kernels {
    ChunkFn fn[int(Elem::Count)];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::dotprod
