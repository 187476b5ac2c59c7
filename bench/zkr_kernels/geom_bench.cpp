// Clocks per pixel of zkriTranspose_8u_C1R and zkriMirror_8u_C1R, C3R and AC4R (about the vertical
// axis: every row reversed, the flip that needs the byte shuffles) on every dispatch level and image size,
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

using MirrorCall = ZkrStatus (*)(const Zkr8u*, int, Zkr8u*, int, ZkriSize, ZkriAxis);
// ls_bound: one vector loaded and one stored per clock over the pixel's bytes (AC4 also reads the
// destination's alpha, which the load/store ports take in the same clock).
template <int channels, MirrorCall call> void benchMirror(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height * channels;
    Buffer<Zkr8u> a(n), d(n);
    const ZkriSize roi{size.width, size.height};
    const int step = size.width * channels;
    timeKernel(state, double(size.width) * size.height, 2.0 * channels,
               [&] { return call(a.data(), step, d.data(), step, roi, zkriAxsVertical); });
    state.counters["ls_bound"] = double(channels) / level.vectorBytes;
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Transpose_8u_C1R", &benchTranspose), registerPerLevel("Mirror_8u_C1R_vertical", &benchMirror<1, &zkriMirror_8u_C1R>),
     registerPerLevel("Mirror_8u_C3R_vertical", &benchMirror<3, &zkriMirror_8u_C3R>),
     registerPerLevel("Mirror_8u_AC4R_vertical", &benchMirror<4, &zkriMirror_8u_AC4R>),
     true);

}  // namespace
}  // namespace zkbench
