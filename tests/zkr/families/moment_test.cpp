// The Moment family against moments summed directly (long double, or 128-bit integers for the exact
// states), driven by its table: every function on every dispatch level, rows across the integer
// segments, thread splits (the same bits), central moments, the states and getters' errors.
#include <cmath>

#include "family_support.h"
#include "test_support.h"

#define ZKR_TABLE "moment/moment.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

struct MomentBag : Bag {
    void* pState = nullptr;
};

struct MomentCase {
    std::string name;
    bool exact;
    CompType comp;
    int channels, active;
    ZkrStatus (*call)(const MomentBag&);
};

template <class T, class St> MomentCase describe(const char* name, const char* layout, ZkrStatus (*call)(const MomentBag&)) {
    const std::string l = layout;
    return {name, std::is_same_v<St, ZkriMomentState_64s>, compTypeOf<T>(), l == "C1" ? 1 : (l == "C3" ? 3 : 4),
            l == "C1" ? 1 : 3, call};
}

const std::vector<MomentCase>& cases() {
    static const std::vector<MomentCase> all = [] {
        std::vector<MomentCase> v;
#define ZKR_FN(name, form, T, S, L) \
    v.push_back(describe<T, S>(#name, #L, [](const MomentBag& b) { return ZKR_CALL(b, name, form, T, S); }));
#define ZKR_FN_AUX(...)
#include "moment/moment.tbl"
#undef ZKR_FN
#undef ZKR_FN_AUX
        return v;
    }();
    return all;
}

// The ten moments of every channel, read through the getters of the case's state kind.
struct Moments {
    long double m[4][4][3] = {};
};

template <class S> Moments direct(const MomentCase& c, const Plane<S>& img) {
    Moments r;
    for (int y = 0; y < img.height; ++y)
        for (int x = 0; x < img.width; ++x)
            for (int k = 0; k < c.active; ++k) {
                const long double v = img.at(y, x * c.channels + k);
                for (int p = 0; p < 4; ++p)
                    for (int q = 0; p + q < 4; ++q) r.m[p][q][k] += std::pow((long double)x, p) * std::pow((long double)y, q) * v;
            }
    return r;
}

// Runs the case into a new state and reads every moment back.
template <class S> Moments measure(const MomentCase& c, const Plane<S>& img) {
    Moments r;
    MomentBag b;
    b.pSrc = img.roi(), b.srcStep = img.stepBytes();
    b.roiSize = {img.width, img.height};
    if (c.exact) {
        ZkriMomentState_64s* st = nullptr;
        EXPECT_EQ(zkriMomentInitAlloc_64s(&st, zkrAlgHintNone), zkrStsNoErr);
        b.pState = st;
        EXPECT_EQ(c.call(b), zkrStsNoErr);
        for (int p = 0; p < 4; ++p)
            for (int q = 0; p + q < 4; ++q)
                for (int k = 0; k < c.active; ++k) {
                    Zkr64s v = 0;
                    EXPECT_EQ(zkriGetSpatialMoment_64s(st, p, q, k, &v), zkrStsNoErr);
                    r.m[p][q][k] = v;
                }
        EXPECT_EQ(zkriMomentFree_64s(st), zkrStsNoErr);
    } else {
        ZkriMomentState_64f* st = nullptr;
        EXPECT_EQ(zkriMomentInitAlloc_64f(&st, zkrAlgHintFast), zkrStsNoErr);
        b.pState = st;
        EXPECT_EQ(c.call(b), zkrStsNoErr);
        for (int p = 0; p < 4; ++p)
            for (int q = 0; p + q < 4; ++q)
                for (int k = 0; k < c.active; ++k) {
                    Zkr64f v = 0;
                    EXPECT_EQ(zkriGetSpatialMoment_64f(st, p, q, k, &v), zkrStsNoErr);
                    r.m[p][q][k] = v;
                }
        EXPECT_EQ(zkriMomentFree_64f(st), zkrStsNoErr);
    }
    return r;
}

template <class S> void checkCase(const MomentCase& c) {
    std::mt19937 rng(61);
    // Float values of moderate size: the double sums' bound stays meaningful.
    auto fill = [](Plane<S>& p, std::mt19937& gen) {
        if constexpr (std::is_floating_point_v<S>)
            for (S& v : p.data) v = std::uniform_real_distribution<S>(-100.0f, 100.0f)(gen);
    };
    Moments first;
    forEachLevel([&](const Level& level) {
        // 1x1, odd sizes in padding, a row across two integer segments.
        for (ZkriSize g : {ZkriSize{1, 1}, ZkriSize{13, 7}, ZkriSize{1500, 2}}) {
            SCOPED_TRACE(testing::Message() << g.width << "x" << g.height);
            Plane<S> img(g.width, g.height, c.channels, randomPadding(rng), rng);
            fill(img, rng);
            const Moments got = measure(c, img), want = direct(c, img);
            for (int p = 0; p < 4; ++p)
                for (int q = 0; p + q < 4; ++q)
                    for (int k = 0; k < c.active; ++k) {
                        if (c.exact) {
                            ASSERT_EQ(got.m[p][q][k], want.m[p][q][k]) << "m" << p << q << " channel " << k;
                        } else {
                            // The magnitude's bound: the same sum over |v|.
                            const long double tol = 1e-13L * std::fabs(want.m[p][q][k]) + 1e-12L * std::pow((long double)g.width, p) * std::pow((long double)g.height, q + 1) * g.width * 65535;
                            ASSERT_NEAR(double(got.m[p][q][k]), double(want.m[p][q][k]), double(tol)) << "m" << p << q << " channel " << k;
                        }
                    }
        }
        // Thread splits and levels give the same bits.
        Plane<S> big(kSplitSize.width, kSplitSize.height, c.channels, Padding{}, rng);
        std::mt19937 fixed(3);  // the same image on every level
        for (S& v : big.data) v = randomComponent<S>(fixed);
        fill(big, fixed);
        for (int threads : {1, 2, 3}) {
            ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
            const Moments m = measure(c, big);
            if (level.level == machineLevels().front().level && threads == 1) first = m;
            else ASSERT_EQ(std::memcmp(&m, &first, sizeof m), 0) << threads << " threads, level " << level.name;
        }
        zkrSetNumThreads(1);
    });
}

class MomentFamily : public LibraryStateTest {};

TEST_F(MomentFamily, MatchesDirectSumsOnEveryLevelAndThreadCount) {
    forEachCase(cases(), [](const MomentCase&) { return true; },
                [](const MomentCase& c) { withCompType<Zkr8u, Zkr16u, Zkr32f>(c.comp, [&]<class S>() { checkCase<S>(c); }); });
    EXPECT_EQ(cases().size(), 15u);
}

// Central moments about the centroid against their definition, on a small 8u image.
TEST_F(MomentFamily, CentralMomentsAboutTheCentroid) {
    const Zkr8u img[] = {0, 5, 9, 1, 7, 3, 2, 8, 0, 4, 6, 1};  // 4 x 3
    ZkriMomentState_64f* st = nullptr;
    ASSERT_EQ(zkriMomentInitAlloc_64f(&st, zkrAlgHintNone), zkrStsNoErr);
    ASSERT_EQ(zkriMoments64f_8u_C1R(img, 4, {4, 3}, st), zkrStsNoErr);
    long double n = 0, sx = 0, sy = 0;
    for (int i = 0; i < 12; ++i) n += img[i], sx += (i % 4) * img[i], sy += (i / 4) * img[i];
    const long double xc = sx / n, yc = sy / n;
    for (int p = 0; p < 4; ++p)
        for (int q = 0; p + q < 4; ++q) {
            long double want = 0;
            for (int i = 0; i < 12; ++i) want += std::pow((i % 4) - xc, p) * std::pow((i / 4) - yc, q) * img[i];
            Zkr64f got = 0;
            ASSERT_EQ(zkriGetCentralMoment_64f(st, p, q, 0, &got), zkrStsNoErr);
            EXPECT_NEAR(got, double(want), 1e-9) << "mu" << p << q;
        }
    ASSERT_EQ(zkriMomentFree_64f(st), zkrStsNoErr);
}

// Argument errors of the functions, the getters and the states.
TEST_F(MomentFamily, StatusCodes) {
    const Zkr8u img[16] = {};
    ZkriMomentState_64f* f = nullptr;
    ZkriMomentState_64s* s = nullptr;
    ASSERT_EQ(zkriMomentInitAlloc_64f(&f, zkrAlgHintNone), zkrStsNoErr);
    ASSERT_EQ(zkriMomentInitAlloc_64s(&s, zkrAlgHintNone), zkrStsNoErr);
    EXPECT_EQ(zkriMomentInitAlloc_64f(nullptr, zkrAlgHintNone), zkrStsNullPtrErr);
    EXPECT_EQ(zkriMoments64f_8u_C1R(nullptr, 4, {4, 4}, f), zkrStsNullPtrErr);
    EXPECT_EQ(zkriMoments64f_8u_C1R(img, 4, {4, 4}, nullptr), zkrStsNullPtrErr);
    EXPECT_EQ(zkriMoments64f_8u_C1R(img, 0, {0, 4}, f), zkrStsSizeErr);
    EXPECT_EQ(zkriMoments64f_8u_C1R(img, 3, {4, 4}, f), zkrStsStepErr);
    EXPECT_EQ(zkriMoments64f_8u_C1R(img, 4, {4, 4}, reinterpret_cast<ZkriMomentState_64f*>(s)), zkrStsContextMatchErr);
    Zkr64f v = 0;
    Zkr64s w = 0;
    EXPECT_EQ(zkriGetSpatialMoment_64f(f, 2, 2, 0, &v), zkrStsSizeErr);
    EXPECT_EQ(zkriGetSpatialMoment_64f(f, -1, 0, 0, &v), zkrStsSizeErr);
    EXPECT_EQ(zkriGetCentralMoment_64f(f, 1, 1, 3, &v), zkrStsBadArgErr);
    EXPECT_EQ(zkriGetSpatialMoment_64s(s, 0, 0, 0, nullptr), zkrStsNullPtrErr);
    EXPECT_EQ(zkriGetSpatialMoment_64s(reinterpret_cast<ZkriMomentState_64s*>(f), 0, 0, 0, &w), zkrStsContextMatchErr);
    EXPECT_EQ(zkriMomentFree_64s(reinterpret_cast<ZkriMomentState_64s*>(f)), zkrStsContextMatchErr);
    EXPECT_EQ(zkriMomentFree_64f(nullptr), zkrStsNoErr);
    EXPECT_EQ(zkriMomentFree_64f(f), zkrStsNoErr);
    EXPECT_EQ(zkriMomentFree_64s(s), zkrStsNoErr);
}

}  // namespace
}  // namespace zkrtest
