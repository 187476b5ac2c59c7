// The multiplication family against reference arithmetic, driven by its two
// tables: every function on every dispatch level, ROIs inside padded images,
// scale factors across and beyond the useful range, thread splits and every
// argument error, one test per call form; then the edges a random walk
// rarely reaches (exact roundings, saturation, colour keys that match).
#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "eltwise_harness.h"
#include "eltwise_hostile.h"
#include "float_fills.h"

#define ZKR_TABLE "mul/mul.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "mul/alphapremul_ys.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

using eltwise::Case;

enum class Form { Bin, BinInPlace, Const, ConstInPlace, Unary, UnaryInPlace, AlphaC, AlphaCInPlace, ColorKey };
// Mul: a * b scaled; ByMax: a * b / max (MulScale, MulCScale, AlphaPremulC);
// Premul: colour * own alpha / max; ColorKey: keyed pixel choice.
enum class Op { Mul, ByMax, Premul, ColorKey };

Form formOf(const std::string& f) {
    auto starts = [&](const char* p) { return f.rfind(p, 0) == 0; };
    if (starts("colorkey")) return Form::ColorKey;
    if (starts("alphac_i")) return Form::AlphaCInPlace;
    if (starts("alphac")) return Form::AlphaC;
    if (starts("unary_i")) return Form::UnaryInPlace;
    if (starts("unary")) return Form::Unary;
    if (starts("binary_i")) return Form::BinInPlace;
    if (starts("binary")) return Form::Bin;
    return f.find("_i") != std::string::npos ? Form::ConstInPlace : Form::Const;
}

Op opOf(const std::string& op) {
    if (op == "Mul" || op == "MulC") return Op::Mul;
    if (op == "AlphaPremul") return Op::Premul;
    if (op == "CompColorKey") return Op::ColorKey;
    return Op::ByMax;
}

// ---- reference arithmetic -------------------------------------------------------------------

template <class S> constexpr std::int64_t maxOf() { return std::int64_t(std::numeric_limits<S>::max()); }

// a * b / max rounded to nearest (ties to even), saturated; floats: a * b.
template <class S> S refByMax(S a, S b) {
    if constexpr (std::is_floating_point_v<S>) {
        return a * b;
    } else {
        const std::int64_t p = std::int64_t(a) * b, m = maxOf<S>();
        std::int64_t q = p >= 0 ? p / m : -((-p + m - 1) / m);  // floor
        const std::int64_t twiceRest = 2 * (p - q * m);
        if (twiceRest > m || (twiceRest == m && (q & 1))) ++q;
        return S(std::clamp<std::int64_t>(q, std::numeric_limits<S>::min(), maxOf<S>()));
    }
}

// x * 2^-sf rounded half to even and saturated, for the 32sc products whose
// magnitude (up to 2^63) a double cannot hold.
template <class S> S refScaleWide(__int128 x, int sf) {
    const __int128 lo = std::numeric_limits<S>::min(), hi = std::numeric_limits<S>::max();
    if (sf > 0) {
        const int s = std::min(sf, 100);
        __int128 q = x >> s;  // floor
        const __int128 rest = x - q * (__int128(1) << s), half = __int128(1) << (s - 1);
        if (rest > half || (rest == half && (q & 1))) ++q;
        x = q;
    } else if (sf < 0 && x != 0) {
        if (sf < -40) return x > 0 ? S(hi) : S(lo);  // |x| >= 1 times 2^41 leaves every range
        x *= __int128(1) << -sf;
    }
    return S(x < lo ? lo : (x > hi ? hi : x));
}

// Complex product component `part` (0 real, 1 imaginary) of (ar + ai i)(br + bi i).
template <class S> S refComplex(S ar, S ai, S br, S bi, int part, int sf) {
    if constexpr (std::is_floating_point_v<S>) {
        // In double, where the products are exact; rounded once to double, then to float.
        const double re = double(ar) * br - double(ai) * bi, im = double(ar) * bi + double(ai) * br;
        return S(part == 0 ? re : im);
    } else {
        const __int128 re = __int128(ar) * br - __int128(ai) * bi, im = __int128(ar) * bi + __int128(ai) * br;
        return refScaleWide<S>(part == 0 ? re : im, sf);
    }
}

struct MulModel {
    using Types = eltwise::Types<Zkr8u, Zkr16u, Zkr16s, Zkr32s, Zkr32f>;
    static constexpr const char* columns[] = {"layout", "op"};
    // The family's constants have their own parameter names; each reads the case's values.
    struct Bag : zkrtest::Bag {
        const void* alpha = nullptr;
        const void* colorKey = nullptr;
    };
    static void bind(Bag& b, const eltwise::Args& a) { b.alpha = b.colorKey = a.values; }
    static void describe(Case& c) {
        const Form f = formOf(c.form);
        c.kind = int(f);
        c.op = int(opOf(c.columns[1]));
        if (f == Form::ColorKey) c.sources = 2, c.nval = c.form == "colorkey1" ? 1 : (c.channels == 4 && !c.alpha ? 4 : 3);
        if (f == Form::AlphaC || f == Form::AlphaCInPlace) c.sources = c.inPlace ? 0 : 1, c.nval = 1;
    }

    template <class S>
    static S expected(const eltwise::Call<MulModel, S>& call, const Plane<S>& before, int y, int i, int sf) {
        const Case& c = *call.fc;
        const Form f = Form(c.kind);
        // a: the first source, or the destination in place; b: the second operand.
        auto a = [&](int k) { return call.input(before, y, k); };
        auto b = [&](int k) {
            if (f == Form::Bin) return call.src2->at(y, k);
            if (f == Form::BinInPlace) return before.at(y, k);
            return call.value(k);
        };
        switch (Op(c.op)) {
            case Op::ColorKey: {
                const int first = i - i % c.channels, compared = c.alpha ? 3 : c.channels;
                bool keyed = true;
                for (int k = 0; k < compared; ++k) keyed &= sameBits(call.src1->at(y, first + k), call.value(first + k));
                return keyed ? call.src2->at(y, i) : call.src1->at(y, i);
            }
            case Op::Premul: {
                const S alpha = a(i - i % 4 + 3);
                return i % 4 == 3 ? alpha : refByMax(a(i), alpha);
            }
            case Op::ByMax: return refByMax(a(i), b(i));
            default: break;
        }
        if (c.comps == 2) {
            const int e = i - i % 2;
            return refComplex<S>(a(e), a(e + 1), b(e), b(e + 1), i % 2, sf);
        }
        if constexpr (std::is_floating_point_v<S>) return S(a(i) * b(i));
        else return refScale<S>(std::int64_t(a(i)) * b(i), sf);
    }
};

std::vector<Case> mulRows() {
    std::vector<Case> cases;
#define ZKR_FN(name, form, T, ...) ZKRTEST_ELTWISE_CASE(MulModel, name, form, T, __VA_ARGS__)
#include "mul/mul.tbl"
#include "mul/alphapremul_ys.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<Case>& familyCases() {
    static const std::vector<Case> cases = mulRows();
    return cases;
}

class MulFamily : public testing::WithParamInterface<Form>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases(), [&](const Case& c) { return Form(c.kind) == GetParam(); }, check);
    }
};

TEST_P(MulFamily, MatchesReferenceOnEveryLevel) {
    walk([](const Case& c) { eltwise::checkAgainstReference<MulModel>(c); });
}
// Bands split rows the same way for every function of one kernel: one function per operation,
// element type and row shape (alpha kept or not, a constant by value or a pattern) keeps the check
// and its time small.
TEST_P(MulFamily, ThreadSplitsMatchSingleThread) {
    std::set<std::tuple<int, int, int, bool, bool>> seen;
    forEachCase(
        familyCases(),
        [&](const Case& c) {
            return Form(c.kind) == GetParam() && seen.insert({c.op, int(c.comp), c.comps, c.nval == 1, c.alpha}).second;
        },
        [](const Case& c) { eltwise::checkThreadSplits<MulModel>(c); });
}
TEST_P(MulFamily, StatusCodes) {
    walk([](const Case& c) { eltwise::checkStatusCodes<MulModel>(c); });
}

std::string formName(const testing::TestParamInfo<Form>& info) {
    static const char* const names[] = {"Binary", "BinaryInPlace", "Constant", "ConstantInPlace", "Unary",
                                        "UnaryInPlace", "Alpha", "AlphaInPlace", "ColorKey"};
    return names[int(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Zkri, MulFamily,
                         testing::Values(Form::Bin, Form::BinInPlace, Form::Const, Form::ConstInPlace, Form::Unary,
                                         Form::UnaryInPlace, Form::AlphaC, Form::AlphaCInPlace, Form::ColorKey),
                         formName);

TEST(MulFamilyTable, HasEveryVariantOnceAndTheModulesAreDisjoint) {
    eltwise::expectUniqueNames(familyCases());
    // mul.tbl's 161 rows, then alphapremul_ys.tbl's 8, all in place.
    ASSERT_EQ(familyCases().size(), 169u);
    for (std::size_t k = 161; k < 169; ++k) EXPECT_TRUE(familyCases()[k].inPlace) << familyCases()[k].name;
}

// ---- edges ----------------------------------------------------------------------------------------

using MulEdges = LibraryStateTest;

// Rounding half to even and saturation of scaled products, against values worked out by hand.
TEST_F(MulEdges, ScaledProductsRoundHalfToEvenAndSaturate) {
    struct U8Case { Zkr8u a, b; int sf; Zkr8u want; };
    const U8Case u8[] = {{16, 16, 0, 255}, {15, 17, 0, 255}, {3, 5, 1, 8},   {5, 5, 1, 12},   {7, 5, 1, 18},
                         {255, 255, 16, 1}, {255, 255, 17, 0}, {1, 1, -7, 128}, {1, 1, -8, 255}, {0, 200, -40, 0},
                         {2, 3, 2, 2},     {6, 1, 2, 2},      {10, 1, 2, 2}};
    struct S16Case { Zkr16s a, b; int sf; Zkr16s want; };
    const S16Case s16[] = {{-32768, -32768, 0, 32767}, {-32768, 32767, 0, -32768}, {-3, 5, 1, -8},
                           {-5, 5, 1, -12},            {-32768, -32768, 15, 32767}, {-32768, -32768, 16, 16384},
                           {-32768, 1, 1, -16384},     {-1, 1, 1, 0},              {-3, 1, 1, -2}};
    forEachLevel([&](const Level&) {
        for (const U8Case& k : u8) {
            Zkr8u d = 77;
            ASSERT_EQ(zkriMul_8u_C1RSfs(&k.a, 1, &k.b, 1, &d, 1, {1, 1}, k.sf), zkrStsNoErr);
            EXPECT_EQ(+d, +k.want) << +k.a << " * " << +k.b << " sf " << k.sf;
        }
        for (const S16Case& k : s16) {
            Zkr16s d = 77;
            ASSERT_EQ(zkriMul_16s_C1RSfs(&k.a, 2, &k.b, 2, &d, 2, {1, 1}, k.sf), zkrStsNoErr);
            EXPECT_EQ(d, k.want) << k.a << " * " << k.b << " sf " << k.sf;
        }
    });
}

// Every pair of 8u values (a 256 x 256 image, long enough for every vector path) divides by 255
// exactly; 16u pairs cover every first factor against the second factors where rounding turns.
TEST_F(MulEdges, DivisionByMaxIsExact) {
    std::vector<Zkr8u> a8(65536), b8(65536), d8(65536);
    for (int i = 0; i < 65536; ++i) a8[i] = Zkr8u(i & 255), b8[i] = Zkr8u(i >> 8);
    const Zkr16u seconds[] = {1, 2, 3, 127, 128, 255, 256, 257, 4095, 32767, 32768, 32769, 65533, 65534, 65535};
    std::vector<Zkr16u> a16(65536), b16(65536), d16(65536);
    for (int i = 0; i < 65536; ++i) a16[i] = Zkr16u(i);
    forEachLevel([&](const Level&) {
        ASSERT_EQ(zkriMulScale_8u_C1R(a8.data(), 256, b8.data(), 256, d8.data(), 256, {256, 256}), zkrStsNoErr);
        for (int i = 0; i < 65536; ++i) {
            const int p = a8[i] * b8[i], want = p / 255 + (2 * (p % 255) > 255 ? 1 : 0);
            ASSERT_EQ(d8[i], want) << +a8[i] << " * " << +b8[i];
        }
        for (Zkr16u s : seconds) {
            std::fill(b16.begin(), b16.end(), s);
            ASSERT_EQ(zkriMulScale_16u_C1R(a16.data(), 512, b16.data(), 512, d16.data(), 512, {256, 256}), zkrStsNoErr);
            for (int i = 0; i < 65536; ++i) {
                const std::int64_t p = std::int64_t(a16[i]) * s;
                ASSERT_EQ(d16[i], p / 65535 + (2 * (p % 65535) > 65535 ? 1 : 0)) << a16[i] << " * " << s;
            }
        }
    });
}

// 32sc products need more than 64 bits: (-2^31 - 2^31 i)^2 = 2^63 i.
TEST_F(MulEdges, WideComplexProductsKeepEveryBit) {
    const Zkr32sc m{INT32_MIN, INT32_MIN};
    struct K { int sf; Zkr32s re, im; };
    const K ks[] = {{0, 0, INT32_MAX}, {32, 0, INT32_MAX}, {33, 0, 1 << 30}, {63, 0, 1}, {64, 0, 0}, {-1, 0, INT32_MAX}};
    forEachLevel([&](const Level&) {
        for (const K& k : ks) {
            Zkr32sc d{7, 7};
            ASSERT_EQ(zkriMul_32sc_C1RSfs(&m, 8, &m, 8, &d, 8, {1, 1}, k.sf), zkrStsNoErr);
            EXPECT_EQ(d.re, k.re) << "sf " << k.sf;
            EXPECT_EQ(d.im, k.im) << "sf " << k.sf;
        }
    });
}

// Random pixels almost never equal a multi-channel key: plant the key whole in some pixels and
// all but one channel of it in others, which must not count as keyed.
TEST(MulColorKey, ReplacesOnlyPixelsEqualToTheKeyInEveryColourChannel) {
    forEachCase(
        familyCases(), [](const Case& c) { return Op(c.op) == Op::ColorKey; },
        [](const Case& c) {
            eltwise::withAnyCompType(c.comp, [&]<class S>() {
                std::mt19937 rng(4242);
                forEachLevel([&](const Level&) {
                    eltwise::Call<MulModel, S> call(c, 131, 3, true, rng);
                    const int compared = c.alpha ? 3 : c.channels;
                    int planted = 0;
                    for (int y = 0; y < 3; ++y) {
                        S* row = call.src1->roi() + std::size_t(y) * call.src1->stride;
                        for (int x = 0; x < 131; ++x) {
                            if (x % 3 == 0 || (x % 5 == 0 && compared > 1)) {
                                for (int k = 0; k < compared; ++k) row[x * c.channels + k] = call.value(k);
                                if (x % 3 != 0) {  // one channel off
                                    S& off = row[x * c.channels + x % compared];
                                    off = off == S(0) ? S(1) : S(0);
                                } else {
                                    ++planted;
                                }
                            }
                        }
                    }
                    ASSERT_GT(planted, 100);
                    call.runAndCheck(0);
                });
            });
        });
}

// Every float function over the hostile fills (NaN, infinities, zeros of both signs, denormals,
// 1e-30 to 1e30 of both signs) on every level, with one and two threads: the model's
// IEEE result, and no floating-point flag the operation itself does not raise.
class MulFloatEdges : public LibraryStateTest {};

TEST_F(MulFloatEdges, HostileFillsOnEveryLevelAndThreadCount) {
    eltwise::checkHostileCases<MulModel>(familyCases());
}

}  // namespace
}  // namespace zkrtest
