// Generic entry points of the Add family: argument checks, description of
// the call as an EltJob (patterns for constants, keep masks for alpha), and
// dispatch to the kernels of the level in force.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "elem_info.h"
#include "kernels.h"
#include "worker_pool.h"
#include "zkrcore.h"

namespace zkr::img {

enum class Layout { C1, C3, C4, AC4 };
enum class Base { Add, Sub, AddC, SubC };

template <Layout L> inline constexpr int kChannels = L == Layout::C1 ? 1 : (L == Layout::C3 ? 3 : 4);
template <Layout L> inline constexpr int kValues = L == Layout::C4 ? 4 : (L == Layout::C1 ? 1 : 3);

// Add and AddC compute a + b; Sub computes src2 - src1 and SubC src - value,
// which the kernels get as RevSub(src1, src2) and RevSub(value, src).
inline constexpr Kop kopOf(Base b) { return b == Base::Add || b == Base::AddC ? Kop::Add : Kop::RevSub; }

// Checks in order: NULL pointers, ROI size, steps.
inline ZkrStatus checkArgs(std::initializer_list<const void*> ptrs, ZkriSize roi,
                           std::initializer_list<int> steps, int pixelBytes, int componentBytes) {
    for (const void* p : ptrs)
        if (!p) return zkrStsNullPtrErr;
    if (roi.width <= 0 || roi.height <= 0) return zkrStsSizeErr;
    const std::int64_t rowBytes = std::int64_t(roi.width) * pixelBytes;
    for (int step : steps)
        if (step <= 0 || step < rowBytes || step % componentBytes != 0) return zkrStsStepErr;
    return zkrStsNoErr;
}

template <class T, Layout L> struct Pixel {
    using S = typename ElemInfo<T>::S;
    static constexpr int period = kChannels<L> * ElemInfo<T>::comps;  // components per pixel
    static constexpr int bytes = int(sizeof(T)) * kChannels<L>;
};

// Completes `j` (operands and row geometry already set) and runs it.
// `values`: the constant of AddC/SubC (kValues<L> elements), else nullptr.
template <class T, Layout L>
ZkrStatus execute(EltJob j, Kop op, bool inPlace, const T* values, ZkriSize roi) {
    using S = typename ElemInfo<T>::S;
    constexpr int comps = ElemInfo<T>::comps;
    constexpr int period = Pixel<T, L>::period;
    constexpr bool masked = L == Layout::AC4;
    const bool scalar = values && L == Layout::C1 && comps == 1;
    const bool periodic = values && !scalar;

    struct {
        alignas(64) S values[kPatternMax];
        alignas(64) MaskOf<S> keep[kPatternMax];
    } pattern;

    j.rowLen = roi.width * period;
    Shape shape;
    if (scalar) {
        j.a = values;
        j.aStep = 0;
        shape = inPlace ? Shape::ScalarInPlace : Shape::Scalar;
    } else {
        j.chunk = j.rowLen < kPatternMax ? j.rowLen : kPatternMax;
        if (periodic) {
            for (int i = 0; i < j.chunk; ++i) {
                const int channel = (i / comps) % kChannels<L>;
                pattern.values[i] = channel < kValues<L> ? componentsOf(values[channel])[i % comps] : S(0);
            }
            j.a = pattern.values;
            j.aStep = 0;
            j.aPeriodic = true;
        }
        if (masked) {
            for (int i = 0; i < j.chunk; ++i)
                pattern.keep[i] = (i % period) < 3 * comps ? MaskOf<S>(~MaskOf<S>(0)) : MaskOf<S>(0);
            j.mask = pattern.keep;
        }
        shape = masked ? (inPlace ? Shape::InPlaceMasked : Shape::BinaryMasked)
                       : (inPlace ? Shape::InPlace : Shape::Binary);
    }
    const KernelSet& kernels = kernelsFor(zkrGetDispatchLevel());
    runRows(j, kernels.elt[int(kSType<T>)][int(op)][int(shape)], roi.width, roi.height);
    return zkrStsNoErr;
}

template <Base B, Layout L, class T>
ZkrStatus binary(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep,
                 ZkriSize roi, int scaleFactor) {
    using P = Pixel<T, L>;
    const ZkrStatus sts = checkArgs({pSrc1, pSrc2, pDst}, roi, {src1Step, src2Step, dstStep}, P::bytes,
                                    int(sizeof(typename ElemInfo<T>::S)));
    if (sts != zkrStsNoErr) return sts;
    EltJob j;
    j.a = pSrc1, j.aStep = src1Step;
    j.b = pSrc2, j.bStep = src2Step;
    j.d = pDst, j.dStep = dstStep;
    j.scale = scaleFactor;
    return execute<T, L>(j, kopOf(B), false, nullptr, roi);
}

template <Base B, Layout L, class T>
ZkrStatus binaryInPlace(const T* pSrc, int srcStep, T* pSrcDst, int srcDstStep, ZkriSize roi,
                        int scaleFactor) {
    using P = Pixel<T, L>;
    const ZkrStatus sts = checkArgs({pSrc, pSrcDst}, roi, {srcStep, srcDstStep}, P::bytes,
                                    int(sizeof(typename ElemInfo<T>::S)));
    if (sts != zkrStsNoErr) return sts;
    EltJob j;
    j.a = pSrc, j.aStep = srcStep;
    j.d = pSrcDst, j.dStep = srcDstStep;
    j.scale = scaleFactor;
    return execute<T, L>(j, kopOf(B), true, nullptr, roi);
}

template <Base B, Layout L, class T>
ZkrStatus constant(const T* pSrc, int srcStep, const T* values, T* pDst, int dstStep, ZkriSize roi,
                   int scaleFactor) {
    using P = Pixel<T, L>;
    const ZkrStatus sts = checkArgs({pSrc, values, pDst}, roi, {srcStep, dstStep}, P::bytes,
                                    int(sizeof(typename ElemInfo<T>::S)));
    if (sts != zkrStsNoErr) return sts;
    EltJob j;
    j.b = pSrc, j.bStep = srcStep;
    j.d = pDst, j.dStep = dstStep;
    j.scale = scaleFactor;
    return execute<T, L>(j, kopOf(B), false, values, roi);
}

template <Base B, Layout L, class T>
ZkrStatus constantInPlace(const T* values, T* pSrcDst, int srcDstStep, ZkriSize roi, int scaleFactor) {
    using P = Pixel<T, L>;
    const ZkrStatus sts =
        checkArgs({values, pSrcDst}, roi, {srcDstStep}, P::bytes, int(sizeof(typename ElemInfo<T>::S)));
    if (sts != zkrStsNoErr) return sts;
    EltJob j;
    j.d = pSrcDst, j.dStep = srcDstStep;
    j.scale = scaleFactor;
    return execute<T, L>(j, kopOf(B), true, values, roi);
}

}  // namespace zkr::img
