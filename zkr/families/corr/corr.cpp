// The exported functions of the Corr family, defined from its two tables: every row packs its
// parameters and hands them to one generic entry point, which checks the arguments (pointers,
// sizes, steps, then the shape's size rule), prepares the template in double per channel and
// runs the kernel of the level in force over row bands of the destination.
#include <atomic>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>
#include <type_traits>
#include <vector>

#include "checks.h"
#include "fft_core.h"
#include "corr_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::corr {
namespace {

enum class Shape { Full, Valid, Same };

struct Image {
    const void* data;
    int step;
    ZkriSize size;
};

// The template's values per active channel in double (turned by half a turn for a convolution),
// less their mean for NormLevel, and each channel's energy.
template <class T>
bool prepareTemplate(const Image& t, int channels, int active, bool turn, Measure m, std::vector<double>& values,
                     std::vector<double>& energy) {
    const int w = t.size.width, h = t.size.height;
    const std::size_t area = std::size_t(w) * std::size_t(h);
    try {
        values.assign(area * std::size_t(active), 0.0);
        energy.assign(std::size_t(active), 0.0);
    } catch (const std::bad_alloc&) {
        return false;
    }
    for (int c = 0; c < active; ++c) {
        double* v = values.data() + std::size_t(c) * area;
        for (int y = 0; y < h; ++y) {
            const T* row = reinterpret_cast<const T*>(static_cast<const char*>(t.data) + std::ptrdiff_t(t.step) * y);
            for (int x = 0; x < w; ++x) {
                const std::size_t k = turn ? std::size_t(h - 1 - y) * w + std::size_t(w - 1 - x) : std::size_t(y) * w + x;
                v[k] = double(row[std::ptrdiff_t(x) * channels + c]);
            }
        }
        double squares = 0.0;
        for (std::size_t k = 0; k < area; ++k) squares += v[k] * v[k];
        if (m == Measure::NormLevel) {
            double sum = 0.0;
            for (std::size_t k = 0; k < area; ++k) sum += v[k];
            const double mean = sum / double(area);
            double spread = 0.0;
            for (std::size_t k = 0; k < area; ++k) {
                v[k] -= mean;
                spread += v[k] * v[k];
            }
            // A flat template (up to rounding) correlates with nothing.
            energy[std::size_t(c)] = spread <= squares * kFlatSpread ? 0.0 : spread;
        } else {
            energy[std::size_t(c)] = squares;
        }
    }
    return true;
}

// ---- the frequency domain ----------------------------------------------------------------

// The smallest length >= n whose prime factors are 2, 3, 5 and 7: the fast lengths of the FFT.
int fastLength(int n) {
    for (int m = n;; ++m) {
        int r = m;
        for (int p : {2, 3, 5, 7})
            while (r % p == 0) r /= p;
        if (r == 1) return m;
    }
}

// Cost of the direct sums against the transforms, per channel: outW * outH * w * h multiply-adds
// against three two-dimensional transforms of NX x NY points (rows, then columns, each a
// one-dimensional transform). kTransformCost is the clocks of one point of one transform per log2 of
// its length, relative to one multiply-add of the direct sums, measured on this family's kernels
// (docs/families/corr.md); templates below kMinFrequencyArea always go direct.
inline constexpr double kTransformCost = 8.0;
inline constexpr double kMinFrequencyArea = 64;

bool preferFrequency(const CorrJob& j, int nx, int ny) {
    const double area = double(j.tw) * double(j.th);
    if (area < kMinFrequencyArea) return false;
    const double direct = double(j.outW) * double(j.outH) * area;
    const double points = double(nx) * double(ny);
    const double transform = 3.0 * kTransformCost * points * std::log2(points);
    return transform < direct;
}

// Rows [r0, r1) of an nx-wide block, forward or inverse, in place.
void transformRows(const FftPlan<double>& plan, double* re, double* im, int nx, int r0, int r1, bool inverse,
                   std::vector<double>& work) {
    for (int r = r0; r < r1; ++r) {
        double* a = re + std::size_t(r) * std::size_t(nx);
        double* b = im + std::size_t(r) * std::size_t(nx);
        if (inverse) plan.inverse(a, b, work.data());
        else plan.forward(a, b, work.data());
    }
}

// The two-dimensional transform of an nx x ny block over row bands, then column bands.
bool transform2d(const FftPlan<double>& rows, const FftPlan<double>& cols, double* re, double* im, int nx, int ny,
                 bool inverse) {
    std::atomic<bool> ok{true};
    forRowBands(std::int64_t(nx) * ny, ny, [&](int r0, int r1) {
        try {
            std::vector<double> work(rows.workSize());
            transformRows(rows, re, im, nx, r0, r1, inverse, work);
        } catch (const std::bad_alloc&) {
            ok.store(false, std::memory_order_relaxed);
        }
    });
    forRowBands(std::int64_t(nx) * ny, nx, [&](int c0, int c1) {
        try {
            std::vector<double> work(cols.workSize(c1 - c0));
            if (inverse) cols.inverseColumns(re + c0, im + c0, nx, c1 - c0, work.data());
            else cols.forwardColumns(re + c0, im + c0, nx, c1 - c0, work.data());
        } catch (const std::bad_alloc&) {
            ok.store(false, std::memory_order_relaxed);
        }
    });
    return ok.load();
}

// The template sums of every output pixel of every active channel, into `out` (outW x outH a
// channel), through the frequency domain: the zero-padded source plane in the real parts and the
// template in the imaginary parts of one block, one forward transform, the two spectra told apart
// by their symmetry (both signals are real), their product with the template's conjugate, one
// inverse transform. Integer sources and templates have integer sums: they are rounded to them, so
// the results are those of the direct sums. False, with `finite` cleared, when a source value is NaN or
// infinite: the transform would spread it over the whole channel, and the direct sums keep it in
// its windows.
template <class Ts>
bool frequencyNumerators(const CorrJob& j, int nx, int ny, std::vector<double>& out, bool& finite) {
    finite = true;
    const std::size_t points = std::size_t(nx) * std::size_t(ny);
    std::vector<double> re, im, pr, pi;
    FftPlan<double> rowPlan, colPlan;
    try {
        re.resize(points);
        im.resize(points);
        pr.resize(points);
        pi.resize(points);
        out.resize(std::size_t(j.outW) * std::size_t(j.outH) * std::size_t(j.active));
        rowPlan = FftPlan<double>(nx);
        colPlan = FftPlan<double>(ny);
    } catch (const std::bad_alloc&) {
        return false;
    }
    const double scale = 1.0 / double(points);
    // Integer sources against an integer template (not NormLevel's, which has its mean taken off).
    const bool integral = !std::is_floating_point_v<Ts> && j.measure != Measure::NormLevel;
    for (int c = 0; c < j.active; ++c) {
        std::fill(re.begin(), re.end(), 0.0);
        std::fill(im.begin(), im.end(), 0.0);
        for (int y = 0; y < j.srcH; ++y) {
            const Ts* row = reinterpret_cast<const Ts*>(static_cast<const char*>(j.src) + j.srcStep * y);
            double* to = re.data() + std::size_t(y + j.offY) * std::size_t(nx) + std::size_t(j.offX);
            for (int x = 0; x < j.srcW; ++x) to[x] = double(row[std::ptrdiff_t(x) * j.channels + c]);
            if constexpr (std::is_floating_point_v<Ts>) {
                for (int x = 0; x < j.srcW; ++x) finite = finite && std::isfinite(to[x]);
                if (!finite) return false;
            }
        }
        const double* t = j.tpl + std::size_t(c) * std::size_t(j.tw) * std::size_t(j.th);
        for (int y = 0; y < j.th; ++y)
            for (int x = 0; x < j.tw; ++x)
                im[std::size_t(y) * std::size_t(nx) + std::size_t(x)] = t[std::size_t(y) * std::size_t(j.tw) + x];
        if (!transform2d(rowPlan, colPlan, re.data(), im.data(), nx, ny, false)) return false;
        // Z = A + iB; A = (Z[k] + conj Z[-k]) / 2, B = (Z[k] - conj Z[-k]) / 2i; A conj(B).
        for (int ky = 0; ky < ny; ++ky) {
            const std::size_t r = std::size_t(ky) * std::size_t(nx), rm = std::size_t((ny - ky) % ny) * std::size_t(nx);
            for (int kx = 0; kx < nx; ++kx) {
                const std::size_t k = r + std::size_t(kx), km = rm + std::size_t((nx - kx) % nx);
                const double zr = re[k], zi = im[k], wr = re[km], wi = im[km];
                const double ar = 0.5 * (zr + wr), ai = 0.5 * (zi - wi);
                const double br = 0.5 * (zi + wi), bi = 0.5 * (wr - zr);
                pr[k] = (ar * br + ai * bi) * scale;
                pi[k] = (ai * br - ar * bi) * scale;
            }
        }
        if (!transform2d(rowPlan, colPlan, pr.data(), pi.data(), nx, ny, true)) return false;
        double* o = out.data() + std::size_t(c) * std::size_t(j.outW) * std::size_t(j.outH);
        for (int y = 0; y < j.outH; ++y)
            for (int x = 0; x < j.outW; ++x) {
                const double v = pr[std::size_t(y) * std::size_t(nx) + std::size_t(x)];
                o[std::size_t(y) * std::size_t(j.outW) + std::size_t(x)] = integral ? std::nearbyint(v) : v;
            }
    }
    return true;
}

template <class Ts, class Td>
ZkrStatus run(const Image& src, const Image& tpl, Td* dst, int dstStep, int channels, int active, Shape shape,
              Measure m, bool turn, int scaleFactor) {
    const int W = src.size.width, H = src.size.height, w = tpl.size.width, h = tpl.size.height;
    CorrJob j;
    switch (shape) {
        case Shape::Full:
            j.outW = W + w - 1;
            j.outH = H + h - 1;
            j.offX = w - 1;
            j.offY = h - 1;
            break;
        case Shape::Valid:
            j.outW = W - w + 1;
            j.outH = H - h + 1;
            break;
        case Shape::Same:
            j.outW = W;
            j.outH = H;
            j.offX = w / 2;
            j.offY = h / 2;
            break;
    }
    if (const ZkrStatus s = checkSteps({dstStep}, std::int64_t(j.outW) * channels * int(sizeof(Td)), int(sizeof(Td)));
        s != zkrStsNoErr)
        return s;
    std::vector<double> values, energy;
    if (!prepareTemplate<Ts>(tpl, channels, active, turn, m, values, energy)) return zkrStsMemAllocErr;
    j.src = src.data;
    j.srcStep = src.step;
    j.srcW = W;
    j.srcH = H;
    j.channels = channels;
    j.active = active;
    j.tpl = values.data();
    j.tw = w;
    j.th = h;
    j.tplEnergy = energy.data();
    j.dst = dst;
    j.dstStep = dstStep;
    j.measure = m;
    j.scaleFactor = scaleFactor;
    // Large templates: the template sums through the frequency domain (the plane the direct sums
    // would read, zero-padded to fast transform lengths).
    std::vector<double> numerators;
    const int nx = fastLength(j.outW + w - 1), ny = fastLength(j.outH + h - 1);
    if (preferFrequency(j, nx, ny)) {
        bool finite = true;
        if (frequencyNumerators<Ts>(j, nx, ny, numerators, finite)) j.numerator = numerators.data();
        else if (finite) return zkrStsMemAllocErr;
    }
    const CorrFn fn = kernels().rows[kComp<Ts>][kComp<Td>];
    std::atomic<bool> ok{true};
    // A destination pixel costs a whole template: bands are sized by the work, not the pixels.
    const std::int64_t work = std::int64_t(j.outW) * j.outH * (std::int64_t(w) * h + w + h);
    forRowBands(work, j.outH, [&](int y0, int y1) {
        if (!fn(j, y0, y1)) ok.store(false, std::memory_order_relaxed);
    });
    return ok.load() ? zkrStsNoErr : zkrStsMemAllocErr;
}

template <class T> ZkrStatus checkImage(const Image& im, int channels) {
    return checkSteps({im.step}, std::int64_t(im.size.width) * channels * int(sizeof(T)), int(sizeof(T)));
}

// Template matching: source, template, destination.
template <Layout L, Shape shape, Measure m, class A> ZkrStatus match(const A& a) {
    using Ts = std::remove_cv_t<std::remove_pointer_t<decltype(a.pSrc)>>;
    using Td = std::remove_pointer_t<decltype(a.pDst)>;
    constexpr int ch = kChannels<L>;
    if (const ZkrStatus s = checkPointers({a.pSrc, a.pTpl, a.pDst}); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(a.srcRoiSize); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(a.tplRoiSize); s != zkrStsNoErr) return s;
    const Image src{a.pSrc, a.srcStep, a.srcRoiSize}, tpl{a.pTpl, a.tplStep, a.tplRoiSize};
    if (const ZkrStatus s = checkImage<Ts>(src, ch); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkImage<Ts>(tpl, ch); s != zkrStsNoErr) return s;
    if (shape == Shape::Valid && (tpl.size.width > src.size.width || tpl.size.height > src.size.height))
        return zkrStsSizeErr;
    return run<Ts, Td>(src, tpl, a.pDst, a.dstStep, ch, kActive<L>, shape, m, false, 0);
}

// Convolution: the second image turned is the template over the first; for Valid the smaller one
// is the template.
template <Layout L, Shape shape, class A> ZkrStatus convolve(const A& a) {
    using T = std::remove_pointer_t<decltype(a.pDst)>;
    constexpr int ch = kChannels<L>;
    if (const ZkrStatus s = checkPointers({a.pSrc1, a.pSrc2, a.pDst}); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(a.src1Size); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(a.src2Size); s != zkrStsNoErr) return s;
    Image one{a.pSrc1, a.src1Step, a.src1Size}, two{a.pSrc2, a.src2Step, a.src2Size};
    if (const ZkrStatus s = checkImage<T>(one, ch); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkImage<T>(two, ch); s != zkrStsNoErr) return s;
    if (shape == Shape::Valid) {
        const bool twoInOne = two.size.width <= one.size.width && two.size.height <= one.size.height;
        const bool oneInTwo = one.size.width <= two.size.width && one.size.height <= two.size.height;
        if (!twoInOne && !oneInTwo) return zkrStsSizeErr;
        if (!twoInOne) std::swap(one, two);
    }
    int sf = 0;
    if constexpr (requires { a.scaleFactor; }) sf = a.scaleFactor;
    return run<T, T>(one, two, a.pDst, a.dstStep, ch, kActive<L>, shape, Measure::Raw, true, sf);
}

}  // namespace
}  // namespace zkr::corr

#define ZKR_FN(name, form, Ts, Td, L, shape, measure)                                                       \
    ZKR_DEFINE(name, form, Ts, Td) {                                                                       \
        ZKR_PACK(args, form, Ts, Td);                                                                      \
        return zkr::corr::match<zkr::Layout::L, zkr::corr::Shape::shape, zkr::corr::Measure::measure>(args); \
    }
#include "corr/corr.tbl"
#undef ZKR_FN

#define ZKR_FN(name, form, T, L, shape)                                                  \
    ZKR_DEFINE(name, form, T) {                                                          \
        ZKR_PACK(args, form, T);                                                         \
        return zkr::corr::convolve<zkr::Layout::L, zkr::corr::Shape::shape>(args);      \
    }
#include "corr/conv.tbl"
#undef ZKR_FN
