// The exported functions of the Sqr family, defined from its table: each row
// packs its parameters and hands them to one generic entry point, which checks
// the arguments, describes the call as a UnaryJob and runs the kernel of the
// level in force over row bands.
#include <atomic>
#include <type_traits>

#include "checks.h"
#include "form_args.h"
#include "sqr_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::sqr {
namespace {

// One entry point for every form of the table: in place when the form has
// pSrcDst. Sqrt reports zkrStsSqrtNegArg after processing the whole image
// when any processed source component was negative.
template <Kop op, Layout L, class A> ZkrStatus run(const A& a) {
    constexpr bool inPlace = requires { a.pSrcDst; };
    using T = std::remove_pointer_t<decltype([&] {
        if constexpr (inPlace) return a.pSrcDst;
        else return a.pDst;
    }())>;
    using S = typename ElemInfo<T>::S;
    constexpr int px = Pixel<T, L>::bytes, cb = int(sizeof(S));

    UnaryJob j;
    if constexpr (inPlace) {
        if (const ZkrStatus s = checkArgs({a.pSrcDst}, a.roiSize, {a.srcDstStep}, px, cb); s != zkrStsNoErr) return s;
        j.s = j.d = a.pSrcDst;
        j.sStep = j.dStep = a.srcDstStep;
    } else {
        if (const ZkrStatus s = checkArgs({a.pSrc, a.pDst}, a.roiSize, {a.srcStep, a.dstStep}, px, cb);
            s != zkrStsNoErr)
            return s;
        j.s = a.pSrc, j.sStep = a.srcStep;
        j.d = a.pDst, j.dStep = a.dstStep;
    }
    j.rowLen = a.roiSize.width * Pixel<T, L>::period;
    j.scale = scaleOf(a);

    const RowsFn fn = kernels().rows[int(kSType<T>)][int(op)][L == Layout::AC4][inPlace];
    std::atomic<bool> negative{false};
    forRowBands(std::int64_t(a.roiSize.width) * a.roiSize.height, a.roiSize.height, [&](int y0, int y1) {
        if (fn(j, y0, y1)) negative.store(true, std::memory_order_relaxed);
    });
    return negative.load(std::memory_order_relaxed) ? zkrStsSqrtNegArg : zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::sqr

#define ZKR_FN(name, form, T, L, op)                                        \
    ZKR_DEFINE(name, form, T) {                                             \
        ZKR_PACK(args, form, T);                                            \
        return zkr::sqr::run<zkr::sqr::Kop::op, zkr::Layout::L>(args);      \
    }
#include "sqr/sqr.tbl"
#undef ZKR_FN
