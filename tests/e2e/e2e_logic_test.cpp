// The Logic family from the command line: the listing has every function of TimiAnd, TimiAndI,
// TimiAndC and TimiAndCI with the counts per base, a short run of each measures every function with
// "OK", and the constant and the shift count reach the functions that take them.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

namespace {


const std::string kShort = " -B -LP -dSize=32x8 -dMethod=Manual -dNumLoops=2";

// Every function of a test class measured once at the default parameters, all "OK".
void expectAllOk(const std::string& testClass, int functions) {
    const Outcome r = quill("-t=" + testClass + kShort);
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    EXPECT_EQ(perf.size(), std::size_t(functions));
    expectEveryLineOk(perf);
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), functions);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), functions);
}

}  // namespace

TEST(LogicFamily, ListsEveryFunctionPerBase) {
    const std::map<std::string, int> bitwise = {{"And", 12}, {"Or", 12}, {"Xor", 12}, {"Not", 4}};
    EXPECT_EQ(listedBases("TimiAnd"), bitwise);
    std::map<std::string, int> inPlace = bitwise;
    inPlace["MaxEvery"] = 16;
    inPlace["MinEvery"] = 16;
    EXPECT_EQ(listedBases("TimiAndI"), inPlace);
    const std::map<std::string, int> constant = {{"AndC", 12}, {"OrC", 12}, {"XorC", 12}, {"LShiftC", 12}, {"RShiftC", 20}};
    EXPECT_EQ(listedBases("TimiAndC"), constant);
    EXPECT_EQ(listedBases("TimiAndCI"), constant);
}

TEST(LogicFamily, MeasuresEveryFunctionOfTimiAndOk) { expectAllOk("TimiAnd", 40); }
TEST(LogicFamily, MeasuresEveryFunctionOfTimiAndIOk) { expectAllOk("TimiAndI", 72); }
TEST(LogicFamily, MeasuresEveryFunctionOfTimiAndCOk) { expectAllOk("TimiAndC", 68); }
TEST(LogicFamily, MeasuresEveryFunctionOfTimiAndCIOk) { expectAllOk("TimiAndCI", 68); }

// The shift count sweeps the shifts only; a count the element cannot hold passes over that line.
TEST(LogicFamily, ShiftCountIsSweptWithinTheElementWidth) {
    // Information level (-LI): the note on the line passed over is shown.
    const Outcome r = quill("-fShiftC_8u_C1R -B -LI -dSize=32x8 -dMethod=Manual -dNumLoops=2 \"-dshift=2; 9\" -dvalue=7");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    ASSERT_EQ(perf.size(), 2u) << r.out;  // LShiftC and RShiftC of 8u C1, count 9 passed over
    for (const PerfLine& p : perf) EXPECT_EQ(p.result, "OK");
    // The parameter lines (at this level the timing method's lines follow them).
    EXPECT_EQ(r.count("  Size=32x8 shift=2\n"), 2u) << r.out;
    EXPECT_FALSE(r.has("shift=9")) << r.out;
    EXPECT_FALSE(r.has("Size=32x8 value=")) << "the constant is not a shift's parameter";
    EXPECT_TRUE(r.has("Shift count 9 is outside 0..7")) << r.out;

    const Outcome wide = quill("-fRShiftC_16s_C1IR" + kShort + " \"-dshift=0; 15; +15\"");
    const std::vector<PerfLine> lines16 = perfLines(wide.out);
    ASSERT_EQ(lines16.size(), 2u) << wide.out;
    EXPECT_NE(lines16[0].params.find("shift=0"), std::string::npos);
    EXPECT_NE(lines16[1].params.find("shift=15"), std::string::npos);
}

TEST(LogicFamily, ConstantIsSweptForTheConstantForms) {
    const Outcome r = quill("-fXorC_32s_C3IR" + kShort + " \"-dvalue=-1; 255\" -dshift=4");
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    ASSERT_EQ(perf.size(), 2u) << r.out;
    EXPECT_NE(perf[0].params.find("value=-1"), std::string::npos) << perf[0].params;
    EXPECT_NE(perf[1].params.find("value=255"), std::string::npos) << perf[1].params;
    for (const PerfLine& p : perf) {
        EXPECT_EQ(p.result, "OK");
        EXPECT_EQ(p.params.find("shift="), std::string::npos) << "the shift count is not a constant form's parameter";
    }
}
