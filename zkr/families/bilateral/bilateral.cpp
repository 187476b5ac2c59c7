// The exported function of the Bilateral family, defined from its table: the arguments are checked
// (pointers, size, steps, then radius and sigmas), the spatial and range weight tables computed
// once, and the kernel of the level in force run over row bands.
#include <atomic>
#include <cmath>
#include <cstdint>
#include <vector>

#include "bilateral_kernels.h"
#include "checks.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::bilateral {
namespace {

template <class A> ZkrStatus run(const A& a) {
    if (const ZkrStatus s = checkArgs({a.pSrc, a.pDst}, a.dstRoiSize, {a.srcStep, a.dstStep}, 1, 1); s != zkrStsNoErr)
        return s;
    if (a.radius < 1 || a.radius > kMaxRadius) return zkrStsMaskSizeErr;
    if (!(a.valSquareSigma > 0.0f) || !(a.posSquareSigma > 0.0f) || std::isinf(a.valSquareSigma) ||
        std::isinf(a.posSquareSigma))
        return zkrStsBadArgErr;
    const int r = a.radius, side = 2 * r + 1;
    std::vector<float> spatial(std::size_t(side) * std::size_t(side)), range(256);
    for (int dy = -r; dy <= r; ++dy)
        for (int dx = -r; dx <= r; ++dx)
            spatial[std::size_t((dy + r) * side + dx + r)] =
                float(std::exp(-double(dx * dx + dy * dy) / (2.0 * double(a.posSquareSigma))));
    for (int d = 0; d < 256; ++d) range[std::size_t(d)] = float(std::exp(-double(d * d) / (2.0 * double(a.valSquareSigma))));
    BilateralJob j;
    j.src = a.pSrc;
    j.srcStep = a.srcStep;
    j.dst = a.pDst;
    j.dstStep = a.dstStep;
    j.width = a.dstRoiSize.width;
    j.height = a.dstRoiSize.height;
    j.radius = r;
    j.spatial = spatial.data();
    j.range = range.data();
    const BilateralFn fn = kernels().rows;
    std::atomic<bool> ok{true};
    forRowBands(std::int64_t(j.width) * j.height * side * side, j.height, [&](int y0, int y1) {
        if (!fn(j, y0, y1)) ok.store(false, std::memory_order_relaxed);
    });
    return ok.load() ? zkrStsNoErr : zkrStsMemAllocErr;
}

}  // namespace
}  // namespace zkr::bilateral

#define ZKR_FN(name, form, T, L)                   \
    ZKR_DEFINE(name, form, T) {                    \
        ZKR_PACK(args, form, T);                   \
        return zkr::bilateral::run(args);          \
    }
#include "bilateral/bilateral.tbl"
#undef ZKR_FN
