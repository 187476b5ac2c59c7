// The exported functions of the Exp family, defined from its tables (exp.tbl,
// lni.tbl): each row packs its parameters and hands them to one generic entry
// point, which checks the arguments, describes the call as a UnaryJob (eltwise.h) and runs
// the kernel of the level in force over row bands.
#include "exp_kernels.h"
#include "zkr_call.hpp"

namespace zkr::expln {
namespace {

// One entry point for every form of the tables: in place when the form has pSrcDst. Ln reports
// zkrStsLnNegArg when a source value was negative, else zkrStsLnZeroArg when one was zero, after
// processing the whole image.
template <Kop op, Layout L, class A> ZkrStatus run(const A& a) {
    int m = 0;
    if (const ZkrStatus s = runUnary<L>(kernels(), int(op), a, m); s != zkrStsNoErr) return s;
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
