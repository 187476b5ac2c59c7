// The Alpha family's compositing kernels, compiled once per instruction-set
// level: the build defines ZKR_LEVEL_NS (base, avx2, avx512) and passes that
// level's code generation flags. The loops are written for the
// auto-vectoriser: restrict pointers, the pixel as a group of four
// components, the weights of each pixel computed once, selects instead of
// branches; 8u runs in 32-bit integers, 16u in double (every product and sum
// is exact there), 32f in float.
#include <cstddef>
#include <cstdint>
#include <utility>

#include "alpha_kernels.h"
#include "rows.h"

#if defined(__AVX2__)
#include <immintrin.h>
// GCC 12 reports the undefined pass-through operand inside the AVX-512 headers' own
// intrinsics as "may be used uninitialized" once they are inlined; that operand is never read
// (every lane is computed), so the warning is off for this file.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <type_traits>

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::alpha::ZKR_LEVEL_NS {
namespace {

// S: signed type of the factors, W: type of the weighted sums, max: the
// alpha of an opaque pixel, finish: the sum over max * max to an element.
template <class T> struct Arith;
template <> struct Arith<Zkr8u> {
    using S = int;
    using W = std::uint32_t;
    static constexpr S max = 255;
    // Sums are below 2 * 255^3, so 2 * n + 255^2 fits 32 bits; the exact
    // quotient is never a tie (odd divisor), the floor of (n + D/2) / D rounds it.
    static Zkr8u finish(W n) {
        const W r = (2 * n + 65025u) / 130050u;
        return Zkr8u(r > 255u ? 255u : r);
    }
};
template <> struct Arith<Zkr16u> {
    using S = double;
    using W = double;
    static constexpr S max = 65535.0;
    // Sums are integers below 2^50, exact in double; the quotient's error is
    // far below its distance from any half (at least 1 / (2 * 65535^2)).
    static Zkr16u finish(W n) {
        const double r = n / 4294836225.0 + 0.5;
        return r >= 65535.0 ? Zkr16u(65535) : Zkr16u(int(r));
    }
};
template <> struct Arith<Zkr32f> {
    using S = float;
    using W = float;
    static constexpr S max = 1.0f;
    static Zkr32f finish(W n) { return n; }
};

template <class T> using W = typename Arith<T>::W;
template <class T> using S = typename Arith<T>::S;

// Fa and Fb of the operation in units of max, from the alphas.
// A factor that does not depend on an alpha never multiplies it by zero, so that an infinite
// or NaN alpha reaches only the terms whose definition holds it.
template <class T> inline W<T> factorA(const Factors& f, S<T> aB) {
    const S<T> fixed = S<T>(f.fa0) * Arith<T>::max;
    return W<T>(f.fa1 == 0 ? fixed : fixed + S<T>(f.fa1) * aB);
}
template <class T> inline W<T> factorB(const Factors& f, S<T> aA) {
    const S<T> fixed = S<T>(f.fb0) * Arith<T>::max;
    return W<T>(f.fb1 == 0 ? fixed : fixed + S<T>(f.fb1) * aA);
}
// Fa * A + Fb * B, without the term of B where the operation's Fb is zero by definition (IN, OUT):
// an infinite or NaN component of B does not reach the result through a zero weight.
template <class T> inline W<T> weighted(bool hasB, W<T> a, W<T> wA, W<T> b, W<T> wB) {
    return hasB ? a * wA + b * wB : a * wA;
}
inline bool hasTermB(const Factors& f) { return f.fb0 != 0 || f.fb1 != 0; }

// ---- per-pixel alpha ------------------------------------------------------------

#if defined(__AVX2__)
// The 8u pixel kernel on whole vectors: every component widened to 32 bits, the pixel's alphas
// broadcast over its four lanes by a byte shuffle, the weighted sum n formed exactly as in the
// scalar loop, and the rounded quotient floor((2n + 65025) / 130050) taken as (x * kDivM) >> 43:
// for x < 2^26 (n < 2 * 255^3) that is the quotient exactly, since
// x * (kDivM * 130050 - 2^43) < 2^43. The narrowing to bytes saturates at 255.
constexpr long long kDivM = 67636241;  // ceil(2^43 / 130050)

#if defined(__AVX512BW__)
using V32 = __m512i;  // 16 lanes: four pixels
inline V32 splat32(int v) { return _mm512_set1_epi32(v); }
inline V32 add32(V32 x, V32 y) { return _mm512_add_epi32(x, y); }
inline V32 mul32(V32 x, V32 y) { return _mm512_mullo_epi32(x, y); }
inline V32 alphaLanesTo255(V32 v) { return _mm512_mask_blend_epi32(__mmask16(0x8888), v, splat32(255)); }
// Four pixels: their components, and each pixel's alpha in all four of its lanes.
inline void load4(const Zkr8u* p, V32& c, V32& alpha) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i idx = _mm_setr_epi8(3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15);
    c = _mm512_cvtepu8_epi32(bytes);
    alpha = _mm512_cvtepu8_epi32(_mm_shuffle_epi8(bytes, idx));
}
inline V32 quotient(V32 x) {
    const __m512i m = _mm512_set1_epi64(kDivM);
    const __m512i even = _mm512_srli_epi64(_mm512_mul_epu32(x, m), 43);
    const __m512i odd = _mm512_srli_epi64(_mm512_mul_epu32(_mm512_srli_epi64(x, 32), m), 11);
    return _mm512_mask_blend_epi32(__mmask16(0xAAAA), even, odd);
}
inline void store4(Zkr8u* p, V32 q) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm512_cvtusepi32_epi8(q)); }
#else
// AVX2: two vectors of eight lanes (two pixels each) for four pixels.
struct V32 {
    __m256i lo, hi;
};
inline V32 splat32(int v) { return {_mm256_set1_epi32(v), _mm256_set1_epi32(v)}; }
inline V32 add32(V32 x, V32 y) { return {_mm256_add_epi32(x.lo, y.lo), _mm256_add_epi32(x.hi, y.hi)}; }
inline V32 mul32(V32 x, V32 y) { return {_mm256_mullo_epi32(x.lo, y.lo), _mm256_mullo_epi32(x.hi, y.hi)}; }
inline V32 alphaLanesTo255(V32 v) {
    const __m256i k = _mm256_set1_epi32(255);
    return {_mm256_blend_epi32(v.lo, k, 0x88), _mm256_blend_epi32(v.hi, k, 0x88)};
}
inline void load4(const Zkr8u* p, V32& c, V32& alpha) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i idx = _mm_setr_epi8(3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15);
    const __m128i al = _mm_shuffle_epi8(bytes, idx);
    c = {_mm256_cvtepu8_epi32(bytes), _mm256_cvtepu8_epi32(_mm_srli_si128(bytes, 8))};
    alpha = {_mm256_cvtepu8_epi32(al), _mm256_cvtepu8_epi32(_mm_srli_si128(al, 8))};
}
inline __m256i quotient8(__m256i x) {
    const __m256i m = _mm256_set1_epi64x(kDivM);
    const __m256i even = _mm256_srli_epi64(_mm256_mul_epu32(x, m), 43);
    const __m256i odd = _mm256_srli_epi64(_mm256_mul_epu32(_mm256_srli_epi64(x, 32), m), 11);
    return _mm256_blend_epi32(even, odd, 0xAA);
}
inline V32 quotient(V32 x) { return {quotient8(x.lo), quotient8(x.hi)}; }
inline void store4(Zkr8u* p, V32 q) {
    // Saturating packs to 16 and 8 bits; the 64-bit permute puts the two halves back in order.
    const __m256i w = _mm256_permute4x64_epi64(_mm256_packus_epi32(q.lo, q.hi), 0xD8);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p),
                     _mm_packus_epi16(_mm256_castsi256_si128(w), _mm256_extracti128_si256(w, 1)));
}
#endif

// Four pixels a step; returns the pixels done, the caller finishes the row with the scalar loop.
template <bool premul>
std::ptrdiff_t pixelRow8uVec(const Zkr8u* __restrict a, const Zkr8u* __restrict b, Zkr8u* __restrict d,
                             std::ptrdiff_t pixels, Factors f) {
    const V32 fa0 = splat32(f.fa0 * 255), fa1 = splat32(f.fa1), fb0 = splat32(f.fb0 * 255), fb1 = splat32(f.fb1);
    const V32 half = splat32(65025), c255 = splat32(255);
    std::ptrdiff_t p = 0;
    for (; p + 4 <= pixels; p += 4) {
        V32 ca, aA, cb, aB;
        load4(a + 4 * p, ca, aA);
        load4(b + 4 * p, cb, aB);
        const V32 fa = add32(fa0, mul32(fa1, aB)), fb = add32(fb0, mul32(fb1, aA));
        // Colour lanes weigh by their pixel's alpha (premultiplied: by max), the alpha lane by max.
        const V32 wA = mul32(premul ? c255 : alphaLanesTo255(aA), fa);
        const V32 wB = mul32(premul ? c255 : alphaLanesTo255(aB), fb);
        const V32 n = add32(mul32(ca, wA), mul32(cb, wB));
        store4(d + 4 * p, quotient(add32(add32(n, n), half)));
    }
    return p;
}
#endif

// `pixels` interleaved pixels of four components, the fourth the alpha.
template <class T, bool premul>
ZKR_NOINLINE void pixelRow(const T* __restrict a, const T* __restrict b, T* __restrict d, std::ptrdiff_t pixels,
                           Factors f) {
    using A = Arith<T>;
    constexpr W<T> m = W<T>(A::max);
    const bool hasB = hasTermB(f);
    std::ptrdiff_t p = 0;
#if defined(__AVX2__)
    if constexpr (std::is_same_v<T, Zkr8u>) p = pixelRow8uVec<premul>(a, b, d, pixels, f);
#endif
    for (; p < pixels; ++p) {
        const T* pa = a + 4 * p;
        const T* pb = b + 4 * p;
        T* pd = d + 4 * p;
        const S<T> aA = S<T>(pa[3]), aB = S<T>(pb[3]);
        const W<T> fa = factorA<T>(f, aB), fb = factorB<T>(f, aA);
        const W<T> wA = (premul ? m : W<T>(aA)) * fa, wB = (premul ? m : W<T>(aB)) * fb;
        pd[0] = A::finish(weighted<T>(hasB, W<T>(pa[0]), wA, W<T>(pb[0]), wB));
        pd[1] = A::finish(weighted<T>(hasB, W<T>(pa[1]), wA, W<T>(pb[1]), wB));
        pd[2] = A::finish(weighted<T>(hasB, W<T>(pa[2]), wA, W<T>(pb[2]), wB));
        pd[3] = A::finish(weighted<T>(hasB, W<T>(aA), m * fa, W<T>(aB), m * fb));
    }
}

// One plane of a planar image: values ca, cb with alphas aa, ab. The alpha
// plane itself is the case ca == aa, cb == ab, premul (weights max * F).
template <class T, bool premul>
ZKR_NOINLINE void planeRow(const T* __restrict ca, const T* __restrict aa, const T* __restrict cb,
                           const T* __restrict ab, T* __restrict d, std::ptrdiff_t n, Factors f) {
    using A = Arith<T>;
    constexpr W<T> m = W<T>(A::max);
    const bool hasB = hasTermB(f);
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        const S<T> aA = S<T>(aa[i]), aB = S<T>(ab[i]);
        const W<T> wA = (premul ? m : W<T>(aA)) * factorA<T>(f, aB);
        const W<T> wB = (premul ? m : W<T>(aB)) * factorB<T>(f, aA);
        d[i] = A::finish(weighted<T>(hasB, W<T>(ca[i]), wA, W<T>(cb[i]), wB));
    }
}

// ---- constant alphas ----------------------------------------------------------------

template <class T>
ZKR_NOINLINE void constRow(const T* __restrict a, const T* __restrict b, T* __restrict d, std::ptrdiff_t n, W<T> wA,
                           W<T> wB, bool hasB) {
    for (std::ptrdiff_t i = 0; i < n; ++i) d[i] = Arith<T>::finish(weighted<T>(hasB, W<T>(a[i]), wA, W<T>(b[i]), wB));
}

// AC4: three colour components of every pixel, the fourth left alone.
template <class T>
ZKR_NOINLINE void constRowKeep(const T* __restrict a, const T* __restrict b, T* __restrict d, std::ptrdiff_t pixels,
                               W<T> wA, W<T> wB, bool hasB) {
    for (std::ptrdiff_t p = 0; p < pixels; ++p) {
        d[4 * p] = Arith<T>::finish(weighted<T>(hasB, W<T>(a[4 * p]), wA, W<T>(b[4 * p]), wB));
        d[4 * p + 1] = Arith<T>::finish(weighted<T>(hasB, W<T>(a[4 * p + 1]), wA, W<T>(b[4 * p + 1]), wB));
        d[4 * p + 2] = Arith<T>::finish(weighted<T>(hasB, W<T>(a[4 * p + 2]), wA, W<T>(b[4 * p + 2]), wB));
    }
}

// Colour-keyed source 1: its pixels of the key's colour weigh nothing and
// have alpha 0 for the factor of source 2.
ZKR_NOINLINE void keyRow(const Zkr8u* __restrict a, const Zkr8u* __restrict b, Zkr8u* __restrict d,
                         std::ptrdiff_t pixels, Factors f, int alpha1, int alpha2, Zkr8u k0, Zkr8u k1, Zkr8u k2) {
    using A = Arith<Zkr8u>;
    const W<Zkr8u> fa = factorA<Zkr8u>(f, alpha2);
    const W<Zkr8u> wAOpaque = (f.premul ? 255u : W<Zkr8u>(alpha1)) * fa;
    const W<Zkr8u> fbOpaque = factorB<Zkr8u>(f, alpha1), fbKeyed = factorB<Zkr8u>(f, 0);
    const W<Zkr8u> weightB = f.premul ? 255u : W<Zkr8u>(alpha2);
    for (std::ptrdiff_t p = 0; p < pixels; ++p) {
        const Zkr8u* pa = a + 4 * p;
        const Zkr8u* pb = b + 4 * p;
        Zkr8u* pd = d + 4 * p;
        const bool keyed = (pa[0] == k0) & (pa[1] == k1) & (pa[2] == k2);
        const W<Zkr8u> wA = keyed ? 0u : wAOpaque;
        const W<Zkr8u> wB = weightB * (keyed ? fbKeyed : fbOpaque);
        pd[0] = A::finish(W<Zkr8u>(pa[0]) * wA + W<Zkr8u>(pb[0]) * wB);
        pd[1] = A::finish(W<Zkr8u>(pa[1]) * wA + W<Zkr8u>(pb[1]) * wB);
        pd[2] = A::finish(W<Zkr8u>(pa[2]) * wA + W<Zkr8u>(pb[2]) * wB);
    }
}

// ---- rows of a job --------------------------------------------------------------

// Rows of `n` units stored without gaps in all three images run as one long row.
inline RowRuns spans(const AlphaJob& j, std::ptrdiff_t rowBytes, std::ptrdiff_t n, int y0, int y1) {
    return rowRuns(stepsAre(rowBytes, j.aStep, j.bStep, j.dStep), int(n), y0, y1);
}

template <class T, bool premul> void pixelInterleaved(const AlphaJob& j, int y0, int y1) {
    const auto [yEnd, n] = spans(j, std::ptrdiff_t(j.width) * 4 * std::ptrdiff_t(sizeof(T)), j.width, y0, y1);
    for (int y = y0; y < yEnd; ++y) {
        pixelRow<T, premul>(rowOf<T>(j.a[0], j.aStep, y), rowOf<T>(j.b[0], j.bStep, y), rowOf<T>(j.d[0], j.dStep, y),
                            n, j.f);
    }
}

template <class T, bool premul> void pixelPlanar(const AlphaJob& j, int y0, int y1) {
    const auto [yEnd, n] = spans(j, std::ptrdiff_t(j.width) * std::ptrdiff_t(sizeof(T)), j.width, y0, y1);
    for (int y = y0; y < yEnd; ++y) {
        const T* aa = rowOf<T>(j.a[3], j.aStep, y);
        const T* ab = rowOf<T>(j.b[3], j.bStep, y);
        for (int c = 0; c < 3; ++c)
            planeRow<T, premul>(rowOf<T>(j.a[c], j.aStep, y), aa, rowOf<T>(j.b[c], j.bStep, y), ab,
                                rowOf<T>(j.d[c], j.dStep, y), n, j.f);
        planeRow<T, true>(aa, aa, ab, ab, rowOf<T>(j.d[3], j.dStep, y), n, j.f);
    }
}

template <class T> void constant(const AlphaJob& j, int y0, int y1) {
    using A = Arith<T>;
    constexpr W<T> m = W<T>(A::max);
    const S<T> alpha1 = S<T>(j.alpha1), alpha2 = S<T>(j.alpha2);
    const W<T> wA = (j.f.premul ? m : W<T>(alpha1)) * factorA<T>(j.f, alpha2);
    const W<T> wB = (j.f.premul ? m : W<T>(alpha2)) * factorB<T>(j.f, alpha1);
    const std::ptrdiff_t perRow = std::ptrdiff_t(j.width) * j.channels;
    const auto [yEnd, n] = spans(j, perRow * std::ptrdiff_t(sizeof(T)), j.keepLast ? j.width : perRow, y0, y1);
    for (int y = y0; y < yEnd; ++y) {
        const T* a = rowOf<T>(j.a[0], j.aStep, y);
        const T* b = rowOf<T>(j.b[0], j.bStep, y);
        T* d = rowOf<T>(j.d[0], j.dStep, y);
        if (j.keepLast) constRowKeep<T>(a, b, d, n, wA, wB, hasTermB(j.f));
        else constRow<T>(a, b, d, n, wA, wB, hasTermB(j.f));
    }
}

void colorKey8u(const AlphaJob& j, int y0, int y1) {
    const auto* key = static_cast<const Zkr8u*>(j.key);
    const auto [yEnd, n] = spans(j, std::ptrdiff_t(j.width) * 4, j.width, y0, y1);
    for (int y = y0; y < yEnd; ++y) {
        keyRow(rowOf<Zkr8u>(j.a[0], j.aStep, y), rowOf<Zkr8u>(j.b[0], j.bStep, y), rowOf<Zkr8u>(j.d[0], j.dStep, y), n,
               j.f, int(j.alpha1), int(j.alpha2), key[0], key[1], key[2]);
    }
}

template <class T> constexpr void fillType(Kernels& ks) {
    constexpr int t = int(ATypeOf<T>::id);
    ks.pixelInterleaved[t][0] = &pixelInterleaved<T, false>;
    ks.pixelInterleaved[t][1] = &pixelInterleaved<T, true>;
    ks.pixelPlanar[t][0] = &pixelPlanar<T, false>;
    ks.pixelPlanar[t][1] = &pixelPlanar<T, true>;
    ks.constant[t] = &constant<T>;
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillType<Zkr8u>(ks);
    fillType<Zkr16u>(ks);
    fillType<Zkr32f>(ks);
    ks.colorKey8u = &colorKey8u;
    return ks;
}

}  // namespace

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::alpha::ZKR_LEVEL_NS

