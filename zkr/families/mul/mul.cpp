// The exported functions of the multiplication family, defined from its two
// tables: each row packs its parameters and hands them to one generic entry
// point, which checks the arguments (pointers, then size, then steps),
// describes the call as a job and runs the kernels of the level in force over
// row bands.
#include <type_traits>

#include "checks.h"
#include "form_args.h"
#include "mul_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::mul {
namespace {

enum class Op { Mul, MulC, MulScale, MulCScale, AlphaPremul, AlphaPremulC, CompColorKey };

constexpr Kop kopOf(Op op) { return op == Op::Mul || op == Op::MulC ? Kop::Mul : Kop::MulScale; }

template <class Job, class Fn> void runJob(const Job& j, Fn fn, int width, int height) {
    forRowBands(std::int64_t(width) * height, height, [&](int y0, int y1) { fn(j, y0, y1); });
}

template <class T> inline constexpr bool kComplex = ElemInfo<T>::comps == 2;

// Completes `j` (operands set) and runs it. `values`: the constant of the C
// forms, kActive<L> elements, else nullptr.
template <class T, Layout L>
ZkrStatus execute(EltJob j, Kop op, bool inPlace, const T* values, ZkriSize roi) {
    EltPattern<typename ElemInfo<T>::S> pattern;
    const Shape shape = prepareElt<T, L>(j, inPlace, values, roi, pattern);
    RowsFn fn;
    if constexpr (kComplex<T>) fn = kernels().cmul[kComp<T>][int(shape)];
    else fn = kernels().elt[kComp<T>][int(op)][int(shape)];
    runJob(j, fn, roi.width, roi.height);
    return zkrStsNoErr;
}

// Colour * own alpha / max, 8u and 16u, C4 or AC4; unary and unary_i forms.
template <Layout L, class A> ZkrStatus premultiply(const A& a) {
    using T = FormElem<A>;
    Operands<T> o;
    if (const ZkrStatus s = readOperands<L>(a, o); s != zkrStsNoErr) return s;
    PixJob j;
    j.s = o.rhs(), j.sStep = o.rhsStep();
    j.d = o.d, j.dStep = o.dStep;
    j.width = a.roiSize.width;
    const int typeIndex = std::is_same_v<T, Zkr8u> ? 0 : 1;
    runJob(j, kernels().premul[typeIndex][L == Layout::AC4 ? 1 : 0], a.roiSize.width, a.roiSize.height);
    return zkrStsNoErr;
}

// pSrc2's pixel where pSrc1's colour equals the key, else pSrc1's.
template <Layout L, class A> ZkrStatus colorKey(const A& a) {
    using T = std::remove_pointer_t<decltype(a.pDst)>;
    const T* key = elementsOf(a.colorKey);
    const ZkrStatus s = checkArgs({a.pSrc1, a.pSrc2, a.pDst, key}, a.roiSize, {a.src1Step, a.src2Step, a.dstStep},
                                  Pixel<T, L>::bytes, int(sizeof(T)));
    if (s != zkrStsNoErr) return s;
    PixJob j;
    j.s = a.pSrc1, j.sStep = a.src1Step;
    j.s2 = a.pSrc2, j.s2Step = a.src2Step;
    j.d = a.pDst, j.dStep = a.dstStep;
    j.width = a.roiSize.width;
    j.key = key;
    const int typeIndex = std::is_same_v<T, Zkr8u> ? 0 : (std::is_same_v<T, Zkr16u> ? 1 : 2);
    const int layoutIndex = L == Layout::C1 ? 0 : (L == Layout::C3 ? 1 : 2);
    runJob(j, kernels().colorKey[typeIndex][layoutIndex], a.roiSize.width, a.roiSize.height);
    return zkrStsNoErr;
}

// One entry point for every form of the tables; the form is told by the
// parameters it has.
template <Op op, Layout L, class A> ZkrStatus run(const A& a) {
    if constexpr (op == Op::AlphaPremul) {
        return premultiply<L>(a);
    } else if constexpr (op == Op::CompColorKey) {
        return colorKey<L>(a);
    } else if constexpr (op == Op::AlphaPremulC) {
        // Every computed channel times alpha / max: MulCScale with alpha as the constant of each channel.
        using T = FormElem<A>;
        Operands<T> o;
        if (const ZkrStatus s = readOperands<L>(a, o); s != zkrStsNoErr) return s;
        const T alphas[4] = {a.alpha, a.alpha, a.alpha, a.alpha};
        EltJob j;
        setOperands(j, o);
        return execute<T, L>(j, Kop::MulScale, o.inPlace, alphas, a.roiSize);
    } else {
        using T = FormElem<A>;
        Operands<T> o;
        if (const ZkrStatus s = readOperands<L>(a, o); s != zkrStsNoErr) return s;
        EltJob j;
        setOperands(j, o);
        j.scale = scaleOf(a);
        return execute<T, L>(j, kopOf(op), o.inPlace, o.values, a.roiSize);
    }
}

}  // namespace
}  // namespace zkr::mul

#define ZKR_FN(name, form, T, L, op)                                   \
    ZKR_DEFINE(name, form, T) {                                        \
        ZKR_PACK(args, form, T);                                       \
        return zkr::mul::run<zkr::mul::Op::op, zkr::Layout::L>(args);  \
    }
#include "mul/mul.tbl"
#include "mul/alphapremul_ys.tbl"
#undef ZKR_FN
