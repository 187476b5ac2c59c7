// The Sqr family from the command line: the listing has every function under TimiSqr with the
// counts per base, and a short run measures every one of them with "OK".
#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

TEST(SqrFamily, ListsEveryFunctionPerBase) {
    EXPECT_EQ(listedBases("TimiSqr"), (std::map<std::string, int>{{"Sqr", 32}, {"Sqrt", 25}, {"Abs", 16}}));
}

TEST(SqrFamily, MeasuresEveryFunctionOk) {
    const Outcome r = quill("-B -LP -tTimiSqr -dSize=32x8 -dMethod=Manual -dNumLoops=2");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    // One line per function, three scale factors for the scaled ones (24 Sqr, 18 Sqrt).
    EXPECT_EQ(perf.size(), 73u + 2u * (24u + 18u));
    expectEveryLineOk(perf);
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 73);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 73);
}
