// Clocks per pixel of the image-generation family's rows on every level and at the shared sizes:
// the Jaehne test image (8u and 32f: a sine of the squared distance per pixel, compute-bound, so no
// load/store bound is given), the comparison of two 32f images within a tolerance (two 32f reads and
// one 8u write per pixel; ls_bound the larger of 8 bytes over two load vectors and 1 byte over one
// store vector) and the deinterlacing filter (8u).
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "imggen/imggen.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

template <class T, ZkrStatus (*call)(T*, int, ZkriSize)>
void benchJaehne(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    Buffer<T> d(std::size_t(size.width) * size.height);
    timeKernel(state, double(size.width) * size.height, double(sizeof(T)),
               [&] { return call(d.data(), size.width * int(sizeof(T)), ZkriSize{size.width, size.height}); });
}

void benchCompareEps(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<Zkr32f> a(n), b(n);
    Buffer<Zkr8u> d(n);
    const int step = size.width * 4;
    timeKernel(state, double(n), 9.0, [&] {
        return zkriCompareEqualEps_32f_C1R(a.data(), step, b.data(), step, d.data(), size.width,
                                           ZkriSize{size.width, size.height}, 0.5f);
    });
    const double v = level.vectorBytes;
    state.counters["ls_bound"] = 8.0 / (2 * v) > 1.0 / v ? 8.0 / (2 * v) : 1.0 / v;
}

void benchDeinterlace(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<Zkr8u> a(n), d(n);
    timeKernel(state, double(n), 2.0, [&] {
        return zkriDeinterlaceFilterCAVT_8u_C1R(a.data(), size.width, d.data(), size.width,
                                                ZkriSize{size.width, size.height}, 20);
    });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("ImageJaehne_8u_C1R", &benchJaehne<Zkr8u, &zkriImageJaehne_8u_C1R>),
     registerPerLevel("ImageJaehne_32f_C1R", &benchJaehne<Zkr32f, &zkriImageJaehne_32f_C1R>),
     registerPerLevel("CompareEqualEps_32f_C1R", &benchCompareEps),
     registerPerLevel("DeinterlaceFilterCAVT_8u_C1R", &benchDeinterlace), true);

}  // namespace
}  // namespace zkbench
