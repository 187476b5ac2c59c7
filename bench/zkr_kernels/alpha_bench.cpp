// Clocks per pixel of zkriAlphaComp_8u_AC4R (per-pixel alpha, over) on every
// dispatch level and at the shared sizes, next to its load/store bound: one
// vector of each source loaded and one vector stored per clock, 4 bytes per
// pixel (ls_bound = 4 / vector bytes). The compositing itself (products of
// alphas and colours in 32 bits, a rounded division per component) is what
// keeps it above that bound. Clocks are TSC ticks over the whole timed loop
// (clk/px) and the same from the thread's CPU time (cpu_clk/px), which is the
// figure to read on a shared machine.

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

void benchAlphaOver(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height * 4;
    Buffer<Zkr8u> a(n), b(n), d(n);
    const int step = size.width * 4;
    const ZkriSize roi{size.width, size.height};
    auto call = [&] { return zkriAlphaComp_8u_AC4R(a.data(), step, b.data(), step, d.data(), step, roi, ZKRI_ALPHA_OVER); };
    timeKernel(state, double(size.width) * size.height, 12.0, call);
    state.counters["ls_bound"] = 4.0 / level.vectorBytes;
}

[[maybe_unused]] const bool s_registered = (registerPerLevel("AlphaComp_8u_AC4R_Over", &benchAlphaOver), true);

}  // namespace
}  // namespace zkbench
