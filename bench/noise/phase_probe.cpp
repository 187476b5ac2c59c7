// The machine's phases, sampled over time outside the framework: every `period` milliseconds for
// `seconds` seconds, the best of a few short spans of four workloads, printed as one CSV row per
// sample (seconds since start, then clocks per unit of each workload):
//   alu    a dependent chain of integer multiply-adds (ticks per step: the core's own speed);
//   l1     the same load/store loop over 3 x 4 KiB as zkriAdd_8u_C1RSfs at 64x64 (ticks per byte);
//   add64  zkriAdd_8u_C1RSfs itself at 64x64, scale factor 0, one thread (ticks per pixel);
//   add512 zkriAdd_8u_C1RSfs at 512x512 (ticks per pixel; 768 KiB, beyond L2 on most machines).
// Whether a cheap sentinel (alu, l1) sees the phases that move a library function (add64, add512)
// decides whether the engine can tell a slow phase from a slow function. analyse with phases.py.
// Usage: bench_phase_probe [seconds=60] [period-ms=50]
#include <x86intrin.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "zkri.h"

namespace {
template <class F>
double bestOf(int spans, int calls, F&& f) {
    double best = 1e300;
    for (int s = 0; s < spans; ++s) {
        f();
        const uint64_t t0 = __rdtsc();
        for (int i = 0; i < calls; ++i) f();
        best = std::min(best, static_cast<double>(__rdtsc() - t0) / calls);
    }
    return best;
}

[[gnu::noinline]] uint64_t aluChain(uint64_t x) {
    for (int i = 0; i < 4096; ++i) x = x * 6364136223846793005ull + 1442695040888963407ull;
    return x;
}

[[gnu::noinline]] void l1Loop(const uint8_t* a, const uint8_t* b, uint8_t* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<uint8_t>(std::min(255, a[i] + b[i]));
}
}  // namespace

int main(int argc, char** argv) {
    const double seconds = argc > 1 ? std::atof(argv[1]) : 60;
    const int period = argc > 2 ? std::atoi(argv[2]) : 50;
    if (seconds <= 0 || period < 1) {
        std::fprintf(stderr, "usage: bench_phase_probe [seconds>0] [period-ms>=1]\n");
        return 2;
    }
    zkrSetNumThreads(1);
    std::vector<Zkr8u> a(512 * 512, 3), b(a.size(), 5), d(a.size());
    volatile uint64_t sink = 0;
    auto add = [&](int w) {
        return [&, w] { zkriAdd_8u_C1RSfs(a.data(), w, b.data(), w, d.data(), w, ZkriSize{w, w}, 0); };
    };
    std::printf("t,alu,l1,add64,add512\n");
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        const double t = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (t > seconds) break;
        const double alu = bestOf(5, 4, [&] { sink = aluChain(sink); }) / 4096;
        const double l1 = bestOf(5, 16, [&] { l1Loop(a.data(), b.data(), d.data(), 4096); }) / 4096;
        const double a64 = bestOf(5, 32, add(64)) / (64 * 64);
        const double a512 = bestOf(3, 2, add(512)) / (512 * 512);
        std::printf("%.3f,%.5f,%.5f,%.5f,%.5f\n", t, alu, l1, a64, a512);
        std::fflush(stdout);
        std::this_thread::sleep_for(std::chrono::milliseconds(period));
    }
    return 0;
}
