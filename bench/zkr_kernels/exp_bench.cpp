// Clocks per pixel of the Exp family's float exponential (32f C1) on every level.
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "exp/exp.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "exp/lni.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

template <class T, ZkrStatus (*call)(const T*, int, T*, int, ZkriSize)>
void benchUnary(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<T> a(n), d(n);
    for (std::size_t i = 0; i < n; ++i) a.data()[i] = T(float(i % 97) * 0.25f - 12.0f);  // normal results
    const int step = size.width * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(n), 2.0 * sizeof(T), [&] { return call(a.data(), step, d.data(), step, roi); });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Exp_32f_C1R", &benchUnary<Zkr32f, &zkriExp_32f_C1R>), true);

}  // namespace
}  // namespace zkbench
