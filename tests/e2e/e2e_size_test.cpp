// The TimSize module from the command line: the listing has every function under TimSize with
// the counts per base, a short run measures every one of them with "OK", and the module's own
// parameters reach the library (an out-of-domain tolerance fails the comparisons only).
#include <gtest/gtest.h>

#include <map>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

namespace {


const char* const kShortRun = "-B -LP -tTimSize -dSize=32x8 -dMethod=Manual -dNumLoops=2";

}  // namespace

TEST(SizeModule, ListsEveryFunctionPerBase) {
    EXPECT_EQ(listedBases("TimSize"), (std::map<std::string, int>{{"CompareEqualEps", 4},
                                                                  {"CompareEqualEpsC", 4},
                                                                  {"ImageJaehne", 24},
                                                                  {"DeinterlaceFilterCAVT", 1}}));
}

TEST(SizeModule, MeasuresEveryFunctionOk) {
    const Outcome r = quill(kShortRun);
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    EXPECT_EQ(perf.size(), 33u);
    expectEveryLineOk(perf);
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 33);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 33);
}

TEST(SizeModule, ParametersReachTheLibrary) {
    const Outcome r = quill(std::string(kShortRun) + " -deps=-1 -dthreshold=0");
    const std::vector<PerfLine> perf = perfLines(r.out);
    ASSERT_EQ(perf.size(), 33u);
    int failed = 0;
    for (const PerfLine& p : perf) {
        if (p.result != "OK") ++failed;
        if (p.params.find("eps=-1") != std::string::npos) EXPECT_NE(p.result, "OK") << p.params;
        else EXPECT_EQ(p.result, "OK") << p.params << " " << p.comment;
    }
    EXPECT_EQ(failed, 8);  // the eight comparisons
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 25);
}
