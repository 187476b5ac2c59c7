// Compiled once per instruction-set level (ZKR_LEVEL_NS): the column dot
// product. Columns go in blocks of 256 held in a double accumulator in L1;
// each row adds coef[k] * row[x] over the block (a contiguous loop of
// conversions, multiplies and adds), then the block is rounded to float. No
// multiply-add is contracted, so every level gives the same bits.
#pragma GCC optimize("fp-contract=off")

#include "dotprodcol_kernels.h"
#include "rows.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::dotprodcol::ZKR_LEVEL_NS {

constexpr int kBlock = 256;

ZKR_NOINLINE void addScaled(const Zkr32f* __restrict row, double c, double* __restrict acc, int n) {
    for (int i = 0; i < n; ++i) acc[i] += c * double(row[i]);
}

void span(const Zkr32f* const* rows, const Zkr32f* coef, int len, Zkr32f* dst, int x0, int x1) {
    double acc[kBlock];
    for (int b = x0; b < x1; b += kBlock) {
        const int n = x1 - b < kBlock ? x1 - b : kBlock;
        for (int i = 0; i < n; ++i) acc[i] = 0.0;
        for (int k = 0; k < len; ++k) addScaled(rows[k] + b, double(coef[k]), acc, n);
        for (int i = 0; i < n; ++i) dst[b + i] = Zkr32f(acc[i]);
    }
}

constinit const Kernels kernels = {&span};

}  // namespace zkr::dotprodcol::ZKR_LEVEL_NS
