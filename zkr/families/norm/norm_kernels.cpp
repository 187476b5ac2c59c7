// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags.
//
// The lane loops are written for the auto-vectoriser: a fixed block of
// kLanes components per iteration into a local accumulator array the
// compiler keeps in vector registers (a magnitude is an and-not of the sign
// or a pabs, the maximum a vector max or blend), then a scalar tail into the
// first lanes. The lanes are folded into the double channel accumulations
// before they could lose exactness and at the end of the chunk.
// No multiply-add is contracted: levels with FMA then round as the baseline does, and every
// level gives the same bits.
#pragma GCC optimize("fp-contract=off")

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "norm_kernels.h"
#include "rows.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::norm::ZKR_LEVEL_NS {

// The folds over a handful of channels stay scalar: vectorised, they would run
// full-width float operations on lanes past the channels.
#define ZKR_SCALAR __attribute__((optimize("no-tree-vectorize")))

// Lane type and the values a lane takes between two folds.
//   integer Inf, L1, and L2 of 8u: 32-bit unsigned lanes (magnitudes up to
//     65535, squares of 8-bit differences up to 65025: 65536 of them fit);
//   integer L2 of 16-bit values: double lanes, exact for 2^20 squares of up
//     to 2^32;
//   float Inf of one image: float lanes (the maximum is exact); of a
//     difference: double lanes (the difference is exact in double);
//   float L1 and L2: float lanes folded every 256 values (zkrAlgHintFast) or
//     double lanes (accurate).
template <class S, Kind K, bool diff, bool fast> struct LaneOf {
    static constexpr bool kFlt = std::is_floating_point_v<S>;
    using A = std::conditional_t<
        kFlt, std::conditional_t<(K == Kind::Inf && !diff) || (K != Kind::Inf && fast), Zkr32f, Zkr64f>,
        std::conditional_t<K == Kind::L2 && !std::is_same_v<S, Zkr8u>, Zkr64f, std::uint32_t>>;
    static constexpr std::ptrdiff_t kCap =
        K == Kind::Inf || (kFlt && std::is_same_v<A, Zkr64f>) ? std::ptrdiff_t(1) << 40
        : std::is_same_v<A, Zkr32f>                           ? 256
        : std::is_same_v<A, Zkr64f>                           ? std::ptrdiff_t(1) << 20
                                                              : 65536;
};

// |x| of an integer as unsigned (INT_MIN included).
inline std::uint32_t magnitude(std::int32_t d) { return d < 0 ? 0u - std::uint32_t(d) : std::uint32_t(d); }

// The term of one component: |x| for Inf and L1, x^2 for L2.
template <class A, Kind K, class S> [[gnu::always_inline]] inline A term(S x) {
    if constexpr (std::is_floating_point_v<S>) {
        const A v = A(x);
        return K == Kind::L2 ? v * v : std::fabs(v);
    } else if constexpr (K == Kind::L2) {
        const std::int32_t d = std::int32_t(x);
        return std::is_same_v<A, Zkr64f> ? A(A(d) * A(d)) : A(std::uint32_t(d * d));
    } else {
        return A(magnitude(std::int32_t(x)));
    }
}

// The term of the difference of two components.
template <class A, Kind K, class S> [[gnu::always_inline]] inline A termDiff(S x, S y) {
    if constexpr (std::is_floating_point_v<S>) {
        const A d = A(x) - A(y);
        return K == Kind::L2 ? d * d : std::fabs(d);
    } else if constexpr (K == Kind::L2) {
        const std::int32_t d = std::int32_t(x) - std::int32_t(y);
        return std::is_same_v<A, Zkr64f> ? A(A(d) * A(d)) : A(std::uint32_t(d * d));
    } else {
        return A(magnitude(std::int32_t(x) - std::int32_t(y)));
    }
}

// Inf keeps the larger magnitude, and a NaN once met; L1 and L2 add.
template <Kind K, class A> [[gnu::always_inline]] inline A combine(A m, A v) {
    if constexpr (K != Kind::Inf) return m + v;
    else if constexpr (std::is_floating_point_v<A>) return (v > m || v != v) ? v : m;
    else return v > m ? v : m;
}

// Takes n components (of a, or of a - b) into the lanes.
template <class S, class A, Kind K, bool diff>
ZKR_NOINLINE void laneRun(const S* __restrict a, const S* __restrict b, std::ptrdiff_t n, A* __restrict lanes) {
    A acc[kLanes];
    for (int k = 0; k < kLanes; ++k) acc[k] = lanes[k];
    auto one = [&](std::ptrdiff_t i) {
        if constexpr (diff) return termDiff<A, K>(a[i], b[i]);
        else return term<A, K>(a[i]);
    };
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= n; i += kLanes)
        for (int k = 0; k < kLanes; ++k) acc[k] = combine<K>(acc[k], one(i + k));
    for (int k = 0; i + k < n; ++k) acc[k] = combine<K>(acc[k], one(i + k));
    for (int k = 0; k < kLanes; ++k) lanes[k] = acc[k];
}

// Lanes run on from row to row (every row and every segment starts on lane 0
// at a multiple of kLanes) and are folded into channels before they would
// lose exactness and at the end of the chunk; rows longer than a lane's
// capacity are taken in segments.
template <class S, Kind K, Shape Sh, bool fast> ZKR_SCALAR void normChunk(const NormJob& j, int y0, int y1, ChunkOut& out) {
    constexpr bool diff = Sh != Shape::One, rel = Sh == Shape::Rel;
    using L = LaneOf<S, K, diff, fast>;
    using A = typename L::A;
    for (int c = 0; c < kMaxChannels; ++c) out.v[c] = out.ref[c] = 0.0;
    A acc[kLanes] = {}, ref[kLanes] = {};
    std::ptrdiff_t pending = 0;  // values per lane since the last fold
    auto fold = [&] {
        for (int k = 0; k < kLanes; k += j.period)
            for (int c = 0; c < j.period; ++c) {
                out.v[c] = combine<K>(out.v[c], double(acc[k + c]));
                acc[k + c] = A(0);
                if constexpr (rel) {
                    out.ref[c] = combine<K>(out.ref[c], double(ref[k + c]));
                    ref[k + c] = A(0);
                }
            }
        pending = 0;
    };
    const std::ptrdiff_t seg = L::kCap * kLanes;
    for (int y = y0; y < y1; ++y) {
        const S* ra = rowOf<S>(j.a, j.aStep, y);
        const S* rb = diff ? rowOf<S>(j.b, j.bStep, y) : nullptr;
        for (std::ptrdiff_t x = 0; x < j.rowLen; x += seg) {
            const std::ptrdiff_t n = seg < j.rowLen - x ? seg : j.rowLen - x;
            const std::ptrdiff_t perLane = (n + kLanes - 1) / kLanes;
            if (pending + perLane > L::kCap) fold();
            laneRun<S, A, K, diff>(ra + x, diff ? rb + x : nullptr, n, acc);
            if constexpr (rel) laneRun<S, A, K, false>(rb + x, nullptr, n, ref);
            pending += perLane;
        }
    }
    fold();
}

// ---- the level's kernel table -----------------------------------------------

template <class S, Kind K> constexpr void fillKind(Kernels& ks) {
    auto& f = ks.fn[kComp<S>][int(K)];
    f[int(Shape::One)][0] = &normChunk<S, K, Shape::One, false>;
    f[int(Shape::Diff)][0] = &normChunk<S, K, Shape::Diff, false>;
    f[int(Shape::Rel)][0] = &normChunk<S, K, Shape::Rel, false>;
    constexpr bool fastLanes = std::is_floating_point_v<S> && K != Kind::Inf;
    f[int(Shape::One)][1] = &normChunk<S, K, Shape::One, fastLanes>;
    f[int(Shape::Diff)][1] = &normChunk<S, K, Shape::Diff, fastLanes>;
    f[int(Shape::Rel)][1] = &normChunk<S, K, Shape::Rel, fastLanes>;
}

template <class S> constexpr void fillType(Kernels& ks) {
    fillKind<S, Kind::Inf>(ks);
    fillKind<S, Kind::L1>(ks);
    fillKind<S, Kind::L2>(ks);
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillType<Zkr8u>(ks);
    fillType<Zkr16u>(ks);
    fillType<Zkr16s>(ks);
    fillType<Zkr32f>(ks);
    // 32s: the Inf norm of one image only (its differences would not fit the lanes).
    ks.fn[kComp<Zkr32s>][int(Kind::Inf)][int(Shape::One)][0] = &normChunk<Zkr32s, Kind::Inf, Shape::One, false>;
    ks.fn[kComp<Zkr32s>][int(Kind::Inf)][int(Shape::One)][1] = &normChunk<Zkr32s, Kind::Inf, Shape::One, false>;
    return ks;
}

#undef ZKR_SCALAR

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::norm::ZKR_LEVEL_NS
