// Clocks per pixel of the Div family's C1 kernels on every level: integer division with scale
// factor 0 (16s) and float division (32f), the dividend divided by a divisor image.
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "div/div.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "div/div_round.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

template <class T, ZkrStatus (*call)(const T*, int, const T*, int, T*, int, ZkriSize)>
void benchDiv(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<T> divisor(n), dividend(n), d(n);
    for (std::size_t i = 0; i < n; ++i) divisor.data()[i] = T(1 + i % 89);  // no zero: the regular path
    const int step = size.width * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(n), 3.0 * sizeof(T), [&] { return call(divisor.data(), step, dividend.data(), step, d.data(), step, roi); });
}

ZkrStatus div16s(const Zkr16s* a, int as, const Zkr16s* b, int bs, Zkr16s* d, int ds, ZkriSize roi) {
    return zkriDiv_16s_C1RSfs(a, as, b, bs, d, ds, roi, 0);
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Div_16s_C1RSfs", &benchDiv<Zkr16s, &div16s>),
     registerPerLevel("Div_32f_C1R", &benchDiv<Zkr32f, &zkriDiv_32f_C1R>), true);

}  // namespace
}  // namespace zkbench
