// The DCT family against the DCT's double sum in long double, driven by its table: every transform
// on every dispatch level at odd, even and prime sides (17 runs the chirp FFT inside), one-pixel
// sides, padded rows (nothing written beside the image, the alpha of AC4 kept), and the argument
// errors of the transforms and their helpers.
#include <cmath>
#include <cstring>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "family_support.h"
#include "spectrum_support.h"
#include "test_support.h"

#define ZKR_TABLE "dct/dct.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

using spectrum::Img;

struct DctBag : Bag {
    const void* pSpec = nullptr;
    void* pBuffer = nullptr;
};

struct DctCase {
    std::string name;
    int channels, active;
    bool inverse;
    ZkrStatus (*call)(const DctBag&);
};

const std::vector<DctCase>& cases() {
    static const std::vector<DctCase> all = [] {
        std::vector<DctCase> v;
#define ZKR_FN_AUX(...)
#define ZKR_FN(name, form, T, L, dir)                                                                        \
    {                                                                                                        \
        const std::string l = #L;                                                                            \
        v.push_back({#name, l == "C1" ? 1 : (l == "C3" ? 3 : 4), l == "C1" ? 1 : (l == "C4" ? 4 : 3),      \
                     std::string(#dir) == "Inv",                                                             \
                     [](const DctBag& b) -> ZkrStatus { return ZKR_CALL(b, name, form, T, L, dir); }});    \
    }
#include "dct/dct.tbl"
#undef ZKR_FN
#undef ZKR_FN_AUX
        return v;
    }();
    return all;
}

// The orthonormal basis value c(k) cos((2i + 1) k pi / 2n).
long double basis(int n, int k, int i) {
    return std::sqrt((k == 0 ? 1.0L : 2.0L) / n) * std::cos((2 * i + 1) * k * std::numbers::pi_v<long double> / (2 * n));
}

void checkCase(const DctCase& c, int w, int h, std::mt19937& rng) {
    const int nc = c.channels;
    Img<float> src(w, h, nc, 2), dst(w, h, nc, 3);
    for (auto& b : dst.bytes) b = static_cast<unsigned char>(rng());
    for (int y = 0; y < h; ++y)
        for (int i = 0; i < w * nc; ++i) {
            const float v = std::uniform_real_distribution<float>(-100, 100)(rng);
            std::memcpy(src.bytes.data() + std::size_t(y * src.step + i * 4), &v, 4);
        }
    const Img<float> before = dst;
    std::vector<long double> bw(std::size_t(w * w)), bh(std::size_t(h * h));  // [k][i]
    for (int k = 0; k < w; ++k)
        for (int i = 0; i < w; ++i) bw[std::size_t(k * w + i)] = basis(w, k, i);
    for (int k = 0; k < h; ++k)
        for (int i = 0; i < h; ++i) bh[std::size_t(k * h + i)] = basis(h, k, i);
    ZkriDCTSpec_32f* setup = nullptr;
    int bytes = 0;
    ASSERT_EQ(zkriDCTInitAlloc_32f(&setup, {w, h}, zkrAlgHintNone), zkrStsNoErr);
    ASSERT_EQ(zkriDCTGetBufSize_32f(setup, &bytes), zkrStsNoErr);
    std::vector<Zkr8u> buffer(std::size_t(bytes), 0xab);
    DctBag bag;
    bag.pSrc = src.data();
    bag.srcStep = src.step;
    bag.pDst = dst.data();
    bag.dstStep = dst.step;
    bag.pSpec = setup;
    bag.pBuffer = buffer.data();
    const ZkrStatus st = c.call(bag);
    EXPECT_EQ(zkriDCTFree_32f(setup), zkrStsNoErr);
    ASSERT_EQ(st, zkrStsNoErr);
    for (int ch = 0; ch < nc; ++ch)
        for (int v = 0; v < h; ++v)
            for (int u = 0; u < w; ++u) {
                const float got = dst.get(u * nc + ch, v);
                if (ch >= c.active) {
                    ASSERT_EQ(std::memcmp(&got, before.bytes.data() + std::size_t(v * dst.step + (u * nc + ch) * 4), 4), 0) << "alpha changed";
                    continue;
                }
                long double s = 0;
                for (int y = 0; y < h; ++y)
                    for (int x = 0; x < w; ++x)
                        s += src.get(x * nc + ch, y) * (c.inverse ? bw[std::size_t(x * w + u)] * bh[std::size_t(y * h + v)]
                                                                  : bw[std::size_t(u * w + x)] * bh[std::size_t(v * h + y)]);
                ASSERT_NEAR(got, double(s), 2e-5 * 100 * std::sqrt(double(w) * h) + 1e-4)
                    << "at (" << u << ", " << v << ") channel " << ch << " of " << w << "x" << h;
            }
    for (int y = 0; y < h; ++y)
        for (int o = w * nc * 4; o < dst.step; ++o) ASSERT_EQ(dst.bytes[std::size_t(y * dst.step + o)], before.bytes[std::size_t(y * dst.step + o)]);
}

class DctFamily : public LibraryStateTest {};

TEST_F(DctFamily, EveryTransformMatchesTheDoubleSumOnEveryLevel) {
    const ZkriSize sizes[] = {{13, 7}, {8, 8}, {1, 1}, {17, 3}, {1, 6}, {5, 1}, {12, 10}};
    std::mt19937 rng(2);
    forEachLevel([&](const Level&) {
        forEachCase(cases(), [](const DctCase&) { return true; }, [&](const DctCase& c) {
            for (const ZkriSize& s : sizes) checkCase(c, s.width, s.height, rng);
        });
    });
}

TEST_F(DctFamily, ArgumentErrors) {
    ZkriDCTSpec_32f* setup = nullptr;
    EXPECT_EQ(zkriDCTInitAlloc_32f(nullptr, {4, 4}, zkrAlgHintNone), zkrStsNullPtrErr);
    EXPECT_EQ(zkriDCTInitAlloc_32f(&setup, {4, 0}, zkrAlgHintNone), zkrStsSizeErr);
    EXPECT_EQ(zkriDCTInitAlloc_32f(&setup, {ZKR_DCT_MAX_LENGTH + 1, 4}, zkrAlgHintNone), zkrStsSizeErr);
    EXPECT_EQ(zkriDCTInitAlloc_32f(&setup, {4, 4}, ZkrHintAlgorithm(9)), zkrStsHintErr);
    EXPECT_EQ(setup, nullptr);
    EXPECT_EQ(zkriDCTFree_32f(nullptr), zkrStsNoErr);
    EXPECT_EQ(zkriDCTGetBufSize_32f(nullptr, nullptr), zkrStsNullPtrErr);
    ASSERT_EQ(zkriDCTInitAlloc_32f(&setup, {6, 2}, zkrAlgHintNone), zkrStsNoErr);
    int bytes = 0;
    ASSERT_EQ(zkriDCTGetBufSize_32f(setup, &bytes), zkrStsNoErr);
    std::vector<Zkr8u> buffer(static_cast<std::size_t>(bytes)), img(1024);
    forEachCase(cases(), [](const DctCase&) { return true; }, [&](const DctCase& c) {
        DctBag ok;
        ok.pSrc = img.data();
        ok.pDst = img.data() + 512;
        ok.srcStep = ok.dstStep = 6 * 4 * c.channels;
        ok.pSpec = setup;
        ok.pBuffer = buffer.data();
        DctBag b = ok;
        b.pSpec = nullptr;
        EXPECT_EQ(c.call(b), zkrStsNullPtrErr);
        b = ok;
        b.dstStep = 6 * 4 * c.channels - 4;
        EXPECT_EQ(c.call(b), zkrStsStepErr);
        EXPECT_EQ(c.call(ok), zkrStsNoErr);
    });
    EXPECT_EQ(zkriDCTFree_32f(setup), zkrStsNoErr);
    EXPECT_EQ(cases().size(), 8u);
}

}  // namespace
}  // namespace zkrtest
