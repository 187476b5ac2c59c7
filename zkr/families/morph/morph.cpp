// The exported functions of the Morph family, defined from its two tables: every row packs its
// parameters and hands them to one generic entry point, which checks the arguments (pointers,
// size, steps, then mask, anchor or weight), turns the mask into groups of runs and runs the kernel
// of the level in force over row bands. The in-place forms first copy the ROI and its border, so
// every band reads original values.
#include <atomic>
#include <cstdint>
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

#include "checks.h"
#include "morph_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::morph {
namespace {

enum class Op { Erode, Dilate, WMedian };

// The mask's rows grouped by their runs, with the storage the groups point into.
struct Plan {
    std::vector<std::vector<int>> rows;
    std::vector<std::vector<Run>> runs;
    std::vector<Group> groups;
};

bool planMask(const Zkr8u* mask, ZkriSize size, Plan& plan) {
    try {
        for (int y = 0; y < size.height; ++y) {
            std::vector<Run> runs;
            const Zkr8u* m = mask + std::ptrdiff_t(y) * size.width;
            for (int x = 0; x < size.width;) {
                if (!m[x]) {
                    ++x;
                    continue;
                }
                int e = x;
                while (e < size.width && m[e]) ++e;
                runs.push_back({x, e - x});
                x = e;
            }
            if (runs.empty()) continue;
            std::size_t g = 0;
            while (g < plan.runs.size() &&
                   !(plan.runs[g].size() == runs.size() &&
                     std::equal(runs.begin(), runs.end(), plan.runs[g].begin(), [](const Run& a, const Run& b) {
                         return a.start == b.start && a.length == b.length;
                     })))
                ++g;
            if (g == plan.runs.size()) {
                plan.runs.push_back(runs);
                plan.rows.emplace_back();
            }
            plan.rows[g].push_back(y);
        }
        for (std::size_t g = 0; g < plan.runs.size(); ++g)
            plan.groups.push_back(
                {plan.rows[g].data(), int(plan.rows[g].size()), plan.runs[g].data(), int(plan.runs[g].size())});
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

ZkrStatus runBands(const MorphJob& j, MorphFn fn) {
    std::atomic<bool> ok{true};
    forRowBands(std::int64_t(j.width) * j.height, j.height, [&](int y0, int y1) {
        if (!fn(j, y0, y1)) ok.store(false, std::memory_order_relaxed);
    });
    return ok.load() ? zkrStsNoErr : zkrStsMemAllocErr;
}

// In place: the ROI with its border copied, the job then reads the copy.
ZkrStatus runInPlace(MorphJob j, MorphFn fn, int pixelBytes) {
    const int w = j.width + j.maskW - 1, h = j.height + j.maskH - 1;
    const std::size_t rowBytes = std::size_t(w) * std::size_t(pixelBytes);
    std::unique_ptr<unsigned char[]> copy(new (std::nothrow) unsigned char[rowBytes * std::size_t(h)]);
    if (!copy) return zkrStsMemAllocErr;
    const auto* from = static_cast<const unsigned char*>(j.src) - std::ptrdiff_t(j.anchorY) * j.srcStep -
                       std::ptrdiff_t(j.anchorX) * pixelBytes;
    for (int y = 0; y < h; ++y) std::memcpy(copy.get() + rowBytes * std::size_t(y), from + std::ptrdiff_t(y) * j.srcStep, rowBytes);
    j.src = copy.get() + rowBytes * std::size_t(j.anchorY) + std::size_t(j.anchorX) * std::size_t(pixelBytes);
    j.srcStep = std::ptrdiff_t(rowBytes);
    return runBands(j, fn);
}

// The destination pointer of either form (its element type is the family's T).
template <class A> auto writtenImage(const A& a) {
    if constexpr (requires { a.pSrcDst; }) return a.pSrcDst;
    else return a.pDst;
}

template <Op op, Layout L, class A> ZkrStatus run(const A& a) {
    constexpr bool inPlace = requires { a.pSrcDst; };
    using T = std::remove_pointer_t<decltype(writtenImage(a))>;
    constexpr int px = Pixel<T, L>::bytes;
    MorphJob j;
    ZkriSize roi;
    if constexpr (inPlace) {
        if (const ZkrStatus s = checkArgs({a.pSrcDst}, a.roiSize, {a.srcDstStep}, px, int(sizeof(T))); s != zkrStsNoErr)
            return s;
        j.src = j.dst = a.pSrcDst;
        j.srcStep = j.dstStep = a.srcDstStep;
        roi = a.roiSize;
    } else {
        ZkriSize size;
        if constexpr (requires { a.dstRoiSize; }) size = a.dstRoiSize;
        else size = a.roiSize;
        if (const ZkrStatus s = checkArgs({a.pSrc, a.pDst}, size, {a.srcStep, a.dstStep}, px, int(sizeof(T)));
            s != zkrStsNoErr)
            return s;
        j.src = a.pSrc;
        j.srcStep = a.srcStep;
        j.dst = a.pDst;
        j.dstStep = a.dstStep;
        roi = size;
    }
    j.width = roi.width;
    j.height = roi.height;
    j.channels = kChannels<L>;
    j.active = kActive<L>;

    static const Zkr8u kSquare[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
    const Zkr8u* mask = kSquare;
    ZkriSize maskSize{3, 3};
    ZkriPoint anchor{1, 1};
    if constexpr (requires { a.pMask; }) {
        if (!a.pMask) return zkrStsNullPtrErr;
        if (a.maskSize.width <= 0 || a.maskSize.height <= 0 ||
            std::int64_t(a.maskSize.width) * a.maskSize.height > kMaxMaskArea)
            return zkrStsMaskSizeErr;
        if (a.anchor.x < 0 || a.anchor.y < 0 || a.anchor.x >= a.maskSize.width || a.anchor.y >= a.maskSize.height)
            return zkrStsAnchorErr;
        mask = a.pMask;
        maskSize = a.maskSize;
        anchor = a.anchor;
    }
    j.maskW = maskSize.width;
    j.maskH = maskSize.height;
    j.anchorX = anchor.x;
    j.anchorY = anchor.y;

    if constexpr (op == Op::WMedian) {
        if (a.weight < 1) return zkrStsBadArgErr;
        j.weight = a.weight;
        return runBands(j, kernels().weightedMedian);
    } else {
        Plan plan;
        if (!planMask(mask, maskSize, plan)) return zkrStsMemAllocErr;
        if (plan.groups.empty()) return zkrStsBadArgErr;
        j.groups = plan.groups.data();
        j.numGroups = int(plan.groups.size());
        const MorphFn fn = kernels().morph[kComp<T>][int(op == Op::Erode ? Mop::Erode : Mop::Dilate)];
        if constexpr (inPlace) return runInPlace(j, fn, px);
        else return runBands(j, fn);
    }
}

}  // namespace
}  // namespace zkr::morph

#define ZKR_FN(name, form, T, L, op)                                               \
    ZKR_DEFINE(name, form, T) {                                                    \
        ZKR_PACK(args, form, T);                                                   \
        return zkr::morph::run<zkr::morph::Op::op, zkr::Layout::L>(args);          \
    }
#include "morph/morph.tbl"
#include "morph/morphm.tbl"
#undef ZKR_FN
