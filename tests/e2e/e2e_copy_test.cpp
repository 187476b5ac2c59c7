// The Copy family's three modules from the command line: the -e listings with the counts per base,
// short batch runs that measure every function with "OK", the channel, set value, mask density,
// mask size and copy-flag parameters as a user gives them, and the managed copy's identification.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

namespace {


const char* kShort = " -dSize=32x8 -dMethod=Manual -dNumLoops=2";

void expectAllOk(const Outcome& r, size_t lines, int tests) {
    EXPECT_EQ(r.status, 0) << r.out.substr(0, 4000);
    const std::vector<PerfLine> perf = perfLines(r.out);
    EXPECT_EQ(perf.size(), lines) << r.out.substr(0, 4000);
    for (const PerfLine& p : perf) {
        EXPECT_EQ(p.result, "OK") << p.params << " " << p.comment;
        EXPECT_EQ(p.unit, "pxch");
        EXPECT_GT(p.clocks, 0) << p.params;
    }
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), tests);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), tests);
}

}  // namespace

TEST(CopyFamily, ListingsHaveTheCountsPerBase) {
    EXPECT_EQ(listedBases("TimiCopy"), (std::map<std::string, int>{{"Copy", 80},
                                                                   {"Set", 50},
                                                                   {"SwapChannels", 22},
                                                                   {"Dup", 1},
                                                                   {"PackToCplxExtend", 2},
                                                                   {"CplxExtendToPack", 6}}));
    EXPECT_EQ(listedBases("TimiCopyP"), (std::map<std::string, int>{{"Copy", 20}, {"Median", 1}}));
    EXPECT_EQ(listedBases("TimiCopyManaged"), (std::map<std::string, int>{{"CopyManaged", 1}}));
}

// Every function OK; the channel of interest, the set value and the mask density are swept as
// given and land in the result table's parameter columns.
TEST(CopyFamily, TimiCopyMeasuresEveryFunctionOkOverItsParameters) {
    TempDir d;
    const Outcome r = quill(std::string("-B -LP -t=TimiCopy '-dChannel=0;3' '-dSetValue=-5;300' -dMaskDensity=0") +
                            kShort + " -r -l" + d.str());
    // Channel-of-interest copies (30) twice, sets (40) twice, channel sets (10) four times, the
    // other 81 functions once.
    expectAllOk(r, 30 * 2 + 40 * 2 + 10 * 4 + 81, 161);
    const Table t = resultTable(readFile(d / "quillmark.csv"));
    std::map<std::string, std::set<std::string>> parms;
    for (size_t i = 0; i < t.rows.size(); ++i) parms[t.at(i, "Function")].insert(t.at(i, "Parm2") + "/" + t.at(i, "Parm3"));
    EXPECT_EQ(parms.size(), 161u);
    EXPECT_EQ(parms["zkriCopy_16s_C4CR"], (std::set<std::string>{"0/-", "3/-"}));
    EXPECT_EQ(parms["zkriSet_8u_C3MR"], (std::set<std::string>{"-5/0", "300/0"}));
    EXPECT_EQ(parms["zkriSet_32f_C4CR"], (std::set<std::string>{"0/-5", "0/300", "3/-5", "3/300"}));
    EXPECT_EQ(parms["zkriCopy_8u_C1MR"], (std::set<std::string>{"0/-"}));
    EXPECT_EQ(parms["zkriDup_8u_C1C3R"], (std::set<std::string>{"-/-"}));
}

TEST(CopyFamily, ChannelOutsideItsRangeIsADefinitionError) {
    EXPECT_TRUE(quill("-B -f=zkriCopy_8u_C3CR -dChannel=4" + std::string(kShort)).has("Invalid value of Channel = 4"));
}

// TimiCopyP and TimiCopyManaged in one run: the planar copies once, the median on each mask size,
// the managed copy with its sum under every copy flag.
TEST(CopyFamily, PlanarCopiesMedianAndManagedCopyMeasureOk) {
    const Outcome r = quill(std::string("-B -LEWPI -t=TimiCopyP -t=TimiCopyManaged '-dMaskSize=3x3;5x3' "
                                        "'-dCopyFlags=temporal;nontemporal;auto'") +
                            kShort);
    expectAllOk(r, 20 + 2 + 3, 22);
    EXPECT_TRUE(r.has("Test measures zkriCopyManaged(pSrc,pDst) & Sum(pSrc)")) << r.out.substr(0, 3000);
    EXPECT_TRUE(r.has("registered by ZK_REG_X macro")) << r.out.substr(0, 3000);
    EXPECT_TRUE(r.has("CopyFlags=nontemporal (flags 2, then Sum(pSrc))")) << r.out.substr(0, 3000);
    EXPECT_TRUE(r.has("MaskSize=5x3")) << r.out.substr(0, 3000);
}
