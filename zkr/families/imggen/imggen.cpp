// The exported functions of the image generation family, defined from its
// table: each row packs its parameters and hands them to the generic entry
// of its operation, which checks the arguments (pointers, size, steps, then
// the operation's own arguments), describes the call as a job and runs the
// kernel of the level in force over row bands.
#include <cmath>
#include <limits>
#include <new>
#include <numbers>
#include <type_traits>
#include <vector>

#include "checks.h"
#include "imggen_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::imggen {
namespace {

enum class Op { CmpEps, CmpEpsC, Jaehne, Deinterlace };

// Against a second image (forms with pSrc1 and pSrc2) or a constant per channel.
template <Layout L, class A> ZkrStatus compare(const A& a) {
    constexpr int px = Pixel<Zkr32f, L>::bytes;
    constexpr bool withConstant = !requires { a.pSrc1; };
    CmpJob j;
    ZkrStatus s;
    if constexpr (withConstant) {
        if constexpr (std::is_pointer_v<decltype(a.value)>) s = checkPointers({a.pSrc, a.value, a.pDst});
        else s = checkPointers({a.pSrc, a.pDst});
        j.s1 = a.pSrc, j.s1Step = a.srcStep;
    } else {
        s = checkPointers({a.pSrc1, a.pSrc2, a.pDst});
        j.s1 = a.pSrc1, j.s1Step = a.src1Step;
        j.s2 = a.pSrc2, j.s2Step = a.src2Step;
    }
    if (s != zkrStsNoErr) return s;
    if ((s = checkSize(a.roiSize)) != zkrStsNoErr) return s;
    const std::int64_t w = a.roiSize.width;
    if constexpr (!withConstant) s = checkSteps({a.src1Step, a.src2Step}, w * px, int(sizeof(Zkr32f)));
    else s = checkSteps({a.srcStep}, w * px, int(sizeof(Zkr32f)));
    if (s != zkrStsNoErr) return s;
    if ((s = checkSteps({a.dstStep}, w, 1)) != zkrStsNoErr) return s;
    if (!(a.eps >= 0.0f)) return zkrStsBadArgErr;  // negative or not a number

    if constexpr (withConstant) {
        if constexpr (std::is_pointer_v<decltype(a.value)>)
            for (int c = 0; c < kActive<L>; ++c) j.value[c] = a.value[c];
        else
            j.value[0] = a.value;
    }
    j.dst = a.pDst, j.dstStep = a.dstStep;
    j.width = a.roiSize.width;
    j.eps = a.eps;
    const CmpFn fn = withConstant ? kernels().cmpC[int(layoutIndex(L))] : kernels().cmp[int(layoutIndex(L))];
    forRowBands(w * a.roiSize.height, a.roiSize.height, [&](int y0, int y1) { fn(j, y0, y1); });
    return zkrStsNoErr;
}

// The pattern's range per type: unsigned 0 .. max, signed -max .. max, float 0 .. 1.
template <class T> void jaehneRange(double& magn, double& offset) {
    if constexpr (std::is_floating_point_v<T>) {
        magn = 0.5, offset = 0.0;
    } else if constexpr (std::is_signed_v<T>) {
        magn = double(std::numeric_limits<T>::max()), offset = -magn;
    } else {
        magn = double(std::numeric_limits<T>::max()) / 2.0, offset = 0.0;
    }
}

template <Layout L, class A> ZkrStatus jaehne(const A& a) {
    using T = std::remove_pointer_t<decltype(a.pDst)>;
    if (ZkrStatus s = checkArgs({a.pDst}, a.roiSize, {a.dstStep}, Pixel<T, L>::bytes, int(sizeof(T)));
        s != zkrStsNoErr)
        return s;
    const int w = a.roiSize.width, h = a.roiSize.height;
    JaehneJob j;
    j.dst = a.pDst, j.dstStep = a.dstStep;
    j.width = w;
    j.k = 2.0 * std::numbers::pi / (4.0 * h);
    j.cy0 = (h - 1) / 2.0;
    jaehneRange<T>(j.magn, j.offset);
    // The column part of the phase, once per call: A = cx^2 k.
    std::vector<double> tables;
    try {
        tables.resize(2 * std::size_t(w));
    } catch (const std::bad_alloc&) {
        return zkrStsMemAllocErr;
    }
    const double cx0 = (w - 1) / 2.0;
    for (int x = 0; x < w; ++x) {
        const double cx = x - cx0, phase = cx * cx * j.k;
        tables[std::size_t(x)] = std::sin(phase);
        tables[std::size_t(w + x)] = std::cos(phase);
    }
    j.sinA = tables.data();
    j.cosA = tables.data() + w;
    const JaehneFn fn = kernels().jaehne[int(GenType<T>::id)][int(layoutIndex(L))];
    forRowBands(std::int64_t(w) * h, h, [&](int y0, int y1) { fn(j, y0, y1); });
    return zkrStsNoErr;
}

template <class A> ZkrStatus deinterlace(const A& a) {
    if (ZkrStatus s = checkArgs({a.pSrc, a.pDst}, a.roiSize, {a.srcStep, a.dstStep}, 1, 1); s != zkrStsNoErr)
        return s;
    if (a.threshold < 0) return zkrStsBadArgErr;
    DeintJob j;
    j.src = a.pSrc, j.srcStep = a.srcStep;
    j.dst = a.pDst, j.dstStep = a.dstStep;
    j.width = a.roiSize.width, j.height = a.roiSize.height;
    j.threshold = a.threshold;
    const DeintFn fn = kernels().deinterlace;
    forRowBands(std::int64_t(j.width) * j.height, j.height, [&](int y0, int y1) { fn(j, y0, y1); });
    return zkrStsNoErr;
}

template <Op op, Layout L, class A> ZkrStatus run(const A& a) {
    if constexpr (op == Op::CmpEps) return compare<L>(a);
    else if constexpr (op == Op::CmpEpsC) return compare<L>(a);
    else if constexpr (op == Op::Jaehne) return jaehne<L>(a);
    else return deinterlace(a);
}

}  // namespace
}  // namespace zkr::imggen

#define ZKR_FN(name, form, T, L, op)                                         \
    ZKR_DEFINE(name, form, T) {                                              \
        ZKR_PACK(args, form, T);                                             \
        return zkr::imggen::run<zkr::imggen::Op::op, zkr::Layout::L>(args);  \
    }
#include "imggen/imggen.tbl"
#undef ZKR_FN
