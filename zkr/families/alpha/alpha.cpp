// The exported functions of the Alpha family, defined from its two tables:
// each row packs its parameters and hands them to the one generic entry
// point, which checks the arguments, turns the operation into its factors
// and runs the kernels of the level in force.
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "alpha_kernels.h"
#include "alpha/alpha_forms.h"
#include "checks.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::alpha {
namespace {

enum class Lay { C1, C3, C4, AC4, AP4 };

constexpr int channelsOf(Lay l) { return l == Lay::C1 ? 1 : (l == Lay::C3 ? 3 : 4); }

// Fa = fa0 + fa1 * aB and Fb = fb0 + fb1 * aA of each operation; false for
// a value outside the enumeration.
bool factorsOf(int type, Factors& f) {
    if (type < ZKRI_ALPHA_OVER || type > ZKRI_ALPHA_PLUS_PREMUL) return false;
    static constexpr Factors kPlain[] = {
        {1, 0, 1, -1, false},  // over:  1,      1 - aA
        {0, 1, 0, 0, false},   // in:    aB,     0
        {1, -1, 0, 0, false},  // out:   1 - aB, 0
        {0, 1, 1, -1, false},  // atop:  aB,     1 - aA
        {1, -1, 1, -1, false}, // xor:   1 - aB, 1 - aA
        {1, 0, 1, 0, false},   // plus:  1,      1
    };
    f = kPlain[type % 6];
    f.premul = type >= ZKRI_ALPHA_OVER_PREMUL;
    return true;
}

// Jobs below the splitting threshold run at once on the calling thread.
void runJob(const AlphaJob& j, RowsFn fn, int height) {
    const std::int64_t pixels = std::int64_t(j.width) * height;
    if (pixels < kMinParallelPixels) return fn(j, 0, height);
    forRowBands(pixels, height, [&](int y0, int y1) { fn(j, y0, y1); });
}

// One entry point for every form; the form is told by the parameters it has.
template <Lay L, class A> ZkrStatus run(const A& a) {
    using T = std::remove_const_t<std::remove_pointer_t<std::remove_pointer_t<decltype(a.pDst)>>>;
    constexpr bool planar = L == Lay::AP4;
    constexpr int px = planar ? int(sizeof(T)) : int(sizeof(T)) * channelsOf(L);
    AlphaJob j;
    if constexpr (planar) {
        if (!a.pSrc1 || !a.pSrc2 || !a.pDst) return zkrStsNullPtrErr;
        for (int p = 0; p < 4; ++p) {
            if (!a.pSrc1[p] || !a.pSrc2[p] || !a.pDst[p]) return zkrStsNullPtrErr;
            j.a[p] = a.pSrc1[p], j.b[p] = a.pSrc2[p], j.d[p] = a.pDst[p];
        }
    } else {
        if (const ZkrStatus s = checkPointers({a.pSrc1, a.pSrc2, a.pDst}); s != zkrStsNoErr) return s;
        if constexpr (requires { a.colorKey; })
            if (!a.colorKey) return zkrStsNullPtrErr;
        j.a[0] = a.pSrc1, j.b[0] = a.pSrc2, j.d[0] = a.pDst;
    }
    if (const ZkrStatus s = checkSize(a.roiSize); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSteps({a.src1Step, a.src2Step, a.dstStep}, std::int64_t(a.roiSize.width) * px,
                                       int(sizeof(T)));
        s != zkrStsNoErr)
        return s;
    // A caller may pass any int as the operation (a C caller can): it is read as its integer bits,
    // never loaded as the enumeration, whose valid range in C++ is narrower than int's.
    int op = 0;
    static_assert(sizeof op == sizeof a.alphaType);
    std::memcpy(&op, &a.alphaType, sizeof op);
    if (!factorsOf(op, j.f)) return zkrStsBadArgErr;
    j.aStep = a.src1Step, j.bStep = a.src2Step, j.dStep = a.dstStep;
    j.width = a.roiSize.width;
    const Kernels& ks = kernels();
    constexpr int t = int(ATypeOf<T>::id);
    RowsFn fn = nullptr;
    if constexpr (requires { a.alpha1; }) {
        j.alpha1 = double(a.alpha1);
        j.alpha2 = double(a.alpha2);
        j.channels = channelsOf(L);
        j.keepLast = L == Lay::AC4;
        if constexpr (requires { a.colorKey; }) {
            j.key = a.colorKey;
            fn = ks.colorKey8u;
        } else {
            fn = ks.constant[t];
        }
    } else {
        fn = planar ? ks.pixelPlanar[t][j.f.premul] : ks.pixelInterleaved[t][j.f.premul];
    }
    runJob(j, fn, a.roiSize.height);
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::alpha

#define ZKR_FN(name, form, T, L)                                 \
    ZKR_DEFINE(name, form, T) {                                  \
        ZKR_PACK(args, form, T);                                 \
        return zkr::alpha::run<zkr::alpha::Lay::L>(args);        \
    }
#include "alpha/TimiAlpha.tbl"
#include "alpha/iAlphaComp__YS.tbl"
#undef ZKR_FN
