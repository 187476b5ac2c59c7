// The exported functions of the DotProd family, defined from its table: the
// arguments are checked, the image is reduced chunk by chunk with the kernel of
// the level in force (chunks spread over the worker threads), and the chunks
// are added in order into one value per computed channel.
#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "checks.h"
#include "dotprod_kernels.h"
#include "elem_info.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::dotprod {
namespace {

// Chunks fixed by the image's size alone: one per kChunkPixels pixels, at most
// kChunks and at most one per row.
constexpr int kChunks = 64;
constexpr std::int64_t kChunkPixels = 4096;

template <class T> constexpr Elem elemOf() {
    if constexpr (std::is_same_v<T, Zkr8u>) return Elem::U8;
    else if constexpr (std::is_same_v<T, Zkr8s>) return Elem::S8;
    else if constexpr (std::is_same_v<T, Zkr16u>) return Elem::U16;
    else if constexpr (std::is_same_v<T, Zkr16s>) return Elem::S16;
    else if constexpr (std::is_same_v<T, Zkr32u>) return Elem::U32;
    else if constexpr (std::is_same_v<T, Zkr32s>) return Elem::S32;
    else return Elem::F32;
}

template <Layout L, class A> ZkrStatus run(const A& a) {
    using T = std::remove_const_t<std::remove_pointer_t<decltype(a.pSrc1)>>;
    constexpr int px = int(sizeof(T)) * kChannels<L>, cb = int(sizeof(T));
    if (const ZkrStatus s = checkArgs({a.pSrc1, a.pSrc2, a.pDp}, a.roiSize, {a.src1Step, a.src2Step}, px, cb);
        s != zkrStsNoErr)
        return s;
    DotJob j;
    j.a = a.pSrc1, j.aStep = a.src1Step;
    j.b = a.pSrc2, j.bStep = a.src2Step;
    j.period = kChannels<L>;
    j.rowLen = a.roiSize.width * j.period;
    const ChunkFn fn = kernels().fn[int(elemOf<T>())];
    const int height = a.roiSize.height;
    const std::int64_t pixels = std::int64_t(a.roiSize.width) * height;
    const int chunks = int(std::clamp<std::int64_t>(pixels / kChunkPixels, 1, std::min(height, kChunks)));
    ChunkOut outs[kChunks];
    forRowBands(pixels, chunks, [&](int c0, int c1) {
        for (int c = c0; c < c1; ++c)
            fn(j, int(std::int64_t(height) * c / chunks), int(std::int64_t(height) * (c + 1) / chunks), outs[c]);
    });
    for (int ch = 0; ch < kActive<L>; ++ch) {
        double s = outs[0].sum[ch];
        for (int c = 1; c < chunks; ++c) s += outs[c].sum[ch];
        a.pDp[ch] = s;
    }
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::dotprod

#define ZKR_FN(name, form, T, L)                              \
    ZKR_DEFINE(name, form, T) {                               \
        ZKR_PACK(args, form, T);                              \
        return zkr::dotprod::run<zkr::Layout::L>(args);       \
    }
#include "dotprod/dotprod.tbl"
#undef ZKR_FN
