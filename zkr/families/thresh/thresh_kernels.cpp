// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags.
//
// The row loops are written for the auto-vectoriser: restrict pointers, a
// compare and a select per test (min/max or compare-and-blend
// instructions), alpha kept by a select on the component index. Constants
// of several channels come as pattern blocks read in lockstep with the row.
// Thresholds that replace what they bound are max/min instructions.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "thresh_kernels.h"
#include "rows.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::thresh::ZKR_LEVEL_NS {

// ---- the test of one component -------------------------------------------------

template <Kind k, class S> inline S apply(S x, S tLo, S vLo, S tHi, S vHi) {
    if constexpr (k == Kind::Lo) {
        (void)tHi, (void)vHi;
        return x < tLo ? vLo : x;
    } else if constexpr (k == Kind::Hi) {
        (void)tLo, (void)vLo;
        return x > tHi ? vHi : x;
    } else if constexpr (k == Kind::Max) {
        (void)vLo, (void)tHi, (void)vHi;
        return tLo > x ? tLo : x;  // x < tLo ? tLo : x, in the operand order of max instructions
    } else if constexpr (k == Kind::Min) {
        (void)tLo, (void)vLo, (void)vHi;
        return tHi < x ? tHi : x;  // x > tHi ? tHi : x, in the operand order of min instructions
    } else {
        const S hi = x > tHi ? vHi : x;
        return x < tLo ? vLo : hi;
    }
}

// ---- row loops --------------------------------------------------------------

// One channel: the constants are loop invariants.
template <Kind k, class S>
ZKR_NOINLINE void loopScalar(const S* __restrict s, S* __restrict d, std::ptrdiff_t n, S tLo, S vLo, S tHi, S vHi) {
    for (std::ptrdiff_t i = 0; i < n; ++i) d[i] = apply<k>(s[i], tLo, vLo, tHi, vHi);
}

template <Kind k, class S> ZKR_NOINLINE void loopScalarIn(S* __restrict d, std::ptrdiff_t n, S tLo, S vLo, S tHi, S vHi) {
    for (std::ptrdiff_t i = 0; i < n; ++i) d[i] = apply<k>(d[i], tLo, vLo, tHi, vHi);
}

// Up to kPattern components of a row starting at a pixel boundary, with the
// constants of component j at index j of the patterns.
template <Kind k, bool alpha, class S>
ZKR_NOINLINE void loopBlock(const S* __restrict s, S* __restrict d, int n, const S* __restrict tLo,
                            const S* __restrict vLo, const S* __restrict tHi, const S* __restrict vHi) {
    for (int j = 0; j < n; ++j) {
        const S r = apply<k>(s[j], tLo[j], vLo[j], tHi[j], vHi[j]);
        const bool keep = alpha && (j & 3) == 3;
        d[j] = keep ? d[j] : r;
    }
}

template <Kind k, bool alpha, class S>
ZKR_NOINLINE void loopBlockIn(S* __restrict d, int n, const S* __restrict tLo, const S* __restrict vLo,
                              const S* __restrict tHi, const S* __restrict vHi) {
    for (int j = 0; j < n; ++j) {
        const S x = d[j];
        const S r = apply<k>(x, tLo[j], vLo[j], tHi[j], vHi[j]);
        const bool keep = alpha && (j & 3) == 3;
        d[j] = keep ? x : r;
    }
}

template <class S> inline S valueAt(const void* p) {
    S v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

// Images stored without gaps are processed as one long row: rows hold whole
// pixels, so the channel of a component stays its index modulo the pixel size.
template <class S, Kind k, Shape shape, bool inPlace> void rows(const ThreshJob& j, int y0, int y1) {
    const std::ptrdiff_t rowBytes = std::ptrdiff_t(j.rowLen) * std::ptrdiff_t(sizeof(S));
    const auto [yEnd, len] = rowRuns(stepsAre(rowBytes, j.dStep, inPlace ? j.dStep : j.sStep), j.rowLen, y0, y1);
    for (int y = y0; y < yEnd; ++y) {
        S* d = rowOf<S>(j.d, j.dStep, y);
        if constexpr (shape == Shape::C1) {
            const S tLo = valueAt<S>(j.tLo), vLo = valueAt<S>(j.vLo), tHi = valueAt<S>(j.tHi), vHi = valueAt<S>(j.vHi);
            if constexpr (inPlace) loopScalarIn<k>(d, len, tLo, vLo, tHi, vHi);
            else loopScalar<k>(rowOf<S>(j.s, j.sStep, y), d, len, tLo, vLo, tHi, vHi);
        } else {
            constexpr bool alpha = shape == Shape::AC4;
            const S* tLo = static_cast<const S*>(j.tLo);
            const S* vLo = static_cast<const S*>(j.vLo);
            const S* tHi = static_cast<const S*>(j.tHi);
            const S* vHi = static_cast<const S*>(j.vHi);
            const S* s = inPlace ? d : rowOf<S>(j.s, j.sStep, y);
            for (std::ptrdiff_t x = 0; x < len; x += kPattern) {
                const int n = int(len - x < kPattern ? len - x : kPattern);
                if constexpr (inPlace) loopBlockIn<k, alpha>(d + x, n, tLo, vLo, tHi, vHi);
                else loopBlock<k, alpha>(s + x, d + x, n, tLo, vLo, tHi, vHi);
            }
        }
    }
}

// ---- histogram of an 8u image ------------------------------------------------------

// Four interleaved counters per level, so that runs of equal values do not
// wait on the increment of the same counter.
void histogram(const Zkr8u* src, std::ptrdiff_t step, int width, int y0, int y1, std::uint64_t* hist) {
    std::uint64_t h[4][256] = {};
    for (int y = y0; y < y1; ++y) {
        const Zkr8u* s = src + step * y;
        int x = 0;
        for (; x + 4 <= width; x += 4) {
            ++h[0][s[x]];
            ++h[1][s[x + 1]];
            ++h[2][s[x + 2]];
            ++h[3][s[x + 3]];
        }
        for (; x < width; ++x) ++h[0][s[x]];
    }
    for (int v = 0; v < 256; ++v) hist[v] += h[0][v] + h[1][v] + h[2][v] + h[3][v];
}

// ---- the level's kernel table -----------------------------------------------

template <class S, Kind k> constexpr void fillKind(Kernels& ks) {
    auto& r = ks.rows[kComp<S>][int(k)];
    r[int(Shape::C1)][0] = &rows<S, k, Shape::C1, false>;
    r[int(Shape::C1)][1] = &rows<S, k, Shape::C1, true>;
    r[int(Shape::Cn)][0] = &rows<S, k, Shape::Cn, false>;
    r[int(Shape::Cn)][1] = &rows<S, k, Shape::Cn, true>;
    r[int(Shape::AC4)][0] = &rows<S, k, Shape::AC4, false>;
    r[int(Shape::AC4)][1] = &rows<S, k, Shape::AC4, true>;
}

template <class S> constexpr void fillType(Kernels& ks) {
    fillKind<S, Kind::Lo>(ks);
    fillKind<S, Kind::Hi>(ks);
    fillKind<S, Kind::Both>(ks);
    fillKind<S, Kind::Max>(ks);
    fillKind<S, Kind::Min>(ks);
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillType<Zkr8u>(ks);
    fillType<Zkr16u>(ks);
    fillType<Zkr16s>(ks);
    fillType<Zkr32f>(ks);
    ks.histogram = &histogram;
    return ks;
}

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::thresh::ZKR_LEVEL_NS
