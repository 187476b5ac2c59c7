// The SSIM function against the block formula evaluated directly in long double: every level, ROIs
// inside padded images with partial blocks, thread splits (the same bits), equal images, and the
// argument errors.
#include "family_support.h"
#include "test_support.h"

#define ZKR_TABLE "ssim/ssim.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

long double referenceSsim(const Plane<Zkr8u>& a, const Plane<Zkr8u>& b) {
    const long double c1 = 6.5025L, c2 = 58.5225L;
    long double total = 0;
    for (int by = 0; by < a.height; by += 8)
        for (int bx = 0; bx < a.width; bx += 8) {
            long double n = 0, mx = 0, my = 0;
            for (int y = by; y < std::min(by + 8, a.height); ++y)
                for (int x = bx; x < std::min(bx + 8, a.width); ++x) mx += a.at(y, x), my += b.at(y, x), ++n;
            mx /= n, my /= n;
            long double vx = 0, vy = 0, cxy = 0;
            for (int y = by; y < std::min(by + 8, a.height); ++y)
                for (int x = bx; x < std::min(bx + 8, a.width); ++x) {
                    const long double dx = a.at(y, x) - mx, dy = b.at(y, x) - my;
                    vx += dx * dx, vy += dy * dy, cxy += dx * dy;
                }
            vx /= n, vy /= n, cxy /= n;
            total += n * (2 * mx * my + c1) * (2 * cxy + c2) / ((mx * mx + my * my + c1) * (vx + vy + c2));
        }
    return total / ((long double)a.width * a.height);
}

Zkr32f call(const Plane<Zkr8u>& a, const Plane<Zkr8u>& b) {
    Zkr32f s = -7;
    EXPECT_EQ(zkriSSIM_8u_C1R(a.roi(), a.stepBytes(), b.roi(), b.stepBytes(), {a.width, a.height}, &s), zkrStsNoErr);
    return s;
}

class Ssim : public LibraryStateTest {};

TEST_F(Ssim, MatchesBlockFormulaOnEveryLevelAndThreadCount) {
    std::mt19937 rng(17);
    forEachLevel([&](const Level&) {
        for (ZkriSize g : {ZkriSize{1, 1}, ZkriSize{8, 8}, ZkriSize{13, 7}, ZkriSize{70, 21}}) {
            Plane<Zkr8u> a(g.width, g.height, 1, randomPadding(rng), rng), b(g.width, g.height, 1, randomPadding(rng), rng);
            // b: a with noise, so that the value is neither 0 nor 1.
            for (int y = 0; y < g.height; ++y)
                for (int x = 0; x < g.width; ++x)
                    b.roi()[std::size_t(y) * b.stride + x] = Zkr8u(std::clamp(a.at(y, x) + int(rng() % 41) - 20, 0, 255));
            EXPECT_NEAR(call(a, b), double(referenceSsim(a, b)), 2e-6) << g.width << "x" << g.height;
            EXPECT_NEAR(call(a, a), 1.0f, 1e-6) << "equal images";
        }
    });
    Plane<Zkr8u> a(kSplitSize.width, kSplitSize.height, 1, randomPadding(rng), rng), b(kSplitSize.width, kSplitSize.height, 1, Padding{}, rng);
    Zkr32f one = 0;
    for (int threads : {1, 2, 3}) {
        ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
        const Zkr32f s = call(a, b);
        if (threads == 1) {
            one = s;
            EXPECT_NEAR(s, double(referenceSsim(a, b)), 2e-6);
        } else {
            EXPECT_TRUE(sameBits(s, one)) << threads << " threads";
        }
    }
}

TEST_F(Ssim, StatusCodes) {
    const Zkr8u img[64] = {};
    Zkr32f s = 0;
    EXPECT_EQ(zkriSSIM_8u_C1R(nullptr, 8, img, 8, {0, 0}, &s), zkrStsNullPtrErr);
    EXPECT_EQ(zkriSSIM_8u_C1R(img, 8, nullptr, 8, {8, 8}, &s), zkrStsNullPtrErr);
    EXPECT_EQ(zkriSSIM_8u_C1R(img, 8, img, 8, {8, 8}, nullptr), zkrStsNullPtrErr);
    EXPECT_EQ(zkriSSIM_8u_C1R(img, 0, img, 8, {8, 0}, &s), zkrStsSizeErr);
    EXPECT_EQ(zkriSSIM_8u_C1R(img, 7, img, 8, {8, 8}, &s), zkrStsStepErr);
    EXPECT_EQ(zkriSSIM_8u_C1R(img, 8, img, 0, {8, 8}, &s), zkrStsStepErr);
    EXPECT_EQ(zkriSSIM_8u_C1R(img, 8, img, 8, {8, 8}, &s), zkrStsNoErr);
    EXPECT_FLOAT_EQ(s, 1.0f) << "two constant equal images";
}

}  // namespace
}  // namespace zkrtest
