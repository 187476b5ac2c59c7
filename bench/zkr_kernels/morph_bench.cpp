// Clocks per pixel of the Morph family on every dispatch level of this machine, at the shared L1-,
// L2- and memory-resident ROI sizes: 3x3 erosion of 8u C1, erosion of 8u C1 with a 15x15 rectangle
// (one group: 15 rows down the column, then spans of 8 along the row) and the 3x3 centre-weighted
// median. The source carries the border the mask reaches; one thread.
#include "bench_support.h"

#include <cstdint>
#include <vector>

#include "zkrcore.h"
#define ZKR_TABLE "morph/morph.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "morph/morphm.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

template <int m> void benchMorph(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const int sw = size.width + m - 1, sh = size.height + m - 1;
    Buffer<Zkr8u> src(std::size_t(sw) * sh), dst(std::size_t(size.width) * size.height);
    const Zkr8u* roi = src.data() + std::size_t(m / 2) * sw + m / 2;
    const std::vector<Zkr8u> mask(static_cast<std::size_t>(m * m), 1);
    timeKernel(state, double(size.width) * size.height, 2.0, [&] {
        if constexpr (m == 3) return zkriErode3x3_8u_C1R(roi, sw, dst.data(), size.width, {size.width, size.height});
        else
            return zkriErode_8u_C1R(roi, sw, dst.data(), size.width, {size.width, size.height}, mask.data(), {m, m},
                                    {m / 2, m / 2});
    });
}

void benchMedian(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const int sw = size.width + 2, sh = size.height + 2;
    Buffer<Zkr8u> src(std::size_t(sw) * sh), dst(std::size_t(size.width) * size.height);
    timeKernel(state, double(size.width) * size.height, 2.0, [&] {
        return zkriFilterMedianWeightedCenter3x3_8u_C1R(src.data() + sw + 1, sw, dst.data(), size.width,
                                                        {size.width, size.height}, 3);
    });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Erode3x3_8u_C1R", &benchMorph<3>), registerPerLevel("Erode_8u_C1R_15x15", &benchMorph<15>),
     registerPerLevel("FilterMedianWeightedCenter3x3_8u_C1R", &benchMedian), true);

}  // namespace
}  // namespace zkbench
