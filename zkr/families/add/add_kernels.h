// Interface between the Add family's entry points (add.cpp, and the vector
// forms of libzkrs) and its element-wise kernels, compiled once per
// instruction-set level (add_kernels.cpp).
//
// Every operation of the Add family is element-wise over the scalar
// components of a row (eltwise.h): the kernels only know the component type,
// and the entry points describe a call as an EltJob.
#pragma once

#include "eltwise.h"
#include "levels.h"

namespace zkr::add {

// Component types the kernels are compiled for.
enum class SType : int { U8, U16, S16, S32, F32, Count };

// Kop::Add: a + b.   Kop::RevSub: b - a (the second operand minus the first).
enum class Kop : int { Add, RevSub, Count };

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
