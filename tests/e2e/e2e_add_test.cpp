// The Add family measured from the command line: result table rows per scale factor, and the
// divisor of each result (pixel channels really processed).
#include <gtest/gtest.h>

#include <set>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

TEST(AddFamily, ResultTableHasOneMeasuredRowPerScaleFactor) {
    TempDir d;
    // Warnings shown (-LP): below that level an accuracy warning counts as success, and the row
    // would say OK beside the comment that tells the accuracy reached.
    Outcome r = quill("-B -fAdd_8u_C1RSfs -r -LP -l" + d.str() + " -dSize=64x64");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::string csv = readFile(d / "quillmark.csv");
    const Table t = resultTable(csv);
    ASSERT_EQ(t.rows.size(), 3u) << csv;
    const double mhz = headerMHz(r.out);
    ASSERT_GT(mhz, 0);
    std::vector<std::string> scales;
    for (size_t i = 0; i < t.rows.size(); ++i) {
        EXPECT_EQ(t.at(i, "Function"), "zkriAdd_8u_C1RSfs");
        EXPECT_EQ(t.at(i, "funcBase"), "Add");
        EXPECT_EQ(t.at(i, "funcDataType"), "8u");
        EXPECT_EQ(t.at(i, "funcDescriptor"), "C1RSfs");
        EXPECT_EQ(t.at(i, "Parm1"), "64x64");
        scales.push_back(t.at(i, "Parm2"));
        EXPECT_EQ(t.at(i, "Parm3"), "-");
        double clocks = 0, usec = 0;
        ASSERT_TRUE(isNumber(t.at(i, "Clocks"), &clocks)) << t.at(i, "Clocks");
        ASSERT_TRUE(isNumber(t.at(i, "Time (usec)"), &usec)) << t.at(i, "Time (usec)");
        EXPECT_GT(clocks, 0);
        EXPECT_GT(usec, 0);
        EXPECT_NEAR(usec, clocks * 64 * 64 / mhz, 0.03 * usec);
        EXPECT_EQ(t.at(i, "Unit"), "pxch");
        EXPECT_EQ(t.at(i, "MFlops"), "-");
        expectOkOrJustifiedAccuracyWarning(t.at(i, "Result"), t.at(i, "Comment"), 5.0);
    }
    EXPECT_EQ(scales, (std::vector<std::string>{"0", "1", "4"}));
    // The pattern selected one function; the summary agrees with the table.
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 1);
}

// Results are per channel element really processed: an AC4 image has three of its four channels
// processed, a C3 image three, a single-channel 32s image one.
TEST(AddFamily, DivisorCountsTheChannelsReallyProcessed) {
    TempDir d;
    Outcome r = quill("-B -f=zkriAdd_8u_AC4RSfs -f=zkriAdd_8u_C3RSfs -f=zkriComplement_32s_C1IR -dSize=32x16 "
                      "-dscaleFactor=0 -dMethod=Manual -dNumLoops=50 -LP -r -l" + d.str());
    EXPECT_EQ(r.status, 0) << r.out;
    const double mhz = headerMHz(r.out);
    ASSERT_GT(mhz, 0);
    const Table t = resultTable(readFile(d / "quillmark.csv"));
    ASSERT_EQ(t.rows.size(), 3u);
    std::map<std::string, int> channels{{"zkriAdd_8u_AC4RSfs", 3}, {"zkriAdd_8u_C3RSfs", 3}, {"zkriComplement_32s_C1IR", 1}};
    std::set<std::string> seen;
    for (size_t i = 0; i < t.rows.size(); ++i) {
        const std::string f = t.at(i, "Function");
        ASSERT_TRUE(channels.count(f)) << f;
        seen.insert(f);
        double clocks = 0, usec = 0;
        ASSERT_TRUE(isNumber(t.at(i, "Clocks"), &clocks));
        ASSERT_TRUE(isNumber(t.at(i, "Time (usec)"), &usec));
        ASSERT_GT(clocks, 0);
        // usec = clocks per call / MHz, and clocks per call = clocks per pxch x pixel channels.
        const double pxch = usec * mhz / clocks;
        EXPECT_NEAR(pxch, 32.0 * 16 * channels[f], 0.03 * pxch) << f;
        EXPECT_EQ(t.at(i, "Result"), "OK");
        EXPECT_EQ(t.at(i, "Comment"), "nLps=50");
    }
    EXPECT_EQ(seen.size(), 3u);
    // The complement has no scale factor: its only parameter is the size.
    for (size_t i = 0; i < t.rows.size(); ++i)
        EXPECT_EQ(t.at(i, "Parm2"), t.at(i, "Function") == "zkriComplement_32s_C1IR" ? "-" : "0");
}
