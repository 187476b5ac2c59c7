// The life of tests seen from outside, through the fixture program: one batch run of every
// fixture (results per test, signals, summary counters, exit status), then the parameter-name
// tables and the duplicate-line warning.
#include <gtest/gtest.h>

#include <regex>

#include <map>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;
namespace fs = std::filesystem;

namespace {

Outcome fixture(const std::string& args) { return run(quote(fixtureProgram()) + " " + args); }

const std::map<std::string, std::string> kExpected = {
    {"fixOk_32f_C1R", "OK"},
    {"fixNoValues_32f_C1R", "DATAFAIL"},
    {"fixInitFailAll_32f_C1R", "DATAFAIL"},
    {"fixFailThird_32f_C1R", "FUNCFAIL"},
    {"fixThrowBegin_32f_C1R", "EXCPTFAIL"},
    {"fixSegv_32f_C1R", "EXCPTFAIL"},
    {"fixFpe_32f_C1R", "EXCPTFAIL"},
    {"fixIll_32f_C1R", "EXCPTFAIL"},
    {"fixLibError_32f_C1R", "FUNCFAIL"},
    {"fixLibWarning_32f_C1R", "FUNCWRN"},
    {"fixX87Status_32f_C1R", "BADSTSWRN"},
    {"fixSseStatus_32f_C1R", "BADSTSWRN"},
};

// The console text of one test: from its title box to its result box.
std::string testSection(const std::string& out, const std::string& name) {
    const size_t title = out.find("| " + name + " ");
    if (title == std::string::npos) return "";
    const size_t result = out.find("| Result:", title);
    if (result == std::string::npos) return "";
    return out.substr(title, out.find('\n', result) - title);
}

// Every fixture in one batch run, shared by the tests below.
class AllFixtures : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_dir = new TempDir;
        // Manual timing: the one fixture that succeeds is a call of a few clocks, which the Auto method's
        // accuracy judgement can turn into a warning when other tests share the cores.
        s_run = new Outcome(fixture("-B -tTimFixture -LPW -u -r -dMethod=Manual -dNumLoops=64 -l" + s_dir->str()));
        s_sum = readFile(*s_dir / "qm_fixture_program_sum.csv");
    }
    static void TearDownTestSuite() {
        delete s_run;
        delete s_dir;
    }
    static TempDir* s_dir;
    static Outcome* s_run;
    static std::string s_sum;
};
TempDir* AllFixtures::s_dir = nullptr;
Outcome* AllFixtures::s_run = nullptr;
std::string AllFixtures::s_sum;

}  // namespace

TEST_F(AllFixtures, EachTestBoxShowsItsResult) {
    const std::string& out = s_run->out;
    for (const auto& [name, result] : kExpected) {
        if (name == "fixThrowBegin_32f_C1R") continue;  // fails before its title is written
        const std::string s = testSection(out, name);
        ASSERT_FALSE(s.empty()) << name << "\n" << out;
        EXPECT_NE(s.find("| Result:     " + result + " ("), std::string::npos) << s;
        EXPECT_NE(s.find("test TimFixture|"), std::string::npos) << s;
    }
    // The exception in beginTest still gives a result box, right after its message.
    EXPECT_TRUE(inOrder(out, {"--ZKR. Exception: fixture failure in beginTest\n", "| Result:     EXCPTFAIL (exception)"}))
        << out;
    EXPECT_TRUE(s_run->has("--ZKR. Exception: fixture failure in startAndStop of fixThrowBegin_32f_C1R test\n"));
}

TEST_F(AllFixtures, LineResultsAndMessages) {
    const std::string& out = s_run->out;
    // A failure on the third set ends the loop: sets four and five are not run.
    const std::string third = testSection(out, "fixFailThird_32f_C1R");
    const auto ls = perfLines(third);
    ASSERT_EQ(ls.size(), 3u) << third;
    EXPECT_EQ(ls[0].result, "OK");
    EXPECT_EQ(ls[1].result, "OK");
    EXPECT_EQ(ls[2].result, "FUNCFAIL");
    EXPECT_EQ(ls[2].params, "Len=3");
    EXPECT_NE(third.find("--ZKR ERROR. status = -7 in fixture: "), std::string::npos);
    EXPECT_EQ(third.find("Len=4"), std::string::npos);

    EXPECT_NE(testSection(out, "fixNoValues_32f_C1R").find("-- One of argument list for timing is empty\n"),
              std::string::npos);
    EXPECT_NE(testSection(out, "fixInitFailAll_32f_C1R").find("-- Error while initialization of function data\n"),
              std::string::npos);

    // Warnings do not end the loop: every set of the warning fixtures is measured.
    for (const char* name : {"fixLibWarning_32f_C1R", "fixX87Status_32f_C1R", "fixSseStatus_32f_C1R"}) {
        const auto w = perfLines(testSection(out, name));
        ASSERT_EQ(w.size(), 5u) << name;
        for (const PerfLine& l : w) EXPECT_EQ(l.result, kExpected.at(name)) << name;
    }
    const std::string x87 = testSection(out, "fixX87Status_32f_C1R");
    EXPECT_NE(x87.find("-- Status    87: ?Overflow"), std::string::npos) << x87;
    EXPECT_NE(testSection(out, "fixSseStatus_32f_C1R").find("-- Status    SSX: ?Overflow"), std::string::npos);
    EXPECT_NE(testSection(out, "fixLibWarning_32f_C1R").find("--ZKR WARNING. status = 3 in fixture: "),
              std::string::npos);
}

TEST_F(AllFixtures, SignalsFailOnlyTheirTestAndTheRunGoesOn) {
    const std::string& out = s_run->out;
    const std::map<std::string, std::string> signals = {
        {"fixSegv_32f_C1R", "--ZKR. Signal: Illegal storage access. in zkrFunctionCalls\n"},
        {"fixFpe_32f_C1R", "--ZKR. Signal: FP error, such as overflow, division by zero, invalid operation. in zkrFunctionCalls\n"},
        {"fixIll_32f_C1R", "--ZKR. Signal: Illegal instruction. in zkrFunctionCalls\n"},
    };
    for (const auto& [name, message] : signals) {
        const std::string s = testSection(out, name);
        EXPECT_NE(s.find(message), std::string::npos) << s;
        EXPECT_TRUE(perfLines(s).empty()) << s;
        // The tests after it in the sorted list ran and measured.
        const size_t at = out.find(s);
        EXPECT_NE(out.find("clocks/elem", at + s.size()), std::string::npos) << name;
    }
    // The floating-point state is restored after the caught zero-divide: the next measured test
    // (fixLibError) finds no changed status word and no unmasked exception.
    const std::string next = testSection(out, "fixLibError_32f_C1R");
    EXPECT_EQ(next.find("-- Status"), std::string::npos) << next;
    EXPECT_EQ(perfLines(next).size(), 1u) << next;
}

TEST_F(AllFixtures, SummaryBoxCountsAndExitStatus) {
    const std::string& out = s_run->out;
    EXPECT_EQ(s_run->status, 1);
    EXPECT_EQ(summaryCount(out, ".Number of tests"), 12);
    EXPECT_EQ(summaryCount(out, ".Successes"), 1);
    EXPECT_EQ(summaryCount(out, ".Failures"), 11);
    EXPECT_EQ(summaryCount(out, "...Fails"), 8);
    EXPECT_EQ(summaryCount(out, ".....-FAIL"), 4);
    EXPECT_EQ(summaryCount(out, ".....-EXCPTFAIL"), 4);
    EXPECT_EQ(summaryCount(out, "...Warnings"), 3);
    EXPECT_EQ(summaryCount(out, ".....-WARNING"), 1);
    EXPECT_EQ(summaryCount(out, ".....-BADSTSWRN"), 2);
    EXPECT_EQ(summaryCount(out, "...Undefined"), 0);
    EXPECT_TRUE(inOrder(s_sum, {"END_DATA\n", ".Number of tests,12\n", ".Successes      ,1\n", ".Failures       ,11\n",
                                "...Fails        ,8\n", ".....-FAIL      ,4\n", ".....-EXCPTFAIL ,4\n",
                                "...Warnings     ,3\n", ".....-WARNING   ,1\n", ".....-BADSTSWRN ,2\n",
                                "...Undefined    ,0\n", ".Total time     ,"}))
        << s_sum;
}

TEST_F(AllFixtures, PerTestSummaryTable) {
    EXPECT_NE(s_sum.find("\nFunction,Class,Control87,Status87,ControlSSX,StatusSSX,Test,Time (sec.),SrcName,Result,ExeName\n"),
              std::string::npos)
        << s_sum;
    const Table t = perTestTable(s_sum);
    ASSERT_EQ(t.rows.size(), kExpected.size()) << s_sum;
    for (size_t i = 0; i < t.rows.size(); ++i) {
        const std::string f = t.at(i, "Function");
        ASSERT_TRUE(kExpected.count(f)) << f;
        EXPECT_EQ(t.at(i, "Result"), kExpected.at(f)) << f;
        EXPECT_EQ(t.at(i, "Class"), "TimFixture");
        EXPECT_EQ(t.at(i, "Test"), "TimFixture");
        EXPECT_EQ(t.at(i, "Control87"), "-");
        EXPECT_EQ(t.at(i, "ControlSSX"), "-");
        EXPECT_EQ(t.at(i, "Status87"), f == "fixX87Status_32f_C1R" ? "?" : "-") << f;
        EXPECT_EQ(t.at(i, "StatusSSX"), f == "fixSseStatus_32f_C1R" ? "?" : "-") << f;
        EXPECT_EQ(t.at(i, "SrcName"), "fixture_tests.cpp");
        EXPECT_EQ(t.at(i, "ExeName"), "qm_fixture_program");
        double secs = -1;
        EXPECT_TRUE(isNumber(t.at(i, "Time (sec.)"), &secs) && secs >= 0) << t.at(i, "Time (sec.)");
        if (i > 0) {
            EXPECT_LT(t.at(i - 1, "Function"), f) << "tests run sorted by function";
        }
    }
}

TEST(Lifecycle, WarningsAloneGiveExitStatusZero) {
    Outcome r = fixture("-B -f=fixOk_32f_C1R -f=fixLibWarning_32f_C1R -f=fixX87Status_32f_C1R -dLen=1 -LW");
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 3);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 1);
    EXPECT_EQ(summaryCount(r.out, "...Warnings"), 2);
    EXPECT_EQ(summaryCount(r.out, "...Fails"), 0);
}

TEST(Lifecycle, LibraryWarningCountsAsSuccessWhenWarningsAreNotShown) {
    TempDir d;
    Outcome r = fixture("-B -f=fixLibWarning_32f_C1R -dLen=1 -LE -u -l" + d.str());
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 1) << r.out;
    EXPECT_EQ(summaryCount(r.out, "...Warnings"), 0);
    const Table t = perTestTable(readFile(d / "qm_fixture_program_sum.csv"));
    ASSERT_EQ(t.rows.size(), 1u);
    EXPECT_EQ(t.at(0, "Result"), "OK");
}

TEST(NameTable, ExitAfterNameTableMeasuresNothing) {
    TempDir d;
    Outcome r = fixture("-B -f=fixOk_32f_C1R -f=fixSegv_32f_C1R -Q -q -LP -l" + d.str());
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(r.has("-Q: exit after function parameter name table creation and don't run tests\n")) << r.out;
    EXPECT_TRUE(perfLines(r.out).empty()) << r.out;
    EXPECT_FALSE(r.has("Signal"));  // the crashing fixture was never called
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 2);
    const std::string names = readFile(d / "qm_fixture_program_name.csv");
    EXPECT_NE(names.find("\nfixOk_32f_C1R,fixOk,32f,C1R,Len,-,-,-,-,-,-,-\n"), std::string::npos) << names;
    EXPECT_NE(names.find("\nfixSegv_32f_C1R,fixSegv,32f,C1R,Len,-,-,-,-,-,-,-\n"), std::string::npos) << names;
    EXPECT_FALSE(fs::exists(d / "qm_fixture_program.csv"));
}

TEST(NameTable, SeparateNameTableLeavesTheResultTableWithoutNames) {
    TempDir d;
    Outcome r = fixture("-B -f=fixOk_32f_C1R -dLen=\"1; 2\" -q -r -LP -l" + d.str());
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(perfLines(r.out).size(), 2u);
    EXPECT_FALSE(r.has("identical parameters")) << r.out;
    const std::string names = readFile(d / "qm_fixture_program_name.csv");
    EXPECT_NE(names.find("fixOk_32f_C1R,fixOk,32f,C1R,Len,"), std::string::npos) << names;
    const Table t = resultTable(readFile(d / "qm_fixture_program.csv"));
    ASSERT_EQ(t.rows.size(), 2u);
    EXPECT_EQ(t.at(0, "Parm1"), "1");
    EXPECT_EQ(t.at(1, "Parm1"), "2");
    EXPECT_EQ(t.at(0, "Unit"), "elem");
}

TEST(NameTable, NameLinesInResultTableAndDuplicateLineWarning) {
    TempDir d;
    Outcome r = fixture("-B -f=fixOk_32f_C1R -dLen=\"2; 2\" -q+ -r -LP -l" + d.str());
    EXPECT_EQ(r.status, 0) << r.out;  // a warning, not a failure
    const Table t = resultTable(readFile(d / "qm_fixture_program.csv"));
    ASSERT_EQ(t.rows.size(), 3u);
    EXPECT_EQ(t.at(0, "Parm1"), "Len");  // the name line comes first
    EXPECT_EQ(t.at(0, "Clocks"), "<missing>");
    EXPECT_EQ(t.at(1, "Parm1"), "2");
    EXPECT_EQ(t.at(2, "Parm1"), "2");
    EXPECT_FALSE(fs::exists(d / "qm_fixture_program_name.csv"));

    std::smatch m;
    ASSERT_TRUE(std::regex_search(r.out, m, std::regex(" Performance table warning:\n Lines (\\d+) & (\\d+) have identical parameters\n")))
        << r.out;
    EXPECT_EQ(std::stoi(m[2]), std::stoi(m[1]) + 1);
    EXPECT_TRUE(r.has("-- Warning: duplicate lines in performance table (csv-file)\n"));
    EXPECT_TRUE(r.has("| Result:     DATAWRN (test data warning)"));
    EXPECT_EQ(summaryCount(r.out, ".....-WARNING"), 1);
}
