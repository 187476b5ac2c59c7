// Clocks per pixel of the Norm family's C1 reductions on every level: integer L2 and difference L1
// norms, the float Inf norm, and the float L2 norm with each algorithm hint.
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "norm/norm.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#if __has_include("norm/hint.tbl")
#define ZKR_TABLE "norm/hint.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#endif

namespace zkbench {
namespace {

// One image, or two for the difference norms (bytes: every source read once).
template <class T, class Call>
void benchNorm(benchmark::State& state, LevelInfo level, ImageSize size, int sources, Call call) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<T> a(n), b(n);
    const int step = size.width * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(n), double(sources * sizeof(T)), [&] { return call(a.data(), b.data(), step, roi); });
}

Zkr64f g_value;

void l2_8u(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchNorm<Zkr8u>(s, l, z, 1, [](const Zkr8u* p, const Zkr8u*, int step, ZkriSize roi) {
        return zkriNorm_L2_8u_C1R(p, step, roi, &g_value);
    });
}
void diffL1_16s(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchNorm<Zkr16s>(s, l, z, 2, [](const Zkr16s* p, const Zkr16s* q, int step, ZkriSize roi) {
        return zkriNormDiff_L1_16s_C1R(p, step, q, step, roi, &g_value);
    });
}
void inf_32f(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchNorm<Zkr32f>(s, l, z, 1, [](const Zkr32f* p, const Zkr32f*, int step, ZkriSize roi) {
        return zkriNorm_Inf_32f_C1R(p, step, roi, &g_value);
    });
}
#if __has_include("norm/hint.tbl")
void l2Fast_32f(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchNorm<Zkr32f>(s, l, z, 1, [](const Zkr32f* p, const Zkr32f*, int step, ZkriSize roi) {
        return zkriNorm_L2_32f_C1R(p, step, roi, &g_value, zkrAlgHintFast);
    });
}
void l2Accurate_32f(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchNorm<Zkr32f>(s, l, z, 1, [](const Zkr32f* p, const Zkr32f*, int step, ZkriSize roi) {
        return zkriNorm_L2_32f_C1R(p, step, roi, &g_value, zkrAlgHintAccurate);
    });
}
#endif

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Norm_L2_8u_C1R", &l2_8u), registerPerLevel("NormDiff_L1_16s_C1R", &diffL1_16s),
     registerPerLevel("Norm_Inf_32f_C1R", &inf_32f),
#if __has_include("norm/hint.tbl")
     registerPerLevel("Norm_L2_32f_C1R_fast", &l2Fast_32f), registerPerLevel("Norm_L2_32f_C1R_accurate", &l2Accurate_32f),
#endif
     true);

}  // namespace
}  // namespace zkbench
