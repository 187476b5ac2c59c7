// The FilterBox family from the command line: the -e listing of its test class with the counts
// per base, and a short batch run that measures every function over its mask sizes.
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

namespace {


// Function names of the listing rows ("| zkri... ").
std::vector<std::string> listedFunctions(const std::string& out) {
    std::vector<std::string> names;
    for (const std::string& line : lines(out)) {
        if (line.rfind("| zkri", 0) != 0) continue;
        std::istringstream cells(line.substr(2));
        std::string name;
        cells >> name;
        names.push_back(name);
    }
    return names;
}

// "zkriFilterMedian_8u_C3R" -> "FilterMedian".
std::string baseOf(const std::string& name) {
    const size_t underscore = name.find('_');
    return name.substr(4, underscore - 4);
}

}  // namespace

TEST(FilterBoxFamily, ListingHasTheCountsPerBase) {
    const Outcome r = quill("-e -tTimFilterBox");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<std::string> names = listedFunctions(r.out);
    std::map<std::string, int> perBase;
    for (const std::string& n : names) ++perBase[baseOf(n)];
    EXPECT_EQ(perBase, (std::map<std::string, int>{{"FilterBox", 32}, {"FilterMax", 16}, {"FilterMin", 16},
                                                   {"FilterMedian", 13}}))
        << r.out;
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), 77u) << "a function is listed twice";
    // Only this family's test class lists them (other classes have Filter bases of their own).
    const std::vector<std::string> others = listedFunctions(quill("-e -t-TimFilterBox -fFilter").out);
    for (const std::string& n : others) EXPECT_EQ(perBase.count(baseOf(n)), 0u) << n;
}

TEST(FilterBoxFamily, EveryFunctionMeasuresOkOverItsMaskSizes) {
    TempDir d;
    const Outcome r = quill("-B -LP -tTimFilterBox -dSize=24x8 '-dMaskSize=3x3;5x1' -dMethod=Manual -dNumLoops=2 -r -l" +
                            d.str());
    EXPECT_EQ(r.status, 0) << r.out.substr(0, 4000);
    const std::vector<PerfLine> perf = perfLines(r.out);
    ASSERT_EQ(perf.size(), 77u * 2) << r.out.substr(0, 4000);
    for (const PerfLine& p : perf) {
        EXPECT_EQ(p.result, "OK") << p.params;
        EXPECT_EQ(p.unit, "pxch");
        EXPECT_GT(p.clocks, 0) << p.params;
    }
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 77);

    // The table names the mask size of each row; the divisor counts the processed channels.
    const Table t = resultTable(readFile(d / "quillmark.csv"));
    ASSERT_EQ(t.rows.size(), 77u * 2);
    std::map<std::string, std::set<std::string>> masks;
    for (size_t i = 0; i < t.rows.size(); ++i) {
        EXPECT_EQ(t.at(i, "Parm1"), "24x8");
        masks[t.at(i, "Function")].insert(t.at(i, "Parm2"));
        EXPECT_EQ(t.at(i, "Result"), "OK");
    }
    EXPECT_EQ(masks.size(), 77u);
    for (const auto& [f, m] : masks) EXPECT_EQ(m, (std::set<std::string>{"3x3", "5x1"})) << f;
}

TEST(FilterBoxFamily, BadMaskSizeIsADefinitionError) {
    const Outcome r = quill("-B -f=zkriFilterBox_8u_C1R '-dMaskSize=3x3;abc' -dMethod=Manual -dNumLoops=2");
    EXPECT_TRUE(r.has("Invalid value of MaskSize = abc")) << r.out.substr(0, 3000);
}
