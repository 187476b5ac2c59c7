// The window family against the windows' formulas evaluated per pixel in long double, driven by its
// table: every function on every dispatch level, sizes with one-pixel sides, padded rows (nothing
// written outside the ROI), thread splits and status codes.
#include <cmath>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "family_support.h"
#include "spectrum_support.h"
#include "test_support.h"

#define ZKR_TABLE "win/win.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

using spectrum::Img;

struct WinCase {
    std::string name, op;
    int type;  // 0 8u, 1 16u, 2 32f
    bool inPlace;
    ZkrStatus (*call)(const Bag&);
};

const std::vector<WinCase>& cases() {
    static const std::vector<WinCase> all = [] {
        std::vector<WinCase> v;
#define ZKR_FN(name, form, T, op)                                                                             \
    v.push_back({#name, #op, std::is_same_v<T, Zkr8u> ? 0 : (std::is_same_v<T, Zkr16u> ? 1 : 2),             \
                 std::string(#form) == "unary_i", [](const Bag& b) -> ZkrStatus { return ZKR_CALL(b, name, form, T, op); }});
#include "win/win.tbl"
#undef ZKR_FN
        return v;
    }();
    return all;
}

// The window at (x, y) of a w x h ROI, from its definition.
long double windowAt(const std::string& op, int x, int y, int w, int h) {
    const long double tx = w > 1 ? 2.0L * x / (w - 1) - 1 : 0, ty = h > 1 ? 2.0L * y / (h - 1) - 1 : 0;
    const long double pi = std::numbers::pi_v<long double>;
    if (op == "BartlettSep") return (1 - std::fabs(tx)) * (1 - std::fabs(ty));
    if (op == "HammingSep") return (0.54L + 0.46L * std::cos(pi * tx)) * (0.54L + 0.46L * std::cos(pi * ty));
    const long double r = std::sqrt(tx * tx + ty * ty);
    if (op == "Bartlett") return r < 1 ? 1 - r : 0;
    return r <= 1 ? 0.54L + 0.46L * std::cos(pi * r) : 0.08L;
}

template <class T> void fill(Img<T>& im, std::mt19937& rng) {
    for (auto& b : im.bytes) b = static_cast<unsigned char>(rng());
    if constexpr (std::is_same_v<T, Zkr32f>)
        for (int y = 0; y < im.h; ++y)
            for (int x = 0; x < im.w; ++x) {
                const float v = std::uniform_real_distribution<float>(-1000.0f, 1000.0f)(rng);
                std::memcpy(im.bytes.data() + std::size_t(y) * std::size_t(im.step) + std::size_t(x) * 4, &v, 4);
            }
}

template <class T> Img<T> runCase(const WinCase& c, Img<T>& src, int w, int h, std::mt19937& rng) {
    Img<T> dst(w, h, 1, 3);
    fill(dst, rng);
    if (c.inPlace) dst = src;
    Bag bag;
    bag.pSrc = src.data();
    bag.srcStep = src.step;
    bag.pDst = bag.pSrcDst = dst.data();
    bag.dstStep = bag.srcDstStep = dst.step;
    bag.roiSize = {w, h};
    EXPECT_EQ(c.call(bag), zkrStsNoErr);
    return dst;
}

template <class F> void withType(int t, F&& f) {
    if (t == 0) f.template operator()<Zkr8u>();
    else if (t == 1) f.template operator()<Zkr16u>();
    else f.template operator()<Zkr32f>();
}

class WinFamily : public LibraryStateTest {};

TEST_F(WinFamily, EveryFunctionMatchesTheWindowOnEveryLevel) {
    const ZkriSize sizes[] = {{13, 7}, {16, 16}, {1, 1}, {1, 5}, {6, 1}, {40, 3}};
    std::mt19937 rng(9);
    forEachLevel([&](const Level&) {
        forEachCase(cases(), [](const WinCase&) { return true; }, [&](const WinCase& c) {
            withType(c.type, [&]<class T>() {
                for (const ZkriSize& s : sizes) {
                    Img<T> src(s.width, s.height, 1, c.inPlace ? 3 : 2);
                    fill(src, rng);
                    const Img<T> in = src;
                    Img<T> dst = runCase(c, src, s.width, s.height, rng);
                    for (int y = 0; y < s.height; ++y)
                        for (int x = 0; x < s.width; ++x) {
                            const long double want = (long double)in.get(x, y) * windowAt(c.op, x, y, s.width, s.height);
                            const long double got = dst.get(x, y);
                            // integers: the nearest value; floats: one rounding of the product
                            const long double tol = std::is_same_v<T, Zkr32f> ? 1e-6L * std::fabs(want) + 1e-30L : 0.5L + 1e-9L;
                            ASSERT_LE(std::fabs(got - want), tol) << "at (" << x << ", " << y << ") of " << s.width << "x" << s.height;
                        }
                }
            });
        });
    });
}

TEST_F(WinFamily, NothingOutsideTheRoiAndThreadSplitsGiveTheOneThreadResult) {
    forEachCase(cases(), [](const WinCase& c) { return !c.inPlace; }, [&](const WinCase& c) {
        withType(c.type, [&]<class T>() {
            std::mt19937 rng(4);
            const int w = kSplitSize.width, h = kSplitSize.height;
            Img<T> src(w, h, 1, 5);
            fill(src, rng);
            std::vector<std::vector<unsigned char>> out;
            for (int threads : {1, 2}) {
                ASSERT_EQ(zkrSetNumThreads(threads), zkrStsNoErr);
                std::mt19937 same(8);
                Img<T> dst(w, h, 1, 3);
                fill(dst, same);
                const Img<T> before = dst;
                Bag bag;
                bag.pSrc = src.data();
                bag.srcStep = src.step;
                bag.pDst = dst.data();
                bag.dstStep = dst.step;
                bag.roiSize = {w, h};
                ASSERT_EQ(c.call(bag), zkrStsNoErr);
                for (int y = 0; y < h; ++y)
                    for (int o = w * int(sizeof(T)); o < dst.step; ++o)
                        ASSERT_EQ(dst.bytes[std::size_t(y * dst.step + o)], before.bytes[std::size_t(y * dst.step + o)]);
                out.push_back(dst.bytes);
            }
            EXPECT_TRUE(out[0] == out[1]);
        });
    });
}

TEST_F(WinFamily, StatusCodesInTheLibrarysOrder) {
    std::vector<unsigned char> buf(1024);
    forEachCase(cases(), [](const WinCase&) { return true; }, [&](const WinCase& c) {
        const int elem = c.type == 0 ? 1 : (c.type == 1 ? 2 : 4);
        Bag ok;
        ok.pSrc = ok.pDst = ok.pSrcDst = buf.data();
        ok.srcStep = ok.dstStep = ok.srcDstStep = 8 * elem;
        ok.roiSize = {8, 2};
        Bag b = ok;
        b.pSrc = b.pSrcDst = nullptr;
        b.roiSize = {0, 0};
        EXPECT_EQ(c.call(b), zkrStsNullPtrErr);
        b = ok;
        b.roiSize = {8, 0};
        b.srcStep = b.srcDstStep = 0;
        EXPECT_EQ(c.call(b), zkrStsSizeErr);
        b = ok;
        b.srcStep = b.srcDstStep = 8 * elem - 1;
        EXPECT_EQ(c.call(b), zkrStsStepErr);
        if (elem > 1) {
            b = ok;
            b.dstStep = b.srcDstStep = 9 * elem + 1;
            EXPECT_EQ(c.call(b), zkrStsStepErr);
        }
    });
    EXPECT_EQ(cases().size(), 24u);
}

}  // namespace
}  // namespace zkrtest
