// The exported functions of the Wiener family, defined from its table: every row packs its
// parameters and hands them to one generic entry point, which checks the arguments (pointers,
// size, steps, then mask, anchor and noise), lays the statistics out in the caller's work buffer,
// runs the statistics pass over row bands, estimates the noise where asked, then runs the filter
// pass.
#include <atomic>
#include <climits>
#include <cstdint>
#include <type_traits>

#include "checks.h"
#include "wiener_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::wiener {
namespace {

inline constexpr std::int64_t kAlign = 64;

// Bytes of the work buffer: means and variances of every component, the rows' variance sums, and
// room to align the start.
std::int64_t bufferBytes(ZkriSize roi, int channels) {
    const std::int64_t comps = std::int64_t(roi.width) * roi.height * channels;
    return (2 * comps + 4 * std::int64_t(roi.height)) * std::int64_t(sizeof(double)) + kAlign;
}

ZkrStatus checkMask(ZkriSize mask, ZkriPoint anchor) {
    if (mask.width <= 0 || mask.height <= 0 || std::int64_t(mask.width) * mask.height > kMaxMaskArea)
        return zkrStsMaskSizeErr;
    if (anchor.x < 0 || anchor.y < 0 || anchor.x >= mask.width || anchor.y >= mask.height) return zkrStsAnchorErr;
    return zkrStsNoErr;
}

ZkrStatus getBufferSize(ZkriSize roi, ZkriSize mask, int channels, int* size) {
    if (!size) return zkrStsNullPtrErr;
    if (const ZkrStatus s = checkSize(roi); s != zkrStsNoErr) return s;
    if (mask.width <= 0 || mask.height <= 0 || std::int64_t(mask.width) * mask.height > kMaxMaskArea)
        return zkrStsMaskSizeErr;
    if (channels != 1 && channels != 3 && channels != 4) return zkrStsBadArgErr;
    const std::int64_t bytes = bufferBytes(roi, channels);
    if (bytes > INT_MAX) return zkrStsSizeErr;
    *size = int(bytes);
    return zkrStsNoErr;
}

template <class F> bool bands(const WienerJob& j, F fn) {
    std::atomic<bool> ok{true};
    forRowBands(std::int64_t(j.width) * j.height, j.height, [&](int y0, int y1) {
        if (!fn(j, y0, y1)) ok.store(false, std::memory_order_relaxed);
    });
    return ok.load();
}

template <Layout L, class A> ZkrStatus run(const A& a) {
    using T = std::remove_pointer_t<decltype(a.pDst)>;
    constexpr int px = Pixel<T, L>::bytes;
    if (const ZkrStatus s =
            checkArgs({a.pSrc, a.pDst, a.pNoise, a.pBuffer}, a.dstRoiSize, {a.srcStep, a.dstStep}, px, int(sizeof(T)));
        s != zkrStsNoErr)
        return s;
    if (const ZkrStatus s = checkMask(a.maskSize, a.anchor); s != zkrStsNoErr) return s;
    WienerJob j;
    j.channels = kChannels<L>;
    j.active = kActive<L>;
    bool estimate = false;
    for (int c = 0; c < j.active; ++c) {
        if (!(a.pNoise[c] >= 0.0f)) return zkrStsBadArgErr;
        j.noise[c] = double(a.pNoise[c]);
        estimate = estimate || a.pNoise[c] == 0.0f;
    }
    j.src = a.pSrc;
    j.srcStep = a.srcStep;
    j.dst = a.pDst;
    j.dstStep = a.dstStep;
    j.width = a.dstRoiSize.width;
    j.height = a.dstRoiSize.height;
    j.maskW = a.maskSize.width;
    j.maskH = a.maskSize.height;
    j.anchorX = a.anchor.x;
    j.anchorY = a.anchor.y;
    const auto start = reinterpret_cast<std::uintptr_t>(a.pBuffer);
    auto* base = reinterpret_cast<double*>((start + kAlign - 1) / kAlign * kAlign);
    const std::size_t comps = std::size_t(j.width) * std::size_t(j.height) * std::size_t(j.channels);
    j.mean = base;
    j.variance = base + comps;
    j.rowSums = base + 2 * comps;
    if (!bands(j, kernels().stats[kComp<T>])) return zkrStsMemAllocErr;
    if (estimate) {
        // The mean of the local variances, summed row by row in order: the same on any split.
        const double count = double(j.width) * double(j.height);
        for (int c = 0; c < j.active; ++c) {
            if (j.noise[c] != 0.0) continue;
            double sum = 0.0;
            for (int y = 0; y < j.height; ++y) sum += j.rowSums[std::size_t(y) * 4 + std::size_t(c)];
            j.noise[c] = sum / count;
        }
    }
    return bands(j, kernels().filter[kComp<T>]) ? zkrStsNoErr : zkrStsMemAllocErr;
}

}  // namespace
}  // namespace zkr::wiener

#define ZKR_FN_AUX(name, form, T)                                                                   \
    ZKR_DEFINE(name, form, T) {                                                                     \
        ZKR_PACK(args, form, T);                                                                    \
        return zkr::wiener::getBufferSize(args.dstRoiSize, args.maskSize, args.channels, args.pBufferSize); \
    }
#define ZKR_FN(name, form, T, L)                               \
    ZKR_DEFINE(name, form, T) {                                \
        ZKR_PACK(args, form, T);                               \
        return zkr::wiener::run<zkr::Layout::L>(args);         \
    }
#include "wiener/wiener.tbl"
#undef ZKR_FN
#undef ZKR_FN_AUX
