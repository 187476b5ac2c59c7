// Interface between the Norm family's entry points (norm.cpp) and its
// reduction kernels, compiled once per instruction-set level
// (norm_kernels.cpp).
//
// A kernel reduces a band of rows to one ChunkOut: per channel the Inf
// (maximum), L1 (sum of magnitudes) or L2 (sum of squares) accumulation of the
// image or of the difference of two images, and for the relative norm the
// same accumulation of the second image. Rows are runs of components taken
// in kLanes independent lanes (a multiple of every pixel period, so lane k
// always holds channel k % period), folded into channels before a lane could
// lose exactness. The entry points split an image into chunks fixed by its
// size alone, so results do not depend on the thread split.
#pragma once

#include <cstddef>

#include "elem_info.h"
#include "levels.h"

namespace zkr::norm {

enum class Kind : int { Inf, L1, L2, Count };
// One: the image itself; Diff: src1 - src2; Rel: src1 - src2 and src2.
enum class Shape : int { One, Diff, Rel, Count };

inline constexpr int kLanes = 48;  // multiple of 1, 3 and 4
inline constexpr int kMaxChannels = 4;

struct NormJob {
    const void* a = nullptr;
    std::ptrdiff_t aStep = 0;
    const void* b = nullptr;
    std::ptrdiff_t bStep = 0;
    int rowLen = 0;  // components per row
    int period = 1;  // channels in memory per pixel (1, 3, 4)
};

// Per channel accumulations of one chunk: v of the image or the difference,
// ref of the second image (Rel only). Inf: maxima of magnitudes (NaN once a
// NaN was met); L1: sums of magnitudes; L2: sums of squares.
struct ChunkOut {
    double v[kMaxChannels];
    double ref[kMaxChannels];
};

using ChunkFn = void (*)(const NormJob& job, int y0, int y1, ChunkOut& out);

// fn[component type][kind][shape][fast]: fast selects the float lanes of the
// zkrAlgHintFast algorithm (float L1 and L2 only; else both entries agree).
struct Kernels {
    ChunkFn fn[kCompTypes][int(Kind::Count)][int(Shape::Count)][2];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::norm
