// The exported functions of the DFT family, defined from its table: the setup
// helpers (create, free, work-buffer size) and the transforms, which check
// their arguments and run, channel by channel, the kernels of the level in
// force and the runtime's any-length FFT along the rows and the columns.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>
#include <type_traits>

#include "enum_arg.h"
#include "checks.h"
#include "dft_kernels.h"
#include "elem_info.h"
#include "fft_core.h"
#include "zkr_call.hpp"

#define ZKR_FN(...)
#define ZKR_FN_AUX(...)
#include "dft/dft.tbl"
#undef ZKR_FN
#undef ZKR_FN_AUX

namespace zkr::dft {
namespace {

enum class Kind { CFwd, CInv, RFwd, RInv };

constexpr std::uint32_t kMagicComplex = 0x5a4b4443;  // "ZKDC"
constexpr std::uint32_t kMagicReal = 0x5a4b4452;     // "ZKDR"
constexpr int kBufferAlign = 64;

}  // namespace

struct Setup {
    std::uint32_t magic = 0;
    int flag = 0;
    int width = 0, height = 0;
    FftPlan<float> rows, cols;
    std::size_t workFloats = 0;  // the plans' work area
};

}  // namespace zkr::dft

struct ZkriDFTSpec_C_32fc : zkr::dft::Setup {};
struct ZkriDFTSpec_R_32f : zkr::dft::Setup {};

namespace zkr::dft {
namespace {

bool validFlag(int flag) {
    return flag == ZKR_DFT_DIV_FWD_BY_N || flag == ZKR_DFT_DIV_INV_BY_N || flag == ZKR_DFT_DIV_BY_SQRTN ||
           flag == ZKR_DFT_NODIV_BY_ANY;
}

template <class S> ZkrStatus initAlloc(S** ppSpec, ZkriSize size, int flag, int hint, bool real) {
    if (!ppSpec) return zkrStsNullPtrErr;
    *ppSpec = nullptr;
    if (size.width < 1 || size.height < 1 || size.width > ZKR_DFT_MAX_LENGTH || size.height > ZKR_DFT_MAX_LENGTH)
        return zkrStsSizeErr;
    if (!validFlag(flag)) return zkrStsFftFlagErr;
    if (hint != zkrAlgHintNone && hint != zkrAlgHintFast && hint != zkrAlgHintAccurate) return zkrStsHintErr;
    S* s = new (std::nothrow) S;
    if (!s) return zkrStsMemAllocErr;
    try {
        s->width = size.width;
        s->height = size.height;
        s->rows = FftPlan<float>(size.width);
        s->cols = FftPlan<float>(size.height);
        s->workFloats = std::max(s->rows.workSize(1), s->cols.workSize(size.width));
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

// Bytes of the work buffer: the two planes, the plans' work area, room to align them.
std::int64_t bufferBytes(const Setup& s) {
    const std::int64_t floats = 2 * std::int64_t(s.width) * s.height + std::int64_t(s.workFloats);
    return floats * std::int64_t(sizeof(float)) + kBufferAlign;
}

template <class S> ZkrStatus getBufSize(const S* pSpec, int* pSize, bool real) {
    if (!pSpec || !pSize) return zkrStsNullPtrErr;
    if (pSpec->magic != (real ? kMagicReal : kMagicComplex)) return zkrStsContextMatchErr;
    const std::int64_t bytes = bufferBytes(*pSpec);
    if (bytes > 0x7fffffff) return zkrStsMemAllocErr;
    *pSize = int(bytes);
    return zkrStsNoErr;
}

double normalisation(int flag, bool inverse, const Setup& s) {
    const double n = double(s.width) * s.height;
    if (flag == ZKR_DFT_DIV_BY_SQRTN) return 1.0 / std::sqrt(n);
    if (flag == (inverse ? ZKR_DFT_DIV_INV_BY_N : ZKR_DFT_DIV_FWD_BY_N)) return 1.0 / n;
    return 1.0;
}

double scaleFactorValue(int sf) {
    const int clamped = sf < -1000 ? -1000 : (sf > 1000 ? 1000 : sf);
    return std::ldexp(1.0, -clamped);
}

// The two-dimensional transform of the planes: every row, then every column.
void transform(const Setup& s, Planes pl, float* work, bool inverse) {
    for (int y = 0; y < s.height; ++y) {
        float* re = pl.re + std::ptrdiff_t(y) * s.width;
        float* im = pl.im + std::ptrdiff_t(y) * s.width;
        inverse ? s.rows.inverse(re, im, work) : s.rows.forward(re, im, work);
    }
    inverse ? s.cols.inverseColumns(pl.re, pl.im, s.width, s.width, work)
            : s.cols.forwardColumns(pl.re, pl.im, s.width, s.width, work);
}

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
    static_assert(std::is_same_v<Sp, ZkriDFTSpec_R_32f> == real, "the setup kind follows the transform");

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
    constexpr int comps = int(sizeof(typename ElemInfo<Ts>::S));
    constexpr int compd = int(sizeof(typename ElemInfo<Td>::S));
    if (const ZkrStatus s = checkSteps({srcStep}, std::int64_t(setup.width) * Pixel<Ts, L>::bytes, comps);
        s != zkrStsNoErr)
        return s;
    if (const ZkrStatus s = checkSteps({dstStep}, std::int64_t(setup.width) * Pixel<Td, L>::bytes, compd);
        s != zkrStsNoErr)
        return s;

    constexpr bool inverse = kind == Kind::CInv || kind == Kind::RInv;
    int sf = 0;
    if constexpr (requires { a.scaleFactor; }) sf = a.scaleFactor;
    const double scale = normalisation(setup.flag, inverse, setup) * scaleFactorValue(sf);
    const auto addr = reinterpret_cast<std::uintptr_t>(a.pBuffer);
    float* base = reinterpret_cast<float*>((addr + kBufferAlign - 1) / kBufferAlign * kBufferAlign);
    const std::ptrdiff_t n = std::ptrdiff_t(setup.width) * setup.height;
    const Planes pl{base, base + n, setup.width, setup.height};
    float* work = base + 2 * n;
    const Kernels& k = kernels();
    for (int c = 0; c < kActive<L>; ++c) {
        const Channel<const Ts> in{src + c, srcStep, kChannels<L>};
        const Channel<Td> out{dst + c, dstStep, kChannels<L>};
        if constexpr (kind == Kind::CFwd || kind == Kind::CInv) {
            k.loadC(in, pl);
            transform(setup, pl, work, inverse);
            k.storeC(pl, out, float(scale));
        } else if constexpr (kind == Kind::RFwd) {
            if constexpr (std::is_same_v<Ts, Zkr32f>) k.load32f(in, pl);
            else k.load8u(in, pl);
            transform(setup, pl, work, false);
            if constexpr (std::is_same_v<Td, Zkr32f>) k.pack32f(pl, out, scale);
            else k.pack32s(pl, out, scale);
        } else {
            if constexpr (std::is_same_v<Ts, Zkr32f>) k.unpack32f(in, pl);
            else k.unpack32s(in, pl);
            transform(setup, pl, work, true);
            if constexpr (std::is_same_v<Td, Zkr32f>) k.store32f(pl, out, scale);
            else k.store8u(pl, out, scale);
        }
    }
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::dft

#define ZKR_DFT_IS_REAL(S) std::is_same_v<S, ZkriDFTSpec_R_32f>
#define ZKR_DFT_AUX_dft_init(args, S) \
    zkr::dft::initAlloc(args.ppSpec, args.roiSize, args.flag, zkr::enumArg(args.hint), ZKR_DFT_IS_REAL(S))
#define ZKR_DFT_AUX_dft_free(args, S) zkr::dft::freeSpec(args.pSpec, ZKR_DFT_IS_REAL(S))
#define ZKR_DFT_AUX_dft_bufsize(args, S) zkr::dft::getBufSize(args.pSpec, args.pBufSize, ZKR_DFT_IS_REAL(S))

#define ZKR_FN_AUX(name, form, S)           \
    ZKR_DEFINE(name, form, S) {             \
        ZKR_PACK(args, form, S);            \
        return ZKR_DFT_AUX_##form(args, S); \
    }
#define ZKR_FN(name, form, Ts, Td, S, L, kind)                            \
    ZKR_DEFINE(name, form, Ts, Td, S, L, kind) {                          \
        ZKR_PACK(args, form, Ts, Td, S, L, kind);                         \
        return zkr::dft::run<zkr::dft::Kind::kind, zkr::Layout::L>(args); \
    }
#include "dft/dft.tbl"
#undef ZKR_FN
#undef ZKR_FN_AUX
