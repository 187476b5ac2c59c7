// Clocks per destination pixel of the separable resamplers on 8u C1, on every dispatch level and
// image size: zkriResizeSqrPixel by 0.5 on both axes with Lanczos taps (six per axis), and
// zkriSuperSampling to half of each axis (two by two source pixels a destination pixel).
#include <cstdint>

#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "resizesqr/resizesqr.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "resizesqr/supersampling.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

void benchSqrLanczos(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const ZkriSize srcSize{size.width, size.height};
    const ZkriRect dstRect{0, 0, size.width / 2, size.height / 2};
    Buffer<Zkr8u> src(std::size_t(srcSize.width) * srcSize.height), dst(std::size_t(dstRect.width) * dstRect.height);
    const ZkriRect roi{0, 0, srcSize.width, srcSize.height};
    auto call = [&] {
        return zkriResizeSqrPixel_8u_C1R(src.data(), srcSize, srcSize.width, roi, dst.data(), dstRect.width, dstRect, 0.5,
                                         0.5, 0.0, 0.0, ZKRI_RSQ_LANCZOS);
    };
    // Each destination pixel reads four source bytes and writes one.
    timeKernel(state, double(dstRect.width) * dstRect.height, 5.0, call);
}

void benchSuper(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const ZkriSize srcSize{size.width, size.height}, dstSize{size.width / 2, size.height / 2};
    Buffer<Zkr8u> src(std::size_t(srcSize.width) * srcSize.height), dst(std::size_t(dstSize.width) * dstSize.height);
    auto call = [&] {
        return zkriSuperSampling_8u_C1R(src.data(), srcSize.width, srcSize, dst.data(), dstSize.width, dstSize);
    };
    timeKernel(state, double(dstSize.width) * dstSize.height, 5.0, call);
}

[[maybe_unused]] const bool s_registered = (registerPerLevel("ResizeSqrPixel_8u_C1R_lanczos_x0.5", &benchSqrLanczos),
                                            registerPerLevel("SuperSampling_8u_C1R_x0.5", &benchSuper), true);

}  // namespace
}  // namespace zkbench
