// Clocks per pixel of the Cmp family's 8u C1 kernels on every level: two
// images compared into a mask (3 bytes per pixel moved) and an image against
// a constant (2 bytes), next to the time those bytes take at the machine's
// copy bandwidth.
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "cmp/cmp.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

void compare8u(benchmark::State& state, LevelInfo level, ImageSize size, bool constant) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<Zkr8u> a(n), b(n), d(n);
    const int step = size.width;
    const ZkriSize roi{size.width, size.height};
    auto call = [&] {
        return constant ? zkriCompareC_8u_C1R(a.data(), step, 128, d.data(), step, roi, zkrCmpLess)
                        : zkriCompare_8u_C1R(a.data(), step, b.data(), step, d.data(), step, roi, zkrCmpLess);
    };
    timeKernel(state, double(n), constant ? 2.0 : 3.0, call);
}

void twoImages(benchmark::State& s, LevelInfo l, ImageSize z) { compare8u(s, l, z, false); }
void withConstant(benchmark::State& s, LevelInfo l, ImageSize z) { compare8u(s, l, z, true); }

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Compare_8u_C1R", &twoImages), registerPerLevel("CompareC_8u_C1R", &withConstant), true);

}  // namespace
}  // namespace zkbench
