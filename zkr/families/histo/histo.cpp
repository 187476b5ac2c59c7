// The exported functions of the Histogram family, defined from its table:
// each row packs its parameters and hands them to one generic entry point,
// which checks the arguments, prepares the per-channel levels (and, for 8u
// images, the 256-entry tables of bins or outputs), then runs the kernels of
// the level in force over bands of rows spread over the worker threads.
// Histograms and counts are made per chunk of rows, a split fixed by the
// image's size alone, and added up in chunk order.
#include <algorithm>
#include <array>
#include <type_traits>
#include <vector>

#include "checks.h"
#include "histo_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::histo {
namespace {

enum class Op { HistRange, HistEven, Lut, LutLinear, LutCubic, CountInRange, Palette, PaletteSwap };

constexpr int kChunks = 16;
constexpr std::int64_t kChunkPixels = 16384;

constexpr LutKind kindOf(Op op) {
    return op == Op::Lut ? LutKind::Step : (op == Op::LutLinear ? LutKind::Linear : LutKind::Cubic);
}

// Per-channel views of a form's arguments: single-channel forms pass one
// array (or value), the others one per channel.
template <class P, class A> P perChannel(A arg, int c) {
    if constexpr (std::is_pointer_v<A> && std::is_pointer_v<std::remove_pointer_t<A>>) return arg[c];
    else if constexpr (std::is_pointer_v<A> && !std::is_pointer_v<P>) return arg[c];
    else return arg;
}

// The source of a look-up form: the image itself when in place.
template <class Args> auto sourceOf(const Args& a) {
    if constexpr (requires { a.pSrcDst; }) return static_cast<const std::remove_pointer_t<decltype(a.pSrcDst)>*>(a.pSrcDst);
    else return a.pSrc;
}

// The destination of a look-up form: the image itself when in place.
template <class Args> auto destinationOf(const Args& a) {
    if constexpr (requires { a.pSrcDst; }) return a.pSrcDst;
    else return a.pDst;
}

// Chunks of rows of a reduction: one per kChunkPixels pixels, at most kChunks
// and at most one per row.
int chunksFor(ZkriSize roi) {
    const std::int64_t pixels = std::int64_t(roi.width) * roi.height;
    return int(std::clamp<std::int64_t>(pixels / kChunkPixels, 1, std::min(roi.height, kChunks)));
}

template <class Body> void forChunks(ZkriSize roi, int chunks, const Body& body) {
    forRowBands(std::int64_t(roi.width) * roi.height, chunks, [&](int c0, int c1) {
        for (int c = c0; c < c1; ++c)
            body(c, int(std::int64_t(roi.height) * c / chunks), int(std::int64_t(roi.height) * (c + 1) / chunks));
    });
}

// ---- histograms ---------------------------------------------------------------------

template <class T, Layout L> ZkrStatus histogram(const T* src, int step, ZkriSize roi, std::int32_t* const* hist,
                                                 const LevelOf<T>* const* levels, const int* nLevels) {
    constexpr int channels = kActive<L>;
    HistJob j;
    j.src = src, j.step = step, j.width = roi.width;
    j.period = kChannels<L>, j.channels = channels;
    std::array<std::array<std::int32_t, 256>, kMaxChannels> bins;
    for (int c = 0; c < channels; ++c) {
        j.levels[c] = levels[c];
        j.nLevels[c] = nLevels[c];
        if constexpr (std::is_same_v<T, Zkr8u>) {
            for (int v = 0; v < 256; ++v) bins[c][v] = binOf(v, levels[c], nLevels[c]);
            j.bin8u[c] = bins[c].data();
        }
    }
    const HistFn fn = kernels().hist[int(TypeOf<T>::id)];
    const int chunks = chunksFor(roi);
    if (chunks == 1) {
        for (int c = 0; c < channels; ++c) std::fill(hist[c], hist[c] + nLevels[c] - 1, 0);
        fn(j, 0, roi.height, hist);
        return zkrStsNoErr;
    }
    // One zeroed histogram per chunk and channel, added up in chunk order.
    std::vector<std::vector<std::int32_t>> part(std::size_t(chunks) * channels);
    for (int k = 0; k < chunks; ++k)
        for (int c = 0; c < channels; ++c) part[std::size_t(k) * channels + c].assign(std::size_t(nLevels[c] - 1), 0);
    forChunks(roi, chunks, [&](int k, int y0, int y1) {
        std::int32_t* h[kMaxChannels] = {};
        for (int c = 0; c < channels; ++c) h[c] = part[std::size_t(k) * channels + c].data();
        fn(j, y0, y1, h);
    });
    for (int c = 0; c < channels; ++c) {
        std::fill(hist[c], hist[c] + nLevels[c] - 1, 0);
        for (int k = 0; k < chunks; ++k) {
            const std::vector<std::int32_t>& p = part[std::size_t(k) * channels + c];
            for (std::size_t b = 0; b < p.size(); ++b) hist[c][b] += p[b];
        }
    }
    return zkrStsNoErr;
}

template <Op op, Layout L, class A> ZkrStatus runHist(const A& a) {
    using T = std::remove_const_t<std::remove_pointer_t<decltype(a.pSrc)>>;
    using LT = LevelOf<T>;
    constexpr int channels = kActive<L>;
    constexpr bool multi = L != Layout::C1;

    if (const ZkrStatus s = checkPointers({a.pSrc, a.pHist, a.pLevels}); s != zkrStsNoErr) return s;
    if constexpr (multi) {
        if (const ZkrStatus s = checkPointers({a.nLevels}); s != zkrStsNoErr) return s;
        for (int c = 0; c < channels; ++c)
            if (const ZkrStatus s = checkPointers({a.pHist[c], a.pLevels[c]}); s != zkrStsNoErr) return s;
        if constexpr (op == Op::HistEven)
            if (const ZkrStatus s = checkPointers({a.lowerLevel, a.upperLevel}); s != zkrStsNoErr) return s;
    }
    if (const ZkrStatus s = checkSize(a.roiSize); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSteps({a.srcStep}, std::int64_t(a.roiSize.width) * Pixel<T, L>::bytes, int(sizeof(T)));
        s != zkrStsNoErr)
        return s;

    std::int32_t* hist[kMaxChannels] = {};
    const LT* levels[kMaxChannels] = {};
    int n[kMaxChannels] = {};
    for (int c = 0; c < channels; ++c) {
        hist[c] = perChannel<std::int32_t*>(a.pHist, c);
        n[c] = perChannel<int>(a.nLevels, c);
        if (n[c] < 2) return zkrStsBadArgErr;
    }
    if constexpr (op == Op::HistEven) {
        for (int c = 0; c < channels; ++c) {
            const std::int64_t lo = perChannel<Zkr32s>(a.lowerLevel, c), hi = perChannel<Zkr32s>(a.upperLevel, c);
            if (lo >= hi) return zkrStsRangeErr;
            Zkr32s* out = perChannel<Zkr32s*>(a.pLevels, c);
            for (int k = 0; k < n[c]; ++k) out[k] = Zkr32s(lo + (hi - lo) * k / (n[c] - 1));
            levels[c] = out;
        }
    } else {
        for (int c = 0; c < channels; ++c) levels[c] = perChannel<const LT*>(a.pLevels, c);
    }
    return histogram<T, L>(a.pSrc, a.srcStep, a.roiSize, hist, levels, n);
}

// ---- look-up tables -------------------------------------------------------------------

template <Op op, Layout L, class A> ZkrStatus runLut(const A& a) {
    constexpr bool inPlace = requires { a.pSrcDst; };
    using E = std::remove_pointer_t<decltype(destinationOf(a))>;
    using LT = LevelOf<E>;
    constexpr int channels = kActive<L>;
    constexpr bool multi = L != Layout::C1;
    constexpr LutKind kind = kindOf(op);

    const E* src;
    E* dst;
    int srcStep, dstStep;
    if constexpr (inPlace) src = a.pSrcDst, dst = a.pSrcDst, srcStep = dstStep = a.srcDstStep;
    else src = a.pSrc, dst = a.pDst, srcStep = a.srcStep, dstStep = a.dstStep;

    if (const ZkrStatus s = checkPointers({src, dst, a.pValues, a.pLevels}); s != zkrStsNoErr) return s;
    if constexpr (multi) {
        if (const ZkrStatus s = checkPointers({a.nLevels}); s != zkrStsNoErr) return s;
        for (int c = 0; c < channels; ++c)
            if (const ZkrStatus s = checkPointers({a.pValues[c], a.pLevels[c]}); s != zkrStsNoErr) return s;
    }
    if (const ZkrStatus s = checkSize(a.roiSize); s != zkrStsNoErr) return s;
    const std::int64_t rowBytes = std::int64_t(a.roiSize.width) * Pixel<E, L>::bytes;
    if constexpr (inPlace) {
        if (const ZkrStatus s = checkSteps({srcStep}, rowBytes, int(sizeof(E))); s != zkrStsNoErr) return s;
    } else {
        if (const ZkrStatus s = checkSteps({srcStep, dstStep}, rowBytes, int(sizeof(E))); s != zkrStsNoErr) return s;
    }

    LutJob j;
    j.src = src, j.srcStep = srcStep, j.dst = dst, j.dstStep = dstStep;
    j.width = a.roiSize.width, j.period = kChannels<L>, j.channels = channels;
    const int minLevels = kind == LutKind::Cubic ? 4 : 2;
    std::array<std::array<Zkr8u, 256>, kMaxChannels> tables;
    for (int c = 0; c < channels; ++c) {
        const LT* lv = perChannel<const LT*>(a.pLevels, c);
        const LT* val = perChannel<const LT*>(a.pValues, c);
        const int n = perChannel<int>(a.nLevels, c);
        if (n < minLevels) return zkrStsBadArgErr;
        j.levels[c] = lv, j.values[c] = val, j.nLevels[c] = n;
        if constexpr (std::is_same_v<E, Zkr8u>) {
            for (int v = 0; v < 256; ++v) {
                const int k = binOf(v, lv, n);
                tables[c][v] = k < 0 ? Zkr8u(v) : toElement<Zkr8u>(lutValue<kind>(double(v), k, lv, val, n));
            }
            j.table8u[c] = tables[c].data();
        }
    }
    const LutFn fn = kernels().lut[int(TypeOf<E>::id)][int(kind)];
    forRowBands(std::int64_t(a.roiSize.width) * a.roiSize.height, a.roiSize.height,
                [&](int y0, int y1) { fn(j, y0, y1); });
    return zkrStsNoErr;
}

// ---- counts in a range ----------------------------------------------------------------

template <Layout L, class A> ZkrStatus runCount(const A& a) {
    using T = std::remove_const_t<std::remove_pointer_t<decltype(a.pSrc)>>;
    constexpr int channels = kActive<L>;
    if constexpr (L != Layout::C1) {
        if (const ZkrStatus s = checkPointers({a.pSrc, a.pCounts, a.lowerBound, a.upperBound}); s != zkrStsNoErr)
            return s;
    } else {
        if (const ZkrStatus s = checkPointers({a.pSrc, a.pCounts}); s != zkrStsNoErr) return s;
    }
    if (const ZkrStatus s = checkSize(a.roiSize); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSteps({a.srcStep}, std::int64_t(a.roiSize.width) * Pixel<T, L>::bytes, int(sizeof(T)));
        s != zkrStsNoErr)
        return s;
    CountJob j;
    j.src = a.pSrc, j.step = a.srcStep, j.width = a.roiSize.width;
    j.period = kChannels<L>, j.channels = channels;
    for (int c = 0; c < channels; ++c) {
        j.lo[c] = double(perChannel<T>(a.lowerBound, c));
        j.hi[c] = double(perChannel<T>(a.upperBound, c));
        if (!(j.lo[c] <= j.hi[c])) return zkrStsRangeErr;
    }
    const CountFn fn = kernels().count[int(TypeOf<T>::id)];
    const int chunks = chunksFor(a.roiSize);
    std::int64_t part[kChunks][kMaxChannels] = {};
    forChunks(a.roiSize, chunks, [&](int k, int y0, int y1) { fn(j, y0, y1, part[k]); });
    for (int c = 0; c < channels; ++c) {
        std::int64_t total = 0;
        for (int k = 0; k < chunks; ++k) total += part[k][c];
        a.pCounts[c] = int(total);
    }
    return zkrStsNoErr;
}

// ---- palettes --------------------------------------------------------------------------

template <class T, class D> constexpr PType paletteTypeOf() {
    if constexpr (std::is_same_v<D, Zkr32u>) return std::is_same_v<T, Zkr8u> ? PType::U8U32 : PType::U16U32;
    else return std::is_same_v<T, Zkr8u> ? PType::U8U8 : PType::U16U16;
}

template <Op op, Layout L, class A> ZkrStatus runPalette(const A& a) {
    constexpr bool inPlace = requires { a.pSrcDst; };
    using D = std::remove_pointer_t<decltype(destinationOf(a))>;
    constexpr int channels = kActive<L>;
    const void* src;
    void* dst;
    int srcStep, dstStep;
    if constexpr (inPlace) src = a.pSrcDst, dst = a.pSrcDst, srcStep = dstStep = a.srcDstStep;
    else src = a.pSrc, dst = a.pDst, srcStep = a.srcStep, dstStep = a.dstStep;
    using T = std::remove_const_t<std::remove_pointer_t<decltype(sourceOf(a))>>;

    if (const ZkrStatus s = checkPointers({src, dst, a.pTable}); s != zkrStsNoErr) return s;
    if constexpr (L != Layout::C1)
        for (int c = 0; c < channels; ++c)
            if (const ZkrStatus s = checkPointers({a.pTable[c]}); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(a.roiSize); s != zkrStsNoErr) return s;
    const std::int64_t srcRow = std::int64_t(a.roiSize.width) * Pixel<T, L>::bytes;
    const std::int64_t dstRow = std::int64_t(a.roiSize.width) * Pixel<D, L>::bytes;
    if (const ZkrStatus s = checkSteps({srcStep}, srcRow, int(sizeof(T))); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSteps({dstStep}, dstRow, int(sizeof(D))); s != zkrStsNoErr) return s;
    if (a.nBitSize < 1 || a.nBitSize > int(8 * sizeof(T))) return zkrStsBadArgErr;

    PaletteJob j;
    j.src = src, j.srcStep = srcStep, j.dst = dst, j.dstStep = dstStep;
    j.width = a.roiSize.width, j.period = kChannels<L>, j.channels = channels;
    j.mask = unsigned((1u << a.nBitSize) - 1u);
    for (int c = 0; c < channels; ++c) {
        j.table[c] = perChannel<const D*>(a.pTable, c);
        j.srcChannel[c] = op == Op::PaletteSwap ? channels - 1 - c : c;
    }
    const PaletteFn fn = kernels().palette[int(paletteTypeOf<T, D>())];
    forRowBands(std::int64_t(a.roiSize.width) * a.roiSize.height, a.roiSize.height,
                [&](int y0, int y1) { fn(j, y0, y1); });
    return zkrStsNoErr;
}

template <Op op, Layout L, class A> ZkrStatus run(const A& a) {
    if constexpr (op == Op::Palette || op == Op::PaletteSwap) return runPalette<op, L>(a);
    else if constexpr (op == Op::HistRange || op == Op::HistEven) return runHist<op, L>(a);
    else if constexpr (op == Op::CountInRange) return runCount<L>(a);
    else return runLut<op, L>(a);
}

}  // namespace
}  // namespace zkr::histo

#define ZKR_FN(name, form, T, LT, L, op)                                      \
    ZKR_DEFINE(name, form, T, LT) {                                           \
        ZKR_PACK(args, form, T, LT);                                          \
        return zkr::histo::run<zkr::histo::Op::op, zkr::Layout::L>(args);     \
    }
#include "histo/histo.tbl"
#include "histo/lutpalette.tbl"
#undef ZKR_FN
