// Clocks per pixel of the packed-spectrum family's 32f C1 kernels on every level: the product of two
// packed spectra (three images: mem_bound counts 12 bytes a pixel) and the magnitude of a complex image
// (8 bytes read, 4 written).
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "mulpack/mulpack.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

void benchMulPack(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<Zkr32f> a(n), b(n), d(n);
    const int step = size.width * int(sizeof(Zkr32f));
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(n), 12.0, [&] { return zkriMulPack_32f_C1R(a.data(), step, b.data(), step, d.data(), step, roi); });
}

void benchMagnitude(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<Zkr32f> a(2 * n), d(n);
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(n), 12.0, [&] {
        return zkriMagnitude_32fc32f_C1R(reinterpret_cast<const Zkr32fc*>(a.data()), size.width * 8, d.data(), size.width * 4, roi);
    });
}

[[maybe_unused]] const bool s_registered = (registerPerLevel("MulPack_32f_C1R", &benchMulPack),
                                            registerPerLevel("Magnitude_32fc32f_C1R", &benchMagnitude), true);

}  // namespace
}  // namespace zkbench
