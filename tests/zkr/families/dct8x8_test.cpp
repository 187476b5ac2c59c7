// The 8x8 DCT family against the DCT's double sum evaluated in long double, driven by its table:
// every function on every dispatch level, random and extreme blocks, blocks in padded rows (nothing
// written beside them), the low-frequency inverses ignoring the other coefficients, the reduced
// inverses writing only their n x n values, the level shift and the clipping, and status codes.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "family_support.h"
#include "test_support.h"

#define ZKR_TABLE "dct8x8/dct8x8.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "dct8x8/dct8x8a10.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "dct8x8/zigzag.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

struct DctBag : Bag {
    int addVal = 0, clipMin = 0, clipMax = 255;
};

struct D8Case {
    std::string name, form, kind;
    int n;
    int srcType, dstType;  // 0 8u, 1 16s, 2 32f
    ZkrStatus (*call)(const DctBag&);
};

template <class T> constexpr int typeOf() { return std::is_same_v<T, Zkr8u> ? 0 : (std::is_same_v<T, Zkr16s> ? 1 : 2); }

const std::vector<D8Case>& cases() {
    static const std::vector<D8Case> all = [] {
        std::vector<D8Case> v;
#define ZKR_FN(name, form, Ts, Td, kind, n)                                                                  \
    v.push_back({#name, #form, #kind, n, typeOf<Ts>(), typeOf<Td>(),                                         \
                 [](const DctBag& b) -> ZkrStatus { return ZKR_CALL(b, name, form, Ts, Td, kind, n); }});
#include "dct8x8/dct8x8.tbl"
#include "dct8x8/dct8x8a10.tbl"
#include "dct8x8/zigzag.tbl"
#undef ZKR_FN
        return v;
    }();
    return all;
}

constexpr int kSize[] = {1, 2, 4};

// The zigzag order as the coding standards print it.
constexpr int kZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
                             41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
                             30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

long double basis(int n, int u, int x) {
    const long double c = (u == 0 ? std::sqrt(0.5L) : 1.0L) * std::sqrt(2.0L / n);
    return c * std::cos((2 * x + 1) * u * std::numbers::pi_v<long double> / (2 * n));
}

// The expected n x n (or 8 x 8) result of a case from the 64 source values (level shift included).
std::vector<long double> reference(const D8Case& c, const std::vector<long double>& in, int addVal) {
    std::vector<long double> out(64);
    if (c.kind == "Zigzag" || c.kind == "ZigzagInv") {
        for (int i = 0; i < 64; ++i) {
            if (c.kind == "Zigzag") out[std::size_t(i)] = in[std::size_t(kZigzag[i])];
            else out[std::size_t(kZigzag[i])] = in[std::size_t(i)];
        }
        return out;
    }
    out.clear();
    if (c.kind == "Fwd") {
        for (int v = 0; v < 8; ++v)
            for (int u = 0; u < 8; ++u) {
                long double s = 0;
                for (int y = 0; y < 8; ++y)
                    for (int x = 0; x < 8; ++x) s += (in[std::size_t(y * 8 + x)] + (c.form == "blk_ls" ? addVal : 0)) * basis(8, u, x) * basis(8, v, y);
                out.push_back(s);
            }
        return out;
    }
    const int side = c.kind == "ToLow" ? c.n : 8, used = c.kind == "InvLow" || c.kind == "ToLow" ? c.n : 8;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            long double s = 0;
            for (int v = 0; v < used; ++v)
                for (int u = 0; u < used; ++u) s += in[std::size_t(v * 8 + u)] * basis(side, u, x) * basis(side, v, y);
            out.push_back(s * side / 8 + (c.form == "blk_lsclip" ? addVal : 0));
        }
    return out;
}

template <class F> void withTypes(int t, F&& f) {
    if (t == 0) f.template operator()<Zkr8u>();
    else if (t == 1) f.template operator()<Zkr16s>();
    else f.template operator()<Zkr32f>();
}

// Runs case c on one block of random values (extremes when `extreme`) and checks it.
void checkCase(const D8Case& c, std::mt19937& rng, bool extreme) {
    const int ss = kSize[c.srcType], ds = kSize[c.dstType];
    const bool rowsIn = c.form == "blk_rs" || c.form == "blk_ls", rowsOut = c.form == "blk_rd" || c.form == "blk_lsclip";
    const int srcStep = rowsIn ? 8 * ss + 6 * ss : 8 * ss, dstStep = rowsOut ? 8 * ds + 3 * ds : 8 * ds;
    std::vector<unsigned char> src(std::size_t(srcStep * 8)), dst(std::size_t(dstStep * 8));
    for (auto& b : dst) b = static_cast<unsigned char>(rng());
    std::vector<long double> vals(64);
    withTypes(c.srcType, [&]<class S>() {
        for (int i = 0; i < 64; ++i) {
            S v;
            if constexpr (std::is_same_v<S, Zkr8u>) v = S(extreme ? (i % 2) * 255 : int(rng() % 256));
            else if constexpr (std::is_same_v<S, Zkr16s>) v = S(extreme ? (i % 3 == 0 ? 32767 : -32768) : int(rng() % 1024) - 512);
            else v = extreme ? (i % 2 ? 1e30f : -1e30f) : std::uniform_real_distribution<float>(-300, 300)(rng);
            vals[std::size_t(i)] = v;
            std::memcpy(src.data() + (i / 8) * srcStep + (i % 8) * ss, &v, sizeof(S));
        }
    });
    if (c.form == "blk_i") dst = src;
    const std::vector<unsigned char> before = dst;
    DctBag bag;
    bag.pSrc = src.data();
    bag.srcStep = srcStep;
    bag.pDst = dst.data();
    bag.pSrcDst = dst.data();
    bag.dstStep = dstStep;
    bag.addVal = -128;
    bag.clipMin = 16;
    bag.clipMax = 235;
    ASSERT_EQ(c.call(bag), zkrStsNoErr);
    const auto want = reference(c, vals, -128);
    const int side = c.kind == "ToLow" ? c.n : 8;
    std::vector<bool> written(dst.size(), false);
    withTypes(c.dstType, [&]<class D>() {
        for (int i = 0; i < side * side; ++i) {
            const std::size_t at = side == 8 ? std::size_t((i / 8) * dstStep + (i % 8) * ds) : std::size_t(i * ds);
            D got;
            std::memcpy(&got, dst.data() + at, sizeof(D));
            for (int b = 0; b < ds; ++b) written[at + std::size_t(b)] = true;
            long double e = want[std::size_t(i)];
            long double tol = std::fabs(e) * 1e-5L + 1e-3L;
            if constexpr (!std::is_same_v<D, Zkr32f>) {
                const bool a10 = c.kind == "InvA10";
                const long double lo = c.form == "blk_lsclip" ? 16 : (a10 ? -512 : std::numeric_limits<D>::min());
                const long double hi = c.form == "blk_lsclip" ? 235 : (a10 ? 511 : std::numeric_limits<D>::max());
                e = std::clamp(e, lo, hi);
                tol = c.kind.rfind("Zigzag", 0) == 0 ? 0 : 1;  // single-precision arithmetic, then rounding
            } else if (extreme) {
                tol = 1e-5L * 8e30L;
            }
            ASSERT_LE(std::fabs((long double)got - e), tol) << "element " << i << ": " << (long double)got << " expected " << e;
        }
    });
    for (std::size_t b = 0; b < dst.size(); ++b) {
        if (!written[b]) {
            ASSERT_EQ(dst[b], before[b]) << "byte " << b << " written outside the result";
        }
    }
}

class Dct8x8Family : public LibraryStateTest {};

TEST_F(Dct8x8Family, EveryFunctionMatchesTheDefinitionOnEveryLevel) {
    std::mt19937 rng(64);
    forEachLevel([&](const Level&) {
        forEachCase(cases(), [](const D8Case&) { return true; }, [&](const D8Case& c) {
            for (int rep = 0; rep < 3; ++rep) checkCase(c, rng, false);
            checkCase(c, rng, true);
        });
    });
}

TEST_F(Dct8x8Family, StatusCodes) {
    std::vector<unsigned char> buf(1024);
    forEachCase(cases(), [](const D8Case&) { return true; }, [&](const D8Case& c) {
        DctBag ok;
        ok.pSrc = ok.pDst = ok.pSrcDst = buf.data();
        ok.srcStep = 8 * kSize[c.srcType];
        ok.dstStep = 8 * kSize[c.dstType];
        ok.clipMax = 255;
        DctBag b = ok;
        b.pSrc = b.pSrcDst = nullptr;
        EXPECT_EQ(c.call(b), zkrStsNullPtrErr);
        if (c.form == "blk_rs" || c.form == "blk_ls" || c.form == "blk_rd" || c.form == "blk_lsclip") {
            b = ok;
            b.srcStep = b.dstStep = 8 * std::min(kSize[c.srcType], kSize[c.dstType]) - 1;
            EXPECT_EQ(c.call(b), zkrStsStepErr);
        }
        if (c.form == "blk_lsclip") {
            b = ok;
            b.clipMin = 200;
            b.clipMax = 100;
            EXPECT_EQ(c.call(b), zkrStsBadArgErr);
        }
    });
    EXPECT_EQ(cases().size(), 26u);  // 22 transforms, 2 of 10-bit samples, 2 reorderings
}

}  // namespace
}  // namespace zkrtest
