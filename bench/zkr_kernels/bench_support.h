// Shared by the kernel benchmarks of every family: image sizes, dispatch
// levels, aligned buffers, the machine's copy bandwidth, and the per-level
// registration of a benchmark. A family's benchmark lives in its own
// <family>_bench.cpp and registers itself before main:
//     [[maybe_unused]] const bool s_registered = (zkbench::registerPerLevel("Sqr_32f_C1R", &benchSqr), true);
#pragma once

#include <benchmark/benchmark.h>
#include <x86intrin.h>

#include <cstdint>
#include <cstdlib>
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

}  // namespace zkbench
