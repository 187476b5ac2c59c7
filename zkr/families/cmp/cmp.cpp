// The exported functions of the Cmp family, defined from its table: each row
// packs its parameters and hands them to one generic entry point, which
// checks the arguments, describes the call as a CmpJob and runs the kernel of
// the level in force over row bands.
#include <cstdint>
#include <type_traits>

#include "checks.h"
#include "cmp_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

// The family's declarations and its comparison operations.
#define ZKR_TABLE "cmp/cmp.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkr::cmp {
namespace {

constexpr int periodOf(Lay l) { return l == Lay::C1 ? 1 : (l == Lay::C3 ? 3 : 4); }
constexpr int activeOf(Lay l) { return l == Lay::C1 ? 1 : (l == Lay::C4 ? 4 : 3); }

bool knownOp(int op) { return op >= zkrCmpLess && op <= zkrCmpGreater; }

template <Lay L, class A> ZkrStatus run(const A& a) {
    constexpr bool twoImages = requires { a.pSrc2; };
    using T = std::remove_cv_t<std::remove_pointer_t<decltype([&] {
        if constexpr (twoImages) return a.pSrc1;
        else return a.pSrc;
    }())>>;
    constexpr int srcPixel = periodOf(L) * int(sizeof(T));

    CmpJob j;
    j.d = a.pDst;
    j.dStep = a.dstStep;
    j.width = a.roiSize.width;
    const int op = int(a.cmpOp);
    RowsFn fn = nullptr;
    T values[4] = {};
    if constexpr (twoImages) {
        if (const ZkrStatus s = checkPointers({a.pSrc1, a.pSrc2, a.pDst}); s != zkrStsNoErr) return s;
        if (const ZkrStatus s = checkSize(a.roiSize); s != zkrStsNoErr) return s;
        if (const ZkrStatus s = checkSteps({a.src1Step, a.src2Step}, std::int64_t(a.roiSize.width) * srcPixel,
                                           int(sizeof(T)));
            s != zkrStsNoErr)
            return s;
        if (const ZkrStatus s = checkSteps({a.dstStep}, a.roiSize.width, 1); s != zkrStsNoErr) return s;
        if (!knownOp(op)) return zkrStsBadArgErr;
        // a > b is b < a, a >= b is b <= a.
        const bool swap = op == zkrCmpGreater || op == zkrCmpGreaterEq;
        const Kop k = op == zkrCmpGreater ? Kop::Less : (op == zkrCmpGreaterEq ? Kop::LessEq : Kop(op));
        j.a = swap ? a.pSrc2 : a.pSrc1;
        j.aStep = swap ? a.src2Step : a.src1Step;
        j.b = swap ? a.pSrc1 : a.pSrc2;
        j.bStep = swap ? a.src1Step : a.src2Step;
        fn = kernels().binary[kComp<T>][int(L)][int(k)];
    } else {
        constexpr bool byPointer = std::is_pointer_v<decltype(a.value)>;
        if constexpr (byPointer) {
            if (const ZkrStatus s = checkPointers({a.pSrc, a.value, a.pDst}); s != zkrStsNoErr) return s;
        } else {
            if (const ZkrStatus s = checkPointers({a.pSrc, a.pDst}); s != zkrStsNoErr) return s;
        }
        if (const ZkrStatus s = checkSize(a.roiSize); s != zkrStsNoErr) return s;
        if (const ZkrStatus s = checkSteps({a.srcStep}, std::int64_t(a.roiSize.width) * srcPixel, int(sizeof(T)));
            s != zkrStsNoErr)
            return s;
        if (const ZkrStatus s = checkSteps({a.dstStep}, a.roiSize.width, 1); s != zkrStsNoErr) return s;
        if (!knownOp(op)) return zkrStsBadArgErr;
        if constexpr (byPointer) {
            for (int c = 0; c < activeOf(L); ++c) values[c] = a.value[c];
        } else {
            values[0] = a.value;
        }
        j.a = a.pSrc;
        j.aStep = a.srcStep;
        j.value = values;
        fn = kernels().constant[kComp<T>][int(L)][op];
    }
    forRowBands(std::int64_t(a.roiSize.width) * a.roiSize.height, a.roiSize.height,
                [&](int y0, int y1) { fn(j, y0, y1); });
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::cmp

#define ZKR_FN(name, form, T, L)                               \
    ZKR_DEFINE(name, form, T) {                                \
        ZKR_PACK(args, form, T);                               \
        return zkr::cmp::run<zkr::cmp::Lay::L>(args);          \
    }
#include "cmp/cmp.tbl"
#undef ZKR_FN
