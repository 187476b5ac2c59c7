// Interface between the Threshold family's entry points (thresh.cpp) and its
// kernels, compiled once per instruction-set level (thresh_kernels.cpp).
//
// Every threshold function replaces a component x by a constant of its
// channel when x is below a lower threshold or above an upper one, so the
// kernels know three kinds of test (below, above, both; below and above
// again as max/min when the threshold is the replacement) and take the
// constants as values (one channel) or as patterns: the constants of each
// channel repeated over a block of kPattern components, a multiple of every
// pixel size, so that the block loop reads them in lockstep with the image.
#pragma once

#include <cstddef>
#include <cstdint>

#include "elem_info.h"
#include "levels.h"

namespace zkr::thresh {

// Component types the kernels are compiled for.

// Kind::Lo: x < tLo ? vLo : x.  Kind::Hi: x > tHi ? vHi : x.
// Kind::Both: x < tLo ? vLo : (x > tHi ? vHi : x), with tLo <= tHi.
// Kind::Max, Kind::Min: Lo and Hi where the threshold is its own replacement
// (vLo, vHi unused): the larger or smaller of x and the threshold, one
// max/min instruction per vector (a NaN x is kept, as by Lo and Hi).
enum class Kind : int { Lo, Hi, Both, Max, Min, Count };

// Shape::C1: constants by value. Shape::Cn: patterns (C3, C4).
// Shape::AC4: patterns; every fourth component (alpha) of the destination is kept.
enum class Shape : int { C1, Cn, AC4, Count };

// Components per pattern block: a multiple of 3 and 4 channels and of the
// 64 bytes of the widest vectors for every component size.
inline constexpr int kPattern = 192;

struct ThreshJob {
    const void* s = nullptr;  // source (in place: the destination)
    std::ptrdiff_t sStep = 0;
    void* d = nullptr;
    std::ptrdiff_t dStep = 0;
    int rowLen = 0;  // components per row (alpha included)
    // Lower and upper thresholds and their replacement values: one component
    // (Shape::C1) or kPattern components of the job's type.
    const void* tLo = nullptr;
    const void* vLo = nullptr;
    const void* tHi = nullptr;
    const void* vHi = nullptr;
};

// Runs rows [y0, y1) of the job.
using RowsFn = void (*)(const ThreshJob& job, int y0, int y1);

// Adds the histogram of rows [y0, y1) of an 8u image of `width` pixels to hist[256].
using HistFn = void (*)(const Zkr8u* src, std::ptrdiff_t step, int width, int y0, int y1, std::uint64_t* hist);

// kernels.rows[type][kind][shape][inPlace].
struct Kernels {
    RowsFn rows[kCompTypes][int(Kind::Count)][int(Shape::Count)][2];
    HistFn histogram;
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)


// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::thresh
