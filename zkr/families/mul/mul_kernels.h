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

#include "elem_info.h"
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

// Operand shapes of a row loop (a, b: sources, d: destination, m: keep mask).
enum class Shape : int {
    Binary,         // d[i] = a[i] * b[i]
    InPlace,        // d[i] = a[i] * d[i]
    Scalar,         // d[i] = v * b[i]    v = *a
    ScalarInPlace,  // d[i] = v * d[i]
    BinaryMasked,   // d[i] = m[i] ? a[i] * b[i] : d[i]
    InPlaceMasked,  // d[i] = m[i] ? a[i] * d[i] : d[i]
    Count
};

template <int N> struct UintOfSize;
template <> struct UintOfSize<1> { using T = std::uint8_t; };
template <> struct UintOfSize<2> { using T = std::uint16_t; };
template <> struct UintOfSize<4> { using T = std::uint32_t; };
template <class S> using MaskOf = typename UintOfSize<int(sizeof(S))>::T;

// Longest repeating pattern, in components: a multiple of every pixel period
// (1, 2, 3, 4, 6, 8 components).
inline constexpr int kPatternMax = 1536;

struct EltJob {
    const void* a = nullptr;   // operand a (scalar shapes: the one value)
    std::ptrdiff_t aStep = 0;  // bytes between rows of a
    const void* b = nullptr;
    std::ptrdiff_t bStep = 0;
    void* d = nullptr;
    std::ptrdiff_t dStep = 0;
    const void* mask = nullptr;  // masked shapes: `chunk` components, nonzero = write
    int rowLen = 0;              // components per row
    int chunk = 0;               // length of a repeating a and mask
    bool aPeriodic = false;      // a holds `chunk` components that repeat along the row
    int scale = 0;               // integer scale factor of Kop::Mul
};

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
