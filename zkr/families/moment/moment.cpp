// The exported functions of the Moment family, defined from its table: the
// moment states and their getters (helper rows), and the Moments functions,
// which check their arguments, sum the row kernels' results of the level in
// force weighted by the rows' y powers, chunk by chunk over the worker threads
// (chunks fixed by the image's size, added in order), into the state.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <type_traits>

#include "checks.h"
#include "moment_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

// The table's types and forms (its rows are expanded at the end).
#define ZKR_FN(...)
#define ZKR_FN_AUX(...)
#include "moment/moment.tbl"
#undef ZKR_FN
#undef ZKR_FN_AUX

namespace {
constexpr std::uint32_t kMagicF = 0x4d4f4d46, kMagicS = 0x4d4f4d53;
}  // namespace

// m[p][q][c]: the spatial moment of order (p, q) of channel c (p + q <= 3).
struct ZkriMomentState_64f {
    std::uint32_t magic = kMagicF;
    double m[zkr::moment::kOrders][zkr::moment::kOrders][zkr::moment::kChannels] = {};
};
struct ZkriMomentState_64s {
    std::uint32_t magic = kMagicS;
    __int128 m[zkr::moment::kOrders][zkr::moment::kOrders][zkr::moment::kChannels] = {};
};

namespace zkr::moment {
namespace {

constexpr int kChunks = 64;
constexpr std::int64_t kChunkPixels = 4096;

template <class St> constexpr bool kExact = std::is_same_v<St, ZkriMomentState_64s>;
template <class St> constexpr std::uint32_t kMagic = kExact<St> ? kMagicS : kMagicF;

template <class St> ZkrStatus initAlloc(St** pp) {
    if (!pp) return zkrStsNullPtrErr;
    *pp = new (std::nothrow) St();
    return *pp ? zkrStsNoErr : zkrStsMemAllocErr;
}

template <class St> ZkrStatus freeState(St* p) {
    if (!p) return zkrStsNoErr;
    if (p->magic != kMagic<St>) return zkrStsContextMatchErr;
    p->magic = 0;
    delete p;
    return zkrStsNoErr;
}

template <class St, class V> ZkrStatus checkGet(const St* p, int mOrd, int nOrd, int ch, const V* out) {
    if (!p || !out) return zkrStsNullPtrErr;
    if (p->magic != kMagic<St>) return zkrStsContextMatchErr;
    if (mOrd < 0 || nOrd < 0 || mOrd + nOrd > 3) return zkrStsSizeErr;
    if (ch < 0 || ch >= kChannels) return zkrStsBadArgErr;
    return zkrStsNoErr;
}

ZkrStatus spatialF(const ZkriMomentState_64f* p, int mOrd, int nOrd, int ch, Zkr64f* out) {
    if (const ZkrStatus s = checkGet(p, mOrd, nOrd, ch, out); s != zkrStsNoErr) return s;
    *out = p->m[mOrd][nOrd][ch];
    return zkrStsNoErr;
}

ZkrStatus spatialS(const ZkriMomentState_64s* p, int mOrd, int nOrd, int ch, Zkr64s* out) {
    if (const ZkrStatus s = checkGet(p, mOrd, nOrd, ch, out); s != zkrStsNoErr) return s;
    const __int128 v = p->m[mOrd][nOrd][ch];
    constexpr __int128 hi = std::numeric_limits<Zkr64s>::max(), lo = std::numeric_limits<Zkr64s>::min();
    *out = Zkr64s(v > hi ? hi : (v < lo ? lo : v));
    return zkrStsNoErr;
}

// mu(p, q) = sum over i <= p, j <= q of C(p, i) C(q, j) (-xc)^(p-i) (-yc)^(q-j) m(i, j); a zero
// m(0, 0) puts the centroid at the origin.
ZkrStatus centralF(const ZkriMomentState_64f* p, int mOrd, int nOrd, int ch, Zkr64f* out) {
    if (const ZkrStatus s = checkGet(p, mOrd, nOrd, ch, out); s != zkrStsNoErr) return s;
    const double m00 = p->m[0][0][ch];
    const double xc = m00 != 0 ? p->m[1][0][ch] / m00 : 0.0, yc = m00 != 0 ? p->m[0][1][ch] / m00 : 0.0;
    static constexpr int binom[4][4] = {{1, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 1, 0}, {1, 3, 3, 1}};
    auto pw = [](double b, int e) {
        double r = 1;
        for (int k = 0; k < e; ++k) r *= b;
        return r;
    };
    double mu = 0;
    for (int i = 0; i <= mOrd; ++i)
        for (int j = 0; j <= nOrd; ++j)
            mu += binom[mOrd][i] * binom[nOrd][j] * pw(-xc, mOrd - i) * pw(-yc, nOrd - j) * p->m[i][j][ch];
    *out = mu;
    return zkrStsNoErr;
}

template <Layout L, class A> ZkrStatus run(const A& a) {
    using T = std::remove_const_t<std::remove_pointer_t<decltype(a.pSrc)>>;
    using St = std::remove_pointer_t<decltype(a.pState)>;
    if (const ZkrStatus s = checkArgs({a.pSrc, a.pState}, a.roiSize, {a.srcStep}, Pixel<T, L>::bytes, int(sizeof(T)));
        s != zkrStsNoErr)
        return s;
    if (a.pState->magic != kMagic<St>) return zkrStsContextMatchErr;
    constexpr int pi = L == Layout::C1 ? 0 : (L == Layout::C3 ? 1 : 2);
    constexpr int ch = kActive<L>;
    using Acc = std::conditional_t<kExact<St>, __int128, double>;
    struct Part {
        Acc m[kOrders][kOrders][kChannels];
    };
    const int height = a.roiSize.height, width = a.roiSize.width;
    const std::int64_t pixels = std::int64_t(width) * height;
    const int chunks = int(std::clamp<std::int64_t>(pixels / kChunkPixels, 1, std::min(height, kChunks)));
    Part parts[kChunks];
    const Kernels& ks = kernels();
    forRowBands(pixels, chunks, [&](int c0, int c1) {
        for (int c = c0; c < c1; ++c) {
            Part& part = parts[c];
            for (auto& a2 : part.m)
                for (auto& a1 : a2)
                    for (Acc& v : a1) v = Acc(0);
            for (int y = int(std::int64_t(height) * c / chunks); y < int(std::int64_t(height) * (c + 1) / chunks); ++y) {
                Acc s[kOrders][kChannels];
                const void* row = reinterpret_cast<const char*>(a.pSrc) + std::ptrdiff_t(y) * a.srcStep;
                if constexpr (kExact<St>) ks.rowS[kComp<T>][pi](row, width, s);
                else ks.rowF[kComp<T>][pi](row, width, s);
                const Acc yp[4] = {Acc(1), Acc(y), Acc(y) * Acc(y), Acc(y) * Acc(y) * Acc(y)};
                for (int p = 0; p < kOrders; ++p)
                    for (int q = 0; p + q < kOrders; ++q)
                        for (int k = 0; k < ch; ++k) part.m[p][q][k] += s[p][k] * yp[q];
            }
        }
    });
    St& st = *a.pState;
    for (int p = 0; p < kOrders; ++p)
        for (int q = 0; q < kOrders; ++q)
            for (int k = 0; k < kChannels; ++k) {
                Acc v = Acc(0);
                if (p + q < kOrders && k < ch)
                    for (int c = 0; c < chunks; ++c) v += parts[c].m[p][q][k];
                st.m[p][q][k] = v;
            }
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::moment

#define ZKR_MOMENT_AUX_moment_init(args, S) zkr::moment::initAlloc(args.ppState)
#define ZKR_MOMENT_AUX_moment_free(args, S) zkr::moment::freeState(args.pState)
#define ZKR_MOMENT_AUX_zkriGetSpatialMoment_64f(args) zkr::moment::spatialF(args.pState, args.mOrd, args.nOrd, args.nChannel, args.pValue)
#define ZKR_MOMENT_AUX_zkriGetCentralMoment_64f(args) zkr::moment::centralF(args.pState, args.mOrd, args.nOrd, args.nChannel, args.pValue)
#define ZKR_MOMENT_AUX_zkriGetSpatialMoment_64s(args) zkr::moment::spatialS(args.pState, args.mOrd, args.nOrd, args.nChannel, args.pValue)
#define ZKR_MOMENT_AUX_zkriMomentInitAlloc_64f(args) ZKR_MOMENT_AUX_moment_init(args, ~)
#define ZKR_MOMENT_AUX_zkriMomentInitAlloc_64s(args) ZKR_MOMENT_AUX_moment_init(args, ~)
#define ZKR_MOMENT_AUX_zkriMomentFree_64f(args) ZKR_MOMENT_AUX_moment_free(args, ~)
#define ZKR_MOMENT_AUX_zkriMomentFree_64s(args) ZKR_MOMENT_AUX_moment_free(args, ~)

#define ZKR_FN_AUX(name, form, S)             \
    ZKR_DEFINE(name, form, S) {               \
        ZKR_PACK(args, form, S);              \
        return ZKR_MOMENT_AUX_##name(args);   \
    }
#define ZKR_FN(name, form, T, S, L)                               \
    ZKR_DEFINE(name, form, T, S) {                                \
        ZKR_PACK(args, form, T, S);                               \
        return zkr::moment::run<zkr::Layout::L>(args);            \
    }
#include "moment/moment.tbl"
#undef ZKR_FN
#undef ZKR_FN_AUX
