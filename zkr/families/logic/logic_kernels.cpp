// Kernels of the Logic family, compiled once per instruction-set level: the
// build defines ZKR_LEVEL_NS (base, avx2, avx512) and passes that level's code
// generation flags, which select the vector width of the bitwise kernels below.
//
// The bitwise kernels are written with intrinsics so that a call costs little
// beyond its data: three vectors per iteration, and at AVX-512 a tail done by
// one masked load and store instead of a scalar loop. The maximum, minimum and
// shift loops are written for the auto-vectoriser (restrict pointers, selects
// instead of branches).
#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "logic_kernels.h"
#include "rows.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif


namespace zkr::logic::ZKR_LEVEL_NS {
namespace {

using std::ptrdiff_t;
using std::uint8_t;

// ---- bitwise kernels ----------------------------------------------------------------------

#if defined(__AVX512BW__)
using Vec = __m512i;
inline Vec load(const uint8_t* p) { return _mm512_loadu_si512(p); }
inline void store(uint8_t* p, Vec v) { _mm512_storeu_si512(p, v); }
inline Vec vAnd(Vec a, Vec b) { return _mm512_and_si512(a, b); }
inline Vec vOr(Vec a, Vec b) { return _mm512_or_si512(a, b); }
inline Vec vXor(Vec a, Vec b) { return _mm512_xor_si512(a, b); }
#elif defined(__AVX2__)
using Vec = __m256i;
inline Vec load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
inline void store(uint8_t* p, Vec v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
inline Vec vAnd(Vec a, Vec b) { return _mm256_and_si256(a, b); }
inline Vec vOr(Vec a, Vec b) { return _mm256_or_si256(a, b); }
inline Vec vXor(Vec a, Vec b) { return _mm256_xor_si256(a, b); }
#else
using Vec = __m128i;
inline Vec load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store(uint8_t* p, Vec v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
inline Vec vAnd(Vec a, Vec b) { return _mm_and_si128(a, b); }
inline Vec vOr(Vec a, Vec b) { return _mm_or_si128(a, b); }
inline Vec vXor(Vec a, Vec b) { return _mm_xor_si128(a, b); }
#endif

constexpr ptrdiff_t kV = ptrdiff_t(sizeof(Vec));
static_assert(3 * kV <= kPatternBytes && kV <= kKeepBytes, "patterns shorter than the vectors");

template <Bop op> inline Vec apply(Vec a, Vec b) {
    if constexpr (op == Bop::And) return vAnd(a, b);
    else if constexpr (op == Bop::Or) return vOr(a, b);
    else return vXor(a, b);
}
template <Bop op> inline uint8_t apply(uint8_t a, uint8_t b) {
    if constexpr (op == Bop::And) return uint8_t(a & b);
    else if constexpr (op == Bop::Or) return uint8_t(a | b);
    else return uint8_t(a ^ b);
}

// The keep mask of AC4 in the form the level stores with.
#if defined(__AVX512BW__)
using Keep = __mmask64;
inline Keep keepOf(const uint8_t* k) { return k ? _mm512_movepi8_mask(load(k)) : ~Keep(0); }
// Writes the bytes of r that `keep` selects; the others stay as they are in memory.
inline void storeKept(uint8_t* d, Vec r, Keep keep) { _mm512_mask_storeu_epi8(d, keep, r); }
#elif defined(__AVX2__)
using Keep = Vec;
inline Keep keepOf(const uint8_t* k) { return k ? load(k) : _mm256_set1_epi8(-1); }
inline void storeKept(uint8_t* d, Vec r, Keep keep) { store(d, _mm256_blendv_epi8(load(d), r, keep)); }
#else
using Keep = Vec;
inline Keep keepOf(const uint8_t* k) { return k ? load(k) : _mm_set1_epi8(-1); }
inline void storeKept(uint8_t* d, Vec r, Keep keep) {
    store(d, _mm_or_si128(_mm_and_si128(keep, r), _mm_andnot_si128(keep, load(d))));
}
#endif

// d[i] = a[i] op b[i] over n bytes, b either a row or the pattern P (byte i
// takes P[i % 3kV]); with `masked`, bytes whose keep byte K[i % kV] is zero are
// not written. a, b and d may be the same row.
template <Bop op, BShape bs, bool masked>
ZKR_NOINLINE void bitRow(const uint8_t* a, const uint8_t* b, uint8_t* d, ptrdiff_t n, const uint8_t* P,
                         const uint8_t* K) {
    constexpr bool pat = bs == BShape::Pattern;
    Vec pv[3];
    if constexpr (pat) pv[0] = load(P), pv[1] = load(P + kV), pv[2] = load(P + 2 * kV);
    Keep keep{};
    if constexpr (masked) keep = keepOf(K);
    auto one = [&](ptrdiff_t off, int part) {
        const Vec x = load(a + off);
        const Vec y = pat ? pv[part] : load(b + off);
        const Vec r = apply<op>(x, y);
        if constexpr (masked) storeKept(d + off, r, keep);
        else store(d + off, r);
    };
    ptrdiff_t i = 0;
    for (; i + 3 * kV <= n; i += 3 * kV) {
        one(i, 0);
        one(i + kV, 1);
        one(i + 2 * kV, 2);
    }
    int part = 0;
    for (; i + kV <= n; i += kV, ++part) one(i, part);
    if (i == n) return;
#if defined(__AVX512BW__)
    const __mmask64 tail = (__mmask64(1) << (n - i)) - 1;  // n - i < 64
    const Vec x = _mm512_maskz_loadu_epi8(tail, a + i);
    const Vec y = pat ? pv[part] : _mm512_maskz_loadu_epi8(tail, b + i);
    const __mmask64 write = masked ? tail & keep : tail;
    _mm512_mask_storeu_epi8(d + i, write, apply<op>(x, y));
#else
    for (; i < n; ++i) {
        if (masked && !K[i % kV]) continue;
        d[i] = apply<op>(a[i], pat ? P[i % (3 * kV)] : b[i]);
    }
#endif
}

template <Bop op, BShape bs, bool masked> void bitRows(const Job& j, int y0, int y1) {
    const auto* a = static_cast<const uint8_t*>(j.a);
    const auto* b = static_cast<const uint8_t*>(j.b);
    auto* d = static_cast<uint8_t*>(j.d);
    const auto* P = static_cast<const uint8_t*>(j.pattern);
    const ptrdiff_t len = j.rowBytes;
    // Rows stored without gaps are one long row: the pattern and the keep mask
    // repeat with the pixel, and every row is a whole number of pixels.
    const RowRuns r = rowRuns(stepsAre(len, j.aStep, j.dStep, bs == BShape::Pattern ? len : j.bStep), int(len), y0, y1);
    for (int y = y0; y < r.yEnd; ++y)
        bitRow<op, bs, masked>(rowOf<uint8_t>(a, j.aStep, y), b ? rowOf<uint8_t>(b, j.bStep, y) : b,
                               rowOf<uint8_t>(d, j.dStep, y), r.len, P, j.keep);
}

// ---- component-wise kernels ------------------------------------------------------------------

template <int N> struct UintOfSize;
template <> struct UintOfSize<1> { using T = std::uint8_t; };
template <> struct UintOfSize<2> { using T = std::uint16_t; };
template <> struct UintOfSize<4> { using T = std::uint32_t; };
template <class S> using U = typename UintOfSize<int(sizeof(S))>::T;

// Write masks of AC4 rows over kChunk components: the colour channels, not alpha.
template <class S> struct Ac4Keep {
    alignas(64) U<S> m[kChunk];
    constexpr Ac4Keep() : m{} {
        for (int i = 0; i < kChunk; ++i) m[i] = i % 4 == 3 ? U<S>(0) : U<S>(~U<S>(0));
    }
};
template <class S> constexpr Ac4Keep<S> kAc4Keep{};

// Maximum and minimum in place: d[i] = a[i] > d[i] ? a[i] : d[i] (and <): a
// NaN source never replaces the destination, a NaN destination stays.
template <class S, bool isMax> inline S pick(S x, S y) {
    if constexpr (isMax) return x > y ? x : y;
    else return x < y ? x : y;
}

template <class S, bool isMax>
ZKR_NOINLINE void loopPick(const S* __restrict a, S* __restrict d, ptrdiff_t n) {
    for (ptrdiff_t i = 0; i < n; ++i) d[i] = pick<S, isMax>(a[i], d[i]);
}

template <class S, bool isMax>
ZKR_NOINLINE void loopPickKeep(const S* __restrict a, S* __restrict d, const U<S>* __restrict m, ptrdiff_t n) {
    for (ptrdiff_t i = 0; i < n; ++i) {
        const S r = pick<S, isMax>(a[i], d[i]);
        d[i] = m[i] ? r : d[i];
    }
}

template <class S, bool isMax, bool ac4> void pickRows(const Job& j, int y0, int y1) {
    const ptrdiff_t rowBytes = ptrdiff_t(j.rowLen) * ptrdiff_t(sizeof(S));
    const auto [yEnd, len] = rowRuns(stepsAre(rowBytes, j.aStep, j.dStep), j.rowLen, y0, y1);
    for (int y = y0; y < yEnd; ++y) {
        const S* a = rowOf<S>(j.a, j.aStep, y);
        S* d = rowOf<S>(j.d, j.dStep, y);
        if constexpr (!ac4) {
            loopPick<S, isMax>(a, d, len);
        } else {
            for (ptrdiff_t x = 0; x < len; x += kChunk)
                loopPickKeep<S, isMax>(a + x, d + x, kAc4Keep<S>.m, len - x < kChunk ? len - x : kChunk);
        }
    }
}

// Shifts. Counts are limited by the entry points: to the width for left and
// logical right shifts (a count equal to the width clears the component), to
// the width minus one for arithmetic right shifts (the sign fills the
// component).
template <class S, Dir dir> inline S shiftOne(S x, unsigned c) {
    constexpr unsigned bits = 8 * sizeof(S);
    using W = std::conditional_t<std::is_signed_v<S>, std::int32_t, std::uint32_t>;
    if constexpr (dir == Dir::Right && std::is_signed_v<S>) {
        return S(W(x) >> c);
    } else if constexpr (dir == Dir::Right) {
        return c < bits ? S(W(x) >> c) : S(0);
    } else {
        return c < bits ? S(std::uint32_t(U<S>(x)) << c) : S(0);
    }
}

template <class S, Dir dir, bool inPlace>
ZKR_NOINLINE void loopShift(const S* __restrict a, S* __restrict d, unsigned c, ptrdiff_t n) {
    for (ptrdiff_t i = 0; i < n; ++i) d[i] = shiftOne<S, dir>(inPlace ? d[i] : a[i], c);
}

template <class S, Dir dir, bool inPlace>
ZKR_NOINLINE void loopShiftEach(const S* __restrict a, S* __restrict d, const U<S>* __restrict c, ptrdiff_t n) {
    for (ptrdiff_t i = 0; i < n; ++i) d[i] = shiftOne<S, dir>(inPlace ? d[i] : a[i], c[i]);
}

template <class S, Dir dir>
ZKR_NOINLINE void loopShiftKeep(const S* __restrict a, S* __restrict d, const U<S>* __restrict c,
                                const U<S>* __restrict m, ptrdiff_t n) {
    for (ptrdiff_t i = 0; i < n; ++i) {
        const S r = shiftOne<S, dir>(a[i], c[i]);
        d[i] = m[i] ? r : d[i];
    }
}

template <class S, Dir dir, CShape cs, bool inPlace> void shiftRows(const Job& j, int y0, int y1) {
    const ptrdiff_t rowBytes = ptrdiff_t(j.rowLen) * ptrdiff_t(sizeof(S));
    const auto [yEnd, len] = rowRuns(stepsAre(rowBytes, inPlace ? j.dStep : j.aStep, j.dStep), j.rowLen, y0, y1);
    const auto* counts = static_cast<const U<S>*>(j.pattern);
    for (int y = y0; y < yEnd; ++y) {
        const S* a = inPlace ? nullptr : rowOf<S>(j.a, j.aStep, y);
        S* d = rowOf<S>(j.d, j.dStep, y);
        if constexpr (cs == CShape::Uniform) {
            loopShift<S, dir, inPlace>(a, d, j.count, len);
        } else {
            for (ptrdiff_t x = 0; x < len; x += kChunk) {
                const ptrdiff_t n = len - x < kChunk ? len - x : kChunk;
                if constexpr (cs == CShape::Pattern) loopShiftEach<S, dir, inPlace>(inPlace ? a : a + x, d + x, counts, n);
                else if constexpr (!inPlace) loopShiftKeep<S, dir>(a + x, d + x, counts, kAc4Keep<S>.m, n);
            }
        }
    }
}

// ---- the level's kernel table ------------------------------------------------------------------

template <Bop op> constexpr void fillBits(Kernels& ks) {
    ks.bits[int(op)][int(BShape::Row)][0] = &bitRows<op, BShape::Row, false>;
    ks.bits[int(op)][int(BShape::Row)][1] = &bitRows<op, BShape::Row, true>;
    ks.bits[int(op)][int(BShape::Pattern)][0] = &bitRows<op, BShape::Pattern, false>;
    ks.bits[int(op)][int(BShape::Pattern)][1] = &bitRows<op, BShape::Pattern, true>;
}

template <class S> constexpr void fillPick(Kernels& ks) {
    constexpr int t = kComp<S>;
    ks.maxEvery[t][0] = &pickRows<S, true, false>;
    ks.maxEvery[t][1] = &pickRows<S, true, true>;
    ks.minEvery[t][0] = &pickRows<S, false, false>;
    ks.minEvery[t][1] = &pickRows<S, false, true>;
}

template <class S, Dir dir> constexpr void fillShiftDir(Kernels& ks) {
    auto& row = ks.shift[kComp<S>][int(dir)];
    row[int(CShape::Uniform)][0] = &shiftRows<S, dir, CShape::Uniform, false>;
    row[int(CShape::Uniform)][1] = &shiftRows<S, dir, CShape::Uniform, true>;
    row[int(CShape::Pattern)][0] = &shiftRows<S, dir, CShape::Pattern, false>;
    row[int(CShape::Pattern)][1] = &shiftRows<S, dir, CShape::Pattern, true>;
    row[int(CShape::PatternKeep)][0] = &shiftRows<S, dir, CShape::PatternKeep, false>;
    row[int(CShape::PatternKeep)][1] = nullptr;  // in place, alpha keeps itself with a count of 0
}

template <class S> constexpr void fillShift(Kernels& ks) {
    fillShiftDir<S, Dir::Left>(ks);
    fillShiftDir<S, Dir::Right>(ks);
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillBits<Bop::And>(ks);
    fillBits<Bop::Or>(ks);
    fillBits<Bop::Xor>(ks);
    fillPick<Zkr8u>(ks);
    fillPick<Zkr16u>(ks);
    fillPick<Zkr16s>(ks);
    fillPick<Zkr32f>(ks);
    fillShift<Zkr8u>(ks);
    fillShift<Zkr8s>(ks);
    fillShift<Zkr16u>(ks);
    fillShift<Zkr16s>(ks);
    fillShift<Zkr32s>(ks);
    return ks;
}

}  // namespace

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::logic::ZKR_LEVEL_NS

