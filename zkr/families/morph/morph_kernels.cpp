// Kernels of the Morph family, compiled once per instruction-set level (ZKR_LEVEL_NS = base,
// avx2, avx512) with that level's code generation flags; work buffers come from malloc.
//
// Erosion and dilation work on keys: the values themselves for the unsigned types, the total-order
// keys of float_order.h for 32f (integer comparisons: -0 below +0, a NaN wins). Every loop runs
// over the contiguous components of a row (pixel offsets are multiples of the channel count), so it
// vectorises across the row. The weighted median sorts the eight neighbours of 64 pixels at once
// with a sorting network over lanes, then places the weighted centre among them.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <type_traits>

#include "float_order.h"
#include "morph_kernels.h"
#include "rows.h"
#include "scratch.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::morph::ZKR_LEVEL_NS {
namespace {


// Keys and the extreme of two keys.
template <class T> struct KeyOf { using K = T; };
template <> struct KeyOf<Zkr32f> { using K = std::int32_t; };

template <class T, bool isMax> inline typename KeyOf<T>::K keyOf(T v) {
    if constexpr (std::is_same_v<T, Zkr32f>) return orderKey<isMax>(v);
    else return v;
}
template <class T, class K> inline T valueOf(K k) {
    if constexpr (std::is_same_v<T, Zkr32f>) return fromOrderKey(k);
    else return T(k);
}
template <bool isMax, class K> inline K ext(K a, K b) {
    if constexpr (isMax) return a < b ? b : a;
    else return b < a ? b : a;
}

template <class T, bool isMax, class K>
ZKR_NOINLINE void columnStart(K* __restrict v, const T* __restrict in, int n) {
    for (int i = 0; i < n; ++i) v[i] = keyOf<T, isMax>(in[i]);
}
template <class T, bool isMax, class K>
ZKR_NOINLINE void columnExt(K* __restrict v, const T* __restrict in, int n) {
    for (int i = 0; i < n; ++i) v[i] = ext<isMax>(v[i], keyOf<T, isMax>(in[i]));
}
// out[i] = extreme of in[i] and in[i + off]: doubles the span of a level.
template <bool isMax, class K> ZKR_NOINLINE void doubleSpan(K* __restrict out, const K* __restrict in, int n, int off) {
    for (int i = 0; i < n; ++i) out[i] = ext<isMax>(in[i], in[i + off]);
}
template <bool isMax, class K>
ZKR_NOINLINE void runInto(K* __restrict acc, const K* __restrict a, const K* __restrict b, int n) {
    for (int i = 0; i < n; ++i) acc[i] = ext<isMax>(acc[i], ext<isMax>(a[i], b[i]));
}
template <class K> ZKR_NOINLINE void fill(K* __restrict acc, K v, int n) {
    for (int i = 0; i < n; ++i) acc[i] = v;
}
template <class T, class K>
ZKR_NOINLINE void storeKeys(T* __restrict out, const K* __restrict acc, int n, bool alpha) {
    if (!alpha) {
        for (int i = 0; i < n; ++i) out[i] = valueOf<T>(acc[i]);
        return;
    }
    for (int i = 0; i < n; ++i) out[i] = (i & 3) == 3 ? out[i] : valueOf<T>(acc[i]);
}

template <class T> inline const T* srcRow(const MorphJob& j, int y) {
    return reinterpret_cast<const T*>(static_cast<const char*>(j.src) + j.srcStep * y) -
           std::ptrdiff_t(j.anchorX) * j.channels;
}

inline int floorLog2(int v) { return 31 - __builtin_clz(unsigned(v)); }

template <class T, bool isMax> bool morphRows(const MorphJob& j, int y0, int y1) {
    using K = typename KeyOf<T>::K;
    const int ch = j.channels;
    const int n = j.width * ch;
    const int seg = (j.width + j.maskW - 1) * ch;
    int levels = 1;
    for (int g = 0; g < j.numGroups; ++g)
        for (int r = 0; r < j.groups[g].numRuns; ++r) {
            const int l = floorLog2(j.groups[g].runs[r].length) + 1;
            levels = l > levels ? l : levels;
        }
    Scratch<K> lvl{std::size_t(seg) * std::size_t(levels)}, acc{std::size_t(n)};
    if (!lvl || !acc) return false;
    // Every group has a run, so the identity never reaches the destination.
    const K identity = isMax ? std::numeric_limits<K>::min() : std::numeric_limits<K>::max();
    for (int y = y0; y < y1; ++y) {
        fill(acc.get(), identity, n);
        for (int g = 0; g < j.numGroups; ++g) {
            const Group& gr = j.groups[g];
            K* v = lvl.get();
            columnStart<T, isMax>(v, srcRow<T>(j, y - j.anchorY + gr.rows[0]), seg);
            for (int r = 1; r < gr.numRows; ++r) columnExt<T, isMax>(v, srcRow<T>(j, y - j.anchorY + gr.rows[r]), seg);
            int built = 0;  // level k holds extremes over 2^k pixels
            for (int r = 0; r < gr.numRuns; ++r) {
                const Run run = gr.runs[r];
                const int p = floorLog2(run.length);
                for (; built < p; ++built) {
                    const int span = 1 << built;
                    doubleSpan<isMax>(lvl.get() + std::size_t(built + 1) * seg, lvl.get() + std::size_t(built) * seg,
                                      seg - (2 * span - 1) * ch, span * ch);
                }
                const K* level = lvl.get() + std::size_t(p) * seg;
                runInto<isMax>(acc.get(), level + run.start * ch, level + (run.start + run.length - (1 << p)) * ch, n);
            }
        }
        storeKeys(reinterpret_cast<T*>(static_cast<char*>(j.dst) + j.dstStep * y), acc.get(), n, j.active != ch);
    }
    return true;
}

// ---- weighted median ---------------------------------------------------------------------

template <class K> ZKR_NOINLINE void exchange(K* __restrict lo, K* __restrict hi, int n) {
    for (int l = 0; l < n; ++l) {
        const K a = lo[l], b = hi[l];
        lo[l] = a < b ? a : b;
        hi[l] = a < b ? b : a;
    }
}

// The element of rank k of the eight sorted neighbours s[0..7] and `w` copies of the centre:
// the centre takes the ranks [below, belowOrEqual + w).
ZKR_NOINLINE void placeCentre(Zkr8u* __restrict out, const Zkr8u* __restrict s, const Zkr8u* __restrict centre,
                              int lanes, int k, int w) {
    const int lowIndex = k < 8 ? k : 7;
    const int highIndex = k - w < 0 ? 0 : (k - w > 7 ? 7 : k - w);
    for (int l = 0; l < lanes; ++l) {
        const Zkr8u c = centre[l];
        int below = 0, notAbove = 0;
        for (int i = 0; i < 8; ++i) {
            below += s[i * 64 + l] < c;
            notAbove += s[i * 64 + l] <= c;
        }
        const Zkr8u r = k < below ? s[lowIndex * 64 + l] : (k >= notAbove + w ? s[highIndex * 64 + l] : c);
        out[l] = r;
    }
}

bool weightedMedianRows(const MorphJob& j, int y0, int y1) {
    // Batcher's odd-even merge sort of eight wires.
    static const std::uint8_t net[19][2] = {{0, 1}, {2, 3}, {4, 5}, {6, 7}, {0, 2}, {1, 3}, {4, 6},
                                            {5, 7}, {1, 2}, {5, 6}, {0, 4}, {1, 5}, {2, 6}, {3, 7},
                                            {2, 4}, {3, 5}, {1, 2}, {3, 4}, {5, 6}};
    constexpr int kLanes = 64;
    Scratch<Zkr8u> wires{8 * kLanes};
    if (!wires) return false;
    const int k = (7 + j.weight) / 2;
    for (int y = y0; y < y1; ++y) {
        const Zkr8u* r0 = srcRow<Zkr8u>(j, y - 1);
        const Zkr8u* r1 = srcRow<Zkr8u>(j, y);
        const Zkr8u* r2 = srcRow<Zkr8u>(j, y + 1);
        Zkr8u* d = reinterpret_cast<Zkr8u*>(static_cast<char*>(j.dst) + j.dstStep * y);
        for (int x0 = 0; x0 < j.width; x0 += kLanes) {
            const int lanes = j.width - x0 < kLanes ? j.width - x0 : kLanes;
            const Zkr8u* from[8] = {r0 + x0, r0 + x0 + 1, r0 + x0 + 2, r1 + x0, r1 + x0 + 2, r2 + x0, r2 + x0 + 1, r2 + x0 + 2};
            for (int w = 0; w < 8; ++w)
                for (int l = 0; l < lanes; ++l) wires.get()[w * kLanes + l] = from[w][l];
            for (const auto& e : net) exchange(wires.get() + e[0] * kLanes, wires.get() + e[1] * kLanes, lanes);
            placeCentre(d + x0, wires.get(), r1 + x0 + 1, lanes, k, j.weight);
        }
    }
    return true;
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    ks.morph[kComp<Zkr8u>][int(Mop::Erode)] = &morphRows<Zkr8u, false>;
    ks.morph[kComp<Zkr8u>][int(Mop::Dilate)] = &morphRows<Zkr8u, true>;
    ks.morph[kComp<Zkr16u>][int(Mop::Erode)] = &morphRows<Zkr16u, false>;
    ks.morph[kComp<Zkr16u>][int(Mop::Dilate)] = &morphRows<Zkr16u, true>;
    ks.morph[kComp<Zkr32f>][int(Mop::Erode)] = &morphRows<Zkr32f, false>;
    ks.morph[kComp<Zkr32f>][int(Mop::Dilate)] = &morphRows<Zkr32f, true>;
    ks.weightedMedian = &weightedMedianRows;
    return ks;
}

}  // namespace

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::morph::ZKR_LEVEL_NS
