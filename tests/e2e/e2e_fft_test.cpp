// The FFT family measured from the command line: the listing of its tests, every function measured
// over its orders with an MFlops figure, and the module's parameters.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

namespace {

// The base of a function name: "zkriFFTFwd_RToPack_8u32s_C1RSfs" -> "zkriFFTFwd_RToPack".
std::string baseOf(const std::string& name) { return name.substr(0, name.find('_', name.find('_') + 1)); }
}  // namespace

TEST(FftFamily, ListsEveryTransformUnderItsTestClass) {
    const Outcome r = quill("-e -tTimiFft");
    ASSERT_EQ(r.status, 0) << r.out;
    std::map<std::string, int> bases;
    std::set<std::string> names;
    for (const std::string& l : lines(r.out)) {
        if (l.rfind("| zkriFFT", 0) != 0) continue;
        EXPECT_NE(l.find("TimiFft|"), std::string::npos) << l;
        const std::string name = l.substr(2, l.find(' ', 2) - 2);
        names.insert(name);
        ++bases[baseOf(name)];
    }
    EXPECT_EQ(bases, (std::map<std::string, int>{{"zkriFFTFwd_CToC", 2},
                                                  {"zkriFFTInv_CToC", 2},
                                                  {"zkriFFTFwd_RToPack", 12},
                                                  {"zkriFFTInv_PackToR", 12}}));
    // The setup helpers are library functions, not tests.
    for (const std::string& n : names) EXPECT_EQ(n.find("InitAlloc"), std::string::npos) << n;
}

TEST(FftFamily, MeasuresEveryFunctionWithMFlops) {
    TempDir d;
    const Outcome r = quill("-B -LP -tTimiFft '-dorderX=3;5' -dorderY=4 -dscaleFactor=0 -dMethod=Manual -dNumLoops=2 -r -l" +
                            d.str());
    EXPECT_EQ(r.status, 0) << r.out;
    const Table t = resultTable(readFile(d / "quillmark.csv"));
    // Two orders of the width for every function.
    ASSERT_EQ(t.rows.size(), 56u) << r.out;
    std::map<std::string, int> rows;
    for (size_t i = 0; i < t.rows.size(); ++i) {
        const std::string f = t.at(i, "Function");
        ++rows[f];
        EXPECT_EQ(t.at(i, "Result"), "OK") << f;
        EXPECT_EQ(t.at(i, "Unit"), "pxch");
        double mflops = 0, clocks = 0, usec = 0;
        ASSERT_TRUE(isNumber(t.at(i, "MFlops"), &mflops)) << f << ": " << t.at(i, "MFlops");
        ASSERT_TRUE(isNumber(t.at(i, "Clocks"), &clocks)) << f;
        ASSERT_TRUE(isNumber(t.at(i, "Time (usec)"), &usec)) << f;
        EXPECT_GT(mflops, 0);
        // MFlops = 5 W H (orderX + orderY) / usec, halved for the real transforms.
        const int orderX = std::stoi(t.at(i, "Parm1"));
        ASSERT_TRUE(orderX == 3 || orderX == 5) << t.at(i, "Parm1");
        EXPECT_EQ(t.at(i, "Parm2"), "4");
        EXPECT_EQ(t.at(i, "Parm3"), "DivInvByN");
        const double flops = 5.0 * (1 << orderX) * 16 * (orderX + 4) / (f.find("_CToC_") != std::string::npos ? 1 : 2);
        EXPECT_NEAR(mflops, flops / usec, 0.02 * mflops + 0.1) << f;
    }
    EXPECT_EQ(rows.size(), 28u);
    for (const auto& [f, n] : rows) EXPECT_EQ(n, 2) << f;
}

// Orders out of the library's range are refused by name before any set runs, and the flag accepts
// only its names.
TEST(FftFamily, BadOrdersFailTheTestAndFlagsAreNames) {
    const Outcome bad = quill("-B -LP -f=zkriFFTFwd_CToC_32fc_C1R -dorderX=14 -dorderY=2 -dMethod=Manual -dNumLoops=2");
    EXPECT_TRUE(bad.has("Invalid value of orderX = 14 (allowed: 0 to 13)")) << bad.out;
    EXPECT_FALSE(bad.has(" MFlops")) << bad.out;
    const Outcome flag = quill("-B -LP -f=zkriFFTInv_CToC_32fc_C1R -dorderX=2 -dorderY=2 -dflag=DivBySqrt "
                               "-dMethod=Manual -dNumLoops=2");
    EXPECT_EQ(flag.status, 0) << flag.out;
    // The name typed is a prefix of the flag's name; the line is measured with an MFlops figure.
    EXPECT_TRUE(flag.has("  orderX=2 orderY=2 flag=DivBySqrtN\n")) << flag.out;
    EXPECT_EQ(flag.count(" MFlops  OK"), 1u) << flag.out;
}

// In-place transforms work on their own results from the second call on: many calls of every
// in-place transform under each normalisation must still measure the transform, not overflowing
// or denormal data (which the floating-point check reports as BADSTSWRN).
TEST(FftFamily, InPlaceTransformsStayInRangeOverManyCalls) {
    const Outcome r = quill("-B -LP -f=zkriFFTFwd_CToC_32fc_C1IR -f=zkriFFTInv_CToC_32fc_C1IR "
                            "-f=zkriFFTFwd_RToPack_32f_C1IR -f=zkriFFTInv_PackToR_32f_C1IR -dorderX=4 -dorderY=4 "
                            "'-dflag=DivInvByN;DivFwdByN;NoDivByAny' -dMethod=Manual -dNumLoops=300");
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_EQ(r.count("| Result:     OK"), 4u) << r.out;
    EXPECT_TRUE(r.has(".....-BADSTSWRN  : 0 ")) << r.out;
}
