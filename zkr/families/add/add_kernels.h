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

// Kop::Add: a + b.   Kop::RevSub: b - a (the second operand minus the first).
enum class Kop : int { Add, RevSub, Count };

using RowsFn = void (*)(const EltJob& job, int y0, int y1);

struct Kernels {
    RowsFn elt[kCompTypes][int(Kop::Count)][int(Shape::Count)];
    RowsFn complement32s;  // d[i] = one's complement coded d[i] as two's complement
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::add
