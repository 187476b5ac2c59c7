// The Div family from the command line: the listings of TimiDiv and TimiDivRound have every function
// with the counts per base, and short runs measure every one of them with "OK", at every scale
// factor and, for Div_Round, every rounding mode.
#include <gtest/gtest.h>

#include <map>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

TEST(DivFamily, ListsEveryFunctionPerBase) {
    EXPECT_EQ(listedBases("TimiDiv"), (std::map<std::string, int>{{"Div", 50}, {"DivC", 50}}));
    EXPECT_EQ(listedBases("TimiDivRound"), (std::map<std::string, int>{{"Div_Round", 24}}));
}

TEST(DivFamily, MeasuresEveryFunctionOk) {
    // "-t=" selects the test name exactly: TimiDivRound's functions stay out of this run.
    const Outcome r = quill("-B -LP -t=TimiDiv -dSize=32x8 -dMethod=Manual -dNumLoops=2");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    // One line per function and scale factor (0; 1; 4): 36 + 36 integer functions, 14 + 14 float ones.
    EXPECT_EQ(perf.size(), 3u * 72u + 28u);
    expectEveryLineOk(perf);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 100);
}

TEST(DivFamily, DivCTakesItsDivisorFromTheCommandLine) {
    const Outcome r = quill("-B -LP -fDivC_32f_C1R -dSize=16x4 -dMethod=Manual -dNumLoops=2 -ddivisor=0.25");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    ASSERT_EQ(perf.size(), 1u);
    EXPECT_NE(perf[0].params.find("divisor=0.25"), std::string::npos) << perf[0].params;
    // A zero divisor is refused as a definition error, before anything runs.
    const Outcome zero = quill("-B -LP -fDivC_32f_C1R -dSize=16x4 -dMethod=Manual -dNumLoops=2 -ddivisor=0");
    EXPECT_TRUE(perfLines(zero.out).empty()) << zero.out;
}

TEST(DivRoundFamily, MeasuresEveryFunctionAndModeOk) {
    const Outcome r = quill("-B -LP -t=TimiDivRound -dSize=32x8 -dMethod=Manual -dNumLoops=2");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    // Three scale factors times three rounding modes per function.
    EXPECT_EQ(perf.size(), 24u * 9u);
    std::map<std::string, int> modes;
    for (const PerfLine& p : perf) {
        EXPECT_EQ(p.result, "OK") << p.params << " " << p.comment;
        for (const char* m : {"roundMode=Zero", "roundMode=Near", "roundMode=Financial"})
            if (p.params.find(m) != std::string::npos) ++modes[m];
    }
    EXPECT_EQ(modes, (std::map<std::string, int>{
                         {"roundMode=Financial", 72}, {"roundMode=Near", 72}, {"roundMode=Zero", 72}}));
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 24);
}
