// The exported functions of the Copy family, defined from its tables: each row
// packs its parameters and hands them to one generic entry point, which checks
// the arguments (pointers, size, steps, then the operation's own), describes the
// call as a CopyJob of element strides and runs the kernel of the level in force
// over row bands.
#include <atomic>
#include <cstring>
#include <type_traits>

#include "checks.h"
#include "copy/copy_forms.h"
#include "copy_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::copy {
namespace {

enum class Op {
    Copy, CopyM, CopyCoi, Extract, Insert, Merge, Split, Planar,
    Set, SetM, SetCoi,
    Swap, SwapI, SwapVal, Dup,
    Unpack, Pack, Managed, Median
};

// Layouts of the tables: interleaved (AC4: three channels and an alpha that is not touched) or planar.
enum class Lay { C1, C3, C4, AC4, P3, P4 };

constexpr int periodOf(Lay l) { return l == Lay::C3 ? 3 : (l == Lay::C4 || l == Lay::AC4) ? 4 : 1; }
constexpr int activeOf(Lay l) { return l == Lay::C1 ? 1 : (l == Lay::C4 || l == Lay::P4) ? 4 : 3; }
constexpr bool planarOf(Lay l) { return l == Lay::P3 || l == Lay::P4; }

void runRows(const CopyJob& j, RowsFn fn) {
    forRowBands(std::int64_t(j.width) * j.height, j.height, [&](int y0, int y1) { fn(j, y0, y1); });
}

// NULL checks of a plane array and of each of its planes.
template <class P> ZkrStatus checkPlanes(P planes, int n) {
    if (!planes) return zkrStsNullPtrErr;
    for (int c = 0; c < n; ++c)
        if (!planes[c]) return zkrStsNullPtrErr;
    return zkrStsNoErr;
}

// Pointers, then the size, then every image step against its row bytes, then the mask's.
ZkrStatus checkImages(std::initializer_list<const void*> ptrs, ZkriSize roi, int srcStep, std::int64_t srcRow,
                      int dstStep, std::int64_t dstRow, int comp) {
    if (const ZkrStatus s = checkPointers(ptrs); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(roi); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSteps({srcStep}, srcRow, comp); s != zkrStsNoErr) return s;
    return checkSteps({dstStep}, dstRow, comp);
}

template <class T> void putValues(CopyJob& j, const T* v, int n) { std::memcpy(j.value, v, sizeof(T) * std::size_t(n)); }

template <Op op, Lay S, Lay D, class A> ZkrStatus run(const A& a) {
    constexpr int sp = periodOf(S), dp = periodOf(D);
    CopyJob j;
    const Kernels& k = kernels();

    if constexpr (op == Op::Set || op == Op::SetM || op == Op::SetCoi) {
        using T = std::remove_pointer_t<decltype(a.pDst)>;
        constexpr bool byPointer = std::is_pointer_v<decltype(a.value)>;
        if constexpr (byPointer) {
            if (!a.value) return zkrStsNullPtrErr;
        }
        if constexpr (op == Op::SetM) {
            if (!a.pMask) return zkrStsNullPtrErr;
        }
        if (const ZkrStatus s = checkArgs({a.pDst}, a.roiSize, {a.dstStep}, dp * int(sizeof(T)), int(sizeof(T)));
            s != zkrStsNoErr)
            return s;
        if constexpr (op == Op::SetM) {
            if (const ZkrStatus s = checkSteps({a.maskStep}, a.roiSize.width, 1); s != zkrStsNoErr) return s;
            j.mask = a.pMask;
            j.maskStep = a.maskStep;
        }
        j.dst = a.pDst;
        j.dstStep = a.dstStep;
        j.width = a.roiSize.width;
        j.height = a.roiSize.height;
        j.srcPeriod = j.dstPeriod = dp;
        j.count = op == Op::SetCoi ? 1 : activeOf(D);
        if constexpr (byPointer) putValues(j, a.value, j.count);
        else putValues(j, &a.value, 1);
        runRows(j, op == Op::SetM ? k.fillMasked[sizeIndex(sizeof(T))] : k.fill[sizeIndex(sizeof(T))]);
        return zkrStsNoErr;
    } else if constexpr (op == Op::SwapI) {
        using T = std::remove_pointer_t<decltype(a.pSrcDst)>;
        if (!a.dstOrder) return zkrStsNullPtrErr;
        if (const ZkrStatus s = checkArgs({a.pSrcDst}, a.roiSize, {a.srcDstStep}, sp * int(sizeof(T)), int(sizeof(T)));
            s != zkrStsNoErr)
            return s;
        for (int c = 0; c < activeOf(D); ++c) {
            if (a.dstOrder[c] < 0 || a.dstOrder[c] >= activeOf(S)) return zkrStsBadArgErr;
            j.order[c] = a.dstOrder[c];
        }
        j.src = j.dst = a.pSrcDst;
        j.srcStep = j.dstStep = a.srcDstStep;
        j.width = a.roiSize.width;
        j.height = a.roiSize.height;
        j.srcPeriod = sp;
        j.dstPeriod = dp;
        j.count = activeOf(D);
        runRows(j, k.swap[sizeIndex(sizeof(T))]);
        return zkrStsNoErr;
    } else if constexpr (op == Op::Median) {
        if (const ZkrStatus s = checkArgs({a.pSrc, a.pDst}, a.dstRoiSize, {a.srcStep, a.dstStep}, 1, 1);
            s != zkrStsNoErr)
            return s;
        const ZkriSize m = a.maskSize;
        if (m.width <= 0 || m.height <= 0 || long(m.width) * m.height > kMaxMaskArea) return zkrStsMaskSizeErr;
        if (a.anchor.x < 0 || a.anchor.y < 0 || a.anchor.x >= m.width || a.anchor.y >= m.height) return zkrStsAnchorErr;
        MedianJob mj;
        mj.src = a.pSrc;
        mj.srcStep = a.srcStep;
        mj.dst = a.pDst;
        mj.dstStep = a.dstStep;
        mj.width = a.dstRoiSize.width;
        mj.height = a.dstRoiSize.height;
        mj.maskW = m.width;
        mj.maskH = m.height;
        mj.anchorX = a.anchor.x;
        mj.anchorY = a.anchor.y;
        std::atomic<bool> ok{true};
        forRowBands(std::int64_t(mj.width) * mj.height, mj.height, [&](int y0, int y1) {
            if (!k.median(mj, y0, y1)) ok.store(false, std::memory_order_relaxed);
        });
        return ok.load() ? zkrStsNoErr : zkrStsMemAllocErr;
    } else {
        // Everything with a source and a destination.
        using Ts = std::remove_cv_t<std::remove_pointer_t<std::remove_cv_t<std::remove_pointer_t<decltype(a.pSrc)>>>>;
        using Td = std::remove_cv_t<std::remove_pointer_t<std::remove_cv_t<std::remove_pointer_t<decltype(a.pDst)>>>>;
        constexpr int comp = int(sizeof(Ts) < sizeof(Td) ? sizeof(Ts) : sizeof(Td));
        constexpr int srcPx = int(sizeof(Ts)) * sp, dstPx = int(sizeof(Td)) * dp;
        if constexpr (planarOf(S)) {
            if (const ZkrStatus s = checkPlanes(a.pSrc, activeOf(S)); s != zkrStsNoErr) return s;
        }
        if constexpr (planarOf(D)) {
            if (const ZkrStatus s = checkPlanes(a.pDst, activeOf(D)); s != zkrStsNoErr) return s;
        }
        if constexpr (op == Op::CopyM) {
            if (!a.pMask) return zkrStsNullPtrErr;
        }
        if constexpr (op == Op::Swap || op == Op::SwapVal) {
            if (!a.dstOrder) return zkrStsNullPtrErr;
        }
        const std::int64_t w = a.roiSize.width;
        if (const ZkrStatus s = checkImages({a.pSrc, a.pDst}, a.roiSize, a.srcStep, w * srcPx, a.dstStep, w * dstPx,
                                            comp);
            s != zkrStsNoErr)
            return s;
        if constexpr (op == Op::CopyM) {
            if (const ZkrStatus s = checkSteps({a.maskStep}, w, 1); s != zkrStsNoErr) return s;
            j.mask = a.pMask;
            j.maskStep = a.maskStep;
        }
        if constexpr (op == Op::Managed) {
            if (a.flags != 0 && a.flags != ZKR_COPY_TEMPORAL && a.flags != ZKR_COPY_NONTEMPORAL) return zkrStsBadArgErr;
            j.nonTemporal = a.flags == ZKR_COPY_NONTEMPORAL ||
                            (a.flags == 0 && w * srcPx * a.roiSize.height >= ZKR_COPY_NONTEMPORAL_MIN_BYTES);
        }
        if constexpr (op == Op::Swap || op == Op::SwapVal) {
            // SwapVal: source channels 0..2, and 3 for the value.
            const int limit = activeOf(S) + (op == Op::SwapVal ? 1 : 0);
            for (int c = 0; c < activeOf(D); ++c) {
                const int o = a.dstOrder[c];
                if (o < 0 || o >= limit) return zkrStsBadArgErr;
                j.order[c] = o == activeOf(S) ? -1 : o;
            }
            if constexpr (op == Op::SwapVal) putValues(j, &a.val, 1);
        }
        if constexpr (planarOf(S)) j.srcPlanes = reinterpret_cast<const void* const*>(a.pSrc);
        else j.src = a.pSrc;
        if constexpr (planarOf(D)) j.dstPlanes = reinterpret_cast<void* const*>(a.pDst);
        else j.dst = a.pDst;
        j.srcStep = a.srcStep;
        j.dstStep = a.dstStep;
        j.width = a.roiSize.width;
        j.height = a.roiSize.height;
        j.srcPeriod = sp;
        j.dstPeriod = dp;
        const int e = sizeIndex(int(sizeof(Ts)));
        RowsFn fn = nullptr;
        if constexpr (op == Op::Copy || op == Op::Managed) {
            if constexpr (S == Lay::AC4) {
                j.count = 3;
                fn = k.strided[e];
            } else {
                j.srcPeriod = srcPx;  // bytes
                fn = k.bytes;
            }
        } else if constexpr (op == Op::CopyM) {
            j.count = activeOf(S);
            fn = k.masked[e];
        } else if constexpr (op == Op::CopyCoi || op == Op::Extract || op == Op::Insert) {
            j.count = 1;
            fn = k.strided[e];
        } else if constexpr (op == Op::Merge) {
            j.count = activeOf(S);
            fn = k.merge[e];
        } else if constexpr (op == Op::Split) {
            j.count = activeOf(D);
            fn = k.split[e];
        } else if constexpr (op == Op::Planar) {
            j.count = activeOf(S);
            fn = k.planar[e];
        } else if constexpr (op == Op::Swap || op == Op::SwapVal) {
            j.count = activeOf(D);
            fn = k.swap[e];
        } else if constexpr (op == Op::Dup) {
            j.count = activeOf(D);
            fn = k.dup[e];
        } else if constexpr (op == Op::Unpack || op == Op::Pack) {
            using Real = std::conditional_t<op == Op::Unpack, Ts, Td>;
            static_assert(sizeof(Real) == 4, "packed spectra of 4-byte components");
            j.channels = activeOf(S);
            j.floatData = std::is_floating_point_v<Real>;
            fn = op == Op::Unpack ? k.unpack : k.pack;
        }
        runRows(j, fn);
        return zkrStsNoErr;
    }
}

}  // namespace
}  // namespace zkr::copy

#define ZKR_FN(name, form, T, T2, op, S, D)                                                                 \
    ZKR_DEFINE(name, form, T, T2) {                                                                         \
        ZKR_PACK(args, form, T, T2);                                                                        \
        return zkr::copy::run<zkr::copy::Op::op, zkr::copy::Lay::S, zkr::copy::Lay::D>(args);              \
    }
#include "copy/TimiCopy.tbl"
#include "copy/TimiCopyManaged.tbl"
#include "copy/TimiCopyP.tbl"
#undef ZKR_FN
