// The exported functions of the separable resamplers (ResizeSqrPixel, SuperSampling, ResizeFilter,
// ResampleRow), defined from the family's tables: each row packs its parameters and hands them to
// one generic entry point, which checks the arguments, builds the taps of each axis from the
// function's mode, factor, shift and ROI, and runs the kernels of the level in force over bands of
// destination rows.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <tuple>
#include <utility>
#include <vector>

#include "checks.h"
#include "resizesqr_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

#define ZKR_TABLE "resizesqr/resizesqr.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "resizesqr/supersampling.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "resizesqr/resizefilter.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "resizesqr/resample.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkr::resizesqr {
namespace {

enum class Op { Sqr, Super, Filter, RowReplicate, RowInside };
enum class Layout { C1, C3, C4, AC4, P3, P4 };

constexpr int channelsOf(Layout l) {
    return l == Layout::C3 ? 3 : (l == Layout::C4 || l == Layout::AC4 ? 4 : 1);
}
constexpr int planesOf(Layout l) { return l == Layout::P3 ? 3 : (l == Layout::P4 ? 4 : 1); }
constexpr Lay kernelLayout(Layout l) {
    return l == Layout::C3 ? Lay::C3 : l == Layout::C4 ? Lay::C4 : l == Layout::AC4 ? Lay::AC4 : Lay::C1;
}

using Taps = std::vector<std::pair<int, double>>;

// The taps of every destination coordinate of one axis, packed for the kernels.
struct Axis {
    AxisMap map;
    std::vector<int> idx;
    std::vector<float> w;

    void pack(const std::vector<Taps>& all) {
        std::size_t taps = 1;
        for (const Taps& t : all) taps = std::max(taps, t.size());
        idx.assign(all.size() * taps, 0);
        w.assign(all.size() * taps, 0.0f);
        for (std::size_t j = 0; j < all.size(); ++j)
            for (std::size_t k = 0; k < taps; ++k) {
                // Padding taps repeat the first index with weight zero, which the kernels skip.
                const auto& [i, wt] = all[j][k < all[j].size() ? k : 0];
                idx[j * taps + k] = i;
                w[j * taps + k] = k < all[j].size() ? float(wt) : 0.0f;
            }
        map = {int(all.size()), int(taps), idx.data(), w.data()};
    }
};

int clampTo(double i, int len) { return int(std::clamp(i, 0.0, double(len - 1))); }

double sinc(double x) {
    if (x == 0.0) return 1.0;
    const double px = 3.14159265358979323846 * x;
    return std::sin(px) / px;
}

// Windowed sincs of radius 3 (Lanczos) and 2 (Hann).
double lanczos(double d) { return std::fabs(d) < 3.0 ? sinc(d) * sinc(d / 3.0) : 0.0; }
double hann(double d) {
    return std::fabs(d) < 2.0 ? sinc(d) * (0.5 + 0.5 * std::cos(3.14159265358979323846 * d / 2.0)) : 0.0;
}

// Catmull-Rom (a = -0.5) at distance d.
double cubic(double d) {
    const double x = std::fabs(d);
    if (x <= 1.0) return (1.5 * x - 2.5) * x * x + 1.0;
    if (x < 2.0) return ((-0.5 * x + 2.5) * x - 4.0) * x + 2.0;
    return 0.0;
}

// Drops the taps whose weight is only rounding (a sinc at a whole distance), so that a sample point
// on a pixel copies it, then scales the weights to sum to one.
void normalise(Taps& t) {
    std::erase_if(t, [](const auto& p) { return std::fabs(p.second) < 1e-12; });
    double sum = 0.0;
    for (const auto& p : t) sum += p.second;
    if (sum != 0.0)
        for (auto& p : t) p.second /= sum;
}

// Interpolating taps at the sample point s (pixel centres at integers, relative to the first of
// `len` source pixels), indices clamped into them.
Taps pointTaps(int mode, double s, int len) {
    Taps t;
    const double f = std::floor(s);
    switch (mode) {
        case ZKRI_RSQ_NN: t.push_back({clampTo(std::floor(s + 0.5), len), 1.0}); break;
        case ZKRI_RSQ_LINEAR:
            t.push_back({clampTo(f, len), 1.0 - (s - f)});
            t.push_back({clampTo(f + 1, len), s - f});
            break;
        case ZKRI_RSQ_CUBIC:
            for (int k = -1; k <= 2; ++k) t.push_back({clampTo(f + k, len), cubic(s - (f + k))});
            break;
        default:  // Lanczos
            for (int k = -2; k <= 3; ++k) t.push_back({clampTo(f + k, len), lanczos(s - (f + k))});
            normalise(t);
            break;
    }
    return t;
}

// Area taps: the source pixels covering [lo, hi) (pixel i covers [i, i + 1)), clipped to [0, len).
Taps areaTaps(double lo, double hi, int len) {
    lo = std::clamp(lo, 0.0, double(len));
    hi = std::clamp(hi, 0.0, double(len));
    Taps t;
    if (hi <= lo) {
        t.push_back({clampTo(std::floor(lo), len), 1.0});
        return t;
    }
    for (int i = int(std::floor(lo)); i < len && i < hi; ++i) {
        const double cover = std::min(hi, i + 1.0) - std::max(lo, double(i));
        if (cover > 0.0) t.push_back({i, cover / (hi - lo)});
    }
    return t;
}

// Filter taps around s for a factor: the kernel widened by 1 / factor when reducing; beyond the
// `len` pixels either repeated (clamp) or dropped; weights summing to one.
Taps filterTaps(double (*kernel)(double), double radius, double s, double factor, int len, bool clamp) {
    const double scale = std::min(factor, 1.0), reach = radius / scale;
    Taps t;
    for (int i = int(std::ceil(s - reach)); i <= int(std::floor(s + reach)); ++i) {
        const double wt = kernel((s - i) * scale);
        if (wt == 0.0) continue;
        if (i < 0 || i >= len) {
            if (!clamp) continue;
            t.push_back({clampTo(i, len), wt});
        } else {
            t.push_back({i, wt});
        }
    }
    if (t.empty()) t.push_back({clampTo(std::floor(s + 0.5), len), 1.0});
    normalise(t);
    return t;
}

bool validFactor(double f) { return std::isfinite(f) && f > 0.0; }

// The destination coordinates [j0, j1) of one axis of ResizeSqrPixel that sample inside the ROI
// [r0, r0 + len): those whose point (j + 0.5 - shift) / factor lies in it, a contiguous range.
std::pair<int, int> writtenRange(int d0, int dLen, double factor, double shift, int r0, int len) {
    int j0 = d0 + dLen, j1 = d0;
    for (int j = d0; j < d0 + dLen; ++j) {
        const double c = (j + 0.5 - shift) / factor;
        if (c >= r0 && c < double(r0) + len) {
            j0 = std::min(j0, j);
            j1 = j + 1;
        }
    }
    return {j0, j1};
}

template <class T> void runPlanes(Job job, int planes, const unsigned char* const* src, unsigned char* const* dst,
                                  Lay lay, int width, int height) {
    const BandFn fn = kernels().band[int(ETypeOf<T>::id)][int(lay)];
    for (int p = 0; p < planes; ++p) {
        job.src = src[p];
        job.dst = dst[p];
        forRowBands(std::int64_t(width) * height, height, [&](int y0, int y1) {
            std::vector<float> row(std::size_t(job.srcLen));
            fn(job, row.data(), y0, y1);
        });
    }
}

template <Op O, Layout L, class T, class A> ZkrStatus run(const A& a) {
    constexpr int planes = planesOf(L);
    constexpr int ch = channelsOf(L);
    constexpr int px = int(sizeof(T)) * ch;

    if (!a.pSrc || !a.pDst) return zkrStsNullPtrErr;
    if constexpr (planes > 1)
        for (int p = 0; p < planes; ++p)
            if (!a.pSrc[p] || !a.pDst[p]) return zkrStsNullPtrErr;

    // The source pixels sampled (x0, y0, w, h in the image at pSrc) and the destination rectangle.
    int rx = 0, ry = 0, rw = 0, rh = 0;
    ZkriRect dr{0, 0, 0, 0};
    if constexpr (O == Op::Sqr) {
        if (checkSize(a.srcSize) != zkrStsNoErr || a.srcRoi.width <= 0 || a.srcRoi.height <= 0 ||
            a.dstRoi.width <= 0 || a.dstRoi.height <= 0 || a.dstRoi.x < 0 || a.dstRoi.y < 0)
            return zkrStsSizeErr;
        rx = std::max(a.srcRoi.x, 0);
        ry = std::max(a.srcRoi.y, 0);
        rw = int(std::min<std::int64_t>(std::int64_t(a.srcRoi.x) + a.srcRoi.width, a.srcSize.width)) - rx;
        rh = int(std::min<std::int64_t>(std::int64_t(a.srcRoi.y) + a.srcRoi.height, a.srcSize.height)) - ry;
        if (rw <= 0 || rh <= 0) return zkrStsSizeErr;
        dr = a.dstRoi;
        if (checkSteps({a.srcStep}, std::int64_t(a.srcSize.width) * px, int(sizeof(T))) != zkrStsNoErr ||
            checkSteps({a.dstStep}, (std::int64_t(dr.x) + dr.width) * px, int(sizeof(T))) != zkrStsNoErr)
            return zkrStsStepErr;
        if (!validFactor(a.xFactor) || !validFactor(a.yFactor)) return zkrStsResizeFactorErr;
        const int m = a.interpolation;
        if (m != ZKRI_RSQ_NN && m != ZKRI_RSQ_LINEAR && m != ZKRI_RSQ_CUBIC && m != ZKRI_RSQ_SUPER && m != ZKRI_RSQ_LANCZOS)
            return zkrStsInterpolationErr;
        if (!std::isfinite(a.xShift) || !std::isfinite(a.yShift)) return zkrStsBadArgErr;
    } else {
        if (checkSize(a.srcRoiSize) != zkrStsNoErr || checkSize(a.dstRoiSize) != zkrStsNoErr) return zkrStsSizeErr;
        if constexpr (O == Op::RowReplicate || O == Op::RowInside)
            if (a.srcRoiSize.height != a.dstRoiSize.height) return zkrStsSizeErr;
        rw = a.srcRoiSize.width;
        rh = a.srcRoiSize.height;
        dr = {0, 0, a.dstRoiSize.width, a.dstRoiSize.height};
        if (checkSteps({a.srcStep}, std::int64_t(rw) * px, int(sizeof(T))) != zkrStsNoErr ||
            checkSteps({a.dstStep}, std::int64_t(dr.width) * px, int(sizeof(T))) != zkrStsNoErr)
            return zkrStsStepErr;
        if constexpr (O == Op::Super)
            if (dr.width > rw || dr.height > rh) return zkrStsResizeFactorErr;
        if constexpr (O == Op::Filter)
            if (a.filter != ZKRI_RESIZE_FILTER_HANN && a.filter != ZKRI_RESIZE_FILTER_LANCZOS) return zkrStsBadArgErr;
    }

    // The taps of each axis, over the destination coordinates written.
    int jx0 = 0, jx1 = dr.width, jy0 = 0, jy1 = dr.height;
    std::vector<Taps> tx, ty;
    if constexpr (O == Op::Sqr) {
        std::tie(jx0, jx1) = writtenRange(dr.x, dr.width, a.xFactor, a.xShift, rx, rw);
        std::tie(jy0, jy1) = writtenRange(dr.y, dr.height, a.yFactor, a.yShift, ry, rh);
        if (jx1 <= jx0 || jy1 <= jy0) return zkrStsNoErr;  // nothing of the ROI lands in the rectangle
        const auto taps = [&](int j, double f, double shift, int r0, int len) {
            if (a.interpolation == ZKRI_RSQ_SUPER) return areaTaps((j - shift) / f - r0, (j + 1 - shift) / f - r0, len);
            return pointTaps(a.interpolation, (j + 0.5 - shift) / f - 0.5 - r0, len);
        };
        for (int j = jx0; j < jx1; ++j) tx.push_back(taps(j, a.xFactor, a.xShift, rx, rw));
        for (int j = jy0; j < jy1; ++j) ty.push_back(taps(j, a.yFactor, a.yShift, ry, rh));
        jx0 -= dr.x, jx1 -= dr.x, jy0 -= dr.y, jy1 -= dr.y;
    } else {
        const double fx = double(dr.width) / rw, fy = double(dr.height) / rh;
        for (int j = 0; j < dr.width; ++j) {
            if constexpr (O == Op::Super) tx.push_back(areaTaps(j / fx, (j + 1) / fx, rw));
            else if constexpr (O == Op::Filter)
                tx.push_back(a.filter == ZKRI_RESIZE_FILTER_HANN ? filterTaps(hann, 2.0, (j + 0.5) / fx - 0.5, fx, rw, true)
                                                                 : filterTaps(lanczos, 3.0, (j + 0.5) / fx - 0.5, fx, rw, true));
            else tx.push_back(filterTaps(lanczos, 3.0, (j + 0.5) / fx - 0.5, fx, rw, O == Op::RowReplicate));
        }
        for (int j = 0; j < dr.height; ++j) {
            if constexpr (O == Op::Super) ty.push_back(areaTaps(j / fy, (j + 1) / fy, rh));
            else if constexpr (O == Op::Filter)
                ty.push_back(a.filter == ZKRI_RESIZE_FILTER_HANN ? filterTaps(hann, 2.0, (j + 0.5) / fy - 0.5, fy, rh, true)
                                                                 : filterTaps(lanczos, 3.0, (j + 0.5) / fy - 0.5, fy, rh, true));
            else ty.push_back({{j, 1.0}});  // rows map to themselves
        }
    }
    Axis ax, ay;
    ax.pack(tx);
    ay.pack(ty);

    Job job;
    job.srcStep = a.srcStep;
    job.dstStep = a.dstStep;
    job.srcLen = rw * ch;
    job.x = &ax.map;
    job.y = &ay.map;
    const unsigned char* src[4] = {};
    unsigned char* dst[4] = {};
    for (int p = 0; p < planes; ++p) {
        const void* s;
        void* d;
        if constexpr (planes > 1) {
            s = a.pSrc[p];
            d = a.pDst[p];
        } else {
            s = a.pSrc;
            d = a.pDst;
        }
        src[p] = static_cast<const unsigned char*>(s) + std::int64_t(ry) * a.srcStep + std::int64_t(rx) * px;
        dst[p] = static_cast<unsigned char*>(d) + (std::int64_t(dr.y) + jy0) * a.dstStep + (std::int64_t(dr.x) + jx0) * px;
    }
    runPlanes<T>(job, planes, src, dst, kernelLayout(L), jx1 - jx0, jy1 - jy0);
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::resizesqr

#define ZKR_FN(name, form, T, L, op)                                                               \
    ZKR_DEFINE(name, form, T, L) {                                                                 \
        ZKR_PACK(args, form, T, L);                                                                \
        return zkr::resizesqr::run<zkr::resizesqr::Op::op, zkr::resizesqr::Layout::L, T>(args);    \
    }
#include "resizesqr/resizesqr.tbl"
#include "resizesqr/supersampling.tbl"
#include "resizesqr/resizefilter.tbl"
#include "resizesqr/resample.tbl"
#undef ZKR_FN
