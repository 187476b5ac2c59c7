// The exported hinted narrowing scalings of the Convert family, defined from
// scale_hint.tbl: checks (pointers, size, steps, then the hint), then the row
// kernel of the level in force for the source type, the algorithm and the
// layout, over row bands of the worker pool.
#include <type_traits>

#include "enum_arg.h"
#include "checks.h"
#include "scale_hint_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::convert::scalehint {
namespace {

template <Layout L, class A> ZkrStatus run(const A& a) {
    using S = std::remove_const_t<std::remove_pointer_t<decltype(a.pSrc)>>;
    using D = std::remove_pointer_t<decltype(a.pDst)>;
    if (const ZkrStatus s = checkPointers({a.pSrc, a.pDst}); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(a.roiSize); s != zkrStsNoErr) return s;
    const std::int64_t w = a.roiSize.width;
    if (const ZkrStatus s = checkSteps({a.srcStep}, w * Pixel<S, L>::bytes, int(sizeof(S))); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSteps({a.dstStep}, w * Pixel<D, L>::bytes, int(sizeof(D))); s != zkrStsNoErr) return s;
    const int hint = zkr::enumArg(a.hint);
    if (hint != zkrAlgHintNone && hint != zkrAlgHintFast && hint != zkrAlgHintAccurate) return zkrStsHintErr;
    ScaleJob j;
    j.s = a.pSrc, j.sStep = a.srcStep;
    j.d = a.pDst, j.dStep = a.dstStep;
    j.rowLen = a.roiSize.width * kChannels<L>;
    const RowsFn fn = kernels().fn[kComp<S>][hint == zkrAlgHintFast ? 1 : 0][L == Layout::AC4 ? 1 : 0];
    forRowBands(w * a.roiSize.height, a.roiSize.height, [&](int y0, int y1) { fn(j, y0, y1); });
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::convert::scalehint

#define ZKR_FN(name, form, Ts, Td, L)                                           \
    ZKR_DEFINE(name, form, Ts, Td) {                                            \
        ZKR_PACK(args, form, Ts, Td);                                           \
        return zkr::convert::scalehint::run<zkr::Layout::L>(args);              \
    }
#include "convert/scale_hint.tbl"
#undef ZKR_FN
