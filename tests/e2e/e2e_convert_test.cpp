// The Convert family from the command line, through its two modules: the listings of TimCnvrtI and
// TimiScale have their counts per base, short runs measure every function with "OK", and the
// rounding mode and the value range are parameters (a reversed range is the library's error).
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

namespace {


const std::string kShort = " -dSize=32x8 -dMethod=Manual -dNumLoops=2";

}  // namespace

TEST(ConvertFamily, ListsEveryFunctionPerBase) {
    EXPECT_EQ(listedBases("TimCnvrtI"), (std::map<std::string, int>{{"Convert", 16}}));
    EXPECT_EQ(listedBases("TimiScale"), (std::map<std::string, int>{{"Convert", 58}, {"Scale", 20}}));
}

TEST(ConvertFamily, MeasuresEveryExactConversionOk) {
    const Outcome r = quill("-B -LP -tTimCnvrtI" + kShort);
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    EXPECT_EQ(perf.size(), 16u);
    expectEveryLineOk(perf);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 16);
}

// Conversions show their rounding mode (and, scaled, three scale factors), scalings their range.
TEST(ConvertFamily, MeasuresEveryRoundingConversionAndScalingOk) {
    const Outcome r = quill("-B -LP -tTimiScale" + kShort);
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    // 20 unscaled conversions, 38 scaled ones with three scale factors, 20 scalings.
    EXPECT_EQ(perf.size(), 20u + 3u * 38u + 20u);
    int rounding = 0, ranges = 0, scaled = 0;
    for (const PerfLine& p : perf) {
        EXPECT_EQ(p.result, "OK") << p.params << " " << p.comment;
        EXPECT_GT(p.clocks, 0);
        if (p.params.find("roundMode=Near") != std::string::npos) ++rounding;
        if (p.params.find("vMin=0 vMax=1") != std::string::npos) ++ranges;
        if (p.params.find("scaleFactor=") != std::string::npos) ++scaled;
    }
    EXPECT_EQ(rounding, 20 + 3 * 38);
    EXPECT_EQ(ranges, 20);
    EXPECT_EQ(scaled, 3 * 38);
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 78);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 78);
}

TEST(ConvertFamily, RoundingModeAndRangeAreParameters) {
    const Outcome modes = quill("-B -LP -f=zkriConvert_32f16s_C3R -f=zkriConvert_32s8u_AC4RSfs "
                                "'-droundMode=zero;Fin' -dscaleFactor=2" + kShort);
    EXPECT_EQ(modes.status, 0) << modes.out;
    std::multiset<std::string> params;
    for (const PerfLine& p : perfLines(modes.out)) {
        EXPECT_EQ(p.result, "OK") << p.params;
        params.insert(p.params);
    }
    EXPECT_EQ(params, (std::multiset<std::string>{"Size=32x8 roundMode=Zero", "Size=32x8 roundMode=Financial",
                                                 "Size=32x8 scaleFactor=2 roundMode=Zero",
                                                 "Size=32x8 scaleFactor=2 roundMode=Financial"}));

    const Outcome range = quill("-B -LP -f=zkriScale_32f16u_AC4R -f=zkriScale_16s32f_C1R -dvMin=-2.5 -dvMax=4" + kShort);
    EXPECT_EQ(range.status, 0) << range.out;
    const std::vector<PerfLine> lines = perfLines(range.out);
    ASSERT_EQ(lines.size(), 2u) << range.out;
    for (const PerfLine& p : lines) {
        EXPECT_EQ(p.result, "OK");
        EXPECT_EQ(p.params, "Size=32x8 vMin=-2.5 vMax=4");
    }

    const Outcome reversed = quill("-B -LP -f=zkriScale_8u32f_C1R -dvMin=1 -dvMax=0" + kShort);
    EXPECT_NE(reversed.status, 0) << reversed.out;
    EXPECT_TRUE(reversed.has("--ZKR ERROR. status = -16 in zkriScale_8u32f_C1R")) << reversed.out;
    const std::vector<PerfLine> failed = perfLines(reversed.out);
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].result, "FUNCFAIL");
}
