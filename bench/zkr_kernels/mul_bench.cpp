// Clocks per pixel of zkriMul C1 (not in place) for 8u and 16s (scale factor 0) and 32f on every
// dispatch level, next to the load/store bound (one vector of each source loaded and one stored per
// clock: sizeof(T) / vector bytes). Two sizes: "halfL1", where the three images fill about half of a
// 48 KB L1 (24 KB: 8192 pixels of 8u, 4096 of 16s, 2048 of 32f), and the shared L2 size.
// clk/px counts time-stamp ticks over the whole timed loop, so on a machine shared with other work it
// includes the time other threads held the core; cpu_clk/px counts only this thread's processor
// time, converted to ticks at the rate the loop itself measured.

#include <cstdint>
#include <string>

#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "mul/alphapremul_ys.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "mul/mul.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

template <class T> struct MulC1;
template <> struct MulC1<Zkr8u> {
    static constexpr const char* name = "Mul_8u_C1RSfs";
    static constexpr ImageSize halfL1{"halfL1", 128, 64};
    static ZkrStatus call(const Zkr8u* a, const Zkr8u* b, Zkr8u* d, int step, ZkriSize roi) {
        return zkriMul_8u_C1RSfs(a, step, b, step, d, step, roi, 0);
    }
};
template <> struct MulC1<Zkr16s> {
    static constexpr const char* name = "Mul_16s_C1RSfs";
    static constexpr ImageSize halfL1{"halfL1", 64, 64};
    static ZkrStatus call(const Zkr16s* a, const Zkr16s* b, Zkr16s* d, int step, ZkriSize roi) {
        return zkriMul_16s_C1RSfs(a, step, b, step, d, step, roi, 0);
    }
};
template <> struct MulC1<Zkr32f> {
    static constexpr const char* name = "Mul_32f_C1R";
    static constexpr ImageSize halfL1{"halfL1", 64, 32};
    static ZkrStatus call(const Zkr32f* a, const Zkr32f* b, Zkr32f* d, int step, ZkriSize roi) {
        return zkriMul_32f_C1R(a, step, b, step, d, step, roi);
    }
};

template <class T> void benchMul(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<T> a(n), b(n), d(n);
    const int step = size.width * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    const auto t = timeKernel(state, double(n), 3.0 * sizeof(T), [&] { return MulC1<T>::call(a.data(), b.data(), d.data(), step, roi); });
    if (!t) return;
    state.counters["ls_bound"] = double(sizeof(T)) / level.vectorBytes;
    state.counters["cpu_x_bound"] = t->cpuClkPerPx / (double(sizeof(T)) / level.vectorBytes);
}

template <class T> bool registerType() {
    const ImageSize sizes[] = {MulC1<T>::halfL1, kSizes[1]};
    for (const LevelInfo& level : kLevels) {
        if (zkrInitCpu(level.type) != zkrStsNoErr) continue;
        for (const ImageSize& size : sizes) {
            const std::string full = std::string(MulC1<T>::name) + "/" + level.name + "/" + size.name;
            benchmark::RegisterBenchmark(full.c_str(), &benchMul<T>, level, size)->Unit(benchmark::kMicrosecond);
        }
    }
    zkrInit();
    return true;
}

[[maybe_unused]] const bool s_registered = registerType<Zkr8u>() && registerType<Zkr16s>() && registerType<Zkr32f>();

}  // namespace
}  // namespace zkbench
