// Clocks per pixel of zkriTranspose_8u_C1R and zkriMirror_8u_C1R (about the vertical axis: every
// row reversed, the flip that needs the byte shuffles) on every dispatch level and image size,
// next to the bound of reading and writing each pixel once. A transpose reads rows and writes
// columns: its tiles keep both in the first-level cache, so the bound is the same copy bound.
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "geom/mirror.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "geom/transp.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

void benchTranspose(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<Zkr8u> a(n), d(n);
    const ZkriSize roi{size.width, size.height};
    auto call = [&] { return zkriTranspose_8u_C1R(a.data(), size.width, d.data(), size.height, roi); };
    timeKernel(state, double(n), 2.0, call);
}

void benchMirror(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<Zkr8u> a(n), d(n);
    const ZkriSize roi{size.width, size.height};
    auto call = [&] { return zkriMirror_8u_C1R(a.data(), size.width, d.data(), size.width, roi, zkriAxsVertical); };
    timeKernel(state, double(n), 2.0, call);
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Transpose_8u_C1R", &benchTranspose), registerPerLevel("Mirror_8u_C1R_vertical", &benchMirror),
     true);

}  // namespace
}  // namespace zkbench
