// Interface between the Sqr family's entry points (sqr.cpp) and its element-wise kernels, compiled
// once per instruction-set level (sqr_kernels.cpp): the unary shape of eltwise.h, one row kernel per
// component type, operation, alpha and in-place form (null for Abs of unsigned types).
#pragma once

#include "eltwise.h"
#include "levels.h"

namespace zkr::sqr {

// Kop::Sqr: x * x.  Kop::Sqrt: square root.  Kop::Abs: |x|.
enum class Kop : int { Sqr, Sqrt, Abs, Count };

// The rows of Sqrt return kNegative when a processed source component was negative.
inline constexpr int kNegative = 1;

using Kernels = UnaryKernels<int(Kop::Count)>;
ZKR_DECLARE_LEVEL_KERNELS(Kernels)

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::sqr
