// The Bilateral family against its definition (weights of every neighbour from one exponential in
// long double), driven by its table: on every dispatch level, ROIs inside padded images whose
// border supplies the neighbourhood, radii 1 to 5, narrow and wide sigmas (a flat and a sharp edge
// response), thread splits and every argument error.
#include <algorithm>
#include <cmath>

#include "family_support.h"
#include "test_support.h"

#define ZKR_TABLE "bilateral/bilateral.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

struct BilateralBag : Bag {
    ZkriSize dstRoiSize{0, 0};
    int radius = 0;
    float valSquareSigma = 0, posSquareSigma = 0;
};

struct Params {
    int radius;
    float val, pos;
};

struct FamilyCase {
    std::string name;
    ZkrStatus (*call)(const Zkr8u*, int, Zkr8u*, int, ZkriSize, Params);
};

std::vector<FamilyCase> expandTable() {
    std::vector<FamilyCase> cases;
#define ZKR_FN(name, form, T, L)                                                                              \
    cases.push_back(FamilyCase{#name, [](const Zkr8u* s, int ss, Zkr8u* d, int ds, ZkriSize roi, Params p) { \
                                   BilateralBag b;                                                            \
                                   b.pSrc = s;                                                                \
                                   b.srcStep = ss;                                                            \
                                   b.pDst = d;                                                                \
                                   b.dstStep = ds;                                                            \
                                   b.dstRoiSize = roi;                                                        \
                                   b.radius = p.radius;                                                       \
                                   b.valSquareSigma = p.val;                                                  \
                                   b.posSquareSigma = p.pos;                                                  \
                                   return ZKR_CALL(b, name, form, T);                                         \
                               }});
#include "bilateral/bilateral.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<FamilyCase>& familyCases() {
    static const std::vector<FamilyCase> cases = expandTable();
    return cases;
}

struct Image {
    Plane<Zkr8u> src, dst;
    int r;
    Image(int w, int h, int radius, std::mt19937& rng)
        : src(w, h, 1, Padding{radius, radius, radius, radius, 2}, rng), dst(w, h, 1, randomPadding(rng), rng),
          r(radius) {
        // Flat patches beside random values: edges the range weights must keep.
        for (std::size_t k = 0; k < src.data.size(); ++k)
            if ((k / 7) % 3 == 0) src.data[k] = Zkr8u(40 + 160 * ((k / 21) % 2));
    }

    long double want(int x, int y, Params p) const {
        const long double c = src.at(y, x);
        long double num = 0, den = 0;
        for (int dy = -r; dy <= r; ++dy)
            for (int dx = -r; dx <= r; ++dx) {
                const long double q = src.at(y + dy, x + dx);
                const long double w =
                    std::exp(-(dx * dx + dy * dy) / (2.0L * p.pos) - (q - c) * (q - c) / (2.0L * p.val));
                num += w * q;
                den += w;
            }
        return num / den;
    }

    void check(const FamilyCase& fc, Params p) {
        const Plane<Zkr8u> before = dst;
        ASSERT_EQ(fc.call(src.roi(), src.stepBytes(), dst.roi(), dst.stepBytes(), {src.width, src.height}, p),
                  zkrStsNoErr);
        for (std::size_t k = 0; k < dst.data.size(); ++k)
            if (!dst.insideRoi(k)) {
                ASSERT_EQ(dst.data[k], before.data[k]) << "write outside the ROI at " << k;
            }
        int bad = 0;
        for (int y = 0; y < src.height && bad < 5; ++y)
            for (int x = 0; x < src.width && bad < 5; ++x) {
                const long double w = want(x, y, p);
                const int got = dst.at(y, x);
                // Single-precision sums: exact but within 1e-4 of a half.
                const bool ok = got == int(std::nearbyint(w)) ||
                                (std::fabs(w - std::floor(w) - 0.5L) < 1e-4L && std::fabs(got - w) < 0.51L);
                if (!ok) {
                    ADD_FAILURE() << "pixel (" << x << "," << y << "): got " << got << ", want " << double(w);
                    ++bad;
                }
            }
    }
};

class BilateralFamily : public LibraryStateTest {};

TEST_F(BilateralFamily, MatchesDefinitionOnEveryLevel) {
    forEachCase(familyCases(), [](const FamilyCase&) { return true; }, [](const FamilyCase& fc) {
        std::mt19937 rng(9);
        forEachLevel([&](const Level&) {
            for (Params p : {Params{1, 400.0f, 4.0f}, Params{2, 30.0f, 1.0f}, Params{5, 1.0e6f, 1.0e6f},
                             Params{3, 0.5f, 0.5f}})
                for (ZkriSize size : {ZkriSize{1, 1}, ZkriSize{17, 5}, ZkriSize{70, 3}}) {
                    SCOPED_TRACE(testing::Message() << size.width << "x" << size.height << " radius " << p.radius
                                                    << " sigmas " << p.val << "," << p.pos);
                    Image im(size.width, size.height, p.radius, rng);
                    im.check(fc, p);
                    if (testing::Test::HasFailure()) return;
                }
        });
    });
}

TEST_F(BilateralFamily, ThreadSplitsMatchSingleThread) {
    const FamilyCase& fc = familyCases().front();
    std::mt19937 rng(2);
    const Image original(kSplitSize.width / 4, kSplitSize.height, 2, rng);
    std::vector<Zkr8u> single;
    for (int threads : {1, 2, 3}) {
        ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
        Image im = original;
        ASSERT_EQ(fc.call(im.src.roi(), im.src.stepBytes(), im.dst.roi(), im.dst.stepBytes(),
                          {im.src.width, im.src.height}, {2, 400.0f, 4.0f}),
                  zkrStsNoErr);
        if (threads == 1) single = im.dst.data;
        else EXPECT_EQ(im.dst.data, single) << threads << " threads";
    }
}

TEST_F(BilateralFamily, StatusCodes) {
    const FamilyCase& fc = familyCases().front();
    std::mt19937 rng(1);
    Image im(6, 3, 2, rng);
    const std::vector<Zkr8u> before = im.dst.data;
    const Params good{2, 10.0f, 10.0f};
    struct Row {
        bool nullSrc, nullDst;
        ZkriSize roi;
        int srcStep;
        Params p;
        ZkrStatus want;
    };
    const int s = im.src.stepBytes();
    const Row rows[] = {{true, false, {6, 3}, s, {0, 0, 0}, zkrStsNullPtrErr},
                        {false, true, {6, 3}, s, good, zkrStsNullPtrErr},
                        {false, false, {0, 3}, 0, good, zkrStsSizeErr},
                        {false, false, {6, 3}, 5, {0, 1, 1}, zkrStsStepErr},
                        {false, false, {6, 3}, s, {0, 1, 1}, zkrStsMaskSizeErr},
                        {false, false, {6, 3}, s, {65, 1, 1}, zkrStsMaskSizeErr},
                        {false, false, {6, 3}, s, {2, 0, 1}, zkrStsBadArgErr},
                        {false, false, {6, 3}, s, {2, 1, -1}, zkrStsBadArgErr},
                        {false, false, {6, 3}, s, {2, NAN, 1}, zkrStsBadArgErr},
                        {false, false, {6, 3}, s, {2, 1, INFINITY}, zkrStsBadArgErr}};
    for (const Row& r : rows) {
        EXPECT_EQ(fc.call(r.nullSrc ? nullptr : im.src.roi(), r.srcStep, r.nullDst ? nullptr : im.dst.roi(),
                          im.dst.stepBytes(), r.roi, r.p),
                  r.want)
            << "radius " << r.p.radius << " sigmas " << r.p.val << "," << r.p.pos;
    }
    EXPECT_EQ(im.dst.data, before) << "destination written on error";
    EXPECT_EQ(familyCases().size(), 1u);
}

}  // namespace
}  // namespace zkrtest
