// Clocks per pixel of the Convert family's C1 kernels on every level: the
// widening 8u32f and, the other way, 32f8u rounded to nearest and saturated
// (the packing path); each next to the time its 5 bytes per pixel take at the
// machine's copy bandwidth.
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "convert/cnvrti.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "convert/scale.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

template <class S, class D, class Call> void benchConvert(benchmark::State& state, LevelInfo level, ImageSize size, Call call) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<S> s(n);
    Buffer<D> d(n);
    const int sStep = size.width * int(sizeof(S)), dStep = size.width * int(sizeof(D));
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(n), double(sizeof(S) + sizeof(D)), [&] { return call(s.data(), sStep, d.data(), dStep, roi); });
}

void widen8u32f(benchmark::State& st, LevelInfo l, ImageSize z) {
    benchConvert<Zkr8u, Zkr32f>(st, l, z, [](const Zkr8u* s, int ss, Zkr32f* d, int ds, ZkriSize roi) {
        return zkriConvert_8u32f_C1R(s, ss, d, ds, roi);
    });
}
void round32f8u(benchmark::State& st, LevelInfo l, ImageSize z) {
    benchConvert<Zkr32f, Zkr8u>(st, l, z, [](const Zkr32f* s, int ss, Zkr8u* d, int ds, ZkriSize roi) {
        return zkriConvert_32f8u_C1R(s, ss, d, ds, roi, zkrRndNear);
    });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Convert_8u32f_C1R", &widen8u32f), registerPerLevel("Convert_32f8u_C1R_near", &round32f8u), true);

}  // namespace
}  // namespace zkbench
