// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags.
//
// The integer and widening row loops are written for the auto-vectoriser:
// restrict pointers, one statement per component, saturation by comparisons
// (the compiler turns the clamped narrowing stores into saturating packs), the
// alpha component kept by a select on its index. Float-to-integer loops are
// written in the compiler's generic vectors of the level's width instead:
// selects on float comparisons are not if-converted by the auto-vectoriser
// while floating-point traps are honoured, so the scalar loop would branch on
// every component. Rounding is by selects on the fraction, never by the maths
// library, whose rounding functions depend on the floating-point environment.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "convert_kernels.h"
#include "rows.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::convert::ZKR_LEVEL_NS {

// ---- element operations -------------------------------------------------------

template <class S, class D> struct Exact {
    D operator()(S x) const { return D(x); }
};

// Integer arithmetic wide enough for every source value with the scaling's
// biases: 32 bits for 8- and 16-bit sources, 64 for 32-bit ones.
template <class S> using WideOf = std::conditional_t<sizeof(S) == 4, std::int64_t, std::int32_t>;

template <class S, class D> struct IntUp {
    using W = WideOf<S>;
    static constexpr W lo = W(std::numeric_limits<D>::min()), hi = W(std::numeric_limits<D>::max());
    W mul, loT, hiT;
    explicit IntUp(const CvtJob& j) : mul(W(j.mul)), loT(W(j.loT)), hiT(W(j.hiT)) {}
    D operator()(S x) const {
        const W w = W(x);
        return D(w > hiT ? hi : (w < loT ? lo : W(w * mul)));
    }
};

template <class S, class D> struct IntDown {
    using W = WideOf<S>;
    static constexpr W lo = W(std::numeric_limits<D>::min()), hi = W(std::numeric_limits<D>::max());
    int shift;
    W bias, negBias, oddMask;
    explicit IntDown(const CvtJob& j)
        : shift(j.shift), bias(W(j.bias)), negBias(W(j.negBias)), oddMask(W(j.oddMask)) {}
    D operator()(S x) const {
        const W w = W(x);
        const W r = W((w + bias + (w < 0 ? negBias : W(0)) + ((w >> shift) & oddMask)) >> shift);
        return D(r < lo ? lo : (r > hi ? hi : r));
    }
};

// A float free of NaN rounded by R and saturated to D. The value is clamped
// first, so that the truncating conversion to 32 bits is always defined; the
// truncation t and the exact fraction f = c - t decide the rounding. For 32s
// the largest float below 2^31 is the clamp, and 2^31 and above saturate.
template <class D, Rnd R> inline D roundSat(float y) {
    constexpr bool is32 = std::is_same_v<D, Zkr32s>;
    constexpr float lo = float(std::numeric_limits<D>::min());
    constexpr float hiC = is32 ? 2147483520.0f : float(std::numeric_limits<D>::max());
    float c = y < lo ? lo : y;
    c = c > hiC ? hiC : c;
    // The compiler treats the conversion as free of side effects and would
    // otherwise convert the unclamped value on the clamp's other branch, which
    // raises the invalid-operation flag for NaN and values beyond 32 bits; the
    // empty statement makes it convert only the clamped value.
    __asm__("" : "+x"(c));
    const std::int32_t t = std::int32_t(c);
    const float f = c - float(t);
    std::int32_t r = t;
    if constexpr (R == Rnd::Financial) {
        r = t + std::int32_t(f >= 0.5f) - std::int32_t(f <= -0.5f);
    } else if constexpr (R == Rnd::Near) {
        const std::int32_t odd = t & 1;
        r = t + std::int32_t(f > 0.5f) - std::int32_t(f < -0.5f) + (std::int32_t(f == 0.5f) & odd) -
            (std::int32_t(f == -0.5f) & odd);
    }
    if constexpr (is32) r = y >= 2147483648.0f ? std::numeric_limits<std::int32_t>::max() : r;
    return D(r);
}

// ---- float to integer in generic vectors ---------------------------------------------

// The level's widest float vector: wider generic vectors would be compared
// lane by lane.
#if defined(__AVX512F__)
inline constexpr int kLanes = 16;
#elif defined(__AVX__)
inline constexpr int kLanes = 8;
#else
inline constexpr int kLanes = 4;
#endif
typedef float VF __attribute__((vector_size(kLanes * 4)));
typedef std::int32_t VI __attribute__((vector_size(kLanes * 4)));

// roundSat on kLanes values free of NaN, into r. A comparison gives -1 in the
// lanes where it holds, so adding it subtracts one. (Vectors go by reference:
// passing them by value would depend on the level's calling convention.)
template <class D, Rnd R> inline void roundSatV(const VF& y, VI& r) {
    constexpr bool is32 = std::is_same_v<D, Zkr32s>;
    constexpr float lo = float(std::numeric_limits<D>::min());
    constexpr float hiC = is32 ? 2147483520.0f : float(std::numeric_limits<D>::max());
    VF c = y < lo ? VF{} + lo : y;
    c = c > hiC ? VF{} + hiC : c;
    const VI t = __builtin_convertvector(c, VI);
    const VF f = c - __builtin_convertvector(t, VF);
    r = t;
    if constexpr (R == Rnd::Financial) {
        r = t - (f >= 0.5f) + (f <= -0.5f);
    } else if constexpr (R == Rnd::Near) {
        const VI odd = t & 1;
        r = t - (f > 0.5f) + (f < -0.5f) + ((f == 0.5f) & odd) - ((f == -0.5f) & odd);
    }
    if constexpr (is32) r = y >= 2147483648.0f ? VI{} + std::numeric_limits<std::int32_t>::max() : r;
}

template <class D, Rnd R> struct FromFloat {
    float fmul;
    explicit FromFloat(const CvtJob& j) : fmul(j.fmul) {}
    D operator()(Zkr32f x) const {
        const float y = x * fmul;
        return roundSat<D, R>(y == y ? y : 0.0f);
    }
    void block(const VF& x, VI& r) const {
        VF y = x * fmul;
        y = y == y ? y : VF{};
        roundSatV<D, R>(y, r);
    }
};

template <class S> struct MapToFloat {
    float offset, factor, tmin;
    explicit MapToFloat(const CvtJob& j) : offset(j.offset), factor(j.factor), tmin(j.tmin) {}
    Zkr32f operator()(S x) const { return offset + (float(x) - tmin) * factor; }
};

template <class D> struct MapFromFloat {
    float vMin, vMax, factor, tmin;
    explicit MapFromFloat(const CvtJob& j) : vMin(j.vMin), vMax(j.vMax), factor(j.factor), tmin(j.tmin) {}
    D operator()(Zkr32f x) const {
        float c = x == x ? x : vMin;
        c = c < vMin ? vMin : c;
        c = c > vMax ? vMax : c;
        return roundSat<D, Rnd::Near>((c - vMin) * factor + tmin);
    }
    void block(const VF& x, VI& r) const {
        VF c = x == x ? x : VF{} + vMin;
        c = c < vMin ? VF{} + vMin : c;
        c = c > vMax ? VF{} + vMax : c;
        const VF y = (c - vMin) * factor + tmin;
        roundSatV<D, Rnd::Near>(y, r);
    }
};

// ---- row loops --------------------------------------------------------------

template <class S, class D, bool alpha, class F>
ZKR_NOINLINE void loop(const S* __restrict s, D* __restrict d, std::ptrdiff_t n, F f) {
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        if constexpr (alpha) d[i] = (i & 3) == 3 ? d[i] : f(s[i]);
        else d[i] = f(s[i]);
    }
}

// Float sources in chunks: the level's vectors round and saturate kLanes
// components at a time into 32-bit integers, then an integer loop (which the
// auto-vectoriser turns into packs) narrows the chunk into the destination and
// keeps alpha. Chunks are a multiple of 4 components, so alpha stays on every
// fourth one; the last components that fill no vector go one by one with the
// same arithmetic.
inline constexpr int kChunk = 512;

template <class D, bool alpha>
ZKR_NOINLINE void narrowChunk(const std::int32_t* __restrict r, D* __restrict d, std::ptrdiff_t n) {
    for (std::ptrdiff_t k = 0; k < n; ++k) {
        if constexpr (alpha) d[k] = (k & 3) == 3 ? d[k] : D(r[k]);
        else d[k] = D(r[k]);
    }
}

template <class D, bool alpha, class F>
ZKR_NOINLINE void loopFloat(const Zkr32f* __restrict s, D* __restrict d, std::ptrdiff_t n, F f) {
    alignas(64) std::int32_t buf[kChunk];
    std::ptrdiff_t i = 0;
    while (n - i >= kLanes) {
        const std::ptrdiff_t len = n - i < kChunk ? (n - i) / kLanes * kLanes : kChunk;
        for (std::ptrdiff_t k = 0; k < len; k += kLanes) {
            VF x;
            VI r;
            std::memcpy(&x, s + i + k, sizeof x);
            f.block(x, r);
            std::memcpy(buf + k, &r, sizeof r);
        }
        narrowChunk<D, alpha>(buf, d + i, len);
        i += len;
    }
    for (; i < n; ++i) {
        if constexpr (alpha) d[i] = (i & 3) == 3 ? d[i] : f(s[i]);
        else d[i] = f(s[i]);
    }
}

// Images stored without gaps are processed as one long row (alpha stays on
// every fourth component since rows hold whole pixels).
template <class S, class D, bool alpha, class F> void runRows(const CvtJob& j, int y0, int y1, F f) {
    const auto [yEnd, len] = rowRuns(stepsAre(std::ptrdiff_t(j.rowLen) * std::ptrdiff_t(sizeof(S)), j.sStep) &&
                                         stepsAre(std::ptrdiff_t(j.rowLen) * std::ptrdiff_t(sizeof(D)), j.dStep),
                                     j.rowLen, y0, y1);
    for (int y = y0; y < yEnd; ++y) {
        const S* s = rowOf<S>(j.s, j.sStep, y);
        D* d = rowOf<D>(j.d, j.dStep, y);
        if constexpr (requires(const VF& x, VI& r) { f.block(x, r); }) loopFloat<D, alpha>(s, d, len, f);
        else loop<S, D, alpha>(s, d, len, f);
    }
}

template <class S, class D, bool alpha> void exactRows(const CvtJob& j, int y0, int y1) {
    runRows<S, D, alpha>(j, y0, y1, Exact<S, D>{});
}
template <class S, class D, bool alpha> void upRows(const CvtJob& j, int y0, int y1) {
    runRows<S, D, alpha>(j, y0, y1, IntUp<S, D>(j));
}
template <class S, class D, bool alpha> void downRows(const CvtJob& j, int y0, int y1) {
    runRows<S, D, alpha>(j, y0, y1, IntDown<S, D>(j));
}
template <class D, Rnd R, bool alpha> void fromFloatRows(const CvtJob& j, int y0, int y1) {
    runRows<Zkr32f, D, alpha>(j, y0, y1, FromFloat<D, R>(j));
}
template <class S, bool alpha> void toFloatMapRows(const CvtJob& j, int y0, int y1) {
    runRows<S, Zkr32f, alpha>(j, y0, y1, MapToFloat<S>(j));
}
template <class D, bool alpha> void fromFloatMapRows(const CvtJob& j, int y0, int y1) {
    runRows<Zkr32f, D, alpha>(j, y0, y1, MapFromFloat<D>(j));
}

// ---- the level's kernel table -----------------------------------------------

template <class S, class D> constexpr void fillExact(Kernels& ks) {
    ks.exact[kComp<S>][kComp<D>][0] = &exactRows<S, D, false>;
    ks.exact[kComp<S>][kComp<D>][1] = &exactRows<S, D, true>;
}

// Integer pairs; AC4 kernels only for the pairs the family has in that layout.
template <class S, class D, bool withAlpha> constexpr void fillInt(Kernels& ks) {
    ks.intUp[kComp<S>][kComp<D>][0] = &upRows<S, D, false>;
    ks.intDown[kComp<S>][kComp<D>][0] = &downRows<S, D, false>;
    if constexpr (withAlpha) {
        ks.intUp[kComp<S>][kComp<D>][1] = &upRows<S, D, true>;
        ks.intDown[kComp<S>][kComp<D>][1] = &downRows<S, D, true>;
    }
}

template <class D> constexpr void fillFromFloat(Kernels& ks) {
    auto& k = ks.fromFloat[kComp<D>];
    k[int(Rnd::Zero)][0] = &fromFloatRows<D, Rnd::Zero, false>;
    k[int(Rnd::Zero)][1] = &fromFloatRows<D, Rnd::Zero, true>;
    k[int(Rnd::Near)][0] = &fromFloatRows<D, Rnd::Near, false>;
    k[int(Rnd::Near)][1] = &fromFloatRows<D, Rnd::Near, true>;
    k[int(Rnd::Financial)][0] = &fromFloatRows<D, Rnd::Financial, false>;
    k[int(Rnd::Financial)][1] = &fromFloatRows<D, Rnd::Financial, true>;
}

template <class T> constexpr void fillMaps(Kernels& ks) {
    ks.mapToFloat[kComp<T>][0] = &toFloatMapRows<T, false>;
    ks.mapToFloat[kComp<T>][1] = &toFloatMapRows<T, true>;
    ks.mapFromFloat[kComp<T>][0] = &fromFloatMapRows<T, false>;
    ks.mapFromFloat[kComp<T>][1] = &fromFloatMapRows<T, true>;
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillExact<Zkr8u, Zkr16u>(ks);
    fillExact<Zkr8u, Zkr32f>(ks);
    fillExact<Zkr16u, Zkr32f>(ks);
    fillExact<Zkr16s, Zkr32f>(ks);

    fillInt<Zkr16u, Zkr8u, true>(ks);
    fillInt<Zkr16s, Zkr8u, true>(ks);
    fillInt<Zkr16s, Zkr8s, true>(ks);
    fillInt<Zkr32s, Zkr8u, true>(ks);
    fillInt<Zkr32s, Zkr8s, true>(ks);
    fillInt<Zkr32s, Zkr16u, true>(ks);
    fillInt<Zkr32s, Zkr16s, true>(ks);
    fillInt<Zkr8u, Zkr8s, false>(ks);
    fillInt<Zkr8s, Zkr8u, false>(ks);
    fillInt<Zkr16u, Zkr8s, false>(ks);
    fillInt<Zkr16u, Zkr16s, false>(ks);
    fillInt<Zkr16s, Zkr16u, false>(ks);

    fillFromFloat<Zkr8u>(ks);
    fillFromFloat<Zkr8s>(ks);
    fillFromFloat<Zkr16u>(ks);
    fillFromFloat<Zkr16s>(ks);
    fillFromFloat<Zkr32s>(ks);

    fillMaps<Zkr8u>(ks);
    fillMaps<Zkr16u>(ks);
    fillMaps<Zkr16s>(ks);
    return ks;
}

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::convert::ZKR_LEVEL_NS
