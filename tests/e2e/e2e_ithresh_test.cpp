// The Threshold family from the command line: the listing has every function under TimiThresh,
// TimiThreshI and TimiThresh_otsu with the counts per base, a short run measures every one of them
// with "OK", and the family's parameters are read from -d.
#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <sstream>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

namespace {


const std::map<std::string, int> kThresholdBases = {
    {"Threshold", 12},       {"Threshold_GT", 12},    {"Threshold_LT", 12},         {"Threshold_Val", 12},
    {"Threshold_GTVal", 16}, {"Threshold_LTVal", 16}, {"Threshold_LTValGTVal", 12}};

}  // namespace

TEST(ThreshFamily, ListsEveryFunctionPerBase) {
    EXPECT_EQ(listedBases("TimiThresh"), kThresholdBases);
    EXPECT_EQ(listedBases("TimiThreshI"), kThresholdBases);
    EXPECT_EQ(listedBases("TimiThresh_otsu"), (std::map<std::string, int>{{"ComputeThreshold_Otsu", 1}}));
}

TEST(ThreshFamily, MeasuresEveryFunctionOk) {
    // -tTimiThresh selects the three classes.
    const Outcome r = quill("-B -LP -tTimiThresh -dSize=32x8 -dMethod=Manual -dNumLoops=2");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    // One line per function, two (less, greater) for Threshold and Threshold_Val, in both modules.
    EXPECT_EQ(perf.size(), 2u * (92u + 24u) + 1u);
    int less = 0, greater = 0;
    for (const PerfLine& p : perf) {
        EXPECT_EQ(p.result, "OK") << p.params << " " << p.comment;
        EXPECT_EQ(p.unit, "pxch");
        EXPECT_GT(p.clocks, 0);
        less += p.params.find("cmpOp=less") != std::string::npos;
        greater += p.params.find("cmpOp=greater") != std::string::npos;
    }
    EXPECT_EQ(less, 48);
    EXPECT_EQ(greater, 48);
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 185);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 185);
}

TEST(ThreshFamily, ReadsThresholdsValuesAndComparisonFromTheCommandLine) {
    const Outcome r = quill("-B -LP -tTimiThreshI -dSize=16x4 -dMethod=Manual -dNumLoops=1 -dcmpOp=gr "
                            "'-dthreshold=10; 250; +120' -dvalue=7 -dthresholdLT=20 -dthresholdGT=30");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    // Three thresholds for every one-threshold function, one line for each two-sided one.
    EXPECT_EQ(perf.size(), 3u * 80u + 12u);
    std::map<std::string, int> lines;
    for (const PerfLine& p : perf) {
        EXPECT_EQ(p.result, "OK") << p.params;
        EXPECT_EQ(p.params.find("cmpOp=less"), std::string::npos) << p.params;
        for (const char* key : {"threshold=10 ", "threshold=130 ", "threshold=250 ", "value=7", "cmpOp=greater",
                                "thresholdLT=20 ", "thresholdGT=30 "})
            lines[key] += (p.params + " ").find(key) != std::string::npos;
    }
    EXPECT_EQ(lines["threshold=10 "], 80);
    EXPECT_EQ(lines["threshold=250 "], 80);
    EXPECT_EQ(lines["value=7"], 3 * 44);
    EXPECT_EQ(lines["cmpOp=greater"], 3 * 24);
    EXPECT_EQ(lines["thresholdLT=20 "], 12);
    EXPECT_EQ(lines["thresholdGT=30 "], 12);
}

TEST(ThreshFamily, ReversedThresholdsAreTheLibrarysError) {
    // The lower threshold above the upper one is refused by the library: the test fails, the run goes on.
    const Outcome r = quill("-B -LP -tTimiThresh -dSize=16x4 -dMethod=Manual -dNumLoops=1 -dthresholdLT=200 "
                            "-dthresholdGT=100");
    const std::vector<PerfLine> perf = perfLines(r.out);
    int failed = 0;
    for (const PerfLine& p : perf)
        if (p.params.find("thresholdLT=200") != std::string::npos) failed += p.result != "OK";
    EXPECT_EQ(failed, 24) << r.out.substr(0, 2000);
    EXPECT_NE(r.status, 0);
}
