// The Exp family from the command line: TimiExp and TimiLnI list every function with the counts per
// base, TimiLnI under its in-place registration form only, and short runs measure every function
// with "OK" at the default parameters of each module.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

namespace {


// The function names of one test class's listing rows.
std::set<std::string> listedFunctions(const std::string& testClass) {
    const Outcome r = quill("-e -t=" + testClass);
    std::set<std::string> names;
    std::istringstream in(r.out);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("| zkri", 0) != 0 || line.find(testClass + "|") == std::string::npos) continue;
        names.insert(line.substr(2, line.find(' ', 2) - 2));
    }
    return names;
}

}  // namespace

TEST(ExpFamily, ListsEveryFunctionPerBase) {
    EXPECT_EQ(listedBases("TimiExp"), (std::map<std::string, int>{{"Exp", 14}, {"Ln", 8}}));
    EXPECT_EQ(listedBases("TimiLnI"), (std::map<std::string, int>{{"Ln", 8}, {"Exp", 2}}));
}

TEST(ExpFamily, TheTwoModulesMeasureDisjointFunctions) {
    const std::set<std::string> plain = listedFunctions("TimiExp"), inPlace = listedFunctions("TimiLnI");
    EXPECT_EQ(plain.size(), 22u);
    EXPECT_EQ(inPlace.size(), 10u);
    for (const std::string& f : inPlace) {
        EXPECT_EQ(plain.count(f), 0u) << f << " is in both modules";
        EXPECT_NE(f.find("IR"), std::string::npos) << f << " is not an in-place function";
    }
}

TEST(ExpFamily, MeasuresEveryFunctionOk) {
    const Outcome r = quill("-B -LP -t=TimiExp -dSize=32x8 -dMethod=Manual -dNumLoops=2");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    // Three scale factors for the 18 integer functions, one line for the 4 float ones.
    EXPECT_EQ(perf.size(), 18u * 3u + 4u);
    expectEveryLineOk(perf);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 22);
}

TEST(LnIFamily, MeasuresEveryFunctionOkUnderTheInPlaceForm) {
    const Outcome r = quill("-B -LI -t=TimiLnI -dSize=32x8 -dMethod=Manual -dNumLoops=2");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    // The integer logarithms run at the scale factors -2 and -4, the float functions once.
    EXPECT_EQ(perf.size(), 6u * 2u + 4u);
    for (const PerfLine& p : perf) EXPECT_EQ(p.result, "OK") << p.params << " " << p.comment;
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 10);
    EXPECT_NE(r.out.find("registered by ZK_REG_I macro"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("by ZK_REG macro"), std::string::npos);
}
