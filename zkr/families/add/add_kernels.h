// Interface between the Add family's entry points (add.cpp, and the vector
// forms of libzkrs) and its element-wise kernels, compiled once per
// instruction-set level (add_kernels.cpp).
//
// Every operation of the Add family is element-wise over the scalar
// components of a row: complex types are pairs of components, multi-channel
// pixels are runs of components. The kernels therefore only know the component
// type, and the entry points describe a call as an EltJob.
#pragma once

#include <cstddef>
#include <cstdint>

#include "elem_info.h"
#include "levels.h"

namespace zkr::add {

// Component types the kernels are compiled for.
enum class SType : int { U8, U16, S16, S32, F32, Count };

// Kop::Add: a + b.   Kop::RevSub: b - a (the second operand minus the first).
enum class Kop : int { Add, RevSub, Count };

// Operand shapes of a row loop (a, b: sources, d: destination, m: keep mask).
enum class Shape : int {
    Binary,         // d[i] = op(a[i], b[i])
    InPlace,        // d[i] = op(a[i], d[i])
    Scalar,         // d[i] = op(v, b[i])    v = *a
    ScalarInPlace,  // d[i] = op(v, d[i])
    BinaryMasked,   // d[i] = m[i] ? op(a[i], b[i]) : d[i]
    InPlaceMasked,  // d[i] = m[i] ? op(a[i], d[i]) : d[i]
    Count
};

// Keep masks of the masked shapes use the unsigned type of the component's size.
template <int N> struct UintOfSize;
template <> struct UintOfSize<1> { using T = std::uint8_t; };
template <> struct UintOfSize<2> { using T = std::uint16_t; };
template <> struct UintOfSize<4> { using T = std::uint32_t; };
template <class S> using MaskOf = typename UintOfSize<int(sizeof(S))>::T;

// Longest repeating pattern (constants of multi-channel pixels, alpha masks),
// in components: a multiple of every pixel period (1, 2, 3, 4, 6, 8 components).
inline constexpr int kPatternMax = 1536;

struct EltJob {
    const void* a = nullptr;   // operand a (scalar shapes: the one value)
    std::ptrdiff_t aStep = 0;  // bytes between rows of a (0: same row for every row)
    const void* b = nullptr;
    std::ptrdiff_t bStep = 0;
    void* d = nullptr;
    std::ptrdiff_t dStep = 0;
    const void* mask = nullptr;  // masked shapes: `chunk` mask components, nonzero = write
    int rowLen = 0;              // components per row
    int chunk = 0;               // length of the repeating a and mask (a multiple of the pixel period)
    bool aPeriodic = false;      // a holds `chunk` components that repeat along the row
    int scale = 0;               // integer scale factor: result * 2^-scale
};

using RowsFn = void (*)(const EltJob& job, int y0, int y1);

struct Kernels {
    RowsFn elt[int(SType::Count)][int(Kop::Count)][int(Shape::Count)];
    RowsFn complement32s;  // d[i] = one's complement coded d[i] as two's complement
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

// Component type of an element type.
template <class S> struct ComponentType;
template <> struct ComponentType<Zkr8u>  { static constexpr SType id = SType::U8; };
template <> struct ComponentType<Zkr16u> { static constexpr SType id = SType::U16; };
template <> struct ComponentType<Zkr16s> { static constexpr SType id = SType::S16; };
template <> struct ComponentType<Zkr32s> { static constexpr SType id = SType::S32; };
template <> struct ComponentType<Zkr32f> { static constexpr SType id = SType::F32; };
template <class T> inline constexpr SType kSType = ComponentType<typename ElemInfo<T>::S>::id;

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::add
