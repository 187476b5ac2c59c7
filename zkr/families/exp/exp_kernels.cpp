// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags.
//
// e^x and ln(x) are evaluated in double for every element type, by code the
// auto-vectoriser turns into the level's vector instructions: range
// reduction with integer operations on the bit patterns (no calls, no
// double/int64 conversions, which not every level has), a polynomial, and
// selects for the special cases. The double result is within about 2^-52 of
// the exact value, so integer results (scaled, rounded to nearest even) and
// float results (rounded once) are the correctly rounded ones except when the
// exact value lies that close to a rounding boundary.
//
// Float arguments are told apart by integer operations on their bit patterns
// (NaN, infinities, zeros, denormals), and only a finite, normal value, clamped
// with integer compares, reaches the floating-point operations: no comparison
// ever sees a NaN (which raises "invalid" on some levels' compare instructions
// and not on others) and no operation a denormal (the denormal-operand flag).
// Special arguments get their results by selects. So a float call raises no
// flag the C library's expf / logf does not raise for the same argument: exp
// raises underflow (with inexact) only for finite arguments whose result is
// denormal or rounds to zero, never for -inf (exp(-inf) = +0 is exact), and
// neither function raises invalid for NaN, overflow, or divide-by-zero (C raises
// overflow for e^x beyond the float range, divide-by-zero for ln(0) and invalid
// for ln of a negative value; those results come from selects here). Every level
// runs the same operations, so all raise the same flags.
//
// The kernels are compiled without the assumption that floating-point
// operations may trap, otherwise the vectoriser treats the selects as control
// flow; every lane computes every operation anyway.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC optimize("no-trapping-math")
#endif

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "exp_kernels.h"
#include "rows.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::expln::ZKR_LEVEL_NS {

#include "unary_rows.inc"

// ---- double cores -----------------------------------------------------------------

// ln 2 split so that k * kLn2Hi is exact for |k| < 2^20.
inline constexpr double kLn2Hi = 0x1.62e42feep-1;
inline constexpr double kLn2Lo = 0x1.a39ef35793c76p-33;
inline constexpr double kLog2e = 0x1.71547652b82fep0;
inline constexpr double kShifter = 0x1.8p52;  // adding it rounds |v| < 2^51 to an integer in the low bits

inline std::int64_t bitsOf(double v) { return __builtin_bit_cast(std::int64_t, v); }
inline double fromBits(std::int64_t b) { return __builtin_bit_cast(double, b); }

// e^y for y in [-700, 700].
inline double expCore(double y) {
    const double t = y * kLog2e + kShifter;
    const double k = t - kShifter;                                  // round(y / ln 2)
    const std::int64_t ki = bitsOf(t) - bitsOf(kShifter);           // the same k as an integer
    const double r = (y - k * kLn2Hi) - k * kLn2Lo;                 // |r| <= ln 2 / 2
    // Taylor series to r^13 / 13!: the remainder is below 2^-57 for |r| <= ln 2 / 2.
    double p = 1.0 / 6227020800.0;
    p = p * r + 1.0 / 479001600.0;
    p = p * r + 1.0 / 39916800.0;
    p = p * r + 1.0 / 3628800.0;
    p = p * r + 1.0 / 362880.0;
    p = p * r + 1.0 / 40320.0;
    p = p * r + 1.0 / 5040.0;
    p = p * r + 1.0 / 720.0;
    p = p * r + 1.0 / 120.0;
    p = p * r + 1.0 / 24.0;
    p = p * r + 1.0 / 6.0;
    p = p * r + 0.5;
    p = p * r + 1.0;
    p = p * r + 1.0;
    return p * fromBits((ki + 1023) << 52);  // times 2^k
}

// ln(x) for a positive, finite, normal x.
inline double lnCore(double x) {
    const std::int64_t b = bitsOf(x);
    // x = m * 2^e with m in [1, 2); m above sqrt(2) is halved (e + 1) so that m - 1 is small.
    const std::int64_t mantissa = (b & 0x000fffffffffffffLL) | 0x3ff0000000000000LL;
    const double e0 = fromBits(0x4330000000000000LL | (b >> 52)) - (0x1p52 + 1023.0);  // exponent as double
    const double m0 = fromBits(mantissa);
    const bool high = m0 > 0x1.6a09e667f3bcdp0;
    const double m = high ? m0 * 0.5 : m0;
    const double e = high ? e0 + 1.0 : e0;
    // ln(m) = 2 atanh(s), s = (m - 1) / (m + 1), |s| <= 0.1716: the series to s^21 leaves
    // less than 2^-60.
    const double s = (m - 1.0) / (m + 1.0);
    const double s2 = s * s;
    double p = 1.0 / 21.0;
    p = p * s2 + 1.0 / 19.0;
    p = p * s2 + 1.0 / 17.0;
    p = p * s2 + 1.0 / 15.0;
    p = p * s2 + 1.0 / 13.0;
    p = p * s2 + 1.0 / 11.0;
    p = p * s2 + 1.0 / 9.0;
    p = p * s2 + 1.0 / 7.0;
    p = p * s2 + 1.0 / 5.0;
    p = p * s2 + 1.0 / 3.0;
    const double lnM = 2.0 * s + 2.0 * s * s2 * p;
    return e * kLn2Hi + (e * kLn2Lo + lnM);
}

inline double pow2(int e) { return fromBits(std::int64_t(e + 1023) << 52); }  // |e| <= 1022

inline std::int32_t fbits(float v) { return __builtin_bit_cast(std::int32_t, v); }
inline float ffrom(std::int32_t b) { return __builtin_bit_cast(float, b); }
inline constexpr std::int32_t kFloatInfBits = 0x7f800000;
inline constexpr std::int32_t kFloatQuietBit = 0x00400000;
inline constexpr std::int32_t kFloatOneBits = 0x3f800000;

// ---- element operations -----------------------------------------------------------

// Integers: the exact result times 2^-sf, in double, rounded to nearest even and saturated.
template <class S> struct IntRange {
    static constexpr double lo = double(std::numeric_limits<S>::min());
    static constexpr double hi = double(std::numeric_limits<S>::max());
    static S narrow(double v) {
        const double c = v < lo ? lo : (v > hi ? hi : v);
        return S(std::int32_t((c + kShifter) - kShifter));
    }
};

// e^x * 2^-sf = e^(x - sf ln 2). Scale factors beyond +-200000 change nothing: the exponent then
// lies below -2 (every result rounds to 0) or above 12 (every result saturates) for all 16-bit x.
template <class S> struct ExpInt {
    double shiftHi, shiftLo;  // sf * ln 2 in two parts, the first exact
    explicit ExpInt(int sf) {
        const double s = sf > 200000 ? 200000.0 : (sf < -200000 ? -200000.0 : double(sf));
        shiftHi = s * kLn2Hi;
        shiftLo = s * kLn2Lo;
    }
    static int met(S) { return 0; }
    S operator()(S x) const {
        double y = (double(x) - shiftHi) - shiftLo;
        // e^-2 rounds to 0 and e^12 saturates every 16-bit type.
        y = y < -2.0 ? -2.0 : (y > 12.0 ? 12.0 : y);
        return IntRange<S>::narrow(expCore(y));
    }
};

// ln(x) * 2^-sf; a zero or negative x gives the type's smallest value and a flag.
template <class S> struct LnInt {
    double mul;  // 2^-sf; beyond +-64 every ln(x) * 2^-sf of a 16-bit x rounds to 0 or saturates
    explicit LnInt(int sf) : mul(pow2(-(sf > 64 ? 64 : (sf < -64 ? -64 : sf)))) {}
    static int met(S x) {
        if constexpr (std::is_signed_v<S>) return int(x == S(0)) * kMetZero | int(x < S(0)) * kMetNegative;
        else return int(x == S(0)) * kMetZero;
    }
    S operator()(S x) const {
        const bool regular = x > S(0);
        const S safe = regular ? x : S(1);
        const S v = IntRange<S>::narrow(lnCore(double(safe)) * mul);
        return regular ? v : std::numeric_limits<S>::min();
    }
};

// e^x in float: +inf from the first float argument whose exponential rounds beyond the float range.
struct ExpFloat {
    static constexpr float kOverflowFrom = 0x1.62e430p6f;   // 88.72283935546875
    static constexpr float kLargestFinite = 0x1.62e42ep6f;  // the float just below
    static constexpr float kZeroBelow = -104.0f;            // e^-104 rounds to 0
    explicit ExpFloat(int) {}
    static int met(Zkr32f) { return 0; }
    Zkr32f operator()(Zkr32f x) const {
        const std::int32_t b = fbits(x);
        const std::int32_t mag = b & 0x7fffffff;
        const bool nan = mag > kFloatInfBits;
        const bool tiny = mag < 0x00800000;                    // zeros and denormals: e^x rounds to 1
        const bool negInf = b == std::int32_t(0xff800000u);    // e^-inf = +0, exactly
        const bool over = b >= fbits(kOverflowFrom) && b <= kFloatInfBits;  // positive: bits order values
        // The clamp on the bit patterns: positive above the largest finite result, negative below -104.
        const std::int32_t clamped = b > fbits(kLargestFinite) ? fbits(kLargestFinite)
                                     : (b < 0 && mag > fbits(-kZeroBelow)) ? fbits(kZeroBelow)
                                                                           : b;
        const float c = ffrom(nan || tiny || negInf ? 0 : clamped);  // finite and normal, or +0
        const auto v = Zkr32f(expCore(double(c)));
        const float special = nan ? ffrom(b | kFloatQuietBit) : (negInf ? 0.0f : ffrom(kFloatOneBits));
        const float big = over ? std::numeric_limits<float>::infinity() : v;
        return nan || tiny || negInf ? special : big;
    }
};

// ln(x) in float: -inf for zeros, NaN for negative values (flagged), +inf for +inf, NaN for NaN.
// A denormal x = m 2^-149 is read as the exact double (double)m * 2^-149, without a float
// operation on it.
struct LnFloat {
    explicit LnFloat(int) {}
    static int met(Zkr32f x) {
        const std::int32_t b = fbits(x), mag = b & 0x7fffffff;
        return int(mag == 0) * kMetZero | int(b < 0 && mag != 0 && mag <= kFloatInfBits) * kMetNegative;
    }
    Zkr32f operator()(Zkr32f x) const {
        const std::int32_t b = fbits(x);
        const std::int32_t mag = b & 0x7fffffff;
        const bool nan = mag > kFloatInfBits;
        const bool zero = mag == 0;
        const bool negative = b < 0 && !zero && !nan;
        const bool denormal = b > 0 && b < 0x00800000;
        const bool regular = b >= 0x00800000 && b < kFloatInfBits;
        const double fromDenormal = double(b) * 0x1p-149;
        const double arg = denormal ? fromDenormal : double(ffrom(regular ? b : kFloatOneBits));
        const auto v = Zkr32f(lnCore(arg));
        const float special = zero ? -std::numeric_limits<float>::infinity()
                              : negative ? std::numeric_limits<float>::quiet_NaN()
                              : nan ? ffrom(b | kFloatQuietBit)
                                    : x;  // +inf
        return regular || denormal ? v : special;
    }
};

// ---- rows ------------------------------------------------------------------

// The rows of operation op on component type S, for setUnaryRowsNoAlpha.
template <class S, Kop op> struct Rows {
    template <bool alpha, bool inPlace> static int run(const UnaryJob& j, int y0, int y1) {
        if constexpr (std::is_same_v<S, Zkr32f>) {
            if constexpr (op == Kop::Exp) return unaryRows<S, alpha, inPlace>(j, y0, y1, ExpFloat(0));
            else return unaryRows<S, alpha, inPlace>(j, y0, y1, LnFloat(0));
        } else {
            if constexpr (op == Kop::Exp) return unaryRows<S, alpha, inPlace>(j, y0, y1, ExpInt<S>(j.scale));
            else return unaryRows<S, alpha, inPlace>(j, y0, y1, LnInt<S>(j.scale));
        }
    }
};

// ---- the level's kernel table -----------------------------------------------

template <class S> constexpr void fillType(Kernels& ks) {
    setUnaryRowsNoAlpha<S, Rows<S, Kop::Exp>>(ks, int(Kop::Exp));
    setUnaryRowsNoAlpha<S, Rows<S, Kop::Ln>>(ks, int(Kop::Ln));
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

}  // namespace zkr::expln::ZKR_LEVEL_NS
