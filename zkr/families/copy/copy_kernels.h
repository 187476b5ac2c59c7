// Interface between the Copy family's entry points (copy.cpp) and its kernels,
// compiled once per instruction-set level (copy_kernels.cpp).
//
// Copies do not look at values, so the kernels know elements only by their
// size (1, 2 or 4 bytes); the entry points describe a call as a CopyJob
// of element strides and channel counts. A kernel writes the destination rows
// [y0, y1) and may run on disjoint row bands at once.
#pragma once

#include <cstddef>
#include <cstdint>

#include "levels.h"

namespace zkr::copy {

// Element sizes the kernels are compiled for: index 0, 1, 2 for 1, 2, 4 bytes.
inline constexpr int kSizes = 3;
constexpr int sizeIndex(int bytes) { return bytes == 1 ? 0 : bytes == 2 ? 1 : 2; }

struct CopyJob {
    const void* src = nullptr;  // first element to read (interleaved)
    std::ptrdiff_t srcStep = 0;
    void* dst = nullptr;  // first element to write (interleaved)
    std::ptrdiff_t dstStep = 0;
    const void* const* srcPlanes = nullptr;  // planar source: `count` planes, srcStep apart rows
    void* const* dstPlanes = nullptr;        // planar destination
    const std::uint8_t* mask = nullptr;      // masked forms: one element per pixel, nonzero = write
    std::ptrdiff_t maskStep = 0;
    int width = 0, height = 0;  // pixels
    int srcPeriod = 1;          // elements between two pixels of the source
    int dstPeriod = 1;          // elements between two pixels of the destination
    int count = 1;              // channels moved per pixel
    int order[4] = {0, 1, 2, 3};                // Swap: source channel of destination channel k, -1: `value`
    alignas(16) unsigned char value[4 * 8] = {};  // Set: `count` elements; Swap: one element
    bool nonTemporal = false;                   // Bytes: streaming stores
    bool floatData = false;                     // Unpack: conjugates negate floats, not integers
    int channels = 1;                           // Pack/Unpack: interleaved channels of a spectrum
};

using RowsFn = void (*)(const CopyJob& job, int y0, int y1);

// Median of the 8u window (Median of TimiCopyP): the job's src is the first
// ROI pixel, rows are srcStep apart; border as the mask and anchor ask.
struct MedianJob {
    const std::uint8_t* src = nullptr;
    std::ptrdiff_t srcStep = 0;
    std::uint8_t* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    int width = 0, height = 0;
    int maskW = 1, maskH = 1, anchorX = 0, anchorY = 0;
};
// False when a work buffer could not be allocated.
using MedianFn = bool (*)(const MedianJob& job, int y0, int y1);

struct Kernels {
    RowsFn bytes;              // width * srcPeriod elements of size 1 per row (entry points give bytes)
    RowsFn strided[kSizes];    // d[x*dP + c] = s[x*sP + c], c < count
    RowsFn masked[kSizes];     // the same where mask[x] != 0
    RowsFn fill[kSizes];       // d[x*dP + c] = value[c]
    RowsFn fillMasked[kSizes]; // the same where mask[x] != 0
    RowsFn merge[kSizes];      // d[x*count + c] = plane c [x]
    RowsFn split[kSizes];      // plane c [x] = s[x*count + c]
    RowsFn planar[kSizes];     // plane c -> plane c
    RowsFn swap[kSizes];       // d[x*dP + k] = s[x*sP + order[k]] (or value), k < count; in place allowed
    RowsFn dup[kSizes];        // d[x*dP + k] = s[x*sP], k < count
    RowsFn unpack;             // packed spectrum of 4-byte components to the complex image
    RowsFn pack;               // complex image of 4-byte components to the packed spectrum
    MedianFn median;
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

// Largest mask (elements) Median accepts: the running histogram counts fit their counters.
inline constexpr long kMaxMaskArea = 65536;

}  // namespace zkr::copy
