// The Sum family against reference reductions, driven by its table: every
// function on every dispatch level, ROIs inside padded images, both float
// algorithms, sums beyond 32-bit accumulators, ties of the index forms,
// thread splits, and every argument error.
#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <type_traits>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "sum/sum.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "sum/hint.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

enum class Op { Sum, Mean, Min, Max, MinMax, MinIndx, MaxIndx, QualityIndex };

// The outputs of every form, one value per channel; extremes as double (every
// source type converts to it exactly).
struct Outputs {
    Zkr64f sum[4] = {}, mean[4] = {};
    alignas(8) unsigned char min[32] = {}, max[32] = {};
    int indexX[4] = {-7, -7, -7, -7}, indexY[4] = {-7, -7, -7, -7};
    Zkr32f quality[4] = {};
};

struct SumBag : Bag {
    void *pSum = nullptr, *pMean = nullptr, *pMin = nullptr, *pMax = nullptr;
    void *pIndexX = nullptr, *pIndexY = nullptr, *pQuality = nullptr;
    ZkrHintAlgorithm hint = zkrAlgHintNone;
};

struct CallArgs {
    const void* src = nullptr;
    int srcStep = 0;
    const void* src2 = nullptr;
    int src2Step = 0;
    ZkriSize roi{0, 0};
    ZkrHintAlgorithm hint = zkrAlgHintNone;
    Outputs* out = nullptr;
    // Output pointers, null to test the checks.
    bool nullOut[7] = {};

    SumBag bag() const {
        SumBag b;
        b.pSrc = b.pSrc1 = src;
        b.srcStep = b.src1Step = srcStep;
        b.pSrc2 = src2;
        b.src2Step = src2Step;
        b.roiSize = roi;
        b.hint = hint;
        void* ptrs[7] = {out->sum, out->mean, out->min, out->max, out->indexX, out->indexY, out->quality};
        for (int k = 0; k < 7; ++k)
            if (nullOut[k]) ptrs[k] = nullptr;
        b.pSum = ptrs[0], b.pMean = ptrs[1], b.pMin = ptrs[2], b.pMax = ptrs[3];
        b.pIndexX = ptrs[4], b.pIndexY = ptrs[5], b.pQuality = ptrs[6];
        return b;
    }
};

struct FamilyCase {
    std::string name, form;
    Op op;
    int channels;  // in memory
    int active;    // computed (AC4: 3)
    bool hasHint;
    CompType comp;
    int compBytes;
    ZkrStatus (*call)(const CallArgs&);
    int pixelBytes() const { return channels * compBytes; }
};

Op opOf(const std::string& o) {
    static const std::map<std::string, Op> ops = {{"Sum", Op::Sum},         {"Mean", Op::Mean},
                                                  {"Min", Op::Min},         {"Max", Op::Max},
                                                  {"MinMax", Op::MinMax},   {"MinIndx", Op::MinIndx},
                                                  {"MaxIndx", Op::MaxIndx}, {"QualityIndex", Op::QualityIndex}};
    return ops.at(o);
}

template <class T>
FamilyCase describe(const char* name, const char* form, const char* layout, const char* op,
                    ZkrStatus (*call)(const CallArgs&)) {
    const std::string l = layout;
    FamilyCase c;
    c.name = name;
    c.form = form;
    c.op = opOf(op);
    c.channels = l == "C1" ? 1 : (l == "C3" ? 3 : 4);
    c.active = l == "C4" ? 4 : (l == "C1" ? 1 : 3);
    c.hasHint = formEndsWith(c.form, "_hint");
    c.comp = compTypeOf<T>();
    c.compBytes = int(sizeof(T));
    c.call = call;
    return c;
}

std::vector<FamilyCase> expandTable() {
    std::vector<FamilyCase> cases;
#define ZKR_FN(name, form, T, L, op)                                                       \
    cases.push_back(describe<T>(#name, #form, #L, #op, [](const CallArgs& a) -> ZkrStatus { \
        const SumBag b = a.bag();                                                          \
        return ZKR_CALL(b, name, form, T);                                                 \
    }));
#include "sum/sum.tbl"
#include "sum/hint.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<FamilyCase>& familyCases() {
    static const std::vector<FamilyCase> cases = expandTable();
    return cases;
}

template <class S> double extremeOut(const unsigned char* bytes, int ch) {
    S v;
    std::memcpy(&v, bytes + ch * sizeof(S), sizeof(S));
    return double(v);
}

// ---- reference ----------------------------------------------------------------------

struct Expected {
    long double sum[4] = {}, absSum[4] = {};
    double min[4], max[4];
    int minX[4], minY[4], maxX[4], maxY[4];
    double quality[4] = {};
};

template <class S> Expected reference(const FamilyCase& c, const Plane<S>& a, const Plane<S>* b) {
    Expected e;
    long double sx[4] = {}, sy[4] = {}, sxx[4] = {}, syy[4] = {}, sxy[4] = {};
    for (int ch = 0; ch < 4; ++ch) e.minY[ch] = e.maxY[ch] = -1;
    for (int y = 0; y < a.height; ++y) {
        for (int x = 0; x < a.width; ++x) {
            for (int ch = 0; ch < c.active; ++ch) {
                const double v = double(a.at(y, x * c.channels + ch));
                e.sum[ch] += v;
                e.absSum[ch] += std::fabs(v);
                // Extremes leave NaN out (as fmin and fmax do).
                if (!std::isnan(v) && (e.minY[ch] < 0 || v < e.min[ch]))
                    e.min[ch] = v, e.minX[ch] = x, e.minY[ch] = y;
                if (!std::isnan(v) && (e.maxY[ch] < 0 || v > e.max[ch]))
                    e.max[ch] = v, e.maxX[ch] = x, e.maxY[ch] = y;
                if (b) {
                    const long double w = b->at(y, x * c.channels + ch);
                    sx[ch] += v, sy[ch] += w, sxx[ch] += (long double)v * v, syy[ch] += w * w, sxy[ch] += v * w;
                }
            }
        }
    }
    // A channel of NaN only: NaN at the first pixel.
    for (int ch = 0; ch < c.active; ++ch)
        if (e.minY[ch] < 0) {
            e.min[ch] = e.max[ch] = std::numeric_limits<double>::quiet_NaN();
            e.minX[ch] = e.minY[ch] = e.maxX[ch] = e.maxY[ch] = 0;
        }
    const long double n = (long double)a.width * a.height;
    for (int ch = 0; ch < c.active && b; ++ch) {
        const long double mx = sx[ch] / n, my = sy[ch] / n;
        const long double vx = sxx[ch] / n - mx * mx, vy = syy[ch] / n - my * my, cov = sxy[ch] / n - mx * my;
        const long double den = (vx + vy) * (mx * mx + my * my);
        // Constant images: 1 when equal, else 0.
        e.quality[ch] = std::fabs(den) < 1e-30L ? (mx == my && std::fabs(vx - vy) < 1e-30L ? 1.0 : 0.0)
                                                : double(4 * cov * mx * my / den);
    }
    return e;
}

// Float values for sums: moderate magnitudes, so that the float algorithm's
// error bound stays meaningful.
template <class S> void moderate(Plane<S>& p, std::mt19937& rng) {
    if constexpr (std::is_floating_point_v<S>) {
        std::uniform_real_distribution<S> d(-1000.0f, 1000.0f);
        for (S& v : p.data) v = d(rng);
    }
}

// A float sum against the reference: NaN where it is NaN, the same infinity where it is infinite,
// else within tol. The fast hint's float lanes may overflow to an infinity where the sum of the
// magnitudes leaves the float range although the double sum does not.
::testing::AssertionResult sumMatches(double got, long double want, double tol, bool fast, long double absSum) {
    if (std::isnan(want) ? std::isnan(got)
        : std::isinf(want) ? got == double(want)
        : std::fabs(got - double(want)) <= tol || (fast && absSum > 3e38L && !std::isfinite(got)))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << got << ", want " << double(want) << " within " << tol;
}

// The same extreme: both NaN, or equal (+0 and -0 alike).
::testing::AssertionResult sameExtreme(double got, double want) {
    if ((std::isnan(got) && std::isnan(want)) || got == want) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << got << ", want " << want;
}

template <class S> void runAndCheck(const FamilyCase& c, const Plane<S>& a, const Plane<S>* b, ZkrHintAlgorithm hint) {
    Outputs out;
    CallArgs args;
    args.src = a.roi(), args.srcStep = a.stepBytes();
    if (b) args.src2 = b->roi(), args.src2Step = b->stepBytes();
    args.roi = {a.width, a.height};
    args.hint = hint;
    args.out = &out;
    ASSERT_EQ(c.call(args), zkrStsNoErr);
    const Expected e = reference<S>(c, a, b);
    const double n = double(a.width) * a.height;
    for (int ch = 0; ch < c.active; ++ch) {
        SCOPED_TRACE(testing::Message() << "channel " << ch << " hint " << int(hint));
        // Integer sums are exact; float ones within the bound of their algorithm.
        const double tol = std::is_floating_point_v<S>
                               ? double(e.absSum[ch]) * (hint == zkrAlgHintFast ? 1e-5 : 1e-13)
                               : 0.0;
        switch (c.op) {
            case Op::Sum:
                EXPECT_TRUE(sumMatches(out.sum[ch], e.sum[ch], tol, hint == zkrAlgHintFast, e.absSum[ch]));
                break;
            case Op::Mean:
                EXPECT_TRUE(sumMatches(out.mean[ch], e.sum[ch] / n, tol / n + 1e-12 * std::fabs(double(e.sum[ch] / n)),
                                       hint == zkrAlgHintFast, e.absSum[ch]));
                break;
            case Op::Min: EXPECT_TRUE(sameExtreme(extremeOut<S>(out.min, ch), e.min[ch])); break;
            case Op::Max: EXPECT_TRUE(sameExtreme(extremeOut<S>(out.max, ch), e.max[ch])); break;
            case Op::MinMax:
                EXPECT_TRUE(sameExtreme(extremeOut<S>(out.min, ch), e.min[ch]));
                EXPECT_TRUE(sameExtreme(extremeOut<S>(out.max, ch), e.max[ch]));
                break;
            case Op::MinIndx:
                EXPECT_TRUE(sameExtreme(extremeOut<S>(out.min, ch), e.min[ch]));
                EXPECT_EQ(out.indexX[ch], e.minX[ch]);
                EXPECT_EQ(out.indexY[ch], e.minY[ch]);
                break;
            case Op::MaxIndx:
                EXPECT_TRUE(sameExtreme(extremeOut<S>(out.max, ch), e.max[ch]));
                EXPECT_EQ(out.indexX[ch], e.maxX[ch]);
                EXPECT_EQ(out.indexY[ch], e.maxY[ch]);
                break;
            case Op::QualityIndex: EXPECT_NEAR(out.quality[ch], e.quality[ch], 2e-5 + 1e-5 * std::fabs(e.quality[ch])); break;
        }
    }
    // Nothing beyond the computed channels is written.
    for (int ch = c.active; ch < 4; ++ch) {
        EXPECT_EQ(out.sum[ch], 0.0);
        EXPECT_EQ(out.indexX[ch], -7);
        EXPECT_EQ(out.quality[ch], 0.0f);
    }
}

std::vector<ZkrHintAlgorithm> hintsOf(const FamilyCase& c) {
    if (!c.hasHint) return {zkrAlgHintNone};
    return {zkrAlgHintNone, zkrAlgHintFast, zkrAlgHintAccurate};
}

struct Geometry {
    int width, height;
    bool padded;
};
// 1x1; odd sizes inside padding; rows shorter and longer than the lanes;
// more rows than chunks.
const Geometry kGeometries[] = {{1, 1, false}, {37, 5, true}, {29, 6, false}, {300, 3, true}, {5, 150, true}, {1000, 2, false}};

template <class S> void checkAgainstReference(const FamilyCase& c) {
    std::mt19937 rng(2024);
    const bool sums = c.op == Op::Sum || c.op == Op::Mean || c.op == Op::QualityIndex;
    forEachLevel([&](const Level&) {
        for (const Geometry& g : kGeometries) {
            SCOPED_TRACE(testing::Message() << g.width << "x" << g.height);
            auto pad = [&] { return g.padded ? randomPadding(rng) : Padding{}; };
            Plane<S> a(g.width, g.height, c.channels, pad(), rng);
            std::optional<Plane<S>> b;
            if (c.op == Op::QualityIndex) b.emplace(g.width, g.height, c.channels, pad(), rng);
            if (sums) {
                moderate(a, rng);
                if (b) moderate(*b, rng);
            }
            for (ZkrHintAlgorithm h : hintsOf(c)) runAndCheck<S>(c, a, b ? &*b : nullptr, h);
            if (testing::Test::HasFailure()) return;
        }
    });
}

// kSplitSize is above the splitting threshold: 1, 2 and 3 threads give the same bits.
template <class S> void checkThreadSplits(const FamilyCase& c) {
    std::mt19937 rng(31);
    Plane<S> a(kSplitSize.width, kSplitSize.height, c.channels, randomPadding(rng), rng),
        b(kSplitSize.width, kSplitSize.height, c.channels, Padding{}, rng);
    if (c.op == Op::Sum || c.op == Op::Mean || c.op == Op::QualityIndex) moderate(a, rng), moderate(b, rng);
    for (ZkrHintAlgorithm h : hintsOf(c)) {
        Outputs single;
        for (int threads : {1, 2, 3}) {
            SCOPED_TRACE(testing::Message() << threads << " threads");
            ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
            Outputs out;
            CallArgs args;
            args.src = a.roi(), args.srcStep = a.stepBytes();
            args.src2 = b.roi(), args.src2Step = b.stepBytes();
            args.roi = kSplitSize;
            args.hint = h;
            args.out = &out;
            ASSERT_EQ(c.call(args), zkrStsNoErr);
            if (threads == 1) {
                runAndCheck<S>(c, a, c.op == Op::QualityIndex ? &b : nullptr, h);
                single = out;
            } else {
                EXPECT_EQ(std::memcmp(&out, &single, sizeof out), 0) << "result depends on the thread split";
            }
        }
    }
    zkrSetNumThreads(1);
}

// NULL pointers (source, then each output), then ROI size, then steps, then the hint.
template <class S> void checkStatusCodes(const FamilyCase& c) {
    std::mt19937 rng(8);
    Plane<S> a(6, 3, c.channels, Padding{1, 1, 1, 1, 1}, rng);
    Outputs out;
    CallArgs good;
    good.src = good.src2 = a.roi();
    good.srcStep = good.src2Step = a.stepBytes();
    good.roi = {6, 3};
    good.out = &out;
    ASSERT_EQ(c.call(good), zkrStsNoErr);

    // The outputs a form writes (index into CallArgs::nullOut).
    std::vector<int> outputs;
    switch (c.op) {
        case Op::Sum: outputs = {0}; break;
        case Op::Mean: outputs = {1}; break;
        case Op::Min: outputs = {2}; break;
        case Op::Max: outputs = {3}; break;
        case Op::MinMax: outputs = {2, 3}; break;
        case Op::MinIndx: outputs = {2, 4, 5}; break;
        case Op::MaxIndx: outputs = {3, 4, 5}; break;
        case Op::QualityIndex: outputs = {6}; break;
    }
    CallArgs x = good;
    x.src = nullptr;
    EXPECT_EQ(c.call(x), zkrStsNullPtrErr) << "null source";
    if (c.op == Op::QualityIndex) {
        x = good;
        x.src2 = nullptr;
        EXPECT_EQ(c.call(x), zkrStsNullPtrErr) << "null second source";
    }
    for (int k : outputs) {
        x = good;
        x.nullOut[k] = true;
        EXPECT_EQ(c.call(x), zkrStsNullPtrErr) << "null output " << k;
        x.roi = {0, 0};
        x.hint = ZkrHintAlgorithm(3);
        EXPECT_EQ(c.call(x), zkrStsNullPtrErr) << "null pointer checked first";
    }
    for (ZkriSize roi : {ZkriSize{0, 3}, ZkriSize{6, 0}, ZkriSize{-2, 3}, ZkriSize{6, INT_MIN}}) {
        x = good;
        x.roi = roi;
        EXPECT_EQ(c.call(x), zkrStsSizeErr);
        x.srcStep = 0;
        EXPECT_EQ(c.call(x), zkrStsSizeErr) << "size checked before steps";
    }
    const int rowBytes = 6 * c.pixelBytes();
    std::vector<int> bad = {0, -good.srcStep, rowBytes - c.compBytes};
    if (c.compBytes > 1) bad.push_back(rowBytes + 1);
    for (int s : bad) {
        x = good;
        x.srcStep = s;
        EXPECT_EQ(c.call(x), zkrStsStepErr) << "step " << s;
        if (c.op == Op::QualityIndex) {
            x = good;
            x.src2Step = s;
            EXPECT_EQ(c.call(x), zkrStsStepErr) << "second step " << s;
        }
    }
    if (c.hasHint) {
        // 3 is the one value of the enumeration's range that names no hint; values outside the
        // range cannot be formed in C++ without undefined behaviour.
        for (int h : {3}) {
            x = good;
            x.hint = ZkrHintAlgorithm(h);
            EXPECT_EQ(c.call(x), zkrStsHintErr) << "hint " << h;
            x.srcStep = 0;
            EXPECT_EQ(c.call(x), zkrStsStepErr) << "steps checked before the hint";
        }
    }
}

class SumFamily : public testing::WithParamInterface<const char*>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases(), [&](const FamilyCase& c) { return c.form == GetParam(); }, check);
    }
};

TEST_P(SumFamily, MatchesReferenceOnEveryLevel) {
    walk([](const FamilyCase& c) {
        withCompType<Zkr8u, Zkr16u, Zkr16s, Zkr32f>(c.comp, [&]<class S>() { checkAgainstReference<S>(c); });
    });
}
TEST_P(SumFamily, ThreadSplitsGiveTheSameBits) {
    walk([](const FamilyCase& c) {
        withCompType<Zkr8u, Zkr16u, Zkr16s, Zkr32f>(c.comp, [&]<class S>() { checkThreadSplits<S>(c); });
    });
}
TEST_P(SumFamily, StatusCodes) {
    walk([](const FamilyCase& c) {
        withCompType<Zkr8u, Zkr16u, Zkr16s, Zkr32f>(c.comp, [&]<class S>() { checkStatusCodes<S>(c); });
    });
}

std::string formParamName(const testing::TestParamInfo<const char*>& param) { return param.param; }

INSTANTIATE_TEST_SUITE_P(Zkri, SumFamily,
                         testing::Values("sum", "sum_hint", "mean", "mean_hint", "min", "max", "minmax", "min_indx",
                                         "max_indx", "quality"),
                         formParamName);

// ---- sums beyond 32 bits ------------------------------------------------------------

class SumOverflow : public LibraryStateTest {};

// 4200x4200 pixels of 255 sum to 4 498 200 000, above 2^32.
TEST_F(SumOverflow, Large8uImageOfMaxValues) {
    const int w = 4200, h = 4200;
    std::vector<Zkr8u> img(std::size_t(w) * h, 255);
    forEachLevel([&](const Level&) {
        for (int threads : {1, 2}) {
            ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
            Zkr64f sum = 0, mean = 0;
            ASSERT_EQ(zkriSum_8u_C1R(img.data(), w, {w, h}, &sum), zkrStsNoErr);
            EXPECT_EQ(sum, 4498200000.0);
            ASSERT_EQ(zkriMean_8u_C1R(img.data(), w, {w, h}, &mean), zkrStsNoErr);
            EXPECT_EQ(mean, 255.0);
        }
    });
}

// One row of 4M 16u components of 65535: a lane of a row-long accumulator
// would wrap long before the end of the row.
TEST_F(SumOverflow, LongRowOf16uMaxValues) {
    const int w = 4 * 1024 * 1024 / 3;
    std::vector<Zkr16u> img(std::size_t(w) * 3, 65535);
    img[5] = 0;  // channel 2 of pixel 1
    forEachLevel([&](const Level&) {
        Zkr64f sum[3] = {};
        ASSERT_EQ(zkriSum_16u_C3R(img.data(), w * 6, {w, 1}, sum), zkrStsNoErr);
        EXPECT_EQ(sum[0], 65535.0 * w);
        EXPECT_EQ(sum[1], 65535.0 * w);
        EXPECT_EQ(sum[2], 65535.0 * (w - 1));
    });
}

TEST_F(SumOverflow, Negative16sSums) {
    const int w = 2048, h = 1024;
    std::vector<Zkr16s> img(std::size_t(w) * h, -32768);
    Zkr64f sum = 0;
    ASSERT_EQ(zkriSum_16s_C1R(img.data(), w * 2, {w, h}, &sum), zkrStsNoErr);
    EXPECT_EQ(sum, -32768.0 * w * h);
}

// ---- ties and positions ---------------------------------------------------------------

class SumIndex : public LibraryStateTest {};

// Ties in the same row, in a later row, and in a later chunk: the first in
// row-major order wins, per channel, on every level and thread count.
TEST_F(SumIndex, FirstPositionWinsTies) {
    const int w = 300, h = 200;
    std::vector<Zkr16s> img(std::size_t(w) * h * 3, 100);
    auto at = [&](int x, int y, int c) -> Zkr16s& { return img[(std::size_t(y) * w + x) * 3 + c]; };
    for (auto [x, y] : {std::pair{250, 150}, {9, 40}, {5, 40}, {7, 41}}) at(x, y, 0) = -5;  // channel 0 min at (5, 40)
    for (auto [x, y] : {std::pair{0, 199}, {299, 198}}) at(x, y, 1) = 900;                  // channel 1 max at (299, 198)
    at(3, 0, 2) = -5;                                                                       // channel 2 min at (3, 0)
    forEachLevel([&](const Level&) {
        for (int threads : {1, 2}) {
            ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
            Zkr16s mn[3], mx[3];
            int ix[3], iy[3];
            ASSERT_EQ(zkriMinIndx_16s_C3R(img.data(), w * 6, {w, h}, mn, ix, iy), zkrStsNoErr);
            EXPECT_EQ(mn[0], -5);
            EXPECT_EQ(ix[0], 5);
            EXPECT_EQ(iy[0], 40);
            EXPECT_EQ(mn[1], 100);
            EXPECT_EQ(ix[1], 0) << "a constant channel: its first pixel";
            EXPECT_EQ(iy[1], 0);
            EXPECT_EQ(ix[2], 3);
            EXPECT_EQ(iy[2], 0);
            ASSERT_EQ(zkriMaxIndx_16s_C3R(img.data(), w * 6, {w, h}, mx, ix, iy), zkrStsNoErr);
            EXPECT_EQ(mx[1], 900);
            EXPECT_EQ(ix[1], 299);
            EXPECT_EQ(iy[1], 198);
            EXPECT_EQ(mx[0], 100);
            EXPECT_EQ(ix[0], 0);
            EXPECT_EQ(iy[0], 0);
        }
    });
}

// The alpha channel of AC4 takes no part: its extreme values are ignored.
TEST_F(SumIndex, AlphaIsIgnored) {
    const Zkr8u img[] = {10, 20, 30, 0, 40, 50, 60, 255};
    Zkr8u mn[3], mx[3];
    Zkr64f sum[3];
    ASSERT_EQ(zkriMinMax_8u_AC4R(img, sizeof img, {2, 1}, mn, mx), zkrStsNoErr);
    EXPECT_EQ((std::vector<int>{mn[0], mn[1], mn[2], mx[0], mx[1], mx[2]}), (std::vector<int>{10, 20, 30, 40, 50, 60}));
    ASSERT_EQ(zkriSum_8u_AC4R(img, sizeof img, {2, 1}, sum), zkrStsNoErr);
    EXPECT_EQ((std::vector<double>(sum, sum + 3)), (std::vector<double>{50, 70, 90}));
}

// ---- quality index ----------------------------------------------------------------------

class Quality : public LibraryStateTest {};

TEST_F(Quality, EqualImagesScoreOneAndConstantsFollowTheRule) {
    std::mt19937 rng(3);
    std::vector<Zkr32f> a(64 * 16);
    for (Zkr32f& v : a) v = std::uniform_real_distribution<Zkr32f>(0, 255)(rng);
    Zkr32f q = 0;
    ASSERT_EQ(zkriQualityIndex_32f_C1R(a.data(), 64 * 4, a.data(), 64 * 4, {64, 16}, &q), zkrStsNoErr);
    EXPECT_NEAR(q, 1.0f, 1e-6);
    // Negated contrast around the same mean: correlation -1.
    std::vector<Zkr32f> b(a.size());
    std::transform(a.begin(), a.end(), b.begin(), [](Zkr32f v) { return 255.0f - v; });
    ASSERT_EQ(zkriQualityIndex_32f_C1R(a.data(), 64 * 4, b.data(), 64 * 4, {64, 16}, &q), zkrStsNoErr);
    EXPECT_LT(q, -0.5f);
    const Zkr8u c1[4] = {7, 7, 7, 7}, c2[4] = {9, 9, 9, 9};
    ASSERT_EQ(zkriQualityIndex_8u_C1R(c1, 4, c1, 4, {4, 1}, &q), zkrStsNoErr);
    EXPECT_EQ(q, 1.0f) << "equal constant images";
    ASSERT_EQ(zkriQualityIndex_8u_C1R(c1, 4, c2, 4, {4, 1}, &q), zkrStsNoErr);
    EXPECT_EQ(q, 0.0f) << "different constant images";
}

// ---- the table ------------------------------------------------------------------------

// TimiSum's table, and the float sums and means of TimiHint's (hint.tbl, the rows with a hint).
TEST(SumFamilyTable, CountsPerBase) {
    std::map<Op, int> perOp, perOpHint;
    std::vector<std::string> names;
    for (const FamilyCase& c : familyCases()) {
        ++(c.hasHint ? perOpHint : perOp)[c.op];
        names.push_back(c.name);
        EXPECT_EQ(c.hasHint, c.comp == CompType::F32 && (c.op == Op::Sum || c.op == Op::Mean)) << c.name;
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "a function is listed twice";
    const std::map<Op, int> want = {{Op::Sum, 12},     {Op::Mean, 12},    {Op::Min, 16},     {Op::Max, 16},
                                    {Op::MinMax, 16},  {Op::MinIndx, 16}, {Op::MaxIndx, 16}, {Op::QualityIndex, 9}};
    EXPECT_EQ(perOp, want);
    EXPECT_EQ(perOpHint, (std::map<Op, int>{{Op::Sum, 4}, {Op::Mean, 4}}));
}

// ---- float edges --------------------------------------------------------------------------

class SumFloatEdges : public LibraryStateTest {};

// The float reductions over the hostile fills (NaN, infinities, zeros of both signs, denormals,
// 1e-30 to 1e30 of both signs), on every level and with one and two threads (the same bits): sums
// and means NaN or infinite exactly as the exact sum is, else within their algorithm's bound;
// extremes leave NaN out and a channel of NaN only gives NaN at its first pixel. QualityIndex is
// left out: its one-pass moments lose every digit to cancellation over such ranges.
TEST_F(SumFloatEdges, HostileFillsOnEveryLevelAndThreadCount) {
    forEachCase(
        familyCases(), [](const FamilyCase& c) { return c.comp == CompType::F32 && c.op != Op::QualityIndex; },
        [](const FamilyCase& c) {
            std::vector<Outputs> firstLevel;  // the first level's results, which every level must give
            forEachLevel([&](const Level&) {
                std::mt19937 rng(515);  // the same images on every level
                std::size_t k = 0;
                for (const double share : {0.002, 0.1}) {
                    Plane<Zkr32f> a(kSplitSize.width, kSplitSize.height, c.channels, randomPadding(rng), rng);
                    floats::fillHostile(a.data, rng, share);
                    for (ZkrHintAlgorithm h : hintsOf(c)) {
                        Outputs one, two;
                        CallArgs args;
                        args.src = a.roi(), args.srcStep = a.stepBytes();
                        args.roi = kSplitSize;
                        args.hint = h;
                        ASSERT_GE(zkrSetNumThreads(1), zkrStsNoErr);
                        runAndCheck<Zkr32f>(c, a, nullptr, h);
                        args.out = &one;
                        // The flags of sums and ordered comparisons only (never divide-by-zero or underflow).
                        const unsigned raised = floats::flagsOf([&] { ASSERT_EQ(c.call(args), zkrStsNoErr); });
                        EXPECT_EQ(raised & ~(floats::kInexact | floats::kOverflow | floats::kInvalid | floats::kDenormal),
                                  0u)
                            << "raised " << floats::flagNames(raised);
                        ASSERT_GE(zkrSetNumThreads(2), zkrStsNoErr);
                        args.out = &two;
                        ASSERT_EQ(c.call(args), zkrStsNoErr);
                        EXPECT_EQ(std::memcmp(&one, &two, sizeof one), 0) << "result depends on the thread split";
                        if (k == firstLevel.size()) firstLevel.push_back(one);
                        EXPECT_EQ(std::memcmp(&one, &firstLevel[k++], sizeof one), 0) << "result depends on the level";
                        if (testing::Test::HasFailure()) return;
                    }
                }
            });
        });
}

// A channel of NaN only, a channel of infinities, and +0 against -0.
TEST_F(SumFloatEdges, ExtremesOfSpecialChannels) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = floats::kInf;
    forEachLevel([&](const Level&) {
        const Zkr32f img[] = {nan, inf, 1.0f, nan, inf, -0.0f, nan, inf, 0.0f};  // C3: NaN / +inf / zeros
        Zkr32f mn[3], mx[3];
        int ix[3], iy[3];
        ASSERT_EQ(zkriMinIndx_32f_C3R(img, sizeof img, {3, 1}, mn, ix, iy), zkrStsNoErr);
        EXPECT_TRUE(std::isnan(mn[0]));
        EXPECT_EQ(ix[0], 0);
        EXPECT_EQ(iy[0], 0);
        EXPECT_EQ(mn[1], inf);
        EXPECT_EQ(ix[1], 0);
        EXPECT_EQ(mn[2], 0.0f);
        EXPECT_EQ(ix[2], 1) << "-0 is the first zero, and -0 == +0";
        ASSERT_EQ(zkriMinMax_32f_C3R(img, sizeof img, {3, 1}, mn, mx), zkrStsNoErr);
        EXPECT_TRUE(std::isnan(mn[0]) && std::isnan(mx[0]));
        EXPECT_EQ(mx[1], inf);
        EXPECT_EQ(mx[2], 1.0f);
    });
}

}  // namespace
}  // namespace zkrtest
