// The Histogram family against reference models, driven by its table: every
// function of each form on every dispatch level, ROIs inside padded images,
// levels beyond the type's range, repeated levels, table values that
// saturate, the alpha channel of AC4 left alone, thread splits, and every
// argument error.
#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "histo/histo.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "histo/lutpalette.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

enum class Op { HistRange, HistEven, Lut, LutLinear, LutCubic, CountInRange };

struct HistoBag : Bag {
    void* pHist = nullptr;
    const void* pLevels = nullptr;
    const void* nLevels = nullptr;
    const void* lowerLevel = nullptr;
    const void* upperLevel = nullptr;
    const void* pValues = nullptr;
    void* pCounts = nullptr;
    const void* lowerBound = nullptr;
    const void* upperBound = nullptr;
};

// Per-channel arguments as the tests hold them: levels and values as double
// (converted to the row's level type when the bag is made).
struct Channels {
    std::vector<double> levels[4], values[4];
    std::vector<Zkr32s> hist[4];
    Zkr32s lowerLevel[4] = {}, upperLevel[4] = {};
    double lowerBound[4] = {}, upperBound[4] = {};
    int counts[4] = {};
};

struct FamilyCase {
    std::string name, form;
    Op op;
    int channels, active;
    bool inPlace, multi, floatLevels;
    CompType comp;
    int compBytes;
    ZkrStatus (*call)(const HistoBag&);
};

// Storage behind a bag: typed levels, values and bounds, pointer arrays.
struct Store {
    std::vector<Zkr32s> lv32s[4], val32s[4];
    std::vector<Zkr32f> lv32f[4], val32f[4];
    void* histPtr[4] = {};
    const void* levelPtr[4] = {};
    const void* valuePtr[4] = {};
    Zkr32s* evenPtr[4] = {};
    int n[4] = {};
    alignas(8) unsigned char lowB[32] = {}, upB[32] = {};
};

template <class S> HistoBag makeBag(const FamilyCase& c, Channels& ch, Store& st, const void* src, int srcStep,
                                    void* dst, int dstStep, ZkriSize roi) {
    HistoBag b;
    b.pSrc = src, b.srcStep = srcStep, b.pDst = dst, b.dstStep = dstStep;
    b.pSrcDst = dst, b.srcDstStep = dstStep;
    b.roiSize = roi;
    for (int k = 0; k < c.active; ++k) {
        st.n[k] = int(ch.levels[k].size());
        if (c.floatLevels) {
            st.lv32f[k].assign(ch.levels[k].begin(), ch.levels[k].end());
            st.val32f[k].assign(ch.values[k].begin(), ch.values[k].end());
            st.levelPtr[k] = st.lv32f[k].data(), st.valuePtr[k] = st.val32f[k].data();
        } else {
            st.lv32s[k].clear(), st.val32s[k].clear();
            for (double v : ch.levels[k]) st.lv32s[k].push_back(Zkr32s(v));
            for (double v : ch.values[k]) st.val32s[k].push_back(Zkr32s(v));
            st.levelPtr[k] = st.lv32s[k].data(), st.valuePtr[k] = st.val32s[k].data();
        }
        ch.hist[k].assign(std::size_t(std::max(st.n[k] - 1, 1)), -5);
        st.histPtr[k] = ch.hist[k].data();
        st.evenPtr[k] = st.lv32s[k].data();
        const S lo = S(ch.lowerBound[k]), hi = S(ch.upperBound[k]);
        std::memcpy(st.lowB + k * sizeof(S), &lo, sizeof(S));
        std::memcpy(st.upB + k * sizeof(S), &hi, sizeof(S));
    }
    const bool single = !c.multi;
    b.pHist = single ? st.histPtr[0] : static_cast<void*>(st.histPtr);
    b.pLevels = single ? (c.op == Op::HistEven ? static_cast<const void*>(st.evenPtr[0]) : st.levelPtr[0])
                       : (c.op == Op::HistEven ? static_cast<const void*>(st.evenPtr) : st.levelPtr);
    b.pValues = single ? st.valuePtr[0] : static_cast<const void*>(st.valuePtr);
    b.nLevels = st.n;
    b.lowerLevel = ch.lowerLevel, b.upperLevel = ch.upperLevel;
    b.pCounts = ch.counts;
    b.lowerBound = st.lowB, b.upperBound = st.upB;
    return b;
}

Op opOf(const std::string& o) {
    static const std::map<std::string, Op> ops = {{"HistRange", Op::HistRange}, {"HistEven", Op::HistEven},
                                                  {"Lut", Op::Lut},             {"LutLinear", Op::LutLinear},
                                                  {"LutCubic", Op::LutCubic},   {"CountInRange", Op::CountInRange}};
    return ops.at(o);
}

template <class T, class LT>
FamilyCase describe(const char* name, const char* form, const char* layout, const char* op,
                    ZkrStatus (*call)(const HistoBag&)) {
    const std::string l = layout, f = form;
    FamilyCase c;
    c.name = name, c.form = f, c.op = opOf(op);
    c.channels = l == "C1" ? 1 : (l == "C3" ? 3 : 4);
    c.active = l == "C4" ? 4 : (l == "C1" ? 1 : 3);
    c.inPlace = f == "lut_i" || f == "lut_ic";
    c.multi = l != "C1";
    c.floatLevels = std::is_same_v<LT, Zkr32f>;
    c.comp = compTypeOf<T>();
    c.compBytes = int(sizeof(T));
    c.call = call;
    return c;
}

std::vector<FamilyCase> expandTable() {
    std::vector<FamilyCase> cases;
#define ZKR_FN(name, form, T, LT, L, op)                                                   \
    cases.push_back(describe<T, LT>(#name, #form, #L, #op,                                 \
                                    [](const HistoBag& b) { return ZKR_CALL(b, name, form, T, LT); }));
#include "histo/histo.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<FamilyCase>& familyCases() {
    static const std::vector<FamilyCase> cases = expandTable();
    return cases;
}

// ---- reference models ------------------------------------------------------------------

// Bin of v by a linear scan: the last k with levels[k] <= v, if v < levels[n - 1].
int refBin(double v, const std::vector<double>& lv) {
    if (!(v >= lv.front() && v < lv.back())) return -1;
    int k = 0;
    for (int i = 0; i + 1 < int(lv.size()); ++i)
        if (lv[i] <= v) k = i;
    return k;
}

double refLinear(double v, int k, const std::vector<double>& lv, const std::vector<double>& val) {
    return val[k] + ((v - lv[k]) * (val[k + 1] - val[k])) / (lv[k + 1] - lv[k]);
}

// Lagrange cubic through the four levels around bin k (linear where two coincide).
double refCubic(double v, int k, const std::vector<double>& lv, const std::vector<double>& val) {
    const int n = int(lv.size());
    const int j = std::clamp(k - 1, 0, n - 4);
    if (!(lv[j] < lv[j + 1] && lv[j + 1] < lv[j + 2] && lv[j + 2] < lv[j + 3])) return refLinear(v, k, lv, val);
    double r = 0;
    for (int i = 0; i < 4; ++i) {
        double b = 1;
        for (int m = 0; m < 4; ++m)
            if (m != i) b *= (v - lv[j + m]) / (lv[j + i] - lv[j + m]);
        r += val[j + i] * b;
    }
    return r;
}

template <class S> double clampTo(double r) {
    if constexpr (std::is_floating_point_v<S>) return r;
    else return std::clamp(r, double(std::numeric_limits<S>::min()), double(std::numeric_limits<S>::max()));
}

// Whether `got` is the table's output for the exact value r: integers rounded
// to nearest even and saturated (the cubic may differ by the last bits of r,
// so a value within a hair of a rounding boundary may go either way).
template <class S> bool tableMatches(S got, double r, bool cubic) {
    if constexpr (std::is_floating_point_v<S>) {
        const double tol = cubic ? 1e-5 * (1.0 + std::abs(r)) : 0.0;
        return cubic ? std::abs(double(got) - double(S(r))) <= tol : sameBits(got, S(r));
    } else {
        const double want = clampTo<S>(std::nearbyint(r));
        if (double(got) == want) return true;
        return cubic && std::abs(double(got) - clampTo<S>(r)) <= 0.5 + 1e-7 * (1.0 + std::abs(r));
    }
}

// ---- data -------------------------------------------------------------------------------

// n ascending levels for components of S, some beyond the type's range and
// some repeated; values that may saturate.
template <class S> void randomLevels(Channels& ch, int active, int n, std::mt19937& rng) {
    const bool fl = std::is_floating_point_v<S>;
    const double lo = fl ? -1200.0 : double(std::numeric_limits<S>::min()) - 40;
    const double hi = fl ? 1200.0 : double(std::numeric_limits<S>::max()) + 40;
    for (int c = 0; c < active; ++c) {
        std::vector<double>& lv = ch.levels[c];
        lv.clear();
        std::uniform_real_distribution<double> d(lo, hi);
        for (int k = 0; k < n; ++k) lv.push_back(fl ? double(Zkr32f(d(rng))) : std::floor(d(rng)));
        std::sort(lv.begin(), lv.end());
        if (n > 4) lv[n / 2] = lv[n / 2 - 1];  // one repeated level: an empty bin
        ch.values[c].clear();
        for (int k = 0; k < n; ++k) ch.values[c].push_back(fl ? double(Zkr32f(d(rng))) : std::floor(d(rng)));
    }
}

// ---- checks ----------------------------------------------------------------------------

// Floats: about one component in twelve of the ROI (not its first) becomes one of the hostile
// fills' specials (NaN of both signs, infinities, zeros of both signs, denormals, the float
// extremes): NaN is in no bin and outside every table range, infinities are values like others.
template <class S> void sprinkleSpecials(Plane<S>& p, std::mt19937& rng) {
    if constexpr (std::is_floating_point_v<S>) {
        const std::vector<float>& sp = floats::specials();
        for (int y = 0; y < p.height; ++y)
            for (int i = 0; i < p.rowComps(); ++i)
                if ((y > 0 || i > 0) && rng() % 12 == 0)
                    p.roi()[std::size_t(y) * p.stride + i] = sp[rng() % sp.size()];
    }
}

// The call, and its flags: comparisons with a NaN raise invalid (C's ordered < and <=), denormals
// the denormal-operand flag, the tables' interpolation inexact; nothing else (integers: inexact at
// most, from the tables' float interpolation).
template <class S> ZkrStatus callWatched(const FamilyCase& c, const HistoBag& b) {
    ZkrStatus st = zkrStsNoErr;
    const unsigned raised = floats::flagsOf([&] { st = c.call(b); });
    const unsigned allowed = std::is_floating_point_v<S>
                                 ? floats::kInvalid | floats::kDenormal | floats::kInexact | floats::kUnderflow
                                 : floats::kInexact;
    EXPECT_EQ(raised & ~allowed, 0u) << "raised " << floats::flagNames(raised);
    return st;
}

constexpr ZkriSize kRoi{37, 9};

template <class S> void checkHistogram(const FamilyCase& c, int n, std::mt19937& rng) {
    Plane<S> src(kRoi.width, kRoi.height, c.channels, randomPadding(rng), rng);
    sprinkleSpecials(src, rng);
    Channels ch;
    Store st;
    if (c.op == Op::HistEven) {
        for (int k = 0; k < c.active; ++k) {
            const bool fl = std::is_floating_point_v<S>;
            ch.lowerLevel[k] = fl ? -500 : Zkr32s(std::numeric_limits<S>::min()) + 3 * k;
            ch.upperLevel[k] = fl ? 700 : Zkr32s(std::numeric_limits<S>::max()) + 1 - 5 * k;
            ch.levels[k].assign(std::size_t(n), -99.0);  // output: overwritten
        }
    } else {
        randomLevels<S>(ch, c.active, n, rng);
    }
    HistoBag b = makeBag<S>(c, ch, st, src.roi(), src.stepBytes(), nullptr, 0, kRoi);
    ASSERT_EQ(callWatched<S>(c, b), zkrStsNoErr);
    for (int k = 0; k < c.active; ++k) {
        SCOPED_TRACE("channel " + std::to_string(k));
        std::vector<double> lv = ch.levels[k];
        if (c.op == Op::HistEven) {
            lv.clear();
            const std::int64_t lo = ch.lowerLevel[k], hi = ch.upperLevel[k];
            for (int i = 0; i < n; ++i) {
                const std::int64_t want = lo + (hi - lo) * i / (n - 1);  // floor: the span is positive
                ASSERT_EQ(st.lv32s[k][i], want) << "level " << i;
                lv.push_back(double(want));
            }
        }
        std::vector<Zkr32s> want(std::size_t(n - 1), 0);
        for (int y = 0; y < kRoi.height; ++y)
            for (int x = 0; x < kRoi.width; ++x) {
                const int bin = refBin(double(src.at(y, x * c.channels + k)), lv);
                if (bin >= 0) ++want[bin];
            }
        ASSERT_EQ(ch.hist[k], want);
    }
}

template <class S> void checkLut(const FamilyCase& c, int n, std::mt19937& rng) {
    Plane<S> src(kRoi.width, kRoi.height, c.channels, randomPadding(rng), rng);
    sprinkleSpecials(src, rng);
    Plane<S> dst(kRoi.width, kRoi.height, c.channels, randomPadding(rng), rng);
    // Values the levels cover, besides the random ones with the type's extremes.
    for (int y = 0; y < kRoi.height; y += 2)
        for (int i = 0; i < kRoi.width * c.channels; ++i) src.roi()[std::size_t(y) * src.stride + i] = S((i * 37) % 101);
    Plane<S>& io = c.inPlace ? src : dst;
    const std::vector<S> before = io.data;
    const Plane<S> original = src;
    Channels ch;
    Store st;
    randomLevels<S>(ch, c.active, n, rng);
    HistoBag b = makeBag<S>(c, ch, st, src.roi(), src.stepBytes(), io.roi(), io.stepBytes(), kRoi);
    ASSERT_EQ(callWatched<S>(c, b), zkrStsNoErr);
    for (std::size_t i = 0; i < io.data.size(); ++i) {
        if (!io.insideRoi(i)) {
            ASSERT_TRUE(sameBits(io.data[i], before[i])) << "outside the ROI at " << i;
        }
    }
    for (int y = 0; y < kRoi.height; ++y)
        for (int x = 0; x < kRoi.width; ++x)
            for (int k = 0; k < c.channels; ++k) {
                const int i = x * c.channels + k;
                const S v = original.at(y, i), got = io.at(y, i);
                if (k >= c.active) {  // the alpha of AC4
                    const S kept = c.inPlace ? v : before[std::size_t(y + io.pad.top) * io.stride + io.pad.left * c.channels + i];
                    ASSERT_TRUE(sameBits(got, kept)) << "alpha written at " << x << "," << y;
                    continue;
                }
                const int bin = refBin(double(v), ch.levels[k]);
                if (bin < 0) {
                    ASSERT_TRUE(sameBits(got, v)) << "value outside the levels changed at " << x << "," << y;
                    continue;
                }
                const double r = c.op == Op::Lut        ? ch.values[k][bin]
                                 : c.op == Op::LutLinear ? refLinear(double(v), bin, ch.levels[k], ch.values[k])
                                                         : refCubic(double(v), bin, ch.levels[k], ch.values[k]);
                ASSERT_TRUE(tableMatches<S>(got, r, c.op == Op::LutCubic))
                    << "at " << x << "," << y << " channel " << k << ": " << double(v) << " -> " << double(got)
                    << ", expected " << r;
            }
}

template <class S> void checkCount(const FamilyCase& c, std::mt19937& rng) {
    Plane<S> src(kRoi.width, kRoi.height, c.channels, randomPadding(rng), rng);
    sprinkleSpecials(src, rng);
    // Bounds: a middle range, the value of one pixel on both sides, and the whole type.
    const double bounds[3][2] = {{-100, 100},
                                 {double(src.at(0, 0)), double(src.at(0, 0))},
                                 {double(std::numeric_limits<S>::lowest()), double(std::numeric_limits<S>::max())}};
    for (const auto& bd : bounds) {
        Channels ch;
        Store st;
        for (int k = 0; k < c.active; ++k) {
            ch.lowerBound[k] = std::max(bd[0], double(std::numeric_limits<S>::lowest()));
            ch.upperBound[k] = bd[1];
        }
        HistoBag b = makeBag<S>(c, ch, st, src.roi(), src.stepBytes(), nullptr, 0, kRoi);
        ASSERT_EQ(callWatched<S>(c, b), zkrStsNoErr);
        for (int k = 0; k < c.active; ++k) {
            int want = 0;
            for (int y = 0; y < kRoi.height; ++y)
                for (int x = 0; x < kRoi.width; ++x) {
                    const double v = double(src.at(y, x * c.channels + k));
                    want += v >= double(S(ch.lowerBound[k])) && v <= double(S(ch.upperBound[k]));
                }
            ASSERT_EQ(ch.counts[k], want) << "channel " << k << " bounds " << bd[0] << ".." << bd[1];
        }
    }
}

class HistoFamily : public LibraryStateTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(HistoFamily, EveryFunctionOfTheFormMatchesTheReferenceOnEveryLevel) {
    const std::string form = GetParam();
    std::mt19937 rng(20261123);
    forEachLevel([&](const Level&) {
        forEachCase(
            familyCases(), [&](const FamilyCase& c) { return c.form == form; },
            [&](const FamilyCase& c) {
                withCompType<Zkr8u, Zkr16u, Zkr16s, Zkr32f>(c.comp, [&]<class S>() {
                    if (c.op == Op::CountInRange) {
                        checkCount<S>(c, rng);
                        return;
                    }
                    // Fewest levels the function takes, a handful, and more levels than 8u values;
                    // histograms also take 257 (even 16-bit levels then fall on every multiple of
                    // 256, where the 16-bit kernel's buckets begin) and more than that kernel tables.
                    const int least = c.op == Op::LutCubic ? 4 : 2;
                    const bool histogram = c.op == Op::HistRange || c.op == Op::HistEven;
                    for (int n : {least, 7, 257, 300, 1100}) {
                        if (!histogram && (n == 257 || n == 1100)) continue;
                        SCOPED_TRACE("nLevels " + std::to_string(n));
                        if (histogram) checkHistogram<S>(c, n, rng);
                        else checkLut<S>(c, n, rng);
                        if (::testing::Test::HasFailure()) return;
                    }
                });
            });
    });
}

INSTANTIATE_TEST_SUITE_P(Forms, HistoFamily,
                         ::testing::Values("histo_range", "histo_range_c", "histo_even", "histo_even_c", "lut",
                                           "lut_c", "lut_i", "lut_ic", "count_range", "count_range_c"));

// The table holds exactly the catalogue's functions per base.
TEST(HistoTable, CountsPerBase) {
    std::map<std::string, int> bases;
    for (const FamilyCase& c : familyCases()) {
        const std::string rest = c.name.substr(4);
        size_t end = 0;
        while ((end = rest.find('_', end)) != std::string::npos && !std::isdigit(static_cast<unsigned char>(rest[end + 1])))
            ++end;
        ++bases[rest.substr(0, end)];
    }
    EXPECT_EQ(bases, (std::map<std::string, int>{{"HistogramRange", 16}, {"HistogramEven", 12}, {"LUT", 32},
                                                 {"LUT_Linear", 32}, {"LUT_Cubic", 32}, {"CountInRange", 6}}));
}

// A large image split over two threads counts and maps exactly as on one.
TEST_F(LibraryStateTest, HistoThreadSplitsGiveTheSameResults) {
    std::mt19937 rng(7);
    const ZkriSize big{700, 200};  // above the 64 K pixels from which the library splits images
    Plane<Zkr16s> src(big.width, big.height, 3, Padding{}, rng);
    Channels ch;
    Store st;
    randomLevels<Zkr16s>(ch, 3, 50, rng);
    const FamilyCase* hist = nullptr;
    const FamilyCase* lut = nullptr;
    for (const FamilyCase& c : familyCases()) {
        if (c.name == "zkriHistogramRange_16s_C3R") hist = &c;
        if (c.name == "zkriLUT_Linear_16s_C3R") lut = &c;
    }
    ASSERT_TRUE(hist && lut);
    std::vector<Zkr32s> one[3];
    std::vector<Zkr16s> outOne(src.data.size()), outTwo(src.data.size());
    for (int threads : {1, 2}) {
        ASSERT_EQ(zkrSetNumThreads(threads), zkrStsNoErr);
        HistoBag b = makeBag<Zkr16s>(*hist, ch, st, src.roi(), src.stepBytes(), nullptr, 0, big);
        ASSERT_EQ(hist->call(b), zkrStsNoErr);
        for (int k = 0; k < 3; ++k) {
            if (threads == 1) one[k] = ch.hist[k];
            else EXPECT_EQ(ch.hist[k], one[k]) << "channel " << k;
        }
        std::vector<Zkr16s>& out = threads == 1 ? outOne : outTwo;
        HistoBag l = makeBag<Zkr16s>(*lut, ch, st, src.roi(), src.stepBytes(), out.data(), src.stepBytes(), big);
        ASSERT_EQ(lut->call(l), zkrStsNoErr);
    }
    EXPECT_EQ(outOne, outTwo);
    long total = 0;
    for (Zkr32s v : one[0]) total += v;
    EXPECT_GT(total, 0);
}

// Pointers, then size, then steps, then levels and ranges.
TEST_F(LibraryStateTest, HistoArgumentErrors) {
    std::mt19937 rng(3);
    Plane<Zkr8u> src(8, 4, 4, Padding{}, rng);
    Plane<Zkr8u> dst(8, 4, 4, Padding{}, rng);
    auto find = [](const std::string& name) -> const FamilyCase& {
        for (const FamilyCase& c : familyCases())
            if (c.name == name) return c;
        throw std::runtime_error(name);
    };
    auto call = [&](const std::string& name, int n, auto&& tweak) {
        const FamilyCase& c = find(name);
        Channels ch;
        Store st;
        randomLevels<Zkr8u>(ch, c.active, n, rng);
        for (int k = 0; k < 4; ++k) ch.lowerLevel[k] = 0, ch.upperLevel[k] = 256, ch.lowerBound[k] = 1, ch.upperBound[k] = 9;
        HistoBag b = makeBag<Zkr8u>(c, ch, st, src.roi(), src.stepBytes(), dst.roi(), dst.stepBytes(), {8, 4});
        tweak(b, ch, st);
        return c.call(b);
    };
    auto none = [](HistoBag&, Channels&, Store&) {};
    EXPECT_EQ(call("zkriHistogramRange_8u_C1R", 5, none), zkrStsNoErr);
    EXPECT_EQ(call("zkriHistogramRange_8u_C1R", 5, [](HistoBag& b, Channels&, Store&) { b.pSrc = nullptr; }), zkrStsNullPtrErr);
    EXPECT_EQ(call("zkriHistogramRange_8u_C3R", 5, [](HistoBag&, Channels&, Store& s) { s.histPtr[2] = nullptr; }),
              zkrStsNullPtrErr);
    EXPECT_EQ(call("zkriLUT_8u_C4R", 5, [](HistoBag&, Channels&, Store& s) { s.valuePtr[3] = nullptr; }), zkrStsNullPtrErr);
    EXPECT_EQ(call("zkriLUT_8u_C1IR", 5, [](HistoBag& b, Channels&, Store&) { b.pSrcDst = nullptr; }), zkrStsNullPtrErr);
    EXPECT_EQ(call("zkriCountInRange_8u_C3R", 2, [](HistoBag& b, Channels&, Store&) { b.pCounts = nullptr; }),
              zkrStsNullPtrErr);
    EXPECT_EQ(call("zkriLUT_8u_C1R", 5, [](HistoBag& b, Channels&, Store&) { b.roiSize = {0, 4}; }), zkrStsSizeErr);
    EXPECT_EQ(call("zkriHistogramEven_8u_C3R", 5, [](HistoBag& b, Channels&, Store&) { b.srcStep = 8 * 3 - 1; }),
              zkrStsStepErr);
    EXPECT_EQ(call("zkriLUT_Linear_8u_C1R", 5, [](HistoBag& b, Channels&, Store&) { b.dstStep = 7; }), zkrStsStepErr);
    // Levels: two at least, four for the cubic table; an empty or reversed range.
    EXPECT_EQ(call("zkriHistogramRange_8u_C1R", 1, none), zkrStsBadArgErr);
    EXPECT_EQ(call("zkriHistogramEven_8u_C4R", 5, [](HistoBag&, Channels&, Store& s) { s.n[3] = 1; }), zkrStsBadArgErr);
    EXPECT_EQ(call("zkriLUT_Cubic_8u_C1R", 3, none), zkrStsBadArgErr);
    EXPECT_EQ(call("zkriLUT_Cubic_8u_C1R", 4, none), zkrStsNoErr);
    EXPECT_EQ(call("zkriLUT_Linear_8u_C1R", 2, none), zkrStsNoErr);
    EXPECT_EQ(call("zkriHistogramEven_8u_C1R", 5, [](HistoBag&, Channels& c, Store&) { c.upperLevel[0] = 0; }),
              zkrStsRangeErr);
    EXPECT_EQ(call("zkriCountInRange_8u_C3R", 2,
                   [](HistoBag&, Channels&, Store& s) { s.lowB[1] = 10, s.upB[1] = 9; }),
              zkrStsRangeErr);
    EXPECT_EQ(call("zkriCountInRange_8u_C1R", 2, [](HistoBag&, Channels&, Store& s) { s.lowB[0] = s.upB[0] = 9; }),
              zkrStsNoErr);
}

// ---- palettes -----------------------------------------------------------------------------

struct PaletteBag : Bag {
    const void* pTable = nullptr;
    int nBitSize = 0;
};

struct PaletteCase {
    std::string name, form;
    bool swap, inPlace;
    int channels, active, indexBits;
    ZkrStatus (*call)(const PaletteBag&);
    void (*check)(const PaletteCase&, int bits, std::mt19937& rng);
};

// Random source, random palettes; every written component against table[c][index & mask], the
// alpha of AC4 and everything outside the ROI untouched.
template <class T, class D> void checkPalette(const PaletteCase& c, int bits, std::mt19937& rng) {
    Plane<T> src(kRoi.width, kRoi.height, c.channels, randomPadding(rng), rng);
    Plane<D> dst(kRoi.width, kRoi.height, c.channels, randomPadding(rng), rng);
    std::vector<D> tables[4];
    const void* ptrs[4] = {};
    for (int k = 0; k < c.active; ++k) {
        tables[k].resize(std::size_t(1) << bits);
        for (D& v : tables[k]) v = D(rng());
        ptrs[k] = tables[k].data();
    }
    const Plane<T> original = src;
    const std::vector<D> before = dst.data;
    PaletteBag b;
    b.roiSize = kRoi;
    b.pSrc = src.roi(), b.srcStep = src.stepBytes();
    b.pDst = dst.roi(), b.dstStep = dst.stepBytes();
    if constexpr (std::is_same_v<T, D>) {
        if (c.inPlace) b.pSrcDst = src.roi(), b.srcDstStep = src.stepBytes();
    }
    b.pTable = c.channels == 1 ? ptrs[0] : static_cast<const void*>(ptrs);
    b.nBitSize = bits;
    ASSERT_EQ(c.call(b), zkrStsNoErr);
    const unsigned mask = (1u << bits) - 1u;
    auto result = [&](int y, int i) -> D {
        if constexpr (std::is_same_v<T, D>) {
            if (c.inPlace) return src.at(y, i);
        }
        return dst.at(y, i);
    };
    for (int y = 0; y < kRoi.height; ++y)
        for (int x = 0; x < kRoi.width; ++x)
            for (int k = 0; k < c.channels; ++k) {
                const int i = x * c.channels + k;
                if (k >= c.active) {
                    const D kept = c.inPlace ? D(original.at(y, i))
                                             : before[std::size_t(y + dst.pad.top) * dst.stride + dst.pad.left * c.channels + i];
                    ASSERT_EQ(result(y, i), kept) << "alpha written at " << x << "," << y;
                    continue;
                }
                const int from = c.swap ? c.active - 1 - k : k;
                const D want = tables[k][original.at(y, x * c.channels + from) & mask];
                ASSERT_EQ(result(y, i), want) << "at " << x << "," << y << " channel " << k;
            }
    if (!c.inPlace)
        for (std::size_t i = 0; i < dst.data.size(); ++i)
            if (!dst.insideRoi(i)) {
                ASSERT_EQ(dst.data[i], before[i]) << "outside the ROI at " << i;
            }
}

template <class T, class D>
PaletteCase describePalette(const char* name, const char* form, const char* layout, const char* op,
                            ZkrStatus (*call)(const PaletteBag&)) {
    const std::string l = layout, f = form;
    PaletteCase c;
    c.name = name, c.form = f;
    c.swap = std::string(op) == "PaletteSwap";
    c.inPlace = f == "palette_i" || f == "palette_ic";
    c.channels = l == "C1" ? 1 : (l == "C3" ? 3 : 4);
    c.active = l == "C4" ? 4 : (l == "C1" ? 1 : 3);
    c.indexBits = int(8 * sizeof(T));
    c.call = call;
    c.check = &checkPalette<T, D>;
    return c;
}

const std::vector<PaletteCase>& paletteCases() {
    static const std::vector<PaletteCase> cases = [] {
        std::vector<PaletteCase> v;
#define ZKR_FN(name, form, T, D, L, op)                    \
    v.push_back(describePalette<T, D>(#name, #form, #L, #op, \
                                      [](const PaletteBag& b) { return ZKR_CALL(b, name, form, T, D); }));
#include "histo/lutpalette.tbl"
#undef ZKR_FN
        return v;
    }();
    return cases;
}

class PaletteForms : public LibraryStateTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(PaletteForms, EveryFunctionOfTheFormMatchesTheReferenceOnEveryLevel) {
    const std::string form = GetParam();
    std::mt19937 rng(99);
    forEachLevel([&](const Level&) {
        forEachCase(
            paletteCases(), [&](const PaletteCase& c) { return c.form == form; },
            [&](const PaletteCase& c) {
                for (int bits : {1, 5, c.indexBits}) {
                    SCOPED_TRACE("nBitSize " + std::to_string(bits));
                    c.check(c, bits, rng);
                    if (::testing::Test::HasFailure()) return;
                }
            });
    });
}

INSTANTIATE_TEST_SUITE_P(Forms, PaletteForms, ::testing::Values("palette", "palette_c", "palette_i", "palette_ic"));

TEST(PaletteTable, CountsPerBaseAndBitSizeChecks) {
    std::map<std::string, int> bases;
    for (const PaletteCase& c : paletteCases()) ++bases[c.name.substr(4, c.name.find('_') - 4)];
    EXPECT_EQ(bases, (std::map<std::string, int>{{"LUTPalette", 15}, {"LUTPaletteSwap", 2}}));

    // The bit size must fit the index type; pointers, size and steps come first.
    std::mt19937 rng(5);
    Plane<Zkr16u> src(4, 2, 1, Padding{}, rng);
    std::vector<Zkr32u> dst(8), table(std::size_t(1) << 16);
    for (const PaletteCase& c : paletteCases()) {
        if (c.name != "zkriLUTPalette_16u32u_C1R") continue;
        PaletteBag b;
        b.pSrc = src.roi(), b.srcStep = src.stepBytes(), b.pDst = dst.data(), b.dstStep = 4 * 4;
        b.roiSize = {4, 2}, b.pTable = table.data();
        for (int bits : {1, 16}) {
            b.nBitSize = bits;
            EXPECT_EQ(c.call(b), zkrStsNoErr) << bits;
        }
        for (int bits : {0, 17, -1}) {
            b.nBitSize = bits;
            EXPECT_EQ(c.call(b), zkrStsBadArgErr) << bits;
        }
        b.nBitSize = 4;
        PaletteBag n = b;
        n.pTable = nullptr;
        EXPECT_EQ(c.call(n), zkrStsNullPtrErr);
        n = b, n.dstStep = 4 * 4 - 1;
        EXPECT_EQ(c.call(n), zkrStsStepErr);  // a 32u row is 16 bytes
        n = b, n.roiSize = {4, 0};
        EXPECT_EQ(c.call(n), zkrStsSizeErr);
    }
}

}  // namespace
}  // namespace zkrtest
