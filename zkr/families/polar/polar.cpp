// The exported functions of the polar family, defined from its table: argument checks, then the row
// kernel of the level in force over row bands.
#include <cstdint>
#include <type_traits>

#include "checks.h"
#include "elem_info.h"
#include "polar_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::polar {
namespace {

template <class Ts, class Td, Layout L, class A> ZkrStatus run(const A& a) {
    constexpr bool planes = requires { a.pDstIm; };
    Job job;
    if constexpr (planes) {
        if (const ZkrStatus s = checkPointers({a.pSrcMagn, a.pSrcPhase, a.pDstRe, a.pDstIm}); s != zkrStsNoErr) return s;
        job.re = a.pDstRe;
        job.im = a.pDstIm;
    } else {
        if (const ZkrStatus s = checkPointers({a.pSrcMagn, a.pSrcPhase, a.pDst}); s != zkrStsNoErr) return s;
        job.re = a.pDst;
    }
    if (const ZkrStatus s = checkSize(a.roiSize); s != zkrStsNoErr) return s;
    const std::int64_t w = a.roiSize.width;
    if (const ZkrStatus s = checkSteps({a.srcStep}, w * Pixel<Ts, L>::bytes, int(sizeof(Ts))); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSteps({a.dstStep}, w * Pixel<Td, L>::bytes, int(sizeof(typename ElemInfo<Td>::S)));
        s != zkrStsNoErr)
        return s;
    job.magn = a.pSrcMagn;
    job.phase = a.pSrcPhase;
    job.sStep = a.srcStep;
    job.dStep = a.dstStep;
    job.width = a.roiSize.width;
    if constexpr (requires { a.scaleFactor; }) job.scale = a.scaleFactor;
    const Kernels& k = kernels();
    constexpr int l = L == Layout::C1 ? 0 : (L == Layout::C3 ? 1 : (L == Layout::C4 ? 2 : 3));
    RowsFn fn;
    if constexpr (planes) fn = k.f32p2;
    else if constexpr (std::is_same_v<Ts, Zkr32f>) fn = k.f32[l];
    else fn = k.s16[l == 0 ? 0 : 1];
    forRowBands(w * a.roiSize.height, a.roiSize.height, [&](int y0, int y1) { fn(job, y0, y1); });
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::polar

#define ZKR_FN(name, form, Ts, Td, L)                                     \
    ZKR_DEFINE(name, form, Ts, Td) {                                      \
        ZKR_PACK(args, form, Ts, Td);                                     \
        return zkr::polar::run<Ts, Td, zkr::Layout::L>(args);             \
    }
#include "polar/polar.tbl"
#undef ZKR_FN
