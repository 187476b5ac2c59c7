// The exported functions of the packed-spectrum family, defined from its
// table: argument checks, then the kernel of the level in force over row bands.
#include <type_traits>

#include "checks.h"
#include "elem_info.h"
#include "mulpack_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::mulpack {
namespace {

enum class Op { MulPack, MulPackConj, MagnitudePack, PhasePack, Magnitude, Phase };

template <class S> constexpr int kType = std::is_same_v<S, Zkr32f> ? 0 : (std::is_same_v<S, Zkr32s> ? 1 : 2);

template <Layout L> constexpr int kLayoutIndex = L == Layout::C1 ? 0 : (L == Layout::C3 ? 1 : (L == Layout::C4 ? 2 : 3));

template <class Ts, class Td, Layout L, Op op, class A> ZkrStatus run(const A& a) {
    using S = typename ElemInfo<Td>::S;
    constexpr int nc = kChannels<L>;
    constexpr bool inPlace = requires { a.pSrcDst; };
    constexpr bool twoSources = requires { a.pSrc2; };
    Job job;
    int steps[3] = {0, 0, 0};
    if constexpr (twoSources) {
        if (const ZkrStatus s = checkPointers({a.pSrc1, a.pSrc2, a.pDst}); s != zkrStsNoErr) return s;
        job.a = a.pSrc1, job.aStep = a.src1Step, job.b = a.pSrc2, job.bStep = a.src2Step;
        job.d = a.pDst, job.dStep = a.dstStep;
        steps[0] = a.src1Step, steps[1] = a.src2Step, steps[2] = a.dstStep;
    } else if constexpr (inPlace) {
        if (const ZkrStatus s = checkPointers({a.pSrc, a.pSrcDst}); s != zkrStsNoErr) return s;
        job.a = a.pSrc, job.aStep = a.srcStep, job.b = a.pSrcDst, job.bStep = a.srcDstStep;
        job.d = a.pSrcDst, job.dStep = a.srcDstStep;
        steps[0] = a.srcStep, steps[1] = a.srcDstStep, steps[2] = a.srcDstStep;
    } else {
        if (const ZkrStatus s = checkPointers({a.pSrc, a.pDst}); s != zkrStsNoErr) return s;
        job.a = a.pSrc, job.aStep = a.srcStep, job.d = a.pDst, job.dStep = a.dstStep;
        steps[0] = steps[1] = a.srcStep, steps[2] = a.dstStep;
    }
    if (const ZkrStatus s = checkSize(a.roiSize); s != zkrStsNoErr) return s;
    const std::int64_t w = a.roiSize.width;
    if (const ZkrStatus s = checkSteps({steps[0], steps[1]}, w * nc * std::int64_t(sizeof(Ts)), int(sizeof(S)));
        s != zkrStsNoErr)
        return s;
    if (const ZkrStatus s = checkSteps({steps[2]}, w * nc * std::int64_t(sizeof(Td)), int(sizeof(S))); s != zkrStsNoErr)
        return s;
    job.width = a.roiSize.width;
    job.height = a.roiSize.height;
    if constexpr (requires { a.scaleFactor; }) job.scale = a.scaleFactor;
    const Kernels& ks = kernels();
    constexpr int t = kType<S>, l = kLayoutIndex<L>;
    RowsFn fn = nullptr;
    if constexpr (op == Op::MulPack || op == Op::MulPackConj)
        fn = ks.mulPack[t][op == Op::MulPackConj][inPlace][l];
    else if constexpr (op == Op::MagnitudePack) fn = ks.magnitudePack[t][l];
    else if constexpr (op == Op::PhasePack) fn = ks.phasePack[t][l];
    else if constexpr (op == Op::Magnitude) fn = ks.magnitude[t][l];
    else fn = ks.phase[t][l];
    forRowBands(w * job.height, job.height, [&](int y0, int y1) { fn(job, y0, y1); });
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::mulpack

#define ZKR_FN(name, form, Ts, Td, L, op)                                                                     \
    ZKR_DEFINE(name, form, Ts, Td) {                                                                          \
        ZKR_PACK(args, form, Ts, Td);                                                                         \
        return zkr::mulpack::run<Ts, Td, zkr::Layout::L, zkr::mulpack::Op::op>(args);                         \
    }
#include "mulpack/mulpack.tbl"
#undef ZKR_FN
