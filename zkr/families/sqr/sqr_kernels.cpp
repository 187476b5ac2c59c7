// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags.
//
// The row loops are written for the auto-vectoriser: restrict pointers, one
// statement per component, saturation by comparisons, alpha skipped by a
// select on the component index. Square roots must not set errno so that
// they compile to vector square-root instructions.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "sqr_kernels.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

#pragma GCC optimize("no-math-errno")

namespace zkr::sqr::ZKR_LEVEL_NS {

#define ZKR_NOINLINE __attribute__((noinline))

#include "saturate.inc"

// ---- element operations -------------------------------------------------------

// Squares of 8u and 16s fit 32 unsigned bits with room for the rounding bias;
// squares of 16u need 64 bits.
template <class S> struct SquareType { using W = std::uint32_t; };
template <> struct SquareType<Zkr16u> { using W = std::uint64_t; };

// x * x scaled by 2^-sf (rounding half to even) and saturated to S. A square
// is never negative, so only the upper bound saturates.
template <class S, Mode M> struct SqrInt {
    using W = typename SquareType<S>::W;
    static constexpr bool kChecksSign = false;
    static constexpr W hi = W(std::numeric_limits<S>::max());
    int shift = 0;  // Down: right shift (clamped: larger shifts round every square to 0)
    W bias = 0;     // Down: 2^(shift-1) - 1
    W hiT = 0;      // Up: largest square that does not saturate when shifted
    explicit SqrInt(int sf) {
        if (sf > 0) {
            shift = sf > int(sizeof(W)) * 8 - 1 ? int(sizeof(W)) * 8 - 1 : sf;
            bias = W((W(1) << (shift - 1)) - 1);
        } else if (sf < 0) {
            shift = sf < -31 ? 31 : -sf;
            hiT = W(hi >> shift);
        }
    }
    S operator()(S x) const {
        W w;
        if constexpr (std::is_signed_v<S>) w = W(std::int32_t(x) * std::int32_t(x));
        else w = W(x) * W(x);
        if constexpr (M == Mode::Down) {
            w = W((w + bias + ((w >> shift) & 1)) >> shift);
        } else if constexpr (M == Mode::Up) {
            return S(w > hiT ? hi : W(w << shift));
        }
        return S(w > hi ? hi : w);
    }
};

// sqrt(x) * 2^-sf rounded half to even and saturated; negative sources give 0.
// Computed in double: the root of a 16-bit integer is exact enough there for
// the rounding to be decided correctly at every scale factor.
template <class S> struct SqrtInt {
    static constexpr bool kChecksSign = std::is_signed_v<S>;
    static constexpr double hi = double(std::numeric_limits<S>::max());
    double mul = 1.0;
    explicit SqrtInt(int sf) : mul(std::ldexp(1.0, sf > 64 ? -64 : (sf < -64 ? 64 : -sf))) {}
    S operator()(S x) const {
        const double v = std::sqrt(x < 0 ? 0.0 : double(x)) * mul;
        const double c = v > hi ? hi : v;
        // Adding and removing 2^52 rounds a value in [0, 2^52) to an integer,
        // ties to even, in the default rounding mode.
        const double r = (c + 0x1p52) - 0x1p52;
        return S(std::int32_t(r));
    }
};

// The root of a negative float is NaN (as the instruction gives it).
struct Sqrt32f {
    static constexpr bool kChecksSign = true;
    explicit Sqrt32f(int) {}
    Zkr32f operator()(Zkr32f x) const { return std::sqrt(x); }
};

struct Sqr32f {
    static constexpr bool kChecksSign = false;
    explicit Sqr32f(int) {}
    Zkr32f operator()(Zkr32f x) const { return x * x; }
};

struct Abs16s {
    static constexpr bool kChecksSign = false;
    explicit Abs16s(int) {}
    Zkr16s operator()(Zkr16s x) const {
        const std::int32_t a = x < 0 ? -std::int32_t(x) : std::int32_t(x);
        return Zkr16s(a > 32767 ? 32767 : a);
    }
};

struct Abs32f {
    static constexpr bool kChecksSign = false;
    explicit Abs32f(int) {}
    Zkr32f operator()(Zkr32f x) const { return std::fabs(x); }
};

// ---- row loops --------------------------------------------------------------
// Each returns nonzero when a processed source component was negative (only
// counted for operations that check the sign).

template <class S, bool alpha, class F>
ZKR_NOINLINE int loopNot(const S* __restrict s, S* __restrict d, std::ptrdiff_t n, F f) {
    int neg = 0;
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        const S x = s[i];
        const bool skip = alpha && (i & 3) == 3;
        if constexpr (F::kChecksSign) neg |= int(!skip && x < S(0));
        d[i] = skip ? d[i] : f(x);
    }
    return neg;
}

template <class S, bool alpha, class F>
ZKR_NOINLINE int loopIn(S* __restrict d, std::ptrdiff_t n, F f) {
    int neg = 0;
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        const S x = d[i];
        const bool skip = alpha && (i & 3) == 3;
        if constexpr (F::kChecksSign) neg |= int(!skip && x < S(0));
        d[i] = skip ? x : f(x);
    }
    return neg;
}

template <class S> inline S* rowOf(void* base, std::ptrdiff_t step, int y) {
    return reinterpret_cast<S*>(static_cast<char*>(base) + step * y);
}
template <class S> inline const S* rowOf(const void* base, std::ptrdiff_t step, int y) {
    return reinterpret_cast<const S*>(static_cast<const char*>(base) + step * y);
}

// Images stored without gaps are processed as one long row (alpha stays on
// every fourth component since rows hold whole pixels).
template <class S, bool alpha, bool inPlace, class F> bool runRows(const UnaryJob& j, int y0, int y1, F f) {
    const std::ptrdiff_t rowBytes = std::ptrdiff_t(j.rowLen) * std::ptrdiff_t(sizeof(S));
    const bool flat = j.dStep == rowBytes && (inPlace || j.sStep == rowBytes);
    const std::ptrdiff_t len = flat ? std::ptrdiff_t(j.rowLen) * (y1 - y0) : j.rowLen;
    const int yEnd = flat ? y0 + 1 : y1;
    int neg = 0;
    for (int y = y0; y < yEnd; ++y) {
        S* d = rowOf<S>(j.d, j.dStep, y);
        if constexpr (inPlace) neg |= loopIn<S, alpha>(d, len, f);
        else neg |= loopNot<S, alpha>(rowOf<S>(j.s, j.sStep, y), d, len, f);
    }
    return neg != 0;
}

template <class S, Kop op, bool alpha, bool inPlace> bool rows(const UnaryJob& j, int y0, int y1) {
    if constexpr (std::is_same_v<S, Zkr32f>) {
        if constexpr (op == Kop::Sqr) return runRows<S, alpha, inPlace>(j, y0, y1, Sqr32f(0));
        else if constexpr (op == Kop::Sqrt) return runRows<S, alpha, inPlace>(j, y0, y1, Sqrt32f(0));
        else return runRows<S, alpha, inPlace>(j, y0, y1, Abs32f(0));
    } else if constexpr (op == Kop::Sqr) {
        if (j.scale == 0) return runRows<S, alpha, inPlace>(j, y0, y1, SqrInt<S, Mode::Exact>(0));
        if (j.scale > 0) return runRows<S, alpha, inPlace>(j, y0, y1, SqrInt<S, Mode::Down>(j.scale));
        return runRows<S, alpha, inPlace>(j, y0, y1, SqrInt<S, Mode::Up>(j.scale));
    } else if constexpr (op == Kop::Sqrt) {
        return runRows<S, alpha, inPlace>(j, y0, y1, SqrtInt<S>(j.scale));
    } else {
        static_assert(std::is_same_v<S, Zkr16s>, "Abs of this type is not in the family");
        return runRows<S, alpha, inPlace>(j, y0, y1, Abs16s(0));
    }
}

// ---- the level's kernel table -----------------------------------------------

template <class S, Kop op> constexpr void fillOp(Kernels& ks) {
    auto& r = ks.rows[int(ComponentType<S>::id)][int(op)];
    r[0][0] = &rows<S, op, false, false>;
    r[0][1] = &rows<S, op, false, true>;
    r[1][0] = &rows<S, op, true, false>;
    r[1][1] = &rows<S, op, true, true>;
}

template <class S> constexpr void fillType(Kernels& ks) {
    fillOp<S, Kop::Sqr>(ks);
    fillOp<S, Kop::Sqrt>(ks);
    if constexpr (std::is_same_v<S, Zkr16s> || std::is_same_v<S, Zkr32f>) fillOp<S, Kop::Abs>(ks);
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillType<Zkr8u>(ks);
    fillType<Zkr16u>(ks);
    fillType<Zkr16s>(ks);
    fillType<Zkr32f>(ks);
    return ks;
}

#undef ZKR_NOINLINE

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::sqr::ZKR_LEVEL_NS
