// The Div family against exact rational arithmetic, driven by its tables:
// every function on every dispatch level, ROIs inside padded images, scale
// factors across and beyond the useful range, zero divisors, each rounding
// mode, thread splits and every argument error. One test per call form walks
// all functions of that form.
#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "eltwise_harness.h"
#include "eltwise_hostile.h"
#include "float_fills.h"

#define ZKR_TABLE "div/div.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "div/div_round.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

using eltwise::Case;

enum class Form { Bin, BinInPlace, Const, ConstInPlace, Round, RoundInPlace };

Form formOf(const std::string& form) {
    if (form == "div_round_i") return Form::RoundInPlace;
    if (form == "div_round") return Form::Round;
    if (form.rfind("binary_i", 0) == 0) return Form::BinInPlace;
    if (form.rfind("binary", 0) == 0) return Form::Bin;
    if (form.find("_i") != std::string::npos) return Form::ConstInPlace;
    return Form::Const;
}

// The rounding mode the Div_Round rows are called with (their call entries are plain functions).
ZkrRoundMode g_roundMode = zkrRndNear;

// ---- reference arithmetic ----------------------------------------------------------------

using I128 = __int128;
using U128 = unsigned __int128;

// x * 2^-sf / y (y != 0) rounded as `mode` says and saturated to [lo, hi], by long division: the
// integer quotient, then one binary digit per power of two the scale factor asks for.
std::int64_t refQuotient(I128 x, I128 y, int sf, ZkrRoundMode mode, std::int64_t lo, std::int64_t hi) {
    if (x == 0) return 0;
    const bool negative = (x < 0) != (y < 0);
    U128 n = x < 0 ? U128(-x) : U128(x), d = y < 0 ? U128(-y) : U128(y);  // both <= 2^63
    const std::int64_t sat = negative ? lo : hi;
    long long k = sf == INT_MIN ? 1LL << 40 : -static_cast<long long>(sf);
    if (k < 0) {
        if (-k > 64) return 0;  // |x / y| <= 2^63 and 2^-65 make less than 1/4
        d <<= -k;
        k = 0;
    }
    U128 q = n / d, r = n % d;
    for (long long i = 0; i < k; ++i) {
        if (q >= (U128(1) << 40)) return sat;
        const bool bit = 2 * r >= d;
        q = 2 * q + (bit ? 1 : 0);
        r = bit ? 2 * r - d : 2 * r;
    }
    if (q >= (U128(1) << 40)) return sat;
    bool up = false;
    if (mode == zkrRndNear) up = 2 * r > d || (2 * r == d && (q & 1) != 0);
    if (mode == zkrRndFinancial) up = 2 * r >= d;
    const I128 m = I128(q) + (up ? 1 : 0);
    const I128 v = negative ? -m : m;
    return v < lo ? lo : (v > hi ? hi : std::int64_t(v));
}

// An integer division by zero: the type's extreme of the dividend's sign, 0 for 0 / 0.
template <class S> S refByZero(S x) {
    if (x > S(0)) return std::numeric_limits<S>::max();
    if (x < S(0)) return std::numeric_limits<S>::min();
    return S(0);
}

// Component `part` (0 real, 1 imaginary) of x / y.
template <class S> S refDivide(const S* x, const S* y, int comps, int part, int sf, ZkrRoundMode mode) {
    using L = std::numeric_limits<S>;
    if constexpr (std::is_floating_point_v<S>) {
        if (comps == 1) return S(x[0] / y[0]);
        const double ar = y[0], ai = y[1], br = x[0], bi = x[1];
        const double den = ar * ar + ai * ai;
        if (den == 0.0) return S(double(x[part]) / 0.0);
        return S((part == 0 ? br * ar + bi * ai : bi * ar - br * ai) / den);
    } else {
        if (comps == 1) {
            if (y[0] == S(0)) return refByZero(x[0]);
            return S(refQuotient(x[0], y[0], sf, mode, L::min(), L::max()));
        }
        const I128 ar = y[0], ai = y[1], br = x[0], bi = x[1];
        const I128 den = ar * ar + ai * ai;
        if (den == 0) return refByZero(x[part]);
        return S(refQuotient(part == 0 ? br * ar + bi * ai : bi * ar - br * ai, den, sf, mode, L::min(), L::max()));
    }
}

struct DivModel {
    using Types = eltwise::Types<Zkr8u, Zkr16u, Zkr16s, Zkr32s, Zkr32f>;
    static constexpr const char* columns[] = {"layout", "op"};
    // Div_Round rows are called with the rounding mode of the walk.
    struct Bag : zkrtest::Bag {
        int rndMode = zkrRndNear;
    };
    static void bind(Bag& b, const eltwise::Args&) { b.rndMode = g_roundMode; }
    static void describe(Case& c) {
        c.kind = int(formOf(c.form));
        if (rounding(c)) c.sources = c.inPlace ? 1 : 2;
    }

    // The dividend and divisor elements behind component i of row y.
    template <class S> struct Operands {
        S x[2], y[2];
    };
    template <class S>
    static Operands<S> operands(const eltwise::Call<DivModel, S>& call, const Plane<S>& before, int y, int i) {
        const Case& c = *call.fc;
        const int first = i - i % c.comps;
        Operands<S> o{};
        for (int k = 0; k < c.comps; ++k) {
            switch (Form(c.kind)) {
                case Form::Bin:
                case Form::Round:
                    o.x[k] = call.src2->at(y, first + k), o.y[k] = call.src1->at(y, first + k);
                    break;
                case Form::BinInPlace:
                case Form::RoundInPlace:
                    o.x[k] = before.at(y, first + k), o.y[k] = call.src1->at(y, first + k);
                    break;
                case Form::Const: o.x[k] = call.src1->at(y, first + k), o.y[k] = call.value(first + k); break;
                case Form::ConstInPlace: o.x[k] = before.at(y, first + k), o.y[k] = call.value(first + k); break;
            }
        }
        return o;
    }

    static bool rounding(const Case& c) { return Form(c.kind) == Form::Round || Form(c.kind) == Form::RoundInPlace; }

    template <class S>
    static S expected(const eltwise::Call<DivModel, S>& call, const Plane<S>& before, int y, int i, int sf) {
        const Case& c = *call.fc;
        if (zeroConstant(call)) return before.at(y, i);  // an error: nothing written
        const Operands<S> o = operands(call, before, y, i);
        return refDivide<S>(o.x, o.y, c.comps, i % c.comps, sf, rounding(c) ? g_roundMode : zkrRndNear);
    }

    // True when a DivC constant is zero on a computed channel (complex: both parts zero).
    template <class S> static bool zeroConstant(const eltwise::Call<DivModel, S>& call) {
        const Case& c = *call.fc;
        if (Form(c.kind) != Form::Const && Form(c.kind) != Form::ConstInPlace) return false;
        const int active = c.alpha ? 3 : std::max(c.nval, 1);
        for (int ch = 0; ch < active; ++ch) {
            bool zero = true;
            for (int k = 0; k < c.comps; ++k) zero = zero && call.values[std::size_t(ch * c.comps + k)] == S(0);
            if (zero) return true;
        }
        return false;
    }

    // DivC: a zero constant is an error; Div: a zero divisor element on a computed channel is the
    // warning zkrStsDivByZero.
    template <class S> static ZkrStatus expectedStatus(const eltwise::Call<DivModel, S>& call, const Plane<S>&) {
        const Case& c = *call.fc;
        if (Form(c.kind) == Form::Const || Form(c.kind) == Form::ConstInPlace)
            return zeroConstant(call) ? zkrStsBadArgErr : zkrStsNoErr;
        const Plane<S>& divisor = *call.src1;
        for (int y = 0; y < divisor.height; ++y) {
            for (int i = 0; i < divisor.rowComps(); i += c.comps) {
                bool zero = !call.isAlpha(i);
                for (int k = 0; k < c.comps; ++k) zero = zero && divisor.at(y, i + k) == S(0);
                if (zero) return zkrStsDivByZero;
            }
        }
        return zkrStsNoErr;
    }
};

std::vector<Case> divRows() {
    std::vector<Case> cases;
#define ZKR_FN(name, form, T, ...) ZKRTEST_ELTWISE_CASE(DivModel, name, form, T, __VA_ARGS__)
#include "div/div.tbl"
#include "div/div_round.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<Case>& familyCases() {
    static const std::vector<Case> cases = divRows();
    return cases;
}

class DivFamily : public testing::WithParamInterface<Form>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases(), [&](const Case& c) { return Form(c.kind) == GetParam(); }, check);
    }
    // Div_Round forms run once per rounding mode.
    template <class Check> void walkModes(Check check) {
        const bool round = GetParam() == Form::Round || GetParam() == Form::RoundInPlace;
        for (ZkrRoundMode mode : {zkrRndZero, zkrRndNear, zkrRndFinancial}) {
            if (!round && mode != zkrRndNear) continue;
            SCOPED_TRACE(testing::Message() << "rounding mode " << int(mode));
            g_roundMode = mode;
            walk(check);
        }
        g_roundMode = zkrRndNear;
    }
};

TEST_P(DivFamily, MatchesReferenceOnEveryLevel) {
    walkModes([](const Case& c) { eltwise::checkAgainstReference<DivModel>(c); });
}
TEST_P(DivFamily, ThreadSplitsMatchSingleThread) {
    walkModes([](const Case& c) { eltwise::checkThreadSplits<DivModel>(c); });
}
TEST_P(DivFamily, StatusCodes) {
    walk([](const Case& c) { eltwise::checkStatusCodes<DivModel>(c); });
}

TEST(DivFamilyTable, HasEveryVariantOnce) {
    eltwise::expectUniqueNames(familyCases());
    // Div and DivC: 50 each (7 types x 3 or 4 layouts x 2 forms); Div_Round: 3 types x 4 layouts x 2.
    EXPECT_EQ(familyCases().size(), 124u);
}

std::string formName(const testing::TestParamInfo<Form>& info) {
    static const char* const names[] = {"Binary",          "BinaryInPlace", "Constant",
                                        "ConstantInPlace", "Round",         "RoundInPlace"};
    return names[int(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Zkri, DivFamily,
                         testing::Values(Form::Bin, Form::BinInPlace, Form::Const, Form::ConstInPlace, Form::Round,
                                         Form::RoundInPlace),
                         formName);

// ---- the documented edge values, one by one ---------------------------------------------------

class DivEdges : public LibraryStateTest {};

TEST_F(DivEdges, IntegerTiesRoundToEvenAndZeroDivisorsSaturate) {
    forEachLevel([](const Level&) {
        const Zkr8u divisor[6] = {2, 2, 2, 0, 0, 3};
        const Zkr8u dividend[6] = {5, 7, 1, 9, 0, 255};
        Zkr8u out[6] = {};
        const ZkriSize roi{6, 1};
        EXPECT_EQ(zkriDiv_8u_C1RSfs(divisor, 6, dividend, 6, out, 6, roi, 0), zkrStsDivByZero);
        const Zkr8u want[6] = {2, 4, 0, 255, 0, 85};
        for (int i = 0; i < 6; ++i) EXPECT_EQ(out[i], want[i]) << i;
        // Scaled: 255 / 3 = 85, times 2^-1 is 42.5, a tie, so 42; 2^-2 gives 21.25 -> 21.
        EXPECT_EQ(zkriDiv_8u_C1RSfs(divisor + 5, 1, dividend + 5, 1, out, 1, {1, 1}, 1), zkrStsNoErr);
        EXPECT_EQ(out[0], 42);
        EXPECT_EQ(zkriDiv_8u_C1RSfs(divisor + 5, 1, dividend + 5, 1, out, 1, {1, 1}, -2), zkrStsNoErr);
        EXPECT_EQ(out[0], 255);  // 340 saturates
    });
}

TEST_F(DivEdges, SignedExtremesSaturate) {
    forEachLevel([](const Level&) {
        const Zkr16s divisor[4] = {-1, 0, 0, -2};
        const Zkr16s dividend[4] = {-32768, -5, 5, -3};
        Zkr16s out[4] = {};
        EXPECT_EQ(zkriDiv_16s_C1RSfs(divisor, 8, dividend, 8, out, 8, {4, 1}, 0), zkrStsDivByZero);
        const Zkr16s want[4] = {32767, -32768, 32767, 2};  // -3 / -2 = 1.5 -> 2 (even)
        for (int i = 0; i < 4; ++i) EXPECT_EQ(out[i], want[i]) << i;
    });
}

TEST_F(DivEdges, RoundingModesDifferOnlyWhereTheyShould) {
    struct Row {
        ZkrRoundMode mode;
        Zkr16s want[6];
    };
    //                     5/2  -5/2  7/2  -7/2  7/3  -8/3
    const Row rows[] = {{zkrRndZero, {2, -2, 3, -3, 2, -2}},
                        {zkrRndNear, {2, -2, 4, -4, 2, -3}},
                        {zkrRndFinancial, {3, -3, 4, -4, 2, -3}}};
    const Zkr16s divisor[6] = {2, 2, 2, 2, 3, 3};
    const Zkr16s dividend[6] = {5, -5, 7, -7, 7, -8};
    forEachLevel([&](const Level&) {
        for (const Row& r : rows) {
            Zkr16s out[6] = {};
            EXPECT_EQ(zkriDiv_Round_16s_C1RSfs(divisor, 12, dividend, 12, out, 12, {6, 1}, r.mode, 0), zkrStsNoErr);
            for (int i = 0; i < 6; ++i) EXPECT_EQ(out[i], r.want[i]) << "mode " << int(r.mode) << " element " << i;
        }
    });
}

TEST_F(DivEdges, UnknownRoundingModeIsRejectedAfterTheOtherChecks) {
    const Zkr8u divisor[2] = {1, 2};
    Zkr8u buf[2] = {7, 7};
    const auto bad = static_cast<ZkrRoundMode>(3);
    EXPECT_EQ(zkriDiv_Round_8u_C1IRSfs(divisor, 2, buf, 2, {2, 1}, bad, 0), zkrStsBadArgErr);
    EXPECT_EQ(buf[0], 7);
    EXPECT_EQ(zkriDiv_Round_8u_C1IRSfs(nullptr, 2, buf, 2, {2, 1}, bad, 0), zkrStsNullPtrErr);
    EXPECT_EQ(zkriDiv_Round_8u_C1IRSfs(divisor, 2, buf, 2, {0, 1}, bad, 0), zkrStsSizeErr);
    EXPECT_EQ(zkriDiv_Round_8u_C1IRSfs(divisor, 1, buf, 2, {2, 1}, bad, 0), zkrStsStepErr);
}

TEST_F(DivEdges, ZeroConstantIsAnErrorOnComputedChannelsOnly) {
    Zkr8u src[4] = {10, 20, 30, 40}, dst[4] = {1, 1, 1, 1};
    const Zkr8u zeroGreen[3] = {2, 0, 2};
    EXPECT_EQ(zkriDivC_8u_AC4RSfs(src, 4, zeroGreen, dst, 4, {1, 1}, 0), zkrStsBadArgErr);
    EXPECT_EQ(dst[0], 1);
    const Zkr8u fine[3] = {2, 4, 3};
    EXPECT_EQ(zkriDivC_8u_AC4RSfs(src, 4, fine, dst, 4, {1, 1}, 0), zkrStsNoErr);
    EXPECT_EQ(dst[0], 5);
    EXPECT_EQ(dst[1], 5);
    EXPECT_EQ(dst[2], 10);
    EXPECT_EQ(dst[3], 1);  // alpha untouched
    Zkr32f f[2] = {1.0f, 2.0f};
    EXPECT_EQ(zkriDivC_32f_C1IR(0.0f, f, 8, {2, 1}), zkrStsBadArgErr);
    EXPECT_EQ(f[0], 1.0f);
    const Zkr32fc imaginaryOnly{0.0f, 2.0f};
    Zkr32fc c[1] = {{4.0f, 0.0f}};
    EXPECT_EQ(zkriDivC_32fc_C1IR(imaginaryOnly, c, 8, {1, 1}), zkrStsNoErr);
    EXPECT_EQ(c[0].re, 0.0f);
    EXPECT_EQ(c[0].im, -2.0f);
}

TEST_F(DivEdges, FloatDivisionByZeroFollowsIeee) {
    forEachLevel([](const Level&) {
        const Zkr32f divisor[3] = {0.0f, -0.0f, 0.0f};
        const Zkr32f dividend[3] = {1.0f, 1.0f, 0.0f};
        Zkr32f out[3] = {};
        EXPECT_EQ(zkriDiv_32f_C1R(divisor, 12, dividend, 12, out, 12, {3, 1}), zkrStsDivByZero);
        EXPECT_EQ(out[0], std::numeric_limits<Zkr32f>::infinity());
        EXPECT_EQ(out[1], -std::numeric_limits<Zkr32f>::infinity());
        EXPECT_TRUE(std::isnan(out[2]));
        const Zkr32fc zero[1] = {{0.0f, 0.0f}};
        const Zkr32fc x[1] = {{-2.0f, 0.0f}};
        Zkr32fc q[1] = {};
        EXPECT_EQ(zkriDiv_32fc_C1R(zero, 8, x, 8, q, 8, {1, 1}), zkrStsDivByZero);
        EXPECT_EQ(q[0].re, -std::numeric_limits<Zkr32f>::infinity());
        EXPECT_TRUE(std::isnan(q[0].im));
    });
}

TEST_F(DivEdges, ComplexIntegerQuotientsAreExactAtLargeScales) {
    // a = 2^31 - 1: (1 - i) / (a + (a - 1) i) has the real part 1 / (a^2 + (a - 1)^2), about 2^-63,
    // and the imaginary part -(2a - 1) / (a^2 + (a - 1)^2), about -2^-31.
    const Zkr32sc divisor[1] = {{INT32_MAX, INT32_MAX - 1}};
    const Zkr32sc dividend[1] = {{1, -1}};
    Zkr32sc out[1] = {};
    EXPECT_EQ(zkriDiv_32sc_C1RSfs(divisor, 8, dividend, 8, out, 8, {1, 1}, -66), zkrStsNoErr);
    EXPECT_EQ(out[0].re, 8);  // 2^66 / (2^63 - 3 * 2^32 + 5) = 8.00000001...
    EXPECT_EQ(out[0].im, INT32_MIN);
    EXPECT_EQ(zkriDiv_32sc_C1RSfs(divisor, 8, dividend, 8, out, 8, {1, 1}, -30), zkrStsNoErr);
    EXPECT_EQ(out[0].re, 0);
    EXPECT_EQ(out[0].im, -1);  // -(2a - 1) * 2^30 / (a^2 + (a - 1)^2) = -0.50000000035
    EXPECT_EQ(zkriDiv_32sc_C1RSfs(divisor, 8, dividend, 8, out, 8, {1, 1}, -96), zkrStsNoErr);
    EXPECT_EQ(out[0].re, INT32_MAX);
    EXPECT_EQ(out[0].im, INT32_MIN);
}

// Every float function over the hostile fills (NaN, infinities, zeros of both signs, denormals,
// 1e-30 to 1e30 of both signs) on every level, with one and two threads: the model's
// IEEE result (x / 0 an infinity of the quotient's sign, 0 / 0 NaN), and no floating-point flag
// the operation itself does not raise.
class DivFloatEdges : public LibraryStateTest {};

TEST_F(DivFloatEdges, HostileFillsOnEveryLevelAndThreadCount) {
    eltwise::checkHostileCases<DivModel>(familyCases());
}

}  // namespace
}  // namespace zkrtest
