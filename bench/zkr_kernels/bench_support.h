// Shared by the kernel benchmarks of every family: image sizes, dispatch
// levels, aligned buffers, the machine's copy bandwidth, the per-level
// registration of a benchmark and its timed loop (timeKernel). A family's benchmark lives in its own
// <family>_bench.cpp and registers itself before main:
//     [[maybe_unused]] const bool s_registered = (zkbench::registerPerLevel("Sqr_32f_C1R", &benchSqr), true);
#pragma once

#include <benchmark/benchmark.h>
#include <x86intrin.h>

#include <time.h>

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "zkrcore.h"

namespace zkbench {

struct ImageSize {
    const char* name;
    int width, height;
};
// 3 images of 64x32 fit the 48 KB L1 for every type, 3 of 256x256 the 2 MB
// L2; 3 of 16384x8192 (384 MB for 8u) exceed even a 260 MB L3.
inline const ImageSize kSizes[] = {{"L1", 64, 32}, {"L2", 256, 256}, {"mem", 16384, 8192}};

struct LevelInfo {
    ZkrCpuType type;
    const char* name;
    int vectorBytes;
};
inline const LevelInfo kLevels[] = {{zkrCpuX64, "x64", 16}, {zkrCpuAVX2, "avx2", 32}, {zkrCpuAVX512BW, "avx512", 64}};

// 64-byte aligned array with every page touched.
template <class T> class Buffer {
public:
    explicit Buffer(std::size_t n)
        : n_(n), p_(static_cast<T*>(std::aligned_alloc(64, (n * sizeof(T) + 63) / 64 * 64))) {
        for (std::size_t i = 0; i < n_; ++i) p_[i] = T(i % 97);
    }
    ~Buffer() { std::free(p_); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    T* data() { return p_; }

private:
    std::size_t n_;
    T* p_;
};

struct CopyRate {
    double bytesPerClock;  // bytes read + written per TSC tick
    double tscGHz;
};

// Best of five streaming copies of 256 MB, measured once per run.
const CopyRate& copyRate();

// Registers fn(state, level, size) as "<name>/<level>/<size>" for every level
// this processor runs and every size of kSizes. fn selects the level with
// zkrInitCpu(level.type) and restores zkrInit() at its end.
using LevelSizeFn = void (*)(benchmark::State&, LevelInfo, ImageSize);
inline void registerPerLevel(const std::string& name, LevelSizeFn fn) {
    for (const LevelInfo& level : kLevels) {
        if (zkrInitCpu(level.type) != zkrStsNoErr) continue;
        for (const ImageSize& size : kSizes) {
            const std::string full = name + "/" + level.name + "/" + size.name;
            benchmark::RegisterBenchmark(full.c_str(), fn, level, size)->Unit(benchmark::kMicrosecond);
        }
    }
    zkrInit();
}

// Ticks of the time-stamp counter per pixel over the whole timed loop.
inline std::uint64_t ticks() { return __rdtsc(); }

inline double clockNs(clockid_t clock) {
    timespec t{};
    clock_gettime(clock, &t);
    return double(t.tv_sec) * 1e9 + double(t.tv_nsec);
}

// Selects the level on one thread; false, with the row skipped, when this processor lacks it.
inline bool selectLevel(benchmark::State& state, LevelInfo level) {
    if (zkrInitCpu(level.type) != zkrStsNoErr) {
        state.SkipWithError("level not supported by this processor");
        return false;
    }
    zkrSetNumThreads(1);
    return true;
}

// What a timed loop measured, per pixel: time-stamp counter ticks, and the thread's processor time
// converted to ticks at the rate the loop itself saw (the figure to read on a shared machine, where
// the ticks also count the time other processes held the core).
struct LoopTiming {
    double clkPerPx;
    double cpuClkPerPx;
};

// The measurement every kernel benchmark shares: one checked call (a failing call skips the row),
// then `call` for the benchmark's iterations between reads of the counter, the processor time and the
// wall clock. Sets clk/px, cpu_clk/px, clk/call, cpu_clk/call, mem_bound (bytesPerPixel moved per
// pixel at the machine's streaming copy rate; none when 0) and the bytes processed, and restores the
// library's own level. Returns the timing for the family's own counters.
template <class Call>
std::optional<LoopTiming> timeKernel(benchmark::State& state, double pixelsPerCall, double bytesPerPixel, Call&& call) {
    std::optional<LoopTiming> out;
    if (call() != zkrStsNoErr) {
        state.SkipWithError("call failed");
    } else {
        const double c0 = clockNs(CLOCK_THREAD_CPUTIME_ID), w0 = clockNs(CLOCK_MONOTONIC);
        const std::uint64_t t0 = ticks();
        for (auto _ : state) {
            call();
            benchmark::ClobberMemory();
        }
        const std::uint64_t t1 = ticks();
        const double c1 = clockNs(CLOCK_THREAD_CPUTIME_ID), w1 = clockNs(CLOCK_MONOTONIC);
        const double calls = double(state.iterations()), pixels = pixelsPerCall * calls;
        const double tickCount = double(t1 - t0);
        const double cpuTicks = w1 > w0 ? (c1 - c0) * tickCount / (w1 - w0) : tickCount;
        out = LoopTiming{tickCount / pixels, cpuTicks / pixels};
        state.counters["clk/px"] = out->clkPerPx;
        state.counters["cpu_clk/px"] = out->cpuClkPerPx;
        state.counters["clk/call"] = tickCount / calls;
        state.counters["cpu_clk/call"] = cpuTicks / calls;
        if (bytesPerPixel > 0) {
            state.counters["mem_bound"] = bytesPerPixel / copyRate().bytesPerClock;
            state.SetBytesProcessed(std::int64_t(pixels * bytesPerPixel));
        }
    }
    zkrInit();
    return out;
}

}  // namespace zkbench
