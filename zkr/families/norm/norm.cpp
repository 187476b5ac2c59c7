// The exported functions of the Norm family, defined from its tables: each row
// packs its parameters and hands them to one generic entry point, which checks
// the arguments, reduces the image chunk by chunk with the kernels of the
// level in force (chunks spread over the worker threads), merges the chunks in
// order and writes one norm per computed channel.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "enum_arg.h"
#include "checks.h"
#include "norm_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::norm {
namespace {

enum class Op { Norm, Diff, Rel };

// An image is reduced in chunks of rows, a split fixed by the image's size
// alone (float results are then the same on any number of threads): one chunk
// per kChunkPixels pixels, at most kChunks and at most one per row.
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

// Inf: the larger, NaN once met; L1, L2: the sum.
template <Kind K> double merge(double m, double v) {
    if constexpr (K != Kind::Inf) return m + v;
    else return (v > m || std::isnan(v)) ? v : m;
}

template <Kind K> double finish(double acc) { return K == Kind::L2 ? std::sqrt(acc) : acc; }

template <Kind K, Op op, Layout L, class A> ZkrStatus run(const A& a) {
    using T = std::remove_const_t<std::remove_pointer_t<decltype(sourceOf(a))>>;
    constexpr int px = Pixel<T, L>::bytes, cb = int(sizeof(T));
    constexpr int channels = kActive<L>;

    // NULL pointers, size, steps, then the hint.
    ZkrStatus s;
    NormJob j;
    if constexpr (op == Op::Norm) {
        s = checkArgs({a.pSrc, a.pValue}, a.roiSize, {a.srcStep}, px, cb);
        j.a = a.pSrc, j.aStep = a.srcStep;
    } else {
        s = checkArgs({a.pSrc1, a.pSrc2, a.pValue}, a.roiSize, {a.src1Step, a.src2Step}, px, cb);
        j.a = a.pSrc1, j.aStep = a.src1Step;
        j.b = a.pSrc2, j.bStep = a.src2Step;
    }
    if (s != zkrStsNoErr) return s;
    if (const ZkrStatus h = checkHint(a); h != zkrStsNoErr) return h;
    j.period = kChannels<L>;
    j.rowLen = a.roiSize.width * j.period;

    constexpr Shape shape = op == Op::Norm ? Shape::One : (op == Op::Diff ? Shape::Diff : Shape::Rel);
    const ChunkFn fn = kernels().fn[kComp<T>][int(K)][int(shape)][fastHint(a) ? 1 : 0];
    const int height = a.roiSize.height;
    const std::int64_t pixels = std::int64_t(a.roiSize.width) * height;
    const int chunks = int(std::clamp<std::int64_t>(pixels / kChunkPixels, 1, std::min(height, kChunks)));
    ChunkOut outs[kChunks];
    forRowBands(pixels, chunks, [&](int c0, int c1) {
        for (int c = c0; c < c1; ++c)
            fn(j, int(std::int64_t(height) * c / chunks), int(std::int64_t(height) * (c + 1) / chunks), outs[c]);
    });

    // Merge in chunk order.
    ChunkOut r = outs[0];
    for (int c = 1; c < chunks; ++c)
        for (int ch = 0; ch < channels; ++ch) {
            r.v[ch] = merge<K>(r.v[ch], outs[c].v[ch]);
            r.ref[ch] = merge<K>(r.ref[ch], outs[c].ref[ch]);
        }

    ZkrStatus status = zkrStsNoErr;
    for (int ch = 0; ch < channels; ++ch) {
        const double v = finish<K>(r.v[ch]);
        if constexpr (op == Op::Rel) {
            const double ref = finish<K>(r.ref[ch]);
            if (ref == 0.0) {
                // No division: 0 / 0 and x / 0 would raise the invalid and divide-by-zero flags.
                a.pValue[ch] = std::isnan(v) || v == 0.0 ? v : std::numeric_limits<double>::infinity();
                status = zkrStsDivByZero;
            } else {
                a.pValue[ch] = v / ref;
            }
        } else {
            a.pValue[ch] = v;
        }
    }
    return status;
}

}  // namespace
}  // namespace zkr::norm

#define ZKR_FN(name, form, T, L, kind, op)                                                       \
    ZKR_DEFINE(name, form, T) {                                                                  \
        ZKR_PACK(args, form, T);                                                                 \
        return zkr::norm::run<zkr::norm::Kind::kind, zkr::norm::Op::op, zkr::Layout::L>(args);  \
    }
#include "norm/norm.tbl"
#include "norm/hint.tbl"
#undef ZKR_FN
