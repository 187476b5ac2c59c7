#include "qmclock.h"

#include <cpuid.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>

int qmCpuTicker::m_freqMHz = 0;
LinuxRTClock g_rtClock;

bool zkr_has_rdtsc() {
    unsigned a, b, c, d;
    if (!__get_cpuid(1, &a, &b, &c, &d)) return false;
    return (d >> 4) & 1;
}

int qmCpuTicker::getFreq() {
    // A failed estimate (no counter) stays 0 and is tried again on the next call.
    if (m_freqMHz == 0) {
        static const int s_fromEnv = qmClockRateFromEnv(std::getenv("QM_CPU_MHZ"));
        m_freqMHz = s_fromEnv > 0 ? s_fromEnv : estimateCpuFreqMHz();
    }
    return m_freqMHz;
}

int qmClockRateFromEnv(const char* value) {
    if (value == nullptr) return 0;
    char* end = nullptr;
    errno = 0;
    long mhz = std::strtol(value, &end, 10);
    if (end != value && *end == '\0' && errno == 0 && mhz >= 1 && mhz <= 100000) return static_cast<int>(mhz);
    std::fprintf(stderr, "QM_CPU_MHZ=\"%.40s\" is not a clock rate in MHz (1 to 100000); it is estimated instead\n",
                 value);
    return 0;
}

long long OSTimer::GetCounter(long long* out) {
    if (g_rtClock.m_fd == -1) {
        *out = static_cast<long long>(std::clock());
    } else if (!g_rtClock.m_enabled) {
        *out = 0;
    } else {
        long long data = 0;
        if (read(g_rtClock.m_fd, &data, sizeof data) == -1) {
            std::perror("\n-- OSTimer. read: Reading of TRC data fails\n");
            std::exit(errno);
        }
        *out = data >> 8;
    }
    return *out;
}

int OSTimer::getOSFreq() {
    m_freq = g_rtClock.m_fd == -1 ? 1000000 : LinuxRTClock::INT_PER_SEC;
    return m_freq;
}

int qmNominalFreqMHz(int measuredMHz) {
    static constexpr int kNominal[38] = {60,   66,   75,   90,   100,  120,  133,  150,  166,  185,
                                         200,  220,  240,  266,  300,  333,  400,  450,  500,  530,
                                         550,  600,  800,  1000, 1400, 1700, 1800, 1900, 2000, 2200,
                                         2260, 2400, 2500, 2530, 2600, 2660, 2800, 3060};
    int bestDiff = 1000;
    int best = measuredMHz;
    for (int f : kNominal) {
        int diff = f > measuredMHz ? f - measuredMHz : measuredMHz - f;
        if (diff < bestDiff) {  // strictly smaller: the first of equally near rates wins
            bestDiff = diff;
            best = f;
        }
    }
    if (measuredMHz > 0 && static_cast<double>(bestDiff) / measuredMHz < 0.03) return best;
    return measuredMHz;
}

int estimateCpuFreqMHz() {
    if (!zkr_has_rdtsc()) return 0;
    qmSetPriority(1);
    OSTimer timer;
    timer.start();
    uint64_t begin = zkr_get_cycle_counter();
    time_t t0 = time(nullptr);
    while (difftime(time(nullptr), t0) < 2.0) {
    }
    uint64_t end = zkr_get_cycle_counter();
    timer.stop();
    qmResetPriority();

    float clocks = static_cast<float>(qmCpuTicker::getClockFactor()) * static_cast<float>(end - begin);
    float usec = timer.getUSec();
    if (usec <= 0.0f) return 0;
    int measured = static_cast<int>(clocks / usec + 0.5f);
    return qmNominalFreqMHz(measured);
}
