// Clocks per destination pixel of zkriResize_8u_C1R, linear interpolation,
// halving both axes (factor 0.5), on every dispatch level and image size: the
// source is the size named, the destination a quarter of it.
#include <cstdint>

#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "resize/resize.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

void benchResizeLinearDown(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const ZkriSize srcSize{size.width, size.height};
    const ZkriSize dstSize{size.width / 2, size.height / 2};
    Buffer<Zkr8u> src(std::size_t(srcSize.width) * srcSize.height), dst(std::size_t(dstSize.width) * dstSize.height);
    const ZkriRect roi{0, 0, srcSize.width, srcSize.height};
    auto call = [&] {
        return zkriResize_8u_C1R(src.data(), srcSize, srcSize.width, roi, dst.data(), dstSize.width, dstSize, 0.5, 0.5,
                                 ZKRI_INTER_LINEAR);
    };
    // Each destination pixel reads four source bytes and writes one.
    timeKernel(state, double(dstSize.width) * dstSize.height, 5.0, call);
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Resize_8u_C1R_linear_x0.5", &benchResizeLinearDown), true);

}  // namespace
}  // namespace zkbench
