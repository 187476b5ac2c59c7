// Clocks per pixel of the Wiener family on every dispatch level of this machine, at the shared L1-,
// L2- and memory-resident ROI sizes: the Wiener filter of 8u C1 with a 5x5 mask and the noise
// estimated (the memory-sized row is skipped: its statistics buffer would be 2 GB). One thread.
#include "bench_support.h"

#include <cstdint>

#include "zkrcore.h"
#define ZKR_TABLE "wiener/wiener.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

void benchWiener(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const int sw = size.width + 4, sh = size.height + 4;
    Buffer<Zkr8u> src(std::size_t(sw) * sh), dst(std::size_t(size.width) * size.height);
    int bytes = 0;
    if (zkriFilterWienerGetBufferSize({size.width, size.height}, {5, 5}, 1, &bytes) != zkrStsNoErr) {
        state.SkipWithError("buffer too large");
        return;
    }
    Buffer<Zkr8u> buffer(static_cast<std::size_t>(bytes));
    const Zkr32f noise[1] = {0.0f};
    timeKernel(state, double(size.width) * size.height, 2.0 + 32.0, [&] {
        return zkriFilterWiener_8u_C1R(src.data() + 2 * sw + 2, sw, dst.data(), size.width, {size.width, size.height},
                                       {5, 5}, {2, 2}, noise, buffer.data());
    });
}

[[maybe_unused]] const bool s_registered = (registerPerLevel("FilterWiener_8u_C1R_5x5", &benchWiener), true);

}  // namespace
}  // namespace zkbench
