// The exported functions of the Threshold family, defined from its three
// tables: each row packs its parameters and hands them to a generic entry
// point, which checks the arguments, turns the operation into a lower and/or
// upper test with its constants, and runs the kernel of the level in force
// over row bands. Otsu's threshold takes the image's histogram over row
// bands and chooses the level from it.
#include <cstdint>
#include <mutex>
#include <type_traits>

#include "checks.h"
#include "thresh_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"
#include "thresh/thresh_forms.h"

namespace zkr::thresh {
namespace {

enum class Op { Thr, GT, LT, Val, GTVal, LTVal, LTValGTVal, Otsu };

// Constant of channel ch: the value itself (one channel) or its entry of the array.
template <class T, class K> T constantOf(K k, int ch) {
    if constexpr (std::is_pointer_v<K>) return k[ch];
    else return k;
}

// The constants of one call, as the kernels take them.
template <class S> struct Constants {
    alignas(64) S tLo[kPattern], vLo[kPattern], tHi[kPattern], vHi[kPattern];
};

template <Op op, Layout L, class A> ZkrStatus run(const A& a) {
    constexpr bool inPlace = requires { a.pSrcDst; };
    using T = std::remove_pointer_t<decltype([&] {
        if constexpr (inPlace) return a.pSrcDst;
        else return a.pDst;
    }())>;
    using S = typename ElemInfo<T>::S;
    constexpr int px = Pixel<T, L>::bytes, cb = int(sizeof(S));
    constexpr int channels = kChannels<L>, active = kActive<L>;
    constexpr bool twoSided = op == Op::LTValGTVal;

    // Checks: pointers (images, then constant arrays), size, steps, then the
    // operation's own arguments.
    const void* src;
    const void* dst;
    if constexpr (inPlace) src = dst = a.pSrcDst;
    else src = a.pSrc, dst = a.pDst;
    if (const ZkrStatus s = checkPointers({src, dst}); s != zkrStsNoErr) return s;
    if constexpr (twoSided) {
        if constexpr (std::is_pointer_v<decltype(a.thresholdLT)>) {
            if (const ZkrStatus s = checkPointers({a.thresholdLT, a.valueLT, a.thresholdGT, a.valueGT}); s != zkrStsNoErr)
                return s;
        }
    } else {
        if constexpr (std::is_pointer_v<decltype(a.threshold)>) {
            if (!a.threshold) return zkrStsNullPtrErr;
            if constexpr (requires { a.value; })
                if (!a.value) return zkrStsNullPtrErr;
        }
    }
    if (const ZkrStatus s = checkSize(a.roiSize); s != zkrStsNoErr) return s;
    if constexpr (inPlace) {
        if (const ZkrStatus s = checkSteps({a.srcDstStep}, std::int64_t(a.roiSize.width) * px, cb); s != zkrStsNoErr)
            return s;
    } else {
        if (const ZkrStatus s = checkSteps({a.srcStep, a.dstStep}, std::int64_t(a.roiSize.width) * px, cb);
            s != zkrStsNoErr)
            return s;
    }

    // The kind of test: below, above or both; below and above are max and
    // min when the threshold replaces the values it bounds.
    constexpr bool replacesByValue = twoSided || requires { a.value; };
    bool below = true;
    if constexpr (op == Op::Thr || op == Op::Val) {
        if (a.cmpOp == zkrCmpGreater) below = false;
        else if (a.cmpOp != zkrCmpLess) return zkrStsBadArgErr;
    } else if constexpr (op == Op::GT || op == Op::GTVal) {
        below = false;
    }
    Kind kind = below ? (replacesByValue ? Kind::Lo : Kind::Max) : (replacesByValue ? Kind::Hi : Kind::Min);
    if constexpr (twoSided) {
        kind = Kind::Both;
        for (int ch = 0; ch < active; ++ch)
            if (constantOf<S>(a.thresholdLT, ch) > constantOf<S>(a.thresholdGT, ch)) return zkrStsRangeErr;
    }

    // Constants per channel, as far as a row band can read them (the alpha
    // slots of AC4 are never used). Left uninitialised beyond that: small
    // images are not to pay for clearing the whole pattern.
    const int period = Pixel<T, L>::period;
    const std::int64_t comps = std::int64_t(a.roiSize.width) * a.roiSize.height * period;
    const int count = L == Layout::C1 ? 1 : int(comps < kPattern ? comps : kPattern);
    Constants<S> k;
    for (int i = 0; i < count; ++i) {
        const int ch = i % channels;
        k.tLo[i] = k.vLo[i] = k.tHi[i] = k.vHi[i] = S(0);
        if (ch >= active) continue;
        S t, v, t2 = S(0), v2 = S(0);
        if constexpr (twoSided) {
            t = constantOf<S>(a.thresholdLT, ch), v = constantOf<S>(a.valueLT, ch);
            t2 = constantOf<S>(a.thresholdGT, ch), v2 = constantOf<S>(a.valueGT, ch);
        } else {
            t = constantOf<S>(a.threshold, ch);
            if constexpr (requires { a.value; }) v = constantOf<S>(a.value, ch);
            else v = t;
        }
        if (below) k.tLo[i] = t, k.vLo[i] = v, k.tHi[i] = t2, k.vHi[i] = v2;
        else k.tHi[i] = t, k.vHi[i] = v;
    }

    ThreshJob j;
    if constexpr (inPlace) {
        j.s = j.d = a.pSrcDst;
        j.sStep = j.dStep = a.srcDstStep;
    } else {
        j.s = a.pSrc, j.sStep = a.srcStep;
        j.d = a.pDst, j.dStep = a.dstStep;
    }
    j.rowLen = a.roiSize.width * period;
    j.tLo = k.tLo, j.vLo = k.vLo, j.tHi = k.tHi, j.vHi = k.vHi;
    constexpr Shape shape = L == Layout::C1 ? Shape::C1 : (L == Layout::AC4 ? Shape::AC4 : Shape::Cn);
    const RowsFn fn = kernels().rows[kComp<S>][int(kind)][int(shape)][inPlace];
    forRowBands(std::int64_t(a.roiSize.width) * a.roiSize.height, a.roiSize.height,
                [&](int y0, int y1) { fn(j, y0, y1); });
    return zkrStsNoErr;
}

// Otsu's level from a histogram: maximises the between-class variance
// w0 * w1 * (m0 - m1)^2, which for n0 pixels of sum s0 at or below t, out of
// n pixels of sum s, is (s0 * n - s * n0)^2 / (n^2 * n0 * n1); the first
// maximum wins. The difference is exact in 128 bits.
Zkr8u otsuLevel(const std::uint64_t* hist) {
    std::uint64_t n = 0, s = 0;
    for (int v = 0; v < 256; ++v) n += hist[v], s += hist[v] * std::uint64_t(v);
    std::uint64_t n0 = 0, s0 = 0;
    long double best = -1.0L;
    int level = -1;
    for (int t = 0; t < 255; ++t) {
        n0 += hist[t];
        s0 += hist[t] * std::uint64_t(t);
        const std::uint64_t n1 = n - n0;
        if (n0 == 0 || n1 == 0) continue;
        const __int128 diff = __int128(s0) * __int128(n) - __int128(s) * __int128(n0);
        const long double d = static_cast<long double>(diff);
        const long double var = d * d / (static_cast<long double>(n0) * static_cast<long double>(n1));
        if (var > best) best = var, level = t;
    }
    if (level >= 0) return Zkr8u(level);
    // One value only: no split has two classes.
    for (int v = 0; v < 256; ++v)
        if (hist[v]) return Zkr8u(v);
    return 0;
}

template <Op op, Layout L, class A> ZkrStatus runOtsu(const A& a) {
    static_assert(op == Op::Otsu && L == Layout::C1);
    if (const ZkrStatus s = checkPointers({a.pSrc, a.pThreshold}); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(a.roiSize); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSteps({a.srcStep}, a.roiSize.width, 1); s != zkrStsNoErr) return s;
    std::uint64_t hist[256] = {};
    std::mutex merge;
    const HistFn fn = kernels().histogram;
    forRowBands(std::int64_t(a.roiSize.width) * a.roiSize.height, a.roiSize.height, [&](int y0, int y1) {
        std::uint64_t band[256] = {};
        fn(a.pSrc, a.srcStep, a.roiSize.width, y0, y1, band);
        const std::lock_guard<std::mutex> lock(merge);
        for (int v = 0; v < 256; ++v) hist[v] += band[v];
    });
    *a.pThreshold = otsuLevel(hist);
    return zkrStsNoErr;
}

template <Op op, Layout L, class A> ZkrStatus entry(const A& a) {
    if constexpr (op == Op::Otsu) return runOtsu<op, L>(a);
    else return run<op, L>(a);
}

}  // namespace
}  // namespace zkr::thresh

#define ZKR_FN(name, form, T, L, op)                                                  \
    ZKR_DEFINE(name, form, T) {                                                       \
        ZKR_PACK(args, form, T);                                                      \
        return zkr::thresh::entry<zkr::thresh::Op::op, zkr::Layout::L>(args);         \
    }
#include "thresh/thresh.tbl"
#include "thresh/threshi.tbl"
#include "thresh/thresh_otsu.tbl"
#undef ZKR_FN
