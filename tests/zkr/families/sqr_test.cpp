// The Sqr family against reference arithmetic, driven by its table: every
// function on every dispatch level, ROIs inside padded images, scale factors
// across and beyond the useful range, thread splits, argument errors, and the
// warning and defined results of square roots of negative values.
#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <type_traits>

#include "family_support.h"
#include "test_support.h"

#define ZKR_TABLE "sqr/sqr.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

enum class Op { Sqr, Sqrt, Abs };
enum class Form { Unary, UnaryInPlace };
enum class CompType { U8, U16, S16, F32 };

struct CallArgs {
    const void* src = nullptr;
    int srcStep = 0;
    void* dst = nullptr;  // pDst or pSrcDst
    int dstStep = 0;
    ZkriSize roi{0, 0};
    int scaleFactor = 0;

    Bag bag() const {
        Bag b;
        b.pSrc = src;
        b.srcStep = srcStep;
        b.pDst = b.pSrcDst = dst;
        b.dstStep = b.srcDstStep = dstStep;
        b.roiSize = roi;
        b.scaleFactor = scaleFactor;
        return b;
    }
};

struct FamilyCase {
    std::string name;
    std::string form;  // the table's form name
    Op op;
    bool inPlace;
    bool hasScale;
    int channels;
    bool alpha;
    CompType comp;
    int compBytes;
    ZkrStatus (*call)(const CallArgs&);
    int pixelBytes() const { return channels * compBytes; }
};

template <class S> constexpr CompType compTypeOf() {
    if constexpr (std::is_same_v<S, Zkr8u>) return CompType::U8;
    else if constexpr (std::is_same_v<S, Zkr16u>) return CompType::U16;
    else if constexpr (std::is_same_v<S, Zkr16s>) return CompType::S16;
    else return CompType::F32;
}

template <class T>
FamilyCase describe(const char* name, const char* form, const char* layout, const char* op,
                    ZkrStatus (*call)(const CallArgs&)) {
    const std::string l = layout, f = form, o = op;
    FamilyCase c;
    c.name = name;
    c.form = f;
    c.op = o == "Sqr" ? Op::Sqr : (o == "Sqrt" ? Op::Sqrt : Op::Abs);
    c.inPlace = f.rfind("unary_i", 0) == 0;
    c.hasScale = formEndsWith(f, "_sfs");
    c.channels = l == "C1" ? 1 : (l == "C3" ? 3 : 4);
    c.alpha = l == "AC4";
    c.comp = compTypeOf<T>();
    c.compBytes = int(sizeof(T));
    c.call = call;
    return c;
}

std::vector<FamilyCase> expandTable() {
    std::vector<FamilyCase> cases;
#define ZKR_FN(name, form, T, L, op)                                                       \
    cases.push_back(describe<T>(#name, #form, #L, #op, [](const CallArgs& a) -> ZkrStatus { \
        const Bag b = a.bag();                                                             \
        return ZKR_CALL(b, name, form, T);                                                 \
    }));
#include "sqr/sqr.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<FamilyCase>& familyCases() {
    static const std::vector<FamilyCase> cases = expandTable();
    return cases;
}

// ---- reference ----------------------------------------------------------------------

// sqrt(x) * 2^-sf rounded half to even and saturated, in long double.
template <class S> S refSqrtInt(S x, int sf) {
    if (x < 0) return S(0);
    const int e = sf > 200 ? -200 : (sf < -200 ? 200 : -sf);
    const long double v = std::nearbyint(std::ldexp(std::sqrt(static_cast<long double>(x)), e));
    const long double hi = std::numeric_limits<S>::max();
    return v > hi ? S(hi) : S(v);
}

template <class S> S reference(Op op, S x, int sf) {
    if constexpr (std::is_floating_point_v<S>) {
        if (op == Op::Sqr) return x * x;
        if (op == Op::Abs) return std::fabs(x);
        return x < 0 ? std::numeric_limits<S>::quiet_NaN() : std::sqrt(x);
    } else {
        if (op == Op::Sqr) return refScale<S>(std::int64_t(x) * x, sf);
        if (op == Op::Abs) return S(std::min<std::int64_t>(std::llabs(x), std::numeric_limits<S>::max()));
        return refSqrtInt(x, sf);
    }
}

// Equal, or both NaN (the NaN of a negative root carries no payload to compare).
template <class S> bool matches(S got, S want) {
    if constexpr (std::is_floating_point_v<S>)
        if (std::isnan(want)) return std::isnan(got);
    return sameBits(got, want);
}

// ---- one call --------------------------------------------------------------------------

template <class S> struct Call {
    const FamilyCase* fc;
    std::optional<Plane<S>> src;  // not in place
    Plane<S> dst;

    Call(const FamilyCase& c, int w, int h, bool padded, std::mt19937& rng)
        : fc(&c), dst(w, h, c.channels, padded ? randomPadding(rng) : Padding{}, rng) {
        if (!c.inPlace) src.emplace(w, h, c.channels, padded ? randomPadding(rng) : Padding{}, rng);
    }

    CallArgs args(int sf) {
        CallArgs a;
        if (src) a.src = src->roi(), a.srcStep = src->stepBytes();
        a.dst = dst.roi();
        a.dstStep = dst.stepBytes();
        a.roi = {dst.width, dst.height};
        a.scaleFactor = sf;
        return a;
    }

    // The source of component i of row y, given the destination before the call.
    S input(const Plane<S>& before, int y, int i) const { return src ? src->at(y, i) : before.at(y, i); }
    bool isAlpha(int i) const { return fc->alpha && i % 4 == 3; }

    // Status the call must return: the warning when a processed source of a root is negative.
    ZkrStatus expectedStatus(const Plane<S>& before) const {
        if (fc->op != Op::Sqrt) return zkrStsNoErr;
        for (int y = 0; y < dst.height; ++y)
            for (int i = 0; i < dst.rowComps(); ++i)
                if (!isAlpha(i) && input(before, y, i) < S(0)) return zkrStsSqrtNegArg;
        return zkrStsNoErr;
    }

    void runAndCheck(int sf) {
        const Plane<S> before = dst;
        const auto s = src ? src->data : std::vector<S>{};
        ASSERT_EQ(fc->call(args(sf)), expectedStatus(before));
        int mismatches = 0;
        for (std::size_t k = 0; k < dst.data.size() && mismatches < 5; ++k) {
            if (before.insideRoi(k)) continue;
            if (!sameBits(dst.data[k], before.data[k])) {
                ADD_FAILURE() << "write outside the ROI at buffer index " << k;
                ++mismatches;
            }
        }
        for (int y = 0; y < dst.height && mismatches < 5; ++y) {
            for (int i = 0; i < dst.rowComps() && mismatches < 5; ++i) {
                const S want = isAlpha(i) ? before.at(y, i) : reference<S>(fc->op, input(before, y, i), sf);
                if (!matches(dst.at(y, i), want)) {
                    ADD_FAILURE() << "row " << y << " component " << i << " sf " << sf << ": input "
                                  << +input(before, y, i) << " got " << +dst.at(y, i) << ", want " << +want;
                    ++mismatches;
                }
            }
        }
        if (src) {
            EXPECT_EQ(src->data, s) << "source modified";
        }
    }
};

const int kScaleFactorsWide[] = {0,   1,   2,   3,   7,   8,   15,  16,  17,  30,  31,  32,  33,  34,
                                 63,  64,  65,  -1,  -2,  -7,  -8,  -9,  -15, -16, -17, -31, -32, -33,
                                 INT_MAX, INT_MIN};
const int kScaleFactorsShort[] = {0, 1, 5, -1, -3, 17};

struct Geometry {
    int width, height;
    bool padded;
    bool wideScaleList;
};
const Geometry kGeometries[] = {{1, 1, false, true}, {37, 5, true, true}, {29, 6, false, false}, {300, 3, true, false}};

template <class S> void checkAgainstReference(const FamilyCase& fc) {
    std::mt19937 rng(4242);
    forEachLevel([&](const Level&) {
        for (const Geometry& g : kGeometries) {
            SCOPED_TRACE(testing::Message() << g.width << "x" << g.height);
            std::vector<int> sfs = {0};
            if (fc.hasScale) {
                if (g.wideScaleList) sfs.assign(std::begin(kScaleFactorsWide), std::end(kScaleFactorsWide));
                else sfs.assign(std::begin(kScaleFactorsShort), std::end(kScaleFactorsShort));
            }
            for (int sf : sfs) {
                Call<S> call(fc, g.width, g.height, g.padded, rng);
                call.runAndCheck(sf);
                if (testing::Test::HasFailure()) return;
            }
        }
    });
}

// Every value of the 8- and 16-bit types through every integer function at a
// few scale factors: the rounding of roots and squares has no untested input.
template <class S> void checkEveryValue(const FamilyCase& fc) {
    if constexpr (!std::is_floating_point_v<S>) {
        using L = std::numeric_limits<S>;
        const int count = int(L::max()) - int(L::min()) + 1;
        std::mt19937 rng(5);
        Call<S> call(fc, count / 4, 4, false, rng);
        auto& plane = call.src ? *call.src : call.dst;
        for (int k = 0; k < count; ++k) plane.data[std::size_t(k)] = S(int(L::min()) + k);
        const Call<S> original = call;
        for (int sf : {0, 1, 2, 3, -1, -2, 9}) {
            if (!fc.hasScale && sf != 0) continue;
            call = original;
            call.runAndCheck(sf);
            if (testing::Test::HasFailure()) return;
        }
    }
}

template <class S> void checkThreadSplits(const FamilyCase& fc) {
    std::mt19937 rng(777);
    const int sf = fc.hasScale ? 1 : 0;
    for (bool padded : {true, false}) {
        Call<S> call(fc, 1100, 61, padded, rng);
        const Call<S> original = call;
        std::vector<S> single;
        ZkrStatus singleStatus = zkrStsNoErr;
        for (int threads : {1, 2, 3}) {
            SCOPED_TRACE(testing::Message() << threads << " threads" << (padded ? ", padded" : ", gapless"));
            ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
            call = original;
            if (threads == 1) {
                singleStatus = call.expectedStatus(call.dst);
                call.runAndCheck(sf);
                single = call.dst.data;
            } else {
                EXPECT_EQ(call.fc->call(call.args(sf)), singleStatus);
                EXPECT_TRUE(std::equal(call.dst.data.begin(), call.dst.data.end(), single.begin(), single.end(),
                                       [](S a, S b) { return matches(a, b); }))
                    << "result depends on the thread split";
            }
        }
    }
}

// NULL pointers, then ROI size, then steps; nothing written on error.
template <class S> void checkStatusCodes(const FamilyCase& fc) {
    std::mt19937 rng(99);
    Call<S> call(fc, 6, 3, true, rng);
    const CallArgs good = call.args(0);
    const std::vector<S> before = call.dst.data;
    auto expectStatus = [&](const CallArgs& a, ZkrStatus want, const char* what) {
        EXPECT_EQ(fc.call(a), want) << what;
        EXPECT_TRUE(call.dst.data == before || std::equal(call.dst.data.begin(), call.dst.data.end(), before.begin(),
                                                          [](S x, S y) { return sameBits(x, y); }))
            << what << ": destination written on error";
    };
    CallArgs a = good;
    std::vector<int*> steps = {&a.dstStep};
    if (!fc.inPlace) {
        steps.push_back(&a.srcStep);
        a.src = nullptr;
        expectStatus(a, zkrStsNullPtrErr, "null source");
        a.roi = {0, 0};
        expectStatus(a, zkrStsNullPtrErr, "null pointer checked before size");
    }
    a = good;
    a.dst = nullptr;
    expectStatus(a, zkrStsNullPtrErr, "null destination");
    for (ZkriSize roi : {ZkriSize{0, 3}, ZkriSize{6, 0}, ZkriSize{-1, 3}, ZkriSize{6, INT_MIN}}) {
        a = good;
        a.roi = roi;
        expectStatus(a, zkrStsSizeErr, "bad roi");
        a.dstStep = 0;
        expectStatus(a, zkrStsSizeErr, "size checked before steps");
    }
    const int rowBytes = 6 * fc.pixelBytes();
    for (std::size_t k = 0; k < steps.size(); ++k) {
        std::vector<int> bad = {0, -good.dstStep, rowBytes - fc.compBytes};
        if (fc.compBytes > 1) bad.push_back(rowBytes + 1);
        for (int b : bad) {
            a = good;
            *(k == 0 ? &a.dstStep : &a.srcStep) = b;
            expectStatus(a, zkrStsStepErr, "bad step");
        }
    }
}

struct Runners {
    void (*reference)(const FamilyCase&);
    void (*everyValue)(const FamilyCase&);
    void (*threads)(const FamilyCase&);
    void (*status)(const FamilyCase&);
};
template <class S> constexpr Runners runnersFor() {
    return {&checkAgainstReference<S>, &checkEveryValue<S>, &checkThreadSplits<S>, &checkStatusCodes<S>};
}
Runners runners(CompType t) {
    switch (t) {
        case CompType::U8:  return runnersFor<Zkr8u>();
        case CompType::U16: return runnersFor<Zkr16u>();
        case CompType::S16: return runnersFor<Zkr16s>();
        default:            return runnersFor<Zkr32f>();
    }
}

class SqrFamily : public testing::WithParamInterface<const char*>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases(), [&](const FamilyCase& c) { return c.form == GetParam(); }, check);
    }
};

TEST_P(SqrFamily, MatchesReferenceOnEveryLevel) {
    walk([](const FamilyCase& c) { runners(c.comp).reference(c); });
}
TEST_P(SqrFamily, EveryIntegerValue) {
    walk([](const FamilyCase& c) { runners(c.comp).everyValue(c); });
}
TEST_P(SqrFamily, ThreadSplitsMatchSingleThread) {
    walk([](const FamilyCase& c) { runners(c.comp).threads(c); });
}
TEST_P(SqrFamily, StatusCodes) {
    walk([](const FamilyCase& c) { runners(c.comp).status(c); });
}

std::string formParamName(const testing::TestParamInfo<const char*>& param) { return param.param; }

INSTANTIATE_TEST_SUITE_P(Zkri, SqrFamily, testing::Values("unary", "unary_i", "unary_sfs", "unary_i_sfs"),
                         formParamName);

// ---- square roots of negative values ------------------------------------------

class SqrtNegative : public LibraryStateTest {};

// The warning comes after the whole image is processed: non-negative values
// get their roots, negative ones the documented result (NaN, 0), and a
// negative alpha value of AC4 is not processed, so it raises no warning.
TEST_F(SqrtNegative, FloatGivesNanAndWarning) {
    const Zkr32f src[] = {4.0f, -1.0f, 9.0f, -0.0f, -1e-30f, 0.25f};
    Zkr32f dst[6] = {};
    forEachLevel([&](const Level&) {
        ASSERT_EQ(zkriSqrt_32f_C1R(src, sizeof src, dst, sizeof dst, {6, 1}), zkrStsSqrtNegArg);
        EXPECT_EQ(dst[0], 2.0f);
        EXPECT_TRUE(std::isnan(dst[1]));
        EXPECT_EQ(dst[2], 3.0f);
        EXPECT_TRUE(dst[3] == 0.0f && std::signbit(dst[3])) << "root of -0 is -0";
        EXPECT_TRUE(std::isnan(dst[4]));
        EXPECT_EQ(dst[5], 0.5f);
    });
    const Zkr32f zeros[] = {0.0f, -0.0f, 16.0f};
    Zkr32f out[3];
    EXPECT_EQ(zkriSqrt_32f_C1R(zeros, sizeof zeros, out, sizeof out, {3, 1}), zkrStsNoErr) << "-0 is not negative";
}

TEST_F(SqrtNegative, IntegerGivesZeroAndWarning) {
    Zkr16s img[] = {100, -4, 50, -32768, 1, 0};
    forEachLevel([&](const Level&) {
        Zkr16s d[6];
        ASSERT_EQ(zkriSqrt_16s_C1RSfs(img, sizeof img, d, sizeof d, {6, 1}, 0), zkrStsSqrtNegArg);
        EXPECT_EQ((std::vector<Zkr16s>(d, d + 6)), (std::vector<Zkr16s>{10, 0, 7, 0, 1, 0}));
        Zkr16s inPlace[6];
        std::copy(std::begin(img), std::end(img), inPlace);
        ASSERT_EQ(zkriSqrt_16s_C1IRSfs(inPlace, 3 * sizeof(Zkr16s), {3, 2}, -1), zkrStsSqrtNegArg);
        EXPECT_EQ((std::vector<Zkr16s>(inPlace, inPlace + 6)), (std::vector<Zkr16s>{20, 0, 14, 0, 2, 0}));
    });
}

TEST_F(SqrtNegative, NegativeAlphaIsNotProcessed) {
    const Zkr32f src[] = {1.0f, 4.0f, 9.0f, -5.0f, 16.0f, 25.0f, 36.0f, -7.0f};
    Zkr32f dst[8] = {0, 0, 0, 42.0f, 0, 0, 0, 43.0f};
    EXPECT_EQ(zkriSqrt_32f_AC4R(src, sizeof src, dst, sizeof dst, {2, 1}), zkrStsNoErr);
    EXPECT_EQ((std::vector<Zkr32f>(dst, dst + 8)), (std::vector<Zkr32f>{1, 2, 3, 42, 4, 5, 6, 43}));
    const Zkr16s neg[] = {1, -4, 9, 5};
    Zkr16s out[4] = {};
    EXPECT_EQ(zkriSqrt_16s_AC4RSfs(neg, sizeof neg, out, sizeof out, {1, 1}, 0), zkrStsSqrtNegArg)
        << "a negative colour channel still warns";
}

// A large image with one negative value in the last band still warns when split over threads.
TEST_F(SqrtNegative, WarningSurvivesThreadSplit) {
    const int w = 512, h = 256;
    std::vector<Zkr32f> src(std::size_t(w) * h, 2.0f), dst(src.size());
    src.back() = -3.0f;
    ASSERT_GE(zkrSetNumThreads(2), zkrStsNoErr);
    EXPECT_EQ(zkriSqrt_32f_C1R(src.data(), w * 4, dst.data(), w * 4, {w, h}), zkrStsSqrtNegArg);
    EXPECT_TRUE(std::isnan(dst.back()));
    EXPECT_EQ(dst.front(), std::sqrt(2.0f));
}

// ---- the table ------------------------------------------------------------------------

TEST(SqrFamilyTable, CountsPerBase) {
    std::map<Op, int> perOp;
    std::vector<std::string> names;
    for (const FamilyCase& c : familyCases()) {
        ++perOp[c.op];
        names.push_back(c.name);
        EXPECT_EQ(c.hasScale, c.comp != CompType::F32 && c.op != Op::Abs) << c.name;
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "a function is listed twice";
    EXPECT_EQ(perOp[Op::Sqr], 32);
    EXPECT_EQ(perOp[Op::Sqrt], 25);
    EXPECT_EQ(perOp[Op::Abs], 16);
}

}  // namespace
}  // namespace zkrtest
