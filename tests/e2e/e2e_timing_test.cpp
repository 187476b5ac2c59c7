// The processor report and the four timing methods, run on one function of the Add family.
#include <gtest/gtest.h>

#include <regex>

#include <algorithm>
#include <cmath>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;
namespace fs = std::filesystem;

namespace {


// One 8u single-channel function at 64x64: 4096 pixel channels per call.
const std::string kAdd = "-B -f=zkriAdd_8u_C1RSfs -dSize=64x64 ";
constexpr double kPxch = 64 * 64;

// Every line measured: positive clocks per pixel channel and microseconds that agree with the
// clocks at the header's clock rate.
void expectMeasuredLines(const Outcome& r, const std::vector<PerfLine>& ls, size_t expected) {
    ASSERT_EQ(ls.size(), expected) << r.out;
    const double mhz = headerMHz(r.out);
    ASSERT_GT(mhz, 0) << r.out;
    for (const PerfLine& l : ls) {
        EXPECT_GT(l.clocks, 0) << r.out;
        EXPECT_EQ(l.unit, "pxch");
        EXPECT_GT(l.usec, 0) << r.out;
        EXPECT_NEAR(l.usec, l.clocks * kPxch / mhz, 0.03 * l.usec) << "clocks " << l.clocks << " at " << mhz << " MHz";
    }
}

}  // namespace

TEST(CpuReport, WholeReportInOrderAndHeaderSummary) {
    Outcome r = quill("-B -t__qmKavroCpu -LP");
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(inOrder(r.out, {"| Processor     : ", "| __qmKavroCpu", "    Kavro(R) Processor Identification\n",
                                "Largest Standard Function 0x", "Largest Extended Function 0x8", "Vendor-ID      ",
                                "Brand String   ", "    Processor Identification Signature\n\n", "Family   ",
                                "\nModel    ", "\nStepping ", "\nMMX        ", "\nSSE        ", "\nSSE2       ",
                                "\nSSE4.2     ", "\nx2APIC     ", "    Multi Threading Features\n\n",
                                "\nLogical Processors ", "    Extended L2 Cache Features\n\n",
                                "L2 Cache Size Kb       ", "\nL2 Cache Associativity ", "| Result:     OK"}))
        << r.out;

    // The vendor warning is given exactly for a processor that is not a genuine Kavro one.
    std::smatch m;
    ASSERT_TRUE(std::regex_search(r.out, m, std::regex("Vendor-ID      (.{12})\n"))) << r.out;
    EXPECT_EQ(r.has("    ATTENTION! It is not Genuine Kavro processor.\n    Information below may be inadequate.\n"),
              m[1] != "GenuineKavro");

    // Feature flags: mnemonic in 11 characters, the bit, " - " and the description.
    for (const char* flag : {"MMX", "SSE", "SSE2", "SSE3", "SSSE3", "SSE4.1", "SSE4.2", "x2APIC"}) {
        char head[16];
        std::snprintf(head, sizeof head, "%-11s", flag);
        std::string pattern("\n");
        pattern.append(std::regex_replace(std::string(head), std::regex("\\."), "\\.")).append("[01] - \\S");
        EXPECT_TRUE(std::regex_search(r.out, std::regex(pattern))) << flag;
    }
    ASSERT_TRUE(std::regex_search(r.out, m, std::regex("\nLogical Processors (\\d+) - Number of logical processors")));
    EXPECT_GE(std::stoi(m[1]), 1);

    // Every cache level gives a positive size; the header's largest cache is the largest one listed.
    long long largestKb = 0;
    int caches = 0;
    const std::regex sizeRe("\nCache Size Kb     (\\d+)\n");
    for (auto it = std::sregex_iterator(r.out.begin(), r.out.end(), sizeRe); it != std::sregex_iterator(); ++it) {
        const long long kb = std::stoll((*it)[1]);
        EXPECT_GT(kb, 0);
        largestKb = std::max(largestKb, kb);
        ++caches;
    }
    EXPECT_EQ(static_cast<size_t>(caches), r.count("\nCache Level       "));
    ASSERT_TRUE(std::regex_search(r.out, m, std::regex("Max cache size (\\d+) K"))) << r.out;
    const long long headerKb = std::stoll(m[1]);
    ASSERT_TRUE(std::regex_search(r.out, m, std::regex("\\| Largest cache : \\d+ MB \\((\\d+) bytes\\)"))) << r.out;
    EXPECT_EQ(std::stoll(m[1]), headerKb * 1024);
    // The cache section comes after the threading section and before the L2 one, only when the
    // processor describes its caches by CPUID (some virtual machines report none there; the
    // library then gives the largest cache from the operating system).
    const std::size_t section = r.out.find("    Deterministic Cache Parameters\n");
    if (section != std::string::npos) {
        EXPECT_TRUE(inOrder(r.out, {"    Multi Threading Features\n\n", "    Deterministic Cache Parameters\n",
                                    "\nCache Level       ", "\nCache Size Kb     ", "\nAssociativity     ",
                                    "    Extended L2 Cache Features\n\n"}));
        EXPECT_GE(caches, 1);
        EXPECT_EQ(headerKb, largestKb);
    } else {
        EXPECT_EQ(caches, 0);
        EXPECT_GT(headerKb, 0);
    }

    // The one-line summary: processor name, count, clock rate, then the cache.
    EXPECT_TRUE(std::regex_search(r.out, std::regex(R"(\| Processor     : \S.*, (\d+x)?\d+(\.\d+)? (GHz|MHz), Max cache size)")))
        << r.out;
    EXPECT_GT(headerMHz(r.out), 0);
    EXPECT_TRUE(std::regex_search(r.out, std::regex("\n\\*{64}\n\\+-+\\+\n\\| Result:     OK")));
}

// The clock rate: estimated when the environment does not name it (the header then shows the
// measured rate, near the kernel's own figure), taken as given when it does, and a bad value is named
// and ignored.
TEST(ClockRate, EstimatedUnlessTheEnvironmentNamesIt) {
    Outcome est = run("env -u QM_CPU_MHZ " + quote(program()) + " -B -t__qmKavroCpu -LP");
    EXPECT_EQ(est.status, 0);
    EXPECT_GT(headerMHz(est.out), 100) << est.out;
    EXPECT_FALSE(est.has("QM_CPU_MHZ"));

    Outcome given = run("QM_CPU_MHZ=1234 " + quote(program()) + " -B -t__qmKavroCpu -LP");
    EXPECT_EQ(given.status, 0);
    EXPECT_TRUE(given.has("1.234 GHz, Max cache size")) << given.out;
    EXPECT_EQ(headerMHz(given.out), 1234);
    Outcome mhz = run("QM_CPU_MHZ=999 " + quote(program()) + " -B -t__qmKavroCpu -LP");
    EXPECT_TRUE(mhz.has("999 MHz, Max cache size")) << mhz.out;

    Outcome bad = run("QM_CPU_MHZ=fast " + quote(program()) + " -B -t__qmKavroCpu -LP");
    EXPECT_EQ(bad.status, 0);
    EXPECT_TRUE(bad.has("QM_CPU_MHZ=\"fast\" is not a clock rate in MHz (1 to 100000); it is estimated instead\n"))
        << bad.out;
    EXPECT_GT(headerMHz(bad.out), 100);
}

TEST(TimingMethod, ManualRunsTheAskedLoopsInConsoleAndTable) {
    TempDir d;
    Outcome r = quill(kAdd + "-dscaleFactor=\"0; 4\" -dMethod=Manual -dNumLoops=100 -LP -r -l" + d.str());
    EXPECT_EQ(r.status, 0);
    const auto ls = perfLines(r.out);
    expectMeasuredLines(r, ls, 2);
    for (const PerfLine& l : ls) {
        EXPECT_EQ(l.result, "OK");
        EXPECT_EQ(l.comment, "nLps=100");
    }
    const Table t = resultTable(readFile(d / "quillmark.csv"));
    ASSERT_EQ(t.rows.size(), 2u);
    for (size_t i = 0; i < t.rows.size(); ++i) {
        EXPECT_EQ(t.at(i, "Comment"), "nLps=100");
        EXPECT_EQ(t.at(i, "Result"), "OK");
        double clocks = 0;
        EXPECT_TRUE(isNumber(t.at(i, "Clocks"), &clocks) && clocks > 0) << t.at(i, "Clocks");
    }
}

TEST(TimingMethod, ManualWithZeroLoopsRunsOne) {
    Outcome r = quill(kAdd + "-dscaleFactor=0 -dMethod=Manual -dNumLoops=0 -LP");
    const auto ls = perfLines(r.out);
    expectMeasuredLines(r, ls, 1);
    EXPECT_EQ(ls[0].comment, "nLps=1");
    EXPECT_EQ(ls[0].result, "OK");
}

TEST(TimingMethod, StatisticWithoutClockBudgetMakesExactlyTheAskedCalls) {
    Outcome r = quill(kAdd + "-dscaleFactor=\"0; 1\" -dMethod=Statistic -dNumCalls=20 -dTotalCpuClocks=0 -LP");
    EXPECT_EQ(r.status, 0);
    const auto ls = perfLines(r.out);
    expectMeasuredLines(r, ls, 2);
    for (const PerfLine& l : ls) {
        EXPECT_EQ(l.result, "OK");
        EXPECT_EQ(l.comment, "nCalls=20");
    }
}

TEST(TimingMethod, MethodNameIsAcceptedByAnyPrefixInAnyCase) {
    Outcome r = quill(kAdd + "-dscaleFactor=0 -dMethod=stat -dNumCalls=7 -dTotalCpuClocks=0 -LP");
    const auto ls = perfLines(r.out);
    expectMeasuredLines(r, ls, 1);
    EXPECT_EQ(ls[0].comment, "nCalls=7");
}

TEST(TimingMethod, IterativeStaysWithinItsLoopLimits) {
    Outcome r = quill(kAdd + "-dMethod=Iterative -dStartNumLoops=2 -dStopNumLoops=64 -LP");
    EXPECT_EQ(r.status, 0);
    const auto ls = perfLines(r.out);
    expectMeasuredLines(r, ls, 3);  // scale factors 0, 1, 4
    for (const PerfLine& l : ls) {
        // The Iterative default accuracy (100 %) switches the accuracy judgement off.
        EXPECT_EQ(l.result, "OK") << l.comment;
        const double loops = commentValue(l.comment, "nLps");
        EXPECT_GE(loops, 2) << l.comment;
        EXPECT_LE(loops, 64) << l.comment;
    }
}

TEST(TimingMethod, AutoIsTheDefaultAndJudgesFivePerCent) {
    Outcome r = quill(kAdd + "-LP");
    EXPECT_EQ(r.status, 0);
    const auto ls = perfLines(r.out);
    expectMeasuredLines(r, ls, 3);
    for (const PerfLine& l : ls) {
        EXPECT_GE(commentValue(l.comment, "nLps"), 1) << l.comment;
        EXPECT_EQ(l.comment.find("nCalls="), std::string::npos);
        expectOkOrJustifiedAccuracyWarning(l.result, l.comment, 5.0);
    }
}

TEST(TimingMethod, AccuracyOnePerCentIsTheThresholdOfTheWarning) {
    Outcome r = quill(kAdd + "-dscaleFactor=\"0; 1\" -dAccuracy=1 -LP");
    const auto ls = perfLines(r.out);
    expectMeasuredLines(r, ls, 2);
    for (const PerfLine& l : ls) expectOkOrJustifiedAccuracyWarning(l.result, l.comment, 1.0);
}

TEST(TimingMethod, AccuracyZeroOrAboveFiftySwitchesTheJudgementOff) {
    for (const char* a : {"0", "60"}) {
        Outcome r = quill(kAdd + "-dscaleFactor=\"0; 1\" -LP -dAccuracy=" + a);
        const auto ls = perfLines(r.out);
        expectMeasuredLines(r, ls, 2);
        for (const PerfLine& l : ls) {
            EXPECT_EQ(l.result, "OK") << "Accuracy " << a << ": " << l.comment;
            EXPECT_EQ(l.comment.find("acc="), std::string::npos) << l.comment;
        }
    }
}

TEST(TimingMethod, UnknownMethodEndsTheRunWithItsMessage) {
    TempDir d;
    Outcome r = quill(kAdd + "-dMethod=Bogus -LP -g -l" + d.str());
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.has("--ZKR. Exception: Invalid value of Method = Bogus")) << r.out;
    EXPECT_FALSE(r.has("terminate called")) << r.out;
    EXPECT_TRUE(perfLines(r.out).empty());
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 0) << r.out;
    EXPECT_TRUE(fs::exists(d / "quillmark.end"));
}
