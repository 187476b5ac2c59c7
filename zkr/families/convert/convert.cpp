// The exported functions of the Convert family, defined from its two tables
// (cnvrti.tbl: exact widenings; scale.tbl: rounding conversions and linear
// scalings): each row packs its parameters and hands them to one generic
// entry point, which checks the arguments, works out the constants of the
// conversion (shifts and rounding biases, thresholds, factors), and runs the
// kernel of the level in force over row bands.
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "checks.h"
#include "convert_kernels.h"
#include "form_args.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

// The declarations and the rounding modes.
#define ZKR_TABLE "convert/cnvrti.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "convert/scale.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkr::convert {
namespace {

bool knownMode(int m) { return m >= zkrRndZero && m <= zkrRndFinancial; }

// Integer scaling of a source of S: x * 2^-sf, rounded by mode.
template <class S, class D> RowsFn integerJob(CvtJob& j, int sf, int mode, bool alpha) {
    const Kernels& ks = kernels();
    // Shifts beyond these give the same results as these (every value of S
    // scales to 0, or saturates), and keep the arithmetic exact.
    constexpr int maxShift = int(sizeof(S)) * 8 + 1, maxUp = 17;
    if (sf > 0) {
        const int s = sf > maxShift ? maxShift : sf;
        const std::int64_t one = std::int64_t(1) << s, half = one >> 1;
        j.shift = s;
        switch (mode) {
            case zkrRndZero: j.bias = 0, j.negBias = one - 1, j.oddMask = 0; break;
            case zkrRndFinancial: j.bias = half, j.negBias = -1, j.oddMask = 0; break;
            default: j.bias = half - 1, j.negBias = 0, j.oddMask = 1; break;
        }
        return ks.intDown[kComp<S>][kComp<D>][alpha];
    }
    const int k = sf < -maxUp ? maxUp : -sf;
    const std::int64_t lo = std::numeric_limits<D>::min(), hi = std::numeric_limits<D>::max();
    j.mul = std::int64_t(1) << k;
    j.hiT = hi >> k;
    j.loT = -((-lo) >> k);
    return ks.intUp[kComp<S>][kComp<D>][alpha];
}

template <Layout L, class A> ZkrStatus run(const A& a) {
    using S = std::remove_cv_t<std::remove_pointer_t<decltype(a.pSrc)>>;
    using D = std::remove_pointer_t<decltype(a.pDst)>;
    constexpr int ch = kChannels<L>;
    constexpr bool alpha = L == Layout::AC4;
    if (const ZkrStatus s = checkPointers({a.pSrc, a.pDst}); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(a.roiSize); s != zkrStsNoErr) return s;
    const std::int64_t width = a.roiSize.width;
    if (const ZkrStatus s = checkSteps({a.srcStep}, width * ch * std::int64_t(sizeof(S)), int(sizeof(S)));
        s != zkrStsNoErr)
        return s;
    if (const ZkrStatus s = checkSteps({a.dstStep}, width * ch * std::int64_t(sizeof(D)), int(sizeof(D)));
        s != zkrStsNoErr)
        return s;

    CvtJob j;
    j.s = a.pSrc, j.sStep = a.srcStep;
    j.d = a.pDst, j.dStep = a.dstStep;
    j.rowLen = a.roiSize.width * ch;
    const Kernels& ks = kernels();
    RowsFn fn = nullptr;
    if constexpr (requires { a.vMin; }) {
        const float vMin = a.vMin, vMax = a.vMax;
        // The width of the range must be a float, and so must the factor between the ranges.
        if (!std::isfinite(vMin) || !std::isfinite(vMax) || !(vMin < vMax) ||
            double(vMax) - double(vMin) > double(std::numeric_limits<float>::max()))
            return zkrStsRangeErr;
        if constexpr (std::is_same_v<S, Zkr32f>) {
            const double tmin = std::numeric_limits<D>::min(), tmax = std::numeric_limits<D>::max();
            j.vMin = vMin, j.vMax = vMax;
            j.tmin = float(tmin);
            j.factor = float((tmax - tmin) / (double(vMax) - double(vMin)));
            if (!std::isfinite(j.factor)) return zkrStsRangeErr;
            fn = ks.mapFromFloat[kComp<D>][alpha];
        } else {
            const double tmin = std::numeric_limits<S>::min(), tmax = std::numeric_limits<S>::max();
            j.offset = vMin;
            j.tmin = float(tmin);
            j.factor = float((double(vMax) - double(vMin)) / (tmax - tmin));
            fn = ks.mapToFloat[kComp<S>][alpha];
        }
    } else if constexpr (requires { a.roundMode; }) {
        const int mode = int(a.roundMode);
        if (!knownMode(mode)) return zkrStsBadArgErr;
        const int sf = scaleOf(a);
        if constexpr (std::is_same_v<S, Zkr32f>) {
            const int e = sf > 126 ? 126 : (sf < -126 ? -126 : sf);
            j.fmul = std::ldexp(1.0f, -e);
            fn = ks.fromFloat[kComp<D>][mode][alpha];
        } else {
            fn = integerJob<S, D>(j, sf, mode, alpha);
        }
    } else {
        fn = ks.exact[kComp<S>][kComp<D>][alpha];
    }
    forRowBands(width * a.roiSize.height, a.roiSize.height, [&](int y0, int y1) { fn(j, y0, y1); });
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::convert

#define ZKR_FN(name, form, Ts, Td, L)                                  \
    ZKR_DEFINE(name, form, Ts, Td) {                                   \
        ZKR_PACK(args, form, Ts, Td);                                  \
        return zkr::convert::run<zkr::Layout::L>(args);                \
    }
#include "convert/cnvrti.tbl"
#include "convert/scale.tbl"
#undef ZKR_FN
