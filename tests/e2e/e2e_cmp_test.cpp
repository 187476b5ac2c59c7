// The Cmp family from the command line: the listing has every function under TimCmp with the counts
// per base, a short run measures every one of them with "OK", and the comparison operation is a
// parameter the user chooses by name.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

TEST(CmpFamily, ListsEveryFunctionPerBase) {
    EXPECT_EQ(listedBases("TimCmp"), (std::map<std::string, int>{{"Compare", 16}, {"CompareC", 16}}));
}

TEST(CmpFamily, MeasuresEveryFunctionOk) {
    const Outcome r = quill("-B -LP -tTimCmp -dSize=32x8 -dMethod=Manual -dNumLoops=2");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    EXPECT_EQ(perf.size(), 32u);
    for (const PerfLine& p : perf) {
        EXPECT_EQ(p.result, "OK") << p.params << " " << p.comment;
        EXPECT_EQ(p.unit, "pxch");
        EXPECT_GT(p.clocks, 0);
        EXPECT_EQ(p.params, "Size=32x8 cmpOp=Less");  // the default operation
    }
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 32);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 32);
}

// A list of operations, typed as prefixes in any case, gives one line per operation and function;
// "Gr" is Greater, the shortest name it begins.
TEST(CmpFamily, OperationIsAParameterByName) {
    const Outcome r = quill("-B -LP -f=zkriCompare_16s_AC4R -f=zkriCompareC_32f_C3R '-dcmpOp=greatereq;EQ;Gr' "
                            "-dSize=16x4 -dMethod=Manual -dNumLoops=2");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    ASSERT_EQ(perf.size(), 6u) << r.out;
    std::multiset<std::string> params;
    for (const PerfLine& p : perf) {
        EXPECT_EQ(p.result, "OK") << p.params;
        params.insert(p.params);
    }
    EXPECT_EQ(params, (std::multiset<std::string>{"Size=16x4 cmpOp=GreaterEq", "Size=16x4 cmpOp=GreaterEq",
                                                 "Size=16x4 cmpOp=Eq", "Size=16x4 cmpOp=Eq",
                                                 "Size=16x4 cmpOp=Greater", "Size=16x4 cmpOp=Greater"}));
}
