// The multiplication family's kernels. Compiled once per instruction-set
// level: the build defines ZKR_LEVEL_NS (base, avx2, avx512) and passes that
// level's code generation flags, so every template below is instantiated per
// level and nothing here may call out-of-line library code.
//
// The loops are written for the auto-vectoriser: restrict pointers, one
// statement per element, products in the narrowest type that holds them
// (8u products in 16 bits, so a vector of bytes is two vectors of words),
// saturation by comparisons and selects.
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#if defined(__AVX2__)
#include <immintrin.h>
#endif

#include "mul_kernels.h"
#include "rows.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif


namespace zkr::mul::ZKR_LEVEL_NS {
namespace {

using I128 = __int128;

// ---- integer results to components -------------------------------------------------------

template <class S> struct Lim;
template <> struct Lim<Zkr8u>  { static constexpr std::int64_t lo = 0, hi = 255; static constexpr int bits = 8; };
template <> struct Lim<Zkr16u> { static constexpr std::int64_t lo = 0, hi = 65535; static constexpr int bits = 16; };
template <> struct Lim<Zkr16s> { static constexpr std::int64_t lo = -32768, hi = 32767; static constexpr int bits = 16; };
template <> struct Lim<Zkr32s> {
    static constexpr std::int64_t lo = -2147483647LL - 1, hi = 2147483647LL;
    static constexpr int bits = 32;
};

// Exact: scale factor 0, saturate only. Down: > 0, divide by 2^sf rounding
// half to even. Up: < 0, multiply by 2^-sf. Both saturate.
enum class Mode { Exact, Down, Up };

// Wide products: W holds every product (and sum of two products) exactly;
// their magnitude stays below 2^magBits.
template <class W> struct Wide;
template <> struct Wide<std::int64_t> { static constexpr int magBits = 33; };
template <> struct Wide<I128> { static constexpr int magBits = 64; };

template <class W> struct Scale {
    int sf = 0;    // Down: right shift
    W bias = 0;    // Down: 2^(sf-1) - 1
    int k = 0;     // Up: left shift
    W loT = 0;     // Up: smallest x with x * 2^k >= lo
    W hiT = 0;     // Up: largest x with x * 2^k <= hi
};

// Shifts beyond the products' magnitude change nothing (every result rounds
// to 0, or saturates), so they are clamped and every step stays exact in W.
template <class S, class W> Scale<W> makeScale(int sf) {
    Scale<W> p;
    if (sf > 0) {
        p.sf = sf > Wide<W>::magBits + 1 ? Wide<W>::magBits + 1 : sf;
        p.bias = (W(1) << (p.sf - 1)) - 1;
    } else if (sf < 0) {
        p.k = sf < -Lim<S>::bits ? Lim<S>::bits : -sf;
        p.hiT = W(Lim<S>::hi) >> p.k;
        p.loT = -(W(-Lim<S>::lo) >> p.k);
    }
    return p;
}

template <class S, Mode M, class W> inline S narrow(W x, const Scale<W>& p) {
    constexpr W lo = W(Lim<S>::lo), hi = W(Lim<S>::hi);
    if constexpr (M == Mode::Exact) {
        return S(x < lo ? lo : (x > hi ? hi : x));
    } else if constexpr (M == Mode::Down) {
        // floor((x + 2^(sf-1) - 1 + odd(floor(x / 2^sf))) / 2^sf) is x / 2^sf
        // rounded to nearest, ties to even.
        const W r = (x + p.bias + ((x >> p.sf) & 1)) >> p.sf;
        return S(r < lo ? lo : (r > hi ? hi : r));
    } else {
        return S(x > p.hiT ? hi : (x < p.loT ? lo : W(x * (W(1) << p.k))));
    }
}

// ---- one component ------------------------------------------------------------------------

// a * b / max rounded to nearest (max is odd: no ties) and saturated.
// 8u and 16u: with x = p + 2^(n-1), (x + (x >> n)) >> n is p / (2^n - 1)
// rounded, exactly, for every product p of two components.
inline Zkr8u divMax(Zkr8u a, Zkr8u b) {
    const std::uint16_t x = std::uint16_t(std::uint16_t(a) * std::uint16_t(b) + 128u);
    return Zkr8u((x + (x >> 8)) >> 8);
}
inline Zkr16u divMax(Zkr16u a, Zkr16u b) {
    const std::uint32_t x = std::uint32_t(a) * std::uint32_t(b) + 32768u;
    return Zkr16u((x + (x >> 16)) >> 16);
}
inline Zkr16s divMax(Zkr16s a, Zkr16s b) {
    const std::int32_t p = std::int32_t(a) * std::int32_t(b);
    const std::uint32_t mag = p < 0 ? std::uint32_t(-p) : std::uint32_t(p);
    const std::int32_t q = std::int32_t((mag + 16383u) / 32767u);
    const std::int32_t r = p < 0 ? -q : q;
    return Zkr16s(r > 32767 ? 32767 : r);  // only (-32768)^2 / 32767 leaves the range
}
inline Zkr32f divMax(Zkr32f a, Zkr32f b) { return a * b; }

// a * b with scale factor and saturation, in the narrowest exact type.
template <class S, Mode M> inline S mulScaled(S a, S b, const Scale<std::int64_t>& p) {
    if constexpr (std::is_same_v<S, Zkr32f>) {
        return a * b;
    } else if constexpr (M == Mode::Exact && std::is_same_v<S, Zkr8u>) {
        const std::uint16_t x = std::uint16_t(std::uint16_t(a) * std::uint16_t(b));
        return Zkr8u(x > 255u ? 255u : x);
    } else if constexpr (M == Mode::Exact && std::is_same_v<S, Zkr16u>) {
        const std::uint32_t x = std::uint32_t(a) * std::uint32_t(b);
        return Zkr16u(x > 65535u ? 65535u : x);
    } else if constexpr (M == Mode::Exact && std::is_same_v<S, Zkr16s>) {
        const std::int32_t x = std::int32_t(a) * std::int32_t(b);
        return Zkr16s(x > 32767 ? 32767 : (x < -32768 ? -32768 : x));
    } else {
        return narrow<S, M>(std::int64_t(a) * std::int64_t(b), p);
    }
}

template <class S, Kop op, Mode M> inline S apply(S a, S b, const Scale<std::int64_t>& p) {
    if constexpr (op == Kop::Mul) return mulScaled<S, M>(a, b, p);
    else return divMax(a, b);
}

// ---- saturating 8u and 16s products, vectorised by hand ---------------------------------------
//
// The compiler widens a byte product to words and narrows it back with lane
// crossing shuffles, which all queue on one port. Here 8u takes the even bytes
// of each word (a & 0xff) * (b & 0xff) and the odd bytes from the high half
// of (a & 0xff00) * (b & 0xff00), saturates both to 255 and merges them: no
// shuffle at all. 16s interleaves the low and high halves of the 32-bit
// products and packs them back with signed saturation, both within lanes.

#if defined(__AVX512BW__)
using Vec = __m512i;
inline constexpr int kVecBytes = 64;
inline Vec vload(const void* p) { return _mm512_loadu_si512(p); }
inline void vstore(void* p, Vec v) { _mm512_storeu_si512(p, v); }
inline Vec mulSat(Vec a, Vec b, Zkr8u) {
    const Vec low = _mm512_set1_epi16(0x00ff), high = _mm512_set1_epi16(std::int16_t(0xff00));
    const Vec even = _mm512_mullo_epi16(_mm512_and_si512(a, low), _mm512_and_si512(b, low));
    const Vec odd = _mm512_mulhi_epu16(_mm512_and_si512(a, high), _mm512_and_si512(b, high));
    return _mm512_or_si512(_mm512_min_epu16(even, low), _mm512_slli_epi16(_mm512_min_epu16(odd, low), 8));
}
inline Vec mulSat(Vec a, Vec b, Zkr16s) {
    const Vec lo = _mm512_mullo_epi16(a, b), hi = _mm512_mulhi_epi16(a, b);
    return _mm512_packs_epi32(_mm512_unpacklo_epi16(lo, hi), _mm512_unpackhi_epi16(lo, hi));
}
#elif defined(__AVX2__)
using Vec = __m256i;
inline constexpr int kVecBytes = 32;
inline Vec vload(const void* p) { return _mm256_loadu_si256(static_cast<const Vec*>(p)); }
inline void vstore(void* p, Vec v) { _mm256_storeu_si256(static_cast<Vec*>(p), v); }
inline Vec mulSat(Vec a, Vec b, Zkr8u) {
    const Vec low = _mm256_set1_epi16(0x00ff), high = _mm256_set1_epi16(std::int16_t(0xff00));
    const Vec even = _mm256_mullo_epi16(_mm256_and_si256(a, low), _mm256_and_si256(b, low));
    const Vec odd = _mm256_mulhi_epu16(_mm256_and_si256(a, high), _mm256_and_si256(b, high));
    return _mm256_or_si256(_mm256_min_epu16(even, low), _mm256_slli_epi16(_mm256_min_epu16(odd, low), 8));
}
inline Vec mulSat(Vec a, Vec b, Zkr16s) {
    const Vec lo = _mm256_mullo_epi16(a, b), hi = _mm256_mulhi_epi16(a, b);
    return _mm256_packs_epi32(_mm256_unpacklo_epi16(lo, hi), _mm256_unpackhi_epi16(lo, hi));
}
#endif

template <class S> inline constexpr bool kHandMul = false;
#if defined(__AVX2__)
template <> inline constexpr bool kHandMul<Zkr8u> = true;
template <> inline constexpr bool kHandMul<Zkr16s> = true;
#endif

// d = a * b saturated, scale factor 0; b may be d (in place).
template <class S, Mode M> inline void mulSatRow(const S* a, const S* b, S* d, std::ptrdiff_t n) {
    std::ptrdiff_t i = 0;
#if defined(__AVX2__)
    constexpr std::ptrdiff_t lanes = kVecBytes / std::ptrdiff_t(sizeof(S));
    for (; i + lanes <= n; i += lanes) vstore(d + i, mulSat(vload(a + i), vload(b + i), S{}));
#endif
    for (; i < n; ++i) d[i] = mulScaled<S, M>(a[i], b[i], {});
}

// ---- real row loops -----------------------------------------------------------------------

template <class S, Kop op, Mode M>
ZKR_NOINLINE void loopBinary(const S* __restrict a, const S* __restrict b, S* __restrict d, std::ptrdiff_t n,
                             Scale<std::int64_t> p) {
    if constexpr (op == Kop::Mul && M == Mode::Exact && kHandMul<S>) mulSatRow<S, M>(a, b, d, n);
    else for (std::ptrdiff_t i = 0; i < n; ++i) d[i] = apply<S, op, M>(a[i], b[i], p);
}

template <class S, Kop op, Mode M>
ZKR_NOINLINE void loopInPlace(const S* __restrict a, S* __restrict d, std::ptrdiff_t n, Scale<std::int64_t> p) {
    if constexpr (op == Kop::Mul && M == Mode::Exact && kHandMul<S>) mulSatRow<S, M>(a, d, d, n);
    else for (std::ptrdiff_t i = 0; i < n; ++i) d[i] = apply<S, op, M>(a[i], d[i], p);
}

template <class S, Kop op, Mode M>
ZKR_NOINLINE void loopScalar(S v, const S* __restrict b, S* __restrict d, std::ptrdiff_t n, Scale<std::int64_t> p) {
    for (std::ptrdiff_t i = 0; i < n; ++i) d[i] = apply<S, op, M>(v, b[i], p);
}

template <class S, Kop op, Mode M>
ZKR_NOINLINE void loopScalarInPlace(S v, S* __restrict d, std::ptrdiff_t n, Scale<std::int64_t> p) {
    for (std::ptrdiff_t i = 0; i < n; ++i) d[i] = apply<S, op, M>(v, d[i], p);
}

template <class S, Kop op, Mode M>
ZKR_NOINLINE void loopBinaryMasked(const S* __restrict a, const S* __restrict b, S* __restrict d,
                                   const MaskOf<S>* __restrict m, std::ptrdiff_t n, Scale<std::int64_t> p) {
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        const S r = apply<S, op, M>(a[i], b[i], p);
        d[i] = m[i] ? r : d[i];
    }
}

template <class S, Kop op, Mode M>
ZKR_NOINLINE void loopInPlaceMasked(const S* __restrict a, S* __restrict d, const MaskOf<S>* __restrict m,
                                    std::ptrdiff_t n, Scale<std::int64_t> p) {
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        const S r = apply<S, op, M>(a[i], d[i], p);
        d[i] = m[i] ? r : d[i];
    }
}

// ---- rows of a job --------------------------------------------------------------------------

template <Shape sh> inline constexpr bool kMasked = sh == Shape::BinaryMasked || sh == Shape::InPlaceMasked;

// Calls body(a, b, d, mask, n) over the rows [y0, y1) of a job, in pieces
// that restart the repeating constant and mask patterns.
template <class S, Shape sh, class Body> inline void forPieces(const EltJob& j, int y0, int y1, Body body) {
    const auto* m = static_cast<const MaskOf<S>*>(j.mask);
    const auto [yEnd, len] = rowRuns(eltGapless<sh>(j, std::ptrdiff_t(j.rowLen) * std::ptrdiff_t(sizeof(S))), j.rowLen, y0, y1);
    const std::ptrdiff_t chunk = j.aPeriodic || m ? j.chunk : len;
    for (int y = y0; y < yEnd; ++y) {
        const S* a = rowOf<S>(j.a, j.aStep, y);
        S* d = rowOf<S>(j.d, j.dStep, y);
        const S* b = kReadsB<sh> ? rowOf<S>(j.b, j.bStep, y) : d;
        for (std::ptrdiff_t x = 0; x < len; x += chunk) {
            const std::ptrdiff_t n = chunk < len - x ? chunk : len - x;
            body(kScalarA<sh> || j.aPeriodic ? a : a + x, b + x, d + x, m, n);
        }
    }
}

template <class S, Kop op, Shape sh, Mode M> void runRows(const EltJob& j, int y0, int y1, Scale<std::int64_t> p) {
    forPieces<S, sh>(j, y0, y1, [&](const S* a, const S* b, S* d, const MaskOf<S>* m, std::ptrdiff_t n) {
        if constexpr (sh == Shape::Binary) loopBinary<S, op, M>(a, b, d, n, p);
        else if constexpr (sh == Shape::InPlace) loopInPlace<S, op, M>(a, d, n, p);
        else if constexpr (sh == Shape::Scalar) loopScalar<S, op, M>(*a, b, d, n, p);
        else if constexpr (sh == Shape::ScalarInPlace) loopScalarInPlace<S, op, M>(*a, d, n, p);
        else if constexpr (sh == Shape::BinaryMasked) loopBinaryMasked<S, op, M>(a, b, d, m, n, p);
        else loopInPlaceMasked<S, op, M>(a, d, m, n, p);
    });
}

template <class S, Kop op, Shape sh> void rows(const EltJob& j, int y0, int y1) {
    if constexpr (op == Kop::MulScale || std::is_same_v<S, Zkr32f>) {
        runRows<S, op, sh, Mode::Exact>(j, y0, y1, {});
    } else {
        if (j.scale == 0) runRows<S, op, sh, Mode::Exact>(j, y0, y1, {});
        else if (j.scale > 0) runRows<S, op, sh, Mode::Down>(j, y0, y1, makeScale<S, std::int64_t>(j.scale));
        else runRows<S, op, sh, Mode::Up>(j, y0, y1, makeScale<S, std::int64_t>(j.scale));
    }
}

// ---- complex products -------------------------------------------------------------------------

// d = a * b over n components (n / 2 elements): (ar br - ai bi, ar bi + ai br).
// In place b is d; each element is read whole before it is written. 32fc
// parts are computed in double, where the products of floats are exact: a
// level with fused multiply-add gives the same results as one without, and
// each part is rounded once to double, then to float.
template <class S> struct CWide { using W = std::int64_t; };
template <> struct CWide<Zkr32s> { using W = I128; };
template <> struct CWide<Zkr32f> { using W = double; };

template <class S, Mode M, bool masked>
ZKR_NOINLINE void loopComplex(const S* a, const S* b, S* d, const MaskOf<S>* m, std::ptrdiff_t n,
                              Scale<typename CWide<S>::W> p) {
    using W = typename CWide<S>::W;
    for (std::ptrdiff_t i = 0; i < n; i += 2) {
        const W ar = W(a[i]), ai = W(a[i + 1]), br = W(b[i]), bi = W(b[i + 1]);
        const W re = ar * br - ai * bi, im = ar * bi + ai * br;
        S r, j;
        if constexpr (std::is_same_v<S, Zkr32f>) {
            r = S(re);
            j = S(im);
        } else {
            r = narrow<S, M>(re, p);
            j = narrow<S, M>(im, p);
        }
        if (!masked || m[i]) {
            d[i] = r;
            d[i + 1] = j;
        }
    }
}

template <class S, Shape sh, Mode M> void runComplex(const EltJob& j, int y0, int y1, Scale<typename CWide<S>::W> p) {
    forPieces<S, sh>(j, y0, y1, [&](const S* a, const S* b, S* d, const MaskOf<S>* m, std::ptrdiff_t n) {
        loopComplex<S, M, kMasked<sh>>(a, b, d, m, n, p);
    });
}

template <class S, Shape sh> void complexRows(const EltJob& j, int y0, int y1) {
    using W = typename CWide<S>::W;
    if constexpr (std::is_same_v<S, Zkr32f>) {
        runComplex<S, sh, Mode::Exact>(j, y0, y1, {});
    } else {
        if (j.scale == 0) runComplex<S, sh, Mode::Exact>(j, y0, y1, {});
        else if (j.scale > 0) runComplex<S, sh, Mode::Down>(j, y0, y1, makeScale<S, W>(j.scale));
        else runComplex<S, sh, Mode::Up>(j, y0, y1, makeScale<S, W>(j.scale));
    }
}

// ---- whole pixels -------------------------------------------------------------------------------

// Colour channels times the pixel's alpha / max; the alpha channel is copied
// (C4) or left as the destination has it (AC4). In place s == d: each pixel's
// alpha is read before its colours are written.
template <class S, bool copyAlpha, bool inPlace>
ZKR_NOINLINE void loopPremul(const S* s, S* d, int width) {
    for (int x = 0; x < width; ++x) {
        const S alpha = s[4 * x + 3];
        const S r = divMax(s[4 * x], alpha), g = divMax(s[4 * x + 1], alpha), b = divMax(s[4 * x + 2], alpha);
        d[4 * x] = r;
        d[4 * x + 1] = g;
        d[4 * x + 2] = b;
        if constexpr (copyAlpha) d[4 * x + 3] = alpha;
    }
}
template <class S, bool copyAlpha>
ZKR_NOINLINE void loopPremulApart(const S* __restrict s, S* __restrict d, int width) {
    for (int x = 0; x < width; ++x) {
        const S alpha = s[4 * x + 3];
        d[4 * x] = divMax(s[4 * x], alpha);
        d[4 * x + 1] = divMax(s[4 * x + 1], alpha);
        d[4 * x + 2] = divMax(s[4 * x + 2], alpha);
        if constexpr (copyAlpha) d[4 * x + 3] = alpha;
    }
}

template <class S, bool copyAlpha> void premulRows(const PixJob& j, int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
        const S* s = rowOf<S>(j.s, j.sStep, y);
        S* d = rowOf<S>(j.d, j.dStep, y);
        if (static_cast<const void*>(s) == static_cast<const void*>(d)) loopPremul<S, copyAlpha, true>(s, d, j.width);
        else loopPremulApart<S, copyAlpha>(s, d, j.width);
    }
}

// d's pixel is s2's where s's colour channels all equal the key, else s's;
// `ch` channels in memory, the first `nc` compared and written.
template <class S, int ch, int nc>
ZKR_NOINLINE void loopColorKey(const S* __restrict s, const S* __restrict s2, S* __restrict d, const S* __restrict key,
                               int width) {
    S k[nc];
    for (int c = 0; c < nc; ++c) k[c] = key[c];
    for (int x = 0; x < width; ++x) {
        bool keyed = true;
        for (int c = 0; c < nc; ++c) keyed &= s[ch * x + c] == k[c];
        for (int c = 0; c < nc; ++c) d[ch * x + c] = keyed ? s2[ch * x + c] : s[ch * x + c];
    }
}

template <class S, int ch, int nc> void colorKeyRows(const PixJob& j, int y0, int y1) {
    const S* key = static_cast<const S*>(j.key);
    for (int y = y0; y < y1; ++y)
        loopColorKey<S, ch, nc>(rowOf<S>(j.s, j.sStep, y), rowOf<S>(j.s2, j.s2Step, y), rowOf<S>(j.d, j.dStep, y), key,
                                j.width);
}

// ---- the level's kernel table -------------------------------------------------------------------

template <class S, Kop op, int... sh>
constexpr void fillShapes(RowsFn (&out)[int(Shape::Count)], std::integer_sequence<int, sh...>) {
    ((out[sh] = &rows<S, op, Shape(sh)>), ...);
}
// Complex constants are always a pattern of whole elements: no scalar shapes.
template <class S> constexpr void fillComplex(RowsFn (&out)[int(Shape::Count)]) {
    out[int(Shape::Binary)] = &complexRows<S, Shape::Binary>;
    out[int(Shape::InPlace)] = &complexRows<S, Shape::InPlace>;
    out[int(Shape::BinaryMasked)] = &complexRows<S, Shape::BinaryMasked>;
    out[int(Shape::InPlaceMasked)] = &complexRows<S, Shape::InPlaceMasked>;
}

template <class S> constexpr void fillType(Kernels& ks) {
    constexpr auto shapes = std::make_integer_sequence<int, int(Shape::Count)>{};
    fillShapes<S, Kop::Mul>(ks.elt[kComp<S>][int(Kop::Mul)], shapes);
    fillShapes<S, Kop::MulScale>(ks.elt[kComp<S>][int(Kop::MulScale)], shapes);
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillType<Zkr8u>(ks);
    fillType<Zkr16u>(ks);
    fillType<Zkr16s>(ks);
    fillType<Zkr32f>(ks);
    fillComplex<Zkr16s>(ks.cmul[kComp<Zkr16s>]);
    fillComplex<Zkr32s>(ks.cmul[kComp<Zkr32s>]);
    fillComplex<Zkr32f>(ks.cmul[kComp<Zkr32f>]);
    ks.premul[0][0] = &premulRows<Zkr8u, true>;
    ks.premul[0][1] = &premulRows<Zkr8u, false>;
    ks.premul[1][0] = &premulRows<Zkr16u, true>;
    ks.premul[1][1] = &premulRows<Zkr16u, false>;
    ks.colorKey[0][0] = &colorKeyRows<Zkr8u, 1, 1>;
    ks.colorKey[0][1] = &colorKeyRows<Zkr8u, 3, 3>;
    ks.colorKey[0][2] = &colorKeyRows<Zkr8u, 4, 3>;
    ks.colorKey[1][0] = &colorKeyRows<Zkr16u, 1, 1>;
    ks.colorKey[1][1] = &colorKeyRows<Zkr16u, 3, 3>;
    ks.colorKey[1][2] = &colorKeyRows<Zkr16u, 4, 3>;
    ks.colorKey[2][0] = &colorKeyRows<Zkr16s, 1, 1>;
    ks.colorKey[2][1] = &colorKeyRows<Zkr16s, 3, 3>;
    ks.colorKey[2][2] = &colorKeyRows<Zkr16s, 4, 3>;
    return ks;
}

}  // namespace

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::mul::ZKR_LEVEL_NS

