// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags. Only
// plain loops, SSE2 intrinsics (every level has them; the wider levels encode
// them in their own form), the byte shuffle of the levels that have it
// (SSSE3 and up) and functions of this namespace live here, so no
// inline code of another level can be merged into this one.
#include <emmintrin.h>
#ifdef __SSSE3__
#include <tmmintrin.h>
#endif

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "geom_kernels.h"
#include "rows.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::geom::ZKR_LEVEL_NS {
namespace {

using uchar = unsigned char;

// An unsigned integer of N bytes, for moving whole pixels of that size through registers.
template <int N> struct UnitOf;
template <> struct UnitOf<1> { using type = std::uint8_t; };
template <> struct UnitOf<2> { using type = std::uint16_t; };
template <> struct UnitOf<4> { using type = std::uint32_t; };
template <> struct UnitOf<8> { using type = std::uint64_t; };

// Pixels may start on any byte (test data is misaligned on purpose), so units are read and
// written through memcpy, which the compiler turns into unaligned moves.
template <class U> inline U load(const uchar* p) {
    U v;
    std::memcpy(&v, p, sizeof(U));
    return v;
}
template <class U> inline void store(uchar* p, U v) { std::memcpy(p, &v, sizeof(U)); }

// ---- rows: copy and reverse ---------------------------------------------------------------

template <int P> void copyWhole(uchar* __restrict d, const uchar* __restrict s, int n) {
    std::memcpy(d, s, std::size_t(n) * P);
}

// The bytes of the three colour components of every pixel of 4 * sizeof(T) bytes in a 16-byte
// register (all ones there, zero on alpha).
template <class T> inline __m128i colourBytes() {
    if constexpr (sizeof(T) == 1) return _mm_set1_epi32(0x00FFFFFF);
    else if constexpr (sizeof(T) == 2) return _mm_set_epi32(0x0000FFFF, -1, 0x0000FFFF, -1);
    else return _mm_set_epi32(0, -1, -1, -1);
}
// d's colour bytes from v, its alpha bytes kept.
template <class T> inline void storeColours(uchar* d, __m128i v, __m128i colour) {
    const __m128i old = _mm_loadu_si128(reinterpret_cast<const __m128i*>(d));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_or_si128(_mm_and_si128(colour, v), _mm_andnot_si128(colour, old)));
}

// Three components of every four; the fourth of d stays as it was. Whole 16-byte registers of
// pixels are blended with d's alpha; the pixels left over, one component at a time.
template <class T> void copyAlpha(uchar* __restrict d, const uchar* __restrict s, int n) {
    constexpr int perReg = 16 / (4 * int(sizeof(T)));
    const __m128i colour = colourBytes<T>();
    int i = 0;
    for (; i + perReg <= n; i += perReg) {
        const std::ptrdiff_t at = std::ptrdiff_t(i) * 4 * sizeof(T);
        storeColours<T>(d + at, _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + at)), colour);
    }
    for (; i < n; ++i)
        for (int c = 0; c < 3; ++c) store<T>(d + (4 * i + c) * sizeof(T), load<T>(s + (4 * i + c) * sizeof(T)));
}

#ifndef __SSSE3__
// 16 bytes in reverse order with SSE2 alone (the compiler has no byte shuffle to vectorise with
// below SSSE3): the eight words reversed, then the two bytes of every word swapped.
inline __m128i reverseBytes(__m128i v) {
    v = _mm_shuffle_epi32(v, _MM_SHUFFLE(1, 0, 3, 2));
    v = _mm_shufflelo_epi16(v, _MM_SHUFFLE(0, 1, 2, 3));
    v = _mm_shufflehi_epi16(v, _MM_SHUFFLE(0, 1, 2, 3));
    return _mm_or_si128(_mm_slli_epi16(v, 8), _mm_srli_epi16(v, 8));
}
#endif

template <int P> void reverseWhole(uchar* __restrict d, const uchar* __restrict s, int n) {
#ifndef __SSSE3__
    if constexpr (P == 1) {
        int i = 0;
        for (; i + 16 <= n; i += 16) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + n - 16 - i));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i), reverseBytes(v));
        }
        for (; i < n; ++i) d[i] = s[n - 1 - i];
        return;
    }
#endif
#ifdef __SSSE3__
    if constexpr (P == 3) {
        // Five pixels (15 bytes) a register in reverse order by one byte shuffle. The load starts
        // one byte before the five source pixels and the store writes one byte past the five
        // destination pixels (the next store overwrites it), so both stay inside the row while
        // a sixth pixel follows; the rest go one by one.
        const __m128i order = _mm_setr_epi8(13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3, -128);
        int i = 0;
        for (; i + 6 <= n; i += 5) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + std::ptrdiff_t(n - i - 5) * 3 - 1));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + std::ptrdiff_t(i) * 3), _mm_shuffle_epi8(v, order));
        }
        for (; i < n; ++i) std::memcpy(d + std::ptrdiff_t(i) * 3, s + std::ptrdiff_t(n - 1 - i) * 3, 3);
        return;
    }
#endif
    if constexpr (P == 1 || P == 2 || P == 4 || P == 8) {
        using U = typename UnitOf<P>::type;
        for (int i = 0; i < n; ++i) store<U>(d + std::ptrdiff_t(i) * P, load<U>(s + std::ptrdiff_t(n - 1 - i) * P));
    } else {
        for (int i = 0; i < n; ++i) std::memcpy(d + std::ptrdiff_t(i) * P, s + std::ptrdiff_t(n - 1 - i) * P, P);
    }
}

// Whole 16-byte registers of pixels in reverse order, blended with d's alpha; the pixels left
// over, one component at a time.
template <class T> void reverseAlpha(uchar* __restrict d, const uchar* __restrict s, int n) {
    constexpr int perReg = 16 / (4 * int(sizeof(T)));
    const __m128i colour = colourBytes<T>();
    int i = 0;
    for (; i + perReg <= n; i += perReg) {
        __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + std::ptrdiff_t(n - i - perReg) * 4 * sizeof(T)));
        if constexpr (perReg == 4) v = _mm_shuffle_epi32(v, _MM_SHUFFLE(0, 1, 2, 3));
        else if constexpr (perReg == 2) v = _mm_shuffle_epi32(v, _MM_SHUFFLE(1, 0, 3, 2));
        storeColours<T>(d + std::ptrdiff_t(i) * 4 * sizeof(T), v, colour);
    }
    for (; i < n; ++i) {
        const uchar* sp = s + std::ptrdiff_t(n - 1 - i) * 4 * sizeof(T);
        uchar* dp = d + std::ptrdiff_t(i) * 4 * sizeof(T);
        for (int c = 0; c < 3; ++c) store<T>(dp + c * sizeof(T), load<T>(sp + c * sizeof(T)));
    }
}

// ---- transpose tiles ------------------------------------------------------------------------

// Interleaves the low and high halves of two registers at the granularity of P-byte elements.
template <int P> inline __m128i unpackLo(__m128i a, __m128i b) {
    if constexpr (P == 1) return _mm_unpacklo_epi8(a, b);
    else if constexpr (P == 2) return _mm_unpacklo_epi16(a, b);
    else if constexpr (P == 4) return _mm_unpacklo_epi32(a, b);
    else return _mm_unpacklo_epi64(a, b);
}
template <int P> inline __m128i unpackHi(__m128i a, __m128i b) {
    if constexpr (P == 1) return _mm_unpackhi_epi8(a, b);
    else if constexpr (P == 2) return _mm_unpackhi_epi16(a, b);
    else if constexpr (P == 4) return _mm_unpackhi_epi32(a, b);
    else return _mm_unpackhi_epi64(a, b);
}

// One N x N block of P-byte elements (N * P = 16 bytes a row) in registers. Each round
// interleaves register k with register k + N/2, which rotates the bits of (register, element)
// by one; log2(N) rounds swap them, i.e. transpose the block.
template <int P> inline void microTile(const uchar* s, std::ptrdiff_t sStep, uchar* d, std::ptrdiff_t dStep) {
    constexpr int N = 16 / P;
    __m128i x[N], t[N];
    for (int k = 0; k < N; ++k) x[k] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + k * sStep));
    for (int round = 1; round < N; round *= 2) {
        for (int k = 0; k < N / 2; ++k) {
            t[2 * k] = unpackLo<P>(x[k], x[k + N / 2]);
            t[2 * k + 1] = unpackHi<P>(x[k], x[k + N / 2]);
        }
        for (int k = 0; k < N; ++k) x[k] = t[k];
    }
    for (int k = 0; k < N; ++k) _mm_storeu_si128(reinterpret_cast<__m128i*>(d + k * dStep), x[k]);
}

// Pixel by pixel, destination row after destination row.
template <int P>
inline void plainTile(const uchar* s, std::ptrdiff_t sStep, uchar* d, std::ptrdiff_t dStep, int w, int h) {
    for (int x = 0; x < w; ++x) {
        uchar* dr = d + x * dStep;
        const uchar* sc = s + std::ptrdiff_t(x) * P;
        for (int y = 0; y < h; ++y) std::memcpy(dr + std::ptrdiff_t(y) * P, sc + y * sStep, P);
    }
}

template <int P> void tile(const uchar* s, std::ptrdiff_t sStep, uchar* d, std::ptrdiff_t dStep, int w, int h) {
    if constexpr (P == 1 || P == 2 || P == 4 || P == 8) {
        constexpr int N = 16 / P;
        const int w0 = w / N * N, h0 = h / N * N;
        for (int y = 0; y < h0; y += N)
            for (int x = 0; x < w0; x += N)
                microTile<P>(s + y * sStep + std::ptrdiff_t(x) * P, sStep, d + x * dStep + std::ptrdiff_t(y) * P, dStep);
        // The right columns and the bottom rows the blocks left.
        if (w0 < w) plainTile<P>(s + std::ptrdiff_t(w0) * P, sStep, d + w0 * dStep, dStep, w - w0, h);
        if (h0 < h) plainTile<P>(s + h0 * sStep, sStep, d + std::ptrdiff_t(h0) * P, dStep, w0, h - h0);
    } else {
        plainTile<P>(s, sStep, d, dStep, w, h);
    }
}

// ---- ramp --------------------------------------------------------------------------------

template <class T> struct Bounds;
template <> struct Bounds<Zkr8u> { static constexpr double lo = 0, hi = 255; };
template <> struct Bounds<Zkr8s> { static constexpr double lo = -128, hi = 127; };
template <> struct Bounds<Zkr16u> { static constexpr double lo = 0, hi = 65535; };
template <> struct Bounds<Zkr16s> { static constexpr double lo = -32768, hi = 32767; };
template <> struct Bounds<Zkr32s> { static constexpr double lo = -2147483648.0, hi = 2147483647.0; };

// A double as an element: floats by conversion, integers saturated, then rounded to nearest
// with ties to even by adding and removing 1.5 * 2^52 (exact for |v| < 2^51, and vectorisable
// where a rounding instruction is not available).
template <class T> inline T toElem(double v) {
    if constexpr (std::is_floating_point_v<T>) {
        return T(v);
    } else {
        constexpr double magic = 6755399441055744.0;
        v = v < Bounds<T>::lo ? Bounds<T>::lo : v;
        v = v > Bounds<T>::hi ? Bounds<T>::hi : v;
        return T(std::int64_t((v + magic) - magic));
    }
}

template <class T, int C, bool Alpha> inline void put(T* d, int x, T v) {
    for (int c = 0; c < (Alpha ? 3 : C); ++c) d[x * C + c] = v;
}

template <class T, int C, bool Alpha> void ramp(const RampJob& j, int y0, int y1) {
    const int w = j.width;
    for (int y = y0; y < y1; ++y) {
        T* __restrict d = rowOf<T>(j.dst, j.dstStep, y);
        switch (j.axis) {
            case 0:  // along x: every row alike; the band's first row is computed, the others copied
                if (y > y0 && !Alpha) {
                    std::memcpy(d, rowOf<T>(j.dst, j.dstStep, y0), std::size_t(w) * C * sizeof(T));
                } else {
                    for (int x = 0; x < w; ++x) put<T, C, Alpha>(d, x, toElem<T>(j.offset + j.slope * double(x)));
                }
                break;
            case 1: {  // along y: one value a row
                const T v = toElem<T>(j.offset + j.slope * double(y));
                for (int x = 0; x < w; ++x) put<T, C, Alpha>(d, x, v);
                break;
            }
            default: {  // along x * y
                const double fy = double(y);
                for (int x = 0; x < w; ++x) put<T, C, Alpha>(d, x, toElem<T>(j.offset + j.slope * (double(x) * fy)));
                break;
            }
        }
    }
}

template <class T> constexpr RampFn rampRow[int(RampLayout::Count)] = {&ramp<T, 1, false>, &ramp<T, 3, false>,
                                                                       &ramp<T, 4, false>, &ramp<T, 4, true>};

}  // namespace

constinit const Kernels kernels = {
    {&copyWhole<1>, &copyWhole<2>, &copyWhole<3>, &copyWhole<4>, &copyWhole<6>, &copyWhole<8>, &copyWhole<12>,
     &copyWhole<16>, &copyAlpha<std::uint8_t>, &copyAlpha<std::uint16_t>, &copyAlpha<std::uint32_t>},
    {&reverseWhole<1>, &reverseWhole<2>, &reverseWhole<3>, &reverseWhole<4>, &reverseWhole<6>, &reverseWhole<8>,
     &reverseWhole<12>, &reverseWhole<16>, &reverseAlpha<std::uint8_t>, &reverseAlpha<std::uint16_t>,
     &reverseAlpha<std::uint32_t>},
    {&tile<1>, &tile<2>, &tile<3>, &tile<4>, &tile<6>, &tile<8>, &tile<12>, &tile<16>},
    {{rampRow<Zkr8u>[0], rampRow<Zkr8u>[1], rampRow<Zkr8u>[2], rampRow<Zkr8u>[3]},
     {rampRow<Zkr8s>[0], rampRow<Zkr8s>[1], rampRow<Zkr8s>[2], rampRow<Zkr8s>[3]},
     {rampRow<Zkr16u>[0], rampRow<Zkr16u>[1], rampRow<Zkr16u>[2], rampRow<Zkr16u>[3]},
     {rampRow<Zkr16s>[0], rampRow<Zkr16s>[1], rampRow<Zkr16s>[2], rampRow<Zkr16s>[3]},
     {rampRow<Zkr32s>[0], rampRow<Zkr32s>[1], rampRow<Zkr32s>[2], rampRow<Zkr32s>[3]},
     {rampRow<Zkr32f>[0], rampRow<Zkr32f>[1], rampRow<Zkr32f>[2], rampRow<Zkr32f>[3]}}};

}  // namespace zkr::geom::ZKR_LEVEL_NS
