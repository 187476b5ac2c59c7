// The warp family (Rotate, Shear, the nine warps, Remap) against a reference
// model, driven by its four tables: every function on every dispatch level and
// interpolation mode. The model maps each destination pixel to its source point
// straight from each function's definition (the forward formulas solved per
// pixel by Cramer's rule, Newton's iteration for the bilinear warp, the
// quadrangle maps from their corner equations) and samples with the kernel
// functions of each mode in double precision; pixels whose point lies outside
// the source ROI, outside the destination quadrangle or in the destination's
// padding must keep their values, as must the alpha of AC4. Also: thread splits,
// every status code, and non-finite floats.
#include <algorithm>
#include <array>
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

#define ZKR_TABLE "warp/rotate.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "warp/shear.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "warp/warp.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "warp/remap.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

// The parameters of the warp forms, by their names.
struct WarpBag {
    const void* pSrc = nullptr;
    ZkriSize srcSize{0, 0};
    int srcStep = 0;
    ZkriRect srcRoi{0, 0, 0, 0};
    void* pDst = nullptr;
    int dstStep = 0;
    ZkriRect dstRoi{0, 0, 0, 0};
    ZkriSize dstRoiSize{0, 0};
    double angle = 0, xShift = 0, yShift = 0, xShear = 0, yShear = 0;
    const double* coeffs = nullptr;
    const double* srcQuad = nullptr;
    const double* dstQuad = nullptr;
    const Zkr32f* pxMap = nullptr;
    const Zkr32f* pyMap = nullptr;
    int xMapStep = 0, yMapStep = 0;
    int interpolation = ZKRI_WARP_NN;
};

enum class Elem { U8, U16, S16, F32 };
enum class Op {
    Rotate, Shear, Affine, AffineBack, Perspective, PerspectiveBack, AffineQuad, PerspectiveQuad,
    Bilinear, BilinearBack, BilinearQuad, Remap
};

struct WarpCase {
    std::string name;
    Op op;
    Elem elem;
    int channels;  // components per pixel in memory (planes: 1 per plane)
    int planes;
    bool alpha;
    ZkrStatus (*call)(const WarpBag&);
};

template <class T> constexpr Elem elemOf() {
    if constexpr (std::is_same_v<T, Zkr8u>) return Elem::U8;
    else if constexpr (std::is_same_v<T, Zkr16u>) return Elem::U16;
    else if constexpr (std::is_same_v<T, Zkr16s>) return Elem::S16;
    else return Elem::F32;
}

template <class T> WarpCase describe(const char* name, Op op, const std::string& layout, ZkrStatus (*call)(const WarpBag&)) {
    WarpCase c{name, op, elemOf<T>(), 1, 1, layout == "AC4", call};
    c.planes = layout == "P3" ? 3 : 1;
    c.channels = layout == "C3" ? 3 : (layout == "C4" || layout == "AC4" ? 4 : 1);
    return c;
}

const std::vector<WarpCase>& familyCases() {
    static const std::vector<WarpCase> cases = [] {
        std::vector<WarpCase> v;
#define ZKR_FN(name, form, T, L, op) \
    v.push_back(describe<T>(#name, Op::op, #L, [](const WarpBag& b) { return ZKR_CALL(b, name, form, T, L); }));
#include "warp/rotate.tbl"
#include "warp/shear.tbl"
#include "warp/warp.tbl"
#include "warp/remap.tbl"
#undef ZKR_FN
        return v;
    }();
    return cases;
}

const int kModes[] = {ZKRI_WARP_NN, ZKRI_WARP_LINEAR, ZKRI_WARP_CUBIC};

// ---- the mappings, from their definitions -------------------------------------------------

struct Pt {
    double x, y;
};

// Solves a x + b y = e, c x + d y = f by Cramer's rule.
std::optional<Pt> cramer(double a, double b, double c, double d, double e, double f) {
    const double det = a * d - b * c;
    if (det == 0.0) return std::nullopt;
    return Pt{(e * d - b * f) / det, (a * f - e * c) / det};
}

// Gauss-Jordan elimination of an n x (n + 1) augmented system.
std::vector<double> gaussJordan(std::vector<std::vector<double>> m) {
    const std::size_t n = m.size();
    for (std::size_t c = 0; c < n; ++c) {
        std::size_t best = c;
        for (std::size_t r = c; r < n; ++r)
            if (std::fabs(m[r][c]) > std::fabs(m[best][c])) best = r;
        std::swap(m[c], m[best]);
        for (std::size_t r = 0; r < n; ++r) {
            if (r == c) continue;
            const double f = m[r][c] / m[c][c];
            for (std::size_t k = c; k <= n; ++k) m[r][k] -= f * m[c][k];
        }
    }
    std::vector<double> x(n);
    for (std::size_t r = 0; r < n; ++r) x[r] = m[r][n] / m[r][r];
    return x;
}

// One call's mapping parameters; the model turns them into a destination-to-source function.
struct Params {
    double angle = 0, xShift = 0, yShift = 0, xShear = 0, yShear = 0;
    std::vector<double> coeffs;
    std::array<double, 8> srcQuad{}, dstQuad{};
};

struct Mapping {
    Op op;
    Params p;
    std::vector<double> quadMap;  // coefficients solved from the quadrangles

    Mapping(Op o, const Params& params) : op(o), p(params) {
        const auto& s = p.srcQuad;
        const auto& d = p.dstQuad;
        if (op == Op::AffineQuad || op == Op::BilinearQuad) {
            const int n = op == Op::AffineQuad ? 3 : 4;
            for (int out = 0; out < 2; ++out) {
                std::vector<std::vector<double>> m;
                for (int k = 0; k < n; ++k) {
                    std::vector<double> row;
                    if (n == 4) row.push_back(d[2 * k] * d[2 * k + 1]);
                    row.insert(row.end(), {d[2 * k], d[2 * k + 1], 1.0, s[2 * k + out]});
                    m.push_back(row);
                }
                const auto x = gaussJordan(m);
                quadMap.insert(quadMap.end(), x.begin(), x.end());
            }
        } else if (op == Op::PerspectiveQuad) {
            std::vector<std::vector<double>> m;
            for (int k = 0; k < 4; ++k) {
                const double u = d[2 * k], v = d[2 * k + 1], X = s[2 * k], Y = s[2 * k + 1];
                m.push_back({u, v, 1, 0, 0, 0, -u * X, -v * X, X});
                m.push_back({0, 0, 0, u, v, 1, -u * Y, -v * Y, Y});
            }
            quadMap = gaussJordan(m);
        }
    }

    // The source point of destination point (u, v), if there is one.
    std::optional<Pt> operator()(double u, double v) const {
        const std::vector<double>& c = p.coeffs;
        switch (op) {
            case Op::Rotate: {
                const double r = p.angle * M_PI / 180.0;
                return cramer(std::cos(r), std::sin(r), -std::sin(r), std::cos(r), u - p.xShift, v - p.yShift);
            }
            case Op::Shear: return cramer(1.0, p.xShear, p.yShear, 1.0, u - p.xShift, v - p.yShift);
            case Op::Affine: return cramer(c[0], c[1], c[3], c[4], u - c[2], v - c[5]);
            case Op::AffineBack: return Pt{c[0] * u + c[1] * v + c[2], c[3] * u + c[4] * v + c[5]};
            case Op::Perspective:  // u (c6 x + c7 y + c8) = c0 x + c1 y + c2, and the same for v
                return cramer(c[0] - u * c[6], c[1] - u * c[7], c[3] - v * c[6], c[4] - v * c[7], u * c[8] - c[2],
                              v * c[8] - c[5]);
            case Op::PerspectiveBack: {
                const double w = c[6] * u + c[7] * v + c[8];
                if (w == 0.0) return std::nullopt;
                return Pt{(c[0] * u + c[1] * v + c[2]) / w, (c[3] * u + c[4] * v + c[5]) / w};
            }
            case Op::Bilinear: {  // Newton's iteration from the solution without the xy terms
                auto start = cramer(c[1], c[2], c[5], c[6], u - c[3], v - c[7]);
                if (!start) return std::nullopt;
                Pt q = *start;
                for (int it = 0; it < 50; ++it) {
                    const double fx = c[0] * q.x * q.y + c[1] * q.x + c[2] * q.y + c[3] - u;
                    const double fy = c[4] * q.x * q.y + c[5] * q.x + c[6] * q.y + c[7] - v;
                    auto step = cramer(c[0] * q.y + c[1], c[0] * q.x + c[2], c[4] * q.y + c[5], c[4] * q.x + c[6], fx, fy);
                    if (!step) return std::nullopt;
                    q.x -= step->x;
                    q.y -= step->y;
                }
                return q;
            }
            case Op::BilinearBack: return Pt{c[0] * u * v + c[1] * u + c[2] * v + c[3], c[4] * u * v + c[5] * u + c[6] * v + c[7]};
            case Op::AffineQuad: {
                const auto& m = quadMap;
                return Pt{m[0] * u + m[1] * v + m[2], m[3] * u + m[4] * v + m[5]};
            }
            case Op::BilinearQuad: {
                const auto& m = quadMap;
                return Pt{m[0] * u * v + m[1] * u + m[2] * v + m[3], m[4] * u * v + m[5] * u + m[6] * v + m[7]};
            }
            case Op::PerspectiveQuad: {
                const auto& m = quadMap;
                const double w = m[6] * u + m[7] * v + 1.0;
                return Pt{(m[0] * u + m[1] * v + m[2]) / w, (m[3] * u + m[4] * v + m[5]) / w};
            }
            case Op::Remap: break;
        }
        return std::nullopt;
    }

    bool quad() const { return op == Op::AffineQuad || op == Op::PerspectiveQuad || op == Op::BilinearQuad; }

    // Inside the destination quadrangle: on the same side of every edge. `near` reports a point
    // within rounding of an edge, where either answer is right.
    bool inQuad(double u, double v, bool& nearEdge) const {
        int pos = 0, neg = 0;
        const auto& d = p.dstQuad;
        for (int k = 0; k < 4; ++k) {
            const double x0 = d[2 * k], y0 = d[2 * k + 1], x1 = d[(2 * k + 2) % 8], y1 = d[(2 * k + 3) % 8];
            const double cr = (x1 - x0) * (v - y0) - (y1 - y0) * (u - x0);
            if (std::fabs(cr) < 1e-9 * std::hypot(x1 - x0, y1 - y0)) nearEdge = true;
            pos += cr >= 0;
            neg += cr <= 0;
        }
        return pos == 4 || neg == 4;
    }
};

// ---- sampling --------------------------------------------------------------------------------

double cubicKernel(double d) {
    const double a = -0.5, x = std::fabs(d);
    if (x <= 1.0) return ((a + 2.0) * x - (a + 3.0)) * x * x + 1.0;
    if (x < 2.0) return ((a * x - 5.0 * a) * x + 8.0 * a) * x - 4.0 * a;
    return 0.0;
}

// The taps of one axis for a point s of a ROI of n pixels (relative coordinates): indices clamped
// into the ROI, weights from the mode's kernel function of the distance.
std::vector<std::pair<int, double>> taps(int mode, double s, int n) {
    auto clampI = [&](double i) { return int(std::clamp(i, 0.0, double(n - 1))); };
    std::vector<std::pair<int, double>> t;
    const double f = std::floor(s);
    if (mode == ZKRI_WARP_NN) {
        t.push_back({clampI(std::floor(s + 0.5)), 1.0});
    } else if (mode == ZKRI_WARP_LINEAR) {
        for (int k = 0; k <= 1; ++k) t.push_back({clampI(f + k), 1.0 - std::fabs(s - (f + k))});
    } else {
        for (int k = -1; k <= 2; ++k) t.push_back({clampI(f + k), cubicKernel(s - (f + k))});
    }
    return t;
}

template <class T> double refStore(double v) {
    if constexpr (std::is_floating_point_v<T>) return v;
    const double r = std::floor(v + 0.5);
    return std::clamp(r, double(std::numeric_limits<T>::lowest()), double(std::numeric_limits<T>::max()));
}

// ---- images -----------------------------------------------------------------------------------

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

// A source image with its ROI, a destination with its rectangle (Remap: its ROI's size at the
// rectangle's corner), the maps Remap reads, and the bag that calls them.
template <class T> struct Scene {
    const WarpCase* wc;
    std::vector<Img<T>> src, dst;
    ZkriRect roi, dr;
    std::vector<Zkr32f> xMap, yMap;
    Params params;
    const void* srcPlanes[3] = {};
    void* dstPlanes[3] = {};

    Scene(const WarpCase& c, ZkriSize srcSize, ZkriRect r, ZkriSize dstSize, ZkriRect d, std::mt19937& rng)
        : wc(&c), roi(r), dr(d) {
        for (int p = 0; p < c.planes; ++p) {
            src.emplace_back(srcSize.width, srcSize.height, c.channels, 3);
            dst.emplace_back(dstSize.width, dstSize.height, c.channels, 2);
            for (T& v : src.back().data) v = randomValue<T>(rng);
            for (T& v : dst.back().data) v = randomValue<T>(rng);
        }
    }

    WarpBag bag(int mode) {
        WarpBag b;
        for (int p = 0; p < wc->planes; ++p) {
            srcPlanes[p] = src[p].data.data();
            dstPlanes[p] = dst[p].data.data();
            if (wc->op == Op::Remap)  // the maps' region starts at the rectangle's corner
                dstPlanes[p] = &dst[p].at(dr.x, dr.y, 0);
        }
        b.pSrc = wc->planes > 1 ? static_cast<const void*>(srcPlanes) : srcPlanes[0];
        b.pDst = wc->planes > 1 ? static_cast<void*>(dstPlanes) : dstPlanes[0];
        b.srcSize = {src[0].w, src[0].h};
        b.srcStep = src[0].step();
        b.srcRoi = roi;
        b.dstStep = dst[0].step();
        b.dstRoi = dr;
        b.dstRoiSize = {dr.width, dr.height};
        b.angle = params.angle;
        b.xShift = params.xShift;
        b.yShift = params.yShift;
        b.xShear = params.xShear;
        b.yShear = params.yShear;
        b.coeffs = params.coeffs.data();
        b.srcQuad = params.srcQuad.data();
        b.dstQuad = params.dstQuad.data();
        b.pxMap = xMap.data();
        b.pyMap = yMap.data();
        b.xMapStep = b.yMapStep = dr.width * int(sizeof(Zkr32f));
        b.interpolation = mode;
        return b;
    }

    // The source point of destination pixel (x, y) of the whole destination image.
    std::optional<Pt> sourcePoint(const Mapping& m, int x, int y) const {
        if (wc->op != Op::Remap) return m(x, y);
        const std::size_t i = std::size_t(y - dr.y) * dr.width + (x - dr.x);
        return Pt{xMap[i], yMap[i]};
    }

    // The reference of component c at destination pixel (x, y); nullopt where the pixel stays as it
    // was. `unsure` is set where rounding may decide either way (a point on the ROI's or the
    // quadrangle's edge, or half-way between two pixels for the nearest one).
    std::optional<double> reference(const Mapping& m, int p, int x, int y, int c, int mode, bool& unsure) const {
        bool nearEdge = false;
        if (m.quad() && !m.inQuad(x, y, nearEdge)) {
            unsure = nearEdge;
            return std::nullopt;
        }
        unsure = nearEdge;
        const auto q = sourcePoint(m, x, y);
        if (!q || !std::isfinite(q->x) || !std::isfinite(q->y)) return std::nullopt;
        const double sx = q->x - roi.x, sy = q->y - roi.y;
        const double eps = 1e-7;
        auto nearBound = [&](double s, int n) { return std::fabs(s + 0.5) < eps || std::fabs(s - (n - 0.5)) < eps; };
        if (nearBound(sx, roi.width) || nearBound(sy, roi.height)) unsure = true;
        if (mode == ZKRI_WARP_NN && (std::fabs(sx - std::floor(sx) - 0.5) < eps || std::fabs(sy - std::floor(sy) - 0.5) < eps))
            unsure = true;
        if (!(sx >= -0.5 && sx < roi.width - 0.5 && sy >= -0.5 && sy < roi.height - 0.5)) return std::nullopt;
        double v = 0.0;
        for (const auto& [iy, wy] : taps(mode, sy, roi.height))
            for (const auto& [ix, wx] : taps(mode, sx, roi.width))
                if (wx * wy != 0.0) v += wx * wy * double(src[p].at(roi.x + ix, roi.y + iy, c));
        return refStore<T>(v);
    }
};

template <class T> double tolerance(int mode, double want) {
    if (mode == ZKRI_WARP_NN) return 0.0;
    return std::is_floating_point_v<T> ? 2e-3 * (1.0 + std::fabs(want) / 100.0) : 1.0;
}

// Calls the case's function and compares every component of the destination image with the model.
template <class T> void checkAgainstReference(Scene<T>& s, int mode, int& written) {
    const WarpCase& c = *s.wc;
    const std::vector<Img<T>> before = s.dst;
    ZkrStatus st = zkrStsNoErr;
    // Points outside the ROI or the quadrangle, and NaN map coordinates, raise no flag.
    const unsigned flags = floats::flagsOf([&] { st = c.call(s.bag(mode)); });
    ASSERT_EQ(st, zkrStsNoErr);
    EXPECT_EQ(flags & ~floats::kInexact, 0u) << floats::flagNames(flags);
    const Mapping m(c.op, s.params);
    const int active = c.alpha ? 3 : c.channels;
    for (int p = 0; p < c.planes; ++p)
        for (int y = 0; y < before[p].h; ++y)
            for (int x = 0; x < before[p].w; ++x) {
                const bool inRect = x >= s.dr.x && x < s.dr.x + s.dr.width && y >= s.dr.y && y < s.dr.y + s.dr.height;
                for (int ch = 0; ch < c.channels; ++ch) {
                    const T got = s.dst[p].at(x, y, ch);
                    const T old = before[p].at(x, y, ch);
                    bool unsure = false;
                    const auto want = inRect && ch < active ? s.reference(m, p, x, y, ch, mode, unsure) : std::nullopt;
                    if (unsure) continue;
                    if (!want) {
                        ASSERT_TRUE(sameBits(got, old)) << "mode " << mode << " wrote pixel " << x << "," << y
                                                        << " channel " << ch << " plane " << p;
                        continue;
                    }
                    ++written;
                    ASSERT_LE(std::fabs(double(got) - *want), tolerance<T>(mode, *want))
                        << "mode " << mode << " pixel " << x << "," << y << " channel " << ch << " plane " << p;
                }
            }
    for (int p = 0; p < c.planes; ++p)  // the extra components of each row
        for (int y = 0; y < before[p].h; ++y)
            for (int k = before[p].w * c.channels; k < before[p].stride; ++k)
                ASSERT_TRUE(sameBits(s.dst[p].data[std::size_t(y) * before[p].stride + k],
                                     before[p].data[std::size_t(y) * before[p].stride + k]));
}

template <class F> void byElem(const WarpCase& c, F&& f) {
    switch (c.elem) {
        case Elem::U8: f(Zkr8u{}); break;
        case Elem::U16: f(Zkr16u{}); break;
        case Elem::S16: f(Zkr16s{}); break;
        case Elem::F32: f(Zkr32f{}); break;
    }
}

// Two sets of mapping parameters per function: a mild one that covers most of the destination and
// a stronger one that leaves part of it untouched. Source 19 x 13 with ROI (2, 1) 14 x 10;
// destination 21 x 15 written in (1, 2) 17 x 11.
std::vector<Params> paramsFor(Op op) {
    std::vector<Params> out(2);
    Params& a = out[0];
    Params& b = out[1];
    switch (op) {
        case Op::Rotate:
            a.angle = 30, a.xShift = -1.86, a.yShift = 5.05;  // about (8.5, 6)
            b.angle = -100, b.xShift = 15.9, b.yShift = -1.3;
            break;
        case Op::Shear:
            a.xShear = 0.3, a.yShear = -0.2, a.xShift = 1.0, a.yShift = 2.5;
            b.xShear = 0.0, b.yShear = 0.7, b.xShift = -3.0, b.yShift = 0.0;
            break;
        case Op::Affine:
        case Op::AffineBack:
            a.coeffs = {0.9, 0.2, 1.5, -0.25, 1.1, 0.7};
            b.coeffs = {-1.3, 0.1, 19.0, 0.4, 0.6, -2.0};
            break;
        case Op::Perspective:
        case Op::PerspectiveBack:
            a.coeffs = {1.0, 0.1, 1.0, -0.05, 0.95, 2.0, 0.004, -0.003, 1.0};
            b.coeffs = {0.8, -0.2, 4.0, 0.1, 1.2, -1.0, -0.02, 0.01, 1.1};
            break;
        case Op::Bilinear:
        case Op::BilinearBack:
            a.coeffs = {0.004, 0.95, 0.1, 0.5, -0.003, 0.05, 1.05, 1.0};
            b.coeffs = {0.0, 1.2, -0.3, 1.0, 0.0, 0.2, 0.9, 2.0};  // no xy term: affine
            break;
        default:  // the quad forms; the second takes the quadrangle clockwise in the other direction
            a.srcQuad = {1, 0, 17, 2, 15, 12, 3, 11};
            a.dstQuad = {2, 3, 16, 2.5, 18, 14, 0, 12};
            b.srcQuad = {2, 1, 15, 1, 15, 10, 2, 10};
            b.dstQuad = {4.5, 13, 20, 12, 14, 2, 1, 4};
            break;
    }
    return out;
}

// Remap's maps: a rotation of the destination rectangle, a NaN coordinate and points beyond the
// ROI included.
void fillMaps(std::vector<Zkr32f>& xm, std::vector<Zkr32f>& ym, ZkriRect dr, int variant) {
    xm.resize(std::size_t(dr.width) * dr.height);
    ym.resize(xm.size());
    const double r = variant == 0 ? 0.3 : -1.1;
    for (int y = 0; y < dr.height; ++y)
        for (int x = 0; x < dr.width; ++x) {
            const std::size_t i = std::size_t(y) * dr.width + x;
            xm[i] = Zkr32f(8 + std::cos(r) * (x - 8) - std::sin(r) * (y - 5) + 0.37 * variant);
            ym[i] = Zkr32f(6 + std::sin(r) * (x - 8) + std::cos(r) * (y - 5));
        }
    xm[3] = std::numeric_limits<Zkr32f>::quiet_NaN();
}

const double kInfiniteQuad[8] = {0, 0, HUGE_VAL, 0, 10, 10, 0, 10};

class WarpFamily : public LibraryStateTest {};

TEST_F(WarpFamily, MatchesReferenceOnEveryLevel) {
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), [](const WarpCase&) { return true; }, [&](const WarpCase& c) {
            std::mt19937 rng(7);
            const std::vector<Params> sets = paramsFor(c.op);
            for (int mode : kModes)
                for (std::size_t k = 0; k < sets.size(); ++k)
                    byElem(c, [&](auto t) {
                        using T = decltype(t);
                        Scene<T> s(c, {19, 13}, {2, 1, 14, 10}, {21, 15}, {1, 2, 17, 11}, rng);
                        s.params = sets[k];
                        if (c.op == Op::Remap) fillMaps(s.xMap, s.yMap, s.dr, int(k));
                        int written = 0;
                        checkAgainstReference(s, mode, written);
                        // Each set reaches a good part of the rectangle, and the strong one leaves some.
                        EXPECT_GT(written, k == 0 ? 17 * 11 * c.planes * (c.alpha ? 3 : c.channels) / 4 : 0)
                            << "set " << k;
                    });
        });
    });
}

// Identity mappings copy the ROI in every mode, floats bit for bit (NaN, infinities and -0 included).
TEST_F(WarpFamily, IdentityCopiesExactly) {
    forEachCase(familyCases(), [](const WarpCase& c) { return c.op != Op::Remap; }, [&](const WarpCase& c) {
        std::mt19937 rng(3);
        Params id;
        id.coeffs = {1, 0, 0, 0, 1, 0, 0, 0, 1};
        if (c.op == Op::Bilinear || c.op == Op::BilinearBack) id.coeffs = {0, 1, 0, 0, 0, 0, 1, 0};
        id.srcQuad = id.dstQuad = {2, 1, 281, 1, 281, 4, 2, 4};
        for (int mode : kModes)
            byElem(c, [&](auto t) {
                using T = decltype(t);
                // Wider than the kernels' column strips, so that every strip is checked.
                Scene<T> s(c, {300, 6}, {2, 1, 280, 4}, {300, 6}, {2, 1, 280, 4}, rng);
                if constexpr (std::is_floating_point_v<T>) {
                    s.src[0].at(5, 2, 0) = std::numeric_limits<T>::infinity();
                    s.src[0].at(6, 2, 0) = std::numeric_limits<T>::quiet_NaN();
                    s.src[0].at(7, 2, 0) = -0.0f;
                }
                s.params = id;
                ASSERT_EQ(c.call(s.bag(mode)), zkrStsNoErr);
                const int active = c.alpha ? 3 : c.channels;
                for (int p = 0; p < c.planes; ++p)
                    for (int y = 1; y < 5; ++y)
                        for (int x = 2; x < 282; ++x)
                            for (int ch = 0; ch < active; ++ch)
                                ASSERT_TRUE(sameBits(s.dst[p].at(x, y, ch), s.src[p].at(x, y, ch)))
                                    << "mode " << mode << " pixel " << x << "," << y;
            });
    });
}

// A non-finite float reaches exactly the pixels that weigh it: a shift by a quarter pixel
// horizontally puts an infinity into two destination pixels per row with linear taps, four with
// cubic ones, and a NaN likewise; the other pixels stay finite.
TEST_F(WarpFamily, NonFiniteFloatReachesOnlyItsTaps) {
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), [](const WarpCase& c) { return c.elem == Elem::F32 && c.op == Op::AffineBack; },
                    [&](const WarpCase& c) {
                        std::mt19937 rng(5);
                        for (int mode : kModes)
                            for (float bad : {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()}) {
                                Scene<Zkr32f> s(c, {19, 13}, {0, 0, 19, 13}, {19, 13}, {0, 0, 19, 13}, rng);
                                for (auto& im : s.src)
                                    for (float& v : im.data) v = std::uniform_real_distribution<float>(0.5f, 1.5f)(rng);
                                s.src[0].at(9, 6, 0) = bad;
                                s.params.coeffs = {1, 0, 0.25, 0, 1, 0};
                                ASSERT_EQ(c.call(s.bag(mode)), zkrStsNoErr);
                                int count = 0;
                                for (int y = 0; y < 13; ++y)
                                    for (int x = 0; x < 18; ++x) {
                                        const bool nonFinite = !std::isfinite(s.dst[0].at(x, y, 0));
                                        count += nonFinite;
                                        if (nonFinite) {
                                            EXPECT_EQ(y, 6) << "mode " << mode << " pixel " << x;
                                            EXPECT_EQ(std::isnan(bad), std::isnan(s.dst[0].at(x, y, 0)));
                                        }
                                    }
                                EXPECT_EQ(count, mode == ZKRI_WARP_NN ? 1 : (mode == ZKRI_WARP_LINEAR ? 2 : 4))
                                    << "mode " << mode;
                            }
                    });
    });
}

// Two threads give the bits of one, on a destination large enough to be split.
TEST_F(WarpFamily, ThreadSplitsMatchSingleThread) {
    forEachCase(familyCases(), [](const WarpCase& c) { return c.channels == 1 && c.planes == 1 && (c.elem == Elem::U8 || c.elem == Elem::F32); }, [&](const WarpCase& c) {
        std::mt19937 rng(13);
        byElem(c, [&](auto t) {
            using T = decltype(t);
            Scene<T> one(c, {300, 240}, {0, 0, 300, 240}, {272, 241}, {0, 0, 272, 241}, rng);
            Params prm = paramsFor(c.op)[0];
            for (double& v : prm.srcQuad) v *= 15;
            for (double& v : prm.dstQuad) v *= 15;
            one.params = prm;
            if (c.op == Op::Remap) fillMaps(one.xMap, one.yMap, one.dr, 0);
            Scene<T> two = one;
            ASSERT_EQ(zkrSetNumThreads(1), zkrStsNoErr);
            ASSERT_EQ(c.call(one.bag(ZKRI_WARP_CUBIC)), zkrStsNoErr);
            ASSERT_GE(zkrSetNumThreads(2), zkrStsNoErr);
            ASSERT_EQ(c.call(two.bag(ZKRI_WARP_CUBIC)), zkrStsNoErr);
            ASSERT_EQ(std::memcmp(one.dst[0].data.data(), two.dst[0].data.data(), one.dst[0].data.size() * sizeof(T)), 0);
        });
    });
}

// Every status code, in the library's order.
TEST_F(WarpFamily, StatusCodes) {
    forEachCase(familyCases(), [](const WarpCase&) { return true; }, [&](const WarpCase& c) {
        std::mt19937 rng(17);
        byElem(c, [&](auto t) {
            using T = decltype(t);
            Scene<T> s(c, {19, 13}, {2, 1, 14, 10}, {21, 15}, {1, 2, 17, 11}, rng);
            s.params = paramsFor(c.op)[0];
            if (c.op == Op::Remap) fillMaps(s.xMap, s.yMap, s.dr, 0);
            const WarpBag good = s.bag(ZKRI_WARP_LINEAR);
            const bool coeffs = c.op == Op::Affine || c.op == Op::AffineBack || c.op == Op::Perspective ||
                                c.op == Op::PerspectiveBack || c.op == Op::Bilinear || c.op == Op::BilinearBack;
            const bool quad = c.op == Op::AffineQuad || c.op == Op::PerspectiveQuad || c.op == Op::BilinearQuad;
            struct Row {
                const char* what;
                bool applies;
                void (*edit)(WarpBag&);
                ZkrStatus want;
            };
            const Row rows[] = {
                {"null source", true, [](WarpBag& b) { b.pSrc = nullptr; }, zkrStsNullPtrErr},
                {"null destination", true, [](WarpBag& b) { b.pDst = nullptr; }, zkrStsNullPtrErr},
                {"null coefficients", coeffs, [](WarpBag& b) { b.coeffs = nullptr; }, zkrStsNullPtrErr},
                {"null quadrangle", quad, [](WarpBag& b) { b.dstQuad = nullptr; }, zkrStsNullPtrErr},
                {"null map", c.op == Op::Remap, [](WarpBag& b) { b.pyMap = nullptr; }, zkrStsNullPtrErr},
                {"empty source", true, [](WarpBag& b) { b.srcSize.height = 0; }, zkrStsSizeErr},
                {"empty ROI", true, [](WarpBag& b) { b.srcRoi.width = 0; }, zkrStsSizeErr},
                {"ROI outside", true, [](WarpBag& b) { b.srcRoi.x = 19; }, zkrStsSizeErr},
                {"empty destination", true, [](WarpBag& b) { b.dstRoi.height = b.dstRoiSize.height = 0; }, zkrStsSizeErr},
                {"negative destination corner", c.op != Op::Remap, [](WarpBag& b) { b.dstRoi.x = -1; }, zkrStsSizeErr},
                {"short source step", true, [](WarpBag& b) { b.srcStep = 2; }, zkrStsStepErr},
                {"short destination step", true, [](WarpBag& b) { b.dstStep = 2; }, zkrStsStepErr},
                {"short map step", c.op == Op::Remap, [](WarpBag& b) { b.xMapStep -= 4; }, zkrStsStepErr},
                {"unknown interpolation", true, [](WarpBag& b) { b.interpolation = 8; }, zkrStsInterpolationErr},
                {"infinite angle", c.op == Op::Rotate, [](WarpBag& b) { b.angle = HUGE_VAL; }, zkrStsBadArgErr},
                {"shear without inverse", c.op == Op::Shear, [](WarpBag& b) { b.xShear = 2.0, b.yShear = 0.5; }, zkrStsBadArgErr},
                {"infinite corner", quad, [](WarpBag& b) { b.srcQuad = kInfiniteQuad; }, zkrStsBadArgErr},
            };
            for (const Row& r : rows) {
                if (!r.applies) continue;
                Scene<T> fresh = s;
                WarpBag b = fresh.bag(ZKRI_WARP_LINEAR);
                std::array<double, 8> quadCopy = s.params.dstQuad;
                if (quad) b.dstQuad = quadCopy.data();
                r.edit(b);
                EXPECT_EQ(c.call(b), r.want) << r.what;
                EXPECT_EQ(fresh.dst[0].data, s.dst[0].data) << r.what << " wrote the destination";
            }
            // Coefficients without an inverse, and quadrangles that are not convex or are flat.
            const std::vector<double> singular = {1, 2, 0, 2, 4, 0, 0, 0, 0};
            if (c.op == Op::Affine || c.op == Op::Perspective) {
                WarpBag b = s.bag(ZKRI_WARP_LINEAR);
                b.coeffs = singular.data();
                EXPECT_EQ(c.call(b), zkrStsBadArgErr);
            }
            if (quad) {
                const double bowTie[8] = {0, 0, 10, 10, 10, 0, 0, 10}, flat[8] = {0, 0, 5, 5, 10, 10, 3, 3};
                WarpBag b = s.bag(ZKRI_WARP_LINEAR);
                b.dstQuad = bowTie;
                EXPECT_EQ(c.call(b), zkrStsBadArgErr) << "crossed destination quadrangle";
                b = s.bag(ZKRI_WARP_LINEAR);
                b.srcQuad = flat;
                EXPECT_EQ(c.call(b), zkrStsBadArgErr) << "flat source quadrangle";
            }
            EXPECT_EQ(c.call(good), zkrStsNoErr);
        });
    });
}

TEST(WarpFamilyTable, HasEveryVariantOnce) {
    std::vector<std::string> names;
    int perOp[12] = {};
    for (const WarpCase& c : familyCases()) {
        names.push_back(c.name);
        ++perOp[int(c.op)];
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
    for (int n : perOp) EXPECT_EQ(n, 18);
    EXPECT_EQ(names.size(), 216u);
}

}  // namespace
}  // namespace zkrtest
