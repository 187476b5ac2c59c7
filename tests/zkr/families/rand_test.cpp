// The Rand family by its contract, driven by its table: the same seed gives the same image on every
// dispatch level and thread count and the same next seed; uniform noise stays within its bounds and
// Gauss noise has its mean and deviation; integer results round and saturate; alpha and padding are
// untouched; and every argument error.
#include <algorithm>
#include <cmath>

#include "family_support.h"
#include "test_support.h"

#define ZKR_TABLE "rand/rand.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

struct RandBag : Bag {
    Zkr32f low = 0, high = 0, mean = 0, stdDev = 0;
    unsigned int* pSeed = nullptr;
};

struct RandCase {
    std::string name;
    bool gauss;
    CompType comp;
    int channels, compBytes;
    bool alpha;
    ZkrStatus (*call)(const RandBag&);
};

template <class T> RandCase describe(const char* name, const char* layout, const char* op, ZkrStatus (*call)(const RandBag&)) {
    const std::string l = layout;
    return {name, std::string(op) == "Gauss", compTypeOf<T>(), l == "C1" ? 1 : (l == "C3" ? 3 : 4), int(sizeof(T)),
            l == "AC4", call};
}

const std::vector<RandCase>& cases() {
    static const std::vector<RandCase> all = [] {
        std::vector<RandCase> v;
#define ZKR_FN(name, form, T, L, op) \
    v.push_back(describe<T>(#name, #L, #op, [](const RandBag& b) { return ZKR_CALL(b, name, form, T); }));
#include "rand/rand.tbl"
#undef ZKR_FN
        return v;
    }();
    return all;
}

// One call on a copy of `img`; returns the image after it and the next seed.
template <class S>
std::pair<std::vector<S>, unsigned> callOn(const RandCase& c, const Plane<S>& img, float p1, float p2, unsigned seed) {
    Plane<S> work = img;
    RandBag b;
    b.pSrcDst = work.roi(), b.srcDstStep = work.stepBytes();
    b.roiSize = {img.width, img.height};
    b.low = b.mean = p1, b.high = b.stdDev = p2;
    b.pSeed = &seed;
    EXPECT_EQ(c.call(b), zkrStsNoErr);
    return {work.data, seed};
}

// The noise parameters of the checks: within every type's range, values that saturate at both ends
// of 8u and 16s.
template <class S> void checkCase(const RandCase& c) {
    std::mt19937 rng(5);
    const float p1 = c.gauss ? 3.0f : 2.0f, p2 = c.gauss ? 9.0f : 20.0f;
    Plane<S> img(kSplitSize.width, kSplitSize.height, c.channels, randomPadding(rng), rng);
    // Mid-range values in the first half of the rows; the random edges of the type in the rest.
    const S mid = std::is_floating_point_v<S> ? S(100) : S(std::numeric_limits<S>::max() / 2);
    for (int y = 0; y < img.height / 2; ++y)
        std::fill_n(img.roi() + std::size_t(y) * img.stride, img.rowComps(), mid);

    std::vector<S> first;
    unsigned nextSeed = 0;
    forEachLevel([&](const Level& level) {
        for (int threads : {1, 2}) {
            ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
            auto [out, seed] = callOn(c, img, p1, p2, 777);
            if (first.empty()) {
                first = out, nextSeed = seed;
                EXPECT_NE(seed, 777u) << "the seed advances";
            } else {
                ASSERT_TRUE(out == first) << "image differs at level " << level.name << ", " << threads << " threads";
                EXPECT_EQ(seed, nextSeed);
            }
        }
    });
    zkrSetNumThreads(1);
    // Padding and alpha untouched; the noise where nothing saturates.
    double sum = 0, sq = 0;
    long n = 0;
    for (std::size_t k = 0; k < first.size(); ++k) {
        const int i = int(k % std::size_t(img.stride)) - img.pad.left * c.channels;
        if (!img.insideRoi(k) || (c.alpha && i % 4 == 3)) {
            ASSERT_TRUE(sameBits(first[k], img.data[k])) << "written outside the ROI or to alpha at " << k;
            continue;
        }
        const int y = int(k / std::size_t(img.stride)) - img.pad.top;
        const double d = double(first[k]) - double(img.data[k]);
        if (y < img.height / 2) {
            if (!c.gauss) {
                ASSERT_TRUE(d >= p1 - 0.5 && d <= p2 + 0.5) << "noise " << d << " outside [low, high]";
            }
            sum += d, sq += d * d, ++n;
        } else if (!std::is_floating_point_v<S>) {
            // Saturated, never wrapped: the result is on the side of x the noise pushes it to, or at the
            // range's end.
            const double x = double(img.data[k]), r = double(first[k]);
            const double lo = double(std::numeric_limits<S>::lowest()), hi = double(std::numeric_limits<S>::max());
            const double wantLo = std::clamp(x + (c.gauss ? p1 - 7 * p2 : p1) - 0.5, lo, hi);
            const double wantHi = std::clamp(x + (c.gauss ? p1 + 7 * p2 : p2) + 0.5, lo, hi);
            ASSERT_TRUE(r >= wantLo && r <= wantHi) << x << " became " << r;
        }
    }
    const double mean = sum / n, sd = std::sqrt(sq / n - mean * mean);
    const double wantMean = c.gauss ? p1 : (p1 + p2) / 2, wantSd = c.gauss ? p2 : (p2 - p1) / std::sqrt(12.0);
    // Integer rounding adds a variance of 1/12.
    const double sdRound = std::is_floating_point_v<S> ? wantSd : std::sqrt(wantSd * wantSd + 1.0 / 12);
    EXPECT_NEAR(mean, wantMean, 0.05 * wantSd);
    EXPECT_NEAR(sd, sdRound, 0.03 * wantSd);
    // Another seed draws other noise.
    EXPECT_FALSE(callOn(c, img, p1, p2, 778).first == first);
}

// NULL pointers, then size, then step, then the noise parameters.
template <class S> void checkStatus(const RandCase& c) {
    std::vector<S> img(6 * 3 * c.channels);
    unsigned seed = 1;
    RandBag good;
    good.pSrcDst = img.data(), good.srcDstStep = 6 * c.channels * c.compBytes;
    good.roiSize = {6, 3};
    good.high = good.stdDev = 4;
    good.pSeed = &seed;
    ASSERT_EQ(c.call(good), zkrStsNoErr);
    RandBag x = good;
    x.pSrcDst = nullptr, x.roiSize = {0, 0};
    EXPECT_EQ(c.call(x), zkrStsNullPtrErr);
    x = good, x.pSeed = nullptr;
    EXPECT_EQ(c.call(x), zkrStsNullPtrErr);
    x = good, x.roiSize = {6, -3}, x.srcDstStep = 0;
    EXPECT_EQ(c.call(x), zkrStsSizeErr);
    for (int s : {0, good.srcDstStep - c.compBytes, c.compBytes > 1 ? good.srcDstStep + 1 : -1}) {
        x = good, x.srcDstStep = s, x.low = 9;
        EXPECT_EQ(c.call(x), zkrStsStepErr) << "step " << s;
    }
    const std::vector<S> before = img;
    const unsigned seedBefore = seed;
    // An unsigned deviation cannot be negative: those rows have no such error.
    if (c.gauss && std::is_unsigned_v<S>) return;
    x = good;
    if (c.gauss) {
        x.stdDev = -1;
        EXPECT_EQ(c.call(x), zkrStsBadArgErr);
    } else {
        x.low = 5, x.high = 4;
        EXPECT_EQ(c.call(x), zkrStsRangeErr);
    }
    EXPECT_TRUE(img == before) << "nothing written on error";
    EXPECT_EQ(seed, seedBefore) << "seed kept on error";
}

class RandFamily : public LibraryStateTest {};

TEST_F(RandFamily, SameSeedSameImageAndNoiseOfItsLaw) {
    forEachCase(cases(), [](const RandCase&) { return true; },
                [](const RandCase& c) { withCompType<Zkr8u, Zkr16u, Zkr16s, Zkr32f>(c.comp, [&]<class S>() { checkCase<S>(c); }); });
}

TEST_F(RandFamily, StatusCodes) {
    forEachCase(cases(), [](const RandCase&) { return true; },
                [](const RandCase& c) { withCompType<Zkr8u, Zkr16u, Zkr16s, Zkr32f>(c.comp, [&]<class S>() { checkStatus<S>(c); }); });
}

TEST(RandFamilyTable, SixteenOfEach) {
    const auto g = std::count_if(cases().begin(), cases().end(), [](const RandCase& c) { return c.gauss; });
    EXPECT_EQ(g, 16);
    EXPECT_EQ(cases().size(), 32u);
}

}  // namespace
}  // namespace zkrtest
