// Clocks per pixel of the Cmp family's 8u C1 kernels on every level: two
// images compared into a mask (3 bytes per pixel moved) and an image against
// a constant (2 bytes), next to the time those bytes take at the machine's
// copy bandwidth.
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "cmp/cmp.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

void compare8u(benchmark::State& state, LevelInfo level, ImageSize size, bool constant) {
    if (zkrInitCpu(level.type) != zkrStsNoErr) {
        state.SkipWithError("level not supported by this processor");
        return;
    }
    zkrSetNumThreads(1);
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<Zkr8u> a(n), b(n), d(n);
    const int step = size.width;
    const ZkriSize roi{size.width, size.height};
    auto call = [&] {
        return constant ? zkriCompareC_8u_C1R(a.data(), step, 128, d.data(), step, roi, zkrCmpLess)
                        : zkriCompare_8u_C1R(a.data(), step, b.data(), step, d.data(), step, roi, zkrCmpLess);
    };
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
    const double bytes = constant ? 2.0 : 3.0;
    state.counters["clk/px"] = double(t1 - t0) / pixels;
    state.counters["mem_bound"] = bytes / copyRate().bytesPerClock;
    state.SetBytesProcessed(std::int64_t(pixels * bytes));
    zkrInit();
}

void twoImages(benchmark::State& s, LevelInfo l, ImageSize z) { compare8u(s, l, z, false); }
void withConstant(benchmark::State& s, LevelInfo l, ImageSize z) { compare8u(s, l, z, true); }

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Compare_8u_C1R", &twoImages), registerPerLevel("CompareC_8u_C1R", &withConstant), true);

}  // namespace
}  // namespace zkbench
