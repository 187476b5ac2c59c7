// The exported column dot product, defined from its table: checks, then the
// kernel of the level in force over column spans of the worker pool (each
// column is computed alone, so the split does not change the result).
#include <cstdint>

#include "checks.h"
#include "dotprodcol_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::dotprodcol {
namespace {

template <class A> ZkrStatus run(const A& a) {
    if (!a.ppSrcRow || !a.pCoef || !a.pDst) return zkrStsNullPtrErr;
    if (a.len < 1 || a.width < 1) return zkrStsSizeErr;
    for (int k = 0; k < a.len; ++k)
        if (!a.ppSrcRow[k]) return zkrStsNullPtrErr;
    const SpanFn fn = kernels().span;
    // Spans of 256 columns are the bands.
    const int spans = (a.width + 255) / 256;
    forRowBands(std::int64_t(a.width) * a.len, spans, [&](int s0, int s1) {
        fn(a.ppSrcRow, a.pCoef, a.len, a.pDst, s0 * 256, s1 * 256 < a.width ? s1 * 256 : a.width);
    });
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::dotprodcol

#define ZKR_FN(name, form, T)                     \
    ZKR_DEFINE(name, form, T) {                   \
        ZKR_PACK(args, form, T);                  \
        return zkr::dotprodcol::run(args);        \
    }
#include "dotprodcol/dotprodcol.tbl"
#undef ZKR_FN
