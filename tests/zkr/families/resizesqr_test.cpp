// The separable resamplers (ResizeSqrPixel, SuperSampling, ResizeFilter, the
// two ResampleRow forms) against a reference model, driven by the family's
// four tables: every function on every dispatch level. The model sums the 2-D
// taps of each destination pixel in double precision straight from the
// definitions (the kernel functions of each mode at the distances, area
// coverage, windowed sincs widened when reducing); pixels whose point lies
// outside the source ROI, the padding and the alpha of AC4 must keep their
// values. Also: exact copies at factor one, thread splits and status codes.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

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

namespace zkrtest {
namespace {

struct RsqBag {
    const void* pSrc = nullptr;
    ZkriSize srcSize{0, 0};
    int srcStep = 0;
    ZkriRect srcRoi{0, 0, 0, 0};
    ZkriSize srcRoiSize{0, 0};
    void* pDst = nullptr;
    int dstStep = 0;
    ZkriRect dstRoi{0, 0, 0, 0};
    ZkriSize dstRoiSize{0, 0};
    double xFactor = 1, yFactor = 1, xShift = 0, yShift = 0;
    int interpolation = ZKRI_RSQ_NN;
    int filter = ZKRI_RESIZE_FILTER_LANCZOS;
};

enum class Elem { U8, U16, S16, F32 };
enum class Op { Sqr, Super, Filter, RowReplicate, RowInside };

struct RsqCase {
    std::string name;
    Op op;
    Elem elem;
    int channels, planes;
    bool alpha;
    ZkrStatus (*call)(const RsqBag&);
};

template <class T> constexpr Elem elemOf() {
    if constexpr (std::is_same_v<T, Zkr8u>) return Elem::U8;
    else if constexpr (std::is_same_v<T, Zkr16u>) return Elem::U16;
    else if constexpr (std::is_same_v<T, Zkr16s>) return Elem::S16;
    else return Elem::F32;
}

template <class T> RsqCase describe(const char* name, Op op, const std::string& l, ZkrStatus (*call)(const RsqBag&)) {
    RsqCase c{name, op, elemOf<T>(), 1, 1, l == "AC4", call};
    c.planes = l == "P3" ? 3 : (l == "P4" ? 4 : 1);
    c.channels = l == "C3" ? 3 : (l == "C4" || l == "AC4" ? 4 : 1);
    return c;
}

const std::vector<RsqCase>& familyCases() {
    static const std::vector<RsqCase> cases = [] {
        std::vector<RsqCase> v;
#define ZKR_FN(name, form, T, L, op) \
    v.push_back(describe<T>(#name, Op::op, #L, [](const RsqBag& b) { return ZKR_CALL(b, name, form, T, L); }));
#include "resizesqr/resizesqr.tbl"
#include "resizesqr/supersampling.tbl"
#include "resizesqr/resizefilter.tbl"
#include "resizesqr/resample.tbl"
#undef ZKR_FN
        return v;
    }();
    return cases;
}

const int kModes[] = {ZKRI_RSQ_NN, ZKRI_RSQ_LINEAR, ZKRI_RSQ_CUBIC, ZKRI_RSQ_LANCZOS, ZKRI_RSQ_SUPER};

// ---- the model ------------------------------------------------------------------------------

double sinc(double x) { return x == 0.0 ? 1.0 : std::sin(M_PI * x) / (M_PI * x); }
double lanczos3(double d) { return std::fabs(d) < 3.0 ? sinc(d) * sinc(d / 3.0) : 0.0; }
double hann2(double d) { return std::fabs(d) < 2.0 ? sinc(d) * std::cos(M_PI * d / 4.0) * std::cos(M_PI * d / 4.0) : 0.0; }
double catmullRom(double d) {
    const double x = std::fabs(d);
    if (x <= 1.0) return 1.5 * x * x * x - 2.5 * x * x + 1.0;
    if (x < 2.0) return -0.5 * x * x * x + 2.5 * x * x - 4.0 * x + 2.0;
    return 0.0;
}

using Weights = std::vector<std::pair<int, double>>;  // source index (clamped), weight

// Sum of weights scaled to one.
Weights normalised(Weights w) {
    double s = 0;
    for (auto& p : w) s += p.second;
    for (auto& p : w) p.second /= s;
    return w;
}

// A kernel at every source pixel within reach of the point s (pixel centres), reading beyond the
// n pixels as the edge pixels (or not at all when `inside`).
Weights kernelWeights(double (*k)(double), double reach, double scale, double s, int n, bool inside) {
    Weights w;
    for (int i = int(std::floor(s - reach)) - 1; i <= int(std::ceil(s + reach)) + 1; ++i) {
        const double v = k((s - i) * scale);
        if (std::fabs(v) < 1e-12 || (inside && (i < 0 || i >= n))) continue;
        w.push_back({std::clamp(i, 0, n - 1), v});
    }
    return w;
}

// Area coverage of [lo, hi) over n pixels.
Weights coverage(double lo, double hi, int n) {
    lo = std::clamp(lo, 0.0, double(n));
    hi = std::clamp(hi, 0.0, double(n));
    Weights w;
    for (int i = 0; i < n; ++i) {
        const double c = std::min(hi, i + 1.0) - std::max(lo, double(i));
        if (c > 0) w.push_back({i, c / (hi - lo)});
    }
    return w;
}

// The weights of destination coordinate j of one axis (absolute), or nullopt when it is not
// written; `unsure` where rounding may decide.
struct AxisSpec {
    Op op;
    int mode = 0, filter = 0;
    double factor = 1, shift = 0;
    int r0 = 0, n = 0;  // the ROI on this axis
    bool identity = false;  // the rows of the row resamplers
};

std::optional<Weights> axisWeights(const AxisSpec& a, int j, bool& unsure) {
    if (a.identity) return Weights{{j, 1.0}};
    if (a.op == Op::Sqr) {
        const double c = (j + 0.5 - a.shift) / a.factor - a.r0;  // edge coordinates in the ROI
        if (std::fabs(c) < 1e-9 || std::fabs(c - a.n) < 1e-9) unsure = true;
        if (!(c >= 0 && c < a.n)) return std::nullopt;
        const double s = c - 0.5;
        switch (a.mode) {
            case ZKRI_RSQ_NN:
                if (const double off = std::fabs(c - std::round(c)); off > 0 && off < 1e-9) unsure = true;
                return Weights{{std::clamp(int(std::floor(c)), 0, a.n - 1), 1.0}};
            case ZKRI_RSQ_LINEAR: return kernelWeights([](double d) { return std::max(0.0, 1 - std::fabs(d)); }, 1, 1, s, a.n, false);
            case ZKRI_RSQ_CUBIC: return kernelWeights(catmullRom, 2, 1, s, a.n, false);
            case ZKRI_RSQ_LANCZOS: return normalised(kernelWeights(lanczos3, 3, 1, s, a.n, false));
            default: return coverage((j - a.shift) / a.factor - a.r0, (j + 1 - a.shift) / a.factor - a.r0, a.n);
        }
    }
    if (a.op == Op::Super) return coverage(j / a.factor, (j + 1) / a.factor, a.n);
    const double scale = std::min(a.factor, 1.0), s = (j + 0.5) / a.factor - 0.5;
    const bool hann = a.op == Op::Filter && a.filter == ZKRI_RESIZE_FILTER_HANN;
    return normalised(hann ? kernelWeights(hann2, 2 / scale, scale, s, a.n, false)
                           : kernelWeights(lanczos3, 3 / scale, scale, s, a.n, a.op == Op::RowInside));
}

template <class T> double refStore(double v) {
    if constexpr (std::is_floating_point_v<T>) return v;
    const double r = std::floor(v + 0.5);
    return std::clamp(r, double(std::numeric_limits<T>::lowest()), double(std::numeric_limits<T>::max()));
}

// ---- images ---------------------------------------------------------------------------------

template <class T> struct Img {
    int w = 0, h = 0, ch = 1, stride = 0;
    std::vector<T> data;
    Img(int width, int height, int channels, int extra)
        : w(width), h(height), ch(channels), stride(width * channels + extra), data(std::size_t(stride) * height) {}
    T& at(int x, int y, int c) { return data[std::size_t(y) * stride + std::size_t(x) * ch + c]; }
    T at(int x, int y, int c) const { return data[std::size_t(y) * stride + std::size_t(x) * ch + c]; }
    int step() const { return stride * int(sizeof(T)); }
};

template <class T> T randomValue(std::mt19937& rng) {
    if constexpr (std::is_floating_point_v<T>) return std::uniform_real_distribution<T>(-1000.0f, 1000.0f)(rng);
    else return randomComponent<T>(rng);
}

// A call: the source image and its ROI, the destination image and its rectangle, the arguments.
// The forms without a ROI get pointers to the ROI's and the rectangle's first pixels.
template <class T> struct Scene {
    const RsqCase* rc;
    std::vector<Img<T>> src, dst;
    ZkriRect roi, dr;
    RsqBag b;
    const void* srcPlanes[4] = {};
    void* dstPlanes[4] = {};

    Scene(const RsqCase& c, ZkriSize srcSize, ZkriRect r, ZkriSize dstSize, ZkriRect d, std::mt19937& rng)
        : rc(&c), roi(r), dr(d) {
        for (int p = 0; p < c.planes; ++p) {
            src.emplace_back(srcSize.width, srcSize.height, c.channels, 3);
            dst.emplace_back(dstSize.width, dstSize.height, c.channels, 2);
            for (T& v : src.back().data) v = randomValue<T>(rng);
            for (T& v : dst.back().data) v = randomValue<T>(rng);
        }
    }

    const RsqBag& bag() {
        const bool sqr = rc->op == Op::Sqr;
        for (int p = 0; p < rc->planes; ++p) {
            srcPlanes[p] = sqr ? &src[p].at(0, 0, 0) : &src[p].at(roi.x, roi.y, 0);
            dstPlanes[p] = sqr ? &dst[p].at(0, 0, 0) : &dst[p].at(dr.x, dr.y, 0);
        }
        b.pSrc = rc->planes > 1 ? static_cast<const void*>(srcPlanes) : srcPlanes[0];
        b.pDst = rc->planes > 1 ? static_cast<void*>(dstPlanes) : dstPlanes[0];
        b.srcSize = {src[0].w, src[0].h};
        b.srcStep = src[0].step();
        b.srcRoi = roi;
        b.srcRoiSize = {roi.width, roi.height};
        b.dstStep = dst[0].step();
        b.dstRoi = dr;
        b.dstRoiSize = {dr.width, dr.height};
        return b;
    }

    AxisSpec axis(bool x) const {
        AxisSpec a{rc->op, b.interpolation, b.filter};
        const bool sqr = rc->op == Op::Sqr;
        a.factor = sqr ? (x ? b.xFactor : b.yFactor) : (x ? double(dr.width) / roi.width : double(dr.height) / roi.height);
        a.shift = x ? b.xShift : b.yShift;
        a.r0 = x ? roi.x : roi.y;
        a.n = x ? roi.width : roi.height;
        a.identity = !x && (rc->op == Op::RowReplicate || rc->op == Op::RowInside);
        return a;
    }

    // Checks every component of the destination against the model after the call.
    void check(const std::vector<Img<T>>& before, int& written) const {
        const AxisSpec ax = axis(true), ay = axis(false);
        const bool sqr = rc->op == Op::Sqr;
        const int active = rc->alpha ? 3 : rc->channels;
        for (int p = 0; p < rc->planes; ++p)
            for (int y = 0; y < before[p].h; ++y)
                for (int x = 0; x < before[p].w; ++x) {
                    const bool inRect = x >= dr.x && x < dr.x + dr.width && y >= dr.y && y < dr.y + dr.height;
                    bool unsure = false;
                    std::optional<Weights> wx, wy;
                    if (inRect) {
                        // Coordinates of the forms without a ROI count from the rectangle's corner.
                        wx = axisWeights(ax, sqr ? x : x - dr.x, unsure);
                        wy = axisWeights(ay, sqr ? y : y - dr.y, unsure);
                    }
                    for (int c = 0; c < rc->channels; ++c) {
                        const T got = dst[p].at(x, y, c);
                        if (unsure) continue;
                        if (!wx || !wy || c >= active) {
                            ASSERT_TRUE(sameBits(got, before[p].at(x, y, c)))
                                << "wrote pixel " << x << "," << y << " channel " << c << " plane " << p;
                            continue;
                        }
                        double v = 0;
                        for (const auto& [iy, vy] : *wy)
                            for (const auto& [ix, vx] : *wx) v += vx * vy * double(src[p].at(roi.x + ix, roi.y + iy, c));
                        const double want = refStore<T>(v);
                        const bool exact = sqr && b.interpolation == ZKRI_RSQ_NN;
                        const double tol = exact ? 0.0 : (std::is_floating_point_v<T> ? 2e-3 * (1 + std::fabs(want) / 100) : 1.0);
                        ++written;
                        ASSERT_LE(std::fabs(double(got) - want), tol)
                            << "pixel " << x << "," << y << " channel " << c << " plane " << p << " mode " << b.interpolation;
                    }
                }
        for (int p = 0; p < rc->planes; ++p)
            for (int y = 0; y < before[p].h; ++y)
                for (int k = before[p].w * rc->channels; k < before[p].stride; ++k)
                    ASSERT_TRUE(sameBits(dst[p].data[std::size_t(y) * before[p].stride + k],
                                         before[p].data[std::size_t(y) * before[p].stride + k]));
    }
};

template <class F> void byElem(const RsqCase& c, F&& f) {
    switch (c.elem) {
        case Elem::U8: f(Zkr8u{}); break;
        case Elem::U16: f(Zkr16u{}); break;
        case Elem::S16: f(Zkr16s{}); break;
        case Elem::F32: f(Zkr32f{}); break;
    }
}

// One call and its check; the call raises no flag but inexact.
template <class T> void callAndCheck(Scene<T>& s, int& written) {
    const std::vector<Img<T>> before = s.dst;
    ZkrStatus st = zkrStsNoErr;
    const RsqBag& b = s.bag();
    const unsigned flags = floats::flagsOf([&] { st = s.rc->call(b); });
    ASSERT_EQ(st, zkrStsNoErr);
    EXPECT_EQ(flags & ~floats::kInexact, 0u) << floats::flagNames(flags);
    s.check(before, written);
}

class ResizeSqrFamily : public LibraryStateTest {};

TEST_F(ResizeSqrFamily, SqrMatchesReferenceOnEveryLevel) {
    // (xFactor, yFactor, xShift, yShift): down, up with shifts, mixed with the ROI partly outside.
    const double sets[][4] = {{0.5, 0.5, 0, 0}, {2.0, 1.5, 1.25, -2.0}, {0.75, 3.0, -3.5, 4.0}, {1.0 / 3.0, 0.4, 6.0, 3.0}};
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), [](const RsqCase& c) { return c.op == Op::Sqr; }, [&](const RsqCase& c) {
            std::mt19937 rng(7);
            for (int mode : kModes)
                for (const auto& f : sets)
                    byElem(c, [&](auto t) {
                        using T = decltype(t);
                        Scene<T> s(c, {23, 15}, {2, 1, 18, 11}, {24, 22}, {1, 2, 21, 19}, rng);
                        s.b.xFactor = f[0], s.b.yFactor = f[1], s.b.xShift = f[2], s.b.yShift = f[3];
                        s.b.interpolation = mode;
                        int written = 0;
                        callAndCheck(s, written);
                        EXPECT_GT(written, 0) << "mode " << mode << " factors " << f[0] << " " << f[1];
                    });
        });
    });
}

TEST_F(ResizeSqrFamily, WholeImageFormsMatchReferenceOnEveryLevel) {
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), [](const RsqCase& c) { return c.op != Op::Sqr; }, [&](const RsqCase& c) {
            std::mt19937 rng(9);
            // Destination sizes for a 17 x 11 source: reductions (every form) and enlargements.
            std::vector<ZkriSize> sizes = {{8, 5}, {5, 3}, {17, 11}, {1, 1}};
            if (c.op != Op::Super) sizes.insert(sizes.end(), {{40, 25}, {23, 16}});
            for (int filter : {ZKRI_RESIZE_FILTER_LANCZOS, ZKRI_RESIZE_FILTER_HANN})
                for (ZkriSize d : sizes) {
                    if (c.op == Op::RowReplicate || c.op == Op::RowInside) d.height = 11;
                    byElem(c, [&](auto t) {
                        using T = decltype(t);
                        Scene<T> s(c, {20, 14}, {2, 1, 17, 11}, {d.width + 3, d.height + 2}, {2, 1, d.width, d.height}, rng);
                        s.b.filter = filter;
                        int written = 0;
                        callAndCheck(s, written);
                        EXPECT_EQ(written, d.width * d.height * c.planes * (c.alpha ? 3 : c.channels));
                    });
                }
        });
    });
}

// Factor one with no shift copies the ROI in every mode, floats bit for bit (NaN, infinities and
// -0 included); so does each whole-image form at the source's size.
TEST_F(ResizeSqrFamily, FactorOneCopiesExactly) {
    forEachCase(familyCases(), [](const RsqCase&) { return true; }, [&](const RsqCase& c) {
        std::mt19937 rng(3);
        for (int mode : kModes)
            byElem(c, [&](auto t) {
                using T = decltype(t);
                Scene<T> s(c, {19, 13}, {2, 1, 14, 10}, {19, 13}, {2, 1, 14, 10}, rng);
                if constexpr (std::is_floating_point_v<T>) {
                    s.src[0].at(5, 4, 0) = std::numeric_limits<T>::infinity();
                    s.src[0].at(6, 4, 0) = std::numeric_limits<T>::quiet_NaN();
                    s.src[0].at(7, 4, 0) = -0.0f;
                }
                s.b.interpolation = mode;
                ASSERT_EQ(c.call(s.bag()), zkrStsNoErr);
                const int active = c.alpha ? 3 : c.channels;
                for (int p = 0; p < c.planes; ++p)
                    for (int y = 1; y < 11; ++y)
                        for (int x = 2; x < 16; ++x)
                            for (int ch = 0; ch < active; ++ch)
                                ASSERT_TRUE(sameBits(s.dst[p].at(x, y, ch), s.src[p].at(x, y, ch)))
                                    << "mode " << mode << " pixel " << x << "," << y;
            });
    });
}

TEST_F(ResizeSqrFamily, ThreadSplitsMatchSingleThread) {
    forEachCase(familyCases(), [](const RsqCase& c) { return c.channels == 1 && c.planes == 1; }, [&](const RsqCase& c) {
        std::mt19937 rng(13);
        byElem(c, [&](auto t) {
            using T = decltype(t);
            Scene<T> one(c, {400, 300}, {0, 0, 400, 300}, {300, 300}, {0, 0, 300, 260}, rng);
            one.b.xFactor = 0.75, one.b.yFactor = 0.9, one.b.interpolation = ZKRI_RSQ_LANCZOS;
            if (c.op == Op::RowReplicate || c.op == Op::RowInside) one.dr.height = 300;
            Scene<T> two = one;
            ASSERT_EQ(zkrSetNumThreads(1), zkrStsNoErr);
            ASSERT_EQ(c.call(one.bag()), zkrStsNoErr);
            ASSERT_GE(zkrSetNumThreads(2), zkrStsNoErr);
            ASSERT_EQ(c.call(two.bag()), zkrStsNoErr);
            ASSERT_EQ(std::memcmp(one.dst[0].data.data(), two.dst[0].data.data(), one.dst[0].data.size() * sizeof(T)), 0);
        });
    });
}

TEST_F(ResizeSqrFamily, StatusCodes) {
    forEachCase(familyCases(), [](const RsqCase&) { return true; }, [&](const RsqCase& c) {
        std::mt19937 rng(17);
        byElem(c, [&](auto t) {
            using T = decltype(t);
            Scene<T> s(c, {19, 13}, {2, 1, 14, 10}, {21, 15}, {1, 2, 7, 10}, rng);
            s.b.xFactor = s.b.yFactor = 0.5;
            const RsqBag good = s.bag();
            const bool sqr = c.op == Op::Sqr, rows = c.op == Op::RowReplicate || c.op == Op::RowInside;
            struct Row {
                const char* what;
                bool applies;
                void (*edit)(RsqBag&);
                ZkrStatus want;
            };
            const Row table[] = {
                {"null source", true, [](RsqBag& b) { b.pSrc = nullptr; }, zkrStsNullPtrErr},
                {"null destination", true, [](RsqBag& b) { b.pDst = nullptr; }, zkrStsNullPtrErr},
                {"empty source", true, [](RsqBag& b) { b.srcSize.height = b.srcRoiSize.height = 0; }, zkrStsSizeErr},
                {"empty destination", true, [](RsqBag& b) { b.dstRoi.width = b.dstRoiSize.width = 0; }, zkrStsSizeErr},
                {"ROI outside", sqr, [](RsqBag& b) { b.srcRoi.y = 13; }, zkrStsSizeErr},
                {"heights differ", rows, [](RsqBag& b) { b.dstRoiSize.height = 9; }, zkrStsSizeErr},
                {"short source step", true, [](RsqBag& b) { b.srcStep = 2; }, zkrStsStepErr},
                {"short destination step", true, [](RsqBag& b) { b.dstStep = 2; }, zkrStsStepErr},
                {"zero factor", sqr, [](RsqBag& b) { b.yFactor = 0; }, zkrStsResizeFactorErr},
                {"infinite factor", sqr, [](RsqBag& b) { b.xFactor = HUGE_VAL; }, zkrStsResizeFactorErr},
                {"enlarging", c.op == Op::Super, [](RsqBag& b) { b.dstRoiSize.width = 15; }, zkrStsResizeFactorErr},
                {"unknown mode", sqr, [](RsqBag& b) { b.interpolation = 3; }, zkrStsInterpolationErr},
                {"infinite shift", sqr, [](RsqBag& b) { b.yShift = -HUGE_VAL; }, zkrStsBadArgErr},
                {"unknown filter", c.op == Op::Filter, [](RsqBag& b) { b.filter = 2; }, zkrStsBadArgErr},
            };
            for (const Row& r : table) {
                if (!r.applies) continue;
                RsqBag b = good;
                r.edit(b);
                const std::vector<T> before = s.dst[0].data;
                EXPECT_EQ(c.call(b), r.want) << r.what;
                EXPECT_EQ(s.dst[0].data, before) << r.what << " wrote the destination";
            }
            EXPECT_EQ(c.call(good), zkrStsNoErr);
        });
    });
}

TEST(ResizeSqrFamilyTable, HasEveryVariantOnce) {
    std::vector<std::string> names;
    int perOp[5] = {};
    for (const RsqCase& c : familyCases()) {
        names.push_back(c.name);
        ++perOp[int(c.op)];
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
    const int want[5] = {24, 24, 1, 1, 1};
    for (int k = 0; k < 5; ++k) EXPECT_EQ(perOp[k], want[k]) << k;
}

}  // namespace
}  // namespace zkrtest
