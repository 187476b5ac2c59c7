// The Histogram family from the command line: the listing has every function under TimiHisto with
// the counts per base, a short run measures every one of them with "OK", the number of levels is a
// parameter of the histograms and tables (not of the counts), and a level count the cubic table
// cannot take is refused with a message.
#include <gtest/gtest.h>

#include <map>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

TEST(HistoFamily, ListsEveryFunctionPerBase) {
    EXPECT_EQ(listedBases("TimiHisto"),
              (std::map<std::string, int>{{"HistogramRange", 16}, {"HistogramEven", 12}, {"LUT", 32},
                                          {"LUT_Linear", 32}, {"LUT_Cubic", 32}, {"CountInRange", 6}}));
}

TEST(HistoFamily, MeasuresEveryFunctionOk) {
    const Outcome r = quill("-B -LP -t=TimiHisto -dSize=32x8 -dMethod=Manual -dNumLoops=2");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    EXPECT_EQ(perf.size(), 130u);
    expectEveryLineOk(perf);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 130);
}

TEST(HistoFamily, LevelsAreAParameterOfHistogramsAndTablesOnly) {
    TempDir d;
    const Outcome r = quill("-B -f=zkriHistogramEven_8u_C1R -f=zkriCountInRange_32f_C1R -dSize=16x16 "
                            "'-dnLevels=4; 64' -dMethod=Manual -dNumLoops=2 -r -l" + d.str());
    EXPECT_EQ(r.status, 0) << r.out;
    const Table t = resultTable(readFile(d / "quillmark.csv"));
    std::map<std::string, std::vector<std::string>> levels;
    for (size_t i = 0; i < t.rows.size(); ++i) levels[t.at(i, "Function")].push_back(t.at(i, "Parm2"));
    EXPECT_EQ(levels["zkriHistogramEven_8u_C1R"], (std::vector<std::string>{"4", "64"}));
    EXPECT_EQ(levels["zkriCountInRange_32f_C1R"], (std::vector<std::string>{"-"}));
}

TEST(HistoFamily, TooFewLevelsForTheCubicTableAreRefused) {
    const Outcome r = quill("-B -f=zkriLUT_Cubic_8u_C1R -dSize=16x16 -dnLevels=3 -dMethod=Manual -dNumLoops=2");
    EXPECT_TRUE(r.has("-- nLevels out of range 4..65536: 3")) << r.out;
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 0) << r.out;
}

TEST(LUTPaletteFamily, ListsAndMeasuresEveryFunction) {
    EXPECT_EQ(listedBases("TimiLUTPalette"), (std::map<std::string, int>{{"LUTPalette", 15}, {"LUTPaletteSwap", 2}}));
    const Outcome r = quill("-B -LP -t=TimiLUTPalette -dSize=32x8 -dMethod=Manual -dNumLoops=2");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    EXPECT_EQ(perf.size(), 17u);
    for (const PerfLine& p : perf) EXPECT_EQ(p.result, "OK") << p.params << " " << p.comment;
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 17);
}

TEST(LUTPaletteFamily, BitSizeBeyondTheIndexTypeIsRefused) {
    const Outcome r = quill("-B -f=zkriLUTPalette_8u_C1R -f=zkriLUTPalette_16u_C1R -dSize=16x16 -dnBitSize=12 "
                            "-dMethod=Manual -dNumLoops=2");
    EXPECT_TRUE(r.has("-- nBitSize out of range 1..8: 12")) << r.out;
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 1) << r.out;  // the 16u one takes 12 bits
}
