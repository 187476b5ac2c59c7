// The Cmp family against a plain per-pixel reference, driven by its table:
// every function with every comparison operation on every dispatch level,
// sources full of equal components, range extremes and (for float) NaN and
// signed zeros, ROIs inside padded images and gapless ones, alpha that must
// not count, thread splits, and every argument error in the library's order.
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "cmp/cmp.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

struct CmpBag : Bag {
    ZkrCmpOp cmpOp = zkrCmpLess;
};

enum class Kind { TwoImages, ConstByValue, ConstPerChannel };

struct CmpCase {
    std::string name;
    Kind kind = Kind::TwoImages;
    int channels = 1;  // components per pixel in memory
    int active = 1;    // channels compared (AC4: three)
    int bytes = 1;     // bytes per component
    void (*check)(const CmpCase&, ZkriSize, bool padded, ZkrCmpOp, std::mt19937&) = nullptr;
    ZkrStatus (*call)(const CmpBag&) = nullptr;
};

const ZkrCmpOp kOps[] = {zkrCmpLess, zkrCmpLessEq, zkrCmpEq, zkrCmpGreaterEq, zkrCmpGreater};

template <class S> bool holds(ZkrCmpOp op, S x, S y) {
    switch (op) {
        case zkrCmpLess: return x < y;
        case zkrCmpLessEq: return x <= y;
        case zkrCmpEq: return x == y;
        case zkrCmpGreaterEq: return x >= y;
        default: return x > y;
    }
}

// Components drawn from a few values so that equal pairs are frequent: the
// type's extremes, their neighbours, zero, and for float NaN, infinities and
// both signed zeros (equal to each other).
template <class S> S pickValue(std::mt19937& rng) {
    if constexpr (std::is_floating_point_v<S>) {
        // The hostile float fills' specials, or a value from 1e-30 to 1e30 of either sign.
        const std::vector<float>& sp = floats::specials();
        const std::size_t k = std::uniform_int_distribution<std::size_t>(0, 2 * sp.size())(rng);
        return k < sp.size() ? sp[k] : floats::wideValue(rng, k % 2 == 1);
    } else {
        using L = std::numeric_limits<S>;
        static const S v[] = {L::min(), S(L::min() + 1), S(0), S(1), S(L::max() - 1), L::max(), S(L::max() / 2)};
        return v[std::uniform_int_distribution<int>(0, 6)(rng)];
    }
}

template <class S> void fillPicked(std::vector<S>& v, std::mt19937& rng) {
    for (S& x : v) x = pickValue<S>(rng);
}

template <class S> void checkCase(const CmpCase& c, ZkriSize size, bool padded, ZkrCmpOp op, std::mt19937& rng) {
    const int w = size.width, h = size.height;
    auto pad = [&] { return padded ? randomPadding(rng) : Padding{}; };
    Plane<S> a(w, h, c.channels, pad(), rng), b(w, h, c.channels, pad(), rng);
    Plane<Zkr8u> d(w, h, 1, pad(), rng);
    fillPicked(a.data, rng);
    fillPicked(b.data, rng);
    // Half the second image equals the first: every operation meets its boundary.
    for (std::size_t i = 0; i < b.data.size() && i < a.data.size(); ++i)
        if (rng() & 1) b.data[i] = a.data[i];
    S values[4];
    for (S& v : values) v = pickValue<S>(rng);
    // The constant often equals pixel components.
    if (rng() & 1)
        for (int k = 0; k < c.active; ++k) values[k] = a.at(0, k);

    const std::vector<Zkr8u> before = d.data;
    CmpBag bag;
    bag.pSrc = bag.pSrc1 = a.roi();
    bag.srcStep = bag.src1Step = a.stepBytes();
    bag.pSrc2 = b.roi();
    bag.src2Step = b.stepBytes();
    bag.pDst = d.roi();
    bag.dstStep = d.stepBytes();
    bag.roiSize = size;
    bag.value = values;
    bag.cmpOp = op;
    ZkrStatus status = zkrStsNoErr;
    const unsigned raised = floats::flagsOf([&] { status = c.call(bag); });
    ASSERT_EQ(status, zkrStsNoErr);
    if constexpr (std::is_floating_point_v<S>) {
        // Flags: the ordered comparisons raise invalid for a NaN, as C's < <= >= > do, on every
        // level; equality is quiet; a denormal operand may raise the denormal-operand flag.
        bool nan = false;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int k = 0; k < c.active; ++k) {
                    const S q = c.kind == Kind::TwoImages ? b.at(y, x * c.channels + k) : values[k];
                    nan = nan || std::isnan(a.at(y, x * c.channels + k)) || std::isnan(q);
                }
        const unsigned invalid = op == zkrCmpEq ? 0u : floats::kInvalid;
        EXPECT_EQ(raised & ~(invalid | floats::kDenormal), 0u) << "raised " << floats::flagNames(raised);
        EXPECT_EQ(raised & floats::kInvalid, nan ? invalid : 0u)
            << "op " << int(op) << (nan ? " with" : " without") << " a NaN raised " << floats::flagNames(raised);
    } else {
        EXPECT_EQ(raised, 0u) << "integer comparisons raised " << floats::flagNames(raised);
    }

    for (std::size_t i = 0; i < d.data.size(); ++i) {
        if (!d.insideRoi(i)) {
            ASSERT_EQ(d.data[i], before[i]) << "written outside the ROI at " << i;
        }
    }
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            bool all = true;
            for (int k = 0; k < c.active; ++k) {
                const S p = a.at(y, x * c.channels + k);
                const S q = c.kind == Kind::TwoImages ? b.at(y, x * c.channels + k) : values[k];
                all = all && holds(op, p, q);
            }
            ASSERT_EQ(int(d.at(y, x)), all ? 255 : 0) << "pixel " << x << "," << y << " op " << int(op);
        }
    }
}

template <class T> CmpCase describe(const char* name, const std::string& form, const std::string& layout,
                                    ZkrStatus (*call)(const CmpBag&)) {
    CmpCase c;
    c.name = name;
    c.kind = form == "compare" ? Kind::TwoImages : (form == "compareC1" ? Kind::ConstByValue : Kind::ConstPerChannel);
    c.channels = layout == "C1" ? 1 : (layout == "C3" ? 3 : 4);
    c.active = layout == "C1" ? 1 : (layout == "C4" ? 4 : 3);
    c.bytes = int(sizeof(T));
    c.check = &checkCase<T>;
    c.call = call;
    return c;
}

const std::vector<CmpCase>& familyCases() {
    static const std::vector<CmpCase> cases = [] {
        std::vector<CmpCase> v;
#define ZKR_FN(name, form, T, L) \
    v.push_back(describe<T>(#name, #form, #L, [](const CmpBag& b) { return ZKR_CALL(b, name, form, T); }));
#include "cmp/cmp.tbl"
#undef ZKR_FN
        return v;
    }();
    return cases;
}

auto ofKind(Kind k) {
    return [k](const CmpCase& c) { return c.kind == k; };
}

class CmpFamily : public LibraryStateTest {
protected:
    // Every operation on padded ROIs (odd widths, one row, one column) and on gapless images, which
    // the kernels run as one long row.
    static void checkAll(Kind kind) {
        std::mt19937 rng(20261123u + unsigned(kind));
        const ZkriSize sizes[] = {{1, 1}, {37, 5}, {1, 9}, {130, 3}};
        forEachLevel([&](const Level&) {
            forEachCase(familyCases(), ofKind(kind), [&](const CmpCase& c) {
                for (ZkrCmpOp op : kOps) {
                    for (ZkriSize s : sizes) c.check(c, s, true, op, rng);
                    c.check(c, {67, 4}, false, op, rng);
                }
            });
        });
    }
};

TEST_F(CmpFamily, TwoImagesMatchReferenceOnEveryLevel) { checkAll(Kind::TwoImages); }
TEST_F(CmpFamily, ConstantByValueMatchesReferenceOnEveryLevel) { checkAll(Kind::ConstByValue); }
TEST_F(CmpFamily, ConstantPerChannelMatchesReferenceOnEveryLevel) { checkAll(Kind::ConstPerChannel); }

TEST_F(CmpFamily, TableHasSixteenFunctionsPerForm) {
    const auto& cases = familyCases();
    EXPECT_EQ(std::count_if(cases.begin(), cases.end(), ofKind(Kind::TwoImages)), 16);
    EXPECT_EQ(std::count_if(cases.begin(), cases.end(), [](const CmpCase& c) { return c.kind != Kind::TwoImages; }),
              16);
}

// Images from 64 K pixels on (the library's parallel threshold) split into row bands over two
// threads; every band must land where a single thread puts it. The 8u and 32f functions of every
// form and layout (the bands do not depend on the element type).
TEST_F(CmpFamily, ThreadSplitGivesSingleThreadResult) {
    ASSERT_GE(zkrSetNumThreads(2), zkrStsNoErr);
    std::mt19937 rng(7u);
    const int w = 301, h = 240;
    forEachCase(familyCases(), [](const CmpCase& c) { return c.bytes != 2; },
                [&](const CmpCase& c) { c.check(c, {w, h}, true, zkrCmpGreaterEq, rng); });
}

// Argument errors in order: pointers, size, steps (sources, then the mask), then the operation.
TEST_F(CmpFamily, ArgumentErrorsInLibraryOrder) {
    std::vector<unsigned char> src(4096), src2(4096), dst(4096);
    const Zkr32f values[4] = {};
    forEachCase(familyCases(), [](const CmpCase&) { return true; }, [&](const CmpCase& c) {
        const bool two = c.kind == Kind::TwoImages;
        CmpBag good;
        good.pSrc = good.pSrc1 = src.data();
        good.pSrc2 = src2.data();
        good.srcStep = good.src1Step = good.src2Step = 16 * 4 * 4;
        good.pDst = dst.data();
        good.dstStep = 16;
        good.roiSize = {16, 4};
        good.value = values;
        good.cmpOp = zkrCmpEq;
        EXPECT_EQ(c.call(good), zkrStsNoErr);

        CmpBag b = good;
        b.pSrc = b.pSrc1 = nullptr;
        b.roiSize = {0, 4};
        EXPECT_EQ(c.call(b), zkrStsNullPtrErr);
        b = good;
        b.pDst = nullptr;
        b.cmpOp = ZkrCmpOp(7);
        EXPECT_EQ(c.call(b), zkrStsNullPtrErr);
        if (two) {
            b = good;
            b.pSrc2 = nullptr;
            EXPECT_EQ(c.call(b), zkrStsNullPtrErr);
        }
        if (c.kind == Kind::ConstPerChannel) {
            b = good;
            b.value = nullptr;
            EXPECT_EQ(c.call(b), zkrStsNullPtrErr);
        }
        for (ZkriSize s : {ZkriSize{0, 4}, ZkriSize{16, 0}, ZkriSize{-1, 4}}) {
            b = good;
            b.roiSize = s;
            b.srcStep = b.src1Step = 0;
            EXPECT_EQ(c.call(b), zkrStsSizeErr);
        }
        // A source row of 16 pixels needs at least 16 * channels bytes; the mask row 16.
        b = good;
        b.srcStep = b.src1Step = 16 * c.channels - 1;
        b.cmpOp = ZkrCmpOp(7);
        EXPECT_EQ(c.call(b), zkrStsStepErr);
        if (two) {
            b = good;
            b.src2Step = 16 * c.channels - 1;
            EXPECT_EQ(c.call(b), zkrStsStepErr);
        }
        if (c.bytes > 1) {  // long enough, but not a whole number of components
            b = good;
            b.srcStep = b.src1Step = 16 * c.channels * c.bytes + 1;
            EXPECT_EQ(c.call(b), zkrStsStepErr);
        }
        b = good;
        b.dstStep = 15;
        EXPECT_EQ(c.call(b), zkrStsStepErr);
        b = good;
        b.dstStep = -16;
        EXPECT_EQ(c.call(b), zkrStsStepErr);
        for (int op : {5, 6, 7}) {
            b = good;
            b.cmpOp = ZkrCmpOp(op);
            EXPECT_EQ(c.call(b), zkrStsBadArgErr) << "operation " << op;
        }
    });
}

}  // namespace
}  // namespace zkrtest
