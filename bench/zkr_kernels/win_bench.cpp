// Clocks per pixel of the window family's C1 kernels on every level: the separable Hamming window of a
// 32f image and the radial Bartlett window of an 8u image (one image read, one written).
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "win/win.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

template <class T, ZkrStatus (*call)(const T*, int, T*, int, ZkriSize)>
void benchWin(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<T> a(n), d(n);
    const int step = size.width * int(sizeof(T));
    timeKernel(state, double(n), 2.0 * sizeof(T), [&] { return call(a.data(), step, d.data(), step, {size.width, size.height}); });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("WinHammingSep_32f_C1R", &benchWin<Zkr32f, &zkriWinHammingSep_32f_C1R>),
     registerPerLevel("WinBartlett_8u_C1R", &benchWin<Zkr8u, &zkriWinBartlett_8u_C1R>), true);

}  // namespace
}  // namespace zkbench
