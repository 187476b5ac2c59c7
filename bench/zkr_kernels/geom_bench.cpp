// Clocks per pixel of zkriTranspose_8u_C1R and zkriMirror_8u_C1R (about the vertical axis: every
// row reversed, the flip that needs the byte shuffles) on every dispatch level and image size,
// next to the bound of reading and writing each pixel once. A transpose reads rows and writes
// columns: its tiles keep both in the first-level cache, so the bound is the same copy bound.
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "geom/mirror.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "geom/transp.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

void benchTranspose(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (zkrInitCpu(level.type) != zkrStsNoErr) {
        state.SkipWithError("level not supported by this processor");
        return;
    }
    zkrSetNumThreads(1);
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<Zkr8u> a(n), d(n);
    const ZkriSize roi{size.width, size.height};
    auto call = [&] { return zkriTranspose_8u_C1R(a.data(), size.width, d.data(), size.height, roi); };
    if (call() != zkrStsNoErr) {
        state.SkipWithError("call failed");
        return;
    }
    const std::uint64_t t0 = ticks();
    for (auto _ : state) {
        call();
        benchmark::ClobberMemory();
    }
    const std::uint64_t t1 = ticks();
    const double pixels = double(n) * double(state.iterations());
    state.counters["clk/px"] = double(t1 - t0) / pixels;
    state.counters["mem_bound"] = 2.0 / copyRate().bytesPerClock;
    state.SetBytesProcessed(std::int64_t(pixels * 2));
    zkrInit();
}

void benchMirror(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (zkrInitCpu(level.type) != zkrStsNoErr) {
        state.SkipWithError("level not supported by this processor");
        return;
    }
    zkrSetNumThreads(1);
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<Zkr8u> a(n), d(n);
    const ZkriSize roi{size.width, size.height};
    auto call = [&] { return zkriMirror_8u_C1R(a.data(), size.width, d.data(), size.width, roi, zkriAxsVertical); };
    if (call() != zkrStsNoErr) {
        state.SkipWithError("call failed");
        return;
    }
    const std::uint64_t t0 = ticks();
    for (auto _ : state) {
        call();
        benchmark::ClobberMemory();
    }
    const std::uint64_t t1 = ticks();
    const double pixels = double(n) * double(state.iterations());
    state.counters["clk/px"] = double(t1 - t0) / pixels;
    state.counters["mem_bound"] = 2.0 / copyRate().bytesPerClock;
    state.SetBytesProcessed(std::int64_t(pixels * 2));
    zkrInit();
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Transpose_8u_C1R", &benchTranspose), registerPerLevel("Mirror_8u_C1R_vertical", &benchMirror),
     true);

}  // namespace
}  // namespace zkbench
