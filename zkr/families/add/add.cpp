// The exported functions of the Add family, defined from its table: each row
// packs its parameters and hands them to the one generic entry point, which
// checks the arguments, describes the call as an EltJob (patterns for
// constants, keep masks for alpha) and runs the kernels of the level in force.
#include <type_traits>

#include "add_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::add {
namespace {

enum class Op { Add, Sub, AddC, SubC, Complement };

// Add and AddC compute a + b; Sub computes src2 - src1 and SubC src - value,
// which the kernels get as RevSub(src1, src2) and RevSub(value, src).
constexpr Kop kopOf(Op op) { return op == Op::Add || op == Op::AddC ? Kop::Add : Kop::RevSub; }

// Jobs below the splitting threshold run at once on the calling thread,
// without asking the pool (this is most calls, and the fixed cost counts).
void runJob(const EltJob& j, RowsFn fn, int width, int height) {
    const std::int64_t pixels = std::int64_t(width) * height;
    if (pixels < kMinParallelPixels) return fn(j, 0, height);
    forRowBands(pixels, height, [&](int y0, int y1) { fn(j, y0, y1); });
}

// Completes `j` (operands set) and runs it. `values`: the constant of AddC/SubC
// (kActive<L> elements), else nullptr.
template <class T, Layout L>
ZkrStatus execute(EltJob& j, Kop op, bool inPlace, const T* values, ZkriSize roi) {
    EltPattern<typename ElemInfo<T>::S> pattern;
    const Shape shape = prepareElt<T, L>(j, inPlace, values, roi, pattern);
    runJob(j, kernels().elt[kComp<T>][int(op)][int(shape)], roi.width, roi.height);
    return zkrStsNoErr;
}

// One entry point for every form of the table; the form is told by the
// parameters it has.
template <Op op, Layout L, class A> ZkrStatus run(const A& a) {
    if constexpr (op == Op::Complement) {
        Operands<FormElem<A>> o;
        if (const ZkrStatus s = readOperands<L>(a, o); s != zkrStsNoErr) return s;
        EltJob j;
        setOperands(j, o);
        j.rowLen = a.roiSize.width;
        runJob(j, kernels().complement32s, a.roiSize.width, a.roiSize.height);
        return zkrStsNoErr;
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
}  // namespace zkr::add

#define ZKR_FN(name, form, T, L, op)                             \
    ZKR_DEFINE(name, form, T) {                                  \
        ZKR_PACK(args, form, T);                                 \
        return zkr::add::run<zkr::add::Op::op, zkr::Layout::L>(args); \
    }
#include "add/add.tbl"
#undef ZKR_FN
