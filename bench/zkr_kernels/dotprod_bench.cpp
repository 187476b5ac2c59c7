// Clocks per pixel of the DotProd family's C1 dot products on every level: 8u (32-bit integer lanes)
// and 32f (double lanes).
#include "bench_support.h"
#include "zkrcore.h"
#define ZKR_TABLE "dotprod/dotprod.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

template <class T, class Call> void benchDot(benchmark::State& state, LevelInfo level, ImageSize size, Call call) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<T> a(n), b(n);
    const int step = size.width * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(n), double(2 * sizeof(T)), [&] { return call(a.data(), b.data(), step, roi); });
}

Zkr64f g_dp;

void dot8u(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchDot<Zkr8u>(s, l, z, [](const Zkr8u* p, const Zkr8u* q, int step, ZkriSize roi) {
        return zkriDotProd_8u64f_C1R(p, step, q, step, roi, &g_dp);
    });
}
void dot32f(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchDot<Zkr32f>(s, l, z, [](const Zkr32f* p, const Zkr32f* q, int step, ZkriSize roi) {
        return zkriDotProd_32f64f_C1R(p, step, q, step, roi, &g_dp);
    });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("DotProd_8u64f_C1R", &dot8u), registerPerLevel("DotProd_32f64f_C1R", &dot32f), true);

}  // namespace
}  // namespace zkbench
