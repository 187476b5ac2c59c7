// Clocks per destination pixel of zkriResize_8u_C1R, linear interpolation,
// halving both axes (factor 0.5), on every dispatch level and image size: the
// source is the size named, the destination a quarter of it.
#include <cstdint>
#include <ctime>

#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "resize/resize.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

void benchResizeLinearDown(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (zkrInitCpu(level.type) != zkrStsNoErr) {
        state.SkipWithError("level not supported by this processor");
        return;
    }
    zkrSetNumThreads(1);
    const ZkriSize srcSize{size.width, size.height};
    const ZkriSize dstSize{size.width / 2, size.height / 2};
    Buffer<Zkr8u> src(std::size_t(srcSize.width) * srcSize.height), dst(std::size_t(dstSize.width) * dstSize.height);
    const ZkriRect roi{0, 0, srcSize.width, srcSize.height};
    auto call = [&] {
        return zkriResize_8u_C1R(src.data(), srcSize, srcSize.width, roi, dst.data(), dstSize.width, dstSize, 0.5, 0.5,
                                 ZKRI_INTER_LINEAR);
    };
    if (call() != zkrStsNoErr) {
        state.SkipWithError("call failed");
        return;
    }
    timespec c0{}, c1{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &c0);
    const std::uint64_t t0 = ticks();
    for (auto _ : state) {
        call();
        benchmark::ClobberMemory();
    }
    const std::uint64_t t1 = ticks();
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &c1);
    const double pixels = double(dstSize.width) * dstSize.height * double(state.iterations());
    state.counters["clk/px"] = double(t1 - t0) / pixels;
    // The same in time-stamp ticks of this thread's processor time: on a shared machine the wall
    // clock also counts the time other processes held the core.
    const double cpuSeconds = double(c1.tv_sec - c0.tv_sec) + 1e-9 * double(c1.tv_nsec - c0.tv_nsec);
    state.counters["cpu_clk/px"] = cpuSeconds * copyRate().tscGHz * 1e9 / pixels;
    // Each destination pixel reads four source bytes and writes one.
    state.counters["mem_bound"] = 5.0 / copyRate().bytesPerClock;
    state.SetBytesProcessed(std::int64_t(pixels * 5));
    zkrInit();
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Resize_8u_C1R_linear_x0.5", &benchResizeLinearDown), true);

}  // namespace
}  // namespace zkbench
