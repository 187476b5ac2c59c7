// Clocks and timers: the time-stamp counter that every performance figure is counted in, a coarse
// operating-system timer, the clock-rate estimate and the scheduling priority around measurements.
#pragma once
#include <sched.h>
#include <sys/resource.h>
#include <sys/types.h>
#include <cstdint>

// True when the processor has a time-stamp counter (CPUID leaf 1, EDX bit 4).
bool zkr_has_rdtsc();

// The time-stamp counter: a bare read with no serialising instruction, inline so that a timed loop
// pays only the instruction itself.
inline uint64_t zkr_get_cycle_counter() {
    uint32_t lo, hi;
    __asm__ __volatile__("rdtsc" : "=a"(lo), "=d"(hi));
    return (static_cast<uint64_t>(hi) << 32) | lo;
}

class qmCpuTicker {
public:
    // The clock rate in MHz, estimated (about two seconds of busy waiting) on the first call only,
    // unless the environment names it (QM_CPU_MHZ, see qmClockRateFromEnv).
    static int getFreq();
    // Processor clocks per counter tick; every clock count and clock limit is scaled by it.
    static int getClockFactor() { return 1; }
    static int m_freqMHz;  // 0: not estimated yet
};

// The handle of an optional real-time-clock device. Nothing opens it, so OSTimer uses clock().
class LinuxRTClock {
public:
    static constexpr int INT_PER_SEC = 8192;
    LinuxRTClock() = default;
    ~LinuxRTClock() {}
    int m_fd = -1;
    bool m_enabled = false;
};
extern LinuxRTClock g_rtClock;

class OSTimer {
public:
    static long long GetCounter(long long* out);
    void start() { GetCounter(&m_start); }
    void stop() { GetCounter(&m_stop); }
    int getOSFreq();
    float getSec() { return static_cast<float>(m_stop - m_start) / static_cast<float>(getOSFreq()); }
    float getUSec() { return getSec() * 1e6f; }

private:
    long long m_start = 0;
    long long m_stop = 0;
    int m_freq = 0;
};

// The clock rate given by the environment variable QM_CPU_MHZ: a whole number of MHz from 1 to
// 100000 is used instead of the estimate (scripts that start many short runs skip two seconds each,
// and a machine whose estimate is disturbed by load can be given its real rate). Returns 0 when the
// variable is unset; any other value is reported on stderr, naming the variable, and gives 0.
int qmClockRateFromEnv(const char* value);

// The clock rate in whole MHz measured over about two seconds, 0 without a time-stamp counter.
int estimateCpuFreqMHz();
// The nominal rate that a measured one is snapped to: the nearest of the 38 table rates when it is
// within 3% of the measurement, otherwise the measurement itself.
int qmNominalFreqMHz(int measuredMHz);

// Scheduling priority around each measurement: 0 leaves it alone, 1 high, 2 normal, 3 low.
void qmSetPriority(int level);
void qmResetPriority();
void _savePriority();
void _setHighPriority();
void _setNormalPriority();
void _setLowPriority();
void _resetPriority();
extern bool _bSavedPrio;

// The system calls behind the priority functions, replaceable so that their use can be checked
// without root rights.
struct qmPrioritySystem {
    uid_t (*getuid)();
    int (*getpriority)(int which, id_t who);
    int (*setpriority)(int which, id_t who, int prio);
    int (*sched_getscheduler)(pid_t pid);
    int (*sched_getparam)(pid_t pid, sched_param* param);
    int (*sched_setscheduler)(pid_t pid, int policy, const sched_param* param);
    int (*sched_get_priority_max)(int policy);
};
extern qmPrioritySystem g_prioritySystem;
// The real system calls.
qmPrioritySystem qmRealPrioritySystem();
