// The exported functions of the DCT family, defined from its table: the setup helpers (create,
// free, work-buffer size) and the transforms, which check their arguments and run the kernel of
// the level in force channel by channel on the caller's work buffer.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>
#include <numbers>
#include <string_view>

#include "enum_arg.h"
#include "checks.h"
#include "dct_kernels.h"
#include "elem_info.h"
#include "zkr_call.hpp"

#define ZKR_FN(...)
#define ZKR_FN_AUX(...)
#include "dct/dct.tbl"
#undef ZKR_FN
#undef ZKR_FN_AUX

struct ZkriDCTSpec_32f : zkr::dct::Setup {};

namespace zkr::dct {
namespace {

constexpr unsigned kMagic = 0x5a4b4354;  // "ZKCT"
constexpr int kBufferAlign = 64;

void makeAxis(Axis& a, int n) {
    a.n = n;
    a.plan = FftPlan<float>(n);
    a.cs.resize(std::size_t(n));
    a.sn.resize(std::size_t(n));
    a.norm.resize(std::size_t(n));
    for (int k = 0; k < n; ++k) {
        const double t = std::numbers::pi * k / (2.0 * n);
        a.cs[std::size_t(k)] = float(std::cos(t));
        a.sn[std::size_t(k)] = float(std::sin(t));
        a.norm[std::size_t(k)] = float(std::sqrt((k == 0 ? 1.0 : 2.0) / n));
    }
}

ZkrStatus initAlloc(ZkriDCTSpec_32f** pp, ZkriSize size, int hint) {
    if (!pp) return zkrStsNullPtrErr;
    *pp = nullptr;
    if (size.width < 1 || size.height < 1 || size.width > ZKR_DCT_MAX_LENGTH || size.height > ZKR_DCT_MAX_LENGTH)
        return zkrStsSizeErr;
    if (hint != zkrAlgHintNone && hint != zkrAlgHintFast && hint != zkrAlgHintAccurate) return zkrStsHintErr;
    auto* s = new (std::nothrow) ZkriDCTSpec_32f;
    if (!s) return zkrStsMemAllocErr;
    try {
        makeAxis(s->x, size.width);
        makeAxis(s->y, size.height);
        s->workFloats = std::max(s->x.plan.workSize(1), s->y.plan.workSize(size.width));
    } catch (const std::bad_alloc&) {
        delete s;
        return zkrStsMemAllocErr;
    }
    s->magic = kMagic;
    *pp = s;
    return zkrStsNoErr;
}

ZkrStatus freeSpec(ZkriDCTSpec_32f* s) {
    if (!s) return zkrStsNoErr;
    if (s->magic != kMagic) return zkrStsContextMatchErr;
    s->magic = 0;
    delete s;
    return zkrStsNoErr;
}

ZkrStatus getBufSize(const ZkriDCTSpec_32f* s, int* pSize) {
    if (!s || !pSize) return zkrStsNullPtrErr;
    if (s->magic != kMagic) return zkrStsContextMatchErr;
    const std::int64_t floats = 3 * std::int64_t(s->x.n) * s->y.n + std::int64_t(s->workFloats);
    const std::int64_t bytes = floats * 4 + kBufferAlign;
    if (bytes > 0x7fffffff) return zkrStsMemAllocErr;
    *pSize = int(bytes);
    return zkrStsNoErr;
}

template <Layout L, bool inverse, class A> ZkrStatus run(const A& a) {
    if (const ZkrStatus s = checkPointers({a.pSrc, a.pDst, a.pSpec, a.pBuffer}); s != zkrStsNoErr) return s;
    const Setup& setup = *a.pSpec;
    if (setup.magic != kMagic) return zkrStsContextMatchErr;
    if (const ZkrStatus s = checkSteps({a.srcStep, a.dstStep}, std::int64_t(setup.x.n) * Pixel<Zkr32f, L>::bytes, 4);
        s != zkrStsNoErr)
        return s;
    const auto addr = reinterpret_cast<std::uintptr_t>(a.pBuffer);
    float* work = reinterpret_cast<float*>((addr + kBufferAlign - 1) / kBufferAlign * kBufferAlign);
    const Kernels& k = kernels();
    for (int c = 0; c < kActive<L>; ++c) {
        const Channel ch{a.pSrc + c, a.srcStep, a.pDst + c, a.dstStep, kChannels<L>};
        inverse ? k.inverse(setup, ch, work) : k.forward(setup, ch, work);
    }
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::dct

#define ZKR_DCT_AUX_dct_init(args) zkr::dct::initAlloc(args.ppSpec, args.roiSize, zkr::enumArg(args.hint))
#define ZKR_DCT_AUX_dct_free(args) zkr::dct::freeSpec(args.pSpec)
#define ZKR_DCT_AUX_dct_bufsize(args) zkr::dct::getBufSize(args.pSpec, args.pBufSize)
#define ZKR_FN_AUX(name, form, S)        \
    ZKR_DEFINE(name, form, S) {          \
        ZKR_PACK(args, form, S);         \
        return ZKR_DCT_AUX_##form(args); \
    }
#define ZKR_FN(name, form, T, L, dir)                                                   \
    ZKR_DEFINE(name, form, T, L, dir) {                                                 \
        ZKR_PACK(args, form, T, L, dir);                                                \
        return zkr::dct::run<zkr::Layout::L, std::string_view(#dir) == "Inv">(args);   \
    }
#include "dct/dct.tbl"
#undef ZKR_FN
#undef ZKR_FN_AUX
