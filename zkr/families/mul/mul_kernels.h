// Interface between the multiplication family's entry points (mul.cpp) and its
// kernels, compiled once per instruction-set level (mul_kernels.cpp).
//
// Real products are element-wise over the scalar components of a row, like
// the Add family's kernels: a call is an EltJob over components, constants of
// multi-channel pixels are a repeating pattern and AC4 a repeating keep mask.
// Complex products pair the components of each element; premultiplying by a
// pixel's own alpha and colour keying look at whole pixels (PixJob).
#pragma once

#include <cstddef>
#include <cstdint>

#include "eltwise.h"
#include "levels.h"

namespace zkr::mul {

// Kop::Mul: a * b, integers scaled by 2^-scale with rounding half to even and
// saturation. Kop::MulScale: a * b / max (8u 255, 16u 65535, 16s 32767,
// 32f 1), rounded to nearest and saturated.
enum class Kop : int { Mul, MulScale, Count };

// Whole pixels: s (and s2) sources, d destination (s == d in place), width in
// pixels, key: the colour key's components.
struct PixJob {
    const void* s = nullptr;
    std::ptrdiff_t sStep = 0;
    const void* s2 = nullptr;
    std::ptrdiff_t s2Step = 0;
    void* d = nullptr;
    std::ptrdiff_t dStep = 0;
    int width = 0;
    const void* key = nullptr;
};

using RowsFn = void (*)(const EltJob& job, int y0, int y1);
using PixRowsFn = void (*)(const PixJob& job, int y0, int y1);

struct Kernels {
    RowsFn elt[kCompTypes][int(Kop::Count)][int(Shape::Count)];
    // Complex products, by the component type of 16sc, 32sc and 32fc; a is a row (Binary, InPlace and the masked shapes) or
    // a periodic pattern of constants; the scalar shapes are not used (null).
    RowsFn cmul[kCompTypes][int(Shape::Count)];
    // Colour * own alpha / max, 8u and 16u: [type][C4 (alpha copied) or AC4 (alpha kept)].
    PixRowsFn premul[2][2];
    // Colour keying, 8u, 16u and 16s: [type][C1, C3, AC4].
    PixRowsFn colorKey[3][3];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)


inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::mul
