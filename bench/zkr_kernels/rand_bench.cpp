// Clocks per pixel of the Rand family on every level: uniform and normal noise added to an 8u C1
// image in place.
#include "bench_support.h"
#include "zkrcore.h"
#define ZKR_TABLE "rand/rand.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

unsigned int g_seed = 1;

template <class Call> void benchNoise(benchmark::State& state, LevelInfo level, ImageSize size, Call call) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<Zkr8u> a(n);
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(n), 1.0, [&] { return call(a.data(), size.width, roi); });
}

void uniform8u(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchNoise(s, l, z, [](Zkr8u* p, int step, ZkriSize roi) {
        return zkriAddRandUniform_Direct_8u_C1IR(p, step, roi, 0, 16, &g_seed);
    });
}
void gauss8u(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchNoise(s, l, z, [](Zkr8u* p, int step, ZkriSize roi) {
        return zkriAddRandGauss_Direct_8u_C1IR(p, step, roi, 0, 8, &g_seed);
    });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("AddRandUniform_Direct_8u_C1IR", &uniform8u), registerPerLevel("AddRandGauss_Direct_8u_C1IR", &gauss8u),
     true);

}  // namespace
}  // namespace zkbench
