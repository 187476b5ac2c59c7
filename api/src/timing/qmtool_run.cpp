// One run of a test's entry point, and the engine's own call loops for tests that register only
// a single-call entry. Nothing between the two counter reads belongs to the framework except what
// the call loops deliberately include (data preparation and the vector reset).
#include <cmath>

#include "qmclock.h"
#include "qmcoreclock.h"
#include "qmfpu.h"
#include "qmstream.h"
#include "qmtick.h"
#include "qmtool.h"

namespace {
void internalError(int line) {
    g_ostrm << MSG_ERR << "QM internal error: file ../quillmark/api/src/qmtool, line " << line << "\n"
            << MSG_RESTORE;
}

double perCall(long long clocks, int count) { return count > 0 ? static_cast<double>(clocks) / count : 0.0; }
}  // namespace

qmResult qmTool::callEntry(bool loopForm, int* count) {
    if (loopForm) {
        if (funcLoop) return funcLoop(*count, &numClocks);
        if (funcCall) return timCall_Loop(*count, &numClocks, false);
        internalError(248);
        return QM_FAIL;
    }
    if (funcStat) return funcStat(count, &numClocks);
    if (funcCall) return timCall_Stat(count, &numClocks, false);
    internalError(257);
    return QM_FAIL;
}

void qmTool::runTimFunc(int loops, double* result, bool forceLoop) {
    bool loopForm = forceLoop || !useCalls;
    // The window after a clock interruption in which a span may start without waiting for the
    // next one: 400 us at the clock rate once it is known.
    if (loopForm && qmCpuTicker::m_freqMHz > 0) qmSpanAlign().setWindow(400ull * qmCpuTicker::m_freqMHz);
    const auto expected = static_cast<uint64_t>(spanPerCall * (loops + 1));  // with the warm-up call
    // The stable mode counts a loop span in core clocks: the core's clock read right before and
    // right after it (qmcoreclock.h); a span during which it moved is measured again.
    qmCoreClock& core = qmMachineClock();
    const bool coreClocks = loopForm && core.enabled();
    qmCoreClock::Reading before;
    for (int attempt = 1;; ++attempt) {
        int count = loops;  // in the call form: the minimum calls in, the calls made out
        numClocks = 0;
        qmResult answer;
        if (callMode) {
            if (!funcCall) {
                status = QM_UNDEFINED;
                return;
            }
            qmTraceScope trace("zkrFunctionCalls");
            if (loopForm) qmSpanAlign().before(expected);
            if (coreClocks) before = core.read();
            answer = loopForm ? timCall_Loop(count, &numClocks, true) : timCall_Stat(&count, &numClocks, true);
        } else {
            if (initAndGuard && initFunc) {
                qmTraceScope trace("initFunc call");
                initFunc();
            }
            g_trace.traceIn("zkrFunctionCalls");
            qmSetPriority(m_priority);
            // A loop span starts right after a clock interruption (qmtick.h); the register fill
            // comes last so that the entry really starts from the NaN patterns.
            if (loopForm) qmSpanAlign().before(expected);
            if (coreClocks) before = core.read();
            ctrlStart();
            answer = callEntry(loopForm, &count);
            ctrlStop();
            qmResetPriority();
            g_trace.traceOut("zkrFunctionCalls");
        }
        if (loopForm && numClocks > 0 && count > 0)
            spanPerCall = static_cast<double>(numClocks) / qmCpuTicker::getClockFactor() / count;
        if (coreClocks && answer <= QM_WARNING && numClocks > 0) {
            const qmCoreClock::Reading after = core.read();
            if (core.retry(before, after)) {
                --attempt;  // the clock moved during the span: no try at all
                continue;
            }
            numClocks = std::llround(core.toCycles(static_cast<uint64_t>(numClocks), before, after));
        }
        updateResult(answer);
        // No clocks at all (a counter hiccup or an entry that skipped its calls): one more try.
        if (status > QM_WARNING || numClocks > 0 || attempt == 2) {
            *result = perCall(numClocks, count);
            return;
        }
    }
}

void qmTool::runTimFuncStat(long long budget, int* calls, double* result) {
    qmResult answer;
    if (callMode) {
        if (!funcCall) {
            status = QM_UNDEFINED;
            return;
        }
        answer = timCall_Stat(calls, &budget, true);
    } else {
        g_trace.traceIn("zkrFunctionCalls");
        qmSetPriority(m_priority);
        ctrlStart();
        answer = funcStat ? funcStat(calls, &budget) : timCall_Stat(calls, &budget, false);
        ctrlStop();
        qmResetPriority();
        g_trace.traceOut("zkrFunctionCalls");
    }
    numClocks = budget;  // on return the budget holds the clocks taken
    *result = perCall(budget, *calls);
    updateResult(answer);
}

qmResult qmTool::timCall_Loop(int loops, long long* clocks, bool resetVectors) {
    if (!funcCall) {
        internalError(758);
        return QM_FAIL;
    }
    // Locals, so that the timed loop reads no members and makes no virtual calls.
    const qmFuncCall call = funcCall;
    const qmFuncInit init = initFunc;
    void (*const resetAll)() = resetVectors ? m_pResetVectors : nullptr;

    if (init) init();
    int warmUp = call();
    if (m_pCheckStatus && warmUp < 0) {
        *clocks = 0;
        return m_pCheckStatus(warmUp);
    }
    int kept = 0;
    uint64_t begin = zkr_get_cycle_counter();
    for (int i = 0; i < loops; ++i) {
        if (init) init();
        if (resetAll) resetAll();
        int st = call();
        if (st < 0) {
            kept = st;
            break;
        }
        if (st > 0) kept = st;
    }
    uint64_t end = zkr_get_cycle_counter();
    *clocks = static_cast<long long>(end - begin) * qmCpuTicker::getClockFactor();
    return m_pCheckStatus ? m_pCheckStatus(kept) : QM_OK;
}

qmResult qmTool::timCall_Stat(int* calls, long long* clocks, bool resetVectors) {
    if (!funcCall) {
        internalError(795);
        return QM_FAIL;
    }
    const qmFuncCall call = funcCall;
    const qmFuncInit init = initFunc;
    void (*const resetAll)() = resetVectors ? m_pResetVectors : nullptr;
    const long long factor = qmCpuTicker::getClockFactor();
    const int minCount = *calls;
    const long long budget = *clocks;

    if (init) init();
    int warmUp = call();
    if (m_pCheckStatus && warmUp < 0) {
        *calls = 0;
        *clocks = 0;
        return m_pCheckStatus(warmUp);
    }
    int kept = 0;
    int passes = 0;
    long long sum = 0;
    while (passes < minCount || sum * factor < budget) {
        if (init) init();
        uint64_t begin = zkr_get_cycle_counter();
        if (resetAll) resetAll();
        int st = call();
        uint64_t end = zkr_get_cycle_counter();
        sum += static_cast<long long>(end - begin);
        if (st != 0) kept = st;
        // Each pass makes a second, untimed call; a negative status from it ends the loop before
        // the pass is counted.
        st = call();
        if (st < 0) {
            kept = st;
            break;
        }
        if (st > 0) kept = st;
        ++passes;
    }
    *calls = passes;
    *clocks = sum * factor;
    return m_pCheckStatus ? m_pCheckStatus(kept) : QM_OK;
}
