// The exported functions of the FilterBox family, defined from its table:
// each row packs its parameters and hands them to one generic entry point,
// which checks the arguments (pointers, size, steps, then mask and anchor),
// describes the call as a FilterJob and runs the kernel of the level in force
// over row bands.
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

#include "checks.h"
#include "filterbox_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::filterbox {
namespace {

ZkrStatus checkMask(ZkriSize mask, ZkriPoint anchor) {
    if (mask.width <= 0 || mask.height <= 0 || long(mask.width) * mask.height > kMaxMaskArea)
        return zkrStsMaskSizeErr;
    if (anchor.x < 0 || anchor.y < 0 || anchor.x >= mask.width || anchor.y >= mask.height) return zkrStsAnchorErr;
    return zkrStsNoErr;
}

ZkrStatus runJob(const FilterJob& j, Fop op, FType type) {
    const FilterFn fn = kernels().filter[int(type)][int(op)];
    std::atomic<bool> ok{true};
    forRowBands(std::int64_t(j.width) * j.height, j.height, [&](int y0, int y1) {
        if (!fn(j, y0, y1)) ok.store(false, std::memory_order_relaxed);
    });
    return ok.load() ? zkrStsNoErr : zkrStsMemAllocErr;
}

template <class T, Layout L> FilterJob describe(ZkriSize roi, ZkriSize mask, ZkriPoint anchor) {
    FilterJob j;
    j.width = roi.width;
    j.height = roi.height;
    j.channels = kChannels<L>;
    j.active = kActive<L>;
    j.maskW = mask.width;
    j.maskH = mask.height;
    j.anchorX = anchor.x;
    j.anchorY = anchor.y;
    return j;
}

template <Fop op, Layout L, class A> ZkrStatus run(const A& a) {
    if constexpr (requires { a.pSrcDst; }) {
        // In place: the source region (ROI and border) is copied first, so that every
        // destination pixel is computed from original values whatever the band order.
        using T = std::remove_pointer_t<decltype(a.pSrcDst)>;
        constexpr int px = Pixel<T, L>::bytes;
        if (const ZkrStatus s = checkArgs({a.pSrcDst}, a.roiSize, {a.srcDstStep}, px, int(sizeof(T)));
            s != zkrStsNoErr)
            return s;
        if (const ZkrStatus s = checkMask(a.maskSize, a.anchor); s != zkrStsNoErr) return s;
        const int rows = a.roiSize.height + a.maskSize.height - 1;
        const std::size_t rowBytes = std::size_t(a.roiSize.width + a.maskSize.width - 1) * px;
        std::unique_ptr<unsigned char[]> copy(new (std::nothrow) unsigned char[rowBytes * rows]);
        if (!copy) return zkrStsMemAllocErr;
        const auto* origin = reinterpret_cast<const unsigned char*>(a.pSrcDst) -
                             std::ptrdiff_t(a.anchor.y) * a.srcDstStep - std::ptrdiff_t(a.anchor.x) * px;
        for (int r = 0; r < rows; ++r)
            std::memcpy(copy.get() + rowBytes * r, origin + std::ptrdiff_t(r) * a.srcDstStep, rowBytes);
        FilterJob j = describe<T, L>(a.roiSize, a.maskSize, a.anchor);
        j.src = copy.get() + rowBytes * a.anchor.y + std::size_t(a.anchor.x) * px;
        j.srcStep = std::ptrdiff_t(rowBytes);
        j.dst = a.pSrcDst;
        j.dstStep = a.srcDstStep;
        return runJob(j, op, FilterType<T>::id);
    } else {
        using T = std::remove_pointer_t<decltype(a.pDst)>;
        constexpr int px = Pixel<T, L>::bytes;
        if (const ZkrStatus s = checkArgs({a.pSrc, a.pDst}, a.dstRoiSize, {a.srcStep, a.dstStep}, px, int(sizeof(T)));
            s != zkrStsNoErr)
            return s;
        if (const ZkrStatus s = checkMask(a.maskSize, a.anchor); s != zkrStsNoErr) return s;
        FilterJob j = describe<T, L>(a.dstRoiSize, a.maskSize, a.anchor);
        j.src = a.pSrc;
        j.srcStep = a.srcStep;
        j.dst = a.pDst;
        j.dstStep = a.dstStep;
        return runJob(j, op, FilterType<T>::id);
    }
}

}  // namespace
}  // namespace zkr::filterbox

#define ZKR_FN(name, form, T, L, op)                                                     \
    ZKR_DEFINE(name, form, T) {                                                          \
        ZKR_PACK(args, form, T);                                                         \
        return zkr::filterbox::run<zkr::filterbox::Fop::op, zkr::Layout::L>(args);       \
    }
#include "filterbox/filterbox.tbl"
#undef ZKR_FN
