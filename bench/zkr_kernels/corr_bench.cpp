// Clocks per pixel of the Corr family on every dispatch level of this machine: the normalised
// cross-correlation (Valid) of 8u C1 with a 5x5 template (direct sums) and a 31x31 template (the
// frequency domain at L2 size), and the 8u convolution with a 3x3 second image, at the shared L1-
// and L2-resident sizes; one thread. The memory-sized rows are skipped: a 16384x8192 source is
// minutes of direct sums, and its transforms need gigabytes.
#include "bench_support.h"

#include <cstdint>

#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "corr/corr.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "corr/conv.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

bool fits(benchmark::State& state, ImageSize size) {
    if (size.width * std::int64_t(size.height) <= 256 * 256) return true;
    state.SkipWithError("too large for template sums");
    return false;
}

template <int tw, int th> void benchCorr(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!fits(state, size) || !selectLevel(state, level)) return;
    Buffer<Zkr8u> src(std::size_t(size.width) * size.height), tpl(static_cast<std::size_t>(tw * th));
    const int ow = size.width - tw + 1, oh = size.height - th + 1;
    Buffer<Zkr32f> dst(std::size_t(ow) * oh);
    timeKernel(state, double(size.width) * size.height, 5.0, [&] {
        return zkriCrossCorrValid_Norm_8u32f_C1R(src.data(), size.width, {size.width, size.height}, tpl.data(), tw,
                                                 {tw, th}, dst.data(), ow * 4);
    });
}

void benchConv(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!fits(state, size) || !selectLevel(state, level)) return;
    Buffer<Zkr8u> one(std::size_t(size.width) * size.height), two(9), dst(std::size_t(size.width + 2) * (size.height + 2));
    timeKernel(state, double(size.width) * size.height, 2.0, [&] {
        return zkriConvFull_8u_C1RSfs(one.data(), size.width, {size.width, size.height}, two.data(), 3, {3, 3},
                                      dst.data(), size.width + 2, 6);
    });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("CrossCorrValid_Norm_8u32f_C1R_5x5", &benchCorr<5, 5>),
     registerPerLevel("CrossCorrValid_Norm_8u32f_C1R_31x31", &benchCorr<31, 31>),
     registerPerLevel("ConvFull_8u_C1RSfs_3x3", &benchConv), true);

}  // namespace
}  // namespace zkbench
