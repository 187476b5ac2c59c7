// The exported functions of the Resize family, defined from its table: each
// row packs its parameters and hands them to one generic entry point, which
// checks the arguments, builds the sampling map of each axis from the mode,
// factor and ROI, and runs the kernels of the level in force over bands of
// destination rows.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

#include "checks.h"
#include "resize_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

// The family's declarations and its interpolation modes.
#define ZKR_TABLE "resize/resize.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkr::resize {
namespace {

enum class Lay { C1, C3, C4, AC4, P3, YUV422 };

constexpr int channelsOf(Lay l) {
    switch (l) {
        case Lay::C3: return 3;
        case Lay::C4:
        case Lay::AC4: return 4;
        case Lay::YUV422: return 2;
        default: return 1;
    }
}

// The sampling map of one axis and the arrays it points into.
struct Axis {
    AxisMap map;
    std::vector<int> idx;
    std::vector<float> w;

    void setTaps(int count, int taps) {
        map.count = count;
        map.taps = taps;
        idx.assign(std::size_t(count) * taps, 0);
        w.assign(std::size_t(count) * taps, 0.0f);
        map.idx = idx.data();
        map.w = w.data();
    }
};

int clampIndex(double v, int len) { return int(std::clamp(v, 0.0, double(len - 1))); }

// Catmull-Rom weights of the taps at -1, 0, 1, 2 for a sample t in [0, 1).
void cubicWeights(double t, double w[4]) {
    w[0] = ((-0.5 * t + 1.0) * t - 0.5) * t;
    w[1] = (1.5 * t - 2.5) * t * t + 1.0;
    w[2] = ((-1.5 * t + 2.0) * t + 0.5) * t;
    w[3] = (0.5 * t - 0.5) * t * t;
}

// Destination coordinates 0..count-1 sampling `len` source coordinates scaled by `factor`; the
// base tap's weight (never zero) is stored with the others for the kernels' plain weighted sums.
void buildAxisTaps(Axis& a, int count, int len, double factor, int mode) {
    switch (mode) {
        case ZKRI_INTER_NN:
            a.setTaps(count, 1);
            for (int j = 0; j < count; ++j) {
                a.idx[j] = clampIndex(std::floor((j + 0.5) / factor), len);
                a.w[j] = 1.0f;
            }
            return;
        case ZKRI_INTER_LINEAR:
            a.setTaps(count, 2);
            for (int j = 0; j < count; ++j) {
                const double s = (j + 0.5) / factor - 0.5, f = std::floor(s);
                a.idx[2 * j] = clampIndex(f, len);
                a.idx[2 * j + 1] = clampIndex(f + 1, len);
                a.w[2 * j] = float(1.0 - (s - f));
                a.w[2 * j + 1] = float(s - f);
            }
            return;
        case ZKRI_INTER_CUBIC:
            a.setTaps(count, 4);
            for (int j = 0; j < count; ++j) {
                const double s = (j + 0.5) / factor - 0.5, f = std::floor(s);
                double w[4];
                cubicWeights(s - f, w);
                // The base tap is the one at 0 (weight w[1]); the others follow.
                const int order[4] = {0, -1, 1, 2};
                const double wOf[4] = {w[1], w[0], w[2], w[3]};
                for (int k = 0; k < 4; ++k) {
                    a.idx[4 * j + k] = clampIndex(f + order[k], len);
                    a.w[4 * j + k] = float(wOf[k]);
                }
            }
            return;
        default: {  // ZKRI_INTER_SUPER: coverage of [j, j + 1) / factor, clipped to the ROI
            const int taps = int(std::min(std::ceil(1.0 / factor) + 1.0, len + 1.0));
            a.setTaps(count, taps);
            for (int j = 0; j < count; ++j) {
                const double lo = std::min(j / factor, double(len)), hi = std::min((j + 1) / factor, double(len));
                int* idx = &a.idx[std::size_t(j) * taps];
                float* w = &a.w[std::size_t(j) * taps];
                if (hi - lo <= 0.0) {  // beyond the ROI: its last pixel
                    std::fill(idx, idx + taps, len - 1);
                    w[0] = 1.0f;
                    continue;
                }
                const int first = std::min(int(std::floor(lo)), len - 1);
                for (int k = 0; k < taps; ++k) {
                    const int i = first + k;
                    const double cover = std::min(hi, i + 1.0) - std::max(lo, double(i));
                    idx[k] = std::min(i, len - 1);
                    w[k] = cover > 0.0 ? float(cover / (hi - lo)) : 0.0f;
                }
            }
            return;
        }
    }
}

// An axis whose taps beyond the base have weight zero for every destination coordinate (factor
// one in any mode, supersampling up) samples one source pixel each: it becomes a one-tap axis, so
// the kernels copy those values instead of weighting them (NaN, infinities and -0 included).
void dropZeroTaps(Axis& a) {
    const int taps = a.map.taps;
    if (taps == 1) return;
    for (int j = 0; j < a.map.count; ++j)
        for (int k = 1; k < taps; ++k)
            if (a.w[std::size_t(j) * taps + k] != 0.0f) return;
    std::vector<int> idx(std::size_t(a.map.count));
    for (int j = 0; j < a.map.count; ++j) idx[std::size_t(j)] = a.idx[std::size_t(j) * taps];
    a.setTaps(a.map.count, 1);
    a.idx = std::move(idx);
    a.map.idx = a.idx.data();
    std::fill(a.w.begin(), a.w.end(), 1.0f);
}

void buildAxis(Axis& a, int count, int len, double factor, int mode) {
    buildAxisTaps(a, count, len, factor, mode);
    dropZeroTaps(a);
}

bool knownMode(int mode) {
    return mode == ZKRI_INTER_NN || mode == ZKRI_INTER_LINEAR || mode == ZKRI_INTER_CUBIC || mode == ZKRI_INTER_SUPER;
}

bool validFactor(double f) { return std::isfinite(f) && f > 0.0; }

template <class T> ZkrStatus runPlane(const Job& job, int width, int height) {
    const BandFn fn = kernels().band[int(ETypeOf<T>::id)];
    forRowBands(std::int64_t(width) * height, height, [&](int y0, int y1) {
        std::vector<float> row(std::size_t(job.nearest ? 1 : job.srcLen));
        fn(job, row.data(), y0, y1);
    });
    return zkrStsNoErr;
}

template <Lay L, class T, class A> ZkrStatus run(const A& a) {
    constexpr bool planar = L == Lay::P3;
    constexpr int ch = channelsOf(L);
    constexpr int px = int(sizeof(T)) * ch;

    if (!a.pSrc || !a.pDst) return zkrStsNullPtrErr;
    if constexpr (planar)
        for (int p = 0; p < 3; ++p)
            if (!a.pSrc[p] || !a.pDst[p]) return zkrStsNullPtrErr;
    if (checkSize(a.srcSize) != zkrStsNoErr || checkSize(a.dstRoiSize) != zkrStsNoErr ||
        a.srcRoi.width <= 0 || a.srcRoi.height <= 0)
        return zkrStsSizeErr;
    // The part of the ROI inside the image.
    int rx0 = std::max(a.srcRoi.x, 0), ry0 = std::max(a.srcRoi.y, 0);
    int rx1 = int(std::min<std::int64_t>(std::int64_t(a.srcRoi.x) + a.srcRoi.width, a.srcSize.width));
    const int ry1 = int(std::min<std::int64_t>(std::int64_t(a.srcRoi.y) + a.srcRoi.height, a.srcSize.height));
    int dstWidth = a.dstRoiSize.width;
    bool odd = false;
    if constexpr (L == Lay::YUV422) {  // whole Y0 U Y1 V pairs only
        odd = (rx0 & 1) || ((rx1 - rx0) & 1) || (dstWidth & 1);
        rx0 += rx0 & 1;
        rx1 = rx0 + std::max(rx1 - rx0, 0) / 2 * 2;
        dstWidth &= ~1;
        if (dstWidth <= 0) return zkrStsSizeErr;
    }
    if (rx1 <= rx0 || ry1 <= ry0) return zkrStsSizeErr;
    if (checkSteps({a.srcStep}, std::int64_t(a.srcSize.width) * px, int(sizeof(T))) != zkrStsNoErr ||
        checkSteps({a.dstStep}, std::int64_t(a.dstRoiSize.width) * px, int(sizeof(T))) != zkrStsNoErr)
        return zkrStsStepErr;
    if (!validFactor(a.xFactor) || !validFactor(a.yFactor)) return zkrStsResizeFactorErr;
    if (!knownMode(a.interpolation)) return zkrStsInterpolationErr;

    const int roiW = rx1 - rx0, roiH = ry1 - ry0, dstH = a.dstRoiSize.height;
    Axis xs, xc, ys;
    buildAxis(ys, dstH, roiH, a.yFactor, a.interpolation);
    Job job;
    job.srcStep = a.srcStep;
    job.dstStep = a.dstStep;
    job.srcLen = roiW * (planar ? 1 : ch);
    job.y = &ys.map;
    job.nearest = a.interpolation == ZKRI_INTER_NN;
    if constexpr (L == Lay::YUV422) {
        buildAxis(xs, dstWidth, roiW, a.xFactor, a.interpolation);
        buildAxis(xc, dstWidth / 2, roiW / 2, a.xFactor, a.interpolation);
        job.lanes[0] = {&xs.map, 2, 0};
        job.lanes[1] = {&xc.map, 4, 1};
        job.lanes[2] = {&xc.map, 4, 3};
        job.numLanes = 3;
    } else {
        buildAxis(xs, dstWidth, roiW, a.xFactor, a.interpolation);
        const int active = planar ? 1 : (L == Lay::AC4 ? 3 : ch);
        for (int c = 0; c < active; ++c) job.lanes[c] = {&xs.map, planar ? 1 : ch, c};
        job.numLanes = active;
    }
    const auto at = [&](const T* base) {
        return reinterpret_cast<const unsigned char*>(base) + std::int64_t(ry0) * a.srcStep +
               std::int64_t(rx0) * (planar ? int(sizeof(T)) : px);
    };
    if constexpr (planar) {
        for (int p = 0; p < 3; ++p) {
            job.src = at(a.pSrc[p]);
            job.dst = a.pDst[p];
            runPlane<T>(job, dstWidth, dstH);
        }
    } else {
        job.src = at(a.pSrc);
        job.dst = a.pDst;
        runPlane<T>(job, dstWidth, dstH);
    }
    return odd ? zkrStsDoubleSize : zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::resize

#define ZKR_FN(name, form, T, L)                                  \
    ZKR_DEFINE(name, form, T) {                                   \
        ZKR_PACK(args, form, T);                                  \
        return zkr::resize::run<zkr::resize::Lay::L, T>(args);    \
    }
#include "resize/resize.tbl"
#undef ZKR_FN
