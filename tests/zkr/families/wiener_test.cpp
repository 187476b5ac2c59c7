// The Wiener family against the definition (window mean and variance taken pixel by pixel in long
// double, the noise estimate as the mean of the local variances), driven by its table: every
// function on every dispatch level, ROIs inside padded images whose border supplies the mask's
// neighbours, masks with anchors at the centre and the corners, given and estimated noise per
// channel, thread splits, the work buffer's size and every argument error.
#include <algorithm>
#include <cmath>
#include <type_traits>

#include "family_support.h"
#include "test_support.h"

#define ZKR_TABLE "wiener/wiener.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

struct WienerBag : Bag {
    ZkriSize dstRoiSize{0, 0}, maskSize{0, 0};
    ZkriPoint anchor{0, 0};
    const void* pNoise = nullptr;
    void* pBuffer = nullptr;
};

struct CallArgs {
    const void* src = nullptr;
    int srcStep = 0;
    void* dst = nullptr;
    int dstStep = 0;
    ZkriSize roi{0, 0}, mask{0, 0};
    ZkriPoint anchor{0, 0};
    const float* noise = nullptr;
    void* buffer = nullptr;
};

struct FamilyCase {
    std::string name;
    int channels;
    bool alpha;
    CompType comp;
    ZkrStatus (*call)(const CallArgs&);
    int active() const { return alpha ? 3 : channels; }
};

std::vector<FamilyCase> expandTable() {
    std::vector<FamilyCase> cases;
#define ZKR_FN_AUX(...)
#define ZKR_FN(name, form, T, L)                                                                   \
    cases.push_back(FamilyCase{#name, std::string(#L) == "C1" ? 1 : std::string(#L) == "C3" ? 3 : 4, \
                               std::string(#L) == "AC4", compTypeOf<T>(), [](const CallArgs& a) -> ZkrStatus { \
                                   WienerBag b;                                                    \
                                   b.pSrc = a.src;                                                 \
                                   b.srcStep = a.srcStep;                                          \
                                   b.pDst = a.dst;                                                 \
                                   b.dstStep = a.dstStep;                                          \
                                   b.dstRoiSize = a.roi;                                           \
                                   b.maskSize = a.mask;                                            \
                                   b.anchor = a.anchor;                                            \
                                   b.pNoise = a.noise;                                             \
                                   b.pBuffer = a.buffer;                                           \
                                   return ZKR_CALL(b, name, form, T);                              \
                               }});
#include "wiener/wiener.tbl"
#undef ZKR_FN
#undef ZKR_FN_AUX
    return cases;
}

const std::vector<FamilyCase>& familyCases() {
    static const std::vector<FamilyCase> cases = expandTable();
    return cases;
}

using Real = long double;

struct Mask {
    ZkriSize size;
    ZkriPoint anchor;
};

template <class S> struct Call {
    const FamilyCase* fc;
    Mask mask;
    Plane<S> src, dst;
    std::vector<unsigned char> buffer;

    Call(const FamilyCase& c, int w, int h, Mask m, bool padded, std::mt19937& rng)
        : fc(&c), mask(m),
          src(w, h, c.channels,
              Padding{m.anchor.x, m.size.width - 1 - m.anchor.x, m.anchor.y, m.size.height - 1 - m.anchor.y,
                      padded ? 3 : 0},
              rng),
          dst(w, h, c.channels, padded ? randomPadding(rng) : Padding{}, rng) {
        if constexpr (std::is_floating_point_v<S>) {
            std::uniform_real_distribution<float> d(-100.0f, 100.0f);
            for (S& v : src.data) v = d(rng);
        } else {
            // Smooth areas (a value repeated) beside noisy ones, over the type's range.
            for (std::size_t k = 0; k < src.data.size(); ++k)
                src.data[k] = k % 23 < 9 && k > 0 ? src.data[k - 1] : randomComponent<S>(rng);
        }
        int bytes = 0;
        EXPECT_EQ(zkriFilterWienerGetBufferSize({w, h}, m.size, c.channels, &bytes), zkrStsNoErr);
        buffer.assign(std::size_t(bytes), 0xcd);
    }

    CallArgs args(const float* noise) {
        return CallArgs{src.roi(), src.stepBytes(), dst.roi(), dst.stepBytes(), {src.width, src.height},
                        mask.size, mask.anchor, noise, buffer.data()};
    }

    // The window's mean and variance of component c at (x, y).
    void stats(int x, int y, int c, Real& mean, Real& var) const {
        const int ch = fc->channels;
        const Real n = Real(mask.size.width) * mask.size.height;
        Real s = 0;
        for (int j = 0; j < mask.size.height; ++j)
            for (int i = 0; i < mask.size.width; ++i)
                s += src.at(y - mask.anchor.y + j, (x - mask.anchor.x + i) * ch + c);
        mean = s / n;
        var = 0;
        for (int j = 0; j < mask.size.height; ++j)
            for (int i = 0; i < mask.size.width; ++i) {
                const Real d = src.at(y - mask.anchor.y + j, (x - mask.anchor.x + i) * ch + c) - mean;
                var += d * d / n;
            }
    }

    void runAndCheck(const float* noise) {
        const Plane<S> before = dst;
        ASSERT_EQ(fc->call(args(noise)), zkrStsNoErr);
        const int ch = fc->channels;
        Real power[4] = {};
        for (int c = 0; c < fc->active(); ++c) {
            power[c] = noise[c];
            if (noise[c] != 0.0f) continue;
            for (int y = 0; y < src.height; ++y)
                for (int x = 0; x < src.width; ++x) {
                    Real m, v;
                    stats(x, y, c, m, v);
                    power[c] += v / (Real(src.width) * src.height);
                }
        }
        int bad = 0;
        for (std::size_t k = 0; k < dst.data.size() && bad < 5; ++k)
            if (!dst.insideRoi(k) && !sameBits(dst.data[k], before.data[k])) {
                ADD_FAILURE() << "write outside the ROI at " << k;
                ++bad;
            }
        for (int y = 0; y < src.height && bad < 5; ++y)
            for (int x = 0; x < src.width && bad < 5; ++x)
                for (int c = 0; c < ch; ++c) {
                    const S got = dst.at(y, x * ch + c);
                    if (c >= fc->active()) {
                        if (!sameBits(got, before.at(y, x * ch + c))) {
                            ADD_FAILURE() << "alpha written";
                            ++bad;
                        }
                        continue;
                    }
                    Real m, v;
                    stats(x, y, c, m, v);
                    const Real xv = src.at(y, x * ch + c);
                    const Real d = std::max(v, power[c]);
                    const Real want = d == 0 ? m : m + std::max(v - power[c], Real(0)) / d * (xv - m);
                    bool ok;
                    if constexpr (std::is_floating_point_v<S>) {
                        ok = std::fabs(Real(got) - want) <= 1e-4L * (std::fabs(m) + std::fabs(xv)) + 1e-6L;
                    } else {
                        // Exact but for results within rounding of a half.
                        const Real frac = want - std::floor(want);
                        ok = Real(got) == std::nearbyint(want) ||
                             (std::fabs(frac - 0.5L) < 1e-6L && std::fabs(Real(got) - want) < 0.6L);
                    }
                    if (!ok) {
                        ADD_FAILURE() << "pixel (" << x << "," << y << ") channel " << c << ": got " << +got
                                      << ", want " << double(want);
                        ++bad;
                    }
                }
    }
};

const Mask kMasks[] = {{{3, 3}, {1, 1}}, {{1, 1}, {0, 0}}, {{5, 2}, {4, 0}}, {{2, 5}, {0, 4}}, {{7, 3}, {3, 1}}};

template <class F> void withType(const FamilyCase& fc, F&& f) {
    withCompType<Zkr8u, Zkr16s, Zkr32f>(fc.comp, std::forward<F>(f));
}

class WienerFamily : public LibraryStateTest {};

TEST_F(WienerFamily, MatchesDefinitionOnEveryLevel) {
    forEachCase(familyCases(), [](const FamilyCase&) { return true; }, [](const FamilyCase& fc) {
        withType(fc, [&]<class S>() {
            std::mt19937 rng(19);
            // Estimated everywhere, given everywhere, and mixed (the estimate for the second channel).
            const float given = std::is_floating_point_v<S> ? 900.0f : std::is_same_v<S, Zkr8u> ? 300.0f : 4.0e7f;
            const float noises[3][4] = {{0, 0, 0, 0}, {given, given, given, given}, {given, 0, given * 2, given}};
            forEachLevel([&](const Level&) {
                for (const Mask& m : kMasks)
                    for (const auto& noise : noises)
                        for (ZkriSize size : {ZkriSize{1, 1}, ZkriSize{9, 4}, ZkriSize{23, 7}}) {
                            SCOPED_TRACE(testing::Message() << size.width << "x" << size.height << " mask "
                                                            << m.size.width << "x" << m.size.height << " noise "
                                                            << noise[0] << "," << noise[1]);
                            Call<S> call(fc, size.width, size.height, m, size.width > 5, rng);
                            call.runAndCheck(noise);
                            if (testing::Test::HasFailure()) return;
                        }
            });
        });
    });
}

// One and four channels (the alpha kept) above the splitting size: 1, 2 and 3 threads give the same
// bits (the noise estimate included).
TEST_F(WienerFamily, ThreadSplitsMatchSingleThread) {
    forEachCase(familyCases(), [](const FamilyCase& c) { return c.channels != 3; }, [](const FamilyCase& fc) {
        withType(fc, [&]<class S>() {
            std::mt19937 rng(4);
            const float noise[4] = {0, 0, 0, 0};
            const Call<S> original(fc, kSplitSize.width, kSplitSize.height, {{5, 3}, {2, 1}}, true, rng);
            std::vector<S> single;
            for (int threads : {1, 2, 3}) {
                ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
                Call<S> call = original;
                ASSERT_EQ(fc.call(call.args(noise)), zkrStsNoErr);
                if (threads == 1) single = call.dst.data;
                else EXPECT_TRUE(std::equal(single.begin(), single.end(), call.dst.data.begin(),
                                            [](S p, S q) { return sameBits(p, q); }))
                    << threads << " threads: result depends on the thread split";
            }
        });
    });
}

// Pointers (source, destination, noise, buffer), size, steps, then mask, anchor, noise values;
// nothing written on error. The buffer-size helper checks its own arguments.
TEST_F(WienerFamily, StatusCodes) {
    forEachCase(familyCases(), [](const FamilyCase&) { return true; }, [](const FamilyCase& fc) {
        withType(fc, [&]<class S>() {
            std::mt19937 rng(5);
            const float noise[4] = {1, 1, 1, 1};
            Call<S> call(fc, 6, 3, {{3, 3}, {1, 1}}, false, rng);
            const CallArgs good = call.args(noise);
            const std::vector<S> before = call.dst.data;
            auto expect = [&](const CallArgs& a, ZkrStatus want, const char* what) {
                EXPECT_EQ(fc.call(a), want) << what;
                EXPECT_TRUE(std::equal(before.begin(), before.end(), call.dst.data.begin(),
                                       [](S p, S q) { return sameBits(p, q); }))
                    << what << ": destination written";
            };
            for (int k = 0; k < 4; ++k) {
                CallArgs a = good;
                if (k == 0) a.src = nullptr;
                if (k == 1) a.dst = nullptr;
                if (k == 2) a.noise = nullptr;
                if (k == 3) a.buffer = nullptr;
                a.roi = {0, 0};
                expect(a, zkrStsNullPtrErr, "null pointer, before the size");
            }
            CallArgs a = good;
            a.roi = {-1, 3};
            a.srcStep = 0;
            expect(a, zkrStsSizeErr, "bad size, before the steps");
            for (int bad : {0, 6 * fc.channels * int(sizeof(S)) - 1}) {
                a = good;
                a.dstStep = bad;
                a.mask = {0, 0};
                expect(a, zkrStsStepErr, "bad step, before the mask");
            }
            for (ZkriSize m : {ZkriSize{0, 3}, ZkriSize{3, -2}, ZkriSize{300, 300}}) {
                a = good;
                a.mask = m;
                a.anchor = {0, 0};
                expect(a, zkrStsMaskSizeErr, "bad mask");
            }
            for (ZkriPoint p : {ZkriPoint{-1, 0}, ZkriPoint{3, 0}, ZkriPoint{0, 3}}) {
                a = good;
                a.anchor = p;
                expect(a, zkrStsAnchorErr, "anchor outside the mask");
            }
            for (float bad : {-1.0f, NAN}) {
                float n[4] = {1, 1, 1, 1};
                n[fc.active() - 1] = bad;
                a = good;
                a.noise = n;
                expect(a, zkrStsBadArgErr, "negative or NaN noise of the last processed channel");
            }
        });
    });
    int bytes = -1;
    EXPECT_EQ(zkriFilterWienerGetBufferSize({4, 4}, {3, 3}, 3, nullptr), zkrStsNullPtrErr);
    EXPECT_EQ(zkriFilterWienerGetBufferSize({0, 4}, {3, 3}, 3, &bytes), zkrStsSizeErr);
    EXPECT_EQ(zkriFilterWienerGetBufferSize({4, 4}, {0, 3}, 3, &bytes), zkrStsMaskSizeErr);
    EXPECT_EQ(zkriFilterWienerGetBufferSize({4, 4}, {3, 3}, 2, &bytes), zkrStsBadArgErr);
    EXPECT_EQ(zkriFilterWienerGetBufferSize({30000, 30000}, {3, 3}, 4, &bytes), zkrStsSizeErr);
    EXPECT_EQ(bytes, -1);
    EXPECT_EQ(zkriFilterWienerGetBufferSize({4, 4}, {3, 3}, 3, &bytes), zkrStsNoErr);
    EXPECT_GE(bytes, 2 * 4 * 4 * 3 * 8);
}

TEST(WienerFamilyTable, TwelveVariants) {
    std::vector<std::string> names;
    for (const FamilyCase& c : familyCases()) names.push_back(c.name);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
    EXPECT_EQ(names.size(), 12u);
}

}  // namespace
}  // namespace zkrtest
