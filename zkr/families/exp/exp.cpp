// The exported functions of the Exp family, defined from its tables (exp.tbl,
// lni.tbl): each row packs its parameters and hands them to one generic entry
// point, which checks the arguments, describes the call as a UnaryJob and runs
// the kernel of the level in force over row bands.
#include <type_traits>

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
    using T = FormElem<A>;
    Operands<T> o;
    if (const ZkrStatus s = readOperands<L>(a, o); s != zkrStsNoErr) return s;
    UnaryJob j;
    j.s = o.rhs(), j.sStep = o.rhsStep();
    j.d = o.d, j.dStep = o.dStep;
    j.rowLen = a.roiSize.width * Pixel<T, L>::period;
    j.scale = scaleOf(a);

    const RowsFn fn = kernels().rows[int(ComponentType<T>::id)][int(op)][inPlace];
    const int m = forRowBandsMet(std::int64_t(a.roiSize.width) * a.roiSize.height, a.roiSize.height,
                                 [&](int y0, int y1) { return fn(j, y0, y1); });
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
