// The exported functions of the Sum family, defined from its tables: each row
// packs its parameters and hands them to one generic entry point, which
// checks the arguments, reduces the image chunk by chunk with the kernels of
// the level in force (chunks spread over the worker threads), then merges the
// chunks in order and writes the results.
#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include "enum_arg.h"
#include "checks.h"
#include "sum_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::sum {
namespace {

enum class Op { Sum, Mean, Min, Max, MinMax, MinIndx, MaxIndx, QualityIndex };

// An image is reduced in chunks of rows, a split fixed by the image's size
// alone (float results are then the same on any number of threads): one
// chunk per kChunkPixels pixels, at most kChunks and at most one per row.
// Small images make one chunk, so they pay no per-chunk overhead.
constexpr int kChunks = 64;
constexpr std::int64_t kChunkPixels = 4096;

template <class A> auto sourceOf(const A& a) {
    if constexpr (requires { a.pSrc1; }) return a.pSrc1;
    else return a.pSrc;
}

template <class A> ZkrStatus checkHint(const A& a) {
    if constexpr (requires { a.hint; }) {
        const int h = zkr::enumArg(a.hint);
        if (h != zkrAlgHintNone && h != zkrAlgHintFast && h != zkrAlgHintAccurate) return zkrStsHintErr;
    }
    return zkrStsNoErr;
}

template <class A> bool fastHint(const A& a) {
    if constexpr (requires { a.hint; }) return zkr::enumArg(a.hint) == zkrAlgHintFast;
    else return false;
}

constexpr Red redOf(Op op) {
    switch (op) {
        case Op::Sum:
        case Op::Mean: return Red::Sum;
        case Op::Min: return Red::Min;
        case Op::Max: return Red::Max;
        case Op::MinMax: return Red::MinMax;
        case Op::MinIndx: return Red::MinIndx;
        case Op::MaxIndx: return Red::MaxIndx;
        default: return Red::Quality;
    }
}

// Universal quality index of one channel from its sums over n pixels.
Zkr32f qualityOf(double n, double sx, double sy, double sxx, double syy, double sxy) {
    const double mx = sx / n, my = sy / n;
    // Second moments about the means; clamped at 0 against rounding.
    const double vx = std::max(0.0, sxx / n - mx * mx), vy = std::max(0.0, syy / n - my * my);
    const double cov = sxy / n - mx * my;
    const double den = (vx + vy) * (mx * mx + my * my);
    if (den == 0.0) return vx == vy && mx == my ? 1.0f : 0.0f;
    return Zkr32f(4.0 * cov * mx * my / den);
}

// True when channel ch of the image holds NaN only. The comparisons of the extremes leave NaN out,
// so such a channel ends on the start values (+inf, -inf), which say nothing about it; checked only
// when a float extreme is an infinity.
template <class A> bool onlyNaN(const A& a, int period, int ch) {
    for (int y = 0; y < a.roiSize.height; ++y) {
        const auto* row =
            reinterpret_cast<const Zkr32f*>(reinterpret_cast<const char*>(a.pSrc) + std::ptrdiff_t(y) * a.srcStep);
        for (int x = 0; x < a.roiSize.width; ++x)
            if (!std::isnan(row[std::ptrdiff_t(x) * period + ch])) return false;
    }
    return true;
}

template <Op op, Layout L, class A> ZkrStatus run(const A& a) {
    using T = std::remove_const_t<std::remove_pointer_t<decltype(sourceOf(a))>>;
    constexpr int px = Pixel<T, L>::bytes, cb = int(sizeof(T));
    constexpr int channels = kActive<L>;

    // NULL pointers, size, steps, then the hint.
    ZkrStatus s;
    if constexpr (op == Op::Sum) s = checkArgs({a.pSrc, a.pSum}, a.roiSize, {a.srcStep}, px, cb);
    else if constexpr (op == Op::Mean) s = checkArgs({a.pSrc, a.pMean}, a.roiSize, {a.srcStep}, px, cb);
    else if constexpr (op == Op::Min) s = checkArgs({a.pSrc, a.pMin}, a.roiSize, {a.srcStep}, px, cb);
    else if constexpr (op == Op::Max) s = checkArgs({a.pSrc, a.pMax}, a.roiSize, {a.srcStep}, px, cb);
    else if constexpr (op == Op::MinMax) s = checkArgs({a.pSrc, a.pMin, a.pMax}, a.roiSize, {a.srcStep}, px, cb);
    else if constexpr (op == Op::MinIndx)
        s = checkArgs({a.pSrc, a.pMin, a.pIndexX, a.pIndexY}, a.roiSize, {a.srcStep}, px, cb);
    else if constexpr (op == Op::MaxIndx)
        s = checkArgs({a.pSrc, a.pMax, a.pIndexX, a.pIndexY}, a.roiSize, {a.srcStep}, px, cb);
    else
        s = checkArgs({a.pSrc1, a.pSrc2, a.pQuality}, a.roiSize, {a.src1Step, a.src2Step}, px, cb);
    if (s != zkrStsNoErr) return s;
    if (const ZkrStatus h = checkHint(a); h != zkrStsNoErr) return h;

    RedJob j;
    if constexpr (op == Op::QualityIndex) {
        j.s = a.pSrc1, j.sStep = a.src1Step;
        j.s2 = a.pSrc2, j.s2Step = a.src2Step;
    } else {
        j.s = a.pSrc, j.sStep = a.srcStep;
    }
    j.period = kChannels<L>;
    j.rowLen = a.roiSize.width * j.period;

    const Red red = redOf(op) == Red::Sum && fastHint(a) ? Red::SumFast : redOf(op);
    const ChunkFn fn = kernels().fn[kComp<T>][int(red)];
    const int height = a.roiSize.height;
    const std::int64_t pixels64 = std::int64_t(a.roiSize.width) * height;
    const int chunks = int(std::clamp<std::int64_t>(pixels64 / kChunkPixels, 1, std::min(height, kChunks)));
    ChunkOut outs[kChunks];
    forRowBands(pixels64, chunks, [&](int c0, int c1) {
        for (int c = c0; c < c1; ++c)
            fn(j, int(std::int64_t(height) * c / chunks), int(std::int64_t(height) * (c + 1) / chunks), outs[c]);
    });

    // Merge in chunk order: sums add up, extremes keep the earliest position on ties.
    ChunkOut r = outs[0];
    for (int c = 1; c < chunks; ++c) {
        const ChunkOut& o = outs[c];
        for (int ch = 0; ch < channels; ++ch) {
            if constexpr (op == Op::Sum || op == Op::Mean) {
                r.sum[ch] += o.sum[ch];
            } else if constexpr (op == Op::QualityIndex) {
                r.sx[ch] += o.sx[ch], r.sy[ch] += o.sy[ch];
                r.sxx[ch] += o.sxx[ch], r.syy[ch] += o.syy[ch], r.sxy[ch] += o.sxy[ch];
            } else {
                if (o.min[ch] < r.min[ch]) r.min[ch] = o.min[ch], r.minX[ch] = o.minX[ch], r.minY[ch] = o.minY[ch];
                if (o.max[ch] > r.max[ch]) r.max[ch] = o.max[ch], r.maxX[ch] = o.maxX[ch], r.maxY[ch] = o.maxY[ch];
            }
        }
    }

    // Float Min and Max leave NaN out (as the C library's fmin and fmax do); a channel of NaN only
    // gives NaN, found at its first pixel.
    if constexpr (std::is_same_v<T, Zkr32f> && op != Op::Sum && op != Op::Mean && op != Op::QualityIndex) {
        for (int ch = 0; ch < channels; ++ch) {
            const bool noMin = r.min[ch] == HUGE_VAL, noMax = r.max[ch] == -HUGE_VAL;
            if ((noMin || noMax) && onlyNaN(a, j.period, ch)) {
                r.min[ch] = r.max[ch] = double(std::numeric_limits<float>::quiet_NaN());
                r.minX[ch] = r.minY[ch] = r.maxX[ch] = r.maxY[ch] = 0;
            }
        }
    }

    const double pixels = double(a.roiSize.width) * double(height);
    for (int ch = 0; ch < channels; ++ch) {
        if constexpr (op == Op::Sum) a.pSum[ch] = r.sum[ch];
        if constexpr (op == Op::Mean) a.pMean[ch] = r.sum[ch] / pixels;
        if constexpr (op == Op::Min || op == Op::MinMax || op == Op::MinIndx) a.pMin[ch] = T(r.min[ch]);
        if constexpr (op == Op::Max || op == Op::MinMax || op == Op::MaxIndx) a.pMax[ch] = T(r.max[ch]);
        if constexpr (op == Op::MinIndx) a.pIndexX[ch] = r.minX[ch], a.pIndexY[ch] = r.minY[ch];
        if constexpr (op == Op::MaxIndx) a.pIndexX[ch] = r.maxX[ch], a.pIndexY[ch] = r.maxY[ch];
        if constexpr (op == Op::QualityIndex)
            a.pQuality[ch] = qualityOf(pixels, r.sx[ch], r.sy[ch], r.sxx[ch], r.syy[ch], r.sxy[ch]);
    }
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::sum

#define ZKR_FN(name, form, T, L, op)                                       \
    ZKR_DEFINE(name, form, T) {                                            \
        ZKR_PACK(args, form, T);                                           \
        return zkr::sum::run<zkr::sum::Op::op, zkr::Layout::L>(args);      \
    }
#include "sum/sum.tbl"
#include "sum/hint.tbl"
#undef ZKR_FN
