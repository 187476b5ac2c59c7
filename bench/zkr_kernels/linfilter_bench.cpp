// Clocks per pixel of the linear filter family's kernels on every dispatch level of this machine, at
// the shared L1-, L2- and memory-resident ROI sizes: a fixed 3x3 derivative of 8u into 16s
// (Sobel), the 5x5 Gauss of 8u (25 taps in 32-bit sums), a 5x5 user kernel of 32f and a 5-tap row
// kernel of 16s with a divisor (double sums, rounded), the 3x3 cross median of 8u (a 5-element
// network) and the column decimation of 8u by 2. The source carries the border the kernel reaches;
// one thread.
#include "bench_support.h"

#include <cstdint>
#include <vector>

#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "linfilter/fmask.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "linfilter/filter.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "linfilter/filterrow.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "linfilter/decfilter.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

// A source with `border` pixels around a w x h ROI, and the destination; `call` gets the ROI's
// pointer, the steps and the ROI size.
template <class S, class D, class Call>
void benchBordered(benchmark::State& state, LevelInfo level, ImageSize size, int border, Call call) {
    if (!selectLevel(state, level)) return;
    const int srcW = size.width + 2 * border, srcH = size.height + 2 * border;
    Buffer<S> src(std::size_t(srcW) * srcH);
    Buffer<D> dst(std::size_t(size.width) * size.height);
    for (std::size_t i = 0; i < std::size_t(srcW) * srcH; ++i) src.data()[i] = S(i * 7 % 251);
    const S* roi = src.data() + std::size_t(border) * srcW + border;
    const ZkriSize r{size.width, size.height};
    const int srcStep = srcW * int(sizeof(S)), dstStep = size.width * int(sizeof(D));
    timeKernel(state, double(size.width) * size.height, double(sizeof(S) + sizeof(D)),
               [&] { return call(roi, srcStep, dst.data(), dstStep, r); });
}

void benchSobel(benchmark::State& state, LevelInfo level, ImageSize size) {
    benchBordered<Zkr8u, Zkr16s>(state, level, size, 1, [](const Zkr8u* s, int ss, Zkr16s* d, int ds, ZkriSize r) {
        return zkriFilterSobelVert_8u16s_C1R(s, ss, d, ds, r, {3, 3});
    });
}

void benchGauss(benchmark::State& state, LevelInfo level, ImageSize size) {
    benchBordered<Zkr8u, Zkr8u>(state, level, size, 2, [](const Zkr8u* s, int ss, Zkr8u* d, int ds, ZkriSize r) {
        return zkriFilterGauss_8u_C1R(s, ss, d, ds, r, {5, 5});
    });
}

void benchUser32f(benchmark::State& state, LevelInfo level, ImageSize size) {
    static const std::vector<Zkr32f> kernel(25, 0.04f);
    benchBordered<Zkr32f, Zkr32f>(state, level, size, 2, [](const Zkr32f* s, int ss, Zkr32f* d, int ds, ZkriSize r) {
        return zkriFilter_32f_C1R(s, ss, d, ds, r, kernel.data(), {5, 5}, {2, 2});
    });
}

void benchRow16s(benchmark::State& state, LevelInfo level, ImageSize size) {
    static const Zkr32s kernel[] = {1, 4, 6, 4, 1};
    benchBordered<Zkr16s, Zkr16s>(state, level, size, 2, [](const Zkr16s* s, int ss, Zkr16s* d, int ds, ZkriSize r) {
        return zkriFilterRow_16s_C1R(s, ss, d, ds, r, kernel, 5, 2, 16);
    });
}

void benchMedianCross(benchmark::State& state, LevelInfo level, ImageSize size) {
    benchBordered<Zkr8u, Zkr8u>(state, level, size, 1, [](const Zkr8u* s, int ss, Zkr8u* d, int ds, ZkriSize r) {
        return zkriFilterMedianCross_8u_C1R(s, ss, d, ds, r, {3, 3});
    });
}

// The source is the ROI size, the destination half as high; per source pixel.
void benchDecimate(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    Buffer<Zkr8u> src(std::size_t(size.width) * size.height), dst(std::size_t(size.width) * (size.height / 2 + 1));
    for (std::size_t i = 0; i < std::size_t(size.width) * size.height; ++i) src.data()[i] = Zkr8u(i * 7 % 251);
    timeKernel(state, double(size.width) * size.height, 1.5, [&] {
        return zkriDecimateFilterColumn_8u_C1R(src.data(), size.width, {size.width, size.height}, dst.data(), size.width, 2);
    });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("FilterSobelVert_8u16s_C1R_3x3", &benchSobel),
     registerPerLevel("FilterGauss_8u_C1R_5x5", &benchGauss), registerPerLevel("Filter_32f_C1R_5x5", &benchUser32f),
     registerPerLevel("FilterRow_16s_C1R_5", &benchRow16s),
     registerPerLevel("FilterMedianCross_8u_C1R_3x3", &benchMedianCross),
     registerPerLevel("DecimateFilterColumn_8u_C1R_2", &benchDecimate), true);

}  // namespace
}  // namespace zkbench
