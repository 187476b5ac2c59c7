// Interface between the Sqr family's entry points (sqr.cpp) and its
// element-wise kernels, compiled once per instruction-set level
// (sqr_kernels.cpp).
//
// Every function of the family maps each component to one component, so the
// kernels see a row as a run of components; the AC4 layout skips every fourth
// component (alpha), which the kernels know from the row loop they are given.
#pragma once

#include <cstddef>

#include "elem_info.h"
#include "levels.h"

namespace zkr::sqr {

// Component types the kernels are compiled for.
enum class SType : int { U8, U16, S16, F32, Count };

// Kop::Sqr: x * x.  Kop::Sqrt: square root.  Kop::Abs: |x|.
enum class Kop : int { Sqr, Sqrt, Abs, Count };

struct UnaryJob {
    const void* s = nullptr;  // source (in place: the destination)
    std::ptrdiff_t sStep = 0;
    void* d = nullptr;
    std::ptrdiff_t dStep = 0;
    int rowLen = 0;  // components per row (alpha included)
    int scale = 0;   // integer scale factor: result * 2^-scale
};

// Runs rows [y0, y1) of the job; returns true when a source component was
// negative (Sqrt only: the rows are processed all the same).
using RowsFn = bool (*)(const UnaryJob& job, int y0, int y1);

// kernels.rows[type][op][alpha][inPlace]; null where the family has no such
// function (Abs of unsigned types).
struct Kernels {
    RowsFn rows[int(SType::Count)][int(Kop::Count)][2][2];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

template <class S> struct ComponentType;
template <> struct ComponentType<Zkr8u>  { static constexpr SType id = SType::U8; };
template <> struct ComponentType<Zkr16u> { static constexpr SType id = SType::U16; };
template <> struct ComponentType<Zkr16s> { static constexpr SType id = SType::S16; };
template <> struct ComponentType<Zkr32f> { static constexpr SType id = SType::F32; };
template <class T> inline constexpr SType kSType = ComponentType<typename ElemInfo<T>::S>::id;

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::sqr
