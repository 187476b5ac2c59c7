// The Resize family against a double-precision reference model, driven by its
// table: every function on every dispatch level, for each interpolation mode,
// down and up factors and source ROIs inside larger images; exact results where
// a mode defines them (nearest neighbour, factor one, constant images), a bound
// on the error otherwise; untouched alpha and padding, thread splits, and every
// argument error. Float sources also get the hostile fills: a NaN or an
// infinity reaches exactly the destination pixels whose taps of non-zero weight
// hold it, and finite values of any magnitude stay within float rounding of
// the weighted sum.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "resize/resize.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

// The parameters of the resize forms, by their names.
struct ResizeBag {
    const void* pSrc = nullptr;
    ZkriSize srcSize{0, 0};
    int srcStep = 0;
    ZkriRect srcRoi{0, 0, 0, 0};
    void* pDst = nullptr;
    int dstStep = 0;
    ZkriSize dstRoiSize{0, 0};
    double xFactor = 1.0;
    double yFactor = 1.0;
    int interpolation = ZKRI_INTER_NN;
};

enum class Elem { U8, U16, S16, F32 };

struct ResizeCase {
    std::string name;
    Elem elem;
    int channels;  // components per pixel in memory (planes: 1 per plane)
    int planes;    // 1, or 3 for P3
    bool alpha;    // AC4: the fourth channel of the destination is left alone
    bool yuv;      // packed Y0 U Y1 V
    ZkrStatus (*call)(const ResizeBag&);
};

template <class T> constexpr Elem elemOf() {
    if constexpr (std::is_same_v<T, Zkr8u>) return Elem::U8;
    else if constexpr (std::is_same_v<T, Zkr16u>) return Elem::U16;
    else if constexpr (std::is_same_v<T, Zkr16s>) return Elem::S16;
    else return Elem::F32;
}

template <class T>
ResizeCase describe(const char* name, const std::string& layout, ZkrStatus (*call)(const ResizeBag&)) {
    ResizeCase c;
    c.name = name;
    c.elem = elemOf<T>();
    c.planes = layout == "P3" ? 3 : 1;
    c.channels = layout == "C3" ? 3 : (layout == "C4" || layout == "AC4" ? 4 : (layout == "YUV422" ? 2 : 1));
    c.alpha = layout == "AC4";
    c.yuv = layout == "YUV422";
    c.call = call;
    return c;
}

const std::vector<ResizeCase>& familyCases() {
    static const std::vector<ResizeCase> cases = [] {
        std::vector<ResizeCase> v;
#define ZKR_FN(name, form, T, L) \
    v.push_back(describe<T>(#name, #L, [](const ResizeBag& b) { return ZKR_CALL(b, name, form, T); }));
#include "resize/resize.tbl"
#undef ZKR_FN
        return v;
    }();
    return cases;
}

const int kModes[] = {ZKRI_INTER_NN, ZKRI_INTER_LINEAR, ZKRI_INTER_CUBIC, ZKRI_INTER_SUPER};

// ---- reference model ---------------------------------------------------------------

using Taps = std::vector<std::pair<int, double>>;

// Catmull-Rom kernel (a = -0.5) at distance d.
double cubicKernel(double d) {
    const double a = -0.5, x = std::fabs(d);
    if (x <= 1.0) return ((a + 2.0) * x - (a + 3.0)) * x * x + 1.0;
    if (x < 2.0) return ((a * x - 5.0 * a) * x + 8.0 * a) * x - 4.0 * a;
    return 0.0;
}

// The source coordinates and weights destination coordinate j reads on an
// axis of `len` source pixels scaled by `f`.
Taps refTaps(int mode, int j, int len, double f) {
    auto clampI = [&](double i) { return int(std::clamp(i, 0.0, double(len - 1))); };
    const double s = (j + 0.5) / f - 0.5;
    Taps t;
    switch (mode) {
        case ZKRI_INTER_NN: t.push_back({clampI(std::floor((j + 0.5) / f)), 1.0}); break;
        case ZKRI_INTER_LINEAR: {
            const double i = std::floor(s);
            t.push_back({clampI(i), 1.0 - (s - i)});
            t.push_back({clampI(i + 1), s - i});
            break;
        }
        case ZKRI_INTER_CUBIC: {
            const double i = std::floor(s);
            for (int m = -1; m <= 2; ++m) t.push_back({clampI(i + m), cubicKernel(s - (i + m))});
            break;
        }
        default: {
            const double lo = std::min(j / f, double(len)), hi = std::min((j + 1) / f, double(len));
            for (int i = 0; i < len; ++i) {
                const double cover = std::min(hi, i + 1.0) - std::max(lo, double(i));
                if (cover > 0) t.push_back({i, cover / (hi - lo)});
            }
            if (t.empty()) t.push_back({len - 1, 1.0});
        }
    }
    return t;
}

template <class T> double refStore(double v) {
    if constexpr (std::is_floating_point_v<T>) return v;
    const double r = std::floor(v + 0.5);
    return std::clamp(r, double(std::numeric_limits<T>::lowest()), double(std::numeric_limits<T>::max()));
}

// ---- images ------------------------------------------------------------------------

// One interleaved image or plane: `w` x `h` pixels of `ch` components, rows `stride` components apart.
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

template <class T> void fill(Img<T>& im, std::mt19937& rng) {
    for (T& v : im.data) v = randomValue<T>(rng);
}

// A source of planes x (w x h) with a ROI; a destination of planes x dw x dh (with a padding column
// and extra components per row, so writes beyond the ROI show).
template <class T> struct Scene {
    const ResizeCase* rc;
    std::vector<Img<T>> src, dst;
    ZkriRect roi;
    ZkriSize dstSize;
    const void* srcPlanes[3] = {};
    void* dstPlanes[3] = {};

    Scene(const ResizeCase& c, ZkriSize srcSize, ZkriRect r, ZkriSize d, std::mt19937& rng) : rc(&c), roi(r), dstSize(d) {
        for (int p = 0; p < c.planes; ++p) {
            src.emplace_back(srcSize.width, srcSize.height, c.channels, 3);
            dst.emplace_back(d.width + 1, d.height + 1, c.channels, 2);
            fill(src.back(), rng);
            fill(dst.back(), rng);
        }
    }

    ResizeBag bag(double xf, double yf, int mode) {
        ResizeBag b;
        for (int p = 0; p < rc->planes; ++p) {
            srcPlanes[p] = src[p].data.data();
            dstPlanes[p] = dst[p].data.data();
        }
        b.pSrc = rc->planes > 1 ? static_cast<const void*>(srcPlanes) : srcPlanes[0];
        b.pDst = rc->planes > 1 ? static_cast<void*>(dstPlanes) : dstPlanes[0];
        b.srcSize = {src[0].w, src[0].h};
        b.srcStep = src[0].step();
        b.srcRoi = roi;
        b.dstStep = dst[0].step();
        b.dstRoiSize = dstSize;
        b.xFactor = xf;
        b.yFactor = yf;
        b.interpolation = mode;
        return b;
    }

    // The reference value of component c of destination pixel (x, y) of plane p. Packed YUV 4:2:2
    // holds Y in component 0 of every pixel and U (even pixels) or V (odd pixels) in component 1:
    // chroma is a grid of half the width, pair i at pixels 2i and 2i + 1.
    double reference(int p, int x, int y, int c, double xf, double yf, int mode) const {
        const bool chroma = rc->yuv && c == 1;
        const int len = chroma ? roi.width / 2 : roi.width;
        const Taps tx = refTaps(mode, chroma ? x / 2 : x, len, xf), ty = refTaps(mode, y, roi.height, yf);
        double v = 0;
        for (const auto& [iy, wy] : ty)
            for (const auto& [ix, wx] : tx) {
                const int px = roi.x + (chroma ? 2 * ix + x % 2 : ix);
                v += wy * wx * double(src[p].at(px, roi.y + iy, c));
            }
        return refStore<T>(v);
    }
};

template <class T> double tolerance(int mode) {
    if (mode == ZKRI_INTER_NN) return 0.0;
    return std::is_floating_point_v<T> ? 2e-3 : 1.0;
}

// Calls the case's function and compares every destination component with the reference;
// unprocessed alpha, the padding column and row, and extra components must keep their values.
template <class T>
void checkAgainstReference(const ResizeCase& c, ZkriSize srcSize, ZkriRect roi, ZkriSize d, double xf, double yf,
                           int mode, std::mt19937& rng) {
    Scene<T> s(c, srcSize, roi, d, rng);
    const std::vector<Img<T>> before = s.dst;
    ASSERT_EQ(c.call(s.bag(xf, yf, mode)), zkrStsNoErr);
    const double tol = tolerance<T>(mode);
    const int active = c.alpha ? 3 : c.channels;
    for (int p = 0; p < c.planes; ++p)
        for (int y = 0; y < before[p].h; ++y)
            for (int x = 0; x < before[p].w; ++x)
                for (int ch = 0; ch < c.channels; ++ch) {
                    const T got = s.dst[p].at(x, y, ch);
                    if (x >= d.width || y >= d.height || ch >= active) {
                        ASSERT_TRUE(sameBits(got, before[p].at(x, y, ch)))
                            << "written outside the destination at " << x << "," << y << " channel " << ch;
                        continue;
                    }
                    const double want = s.reference(p, x, y, ch, xf, yf, mode);
                    ASSERT_LE(std::fabs(double(got) - want), tol)
                        << "mode " << mode << " factors " << xf << "x" << yf << " pixel " << x << "," << y
                        << " channel " << ch << " plane " << p;
                }
    for (int p = 0; p < c.planes; ++p)  // the extra components of each row
        for (int y = 0; y < before[p].h; ++y)
            for (int k = before[p].w * c.channels; k < before[p].stride; ++k)
                ASSERT_TRUE(sameBits(s.dst[p].data[std::size_t(y) * before[p].stride + k],
                                     before[p].data[std::size_t(y) * before[p].stride + k]));
}

template <class F> void byElem(const ResizeCase& c, F&& f) {
    switch (c.elem) {
        case Elem::U8: f(Zkr8u{}); break;
        case Elem::U16: f(Zkr16u{}); break;
        case Elem::S16: f(Zkr16s{}); break;
        case Elem::F32: f(Zkr32f{}); break;
    }
}

ZkriSize scaled(ZkriRect roi, double xf, double yf, bool yuv) {
    int w = std::max(1, int(std::floor(roi.width * xf)));
    if (yuv) w = std::max(2, w & ~1);
    return {w, std::max(1, int(std::floor(roi.height * yf)))};
}

class ResizeFamily : public LibraryStateTest {};

TEST_F(ResizeFamily, MatchesReferenceOnEveryLevel) {
    // Supersampling reads 2 to 7 taps per axis over these.
    const double factors[][2] = {{0.5, 0.5}, {2.0, 2.0}, {0.75, 1.5}, {1.0 / 3.0, 0.4}, {2.5, 0.6}, {0.2, 0.18}};
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), [](const ResizeCase&) { return true; }, [&](const ResizeCase& c) {
            std::mt19937 rng(7);
            const ZkriRect roi{2, 1, 18, 11};  // odd height, inside a 23 x 15 image
            for (int mode : kModes)
                for (const auto& f : factors)
                    byElem(c, [&](auto t) {
                        using T = decltype(t);
                        checkAgainstReference<T>(c, {23, 15}, roi, scaled(roi, f[0], f[1], c.yuv), f[0], f[1], mode,
                                                 rng);
                    });
        });
    });
}

// A destination larger than the scaled ROI samples its edge pixels.
TEST_F(ResizeFamily, DestinationBeyondTheScaledRoiRepeatsTheEdge) {
    forEachCase(familyCases(), [](const ResizeCase&) { return true; }, [&](const ResizeCase& c) {
        std::mt19937 rng(11);
        for (int mode : kModes)
            byElem(c, [&](auto t) {
                using T = decltype(t);
                checkAgainstReference<T>(c, {10, 9}, {0, 0, 10, 9}, {16, 13}, 0.5, 1.25, mode, rng);
            });
    });
}

// Factor one copies the ROI in every mode, and a constant image stays constant at any factor.
TEST_F(ResizeFamily, ExactForFactorOneAndConstantImages) {
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), [](const ResizeCase&) { return true; }, [&](const ResizeCase& c) {
            byElem(c, [&](auto t) {
                using T = decltype(t);
                std::mt19937 rng(3);
                const ZkriRect roi{c.yuv ? 2 : 1, 2, 14, 9};
                for (int mode : kModes) {
                    Scene<T> s(c, {17, 12}, roi, {roi.width, roi.height}, rng);
                    ASSERT_EQ(c.call(s.bag(1.0, 1.0, mode)), zkrStsNoErr);
                    for (int p = 0; p < c.planes; ++p)
                        for (int y = 0; y < roi.height; ++y)
                            for (int x = 0; x < roi.width; ++x)
                                for (int ch = 0; ch < (c.alpha ? 3 : c.channels); ++ch)
                                    ASSERT_TRUE(sameBits(s.dst[p].at(x, y, ch), s.src[p].at(roi.x + x, roi.y + y, ch))) << double(s.dst[p].at(x, y, ch)) << " vs " << double(s.src[p].at(roi.x + x, roi.y + y, ch))
                                        << "factor 1, mode " << mode << " at " << x << "," << y;
                    const T value = randomValue<T>(rng);
                    for (const double f : {0.37, 0.5, 1.7, 3.0}) {
                        Scene<T> k(c, {17, 12}, roi, scaled(roi, f, 1.0 / f, c.yuv), rng);
                        for (auto& im : k.src) std::fill(im.data.begin(), im.data.end(), value);
                        ASSERT_EQ(c.call(k.bag(f, 1.0 / f, mode)), zkrStsNoErr);
                        for (int p = 0; p < c.planes; ++p)
                            for (int y = 0; y < k.dstSize.height; ++y)
                                for (int x = 0; x < k.dstSize.width; ++x)
                                    for (int ch = 0; ch < (c.alpha ? 3 : c.channels); ++ch)
                                        ASSERT_TRUE(sameBits(k.dst[p].at(x, y, ch), value))
                                            << "constant image, mode " << mode << " factor " << f;
                    }
                }
            });
        });
    });
}

TEST_F(ResizeFamily, ThreadSplitsMatchSingleThread) {
    forEachCase(familyCases(), [](const ResizeCase&) { return true; }, [&](const ResizeCase& c) {
        byElem(c, [&](auto t) {
            using T = decltype(t);
            for (int mode : {ZKRI_INTER_NN, ZKRI_INTER_LINEAR, ZKRI_INTER_SUPER}) {
                std::mt19937 rng(5);
                const ZkriRect roi{0, 0, 200, 170};
                const ZkriSize d{400, 340};  // 136000 destination pixels: several bands
                Scene<T> one(c, {200, 170}, roi, d, rng);
                Scene<T> two = one;
                ASSERT_EQ(zkrSetNumThreads(1), zkrStsNoErr);
                ASSERT_EQ(c.call(one.bag(2.0, 2.0, mode)), zkrStsNoErr);
                ASSERT_GE(zkrSetNumThreads(2), zkrStsNoErr);
                ASSERT_EQ(c.call(two.bag(2.0, 2.0, mode)), zkrStsNoErr);
                for (int p = 0; p < c.planes; ++p)
                    ASSERT_TRUE(std::equal(one.dst[p].data.begin(), one.dst[p].data.end(), two.dst[p].data.begin(),
                                           [](T a, T b) { return sameBits(a, b); }))
                        << "mode " << mode;
            }
        });
    });
}

TEST_F(ResizeFamily, StatusCodes) {
    forEachCase(familyCases(), [](const ResizeCase&) { return true; }, [&](const ResizeCase& c) {
        byElem(c, [&](auto t) {
            using T = decltype(t);
            std::mt19937 rng(1);
            Scene<T> s(c, {8, 6}, {0, 0, 8, 6}, {4, 3}, rng);
            const ResizeBag good = s.bag(0.5, 0.5, ZKRI_INTER_LINEAR);
            auto with = [&](auto change) {
                ResizeBag b = good;
                change(b);
                return c.call(b);
            };
            EXPECT_EQ(c.call(good), zkrStsNoErr);
            EXPECT_EQ(with([](ResizeBag& b) { b.pSrc = nullptr; }), zkrStsNullPtrErr);
            EXPECT_EQ(with([](ResizeBag& b) { b.pDst = nullptr; }), zkrStsNullPtrErr);
            // NULL pointers come before sizes, sizes before steps, steps before factors and modes.
            EXPECT_EQ(with([](ResizeBag& b) { b.pDst = nullptr, b.srcSize = {0, 6}, b.xFactor = 0; }), zkrStsNullPtrErr);
            EXPECT_EQ(with([](ResizeBag& b) { b.srcSize = {8, 0}; }), zkrStsSizeErr);
            EXPECT_EQ(with([](ResizeBag& b) { b.dstRoiSize = {0, 3}; }), zkrStsSizeErr);
            EXPECT_EQ(with([](ResizeBag& b) { b.srcRoi.width = -1; }), zkrStsSizeErr);
            EXPECT_EQ(with([](ResizeBag& b) { b.srcRoi.x = 8; }), zkrStsSizeErr);  // outside the image
            EXPECT_EQ(with([](ResizeBag& b) { b.srcRoi = {-20, 0, 10, 6}; }), zkrStsSizeErr);
            EXPECT_EQ(with([](ResizeBag& b) { b.srcSize = {0, 6}, b.srcStep = 0; }), zkrStsSizeErr);
            EXPECT_EQ(with([](ResizeBag& b) { b.srcStep = 0; }), zkrStsStepErr);
            EXPECT_EQ(with([&](ResizeBag& b) { b.srcStep = 8 * c.channels * int(sizeof(T)) - 1; }), zkrStsStepErr);
            EXPECT_EQ(with([](ResizeBag& b) { b.dstStep = -4; }), zkrStsStepErr);
            EXPECT_EQ(with([](ResizeBag& b) { b.dstStep = 0, b.xFactor = -1; }), zkrStsStepErr);
            for (double f : {0.0, -0.5, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
                EXPECT_EQ(with([&](ResizeBag& b) { b.xFactor = f; }), zkrStsResizeFactorErr) << f;
                EXPECT_EQ(with([&](ResizeBag& b) { b.yFactor = f, b.interpolation = 3; }), zkrStsResizeFactorErr) << f;
            }
            for (int mode : {0, 3, 4, 7, -1, 99})
                EXPECT_EQ(with([&](ResizeBag& b) { b.interpolation = mode; }), zkrStsInterpolationErr) << mode;
            if (c.planes > 1) {
                EXPECT_EQ(with([&](ResizeBag& b) {
                              s.srcPlanes[2] = nullptr;
                              b.pSrc = s.srcPlanes;
                          }),
                          zkrStsNullPtrErr);
            }
        });
    });
}

// Packed 4:2:2 works on whole pixel pairs: an odd ROI start, ROI width or destination width leaves the
// last pixel out and says so.
TEST_F(ResizeFamily, Yuv422OddWidthsGiveTheWarning) {
    forEachCase(familyCases(), [](const ResizeCase& c) { return c.yuv; }, [&](const ResizeCase& c) {
        std::mt19937 rng(9);
        Scene<Zkr8u> s(c, {12, 4}, {0, 0, 12, 4}, {7, 4}, rng);
        const std::vector<Img<Zkr8u>> before = s.dst;
        EXPECT_EQ(c.call(s.bag(0.5, 1.0, ZKRI_INTER_NN)), zkrStsDoubleSize);
        for (int y = 0; y < 4; ++y)  // pixel 6 is not part of a whole pair
            for (int ch = 0; ch < 2; ++ch) EXPECT_EQ(s.dst[0].at(6, y, ch), before[0].at(6, y, ch));
        Scene<Zkr8u> r(c, {12, 4}, {1, 0, 10, 4}, {6, 4}, rng);
        EXPECT_EQ(c.call(r.bag(0.5, 1.0, ZKRI_INTER_NN)), zkrStsDoubleSize);
        Scene<Zkr8u> narrow(c, {12, 4}, {0, 0, 12, 4}, {1, 4}, rng);
        EXPECT_EQ(c.call(narrow.bag(0.5, 1.0, ZKRI_INTER_NN)), zkrStsSizeErr);
    });
}

// ---- float edges ------------------------------------------------------------------------

// The weighted sum of the taps of non-zero weight in double (a tap of weight zero does not count,
// so it cannot turn an infinity into NaN), and the sum of their finite magnitudes.
struct Weighted {
    double value = 0, magnitude = 0;
    bool nearLimit = false;  // a tap within cubic overshoot of the float range
};
Weighted weightedSum(const Scene<float>& s, int p, int x, int y, int c, double xf, double yf, int mode) {
    const Taps tx = refTaps(mode, x, s.roi.width, xf), ty = refTaps(mode, y, s.roi.height, yf);
    Weighted r;
    for (const auto& [iy, wy] : ty)
        for (const auto& [ix, wx] : tx) {
            if (wy == 0.0 || wx == 0.0) continue;
            const double v = double(s.src[p].at(s.roi.x + ix, s.roi.y + iy, c));
            r.value += wy * wx * v;
            r.magnitude += std::isfinite(v) ? std::fabs(v) : 0.0;
            r.nearLimit = r.nearLimit || (std::isfinite(v) && std::fabs(v) > 1e38);
        }
    return r;
}

// Floats against the weighted sum: NaN where it is NaN, the same infinity where it is infinite
// (or beyond the float range), and within 2^-17 of the taps' magnitudes elsewhere (float weights
// and the difference form lose a few ulps of the largest tap, never more). Taps beyond 1e38 may
// overflow the float row between the passes (the cubic overshoots by up to 1.3): there an
// infinity or NaN is accepted too. Returns the number of non-finite destination components.
int checkFloats(const ResizeCase& c, Scene<float>& s, double xf, double yf, int mode) {
    const int active = c.alpha ? 3 : c.channels;
    int nonFinite = 0;
    for (int p = 0; p < c.planes; ++p)
        for (int y = 0; y < s.dstSize.height; ++y)
            for (int x = 0; x < s.dstSize.width; ++x)
                for (int ch = 0; ch < active; ++ch) {
                    const float got = s.dst[p].at(x, y, ch);
                    const Weighted want = weightedSum(s, p, x, y, ch, xf, yf, mode);
                    nonFinite += !std::isfinite(got);
                    bool ok;
                    if (std::isnan(want.value)) ok = std::isnan(got);
                    else if (std::fabs(want.value) > std::numeric_limits<float>::max())
                        ok = (std::isinf(got) || std::fabs(got) == std::numeric_limits<float>::max()) &&
                             std::signbit(got) == std::signbit(want.value);
                    else if (!std::isfinite(got))
                        ok = want.nearLimit;
                    else
                        ok = std::fabs(double(got) - want.value) <= std::ldexp(want.magnitude, -17) + 1e-42;
                    if (!ok) {
                        ADD_FAILURE() << "mode " << mode << " factors " << xf << "x" << yf << " pixel " << x << ","
                                      << y << " channel " << ch << " plane " << p << ": got " << got << ", want "
                                      << want.value;
                        return nonFinite;
                    }
                }
    return nonFinite;
}

bool isFloatCase(const ResizeCase& c) { return c.elem == Elem::F32; }

// One +inf (or NaN, or -inf) pixel in a 12x10 image of values in [0.5, 1.5), every 32f function on
// every level: Linear and Cubic give +inf, NaN or the weighted average exactly by the taps that
// count; factor one returns the source bits (the bad pixel and its neighbours included), and
// supersampling up by two repeats the bad pixel over its 2x2 destination pixels only.
TEST_F(ResizeFamily, NonFiniteFloatReachesOnlyThePixelsThatWeighIt) {
    const float inf = std::numeric_limits<float>::infinity();
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), isFloatCase, [&](const ResizeCase& c) {
            for (float bad : {inf, -inf, std::numeric_limits<float>::quiet_NaN()}) {
                for (int mode : {ZKRI_INTER_LINEAR, ZKRI_INTER_CUBIC, ZKRI_INTER_SUPER})
                    for (double f : {1.0, 2.0, 0.5, 3.0}) {
                        std::mt19937 rng(12);
                        Scene<float> s(c, {12, 10}, {0, 0, 12, 10}, scaled({0, 0, 12, 10}, f, f, false), rng);
                        std::uniform_real_distribution<float> d(0.5f, 1.5f);
                        for (auto& im : s.src)
                            for (float& v : im.data) v = d(rng);
                        for (auto& im : s.src)
                            for (int ch = 0; ch < c.channels; ++ch) im.at(4, 3, ch) = bad;
                        ASSERT_EQ(c.call(s.bag(f, f, mode)), zkrStsNoErr);
                        const int nonFinite = checkFloats(c, s, f, f, mode);
                        if (testing::Test::HasFailure()) return;
                        const int active = (c.alpha ? 3 : c.channels) * c.planes;
                        if (f == 1.0) {
                            for (int p = 0; p < c.planes; ++p)
                                for (int y = 0; y < 10; ++y)
                                    for (int x = 0; x < 12; ++x)
                                        for (int ch = 0; ch < (c.alpha ? 3 : c.channels); ++ch)
                                            ASSERT_TRUE(sameBits(s.dst[p].at(x, y, ch), s.src[p].at(x, y, ch)))
                                                << "factor one, mode " << mode << " at " << x << "," << y;
                        }
                        if (f == 2.0 && mode != ZKRI_INTER_CUBIC) {
                            EXPECT_EQ(nonFinite, (mode == ZKRI_INTER_SUPER ? 4 : 16) * active);
                        }
                    }
            }
        });
    });
}

// The hostile fills (NaN, infinities, zeros of both signs, denormals, 1e-30 to 1e30 of both signs)
// in every mode at factors down, up and one, on one and two threads: the weighted sums, and the
// same bits from both splits.
TEST_F(ResizeFamily, HostileFloatFillsOnOneAndTwoThreads) {
    const double factors[][2] = {{1.0, 1.0}, {2.0, 2.0}, {0.5, 0.5}, {0.75, 1.5}, {1.0 / 3.0, 0.4}, {3.0, 1.0}};
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), isFloatCase, [&](const ResizeCase& c) {
            for (int mode : kModes)
                for (const auto& f : factors) {
                    std::mt19937 rng(41);
                    const ZkriRect roi{1, 2, 150, 90};
                    Scene<float> one(c, {153, 93}, roi, scaled(roi, f[0], f[1], false), rng);
                    for (auto& im : one.src) floats::fillHostile(im.data, rng, 0.002);
                    Scene<float> two = one;
                    ASSERT_EQ(zkrSetNumThreads(1), zkrStsNoErr);
                    ASSERT_EQ(c.call(one.bag(f[0], f[1], mode)), zkrStsNoErr);
                    checkFloats(c, one, f[0], f[1], mode);
                    if (testing::Test::HasFailure()) return;
                    ASSERT_GE(zkrSetNumThreads(2), zkrStsNoErr);
                    ASSERT_EQ(c.call(two.bag(f[0], f[1], mode)), zkrStsNoErr);
                    for (int p = 0; p < c.planes; ++p)
                        ASSERT_EQ(std::memcmp(one.dst[p].data.data(), two.dst[p].data.data(),
                                              one.dst[p].data.size() * sizeof(float)),
                                  0)
                            << "mode " << mode << ": result depends on the thread split";
                }
        });
    });
}

// Flags: finite data of moderate size raise inexact at most, and a lone infinity among it nothing
// more (no inf - inf for a tap that does not count); NaN never raises invalid.
TEST_F(ResizeFamily, FloatFlags) {
    const float inf = std::numeric_limits<float>::infinity();
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), isFloatCase, [&](const ResizeCase& c) {
            for (float bad : {1.0f, inf, -inf, std::numeric_limits<float>::quiet_NaN()})
                for (int mode : kModes)
                    for (double f : {1.0, 2.0, 0.5, 3.0, 0.75}) {
                        std::mt19937 rng(2);
                        Scene<float> s(c, {12, 10}, {0, 0, 12, 10}, scaled({0, 0, 12, 10}, f, f, false), rng);
                        std::uniform_real_distribution<float> d(-1000.0f, 1000.0f);
                        for (auto& im : s.src)
                            for (float& v : im.data) v = d(rng);
                        for (auto& im : s.src) im.at(4, 3, 0) = bad;
                        const ResizeBag b = s.bag(f, f, mode);
                        ZkrStatus st = zkrStsNoErr;
                        const unsigned got = floats::flagsOf([&] { st = c.call(b); });
                        EXPECT_EQ(st, zkrStsNoErr);
                        EXPECT_EQ(got & ~floats::kInexact, 0u)
                            << "mode " << mode << " factor " << f << " pixel " << bad << " raised "
                            << floats::flagNames(got);
                    }
        });
    });
}

TEST(ResizeFamilyTable, HasEveryVariantOnce) {
    const auto& cases = familyCases();
    int resize = 0, yuv = 0;
    std::vector<std::string> names;
    for (const ResizeCase& c : cases) {
        names.push_back(c.name);
        (c.name.rfind("zkriResizeYUV422_", 0) == 0 ? yuv : resize)++;
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
    EXPECT_EQ(resize, 18);
    EXPECT_EQ(yuv, 1);
}

}  // namespace
}  // namespace zkrtest
