// Kernels of the linear filter family. Compiled once per instruction-set level: the build defines
// ZKR_LEVEL_NS (base, avx2, avx512) and passes that level's code generation flags. Every helper
// lives in the level's namespace and work buffers come from malloc, so no template instantiation
// is shared between levels.
//
// Linear:  per destination row, a row of sums is built tap by tap, four taps a pass
//          (acc[i] += w0 * a[i] + w1 * b[i] + w2 * c[i] + w3 * d[i] over the whole row, which
//          vectorises over the pixels), in the taps' order, then divided, rounded and saturated
//          in one more pass. Fixed integer kernels sum in 32-bit integers, user kernels on
//          integer images in double (exact for integer weights), 32f images in single precision.
// Medians: 3, 5 and 9 elements by exchange networks run across the row (vectorised); the colour
//          median by the sums of distances of every window pixel to every other.
// Decimation: sums of `factor` samples, then an exact multiply-and-shift for the rounded mean.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>

#include "linfilter_kernels.h"
#include "rows.h"
#include "scratch.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::linfilter::ZKR_LEVEL_NS {
namespace {


// The source row that tap k reads for destination row y, moved to the tap's column.
template <class S> inline const S* tapRow(const FilterJob& j, int y, int k) {
    return rowOf<S>(j.src, j.srcStep, y + j.dy[k]) + std::ptrdiff_t(j.dx[k]) * j.channels;
}

template <class T> ZKR_NOINLINE void copyInto(T* __restrict to, const T* __restrict from, int n) {
    for (int i = 0; i < n; ++i) to[i] = from[i];
}

// Stores the three colour channels of each AC4 pixel and keeps the alpha channel (every fourth
// component). 8u and 16-bit pixels are one 32- or 64-bit word, merged with a mask (alpha is the
// word's high part), which vectorises; 32f pixels copy their three components.
template <class T> ZKR_NOINLINE void storeKeepAlpha(T* __restrict to, const T* __restrict from, int n) {
    if constexpr (sizeof(T) <= 2) {
        using Word = std::conditional_t<sizeof(T) == 1, std::uint32_t, std::uint64_t>;
        constexpr Word alpha = Word(Word(~Word(0)) << (3 * 8 * sizeof(T)));
        for (int p = 0; p < n / 4; ++p) {
            Word a, b;
            std::memcpy(&a, to + 4 * p, sizeof a);
            std::memcpy(&b, from + 4 * p, sizeof b);
            a = (a & alpha) | (b & ~alpha);
            std::memcpy(to + 4 * p, &a, sizeof a);
        }
    } else {
        for (int p = 0; p < n / 4; ++p) {
            to[4 * p] = from[4 * p];
            to[4 * p + 1] = from[4 * p + 1];
            to[4 * p + 2] = from[4 * p + 2];
        }
    }
}

// ---- linear ----------------------------------------------------------------------------

// The sums are formed in the taps' order with every product rounded before it is added (no fused
// multiply-add, which the AVX2 and AVX-512 levels would otherwise use): every level and every
// thread split gives the same bits, those of the plain sum in that order.
#define ZKR_LF_SEPARATE_ROUNDING __attribute__((optimize("fp-contract=off")))

template <class A> ZKR_NOINLINE void zeroRow(A* __restrict acc, int n) {
    for (int i = 0; i < n; ++i) acc[i] = A(0);
}
template <class A, class S> ZKR_NOINLINE ZKR_LF_SEPARATE_ROUNDING void tap1(A* __restrict acc, const S* __restrict a, A wa, int n) {
    for (int i = 0; i < n; ++i) acc[i] = acc[i] + wa * A(a[i]);
}
template <class A, class S>
ZKR_NOINLINE ZKR_LF_SEPARATE_ROUNDING void tap2(A* __restrict acc, const S* __restrict a, const S* __restrict b, A wa, A wb, int n) {
    for (int i = 0; i < n; ++i) acc[i] = acc[i] + wa * A(a[i]) + wb * A(b[i]);
}
template <class A, class S>
ZKR_NOINLINE ZKR_LF_SEPARATE_ROUNDING void tap3(A* __restrict acc, const S* __restrict a, const S* __restrict b, const S* __restrict c, A wa,
                       A wb, A wc, int n) {
    for (int i = 0; i < n; ++i) acc[i] = acc[i] + wa * A(a[i]) + wb * A(b[i]) + wc * A(c[i]);
}
template <class A, class S>
ZKR_NOINLINE ZKR_LF_SEPARATE_ROUNDING void tap4(A* __restrict acc, const S* __restrict a, const S* __restrict b, const S* __restrict c,
                       const S* __restrict d, A wa, A wb, A wc, A wd, int n) {
    for (int i = 0; i < n; ++i) acc[i] = acc[i] + wa * A(a[i]) + wb * A(b[i]) + wc * A(c[i]) + wd * A(d[i]);
}

template <class D> inline constexpr double kLow = double(std::numeric_limits<D>::lowest());
template <class D> inline constexpr double kHigh = double(std::numeric_limits<D>::max());

// Exact integer sums straight into an integer type: saturation only.
template <class D> ZKR_NOINLINE void saturateInto(D* __restrict out, const std::int32_t* __restrict acc, int n) {
    constexpr std::int32_t lo = std::numeric_limits<D>::lowest(), hi = std::numeric_limits<D>::max();
    for (int i = 0; i < n; ++i) {
        const std::int32_t v = acc[i];
        out[i] = D(v < lo ? lo : (v > hi ? hi : v));
    }
}

template <class A> ZKR_NOINLINE void divideInto(double* __restrict q, const A* __restrict acc, double divisor, int n) {
    for (int i = 0; i < n; ++i) q[i] = double(acc[i]) / divisor;
}
ZKR_NOINLINE void divideInPlace(double* __restrict q, double divisor, int n) {
    for (int i = 0; i < n; ++i) q[i] = q[i] / divisor;
}

// Quotients into an integer type: rounded by the mode, then clamped to the type's range (NaN, from
// a non-finite weight, to the lowest value). Every mode starts from the rounding to nearest with
// ties to even that adding and subtracting 1.5 * 2^52 gives for |v| < 2^51 (larger values keep
// their sign and saturate), then corrects by one where the mode differs, from the exact remainder
// v - r: toward zero where r lies beyond v, away from zero at a tie. Rounding before clamping and
// no branch keep the loop vectorised (a clamp first lets the compiler branch around the rounding
// of the clamped constant).
template <class D, int mode> ZKR_NOINLINE void roundInto(D* __restrict out, const double* __restrict q, int n) {
    constexpr double magic = 6755399441055744.0;
    for (int i = 0; i < n; ++i) {
        const double v = q[i];
        double r = (v + magic) - magic;
        const double rest = v - r;
        if constexpr (mode == zkrRndZero) r += (v > 0.0 && rest < 0.0 ? -1.0 : 0.0) + (v < 0.0 && rest > 0.0 ? 1.0 : 0.0);
        if constexpr (mode == zkrRndFinancial) r += (v > 0.0 && rest == 0.5 ? 1.0 : 0.0) - (v < 0.0 && rest == -0.5 ? 1.0 : 0.0);
        r = r > kLow<D> ? r : kLow<D>;
        r = r < kHigh<D> ? r : kHigh<D>;
        out[i] = D(std::int32_t(r));
    }
}

template <class D> void roundByMode(D* out, const double* q, int mode, int n) {
    if (mode == zkrRndZero) roundInto<D, zkrRndZero>(out, q, n);
    else if (mode == zkrRndFinancial) roundInto<D, zkrRndFinancial>(out, q, n);
    else roundInto<D, zkrRndNear>(out, q, n);
}

template <class D, class A> ZKR_NOINLINE void floatInto(D* __restrict out, const A* __restrict acc, A divisor, int n) {
    for (int i = 0; i < n; ++i) out[i] = D(acc[i] / divisor);
}

// Adds the taps k0 .. k1 of offsets dx (pixels) and weights w to the row of sums, four a pass.
template <class A, class S>
void addTaps(A* s, const S* const* rows, const int* dx, const A* w, int k0, int k1, int ch, int n) {
    auto p = [&](int k) { return rows[k] + std::ptrdiff_t(dx ? dx[k] : 0) * ch; };
    int k = k0;
    for (; k + 4 <= k1; k += 4) tap4(s, p(k), p(k + 1), p(k + 2), p(k + 3), w[k], w[k + 1], w[k + 2], w[k + 3], n);
    if (k1 - k == 3) tap3(s, p(k), p(k + 1), p(k + 2), w[k], w[k + 1], w[k + 2], n);
    else if (k1 - k == 2) tap2(s, p(k), p(k + 1), w[k], w[k + 1], n);
    else if (k1 - k == 1) tap1(s, p(k), w[k], n);
}

// Divides, rounds and saturates (or stores) a row of sums; q is room for the quotients of 32-bit
// sums into integers.
template <class D, class A> void finishRow(const FilterJob& j, D* out, A* s, double* q, int n) {
    if constexpr (!std::is_floating_point_v<D>) {
        if constexpr (std::is_same_v<A, double>) {
            if (j.divisor != 1) divideInPlace(s, double(j.divisor), n);
            roundByMode(out, s, j.round, n);
        } else if (j.divisor != 1) {
            divideInto(q, s, double(j.divisor), n);
            roundByMode(out, q, j.round, n);
        } else {
            saturateInto(out, s, n);
        }
    } else if (j.divisor != 1) {
        floatInto(out, s, A(j.divisor), n);
    } else {
        copyInto(out, s, n);
    }
}

template <class S, class D, class A> bool linearRows(const FilterJob& j, int y0, int y1) {
    const int n = j.width * j.channels;
    const bool direct = j.active == j.channels;
    constexpr bool intOut = !std::is_floating_point_v<D>;
    const bool quotients = intOut && !std::is_same_v<A, double> && j.divisor != 1;
    Scratch<A> acc{std::size_t(n)};
    Scratch<double> q{quotients ? std::size_t(n) : std::size_t(0)};
    Scratch<D> line{direct ? std::size_t(0) : std::size_t(n)};
    Scratch<const S*> rows{std::size_t(j.taps)};
    if (!acc || !q || !line || !rows) return false;
    const A* w = static_cast<const A*>(j.weights);
    A* s = acc.get();
    for (int y = y0; y < y1; ++y) {
        for (int k = 0; k < j.taps; ++k) rows.get()[k] = rowOf<S>(j.src, j.srcStep, y + j.dy[k]);
        zeroRow(s, n);
        addTaps(s, rows.get(), j.dx, w, 0, j.taps, j.channels, n);
        D* d = rowOf<D>(j.dst, j.dstStep, y);
        finishRow(j, direct ? d : line.get(), s, q.get(), n);
        if (!direct) storeKeepAlpha(d, line.get(), n);
    }
    return true;
}

// Separable integer kernels: the row pass of every source row the band reaches goes once into a
// ring of colTaps rows, and each destination row sums its colTaps ring rows with the column
// weights. Integer sums are exact, so the result is the direct sum's.
template <class S, class D> bool separableRows(const FilterJob& j, int y0, int y1) {
    using A = std::int32_t;
    const int n = j.width * j.channels, h = j.colTaps;
    const bool direct = j.active == j.channels;
    Scratch<A> ring{std::size_t(h) * std::size_t(n)}, acc{std::size_t(n)};
    Scratch<double> q{j.divisor != 1 ? std::size_t(n) : std::size_t(0)};
    Scratch<D> line{direct ? std::size_t(0) : std::size_t(n)};
    Scratch<const S*> srcRows{std::size_t(j.rowTaps)};
    Scratch<const A*> ringRows{std::size_t(h)};
    Scratch<A> colWeights{std::size_t(h)};
    if (!ring || !acc || !q || !line || !srcRows || !ringRows || !colWeights) return false;
    const int first = y0 + j.colTop;  // the band's first source row; ring slot of row r: (r - first) % h
    auto slot = [&](int r) { return ring.get() + std::size_t((r - first) % h) * std::size_t(n); };
    auto rowPass = [&](int r) {
        A* out = slot(r);
        for (int k = 0; k < j.rowTaps; ++k) srcRows.get()[k] = rowOf<S>(j.src, j.srcStep, r);
        zeroRow(out, n);
        addTaps(out, srcRows.get(), j.rdx, j.rw, 0, j.rowTaps, j.channels, n);
    };
    for (int r = first; r < first + h - 1; ++r) rowPass(r);
    for (int y = y0; y < y1; ++y) {
        rowPass(y + j.colTop + h - 1);
        int used = 0;
        for (int k = 0; k < h; ++k)
            if (j.cw[k] != 0) ringRows.get()[used] = slot(y + j.colTop + k), colWeights.get()[used++] = j.cw[k];
        A* s = acc.get();
        zeroRow(s, n);
        addTaps(s, ringRows.get(), static_cast<const int*>(nullptr), colWeights.get(), 0, used, j.channels, n);
        D* d = rowOf<D>(j.dst, j.dstStep, y);
        finishRow(j, direct ? d : line.get(), s, q.get(), n);
        if (!direct) storeKeepAlpha(d, line.get(), n);
    }
    return true;
}

// ---- medians ------------------------------------------------------------------------------

template <class T> inline void order(T& a, T& b) {
    const T lo = b < a ? b : a;
    const T hi = b < a ? a : b;
    a = lo;
    b = hi;
}

template <class T>
ZKR_NOINLINE void median3(T* __restrict out, const T* __restrict a, const T* __restrict b, const T* __restrict c,
                          int n) {
    for (int i = 0; i < n; ++i) {
        T x = a[i], y = b[i], z = c[i];
        order(x, y);
        order(y, z);
        order(x, y);
        out[i] = y;
    }
}

// The exchanges of a selection by minima: after round r, v[r] is the r-th smallest; the median
// needs the rounds up to the middle.
template <class T>
ZKR_NOINLINE void median5(T* __restrict out, const T* __restrict p0, const T* __restrict p1, const T* __restrict p2,
                          const T* __restrict p3, const T* __restrict p4, int n) {
    for (int i = 0; i < n; ++i) {
        T v0 = p0[i], v1 = p1[i], v2 = p2[i], v3 = p3[i], v4 = p4[i];
        order(v0, v1); order(v0, v2); order(v0, v3); order(v0, v4);
        order(v1, v2); order(v1, v3); order(v1, v4);
        order(v2, v3); order(v2, v4);
        out[i] = v2;
    }
}

template <class T>
ZKR_NOINLINE void median9(T* __restrict out, const T* __restrict p0, const T* __restrict p1, const T* __restrict p2,
                          const T* __restrict p3, const T* __restrict p4, const T* __restrict p5,
                          const T* __restrict p6, const T* __restrict p7, const T* __restrict p8, int n) {
    for (int i = 0; i < n; ++i) {
        T v0 = p0[i], v1 = p1[i], v2 = p2[i], v3 = p3[i], v4 = p4[i], v5 = p5[i], v6 = p6[i], v7 = p7[i], v8 = p8[i];
        // Pairs sorted, then the middle of the lower and upper halves narrowed: the classic
        // 19-exchange median network of nine.
        order(v1, v2); order(v4, v5); order(v7, v8);
        order(v0, v1); order(v3, v4); order(v6, v7);
        order(v1, v2); order(v4, v5); order(v7, v8);
        order(v0, v3); order(v5, v8); order(v4, v7);
        order(v3, v6); order(v1, v4); order(v2, v5);
        order(v4, v7); order(v4, v2); order(v6, v4);
        order(v4, v2);
        out[i] = v4;
    }
}

template <class T, MSize size> bool medianRows(const FilterJob& j, int y0, int y1) {
    const int n = j.width * j.channels;
    const bool direct = j.active == j.channels;
    Scratch<T> line{direct ? std::size_t(0) : std::size_t(n)};
    if (!line) return false;
    for (int y = y0; y < y1; ++y) {
        T* d = rowOf<T>(j.dst, j.dstStep, y);
        T* out = direct ? d : line.get();
        auto p = [&](int k) { return tapRow<T>(j, y, k); };
        if constexpr (size == MSize::N3) median3(out, p(0), p(1), p(2), n);
        else if constexpr (size == MSize::N5) median5(out, p(0), p(1), p(2), p(3), p(4), n);
        else median9(out, p(0), p(1), p(2), p(3), p(4), p(5), p(6), p(7), p(8), n);
        if (!direct) storeKeepAlpha(d, line.get(), n);
    }
    return true;
}

// Colour median: the window pixel with the least sum of channel distances to all others (integers
// exactly, 32f in double in the window's order), the first on ties; a NaN makes every sum NaN and
// leaves the first pixel of the window. Run across the row: the distance of every pair of window
// positions at every pixel in one vectorised pass, added to both positions' rows of sums, then a
// pass per position keeps the least sum and its position.
template <class Dist> inline Dist distance(Dist a, Dist b) {
    const Dist diff = a - b;
    return diff < 0 ? -diff : diff;
}

// The channel count is a template parameter, so that the interleaved loads vectorise.
template <int ch, class T, class Dist>
ZKR_NOINLINE void pairDistances(Dist* __restrict dist, const T* __restrict a, const T* __restrict b, int w) {
    for (int x = 0; x < w; ++x) {
        const T* pa = a + x * ch;
        const T* pb = b + x * ch;
        Dist d = 0;
        d += distance(Dist(pa[0]), Dist(pb[0]));
        d += distance(Dist(pa[1]), Dist(pb[1]));
        d += distance(Dist(pa[2]), Dist(pb[2]));
        dist[x] = d;
    }
}

template <class Dist> ZKR_NOINLINE void addDistances(Dist* __restrict sum, const Dist* __restrict dist, int w) {
    for (int x = 0; x < w; ++x) sum[x] += dist[x];
}

template <class Dist>
ZKR_NOINLINE void keepLeast(Dist* __restrict least, int* __restrict at, const Dist* __restrict sum, int position, int w) {
    for (int x = 0; x < w; ++x) {
        const bool less = sum[x] < least[x];
        least[x] = less ? sum[x] : least[x];
        at[x] = less ? position : at[x];
    }
}

template <class T> bool colourRows(const FilterJob& j, int y0, int y1) {
    using Dist = std::conditional_t<std::is_floating_point_v<T>, double, std::int32_t>;
    const int m = j.taps, ch = j.channels, w = j.width;
    Scratch<const T*> rows{std::size_t(m)};
    Scratch<Dist> sums{std::size_t(m) * std::size_t(w)}, dist{std::size_t(w)}, least{std::size_t(w)};
    Scratch<int> at{std::size_t(w)};
    if (!rows || !sums || !dist || !least || !at) return false;
    auto sumOf = [&](int a) { return sums.get() + std::size_t(a) * std::size_t(w); };
    for (int y = y0; y < y1; ++y) {
        for (int k = 0; k < m; ++k) rows.get()[k] = tapRow<T>(j, y, k);
        zeroRow(sums.get(), m * w);
        for (int a = 0; a < m; ++a)
            for (int b = a + 1; b < m; ++b) {
                if (ch == 3) pairDistances<3>(dist.get(), rows.get()[a], rows.get()[b], w);
                else pairDistances<4>(dist.get(), rows.get()[a], rows.get()[b], w);
                addDistances(sumOf(a), dist.get(), w);
                addDistances(sumOf(b), dist.get(), w);
            }
        copyInto(least.get(), sumOf(0), w);
        for (int x = 0; x < w; ++x) at.get()[x] = 0;
        for (int a = 1; a < m; ++a) keepLeast(least.get(), at.get(), sumOf(a), a, w);
        T* d = rowOf<T>(j.dst, j.dstStep, y);
        for (int x = 0; x < w; ++x) {
            const T* from = rows.get()[at.get()[x]] + std::ptrdiff_t(x) * ch;
            d[x * ch] = from[0];
            d[x * ch + 1] = from[1];
            d[x * ch + 2] = from[2];
        }
    }
    return true;
}

// ---- decimation ------------------------------------------------------------------------------

// floor((s + f/2) / f) for s + f/2 <= 2044 as ((s + f/2) * ceil(65536 / f)) >> 16: the product's
// excess over the exact quotient stays below 2044 / 65536, less than the 1 / f a remainder leaves.
inline std::uint32_t meanMultiplier(int f) { return std::uint32_t((65536 + f - 1) / f); }

ZKR_NOINLINE void meanOfSums(Zkr8u* __restrict out, const std::uint32_t* __restrict sum, int n, std::uint32_t half,
                             std::uint32_t mul) {
    for (int i = 0; i < n; ++i) out[i] = Zkr8u(((sum[i] + half) * mul) >> 16);
}

ZKR_NOINLINE void addColumn(std::uint32_t* __restrict sum, const Zkr8u* __restrict in, int n) {
    for (int i = 0; i < n; ++i) sum[i] += in[i];
}

bool decimateRowRows(const FilterJob& j, int y0, int y1) {
    const int f = j.factor, n = j.width;
    Scratch<std::uint32_t> sum{std::size_t(n)};
    if (!sum) return false;
    for (int y = y0; y < y1; ++y) {
        const Zkr8u* in = rowOf<Zkr8u>(j.src, j.srcStep, y);
        std::uint32_t* s = sum.get();
        for (int x = 0; x < n; ++x) {
            std::uint32_t t = 0;
            for (int k = 0; k < f; ++k) t += in[x * f + k];
            s[x] = t;
        }
        meanOfSums(rowOf<Zkr8u>(j.dst, j.dstStep, y), s, n, std::uint32_t(f / 2), meanMultiplier(f));
    }
    return true;
}

bool decimateColumnRows(const FilterJob& j, int y0, int y1) {
    const int f = j.factor, n = j.width;
    Scratch<std::uint32_t> sum{std::size_t(n)};
    if (!sum) return false;
    for (int y = y0; y < y1; ++y) {
        zeroRow(sum.get(), n);
        for (int k = 0; k < f; ++k) addColumn(sum.get(), rowOf<Zkr8u>(j.src, j.srcStep, y * f + k), n);
        meanOfSums(rowOf<Zkr8u>(j.dst, j.dstStep, y), sum.get(), n, std::uint32_t(f / 2), meanMultiplier(f));
    }
    return true;
}

// ---- the level's table ------------------------------------------------------------------------

template <class T> constexpr void fillMedians(Kernels& ks, MType t) {
    ks.median[int(t)][int(MSize::N3)] = &medianRows<T, MSize::N3>;
    ks.median[int(t)][int(MSize::N5)] = &medianRows<T, MSize::N5>;
    ks.median[int(t)][int(MSize::N9)] = &medianRows<T, MSize::N9>;
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    ks.linear[int(Path::U8_I32)] = &linearRows<Zkr8u, Zkr8u, std::int32_t>;
    ks.linear[int(Path::U16_I32)] = &linearRows<Zkr16u, Zkr16u, std::int32_t>;
    ks.linear[int(Path::S16_I32)] = &linearRows<Zkr16s, Zkr16s, std::int32_t>;
    ks.linear[int(Path::U8S16_I32)] = &linearRows<Zkr8u, Zkr16s, std::int32_t>;
    ks.linear[int(Path::S16F32_F32)] = &linearRows<Zkr16s, Zkr32f, float>;
    ks.linear[int(Path::F32_F32)] = &linearRows<Zkr32f, Zkr32f, float>;
    ks.linear[int(Path::U8_F64)] = &linearRows<Zkr8u, Zkr8u, double>;
    ks.linear[int(Path::U16_F64)] = &linearRows<Zkr16u, Zkr16u, double>;
    ks.linear[int(Path::S16_F64)] = &linearRows<Zkr16s, Zkr16s, double>;
    ks.linear[int(Path::F64_F64)] = &linearRows<Zkr64f, Zkr64f, double>;
    ks.separable[int(Path::U8_I32)] = &separableRows<Zkr8u, Zkr8u>;
    ks.separable[int(Path::U16_I32)] = &separableRows<Zkr16u, Zkr16u>;
    ks.separable[int(Path::S16_I32)] = &separableRows<Zkr16s, Zkr16s>;
    ks.separable[int(Path::U8S16_I32)] = &separableRows<Zkr8u, Zkr16s>;
    fillMedians<Zkr8u>(ks, MType::U8);
    fillMedians<Zkr16u>(ks, MType::U16);
    fillMedians<Zkr16s>(ks, MType::S16);
    ks.colour[int(MType::U8)] = &colourRows<Zkr8u>;
    ks.colour[int(MType::S16)] = &colourRows<Zkr16s>;
    ks.colour[int(MType::F32)] = &colourRows<Zkr32f>;
    ks.decimateRow = &decimateRowRows;
    ks.decimateColumn = &decimateColumnRows;
    return ks;
}

}  // namespace

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::linfilter::ZKR_LEVEL_NS
