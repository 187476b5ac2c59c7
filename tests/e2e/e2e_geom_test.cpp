// The geometric modules from the command line: TimiTransp and TimMirror list every function with
// the counts per base, and short runs measure every one of them with "OK": transposes (the in-place
// ones on the square of the width), mirrors over the flip axes asked for, ramps over their axes.
#include <gtest/gtest.h>

#include <map>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

TEST(GeomModules, ListEveryFunctionPerBase) {
    EXPECT_EQ(listedBases("TimiTransp"), (std::map<std::string, int>{{"Transpose", 30}}));
    EXPECT_EQ(listedBases("TimMirror"), (std::map<std::string, int>{{"Mirror", 40}, {"ImageRamp", 24}}));
}

TEST(GeomModules, TransposeMeasuresEveryFunctionOk) {
    const Outcome r = quill("-B -LP -tTimiTransp -dSize=32x8 -dMethod=Manual -dNumLoops=2");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    ASSERT_EQ(perf.size(), 30u);
    expectEveryLineOk(perf);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 30);
}

TEST(GeomModules, MirrorAndRampSweepTheirAxes) {
    const Outcome r = quill("-B -LP -tTimMirror -dSize=32x8 -dMethod=Manual -dNumLoops=2 \"-dFlip=vert; both\" "
                            "\"-dRampAxis=Both; Vert\" -dRampOffset=-3.5 -dRampSlope=0.25");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    std::map<std::string, int> perParams;
    for (const PerfLine& p : perf) {
        EXPECT_EQ(p.result, "OK") << p.params << " " << p.comment;
        EXPECT_GT(p.clocks, 0);
        ++perParams[p.params];
    }
    // Names typed as prefixes in any case select the axes; each mirror runs twice, each ramp twice.
    EXPECT_EQ(perParams, (std::map<std::string, int>{
                             {"Size=32x8 Flip=Vertical", 40},
                             {"Size=32x8 Flip=Both", 40},
                             {"Size=32x8 RampAxis=Both RampOffset=-3.5 RampSlope=0.25", 24},
                             {"Size=32x8 RampAxis=Vertical RampOffset=-3.5 RampSlope=0.25", 24}}));
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 64);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 64);
}

TEST(GeomModules, MirrorDefaultsToEveryFlipAxis) {
    const Outcome r = quill("-B -LP -fzkriMirror_8u_C1R -dSize=16x4 -dMethod=Manual -dNumLoops=2");
    EXPECT_EQ(r.status, 0) << r.out;
    std::map<std::string, int> perParams;
    for (const PerfLine& p : perfLines(r.out)) ++perParams[p.params];
    EXPECT_EQ(perParams, (std::map<std::string, int>{
                             {"Size=16x4 Flip=Horizontal", 1}, {"Size=16x4 Flip=Vertical", 1}, {"Size=16x4 Flip=Both", 1}}));
}

TEST(GeomModules, RefusesAnUnknownFlipAxis) {
    const Outcome r = quill("-B -LP -fzkriMirror_8u_C1R -dSize=16x4 -dMethod=Manual -dNumLoops=2 -dFlip=Diagonal");
    EXPECT_NE(r.out.find("Invalid value of Flip = Diagonal"), std::string::npos) << r.out;
    EXPECT_TRUE(perfLines(r.out).empty());
}
