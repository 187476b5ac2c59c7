// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags.
//
// The lane loops are written for the auto-vectoriser: a fixed block of
// kLanes components per iteration into a local accumulator array the
// compiler keeps in vector registers, then a scalar tail into the first
// lanes, then one fold of the lanes into channels per row.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "sum_kernels.h"
#include "rows.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::sum::ZKR_LEVEL_NS {

// The per-row folds over a handful of channels stay scalar: vectorised, they
// run full-width float operations on lanes past the channels (garbage from
// the stack), which raise floating-point exception flags for nothing.
#define ZKR_SCALAR __attribute__((optimize("no-tree-vectorize")))

template <class S> inline constexpr bool kFloat = std::is_floating_point_v<S>;

// ---- sums ---------------------------------------------------------------------

// Lane type of a sum: 32-bit integers for integer images (exact within a
// segment), float for fast float sums, double for accurate ones.
template <class S, bool fast> struct SumLane { using A = std::conditional_t<std::is_signed_v<S>, std::int32_t, std::uint32_t>; };
template <> struct SumLane<Zkr32f, true> { using A = Zkr32f; };
template <> struct SumLane<Zkr32f, false> { using A = Zkr64f; };

// Adds n components to the lanes (lane k takes components k, k + kLanes, ...).
template <class S, class A> ZKR_NOINLINE void laneSum(const S* __restrict s, std::ptrdiff_t n, A* __restrict lanes) {
    A acc[kLanes];
    for (int k = 0; k < kLanes; ++k) acc[k] = lanes[k];
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= n; i += kLanes)
        for (int k = 0; k < kLanes; ++k) acc[k] += A(s[i + k]);
    for (int k = 0; i + k < n; ++k) acc[k] += A(s[i + k]);
    for (int k = 0; k < kLanes; ++k) lanes[k] = acc[k];
}

// Values a lane takes between two folds into the double channel sums:
// 32-bit integer lanes stay exact up to 32768 values of 16 bits; float lanes
// of the fast sum are folded often enough to keep their rounding small;
// double lanes are folded once per chunk.
template <class A> inline constexpr std::ptrdiff_t kFoldAfter =
    std::is_same_v<A, Zkr64f> ? std::ptrdiff_t(1) << 40 : (std::is_same_v<A, Zkr32f> ? 256 : 32768);

// Lanes run on from row to row (every row and every segment starts on lane 0
// at a multiple of kLanes, so lane k always holds channel k % period) and are
// folded into channels before they would overflow and at the end of the
// chunk; rows longer than a lane's capacity are taken in segments.
template <class S, bool fast> ZKR_SCALAR void sumChunk(const RedJob& j, int y0, int y1, ChunkOut& out) {
    using A = typename SumLane<S, fast>::A;
    constexpr std::ptrdiff_t cap = kFoldAfter<A>;
    for (double& v : out.sum) v = 0.0;
    A lanes[kLanes] = {};
    std::ptrdiff_t pending = 0;  // values per lane since the last fold
    auto fold = [&] {
        for (int k = 0; k < kLanes; k += j.period)
            for (int c = 0; c < j.period; ++c) out.sum[c] += double(lanes[k + c]), lanes[k + c] = A(0);
        pending = 0;
    };
    const std::ptrdiff_t seg = cap * kLanes;
    for (int y = y0; y < y1; ++y) {
        const S* row = rowOf<S>(j.s, j.sStep, y);
        for (std::ptrdiff_t x = 0; x < j.rowLen; x += seg) {
            const std::ptrdiff_t n = seg < j.rowLen - x ? seg : j.rowLen - x;
            const std::ptrdiff_t perLane = (n + kLanes - 1) / kLanes;
            if (pending + perLane > cap) fold();
            laneSum(row + x, n, lanes);
            pending += perLane;
        }
    }
    fold();
}

// ---- extremes -----------------------------------------------------------------

template <class S> struct Limits {
    static constexpr S lowest = kFloat<S> ? -std::numeric_limits<S>::infinity() : std::numeric_limits<S>::lowest();
    static constexpr S highest = kFloat<S> ? std::numeric_limits<S>::infinity() : std::numeric_limits<S>::max();
};

// Takes n components into the lanes' minima and maxima.
template <class S, bool wantMin, bool wantMax>
ZKR_NOINLINE void laneMinMax(const S* __restrict s, std::ptrdiff_t n, S* __restrict mn, S* __restrict mx) {
    S lo[kLanes], hi[kLanes];
    for (int k = 0; k < kLanes; ++k) lo[k] = mn[k], hi[k] = mx[k];
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        for (int k = 0; k < kLanes; ++k) {
            const S v = s[i + k];
            if constexpr (wantMin) lo[k] = v < lo[k] ? v : lo[k];
            if constexpr (wantMax) hi[k] = v > hi[k] ? v : hi[k];
        }
    }
    for (int k = 0; i + k < n; ++k) {
        const S v = s[i + k];
        lo[k] = v < lo[k] ? v : lo[k];
        hi[k] = v > hi[k] ? v : hi[k];
    }
    for (int k = 0; k < kLanes; ++k) mn[k] = lo[k], mx[k] = hi[k];
}

// First x of the row whose channel c equals v (it is there: v came from the row).
template <class S> int firstIndex(const S* row, int width, int period, int c, S v) {
    for (int x = 0; x < width; ++x)
        if (row[std::ptrdiff_t(x) * period + c] == v) return x;
    return 0;
}

// Without positions the lanes run on over the whole chunk and are folded
// once; with positions each row is folded to find where its extremes are.
template <class S, bool wantMin, bool wantMax, bool index>
ZKR_SCALAR void extremesChunk(const RedJob& j, int y0, int y1, ChunkOut& out) {
    const int width = j.rowLen / j.period;
    S mn[kLanes], mx[kLanes];
    auto resetLanes = [&] {
        for (int k = 0; k < kLanes; ++k) mn[k] = Limits<S>::highest, mx[k] = Limits<S>::lowest;
    };
    // Extremes of each channel over the lanes.
    auto fold = [&](S (&lo)[kMaxChannels], S (&hi)[kMaxChannels]) {
        for (int c = 0; c < kMaxChannels; ++c) lo[c] = Limits<S>::highest, hi[c] = Limits<S>::lowest;
        for (int k = 0; k < kLanes; k += j.period) {
            for (int c = 0; c < j.period; ++c) {
                lo[c] = mn[k + c] < lo[c] ? mn[k + c] : lo[c];
                hi[c] = mx[k + c] > hi[c] ? mx[k + c] : hi[c];
            }
        }
    };
    S lo[kMaxChannels], hi[kMaxChannels];
    if constexpr (!index) {
        resetLanes();
        for (int y = y0; y < y1; ++y) laneMinMax<S, wantMin, wantMax>(rowOf<S>(j.s, j.sStep, y), j.rowLen, mn, mx);
        fold(lo, hi);
        for (int c = 0; c < kMaxChannels; ++c) {
            out.min[c] = double(lo[c]), out.max[c] = double(hi[c]);
            out.minX[c] = out.minY[c] = out.maxX[c] = out.maxY[c] = -1;
        }
        return;
    }
    for (int c = 0; c < kMaxChannels; ++c) {
        out.min[c] = double(Limits<S>::highest), out.max[c] = double(Limits<S>::lowest);
        out.minX[c] = out.minY[c] = out.maxX[c] = out.maxY[c] = -1;
    }
    for (int y = y0; y < y1; ++y) {
        const S* row = rowOf<S>(j.s, j.sStep, y);
        resetLanes();
        laneMinMax<S, wantMin, wantMax>(row, j.rowLen, mn, mx);
        fold(lo, hi);
        for (int c = 0; c < j.period; ++c) {
            // Strict comparisons keep the earliest row; firstIndex the earliest column.
            if (wantMin && (out.minY[c] < 0 || double(lo[c]) < out.min[c])) {
                out.min[c] = double(lo[c]);
                out.minY[c] = y;
                out.minX[c] = firstIndex(row, width, j.period, c, lo[c]);
            }
            if (wantMax && (out.maxY[c] < 0 || double(hi[c]) > out.max[c])) {
                out.max[c] = double(hi[c]);
                out.maxY[c] = y;
                out.maxX[c] = firstIndex(row, width, j.period, c, hi[c]);
            }
        }
    }
}

// ---- quality index ---------------------------------------------------------------

// Lanes of the five sums: 64-bit integers for integer images (a square of 16
// bits needs 32), double for float.
template <class S> struct QualLane { using A = std::int64_t; using P = std::uint32_t; };
template <> struct QualLane<Zkr32f> { using A = Zkr64f; using P = Zkr64f; };

template <class S> struct QualLanes {
    typename QualLane<S>::A x[kLanes], y[kLanes], xx[kLanes], yy[kLanes], xy[kLanes];
};

template <class S>
ZKR_NOINLINE void laneQuality(const S* __restrict a, const S* __restrict b, std::ptrdiff_t n, QualLanes<S>& out) {
    using A = typename QualLane<S>::A;
    using P = typename QualLane<S>::P;
    A sx[kLanes] = {}, sy[kLanes] = {}, sxx[kLanes] = {}, syy[kLanes] = {}, sxy[kLanes] = {};
    auto add = [&](int k, S va, S vb) {
        const P pa = P(va), pb = P(vb);
        sx[k] += A(pa);
        sy[k] += A(pb);
        sxx[k] += A(P(pa * pa));
        syy[k] += A(P(pb * pb));
        sxy[k] += A(P(pa * pb));
    };
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= n; i += kLanes)
        for (int k = 0; k < kLanes; ++k) add(k, a[i + k], b[i + k]);
    for (int k = 0; i + k < n; ++k) add(k, a[i + k], b[i + k]);
    for (int k = 0; k < kLanes; ++k) {
        out.x[k] = sx[k], out.y[k] = sy[k], out.xx[k] = sxx[k], out.yy[k] = syy[k], out.xy[k] = sxy[k];
    }
}

template <class S> ZKR_SCALAR void qualityChunk(const RedJob& j, int y0, int y1, ChunkOut& out) {
    for (int c = 0; c < kMaxChannels; ++c) out.sx[c] = out.sy[c] = out.sxx[c] = out.syy[c] = out.sxy[c] = 0.0;
    QualLanes<S> lanes;
    for (int y = y0; y < y1; ++y) {
        laneQuality(rowOf<S>(j.s, j.sStep, y), rowOf<S>(j.s2, j.s2Step, y), j.rowLen, lanes);
        for (int k = 0; k < kLanes; k += j.period) {
            for (int c = 0; c < j.period; ++c) {
                out.sx[c] += double(lanes.x[k + c]);
                out.sy[c] += double(lanes.y[k + c]);
                out.sxx[c] += double(lanes.xx[k + c]);
                out.syy[c] += double(lanes.yy[k + c]);
                out.sxy[c] += double(lanes.xy[k + c]);
            }
        }
    }
}

// ---- the level's kernel table -----------------------------------------------

template <class S> constexpr void fillType(Kernels& ks) {
    auto& f = ks.fn[kComp<S>];
    f[int(Red::Sum)] = &sumChunk<S, false>;
    f[int(Red::SumFast)] = &sumChunk<S, true>;
    f[int(Red::Min)] = &extremesChunk<S, true, false, false>;
    f[int(Red::Max)] = &extremesChunk<S, false, true, false>;
    f[int(Red::MinMax)] = &extremesChunk<S, true, true, false>;
    f[int(Red::MinIndx)] = &extremesChunk<S, true, false, true>;
    f[int(Red::MaxIndx)] = &extremesChunk<S, false, true, true>;
    if constexpr (!std::is_same_v<S, Zkr16s>) f[int(Red::Quality)] = &qualityChunk<S>;
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillType<Zkr8u>(ks);
    fillType<Zkr16u>(ks);
    fillType<Zkr16s>(ks);
    fillType<Zkr32f>(ks);
    return ks;
}

#undef ZKR_SCALAR

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::sum::ZKR_LEVEL_NS
