// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags.
//
// The row loops are written for the auto-vectoriser: restrict pointers, one
// statement per component, saturation by comparisons, alpha skipped by a
// select on the component index. Square roots are the exception: the
// compiler's square root keeps errno semantics (a branch per element), so
// roots run in blocks: a vectorised pass prepares the arguments, square-root
// instructions of the level's widest vectors take the block, and a
// vectorised pass scales, rounds and stores.
#include <immintrin.h>

// GCC 12 reports the undefined pass-through operand inside _mm512_sqrt_pd's own header as "may be
// used uninitialized" once the intrinsic is inlined; the operand is never read (every lane is
// computed), so the warning is switched off for this file only.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "rows.h"
#include "sqr_kernels.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::sqr::ZKR_LEVEL_NS {

#include "saturate.inc"
#include "unary_rows.inc"

// ---- element operations -------------------------------------------------------

// Squares of 8u and 16s fit 32 unsigned bits with room for the rounding bias;
// squares of 16u need 64 bits.
template <class S> struct SquareType { using W = std::uint32_t; };
template <> struct SquareType<Zkr16u> { using W = std::uint64_t; };

// x * x scaled by 2^-sf (rounding half to even) and saturated to S. A square
// is never negative, so only the upper bound saturates.
template <class S, Mode M> struct SqrInt {
    using W = typename SquareType<S>::W;
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

struct Sqr32f {
    explicit Sqr32f(int) {}
    Zkr32f operator()(Zkr32f x) const { return x * x; }
};

struct Abs16s {
    explicit Abs16s(int) {}
    Zkr16s operator()(Zkr16s x) const {
        const std::int32_t a = x < 0 ? -std::int32_t(x) : std::int32_t(x);
        return Zkr16s(a > 32767 ? 32767 : a);
    }
};

struct Abs32f {
    explicit Abs32f(int) {}
    Zkr32f operator()(Zkr32f x) const { return __builtin_fabsf(x); }
};

// ---- square roots in blocks ----------------------------------------------------

inline constexpr int kSqrtBlock = 512;  // components; a multiple of 4 keeps alpha at i % 4 == 3

// Square roots of n values in place with the widest vectors of the level.
inline void sqrtBlock(float* v, int n) {
    int i = 0;
#if defined(__AVX512F__)
    for (; i + 16 <= n; i += 16) _mm512_storeu_ps(v + i, _mm512_sqrt_ps(_mm512_loadu_ps(v + i)));
#endif
#if defined(__AVX__)
    for (; i + 8 <= n; i += 8) _mm256_storeu_ps(v + i, _mm256_sqrt_ps(_mm256_loadu_ps(v + i)));
#endif
    for (; i + 4 <= n; i += 4) _mm_storeu_ps(v + i, _mm_sqrt_ps(_mm_loadu_ps(v + i)));
    for (; i < n; ++i) _mm_store_ss(v + i, _mm_sqrt_ss(_mm_load_ss(v + i)));
}

inline void sqrtBlock(double* v, int n) {
    int i = 0;
#if defined(__AVX512F__)
    for (; i + 8 <= n; i += 8) _mm512_storeu_pd(v + i, _mm512_sqrt_pd(_mm512_loadu_pd(v + i)));
#endif
#if defined(__AVX__)
    for (; i + 4 <= n; i += 4) _mm256_storeu_pd(v + i, _mm256_sqrt_pd(_mm256_loadu_pd(v + i)));
#endif
    for (; i + 2 <= n; i += 2) _mm_storeu_pd(v + i, _mm_sqrt_pd(_mm_loadu_pd(v + i)));
    for (; i < n; ++i) {
        const __m128d x = _mm_load_sd(v + i);
        _mm_store_sd(v + i, _mm_sqrt_sd(x, x));
    }
}

// Float roots are taken in float; integer ones in double, where the root of
// a 16-bit value is exact enough for the rounding to be decided correctly at
// every scale factor.
template <class S> using RootType = std::conditional_t<std::is_same_v<S, Zkr32f>, Zkr32f, Zkr64f>;

// Arguments of a block; a negative integer becomes 0 (its root is 0), a
// negative float stays (its root is NaN, as the instruction gives it).
// Returns nonzero when a processed component was negative.
template <class S, bool alpha>
ZKR_NOINLINE int sqrtPrepare(const S* __restrict s, RootType<S>* __restrict r, int n) {
    using R = RootType<S>;
    int neg = 0;
    for (int i = 0; i < n; ++i) {
        const S x = s[i];
        const bool skip = alpha && (i & 3) == 3;
        if constexpr (std::is_signed_v<S> || std::is_floating_point_v<S>) neg |= int(!skip && x < S(0));
        if constexpr (std::is_floating_point_v<S>) r[i] = x;
        else r[i] = x < 0 ? R(0) : R(x);
    }
    return neg;
}

// Roots to results: float as they are; integers times 2^-sf, saturated, then
// rounded half to even by adding and removing 2^52 (exact for values in
// [0, 2^52) in the default rounding mode).
template <class S, bool alpha>
ZKR_NOINLINE void sqrtFinish(const RootType<S>* __restrict r, S* __restrict d, int n, double mul) {
    for (int i = 0; i < n; ++i) {
        const bool skip = alpha && (i & 3) == 3;
        S v;
        if constexpr (std::is_floating_point_v<S>) {
            v = r[i];
        } else {
            constexpr double hi = double(std::numeric_limits<S>::max());
            const double x = r[i] * mul;
            const double c = x > hi ? hi : x;
            v = S(std::int32_t((c + 0x1p52) - 0x1p52));
        }
        d[i] = skip ? d[i] : v;
    }
}

template <class S, bool alpha, bool inPlace> int sqrtRows(const UnaryJob& j, int y0, int y1) {
    const int sf = j.scale > 64 ? 64 : (j.scale < -64 ? -64 : j.scale);
    const double mul = std::ldexp(1.0, -sf);
    const std::ptrdiff_t rowBytes = std::ptrdiff_t(j.rowLen) * std::ptrdiff_t(sizeof(S));
    const RowRuns r = rowRuns(stepsAre(rowBytes, j.dStep, inPlace ? j.dStep : j.sStep), j.rowLen, y0, y1);
    alignas(64) RootType<S> roots[kSqrtBlock];
    int neg = 0;
    for (int y = y0; y < r.yEnd; ++y) {
        S* d = rowOf<S>(j.d, j.dStep, y);
        const S* s = inPlace ? d : rowOf<S>(j.s, j.sStep, y);
        for (std::ptrdiff_t x = 0; x < r.len; x += kSqrtBlock) {
            const int n = int(r.len - x < kSqrtBlock ? r.len - x : kSqrtBlock);
            neg |= sqrtPrepare<S, alpha>(s + x, roots, n);
            sqrtBlock(roots, n);
            sqrtFinish<S, alpha>(roots, d + x, n, mul);
        }
    }
    return neg != 0 ? kNegative : 0;
}

// The rows of operation op on component type S, for setUnaryRows.
template <class S, Kop op> struct Rows {
    template <bool alpha, bool inPlace> static int run(const UnaryJob& j, int y0, int y1) {
        if constexpr (op == Kop::Sqrt) {
            return sqrtRows<S, alpha, inPlace>(j, y0, y1);
        } else if constexpr (std::is_same_v<S, Zkr32f>) {
            if constexpr (op == Kop::Sqr) return unaryRows<S, alpha, inPlace>(j, y0, y1, Sqr32f(0));
            else return unaryRows<S, alpha, inPlace>(j, y0, y1, Abs32f(0));
        } else if constexpr (op == Kop::Sqr) {
            if (j.scale == 0) return unaryRows<S, alpha, inPlace>(j, y0, y1, SqrInt<S, Mode::Exact>(0));
            if (j.scale > 0) return unaryRows<S, alpha, inPlace>(j, y0, y1, SqrInt<S, Mode::Down>(j.scale));
            return unaryRows<S, alpha, inPlace>(j, y0, y1, SqrInt<S, Mode::Up>(j.scale));
        } else {
            static_assert(std::is_same_v<S, Zkr16s>, "Abs of this type is not in the family");
            return unaryRows<S, alpha, inPlace>(j, y0, y1, Abs16s(0));
        }
    }
};

// ---- the level's kernel table -----------------------------------------------

template <class S> constexpr void fillType(Kernels& ks) {
    setUnaryRows<S, Rows<S, Kop::Sqr>>(ks, int(Kop::Sqr));
    setUnaryRows<S, Rows<S, Kop::Sqrt>>(ks, int(Kop::Sqrt));
    if constexpr (std::is_same_v<S, Zkr16s> || std::is_same_v<S, Zkr32f>) setUnaryRows<S, Rows<S, Kop::Abs>>(ks, int(Kop::Abs));
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

}  // namespace zkr::sqr::ZKR_LEVEL_NS
