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

// Component types of the real kernels.
enum class SType : int { U8, U16, S16, F32, Count };
// Component types of the complex kernels (16sc, 32sc, 32fc).
enum class CType : int { S16, S32, F32, Count };

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
    RowsFn elt[int(SType::Count)][int(Kop::Count)][int(Shape::Count)];
    // Complex products; a is a row (Binary, InPlace and the masked shapes) or
    // a periodic pattern of constants; the scalar shapes are not used (null).
    RowsFn cmul[int(CType::Count)][int(Shape::Count)];
    // Colour * own alpha / max, 8u and 16u: [type][C4 (alpha copied) or AC4 (alpha kept)].
    PixRowsFn premul[2][2];
    // Colour keying, 8u, 16u and 16s: [type][C1, C3, AC4].
    PixRowsFn colorKey[3][3];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

template <class S> struct ComponentType;
template <> struct ComponentType<Zkr8u>  { static constexpr SType id = SType::U8; };
template <> struct ComponentType<Zkr16u> { static constexpr SType id = SType::U16; };
template <> struct ComponentType<Zkr16s> { static constexpr SType id = SType::S16; };
template <> struct ComponentType<Zkr32f> { static constexpr SType id = SType::F32; };
template <class T> inline constexpr SType kSType = ComponentType<typename ElemInfo<T>::S>::id;

template <class S> struct ComplexType;
template <> struct ComplexType<Zkr16s> { static constexpr CType id = CType::S16; };
template <> struct ComplexType<Zkr32s> { static constexpr CType id = CType::S32; };
template <> struct ComplexType<Zkr32f> { static constexpr CType id = CType::F32; };
template <class T> inline constexpr CType kCType = ComplexType<typename ElemInfo<T>::S>::id;

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::mul
