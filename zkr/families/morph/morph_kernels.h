// Interface between the Morph family's entry points (morph.cpp) and its kernels, compiled once per
// instruction-set level (morph_kernels.cpp).
//
// A mask is described by its runs: the set places of one mask row that follow each other. Mask
// rows with the same runs form a group; a group's rows are combined first (column extreme over the
// group's rows), then its runs along the row (extremes over power-of-two spans, two spans a run).
// A w x h rectangle is one group of h rows and one run: h + log2(w) + 1 steps a component,
// whatever its area.
#pragma once

#include <cstddef>

#include "elem_info.h"
#include "levels.h"

namespace zkr::morph {

enum class Mop : int { Erode, Dilate, Count };

struct Run {
    int start, length;  // mask columns [start, start + length)
};

struct Group {
    const int* rows;  // mask rows of the group
    int numRows;
    const Run* runs;
    int numRuns;
};

struct MorphJob {
    const void* src = nullptr;  // first pixel of the source ROI (the border around it is read)
    std::ptrdiff_t srcStep = 0;
    void* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    int width = 0, height = 0;
    int channels = 1, active = 1;
    int maskW = 1, maskH = 1, anchorX = 0, anchorY = 0;
    const Group* groups = nullptr;
    int numGroups = 0;
    int weight = 1;  // centre weight of the weighted median
};

// False when a work buffer could not be allocated.
using MorphFn = bool (*)(const MorphJob& job, int y0, int y1);

struct Kernels {
    MorphFn morph[kCompTypes][int(Mop::Count)];
    MorphFn weightedMedian;  // 8u, one channel, 3x3
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

inline constexpr long kMaxMaskArea = 65536;

}  // namespace zkr::morph
