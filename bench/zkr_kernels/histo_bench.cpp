// Clocks per pixel of the Histogram family on every level: the 8u and 16u
// histograms over 256 even levels and the 8u look-up table, next to the time
// the machine takes to read (and, for the table, write) the image.
#include <vector>

#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "histo/histo.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "histo/lutpalette.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

constexpr int kLevels = 256;

template <class T, class Call>
void benchHisto(benchmark::State& state, LevelInfo level, ImageSize size, int bytesPerPixel, Call call) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<T> a(n), b(n);
    const int step = size.width * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(n), double(bytesPerPixel), [&] { return call(a.data(), b.data(), step, roi); });
}

std::vector<Zkr32s> g_hist(kLevels - 1), g_levels(kLevels), g_values(kLevels);

void hist8u(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchHisto<Zkr8u>(s, l, z, 1, [](const Zkr8u* p, Zkr8u*, int step, ZkriSize roi) {
        return zkriHistogramEven_8u_C1R(p, step, roi, g_hist.data(), g_levels.data(), kLevels, 0, 256);
    });
}
void hist16u(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchHisto<Zkr16u>(s, l, z, 2, [](const Zkr16u* p, Zkr16u*, int step, ZkriSize roi) {
        return zkriHistogramEven_16u_C1R(p, step, roi, g_hist.data(), g_levels.data(), kLevels, 0, 65536);
    });
}
void lut8u(benchmark::State& s, LevelInfo l, ImageSize z) {
    for (int k = 0; k < kLevels; ++k) g_levels[k] = k, g_values[k] = 255 - k;
    benchHisto<Zkr8u>(s, l, z, 2, [](const Zkr8u* p, Zkr8u* d, int step, ZkriSize roi) {
        return zkriLUT_8u_C1R(p, step, d, step, roi, g_values.data(), g_levels.data(), kLevels);
    });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("HistogramEven_8u_C1R", &hist8u), registerPerLevel("HistogramEven_16u_C1R", &hist16u),
     registerPerLevel("LUT_8u_C1R", &lut8u), true);

}  // namespace
}  // namespace zkbench
