// The exported functions of the Exp family, defined from its tables (exp.tbl,
// lni.tbl): each row packs its parameters and hands them to one generic entry
// point, which checks the arguments, describes the call as a UnaryJob and runs
// the kernel of the level in force over row bands.
#include <atomic>
#include <type_traits>

#include "checks.h"
#include "exp_kernels.h"
#include "form_args.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::expln {
namespace {

// One entry point for every form of the tables: in place when the form has pSrcDst. Ln reports
// zkrStsLnNegArg when a source value was negative, else zkrStsLnZeroArg when one was zero, after
// processing the whole image.
template <Kop op, Layout L, class A> ZkrStatus run(const A& a) {
    constexpr bool inPlace = requires { a.pSrcDst; };
    using T = std::remove_pointer_t<decltype([&] {
        if constexpr (inPlace) return a.pSrcDst;
        else return a.pDst;
    }())>;
    constexpr int px = Pixel<T, L>::bytes, cb = int(sizeof(T));

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

    const RowsFn fn = kernels().rows[int(ComponentType<T>::id)][int(op)][inPlace];
    std::atomic<int> met{0};
    forRowBands(std::int64_t(a.roiSize.width) * a.roiSize.height, a.roiSize.height, [&](int y0, int y1) {
        if (const int m = fn(j, y0, y1); m != 0) met.fetch_or(m, std::memory_order_relaxed);
    });
    const int m = met.load(std::memory_order_relaxed);
    if (m & kMetNegative) return zkrStsLnNegArg;
    if (m & kMetZero) return zkrStsLnZeroArg;
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::expln

#define ZKR_FN(name, form, T, L, op)                                           \
    ZKR_DEFINE(name, form, T) {                                                \
        ZKR_PACK(args, form, T);                                               \
        return zkr::expln::run<zkr::expln::Kop::op, zkr::Layout::L>(args);     \
    }
#include "exp/exp.tbl"
#include "exp/lni.tbl"
#undef ZKR_FN
