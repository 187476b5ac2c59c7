// bench_engine: what the timing engine itself costs.
//  1. Empty measurement: the clocks between two back-to-back counter reads, which is what a loop
//     entry reports for n = 0 and the floor under every figure.
//  2. Settling: the wall time the Auto method needs to reach its figure on synthetic functions of
//     about 50, 1,000 and 100,000 clocks (busy waits on the counter).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "qmclock.h"
#include "qmfpu.h"
#include "qmtool.h"

namespace {
uint64_t s_target = 0;  // clocks one synthetic call spins for

__attribute__((noinline)) void spin() {
    uint64_t start = zkr_get_cycle_counter();
    while (zkr_get_cycle_counter() - start < s_target) {
    }
}

// A loop entry as the test modules generate them: one untimed call, then n timed ones.
qmResult spinLoop(int n, long long* clocks) {
    spin();
    uint64_t begin = zkr_get_cycle_counter();
    for (int i = 0; i < n; ++i) spin();
    uint64_t end = zkr_get_cycle_counter();
    *clocks = static_cast<long long>(end - begin) * qmCpuTicker::getClockFactor();
    return QM_OK;
}

template <class T>
T median(std::vector<T> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

void emptyMeasurement() {
    constexpr int kRuns = 1000000;
    std::vector<long long> clocks(kRuns);
    for (long long& c : clocks) spinLoop(0, &c);
    std::sort(clocks.begin(), clocks.end());
    std::printf("Empty measurement (loop entry, n = 0), %d runs:\n", kRuns);
    std::printf("  min %lld  median %lld  90%% %lld  99%% %lld clocks\n\n", clocks.front(), clocks[kRuns / 2],
                clocks[kRuns * 9 / 10], clocks[kRuns * 99 / 100]);
}

void settle(uint64_t target) {
    constexpr int kRuns = 21;
    s_target = target;
    std::vector<double> wallMs, figures;
    int loops = 0, status = 0;
    for (int i = 0; i < kRuns; ++i) {
        qmTool tool;  // defaults: Auto, 5%
        auto t0 = std::chrono::steady_clock::now();
        status = tool.timing(spinLoop, nullptr, nullptr, nullptr);
        auto t1 = std::chrono::steady_clock::now();
        wallMs.push_back(std::chrono::duration<double, std::milli>(t1 - t0).count());
        figures.push_back(tool.funcClocks);
        loops = tool.numLoops;
    }
    std::printf("  %7llu clocks: median wall %8.3f ms (max %8.3f)  figure %9.1f  nLps=%d  last status %s\n",
                static_cast<unsigned long long>(target), median(wallMs),
                *std::max_element(wallMs.begin(), wallMs.end()), median(figures), loops, qmResultName(status));
}
}  // namespace

int main() {
    initCtrlStatus();
    emptyMeasurement();
    std::printf("Auto method settling (accuracy 5%%, 21 measurements each):\n");
    for (uint64_t target : {50ull, 1000ull, 100000ull}) settle(target);
    return 0;
}
