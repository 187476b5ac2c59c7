// The exported functions of the FilterBox family, defined from its table:
// each row packs its parameters and hands them to one generic entry point,
// which checks the arguments (pointers, size, steps, then mask and anchor),
// describes the call as a FilterJob and runs the kernel of the level in force
// over row bands.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

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

// In place over row bands: a band overwrites its own rows only after they have left its window
// (the kernel keeps them in a ring), but it also reads rows next to its edges that the neighbouring
// bands overwrite. Those rows, mask height - 1 around every inner band edge, are copied before the
// bands start and read from the copies.
ZkrStatus runInPlace(FilterJob j, Fop op, FType type, int pixelBytes) {
    const FilterFn fn = kernels().filter[int(type)][int(op)];
    const int parts = bandsFor(std::int64_t(j.width) * j.height, j.height);
    if (parts <= 1) return fn(j, 0, j.height) ? zkrStsNoErr : zkrStsMemAllocErr;

    const int tableRows = j.height + j.maskH - 1;  // source rows -anchorY .. height + maskH - 2 - anchorY
    const std::size_t rowBytes = std::size_t(j.width + j.maskW - 1) * std::size_t(pixelBytes);
    std::vector<char> copied(std::size_t(tableRows), 0);
    for (int k = 1; k < parts; ++k) {
        const int edge = int(std::int64_t(j.height) * k / parts);
        for (int r = edge - j.anchorY; r < edge + j.maskH - 1 - j.anchorY; ++r) copied[std::size_t(r + j.anchorY)] = 1;
    }
    const auto count = std::size_t(std::count(copied.begin(), copied.end(), 1));
    std::unique_ptr<unsigned char[]> rows(new (std::nothrow) unsigned char[count * rowBytes + 1]);
    std::unique_ptr<const void*[]> table(new (std::nothrow) const void*[std::size_t(tableRows)]);
    if (!rows || !table) return zkrStsMemAllocErr;
    const std::ptrdiff_t left = std::ptrdiff_t(j.anchorX) * pixelBytes;
    std::size_t next = 0;
    for (int t = 0; t < tableRows; ++t) {
        table[std::size_t(t)] = nullptr;
        if (!copied[std::size_t(t)]) continue;
        const auto* row = static_cast<const unsigned char*>(j.src) + std::ptrdiff_t(t - j.anchorY) * j.srcStep - left;
        unsigned char* to = rows.get() + next++ * rowBytes;
        std::memcpy(to, row, rowBytes);
        table[std::size_t(t)] = to + left;
    }
    j.origRows = table.get();

    struct Ctx {
        const FilterJob* job;
        FilterFn fn;
        std::atomic<bool> ok;
    } ctx{&j, fn, {true}};
    runParts(
        parts,
        [](void* p, int part, int n) {
            auto& c = *static_cast<Ctx*>(p);
            const int height = c.job->height;
            const int y0 = int(std::int64_t(height) * part / n), y1 = int(std::int64_t(height) * (part + 1) / n);
            if (!c.fn(*c.job, y0, y1)) c.ok.store(false, std::memory_order_relaxed);
        },
        &ctx);
    return ctx.ok.load() ? zkrStsNoErr : zkrStsMemAllocErr;
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
        using T = std::remove_pointer_t<decltype(a.pSrcDst)>;
        constexpr int px = Pixel<T, L>::bytes;
        if (const ZkrStatus s = checkArgs({a.pSrcDst}, a.roiSize, {a.srcDstStep}, px, int(sizeof(T)));
            s != zkrStsNoErr)
            return s;
        if (const ZkrStatus s = checkMask(a.maskSize, a.anchor); s != zkrStsNoErr) return s;
        FilterJob j = describe<T, L>(a.roiSize, a.maskSize, a.anchor);
        j.src = a.pSrcDst;
        j.srcStep = a.srcDstStep;
        j.dst = a.pSrcDst;
        j.dstStep = a.srcDstStep;
        j.inPlace = true;
        return runInPlace(j, op, FilterType<T>::id, px);
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
