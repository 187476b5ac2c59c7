// The packed-spectrum family against its definition, driven by its table: the packed spectra are
// unpacked into the full Hermitian spectrum by the layout's rule (every packed value placed at F(u, v)
// and its conjugate at F(-u, -v)), multiplied, measured or packed again in long double; every function
// on every dispatch level, odd and even sizes down to one pixel, padded rows (nothing written outside
// the ROI, the alpha of AC4 kept), scale factors with saturation, thread splits, status codes.
#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <map>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "family_support.h"
#include "spectrum_support.h"
#include "test_support.h"

#define ZKR_TABLE "mulpack/mulpack.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

using spectrum::Cl;
using spectrum::Img;
using spectrum::packedAt;
using spectrum::unpack;

struct MpCase {
    std::string name, op;
    int type;  // component type: 0 32f, 1 32s, 2 16s
    int channels, active;
    bool complexSrc, inPlace, twoSources, scaled;
    ZkrStatus (*call)(const Bag&);
};

template <class T> constexpr int typeIndex() {
    using S = std::conditional_t<std::is_same_v<T, Zkr32fc>, Zkr32f,
                                 std::conditional_t<std::is_same_v<T, Zkr32sc>, Zkr32s,
                                                    std::conditional_t<std::is_same_v<T, Zkr16sc>, Zkr16s, T>>>;
    return std::is_same_v<S, Zkr32f> ? 0 : (std::is_same_v<S, Zkr32s> ? 1 : 2);
}

const std::vector<MpCase>& cases() {
    static const std::vector<MpCase> all = [] {
        std::vector<MpCase> v;
#define ZKR_FN(name, form, Ts, Td, L, op)                                                                    \
    {                                                                                                        \
        const std::string f = #form, l = #L;                                                                 \
        v.push_back({#name, #op, typeIndex<Td>(), l == "C1" ? 1 : (l == "C3" ? 3 : 4),                      \
                     l == "C1" ? 1 : (l == "C4" ? 4 : 3), !std::is_same_v<Ts, Td>, f.find("_i") != f.npos,  \
                     f.rfind("binary", 0) == 0 && f.find("_i") == f.npos, f.find("sfs") != f.npos,         \
                     [](const Bag& b) -> ZkrStatus { return ZKR_CALL(b, name, form, Ts, Td, L, op); }});  \
    }
#include "mulpack/mulpack.tbl"
#undef ZKR_FN
        return v;
    }();
    return all;
}

template <class S> S randomValue(std::mt19937& rng) {
    if constexpr (std::is_same_v<S, Zkr32f>) {
        return std::uniform_real_distribution<float>(-100.0f, 100.0f)(rng);
    } else {
        // mostly moderate values, one in eight from the whole range (saturation)
        if (rng() % 8 == 0) return S(std::uniform_int_distribution<long long>(std::numeric_limits<S>::min(), std::numeric_limits<S>::max())(rng));
        const long long lim = std::is_same_v<S, Zkr16s> ? 300 : (1LL << 20);
        return S(std::uniform_int_distribution<long long>(-lim, lim)(rng));
    }
}

template <class S> void fillRandomImg(Img<S>& im, std::mt19937& rng) {
    for (auto& b : im.bytes) b = static_cast<unsigned char>(rng());
    for (int y = 0; y < im.h; ++y)
        for (int i = 0; i < im.w * im.comps; ++i) {
            const S v = randomValue<S>(rng);
            std::memcpy(im.bytes.data() + std::size_t(y) * std::size_t(im.step) + std::size_t(i) * sizeof(S), &v, sizeof(S));
        }
}

// The expected element: floats as they are, integers times 2^-sf rounded half to even and saturated.
template <class S> long double expectedElem(long double v, int sf) {
    if constexpr (std::is_same_v<S, Zkr32f>) return v;
    else {
        const long double x = std::nearbyint(std::ldexp(v, -sf));
        return std::clamp<long double>(x, std::numeric_limits<S>::min(), std::numeric_limits<S>::max());
    }
}

template <class S> bool close(S got, long double want, long double scale, bool angle) {
    if constexpr (std::is_same_v<S, Zkr32f>) return std::fabs((long double)got - want) <= 4e-6L * scale + 1e-30L;
    else return std::fabs((long double)got - want) <= (angle ? 1 : 0);
}

// Runs case c on w x h with scale factor sf and checks every destination element against the
// definition and every byte the call must not write.
template <class S> void checkCase(const MpCase& c, int w, int h, int sf, std::mt19937& rng) {
    const int nc = c.channels;
    const int srcComps = nc * (c.complexSrc ? 2 : 1);
    Img<S> a(w, h, srcComps, 3), b(w, h, srcComps, 1), d(w, h, nc, 2);
    fillRandomImg(a, rng);
    fillRandomImg(b, rng);
    fillRandomImg(d, rng);
    if (c.inPlace) d = b;
    const Img<S> before = d;
    Bag bag;
    bag.pSrc = bag.pSrc1 = a.data();
    bag.srcStep = bag.src1Step = a.step;
    bag.pSrc2 = b.data();
    bag.src2Step = b.step;
    bag.pDst = bag.pSrcDst = d.data();
    bag.dstStep = bag.srcDstStep = d.step;
    bag.roiSize = {w, h};
    bag.scaleFactor = sf;
    ASSERT_EQ(c.call(bag), zkrStsNoErr);
    const Img<S>& second = c.inPlace ? before : b;
    const bool angle = c.op.find("Phase") != std::string::npos;
    for (int ch = 0; ch < nc; ++ch) {
        const bool active = ch < c.active;
        std::vector<long double> want(std::size_t(w * h));
        long double scale = 1;
        if (active && (c.op == "MulPack" || c.op == "MulPackConj")) {
            const auto fa = unpack(a, nc, ch), fb = unpack(second, nc, ch);
            std::vector<Cl> prod(fa.size());
            for (std::size_t i = 0; i < fa.size(); ++i) {
                prod[i] = fa[i] * (c.op == "MulPack" ? fb[i] : std::conj(fb[i]));
                scale = std::max(scale, std::abs(fa[i]) * std::abs(fb[i]));
            }
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) want[std::size_t(y * w + x)] = packedAt(prod, w, h, x, y);
        } else if (active && (c.op == "MagnitudePack" || c.op == "PhasePack")) {
            const auto fa = unpack(a, nc, ch);
            for (std::size_t i = 0; i < fa.size(); ++i) {
                // the conjugate of a real value is itself (a zero imaginary part keeps its sign +)
                const Cl z(fa[i].real(), fa[i].imag() == 0 ? 0.0L : fa[i].imag());
                want[i] = c.op == "MagnitudePack" ? std::abs(z) : std::atan2(z.imag(), z.real());
                scale = std::max(scale, std::abs(z));
            }
            if (angle) scale = 4;
        } else if (active) {
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    const int i = x * nc + ch;
                    const Cl z((long double)a.get(2 * i, y), (long double)a.get(2 * i + 1, y));
                    want[std::size_t(y * w + x)] = c.op == "Magnitude" ? std::abs(z) : std::atan2(z.imag(), z.real());
                    scale = std::max(scale, angle ? 4.0L : std::abs(z));
                }
        }
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const S got = d.get(x * nc + ch, y);
                if (!active) {
                    ASSERT_EQ(std::memcmp(&got, &before.bytes[std::size_t(y) * std::size_t(d.step) + std::size_t(x * nc + ch) * sizeof(S)], sizeof(S)), 0)
                        << "alpha changed at " << x << "," << y;
                    continue;
                }
                const long double e = expectedElem<S>(want[std::size_t(y * w + x)], sf);
                ASSERT_TRUE(close<S>(got, e, scale, angle))
                    << "at (" << x << ", " << y << ") channel " << ch << ": " << (long double)got << " expected " << e
                    << " (" << w << "x" << h << ", sf " << sf << ")";
            }
    }
    // the row gaps and what follows the last row keep their bytes
    for (int y = 0; y < h; ++y)
        for (std::size_t o = std::size_t(w * nc) * sizeof(S); o < std::size_t(d.step); ++o)
            ASSERT_EQ(d.bytes[std::size_t(y) * std::size_t(d.step) + o], before.bytes[std::size_t(y) * std::size_t(d.step) + o]);
}

template <class F> void withType(int t, F&& f) {
    if (t == 0) f.template operator()<Zkr32f>();
    else if (t == 1) f.template operator()<Zkr32s>();
    else f.template operator()<Zkr16s>();
}

class MulPackFamily : public LibraryStateTest {};

TEST_F(MulPackFamily, EveryFunctionMatchesTheDefinitionOnEveryLevel) {
    // odd and even widths and heights (the real-valued columns and rows of the layout), one pixel, one row,
    // one column
    const ZkriSize sizes[] = {{13, 7}, {8, 6}, {1, 1}, {2, 1}, {1, 5}, {6, 2}, {5, 4}};
    std::mt19937 rng(27);
    forEachLevel([&](const Level&) {
        forEachCase(cases(), [](const MpCase&) { return true; }, [&](const MpCase& c) {
            const std::vector<int> sfs = !c.scaled ? std::vector<int>{0}
                                                   : (c.type == 2 ? std::vector<int>{0, 3, -2} : std::vector<int>{0, 13, 40, -1});
            for (const ZkriSize& s : sizes)
                for (int sf : sfs) withType(c.type, [&]<class S>() { checkCase<S>(c, s.width, s.height, sf, rng); });
        });
    });
}

TEST_F(MulPackFamily, ThreadSplitsGiveTheOneThreadResult) {
    // an image above the splitting size with an odd height, so that a band ends inside a row pair
    forEachCase(cases(), [](const MpCase& c) { return c.channels == 1; }, [&](const MpCase& c) {
        withType(c.type, [&]<class S>() {
            const int w = kSplitSize.width, h = kSplitSize.height;
            const int comps = c.channels * (c.complexSrc ? 2 : 1);
            std::mt19937 rng(5);
            Img<S> a(w, h, comps, 0), b(w, h, comps, 0);
            fillRandomImg(a, rng);
            fillRandomImg(b, rng);
            std::vector<Img<S>> out;
            for (int threads : {1, 2}) {
                ASSERT_EQ(zkrSetNumThreads(threads), zkrStsNoErr);
                Img<S> d(w, h, c.channels, 0);
                if (c.inPlace) d = b;
                Bag bag;
                bag.pSrc = bag.pSrc1 = a.data();
                bag.srcStep = bag.src1Step = a.step;
                bag.pSrc2 = b.data();
                bag.src2Step = b.step;
                bag.pDst = bag.pSrcDst = d.data();
                bag.dstStep = bag.srcDstStep = d.step;
                bag.roiSize = {w, h};
                bag.scaleFactor = 1;
                ASSERT_EQ(c.call(bag), zkrStsNoErr);
                out.push_back(d);
            }
            EXPECT_TRUE(out[0].bytes == out[1].bytes);
        });
    });
}

TEST_F(MulPackFamily, StatusCodesInTheLibrarysOrder) {
    std::vector<unsigned char> buf(4096);
    forEachCase(cases(), [](const MpCase&) { return true; }, [&](const MpCase& c) {
        const int elem = (c.type == 2 ? 2 : 4) * c.channels;
        const int srcElem = elem * (c.complexSrc ? 2 : 1);
        Bag ok;
        ok.pSrc = ok.pSrc1 = ok.pSrc2 = buf.data();
        ok.pDst = ok.pSrcDst = buf.data() + 2048;
        ok.srcStep = ok.src1Step = ok.src2Step = srcElem * 4;
        ok.dstStep = ok.srcDstStep = c.inPlace ? srcElem * 4 : elem * 4;
        ok.roiSize = {4, 2};
        const auto cleared = [](Bag b, const void* Bag::*p) { b.*p = nullptr; return b; };
        // null pointers before the size, the size before the steps
        Bag nul = cleared(ok, c.twoSources ? &Bag::pSrc1 : &Bag::pSrc);
        nul.roiSize = {0, 2};
        EXPECT_EQ(c.call(nul), zkrStsNullPtrErr);
        Bag size = ok;
        size.roiSize = {4, -1};
        size.srcStep = size.src1Step = size.dstStep = size.srcDstStep = 0;
        EXPECT_EQ(c.call(size), zkrStsSizeErr);
        Bag step = ok;
        step.srcStep = step.src1Step = srcElem * 4 - 1;
        EXPECT_EQ(c.call(step), zkrStsStepErr);
        Bag dstep = ok;
        dstep.dstStep = dstep.srcDstStep = (c.inPlace ? srcElem : elem) * 3;
        EXPECT_EQ(c.call(dstep), zkrStsStepErr);
    });
}

TEST(MulPackFamilyTable, HasTheCatalogueCountsPerBase) {
    std::map<std::string, int> perBase;
    for (const MpCase& c : cases()) ++perBase[c.op];
    const std::map<std::string, int> want = {{"MulPack", 24}, {"MulPackConj", 8}, {"PhasePack", 6},
                                             {"MagnitudePack", 6}, {"Magnitude", 8}, {"Phase", 8}};
    EXPECT_EQ(perBase, want);
}

}  // namespace
}  // namespace zkrtest
