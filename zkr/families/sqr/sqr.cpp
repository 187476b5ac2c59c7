// The exported functions of the Sqr family, defined from its table: each row packs its parameters
// and hands them to the unary entry point of eltwise.h with the family's kernels of the level in
// force. Sqrt reports zkrStsSqrtNegArg after processing the whole image when any processed source
// component was negative.
#include "sqr_kernels.h"
#include "zkr_call.hpp"

namespace zkr::sqr {
namespace {

template <Kop op, Layout L, class A> ZkrStatus run(const A& a) {
    int met = 0;
    if (const ZkrStatus s = runUnary<L>(kernels(), int(op), a, met); s != zkrStsNoErr) return s;
    return met & kNegative ? zkrStsSqrtNegArg : zkrStsNoErr;
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
