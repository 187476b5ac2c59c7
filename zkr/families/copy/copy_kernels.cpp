// Kernels of the Copy family. Compiled once per instruction-set level: the
// build defines ZKR_LEVEL_NS (base, avx2, avx512) and passes that level's code
// generation flags, so the loops below become that level's vector code.
//
// Contiguous rows are block copies (the C library's copy for cached stores,
// streaming stores of the level's widest registers otherwise). Strided and
// interleaving loops have their strides as template constants so the
// vectoriser turns them into shuffles; AC4 rows are processed as whole
// four-channel runs with the alpha element blended back, which keeps the
// loop contiguous. Masked loops store only where the mask is set (masked
// stores where the level has them).
#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "copy_kernels.h"
#include "rows.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::copy::ZKR_LEVEL_NS {
namespace {

template <class E> inline E valueAt(const CopyJob& j, int k) {
    E v;
    std::memcpy(&v, j.value + k * sizeof(E), sizeof(E));
    return v;
}
constexpr int shapeKey(int sp, int dp, int n) { return sp * 100 + dp * 10 + n; }

// ---- contiguous bytes -------------------------------------------------------------------

// n bytes with streaming stores: the head up to a 64-byte boundary of d and the tail by copy.
void streamBytes(unsigned char* d, const unsigned char* s, std::size_t n) {
    std::size_t head = (64 - (reinterpret_cast<std::uintptr_t>(d) & 63)) & 63;
    if (head > n) head = n;
    std::memcpy(d, s, head);
    d += head;
    s += head;
    n -= head;
    for (; n >= 64; n -= 64, d += 64, s += 64) {
#if defined(__AVX512F__)
        _mm512_stream_si512(reinterpret_cast<__m512i*>(d), _mm512_loadu_si512(s));
#elif defined(__AVX2__)
        _mm256_stream_si256(reinterpret_cast<__m256i*>(d), _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s)));
        _mm256_stream_si256(reinterpret_cast<__m256i*>(d + 32),
                            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + 32)));
#else
        for (int k = 0; k < 64; k += 16)
            _mm_stream_si128(reinterpret_cast<__m128i*>(d + k), _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + k)));
#endif
    }
    std::memcpy(d, s, n);
}

void bytesRows(const CopyJob& j, int y0, int y1) {
    const int n = j.width * j.srcPeriod;
    // Rows without padding on both sides are one block.
    const RowRuns r = rowRuns(stepsAre(n, j.srcStep, j.dstStep), n, y0, y1);
    for (int y = y0; y < r.yEnd; ++y) {
        const auto* s = rowOf<unsigned char>(j.src, j.srcStep, y);
        auto* d = rowOf<unsigned char>(j.dst, j.dstStep, y);
        if (j.nonTemporal) streamBytes(d, s, std::size_t(r.len));
        else std::memcpy(d, s, std::size_t(r.len));
    }
    if (j.nonTemporal) _mm_sfence();
}

// ---- strided copies ---------------------------------------------------------------------

template <class E, int SP, int DP, int N>
ZKR_NOINLINE void stridedLoop(E* __restrict d, const E* __restrict s, int w) {
    for (int x = 0; x < w; ++x)
        for (int c = 0; c < N; ++c) d[x * DP + c] = s[x * SP + c];
}

#ifdef __SSE4_1__
// 8u C1 into one channel of C3: sixteen pixels a step, the source bytes spread over the three
// registers of destination bytes by byte shuffles and blended into them, the other two channels
// kept. Returns the pixels done.
inline int insertC3Vec8u(std::uint8_t* d, const std::uint8_t* s, int w) {
    const __m128i spread0 = _mm_setr_epi8(0, -1, -1, 1, -1, -1, 2, -1, -1, 3, -1, -1, 4, -1, -1, 5);
    const __m128i spread1 = _mm_setr_epi8(-1, -1, 6, -1, -1, 7, -1, -1, 8, -1, -1, 9, -1, -1, 10, -1);
    const __m128i spread2 = _mm_setr_epi8(-1, 11, -1, -1, 12, -1, -1, 13, -1, -1, 14, -1, -1, 15, -1, -1);
    // Written bytes: where the spread takes a source byte (its index has the high bit clear).
    const __m128i take0 = _mm_cmpgt_epi8(spread0, _mm_set1_epi8(-1)), take1 = _mm_cmpgt_epi8(spread1, _mm_set1_epi8(-1)),
                  take2 = _mm_cmpgt_epi8(spread2, _mm_set1_epi8(-1));
    // The 48 bytes from the channel's first byte reach two bytes past pixel x + 15's channel: a step
    // runs while a seventeenth pixel follows, so they stay inside the row's own pixels.
    int x = 0;
    for (; x + 17 <= w; x += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + x));
        auto* out = reinterpret_cast<__m128i*>(d + std::ptrdiff_t(x) * 3);
        _mm_storeu_si128(out, _mm_blendv_epi8(_mm_loadu_si128(out), _mm_shuffle_epi8(v, spread0), take0));
        _mm_storeu_si128(out + 1, _mm_blendv_epi8(_mm_loadu_si128(out + 1), _mm_shuffle_epi8(v, spread1), take1));
        _mm_storeu_si128(out + 2, _mm_blendv_epi8(_mm_loadu_si128(out + 2), _mm_shuffle_epi8(v, spread2), take2));
    }
    return x;
}
#endif

// Four-channel runs of which the first three are copied: the alpha element is written back with
// its own value, so the loop is one contiguous blend.
template <class E> ZKR_NOINLINE void copyAC4(E* __restrict d, const E* __restrict s, int w) {
    for (int i = 0; i < 4 * w; ++i) d[i] = (i & 3) == 3 ? d[i] : s[i];
}

template <class E> void stridedRows(const CopyJob& j, int y0, int y1) {
    const int key = shapeKey(j.srcPeriod, j.dstPeriod, j.count);
    for (int y = y0; y < y1; ++y) {
        const E* s = rowOf<E>(j.src, j.srcStep, y);
        E* d = rowOf<E>(j.dst, j.dstStep, y);
        switch (key) {
            case shapeKey(4, 4, 3): copyAC4(d, s, j.width); break;
            case shapeKey(3, 3, 1): stridedLoop<E, 3, 3, 1>(d, s, j.width); break;
            case shapeKey(4, 4, 1): stridedLoop<E, 4, 4, 1>(d, s, j.width); break;
            case shapeKey(3, 1, 1): stridedLoop<E, 3, 1, 1>(d, s, j.width); break;
            case shapeKey(4, 1, 1): stridedLoop<E, 4, 1, 1>(d, s, j.width); break;
            case shapeKey(1, 3, 1): {
                int x = 0;
#ifdef __SSE4_1__
                if constexpr (sizeof(E) == 1)
                    x = insertC3Vec8u(reinterpret_cast<std::uint8_t*>(d), reinterpret_cast<const std::uint8_t*>(s), j.width);
#endif
                stridedLoop<E, 1, 3, 1>(d + std::ptrdiff_t(x) * 3, s + x, j.width - x);
                break;
            }
            case shapeKey(1, 4, 1): stridedLoop<E, 1, 4, 1>(d, s, j.width); break;
            default:
                for (int x = 0; x < j.width; ++x)
                    for (int c = 0; c < j.count; ++c) d[x * j.dstPeriod + c] = s[x * j.srcPeriod + c];
        }
    }
}

template <class E, int P, int N>
ZKR_NOINLINE void maskedLoop(E* __restrict d, const E* __restrict s, const std::uint8_t* __restrict m, int w) {
    for (int x = 0; x < w; ++x)
        if (m[x])
            for (int c = 0; c < N; ++c) d[x * P + c] = s[x * P + c];
}

template <class E> void maskedRows(const CopyJob& j, int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
        const E* s = rowOf<E>(j.src, j.srcStep, y);
        E* d = rowOf<E>(j.dst, j.dstStep, y);
        const std::uint8_t* m = rowOf<std::uint8_t>(j.mask, j.maskStep, y);
        switch (shapeKey(j.srcPeriod, j.dstPeriod, j.count)) {
            case shapeKey(1, 1, 1): maskedLoop<E, 1, 1>(d, s, m, j.width); break;
            case shapeKey(3, 3, 3): maskedLoop<E, 3, 3>(d, s, m, j.width); break;
            case shapeKey(4, 4, 4): maskedLoop<E, 4, 4>(d, s, m, j.width); break;
            case shapeKey(4, 4, 3): maskedLoop<E, 4, 3>(d, s, m, j.width); break;
            default:
                for (int x = 0; x < j.width; ++x)
                    if (m[x])
                        for (int c = 0; c < j.count; ++c) d[x * j.dstPeriod + c] = s[x * j.srcPeriod + c];
        }
    }
}

// ---- sets -------------------------------------------------------------------------------

template <class E, int P> ZKR_NOINLINE void fillPixels(E* __restrict d, const E* __restrict v, int w) {
    if constexpr (P == 1) {
        const E v0 = v[0];
        for (int x = 0; x < w; ++x) d[x] = v0;
    } else {
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < P; ++c) d[x * P + c] = v[c];
    }
}

template <class E> ZKR_NOINLINE void fillAC4(E* __restrict d, const E* __restrict v, int w) {
    const E v0 = v[0], v1 = v[1], v2 = v[2];
    for (int i = 0; i < 4 * w; ++i) {
        const int c = i & 3;
        d[i] = c == 3 ? d[i] : (c == 0 ? v0 : (c == 1 ? v1 : v2));
    }
}

template <class E, int P> ZKR_NOINLINE void fillChannel(E* __restrict d, E v, int w) {
    for (int x = 0; x < w; ++x) d[x * P] = v;
}

template <class E> void fillRows(const CopyJob& j, int y0, int y1) {
    E v[4];
    for (int k = 0; k < 4; ++k) v[k] = valueAt<E>(j, k);
    const int key = shapeKey(j.dstPeriod, j.dstPeriod, j.count);
    if (j.dstPeriod == j.count) {
        // Whole pixels: the band's first row by pixels, the others copied from it (in cache).
        E* first = rowOf<E>(j.dst, j.dstStep, y0);
        switch (j.count) {
            case 1: fillPixels<E, 1>(first, v, j.width); break;
            case 3: fillPixels<E, 3>(first, v, j.width); break;
            default: fillPixels<E, 4>(first, v, j.width); break;
        }
        const std::size_t bytes = std::size_t(j.width) * std::size_t(j.count) * sizeof(E);
        for (int y = y0 + 1; y < y1; ++y) std::memcpy(rowOf<E>(j.dst, j.dstStep, y), first, bytes);
        return;
    }
    for (int y = y0; y < y1; ++y) {
        E* d = rowOf<E>(j.dst, j.dstStep, y);
        switch (key) {
            case shapeKey(4, 4, 3): fillAC4(d, v, j.width); break;
            case shapeKey(3, 3, 1): fillChannel<E, 3>(d, v[0], j.width); break;
            case shapeKey(4, 4, 1): fillChannel<E, 4>(d, v[0], j.width); break;
            default:
                for (int x = 0; x < j.width; ++x)
                    for (int c = 0; c < j.count; ++c) d[x * j.dstPeriod + c] = v[c];
        }
    }
}

template <class E, int P, int N>
ZKR_NOINLINE void fillMaskedLoop(E* __restrict d, const E* __restrict v, const std::uint8_t* __restrict m, int w) {
    for (int x = 0; x < w; ++x)
        if (m[x])
            for (int c = 0; c < N; ++c) d[x * P + c] = v[c];
}

template <class E> void fillMaskedRows(const CopyJob& j, int y0, int y1) {
    E v[4];
    for (int k = 0; k < 4; ++k) v[k] = valueAt<E>(j, k);
    for (int y = y0; y < y1; ++y) {
        E* d = rowOf<E>(j.dst, j.dstStep, y);
        const std::uint8_t* m = rowOf<std::uint8_t>(j.mask, j.maskStep, y);
        switch (shapeKey(j.dstPeriod, j.dstPeriod, j.count)) {
            case shapeKey(1, 1, 1): fillMaskedLoop<E, 1, 1>(d, v, m, j.width); break;
            case shapeKey(3, 3, 3): fillMaskedLoop<E, 3, 3>(d, v, m, j.width); break;
            case shapeKey(4, 4, 4): fillMaskedLoop<E, 4, 4>(d, v, m, j.width); break;
            default: fillMaskedLoop<E, 4, 3>(d, v, m, j.width); break;
        }
    }
}

// ---- planes and pixels --------------------------------------------------------------------

template <class E>
ZKR_NOINLINE void merge3(E* __restrict d, const E* __restrict a, const E* __restrict b, const E* __restrict c, int w) {
    for (int x = 0; x < w; ++x) {
        d[3 * x] = a[x];
        d[3 * x + 1] = b[x];
        d[3 * x + 2] = c[x];
    }
}
template <class E>
ZKR_NOINLINE void merge4(E* __restrict d, const E* __restrict a, const E* __restrict b, const E* __restrict c,
                         const E* __restrict e, int w) {
    for (int x = 0; x < w; ++x) {
        d[4 * x] = a[x];
        d[4 * x + 1] = b[x];
        d[4 * x + 2] = c[x];
        d[4 * x + 3] = e[x];
    }
}
template <class E>
ZKR_NOINLINE void split3(E* __restrict a, E* __restrict b, E* __restrict c, const E* __restrict s, int w) {
    for (int x = 0; x < w; ++x) {
        a[x] = s[3 * x];
        b[x] = s[3 * x + 1];
        c[x] = s[3 * x + 2];
    }
}
template <class E>
ZKR_NOINLINE void split4(E* __restrict a, E* __restrict b, E* __restrict c, E* __restrict e, const E* __restrict s,
                         int w) {
    for (int x = 0; x < w; ++x) {
        a[x] = s[4 * x];
        b[x] = s[4 * x + 1];
        c[x] = s[4 * x + 2];
        e[x] = s[4 * x + 3];
    }
}

template <class E> void mergeRows(const CopyJob& j, int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
        E* d = rowOf<E>(j.dst, j.dstStep, y);
        const E* p[4] = {};
        for (int c = 0; c < j.count; ++c) p[c] = rowOf<E>(j.srcPlanes[c], j.srcStep, y);
        if (j.count == 3) merge3(d, p[0], p[1], p[2], j.width);
        else merge4(d, p[0], p[1], p[2], p[3], j.width);
    }
}

template <class E> void splitRows(const CopyJob& j, int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
        const E* s = rowOf<E>(j.src, j.srcStep, y);
        E* p[4] = {};
        for (int c = 0; c < j.count; ++c) p[c] = rowOf<E>(j.dstPlanes[c], j.dstStep, y);
        if (j.count == 3) split3(p[0], p[1], p[2], s, j.width);
        else split4(p[0], p[1], p[2], p[3], s, j.width);
    }
}

template <class E> void planarRows(const CopyJob& j, int y0, int y1) {
    const std::size_t bytes = std::size_t(j.width) * sizeof(E);
    for (int c = 0; c < j.count; ++c)
        for (int y = y0; y < y1; ++y)
            std::memcpy(rowOf<E>(j.dstPlanes[c], j.dstStep, y), rowOf<E>(j.srcPlanes[c], j.srcStep, y), bytes);
}

// ---- channel order ------------------------------------------------------------------------

// Every source channel of a pixel is read before any destination channel is written, so the
// destination may be the source (in place).
template <class E, int SP, int DP, int N>
ZKR_NOINLINE void swapLoop(E* d, const E* s, const int* order, E v, int w) {
    int o[N];
    for (int k = 0; k < N; ++k) o[k] = order[k];
    for (int x = 0; x < w; ++x) {
        E t[SP + 1];
        for (int c = 0; c < SP; ++c) t[c] = s[x * SP + c];
        t[SP] = v;
        for (int k = 0; k < N; ++k) d[x * DP + k] = t[o[k] < 0 ? SP : o[k]];
    }
}

#ifdef __SSSE3__
// 8u channel orders a register at a time: one byte shuffle moves the pixels of a 16-byte load to
// their new order (five pixels of three channels, or four of four; four of three channels for the
// forms that add or drop one), the value of a channel taken from `value` is ORed in, and AC4 takes
// its alpha bytes back from the destination. Bytes stored past the step's pixels are rewritten by
// the next step: C3 to C3 copies its sixteenth byte unchanged (so in place it stays what it was),
// C4 to C3 writes zeros there. A step runs while `need` pixels remain, so that every load and store
// stays inside the row.
struct SwapShuffle {
    __m128i order, value, keep;
    int pixels, need;
};
template <int SP, int DP, int N> SwapShuffle swapShuffle(const int* order, Zkr8u v) {
    alignas(16) signed char idx[16], val[16], keep[16];
    SwapShuffle m{};
    m.pixels = SP == 3 && DP == 3 ? 5 : 4;
    m.need = SP == 4 && DP == 4 ? 4 : 6;  // a C3 load or store reads or writes 16 bytes of 5.3 pixels
    for (int b = 0; b < 16; ++b) {
        const int p = b / DP, k = b % DP;
        idx[b] = -128, val[b] = 0, keep[b] = 0;
        if (p >= m.pixels) {
            if (SP == 3 && DP == 3) idx[b] = static_cast<signed char>(b);
        } else if (k >= N) {
            keep[b] = -1;
        } else if (order[k] < 0) {
            val[b] = static_cast<signed char>(v);
        } else {
            idx[b] = static_cast<signed char>(p * SP + order[k]);
        }
    }
    m.order = _mm_load_si128(reinterpret_cast<const __m128i*>(idx));
    m.value = _mm_load_si128(reinterpret_cast<const __m128i*>(val));
    m.keep = _mm_load_si128(reinterpret_cast<const __m128i*>(keep));
    return m;
}
// Returns the pixels done; the caller finishes the row pixel by pixel.
template <int SP, int DP, int N> int swapVec8u(Zkr8u* d, const Zkr8u* s, const SwapShuffle& m, int w) {
    int x = 0;
    for (; x + m.need <= w; x += m.pixels) {
        const __m128i in = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + std::ptrdiff_t(x) * SP));
        __m128i r = _mm_or_si128(_mm_shuffle_epi8(in, m.order), m.value);
        auto* out = reinterpret_cast<__m128i*>(d + std::ptrdiff_t(x) * DP);
        if constexpr (N < DP) r = _mm_or_si128(_mm_andnot_si128(m.keep, r), _mm_and_si128(m.keep, _mm_loadu_si128(out)));
        _mm_storeu_si128(out, r);
    }
    return x;
}
#endif

// The rows of one shape; 8u builds its shuffle once for the band.
template <class E, int SP, int DP, int N> void swapShape(const CopyJob& j, int y0, int y1) {
    const E v = valueAt<E>(j, 0);
#ifdef __SSSE3__
    SwapShuffle m{};
    if constexpr (sizeof(E) == 1) m = swapShuffle<SP, DP, N>(j.order, v);
#endif
    for (int y = y0; y < y1; ++y) {
        const E* s = rowOf<E>(j.src, j.srcStep, y);
        E* d = rowOf<E>(j.dst, j.dstStep, y);
        int x = 0;
#ifdef __SSSE3__
        if constexpr (sizeof(E) == 1) x = swapVec8u<SP, DP, N>(d, s, m, j.width);
#endif
        swapLoop<E, SP, DP, N>(d + std::ptrdiff_t(x) * DP, s + std::ptrdiff_t(x) * SP, j.order, v, j.width - x);
    }
}

template <class E> void swapRows(const CopyJob& j, int y0, int y1) {
    switch (shapeKey(j.srcPeriod, j.dstPeriod, j.count)) {
        case shapeKey(3, 3, 3): return swapShape<E, 3, 3, 3>(j, y0, y1);
        case shapeKey(4, 4, 3): return swapShape<E, 4, 4, 3>(j, y0, y1);
        case shapeKey(4, 4, 4): return swapShape<E, 4, 4, 4>(j, y0, y1);
        case shapeKey(3, 4, 4): return swapShape<E, 3, 4, 4>(j, y0, y1);
        default: return swapShape<E, 4, 3, 3>(j, y0, y1);
    }
}

template <class E> ZKR_NOINLINE void dup3(E* __restrict d, const E* __restrict s, int w) {
    for (int x = 0; x < w; ++x) {
        const E v = s[x];
        d[3 * x] = v;
        d[3 * x + 1] = v;
        d[3 * x + 2] = v;
    }
}

template <class E> void dupRows(const CopyJob& j, int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
        const E* s = rowOf<E>(j.src, j.srcStep, y);
        E* d = rowOf<E>(j.dst, j.dstStep, y);
        if (j.dstPeriod == 3 && j.count == 3) {
            dup3(d, s, j.width);
        } else {
            for (int x = 0; x < j.width; ++x)
                for (int k = 0; k < j.count; ++k) d[x * j.dstPeriod + k] = s[x * j.srcPeriod];
        }
    }
}

// ---- packed real spectra ------------------------------------------------------------------
// Components are 4-byte integers or floats handled by their bits; a conjugate negates the
// imaginary part (two's complement for integers, the sign bit for floats).

inline std::uint32_t negate(std::uint32_t x, bool isFloat) { return isFloat ? x ^ 0x80000000u : 0u - x; }

void unpackRows(const CopyJob& j, int y0, int y1) {
    using E = std::uint32_t;
    const int W = j.width, H = j.height, ch = j.channels;
    const int K = (W - 1) / 2;
    auto P = [&](int r) { return rowOf<E>(j.src, j.srcStep, r); };
    // The spectrum of a packed column (0, or W-1 for u = W/2) at vertical frequency v.
    auto column = [&](int col, int v, int c, E* out) {
        const bool mirrored = 2 * v > H;
        const int vv = mirrored ? H - v : v;
        E re, im = 0;
        if (vv == 0) {
            re = P(0)[col * ch + c];
        } else {
            re = P(2 * vv - 1)[col * ch + c];
            if (2 * vv <= H - 1) im = P(2 * vv)[col * ch + c];
        }
        out[0] = re;
        out[1] = mirrored ? negate(im, j.floatData) : im;
    };
    for (int v = y0; v < y1; ++v) {
        E* d = rowOf<E>(j.dst, j.dstStep, v);
        const E* row = P(v);
        const E* mirror = P((H - v) % H);
        for (int u = 1; u <= K; ++u)
            for (int c = 0; c < ch; ++c) {
                d[(u * ch + c) * 2] = row[(2 * u - 1) * ch + c];
                d[(u * ch + c) * 2 + 1] = row[2 * u * ch + c];
            }
        for (int u = W - K; u < W; ++u)
            for (int c = 0; c < ch; ++c) {
                const int uu = W - u;
                d[(u * ch + c) * 2] = mirror[(2 * uu - 1) * ch + c];
                d[(u * ch + c) * 2 + 1] = negate(mirror[2 * uu * ch + c], j.floatData);
            }
        for (int c = 0; c < ch; ++c) {
            column(0, v, c, d + c * 2);
            if (W % 2 == 0 && W > 1) column(W - 1, v, c, d + ((W / 2) * ch + c) * 2);
        }
    }
}

void packRows(const CopyJob& j, int y0, int y1) {
    using E = std::uint32_t;
    const int W = j.width, H = j.height, ch = j.channels;
    const int K = (W - 1) / 2;
    auto S = [&](int r) { return rowOf<E>(j.src, j.srcStep, r); };
    (void)H;
    for (int r = y0; r < y1; ++r) {
        E* d = rowOf<E>(j.dst, j.dstStep, r);
        const E* row = S(r);
        for (int u = 1; u <= K; ++u)
            for (int c = 0; c < ch; ++c) {
                d[(2 * u - 1) * ch + c] = row[(u * ch + c) * 2];
                d[2 * u * ch + c] = row[(u * ch + c) * 2 + 1];
            }
        // Packed columns: row 0 Re F(u, 0), odd rows Re F(u, (r+1)/2), even rows Im F(u, r/2).
        const int from = r == 0 ? 0 : (r % 2 ? (r + 1) / 2 : r / 2);
        const int part = (r == 0 || r % 2) ? 0 : 1;
        const E* srow = S(from);
        for (int c = 0; c < ch; ++c) {
            d[c] = srow[c * 2 + part];
            if (W % 2 == 0 && W > 1) d[(W - 1) * ch + c] = srow[((W / 2) * ch + c) * 2 + part];
        }
    }
}

// ---- median (8u) ---------------------------------------------------------------------------

inline void sort2(std::uint8_t& a, std::uint8_t& b) {
    const std::uint8_t lo = a < b ? a : b, hi = a < b ? b : a;
    a = lo;
    b = hi;
}

// 3x3 windows across the row by a 19-exchange network of minima and maxima.
ZKR_NOINLINE void median9Row(std::uint8_t* __restrict out, const std::uint8_t* __restrict r0,
                             const std::uint8_t* __restrict r1, const std::uint8_t* __restrict r2, int n) {
    for (int i = 0; i < n; ++i) {
        std::uint8_t p0 = r0[i], p1 = r0[i + 1], p2 = r0[i + 2];
        std::uint8_t p3 = r1[i], p4 = r1[i + 1], p5 = r1[i + 2];
        std::uint8_t p6 = r2[i], p7 = r2[i + 1], p8 = r2[i + 2];
        sort2(p1, p2); sort2(p4, p5); sort2(p7, p8);
        sort2(p0, p1); sort2(p3, p4); sort2(p6, p7);
        sort2(p1, p2); sort2(p4, p5); sort2(p7, p8);
        sort2(p0, p3); sort2(p5, p8); sort2(p4, p7);
        sort2(p3, p6); sort2(p1, p4); sort2(p2, p5);
        sort2(p4, p7); sort2(p4, p2); sort2(p6, p4);
        sort2(p4, p2);
        out[i] = p4;
    }
}

// Other masks: a running histogram of the window moved one column at a time, the median kept
// with the count of window elements below it.
bool medianHistogramRows(const MedianJob& j, int y0, int y1) {
    const auto rank = std::uint32_t((long(j.maskW) * j.maskH - 1) / 2);
    std::uint32_t count[256];
    for (int y = y0; y < y1; ++y) {
        const std::uint8_t* top = j.src + (y - j.anchorY) * j.srcStep - j.anchorX;
        std::uint8_t* d = j.dst + y * j.dstStep;
        std::memset(count, 0, sizeof count);
        for (int r = 0; r < j.maskH; ++r)
            for (int m = 0; m < j.maskW; ++m) ++count[top[r * j.srcStep + m]];
        int med = 0;
        std::uint32_t below = 0;
        for (int x = 0;; ++x) {
            while (below > rank) below -= count[--med];
            while (below + count[med] <= rank) below += count[med++];
            d[x] = std::uint8_t(med);
            if (x + 1 == j.width) break;
            for (int r = 0; r < j.maskH; ++r) {
                const std::uint8_t out = top[r * j.srcStep + x], in = top[r * j.srcStep + x + j.maskW];
                --count[out];
                below -= out < med;
                ++count[in];
                below += in < med;
            }
        }
    }
    return true;
}

bool medianRows(const MedianJob& j, int y0, int y1) {
    if (j.maskW == 3 && j.maskH == 3) {
        for (int y = y0; y < y1; ++y) {
            const std::uint8_t* r0 = j.src + (y - j.anchorY) * j.srcStep - j.anchorX;
            median9Row(j.dst + y * j.dstStep, r0, r0 + j.srcStep, r0 + 2 * j.srcStep, j.width);
        }
        return true;
    }
    if (j.maskW == 1 && j.maskH == 1) {
        for (int y = y0; y < y1; ++y) std::memcpy(j.dst + y * j.dstStep, j.src + y * j.srcStep, std::size_t(j.width));
        return true;
    }
    return medianHistogramRows(j, y0, y1);
}

// ---- the level's table ---------------------------------------------------------------------

template <class E> constexpr void fillSize(Kernels& ks, int i) {
    ks.strided[i] = &stridedRows<E>;
    ks.masked[i] = &maskedRows<E>;
    ks.fill[i] = &fillRows<E>;
    ks.fillMasked[i] = &fillMaskedRows<E>;
    ks.merge[i] = &mergeRows<E>;
    ks.split[i] = &splitRows<E>;
    ks.planar[i] = &planarRows<E>;
    ks.swap[i] = &swapRows<E>;
    ks.dup[i] = &dupRows<E>;
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    ks.bytes = &bytesRows;
    fillSize<std::uint8_t>(ks, 0);
    fillSize<std::uint16_t>(ks, 1);
    fillSize<std::uint32_t>(ks, 2);
    ks.unpack = &unpackRows;
    ks.pack = &packRows;
    ks.median = &medianRows;
    return ks;
}

}  // namespace

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::copy::ZKR_LEVEL_NS

