// Element-wise calls over the scalar components of a row: complex types are pairs of components and
// multi-channel pixels runs of components, so the kernels know only the component type. A call of
// the add and multiplication families is an EltJob: two operands, or an operand and a constant, in
// place or not; AC4 writes through a keep mask that leaves alpha alone. A call of a unary family
// (sqr, exp, ...) is a UnaryJob, run by runUnary over the row kernels of unary_rows.inc.
#pragma once

#include <cstddef>
#include <cstdint>

#include "elem_info.h"
#include "form_args.h"
#include "worker_pool.h"

namespace zkr {

// Operand shapes of a row loop (a, b: sources, d: destination, m: keep mask).
enum class Shape : int {
    Binary,         // d[i] = op(a[i], b[i])
    InPlace,        // d[i] = op(a[i], d[i])
    Scalar,         // d[i] = op(v, b[i])    v = *a
    ScalarInPlace,  // d[i] = op(v, d[i])
    BinaryMasked,   // d[i] = m[i] ? op(a[i], b[i]) : d[i]
    InPlaceMasked,  // d[i] = m[i] ? op(a[i], d[i]) : d[i]
    Count
};

// What a row loop of each shape reads: b, and a as one value.
template <Shape sh> inline constexpr bool kReadsB = sh == Shape::Binary || sh == Shape::Scalar || sh == Shape::BinaryMasked;
template <Shape sh> inline constexpr bool kScalarA = sh == Shape::Scalar || sh == Shape::ScalarInPlace;

// Keep masks of the masked shapes use the unsigned type of the component's size.
template <int N> struct UintOfSize;
template <> struct UintOfSize<1> { using T = std::uint8_t; };
template <> struct UintOfSize<2> { using T = std::uint16_t; };
template <> struct UintOfSize<4> { using T = std::uint32_t; };
template <class S> using MaskOf = typename UintOfSize<int(sizeof(S))>::T;

// Longest repeating pattern (constants of multi-channel pixels, alpha masks),
// in components: a multiple of every pixel period (1, 2, 3, 4, 6, 8 components).
inline constexpr int kPatternMax = 1536;

struct EltJob {
    const void* a = nullptr;   // operand a (scalar shapes: the one value)
    std::ptrdiff_t aStep = 0;  // bytes between rows of a (0: same row for every row)
    const void* b = nullptr;
    std::ptrdiff_t bStep = 0;
    void* d = nullptr;
    std::ptrdiff_t dStep = 0;
    const void* mask = nullptr;  // masked shapes: `chunk` mask components, nonzero = write
    int rowLen = 0;              // components per row
    int chunk = 0;               // length of the repeating a and mask (a multiple of the pixel period)
    bool aPeriodic = false;      // a holds `chunk` components that repeat along the row
    int scale = 0;               // integer scale factor: result * 2^-scale
};

// True when every image the job's shape reads or writes holds its rows without gaps (a scalar or
// repeating a has no rows): its rows can be run as one.
template <Shape sh> [[gnu::always_inline]] inline bool eltGapless(const EltJob& j, std::ptrdiff_t rowBytes) {
    const bool aGapless = kScalarA<sh> || j.aPeriodic || j.aStep == rowBytes;
    const bool bGapless = !kReadsB<sh> || j.bStep == rowBytes;
    return aGapless && bGapless && j.dStep == rowBytes;
}

// The operands read from an element-wise form (readOperands) as the job's a, b and d.
template <class T> void setOperands(EltJob& j, const Operands<T>& o) {
    j.a = o.a, j.aStep = o.aStep;
    j.b = o.b, j.bStep = o.bStep;
    j.d = o.d, j.dStep = o.dStep;
}

// The repeated constant and keep mask of one call; it must outlive the job's run.
template <class S> struct EltPattern {
    alignas(64) S values[kPatternMax];
    alignas(64) MaskOf<S> keep[kPatternMax];
};

// Completes `j` for a call on layout L whose operands are set, and returns its shape. `values` is
// the constant of the C forms (kActive<L> elements) or nullptr: a one-channel real constant is passed
// as its one value, any other as a pattern of whole pixels (complex products need both parts,
// AC4 pixels a zero for alpha). The job is completed in place: copying it whole after setting its
// fields one by one costs stalls on every call.
template <class T, Layout L>
inline Shape prepareElt(EltJob& j, bool inPlace, const T* values, ZkriSize roi,
                        EltPattern<typename ElemInfo<T>::S>& pattern) {
    using S = typename ElemInfo<T>::S;
    constexpr int comps = ElemInfo<T>::comps;
    constexpr int period = Pixel<T, L>::period;
    constexpr bool masked = L == Layout::AC4;
    const bool scalar = values && L == Layout::C1 && comps == 1;

    j.rowLen = roi.width * period;
    if (scalar) {
        j.a = values;
        j.aStep = 0;
        return inPlace ? Shape::ScalarInPlace : Shape::Scalar;
    }
    j.chunk = j.rowLen < kPatternMax ? j.rowLen : kPatternMax;
    if (values) {
        for (int i = 0; i < j.chunk; ++i) {
            const int channel = (i / comps) % kChannels<L>;
            pattern.values[i] = channel < kActive<L> ? componentsOf(values[channel])[i % comps] : S(0);
        }
        j.a = pattern.values;
        j.aStep = 0;
        j.aPeriodic = true;
    }
    if constexpr (masked) {
        for (int i = 0; i < j.chunk; ++i)
            pattern.keep[i] = (i % period) < 3 * comps ? MaskOf<S>(~MaskOf<S>(0)) : MaskOf<S>(0);
        j.mask = pattern.keep;
        return inPlace ? Shape::InPlaceMasked : Shape::BinaryMasked;
    }
    return inPlace ? Shape::InPlace : Shape::Binary;
}

// ---- one operand ------------------------------------------------------------------------------

// A unary call: d[i] = f(s[i]) over every component of a row, or in place d[i] = f(d[i]) (then s is
// d); AC4 leaves every fourth component (alpha) alone.
struct UnaryJob {
    const void* s = nullptr;
    std::ptrdiff_t sStep = 0;
    void* d = nullptr;
    std::ptrdiff_t dStep = 0;
    int rowLen = 0;  // components per row (alpha included)
    int scale = 0;   // integer scale factor: result * 2^-scale
};

// Runs rows [y0, y1) of a unary job; returns the family's flags of what its rows met (a negative
// argument, a zero), 0 when nothing.
using UnaryRowsFn = int (*)(const UnaryJob& job, int y0, int y1);

// The row kernels of a unary family of `Ops` operations: rows[comp][op][alpha][inPlace], null where
// the family has no such function.
template <int Ops> struct UnaryKernels {
    UnaryRowsFn rows[kCompTypes][Ops][2][2];
};

// The entry point of a unary family's form (pSrc -> pDst, or pSrcDst in place) on layout L: reads
// and checks the operands, runs the row kernel of operation `op` of `ks` over row bands and sets
// `met` to the OR of what the rows met. Returns the argument error, else zkrStsNoErr.
template <Layout L, int Ops, class A>
ZkrStatus runUnary(const UnaryKernels<Ops>& ks, int op, const A& a, int& met) {
    using T = FormElem<A>;
    Operands<T> o;
    if (const ZkrStatus s = readOperands<L>(a, o); s != zkrStsNoErr) return s;
    UnaryJob j;
    j.s = o.rhs(), j.sStep = o.rhsStep();
    j.d = o.d, j.dStep = o.dStep;
    j.rowLen = a.roiSize.width * Pixel<T, L>::period;
    j.scale = scaleOf(a);
    const UnaryRowsFn fn = ks.rows[kComp<T>][op][L == Layout::AC4][o.inPlace];
    met = forRowBandsMet(std::int64_t(a.roiSize.width) * a.roiSize.height, a.roiSize.height,
                         [&](int y0, int y1) { return fn(j, y0, y1); });
    return zkrStsNoErr;
}

}  // namespace zkr
