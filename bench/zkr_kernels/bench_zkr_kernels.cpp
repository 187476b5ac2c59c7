// The kernel benchmarks' shared measurement, the bandwidth of a streaming
// copy (mem_bound of every family's rows), and main. Each family registers
// its rows in its own <family>_bench.cpp (the Add family's in add_bench.cpp).
// Clocks are time-stamp counter ticks (__rdtsc) over the whole timed loop.
#include "bench_support.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>

namespace zkbench {

__attribute__((noinline)) void streamCopy(const std::uint64_t* __restrict src, std::uint64_t* __restrict dst,
                                          std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) dst[i] = src[i];
}

// Best of five copies of 256 MB into another 256 MB.
CopyRate measureCopy() {
    constexpr std::size_t kWords = (std::size_t(256) << 20) / sizeof(std::uint64_t);
    Buffer<std::uint64_t> src(kWords), dst(kWords);
    std::uint64_t best = ~std::uint64_t(0);
    double tscPerNs = 0;
    for (int pass = 0; pass < 5; ++pass) {
        const auto n0 = std::chrono::steady_clock::now();
        const std::uint64_t t0 = __rdtsc();
        streamCopy(src.data(), dst.data(), kWords);
        const std::uint64_t t1 = __rdtsc();
        const auto n1 = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(dst.data());
        if (t1 - t0 < best) {
            best = t1 - t0;
            tscPerNs = double(t1 - t0) / double(std::chrono::duration_cast<std::chrono::nanoseconds>(n1 - n0).count());
        }
    }
    return {2.0 * double(kWords * sizeof(std::uint64_t)) / double(best), tscPerNs};
}

const CopyRate& copyRate() {
    static const CopyRate rate = measureCopy();
    return rate;
}

namespace {

void benchStreamCopy(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(copyRate());
    state.counters["bytes/clk"] = copyRate().bytesPerClock;
    state.counters["tsc_GHz"] = copyRate().tscGHz;
}

}  // namespace
}  // namespace zkbench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RegisterBenchmark("StreamCopy/256MB", &zkbench::benchStreamCopy)->Iterations(1);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
