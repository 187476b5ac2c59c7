// Clocks per pixel of the Sum family's C1 reductions on every level: the
// float sum with each algorithm hint, and the 8u minimum and maximum.
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "sum/sum.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
// The forms with an algorithm hint, where the family keeps them in a table of their own.
#if __has_include("sum/hint.tbl")
#define ZKR_TABLE "sum/hint.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#endif

namespace zkbench {
namespace {

template <class T, class Call> void benchReduce(benchmark::State& state, LevelInfo level, ImageSize size, Call call) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<T> a(n);
    const int step = size.width * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(n), double(sizeof(T)), [&] { return call(a.data(), step, roi); });
}

Zkr64f g_sum;
Zkr8u g_min, g_max;

void sumFast(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchReduce<Zkr32f>(s, l, z, [](const Zkr32f* p, int step, ZkriSize roi) {
        return zkriSum_32f_C1R(p, step, roi, &g_sum, zkrAlgHintFast);
    });
}
void sumAccurate(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchReduce<Zkr32f>(s, l, z, [](const Zkr32f* p, int step, ZkriSize roi) {
        return zkriSum_32f_C1R(p, step, roi, &g_sum, zkrAlgHintAccurate);
    });
}
void minMax8u(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchReduce<Zkr8u>(s, l, z, [](const Zkr8u* p, int step, ZkriSize roi) {
        return zkriMinMax_8u_C1R(p, step, roi, &g_min, &g_max);
    });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Sum_32f_C1R_fast", &sumFast), registerPerLevel("Sum_32f_C1R_accurate", &sumAccurate),
     registerPerLevel("MinMax_8u_C1R", &minMax8u), true);

}  // namespace
}  // namespace zkbench
