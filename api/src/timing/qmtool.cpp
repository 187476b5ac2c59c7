// The timing engine: settings, the entry of a measurement and the Manual, Statistic and Auto drivers.
#include "qmtool.h"

#include "qmclock.h"
#include "qmcoreclock.h"
#include "qmfpu.h"
#include "qmstream.h"

qmTool g_tool;
int qmTool::m_priority = 0;
qmResult (*qmTool::m_pCheckStatus)(int) = nullptr;
void (*qmTool::m_pResetVectors)() = nullptr;

qmTool::qmTool() {
    createTime = time(nullptr);
    reset();
}

void qmTool::reset() {
    achievedAccuracy = 1.0;
    status = QM_UNDEFINED;
    funcClocks = 0;
    comment = qmString();
    params = qmString();
    funcLoop = nullptr;
    funcStat = nullptr;
    funcCall = nullptr;
    initFunc = nullptr;
    resetTime = time(nullptr);
    numClocks = 0;
    numLoops = 0;
    spanPerCall = 0;
    m_log = qmString();
}

// ---------------------------------------------------------------- settings

void qmTool::setMethodLoop(int n) {
    method = MANUAL;
    manualLoops = n > 1 ? n : 1;
}

void qmTool::setMethodStat(int calls, long long clocks) {
    method = STATISTIC;
    minCalls = calls;
    maxClocks = clocks;
}

void qmTool::setMethodBest(int start, int stop, long long clocks) {
    method = ITERATIVE;
    minClocks = clocks;
    startLoops = start > 1 ? start : 1;
    // 8 x the start as given, before it is raised to 1: a start of 0 keeps the user's stop.
    long long floor = 8LL * start;
    stopLoops = floor > stop ? static_cast<int>(floor) : stop;
}

bool qmTool::getMethodLoop(int& loops) const {
    if (method != MANUAL) return false;
    loops = manualLoops;
    return true;
}

bool qmTool::getMethodStat(int& calls, long long& clocks) const {
    if (method != STATISTIC) return false;
    calls = minCalls;
    clocks = maxClocks;
    return true;
}

bool qmTool::getMethodBest(int& start, int& stop, long long& clocks) const {
    if (method != ITERATIVE) return false;
    start = startLoops;
    stop = stopLoops;
    clocks = minClocks;
    return true;
}

void qmTool::getAutoParameters(int& start, int& stop, long long& clocks) {
    start = 1;
    stop = 2048;
    clocks = 10LL * qmCpuTicker::getClockFactor();
}

void qmTool::setLoopFactor(int k) {
    // Shifts in unsigned arithmetic with the count modulo 32; an override of 0 means the default.
    unsigned shift = k > 0 ? static_cast<unsigned>(k) % 32u : (0u - static_cast<unsigned>(k)) % 32u;
    if (k == 0) {
        autoStartLoops = autoStopLoops = 0;
    } else if (k > 0) {
        autoStartLoops = static_cast<int>(1u >> shift);
        autoStopLoops = static_cast<int>(2048u >> shift);
    } else {
        autoStartLoops = static_cast<int>(1u << shift);
        autoStopLoops = static_cast<int>(2048u << shift);
    }
}

qmString qmTool::getAccuracyStr(double a) {
    double percent = a * 100.0;
    return qmString::format(percent < 0.1 ? "%.2f%c" : "%.1f%c", percent, '%');
}

qmString qmTool::clockStr(long long c) {
    if (c <= 2147483647LL) return qmString::fromInt(c);
    // Too wide for the report columns: the low digits are shown as zeros.
    double v = static_cast<double>(c);
    int zeros = 0;
    while (v > 2147483647.0) {
        v /= 10.0;
        ++zeros;
    }
    return qmString::fromInt(static_cast<long long>(v)) + qmString(static_cast<size_t>(zeros), '0');
}

// ---------------------------------------------------------------- floating-point watch

void qmTool::ctrlStart() { ::ctrlStart(); }
void qmTool::ctrlStop() { ::ctrlStop(); }

bool qmTool::badCtrlStatus() {
    bool x87 = false, sse = false;
    return ::badCtrlStatus(x87, sse);
}

void qmTool::printBadCtrlStatus(bool print) {
    bool x87 = false, sse = false;
    if (print && ::badCtrlStatus(x87, sse)) printCtrlStatus(x87, sse);
}

void qmTool::clearCtrlStatus() { ::clearCtrlStatus(); }

// ---------------------------------------------------------------- entry and drivers

void qmTool::updateResult(qmResult r) {
    if (r > status) {
        status = r;
        comment = qmResultString(r);
    }
}

void qmTool::writeInfo() {
    if (m_log.empty()) return;
    g_ostrm << MSG_INFO << m_log << MSG_RESTORE;
    m_log = qmString();
}

qmResult qmTool::timing(qmFuncLoop loop, qmFuncStat stat, qmFuncCall call, qmFuncInit init) {
    reset();
    qmMachineClock().startMeasurement(1000.0 * (qmCpuTicker::m_freqMHz > 0 ? qmCpuTicker::m_freqMHz : 2000));
    if (!loop && !stat && !call) {
        g_ostrm << MSG_ERR
                << " Internal test problem: The test cannot execute standard timing.\n"
                   " No one of funcLoop, funcStat or funcCall is registered in the test.\n"
                << MSG_RESTORE;
        updateResult(QM_FAIL);
        return QM_FAIL;
    }
    funcLoop = loop;
    funcStat = stat;
    funcCall = call;
    initFunc = init;
    return dispatch();
}

namespace {
// The older entry form: only one measurement at a time may use it.
qmFuncOld s_oldFunc = nullptr;
qmTool* s_oldTool = nullptr;

qmResult oldFormAdapter(int loops, long long* clocks) {
    qmResult r = s_oldFunc(*s_oldTool, loops);
    *clocks = qmCpuTicker::getClockFactor() * s_oldTool->numClocks;
    return r;
}
}  // namespace

qmResult qmTool::timing(qmFuncOld old) {
    s_oldFunc = old;
    s_oldTool = this;
    return timing(&oldFormAdapter, nullptr, nullptr, nullptr);
}

qmResult qmTool::dispatch() {
    switch (method) {
        case AUTO: {
            qmTraceScope trace("autoTiming");
            autoLoopTiming();
            break;
        }
        case MANUAL: {
            if (!funcLoop && !funcCall) {
                if (!funcStat) return status;
                g_ostrm << MSG_ERR
                        << " ATTENTION! The test cannot execute Manual loop timing.\n"
                           " Statistic timing will be run instead.\n"
                        << MSG_RESTORE;
                // A budget of 0: exactly manualLoops calls, as many as the loops asked for.
                setMethodStat(manualLoops, 0);
                return timing(nullptr, funcStat, nullptr, initFunc);
            }
            qmTraceScope trace("customLoopTiming");
            customLoopTiming();
            break;
        }
        case STATISTIC: {
            if (!funcStat && !funcCall) {
                if (!funcLoop) return status;
                g_ostrm << MSG_ERR
                        << " ATTENTION! The test cannot execute Statistic timing.\n"
                           " Manual loop timing will be run instead.\n"
                        << MSG_RESTORE;
                setMethodLoop(minCalls);
                return timing(funcLoop, nullptr, nullptr, initFunc);
            }
            qmTraceScope trace("statisticTiming");
            statisticTiming();
            break;
        }
        case ITERATIVE: {
            qmTraceScope trace("iterativeTiming");
            bestTiming(startLoops, stopLoops, minClocks);
            break;
        }
        default:
            g_ostrm << MSG_ERR << "QM internal error: file ../quillmark/api/src/qmtool, line 746\n" << MSG_RESTORE;
            status = QM_FAIL;
            break;
    }
    return status;
}

qmResult qmTool::customLoopTiming() {
    log(qmString("    Manual method: \n") << "        numLoops   = " << manualLoops << "\n");
    writeInfo();
    {
        qmTraceScope trace("runTimFunc");
        runTimFunc(manualLoops, &funcClocks, true);
    }
    achievedAccuracy = 0;
    params << "nLps=" << manualLoops;
    log(qmString("        funcClocks = ") << funcClocks << "\n" << "        result     = " << qmResultString(status)
                                          << "\n");
    writeInfo();
    return status;
}

qmResult qmTool::statisticTiming() {
    log(qmString("    Statistical method:\n") << "        minCalls   = " << minCalls << "\n"
                                              << "        maxClocks  = " << clockStr(maxClocks) << "\n");
    writeInfo();
    int calls = minCalls;
    {
        qmTraceScope trace("runTimFuncStat");
        runTimFuncStat(maxClocks, &calls, &funcClocks);
    }
    achievedAccuracy = 0;
    params << "nCalls=" << calls;
    log(qmString("        numCalls   = ") << calls << "\n" << "        funcClocks = " << funcClocks << "\n"
                                          << "        result     = " << qmResultString(status) << "\n");
    writeInfo();
    return status;
}

qmResult qmTool::autoLoopTiming() {
    int start, stop;
    long long clocks;
    getAutoParameters(start, stop, clocks);
    if (autoStartLoops) start = autoStartLoops;
    if (autoStopLoops) stop = autoStopLoops;
    return bestTiming(start, stop, clocks);
}
