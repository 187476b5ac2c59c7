// Clocks per destination pixel of the Border family's copies into a larger image with a border of 8
// pixels on every side (replicated, constant, wrapped), on every level and at the shared sizes (the
// source's size), next to the load/store bound: one vector stored per clock over the destination
// pixel's bytes (the source is read once, the border rows and columns are written only).
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "border/border.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

constexpr int kBorder = 8;

template <class T> using BorderCall = ZkrStatus (*)(const T*, int, ZkriSize, T*, int, ZkriSize);

template <class T, BorderCall<T> call> void benchBorder(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const ZkriSize src{size.width, size.height}, dst{size.width + 2 * kBorder, size.height + 2 * kBorder};
    Buffer<T> a(std::size_t(src.width) * src.height), d(std::size_t(dst.width) * dst.height);
    const double pixels = double(dst.width) * dst.height;
    timeKernel(state, pixels, double(sizeof(T)) * (1.0 + double(src.width) * src.height / pixels),
               [&] { return call(a.data(), src.width * int(sizeof(T)), src, d.data(), dst.width * int(sizeof(T)), dst); });
    state.counters["ls_bound"] = double(sizeof(T)) / level.vectorBytes;
}

ZkrStatus replicate8u(const Zkr8u* s, int ss, ZkriSize sr, Zkr8u* d, int ds, ZkriSize dr) {
    return zkriCopyReplicateBorder_8u_C1R(s, ss, sr, d, ds, dr, kBorder, kBorder);
}
ZkrStatus constant8u(const Zkr8u* s, int ss, ZkriSize sr, Zkr8u* d, int ds, ZkriSize dr) {
    return zkriCopyConstBorder_8u_C1R(s, ss, sr, d, ds, dr, kBorder, kBorder, Zkr8u(9));
}
ZkrStatus wrap32f(const Zkr32f* s, int ss, ZkriSize sr, Zkr32f* d, int ds, ZkriSize dr) {
    return zkriCopyWrapBorder_32f_C1R(s, ss, sr, d, ds, dr, kBorder, kBorder);
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("CopyReplicateBorder_8u_C1R", &benchBorder<Zkr8u, &replicate8u>),
     registerPerLevel("CopyConstBorder_8u_C1R", &benchBorder<Zkr8u, &constant8u>),
     registerPerLevel("CopyWrapBorder_32f_C1R", &benchBorder<Zkr32f, &wrap32f>), true);

}  // namespace
}  // namespace zkbench
