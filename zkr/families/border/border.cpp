// The exported functions of the Border family, defined from its table: each
// row packs its parameters and hands them to one generic entry point, which
// checks the arguments (pointers, sizes and borders, steps), describes the
// copy as a Job and runs the kernel of the level in force over bands of
// destination rows.
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "border_kernels.h"
#include "checks.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

#define ZKR_TABLE "border/border.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkr::border {
namespace {

enum class Lay { C1, C3, C4, AC4 };

constexpr int channelsOf(Lay l) { return l == Lay::C1 ? 1 : (l == Lay::C3 ? 3 : 4); }

// True for the forms whose border value is an array of one value per channel.
template <class A> constexpr bool valueIsArray() {
    if constexpr (requires(const A& x) { x.value; }) return std::is_pointer_v<decltype(A::value)>;
    else return false;
}

template <class T, Lay L, Kind K, class A> ZkrStatus run(const A& a) {
    constexpr int ch = channelsOf(L);
    constexpr int px = int(sizeof(T)) * ch;
    constexpr bool inPlace = requires { a.pSrcDst; };
    constexpr bool valueArray = valueIsArray<A>();

    const T* src;
    T* dst;
    std::ptrdiff_t srcStep, dstStep;
    if constexpr (inPlace) {
        if (!a.pSrcDst) return zkrStsNullPtrErr;
    } else {
        if (!a.pSrc || !a.pDst) return zkrStsNullPtrErr;
    }
    if constexpr (valueArray)
        if (!a.value) return zkrStsNullPtrErr;
    const ZkriSize s = a.srcRoiSize, d = a.dstRoiSize;
    const int top = a.topBorderHeight, left = a.leftBorderWidth;
    if (checkSize(s) != zkrStsNoErr || checkSize(d) != zkrStsNoErr || top < 0 || left < 0 ||
        std::int64_t(d.width) < std::int64_t(s.width) + left || std::int64_t(d.height) < std::int64_t(s.height) + top)
        return zkrStsSizeErr;
    if constexpr (inPlace) {
        if (checkSteps({a.srcDstStep}, std::int64_t(d.width) * px, int(sizeof(T))) != zkrStsNoErr)
            return zkrStsStepErr;
        srcStep = dstStep = a.srcDstStep;
        src = a.pSrcDst;
        dst = reinterpret_cast<T*>(reinterpret_cast<unsigned char*>(a.pSrcDst) - dstStep * top -
                                   std::ptrdiff_t(left) * px);
    } else {
        if (checkSteps({a.srcStep}, std::int64_t(s.width) * px, int(sizeof(T))) != zkrStsNoErr ||
            checkSteps({a.dstStep}, std::int64_t(d.width) * px, int(sizeof(T))) != zkrStsNoErr)
            return zkrStsStepErr;
        src = a.pSrc;
        dst = a.pDst;
        srcStep = a.srcStep;
        dstStep = a.dstStep;
    }

    Job job;
    job.src = src;
    job.srcStep = srcStep;
    job.srcWidth = s.width;
    job.srcHeight = s.height;
    job.dst = dst;
    job.dstStep = dstStep;
    job.dstWidth = d.width;
    job.top = top;
    job.left = left;
    job.kind = K;
    job.inPlace = inPlace;
    if constexpr (K == Kind::Const) {
        T v[4] = {};
        if constexpr (valueArray) {
            for (int c = 0; c < (L == Lay::AC4 ? 3 : ch); ++c) v[c] = a.value[c];
        } else {
            v[0] = a.value;
        }
        std::memcpy(job.value, v, sizeof v);
    }
    const BandFn fn = kernels().band[int(kindOf(int(sizeof(T)), ch, L == Lay::AC4))];
    forRowBands(std::int64_t(d.width) * d.height, d.height, [&](int y0, int y1) { fn(job, y0, y1); });
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::border

#define ZKR_FN(name, form, T, L, K)                                                        \
    ZKR_DEFINE(name, form, T) {                                                            \
        ZKR_PACK(args, form, T);                                                           \
        return zkr::border::run<T, zkr::border::Lay::L, zkr::border::Kind::K>(args);       \
    }
#include "border/border.tbl"
#undef ZKR_FN
