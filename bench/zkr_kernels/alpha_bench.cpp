// Clocks per pixel of zkriAlphaComp_8u_AC4R (per-pixel alpha, over) on every
// dispatch level and at the shared sizes, next to its load/store bound: one
// vector of each source loaded and one vector stored per clock, 4 bytes per
// pixel (ls_bound = 4 / vector bytes). The compositing itself (products of
// alphas and colours in 32 bits, a rounded division per component) is what
// keeps it above that bound. Clocks are TSC ticks over the whole timed loop
// (clk/px) and the same from the thread's CPU time (cpu_clk/px), which is the
// figure to read on a shared machine.
#include <ctime>

#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "alpha/TimiAlpha.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "alpha/iAlphaComp__YS.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

double clockNs(clockid_t id) {
    timespec t{};
    clock_gettime(id, &t);
    return double(t.tv_sec) * 1e9 + double(t.tv_nsec);
}

void benchAlphaOver(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (zkrInitCpu(level.type) != zkrStsNoErr) {
        state.SkipWithError("level not supported by this processor");
        return;
    }
    zkrSetNumThreads(1);
    const std::size_t n = std::size_t(size.width) * size.height * 4;
    Buffer<Zkr8u> a(n), b(n), d(n);
    const int step = size.width * 4;
    const ZkriSize roi{size.width, size.height};
    auto call = [&] { return zkriAlphaComp_8u_AC4R(a.data(), step, b.data(), step, d.data(), step, roi, ZKRI_ALPHA_OVER); };
    if (call() != zkrStsNoErr) {
        state.SkipWithError("call failed");
        return;
    }
    const double c0 = clockNs(CLOCK_THREAD_CPUTIME_ID), w0 = clockNs(CLOCK_MONOTONIC);
    const std::uint64_t t0 = ticks();
    for (auto _ : state) {
        call();
        benchmark::ClobberMemory();
    }
    const std::uint64_t t1 = ticks();
    const double c1 = clockNs(CLOCK_THREAD_CPUTIME_ID), w1 = clockNs(CLOCK_MONOTONIC);
    const double pixels = double(size.width) * size.height * double(state.iterations());
    state.counters["clk/px"] = double(t1 - t0) / pixels;
    state.counters["cpu_clk/px"] = (c1 - c0) * double(t1 - t0) / (w1 - w0) / pixels;
    state.counters["ls_bound"] = 4.0 / level.vectorBytes;
    state.counters["mem_bound"] = 12.0 / copyRate().bytesPerClock;
    state.SetBytesProcessed(std::int64_t(pixels * 12));
    zkrInit();
}

[[maybe_unused]] const bool s_registered = (registerPerLevel("AlphaComp_8u_AC4R_Over", &benchAlphaOver), true);

}  // namespace
}  // namespace zkbench
