// The exported functions of the Div family, defined from its tables (div.tbl,
// div_round.tbl): each row packs its parameters and hands them to one generic
// entry point, which checks the arguments, describes the call as a DivJob (a
// constant becomes a repeating divisor pattern) and runs the kernels of the
// level in force over row bands.
#include <type_traits>

#include "div_kernels.h"
#include "form_args.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

// ZkrRoundMode and the rounding forms, for the generic entry point below.
#define ZKR_FN(...)
#include "div/div_round.tbl"
#undef ZKR_FN

namespace zkr::div {
namespace {

enum class Op { Div, DivC, DivRound };

// True when an element is zero (both parts for complex types).
template <class T> bool isZero(const T& v) {
    using S = typename ElemInfo<T>::S;
    const S* c = componentsOf(v);
    for (int k = 0; k < ElemInfo<T>::comps; ++k)
        if (c[k] != S(0)) return false;
    return true;
}

template <class T, Layout L> struct Pattern {
    using S = typename ElemInfo<T>::S;
    alignas(64) S v[kPatternMax];
};

// One entry point for every form of the tables, told apart by their parameters.
template <Op op, Layout L, class A> ZkrStatus run(const A& a) {
    constexpr bool constant = op == Op::DivC;
    using T = FormElem<A>;
    using S = typename ElemInfo<T>::S;
    constexpr int comps = ElemInfo<T>::comps;

    // Div computes src2 / src1 (in place pSrcDst / pSrc), DivC src / value.
    Operands<T> o;
    if (const ZkrStatus s = readOperands<L>(a, o); s != zkrStsNoErr) return s;
    constexpr bool inPlace = requires { a.pSrcDst; };
    DivJob j;
    j.divisor = o.a, j.divisorStep = o.aStep;
    j.dividend = o.b, j.dividendStep = o.bStep;
    j.dst = o.d, j.dstStep = o.dStep;

    Rnd rnd = Rnd::Near;
    if constexpr (op == Op::DivRound) {
        switch (a.rndMode) {
            case zkrRndZero: rnd = Rnd::Zero; break;
            case zkrRndNear: rnd = Rnd::Near; break;
            case zkrRndFinancial: rnd = Rnd::Financial; break;
            default: return zkrStsBadArgErr;
        }
    }

    j.rowLen = a.roiSize.width * Pixel<T, L>::period;
    j.scale = scaleOf(a);

    Pattern<T, L> pattern;
    if constexpr (constant) {
        for (int c = 0; c < kActive<L>; ++c)
            if (isZero(o.values[c])) return zkrStsBadArgErr;
        // The alpha channel's divisor is 1: its quotient is computed and dropped.
        j.chunk = j.rowLen < kPatternMax ? j.rowLen : kPatternMax;
        for (int i = 0; i < j.chunk; ++i) {
            const int channel = (i / comps) % kChannels<L>;
            pattern.v[i] = channel < kActive<L> ? componentsOf(o.values[channel])[i % comps]
                                                : S(i % comps == 0 ? 1 : 0);
        }
        j.divisor = pattern.v;
        j.periodic = true;
    }

    const RowsFn fn = kernels().rows[int(ElementType<T>::id)][int(rnd)][L == Layout::AC4][inPlace];
    const int zero = forRowBandsMet(std::int64_t(a.roiSize.width) * a.roiSize.height, a.roiSize.height,
                                    [&](int y0, int y1) { return fn(j, y0, y1); });
    return zero ? zkrStsDivByZero : zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::div

#define ZKR_FN(name, form, T, L, op)                                   \
    ZKR_DEFINE(name, form, T) {                                        \
        ZKR_PACK(args, form, T);                                       \
        return zkr::div::run<zkr::div::Op::op, zkr::Layout::L>(args);  \
    }
#include "div/div.tbl"
#include "div/div_round.tbl"
#undef ZKR_FN
