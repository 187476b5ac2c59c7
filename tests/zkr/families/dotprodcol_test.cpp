// The column dot product against the definition summed in long double: every level, widths across
// the 256-column blocks and the thread split (the same bits), and the argument errors.
#include "family_support.h"
#include "test_support.h"

#define ZKR_TABLE "dotprodcol/dotprodcol.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

class DotProdCol : public LibraryStateTest {};

TEST_F(DotProdCol, MatchesDefinitionOnEveryLevelAndThreadCount) {
    std::mt19937 rng(23);
    std::uniform_real_distribution<float> d(-1000.0f, 1000.0f);
    for (auto [width, len] : {std::pair{1, 1}, {13, 5}, {257, 3}, {int(kSplitPixels / 4 + 7), 4}}) {
        SCOPED_TRACE(testing::Message() << width << " x " << len);
        std::vector<std::vector<Zkr32f>> rows(static_cast<std::size_t>(len), std::vector<Zkr32f>(static_cast<std::size_t>(width)));
        std::vector<const Zkr32f*> ptrs;
        std::vector<Zkr32f> coef;
        for (auto& r : rows) {
            for (Zkr32f& v : r) v = d(rng);
            ptrs.push_back(r.data());
            coef.push_back(d(rng) / 1000.0f);
        }
        std::vector<Zkr32f> first;
        forEachLevel([&](const Level&) {
            for (int threads : {1, 2, 3}) {
                ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
                std::vector<Zkr32f> out(std::size_t(width) + 1, -7.0f);
                ASSERT_EQ(zkriDotProdCol_32f_L2(ptrs.data(), coef.data(), len, out.data(), width), zkrStsNoErr);
                EXPECT_EQ(out[std::size_t(width)], -7.0f) << "written past the width";
                out.pop_back();
                if (first.empty()) {
                    first = out;
                    for (int x = 0; x < width; ++x) {
                        long double want = 0, mag = 0;
                        for (int k = 0; k < len; ++k) {
                            want += (long double)coef[std::size_t(k)] * rows[std::size_t(k)][std::size_t(x)];
                            mag += std::fabs((long double)coef[std::size_t(k)] * rows[std::size_t(k)][std::size_t(x)]);
                        }
                        ASSERT_NEAR(out[std::size_t(x)], double(want), double(6e-8L * std::fabs(want) + 1e-15L * mag)) << "x " << x;
                    }
                } else {
                    ASSERT_TRUE(out == first) << threads << " threads";
                }
            }
        });
    }
}

TEST_F(DotProdCol, StatusCodes) {
    const Zkr32f row[4] = {1, 2, 3, 4};
    const Zkr32f* rows[2] = {row, nullptr};
    const Zkr32f coef[2] = {1, 1};
    Zkr32f out[4];
    EXPECT_EQ(zkriDotProdCol_32f_L2(nullptr, coef, 1, out, 4), zkrStsNullPtrErr);
    EXPECT_EQ(zkriDotProdCol_32f_L2(rows, nullptr, 1, out, 4), zkrStsNullPtrErr);
    EXPECT_EQ(zkriDotProdCol_32f_L2(rows, coef, 1, nullptr, 0), zkrStsNullPtrErr);
    EXPECT_EQ(zkriDotProdCol_32f_L2(rows, coef, 0, out, 4), zkrStsSizeErr);
    EXPECT_EQ(zkriDotProdCol_32f_L2(rows, coef, 1, out, -1), zkrStsSizeErr);
    EXPECT_EQ(zkriDotProdCol_32f_L2(rows, coef, 2, out, 4), zkrStsNullPtrErr) << "a NULL row";
    ASSERT_EQ(zkriDotProdCol_32f_L2(rows, coef, 1, out, 4), zkrStsNoErr);
    EXPECT_EQ(out[3], 4.0f);
}

}  // namespace
}  // namespace zkrtest
