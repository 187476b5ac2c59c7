// Clocks per pixel of the Sqr family's C1 kernels on every level: a scaled
// integer square (16s, scale factor 1) and a float square root.
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "sqr/sqr.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

template <class T, ZkrStatus (*call)(const T*, int, T*, int, ZkriSize)>
void benchUnary(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<T> a(n), d(n);
    const int step = size.width * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(n), 2.0 * sizeof(T), [&] { return call(a.data(), step, d.data(), step, roi); });
}

ZkrStatus sqr16s(const Zkr16s* s, int ss, Zkr16s* d, int ds, ZkriSize roi) { return zkriSqr_16s_C1RSfs(s, ss, d, ds, roi, 1); }

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Sqr_16s_C1RSfs", &benchUnary<Zkr16s, &sqr16s>),
     registerPerLevel("Sqrt_32f_C1R", &benchUnary<Zkr32f, &zkriSqrt_32f_C1R>), true);

}  // namespace
}  // namespace zkbench
