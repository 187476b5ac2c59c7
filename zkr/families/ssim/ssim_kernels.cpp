// Compiled once per instruction-set level (ZKR_LEVEL_NS): the SSIM kernel.
// Each block row first gathers, per column, the exact integer sums of x, y,
// x^2, y^2 and xy over its up to eight rows (contiguous 32-bit vector loops
// over the row), then folds them by blocks of eight columns; the block's
// statistics follow in double from exact sums, so every level gives the same
// bits (no multiply-add is contracted, so levels with FMA round as the
// baseline does).
#pragma GCC optimize("fp-contract=off")

#include <cstdint>
#include <vector>

#include "rows.h"
#include "ssim_kernels.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::ssim::ZKR_LEVEL_NS {

ZKR_NOINLINE void addRow(const std::uint8_t* __restrict a, const std::uint8_t* __restrict b, int n, std::int32_t* __restrict sx,
                         std::int32_t* __restrict sy, std::int32_t* __restrict sxx, std::int32_t* __restrict syy,
                         std::int32_t* __restrict sxy) {
    for (int i = 0; i < n; ++i) {
        const std::int32_t x = a[i], y = b[i];
        sx[i] += x, sy[i] += y, sxx[i] += x * x, syy[i] += y * y, sxy[i] += x * y;
    }
}

double band(const SsimJob& j, int r0, int r1) {
    const int w = j.width;
    std::vector<std::int32_t> col(std::size_t(w) * 5);
    std::int32_t *sx = col.data(), *sy = sx + w, *sxx = sy + w, *syy = sxx + w, *sxy = syy + w;
    constexpr double c1 = (0.01 * 255) * (0.01 * 255), c2 = (0.03 * 255) * (0.03 * 255);
    double total = 0;
    for (int r = r0; r < r1; ++r) {
        const int y0 = r * kBlock, y1 = y0 + kBlock < j.height ? y0 + kBlock : j.height;
        for (auto& v : col) v = 0;
        for (int y = y0; y < y1; ++y)
            addRow(rowOf<std::uint8_t>(j.a, j.aStep, y), rowOf<std::uint8_t>(j.b, j.bStep, y), w, sx, sy, sxx, syy, sxy);
        for (int x0 = 0; x0 < w; x0 += kBlock) {
            const int x1 = x0 + kBlock < w ? x0 + kBlock : w;
            std::int64_t t[5] = {};
            for (int x = x0; x < x1; ++x) t[0] += sx[x], t[1] += sy[x], t[2] += sxx[x], t[3] += syy[x], t[4] += sxy[x];
            const double n = double(x1 - x0) * double(y1 - y0);
            const double mx = double(t[0]) / n, my = double(t[1]) / n;
            const double vx = double(t[2]) / n - mx * mx, vy = double(t[3]) / n - my * my, cxy = double(t[4]) / n - mx * my;
            total += n * ((2 * mx * my + c1) * (2 * cxy + c2)) / ((mx * mx + my * my + c1) * (vx + vy + c2));
        }
    }
    return total;
}

constinit const Kernels kernels = {&band};

}  // namespace zkr::ssim::ZKR_LEVEL_NS
