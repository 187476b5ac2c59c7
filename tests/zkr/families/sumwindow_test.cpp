// The SumWindow family against direct window sums, driven by its table: every function on every
// dispatch level with several window lengths and anchors, ROIs inside padded images whose border
// the window reads, thread splits, nothing written outside the ROI, and every argument error.
#include <algorithm>

#include "family_support.h"
#include "test_support.h"

#define ZKR_TABLE "sumwindow/sumwindow.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

struct WinBag : Bag {
    ZkriSize dstRoiSize{0, 0};
    int maskSize = 1, anchor = 0;
};

struct WinCase {
    std::string name;
    bool column;
    CompType comp;
    int channels, compBytes;
    ZkrStatus (*call)(const WinBag&);
};

template <class T> WinCase describe(const char* name, const char* layout, const char* dir, ZkrStatus (*call)(const WinBag&)) {
    const std::string l = layout;
    return {name, std::string(dir) == "Column", compTypeOf<T>(), l == "C1" ? 1 : (l == "C3" ? 3 : 4), int(sizeof(T)), call};
}

const std::vector<WinCase>& cases() {
    static const std::vector<WinCase> all = [] {
        std::vector<WinCase> v;
#define ZKR_FN(name, form, Ts, Td, L, dir) \
    v.push_back(describe<Ts>(#name, #L, #dir, [](const WinBag& b) { return ZKR_CALL(b, name, form, Ts, Td); }));
#include "sumwindow/sumwindow.tbl"
#undef ZKR_FN
        return v;
    }();
    return all;
}

// The source holds the ROI and its border: `before` pixels (rows) ahead of it along the window's
// direction and `after` behind; the returned destination is checked against the direct sums.
template <class S> void checkOne(const WinCase& c, ZkriSize roi, int mask, int anchor, int threads, std::mt19937& rng) {
    const int before = anchor;
    const int sw = roi.width + (c.column ? 0 : mask - 1), sh = roi.height + (c.column ? mask - 1 : 0);
    Plane<S> src(sw, sh, c.channels, randomPadding(rng), rng);
    if constexpr (std::is_floating_point_v<S>)
        for (S& v : src.data) v = std::uniform_real_distribution<S>(-1000.0f, 1000.0f)(rng);
    Plane<Zkr32f> dst(roi.width, roi.height, c.channels, randomPadding(rng), rng);
    const std::vector<Zkr32f> untouched = dst.data;
    WinBag b;
    const S* roiStart = src.roi() + (c.column ? std::size_t(before) * src.stride : std::size_t(before) * c.channels);
    b.pSrc = roiStart, b.srcStep = src.stepBytes();
    b.pDst = dst.roi(), b.dstStep = dst.stepBytes();
    b.dstRoiSize = roi;
    b.maskSize = mask, b.anchor = anchor;
    ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
    ASSERT_EQ(c.call(b), zkrStsNoErr);
    for (int y = 0; y < roi.height; ++y)
        for (int i = 0; i < roi.width * c.channels; ++i) {
            long double want = 0, mag = 0;
            for (int k = 0; k < mask; ++k) {
                const long double v = c.column ? src.at(y + k, i) : src.at(y, i + k * c.channels);
                want += v, mag += std::fabs(v);
            }
            const double got = dst.at(y, i);
            // Integer sums are exact and rounded once to float; float sums add m roundings.
            const long double tol = std::is_floating_point_v<S> ? 1.2e-7L * mag * mask : std::fabs(want) * 6e-8L;
            ASSERT_LE(std::fabs(got - want), tol) << "at " << i << "," << y << ": got " << got << ", want " << double(want);
        }
    for (std::size_t k = 0; k < dst.data.size(); ++k) {
        if (!dst.insideRoi(k)) {
            ASSERT_TRUE(sameBits(dst.data[k], untouched[k])) << "written outside the ROI at " << k;
        }
    }
}

class SumWindowFamily : public LibraryStateTest {};

TEST_F(SumWindowFamily, MatchesDirectSumsOnEveryLevelAndThreadCount) {
    forEachCase(cases(), [](const WinCase&) { return true; }, [](const WinCase& c) {
        withCompType<Zkr8u, Zkr16s, Zkr32f>(c.comp, [&]<class S>() {
            std::mt19937 rng(41);
            forEachLevel([&](const Level&) {
                // Window of one, anchors at both ends and inside, rows shorter than the window.
                for (auto [w, h, m, a] : {std::array{1, 1, 1, 0}, {13, 7, 5, 2}, {13, 7, 4, 0}, {3, 9, 7, 6}, {40, 3, 9, 4}}) {
                    SCOPED_TRACE(testing::Message() << w << "x" << h << " mask " << m << " anchor " << a);
                    checkOne<S>(c, {w, h}, m, a, 1, rng);
                }
            });
            // Bands of the worker pool start their running sums anew.
            for (int threads : {2, 3}) checkOne<S>(c, {kSplitSize.width / 3 + 1, kSplitSize.height}, 3, 1, threads, rng);
            zkrSetNumThreads(1);
        });
    });
}

// NULL pointers, size, steps (source and destination), then mask size and anchor.
TEST_F(SumWindowFamily, StatusCodes) {
    forEachCase(cases(), [](const WinCase&) { return true; }, [](const WinCase& c) {
        std::vector<Zkr32f> src(40 * 40 * 4, 1.0f), dst(src.size());
        WinBag good;
        good.pSrc = src.data() + 4 * 8 * 40 + 16, good.srcStep = 40 * 4 * 4;
        good.pDst = dst.data(), good.dstStep = 6 * c.channels * 4;
        good.dstRoiSize = {6, 3};
        good.maskSize = 3, good.anchor = 1;
        ASSERT_EQ(c.call(good), zkrStsNoErr);
        WinBag x = good;
        x.pSrc = nullptr, x.dstRoiSize = {0, 0};
        EXPECT_EQ(c.call(x), zkrStsNullPtrErr);
        x = good, x.pDst = nullptr;
        EXPECT_EQ(c.call(x), zkrStsNullPtrErr);
        x = good, x.dstRoiSize = {6, 0}, x.maskSize = 0;
        EXPECT_EQ(c.call(x), zkrStsSizeErr);
        x = good, x.srcStep = 6 * c.channels * c.compBytes - c.compBytes, x.anchor = 7;
        EXPECT_EQ(c.call(x), zkrStsStepErr);
        x = good, x.dstStep = 6 * c.channels * 4 - 4;
        EXPECT_EQ(c.call(x), zkrStsStepErr);
        for (int m : {0, -1, 65536}) {
            x = good, x.maskSize = m, x.anchor = 0;
            EXPECT_EQ(c.call(x), zkrStsMaskSizeErr) << "mask " << m;
        }
        for (int a : {-1, 3}) {
            x = good, x.anchor = a;
            EXPECT_EQ(c.call(x), zkrStsAnchorErr) << "anchor " << a;
        }
    });
    EXPECT_EQ(cases().size(), 18u);
}

}  // namespace
}  // namespace zkrtest
