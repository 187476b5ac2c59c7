// The Border module from the command line: the listing has every function under TimiBorder with
// the counts per base, a short run measures every one of them with "OK" over the border widths
// asked for, and a negative border width is refused before any test runs.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

TEST(BorderModule, ListsEveryFunctionPerBase) {
    EXPECT_EQ(listedBases("TimiBorder"),
              (std::map<std::string, int>{{"CopyReplicateBorder", 40}, {"CopyConstBorder", 20}, {"CopyWrapBorder", 4}}));
}

TEST(BorderModule, MeasuresEveryFunctionOverBorderWidths) {
    const Outcome r = quill("-B -LP -tTimiBorder -dSize=32x8 -dMethod=Manual -dNumLoops=2 -dTopBorder=2 "
                            "\"-dLeftBorder=0; 40\"");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    ASSERT_EQ(perf.size(), 64u * 2);
    std::set<std::string> params;
    for (const PerfLine& p : perf) {
        EXPECT_EQ(p.result, "OK") << p.params << " " << p.comment;
        EXPECT_EQ(p.unit, "pxch");
        EXPECT_GT(p.clocks, 0);
        params.insert(p.params);
    }
    // A left border wider than the source is measured like any other.
    EXPECT_EQ(params, (std::set<std::string>{"Size=32x8 TopBorder=2 LeftBorder=0", "Size=32x8 TopBorder=2 LeftBorder=40"}));
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 64);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 64);
}

TEST(BorderModule, RefusesNegativeBorderWidths) {
    const Outcome r = quill("-B -LP -tTimiBorder -dSize=32x8 -dMethod=Manual -dNumLoops=2 -dLeftBorder=-1");
    EXPECT_NE(r.out.find("Invalid value of LeftBorder = -1"), std::string::npos) << r.out;
    EXPECT_TRUE(perfLines(r.out).empty());
}
