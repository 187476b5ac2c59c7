// Compiled once per instruction-set level (ZKR_LEVEL_NS): the DotProd
// reduction kernels. The lane loops are written for the auto-vectoriser: a
// fixed block of kLanes products per iteration into a local accumulator array
// kept in vector registers (widening multiplies for the 8-bit types,
// conversions to double and multiply-adds for the others), a scalar tail into
// the first lanes, and folds into the channels' double sums.
// No multiply-add is contracted: levels with FMA then round as the baseline does, and every
// level gives the same bits.
#pragma GCC optimize("fp-contract=off")

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "dotprod_kernels.h"
#include "rows.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::dotprod::ZKR_LEVEL_NS {

// The folds over a handful of channels stay scalar (no full-width operations
// on lanes past the channels).
#define ZKR_SCALAR __attribute__((optimize("no-tree-vectorize")))

// Lane type and products a lane takes between folds: 8-bit products (at most
// 65025 in magnitude) in 32-bit lanes, 32768 of them; 16-bit products (below
// 2^32) in double lanes, exact for 2^20 of them; 32-bit and float products in
// double lanes without folds.
template <class S> struct LaneOf {
    static constexpr bool kByte = sizeof(S) == 1;
    using A = std::conditional_t<kByte, std::int32_t, Zkr64f>;
    static constexpr std::ptrdiff_t kCap =
        kByte ? 32768 : (sizeof(S) == 2 ? std::ptrdiff_t(1) << 20 : std::ptrdiff_t(1) << 40);
};

template <class S, class A> [[gnu::always_inline]] inline A product(S x, S y) {
    if constexpr (std::is_same_v<A, std::int32_t>) return std::int32_t(x) * std::int32_t(y);
    else return A(x) * A(y);
}

template <class S, class A>
ZKR_NOINLINE void laneRun(const S* __restrict a, const S* __restrict b, std::ptrdiff_t n, A* __restrict lanes) {
    A acc[kLanes];
    for (int k = 0; k < kLanes; ++k) acc[k] = lanes[k];
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= n; i += kLanes)
        for (int k = 0; k < kLanes; ++k) acc[k] += product<S, A>(a[i + k], b[i + k]);
    for (int k = 0; i + k < n; ++k) acc[k] += product<S, A>(a[i + k], b[i + k]);
    for (int k = 0; k < kLanes; ++k) lanes[k] = acc[k];
}

template <class S> ZKR_SCALAR void dotChunk(const DotJob& j, int y0, int y1, ChunkOut& out) {
    using L = LaneOf<S>;
    using A = typename L::A;
    for (double& v : out.sum) v = 0.0;
    A acc[kLanes] = {};
    std::ptrdiff_t pending = 0;
    auto fold = [&] {
        for (int k = 0; k < kLanes; k += j.period)
            for (int c = 0; c < j.period; ++c) out.sum[c] += double(acc[k + c]), acc[k + c] = A(0);
        pending = 0;
    };
    const std::ptrdiff_t seg = L::kCap * kLanes;
    for (int y = y0; y < y1; ++y) {
        const S* ra = rowOf<S>(j.a, j.aStep, y);
        const S* rb = rowOf<S>(j.b, j.bStep, y);
        for (std::ptrdiff_t x = 0; x < j.rowLen; x += seg) {
            const std::ptrdiff_t n = seg < j.rowLen - x ? seg : j.rowLen - x;
            const std::ptrdiff_t perLane = (n + kLanes - 1) / kLanes;
            if (pending + perLane > L::kCap) fold();
            laneRun<S, A>(ra + x, rb + x, n, acc);
            pending += perLane;
        }
    }
    fold();
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    ks.fn[int(Elem::U8)] = &dotChunk<Zkr8u>;
    ks.fn[int(Elem::S8)] = &dotChunk<Zkr8s>;
    ks.fn[int(Elem::U16)] = &dotChunk<Zkr16u>;
    ks.fn[int(Elem::S16)] = &dotChunk<Zkr16s>;
    ks.fn[int(Elem::U32)] = &dotChunk<Zkr32u>;
    ks.fn[int(Elem::S32)] = &dotChunk<Zkr32s>;
    ks.fn[int(Elem::F32)] = &dotChunk<Zkr32f>;
    return ks;
}

#undef ZKR_SCALAR

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::dotprod::ZKR_LEVEL_NS
