// Neighbourhood kernels of the FilterBox family. Compiled once per
// instruction-set level: the build defines ZKR_LEVEL_NS (base, avx2, avx512)
// and passes that level's code generation flags. Every helper lives in the
// level's namespace and work buffers come from malloc, so no template
// instantiation is shared between levels.
//
// Box:    integers by running sums: column sums over the mask height are
//         updated by one row in and one row out per output row, then a
//         horizontal prefix sum gives every window sum by one subtraction; the
//         cost does not depend on the mask size. These sums are exact. 32f sums
//         each window in double from its own values only (column sums over the
//         mask height, then sums of mask-width column sums), so a NaN or an
//         infinity reaches exactly the windows that hold it, and a window's
//         rounding error is that of its own values, whatever came before in
//         the row or the column; the cost grows with mask width plus height.
// Max/Min: separable: a row pass over the mask width into a ring of the
//         last mask-height rows, then a column pass over the ring.
// Floats are ordered by their bit patterns (orderKey): -0 below +0, NaN above
// every number for Max and Median and below for Min, so a NaN in a window
// gives NaN for Max and Min; no floating-point operation, so no flag raised.
// Median: 3-element masks by min/max, 3x3 by a 19-exchange sorting network
//         (both vectorised across the row); other masks up to 8x8 by a
//         selection network (a sorting network pruned to the median's
//         exchanges) run over blocks of the row; larger masks by a running
//         histogram per channel for 8u, by the selection network up to 256
//         elements and by selection in a gathered window beyond for the others.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "filterbox_kernels.h"
#include "rows.h"
#include "scratch.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::filterbox::ZKR_LEVEL_NS {
namespace {


// Row y of the source relative to the ROI (y may be negative: the border above),
// moved left to the first column the mask reaches.
template <class T> inline const T* srcRow(const FilterJob& j, int y) {
    if (j.origRows)
        if (const void* copy = j.origRows[y + j.anchorY]) return static_cast<const T*>(copy) - j.anchorX * j.channels;
    return reinterpret_cast<const T*>(static_cast<const char*>(j.src) + j.srcStep * y) - j.anchorX * j.channels;
}
template <class T> inline T* dstRow(const FilterJob& j, int y) {
    return reinterpret_cast<T*>(static_cast<char*>(j.dst) + j.dstStep * y);
}

// Stores a computed row: all components, or the three colour channels of each AC4 pixel.
template <class T> inline void storeRow(const FilterJob& j, const T* __restrict from, T* __restrict to) {
    const int n = j.width * j.channels;
    if (j.active == j.channels) {
        for (int i = 0; i < n; ++i) to[i] = from[i];
        return;
    }
    // AC4: a select per component keeps the alpha channel (every fourth) and vectorises.
    for (int i = 0; i < n; ++i) to[i] = (i & 3) == 3 ? to[i] : from[i];
}

template <class T> ZKR_NOINLINE void copyInto(T* __restrict to, const T* __restrict from, int n) {
    for (int i = 0; i < n; ++i) to[i] = from[i];
}

// ---- float order ------------------------------------------------------------------

// A float's rank as a signed integer: negative floats reversed below the positive ones, -0 just
// below +0; NaN (of either sign) above +inf when highNaN, below -inf otherwise. The map from a
// number's bits to its key is its own inverse.
template <bool highNaN> inline std::int32_t orderKey(float v) {
    std::int32_t b = __builtin_bit_cast(std::int32_t, v);
    const bool nan = (b & 0x7fffffff) > 0x7f800000;
    b = nan ? (highNaN ? (b & 0x7fffffff) : std::int32_t(std::uint32_t(b) | 0x80000000u)) : b;
    return b ^ ((b >> 31) & 0x7fffffff);
}

// a below b in the order of Max and Median.
template <class T> inline bool below(T a, T b) {
    if constexpr (std::is_same_v<T, Zkr32f>) return orderKey<true>(a) < orderKey<true>(b);
    else return a < b;
}

// ---- Box ------------------------------------------------------------------------

// Window sums: integers as unsigned 32-bit values of the element moved to be
// non-negative (sums of at most kMaxMaskArea elements stay below 2^32, and the
// prefix sums may wrap: their differences are exact modulo 2^32).
template <class T> struct BoxTraits {
    using A = std::uint32_t;
    static constexpr std::uint32_t bias = 0;
};
template <> struct BoxTraits<Zkr16s> {
    using A = std::uint32_t;
    static constexpr std::uint32_t bias = 32768;
};
template <class T> inline typename BoxTraits<T>::A boxKey(T v) {
    return std::uint32_t(std::int32_t(v) + std::int32_t(BoxTraits<T>::bias));
}

template <class T, class A>
ZKR_NOINLINE void addRowKeys(A* __restrict col, const T* __restrict in, int n) {
    for (int i = 0; i < n; ++i) col[i] += boxKey<T>(in[i]);
}

template <class T, class A>
ZKR_NOINLINE void slideRowKeys(A* __restrict col, const T* __restrict in, const T* __restrict out, int n) {
    for (int i = 0; i < n; ++i) col[i] += boxKey<T>(in[i]) - boxKey<T>(out[i]);
}

// p[i + ch] = p[i] + col[i]: one running sum per channel.
template <class A> ZKR_NOINLINE void prefixSums(A* __restrict p, const A* __restrict col, int n, int ch) {
    for (int c = 0; c < ch; ++c) p[c] = A(0);
    for (int i = 0; i < n; ++i) p[i + ch] = p[i] + col[i];
}

// Mean of each window: (P[i + w] - P[i]) / area. Integers: floor((sum + area/2) / area),
// computed as floor((n + 0.5) * (1 / area)) in double, which is exact for these ranges
// ((n + 0.5) / area is never within the product's rounding error of an integer).
template <class T, class A>
ZKR_NOINLINE void boxMeans(T* __restrict out, const A* __restrict p, int n, int w, double inv, std::uint32_t half) {
    constexpr std::int32_t bias = std::int32_t(BoxTraits<T>::bias);
    for (int i = 0; i < n; ++i) {
        const std::uint32_t s = p[i + w] - p[i] + half;
        out[i] = T(std::int32_t((double(s) + 0.5) * inv) - bias);
    }
}

// 32f: every window summed in double from its own values.
ZKR_NOINLINE void columnStart(double* __restrict col, const Zkr32f* __restrict in, int n) {
    for (int i = 0; i < n; ++i) col[i] = double(in[i]);
}
ZKR_NOINLINE void columnAdd(double* __restrict col, const Zkr32f* __restrict in, int n) {
    for (int i = 0; i < n; ++i) col[i] += double(in[i]);
}
// out[i] = (col[i] + col[i + ch] + ... + col[i + (w - 1) ch]) * inv, summed in that order.
ZKR_NOINLINE void windowMeans(Zkr32f* __restrict out, double* __restrict acc, const double* __restrict col, int n,
                              int w, int ch, double inv) {
    for (int i = 0; i < n; ++i) acc[i] = col[i];
    for (int m = 1; m < w; ++m) {
        const double* __restrict c = col + m * ch;
        for (int i = 0; i < n; ++i) acc[i] += c[i];
    }
    for (int i = 0; i < n; ++i) out[i] = Zkr32f(acc[i] * inv);
}

bool boxRowsFloat(const FilterJob& j, int y0, int y1) {
    const int ch = j.channels;
    const int cols = (j.width + j.maskW - 1) * ch;
    const int n = j.width * ch;
    const bool direct = j.active == ch;
    Scratch<double> col{std::size_t(cols)}, acc{std::size_t(n)};
    Scratch<Zkr32f> line{direct ? std::size_t(0) : std::size_t(n)};
    // In place, the rows of the window are kept in a ring, as for the integer types.
    Scratch<Zkr32f> ring{j.inPlace ? std::size_t(j.maskH) * std::size_t(cols) : std::size_t(0)};
    if (!col || !acc || !line || !ring) return false;
    auto slot = [&](int k) { return ring.get() + std::size_t(k % j.maskH) * std::size_t(cols); };
    if (j.inPlace)
        for (int r = 0; r < j.maskH - 1; ++r) copyInto(slot(r), srcRow<Zkr32f>(j, y0 - j.anchorY + r), cols);
    const double inv = 1.0 / (double(j.maskW) * double(j.maskH));
    for (int y = y0; y < y1; ++y) {
        const int k0 = y - y0;  // ring index of the window's first row
        if (j.inPlace) copyInto(slot(k0 + j.maskH - 1), srcRow<Zkr32f>(j, y - j.anchorY + j.maskH - 1), cols);
        for (int r = 0; r < j.maskH; ++r) {
            const Zkr32f* in = j.inPlace ? slot(k0 + r) : srcRow<Zkr32f>(j, y - j.anchorY + r);
            if (r == 0) columnStart(col.get(), in, cols);
            else columnAdd(col.get(), in, cols);
        }
        Zkr32f* d = dstRow<Zkr32f>(j, y);
        Zkr32f* out = direct ? d : line.get();
        windowMeans(out, acc.get(), col.get(), n, j.maskW, ch, inv);
        if (!direct) storeRow(j, line.get(), d);
    }
    return true;
}

template <class T> bool boxRows(const FilterJob& j, int y0, int y1) {
    using A = typename BoxTraits<T>::A;
    const int ch = j.channels;
    const int cols = (j.width + j.maskW - 1) * ch;
    const int n = j.width * ch;
    const bool direct = j.active == ch;
    Scratch<A> col{std::size_t(cols)}, prefix{std::size_t(cols) + std::size_t(ch)};
    Scratch<T> line{direct ? std::size_t(0) : std::size_t(n)};
    // In place, the rows of the window are also kept in a ring: a row leaves the window after
    // this band has overwritten it. Row y0 - anchorY + k lives in slot k % maskH.
    Scratch<T> ring{j.inPlace ? std::size_t(j.maskH) * std::size_t(cols) : std::size_t(0)};
    if (!col || !prefix || !line || !ring) return false;
    auto slot = [&](int k) { return ring.get() + std::size_t(k % j.maskH) * std::size_t(cols); };
    std::memset(col.get(), 0, sizeof(A) * std::size_t(cols));
    for (int r = 0; r < j.maskH; ++r) {
        const T* in = srcRow<T>(j, y0 - j.anchorY + r);
        addRowKeys<T>(col.get(), in, cols);
        if (j.inPlace) copyInto(slot(r), in, cols);
    }
    const long area = long(j.maskW) * j.maskH;
    const double inv = 1.0 / double(area);
    const auto half = std::uint32_t(area / 2);
    for (int y = y0; y < y1; ++y) {
        if (y > y0) {
            const int k = y - y0 + j.maskH - 1;  // the entering row's ring index
            const T* in = srcRow<T>(j, y - j.anchorY + j.maskH - 1);
            if (j.inPlace) {
                T* leaving = slot(k);  // the entering row replaces the leaving one in the ring
                slideRowKeys<T>(col.get(), in, leaving, cols);
                copyInto(leaving, in, cols);
            } else {
                slideRowKeys<T>(col.get(), in, srcRow<T>(j, y - j.anchorY - 1), cols);
            }
        }
        prefixSums(prefix.get(), col.get(), cols, ch);
        T* d = dstRow<T>(j, y);
        T* out = direct ? d : line.get();
        boxMeans<T>(out, prefix.get(), n, j.maskW * ch, inv, half);
        if (!direct) storeRow(j, line.get(), d);
    }
    return true;
}

// ---- Max / Min ------------------------------------------------------------------

template <bool isMax, class T> inline T pick(T a, T b) {
    if constexpr (std::is_same_v<T, Zkr32f>) {
        // The result is built from the winning key, so two NaNs that differ only in their sign
        // (equal keys) give the same bits whichever comes first: the ring's row order depends on
        // where a band starts.
        const std::int32_t ka = orderKey<isMax>(a), kb = orderKey<isMax>(b);
        const std::int32_t k = isMax ? (ka < kb ? kb : ka) : (kb < ka ? kb : ka);
        return __builtin_bit_cast(Zkr32f, k ^ ((k >> 31) & 0x7fffffff));
    } else {
        if constexpr (isMax) return a < b ? b : a;
        else return b < a ? b : a;
    }
}

template <bool isMax, class T>
ZKR_NOINLINE void extremeInto(T* __restrict acc, const T* __restrict in, int n) {
    for (int i = 0; i < n; ++i) acc[i] = pick<isMax>(acc[i], in[i]);
}

// The extreme over the mask width of one source row.
template <class T, bool isMax> void rowPass(const FilterJob& j, int r, T* out) {
    const int n = j.width * j.channels;
    const T* in = srcRow<T>(j, r);
    copyInto(out, in, n);
    for (int m = 1; m < j.maskW; ++m) extremeInto<isMax>(out, in + m * j.channels, n);
}

// Row pass results of the last maskH source rows are kept in a ring; each output row adds one
// and takes the extreme over the ring (the order of the rows does not matter).
template <class T, bool isMax> bool extremeRows(const FilterJob& j, int y0, int y1) {
    const int ch = j.channels;
    const int n = j.width * ch;
    const int h = j.maskH;
    const bool direct = j.active == ch;
    Scratch<T> ring{std::size_t(h) * std::size_t(n)};
    Scratch<T> line{direct ? std::size_t(0) : std::size_t(n)};
    if (!ring || !line) return false;
    auto slot = [&](int k) { return ring.get() + std::size_t(k % h) * n; };
    for (int k = 0; k < h - 1; ++k) rowPass<T, isMax>(j, y0 - j.anchorY + k, slot(k));
    for (int y = y0; y < y1; ++y) {
        const int k = y - y0 + h - 1;
        rowPass<T, isMax>(j, y - j.anchorY + h - 1, slot(k));
        T* d = dstRow<T>(j, y);
        T* acc = direct ? d : line.get();
        copyInto(acc, slot(0), n);
        for (int m = 1; m < h; ++m) extremeInto<isMax>(acc, slot(m), n);
        if (!direct) storeRow(j, line.get(), d);
    }
    return true;
}

// ---- Median ---------------------------------------------------------------------

template <class T> inline void order(T& a, T& b) {
    const bool swap = below(b, a);
    const T lo = swap ? b : a;
    const T hi = swap ? a : b;
    a = lo;
    b = hi;
}

template <class T> inline T median3(T a, T b, T c) {
    const bool swap = below(b, a);
    const T lo = swap ? b : a, hi = swap ? a : b;
    const T m = below(c, hi) ? c : hi;
    return below(m, lo) ? lo : m;
}

// Median of three consecutive elements `stride` apart, for every component.
template <class T>
ZKR_NOINLINE void median3Row(T* __restrict out, const T* __restrict a, const T* __restrict b,
                             const T* __restrict c, int n) {
    for (int i = 0; i < n; ++i) out[i] = median3(a[i], b[i], c[i]);
}

// Median of the 3x3 window whose rows start at r0, r1, r2 (pixel stride ch).
template <class T>
ZKR_NOINLINE void median9Row(T* __restrict out, const T* __restrict r0, const T* __restrict r1,
                             const T* __restrict r2, int n, int ch) {
    for (int i = 0; i < n; ++i) {
        T p0 = r0[i], p1 = r0[i + ch], p2 = r0[i + 2 * ch];
        T p3 = r1[i], p4 = r1[i + ch], p5 = r1[i + 2 * ch];
        T p6 = r2[i], p7 = r2[i + ch], p8 = r2[i + 2 * ch];
        order(p1, p2); order(p4, p5); order(p7, p8);
        order(p0, p1); order(p3, p4); order(p6, p7);
        order(p1, p2); order(p4, p5); order(p7, p8);
        order(p0, p3); order(p5, p8); order(p4, p7);
        order(p3, p6); order(p1, p4); order(p2, p5);
        order(p4, p7); order(p4, p2); order(p6, p4);
        order(p4, p2);
        out[i] = p4;
    }
}

// The element of rank k of a[0..n) (reorders a): partition around a median of three.
template <class T> T selectRank(T* a, int n, int k) {
    int lo = 0, hi = n - 1;
    while (lo < hi) {
        const T pivot = median3(a[lo], a[lo + (hi - lo) / 2], a[hi]);
        int i = lo, j = hi;
        while (i <= j) {
            while (below(a[i], pivot)) ++i;
            while (below(pivot, a[j])) --j;
            if (i <= j) {
                const T t = a[i];
                a[i] = a[j];
                a[j] = t;
                ++i;
                --j;
            }
        }
        if (k <= j) hi = j;
        else if (k >= i) lo = i;
        else return a[k];
    }
    return a[k];
}

// Running histogram of one 8u channel (Huang): the median m is kept with the
// count of window elements below it, and moved after every column change.
struct Histogram8u {
    std::uint32_t count[256];
    int med = 0;
    std::uint32_t below = 0;

    void clear() {
        std::memset(count, 0, sizeof count);
        med = 0;
        below = 0;
    }
    void add(Zkr8u v) {
        ++count[v];
        below += v < med;
    }
    void remove(Zkr8u v) {
        --count[v];
        below -= v < med;
    }
    // Moves med to the element of rank `rank`: below <= rank < below + count[med].
    Zkr8u median(std::uint32_t rank) {
        while (below > rank) {
            --med;
            below -= count[med];
        }
        while (below + count[med] <= rank) {
            below += count[med];
            ++med;
        }
        return Zkr8u(med);
    }
};

bool medianHistogramRows(const FilterJob& j, int y0, int y1) {
    const int ch = j.channels;
    const auto rank = std::uint32_t((long(j.maskW) * j.maskH - 1) / 2);
    Scratch<Histogram8u> hist{std::size_t(j.active)};
    Scratch<const Zkr8u*> rows{std::size_t(j.maskH)};
    if (!hist || !rows) return false;
    for (int y = y0; y < y1; ++y) {
        for (int r = 0; r < j.maskH; ++r) rows.get()[r] = srcRow<Zkr8u>(j, y - j.anchorY + r);
        Zkr8u* d = dstRow<Zkr8u>(j, y);
        for (int c = 0; c < j.active; ++c) {
            Histogram8u& h = hist.get()[c];
            h.clear();
            for (int r = 0; r < j.maskH; ++r)
                for (int m = 0; m < j.maskW; ++m) h.add(rows.get()[r][m * ch + c]);
            d[c] = h.median(rank);
            for (int x = 1; x < j.width; ++x) {
                const int out = (x - 1) * ch + c, in = (x + j.maskW - 1) * ch + c;
                for (int r = 0; r < j.maskH; ++r) {
                    h.remove(rows.get()[r][out]);
                    h.add(rows.get()[r][in]);
                }
                d[x * ch + c] = h.median(rank);
            }
        }
    }
    return true;
}

template <class T> bool medianSelectRows(const FilterJob& j, int y0, int y1) {
    const int ch = j.channels;
    const int area = j.maskW * j.maskH;
    const int rank = (area - 1) / 2;
    Scratch<T> window{std::size_t(area)};
    if (!window) return false;
    for (int y = y0; y < y1; ++y) {
        T* d = dstRow<T>(j, y);
        for (int x = 0; x < j.width; ++x) {
            for (int c = 0; c < j.active; ++c) {
                T* w = window.get();
                for (int r = 0; r < j.maskH; ++r) {
                    const T* in = srcRow<T>(j, y - j.anchorY + r) + x * ch + c;
                    for (int m = 0; m < j.maskW; ++m) *w++ = in[m * ch];
                }
                d[x * ch + c] = selectRank(window.get(), area, rank);
            }
        }
    }
    return true;
}

// Selection network for the median of `area` elements: Batcher's odd-even merge sort of the
// next power of two, with the wires past `area` standing for padding larger than every element
// (padding sorts last and leaves the element of rank r on wire r), reduced to what the median
// needs. Values live in `area` storage slots: an exchange whose upper wire holds padding does
// nothing and is dropped; one whose lower wire holds padding only moves the real value down, which
// is a renaming of slots; the exchanges left are then pruned backwards to those that reach the
// median's slot.
struct Exchange {
    std::uint16_t lo, hi;  // storage slots
};

inline constexpr int kNetworkMaxWires = 256;
inline constexpr int kNetworkSmallMask = 64;

// Writes the exchanges into `out` (room for the whole sorting network), returns their count and
// the slot that holds the median afterwards.
int medianNetwork(int area, Exchange* out, int& medianSlot) {
    int n = 1;
    while (n < area) n <<= 1;
    int slot[kNetworkMaxWires];
    bool pad[kNetworkMaxWires];
    for (int w = 0; w < n; ++w) {
        slot[w] = w;
        pad[w] = w >= area;
    }
    int kept = 0;
    for (int p = 1; p < n; p <<= 1)
        for (int k = p; k >= 1; k >>= 1)
            for (int j = k % p; j + k < n; j += 2 * k)
                for (int i = 0; i < k && i + j + k < n; ++i) {
                    if ((i + j) / (2 * p) != (i + j + k) / (2 * p)) continue;
                    const int a = i + j, b = i + j + k;
                    if (pad[b]) continue;
                    if (pad[a]) {
                        const int t = slot[a];
                        slot[a] = slot[b];
                        slot[b] = t;
                        pad[a] = false;
                        pad[b] = true;
                        continue;
                    }
                    out[kept++] = {std::uint16_t(slot[a]), std::uint16_t(slot[b])};
                }
    medianSlot = slot[(area - 1) / 2];
    bool needed[kNetworkMaxWires] = {};
    needed[medianSlot] = true;
    int first = kept;
    for (int e = kept - 1; e >= 0; --e) {
        const Exchange x = out[e];
        if (!needed[x.lo] && !needed[x.hi]) continue;
        needed[x.lo] = needed[x.hi] = true;
        out[--first] = x;
    }
    const int used = kept - first;
    for (int e = 0; e < used; ++e) out[e] = out[first + e];
    return used;
}

// One exchange over a block of lanes (one lane per output component).
template <class T> ZKR_NOINLINE void exchangeLanes(T* __restrict lo, T* __restrict hi, int lanes) {
    for (int l = 0; l < lanes; ++l) {
        const T a = lo[l], b = hi[l];
        const bool swap = below(b, a);
        lo[l] = swap ? b : a;
        hi[l] = swap ? a : b;
    }
}

template <class T> bool medianNetworkRows(const FilterJob& j, int y0, int y1) {
    constexpr int kLanes = 64;
    const int ch = j.channels;
    const int n = j.width * ch;
    const int area = j.maskW * j.maskH;
    int wires = 1;
    while (wires < area) wires <<= 1;
    const int maxExchanges = wires * 64;  // Batcher: fewer than n * log2(n)^2 / 4 + n
    Scratch<Exchange> net{std::size_t(maxExchanges)};
    Scratch<T> lanes{std::size_t(area) * kLanes};
    Scratch<const T*> rows{std::size_t(j.maskH)};
    const bool direct = j.active == ch;
    Scratch<T> line{direct ? std::size_t(0) : std::size_t(n)};
    if (!net || !lanes || !rows || !line) return false;
    int medianSlot = 0;
    const int exchanges = medianNetwork(area, net.get(), medianSlot);
    for (int y = y0; y < y1; ++y) {
        for (int r = 0; r < j.maskH; ++r) rows.get()[r] = srcRow<T>(j, y - j.anchorY + r);
        T* d = dstRow<T>(j, y);
        T* out = direct ? d : line.get();
        for (int i0 = 0; i0 < n; i0 += kLanes) {
            const int count = n - i0 < kLanes ? n - i0 : kLanes;
            // Wire w of lane l: window element w of component i0 + l.
            for (int r = 0; r < j.maskH; ++r)
                for (int m = 0; m < j.maskW; ++m)
                    copyInto(lanes.get() + std::size_t(r * j.maskW + m) * kLanes, rows.get()[r] + i0 + m * ch, count);
            for (int e = 0; e < exchanges; ++e) {
                const Exchange x = net.get()[e];
                exchangeLanes(lanes.get() + std::size_t(x.lo) * kLanes, lanes.get() + std::size_t(x.hi) * kLanes,
                              count);
            }
            copyInto(out + i0, lanes.get() + std::size_t(medianSlot) * kLanes, count);
        }
        if (!direct) storeRow(j, line.get(), d);
    }
    return true;
}

template <class T> bool medianRows(const FilterJob& j, int y0, int y1) {
    const int ch = j.channels;
    const int n = j.width * ch;
    const int area = j.maskW * j.maskH;
    const bool network = area == 1 || (area == 3 && (j.maskW == 3 || j.maskH == 3)) || (j.maskW == 3 && j.maskH == 3);
    if (!network) {
        // The pruned network is the fastest up to 8x8 masks; beyond that 8u keeps a running
        // histogram (cost linear in the mask height), the wider types the network up to 256
        // elements, then selection.
        if (area <= kNetworkSmallMask) return medianNetworkRows<T>(j, y0, y1);
        if constexpr (std::is_same_v<T, Zkr8u>) return medianHistogramRows(j, y0, y1);
        else if (area <= kNetworkMaxWires) return medianNetworkRows<T>(j, y0, y1);
        else return medianSelectRows<T>(j, y0, y1);
    }
    const bool direct = j.active == ch;
    Scratch<T> line{direct ? std::size_t(0) : std::size_t(n)};
    if (!line) return false;
    for (int y = y0; y < y1; ++y) {
        T* d = dstRow<T>(j, y);
        T* out = direct ? d : line.get();
        const T* r0 = srcRow<T>(j, y - j.anchorY);
        if (area == 1) {
            copyInto(out, r0, n);
        } else if (j.maskH == 1) {
            median3Row(out, r0, r0 + ch, r0 + 2 * ch, n);
        } else if (j.maskW == 1) {
            median3Row(out, r0, srcRow<T>(j, y - j.anchorY + 1), srcRow<T>(j, y - j.anchorY + 2), n);
        } else {
            median9Row(out, r0, srcRow<T>(j, y - j.anchorY + 1), srcRow<T>(j, y - j.anchorY + 2), n, ch);
        }
        if (!direct) storeRow(j, line.get(), d);
    }
    return true;
}

// ---- the level's table --------------------------------------------------------------

template <class T> constexpr void fillType(Kernels& ks, FType t) {
    if constexpr (std::is_same_v<T, Zkr32f>) ks.filter[int(t)][int(Fop::Box)] = &boxRowsFloat;
    else ks.filter[int(t)][int(Fop::Box)] = [](const FilterJob& j, int y0, int y1) { return boxRows<T>(j, y0, y1); };
    ks.filter[int(t)][int(Fop::Max)] = [](const FilterJob& j, int y0, int y1) {
        return extremeRows<T, true>(j, y0, y1);
    };
    ks.filter[int(t)][int(Fop::Min)] = [](const FilterJob& j, int y0, int y1) {
        return extremeRows<T, false>(j, y0, y1);
    };
    ks.filter[int(t)][int(Fop::Median)] = [](const FilterJob& j, int y0, int y1) {
        return medianRows<T>(j, y0, y1);
    };
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillType<Zkr8u>(ks, FType::U8);
    fillType<Zkr16u>(ks, FType::U16);
    fillType<Zkr16s>(ks, FType::S16);
    fillType<Zkr32f>(ks, FType::F32);
    return ks;
}

}  // namespace

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::filterbox::ZKR_LEVEL_NS

