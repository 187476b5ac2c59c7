// The DFT family against a direct two-dimensional DFT in long double, driven by its table: every
// transform on every dispatch level, at sizes with odd, even and prime sides (one beyond the direct
// radices, which runs the chirp transform), every normalisation flag, padded rows (nothing written
// outside the image, the alpha of AC4 kept), the packed layout as the table documents it, and the
// argument errors of the transforms and their helpers.
#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <map>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "family_support.h"
#include "spectrum_support.h"
#include "test_support.h"

#define ZKR_TABLE "dft/dft.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

using spectrum::Cl;
using spectrum::Img;

struct DftBag : Bag {
    const void* pSpec = nullptr;
    void* pBuffer = nullptr;
};

struct DftCase {
    std::string name, kind;
    int channels, active;
    bool inPlace, integer;
    ZkrStatus (*call)(const DftBag&);
    bool complex() const { return kind[0] == 'C'; }
    bool forward() const { return kind == "CFwd" || kind == "RFwd"; }
};

const std::vector<DftCase>& cases() {
    static const std::vector<DftCase> all = [] {
        std::vector<DftCase> v;
#define ZKR_FN_AUX(...)
#define ZKR_FN(name, form, Ts, Td, S, L, kind)                                                                 \
    {                                                                                                          \
        const std::string l = #L;                                                                              \
        v.push_back({#name, #kind, l == "C1" ? 1 : (l == "C3" ? 3 : 4), l == "C1" ? 1 : (l == "C4" ? 4 : 3),  \
                     std::string(#form) == "dft_i", std::string(#form) == "dft_sfs",                           \
                     [](const DftBag& b) -> ZkrStatus { return ZKR_CALL(b, name, form, Ts, Td, S, L, kind); }}); \
    }
#include "dft/dft.tbl"
#undef ZKR_FN
#undef ZKR_FN_AUX
        return v;
    }();
    return all;
}

// A setup of either kind with its work buffer.
struct DftSetup {
    ZkriDFTSpec_C_32fc* c = nullptr;
    ZkriDFTSpec_R_32f* r = nullptr;
    std::vector<Zkr8u> buffer;
    DftSetup(bool complex, ZkriSize size, int flag) {
        int bytes = 0;
        if (complex) {
            EXPECT_EQ(zkriDFTInitAlloc_C_32fc(&c, size, flag, zkrAlgHintNone), zkrStsNoErr);
            EXPECT_EQ(zkriDFTGetBufSize_C_32fc(c, &bytes), zkrStsNoErr);
        } else {
            EXPECT_EQ(zkriDFTInitAlloc_R_32f(&r, size, flag, zkrAlgHintFast), zkrStsNoErr);
            EXPECT_EQ(zkriDFTGetBufSize_R_32f(r, &bytes), zkrStsNoErr);
        }
        buffer.assign(std::size_t(std::max(bytes, 1)), 0xcd);
    }
    ~DftSetup() {
        EXPECT_EQ(zkriDFTFree_C_32fc(c), zkrStsNoErr);
        EXPECT_EQ(zkriDFTFree_R_32f(r), zkrStsNoErr);
    }
    const void* setup() const { return c ? static_cast<const void*>(c) : static_cast<const void*>(r); }
};

// The direct 2-D DFT (sign -1 forward, +1 inverse) as its double sum, the inner one along the rows;
// angles reduced exactly.
std::vector<Cl> dft2(const std::vector<Cl>& in, int w, int h, int sign) {
    auto roots = [sign](int n) {
        std::vector<Cl> r(static_cast<std::size_t>(n));
        for (int j = 0; j < n; ++j) r[std::size_t(j)] = std::polar(1.0L, sign * 2 * std::numbers::pi_v<long double> * j / n);
        return r;
    };
    const auto rw = roots(w), rh = roots(h);
    std::vector<Cl> rows(in.size()), out(in.size());
    for (int y = 0; y < h; ++y)
        for (int u = 0; u < w; ++u) {
            Cl s = 0;
            for (int x = 0; x < w; ++x) s += in[std::size_t(y * w + x)] * rw[std::size_t((u * x) % w)];
            rows[std::size_t(y * w + u)] = s;
        }
    for (int v = 0; v < h; ++v)
        for (int u = 0; u < w; ++u) {
            Cl s = 0;
            for (int y = 0; y < h; ++y) s += rows[std::size_t(y * w + u)] * rh[std::size_t((v * y) % h)];
            out[std::size_t(v * w + u)] = s;
        }
    return out;
}

long double norm(int flag, bool inverse, int n) {
    if (flag == ZKR_DFT_DIV_BY_SQRTN) return 1 / std::sqrt((long double)n);
    if (flag == (inverse ? ZKR_DFT_DIV_INV_BY_N : ZKR_DFT_DIV_FWD_BY_N)) return 1.0L / n;
    return 1;
}

// One case on w x h with a flag and a scale factor: every element against the direct DFT.
template <class Ts, class Td> void checkCase(const DftCase& c, int w, int h, int flag, int sf, std::mt19937& rng) {
    const int nc = c.channels, cs = c.complex() ? 2 : 1;
    Img<Ts> src(w, h, nc * cs, 3);
    Img<Td> dst(w, h, nc * cs, 1);
    for (auto& b : dst.bytes) b = static_cast<unsigned char>(rng());
    for (auto& b : src.bytes) b = static_cast<unsigned char>(rng());
    for (int y = 0; y < h; ++y)
        for (int i = 0; i < w * nc * cs; ++i) {
            Ts v;
            if constexpr (std::is_same_v<Ts, Zkr8u>) v = Ts(rng() % 256);
            else if constexpr (std::is_same_v<Ts, Zkr32s>) v = Ts(int(rng() % 20001) - 10000);
            else v = std::uniform_real_distribution<float>(-1.0f, 1.0f)(rng);
            std::memcpy(src.bytes.data() + std::size_t(y) * std::size_t(src.step) + std::size_t(i) * sizeof(Ts), &v, sizeof(Ts));
        }
    if (c.inPlace) std::memcpy(dst.bytes.data(), src.bytes.data(), std::min(dst.bytes.size(), src.bytes.size()));
    Img<Td> before = dst;
    Img<Ts> input = src;
    DftSetup setup(c.complex(), {w, h}, flag);
    DftBag bag;
    bag.pSrc = src.data();
    bag.srcStep = src.step;
    bag.pDst = bag.pSrcDst = c.inPlace ? src.data() : dst.data();
    bag.dstStep = bag.srcDstStep = c.inPlace ? src.step : dst.step;
    bag.pSpec = setup.setup();
    bag.pBuffer = setup.buffer.data();
    bag.scaleFactor = sf;
    ASSERT_EQ(c.call(bag), zkrStsNoErr);
    const Img<Td>& out = c.inPlace ? reinterpret_cast<const Img<Td>&>(src) : dst;
    if (c.inPlace) before = reinterpret_cast<const Img<Td>&>(input);
    const long double k = norm(flag, !c.forward(), w * h) * std::ldexp(1.0L, -sf);
    for (int ch = 0; ch < nc; ++ch) {
        std::vector<long double> want(std::size_t(w * h * cs));
        long double mag = 1;
        if (ch < c.active) {
            std::vector<Cl> x(std::size_t(w * h));
            if (c.kind == "RInv") {
                x = spectrum::unpack(input, nc, ch);
            } else {
                for (int y = 0; y < h; ++y)
                    for (int i = 0; i < w; ++i)
                        x[std::size_t(y * w + i)] = c.complex() ? Cl(input.get(2 * (i * nc + ch), y), input.get(2 * (i * nc + ch) + 1, y))
                                                                : Cl((long double)input.get(i * nc + ch, y), 0);
            }
            for (const Cl& z : x) mag = std::max(mag, std::abs(z));
            const auto f = dft2(x, w, h, c.forward() ? -1 : 1);
            for (int y = 0; y < h; ++y)
                for (int i = 0; i < w; ++i) {
                    const std::size_t at = std::size_t(y * w + i);
                    if (c.complex()) {
                        want[2 * at] = f[at].real() * k;
                        want[2 * at + 1] = f[at].imag() * k;
                    } else {
                        want[at] = (c.kind == "RFwd" ? spectrum::packedAt(f, w, h, i, y) : f[at].real()) * k;
                    }
                }
        }
        const long double tol = 2e-6L * mag * std::sqrt((long double)w * h) * k * (c.forward() ? 1 : w * h) + 1e-6L;
        for (int y = 0; y < h; ++y)
            for (int i = 0; i < w; ++i)
                for (int part = 0; part < cs; ++part) {
                    const int e = (i * nc + ch) * cs + part;
                    const Td got = out.get(e, y);
                    if (ch >= c.active) {
                        ASSERT_EQ(std::memcmp(&got, before.bytes.data() + std::size_t(y) * std::size_t(before.step) + std::size_t(e) * sizeof(Td), sizeof(Td)), 0)
                            << "alpha changed at " << i << "," << y;
                        continue;
                    }
                    long double exp = want[std::size_t((y * w + i) * cs + part)];
                    long double allowed = tol;
                    if constexpr (!std::is_floating_point_v<Td>) {
                        exp = std::clamp<long double>(std::nearbyint(exp), std::numeric_limits<Td>::min(), std::numeric_limits<Td>::max());
                        allowed = 1;
                    }
                    ASSERT_LE(std::fabs((long double)got - exp), allowed)
                        << "at (" << i << ", " << y << ") channel " << ch << " part " << part << ": " << (long double)got
                        << " expected " << exp << " (" << w << "x" << h << ", flag " << flag << ", sf " << sf << ")";
                }
    }
    if (c.inPlace) return;
    for (int y = 0; y < h; ++y)
        for (std::size_t o = std::size_t(w * nc * cs) * sizeof(Td); o < std::size_t(dst.step); ++o)
            ASSERT_EQ(dst.bytes[std::size_t(y) * std::size_t(dst.step) + o], before.bytes[std::size_t(y) * std::size_t(dst.step) + o]);
}

class DftFamily : public LibraryStateTest {};

TEST_F(DftFamily, EveryTransformMatchesTheDirectDftOnEveryLevel) {
    // odd, even and prime sides; 17 and 19 run the chirp transform; one pixel, one row, one column
    struct Geometry { int w, h, flag; };
    const Geometry geometries[] = {{13, 7, ZKR_DFT_DIV_INV_BY_N}, {8, 6, ZKR_DFT_DIV_FWD_BY_N}, {1, 1, ZKR_DFT_NODIV_BY_ANY},
                                   {17, 4, ZKR_DFT_DIV_BY_SQRTN}, {6, 19, ZKR_DFT_DIV_INV_BY_N}, {1, 5, ZKR_DFT_NODIV_BY_ANY},
                                   {10, 1, ZKR_DFT_DIV_FWD_BY_N}};
    std::mt19937 rng(3);
    forEachLevel([&](const Level&) {
        forEachCase(cases(), [](const DftCase&) { return true; }, [&](const DftCase& c) {
            for (const Geometry& g : geometries)
                for (int sf : c.integer ? std::vector<int>{0, 2, -3} : std::vector<int>{0}) {
                    if (c.complex()) checkCase<Zkr32f, Zkr32f>(c, g.w, g.h, g.flag, sf, rng);
                    else if (!c.integer) checkCase<Zkr32f, Zkr32f>(c, g.w, g.h, g.flag, sf, rng);
                    else if (c.forward()) checkCase<Zkr8u, Zkr32s>(c, g.w, g.h, g.flag, sf, rng);
                    else checkCase<Zkr32s, Zkr8u>(c, g.w, g.h, g.flag, sf, rng);
                }
        });
    });
}

TEST_F(DftFamily, ArgumentErrors) {
    // the helpers
    ZkriDFTSpec_R_32f* r = nullptr;
    ZkriDFTSpec_C_32fc* cs = nullptr;
    EXPECT_EQ(zkriDFTInitAlloc_R_32f(nullptr, {4, 4}, ZKR_DFT_DIV_INV_BY_N, zkrAlgHintNone), zkrStsNullPtrErr);
    EXPECT_EQ(zkriDFTInitAlloc_R_32f(&r, {0, 4}, ZKR_DFT_DIV_INV_BY_N, zkrAlgHintNone), zkrStsSizeErr);
    EXPECT_EQ(zkriDFTInitAlloc_R_32f(&r, {4, ZKR_DFT_MAX_LENGTH + 1}, ZKR_DFT_DIV_INV_BY_N, zkrAlgHintNone), zkrStsSizeErr);
    EXPECT_EQ(zkriDFTInitAlloc_C_32fc(&cs, {4, 4}, 3, zkrAlgHintNone), zkrStsFftFlagErr);
    EXPECT_EQ(zkriDFTInitAlloc_C_32fc(&cs, {4, 4}, ZKR_DFT_DIV_INV_BY_N, ZkrHintAlgorithm(7)), zkrStsHintErr);
    EXPECT_EQ(r, nullptr);
    EXPECT_EQ(cs, nullptr);
    EXPECT_EQ(zkriDFTGetBufSize_R_32f(nullptr, nullptr), zkrStsNullPtrErr);
    // the transforms: null pointers, a setup of the other kind, short steps
    DftSetup real(false, {5, 3}, ZKR_DFT_DIV_INV_BY_N), cplx(true, {5, 3}, ZKR_DFT_DIV_INV_BY_N);
    std::vector<unsigned char> img(4096);
    forEachCase(cases(), [](const DftCase&) { return true; }, [&](const DftCase& c) {
        DftBag ok;
        ok.pSrc = ok.pDst = ok.pSrcDst = img.data();
        ok.srcStep = ok.dstStep = ok.srcDstStep = 256;
        ok.pSpec = c.complex() ? cplx.setup() : real.setup();
        ok.pBuffer = (c.complex() ? cplx : real).buffer.data();
        DftBag b = ok;
        b.pBuffer = nullptr;
        EXPECT_EQ(c.call(b), zkrStsNullPtrErr);
        b = ok;
        b.pSpec = c.complex() ? real.setup() : cplx.setup();
        EXPECT_EQ(c.call(b), zkrStsContextMatchErr);
        b = ok;
        b.srcStep = b.srcDstStep = 5 * (c.complex() ? 8 : c.channels) - 1;
        EXPECT_EQ(c.call(b), zkrStsStepErr);
    });
}

TEST(DftFamilyTable, HasTheCatalogueCountsPerBase) {
    std::map<std::string, int> perKind;
    for (const DftCase& c : cases()) ++perKind[c.kind];
    EXPECT_EQ(perKind, (std::map<std::string, int>{{"CFwd", 2}, {"CInv", 2}, {"RFwd", 12}, {"RInv", 12}}));
}

}  // namespace
}  // namespace zkrtest
