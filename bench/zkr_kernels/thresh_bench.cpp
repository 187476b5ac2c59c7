// Clocks per pixel of the Threshold family's C1 kernels on every level, next to the load/store
// bound: Threshold with the "greater" comparison on 8u and 32f sources holding values 0 to 255
// around the threshold 128, so that half the components are replaced.
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "thresh/thresh.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "thresh/thresh_otsu.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "thresh/threshi.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

template <class T, ZkrStatus (*call)(const T*, int, T*, int, ZkriSize, T, ZkrCmpOp)>
void benchThreshold(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<T> a(n), d(n);
    for (std::size_t i = 0; i < n; ++i) a.data()[i] = T((i * 97 + i / 7) % 256);
    const int step = size.width * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    const T threshold = T(128);
    timeKernel(state, double(n), 2.0 * sizeof(T), [&] { return call(a.data(), step, d.data(), step, roi, threshold, zkrCmpGreater); });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Threshold_8u_C1R", &benchThreshold<Zkr8u, &zkriThreshold_8u_C1R>),
     registerPerLevel("Threshold_32f_C1R", &benchThreshold<Zkr32f, &zkriThreshold_32f_C1R>), true);

}  // namespace
}  // namespace zkbench
