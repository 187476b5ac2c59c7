// The timed entries of a test module, generated per library function from its one-call function
// (tcall_<function>): the loop entry times n calls in one span, the statistic entry times calls one
// by one until a minimum count and a clock budget are both reached. The call is a template argument,
// so it is compiled into the loop: no indirect call, virtual dispatch or framework work is timed.
#pragma once
#include "qmclock.h"
#include "qmtest.h"

template <int (*Call)()>
qmResult zkTimLoop(int n, long long* clocks, const char* funcName) {
    int status = Call();  // warms caches and code; not timed
    const unsigned long long start = zkr_get_cycle_counter();
    for (int i = 0; i < n; ++i) status = Call();
    const unsigned long long end = zkr_get_cycle_counter();
    *clocks = static_cast<long long>(end - start) * qmCpuTicker::getClockFactor();
    return zkTest::checkStatus(status, funcName);
}

template <int (*Call)()>
qmResult zkTimStat(int* n, long long* clocks, const char* funcName) {
    const int minCalls = *n;
    const long long budget = *clocks;
    Call();  // warm-up; its time never enters the sums
    long long sum = 0;
    int calls = 0, last = 0;
    for (;;) {
        const unsigned long long t0 = zkr_get_cycle_counter();
        const int status = Call();
        const unsigned long long t1 = zkr_get_cycle_counter();
        sum += static_cast<long long>(t1 - t0);
        ++calls;
        if (status != 0) last = status;
        if (status < 0) break;
        if (calls >= minCalls && sum * qmCpuTicker::getClockFactor() >= budget) break;
    }
    *n = calls;
    *clocks = sum * qmCpuTicker::getClockFactor();
    return zkTest::checkStatus(last, funcName);
}

// The three entries of one function from the expression that calls it once. The one-call function
// is always inlined into the loops, whatever the module's optimisation level, so that a timed span
// holds the library call and nothing else.
#define ZK_TIMED_ENTRIES(func, callExpression)                                                       \
    [[gnu::always_inline]] static inline int tcall_##func() { return callExpression; }               \
    static qmResult tim_##func##_loop(int n, long long* clocks) {                                    \
        return zkTimLoop<&tcall_##func>(n, clocks, #func);                                           \
    }                                                                                                \
    static qmResult tim_##func##_stat(int* n, long long* clocks) {                                   \
        return zkTimStat<&tcall_##func>(n, clocks, #func);                                           \
    }
