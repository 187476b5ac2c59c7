// qmTool, the timing engine: drives a test's entry points by one of four methods (Auto, Manual,
// Statistic, Iterative), decides how many repetitions give a stable figure, judges the accuracy
// reached and watches the floating-point state, and leaves the result, the clocks per call and two
// notes for the result line.
#pragma once
#include <ctime>

#include "qmresult.h"
#include "qmstring.h"

class qmTool;
using qmFuncLoop = qmResult (*)(int numLoops, long long* clocks);
using qmFuncStat = qmResult (*)(int* numCalls, long long* clocks);
using qmFuncCall = int (*)();
using qmFuncInit = int (*)();
using qmFuncOld = qmResult (*)(qmTool& tool, int numLoops);

class qmTool {
public:
    enum Method { AUTO = 0, MANUAL = 1, STATISTIC = 2, ITERATIVE = 3 };

    qmTool();
    virtual ~qmTool() = default;
    qmTool(const qmTool&) = default;
    qmTool& operator=(const qmTool&) = default;

    void reset();

    void setMethodAuto() { method = AUTO; }
    void setMethodLoop(int n);
    void setMethodStat(int calls, long long clocks);
    void setMethodBest(int start, int stop, long long clocks);
    bool getMethodAuto() const { return method == AUTO; }
    bool getMethodLoop(int& loops) const;
    bool getMethodStat(int& calls, long long& clocks) const;
    bool getMethodBest(int& start, int& stop, long long& clocks) const;
    static void getAutoParameters(int& start, int& stop, long long& clocks);
    void setLoopFactor(int k);
    void setFuncTicks(double clocks) { funcClocks = clocks; }

    static qmString getAccuracyStr(double a);
    static qmString clockStr(long long c);

    // One measurement: resets the tool and runs the chosen method.
    qmResult timing(qmFuncLoop loop, qmFuncStat stat, qmFuncCall call, qmFuncInit init);
    // The older single-entry form; the function fills in the tool's numClocks itself.
    qmResult timing(qmFuncOld old);

    // Floating-point control watch around the timed calls.
    void ctrlStart();
    void ctrlStop();
    bool badCtrlStatus();
    void printBadCtrlStatus(bool print);
    void clearCtrlStatus();

    // Fields, in their documented order.
    qmResult status = QM_UNDEFINED;
    double funcClocks = 0;
    int numLoops = 0;
    double accuracy = 0.05;
    int method = AUTO;
    int manualLoops = 10;
    int startLoops = 1;
    int stopLoops = 2048;
    bool useCalls = false;
    bool callMode = false;
    long long minClocks = 100;
    int minCalls = 12;
    long long maxClocks = 10000;
    bool initAndGuard = false;
    bool guardCtrl = false;
    qmString comment;
    qmString params;
    long long numClocks = 0;
    double spanPerCall = 0;  // counter ticks per call in the last loop span (when to start the next)
    double achievedAccuracy = 1.0;
    int autoStartLoops = 0;
    int autoStopLoops = 0;
    time_t resetTime = 0;
    time_t createTime = 0;
    qmFuncLoop funcLoop = nullptr;
    qmFuncStat funcStat = nullptr;
    qmFuncCall funcCall = nullptr;
    qmFuncInit initFunc = nullptr;

    static int m_priority;                    // scheduling level of the timed calls (qmSetPriority)
    static qmResult (*m_pCheckStatus)(int);   // library status -> result for the engine's call loops
    static void (*m_pResetVectors)();         // restores the test's vectors before a call

    // The steps of the methods, public so that tests can drive them one by one.
    qmResult autoLoopTiming();
    qmResult customLoopTiming();
    qmResult statisticTiming();
    qmResult bestTiming(int start, int max, long long minClocks);
    void runTimFunc(int loops, double* result, bool forceLoop);
    void runTimFuncStat(long long budget, int* calls, double* result);
    qmResult timCall_Loop(int loops, long long* clocks, bool resetVectors);
    qmResult timCall_Stat(int* calls, long long* clocks, bool resetVectors);
    qmResult repeatTiming(int loops, int count);
    qmResult startIterations(int loops, long long minClocks);
    qmResult continueIterations(int start, int max);

    // The longest loop span the Auto and Iterative methods let the doubling reach, in seconds.
    static constexpr double kMaxSpanSeconds = 1.0;
    // The loop maximum held so that a span of funcClocks per loop lasts at most kMaxSpanSeconds.
    int capBySpanTime(int max) const;

private:
    void updateResult(qmResult r);
    qmResult dispatch();
    qmResult callEntry(bool loopForm, int* loops);
    qmResult failIterations();
    void avoidBadCtrlStatus();
    void finishIterations();
    const char* countLabel() const { return useCalls ? "numCalls" : "numLoops"; }
    void log(const qmString& line) { m_log += line; }
    void writeInfo();

    qmString m_log;  // lines of the method in progress, written at INFO between runs
};

extern qmTool g_tool;
