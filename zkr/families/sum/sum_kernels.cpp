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
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::sum::ZKR_LEVEL_NS {

#define ZKR_NOINLINE __attribute__((noinline))
// The per-row folds over a handful of channels stay scalar: vectorised, they
// run full-width float operations on lanes past the channels (garbage from
// the stack), which raise floating-point exception flags for nothing.
#define ZKR_SCALAR __attribute__((optimize("no-tree-vectorize")))

template <class S> inline constexpr bool kFloat = std::is_floating_point_v<S>;

template <class S> inline const S* rowOf(const void* base, std::ptrdiff_t step, int y) {
    return reinterpret_cast<const S*>(static_cast<const char*>(base) + step * y);
}

// Integer lanes take at most kSegment components per lane before they are
// folded: 32768 values of 16 bits fit a 32-bit lane.
inline constexpr std::ptrdiff_t kSegment = std::ptrdiff_t(kLanes) * 32768;

// ---- sums ---------------------------------------------------------------------

// Lane type of a sum: 32-bit integers for integer images (exact within a
// segment), float for fast float sums, double for accurate ones.
template <class S, bool fast> struct SumLane { using A = std::conditional_t<std::is_signed_v<S>, std::int32_t, std::uint32_t>; };
template <> struct SumLane<Zkr32f, true> { using A = Zkr32f; };
template <> struct SumLane<Zkr32f, false> { using A = Zkr64f; };

template <class S, class A> ZKR_NOINLINE void laneSum(const S* __restrict s, std::ptrdiff_t n, A* __restrict out) {
    A acc[kLanes] = {};
    std::ptrdiff_t i = 0;
    for (; i + kLanes <= n; i += kLanes)
        for (int k = 0; k < kLanes; ++k) acc[k] += A(s[i + k]);
    for (int k = 0; i + k < n; ++k) acc[k] += A(s[i + k]);
    for (int k = 0; k < kLanes; ++k) out[k] = acc[k];
}

template <class S, bool fast> ZKR_SCALAR void sumChunk(const RedJob& j, int y0, int y1, ChunkOut& out) {
    using A = typename SumLane<S, fast>::A;
    for (double& v : out.sum) v = 0.0;
    // Float lanes run the whole row; integer lanes a segment at a time.
    const std::ptrdiff_t seg = kFloat<S> ? std::ptrdiff_t(j.rowLen) : kSegment;
    A lanes[kLanes];
    for (int y = y0; y < y1; ++y) {
        const S* row = rowOf<S>(j.s, j.sStep, y);
        for (std::ptrdiff_t x = 0; x < j.rowLen; x += seg) {
            const std::ptrdiff_t n = seg < j.rowLen - x ? seg : j.rowLen - x;
            laneSum(row + x, n, lanes);
            // x is a multiple of kLanes, so lane k still holds channel k % period.
            for (int k = 0; k < kLanes; k += j.period)
                for (int c = 0; c < j.period; ++c) out.sum[c] += double(lanes[k + c]);
        }
    }
}

// ---- extremes -----------------------------------------------------------------

template <class S> struct Limits {
    static constexpr S lowest = kFloat<S> ? -std::numeric_limits<S>::infinity() : std::numeric_limits<S>::lowest();
    static constexpr S highest = kFloat<S> ? std::numeric_limits<S>::infinity() : std::numeric_limits<S>::max();
};

template <class S, bool wantMin, bool wantMax>
ZKR_NOINLINE void laneMinMax(const S* __restrict s, std::ptrdiff_t n, S* __restrict mn, S* __restrict mx) {
    S lo[kLanes], hi[kLanes];
    for (int k = 0; k < kLanes; ++k) lo[k] = Limits<S>::highest, hi[k] = Limits<S>::lowest;
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

template <class S, bool wantMin, bool wantMax, bool index>
ZKR_SCALAR void extremesChunk(const RedJob& j, int y0, int y1, ChunkOut& out) {
    const int width = j.rowLen / j.period;
    S mn[kLanes], mx[kLanes];
    for (int c = 0; c < kMaxChannels; ++c) {
        out.min[c] = double(Limits<S>::highest), out.max[c] = double(Limits<S>::lowest);
        out.minX[c] = out.minY[c] = out.maxX[c] = out.maxY[c] = -1;
    }
    for (int y = y0; y < y1; ++y) {
        const S* row = rowOf<S>(j.s, j.sStep, y);
        S rowMin[kMaxChannels], rowMax[kMaxChannels];
        for (int c = 0; c < kMaxChannels; ++c) rowMin[c] = Limits<S>::highest, rowMax[c] = Limits<S>::lowest;
        laneMinMax<S, wantMin, wantMax>(row, j.rowLen, mn, mx);
        for (int k = 0; k < kLanes; k += j.period) {
            for (int c = 0; c < j.period; ++c) {
                rowMin[c] = mn[k + c] < rowMin[c] ? mn[k + c] : rowMin[c];
                rowMax[c] = mx[k + c] > rowMax[c] ? mx[k + c] : rowMax[c];
            }
        }
        for (int c = 0; c < j.period; ++c) {
            // Strict comparisons keep the earliest row; firstIndex the earliest column.
            if (wantMin && (out.minY[c] < 0 || double(rowMin[c]) < out.min[c])) {
                out.min[c] = double(rowMin[c]);
                out.minY[c] = y;
                if constexpr (index) out.minX[c] = firstIndex(row, width, j.period, c, rowMin[c]);
            }
            if (wantMax && (out.maxY[c] < 0 || double(rowMax[c]) > out.max[c])) {
                out.max[c] = double(rowMax[c]);
                out.maxY[c] = y;
                if constexpr (index) out.maxX[c] = firstIndex(row, width, j.period, c, rowMax[c]);
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
    auto& f = ks.fn[int(ComponentType<S>::id)];
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

#undef ZKR_NOINLINE
#undef ZKR_SCALAR

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::sum::ZKR_LEVEL_NS
