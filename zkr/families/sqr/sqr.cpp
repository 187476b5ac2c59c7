// The exported functions of the Sqr family, defined from its table: each row
// packs its parameters and hands them to one generic entry point, which checks
// the arguments, describes the call as a UnaryJob and runs the kernel of the
// level in force over row bands.
#include <type_traits>

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
    using T = FormElem<A>;
    Operands<T> o;
    if (const ZkrStatus s = readOperands<L>(a, o); s != zkrStsNoErr) return s;
    UnaryJob j;
    j.s = o.rhs(), j.sStep = o.rhsStep();
    j.d = o.d, j.dStep = o.dStep;
    j.rowLen = a.roiSize.width * Pixel<T, L>::period;
    j.scale = scaleOf(a);

    const RowsFn fn = kernels().rows[int(kSType<T>)][int(op)][L == Layout::AC4][inPlace];
    const int negative = forRowBandsMet(std::int64_t(a.roiSize.width) * a.roiSize.height, a.roiSize.height,
                                        [&](int y0, int y1) { return fn(j, y0, y1); });
    return negative ? zkrStsSqrtNegArg : zkrStsNoErr;
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
