// Interface between the column dot product's entry point (dotprodcol.cpp) and
// its kernel, compiled once per instruction-set level (dotprodcol_kernels.cpp).
#pragma once

#include "levels.h"
#include "zkrcore.h"

namespace zkr::dotprodcol {

// Columns [x0, x1) of pDst from the len rows.
using SpanFn = void (*)(const Zkr32f* const* rows, const Zkr32f* coef, int len, Zkr32f* dst, int x0, int x1);

struct Kernels {
    SpanFn span;
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::dotprodcol
