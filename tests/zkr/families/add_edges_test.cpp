// Hand-computed results at the edges of the arithmetic: ties of the rounding,
// saturation at both ends, scale factors at and past the type widths, the
// operand order of Sub/SubC, the untouched alpha of AC4, and Complement.
// Each case runs on every dispatch level and on a row long enough to take
// the vector path as well as the tail; one test walks every row length
// around the vector blocks.
#include "test_support.h"
#define ZKR_TABLE "add/add.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

constexpr int kRow = 67;  // one vector body per level plus a scalar tail
const ZkriSize kRoi{kRow, 1};

// a (op) b with scale factor sf, expected result.
template <class T> struct Edge {
    T a, b;
    int sf;
    T want;
};

// Runs f(a-row, b-row, dst-row, sf) on rows filled with one edge case.
template <class T, class F> void checkEdges(const char* what, std::initializer_list<Edge<T>> edges, F f) {
    forEachLevel([&](const Level&) {
        for (const Edge<T>& e : edges) {
            std::vector<T> a(kRow, e.a), b(kRow, e.b), d(kRow, T(0));
            ASSERT_EQ(f(a.data(), b.data(), d.data(), e.sf), zkrStsNoErr);
            for (int i = 0; i < kRow; ++i)
                ASSERT_TRUE(sameBits(d[i], e.want)) << what << " = " << +d[i] << ", want " << +e.want << ": "
                                                     << "(" << +e.a << ", " << +e.b << ") sf " << e.sf << " at " << i;
        }
    });
}

class ArithmeticEdges : public LibraryStateTest {};

TEST_F(ArithmeticEdges, Add8uRoundsHalfToEvenAndSaturates) {
    checkEdges<Zkr8u>("Add_8u",
                      {{1, 2, 1, 2},        // 1.5 -> 2
                       {2, 3, 1, 2},        // 2.5 -> 2
                       {3, 4, 1, 4},        // 3.5 -> 4
                       {1, 0, 1, 0},        // 0.5 -> 0
                       {3, 0, 1, 2},        // 1.5 -> 2
                       {5, 0, 2, 1},        // 1.25 -> 1
                       {6, 0, 2, 2},        // 1.5 -> 2
                       {255, 255, 0, 255},  // saturates
                       {255, 255, 1, 255},
                       {255, 255, 2, 128},  // 127.5 -> 128
                       {255, 255, 9, 1},    // 510/512 -> 1
                       {255, 1, 9, 0},      // 256/512 = 0.5 -> 0
                       {255, 255, 10, 0},   // beyond the range: all zero
                       {255, 255, INT_MAX, 0},
                       {100, 27, -1, 254},
                       {100, 28, -1, 255},  // 256 saturates
                       {1, 0, -7, 128},
                       {1, 0, -8, 255},
                       {0, 0, INT_MIN, 0},
                       {1, 0, INT_MIN, 255}},
                      [](const Zkr8u* a, const Zkr8u* b, Zkr8u* d, int sf) {
                          return zkriAdd_8u_C1RSfs(a, kRow, b, kRow, d, kRow, kRoi, sf);
                      });
}

TEST_F(ArithmeticEdges, Sub8uIsSecondMinusFirstAndClampsAtZero) {
    checkEdges<Zkr8u>("Sub_8u",
                      {{3, 5, 0, 2}, {5, 3, 0, 0}, {0, 255, 0, 255}, {255, 0, 0, 0}, {2, 7, 1, 2}, {0, 255, 8, 1}},
                      [](const Zkr8u* a, const Zkr8u* b, Zkr8u* d, int sf) {
                          return zkriSub_8u_C1RSfs(a, kRow, b, kRow, d, kRow, kRoi, sf);
                      });
}

TEST_F(ArithmeticEdges, Add16uEdges) {
    checkEdges<Zkr16u>("Add_16u",
                       {{65535, 65535, 0, 65535},
                        {65535, 65535, 1, 65535},
                        {65535, 1, 1, 32768},
                        {65535, 65535, 2, 32768},  // 32767.5 -> 32768
                        {1, 2, 1, 2},
                        {65535, 65535, 17, 1},   // 131070/131072 -> 1
                        {65535, 1, 17, 0},       // exactly 0.5 -> 0
                        {65535, 65535, 18, 0},
                        {1, 0, -15, 32768},
                        {1, 0, -16, 65535},
                        {0, 0, -16, 0}},
                       [](const Zkr16u* a, const Zkr16u* b, Zkr16u* d, int sf) {
                           return zkriAdd_16u_C1RSfs(a, kRow * 2, b, kRow * 2, d, kRow * 2, kRoi, sf);
                       });
}

TEST_F(ArithmeticEdges, Sub16sSaturatesAtBothEnds) {
    checkEdges<Zkr16s>("Sub_16s",
                       {{32767, -32768, 0, -32768},   // -65535
                        {-32768, 0, 0, 32767},        // 0 - (-32768) = 32768
                        {-32768, 32767, 0, 32767},
                        {-32768, 32767, 1, 32767},    // 65535 / 2 = 32767.5 -> 32768 -> saturates
                        {32767, -32768, 1, -32768},   // -32767.5 -> -32768
                        {1, -2, 1, -2},               // -1.5 -> -2
                        {1, 0, 1, 0},                 // -0.5 -> 0
                        {5, 0, 1, -2},                // -2.5 -> -2
                        {7, 0, 1, -4},                // -3.5 -> -4
                        {32767, -32768, 17, 0},       // -65535 / 131072 -> 0
                        {-32768, 32767, 16, 1},       // 65535 / 65536 -> 1
                        {0, -1, -15, -32768},
                        {0, 1, -15, 32767},
                        {0, -1, -14, -16384},
                        {0, -1, INT_MIN, -32768}},
                       [](const Zkr16s* a, const Zkr16s* b, Zkr16s* d, int sf) {
                           return zkriSub_16s_C1RSfs(a, kRow * 2, b, kRow * 2, d, kRow * 2, kRoi, sf);
                       });
}

TEST_F(ArithmeticEdges, Add16sMinimumSums) {
    checkEdges<Zkr16s>("Add_16s",
                       {{-32768, -32768, 0, -32768},
                        {-32768, -32768, 1, -32768},
                        {-32768, -32768, 2, -16384},
                        {-32768, -32768, 17, 0},  // -0.5 -> 0
                        {-32768, -32767, 16, -1}, // -65535 / 65536 -> -1
                        {32767, 32767, 0, 32767}},
                       [](const Zkr16s* a, const Zkr16s* b, Zkr16s* d, int sf) {
                           return zkriAdd_16s_C1RSfs(a, kRow * 2, b, kRow * 2, d, kRow * 2, kRoi, sf);
                       });
}

TEST_F(ArithmeticEdges, Add32scScalesBothComponentsIn64Bits) {
    const Zkr32s mx = INT32_MAX, mn = INT32_MIN;
    struct Case {
        Zkr32sc a, b;
        int sf;
        Zkr32sc want;
    };
    const Case cases[] = {
        {{mx, mn}, {mx, mn}, 0, {mx, mn}},
        {{mx, mn}, {mx, mn}, 1, {mx, mn}},          // exact halves of the 33-bit sums
        {{mx, mn}, {mx, mn}, 32, {1, -1}},          // (2^32 - 2) / 2^32, -2^32 / 2^32
        {{mx, mn}, {mx, mn}, 33, {0, 0}},           // 0.49999..., -0.5 -> 0
        {{mx, 0}, {1, 0}, 32, {0, 0}},              // exactly 0.5 -> 0
        {{3, -3}, {0, 0}, 1, {2, -2}},              // 1.5 -> 2, -1.5 -> -2
        {{1, -1}, {0, 0}, -31, {mx, mn}},
        {{1, -1}, {0, 0}, -30, {1 << 30, -(1 << 30)}},
    };
    forEachLevel([&](const Level&) {
        for (const Case& c : cases) {
            std::vector<Zkr32sc> a(kRow, c.a), b(kRow, c.b), d(kRow);
            const int step = kRow * int(sizeof(Zkr32sc));
            ASSERT_EQ(zkriAdd_32sc_C1RSfs(a.data(), step, b.data(), step, d.data(), step, kRoi, c.sf), zkrStsNoErr);
            for (const Zkr32sc& r : d) {
                ASSERT_EQ(r.re, c.want.re) << "sf " << c.sf;
                ASSERT_EQ(r.im, c.want.im) << "sf " << c.sf;
            }
        }
    });
}

TEST_F(ArithmeticEdges, SubCIsSourceMinusValue) {
    forEachLevel([&](const Level&) {
        std::vector<Zkr16s> src(kRow, 100), dst(kRow);
        ASSERT_EQ(zkriSubC_16s_C1RSfs(src.data(), kRow * 2, Zkr16s(30), dst.data(), kRow * 2, kRoi, 0), zkrStsNoErr);
        EXPECT_EQ(dst, std::vector<Zkr16s>(kRow, 70));
        ASSERT_EQ(zkriSubC_16s_C1IRSfs(Zkr16s(-32768), src.data(), kRow * 2, kRoi, 0), zkrStsNoErr);
        EXPECT_EQ(src, std::vector<Zkr16s>(kRow, 32767));  // 100 + 32768 saturates
    });
}

TEST_F(ArithmeticEdges, FloatIsPlainIeeeArithmetic) {
    const float inf = std::numeric_limits<float>::infinity();
    checkEdges<Zkr32f>("Add_32f",
                       {{0.1f, 0.2f, 0, 0.1f + 0.2f}, {3.0e38f, 3.0e38f, 0, inf}, {-0.0f, -0.0f, 0, -0.0f},
                        {1.0f, -1.0f, 0, 0.0f},
                        {std::numeric_limits<float>::denorm_min(), std::numeric_limits<float>::denorm_min(), 0,
                         2 * std::numeric_limits<float>::denorm_min()}},
                       [](const Zkr32f* a, const Zkr32f* b, Zkr32f* d, int) {
                           return zkriAdd_32f_C1R(a, kRow * 4, b, kRow * 4, d, kRow * 4, kRoi);
                       });
    checkEdges<Zkr32f>("Sub_32f", {{1.0f, 0.25f, 0, -0.75f}, {inf, inf, 0, std::nanf("")}},
                       [](const Zkr32f* a, const Zkr32f* b, Zkr32f* d, int) {
                           const ZkrStatus sts = zkriSub_32f_C1R(a, kRow * 4, b, kRow * 4, d, kRow * 4, kRoi);
                           for (int i = 0; i < kRow; ++i)  // NaN != NaN: compare the class instead
                               if (std::isnan(d[i])) d[i] = std::nanf("");
                           return sts;
                       });
}

TEST_F(ArithmeticEdges, Ac4LeavesDestinationAlphaAlone) {
    forEachLevel([&](const Level&) {
        const int w = 130, step = w * 4;
        std::vector<Zkr8u> src(std::size_t(step), 200), dst(static_cast<std::size_t>(step));
        for (int i = 0; i < step; ++i) dst[std::size_t(i)] = Zkr8u(i % 4 == 3 ? 77 : 1);
        const Zkr8u value[3] = {10, 20, 100};
        ASSERT_EQ(zkriAddC_8u_AC4RSfs(src.data(), step, value, dst.data(), step, {w, 1}, 0), zkrStsNoErr);
        for (int x = 0; x < w; ++x) {
            EXPECT_EQ(dst[std::size_t(4 * x)], 210);
            EXPECT_EQ(dst[std::size_t(4 * x + 1)], 220);
            EXPECT_EQ(dst[std::size_t(4 * x + 2)], 255);
            ASSERT_EQ(dst[std::size_t(4 * x + 3)], 77) << "alpha of pixel " << x;
        }
    });
}

TEST_F(ArithmeticEdges, ComplementConvertsOnesComplementCodes) {
    const Zkr32s in[] = {0, 5, INT32_MAX, -1, -2, INT32_MIN, -100};
    const Zkr32s want[] = {0, 5, INT32_MAX, 0, -1, INT32_MIN + 1, -99};
    forEachLevel([&](const Level&) {
        for (std::size_t k = 0; k < std::size(in); ++k) {
            std::vector<Zkr32s> v(kRow, in[k]);
            ASSERT_EQ(zkriComplement_32s_C1IR(v.data(), kRow * 4, kRoi), zkrStsNoErr);
            EXPECT_EQ(v, std::vector<Zkr32s>(kRow, want[k])) << "code " << in[k];
        }
    });
}

// Every row length from 1 to past five vectors of the widest level (64 bytes):
// the unrolled four-vector body, the one-vector loop and each tail length
// (masked with AVX-512, scalar below), on one row whose buffer runs on past
// the ROI to catch writes beyond it. want(a, b, before) is the element
// expected from the sources and the destination before the call.
template <class S, class Call, class Want> void checkRowLengths(const char* what, Call call, Want want) {
    constexpr int kLongest = 5 * 64 / int(sizeof(S)) + 1, kGuard = 64;
    std::mt19937 rng(5);
    for (int n = 1; n <= kLongest; ++n) {
        const std::size_t len = std::size_t(n);
        std::vector<S> a(len), b(len), d(len + kGuard);
        fillRandom(a, rng);
        fillRandom(b, rng);
        fillRandom(d, rng);
        const std::vector<S> before = d;
        ASSERT_EQ(call(a.data(), b.data(), d.data(), n), zkrStsNoErr) << what << " length " << n;
        for (int i = 0; i < n; ++i) {
            const S w = want(a[std::size_t(i)], b[std::size_t(i)], before[std::size_t(i)]);
            ASSERT_TRUE(sameBits(d[std::size_t(i)], w)) << what << " length " << n << " at " << i << ": got "
                                                         << +d[std::size_t(i)] << ", want " << +w;
        }
        for (int i = n; i < n + kGuard; ++i)
            ASSERT_TRUE(sameBits(d[std::size_t(i)], before[std::size_t(i)])) << what << " length " << n
                                                                              << " wrote past the row at " << i;
    }
}

TEST_F(ArithmeticEdges, EveryRowLengthAroundTheVectorBlocks) {
    forEachLevel([&](const Level&) {
        checkRowLengths<Zkr8u>(
            "Add_8u", [](const Zkr8u* a, const Zkr8u* b, Zkr8u* d, int n) {
                return zkriAdd_8u_C1RSfs(a, n, b, n, d, n, {n, 1}, 0);
            },
            [](Zkr8u a, Zkr8u b, Zkr8u) { return refCombine<Zkr8u>(a, b, true, 0); });
        checkRowLengths<Zkr16s>(
            "Sub_16s", [](const Zkr16s* a, const Zkr16s* b, Zkr16s* d, int n) {
                return zkriSub_16s_C1RSfs(a, 2 * n, b, 2 * n, d, 2 * n, {n, 1}, 0);
            },
            [](Zkr16s a, Zkr16s b, Zkr16s) { return refCombine<Zkr16s>(b, a, false, 0); });
        checkRowLengths<Zkr16u>(
            "Sub_16u in place", [](const Zkr16u* a, const Zkr16u*, Zkr16u* d, int n) {
                return zkriSub_16u_C1IRSfs(a, 2 * n, d, 2 * n, {n, 1}, 0);
            },
            [](Zkr16u a, Zkr16u, Zkr16u before) { return refCombine<Zkr16u>(before, a, false, 0); });
        // The constants: the value 200 with sources near both ends of the range.
        checkRowLengths<Zkr8u>(
            "SubC_8u", [](const Zkr8u*, const Zkr8u* b, Zkr8u* d, int n) {
                return zkriSubC_8u_C1RSfs(b, n, Zkr8u(200), d, n, {n, 1}, 0);
            },
            [](Zkr8u, Zkr8u b, Zkr8u) { return refCombine<Zkr8u>(b, 200, false, 0); });
        checkRowLengths<Zkr16s>(
            "AddC_16s in place", [](const Zkr16s*, const Zkr16s*, Zkr16s* d, int n) {
                return zkriAddC_16s_C1IRSfs(Zkr16s(-20000), d, 2 * n, {n, 1}, 0);
            },
            [](Zkr16s, Zkr16s, Zkr16s before) { return refCombine<Zkr16s>(before, -20000, true, 0); });
        checkRowLengths<Zkr32f>(
            "Sub_32f", [](const Zkr32f* a, const Zkr32f* b, Zkr32f* d, int n) {
                return zkriSub_32f_C1R(a, 4 * n, b, 4 * n, d, 4 * n, {n, 1});
            },
            [](Zkr32f a, Zkr32f b, Zkr32f) { return refCombine<Zkr32f>(b, a, false, 0); });
        checkRowLengths<Zkr32f>(
            "AddC_32f in place", [](const Zkr32f*, const Zkr32f*, Zkr32f* d, int n) {
                return zkriAddC_32f_C1IR(0.375f, d, 4 * n, {n, 1});
            },
            [](Zkr32f, Zkr32f, Zkr32f before) { return refCombine<Zkr32f>(before, 0.375f, true, 0); });
    });
}

}  // namespace
}  // namespace zkrtest
