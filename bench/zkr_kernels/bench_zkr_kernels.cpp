// Clocks per pixel of zkriAdd C1 (not in place) for 8u, 16s and 32f on every
// dispatch level of this machine, at an L1-resident, an L2-resident and a
// memory-resident image size, next to two bounds:
//   ls_bound   one vector of each source loaded and one vector stored per
//              clock (2 loads + 1 store per cycle): sizeof(T) / vector bytes
//   mem_bound  3 * sizeof(T) bytes moved per pixel at the bandwidth of a
//              streaming copy measured here (bytes read + bytes written per
//              clock; write-allocate traffic is not counted in either)
// Clocks are time-stamp counter ticks (__rdtsc) over the whole timed loop.
#include "bench_support.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "zkri.h"

namespace zkbench {


template <class T> struct AddC1;
template <> struct AddC1<Zkr8u> {
    static constexpr const char* name = "Add_8u_C1RSfs";
    static ZkrStatus call(const Zkr8u* a, const Zkr8u* b, Zkr8u* d, int step, ZkriSize roi) {
        return zkriAdd_8u_C1RSfs(a, step, b, step, d, step, roi, 0);
    }
};
template <> struct AddC1<Zkr16s> {
    static constexpr const char* name = "Add_16s_C1RSfs";
    static ZkrStatus call(const Zkr16s* a, const Zkr16s* b, Zkr16s* d, int step, ZkriSize roi) {
        return zkriAdd_16s_C1RSfs(a, step, b, step, d, step, roi, 0);
    }
};
template <> struct AddC1<Zkr32f> {
    static constexpr const char* name = "Add_32f_C1R";
    static ZkrStatus call(const Zkr32f* a, const Zkr32f* b, Zkr32f* d, int step, ZkriSize roi) {
        return zkriAdd_32f_C1R(a, step, b, step, d, step, roi);
    }
};

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

template <class T> void benchAdd(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (zkrInitCpu(level.type) != zkrStsNoErr) {
        state.SkipWithError("level not supported by this processor");
        return;
    }
    zkrSetNumThreads(1);
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<T> a(n), b(n), d(n);
    const int step = size.width * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    if (AddC1<T>::call(a.data(), b.data(), d.data(), step, roi) != zkrStsNoErr) {
        state.SkipWithError("call failed");
        return;
    }
    const std::uint64_t t0 = __rdtsc();
    for (auto _ : state) {
        AddC1<T>::call(a.data(), b.data(), d.data(), step, roi);
        benchmark::ClobberMemory();
    }
    const std::uint64_t t1 = __rdtsc();
    const double pixels = double(n) * double(state.iterations());
    state.counters["clk/px"] = double(t1 - t0) / pixels;
    state.counters["ls_bound"] = double(sizeof(T)) / level.vectorBytes;
    state.counters["mem_bound"] = 3.0 * sizeof(T) / copyRate().bytesPerClock;
    state.SetBytesProcessed(std::int64_t(pixels * 3 * sizeof(T)));
    zkrInit();
}

template <class T> void registerType() { registerPerLevel(AddC1<T>::name, &benchAdd<T>); }

}  // namespace
}  // namespace zkbench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RegisterBenchmark("StreamCopy/256MB", &zkbench::benchStreamCopy)->Iterations(1);
    zkbench::registerType<Zkr8u>();
    zkbench::registerType<Zkr16s>();
    zkbench::registerType<Zkr32f>();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
