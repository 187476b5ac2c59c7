// The timing engine driven by scripted entry points: the tests choose the clocks that each run
// reports, so every path is deterministic and nothing is timed.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "qmclock.h"
#include "qmfpu.h"
#include "qmsignal.h"
#include "qmtool.h"
#include "test_console_capture.h"

namespace {
struct Script {
    std::function<long long(int n)> cost = [](int n) { return 1000LL * n; };
    std::function<bool(int n)> overflowAt = [](int) { return false; };
    qmResult answer = QM_OK;
    std::vector<int> loopsSeen;
    std::vector<std::pair<int, long long>> statSeen;
    std::vector<int> callStatuses;  // status of each funcCall in turn, 0 after the list
    int calls = 0, inits = 0, resets = 0;
};
Script* s = nullptr;

void sseOverflow() {
    volatile float big = 1e38f;
    volatile float r = big * big;
    (void)r;
}

qmResult scriptLoop(int n, long long* clocks) {
    s->loopsSeen.push_back(n);
    if (s->overflowAt(n)) sseOverflow();
    *clocks = s->cost(n);
    return s->answer;
}

qmResult scriptStat(int* n, long long* clocks) {
    s->statSeen.push_back({*n, *clocks});
    *clocks = s->cost(*n);
    return s->answer;
}

int scriptCall() {
    int i = s->calls++;
    return i < static_cast<int>(s->callStatuses.size()) ? s->callStatuses[static_cast<size_t>(i)] : 0;
}
int scriptInit() { return ++s->inits, 0; }
void scriptReset() { ++s->resets; }

qmResult oldStyle(qmTool& tool, int n) {
    s->loopsSeen.push_back(n);
    tool.numClocks = 300LL * n;
    return QM_OK;
}

qmResult mapStatus(int st) { return st < 0 ? QM_FUNCFAIL : st > 0 ? QM_FUNCWRN : QM_OK; }

// Per-loop cost alternating between two values from one run to the next.
std::function<long long(int)> alternating(long long first, long long second) {
    auto k = std::make_shared<int>(0);
    return [=](int n) { return n * ((*k)++ % 2 == 0 ? first : second); };
}

const int kLevels = ERR | WARN | PERF;
}  // namespace

class ToolScript : public ::testing::Test {
protected:
    void SetUp() override {
        s = &m_script;
        initCtrlStatus();
        qmTool::m_pCheckStatus = nullptr;
        qmTool::m_pResetVectors = nullptr;
    }
    void TearDown() override {
        qmTool::m_pCheckStatus = nullptr;
        qmTool::m_pResetVectors = nullptr;
        initCtrlStatus();
        s = nullptr;
    }
    Script m_script;
    qmTool m_tool;
};

// ---------------------------------------------------------------- settings

TEST(ToolSettings, DefaultsAndReset) {
    qmTool t;
    EXPECT_EQ(t.status, QM_UNDEFINED);
    EXPECT_EQ(t.accuracy, 0.05);
    EXPECT_EQ(t.method, 0);
    EXPECT_EQ(t.manualLoops, 10);
    EXPECT_EQ(t.startLoops, 1);
    EXPECT_EQ(t.stopLoops, 2048);
    EXPECT_EQ(t.minClocks, 100);
    EXPECT_EQ(t.minCalls, 12);
    EXPECT_EQ(t.maxClocks, 10000);
    EXPECT_FALSE(t.useCalls || t.callMode || t.initAndGuard || t.guardCtrl);
    EXPECT_EQ(t.achievedAccuracy, 1.0);
    EXPECT_NE(t.createTime, 0);

    t.status = QM_FAIL;
    t.funcClocks = 5;
    t.numLoops = 7;
    t.comment = "x";
    t.params = "y";
    t.achievedAccuracy = 0.2;
    t.funcLoop = scriptLoop;
    t.accuracy = 0.01;
    t.reset();
    EXPECT_EQ(t.status, QM_UNDEFINED);
    EXPECT_EQ(t.funcClocks, 0);
    EXPECT_EQ(t.numLoops, 0);
    EXPECT_TRUE(t.comment.empty() && t.params.empty());
    EXPECT_EQ(t.achievedAccuracy, 1.0);
    EXPECT_EQ(t.funcLoop, nullptr);
    EXPECT_EQ(t.accuracy, 0.01);  // settings survive a reset
}

TEST(ToolSettings, MethodSettersAndGetters) {
    qmTool t;
    int a = 0, b = 0;
    long long c = 0;
    EXPECT_TRUE(t.getMethodAuto());
    EXPECT_FALSE(t.getMethodLoop(a));

    t.setMethodLoop(0);
    EXPECT_TRUE(t.getMethodLoop(a));
    EXPECT_EQ(a, 1);
    t.setMethodLoop(-4);
    EXPECT_EQ(t.manualLoops, 1);
    EXPECT_FALSE(t.getMethodStat(a, c));

    t.setMethodStat(-3, 0);  // taken as given
    EXPECT_TRUE(t.getMethodStat(a, c));
    EXPECT_EQ(a, -3);
    EXPECT_EQ(c, 0);

    t.setMethodBest(0, 5, 77);
    EXPECT_TRUE(t.getMethodBest(a, b, c));
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 5);
    EXPECT_EQ(c, 77);
    t.setMethodBest(4, 5, 1);
    EXPECT_EQ(t.stopLoops, 32);
    t.setMethodBest(4, 100, 1);
    EXPECT_EQ(t.stopLoops, 100);
    EXPECT_FALSE(t.getMethodAuto());
    t.setMethodAuto();
    EXPECT_FALSE(t.getMethodBest(a, b, c));
}

TEST(ToolSettings, AutoParametersAndLoopFactor) {
    int start = 0, stop = 0;
    long long clocks = 0;
    qmTool::getAutoParameters(start, stop, clocks);
    EXPECT_EQ(start, 1);
    EXPECT_EQ(stop, 2048);
    EXPECT_EQ(clocks, 10);

    qmTool t;
    auto factor = [&](int k) {
        t.setLoopFactor(k);
        return std::make_pair(t.autoStartLoops, t.autoStopLoops);
    };
    EXPECT_EQ(factor(1), std::make_pair(0, 1024));
    EXPECT_EQ(factor(3), std::make_pair(0, 256));
    EXPECT_EQ(factor(-1), std::make_pair(2, 4096));
    EXPECT_EQ(factor(-3), std::make_pair(8, 16384));
    EXPECT_EQ(factor(33), std::make_pair(0, 1024));   // shift counts modulo 32
    EXPECT_EQ(factor(-33), std::make_pair(2, 4096));
    EXPECT_EQ(factor(0), std::make_pair(0, 0));
}

TEST(ToolSettings, AccuracyAndClockTexts) {
    EXPECT_EQ(qmTool::getAccuracyStr(0.0005), "0.05%");
    EXPECT_EQ(qmTool::getAccuracyStr(0.05), "5.0%");
    EXPECT_EQ(qmTool::getAccuracyStr(0.073), "7.3%");
    EXPECT_EQ(qmTool::getAccuracyStr(0.00099), "0.10%");
    EXPECT_EQ(qmTool::getAccuracyStr(0.001), "0.1%");
    EXPECT_EQ(qmTool::clockStr(30000000007LL), "30000000000");
    EXPECT_EQ(qmTool::clockStr(2147483647LL), "2147483647");
    EXPECT_EQ(qmTool::clockStr(2147483648LL), "2147483640");
    EXPECT_EQ(qmTool::clockStr(0), "0");
}

// ---------------------------------------------------------------- Auto and Iterative

TEST_F(ToolScript, AutoSettlesAndLogsBetweenRuns) {
    qmConsoleCapture console(kLevels | INFO);
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_OK);
    EXPECT_EQ(m_script.loopsSeen, (std::vector<int>{1, 4}));
    EXPECT_EQ(m_tool.funcClocks, 1000);
    EXPECT_EQ(m_tool.numLoops, 4);
    EXPECT_EQ(m_tool.params, "nLps=4");
    EXPECT_EQ(m_tool.comment, "successfully");
    EXPECT_EQ(console.text(),
              "    Auto method: start\n"
              "        minClocks  = 10\n"
              "    Prior Measurement: \n"
              "        numLoops   = 1\n"
              "        numClocks  = 1000\n"
              "        funcClocks = 1000\n"
              "        result     = successfully\n"
              "    Iteration Measurement: \n"
              "        startLoops = 4\n"
              "        maxLoops   = 2048\n"
              "        stopLoops  = 4\n"
              "        stopClocks = 4000\n"
              "        accuracy   = 0.00%\n"
              "        funcClocks = 1000\n"
              "        result     = successfully\n"
              "    Auto method: stop\n");
}

TEST_F(ToolScript, AutoThatNeverSettlesReportsItsAccuracy) {
    m_script.cost = alternating(100, 200);
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_ACCURWRN);
    std::vector<int> expected = {1};
    for (int n = 4; n <= 2048; n *= 2) expected.push_back(n);
    expected.insert(expected.end(), {2048, 2048});  // the simple measurements
    EXPECT_EQ(m_script.loopsSeen, expected);
    EXPECT_EQ(m_tool.funcClocks, 100);
    EXPECT_EQ(m_tool.params, "nLps=2048 acc=50.0%");
    EXPECT_EQ(m_tool.comment, "successfullyactual accuracy = 50.0%");
}

TEST_F(ToolScript, TooFewClocksRetriedAtTenLoopsThenFails) {
    m_script.cost = [](int) { return 5LL; };
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_ACCURFAIL);
    EXPECT_EQ(m_script.loopsSeen, (std::vector<int>{1, 10}));
    EXPECT_TRUE(m_tool.params.empty());
    EXPECT_EQ(m_tool.comment, "accuracy error");
}

TEST_F(ToolScript, TenfoldRestartRaisesTheMaximumTenfold) {
    m_script.cost = alternating(5, 10);
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_ACCURWRN);
    ASSERT_GE(m_script.loopsSeen.size(), 3u);
    EXPECT_EQ(m_script.loopsSeen[1], 10);
    EXPECT_EQ(m_script.loopsSeen[2], 40);
    EXPECT_EQ(*std::max_element(m_script.loopsSeen.begin(), m_script.loopsSeen.end()), 20480);
    EXPECT_EQ(m_tool.params, "nLps=20480 acc=40.0%");
}

TEST_F(ToolScript, NoClocksGetsOneSecondAttempt) {
    m_script.cost = [](int) { return 0LL; };
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_ACCURFAIL);
    EXPECT_EQ(m_script.loopsSeen, (std::vector<int>{1, 1, 10, 10}));
}

TEST_F(ToolScript, FailureFromEntryEndsAutoAtOnce) {
    m_script.answer = QM_DATAFAIL;
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_DATAFAIL);
    EXPECT_EQ(m_script.loopsSeen, (std::vector<int>{1}));
    EXPECT_EQ(m_tool.comment, "test data error");
    EXPECT_TRUE(m_tool.params.empty());
}

TEST_F(ToolScript, IterativeUsesTheToolsOwnLimits) {
    m_tool.setMethodBest(3, 20, 100000);  // stop raised to 24; 3 loops give too few clocks
    m_script.cost = [](int n) { return 1000LL * n; };
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_ACCURFAIL);
    EXPECT_EQ(m_script.loopsSeen, (std::vector<int>{3}));  // start > 1: no tenfold retry
    m_script.loopsSeen.clear();
    m_tool.setMethodBest(3, 20, 100);
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_OK);
    EXPECT_EQ(m_script.loopsSeen, (std::vector<int>{3, 12}));
}

TEST_F(ToolScript, LoopFactorOverridesAutoLimits) {
    m_tool.setLoopFactor(-3);  // start 8, stop 16384
    m_script.cost = alternating(100, 200);
    m_tool.timing(scriptLoop, nullptr, nullptr, nullptr);
    EXPECT_EQ(m_script.loopsSeen.front(), 8);
    EXPECT_EQ(m_script.loopsSeen[1], 32);
    EXPECT_EQ(m_tool.params.str().rfind("nLps=16384 ", 0), 0u);
}

TEST_F(ToolScript, CallsInsteadOfLoops) {
    m_tool.useCalls = true;
    m_script.cost = [](int n) { return 100LL * n; };
    EXPECT_EQ(m_tool.timing(nullptr, scriptStat, nullptr, nullptr), QM_OK);
    EXPECT_EQ(m_script.statSeen, (std::vector<std::pair<int, long long>>{{1, 0}, {4, 0}}));
    EXPECT_EQ(m_tool.params, "nCalls=4");

    qmTool loopsOnly;
    loopsOnly.useCalls = true;  // no call entry: measured as loops
    loopsOnly.timing(scriptLoop, nullptr, nullptr, nullptr);
    EXPECT_FALSE(loopsOnly.useCalls);
    EXPECT_EQ(loopsOnly.params, "nLps=4");
}

// ---------------------------------------------------------------- Manual and Statistic

TEST_F(ToolScript, ManualRunsTheGivenLoops) {
    qmConsoleCapture console(kLevels | INFO);
    m_tool.setMethodLoop(7);
    EXPECT_EQ(m_tool.timing(scriptLoop, scriptStat, nullptr, nullptr), QM_OK);
    EXPECT_EQ(m_script.loopsSeen, (std::vector<int>{7}));
    EXPECT_EQ(m_tool.funcClocks, 1000);
    EXPECT_EQ(m_tool.achievedAccuracy, 0);
    EXPECT_EQ(m_tool.params, "nLps=7");
    EXPECT_EQ(console.text(),
              "    Manual method: \n        numLoops   = 7\n        funcClocks = 1000\n        result     = successfully\n");
}

TEST_F(ToolScript, ManualWithCallEntryAndGuardedInit) {
    m_tool.setMethodLoop(5);
    m_tool.initAndGuard = true;
    EXPECT_EQ(m_tool.timing(nullptr, nullptr, scriptCall, scriptInit), QM_OK);
    EXPECT_EQ(m_script.calls, 6);   // warm-up and five timed
    EXPECT_EQ(m_script.inits, 7);   // before the measurement, the warm-up and each call
    EXPECT_GT(m_tool.numClocks, 0);
}

TEST_F(ToolScript, StatisticWithEntry) {
    qmConsoleCapture console(kLevels | INFO);
    m_tool.setMethodStat(12, 10000);
    m_script.cost = [](int n) { return 1000LL * n; };
    EXPECT_EQ(m_tool.timing(scriptLoop, scriptStat, nullptr, nullptr), QM_OK);
    EXPECT_EQ(m_script.statSeen, (std::vector<std::pair<int, long long>>{{12, 10000}}));
    EXPECT_EQ(m_tool.funcClocks, 1000);
    EXPECT_EQ(m_tool.params, "nCalls=12");
    EXPECT_EQ(console.text(),
              "    Statistical method:\n        minCalls   = 12\n        maxClocks  = 10000\n"
              "        numCalls   = 12\n        funcClocks = 1000\n        result     = successfully\n");
}

TEST_F(ToolScript, StatisticBudgetZeroMakesExactlyMinCalls) {
    m_tool.setMethodStat(12, 0);
    EXPECT_EQ(m_tool.timing(nullptr, nullptr, scriptCall, nullptr), QM_OK);
    EXPECT_EQ(m_script.calls, 1 + 2 * 12);  // warm-up, then a timed and an untimed call per pass
    EXPECT_EQ(m_tool.params, "nCalls=12");
}

TEST_F(ToolScript, ManualFallsBackToStatistic) {
    qmConsoleCapture console(kLevels);
    m_tool.setMethodLoop(10);
    EXPECT_EQ(m_tool.timing(nullptr, scriptStat, nullptr, nullptr), QM_OK);
    EXPECT_EQ(console.text(),
              " ATTENTION! The test cannot execute Manual loop timing.\n Statistic timing will be run instead.\n");
    EXPECT_EQ(m_tool.method, qmTool::STATISTIC);
    EXPECT_EQ(m_script.statSeen, (std::vector<std::pair<int, long long>>{{10, 0}}));
    EXPECT_EQ(m_tool.params, "nCalls=10");
}

TEST_F(ToolScript, StatisticFallsBackToManual) {
    qmConsoleCapture console(kLevels);
    m_tool.setMethodStat(12, 5000);
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_OK);
    EXPECT_EQ(console.text(),
              " ATTENTION! The test cannot execute Statistic timing.\n Manual loop timing will be run instead.\n");
    EXPECT_EQ(m_tool.method, qmTool::MANUAL);
    EXPECT_EQ(m_script.loopsSeen, (std::vector<int>{12}));
    EXPECT_EQ(m_tool.params, "nLps=12");
}

// ---------------------------------------------------------------- missing entries and odd states

TEST_F(ToolScript, NoEntryPointIsAnError) {
    qmConsoleCapture console(kLevels);
    EXPECT_EQ(m_tool.timing(nullptr, nullptr, nullptr, scriptInit), QM_FAIL);
    EXPECT_EQ(console.text(),
              " Internal test problem: The test cannot execute standard timing.\n"
              " No one of funcLoop, funcStat or funcCall is registered in the test.\n");
    EXPECT_EQ(m_script.inits, 0);
}

TEST_F(ToolScript, UnknownMethodIsAnInternalError) {
    qmConsoleCapture console(kLevels);
    m_tool.method = 9;
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_FAIL);
    EXPECT_EQ(console.text(), "QM internal error: file ../quillmark/api/src/qmtool, line 746\n");
    EXPECT_TRUE(m_script.loopsSeen.empty());
}

TEST_F(ToolScript, RunWithoutAnyEntryReportsTheLine) {
    qmConsoleCapture console(kLevels);
    double result = -1;
    m_tool.runTimFunc(4, &result, true);
    m_tool.useCalls = true;
    m_tool.runTimFunc(4, &result, false);
    EXPECT_EQ(console.text(),
              "QM internal error: file ../quillmark/api/src/qmtool, line 248\n"
              "QM internal error: file ../quillmark/api/src/qmtool, line 257\n");
    EXPECT_EQ(m_tool.status, QM_FAIL);
    EXPECT_EQ(result, 0);
}

TEST_F(ToolScript, OldStyleEntry) {
    m_tool.setMethodLoop(5);
    EXPECT_EQ(m_tool.timing(oldStyle), QM_OK);
    EXPECT_EQ(m_script.loopsSeen, (std::vector<int>{5}));
    EXPECT_EQ(m_tool.funcClocks, 300);
}

TEST_F(ToolScript, CallModeResetsVectorsAndNeedsCallEntry) {
    qmTool::m_pResetVectors = scriptReset;
    m_tool.callMode = true;
    m_tool.setMethodLoop(5);
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_UNDEFINED);
    EXPECT_TRUE(m_script.loopsSeen.empty());

    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, scriptCall, scriptInit), QM_OK);
    EXPECT_TRUE(m_script.loopsSeen.empty());  // only the call entry is used
    EXPECT_EQ(m_script.resets, 5);
    EXPECT_EQ(m_script.calls, 6);
    EXPECT_EQ(m_script.inits, 6);
}

// ---------------------------------------------------------------- library status of the call loops

TEST_F(ToolScript, NegativeWarmUpStatusEndsTheMeasurement) {
    qmTool::m_pCheckStatus = mapStatus;
    m_script.callStatuses = {-3};
    EXPECT_EQ(m_tool.timing(nullptr, nullptr, scriptCall, nullptr), QM_FUNCFAIL);
    EXPECT_EQ(m_script.calls, 1);
    EXPECT_EQ(m_tool.comment, "lib function error");
}

TEST_F(ToolScript, WarningStatusIsKeptThroughAuto) {
    qmTool::m_pCheckStatus = mapStatus;
    m_script.callStatuses.assign(100000, 2);
    EXPECT_EQ(m_tool.timing(nullptr, nullptr, scriptCall, nullptr), QM_FUNCWRN);
    EXPECT_EQ(m_tool.comment, "lib function warning");
}

TEST_F(ToolScript, CallLoopsStopAtNegativeStatus) {
    m_tool.funcCall = scriptCall;
    qmTool::m_pCheckStatus = mapStatus;
    m_script.callStatuses = {0, 0, -2, 0};
    long long clocks = -1;
    EXPECT_EQ(m_tool.timCall_Loop(10, &clocks, false), QM_FUNCFAIL);
    EXPECT_EQ(m_script.calls, 3);
    EXPECT_GE(clocks, 0);

    m_script.calls = 0;
    m_script.callStatuses = {0, 1, -1};  // warm-up, timed, untimed
    int calls = 5;
    clocks = 0;
    EXPECT_EQ(m_tool.timCall_Stat(&calls, &clocks, false), QM_FUNCFAIL);
    EXPECT_EQ(calls, 0);  // the pass ended before it was counted
    EXPECT_EQ(m_script.calls, 3);

    qmTool::m_pCheckStatus = nullptr;
    m_script.calls = 0;
    m_script.callStatuses = {0, 3, 0};
    calls = 1;
    clocks = 0;
    EXPECT_EQ(m_tool.timCall_Stat(&calls, &clocks, false), QM_OK);  // without the hook: 1
    EXPECT_EQ(calls, 1);
}

// ---------------------------------------------------------------- spoiled control status

TEST_F(ToolScript, BadControlStatusAvoidedAtHalfTheLoops) {
    qmConsoleCapture console(kLevels);
    m_tool.initAndGuard = true;
    m_script.overflowAt = [](int n) { return n >= 4; };
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_OK);
    EXPECT_EQ(m_script.loopsSeen, (std::vector<int>{1, 4, 2, 2, 2, 2, 2}));
    EXPECT_EQ(m_tool.params, "nLps=2");
    EXPECT_EQ(console.text(),
              "-- Status    SSX: ?Overflow _Inexact \n"
              "-- Attempting to avoid bad control status\n"
              "-- Attempt is successful\n");
}

TEST_F(ToolScript, BadControlStatusThatRepeats) {
    qmConsoleCapture console(kLevels);
    m_tool.initAndGuard = true;
    m_script.overflowAt = [](int) { return true; };
    m_tool.timing(scriptLoop, nullptr, nullptr, nullptr);
    EXPECT_EQ(console.text(),
              "-- Status    SSX: ?Overflow _Inexact \n"
              "-- Attempting to avoid bad control status\n"
              "-- Status    SSX: ?Overflow _Inexact \n"
              "-- Attempt fails: Bad control status repeats.\n");
}

TEST_F(ToolScript, BadControlStatusAvoidedButInaccurate) {
    qmConsoleCapture console(kLevels);
    m_tool.initAndGuard = true;
    m_script.overflowAt = [](int n) { return n >= 4; };
    auto atTwo = alternating(3000, 1000);
    m_script.cost = [atTwo](int n) { return n == 2 ? atTwo(n) : 1000LL * n; };
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_ACCURWRN);
    EXPECT_EQ(console.text(),
              "-- Status    SSX: ?Overflow _Inexact \n"
              "-- Attempting to avoid bad control status\n"
              "-- Attempt fails: Accuracy is unsatisfactory.\n");
    EXPECT_EQ(m_tool.params, "nLps=2 acc=50.0%");
}

TEST_F(ToolScript, UnguardedStatusIsLeftToTheTest) {
    qmConsoleCapture console(kLevels);
    m_script.overflowAt = [](int) { return true; };
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_OK);
    EXPECT_EQ(console.text(), "");
    bool x87 = false, sse = false;
    EXPECT_TRUE(badCtrlStatus(x87, sse));  // still there for the line's status check
    EXPECT_TRUE(sse);
}

TEST_F(ToolScript, SpansAreHeldToSecondsWhateverTheNoise) {
    // At 1 MHz a span may last 1,000,000 clocks: with 250,000 or 500,000 clocks a call and
    // results that never agree, the doubling stops at 4 loops instead of going on to 2048.
    const int saved = qmCpuTicker::m_freqMHz;
    qmCpuTicker::m_freqMHz = 1;
    m_script.cost = alternating(250000, 500000);
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_ACCURWRN);
    EXPECT_EQ(m_script.loopsSeen, (std::vector<int>{1, 4, 4, 4}));
    EXPECT_EQ(m_tool.params, "nLps=4 acc=40.0%");  // the spread of 2, 1 and 2 million
    // A call longer than the whole span still gets the first iteration's four loops, so that two
    // results are compared.
    m_script.loopsSeen.clear();
    m_script.cost = [](int n) { return 2250000LL * n; };
    EXPECT_EQ(m_tool.timing(scriptLoop, nullptr, nullptr, nullptr), QM_OK);
    EXPECT_EQ(m_script.loopsSeen, (std::vector<int>{1, 4}));
    EXPECT_EQ(m_tool.params, "nLps=4");
    qmCpuTicker::m_freqMHz = saved;
}

TEST_F(ToolScript, StopRequestEndsTheDoublingBetweenSpans) {
    // Results that never agree would double up to 2048 loops; a stop request ends the line after
    // the first iteration's span with the accuracy reached.
    m_script.cost = alternating(100, 200);
    tsSignal::m_stop = 1;
    const qmResult r = m_tool.timing(scriptLoop, nullptr, nullptr, nullptr);
    tsSignal::m_stop = 0;
    EXPECT_EQ(r, QM_ACCURWRN);
    EXPECT_EQ(m_script.loopsSeen, (std::vector<int>{1, 4}));
    EXPECT_EQ(m_tool.params, "nLps=4 acc=66.7%");
}
