// The polar family against m cos(p) and m sin(p) in long double, driven by its table: every function
// on every dispatch level, odd sizes in padded rows (nothing written beside the ROI, the alpha of AC4
// kept), scale factors with saturation, thread splits and status codes.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "family_support.h"
#include "spectrum_support.h"
#include "test_support.h"

#define ZKR_TABLE "polar/polar.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

using spectrum::Img;

struct PolarBag : Bag {
    const void* pSrcMagn = nullptr;
    const void* pSrcPhase = nullptr;
    void* pDstRe = nullptr;
    void* pDstIm = nullptr;
};

struct PolarCase {
    std::string name;
    int channels, active;
    bool planes, fixed;
    ZkrStatus (*call)(const PolarBag&);
};

const std::vector<PolarCase>& cases() {
    static const std::vector<PolarCase> all = [] {
        std::vector<PolarCase> v;
#define ZKR_FN(name, form, Ts, Td, L)                                                                          \
    {                                                                                                          \
        const std::string l = #L;                                                                              \
        v.push_back({#name, l == "C1" ? 1 : (l == "C3" ? 3 : 4), l == "C1" ? 1 : (l == "C4" ? 4 : 3),        \
                     std::string(#form) == "polar_p2", std::is_same_v<Ts, Zkr16s>,                              \
                     [](const PolarBag& b) -> ZkrStatus { return ZKR_CALL(b, name, form, Ts, Td, L); }});      \
    }
#include "polar/polar.tbl"
#undef ZKR_FN
        return v;
    }();
    return all;
}

// Runs case c on w x h; returns the destination bytes (re plane then im plane for the planar form).
template <class S>
std::vector<unsigned char> runAndCheck(const PolarCase& c, int w, int h, int sf, std::mt19937& rng, bool check) {
    const int nc = c.channels, dc = c.planes ? 1 : 2;
    Img<S> m(w, h, nc, 2), p(w, h, nc, 2), d(w, h, nc * dc, 3), d2(w, h, nc, 3);
    for (auto* im : {&d, &d2})
        for (auto& b : im->bytes) b = static_cast<unsigned char>(rng());
    for (int y = 0; y < h; ++y)
        for (int i = 0; i < w * nc; ++i) {
            S mv, pv;
            if constexpr (std::is_same_v<S, Zkr16s>) {
                mv = S(rng() % 8 == 0 ? 32767 : int(rng() % 2000) - 1000);
                pv = S(int(rng() % 65536) - 32768);
            } else {
                mv = std::uniform_real_distribution<float>(-50, 50)(rng);
                pv = std::uniform_real_distribution<float>(-7, 7)(rng);
            }
            std::memcpy(m.bytes.data() + std::size_t(y * m.step) + std::size_t(i) * sizeof(S), &mv, sizeof(S));
            std::memcpy(p.bytes.data() + std::size_t(y * p.step) + std::size_t(i) * sizeof(S), &pv, sizeof(S));
        }
    const Img<S> before = d, before2 = d2;
    PolarBag bag;
    bag.pSrcMagn = m.data();
    bag.pSrcPhase = p.data();
    bag.srcStep = m.step;
    bag.pDst = bag.pDstRe = d.data();
    bag.pDstIm = d2.data();
    bag.dstStep = d.step;
    bag.roiSize = {w, h};
    bag.scaleFactor = sf;
    EXPECT_EQ(c.call(bag), zkrStsNoErr);
    if (check) {
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int ch = 0; ch < nc; ++ch) {
                    const int i = x * nc + ch;
                    const S gr = c.planes ? d.get(i, y) : d.get(2 * i, y);
                    const S gi = c.planes ? d2.get(i, y) : d.get(2 * i + 1, y);
                    if (ch >= c.active) {
                        EXPECT_EQ(std::memcmp(d.bytes.data() + std::size_t(y * d.step) + std::size_t(2 * i) * sizeof(S),
                                              before.bytes.data() + std::size_t(y * d.step) + std::size_t(2 * i) * sizeof(S), 2 * sizeof(S)), 0);
                        continue;
                    }
                    const long double mag = m.get(i, y), ph = c.fixed ? p.get(i, y) / 4096.0L : (long double)p.get(i, y);
                    long double er = mag * std::cos(ph), ei = mag * std::sin(ph), tol = 2e-6L * std::fabs(mag) + 1e-30L;
                    if (c.fixed) {
                        er = std::clamp<long double>(std::nearbyint(std::ldexp(er, -sf)), -32768, 32767);
                        ei = std::clamp<long double>(std::nearbyint(std::ldexp(ei, -sf)), -32768, 32767);
                        tol = 1;
                    }
                    EXPECT_LE(std::fabs((long double)gr - er), tol) << "re at (" << x << ", " << y << ") channel " << ch;
                    EXPECT_LE(std::fabs((long double)gi - ei), tol) << "im at (" << x << ", " << y << ") channel " << ch;
                    if (::testing::Test::HasFailure()) return {};
                }
        for (int y = 0; y < h; ++y)
            for (int o = w * nc * dc * int(sizeof(S)); o < d.step; ++o) {
                EXPECT_EQ(d.bytes[std::size_t(y * d.step + o)], before.bytes[std::size_t(y * d.step + o)]);
                if (c.planes) {
                    EXPECT_EQ(d2.bytes[std::size_t(y * d.step + o)], before2.bytes[std::size_t(y * d.step + o)]);
                }
            }
    }
    std::vector<unsigned char> out = d.bytes;
    out.insert(out.end(), d2.bytes.begin(), d2.bytes.end());
    return out;
}

class PolarFamily : public LibraryStateTest {};

TEST_F(PolarFamily, EveryFunctionMatchesTheDefinitionOnEveryLevel) {
    std::mt19937 rng(17);
    forEachLevel([&](const Level&) {
        forEachCase(cases(), [](const PolarCase&) { return true; }, [&](const PolarCase& c) {
            for (int sf : c.fixed ? std::vector<int>{0, 3, -2} : std::vector<int>{0})
                for (const ZkriSize s : {ZkriSize{13, 7}, ZkriSize{1, 1}, ZkriSize{2, 5}}) {
                    if (c.fixed) runAndCheck<Zkr16s>(c, s.width, s.height, sf, rng, true);
                    else runAndCheck<Zkr32f>(c, s.width, s.height, sf, rng, true);
                }
        });
    });
}

TEST_F(PolarFamily, ThreadSplitsGiveTheOneThreadResult) {
    forEachCase(cases(), [](const PolarCase& c) { return c.channels == 1; }, [&](const PolarCase& c) {
        std::vector<std::vector<unsigned char>> out;
        for (int threads : {1, 2}) {
            ASSERT_EQ(zkrSetNumThreads(threads), zkrStsNoErr);
            std::mt19937 rng(1);
            out.push_back(c.fixed ? runAndCheck<Zkr16s>(c, kSplitSize.width, kSplitSize.height, 1, rng, false)
                                  : runAndCheck<Zkr32f>(c, kSplitSize.width, kSplitSize.height, 0, rng, false));
        }
        EXPECT_TRUE(out[0] == out[1]);
    });
}

TEST_F(PolarFamily, StatusCodes) {
    std::vector<unsigned char> buf(2048);
    forEachCase(cases(), [](const PolarCase&) { return true; }, [&](const PolarCase& c) {
        const int es = c.fixed ? 2 : 4;
        PolarBag ok;
        ok.pSrcMagn = ok.pSrcPhase = buf.data();
        ok.pDst = ok.pDstRe = ok.pDstIm = buf.data() + 1024;
        ok.srcStep = 4 * es * c.channels;
        ok.dstStep = 4 * es * c.channels * (c.planes ? 1 : 2);
        ok.roiSize = {4, 2};
        PolarBag b = ok;
        b.pSrcPhase = nullptr;
        b.roiSize = {0, 0};
        EXPECT_EQ(c.call(b), zkrStsNullPtrErr);
        b = ok;
        b.roiSize = {-1, 2};
        EXPECT_EQ(c.call(b), zkrStsSizeErr);
        b = ok;
        b.dstStep -= es;
        EXPECT_EQ(c.call(b), zkrStsStepErr);
        b = ok;
        b.srcStep += 1;
        EXPECT_EQ(c.call(b), zkrStsStepErr);
    });
    EXPECT_EQ(cases().size(), 7u);
}

}  // namespace
}  // namespace zkrtest
