// The Logic family against reference arithmetic, driven by its four tables:
// every function on every dispatch level, ROIs inside padded images (the
// alpha channel of AC4 untouched, nothing written outside the ROI), thread
// splits and argument errors. The bitwise operations, the maximum and minimum
// and the constant forms go through the element-wise harness; the shifts,
// whose counts are not of the element type and which cover 8s, through the
// checks below, with counts across and beyond the element's width.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "eltwise_harness.h"
#include "eltwise_hostile.h"
#include "float_fills.h"

#define ZKR_TABLE "logic/and.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "logic/andi.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "logic/andc.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "logic/andci.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

using eltwise::Case;

enum class Op { And, Or, Xor, Not, MaxEvery, MinEvery, AndC, OrC, XorC, LShiftC, RShiftC };
enum class Form { Binary, BinaryInPlace, Unary, UnaryInPlace, Const, ConstInPlace };

Op opOf(const std::string& o) {
    static const char* const names[] = {"And", "Or", "Xor", "Not", "MaxEvery", "MinEvery",
                                        "AndC", "OrC", "XorC", "LShiftC", "RShiftC"};
    for (int k = 0; k < 11; ++k)
        if (o == names[k]) return Op(k);
    ADD_FAILURE() << "unknown operation " << o;
    return Op::And;
}

bool isShift(const char* op) { return opOf(op) == Op::LShiftC || opOf(op) == Op::RShiftC; }

Form formOf(const std::string& f) {
    if (f == "binary") return Form::Binary;
    if (f == "binary_i") return Form::BinaryInPlace;
    if (f == "unary") return Form::Unary;
    if (f == "unary_i") return Form::UnaryInPlace;
    return f.find("_i") != std::string::npos ? Form::ConstInPlace : Form::Const;
}

// ---- the element-wise harness: bitwise, maximum and minimum, constants ---------------------------

template <class T>
Case describe(const char* name, const char* form, const char* layout, const char* op,
              ZkrStatus (*call)(const eltwise::Args&)) {
    Case c = eltwise::describeRow<T>(name, form, layout, call);
    const Form f = formOf(c.form);
    c.kind = int(f);
    c.op = int(opOf(op));
    c.sources = f == Form::Binary ? 2 : (f == Form::UnaryInPlace || f == Form::ConstInPlace ? 0 : 1);
    const std::string l = layout;
    c.nval = f == Form::Const || f == Form::ConstInPlace ? (c.form.rfind("const1", 0) == 0 ? 1 : (l == "C4" ? 4 : 3)) : 0;
    return c;
}

// ---- shifts ----------------------------------------------------------------------------------------

enum class SComp { U8, S8, U16, S16, S32 };

template <class S> constexpr SComp scompOf() {
    if constexpr (std::is_same_v<S, Zkr8u>) return SComp::U8;
    else if constexpr (std::is_same_v<S, Zkr8s>) return SComp::S8;
    else if constexpr (std::is_same_v<S, Zkr16u>) return SComp::U16;
    else if constexpr (std::is_same_v<S, Zkr16s>) return SComp::S16;
    else return SComp::S32;
}

struct ShiftArgs {
    const void* src = nullptr;
    int srcStep = 0;
    void* dst = nullptr;
    int dstStep = 0;
    const Zkr32u* counts = nullptr;
    ZkriSize roi{0, 0};

    Bag bag() const {
        Bag b;
        b.pSrc = src;
        b.srcStep = srcStep;
        b.pDst = b.pSrcDst = dst;
        b.dstStep = b.srcDstStep = dstStep;
        b.value = counts;
        b.roiSize = roi;
        return b;
    }
};

struct ShiftCase {
    std::string name;
    bool left = true;
    bool inPlace = false;
    bool perChannel = false;  // one count per computed channel (shiftN forms)
    int channels = 1;
    bool alpha = false;
    SComp comp = SComp::U8;
    int compBytes = 1;
    ZkrStatus (*call)(const ShiftArgs&) = nullptr;

    int active() const { return alpha ? 3 : channels; }
};

template <class T>
ShiftCase describeShift(const char* name, const char* form, const char* layout, const char* op,
                        ZkrStatus (*call)(const ShiftArgs&)) {
    const std::string f = form, l = layout;
    ShiftCase c;
    c.name = name;
    c.left = opOf(op) == Op::LShiftC;
    c.inPlace = f.find("_i") != std::string::npos;
    c.perChannel = f.rfind("shiftN", 0) == 0;
    c.channels = l == "C1" ? 1 : (l == "C3" ? 3 : 4);
    c.alpha = l == "AC4";
    c.comp = scompOf<T>();
    c.compBytes = int(sizeof(T));
    c.call = call;
    return c;
}

struct Cases {
    std::vector<Case> elementWise;
    std::vector<ShiftCase> shifts;
};

// Every row of a table lands in one of the two lists by its operation.
#define LOGIC_ROW(name, form, T, L, op)                                                                          \
    if (isShift(#op)) {                                                                                        \
        out.shifts.push_back(describeShift<T>(#name, #form, #L, #op, [](const ShiftArgs& a) -> ZkrStatus {     \
            const Bag b = a.bag();                                                                             \
            return ZKR_CALL(b, name, form, T);                                                                 \
        }));                                                                                                   \
    } else {                                                                                                   \
        std::vector<Case>& cases = out.elementWise;                                                            \
        ZKRTEST_ELTWISE_ROW(describe, name, form, T, L, op)                                                    \
    }

Cases expandTables() {
    Cases out;
#define ZKR_FN(name, form, T, L, op) LOGIC_ROW(name, form, T, L, op)
#include "logic/and.tbl"
#include "logic/andi.tbl"
#include "logic/andc.tbl"
#include "logic/andci.tbl"
#undef ZKR_FN
    return out;
}

const Cases& familyCases() {
    static const Cases cases = expandTables();
    return cases;
}

// ---- reference ----------------------------------------------------------------------------------

template <class S> S bitwise(Op op, S x, S y) {
    if constexpr (std::is_integral_v<S>) {
        switch (op) {
            case Op::And: case Op::AndC: return S(x & y);
            case Op::Or: case Op::OrC: return S(x | y);
            case Op::Xor: case Op::XorC: return S(x ^ y);
            case Op::Not: return S(~x);
            default: break;
        }
    }
    ADD_FAILURE() << "not a bitwise operation of an integer type";
    return S(0);
}

// The larger or smaller of the source and the destination; for floats the
// destination stays unless the source compares greater (smaller), so a NaN on
// either side keeps the destination.
template <class S> S pick(Op op, S src, S dst) {
    if constexpr (std::is_floating_point_v<S>) {
        if (std::isnan(src) || std::isnan(dst)) return dst;
        if (src == dst) return dst;  // +0 and -0
    }
    return op == Op::MaxEvery ? std::max(src, dst) : std::min(src, dst);
}

struct LogicModel {
    template <class S>
    static S expected(const eltwise::Call<LogicModel, S>& call, const Plane<S>& before, int y, int i, int) {
        const Case& c = *call.fc;
        const S old = before.at(y, i);
        const Op op = Op(c.op);
        switch (Form(c.kind)) {
            case Form::Binary: return bitwise<S>(op, call.src1->at(y, i), call.src2->at(y, i));
            case Form::BinaryInPlace:
                if (op == Op::MaxEvery || op == Op::MinEvery) return pick<S>(op, call.src1->at(y, i), old);
                return bitwise<S>(op, call.src1->at(y, i), old);
            case Form::Unary: return bitwise<S>(op, call.src1->at(y, i), S(0));
            case Form::UnaryInPlace: return bitwise<S>(op, old, S(0));
            case Form::Const: return bitwise<S>(op, call.src1->at(y, i), call.value(i));
            default: return bitwise<S>(op, old, call.value(i));
        }
    }

    // The harness's geometries, and rows that end exactly on the kernels'
    // vector and pattern boundaries (64 and 192 bytes) or one short of them.
    static constexpr eltwise::Geometry geometries[] = {
        {1, 1, false, true},   {37, 5, true, true},    {29, 6, false, false}, {450, 2, true, false},
        {700, 3, false, false}, {64, 3, true, false},  {48, 2, false, false}, {191, 2, true, false},
        {16, 5, false, false},  {63, 4, true, false}};
};

// x shifted by n: left, x * 2^n modulo 2^bits; right, floor(x / 2^n) (the
// sign fills arithmetic shifts of signed types).
template <class S> S refShift(S x, Zkr32u n, bool left) {
    constexpr Zkr32u bits = 8 * sizeof(S);
    if (left) {
        if (n >= bits) return S(0);
        return S(std::uint64_t(std::make_unsigned_t<S>(x)) << n);
    }
    if (n >= bits) return S(x < 0 ? -1 : 0);
    const std::int64_t v = x;
    return S(v >= 0 ? v / (std::int64_t(1) << n) : -((-v + (std::int64_t(1) << n) - 1) / (std::int64_t(1) << n)));
}

// One call of a shift: padded source and destination, counts per channel.
template <class S> struct ShiftCall {
    const ShiftCase* fc;
    std::optional<Plane<S>> src;
    Plane<S> dst;
    Zkr32u counts[4];

    ShiftCall(const ShiftCase& c, int w, int h, bool padded, std::mt19937& rng, const Zkr32u (&n)[4])
        : fc(&c), dst(w, h, c.channels, padded ? randomPadding(rng) : Padding{}, rng), counts{n[0], n[1], n[2], n[3]} {
        if (!c.inPlace) src.emplace(w, h, c.channels, padded ? randomPadding(rng) : Padding{}, rng);
    }

    ShiftArgs args() {
        ShiftArgs a;
        if (src) a.src = src->roi(), a.srcStep = src->stepBytes();
        a.dst = dst.roi();
        a.dstStep = dst.stepBytes();
        a.counts = counts;
        a.roi = {dst.width, dst.height};
        return a;
    }

    S expected(const Plane<S>& before, int y, int i) const {
        const int channel = i % fc->channels;
        if (fc->alpha && channel == 3) return before.at(y, i);
        const S x = src ? src->at(y, i) : before.at(y, i);
        return refShift<S>(x, counts[fc->perChannel ? channel : 0], fc->left);
    }

    void runAndCheck() {
        const Plane<S> before = dst;
        const std::vector<S> source = src ? src->data : std::vector<S>{};
        ASSERT_EQ(fc->call(args()), zkrStsNoErr);
        int mismatches = 0;
        for (std::size_t k = 0; k < dst.data.size() && mismatches < 5; ++k)
            if (!before.insideRoi(k) && dst.data[k] != before.data[k]) {
                ADD_FAILURE() << "write outside the ROI at buffer index " << k;
                ++mismatches;
            }
        for (int y = 0; y < dst.height && mismatches < 5; ++y)
            for (int i = 0; i < dst.rowComps() && mismatches < 5; ++i) {
                const S want = expected(before, y, i);
                if (dst.at(y, i) != want) {
                    ADD_FAILURE() << "row " << y << " component " << i << " counts " << counts[0] << "," << counts[1]
                                  << "," << counts[2] << "," << counts[3] << ": got " << +dst.at(y, i) << ", want "
                                  << +want;
                    ++mismatches;
                }
            }
        if (src) {
            EXPECT_EQ(src->data, source) << "source modified";
        }
    }
};

template <class F> void withShiftType(SComp t, F&& f) {
    switch (t) {
        case SComp::U8: f.template operator()<Zkr8u>(); break;
        case SComp::S8: f.template operator()<Zkr8s>(); break;
        case SComp::U16: f.template operator()<Zkr16u>(); break;
        case SComp::S16: f.template operator()<Zkr16s>(); break;
        case SComp::S32: f.template operator()<Zkr32s>(); break;
    }
}

// Counts per channel: within the width, at its edges, beyond it, and (for
// per-channel forms) different on every channel, which must not leak into
// one another.
std::vector<std::vector<Zkr32u>> countSets(const ShiftCase& c) {
    const Zkr32u bits = Zkr32u(8 * c.compBytes);
    std::vector<std::vector<Zkr32u>> sets;
    for (Zkr32u n : {0u, 1u, 3u, bits - 1, bits, bits + 1, 31u, 32u, 33u, 1000u, UINT_MAX})
        sets.push_back({n, n, n, n});
    if (c.perChannel) {
        sets.push_back({1, bits - 1, 0, 2});
        sets.push_back({bits, 2, bits + 7, 5});
        sets.push_back({0, UINT_MAX, 5, 1});
    }
    return sets;
}

void checkShiftAgainstReference(const ShiftCase& c) {
    withShiftType(c.comp, [&]<class S>() {
        std::mt19937 rng(4242);
        forEachLevel([&](const Level&) {
            for (const std::vector<Zkr32u>& n : countSets(c)) {
                const Zkr32u counts[4] = {n[0], n[1], n[2], n[3]};
                for (const eltwise::Geometry& g : LogicModel::geometries) {
                    SCOPED_TRACE(testing::Message() << g.width << "x" << g.height);
                    ShiftCall<S> call(c, g.width, g.height, g.padded, rng, counts);
                    call.runAndCheck();
                    if (testing::Test::HasFailure()) return;
                }
            }
        });
    });
}

void checkShiftThreadSplits(const ShiftCase& c) {
    withShiftType(c.comp, [&]<class S>() {
        std::mt19937 rng(99);
        const Zkr32u counts[4] = {1, 3, 2, 4};
        for (bool padded : {true, false}) {
            ShiftCall<S> call(c, kSplitSize.width, kSplitSize.height, padded, rng, counts);
            const ShiftCall<S> original = call;
            std::vector<S> single;
            for (int threads : {1, 2, 3}) {
                SCOPED_TRACE(testing::Message() << threads << " threads" << (padded ? ", padded" : ", gapless"));
                ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
                call = original;
                if (threads == 1) {
                    call.runAndCheck();
                    single = call.dst.data;
                } else {
                    EXPECT_EQ(call.fc->call(call.args()), zkrStsNoErr);
                    EXPECT_EQ(call.dst.data, single) << "result depends on the thread split";
                }
            }
        }
    });
}

// NULL pointers before sizes before steps; nothing written on error.
void checkShiftStatusCodes(const ShiftCase& c) {
    withShiftType(c.comp, [&]<class S>() {
        std::mt19937 rng(7);
        const Zkr32u counts[4] = {1, 1, 1, 1};
        ShiftCall<S> call(c, 6, 3, true, rng, counts);
        const ShiftArgs good = call.args();
        const std::vector<S> before = call.dst.data;
        auto expectStatus = [&](const ShiftArgs& a, ZkrStatus want, const char* what) {
            EXPECT_EQ(c.call(a), want) << what;
            EXPECT_EQ(call.dst.data, before) << what << ": destination written on error";
        };
        ShiftArgs a = good;
        if (!c.inPlace) {
            a.src = nullptr;
            expectStatus(a, zkrStsNullPtrErr, "null source");
            a.roi = {0, 0};
            expectStatus(a, zkrStsNullPtrErr, "null pointer checked before size");
        }
        if (c.perChannel) {  // a single count is passed by value
            a = good;
            a.counts = nullptr;
            expectStatus(a, zkrStsNullPtrErr, "null counts");
        }
        a = good;
        a.dst = nullptr;
        expectStatus(a, zkrStsNullPtrErr, "null destination");
        for (ZkriSize roi : {ZkriSize{0, 3}, ZkriSize{6, 0}, ZkriSize{-2, 3}}) {
            a = good;
            a.roi = roi;
            a.dstStep = 0;
            expectStatus(a, zkrStsSizeErr, "size checked before steps");
        }
        const int rowBytes = 6 * c.channels * c.compBytes;
        std::vector<int> bad = {0, -good.dstStep, rowBytes - c.compBytes};
        if (c.compBytes > 1) bad.push_back(rowBytes + 1);
        for (int step : bad) {
            a = good;
            a.dstStep = step;
            expectStatus(a, zkrStsStepErr, "bad destination step");
            if (!c.inPlace) {
                a = good;
                a.srcStep = step;
                expectStatus(a, zkrStsStepErr, "bad source step");
            }
        }
    });
}

// ---- tests ----------------------------------------------------------------------------------------

class LogicFamily : public testing::WithParamInterface<Form>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases().elementWise, [&](const Case& c) { return Form(c.kind) == GetParam(); }, check);
    }
};

TEST_P(LogicFamily, MatchesReferenceOnEveryLevel) {
    walk([](const Case& c) { eltwise::checkAgainstReference<LogicModel>(c); });
}
TEST_P(LogicFamily, ThreadSplitsMatchSingleThread) {
    walk([](const Case& c) { eltwise::checkThreadSplits<LogicModel>(c); });
}
TEST_P(LogicFamily, StatusCodes) {
    walk([](const Case& c) { eltwise::checkStatusCodes<LogicModel>(c); });
}

std::string formName(const testing::TestParamInfo<Form>& info) {
    static const char* const names[] = {"Binary", "BinaryInPlace", "Unary", "UnaryInPlace", "Constant", "ConstantInPlace"};
    return names[int(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Zkri, LogicFamily,
                         testing::Values(Form::Binary, Form::BinaryInPlace, Form::Unary, Form::UnaryInPlace,
                                         Form::Const, Form::ConstInPlace),
                         formName);

class LogicShifts : public testing::WithParamInterface<bool>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases().shifts, [&](const ShiftCase& c) { return c.inPlace == GetParam(); }, check);
    }
};

TEST_P(LogicShifts, MatchesReferenceOnEveryLevel) { walk(checkShiftAgainstReference); }
TEST_P(LogicShifts, ThreadSplitsMatchSingleThread) { walk(checkShiftThreadSplits); }
TEST_P(LogicShifts, StatusCodes) { walk(checkShiftStatusCodes); }

std::string placeName(const testing::TestParamInfo<bool>& info) { return info.param ? "InPlace" : "NotInPlace"; }

INSTANTIATE_TEST_SUITE_P(Zkri, LogicShifts, testing::Bool(), placeName);

TEST(LogicFamilyTables, HaveEveryVariantOnce) {
    const Cases& c = familyCases();
    std::vector<std::string> names;
    for (const Case& e : c.elementWise) names.push_back(e.name);
    for (const ShiftCase& s : c.shifts) names.push_back(s.name);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "a function is listed twice";
    // TimiAnd 40, TimiAndI 72, TimiAndC 68 and TimiAndCI 68, of which 2 x 32 shifts.
    EXPECT_EQ(names.size(), 248u);
    EXPECT_EQ(c.shifts.size(), 64u);
}

// Floats: a NaN on either side keeps the destination, and so do equal values
// of either sign of zero.
TEST(LogicFamilyEdges, MaxMinEveryKeepTheDestinationOnNanAndEqualZeros) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float src[8] = {nan, 1.0f, -0.0f, 0.0f, -5.0f, 7.0f, nan, -1.0f};
    const float dst0[8] = {2.0f, nan, 0.0f, -0.0f, -6.0f, 7.0f, nan, -1.5f};
    for (const Level& l : machineLevels()) {
        SCOPED_TRACE(l.name);
        ASSERT_EQ(zkrInitCpu(l.type), zkrStsNoErr);
        float mx[8], mn[8];
        std::copy(dst0, dst0 + 8, mx);
        std::copy(dst0, dst0 + 8, mn);
        ASSERT_EQ(zkriMaxEvery_32f_C1IR(src, 32, mx, 32, {8, 1}), zkrStsNoErr);
        ASSERT_EQ(zkriMinEvery_32f_C1IR(src, 32, mn, 32, {8, 1}), zkrStsNoErr);
        EXPECT_EQ(mx[0], 2.0f);
        EXPECT_TRUE(std::isnan(mx[1]));
        EXPECT_FALSE(std::signbit(mx[2]));  // +0 destination kept against -0
        EXPECT_TRUE(std::signbit(mx[3]));   // -0 destination kept against +0
        EXPECT_EQ(mx[4], -5.0f);
        EXPECT_EQ(mn[4], -6.0f);
        EXPECT_EQ(mn[7], -1.5f);
        EXPECT_EQ(mx[7], -1.0f);
        EXPECT_TRUE(std::isnan(mn[6]));
    }
    zkrInit();
}

// Every float function over the hostile fills (NaN, infinities, zeros of both signs, denormals,
// 1e-30 to 1e30 of both signs) on every level, with one and two threads: the model's result
// (MaxEvery and MinEvery keep the destination where a NaN is met), and no floating-point flag the
// operation itself does not raise but invalid, which the ordered comparison of MaxEvery and MinEvery
// raises for a NaN as C's > and < do (the test's scalar model is compiled to a quiet compare).
class LogicFloatEdges : public LibraryStateTest {};

TEST_F(LogicFloatEdges, HostileFillsOnEveryLevelAndThreadCount) {
    eltwise::checkHostileCases<LogicModel>(familyCases().elementWise, floats::kInvalid);
}

}  // namespace
}  // namespace zkrtest
