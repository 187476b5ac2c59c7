// The DotProd family against the definition (the sum of the products, in long double), driven by
// its table: every function on every dispatch level, ROIs inside padded images, sums beyond the
// 32-bit lanes, thread splits, and every argument error.
#include <algorithm>
#include <map>

#include "family_support.h"
#include "test_support.h"

#define ZKR_TABLE "dotprod/dotprod.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

struct DotBag : Bag {
    Zkr64f* pDp = nullptr;
};

struct DotCase {
    std::string name;
    int typeIndex;  // into the family's types, below
    int channels, active, compBytes;
    ZkrStatus (*call)(const DotBag&);
};

template <class T> constexpr int typeIndexOf() {
    using Ts = std::tuple<Zkr8u, Zkr8s, Zkr16u, Zkr16s, Zkr32u, Zkr32s, Zkr32f>;
    return []<std::size_t... I>(std::index_sequence<I...>) {
        return int(((std::is_same_v<T, std::tuple_element_t<I, Ts>> ? I : 0) + ...));
    }(std::make_index_sequence<7>());
}

// Calls f.template operator()<S>() with the case's element type.
template <class F> void withType(const DotCase& c, F&& f) {
    switch (c.typeIndex) {
        case 0: f.template operator()<Zkr8u>(); break;
        case 1: f.template operator()<Zkr8s>(); break;
        case 2: f.template operator()<Zkr16u>(); break;
        case 3: f.template operator()<Zkr16s>(); break;
        case 4: f.template operator()<Zkr32u>(); break;
        case 5: f.template operator()<Zkr32s>(); break;
        default: f.template operator()<Zkr32f>(); break;
    }
}

template <class T> DotCase describe(const char* name, const char* layout, ZkrStatus (*call)(const DotBag&)) {
    const std::string l = layout;
    return {name, typeIndexOf<T>(), l == "C1" ? 1 : (l == "C3" ? 3 : 4), l == "C4" ? 4 : (l == "C1" ? 1 : 3),
            int(sizeof(T)), call};
}

const std::vector<DotCase>& cases() {
    static const std::vector<DotCase> all = [] {
        std::vector<DotCase> v;
#define ZKR_FN(name, form, T, L) \
    v.push_back(describe<T>(#name, #L, [](const DotBag& b) { return ZKR_CALL(b, name, form, T); }));
#include "dotprod/dotprod.tbl"
#undef ZKR_FN
        return v;
    }();
    return all;
}

template <class S> void checkOne(const DotCase& c, const Plane<S>& a, const Plane<S>& b) {
    Zkr64f out[4] = {-7, -7, -7, -7};
    DotBag bag;
    bag.pSrc1 = a.roi(), bag.src1Step = a.stepBytes();
    bag.pSrc2 = b.roi(), bag.src2Step = b.stepBytes();
    bag.roiSize = {a.width, a.height};
    bag.pDp = out;
    ASSERT_EQ(c.call(bag), zkrStsNoErr);
    for (int ch = 0; ch < c.active; ++ch) {
        long double sum = 0, mag = 0;
        for (int y = 0; y < a.height; ++y)
            for (int x = 0; x < a.width; ++x) {
                const long double p = (long double)a.at(y, x * c.channels + ch) * b.at(y, x * c.channels + ch);
                sum += p, mag += std::fabs(p);
            }
        // 8- and 16-bit products sum exactly; wider ones within double's rounding of each step.
        if (sizeof(S) <= 2) EXPECT_EQ(out[ch], double(sum)) << "channel " << ch;
        else EXPECT_LE(std::fabs(out[ch] - sum), 8e-16L * mag) << "channel " << ch << ": got " << out[ch] << ", want " << double(sum);
    }
    for (int ch = c.active; ch < 4; ++ch) EXPECT_EQ(out[ch], -7.0) << "written past the computed channels";
}

// Float sources with moderate values, so that the sum's bound stays meaningful.
template <class S> void moderate(Plane<S>& p, std::mt19937& rng) {
    if constexpr (std::is_floating_point_v<S>)
        for (S& v : p.data) v = std::uniform_real_distribution<S>(-1000.0f, 1000.0f)(rng);
}

class DotProdFamily : public LibraryStateTest {};

TEST_F(DotProdFamily, MatchesDefinitionOnEveryLevelAndThreadCount) {
    forEachCase(cases(), [](const DotCase&) { return true; }, [](const DotCase& c) {
        withType(c, [&]<class S>() {
            std::mt19937 rng(99);
            forEachLevel([&](const Level&) {
                for (ZkriSize g : {ZkriSize{1, 1}, ZkriSize{13, 7}, ZkriSize{300, 3}, ZkriSize{5, 150}}) {
                    SCOPED_TRACE(testing::Message() << g.width << "x" << g.height);
                    Plane<S> a(g.width, g.height, c.channels, randomPadding(rng), rng),
                        b(g.width, g.height, c.channels, randomPadding(rng), rng);
                    moderate(a, rng), moderate(b, rng);
                    checkOne(c, a, b);
                }
            });
            // Above the splitting threshold: 1, 2 and 3 threads give the same bits.
            Plane<S> a(kSplitSize.width, kSplitSize.height, c.channels, Padding{}, rng),
                b(kSplitSize.width, kSplitSize.height, c.channels, randomPadding(rng), rng);
            moderate(a, rng), moderate(b, rng);
            Zkr64f first[4] = {};
            for (int threads : {1, 2, 3}) {
                ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
                Zkr64f out[4] = {};
                DotBag bag;
                bag.pSrc1 = a.roi(), bag.src1Step = a.stepBytes();
                bag.pSrc2 = b.roi(), bag.src2Step = b.stepBytes();
                bag.roiSize = kSplitSize;
                bag.pDp = out;
                ASSERT_EQ(c.call(bag), zkrStsNoErr);
                if (threads == 1) checkOne(c, a, b), std::copy(out, out + 4, first);
                else EXPECT_EQ(std::memcmp(out, first, sizeof out), 0) << threads << " threads";
            }
            zkrSetNumThreads(1);
        });
    });
}

// NULL pointers, then size, then each step.
TEST_F(DotProdFamily, StatusCodes) {
    forEachCase(cases(), [](const DotCase&) { return true; }, [](const DotCase& c) {
        std::vector<unsigned char> img(6 * 3 * 4 * 8);
        Zkr64f out[4];
        DotBag good;
        good.pSrc1 = good.pSrc2 = img.data();
        good.src1Step = good.src2Step = 6 * c.channels * c.compBytes;
        good.roiSize = {6, 3};
        good.pDp = out;
        ASSERT_EQ(c.call(good), zkrStsNoErr);
        DotBag x = good;
        x.pSrc1 = nullptr, x.roiSize = {0, 0};
        EXPECT_EQ(c.call(x), zkrStsNullPtrErr);
        x = good, x.pSrc2 = nullptr;
        EXPECT_EQ(c.call(x), zkrStsNullPtrErr);
        x = good, x.pDp = nullptr;
        EXPECT_EQ(c.call(x), zkrStsNullPtrErr);
        x = good, x.roiSize = {6, 0}, x.src1Step = 0;
        EXPECT_EQ(c.call(x), zkrStsSizeErr);
        x = good, x.roiSize = {-1, 3};
        EXPECT_EQ(c.call(x), zkrStsSizeErr);
        for (int s : {0, good.src1Step - c.compBytes, c.compBytes > 1 ? good.src1Step + 1 : -good.src1Step}) {
            x = good, x.src1Step = s;
            EXPECT_EQ(c.call(x), zkrStsStepErr) << "step " << s;
            x = good, x.src2Step = s;
            EXPECT_EQ(c.call(x), zkrStsStepErr) << "second step " << s;
        }
    });
}

// 2100x2100 8u products of 255 * 255 sum to 2.9e11, far past 32-bit lanes; 8s of -128 * -128 and
// 16s of -32768 * 32767 with their signs.
TEST_F(DotProdFamily, LargeSumsStayExact) {
    const int n = 2100;
    std::vector<Zkr8u> u(std::size_t(n) * n, 255);
    std::vector<Zkr8s> s(u.size(), -128);
    std::vector<Zkr16s> p(u.size(), -32768), q(u.size(), 32767);
    forEachLevel([&](const Level&) {
        for (int threads : {1, 2}) {
            ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
            Zkr64f v = 0;
            ASSERT_EQ(zkriDotProd_8u64f_C1R(u.data(), n, u.data(), n, {n, n}, &v), zkrStsNoErr);
            EXPECT_EQ(v, 65025.0 * n * n);
            ASSERT_EQ(zkriDotProd_8s64f_C1R(s.data(), n, s.data(), n, {n, n}, &v), zkrStsNoErr);
            EXPECT_EQ(v, 16384.0 * n * n);
            ASSERT_EQ(zkriDotProd_16s64f_C1R(p.data(), 2 * n, q.data(), 2 * n, {n, n}, &v), zkrStsNoErr);
            EXPECT_EQ(v, -32768.0 * 32767.0 * n * n);
        }
    });
    EXPECT_EQ(cases().size(), 28u);
}

}  // namespace
}  // namespace zkrtest
