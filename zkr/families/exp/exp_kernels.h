// Interface between the Exp family's entry points (exp.cpp) and its kernels,
// compiled once per instruction-set level (exp_kernels.cpp): the unary shape of
// eltwise.h. Exp and Ln map each component to one component; the family has C1
// and C3 layouts only, so a row is a plain run of components (no alpha kernels).
#pragma once

#include "eltwise.h"
#include "levels.h"

namespace zkr::expln {

// Kop::Exp: e^x.  Kop::Ln: natural logarithm.
enum class Kop : int { Exp, Ln, Count };

// What a run of Ln met besides regular arguments (the rows are processed all the same).
enum Met : int { kMetZero = 1, kMetNegative = 2 };

using Kernels = UnaryKernels<int(Kop::Count)>;
ZKR_DECLARE_LEVEL_KERNELS(Kernels)

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::expln
