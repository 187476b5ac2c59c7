// Key parsing, paths, run conditions, ordering and selection of the test list.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "qmconditions.h"
#include "qmexception.h"
#include "qmistream.h"
#include "qmoptions.h"
#include "qmsession.h"
#include "qmtest.h"
#include "qmtestlist.h"
#include "qmtool.h"

namespace {

std::unique_ptr<zkTest> makeTest(const char* func, const char* id = "TimiAdd//ZK_REG") {
    return std::make_unique<zkTest>(static_cast<qmLoopEntry>(nullptr), static_cast<qmStatEntry>(nullptr),
                                    qmString(func), qmString("dir/p_iadd_ia.cpp"), qmString(id));
}

std::vector<std::string> keysOf(const qmCommandList& c) {
    std::vector<std::string> out;
    for (const auto& k : c.keys()) out.push_back(std::string(1, k.key) + "|" + k.arg.str());
    return out;
}

}  // namespace

TEST(CommandLine, TokensPairIntoKeysAndArguments) {
    qmCommandList c;
    // "/" introduces a key like "-"; a lone "-" is no key, so it joins the argument before it.
    c.setArgs("-B -o out.txt /rres;-f=zkriAdd_8u_C1RSfs\t-\n-L PW stray");
    EXPECT_EQ(keysOf(c), (std::vector<std::string>{"B|", "o|out.txt", "r|res", "f|=zkriAdd_8u_C1RSfs-", "L|PW"}));
    EXPECT_TRUE(c.isKey('o'));
    EXPECT_FALSE(c.isKey('x'));
}

TEST(CommandLine, LastOccurrenceGivesTheArgument) {
    char a0[] = "quillmark", a1[] = "-nfirst", a2[] = "-v", a3[] = "-nsecond";
    char* argv[] = {a0, a1, a2, a3};
    qmCommandList c;
    c.setArgs(4, argv);
    qmString arg;
    ASSERT_TRUE(c.getArg('n', arg));
    EXPECT_EQ(arg, qmString("second"));
    EXPECT_FALSE(c.getArg('p', arg));
    EXPECT_EQ(c.keys().size(), 3);
}

TEST(CommandLine, GnuRequestsAreTheirKeysAndOtherLongWordsAreRefused) {
    qmCommandList c;
    c.setArgs("--help -B");
    EXPECT_EQ(keysOf(c), (std::vector<std::string>{"h|", "B|"}));
    EXPECT_TRUE(c.unknownLongOption().empty());
    c.setArgs("--version");
    EXPECT_EQ(keysOf(c), (std::vector<std::string>{"v|"}));
    // The first unknown long word is kept for the message and never becomes a key; a following
    // word is not taken as its argument.
    c.setArgs("-B --helpme all --list -r");
    EXPECT_EQ(keysOf(c), (std::vector<std::string>{"B|", "r|"}));
    EXPECT_EQ(c.unknownLongOption(), qmString("--helpme"));
    // A lone "--" is an ordinary key token of two characters, as before.
    c.setArgs("-- -B");
    EXPECT_TRUE(c.unknownLongOption().empty());
    // Parsing again forgets the last line's unknown word.
    c.setArgs("-B");
    EXPECT_TRUE(c.unknownLongOption().empty());
}

TEST(Paths, DirectoriesAndNamesFollowTheDefaults) {
    qmSession::setDefName("bench");
    const qmString exe = qmSession::exeDir();
    EXPECT_EQ(qmSession::genDirName(""), exe);
    EXPECT_EQ(qmSession::genDirName("/tmp"), qmString("/tmp/"));
    EXPECT_EQ(qmSession::genDirName("/tmp/"), qmString("/tmp/"));
    EXPECT_EQ(qmSession::genDirName("out"), exe + "out/");
    EXPECT_EQ(qmSession::genPathName("/d/", "", ".csv"), qmString("/d/bench.csv"));
    EXPECT_EQ(qmSession::genPathName("/d/", "res", ".csv"), qmString("/d/res.csv"));
    EXPECT_EQ(qmSession::genPathName("/d/", "res.txt", ".csv"), qmString("/d/res.txt"));
    EXPECT_EQ(qmSession::genPathName("/d/", "/abs/res", ".csv"), qmString("/abs/res"));
    EXPECT_EQ(qmSession::genPathName("/d/", "", "_sum.csv"), qmString("/d/bench_sum.csv"));
}

TEST(Conditions, EmptySetRunsEverything) {
    qmConditions c;
    auto t = makeTest("zkriAdd_8u_C1RSfs");
    EXPECT_TRUE(c.tobeRun(t.get()));
}

TEST(Conditions, OrGroupNeedsOneAndGroupNeedsAll) {
    auto add8 = makeTest("zkriAdd_8u_C1RSfs"), sub8 = makeTest("zkriSub_8u_C1RSfs"),
         add32 = makeTest("zkriAdd_32f_C1R");
    qmConditions c;
    c.add(qmConditions::fromKey("Add", true));
    c.add(qmConditions::fromKey("Sub", true));
    c.add(qmConditions::fromKey("+8u", true));
    EXPECT_TRUE(c.tobeRun(add8.get()));
    EXPECT_TRUE(c.tobeRun(sub8.get()));
    EXPECT_FALSE(c.tobeRun(add32.get()));
}

TEST(Conditions, NotAloneRunsEverythingElse) {
    qmConditions c;
    c.add(qmConditions::fromKey("-Sub", true));
    EXPECT_TRUE(c.tobeRun(makeTest("zkriAdd_8u_C1RSfs").get()));
    EXPECT_FALSE(c.tobeRun(makeTest("zkriSub_8u_C1RSfs").get()));
}

TEST(Conditions, EqualDoesNotOverrideNot) {
    qmConditions c;
    c.add(qmConditions::fromKey("=zkriAdd_8u_C1RSfs", true));
    c.add(qmConditions::fromKey("-zkriAdd_8u_C1RSfs", true));
    EXPECT_FALSE(c.tobeRun(makeTest("zkriAdd_8u_C1RSfs").get()));
}

TEST(Conditions, EqualIsExactAndCaseSensitive) {
    qmConditions c;
    c.add(qmConditions::fromKey("=zkriAdd_8u_C1R", true));
    EXPECT_FALSE(c.tobeRun(makeTest("zkriAdd_8u_C1RSfs").get()));
    qmConditions lower;
    lower.add(qmConditions::fromKey("add", true));
    EXPECT_FALSE(lower.tobeRun(makeTest("zkriAdd_8u_C1RSfs").get()));
}

TEST(Conditions, TestNameConditionsLookAtTheIdentification) {
    qmConditions c;
    c.add(qmConditions::fromKey("=TimiAdd", false));
    EXPECT_TRUE(c.tobeRun(makeTest("zkriAdd_8u_C1RSfs").get()));
    EXPECT_FALSE(c.tobeRun(makeTest("zkriAdd_8u_C1RSfs", "TimiAddC//ZK_REG").get()));
    EXPECT_FALSE(c.tobeRun(makeTest("__qmKavroCpu", "__qmKavroCpu/Kavro CPU information/").get()));
}

TEST(Conditions, EmptyPatternsMakeNoCondition) {
    EXPECT_EQ(qmConditions::fromKey("", true), nullptr);
    EXPECT_EQ(qmConditions::fromKey("=", true), nullptr);
    EXPECT_EQ(qmConditions::fromKey("-", false), nullptr);
    EXPECT_NE(qmConditions::fromKey("x", false), nullptr);
}

TEST(Selection, HotOnlyRunsExactlyTheHotFunctions) {
    qmConditions none;
    auto hot = makeTest("zkriFilter_8u_C1R"), cold = makeTest("zkriFilter_8u_C3R");
    qmTest::m_hot = 2;
    EXPECT_TRUE(hot->tobeRun(none));
    EXPECT_FALSE(cold->tobeRun(none));
    EXPECT_TRUE(hot->isHotLine());
    qmTest::m_hot = 1;
    EXPECT_TRUE(cold->tobeRun(none));
    qmTest::m_hot = 0;
}

TEST(Selection, StartFromTextIsASubstringAndIsConsumedOnce) {
    auto a = makeTest("zkriAdd_8u_C1RSfs"), b = makeTest("zkriSub_8u_C1RSfs"), c = makeTest("zkriAdd_16s_C1RSfs");
    qmTestList list;
    qmConditions none;
    qmTestList::m_startFunc = "Sub_8u";
    EXPECT_FALSE(list.isSelected(a.get(), none, true));
    EXPECT_TRUE(list.isSelected(b.get(), none, false));
    EXPECT_EQ(qmTestList::m_startFunc, qmString("Sub_8u")) << "a listing does not consume it";
    EXPECT_TRUE(list.isSelected(b.get(), none, true));
    EXPECT_TRUE(list.isSelected(c.get(), none, true));
    EXPECT_TRUE(qmTestList::m_startFunc.empty());
}

TEST(Sorting, ByFunctionKeepingEqualNamesInRegistrationOrder) {
    auto t1 = makeTest("zkriAdd_8u_C1IRSfs"), t2 = makeTest("zkriAdd_8u_AC4RSfs"), t3 = makeTest("zkriAdd_8u_C1RSfs"),
         t4 = makeTest("zkriAdd_8u_C1RSfs"), t5 = makeTest("zkriAbs_16s_C1R");
    qmTestList list;
    for (auto* t : {t1.get(), t2.get(), t3.get(), t4.get(), t5.get()}) list.add(t);
    list.sortFunc();
    std::vector<qmTest*> order(list.tests().begin(), list.tests().end());
    EXPECT_EQ(order, (std::vector<qmTest*>{t5.get(), t3.get(), t4.get(), t2.get(), t1.get()}));
}

TEST(Sorting, FewerThanTwoTestsAreLeftAlone) {
    qmTestList list;
    list.sortFunc();
    auto t = makeTest("zkriAdd_8u_C1RSfs");
    list.add(t.get());
    list.sortFunc();
    EXPECT_EQ(list.tests().front(), t.get());
}

TEST(Counting, WarningsAndFailuresAlsoCountInTheirTotals) {
    qmTestList list;
    for (int r : {1, 3, 10, 6, 11, 2}) list.plus(r);
    EXPECT_EQ(list.total(), 6);
    EXPECT_EQ(list.count(QM_OK), 1);
    EXPECT_EQ(list.count(QM_BADSTSWRN), 1);
    EXPECT_EQ(list.count(QM_WARNING), 1 + 2) << "its own line plus results 2 and 3";
    EXPECT_EQ(list.count(QM_FAIL), 1 + 1) << "its own line plus result 10";
    EXPECT_EQ(list.count(QM_EXCPTFAIL), 1);
}

// ---------------------------------------------------------------- timing settings

class TimingSettings : public ::testing::Test {
protected:
    void SetUp() override {
        g_tool = qmTool();
        g_istrm.clearData();
        g_istrm.deleteIStream();
    }
    void TearDown() override { g_istrm.clearData(); }
    qmSession session;  // not interactive: nothing is asked from the console
};

TEST_F(TimingSettings, DefaultsLeaveAutoWithFivePerCent) {
    session.readTimingMethod();
    EXPECT_EQ(g_tool.method, 0);
    EXPECT_DOUBLE_EQ(g_tool.accuracy, 0.05);
}

TEST_F(TimingSettings, AccuracyBoundsAreKept) {
    const std::pair<const char*, double> cases[] = {{"1", 0.01}, {"50", 0.5}, {"51", 500.0}, {"0", 10.0}, {"5", 0.05}};
    for (const auto& [percent, expected] : cases) {
        g_istrm.addData("Accuracy", percent);
        session.readTimingMethod();
        EXPECT_DOUBLE_EQ(g_tool.accuracy, expected) << percent;
    }
}

TEST_F(TimingSettings, ManualWithZeroLoopsMeasuresOneLoop) {
    g_istrm.addData("Method", "Manual");
    g_istrm.addData("NumLoops", "0");
    g_istrm.addData("Accuracy", "1");
    session.readTimingMethod();
    EXPECT_EQ(g_tool.method, 1);
    EXPECT_EQ(g_tool.manualLoops, 1);
    EXPECT_DOUBLE_EQ(g_tool.accuracy, 0.05) << "Manual judges no accuracy";
}

TEST_F(TimingSettings, StatisticTakesItsOwnDefaults) {
    g_istrm.addData("Method", "stat");
    session.readTimingMethod();
    EXPECT_EQ(g_tool.method, 2);
    EXPECT_EQ(g_tool.minCalls, 3);
    EXPECT_EQ(g_tool.maxClocks, 10000);
}

TEST_F(TimingSettings, IterativeWithoutAnswersSwitchesTheAccuracyJudgementOff) {
    g_istrm.addData("Method", "Iterative");
    session.readTimingMethod();
    EXPECT_EQ(g_tool.method, 3);
    EXPECT_EQ(g_tool.startLoops, 1);
    EXPECT_EQ(g_tool.stopLoops, 2048);
    EXPECT_EQ(g_tool.minClocks, 10);
    EXPECT_DOUBLE_EQ(g_tool.accuracy, 500.0);
}

TEST_F(TimingSettings, BadMethodNameIsADefinitionError) {
    g_istrm.addData("Method", "Fastest");
    EXPECT_THROW(session.readTimingMethod(), qmException);
}
