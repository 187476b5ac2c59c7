// The Threshold family against a reference model, driven by its tables: per
// call form, every function on every dispatch level, with constants drawn at
// random per channel and at the edges of the type's range, sources that hit
// the thresholds exactly, float NaNs, ROIs inside padded images, the alpha
// channel kept, thread splits and every argument error. Otsu's threshold
// against a direct computation of the between-class variance.
#include <algorithm>
#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "thresh/thresh.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "thresh/threshi.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "thresh/thresh_otsu.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

enum class Op { Thr, GT, LT, Val, GTVal, LTVal, LTValGTVal, Otsu };

struct ThreshBag : Bag {
    const void* threshold = nullptr;
    const void* thresholdLT = nullptr;
    const void* valueLT = nullptr;
    const void* thresholdGT = nullptr;
    const void* valueGT = nullptr;
    ZkrCmpOp cmpOp = zkrCmpLess;
    void* pThreshold = nullptr;
};

// The arguments of one call; constants point at one value per channel.
struct CallArgs {
    const void* src = nullptr;
    int srcStep = 0;
    void* dst = nullptr;  // pDst, or pSrcDst in place
    int dstStep = 0;
    ZkriSize roi{0, 0};
    const void *threshold = nullptr, *value = nullptr;
    const void *thresholdLT = nullptr, *valueLT = nullptr, *thresholdGT = nullptr, *valueGT = nullptr;
    ZkrCmpOp cmpOp = zkrCmpLess;
    Zkr8u* level = nullptr;  // Otsu's result

    ThreshBag bag() const {
        ThreshBag b;
        b.pSrc = src, b.srcStep = srcStep;
        b.pDst = b.pSrcDst = dst;
        b.dstStep = b.srcDstStep = dstStep;
        b.roiSize = roi;
        b.threshold = threshold, b.value = value;
        b.thresholdLT = thresholdLT, b.valueLT = valueLT, b.thresholdGT = thresholdGT, b.valueGT = valueGT;
        b.cmpOp = cmpOp;
        b.pThreshold = level;
        return b;
    }
};

struct FamilyCase {
    std::string name, form;
    Op op;
    bool inPlace, perChannel, hasCmp;
    int channels, active;
    bool alpha;
    CompType comp;
    int compBytes;
    ZkrStatus (*call)(const CallArgs&);
    int perPixel() const { return channels; }
    int pixelBytes() const { return channels * compBytes; }
};

template <class T>
FamilyCase describe(const char* name, const char* form, const char* layout, Op op, ZkrStatus (*call)(const CallArgs&)) {
    const std::string l = layout;
    FamilyCase c;
    c.name = name;
    c.form = form;
    c.op = op;
    c.inPlace = formEndsWith(c.form, "_i");
    c.perChannel = c.form.find('N') != std::string::npos;
    c.hasCmp = c.form.find("_cmp") != std::string::npos;
    c.channels = l == "C1" ? 1 : (l == "C3" ? 3 : 4);
    c.active = l == "C4" ? 4 : (l == "C1" ? 1 : 3);
    c.alpha = l == "AC4";
    c.comp = compTypeOf<T>();
    c.compBytes = int(sizeof(T));
    c.call = call;
    return c;
}

std::vector<FamilyCase> expandTables() {
    std::vector<FamilyCase> cases;
#define ZKR_FN(name, form, T, L, op)                                                           \
    cases.push_back(describe<T>(#name, #form, #L, Op::op, [](const CallArgs& a) -> ZkrStatus { \
        const ThreshBag b = a.bag();                                                           \
        return ZKR_CALL(b, name, form, T);                                                     \
    }));
#include "thresh/thresh.tbl"
#include "thresh/threshi.tbl"
#include "thresh/thresh_otsu.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<FamilyCase>& familyCases() {
    static const std::vector<FamilyCase> cases = expandTables();
    return cases;
}

template <class F> void withThreshType(CompType t, F&& f) { withCompType<Zkr8u, Zkr16u, Zkr16s, Zkr32f>(t, f); }

// ---- reference ----------------------------------------------------------------------

// The constants of one call, per channel.
template <class S> struct Constants {
    S t[4], v[4], tLT[4], vLT[4], tGT[4], vGT[4];
    ZkrCmpOp cmp = zkrCmpLess;
};

template <class S> S expectedOf(const FamilyCase& c, const Constants<S>& k, S x, int ch) {
    switch (c.op) {
        case Op::Thr: return k.cmp == zkrCmpLess ? (x < k.t[ch] ? k.t[ch] : x) : (x > k.t[ch] ? k.t[ch] : x);
        case Op::GT: return x > k.t[ch] ? k.t[ch] : x;
        case Op::LT: return x < k.t[ch] ? k.t[ch] : x;
        case Op::Val: return k.cmp == zkrCmpLess ? (x < k.t[ch] ? k.v[ch] : x) : (x > k.t[ch] ? k.v[ch] : x);
        case Op::GTVal: return x > k.t[ch] ? k.v[ch] : x;
        case Op::LTVal: return x < k.t[ch] ? k.v[ch] : x;
        case Op::LTValGTVal: return x < k.tLT[ch] ? k.vLT[ch] : (x > k.tGT[ch] ? k.vGT[ch] : x);
        case Op::Otsu: break;
    }
    ADD_FAILURE() << "no reference for this operation";
    return x;
}

template <class S> bool matches(S got, S want) {
    if constexpr (std::is_floating_point_v<S>)
        if (std::isnan(want)) return std::isnan(got);
    return sameBits(got, want);
}

// ---- one call ------------------------------------------------------------------------

template <class S> struct Call {
    const FamilyCase* fc;
    Plane<S> src, dst;  // in place: dst is the source too
    Constants<S> k;

    Call(const FamilyCase& c, int w, int h, bool padded, std::mt19937& rng)
        : fc(&c), src(w, h, c.perPixel(), padded ? randomPadding(rng) : Padding{}, rng),
          dst(w, h, c.perPixel(), padded ? randomPadding(rng) : Padding{}, rng) {}

    Plane<S>& input() { return fc->inPlace ? dst : src; }

    CallArgs args() {
        CallArgs a;
        if (!fc->inPlace) a.src = src.roi(), a.srcStep = src.stepBytes();
        a.dst = dst.roi();
        a.dstStep = dst.stepBytes();
        a.roi = {dst.width, dst.height};
        a.threshold = k.t, a.value = k.v;
        a.thresholdLT = k.tLT, a.valueLT = k.vLT, a.thresholdGT = k.tGT, a.valueGT = k.vGT;
        a.cmpOp = k.cmp;
        return a;
    }

    // Sets about one component in eight to the threshold(s) of its channel, and a few float ones to
    // the hostile fills' specials (NaN of both signs, infinities, zeros, denormals) or to values
    // from 1e-30 to 1e30 of either sign.
    void hitThresholds(std::mt19937& rng) {
        Plane<S>& in = input();
        std::uniform_int_distribution<int> pick(0, 15);
        for (int y = 0; y < in.height; ++y) {
            S* row = in.roi() + std::size_t(y) * in.stride;
            for (int i = 0; i < in.rowComps(); ++i) {
                const int ch = i % fc->channels, p = pick(rng);
                if (p == 0) row[i] = fc->op == Op::LTValGTVal ? k.tLT[ch] : k.t[ch];
                else if (p == 1) row[i] = fc->op == Op::LTValGTVal ? k.tGT[ch] : k.t[ch];
                else if (p == 2 && std::is_floating_point_v<S>)
                    row[i] = S(floats::specials()[rng() % floats::specials().size()]);
                else if (p == 3 && std::is_floating_point_v<S>)
                    row[i] = S(floats::wideValue(rng, rng() & 1));
            }
        }
    }

    // Runs the function and checks the whole destination buffer and the source.
    void runAndCheck() {
        const Plane<S> before = dst;
        const std::vector<S> srcBefore = src.data;
        const Plane<S>& in = fc->inPlace ? before : src;
        ZkrStatus status = zkrStsNoErr;
        const unsigned raised = floats::flagsOf([&] { status = fc->call(args()); });
        ASSERT_EQ(status, zkrStsNoErr);
        // The comparisons are C's ordered < and >: invalid for a NaN, denormal-operand for a
        // denormal; no arithmetic, so nothing else (integers: nothing at all).
        EXPECT_EQ(raised & ~(std::is_floating_point_v<S> ? floats::kInvalid | floats::kDenormal : 0u), 0u)
            << "raised " << floats::flagNames(raised);
        int mismatches = 0;
        for (std::size_t i = 0; i < dst.data.size() && mismatches < 5; ++i) {
            if (!before.insideRoi(i) && !sameBits(dst.data[i], before.data[i])) {
                ADD_FAILURE() << "write outside the ROI at buffer index " << i;
                ++mismatches;
            }
        }
        for (int y = 0; y < dst.height && mismatches < 5; ++y) {
            for (int i = 0; i < dst.rowComps() && mismatches < 5; ++i) {
                const int ch = i % fc->channels;
                const S x = in.at(y, i);
                const S want = fc->alpha && ch == 3 ? before.at(y, i) : expectedOf(*fc, k, x, ch);
                if (!matches(dst.at(y, i), want)) {
                    ADD_FAILURE() << "row " << y << " component " << i << ": input " << +x << " got "
                                  << +dst.at(y, i) << ", want " << +want;
                    ++mismatches;
                }
            }
        }
        if (!fc->inPlace) {
            EXPECT_TRUE(std::equal(src.data.begin(), src.data.end(), srcBefore.begin(), matches<S>))
                << "source modified";
        }
    }
};

// ---- constants -----------------------------------------------------------------------

template <class S> S lowest() { return std::numeric_limits<S>::lowest(); }
template <class S> S highest() { return std::numeric_limits<S>::max(); }

// Constants of every channel: from random components (a third of them at the
// range edges), or all at one edge. The lower threshold of the two-sided form
// is never above the upper one.
template <class S> void randomConstants(Constants<S>& k, std::mt19937& rng) {
    for (int ch = 0; ch < 4; ++ch) {
        k.t[ch] = randomComponent<S>(rng), k.v[ch] = randomComponent<S>(rng);
        S a = randomComponent<S>(rng), b = randomComponent<S>(rng);
        if (b < a) std::swap(a, b);
        k.tLT[ch] = a, k.tGT[ch] = b;
        k.vLT[ch] = randomComponent<S>(rng), k.vGT[ch] = randomComponent<S>(rng);
    }
}

template <class S> void edgeConstants(Constants<S>& k, S t, S v) {
    for (int ch = 0; ch < 4; ++ch) {
        k.t[ch] = t, k.v[ch] = v;
        k.tLT[ch] = k.tGT[ch] = t;
        k.vLT[ch] = v, k.vGT[ch] = S(v == lowest<S>() ? highest<S>() : lowest<S>());
    }
}

struct Geometry {
    int width, height;
    bool padded;
};

// 1x1; odd width inside padding; rows stored without gaps (one long row);
// rows longer than the constant patterns and the vector widths, padded and gapless.
constexpr Geometry kGeometries[] = {{1, 1, false}, {37, 5, true}, {29, 6, false}, {450, 2, true}, {700, 3, false}};

template <class S> void checkAgainstReference(const FamilyCase& fc) {
    std::mt19937 rng(2024);
    const std::vector<ZkrCmpOp> ops =
        fc.hasCmp ? std::vector<ZkrCmpOp>{zkrCmpLess, zkrCmpGreater} : std::vector<ZkrCmpOp>{zkrCmpLess};
    // Random constants, then the thresholds at each end of the range with each end as the value.
    const std::pair<S, S> edges[] = {{lowest<S>(), highest<S>()}, {highest<S>(), lowest<S>()},
                                     {lowest<S>(), lowest<S>()},  {highest<S>(), highest<S>()}};
    forEachLevel([&](const Level&) {
        for (const Geometry& g : kGeometries) {
            for (ZkrCmpOp op : ops) {
                for (int set = 0; set < 6; ++set) {
                    SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " cmpOp " << int(op)
                                                    << " constant set " << set);
                    Call<S> call(fc, g.width, g.height, g.padded, rng);
                    if (set < 2) randomConstants(call.k, rng);
                    else edgeConstants(call.k, edges[set - 2].first, edges[set - 2].second);
                    call.k.cmp = op;
                    call.hitThresholds(rng);
                    call.runAndCheck();
                    if (testing::Test::HasFailure()) return;
                }
            }
        }
    });
}

// A large image (above the splitting threshold) gives the reference result
// when split over threads: padded rows on two threads, gapless rows (one long
// row per band) on three.
template <class S> void checkThreadSplits(const FamilyCase& fc) {
    std::mt19937 rng(77);
    for (auto [padded, threads] : {std::pair{true, 2}, std::pair{false, 3}}) {
        SCOPED_TRACE(testing::Message() << threads << " threads" << (padded ? ", padded" : ", gapless"));
        ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
        Call<S> call(fc, kSplitSize.width, kSplitSize.height, padded, rng);
        randomConstants(call.k, rng);
        call.k.cmp = zkrCmpGreater;
        call.hitThresholds(rng);
        call.runAndCheck();
        if (testing::Test::HasFailure()) return;
    }
}

// Pointers (images, then constant arrays), size, steps, then the operation's
// own checks; nothing written on error.
template <class S> void checkStatusCodes(const FamilyCase& fc) {
    std::mt19937 rng(99);
    Call<S> call(fc, 6, 3, true, rng);
    randomConstants(call.k, rng);
    const CallArgs good = call.args();
    const std::vector<S> dstBefore = call.dst.data;
    auto expectStatus = [&](const CallArgs& a, ZkrStatus want, const char* what) {
        EXPECT_EQ(fc.call(a), want) << what;
        EXPECT_TRUE(std::equal(call.dst.data.begin(), call.dst.data.end(), dstBefore.begin(), matches<S>))
            << what << ": destination written on error";
    };

    CallArgs a = good;
    std::vector<const void**> pointers;
    if (!fc.inPlace) pointers.push_back(&a.src);
    if (fc.perChannel) {
        if (fc.op == Op::LTValGTVal) {
            for (const void** p : {&a.thresholdLT, &a.valueLT, &a.thresholdGT, &a.valueGT}) pointers.push_back(p);
        } else {
            pointers.push_back(&a.threshold);
            if (fc.op == Op::Val || fc.op == Op::GTVal || fc.op == Op::LTVal) pointers.push_back(&a.value);
        }
    }
    for (const void** p : pointers) {
        a = good;
        *p = nullptr;
        expectStatus(a, zkrStsNullPtrErr, "null source or constants");
        a.roi = {0, 0};
        expectStatus(a, zkrStsNullPtrErr, "null pointer checked before size");
    }
    a = good;
    a.dst = nullptr;
    expectStatus(a, zkrStsNullPtrErr, "null destination");

    std::vector<int*> steps = {&a.dstStep};
    if (!fc.inPlace) steps.push_back(&a.srcStep);
    for (ZkriSize roi : {ZkriSize{0, 3}, ZkriSize{6, 0}, ZkriSize{-1, 3}, ZkriSize{6, INT_MIN}}) {
        a = good;
        a.roi = roi;
        expectStatus(a, zkrStsSizeErr, "bad roi");
        for (int* step : steps) {
            const int kept = *step;
            *step = 0;
            expectStatus(a, zkrStsSizeErr, "size checked before steps");
            *step = kept;
        }
    }
    const int rowBytes = 6 * fc.pixelBytes();
    for (int* step : steps) {
        std::vector<int> badSteps = {0, -*step, rowBytes - fc.compBytes};
        if (fc.compBytes > 1) badSteps.push_back(rowBytes + 1);
        for (int bad : badSteps) {
            a = good;
            *step = bad;
            expectStatus(a, zkrStsStepErr, "bad step");
        }
    }

    if (fc.hasCmp) {
        for (ZkrCmpOp op : {zkrCmpLessEq, zkrCmpEq, zkrCmpGreaterEq}) {
            a = good;
            a.cmpOp = op;
            expectStatus(a, zkrStsBadArgErr, "comparison other than less or greater");
            a.dstStep = 0;
            expectStatus(a, zkrStsStepErr, "steps checked before the comparison");
        }
    }
    if (fc.op == Op::LTValGTVal) {
        // The lower threshold above the upper one in the last processed channel only.
        Constants<S> reversed = call.k;
        const int ch = fc.active - 1;
        reversed.tLT[ch] = S(1);
        reversed.tGT[ch] = S(0);
        a = good;
        a.thresholdLT = reversed.tLT, a.thresholdGT = reversed.tGT;
        expectStatus(a, zkrStsRangeErr, "lower threshold above the upper one");
        a.roi = {0, 3};
        expectStatus(a, zkrStsSizeErr, "size checked before the thresholds' order");
        // Equal thresholds are a valid range.
        Call<S> equal(fc, 6, 3, true, rng);
        equal.k = call.k;
        equal.k.tLT[ch] = equal.k.tGT[ch];
        equal.runAndCheck();
    }
    if (fc.alpha && fc.op == Op::LTValGTVal) {
        // The alpha slot of the constants is not read: a reversed pair there is no error.
        Call<S> alphaOnly(fc, 6, 3, true, rng);
        alphaOnly.k = call.k;
        alphaOnly.k.tLT[3] = S(1), alphaOnly.k.tGT[3] = S(0);
        alphaOnly.runAndCheck();
    }
}

class ThreshFamily : public testing::WithParamInterface<const char*>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases(), [&](const FamilyCase& c) { return c.form == GetParam(); },
                    [&](const FamilyCase& c) { withThreshType(c.comp, [&]<class S>() { check.template operator()<S>(c); }); });
    }
};

TEST_P(ThreshFamily, MatchesReferenceOnEveryLevel) {
    walk([]<class S>(const FamilyCase& c) { checkAgainstReference<S>(c); });
}
TEST_P(ThreshFamily, ThreadSplitsMatchReference) {
    walk([]<class S>(const FamilyCase& c) { checkThreadSplits<S>(c); });
}
TEST_P(ThreshFamily, StatusCodes) {
    walk([]<class S>(const FamilyCase& c) { checkStatusCodes<S>(c); });
}

std::string formParamName(const testing::TestParamInfo<const char*>& param) { return param.param; }

INSTANTIATE_TEST_SUITE_P(Zkri, ThreshFamily,
                         testing::Values("thr1", "thrN", "thr1_i", "thrN_i", "thr1_cmp", "thrN_cmp", "thr1_cmp_i",
                                         "thrN_cmp_i", "thrv1", "thrvN", "thrv1_i", "thrvN_i", "thrv1_cmp",
                                         "thrvN_cmp", "thrv1_cmp_i", "thrvN_cmp_i", "thr2v1", "thr2vN", "thr2v1_i",
                                         "thr2vN_i"),
                         formParamName);

// Every function of the tables is walked by one of the forms above or by Otsu's tests.
TEST(ThreshTables, EveryRowHasATestedForm) {
    const std::vector<std::string> forms = {"thr1", "thrN", "thr1_i", "thrN_i", "thr1_cmp", "thrN_cmp", "thr1_cmp_i",
                                            "thrN_cmp_i", "thrv1", "thrvN", "thrv1_i", "thrvN_i", "thrv1_cmp",
                                            "thrvN_cmp", "thrv1_cmp_i", "thrvN_cmp_i", "thr2v1", "thr2vN",
                                            "thr2v1_i", "thr2vN_i", "otsu"};
    std::vector<std::string> names;
    for (const FamilyCase& c : familyCases()) {
        EXPECT_NE(std::find(forms.begin(), forms.end(), c.form), forms.end()) << c.name << " has form " << c.form;
        // A per-channel form exactly when the layout has several channels.
        EXPECT_EQ(c.perChannel, c.channels > 1) << c.name;
        names.push_back(c.name);
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "a function is listed twice";
    EXPECT_EQ(names.size(), 92u * 2u + 1u);
}

// ---- Otsu's threshold ------------------------------------------------------------------

// The level chosen by Otsu's rule computed directly: class weights, class
// means and the between-class variance at every split, first maximum.
struct DirectOtsu {
    int level = -1;
    std::vector<long double> variance = std::vector<long double>(256, -1.0L);  // -1: a class is empty
};

DirectOtsu directOtsu(const Plane<Zkr8u>& img) {
    std::vector<Zkr8u> values;
    for (int y = 0; y < img.height; ++y)
        for (int i = 0; i < img.rowComps(); ++i) values.push_back(img.at(y, i));
    const long double n = values.size();
    DirectOtsu d;
    long double best = -1.0L;
    for (int t = 0; t < 255; ++t) {
        long double n0 = 0, n1 = 0, sum0 = 0, sum1 = 0;
        for (Zkr8u v : values) {
            if (v <= t) n0 += 1, sum0 += v;
            else n1 += 1, sum1 += v;
        }
        if (n0 == 0 || n1 == 0) continue;
        const long double m0 = sum0 / n0, m1 = sum1 / n1;
        d.variance[std::size_t(t)] = (n0 / n) * (n1 / n) * (m0 - m1) * (m0 - m1);
        if (d.variance[std::size_t(t)] > best) best = d.variance[std::size_t(t)], d.level = t;
    }
    return d;
}

const FamilyCase& otsuCase() {
    const auto& cases = familyCases();
    const auto it = std::find_if(cases.begin(), cases.end(), [](const FamilyCase& c) { return c.op == Op::Otsu; });
    EXPECT_NE(it, cases.end());
    return *it;
}

Zkr8u runOtsu(const Plane<Zkr8u>& img, ZkrStatus want = zkrStsNoErr) {
    Zkr8u level = 0xA5;
    CallArgs a;
    a.src = img.roi(), a.srcStep = img.stepBytes(), a.roi = {img.width, img.height}, a.level = &level;
    EXPECT_EQ(otsuCase().call(a), want);
    return level;
}

// The padding around the ROI holds 255 and 0, which would move the level if counted.
Plane<Zkr8u> paddedImage(int w, int h, std::mt19937& rng) {
    Plane<Zkr8u> p(w, h, 1, Padding{2, 3, 1, 1, 5}, rng);
    for (std::size_t i = 0; i < p.data.size(); ++i) p.data[i] = i % 2 ? 255 : 0;
    return p;
}

void setRoi(Plane<Zkr8u>& p, const std::function<Zkr8u(int, int)>& f) {
    for (int y = 0; y < p.height; ++y)
        for (int x = 0; x < p.width; ++x) p.roi()[std::size_t(y) * p.stride + x] = f(x, y);
}

class ThreshOtsu : public LibraryStateTest {};

TEST_F(ThreshOtsu, UniformImageGivesItsValue) {
    std::mt19937 rng(1);
    forEachLevel([&](const Level&) {
        for (int v : {0, 1, 77, 254, 255}) {
            Plane<Zkr8u> img = paddedImage(13, 4, rng);
            setRoi(img, [&](int, int) { return Zkr8u(v); });
            EXPECT_EQ(runOtsu(img), v) << "uniform " << v;
        }
        Plane<Zkr8u> one = paddedImage(1, 1, rng);
        setRoi(one, [](int, int) { return Zkr8u(200); });
        EXPECT_EQ(runOtsu(one), 200);
    });
}

TEST_F(ThreshOtsu, TwoValuedImageSplitsAtTheLowerValue) {
    std::mt19937 rng(2);
    forEachLevel([&](const Level&) {
        for (auto [lo, hi, every] : {std::tuple{0, 255, 2}, std::tuple{0, 1, 3}, std::tuple{254, 255, 7},
                                     std::tuple{10, 200, 50}, std::tuple{100, 101, 2}}) {
            Plane<Zkr8u> img = paddedImage(31, 7, rng);
            setRoi(img, [&](int x, int y) { return Zkr8u((x + y * 31) % every == 0 ? hi : lo); });
            const DirectOtsu d = directOtsu(img);
            EXPECT_EQ(d.level, lo);
            EXPECT_EQ(runOtsu(img), lo) << lo << "/" << hi << " one in " << every;
        }
    });
}

TEST_F(ThreshOtsu, MatchesDirectComputation) {
    std::mt19937 rng(3);
    forEachLevel([&](const Level&) {
        // Two clusters of different spread and weight; uniform noise; a ramp; a narrow band.
        auto cluster = [&](int mean, int spread) {
            return Zkr8u(std::clamp(mean + std::uniform_int_distribution<int>(-spread, spread)(rng), 0, 255));
        };
        const std::vector<std::function<Zkr8u(int, int)>> images = {
            [&](int, int) { return std::uniform_int_distribution<int>(0, 3)(rng) ? cluster(60, 25) : cluster(190, 10); },
            [&](int, int) { return Zkr8u(std::uniform_int_distribution<int>(0, 255)(rng)); },
            [&](int x, int y) { return Zkr8u((x * 3 + y) % 256); },
            [&](int, int) { return cluster(128, 3); },
        };
        for (const auto& f : images) {
            for (auto [w, h] : {std::pair{1, 1}, std::pair{67, 9}, std::pair{256, 3}}) {
                Plane<Zkr8u> img = paddedImage(w, h, rng);
                setRoi(img, f);
                const DirectOtsu d = directOtsu(img);
                const int got = runOtsu(img);
                if (d.level < 0) {
                    EXPECT_EQ(got, img.at(0, 0)) << "one value only";
                    continue;
                }
                // The level reaches the largest variance (up to rounding of the direct sums) and no
                // smaller level does.
                const long double best = d.variance[std::size_t(d.level)];
                EXPECT_GE(d.variance[std::size_t(got)], best * (1.0L - 1e-12L)) << w << "x" << h << " got " << got
                                                                                 << " want " << d.level;
                for (int t = 0; t < got; ++t) EXPECT_LT(d.variance[std::size_t(t)], best * (1.0L - 1e-12L)) << t;
            }
        }
    });
}

TEST_F(ThreshOtsu, ThreadSplitsCountEveryRowOnce) {
    // A bimodal image whose level moves if a band is counted twice or left out: the bright
    // cluster fills the rows of the last band only.
    std::mt19937 rng(4);
    Plane<Zkr8u> img(1200, 64, 1, Padding{1, 2, 1, 1, 3}, rng);
    setRoi(img, [&](int x, int y) { return Zkr8u(y >= 48 ? 200 + x % 30 : 20 + (x + y) % 40); });
    const DirectOtsu d = directOtsu(img);
    for (int threads : {1, 2, 3, 4}) {
        ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
        EXPECT_EQ(runOtsu(img), d.level) << threads << " threads";
    }
}

TEST_F(ThreshOtsu, StatusCodes) {
    std::mt19937 rng(5);
    Plane<Zkr8u> img = paddedImage(6, 3, rng);
    Zkr8u level = 0x5A;
    CallArgs good;
    good.src = img.roi(), good.srcStep = img.stepBytes(), good.roi = {6, 3}, good.level = &level;
    const FamilyCase& c = otsuCase();
    CallArgs a = good;
    a.src = nullptr;
    EXPECT_EQ(c.call(a), zkrStsNullPtrErr);
    a.roi = {0, 0};
    EXPECT_EQ(c.call(a), zkrStsNullPtrErr) << "pointers checked before size";
    a = good;
    a.level = nullptr;
    EXPECT_EQ(c.call(a), zkrStsNullPtrErr);
    for (ZkriSize roi : {ZkriSize{0, 3}, ZkriSize{6, 0}, ZkriSize{-2, 3}}) {
        a = good;
        a.roi = roi;
        a.srcStep = 0;
        EXPECT_EQ(c.call(a), zkrStsSizeErr) << "size checked before the step";
    }
    for (int step : {0, -16, 5}) {
        a = good;
        a.srcStep = step;
        EXPECT_EQ(c.call(a), zkrStsStepErr) << step;
    }
    EXPECT_EQ(level, 0x5A) << "level written on error";
}

}  // namespace
}  // namespace zkrtest
