// The exported functions of the FFT family, defined from its table: the
// setup helpers (create, free, work-buffer size) and the transforms,
// which check their arguments, split the image into channels and run the
// kernels of the level in force on the caller's work buffer.
#include <cmath>
#include <cstdint>
#include <new>
#include <numbers>
#include <type_traits>
#include <vector>

#include "enum_arg.h"
#include "checks.h"
#include "elem_info.h"
#include "fft_kernels.h"
#include "form_args.h"
#include "zkr_call.hpp"

// The table's types, flags and forms (its rows are expanded at the end).
#define ZKR_FN(...)
#define ZKR_FN_AUX(...)
#include "fft/fft.tbl"
#undef ZKR_FN
#undef ZKR_FN_AUX

namespace zkr::fft {
namespace {

enum class Kind { CFwd, CInv, RFwd, RInv };

// Tells live setups from foreign or released memory, and the two kinds apart.
constexpr std::uint32_t kMagicComplex = 0x5a4b4643;  // "ZKFC"
constexpr std::uint32_t kMagicReal = 0x5a4b4652;     // "ZKFR"

// Work buffers start on a 64-byte boundary of the caller's buffer.
constexpr int kBufferAlign = 64;

}  // namespace

// The common body of both setup kinds: the plan the kernels read, and its storage.
struct Setup {
    std::uint32_t magic = 0;
    int flag = 0;
    Plan plan;
    std::vector<int> revX, revY;
    std::vector<float> twXr, twXi, twYr, twYi, postR, postI;
};

}  // namespace zkr::fft

struct ZkriFFTSpec_C_32fc : zkr::fft::Setup {};
struct ZkriFFTSpec_R_32f : zkr::fft::Setup {};

namespace zkr::fft {
namespace {

std::vector<int> bitReversal(int order) {
    const int n = 1 << order;
    std::vector<int> rev(std::size_t(n), 0);
    for (int i = 0; i < n; ++i) {
        int r = 0;
        for (int b = 0; b < order; ++b) r |= ((i >> b) & 1) << (order - 1 - b);
        rev[std::size_t(i)] = r;
    }
    return rev;
}

// Twiddles of every stage of a length-n transform: exp(-2 pi i j / (2m)) for
// j < m at offset m - 1 (m = 1, 2, ..., n/2), computed in double precision.
void stageTwiddles(int n, std::vector<float>& re, std::vector<float>& im) {
    re.assign(std::size_t(n > 1 ? n - 1 : 1), 0.0f);
    im.assign(re.size(), 0.0f);
    for (int m = 1; m < n; m *= 2)
        for (int j = 0; j < m; ++j) {
            const double a = -std::numbers::pi * j / m;
            re[std::size_t(m - 1 + j)] = float(std::cos(a));
            im[std::size_t(m - 1 + j)] = float(std::sin(a));
        }
}

bool validFlag(int flag) {
    return flag == ZKR_FFT_DIV_FWD_BY_N || flag == ZKR_FFT_DIV_INV_BY_N || flag == ZKR_FFT_DIV_BY_SQRTN ||
           flag == ZKR_FFT_NODIV_BY_ANY;
}

template <class S> ZkrStatus initAlloc(S** ppSpec, int orderX, int orderY, int flag, int hint, bool real) {
    if (!ppSpec) return zkrStsNullPtrErr;
    *ppSpec = nullptr;
    if (orderX < 0 || orderY < 0 || orderX > ZKR_FFT_MAX_ORDER || orderY > ZKR_FFT_MAX_ORDER) return zkrStsFftOrderErr;
    if (!validFlag(flag)) return zkrStsFftFlagErr;
    if (hint != zkrAlgHintNone && hint != zkrAlgHintFast && hint != zkrAlgHintAccurate) return zkrStsHintErr;
    S* s = new (std::nothrow) S;
    if (!s) return zkrStsMemAllocErr;
    try {
        Plan& p = s->plan;
        p.orderX = orderX;
        p.orderY = orderY;
        p.width = 1 << orderX;
        p.height = 1 << orderY;
        p.half = real && orderX > 0;
        const int orderC = p.half ? orderX - 1 : orderX;
        p.cw = 1 << orderC;
        s->revX = bitReversal(orderC);
        s->revY = bitReversal(orderY);
        stageTwiddles(p.cw, s->twXr, s->twXi);
        stageTwiddles(p.height, s->twYr, s->twYi);
        const int half = p.width / 2;
        s->postR.assign(std::size_t(half + 1), 1.0f);
        s->postI.assign(std::size_t(half + 1), 0.0f);
        for (int k = 0; k <= half && p.half; ++k) {
            const double a = -2.0 * std::numbers::pi * k / p.width;
            s->postR[std::size_t(k)] = float(std::cos(a));
            s->postI[std::size_t(k)] = float(std::sin(a));
        }
        p.revX = s->revX.data();
        p.revY = s->revY.data();
        p.twXr = s->twXr.data();
        p.twXi = s->twXi.data();
        p.twYr = s->twYr.data();
        p.twYi = s->twYi.data();
        p.postR = s->postR.data();
        p.postI = s->postI.data();
    } catch (const std::bad_alloc&) {
        delete s;
        return zkrStsMemAllocErr;
    }
    s->flag = flag;
    s->magic = real ? kMagicReal : kMagicComplex;
    *ppSpec = s;
    return zkrStsNoErr;
}

template <class S> ZkrStatus freeSpec(S* pSpec, bool real) {
    if (!pSpec) return zkrStsNoErr;
    if (pSpec->magic != (real ? kMagicReal : kMagicComplex)) return zkrStsContextMatchErr;
    pSpec->magic = 0;
    delete pSpec;
    return zkrStsNoErr;
}

// Bytes of the work buffer: two planes of Wc x H floats, and room to align them.
std::int64_t bufferBytes(const Plan& p) {
    return 2 * std::int64_t(p.cw) * p.height * std::int64_t(sizeof(float)) + kBufferAlign;
}

template <class S> ZkrStatus getBufSize(const S* pSpec, int* pSize, bool real) {
    if (!pSpec || !pSize) return zkrStsNullPtrErr;
    if (pSpec->magic != (real ? kMagicReal : kMagicComplex)) return zkrStsContextMatchErr;
    *pSize = int(bufferBytes(pSpec->plan));
    return zkrStsNoErr;
}

Work workIn(Zkr8u* buffer, const Plan& p) {
    const auto addr = reinterpret_cast<std::uintptr_t>(buffer);
    auto* base = reinterpret_cast<float*>((addr + kBufferAlign - 1) / kBufferAlign * kBufferAlign);
    return {base, base + std::ptrdiff_t(p.cw) * p.height};
}

// The factor of a direction: 1, 1/N or 1/sqrt(N).
double normalisation(int flag, bool inverse, const Plan& p) {
    const double n = double(p.width) * p.height;
    if (flag == ZKR_FFT_DIV_BY_SQRTN) return 1.0 / std::sqrt(n);
    if (flag == (inverse ? ZKR_FFT_DIV_INV_BY_N : ZKR_FFT_DIV_FWD_BY_N)) return 1.0 / n;
    return 1.0;
}

// 2^-scaleFactor; beyond +-1000 every result is already 0 or saturated.
double scaleFactorValue(int sf) {
    const int clamped = sf < -1000 ? -1000 : (sf > 1000 ? 1000 : sf);
    return std::ldexp(1.0, -clamped);
}

// Source and destination of a form (the same image in place).
template <class A> auto sourceOf(const A& a) {
    if constexpr (requires { a.pSrcDst; }) return a.pSrcDst;
    else return a.pSrc;
}
template <class A> auto destinationOf(const A& a) {
    if constexpr (requires { a.pSrcDst; }) return a.pSrcDst;
    else return a.pDst;
}

template <Kind kind, Layout L, class A> ZkrStatus run(const A& a) {
    constexpr bool inPlace = requires { a.pSrcDst; };
    using Sp = std::remove_cv_t<std::remove_pointer_t<decltype(a.pSpec)>>;
    using Ts = std::remove_cv_t<std::remove_pointer_t<decltype(sourceOf(a))>>;
    using Td = std::remove_cv_t<std::remove_pointer_t<decltype(destinationOf(a))>>;
    constexpr bool real = kind == Kind::RFwd || kind == Kind::RInv;
    static_assert(std::is_same_v<Sp, ZkriFFTSpec_R_32f> == real, "the setup kind follows the transform");

    const Ts* src = sourceOf(a);
    Td* dst = destinationOf(a);
    int srcStep, dstStep;
    if constexpr (inPlace) {
        srcStep = dstStep = a.srcDstStep;
    } else {
        srcStep = a.srcStep;
        dstStep = a.dstStep;
    }
    if (const ZkrStatus s = checkPointers({src, dst, a.pSpec, a.pBuffer}); s != zkrStsNoErr) return s;
    const Setup& setup = *a.pSpec;
    if (setup.magic != (real ? kMagicReal : kMagicComplex)) return zkrStsContextMatchErr;
    const Plan& p = setup.plan;
    constexpr int comps = int(sizeof(typename ElemInfo<Ts>::S));
    constexpr int compd = int(sizeof(typename ElemInfo<Td>::S));
    if (const ZkrStatus s = checkSteps({srcStep}, std::int64_t(p.width) * Pixel<Ts, L>::bytes, comps); s != zkrStsNoErr)
        return s;
    if (const ZkrStatus s = checkSteps({dstStep}, std::int64_t(p.width) * Pixel<Td, L>::bytes, compd); s != zkrStsNoErr)
        return s;

    const bool inverse = kind == Kind::CInv || kind == Kind::RInv;
    const double scale = normalisation(setup.flag, inverse, p) * scaleFactorValue(scaleOf(a));
    const Work work = workIn(a.pBuffer, p);
    const Kernels& k = kernels();
    for (int c = 0; c < kActive<L>; ++c) {
        const Channel<const Ts> in{src + c, srcStep, kChannels<L>};
        const Channel<Td> out{dst + c, dstStep, kChannels<L>};
        if constexpr (kind == Kind::CFwd || kind == Kind::CInv) {
            k.cToC(p, in, out, inverse, float(scale), work);
        } else if constexpr (kind == Kind::RFwd) {
            if constexpr (std::is_same_v<Ts, Zkr32f>) k.rToPack32f(p, in, out, scale, work);
            else k.rToPack8u32s(p, in, out, scale, work);
        } else {
            if constexpr (std::is_same_v<Ts, Zkr32f>) k.packToR32f(p, in, out, scale, work);
            else k.packToR32s8u(p, in, out, scale, work);
        }
    }
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::fft

// Helper rows: the setup kind is told by its type.
#define ZKR_FFT_IS_REAL(S) std::is_same_v<S, ZkriFFTSpec_R_32f>
#define ZKR_FFT_AUX_fft_init(args, S) \
    zkr::fft::initAlloc(args.ppSpec, args.orderX, args.orderY, args.flag, zkr::enumArg(args.hint), ZKR_FFT_IS_REAL(S))
#define ZKR_FFT_AUX_fft_free(args, S) zkr::fft::freeSpec(args.pSpec, ZKR_FFT_IS_REAL(S))
#define ZKR_FFT_AUX_fft_bufsize(args, S) zkr::fft::getBufSize(args.pSpec, args.pBufSize, ZKR_FFT_IS_REAL(S))

#define ZKR_FN_AUX(name, form, S)             \
    ZKR_DEFINE(name, form, S) {               \
        ZKR_PACK(args, form, S);              \
        return ZKR_FFT_AUX_##form(args, S);   \
    }
#define ZKR_FN(name, form, Ts, Td, S, L, kind)                                     \
    ZKR_DEFINE(name, form, Ts, Td, S, L, kind) {                                   \
        ZKR_PACK(args, form, Ts, Td, S, L, kind);                                  \
        return zkr::fft::run<zkr::fft::Kind::kind, zkr::Layout::L>(args);          \
    }
#include "fft/fft.tbl"
#undef ZKR_FN
#undef ZKR_FN_AUX
