// The Norm family against the definitions, driven by its tables: every function of each form on
// every dispatch level, ROIs inside padded images, both float algorithms, sums beyond the 32-bit
// lanes, the relative norm over a zero norm, thread splits, and every argument error.
#include <algorithm>
#include <cmath>
#include <map>

#include "family_support.h"
#include "test_support.h"

#define ZKR_TABLE "norm/norm.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "norm/hint.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

enum class Kind { Inf, L1, L2 };
enum class Op { Norm, Diff, Rel };

struct NormBag : Bag {
    Zkr64f* pValue = nullptr;
    ZkrHintAlgorithm hint = zkrAlgHintNone;
};

struct FamilyCase {
    std::string name, form, base;
    Kind kind;
    Op op;
    int channels, active;
    bool hasHint;
    CompType comp;
    int compBytes;
    ZkrStatus (*call)(const NormBag&);
};

template <class T>
FamilyCase describe(const char* name, const char* form, const char* layout, const char* kind, const char* op,
                    ZkrStatus (*call)(const NormBag&)) {
    const std::string l = layout, k = kind, o = op;
    FamilyCase c;
    c.name = name;
    c.form = form;
    c.kind = k == "Inf" ? Kind::Inf : (k == "L1" ? Kind::L1 : Kind::L2);
    c.op = o == "Norm" ? Op::Norm : (o == "Diff" ? Op::Diff : Op::Rel);
    c.base = (o == "Norm" ? std::string("Norm_") : "Norm" + o + "_") + k;
    c.channels = l == "C1" ? 1 : (l == "C3" ? 3 : 4);
    c.active = l == "C4" ? 4 : (l == "C1" ? 1 : 3);
    c.hasHint = formEndsWith(c.form, "_hint");
    c.comp = compTypeOf<T>();
    c.compBytes = int(sizeof(T));
    c.call = call;
    return c;
}

std::vector<FamilyCase> expandTables() {
    std::vector<FamilyCase> cases;
#define ZKR_FN(name, form, T, L, kind, op) \
    cases.push_back(describe<T>(#name, #form, #L, #kind, #op, [](const NormBag& b) { return ZKR_CALL(b, name, form, T); }));
#include "norm/norm.tbl"
#include "norm/hint.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<FamilyCase>& familyCases() {
    static const std::vector<FamilyCase> cases = expandTables();
    return cases;
}

// ---- reference: the definitions, in long double ---------------------------------------

struct Expected {
    long double value[4], absSum[4];  // absSum: the scale of a float sum's rounding
    bool divByZero = false;
};

template <class S> Expected reference(const FamilyCase& c, const Plane<S>& a, const Plane<S>& b) {
    Expected e;
    long double acc[4] = {}, ref[4] = {};
    for (int ch = 0; ch < 4; ++ch) e.absSum[ch] = 0;
    auto add = [&](long double& m, long double x) {
        const long double t = c.kind == Kind::L2 ? x * x : std::fabs(x);
        if (c.kind != Kind::Inf) m += t;
        else if (std::isnan(t) || t > m) m = std::isnan(m) ? m : t;
    };
    for (int y = 0; y < a.height; ++y)
        for (int x = 0; x < a.width; ++x)
            for (int ch = 0; ch < c.active; ++ch) {
                const long double va = a.at(y, x * c.channels + ch), vb = b.at(y, x * c.channels + ch);
                const long double v = c.op == Op::Norm ? va : va - vb;
                add(acc[ch], v);
                if (c.op == Op::Rel) add(ref[ch], vb);
                e.absSum[ch] += c.kind == Kind::L2 ? v * v : std::fabs(v);
            }
    for (int ch = 0; ch < c.active; ++ch) {
        const long double v = c.kind == Kind::L2 ? std::sqrt(acc[ch]) : acc[ch];
        const long double r = c.kind == Kind::L2 ? std::sqrt(ref[ch]) : ref[ch];
        if (c.op != Op::Rel) e.value[ch] = v;
        else if (r != 0) e.value[ch] = v / r;
        else e.divByZero = true, e.value[ch] = std::isnan(v) || v == 0 ? v : HUGE_VALL;
    }
    return e;
}

::testing::AssertionResult close(double got, long double want, long double tol) {
    if (std::isnan(want) ? std::isnan(got) : (std::isinf(want) ? got == double(want) : std::fabs(got - want) <= tol))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << got << ", want " << double(want) << " within " << double(tol);
}

// Calls the case on a and b, checks every computed channel against the definition and that no
// value past them is written.
template <class S> void runAndCheck(const FamilyCase& c, const Plane<S>& a, const Plane<S>& b, ZkrHintAlgorithm hint) {
    Zkr64f out[4] = {-7, -7, -7, -7};
    NormBag bag;
    bag.pSrc = bag.pSrc1 = a.roi();
    bag.srcStep = bag.src1Step = a.stepBytes();
    bag.pSrc2 = b.roi();
    bag.src2Step = b.stepBytes();
    bag.roiSize = {a.width, a.height};
    bag.pValue = out;
    bag.hint = hint;
    const Expected e = reference(c, a, b);
    ASSERT_EQ(c.call(bag), e.divByZero ? zkrStsDivByZero : zkrStsNoErr);
    const bool flt = std::is_floating_point_v<S>;
    for (int ch = 0; ch < c.active; ++ch) {
        SCOPED_TRACE(testing::Message() << "channel " << ch << " hint " << int(hint));
        // Integer accumulations are exact and Inf norms are, so one rounding of the root or the
        // quotient remains; float sums keep the bound of their algorithm.
        long double tol = 4e-16L * std::fabs(e.value[ch]);
        if (flt && c.kind != Kind::Inf) {
            const long double rel = hint == zkrAlgHintFast ? 2e-6L : 1e-13L;
            const long double sumTol = e.absSum[ch] * rel;
            // The root halves the relative error of the sum; a quotient adds the two.
            tol += c.kind == Kind::L2 ? std::sqrt(sumTol) + rel * std::fabs(e.value[ch]) : sumTol;
            if (c.op == Op::Rel) tol = 4 * rel * std::fabs(e.value[ch]) + 1e-300L;
        }
        EXPECT_TRUE(close(out[ch], e.value[ch], tol));
    }
    for (int ch = c.active; ch < 4; ++ch) EXPECT_EQ(out[ch], -7.0) << "written past the computed channels";
}

std::vector<ZkrHintAlgorithm> hintsOf(const FamilyCase& c) {
    if (!c.hasHint) return {zkrAlgHintNone};
    return {zkrAlgHintNone, zkrAlgHintFast, zkrAlgHintAccurate};
}

// Float sums over moderate values, so that the fast algorithm's bound stays meaningful; the Inf
// norms keep the range's edges.
template <class S> void moderate(const FamilyCase& c, Plane<S>& p, std::mt19937& rng) {
    if constexpr (std::is_floating_point_v<S>)
        if (c.kind != Kind::Inf)
            for (S& v : p.data) v = std::uniform_real_distribution<S>(-1000.0f, 1000.0f)(rng);
}

struct Geometry {
    int width, height;
    bool padded;
};
// 1x1; odd sizes inside padding; rows shorter and longer than the lanes; more rows than chunks.
const Geometry kGeometries[] = {{1, 1, false}, {13, 7, true}, {29, 6, false}, {300, 3, true}, {5, 150, true}, {1000, 2, false}};

template <class S> void checkAgainstReference(const FamilyCase& c) {
    std::mt19937 rng(2026);
    forEachLevel([&](const Level&) {
        for (const Geometry& g : kGeometries) {
            SCOPED_TRACE(testing::Message() << g.width << "x" << g.height);
            auto pad = [&] { return g.padded ? randomPadding(rng) : Padding{}; };
            Plane<S> a(g.width, g.height, c.channels, pad(), rng), b(g.width, g.height, c.channels, pad(), rng);
            moderate(c, a, rng);
            moderate(c, b, rng);
            for (ZkrHintAlgorithm h : hintsOf(c)) runAndCheck<S>(c, a, b, h);
            if (testing::Test::HasFailure()) return;
        }
    });
}

// kSplitSize is above the splitting threshold: 1, 2 and 3 threads give the same bits.
template <class S> void checkThreadSplits(const FamilyCase& c) {
    std::mt19937 rng(31);
    Plane<S> a(kSplitSize.width, kSplitSize.height, c.channels, randomPadding(rng), rng),
        b(kSplitSize.width, kSplitSize.height, c.channels, Padding{}, rng);
    moderate(c, a, rng);
    moderate(c, b, rng);
    for (ZkrHintAlgorithm h : hintsOf(c)) {
        Zkr64f single[4] = {};
        for (int threads : {1, 2, 3}) {
            SCOPED_TRACE(testing::Message() << threads << " threads");
            ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
            Zkr64f out[4] = {};
            NormBag bag;
            bag.pSrc = bag.pSrc1 = a.roi();
            bag.srcStep = bag.src1Step = a.stepBytes();
            bag.pSrc2 = b.roi();
            bag.src2Step = b.stepBytes();
            bag.roiSize = kSplitSize;
            bag.pValue = out;
            bag.hint = h;
            ASSERT_GE(c.call(bag), zkrStsNoErr);
            if (threads == 1) {
                runAndCheck<S>(c, a, b, h);
                std::copy(out, out + 4, single);
            } else {
                EXPECT_EQ(std::memcmp(out, single, sizeof out), 0) << "result depends on the thread split";
            }
        }
    }
    zkrSetNumThreads(1);
}

// NULL pointers (each source, the output), then ROI size, then steps, then the hint.
template <class S> void checkStatusCodes(const FamilyCase& c) {
    std::mt19937 rng(8);
    Plane<S> a(6, 3, c.channels, Padding{1, 1, 1, 1, 1}, rng);
    Zkr64f out[4];
    NormBag good;
    good.pSrc = good.pSrc1 = good.pSrc2 = a.roi();
    good.srcStep = good.src1Step = good.src2Step = a.stepBytes();
    good.roiSize = {6, 3};
    good.pValue = out;
    ASSERT_GE(c.call(good), zkrStsNoErr);
    const bool two = c.op != Op::Norm;
    for (int k = 0; k < (two ? 3 : 2); ++k) {
        NormBag x = good;
        if (k == 0) x.pSrc = x.pSrc1 = nullptr;
        else if (k == 1 && two) x.pSrc2 = nullptr;
        else x.pValue = nullptr;
        EXPECT_EQ(c.call(x), zkrStsNullPtrErr) << "null pointer " << k;
        x.roiSize = {0, 0};
        x.hint = ZkrHintAlgorithm(3);
        EXPECT_EQ(c.call(x), zkrStsNullPtrErr) << "null pointer checked first";
    }
    for (ZkriSize roi : {ZkriSize{0, 3}, ZkriSize{6, 0}, ZkriSize{-2, 3}, ZkriSize{6, INT_MIN}}) {
        NormBag x = good;
        x.roiSize = roi;
        EXPECT_EQ(c.call(x), zkrStsSizeErr);
        x.srcStep = x.src1Step = 0;
        EXPECT_EQ(c.call(x), zkrStsSizeErr) << "size checked before steps";
    }
    const int rowBytes = 6 * c.channels * c.compBytes;
    std::vector<int> bad = {0, -good.srcStep, rowBytes - c.compBytes};
    if (c.compBytes > 1) bad.push_back(rowBytes + 1);
    for (int s : bad) {
        NormBag x = good;
        (two ? x.src1Step : x.srcStep) = s;
        EXPECT_EQ(c.call(x), zkrStsStepErr) << "step " << s;
        if (two) {
            x = good;
            x.src2Step = s;
            EXPECT_EQ(c.call(x), zkrStsStepErr) << "second step " << s;
        }
    }
    if (c.hasHint) {
        // 3 is the one value of the enumeration's range that names no hint.
        NormBag x = good;
        x.hint = ZkrHintAlgorithm(3);
        EXPECT_EQ(c.call(x), zkrStsHintErr);
        x.srcStep = x.src1Step = 0;
        EXPECT_EQ(c.call(x), zkrStsStepErr) << "steps checked before the hint";
    }
}

template <class F> void withType(const FamilyCase& c, F&& f) { withCompType<Zkr8u, Zkr16u, Zkr16s, Zkr32s, Zkr32f>(c.comp, f); }

class NormFamily : public testing::WithParamInterface<const char*>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases(), [&](const FamilyCase& c) { return c.form == GetParam(); }, check);
    }
};

TEST_P(NormFamily, MatchesReferenceOnEveryLevel) {
    walk([](const FamilyCase& c) { withType(c, [&]<class S>() { checkAgainstReference<S>(c); }); });
}
TEST_P(NormFamily, ThreadSplitsGiveTheSameBits) {
    walk([](const FamilyCase& c) { withType(c, [&]<class S>() { checkThreadSplits<S>(c); }); });
}
TEST_P(NormFamily, StatusCodes) {
    walk([](const FamilyCase& c) { withType(c, [&]<class S>() { checkStatusCodes<S>(c); }); });
}

std::string formParamName(const testing::TestParamInfo<const char*>& param) { return param.param; }

INSTANTIATE_TEST_SUITE_P(Zkri, NormFamily, testing::Values("nrm", "nrm_diff", "nrm_hint", "nrm_diff_hint"), formParamName);

// ---- exactness past the lanes, relative norms over zero, NaN --------------------------------

class NormEdges : public LibraryStateTest {};

// One row of 4M 16u components of 65535 (L1 lanes of 32 bits would wrap after 65537 of them) and
// 2049x2049 16s of -32768 (squares summed past 2^53 / 2^32 values per double lane).
TEST_F(NormEdges, LongAndLargeImagesStayExact) {
    const int w = 4 * 1024 * 1024 / 3;
    std::vector<Zkr16u> row(std::size_t(w) * 3, 65535), zero(row.size(), 0);
    row[5] = 0;  // channel 2 of pixel 1
    const int n = 2049;
    std::vector<Zkr16s> big(std::size_t(n) * n, -32768);
    forEachLevel([&](const Level&) {
        for (int threads : {1, 2}) {
            ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
            Zkr64f v[3] = {};
            ASSERT_EQ(zkriNorm_L1_16u_C3R(row.data(), w * 6, {w, 1}, v), zkrStsNoErr);
            EXPECT_EQ(v[0], 65535.0 * w);
            EXPECT_EQ(v[2], 65535.0 * (w - 1));
            ASSERT_EQ(zkriNormDiff_L1_16u_C3R(zero.data(), w * 6, row.data(), w * 6, {w, 1}, v), zkrStsNoErr);
            EXPECT_EQ(v[1], 65535.0 * w);
            ASSERT_EQ(zkriNorm_L2_16s_C1R(big.data(), n * 2, {n, n}, v), zkrStsNoErr);
            EXPECT_EQ(v[0], std::sqrt(32768.0 * 32768.0 * n * n));
            ASSERT_EQ(zkriNorm_Inf_16s_C1R(big.data(), n * 2, {n, n}, v), zkrStsNoErr);
            EXPECT_EQ(v[0], 32768.0);
        }
    });
    const Zkr32s extremes[] = {5, INT_MIN, INT_MAX};
    Zkr64f v = 0;
    ASSERT_EQ(zkriNorm_Inf_32s_C1R(extremes, sizeof extremes, {3, 1}, &v), zkrStsNoErr);
    EXPECT_EQ(v, 2147483648.0) << "|INT_MIN| does not wrap";
}

// A zero norm of the second image: 0 where the difference is 0 too, +inf elsewhere, the warning,
// and the other channels divided as usual.
TEST_F(NormEdges, RelativeNormOverZeroNormWarns) {
    const Zkr8u a[] = {3, 0, 9, 4, 0, 9}, b[] = {0, 0, 3, 0, 0, 3};  // C3, two pixels
    forEachLevel([&](const Level&) {
        Zkr64f v[3];
        ASSERT_EQ(zkriNormRel_L1_8u_C3R(a, 6, b, 6, {2, 1}, v), zkrStsDivByZero);
        EXPECT_EQ(v[0], HUGE_VAL);
        EXPECT_EQ(v[1], 0.0);
        EXPECT_EQ(v[2], 2.0);
        ASSERT_EQ(zkriNormRel_Inf_8u_C3R(b, 6, a, 6, {2, 1}, v), zkrStsDivByZero);
        EXPECT_EQ(v[0], 1.0);
        EXPECT_EQ(v[1], 0.0);
        EXPECT_DOUBLE_EQ(v[2], 6.0 / 9.0);
    });
}

// A NaN makes the Inf norm of its channel NaN wherever it sits; infinities are the maximum.
TEST_F(NormEdges, FloatInfNormOfNaNAndInfinity) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    std::vector<Zkr32f> img(3 * 100, 1.0f), other(img.size(), 0.5f);
    img[3 * 57] = nan;       // channel 0, late in the row: after lanes that hold larger values
    img[3 * 2] = 1e30f;
    img[3 * 9 + 1] = -inf;   // channel 1
    img[3 * 99 + 2] = -3.0e38f;
    forEachLevel([&](const Level&) {
        Zkr64f v[3];
        ASSERT_EQ(zkriNorm_Inf_32f_C3R(img.data(), 1200, {100, 1}, v), zkrStsNoErr);
        EXPECT_TRUE(std::isnan(v[0]));
        EXPECT_EQ(v[1], HUGE_VAL);
        EXPECT_EQ(v[2], double(3.0e38f));
        ASSERT_EQ(zkriNormDiff_Inf_32f_C3R(other.data(), 1200, img.data(), 1200, {100, 1}, v), zkrStsNoErr);
        EXPECT_TRUE(std::isnan(v[0]));
        EXPECT_EQ(v[2], double(3.0e38f) + 0.5) << "the difference is exact, not rounded to float";
    });
}

// ---- the tables --------------------------------------------------------------------------

// TimiNorm's table, and TimiHint's rows (hint.tbl: the rows with a hint).
TEST(NormFamilyTable, CountsPerBase) {
    std::map<std::string, int> perBase, perBaseHint;
    std::vector<std::string> names;
    for (const FamilyCase& c : familyCases()) {
        ++(c.hasHint ? perBaseHint : perBase)[c.base];
        names.push_back(c.name);
        EXPECT_EQ(c.name.rfind("zkri" + c.base + "_", 0), 0u) << c.name;
        EXPECT_EQ(c.hasHint, c.comp == CompType::F32 && c.kind != Kind::Inf) << c.name;
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "a function is listed twice";
    const std::map<std::string, int> want = {{"Norm_Inf", 17},     {"Norm_L1", 12},     {"Norm_L2", 12},
                                             {"NormDiff_Inf", 16}, {"NormDiff_L1", 12}, {"NormDiff_L2", 12},
                                             {"NormRel_Inf", 16},  {"NormRel_L1", 12},  {"NormRel_L2", 12}};
    EXPECT_EQ(perBase, want);
    const std::map<std::string, int> wantHint = {{"Norm_L1", 4},     {"Norm_L2", 4},     {"NormDiff_L1", 4},
                                                 {"NormDiff_L2", 4}, {"NormRel_L1", 4},  {"NormRel_L2", 4}};
    EXPECT_EQ(perBaseHint, wantHint);
}

}  // namespace
}  // namespace zkrtest
