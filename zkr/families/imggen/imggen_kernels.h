// Interface between the entry points of the image generation family
// (imggen.cpp) and its kernels, compiled once per instruction-set level
// (imggen_kernels.cpp). Every kernel computes the destination rows [y0, y1)
// and may run on disjoint row bands at once.
#pragma once

#include <cstddef>

#include "elem_info.h"
#include "levels.h"

namespace zkr::imggen {

// Channel layouts as kernel indices.
enum class LIdx : int { C1, C3, C4, AC4, Count };
// Destination types of the Jaehne pattern.
enum class GType : int { U8, S8, U16, S16, S32, F32, Count };

// A comparison of 32f images: against a second image, or (s2 null) against
// one constant per channel.
struct CmpJob {
    const Zkr32f* s1 = nullptr;
    std::ptrdiff_t s1Step = 0;  // bytes
    const Zkr32f* s2 = nullptr;
    std::ptrdiff_t s2Step = 0;
    Zkr32f value[4] = {0, 0, 0, 0};
    Zkr8u* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    int width = 0;
    Zkr32f eps = 0;
};

// The Jaehne pattern: sin(A + B) with A = cx^2 k taken from per-column
// tables (sinA, cosA) and B = cy^2 k computed once per row.
struct JaehneJob {
    void* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    int width = 0;
    const double* sinA = nullptr;
    const double* cosA = nullptr;
    double k = 0;       // 2 pi / (4 h)
    double cy0 = 0;     // (h - 1) / 2
    double magn = 0, offset = 0;
};

struct DeintJob {
    const Zkr8u* src = nullptr;
    std::ptrdiff_t srcStep = 0;
    Zkr8u* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    int width = 0, height = 0;
    int threshold = 0;
};

using CmpFn = void (*)(const CmpJob& job, int y0, int y1);
using JaehneFn = void (*)(const JaehneJob& job, int y0, int y1);
using DeintFn = void (*)(const DeintJob& job, int y0, int y1);

struct Kernels {
    CmpFn cmp[int(LIdx::Count)];
    CmpFn cmpC[int(LIdx::Count)];
    JaehneFn jaehne[int(GType::Count)][int(LIdx::Count)];
    DeintFn deinterlace;
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

template <class T> struct GenType;
template <> struct GenType<Zkr8u>  { static constexpr GType id = GType::U8; };
template <> struct GenType<Zkr8s>  { static constexpr GType id = GType::S8; };
template <> struct GenType<Zkr16u> { static constexpr GType id = GType::U16; };
template <> struct GenType<Zkr16s> { static constexpr GType id = GType::S16; };
template <> struct GenType<Zkr32s> { static constexpr GType id = GType::S32; };
template <> struct GenType<Zkr32f> { static constexpr GType id = GType::F32; };

constexpr LIdx layoutIndex(Layout l) {
    return l == Layout::C1 ? LIdx::C1 : l == Layout::C3 ? LIdx::C3 : l == Layout::C4 ? LIdx::C4 : LIdx::AC4;
}

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::imggen
