// The exported functions of the 8x8 DCT family, defined from its table: argument checks, the block
// into floats (level shift), the kernel of the level in force, the result back (rounding,
// saturation, clipping).
#include <cmath>
#include <cstdint>
#include <numbers>
#include <type_traits>

#include "checks.h"
#include "dct8x8_kernels.h"
#include "zkr_call.hpp"

namespace zkr::dct8x8 {
namespace {

enum class Kind { Fwd, Inv, InvLow, ToLow, InvA10, Zigzag, ZigzagInv };

template <int N> void makeBasis(float (&b)[N][N]) {
    for (int u = 0; u < N; ++u)
        for (int x = 0; x < N; ++x) {
            const double c = (u == 0 ? std::sqrt(0.5) : 1.0) * std::sqrt(2.0 / N);
            b[u][x] = float(c * std::cos((2 * x + 1) * u * std::numbers::pi / (2 * N)));
        }
}

const Bases& bases() {
    static const Bases b = [] {
        Bases r{};
        makeBasis<8>(r.b8);
        makeBasis<4>(r.b4);
        makeBasis<2>(r.b2);
        return r;
    }();
    return b;
}

template <class T> T toElem(float v, int lo, int hi) {
    if constexpr (std::is_same_v<T, Zkr32f>) {
        (void)lo, (void)hi;
        return v;
    } else {
        const float r = std::nearbyint(v);
        if (!(r == r)) return T(0);
        return T(r < float(lo) ? lo : (r > float(hi) ? hi : int(r)));
    }
}

// The zigzag order: z[i] is the block index of the i-th coefficient along the antidiagonals.
struct ZigzagOrder {
    int z[64];
    constexpr ZigzagOrder() : z{} {
        int i = 0;
        for (int d = 0; d < 15; ++d)
            for (int k = 0; k <= d; ++k) {
                const int r = d % 2 == 0 ? d - k : k;  // even antidiagonals go up, odd ones down
                const int c = d - r;
                if (r < 8 && c < 8) z[i++] = r * 8 + c;
            }
    }
};
constexpr ZigzagOrder kZigzag{};

template <class Ts, class Td, Kind kind, int n, class A> ZkrStatus run(const A& a) {
    if constexpr (kind == Kind::Zigzag || kind == Kind::ZigzagInv) {
        if (const ZkrStatus s = checkPointers({a.pSrc, a.pDst}); s != zkrStsNoErr) return s;
        for (int i = 0; i < 64; ++i) {
            if constexpr (kind == Kind::Zigzag) a.pDst[i] = a.pSrc[kZigzag.z[i]];
            else a.pDst[kZigzag.z[i]] = a.pSrc[i];
        }
        return zkrStsNoErr;
    }
    const Ts* src;
    Td* dst;
    std::ptrdiff_t sStep = 8 * sizeof(Ts), dStep = 8 * sizeof(Td);
    if constexpr (requires { a.pSrcDst; }) {
        if (!a.pSrcDst) return zkrStsNullPtrErr;
        src = a.pSrcDst;
        dst = a.pSrcDst;
    } else {
        if (const ZkrStatus s = checkPointers({a.pSrc, a.pDst}); s != zkrStsNoErr) return s;
        src = a.pSrc;
        dst = a.pDst;
    }
    if constexpr (requires { a.srcStep; }) {
        if (const ZkrStatus s = checkSteps({a.srcStep}, 8 * std::int64_t(sizeof(Ts)), int(sizeof(Ts))); s != zkrStsNoErr)
            return s;
        sStep = a.srcStep;
    }
    if constexpr (requires { a.dstStep; }) {
        if (const ZkrStatus s = checkSteps({a.dstStep}, 8 * std::int64_t(sizeof(Td)), int(sizeof(Td))); s != zkrStsNoErr)
            return s;
        dStep = a.dstStep;
    }
    int lo = std::is_same_v<Td, Zkr8u> ? 0 : (kind == Kind::InvA10 ? -512 : -32768);
    int hi = std::is_same_v<Td, Zkr8u> ? 255 : (kind == Kind::InvA10 ? 511 : 32767);
    float add = 0.0f, addOut = 0.0f;
    if constexpr (requires { a.clipMin; }) {
        if (a.clipMin > a.clipMax) return zkrStsBadArgErr;
        lo = a.clipMin;
        hi = a.clipMax;
        addOut = float(a.addVal);
    } else if constexpr (requires { a.addVal; }) {
        add = float(a.addVal);
    }
    alignas(64) float in[64], out[64];
    for (int y = 0; y < 8; ++y) {
        const Ts* row = reinterpret_cast<const Ts*>(reinterpret_cast<const char*>(src) + sStep * y);
        for (int x = 0; x < 8; ++x) in[y * 8 + x] = float(row[x]) + add;
    }
    const Kernels& k = kernels();
    int side = 8;
    if constexpr (kind == Kind::Fwd) k.fwd(bases(), in, out);
    else if constexpr (kind == Kind::Inv || kind == Kind::InvLow || kind == Kind::InvA10) k.inv(bases(), in, out, n);
    else {
        k.toLow(bases(), in, out, n);
        side = n;
    }
    for (int y = 0; y < side; ++y) {
        Td* row = reinterpret_cast<Td*>(reinterpret_cast<char*>(dst) + (side == 8 ? dStep * y : 0));
        for (int x = 0; x < side; ++x) row[(side == 8 ? 0 : y * side) + x] = toElem<Td>(out[y * side + x] + addOut, lo, hi);
    }
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::dct8x8

#define ZKR_FN(name, form, Ts, Td, kind, n)                                       \
    ZKR_DEFINE(name, form, Ts, Td) {                                              \
        ZKR_PACK(args, form, Ts, Td);                                             \
        return zkr::dct8x8::run<Ts, Td, zkr::dct8x8::Kind::kind, n>(args);        \
    }
#include "dct8x8/dct8x8.tbl"
#include "dct8x8/dct8x8a10.tbl"
#include "dct8x8/zigzag.tbl"
#undef ZKR_FN
