// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags.
//
// The row loops are written for the auto-vectoriser: restrict pointers, one
// statement per element, saturation and special cases by selects, no calls.
//
// Integer quotients of 8- and 16-bit values are taken in float for scale
// factors >= 0: dividend and divisor are exact there, and the exact quotient
// x / y * 2^-sf lies at least 1 / (2 |x|) >= 2^-17 (relative) away from any
// rounding boundary (a tie or, for truncation, an integer) unless it is
// exactly on one, where the float quotient is exact too. The float quotient's
// error (2^-24 relative) can therefore never move a result across a boundary,
// so every rounding mode gives the exactly rounded result. Negative scale
// factors use double (see IntDiv). Complex 16-bit quotients use double by
// the same argument (numerators below 2^32); complex 32-bit ones, whose
// products need 64 bits and more, are computed exactly in 128-bit integers.
// A zero divisor is replaced by one before dividing, so integer division
// never raises a floating-point exception.
//
// The kernels are compiled without the assumption that floating-point
// operations may trap: otherwise the vectoriser treats every select next to a
// conversion or comparison as control flow and leaves the loops scalar. No
// result changes: every lane computes every operation anyway, and the
// integer paths divide only by nonzero, bounded values.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC optimize("no-trapping-math")
#endif

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "div_kernels.h"
#include "rows.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::div::ZKR_LEVEL_NS {

// ---- element operations: dividend x divided by divisor y ------------------------

// Scale factors beyond +-48 give the same results as +-48: quotients of
// 16-bit values lie in [2^-16, 2^16] (or are 0), so every one is rounded to 0
// from 2^-18 on and saturates from 2^17 on.
inline int clampScale(int sf, int limit) { return sf > limit ? limit : (sf < -limit ? -limit : sf); }

inline float pow2f(int e) {  // 2^e for |e| <= 126
    return __builtin_bit_cast(float, std::uint32_t(e + 127) << 23);
}
inline double pow2d(int e) {  // 2^e for |e| <= 1022
    return __builtin_bit_cast(double, std::uint64_t(e + 1023) << 52);
}

// Float (W = float) serves scale factors >= 0. A negative scale factor puts
// ties 2^sf times closer (relative) to the quotient x / y: up to 2^-33 away
// for results within 16 bits, so those run in double (W = double).
template <class W> struct Wide;
template <> struct Wide<float> {
    using I = std::int32_t;
    static constexpr float magic = 0x1.8p23f;  // adding and removing it rounds |q| < 2^22, ties to even
    static constexpr I plusHalf = 0x3f000000, minusHalf = I(0xbf000000u);
    static float pow2(int e) { return pow2f(e); }
};
template <> struct Wide<double> {
    using I = std::int64_t;
    static constexpr double magic = 0x1.8p52;
    static constexpr I plusHalf = 0x3fe0000000000000LL, minusHalf = I(0xbfe0000000000000uLL);
    static double pow2(int e) { return pow2d(e); }
};

template <class S, Rnd R, class W> struct IntDiv {
    using Wd = Wide<W>;
    using I = typename Wd::I;
    static constexpr W lo = W(std::numeric_limits<S>::min());
    static constexpr W hi = W(std::numeric_limits<S>::max());
    W mul;  // 2^-sf
    explicit IntDiv(int sf) : mul(Wd::pow2(-clampScale(sf, 48))) {}
    S operator()(S x, S y) const {
        const S ySafe = y == S(0) ? S(1) : y;
        W q = W(x) / W(ySafe) * mul;
        q = q < lo ? lo : (q > hi ? hi : q);
        I v;
        if constexpr (R == Rnd::Near) {
            v = I((q + Wd::magic) - Wd::magic);
        } else if constexpr (R == Rnd::Zero) {
            v = I(q);
        } else {
            // Nearest with ties to even, then ties moved away from zero: a tie shows as a
            // difference of exactly +-0.5 (compared as bit patterns, which vectorises).
            const W nr = (q + Wd::magic) - Wd::magic;
            const I iq = __builtin_bit_cast(I, q);
            const I id = __builtin_bit_cast(I, W(q - nr));
            v = I(nr) + I((iq > 0) & (id == Wd::plusHalf)) - I((iq < 0) & (id == Wd::minusHalf));
        }
        S sat = x > S(0) ? S(hi) : S(0);
        if constexpr (std::is_signed_v<S>) sat = x < S(0) ? S(lo) : sat;
        return y == S(0) ? sat : S(v);
    }
};

struct FloatDiv {
    explicit FloatDiv(int) {}
    Zkr32f operator()(Zkr32f x, Zkr32f y) const { return x / y; }
};

// Complex x / y = x * conj(y) / |y|^2; r and i receive the result's parts.
struct C16Div {
    double mul;
    explicit C16Div(int sf) : mul(pow2d(-clampScale(sf, 64))) {}
    static Zkr16s part(double n, double den, double mul, Zkr16s x, bool zero) {
        double q = n / den * mul;
        q = q < -32768.0 ? -32768.0 : (q > 32767.0 ? 32767.0 : q);
        const auto v = Zkr16s(std::int32_t((q + 0x1.8p52) - 0x1.8p52));
        const Zkr16s sat = x > 0 ? Zkr16s(32767) : (x < 0 ? Zkr16s(-32768) : Zkr16s(0));
        return zero ? sat : v;
    }
    void operator()(Zkr16s xr, Zkr16s xi, Zkr16s yr, Zkr16s yi, Zkr16s& r, Zkr16s& i) const {
        const double ar = yr, ai = yi, br = xr, bi = xi;
        const double den = ar * ar + ai * ai;  // exact: below 2^31
        const bool zero = den == 0.0;
        const double d = zero ? 1.0 : den;
        r = part(br * ar + bi * ai, d, mul, xr, zero);
        i = part(bi * ar - br * ai, d, mul, xi, zero);
    }
};

struct C32FDiv {
    explicit C32FDiv(int) {}
    void operator()(Zkr32f xr, Zkr32f xi, Zkr32f yr, Zkr32f yi, Zkr32f& r, Zkr32f& i) const {
        // In double no product of floats overflows or loses the quotient's precision; a zero
        // divisor divides each part of the dividend by zero (IEEE +-inf, NaN for 0 / 0).
        const double ar = yr, ai = yi, br = xr, bi = xi;
        const double den = ar * ar + ai * ai;
        const bool zero = den == 0.0;
        const double pr = br * ar + bi * ai, pi = bi * ar - br * ai;
        const double nr = zero ? br : pr;
        const double ni = zero ? bi : pi;
        r = Zkr32f(nr / den);
        i = Zkr32f(ni / den);
    }
};

// 32-bit complex quotients, exact: the numerators need 64 bits, their scaled
// forms up to 127.
struct C32SDiv {
    int sf;
    explicit C32SDiv(int s) : sf(s) {}
    using I128 = __int128;
    // n / (den * 2^sf) rounded to nearest, ties to even, saturated; den > 0,
    // |n| <= 2^63, den <= 2^63.
    Zkr32s part(I128 n, I128 den, Zkr32s x, bool zero) const {
        if (zero) return x > 0 ? INT32_MAX : (x < 0 ? INT32_MIN : 0);
        if (n == 0) return 0;
        const Zkr32s sat = n < 0 ? INT32_MIN : INT32_MAX;
        if (sf >= 64) return 0;       // |quotient| <= 2^63 / 2^64: rounds to 0
        if (sf <= -96) return sat;    // |quotient| >= 2^96 / 2^63 = 2^33
        I128 num = n < 0 ? -n : n, d = den, q, rem;
        if (sf >= 0) {
            d <<= sf;  // <= 2^126
            q = num / d;
            rem = num - q * d;
        } else {
            // num * 2^k / d in two steps, each within 127 bits: 2^63 first, the rest (< 2^33) then.
            const int k1 = -sf < 63 ? -sf : 63, k2 = -sf - k1;
            const I128 n1 = num << k1;
            const I128 q1 = n1 / d, r1 = n1 - q1 * d;
            if (q1 >= (I128(1) << 33)) return sat;
            const I128 n2 = r1 << k2;  // r1 < d <= 2^63
            q = (q1 << k2) + n2 / d;
            rem = n2 % d;
        }
        if (2 * rem > d || (2 * rem == d && (q & 1) != 0)) ++q;
        if (n < 0) q = -q;
        return q > INT32_MAX ? INT32_MAX : (q < INT32_MIN ? INT32_MIN : Zkr32s(q));
    }
    void operator()(Zkr32s xr, Zkr32s xi, Zkr32s yr, Zkr32s yi, Zkr32s& r, Zkr32s& i) const {
        const I128 ar = yr, ai = yi, br = xr, bi = xi;
        const I128 den = ar * ar + ai * ai;
        const bool zero = den == 0;
        r = part(br * ar + bi * ai, den, xr, zero);
        i = part(bi * ar - br * ai, den, xi, zero);
    }
};

// ---- row loops --------------------------------------------------------------

// One run of n components: y the divisor, x the dividend (in place: d).
// Returns nonzero when a computed divisor was zero.
template <class S, bool alpha, bool inPlace, class F>
ZKR_NOINLINE int loopReal(const S* __restrict y, const S* __restrict x, S* __restrict d, std::ptrdiff_t n, F f) {
    int zeros = 0;
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        const bool skip = alpha && (i & 3) == 3;
        S xi;
        if constexpr (inPlace) xi = d[i];
        else xi = x[i];
        zeros |= int(!skip) & int(y[i] == S(0));
        // The alpha lane's quotient is dropped: it is computed from 0 / 1, so that whatever the
        // alpha channels hold (a zero, a NaN, an infinity) raises no floating-point flag.
        const S r = f(skip ? S(0) : xi, skip ? S(1) : y[i]);
        d[i] = skip ? d[i] : r;
    }
    return zeros;
}

// The same for complex elements: n components, n / 2 elements.
template <class S, bool alpha, bool inPlace, class F>
ZKR_NOINLINE int loopComplex(const S* __restrict y, const S* __restrict x, S* __restrict d, std::ptrdiff_t n,
                             F f) {
    int zeros = 0;
    for (std::ptrdiff_t e = 0; e < n / 2; ++e) {
        const bool skip = alpha && (e & 3) == 3;
        S xr, xi;
        if constexpr (inPlace) xr = d[2 * e], xi = d[2 * e + 1];
        else xr = x[2 * e], xi = x[2 * e + 1];
        const S yr = y[2 * e], yi = y[2 * e + 1];
        zeros |= int(!skip) & int(yr == S(0)) & int(yi == S(0));
        S r, i;
        // The alpha element's quotient is dropped: it is computed from 0 / 1 (an infinite alpha
        // times a zero part made "invalid" in the discarded lane).
        f(skip ? S(0) : xr, skip ? S(0) : xi, skip ? S(1) : yr, skip ? S(0) : yi, r, i);
        d[2 * e] = skip ? d[2 * e] : r;
        d[2 * e + 1] = skip ? d[2 * e + 1] : i;
    }
    return zeros;
}

// Images stored without gaps are processed as one long row; a periodic
// divisor restarts every `chunk` components (a whole number of pixels, so
// alpha stays on every fourth element).
template <class S, bool cplx, bool alpha, bool inPlace, class F>
bool runRows(const DivJob& j, int y0, int y1, F f) {
    const std::ptrdiff_t rowBytes = std::ptrdiff_t(j.rowLen) * std::ptrdiff_t(sizeof(S));
    const auto [yEnd, len] = rowRuns(stepsAre(rowBytes, j.dstStep, inPlace ? j.dstStep : j.dividendStep,
                                              j.periodic ? rowBytes : j.divisorStep),
                                     j.rowLen, y0, y1);
    const std::ptrdiff_t chunk = j.periodic ? j.chunk : len;
    int zeros = 0;
    for (int y = y0; y < yEnd; ++y) {
        S* d = rowOf<S>(j.dst, j.dstStep, y);
        const S* x = inPlace ? nullptr : rowOf<S>(j.dividend, j.dividendStep, y);
        const S* v = j.periodic ? static_cast<const S*>(j.divisor) : rowOf<S>(j.divisor, j.divisorStep, y);
        for (std::ptrdiff_t o = 0; o < len; o += chunk) {
            const std::ptrdiff_t n = chunk < len - o ? chunk : len - o;
            const S* vo = j.periodic ? v : v + o;
            const S* xo = inPlace ? nullptr : x + o;
            if constexpr (cplx) zeros |= loopComplex<S, alpha, inPlace>(vo, xo, d + o, n, f);
            else zeros |= loopReal<S, alpha, inPlace>(vo, xo, d + o, n, f);
        }
    }
    return zeros != 0;
}

template <EType t> struct Traits;
template <> struct Traits<EType::U8>   { using S = Zkr8u;  static constexpr bool cplx = false; };
template <> struct Traits<EType::U16>  { using S = Zkr16u; static constexpr bool cplx = false; };
template <> struct Traits<EType::S16>  { using S = Zkr16s; static constexpr bool cplx = false; };
template <> struct Traits<EType::F32>  { using S = Zkr32f; static constexpr bool cplx = false; using F = FloatDiv; };
template <> struct Traits<EType::C16S> { using S = Zkr16s; static constexpr bool cplx = true; using F = C16Div; };
template <> struct Traits<EType::C32S> { using S = Zkr32s; static constexpr bool cplx = true; using F = C32SDiv; };
template <> struct Traits<EType::C32F> { using S = Zkr32f; static constexpr bool cplx = true; using F = C32FDiv; };

template <EType t, Rnd R, bool alpha, bool inPlace> bool rows(const DivJob& j, int y0, int y1) {
    using Tr = Traits<t>;
    using S = typename Tr::S;
    if constexpr (t == EType::U8 || t == EType::U16 || t == EType::S16) {
        if (j.scale >= 0) return runRows<S, false, alpha, inPlace>(j, y0, y1, IntDiv<S, R, float>(j.scale));
        return runRows<S, false, alpha, inPlace>(j, y0, y1, IntDiv<S, R, double>(j.scale));
    }
    else
        return runRows<S, Tr::cplx, alpha, inPlace>(j, y0, y1, typename Tr::F(j.scale));
}

// ---- the level's kernel table -----------------------------------------------

template <EType t, Rnd R> constexpr void fillRnd(Kernels& ks) {
    auto& r = ks.rows[int(t)][int(R)];
    r[0][0] = &rows<t, R, false, false>;
    r[0][1] = &rows<t, R, false, true>;
    r[1][0] = &rows<t, R, true, false>;
    r[1][1] = &rows<t, R, true, true>;
}

template <EType t> constexpr void fillType(Kernels& ks) {
    fillRnd<t, Rnd::Near>(ks);
    if constexpr (t == EType::U8 || t == EType::U16 || t == EType::S16) {
        fillRnd<t, Rnd::Zero>(ks);
        fillRnd<t, Rnd::Financial>(ks);
    }
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillType<EType::U8>(ks);
    fillType<EType::U16>(ks);
    fillType<EType::S16>(ks);
    fillType<EType::F32>(ks);
    fillType<EType::C16S>(ks);
    fillType<EType::C32S>(ks);
    fillType<EType::C32F>(ks);
    return ks;
}

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::div::ZKR_LEVEL_NS
