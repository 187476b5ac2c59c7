// The Sqr family against reference arithmetic, driven by its table: every
// function on every dispatch level, ROIs inside padded images, scale factors
// across and beyond the useful range, thread splits, argument errors, and the
// warning and defined results of square roots of negative values.
#include <algorithm>
#include <cmath>
#include <map>
#include <type_traits>
#include <vector>

#include "eltwise_harness.h"
#include "eltwise_hostile.h"
#include "float_fills.h"

#define ZKR_TABLE "sqr/sqr.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

using eltwise::Case;

enum class Op { Sqr, Sqrt, Abs };

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

struct SqrModel {
    using Types = eltwise::Types<Zkr8u, Zkr16u, Zkr16s, Zkr32f>;
    static constexpr const char* columns[] = {"layout", "op"};
    static constexpr const char* ops[] = {"Sqr", "Sqrt", "Abs"};

    template <class S>
    static S expected(const eltwise::Call<SqrModel, S>& call, const Plane<S>& before, int y, int i, int sf) {
        return reference<S>(Op(call.fc->op), call.input(before, y, i), sf);
    }

    // The warning when a processed source of a root is negative.
    template <class S> static ZkrStatus expectedStatus(const eltwise::Call<SqrModel, S>& call, const Plane<S>& before) {
        if (Op(call.fc->op) != Op::Sqrt) return zkrStsNoErr;
        for (int y = 0; y < call.dst.height; ++y)
            for (int i = 0; i < call.dst.rowComps(); ++i)
                if (!call.isAlpha(i) && call.input(before, y, i) < S(0)) return zkrStsSqrtNegArg;
        return zkrStsNoErr;
    }

    // Squares of 16-bit values reach 2^32: the wide list goes past 64 bits of shift.
    static constexpr int wideScaleFactors[] = {0,   1,   2,   3,   7,   8,   15,  16,  17,  30,  31,  32,  33,  34,
                                               63,  64,  65,  -1,  -2,  -7,  -8,  -9,  -15, -16, -17, -31, -32, -33,
                                               INT_MAX, INT_MIN};
    static constexpr int shortScaleFactors[] = {0, 1, 5, -1, -3, 17};
    static constexpr eltwise::Geometry geometries[] = {
        {1, 1, false, true}, {37, 5, true, true}, {29, 6, false, false}, {300, 3, true, false}};
    static constexpr unsigned referenceSeed = 4242;
};

// Every value of the 8- and 16-bit types through every integer function at a
// few scale factors: the rounding of roots and squares has no untested input.
template <class S> void checkEveryValue(const Case& fc) {
    if constexpr (!std::is_floating_point_v<S>) {
        using L = std::numeric_limits<S>;
        const int count = int(L::max()) - int(L::min()) + 1;
        std::mt19937 rng(5);
        eltwise::Call<SqrModel, S> call(fc, count / 4, 4, false, rng);
        auto& plane = call.src1 ? *call.src1 : call.dst;
        for (int k = 0; k < count; ++k) plane.data[std::size_t(k)] = S(int(L::min()) + k);
        const eltwise::Call<SqrModel, S> original = call;
        for (int sf : {0, 1, 2, 3, -1, -2, 9}) {
            if (!fc.hasScale && sf != 0) continue;
            call = original;
            call.runAndCheck(sf);
            if (testing::Test::HasFailure()) return;
        }
    }
}

std::vector<Case> sqrRows() {
    std::vector<Case> cases;
#define ZKR_FN(name, form, T, ...) ZKRTEST_ELTWISE_CASE(SqrModel, name, form, T, __VA_ARGS__)
#include "sqr/sqr.tbl"
#undef ZKR_FN
    return cases;
}

ZKRTEST_ELTWISE_FORMS(SqrFamily, SqrModel, sqrRows);

TEST_P(SqrFamily, EveryIntegerValue) {
    walk([](const Case& c) {
        withCompType<Zkr8u, Zkr16u, Zkr16s, Zkr32f>(c.comp, [&]<class S>() { checkEveryValue<S>(c); });
    });
}

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
    for (const Case& c : SqrFamilyCases()) {
        ++perOp[Op(c.op)];
        EXPECT_EQ(c.hasScale, c.comp != CompType::F32 && Op(c.op) != Op::Abs) << c.name;
    }
    eltwise::expectUniqueNames(SqrFamilyCases());
    EXPECT_EQ(perOp[Op::Sqr], 32);
    EXPECT_EQ(perOp[Op::Sqrt], 25);
    EXPECT_EQ(perOp[Op::Abs], 16);
}

// Every float function over the hostile fills (NaN, infinities, zeros of both signs, denormals,
// 1e-30 to 1e30 of both signs) on every level, with one and two threads: the model's
// result (the root of a negative value or -inf NaN with the warning, of -0 -0, of NaN NaN without
// it), and no floating-point flag the operation itself does not raise.
class SqrFloatEdges : public LibraryStateTest {};

TEST_F(SqrFloatEdges, HostileFillsOnEveryLevelAndThreadCount) {
    eltwise::checkHostileCases<SqrModel>(SqrFamilyCases());
}

}  // namespace
}  // namespace zkrtest
