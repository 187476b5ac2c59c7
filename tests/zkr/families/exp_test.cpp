// The Exp family against the C library's exponential and logarithm, driven by
// its tables: every function on every dispatch level, ROIs inside padded
// images, scale factors across and beyond the useful range, zero and negative
// logarithm arguments, infinities and NaN, the hostile float fills on one and
// two threads, the floating-point flags against the C library's for the same
// argument, thread splits and every argument error. One test per call form walks all functions of that form.
#include <climits>
#include <cmath>
#include <limits>
#include <vector>

#include "eltwise_harness.h"
#include "float_fills.h"

#define ZKR_TABLE "exp/exp.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "exp/lni.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

using eltwise::Case;

enum class Op { Exp, Ln };

// ---- reference -------------------------------------------------------------------------

template <class S> S saturated(long double v) {
    using L = std::numeric_limits<S>;
    const long double r = std::nearbyint(v);
    return r < L::min() ? L::min() : (r > L::max() ? L::max() : S(r));
}

// e^x * 2^-sf, as e^(x - sf ln 2) in long double: exact enough for the rounding, and free of
// overflow at any scale factor.
template <class S> S refExp(S x, int sf) {
    if constexpr (std::is_floating_point_v<S>) {
        return S(std::exp(double(x)));
    } else {
        const long double y = static_cast<long double>(x) - static_cast<long double>(sf) * std::log(2.0L);
        if (y > 40.0L) return std::numeric_limits<S>::max();
        if (y < -40.0L) return S(0);
        return saturated<S>(std::exp(y));
    }
}

template <class S> S refLn(S x, int sf) {
    if constexpr (std::is_floating_point_v<S>) {
        if (x == S(0)) return -std::numeric_limits<S>::infinity();
        if (x < S(0)) return std::numeric_limits<S>::quiet_NaN();
        return S(std::log(double(x)));
    } else {
        if (x <= S(0)) return std::numeric_limits<S>::min();
        return saturated<S>(std::ldexp(std::log(static_cast<long double>(x)), sf == INT_MIN ? INT_MAX : -sf));
    }
}

struct ExpModel {
    using Types = eltwise::Types<Zkr8u, Zkr16u, Zkr16s, Zkr32f>;
    static constexpr const char* columns[] = {"layout", "op"};
    static constexpr const char* ops[] = {"Exp", "Ln"};

    template <class S>
    static S expected(const eltwise::Call<ExpModel, S>& call, const Plane<S>& before, int y, int i, int sf) {
        const S x = call.input(before, y, i);
        return Op(call.fc->op) == Op::Exp ? refExp(x, sf) : refLn(x, sf);
    }

    // Ln: a negative argument anywhere wins over a zero one.
    template <class S> static ZkrStatus expectedStatus(const eltwise::Call<ExpModel, S>& call, const Plane<S>& before) {
        if (Op(call.fc->op) != Op::Ln) return zkrStsNoErr;
        const Plane<S>& in = call.src1 ? *call.src1 : before;
        bool zero = false;
        for (int y = 0; y < in.height; ++y) {
            for (int i = 0; i < in.rowComps(); ++i) {
                if (in.at(y, i) < S(0)) return zkrStsLnNegArg;
                zero = zero || in.at(y, i) == S(0);
            }
        }
        return zero ? zkrStsLnZeroArg : zkrStsNoErr;
    }
};

std::vector<Case> expRows() {
    std::vector<Case> cases;
#define ZKR_FN(name, form, T, ...) ZKRTEST_ELTWISE_CASE(ExpModel, name, form, T, __VA_ARGS__)
#include "exp/exp.tbl"
#include "exp/lni.tbl"
#undef ZKR_FN
    return cases;
}

ZKRTEST_ELTWISE_FORMS(ExpFamily, ExpModel, expRows);

TEST(ExpFamilyTable, HasEveryVariantOnce) {
    eltwise::expectUniqueNames(ExpFamilyCases());
    // TimiExp: Exp 14, Ln 8; TimiLnI: Ln 8, Exp 2.
    EXPECT_EQ(ExpFamilyCases().size(), 32u);
}

// ---- the documented edge values, one by one ---------------------------------------------------

class ExpEdges : public LibraryStateTest {};

TEST_F(ExpEdges, IntegerExpRoundsHalfToEvenAndSaturates) {
    forEachLevel([](const Level&) {
        const Zkr8u x[4] = {0, 1, 6, 255};
        Zkr8u out[4] = {};
        EXPECT_EQ(zkriExp_8u_C1RSfs(x, 4, out, 4, {4, 1}, 0), zkrStsNoErr);
        EXPECT_EQ(out[0], 1);
        EXPECT_EQ(out[1], 3);
        EXPECT_EQ(out[2], 255);  // e^6 = 403
        EXPECT_EQ(out[3], 255);
        EXPECT_EQ(zkriExp_8u_C1RSfs(x, 4, out, 4, {4, 1}, 1), zkrStsNoErr);
        EXPECT_EQ(out[0], 0);  // 0.5: a tie, to even
        EXPECT_EQ(out[1], 1);  // 1.359
        const Zkr16s s[3] = {-32768, 10, 32767};
        Zkr16s o[3] = {};
        EXPECT_EQ(zkriExp_16s_C1RSfs(s, 6, o, 6, {3, 1}, 0), zkrStsNoErr);
        EXPECT_EQ(o[0], 0);
        EXPECT_EQ(o[1], 22026);
        EXPECT_EQ(o[2], 32767);
    });
}

TEST_F(ExpEdges, FloatExpOverflowsToInfinityAtTheFloatLimit) {
    forEachLevel([](const Level&) {
        const float inf = std::numeric_limits<float>::infinity();
        Zkr32f v[6] = {88.72283172607422f, 88.72283935546875f, inf, -inf, std::nanf(""), -200.0f};
        EXPECT_EQ(zkriExp_32f_C1IR(v, 24, {6, 1}), zkrStsNoErr);
        EXPECT_TRUE(std::isfinite(v[0]));
        EXPECT_GT(v[0], 3.4e38f);
        EXPECT_EQ(v[1], inf);
        EXPECT_EQ(v[2], inf);
        EXPECT_EQ(v[3], 0.0f);
        EXPECT_TRUE(std::isnan(v[4]));
        EXPECT_EQ(v[5], 0.0f);
    });
}

TEST_F(ExpEdges, LnWarnsAboutZeroAndNegativeArgumentsNegativeFirst) {
    forEachLevel([](const Level&) {
        const Zkr8u z[3] = {0, 1, 255};
        Zkr8u oz[3] = {9, 9, 9};
        EXPECT_EQ(zkriLn_8u_C1RSfs(z, 3, oz, 3, {3, 1}, -4), zkrStsLnZeroArg);
        EXPECT_EQ(oz[0], 0);
        EXPECT_EQ(oz[1], 0);
        EXPECT_EQ(oz[2], 89);  // 16 ln 255 = 88.66
        Zkr16s s[4] = {7, 0, -3, 1};
        EXPECT_EQ(zkriLn_16s_C1IRSfs(s, 8, {4, 1}, 0), zkrStsLnNegArg);
        EXPECT_EQ(s[0], 2);
        EXPECT_EQ(s[1], -32768);
        EXPECT_EQ(s[2], -32768);
        EXPECT_EQ(s[3], 0);
        const float inf = std::numeric_limits<float>::infinity();
        Zkr32f f[4] = {-0.0f, inf, 1e-45f, std::nanf("")};
        EXPECT_EQ(zkriLn_32f_C1IR(f, 16, {4, 1}), zkrStsLnZeroArg);
        EXPECT_EQ(f[0], -inf);
        EXPECT_EQ(f[1], inf);
        EXPECT_EQ(f[2], float(std::log(double(1e-45f))));  // a denormal argument
        EXPECT_TRUE(std::isnan(f[3]));
    });
}

// ---- hostile floats and floating-point flags ---------------------------------------------------

// Every float function over the hostile fills (NaN, infinities, zeros of both signs, denormals,
// 1e-30 to 1e30 of both signs) on every level, on one and two threads, against the C library.
TEST_F(ExpEdges, FloatFunctionsOverHostileFills) {
    forEachCase(ExpFamilyCases(), [](const Case& c) { return c.comp == CompType::F32; }, [](const Case& c) {
        std::mt19937 rng(404);
        forEachLevel([&](const Level&) {
            for (int threads : {1, 2}) {
                SCOPED_TRACE(testing::Message() << threads << " threads");
                ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
                eltwise::Call<ExpModel, float> call(c, kSplitSize.width, kSplitSize.height, threads == 1, rng);
                floats::fillHostile(call.src1 ? call.src1->data : call.dst.data, rng);
                const Plane<float> before = call.dst;
                const std::vector<float> source = call.src1 ? call.src1->data : std::vector<float>{};
                ASSERT_EQ(c.call(call.args(0)), ExpModel::expectedStatus(call, before));
                for (int y = 0; y < before.height; ++y)
                    for (int i = 0; i < before.rowComps(); ++i) {
                        const float want = ExpModel::expected<float>(call, before, y, i, 0);
                        ASSERT_TRUE(eltwise::matches(call.dst.at(y, i), want))
                            << "row " << y << " component " << i << ": input " << call.input(before, y, i)
                            << " got " << call.dst.at(y, i) << ", want " << want;
                    }
                if (call.src1) {
                    EXPECT_TRUE(eltwise::sameData(call.src1->data, source)) << "source modified";
                }
            }
        });
    });
}

// A float function raises no flag the C library's expf / logf does not raise for the same
// argument (inexact aside, and never the denormal-operand flag, which C does not know), and every
// level raises the same flags. Rows of 37 equal arguments cover the vector bodies and their tails.
TEST_F(ExpEdges, FloatFlagsAreAtMostThoseOfTheCLibraryAndAgreeAcrossLevels) {
    std::vector<float> args = floats::specials();
    for (float v : {-104.5f, -103.9f, -90.0f, -87.0f, -1e-20f, 0.5f, 88.7f, 88.8f, 100.0f, 1e-35f, 3.0e-39f})
        args.push_back(v);
    forEachCase(ExpFamilyCases(), [](const Case& c) { return c.comp == CompType::F32; }, [&](const Case& c) {
        const bool exp = Op(c.op) == Op::Exp;
        const int comps = 37 / c.channels * c.channels;
        for (float v : args) {
            SCOPED_TRACE(testing::Message() << "argument " << v << " (bits 0x" << std::hex << floats::bitsOf(v) << ")");
            const unsigned c99 = exp ? floats::c99Flags([](float x) { return std::exp(x); }, v)
                                     : floats::c99Flags([](float x) { return std::log(x); }, v);
            unsigned first = 0;
            bool haveFirst = false;
            forEachLevel([&](const Level&) {
                std::vector<float> src(std::size_t(comps), v), dst(std::size_t(comps), 0.0f);
                eltwise::Args a;
                a.src1 = src.data();
                a.src1Step = comps * 4;
                a.dst = c.sources ? dst.data() : src.data();
                a.dstStep = comps * 4;
                a.roi = {comps / c.channels, 1};
                ZkrStatus st = zkrStsNoErr;
                const unsigned got = floats::flagsOf([&] { st = c.call(a); });
                EXPECT_GE(st, zkrStsNoErr);
                EXPECT_EQ(got & ~(c99 | floats::kInexact), 0u)
                    << "raised " << floats::flagNames(got) << ", the C library " << floats::flagNames(c99);
                if (!haveFirst) first = got, haveFirst = true;
                EXPECT_EQ(got, first) << "levels disagree: " << floats::flagNames(got) << " against "
                                      << floats::flagNames(first);
            });
        }
    });
}

// TimiLnI relies on this: repeated in-place logarithms at scale factor -2 or -4 settle on a fixed
// point without ever meeting a zero, so every call returns zkrStsNoErr.
TEST_F(ExpEdges, RepeatedInPlaceLnSettlesWithoutWarnings) {
    for (int sf : {-2, -4}) {
        std::vector<Zkr16u> img;
        for (int v = 2; v <= 2000; ++v) img.push_back(Zkr16u(v));
        const ZkriSize roi{int(img.size()), 1};
        for (int call = 0; call < 20; ++call)
            ASSERT_EQ(zkriLn_16u_C1IRSfs(img.data(), int(img.size() * 2), roi, sf), zkrStsNoErr) << sf << " " << call;
        for (Zkr16u v : img) EXPECT_EQ(v, std::nearbyint(std::ldexp(std::log(double(v)), -sf))) << "sf " << sf;
    }
}

}  // namespace
}  // namespace zkrtest
