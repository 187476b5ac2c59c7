// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags.
//
// The row loops are written for the auto-vectoriser: restrict pointers, the
// channels of a pixel as a fixed-length inner loop the compiler unrolls, the
// channel results combined with & (no branches), the mask byte by a select.
#include <cstddef>
#include <cstdint>

#include "cmp_kernels.h"
#include "rows.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::cmp::ZKR_LEVEL_NS {

template <Kop op, class S> inline bool test(S x, S y) {
    if constexpr (op == Kop::Less) return x < y;
    else if constexpr (op == Kop::LessEq) return x <= y;
    else if constexpr (op == Kop::Eq) return x == y;
    else if constexpr (op == Kop::GreaterEq) return x >= y;
    else return x > y;
}

// Components per pixel in memory (P) and channels compared (A) of a layout.
template <Lay L> inline constexpr int kPeriod = L == Lay::C1 ? 1 : (L == Lay::C3 ? 3 : 4);
template <Lay L> inline constexpr int kActive = L == Lay::C1 ? 1 : (L == Lay::C4 ? 4 : 3);

template <class S, Lay L, Kop op>
ZKR_NOINLINE void loopBinary(const S* __restrict a, const S* __restrict b, Zkr8u* __restrict d, std::ptrdiff_t n) {
    constexpr int P = kPeriod<L>, A = kActive<L>;
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        bool all = true;
        for (int c = 0; c < A; ++c) all &= test<op>(a[i * P + c], b[i * P + c]);
        d[i] = all ? Zkr8u(255) : Zkr8u(0);
    }
}

template <class S, Lay L, Kop op>
ZKR_NOINLINE void loopConst(const S* __restrict a, const S* __restrict v, Zkr8u* __restrict d, std::ptrdiff_t n) {
    constexpr int P = kPeriod<L>, A = kActive<L>;
    S k[A];
    for (int c = 0; c < A; ++c) k[c] = v[c];
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        bool all = true;
        for (int c = 0; c < A; ++c) all &= test<op>(a[i * P + c], k[c]);
        d[i] = all ? Zkr8u(255) : Zkr8u(0);
    }
}


// Images stored without gaps (every step equal to its row's bytes) are
// processed as one long row.
template <class S, Lay L, bool twoImages, Kop op> void rows(const CmpJob& j, int y0, int y1) {
    const std::ptrdiff_t srcRow = std::ptrdiff_t(j.width) * kPeriod<L> * std::ptrdiff_t(sizeof(S));
    const auto [yEnd, len] =
        rowRuns(j.dStep == j.width && stepsAre(srcRow, j.aStep, twoImages ? j.bStep : srcRow), j.width, y0, y1);
    for (int y = y0; y < yEnd; ++y) {
        const S* a = rowOf<S>(j.a, j.aStep, y);
        Zkr8u* d = rowOf<Zkr8u>(j.d, j.dStep, y);
        if constexpr (twoImages) loopBinary<S, L, op>(a, rowOf<S>(j.b, j.bStep, y), d, len);
        else loopConst<S, L, op>(a, static_cast<const S*>(j.value), d, len);
    }
}

// ---- the level's kernel table -----------------------------------------------

template <class S, Lay L> constexpr void fillLayout(Kernels& ks) {
    auto& b = ks.binary[kComp<S>][int(L)];
    b[int(Kop::Less)] = &rows<S, L, true, Kop::Less>;
    b[int(Kop::LessEq)] = &rows<S, L, true, Kop::LessEq>;
    b[int(Kop::Eq)] = &rows<S, L, true, Kop::Eq>;
    auto& c = ks.constant[kComp<S>][int(L)];
    c[int(Kop::Less)] = &rows<S, L, false, Kop::Less>;
    c[int(Kop::LessEq)] = &rows<S, L, false, Kop::LessEq>;
    c[int(Kop::Eq)] = &rows<S, L, false, Kop::Eq>;
    c[int(Kop::GreaterEq)] = &rows<S, L, false, Kop::GreaterEq>;
    c[int(Kop::Greater)] = &rows<S, L, false, Kop::Greater>;
}

template <class S> constexpr void fillType(Kernels& ks) {
    fillLayout<S, Lay::C1>(ks);
    fillLayout<S, Lay::C3>(ks);
    fillLayout<S, Lay::C4>(ks);
    fillLayout<S, Lay::AC4>(ks);
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillType<Zkr8u>(ks);
    fillType<Zkr16u>(ks);
    fillType<Zkr16s>(ks);
    fillType<Zkr32f>(ks);
    return ks;
}

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::cmp::ZKR_LEVEL_NS
