// The Alpha family's two modules from the command line: each lists its own functions with the counts
// per base, a short run measures every one of them with "OK", and the compositing operation is a
// parameter that takes the user's list and rejects unknown names.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

namespace {


const char* const kShort = " -B -LP -dSize=32x8 -dMethod=Manual -dNumLoops=2";

}  // namespace

TEST(AlphaModules, EachModuleListsItsFunctionsPerBase) {
    EXPECT_EQ(listedBases("TimiAlpha"),
              (std::map<std::string, int>{{"AlphaComp", 2}, {"AlphaCompC", 8}, {"AlphaCompColorKey", 1}}));
    EXPECT_EQ(listedBases("iAlphaComp__YS"), (std::map<std::string, int>{{"AlphaComp", 4}, {"AlphaCompC", 2}}));
}

TEST(AlphaModules, TimiAlphaMeasuresEveryFunctionOk) {
    const Outcome r = quill(std::string("-tTimiAlpha") + kShort);
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    EXPECT_EQ(perf.size(), 11u);
    for (const PerfLine& p : perf) {
        EXPECT_EQ(p.result, "OK") << p.params << " " << p.comment;
        EXPECT_EQ(p.unit, "pxch");
        EXPECT_GT(p.clocks, 0);
        EXPECT_NE(p.params.find("alphaType=Over"), std::string::npos) << "over is the default: " << p.params;
    }
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 11);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 11);
}

TEST(AlphaModules, IAlphaCompYsSweepsTheOperationsItIsGiven) {
    const Outcome r = quill(std::string("-tiAlphaComp__YS") + kShort + " \"-dalphaType=xorp; ATop; plus\"");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    ASSERT_EQ(perf.size(), 6u * 3u);
    std::set<std::string> seen;
    for (const PerfLine& p : perf) {
        EXPECT_EQ(p.result, "OK") << p.params << " " << p.comment;
        const auto at = p.params.find("alphaType=");
        ASSERT_NE(at, std::string::npos) << p.params;
        seen.insert(p.params.substr(at + 10, p.params.find(' ', at) - at - 10));
    }
    // Names are matched by prefix in any case and printed in full.
    EXPECT_EQ(seen, (std::set<std::string>{"XorPremul", "ATop", "Plus"}));
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 6);
}

TEST(AlphaModules, UnknownOperationIsRejected) {
    const Outcome r = quill("-fzkriAlphaCompC_32f_C1R" + std::string(kShort) + " -dalphaType=under");
    EXPECT_NE(r.out.find("Invalid value of alphaType = under"), std::string::npos) << r.out;
    EXPECT_TRUE(perfLines(r.out).empty()) << r.out;
}
