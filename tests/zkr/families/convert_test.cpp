// The Convert family against a double-precision reference, driven by its two
// tables: every function on every dispatch level with every rounding mode and
// a sweep of scale factors (ties at every scale, extremes, clamped and
// overflowing factors), float sources full of ties, values one ulp off a tie,
// NaN, infinities and the edges of every destination range; the linear
// scalings at their end points and in between; ROIs inside padded images and
// gapless ones, alpha left alone, thread splits, and every argument error in
// the library's order.
#include <algorithm>
#include <cfenv>
#include <climits>
#include <cmath>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "convert/cnvrti.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "convert/scale.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

struct CvtBag : Bag {
    ZkrRoundMode roundMode = zkrRndNear;
    Zkr32f vMin = 0.0f;
    Zkr32f vMax = 1.0f;
};

enum class Kind { Exact, Round, RoundSfs, Scale };

// What one call is given beside its images.
struct Settings {
    ZkrRoundMode mode = zkrRndNear;
    int sf = 0;
    float vMin = 0.0f, vMax = 1.0f;
};

struct CvtCase;
using CheckFn = void (*)(const CvtCase&, ZkriSize, bool padded, const Settings&, std::mt19937&);

struct CvtCase {
    std::string name;
    Kind kind = Kind::Exact;
    int channels = 1;
    bool alpha = false;
    bool floatSource = false;
    int srcBytes = 1, dstBytes = 1;
    CheckFn check = nullptr;
    ZkrStatus (*call)(const CvtBag&) = nullptr;
};

const ZkrRoundMode kModes[] = {zkrRndZero, zkrRndNear, zkrRndFinancial};

// ---- reference ------------------------------------------------------------------------

template <class D> D saturate(double v) {
    const double lo = double(std::numeric_limits<D>::lowest()), hi = double(std::numeric_limits<D>::max());
    return v <= lo ? std::numeric_limits<D>::lowest() : (v >= hi ? std::numeric_limits<D>::max() : D(v));
}

double roundBy(ZkrRoundMode m, double v) {
    switch (m) {
        case zkrRndZero: return std::trunc(v);
        case zkrRndFinancial: return std::round(v);  // ties away from zero
        default: return std::nearbyint(v);           // the default environment: ties to even
    }
}

// Convert: x * 2^-sf (float sources: the factor within [-126, 126]) rounded and saturated; NaN is 0.
template <class S, class D> D expectedConvert(S x, const Settings& s, Kind k) {
    if constexpr (std::is_floating_point_v<S>) {
        if (std::isnan(x)) return D(0);
        const int e = k == Kind::RoundSfs ? std::clamp(s.sf, -126, 126) : 0;
        return saturate<D>(roundBy(s.mode, std::ldexp(double(x), -e)));
    } else {
        const int e = s.sf == INT_MIN ? INT_MAX : -s.sf;
        return saturate<D>(roundBy(s.mode, std::ldexp(double(x), e)));
    }
}

template <class T> double lowOf() { return double(std::numeric_limits<T>::lowest()); }
template <class T> double highOf() { return double(std::numeric_limits<T>::max()); }

// ---- source data ----------------------------------------------------------------------

// A double as float, beyond the float range as the infinity of its sign.
float toFloat(double v) {
    const double m = std::numeric_limits<float>::max();
    return v > m ? std::numeric_limits<float>::infinity() : (v < -m ? -std::numeric_limits<float>::infinity() : float(v));
}

// Float sources of a rounding conversion into D at scale factor e: ties
// (n + 1/2) 2^e and their neighbours one ulp away, the edges of D's range,
// specials, and values spread a quarter beyond the range.
template <class D> float roundingSource(int e, std::mt19937& rng) {
    const double lo = lowOf<D>(), hi = highOf<D>();
    const double nLo = std::is_same_v<D, Zkr32s> ? -4194304.0 : lo - 3, nHi = std::is_same_v<D, Zkr32s> ? 4194304.0 : hi + 3;
    const double n = std::floor(std::uniform_real_distribution<double>(nLo, nHi)(rng));
    switch (std::uniform_int_distribution<int>(0, 5)(rng)) {
        case 0: {
            static const float specials[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                                             -std::numeric_limits<float>::infinity(), -0.0f, 0.5f, -0.5f, 1.5f, -1.5f,
                                             2.5f, -2.5f, 3.0e38f, -3.0e38f, 2147483648.0f, -2147483648.0f,
                                             2147483520.0f, -2147483904.0f, 0.49999997f, -0.49999997f};
            // These, or the shared hostile specials (NaN of both signs and with a payload, zeros,
            // denormals, the float extremes).
            const std::vector<float>& shared = floats::specials();
            const float v = (rng() & 1) ? shared[rng() % shared.size()]
                                        : specials[std::uniform_int_distribution<int>(0, 17)(rng)];
            return std::isfinite(v) && std::fabs(v) < 1e30f ? toFloat(std::ldexp(double(v), e)) : v;
        }
        case 1: {  // the edges of the range, on, half past and half before them
            const double edge = (rng() & 1) ? lo : hi;
            const double off = std::uniform_int_distribution<int>(-2, 2)(rng) * 0.5;
            return toFloat(std::ldexp(edge + off, e));
        }
        case 2: return toFloat(std::ldexp(n + 0.5, e));
        case 3: {
            const float t = toFloat(std::ldexp(n + 0.5, e));
            return std::nextafter(t, (rng() & 1) ? 1e30f : -1e30f);
        }
        case 4: return toFloat(std::ldexp(n, e));
        default: {
            const double r = hi - lo;
            return toFloat(std::ldexp(std::uniform_real_distribution<double>(lo - r / 4, hi + r / 4)(rng), e));
        }
    }
}

// Integer sources at scale factor sf: random values with the type's extremes,
// and ties (2k + 1) 2^(sf-1) of either sign where the type holds them.
template <class S> S integerSource(int sf, std::mt19937& rng) {
    if (sf > 0 && sf <= int(sizeof(S)) * 8 && (rng() & 1)) {
        const double k = std::floor(std::uniform_real_distribution<double>(-200.0, 200.0)(rng));
        const double v = std::ldexp(2 * k + 1, sf - 1);
        if (v >= lowOf<S>() && v <= highOf<S>()) return S(v);
    }
    return randomComponent<S>(rng);
}

template <class S> float scaleSource(const Settings& s, std::mt19937& rng) {
    const double r = double(s.vMax) - s.vMin;
    switch (std::uniform_int_distribution<int>(0, 7)(rng)) {
        case 0: return s.vMin;
        case 1: return s.vMax;
        case 2: return floats::specials()[rng() % floats::specials().size()];
        case 3: return (rng() & 1) ? std::numeric_limits<float>::infinity() : -std::numeric_limits<float>::infinity();
        default: return float(std::uniform_real_distribution<double>(s.vMin - r / 4, s.vMax + r / 4)(rng));
    }
}

// ---- one call -------------------------------------------------------------------------

template <class S, class D>
void checkCase(const CvtCase& c, ZkriSize size, bool padded, const Settings& st, std::mt19937& rng) {
    const int w = size.width, h = size.height;
    auto pad = [&] { return padded ? randomPadding(rng) : Padding{}; };
    Plane<S> src(w, h, c.channels, pad(), rng);
    Plane<D> dst(w, h, c.channels, pad(), rng);
    for (S& x : src.data) {
        if constexpr (std::is_floating_point_v<S>) {
            if (c.kind == Kind::Scale) x = scaleSource<S>(st, rng);
            else if constexpr (!std::is_floating_point_v<D>)
                x = roundingSource<D>(c.kind == Kind::RoundSfs ? std::clamp(st.sf, -126, 126) : 0, rng);
        } else if (c.kind != Kind::Scale) {
            x = integerSource<S>(st.sf, rng);
        }
    }
    const std::vector<D> before = dst.data;
    CvtBag bag;
    bag.pSrc = src.roi();
    bag.srcStep = src.stepBytes();
    bag.pDst = dst.roi();
    bag.dstStep = dst.stepBytes();
    bag.roiSize = size;
    bag.roundMode = st.mode;
    bag.scaleFactor = st.sf;
    bag.vMin = st.vMin;
    bag.vMax = st.vMax;
    ZkrStatus status = zkrStsNoErr;
    const unsigned raised = floats::flagsOf([&] { status = c.call(bag); });
    ASSERT_EQ(status, zkrStsNoErr);
    // NaN is told apart by a quiet test and infinities are clamped before any conversion: never
    // invalid nor divide-by-zero; the float scaling may overflow, underflow or meet denormals.
    EXPECT_EQ(raised & (floats::kInvalid | floats::kZeroDivide), 0u) << "raised " << floats::flagNames(raised);

    // Nothing outside the ROI changes, nor the alpha components inside it.
    for (std::size_t i = 0; i < dst.data.size(); ++i) {
        const int inRow = int(i % std::size_t(dst.stride)) - dst.pad.left * c.channels;
        const bool alphaComp = c.alpha && inRow % 4 == 3;
        if (!dst.insideRoi(i) || alphaComp) {
            ASSERT_TRUE(sameBits(dst.data[i], before[i])) << "changed at " << i;
        }
    }
    const double tlo = lowOf<std::conditional_t<std::is_floating_point_v<S>, D, S>>();
    const double thi = highOf<std::conditional_t<std::is_floating_point_v<S>, D, S>>();
    for (int y = 0; y < h; ++y) {
        for (int i = 0; i < w * c.channels; ++i) {
            if (c.alpha && i % 4 == 3) continue;
            const S x = src.at(y, i);
            const D got = dst.at(y, i);
            if (c.kind == Kind::Exact) {
                ASSERT_EQ(got, D(x)) << "component " << i << " row " << y;
            } else if (c.kind != Kind::Scale) {
                ASSERT_EQ(got, (expectedConvert<S, D>(x, st, c.kind)))
                    << "x=" << double(x) << " mode " << int(st.mode) << " sf " << st.sf;
            } else if constexpr (std::is_floating_point_v<D>) {
                const double ref = st.vMin + (double(x) - tlo) * ((double(st.vMax) - st.vMin) / (thi - tlo));
                if (double(x) == tlo) {
                    ASSERT_EQ(got, st.vMin);
                }
                const double tol = 4.0 * std::ldexp(1.0, -24) * (std::fabs(st.vMin) + std::fabs(st.vMax));
                ASSERT_NEAR(got, ref, tol) << "x=" << double(x);
            } else {
                const double fx = double(x);
                if (std::isnan(fx) || fx <= st.vMin) {
                    ASSERT_EQ(double(got), tlo) << "x=" << fx;
                } else if (fx >= st.vMax) {
                    ASSERT_EQ(double(got), thi) << "x=" << fx;
                } else {
                    const double ref = tlo + (fx - st.vMin) * ((thi - tlo) / (double(st.vMax) - st.vMin));
                    ASSERT_NEAR(double(got), std::nearbyint(ref), 1.0) << "x=" << fx;
                }
            }
        }
    }
}

template <class Ts, class Td>
CvtCase describe(const char* name, const std::string& form, const std::string& layout, ZkrStatus (*call)(const CvtBag&)) {
    CvtCase c;
    c.name = name;
    c.kind = form == "cvt" ? Kind::Exact : (form == "cvt_r" ? Kind::Round : (form == "cvt_r_sfs" ? Kind::RoundSfs : Kind::Scale));
    c.channels = layout == "C1" ? 1 : (layout == "C3" ? 3 : 4);
    c.alpha = layout == "AC4";
    c.floatSource = std::is_floating_point_v<Ts>;
    c.srcBytes = int(sizeof(Ts));
    c.dstBytes = int(sizeof(Td));
    c.check = &checkCase<Ts, Td>;
    c.call = call;
    return c;
}

const std::vector<CvtCase>& familyCases() {
    static const std::vector<CvtCase> cases = [] {
        std::vector<CvtCase> v;
#define ZKR_FN(name, form, Ts, Td, L) \
    v.push_back(describe<Ts, Td>(#name, #form, #L, [](const CvtBag& b) { return ZKR_CALL(b, name, form, Ts, Td); }));
#include "convert/cnvrti.tbl"
#include "convert/scale.tbl"
#undef ZKR_FN
        return v;
    }();
    return cases;
}

auto ofKind(Kind k, int floatSource = -1) {
    return [k, floatSource](const CvtCase& c) { return c.kind == k && (floatSource < 0 || c.floatSource == bool(floatSource)); };
}

// The settings each kind is checked with.
std::vector<Settings> settingsOf(const CvtCase& c) {
    std::vector<Settings> out;
    switch (c.kind) {
        case Kind::Exact: out.push_back({}); break;
        case Kind::Round:
            for (ZkrRoundMode m : kModes) out.push_back({m, 0});
            break;
        case Kind::RoundSfs: {
            // Float sources: small factors, the clamp at +-126 and beyond it. Integer sources: every
            // shift a type's values reach and the clamps beyond them, both signs, and the extremes.
            const std::vector<int> sfs = c.floatSource
                ? std::vector<int>{0, 1, -1, 3, -3, 23, -23, 126, -126, 140, -140, INT_MAX, INT_MIN}
                : std::vector<int>{0, 1, 2, 5, 8, 9, 15, 16, 17, 18, 31, 32, 33, 34, 50, -1, -2, -7, -8, -9, -16, -17, -18,
                                   -40, INT_MAX, INT_MIN};
            for (ZkrRoundMode m : kModes)
                for (int sf : sfs) out.push_back({m, sf});
            break;
        }
        case Kind::Scale:
            for (auto r : {std::pair{0.0f, 1.0f}, std::pair{-1.0f, 1.0f}, std::pair{-1000.0f, 255.5f}, std::pair{0.25f, 0.5f}})
                out.push_back({zkrRndNear, 0, r.first, r.second});
            break;
    }
    return out;
}

class ConvertFamily : public LibraryStateTest {
protected:
    static void checkAll(Kind kind, int floatSource = -1) {
        std::mt19937 rng(1123u + unsigned(kind) * 7u + unsigned(floatSource + 1));
        // Long sweeps of settings take the two sizes that tell most: a padded ROI of odd width and
        // height, and a gapless image.
        const std::vector<ZkriSize> all = {{1, 1}, {37, 5}, {1, 9}, {130, 3}}, few = {{37, 5}};
        forEachLevel([&](const Level&) {
            forEachCase(familyCases(), ofKind(kind, floatSource), [&](const CvtCase& c) {
                const std::vector<Settings> settings = settingsOf(c);
                for (const Settings& s : settings) {
                    SCOPED_TRACE("mode " + std::to_string(int(s.mode)) + " sf " + std::to_string(s.sf));
                    for (ZkriSize z : settings.size() > 12 ? few : all) c.check(c, z, true, s, rng);
                    c.check(c, {67, 4}, false, s, rng);
                    if (::testing::Test::HasFatalFailure()) return;
                }
            });
        });
    }
};

TEST_F(ConvertFamily, ExactWideningsMatchOnEveryLevel) { checkAll(Kind::Exact); }
TEST_F(ConvertFamily, FloatToIntegerRoundsEveryModeOnEveryLevel) { checkAll(Kind::Round); }
TEST_F(ConvertFamily, ScaledFloatToIntegerRoundsEveryModeOnEveryLevel) { checkAll(Kind::RoundSfs, 1); }
TEST_F(ConvertFamily, ScaledIntegerNarrowingRoundsEveryModeOnEveryLevel) { checkAll(Kind::RoundSfs, 0); }
TEST_F(ConvertFamily, ScaleMapsRangesOnEveryLevel) { checkAll(Kind::Scale); }

TEST_F(ConvertFamily, TablesHaveTheirCounts) {
    const auto& cases = familyCases();
    auto count = [&](auto pred) { return std::count_if(cases.begin(), cases.end(), pred); };
    EXPECT_EQ(count(ofKind(Kind::Exact)), 16);
    EXPECT_EQ(count([](const CvtCase& c) { return c.kind == Kind::Round || c.kind == Kind::RoundSfs; }), 58);
    EXPECT_EQ(count(ofKind(Kind::Scale)), 20);
}

// A few ties written out, so that a reference and a kernel sharing one mistake cannot agree.
TEST_F(ConvertFamily, KnownTiesOfEachMode) {
    const float src[8] = {0.5f, 1.5f, 2.5f, -0.5f, -1.5f, -2.5f, 254.5f, 255.5f};
    const Zkr8s want8s[3][8] = {{0, 1, 2, 0, -1, -2, 127, 127}, {0, 2, 2, 0, -2, -2, 127, 127}, {1, 2, 3, -1, -2, -3, 127, 127}};
    const Zkr8u want8u[3][8] = {{0, 1, 2, 0, 0, 0, 254, 255}, {0, 2, 2, 0, 0, 0, 254, 255}, {1, 2, 3, 0, 0, 0, 255, 255}};
    forEachLevel([&](const Level&) {
        for (int m = 0; m < 3; ++m) {
            Zkr8s d8s[8];
            Zkr8u d8u[8];
            ASSERT_EQ(zkriConvert_32f8s_C1R(src, 32, d8s, 8, {8, 1}, ZkrRoundMode(m)), zkrStsNoErr);
            ASSERT_EQ(zkriConvert_32f8u_C1R(src, 32, d8u, 8, {8, 1}, ZkrRoundMode(m)), zkrStsNoErr);
            for (int i = 0; i < 8; ++i) {
                EXPECT_EQ(d8s[i], want8s[m][i]) << "mode " << m << " x=" << src[i];
                EXPECT_EQ(d8u[i], want8u[m][i]) << "mode " << m << " x=" << src[i];
            }
        }
        // 16s 6, 10, -6, -10 halved by scale factor 2 are ties of 1.5, 2.5, -1.5, -2.5.
        const Zkr16s s16[4] = {6, 10, -6, -10};
        const Zkr8s want[3][4] = {{1, 2, -1, -2}, {2, 2, -2, -2}, {2, 3, -2, -3}};
        for (int m = 0; m < 3; ++m) {
            Zkr8s d[4];
            ASSERT_EQ(zkriConvert_16s8s_C1RSfs(s16, 8, d, 4, {4, 1}, ZkrRoundMode(m), 2), zkrStsNoErr);
            for (int i = 0; i < 4; ++i) EXPECT_EQ(d[i], want[m][i]) << "mode " << m << " x=" << s16[i];
        }
    });
}

// NaN, infinities and values far outside the destination's range are handled by selects on quiet
// tests and clamps before any conversion: converting them raises no invalid-operation, overflow or
// division flag (a measuring program reports such flags as a changed floating-point state).
TEST_F(ConvertFamily, FloatSpecialsRaiseNoExceptionFlags) {
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    std::vector<float> src(4 * 67);
    const float specials[] = {nan, inf, -inf, 3.0e38f, -3.0e38f, 2147483648.0f, -2147483904.0f, 1.5f, -0.0f, 1.0e20f};
    for (std::size_t i = 0; i < src.size(); ++i) src[i] = specials[i % 10];
    std::vector<unsigned char> dst(4 * 67 * 4);
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), [](const CvtCase& c) { return c.floatSource && c.kind != Kind::RoundSfs; },
                    [&](const CvtCase& c) {
                        CvtBag b;
                        b.pSrc = src.data();
                        b.srcStep = 67 * 4;
                        b.pDst = dst.data();
                        b.dstStep = 67 * 4;
                        b.roiSize = {67 / c.channels, 4};
                        for (ZkrRoundMode m : kModes) {
                            b.roundMode = m;
                            std::feclearexcept(FE_ALL_EXCEPT);
                            ASSERT_EQ(c.call(b), zkrStsNoErr);
                            EXPECT_EQ(std::fetestexcept(FE_INVALID | FE_OVERFLOW | FE_DIVBYZERO), 0) << "mode " << int(m);
                        }
                    });
    });
}

// Images from 64 K pixels on split into row bands over two threads: one function of each kind,
// source class and layout (the bands do not depend on the element types).
TEST_F(ConvertFamily, ThreadSplitGivesSingleThreadResult) {
    ASSERT_GE(zkrSetNumThreads(2), zkrStsNoErr);
    std::mt19937 rng(99u);
    std::set<std::tuple<Kind, bool, int, bool>> seen;
    auto firstOfItsKind = [&](const CvtCase& c) { return seen.insert({c.kind, c.floatSource, c.channels, c.alpha}).second; };
    forEachCase(familyCases(), firstOfItsKind, [&](const CvtCase& c) {
        const Settings s{zkrRndNear, c.kind == Kind::RoundSfs ? 1 : 0, -1.0f, 1.0f};
        c.check(c, {301, 240}, true, s, rng);
    });
}

// Argument errors in order: pointers, size, source then destination steps, then the rounding mode
// and the value range.
TEST_F(ConvertFamily, ArgumentErrorsInLibraryOrder) {
    std::vector<unsigned char> src(4096), dst(4096);
    forEachCase(familyCases(), [](const CvtCase&) { return true; }, [&](const CvtCase& c) {
        CvtBag good;
        good.pSrc = src.data();
        good.srcStep = 16 * c.channels * c.srcBytes;
        good.pDst = dst.data();
        good.dstStep = 16 * c.channels * c.dstBytes;
        good.roiSize = {16, 4};
        good.roundMode = zkrRndNear;
        good.vMin = -1.0f;
        good.vMax = 1.0f;
        EXPECT_EQ(c.call(good), zkrStsNoErr);

        CvtBag b = good;
        b.pSrc = nullptr;
        b.roiSize = {0, 0};
        EXPECT_EQ(c.call(b), zkrStsNullPtrErr);
        b = good;
        b.pDst = nullptr;
        b.roundMode = ZkrRoundMode(3);
        b.vMax = b.vMin;
        EXPECT_EQ(c.call(b), zkrStsNullPtrErr);
        for (ZkriSize s : {ZkriSize{0, 4}, ZkriSize{16, 0}, ZkriSize{-3, 4}}) {
            b = good;
            b.roiSize = s;
            b.srcStep = 0;
            EXPECT_EQ(c.call(b), zkrStsSizeErr);
        }
        b = good;
        b.srcStep = good.srcStep - 1;
        b.roundMode = ZkrRoundMode(3);
        EXPECT_EQ(c.call(b), zkrStsStepErr);
        b = good;
        b.dstStep = good.dstStep - c.dstBytes;
        EXPECT_EQ(c.call(b), zkrStsStepErr);
        b = good;
        b.dstStep = 0;
        EXPECT_EQ(c.call(b), zkrStsStepErr);
        if (c.srcBytes > 1) {
            b = good;
            b.srcStep = good.srcStep + 1;
            EXPECT_EQ(c.call(b), zkrStsStepErr);
        }
        if (c.dstBytes > 1) {
            b = good;
            b.dstStep = good.dstStep + 1;
            EXPECT_EQ(c.call(b), zkrStsStepErr);
        }
        if (c.kind == Kind::Round || c.kind == Kind::RoundSfs) {
            b = good;
            b.roundMode = ZkrRoundMode(3);
            EXPECT_EQ(c.call(b), zkrStsBadArgErr);
        }
        if (c.kind == Kind::Scale) {
            const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
            for (auto r : {std::pair{1.0f, 1.0f}, std::pair{2.0f, 1.0f}, std::pair{nan, 1.0f}, std::pair{0.0f, nan},
                           std::pair{-inf, 1.0f}, std::pair{0.0f, inf}}) {
                b = good;
                b.vMin = r.first;
                b.vMax = r.second;
                EXPECT_EQ(c.call(b), zkrStsRangeErr) << r.first << " " << r.second;
            }
            // A width beyond the float range; a range so narrow that mapping it onto the integers
            // needs a factor beyond the float range (only the float sources map that way).
            b = good;
            b.vMin = -3.0e38f;
            b.vMax = 3.0e38f;
            EXPECT_EQ(c.call(b), zkrStsRangeErr);
            b = good;
            b.vMin = 0.0f;
            b.vMax = 1.0e-38f;
            EXPECT_EQ(c.call(b), c.floatSource ? zkrStsRangeErr : zkrStsNoErr);
        }
    });
}

}  // namespace
}  // namespace zkrtest
