// Clocks per pixel of zkriAnd C1 (not in place) for 8u, 16u and 32s on every
// dispatch level of this machine, next to the load/store bound (one vector of
// each source loaded and one stored per clock: sizeof(T) / vector bytes) and
// the memory bound. Beside the shared sizes, "halfL1" is the size at which
// the three buffers fill half of the 48 KB L1 data cache (8 KB each), where a
// call's fixed cost shows against a short, cache-resident loop.
//
// Two clock figures per row: clk/px counts time-stamp-counter ticks over the
// timed loop (wall time: it includes the time the thread was descheduled on a
// loaded machine), cpu_clk/px the loop's thread CPU time converted to ticks at
// the counter's rate. x_bound is cpu_clk/px over the load/store bound.

#include <string>

#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "logic/and.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "logic/andc.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "logic/andci.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "logic/andi.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

template <class T> struct AndC1;
template <> struct AndC1<Zkr8u> {
    static constexpr const char* name = "And_8u_C1R";
    static constexpr ImageSize halfL1{"halfL1", 128, 64};
    static ZkrStatus call(const Zkr8u* a, const Zkr8u* b, Zkr8u* d, int step, ZkriSize roi) {
        return zkriAnd_8u_C1R(a, step, b, step, d, step, roi);
    }
};
template <> struct AndC1<Zkr16u> {
    static constexpr const char* name = "And_16u_C1R";
    static constexpr ImageSize halfL1{"halfL1", 64, 64};
    static ZkrStatus call(const Zkr16u* a, const Zkr16u* b, Zkr16u* d, int step, ZkriSize roi) {
        return zkriAnd_16u_C1R(a, step, b, step, d, step, roi);
    }
};
template <> struct AndC1<Zkr32s> {
    static constexpr const char* name = "And_32s_C1R";
    static constexpr ImageSize halfL1{"halfL1", 64, 32};
    static ZkrStatus call(const Zkr32s* a, const Zkr32s* b, Zkr32s* d, int step, ZkriSize roi) {
        return zkriAnd_32s_C1R(a, step, b, step, d, step, roi);
    }
};

template <class T> void benchAnd(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<T> a(n), b(n), d(n);
    const int step = size.width * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    const auto t = timeKernel(state, double(n), 3.0 * sizeof(T), [&] { return AndC1<T>::call(a.data(), b.data(), d.data(), step, roi); });
    if (!t) return;
    state.counters["ls_bound"] = double(sizeof(T)) / level.vectorBytes;
    state.counters["x_bound"] = t->cpuClkPerPx / (double(sizeof(T)) / level.vectorBytes);
}

template <class T> void registerType() {
    registerPerLevel(AndC1<T>::name, &benchAnd<T>);
    for (const LevelInfo& level : kLevels) {
        if (zkrInitCpu(level.type) != zkrStsNoErr) continue;
        const std::string full = std::string(AndC1<T>::name) + "/" + level.name + "/" + AndC1<T>::halfL1.name;
        benchmark::RegisterBenchmark(full.c_str(), &benchAnd<T>, level, AndC1<T>::halfL1)->Unit(benchmark::kMicrosecond);
    }
    zkrInit();
}

[[maybe_unused]] const bool s_registered = (registerType<Zkr8u>(), registerType<Zkr16u>(), registerType<Zkr32s>(), true);

}  // namespace
}  // namespace zkbench
