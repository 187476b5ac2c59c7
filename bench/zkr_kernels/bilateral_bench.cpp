// Clocks per pixel of the Bilateral family on every dispatch level of this machine, at the shared
// L1- and L2-resident ROI sizes: the bilateral filter of 8u C1 with radius 2 (the memory-sized row
// is skipped: 25 gathers a pixel over 134 M pixels). One thread.
#include "bench_support.h"

#include <cstdint>

#include "zkrcore.h"
#define ZKR_TABLE "bilateral/bilateral.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

void benchBilateral(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (size.width * std::int64_t(size.height) > 256 * 256) {
        state.SkipWithError("too large for 25 gathers a pixel");
        return;
    }
    if (!selectLevel(state, level)) return;
    const int sw = size.width + 4, sh = size.height + 4;
    Buffer<Zkr8u> src(std::size_t(sw) * sh), dst(std::size_t(size.width) * size.height);
    timeKernel(state, double(size.width) * size.height, 2.0, [&] {
        return zkriFilterBilateral_8u_C1R(src.data() + 2 * sw + 2, sw, dst.data(), size.width, {size.width, size.height},
                                          2, 400.0f, 4.0f);
    });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("FilterBilateral_8u_C1R_r2", &benchBilateral), true);

}  // namespace
}  // namespace zkbench
