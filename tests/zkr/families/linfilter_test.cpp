// The linear filter family against a direct reference, driven by its six tables: every function on
// every dispatch level, ROIs inside padded images whose border supplies the kernel's neighbours,
// fixed kernels of both mask sizes, user kernels of odd, even, one-element and lopsided shapes with
// zero weights and every anchor corner, every divisor sign and rounding mode, medians over their
// windows, decimation, thread splits and every argument error.
//
// The reference sums every window directly: integer kernels on integer images exactly (64-bit) and
// divided with the rounding mode in integer arithmetic; float kernels on integer images in double,
// 32f images in single and 64f in double precision, in the kernel's row order (the family's
// documented order, so the results are compared bit for bit).
#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <set>
#include <tuple>
#include <type_traits>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "linfilter/filterfixed.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "linfilter/fmask.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "linfilter/filter.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "linfilter/filterrow.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "linfilter/filterround.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "linfilter/decfilter.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

struct LfBag : Bag {
    ZkriSize dstRoiSize{0, 0}, srcRoiSize{0, 0}, maskSize{0, 0}, kernelSize{0, 0};
    const void* pKernel = nullptr;
    ZkriPoint anchor{0, 0};
    int kernelLen = 0, xAnchor = 0, yAnchor = 0, divisor = 1, roundMode = zkrRndNear, factor = 2;
};

enum class Ty { U8, U16, S16, S32, F32, F64 };
template <class T> constexpr Ty tyOf() {
    if constexpr (std::is_same_v<T, Zkr8u>) return Ty::U8;
    else if constexpr (std::is_same_v<T, Zkr16u>) return Ty::U16;
    else if constexpr (std::is_same_v<T, Zkr16s>) return Ty::S16;
    else if constexpr (std::is_same_v<T, Zkr32s>) return Ty::S32;
    else if constexpr (std::is_same_v<T, Zkr32f>) return Ty::F32;
    else return Ty::F64;
}

// How a row computes: a fixed kernel (3x3 or by mask size), a median, a user kernel (2-D, column,
// row) or decimation.
enum class Kind { Fixed, Mask, Median, Colour, User, Column, Row, Decimate };

struct LfCase {
    std::string name, base, form, op;
    Kind kind;
    int channels;
    bool alpha;
    Ty src, dst, kernel;
    bool divisor, rounding;
    ZkrStatus (*call)(const LfBag&);

    int active() const { return alpha ? 3 : channels; }
};

Kind kindOf(const std::string& form, const std::string& op) {
    if (op.rfind("Median", 0) == 0) return op == "MedianColor" ? Kind::Colour : Kind::Median;
    if (form == "lf_fixed") return Kind::Fixed;
    if (form == "lf_mask") return Kind::Mask;
    if (form == "lf_decimate") return Kind::Decimate;
    if (form.rfind("lf_column", 0) == 0) return Kind::Column;
    if (form.rfind("lf_row", 0) == 0) return Kind::Row;
    return Kind::User;
}

// The name after "zkri" up to the underscore that starts the element types.
std::string baseOf(const std::string& n) {
    for (std::size_t i = 4; i + 1 < n.size(); ++i)
        if (n[i] == '_' && n[i + 1] >= '0' && n[i + 1] <= '9') return n.substr(4, i - 4);
    return n;
}

template <class Ts, class Td, class K>
LfCase describe(const char* name, const char* form, const char* layout, const char* op, ZkrStatus (*call)(const LfBag&)) {
    LfCase c;
    c.name = name;
    const std::string n = name;
    c.base = baseOf(n);
    c.form = form;
    c.op = op;
    c.kind = kindOf(c.form, c.op);
    const std::string l = layout;
    c.channels = l == "C1" ? 1 : (l == "C3" ? 3 : 4);
    c.alpha = l == "AC4";
    c.src = tyOf<Ts>();
    c.dst = tyOf<Td>();
    c.kernel = tyOf<K>();
    c.divisor = formEndsWith(c.form, "_div") || formEndsWith(c.form, "_div_r");
    c.rounding = formEndsWith(c.form, "_r");
    c.call = call;
    return c;
}

std::vector<LfCase> expandTables() {
    std::vector<LfCase> cases;
#define ZKR_FN(name, form, Ts, Td, K, L, op)                                                             \
    cases.push_back(describe<Ts, Td, K>(#name, #form, #L, #op, [](const LfBag& b) -> ZkrStatus {          \
        return ZKR_CALL(b, name, form, Ts, Td, K);                                                          \
    }));
#include "linfilter/filterfixed.tbl"
#include "linfilter/fmask.tbl"
#include "linfilter/filter.tbl"
#include "linfilter/filterrow.tbl"
#include "linfilter/filterround.tbl"
#include "linfilter/decfilter.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<LfCase>& familyCases() {
    static const std::vector<LfCase> cases = expandTables();
    return cases;
}

// Runs f.template operator()<S, D>() for the case's source and destination types.
template <class F> void withTypes(const LfCase& c, F&& f) {
    auto is = [&](Ty s, Ty d) { return c.src == s && c.dst == d; };
    if (is(Ty::U8, Ty::U8)) f.template operator()<Zkr8u, Zkr8u>();
    else if (is(Ty::U16, Ty::U16)) f.template operator()<Zkr16u, Zkr16u>();
    else if (is(Ty::S16, Ty::S16)) f.template operator()<Zkr16s, Zkr16s>();
    else if (is(Ty::F32, Ty::F32)) f.template operator()<Zkr32f, Zkr32f>();
    else if (is(Ty::F64, Ty::F64)) f.template operator()<Zkr64f, Zkr64f>();
    else if (is(Ty::U8, Ty::S16)) f.template operator()<Zkr8u, Zkr16s>();
    else if (is(Ty::S16, Ty::F32)) f.template operator()<Zkr16s, Zkr32f>();
    else ADD_FAILURE() << c.name << ": type pair without a reference";
}

// ---- the filters' definitions ---------------------------------------------------------------

// A kernel as the reference reads it: weights in row order, anchor, divisor, rounding.
struct Kernel {
    int w = 0, h = 0, ax = 0, ay = 0;
    std::vector<double> weights;
    int divisor = 1;
    int round = zkrRndNear;
};

Kernel square(int size, std::vector<double> w, int divisor = 1) {
    return Kernel{size, size, size / 2, size / 2, std::move(w), divisor, zkrRndNear};
}

// The fixed kernels, written out.
Kernel fixedKernel(const std::string& op, int size) {
    const bool five = size == 5;
    auto outer = [&](std::vector<int> u, std::vector<int> v, int divisor) {
        std::vector<double> w;
        for (int a : u)
            for (int b : v) w.push_back(a * b);
        return square(size, w, divisor);
    };
    const std::vector<int> s3{1, 2, 1}, s5{1, 4, 6, 4, 1}, d3{-1, 0, 1}, d5{-1, -2, 0, 2, 1}, e3{1, -2, 1},
        e5{1, 0, -2, 0, 1};
    const auto& sm = five ? s5 : s3;
    const auto& df = five ? d5 : d3;
    const auto& sc = five ? e5 : e3;
    if (op == "PrewittVert") return square(3, {-1, 0, 1, -1, 0, 1, -1, 0, 1});
    if (op == "PrewittHoriz") return square(3, {-1, -1, -1, 0, 0, 0, 1, 1, 1});
    if (op == "ScharrVert") return square(3, {-3, 0, 3, -10, 0, 10, -3, 0, 3});
    if (op == "ScharrHoriz") return square(3, {-3, -10, -3, 0, 0, 0, 3, 10, 3});
    if (op == "RobertsUp") return square(3, {0, 0, 0, 0, 0, 1, 0, -1, 0});
    if (op == "RobertsDown") return square(3, {0, 0, 0, 0, 1, 0, 0, 0, -1});
    if (op == "Sharpen") return square(3, {-1, -1, -1, -1, 16, -1, -1, -1, -1}, 8);
    if (op == "SobelVert") return outer(sm, df, 1);
    if (op == "SobelHoriz") return outer(df, sm, 1);
    if (op == "SobelVertSecond") return outer(sm, sc, 1);
    if (op == "SobelHorizSecond") return outer(sc, sm, 1);
    if (op == "SobelCross") return outer(df, df, 1);
    if (op == "Gauss") return outer(sm, sm, five ? 256 : 16);
    if (op == "Lowpass") return square(size, std::vector<double>(std::size_t(size * size), 1.0), size * size);
    if (op == "Hipass") {
        std::vector<double> w(std::size_t(size * size), -1.0);
        w[w.size() / 2] = size * size - 1;
        return square(size, w);
    }
    if (op == "Laplace")
        return five ? square(5, {-1, -3, -4, -3, -1, -3, 0, 6, 0, -3, -4, 6, 20, 6, -4, -3, 0, 6, 0, -3, -1, -3, -4, -3, -1})
                    : square(3, {0, -1, 0, -1, 4, -1, 0, -1, 0});
    ADD_FAILURE() << "no fixed kernel for " << op;
    return {};
}

// Exact n / d rounded by the mode.
std::int64_t roundedQuotient(std::int64_t n, std::int64_t d, int mode) {
    if (d < 0) n = -n, d = -d;
    const std::int64_t t = n / d, r = n % d, sign = n < 0 ? -1 : 1;
    const std::int64_t twice = 2 * (r < 0 ? -r : r);
    if (mode == zkrRndZero || r == 0) return t;
    if (mode == zkrRndFinancial) return twice >= d ? t + sign : t;
    if (twice != d) return twice > d ? t + sign : t;
    return (t % 2 != 0) ? t + sign : t;
}

template <class D> D saturate(double v) {
    const double lo = double(std::numeric_limits<D>::lowest()), hi = double(std::numeric_limits<D>::max());
    return D(v < lo ? lo : (v > hi ? hi : v));
}

double roundedByMode(double v, int mode) {
    if (mode == zkrRndZero) return std::trunc(v);
    if (mode == zkrRndFinancial) return std::round(v);
    return std::nearbyint(v);
}

// Bit-for-bit comparison, any NaN matching any NaN.
template <class S> bool matches(S got, S want) {
    if constexpr (std::is_floating_point_v<S>)
        if (std::isnan(want)) return std::isnan(got);
    return sameBits(got, want);
}

template <class S> void fillSource(std::vector<S>& v, std::mt19937& rng) {
    if constexpr (std::is_same_v<S, Zkr32f>) floats::fillHostile(v, rng, 0.02);
    else if constexpr (std::is_same_v<S, Zkr64f>)
        for (S& x : v) x = std::uniform_real_distribution<double>(-1e3, 1e3)(rng);
    else fillRandom(v, rng);
}

// ---- one call against the reference -----------------------------------------------------------

template <class S, class D> struct Call {
    const LfCase* fc;
    Kernel k;  // linear kinds; the window's shape for medians
    std::vector<int> wx, wy;  // median windows: offsets in order
    Plane<S> src;
    Plane<D> dst;
    std::vector<Zkr16s> k16;
    std::vector<Zkr32s> k32;
    std::vector<Zkr32f> kf;
    std::vector<Zkr64f> kd;
    int factor = 2;

    static Padding border(const Kernel& k, Padding extra) {
        return Padding{k.ax + extra.left, k.w - 1 - k.ax + extra.right, k.ay + extra.top, k.h - 1 - k.ay + extra.bottom,
                       extra.extra};
    }
    static ZkriSize dstSize(const LfCase& c, int w, int h, int f) {
        if (c.kind != Kind::Decimate) return {w, h};
        return c.op == "DecRow" ? ZkriSize{w / f, h} : ZkriSize{w, h / f};
    }

    Call(const LfCase& c, int w, int h, Kernel kern, int f, bool padded, std::mt19937& rng)
        : fc(&c), k(std::move(kern)), src(w, h, c.channels, border(k, padded ? randomPadding(rng) : Padding{}), rng),
          dst(dstSize(c, w, h, f).width, dstSize(c, w, h, f).height, c.channels,
              padded ? randomPadding(rng) : Padding{}, rng),
          factor(f) {
        fillSource(src.data, rng);
        fillSource(dst.data, rng);
        for (double v : k.weights) {
            k16.push_back(Zkr16s(v));
            k32.push_back(Zkr32s(v));
            kf.push_back(Zkr32f(v));
            kd.push_back(v);
        }
    }

    LfBag bag() {
        LfBag b;
        b.pSrc = src.roi();
        b.srcStep = src.stepBytes();
        b.pDst = dst.roi();
        b.dstStep = dst.stepBytes();
        b.dstRoiSize = {dst.width, dst.height};
        b.srcRoiSize = {src.width, src.height};
        b.maskSize = {k.w, k.h};
        b.kernelSize = {k.w, k.h};
        b.anchor = {k.ax, k.ay};
        b.kernelLen = fc->kind == Kind::Column ? k.h : k.w;
        b.xAnchor = k.ax;
        b.yAnchor = k.ay;
        b.divisor = k.divisor;
        b.roundMode = k.round;
        b.factor = factor;
        switch (fc->kernel) {
            case Ty::S16: b.pKernel = k16.data(); break;
            case Ty::F32: b.pKernel = kf.data(); break;
            case Ty::F64: b.pKernel = kd.data(); break;
            default: b.pKernel = k32.data(); break;
        }
        return b;
    }

    // The window of a median or colour median: its elements in order.
    std::vector<std::pair<int, int>> window() const {
        std::vector<std::pair<int, int>> w;
        for (int j = 0; j < k.h; ++j)
            for (int i = 0; i < k.w; ++i)
                if (fc->kind == Kind::Colour || k.weights[std::size_t(j * k.w + i)] != 0) w.push_back({i - k.ax, j - k.ay});
        return w;
    }

    S at(int x, int y, int c) const { return src.at(y, x * fc->channels + c); }

    D linear(int x, int y, int c) const {
        const bool intKernel = fc->kernel == Ty::S16 || fc->kernel == Ty::S32;
        if constexpr (!std::is_floating_point_v<S> && !std::is_floating_point_v<D>) {
            if (intKernel || fc->kind == Kind::Fixed || fc->kind == Kind::Mask) {
                std::int64_t sum = 0;
                for (int j = 0; j < k.h; ++j)
                    for (int i = 0; i < k.w; ++i)
                        sum += std::int64_t(k.weights[std::size_t(j * k.w + i)]) * at(x - k.ax + i, y - k.ay + j, c);
                return saturate<D>(double(roundedQuotient(sum, k.divisor, k.round)));
            }
            double sum = 0;
            for (int j = 0; j < k.h; ++j)
                for (int i = 0; i < k.w; ++i) {
                    const double w = double(Zkr32f(k.weights[std::size_t(j * k.w + i)]));
                    if (w != 0) sum += w * double(at(x - k.ax + i, y - k.ay + j, c));
                }
            return saturate<D>(roundedByMode(sum, k.round));
        } else {
            using A = std::conditional_t<std::is_same_v<D, Zkr64f>, double, float>;
            A sum = 0;
            for (int j = 0; j < k.h; ++j)
                for (int i = 0; i < k.w; ++i) {
                    const A w = A(k.weights[std::size_t(j * k.w + i)]);
                    if (w != 0) sum = sum + w * A(at(x - k.ax + i, y - k.ay + j, c));
                }
            return k.divisor == 1 ? D(sum) : D(sum / A(k.divisor));
        }
    }

    D median(int x, int y, int c) const {
        std::vector<S> v;
        for (auto [i, j] : window()) v.push_back(at(x + i, y + j, c));
        std::sort(v.begin(), v.end());
        return D(v[v.size() / 2]);
    }

    // The window pixel with the least sum of channel distances to the others, the first on ties.
    std::pair<int, int> colourPick(int x, int y) const {
        using Dist = std::conditional_t<std::is_floating_point_v<S>, double, std::int64_t>;
        const auto w = window();
        std::size_t best = 0;
        Dist bestSum = 0;
        for (std::size_t a = 0; a < w.size(); ++a) {
            Dist sum = 0;
            for (std::size_t b = 0; b < w.size(); ++b) {
                if (a == b) continue;
                Dist d = 0;
                for (int c = 0; c < 3; ++c)
                    d += std::abs(Dist(at(x + w[a].first, y + w[a].second, c)) - Dist(at(x + w[b].first, y + w[b].second, c)));
                sum += d;
            }
            if (a == 0 || sum < bestSum) best = a, bestSum = sum;
        }
        return w[best];
    }

    D decimated(int x, int y) const {
        int sum = 0;
        for (int t = 0; t < factor; ++t) sum += fc->op == "DecRow" ? at(x * factor + t, y, 0) : at(x, y * factor + t, 0);
        return D((sum + factor / 2) / factor);
    }

    void runAndCheck() {
        const Plane<S> original = src;
        const Plane<D> before = dst;
        ASSERT_EQ(fc->call(bag()), zkrStsNoErr);
        int bad = 0;
        for (std::size_t i = 0; i < dst.data.size() && bad < 5; ++i)
            if (!before.insideRoi(i) && !sameBits(dst.data[i], before.data[i]))
                ADD_FAILURE() << "write outside the ROI at buffer index " << i, ++bad;
        for (int y = 0; y < dst.height && bad < 5; ++y)
            for (int x = 0; x < dst.width && bad < 5; ++x) {
                std::pair<int, int> pick{0, 0};
                if (fc->kind == Kind::Colour) pick = colourPick(x, y);
                for (int c = 0; c < fc->channels; ++c) {
                    const D got = dst.at(y, x * fc->channels + c);
                    D want;
                    if (c >= fc->active()) want = before.at(y, x * fc->channels + c);
                    else if (fc->kind == Kind::Median) want = median(x, y, c);
                    else if (fc->kind == Kind::Colour) want = D(at(x + pick.first, y + pick.second, c));
                    else if (fc->kind == Kind::Decimate) want = decimated(x, y);
                    else want = linear(x, y, c);
                    if (!matches(got, want))
                        ADD_FAILURE() << "pixel (" << x << "," << y << ") channel " << c << ": got " << +got << ", want "
                                      << +want,
                            ++bad;
                }
            }
        EXPECT_EQ(std::memcmp(src.data.data(), original.data.data(), src.data.size() * sizeof(S)), 0)
            << "source modified";
    }
};

// ---- the kernels and windows each kind is checked with ----------------------------------------

// User kernels: random weights (a third of them 0) of every shape the taps' grouping treats apart,
// anchors at the centre and the corners; integer weights with a divisor of either sign.
std::vector<Kernel> userKernels(const LfCase& c, std::mt19937& rng) {
    struct Shape {
        int w, h, ax, ay;
    };
    std::vector<Shape> shapes;
    if (c.kind == Kind::Column) shapes = {{1, 3, 0, 1}, {1, 1, 0, 0}, {1, 4, 0, 3}, {1, 7, 0, 0}};
    else if (c.kind == Kind::Row) shapes = {{3, 1, 1, 0}, {1, 1, 0, 0}, {4, 1, 3, 0}, {7, 1, 0, 0}};
    else shapes = {{3, 3, 1, 1}, {1, 1, 0, 0}, {4, 2, 3, 0}, {2, 5, 0, 4}, {5, 5, 2, 2}};
    const bool integer = c.kernel == Ty::S16 || c.kernel == Ty::S32;
    const int divisors[] = {1, 3, 16, -5, 7};
    const int modes[] = {zkrRndZero, zkrRndNear, zkrRndFinancial};
    std::vector<Kernel> out;
    int at = 0;
    for (const Shape& s : shapes)
        for (int mode : c.rounding ? std::vector<int>{modes[0], modes[1], modes[2]} : std::vector<int>{zkrRndNear}) {
            Kernel k{s.w, s.h, s.ax, s.ay, {}, 1, mode};
            for (int i = 0; i < s.w * s.h; ++i) {
                const bool zero = std::uniform_int_distribution<int>(0, 2)(rng) == 0 && s.w * s.h > 1;
                if (integer) k.weights.push_back(zero ? 0 : std::uniform_int_distribution<int>(-9, 9)(rng));
                else k.weights.push_back(zero ? 0 : double(std::uniform_real_distribution<float>(-1.5f, 1.5f)(rng)));
            }
            if (c.divisor) k.divisor = divisors[at++ % 5];
            out.push_back(k);
        }
    return out;
}

std::vector<Kernel> kernelsOf(const LfCase& c, std::mt19937& rng) {
    switch (c.kind) {
        case Kind::Fixed: return {fixedKernel(c.op, 3)};
        case Kind::Mask: return {fixedKernel(c.op, 3), fixedKernel(c.op, 5)};
        case Kind::Median:
        case Kind::Colour: {
            std::vector<Kernel> out;
            for (int m : {3, 5}) {
                const int w = c.op == "MedianVert" ? 1 : m, h = c.op == "MedianHoriz" ? 1 : m;
                Kernel k{w, h, w / 2, h / 2, std::vector<double>(std::size_t(w * h), 1.0), 1, zkrRndNear};
                if (c.op == "MedianCross")
                    for (int j = 0; j < h; ++j)
                        for (int i = 0; i < w; ++i) k.weights[std::size_t(j * w + i)] = (i == w / 2 || j == h / 2);
                out.push_back(k);
            }
            return out;
        }
        case Kind::Decimate: return {Kernel{1, 1, 0, 0, {1.0}, 1, zkrRndNear}};
        default: return userKernels(c, rng);
    }
}

struct Geometry {
    int width, height;
    bool padded;
};
const Geometry kGeometries[] = {{1, 1, false}, {7, 5, true}, {37, 6, true}, {64, 3, false}};

template <class S, class D> void checkAgainstReference(const LfCase& c) {
    std::mt19937 rng(2026);
    forEachLevel([&](const Level&) {
        for (const Kernel& k : kernelsOf(c, rng))
            for (const Geometry& g : kGeometries)
                for (int f : c.kind == Kind::Decimate ? std::vector<int>{2, 3, 8} : std::vector<int>{2}) {
                    if (c.kind == Kind::Decimate && (c.op == "DecRow" ? g.width : g.height) < f) continue;
                    SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " kernel " << k.w << "x" << k.h
                                                    << " anchor " << k.ax << "," << k.ay << " divisor " << k.divisor
                                                    << " mode " << k.round << " factor " << f);
                    Call<S, D> call(c, g.width, g.height, k, f, g.padded, rng);
                    call.runAndCheck();
                    if (testing::Test::HasFailure()) return;
                }
    });
}

// An image above the splitting threshold gives the single-thread result on 2 and 3 threads.
template <class S, class D> void checkThreadSplits(const LfCase& c) {
    std::mt19937 rng(31);
    const Kernel k = kernelsOf(c, rng).back();
    const Call<S, D> original(c, kSplitSize.width, kSplitSize.height, k, 2, true, rng);
    std::vector<D> single;
    for (int threads : {1, 2, 3}) {
        SCOPED_TRACE(testing::Message() << threads << " threads");
        ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
        Call<S, D> call = original;
        ASSERT_EQ(c.call(call.bag()), zkrStsNoErr);
        if (threads == 1) single = call.dst.data;
        else EXPECT_EQ(std::memcmp(call.dst.data.data(), single.data(), single.size() * sizeof(D)), 0)
                 << "result depends on the thread split";
    }
}

// Argument checks in order: NULL pointers, ROI size, steps, then kernel or mask size, anchor,
// divisor and rounding mode (decimation: factor, then the decimated size); nothing written on error.
template <class S, class D> void checkStatusCodes(const LfCase& c) {
    std::mt19937 rng(5);
    Kernel k = kernelsOf(c, rng).front();
    Call<S, D> call(c, 8, 4, k, 2, true, rng);
    const LfBag good = call.bag();
    const std::vector<D> before = call.dst.data;
    auto expect = [&](const LfBag& b, ZkrStatus want, const char* what) {
        EXPECT_EQ(c.call(b), want) << what;
        EXPECT_EQ(std::memcmp(call.dst.data.data(), before.data(), before.size() * sizeof(D)), 0)
            << what << ": destination written on error";
    };
    LfBag b = good;
    b.pDst = nullptr;
    b.maskSize = b.kernelSize = {0, 0};
    b.kernelLen = 0;
    b.factor = 0;
    expect(b, zkrStsNullPtrErr, "null destination, checked first");
    b = good;
    b.pSrc = nullptr;
    expect(b, zkrStsNullPtrErr, "null source");
    const bool hasKernel = c.kind == Kind::User || c.kind == Kind::Column || c.kind == Kind::Row;
    if (hasKernel) {
        b = good;
        b.pKernel = nullptr;
        b.divisor = 0;
        expect(b, zkrStsNullPtrErr, "null kernel");
    }
    for (ZkriSize roi : {ZkriSize{0, 4}, ZkriSize{8, 0}, ZkriSize{-1, 4}}) {
        b = good;
        b.dstRoiSize = b.srcRoiSize = roi;
        b.anchor = {-1, -1};
        b.factor = 1;
        expect(b, zkrStsSizeErr, "bad roi");
    }
    const int srcRow = 8 * c.channels * int(sizeof(S)), dstRow = call.dst.width * c.channels * int(sizeof(D));
    for (int which : {0, 1})
        for (int bad : {0, -8, (which ? dstRow : srcRow) - 1}) {
            b = good;
            (which ? b.dstStep : b.srcStep) = bad;
            b.maskSize = b.kernelSize = {-1, 3};
            b.kernelLen = -1;
            if (c.kind == Kind::Decimate) continue;
            expect(b, zkrStsStepErr, "bad step, checked before the kernel");
        }
    if (c.kind == Kind::Decimate) {
        for (int f : {1, 9, 0, -2}) {
            b = good;
            b.factor = f;
            expect(b, zkrStsResizeFactorErr, "factor outside 2..8");
        }
        b = good;
        b.srcRoiSize = c.op == "DecRow" ? ZkriSize{3, 4} : ZkriSize{8, 3};
        b.factor = 4;
        expect(b, zkrStsSizeErr, "nothing left after decimation");
        b = good;
        b.dstStep = 1;
        expect(b, zkrStsStepErr, "destination step shorter than the decimated row");
        return;
    }
    if (c.kind == Kind::Fixed) return;
    if (c.kind == Kind::Mask || c.kind == Kind::Median || c.kind == Kind::Colour) {
        const bool line = c.op == "MedianHoriz" || c.op == "MedianVert";
        std::vector<ZkriSize> bad = {{4, 4}, {1, 1}, {7, 7}, {0, 0}, {3, 5}};
        if (line) bad.push_back({3, 3});
        else bad.push_back(c.op == "MedianCross" || c.op == "MedianColor" ? ZkriSize{3, 1} : ZkriSize{5, 1});
        for (ZkriSize m : bad) {
            b = good;
            b.maskSize = c.op == "MedianVert" ? ZkriSize{m.height, m.width} : m;
            expect(b, zkrStsMaskSizeErr, "mask size without a kernel");
        }
        return;
    }
    const bool twoD = c.kind == Kind::User;
    for (int bad : {0, -3, 65537}) {
        b = good;
        if (twoD) b.kernelSize = {bad, 1};
        else b.kernelLen = bad;
        b.divisor = 0;
        expect(b, zkrStsMaskSizeErr, "bad kernel size");
    }
    if (twoD) {
        b = good;
        b.kernelSize = {257, 256};
        expect(b, zkrStsMaskSizeErr, "more than 65536 weights");
    }
    for (int bad : {-1, twoD ? k.w : (c.kind == Kind::Column ? k.h : k.w)}) {
        b = good;
        b.anchor = {bad, 0};
        b.xAnchor = b.yAnchor = bad;
        b.divisor = 0;
        expect(b, zkrStsAnchorErr, "anchor outside the kernel");
    }
    if (c.divisor) {
        b = good;
        b.divisor = 0;
        b.roundMode = 7;
        expect(b, zkrStsBadArgErr, "divisor 0");
    }
    if (c.rounding)
        for (int mode : {-1, 3}) {
            b = good;
            b.roundMode = mode;
            expect(b, zkrStsBadArgErr, "unknown rounding mode");
        }
}

class LinFilterFamily : public testing::WithParamInterface<Kind>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases(), [&](const LfCase& c) { return c.kind == GetParam(); }, check);
    }
};

TEST_P(LinFilterFamily, MatchesReferenceOnEveryLevel) {
    walk([](const LfCase& c) { withTypes(c, [&]<class S, class D>() { checkAgainstReference<S, D>(c); }); });
}
// One function per element types and channel count of each kind: the bands are the kernels' own,
// whatever the function.
TEST_P(LinFilterFamily, ThreadSplitsMatchSingleThread) {
    std::set<std::tuple<Ty, Ty, int>> seen;
    forEachCase(
        familyCases(),
        [&](const LfCase& c) { return c.kind == GetParam() && seen.insert({c.src, c.dst, c.channels}).second; },
        [](const LfCase& c) { withTypes(c, [&]<class S, class D>() { checkThreadSplits<S, D>(c); }); });
}
TEST_P(LinFilterFamily, StatusCodes) {
    walk([](const LfCase& c) { withTypes(c, [&]<class S, class D>() { checkStatusCodes<S, D>(c); }); });
}

std::string kindName(const testing::TestParamInfo<Kind>& p) {
    static const char* const kinds[] = {"Fixed", "Mask", "Median", "Colour", "User", "Column", "Row", "Decimate"};
    return kinds[int(p.param)];
}

INSTANTIATE_TEST_SUITE_P(Zkri, LinFilterFamily,
                         testing::Values(Kind::Fixed, Kind::Mask, Kind::Median, Kind::Colour, Kind::User, Kind::Column,
                                         Kind::Row, Kind::Decimate),
                         kindName);

// The counts per base of every module, and no function twice.
TEST(LinFilterFamilyTable, CountsPerBase) {
    std::vector<std::string> names;
    std::map<std::string, int> perBase;
    for (const LfCase& c : familyCases()) {
        names.push_back(c.name);
        ++perBase[c.base];
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "a function is listed twice";
    EXPECT_EQ(names.size(), 303u);
    const std::map<std::string, int> want = {
        {"FilterPrewittVert", 12}, {"FilterPrewittHoriz", 12}, {"FilterSobelVert", 14}, {"FilterSobelHoriz", 14},
        {"FilterRobertsUp", 9}, {"FilterRobertsDown", 9}, {"FilterSharpen", 12}, {"FilterScharrVert", 3},
        {"FilterScharrHoriz", 3}, {"FilterMedianHoriz", 12}, {"FilterMedianVert", 12}, {"FilterMedianCross", 9},
        {"FilterMedianColor", 6}, {"FilterLaplace", 14}, {"FilterGauss", 16}, {"FilterHipass", 12},
        {"FilterLowpass", 12}, {"FilterSobelVertSecond", 3}, {"FilterSobelHorizSecond", 3}, {"FilterSobelCross", 3},
        {"FilterSobelVertMask", 1}, {"FilterSobelHorizMask", 1}, {"Filter", 17}, {"Filter32f", 12},
        {"FilterColumn", 16}, {"FilterColumn32f", 12}, {"FilterRow", 16}, {"FilterRow32f", 12},
        {"Filter_Round16s", 4}, {"Filter_Round32s", 8}, {"Filter_Round32f", 12}, {"DecimateFilterRow", 1},
        {"DecimateFilterColumn", 1}};
    EXPECT_EQ(perBase, want);
}

// ---- directed edges -------------------------------------------------------------------------------

class LinFilterEdges : public LibraryStateTest {};

// Halves under each rounding mode: a 1x1 kernel of weight 1 and divisor 2 (and -2) over 1, 3, 5,
// -1, -3, -5 gives 0.5, 1.5, 2.5, -0.5, -1.5, -2.5.
TEST_F(LinFilterEdges, RoundingModesAtHalves) {
    const Zkr16s src[] = {1, 3, 5, -1, -3, -5};
    const Zkr32s one = 1;
    struct Want {
        int mode, divisor;
        Zkr16s out[6];
    };
    const Want wants[] = {{zkrRndZero, 2, {0, 1, 2, 0, -1, -2}},
                          {zkrRndNear, 2, {0, 2, 2, 0, -2, -2}},
                          {zkrRndFinancial, 2, {1, 2, 3, -1, -2, -3}},
                          {zkrRndFinancial, -2, {-1, -2, -3, 1, 2, 3}}};
    forEachLevel([&](const Level&) {
        for (const Want& w : wants) {
            Zkr16s dst[6] = {};
            ASSERT_EQ(zkriFilter_Round32s_16s_C1R(src, 12, dst, 12, {6, 1}, &one, {1, 1}, {0, 0}, w.divisor,
                                                  ZkrRoundMode(w.mode)),
                      zkrStsNoErr);
            for (int i = 0; i < 6; ++i) EXPECT_EQ(dst[i], w.out[i]) << "mode " << w.mode << " divisor " << w.divisor << " at " << i;
        }
    });
}

// Derivatives of a ramp, smoothing of a constant: Sobel of x gives 8 per pixel (3x3: 2 * (1+2+1)),
// Laplace and Hipass of a constant give 0, Gauss and Lowpass give the constant, on every level.
TEST_F(LinFilterEdges, RampsAndConstants) {
    const int w = 20, h = 9;
    std::vector<Zkr8u> ramp(std::size_t(w) * h), flat(std::size_t(w) * h, 200);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) ramp[std::size_t(y) * w + x] = Zkr8u(10 * x);
    forEachLevel([&](const Level&) {
        std::vector<Zkr16s> d16(std::size_t(w - 4) * (h - 4));
        std::vector<Zkr8u> d8(std::size_t(w - 4) * (h - 4));
        const ZkriSize roi{w - 4, h - 4};
        ASSERT_EQ(zkriFilterSobelVert_8u16s_C1R(&ramp[2 * w + 2], w, d16.data(), (w - 4) * 2, roi, {3, 3}), zkrStsNoErr);
        EXPECT_TRUE(std::all_of(d16.begin(), d16.end(), [](Zkr16s v) { return v == 80; }));
        ASSERT_EQ(zkriFilterSobelHoriz_8u16s_C1R(&ramp[2 * w + 2], w, d16.data(), (w - 4) * 2, roi, {5, 5}), zkrStsNoErr);
        EXPECT_TRUE(std::all_of(d16.begin(), d16.end(), [](Zkr16s v) { return v == 0; }));
        ASSERT_EQ(zkriFilterSobelVert_8u16s_C1R(&ramp[2 * w + 2], w, d16.data(), (w - 4) * 2, roi, {5, 5}), zkrStsNoErr);
        EXPECT_TRUE(std::all_of(d16.begin(), d16.end(), [](Zkr16s v) { return v == 10 * 16 * 8; }));  // (1+4+6+4+1) * 8
        for (auto f : {&zkriFilterLaplace_8u_C1R, &zkriFilterHipass_8u_C1R}) {
            ASSERT_EQ(f(&flat[2 * w + 2], w, d8.data(), w - 4, roi, {5, 5}), zkrStsNoErr);
            EXPECT_TRUE(std::all_of(d8.begin(), d8.end(), [](Zkr8u v) { return v == 0; }));
        }
        for (auto f : {&zkriFilterGauss_8u_C1R, &zkriFilterLowpass_8u_C1R}) {
            ASSERT_EQ(f(&flat[2 * w + 2], w, d8.data(), w - 4, roi, {5, 5}), zkrStsNoErr);
            EXPECT_TRUE(std::all_of(d8.begin(), d8.end(), [](Zkr8u v) { return v == 200; }));
        }
    });
}

// A NaN or an infinity in a 32f image reaches the results whose kernel gives it a non-zero weight,
// and no others: RobertsDown reads only the pixel and its lower right neighbour.
TEST_F(LinFilterEdges, NonFiniteFloatReachesOnlyItsTaps) {
    for (float bad : {std::numeric_limits<float>::quiet_NaN(), floats::kInf}) {
        forEachLevel([&](const Level&) {
            const int w = 12, h = 6;
            std::vector<Zkr32f> src(std::size_t(w + 2) * (h + 2), 1.0f), dst(std::size_t(w) * h, 0.0f);
            src[std::size_t(4) * (w + 2) + 5] = bad;  // ROI pixel (4, 3)
            ASSERT_EQ(zkriFilterRobertsDown_32f_C1R(&src[w + 3], (w + 2) * 4, dst.data(), w * 4, {w, h}), zkrStsNoErr);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    const bool reached = (x == 4 && y == 3) || (x == 3 && y == 2);
                    EXPECT_EQ(!std::isfinite(dst[std::size_t(y) * w + x]), reached) << x << "," << y;
                }
        });
    }
}

}  // namespace
}  // namespace zkrtest
