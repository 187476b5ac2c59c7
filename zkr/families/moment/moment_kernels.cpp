// Compiled once per instruction-set level (ZKR_LEVEL_NS): the Moment row
// kernels. Double rows: one pass over the pixels with x, x^2, x^3 as double
// (exact), four accumulators per channel. Integer rows: segments of kSegment
// pixels summed in 64-bit integers against the powers of the offset t in the
// segment (t^3 < 2^30, so a segment's sums stay below 2^63), then moved to
// x = x0 + t with the binomial expansion in 128 bits: exact for any width. No
// multiply-add is contracted, so every level gives the same bits.
#pragma GCC optimize("fp-contract=off")

#include <cstdint>

#include "moment_kernels.h"
#include "rows.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::moment::ZKR_LEVEL_NS {

template <class S, int P> void rowDouble(const void* rowv, int width, double (&s)[kOrders][kChannels]) {
    const S* row = static_cast<const S*>(rowv);
    constexpr int ch = P == 1 ? 1 : 3;
    for (int c = 0; c < ch; ++c) {
        double a0 = 0, a1 = 0, a2 = 0, a3 = 0;
        for (int x = 0; x < width; ++x) {
            const double v = double(row[std::ptrdiff_t(x) * P + c]), xd = double(x);
            const double v1 = v * xd, v2 = v1 * xd;
            a0 += v, a1 += v1, a2 += v2, a3 += v2 * xd;
        }
        s[0][c] = a0, s[1][c] = a1, s[2][c] = a2, s[3][c] = a3;
    }
}

// Sums of t^k v over one segment, t = 0..n-1.
template <class S, int P>
ZKR_NOINLINE void segment(const S* __restrict row, int n, int c, std::uint64_t (&t)[kOrders]) {
    std::uint64_t a0 = 0, a1 = 0, a2 = 0, a3 = 0;
    for (int i = 0; i < n; ++i) {
        const std::uint64_t v = row[std::ptrdiff_t(i) * P + c], u = std::uint64_t(i);
        const std::uint64_t v1 = v * u, v2 = v1 * u;
        a0 += v, a1 += v1, a2 += v2, a3 += v2 * u;
    }
    t[0] = a0, t[1] = a1, t[2] = a2, t[3] = a3;
}

template <class S, int P> void rowExact(const void* rowv, int width, __int128 (&s)[kOrders][kChannels]) {
    const S* row = static_cast<const S*>(rowv);
    constexpr int ch = P == 1 ? 1 : 3;
    for (int c = 0; c < ch; ++c) {
        __int128 a[kOrders] = {};
        for (int x0 = 0; x0 < width; x0 += kSegment) {
            const int n = width - x0 < kSegment ? width - x0 : kSegment;
            std::uint64_t t[kOrders];
            segment<S, P>(row + std::ptrdiff_t(x0) * P, n, c, t);
            const __int128 x = x0, t0 = t[0], t1 = t[1], t2 = t[2], t3 = t[3];
            a[0] += t0;
            a[1] += x * t0 + t1;
            a[2] += x * x * t0 + 2 * x * t1 + t2;
            a[3] += x * x * x * t0 + 3 * x * x * t1 + 3 * x * t2 + t3;
        }
        for (int k = 0; k < kOrders; ++k) s[k][c] = a[k];
    }
}

template <class S> constexpr void fillF(Kernels& ks) {
    ks.rowF[kComp<S>][0] = &rowDouble<S, 1>;
    ks.rowF[kComp<S>][1] = &rowDouble<S, 3>;
    ks.rowF[kComp<S>][2] = &rowDouble<S, 4>;
}
template <class S> constexpr void fillS(Kernels& ks) {
    ks.rowS[kComp<S>][0] = &rowExact<S, 1>;
    ks.rowS[kComp<S>][1] = &rowExact<S, 3>;
    ks.rowS[kComp<S>][2] = &rowExact<S, 4>;
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillF<Zkr8u>(ks);
    fillF<Zkr16u>(ks);
    fillF<Zkr32f>(ks);
    fillS<Zkr8u>(ks);
    fillS<Zkr16u>(ks);
    return ks;
}

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::moment::ZKR_LEVEL_NS
