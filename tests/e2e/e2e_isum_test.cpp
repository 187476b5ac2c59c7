// The Sum family from the command line: the listing has every function under TimiSum with the
// counts per base, a short run measures every one of them with "OK", and float sums are measured
// once per algorithm hint.
#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

TEST(SumFamily, ListsEveryFunctionPerBase) {
    EXPECT_EQ(listedBases("TimiSum"),
              (std::map<std::string, int>{{"Sum", 12}, {"Mean", 12}, {"Min", 16}, {"MinIndx", 16}, {"Max", 16},
                                          {"MaxIndx", 16}, {"MinMax", 16}, {"QualityIndex", 9}}));
}

TEST(SumFamily, MeasuresEveryFunctionOk) {
    // The class alone ("-tTimiSum" would take TimiSumWindow too).
    const Outcome r = quill("-B -LP -t=TimiSum -dSize=32x8 -dMethod=Manual -dNumLoops=2");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    // One line per function: the float sums and means, which sweep the hint, are TimiHint's.
    EXPECT_EQ(perf.size(), 113u);
    expectEveryLineOk(perf);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 113);
}

TEST(SumFamily, FloatSumsSweepTheHint) {
    TempDir d;
    const Outcome r = quill("-B -f=zkriSum_32f_C3R -f=zkriSum_8u_C1R -dSize=16x16 -dMethod=Manual -dNumLoops=2 -r -l" +
                            d.str());
    EXPECT_EQ(r.status, 0) << r.out;
    const Table t = resultTable(readFile(d / "quillmark.csv"));
    ASSERT_EQ(t.rows.size(), 3u);
    std::map<std::string, std::vector<std::string>> hints;
    for (size_t i = 0; i < t.rows.size(); ++i) hints[t.at(i, "Function")].push_back(t.at(i, "Parm2"));
    EXPECT_EQ(hints["zkriSum_32f_C3R"], (std::vector<std::string>{"fast", "accurate"}));
    EXPECT_EQ(hints["zkriSum_8u_C1R"], (std::vector<std::string>{"-"}));
    // -d narrows the sweep like any parameter.
    const Outcome one = quill("-B -f=zkriSum_32f_C1R -dhint=acc -dSize=16x16 -dMethod=Manual -dNumLoops=2 -LP");
    EXPECT_EQ(perfLines(one.out).size(), 1u) << one.out;
}
