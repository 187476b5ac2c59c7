// Clocks per pixel of the FilterBox family's kernels on every dispatch level of this machine, at
// the shared L1-, L2- and memory-resident ROI sizes: the box mean of 8u C1 with a 3x3 and a 7x7
// mask (the running sums make both cost about the same) and the 3x3 median of 8u C1 (sorting
// network). The source carries the border the mask reaches; one thread.
#include "bench_support.h"

#include <cstdint>

#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "filterbox/filterbox.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

using FilterCall = ZkrStatus (*)(const Zkr8u*, int, Zkr8u*, int, ZkriSize, ZkriSize, ZkriPoint);

template <FilterCall call, int maskW, int maskH>
void benchFilter(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const ZkriSize mask{maskW, maskH};
    const ZkriPoint anchor{maskW / 2, maskH / 2};
    const int srcW = size.width + maskW - 1, srcH = size.height + maskH - 1;
    Buffer<Zkr8u> src(std::size_t(srcW) * srcH), dst(std::size_t(size.width) * size.height);
    const Zkr8u* roi = src.data() + std::size_t(anchor.y) * srcW + anchor.x;
    const ZkriSize dstRoi{size.width, size.height};
    timeKernel(state, double(size.width) * size.height, 2.0, [&] { return call(roi, srcW, dst.data(), size.width, dstRoi, mask, anchor); });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("FilterBox_8u_C1R_3x3", &benchFilter<&zkriFilterBox_8u_C1R, 3, 3>),
     registerPerLevel("FilterBox_8u_C1R_7x7", &benchFilter<&zkriFilterBox_8u_C1R, 7, 7>),
     registerPerLevel("FilterMedian_8u_C1R_3x3", &benchFilter<&zkriFilterMedian_8u_C1R, 3, 3>), true);

}  // namespace
}  // namespace zkbench
