// Clocks per pixel of the two-dimensional DFT on every dispatch level, one thread: the complex forward
// transform of a 240 x 240 image (mixed radices 4, 2, 3, 5) and of a 251 x 251 one (a prime side: the
// chirp transform), beside the rate in flops per clock of processor time with the usual count of
// 5 N log2 N for N complex points, so that they compare with the power-of-two FFT rows.
#include <cmath>
#include <cstdint>
#include <string>

#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "dft/dft.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

template <int side> void benchDft(benchmark::State& state, LevelInfo level) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(side) * side;
    ZkriDFTSpec_C_32fc* setup = nullptr;
    int bytes = 0;
    if (zkriDFTInitAlloc_C_32fc(&setup, {side, side}, ZKR_DFT_DIV_INV_BY_N, zkrAlgHintNone) != zkrStsNoErr ||
        zkriDFTGetBufSize_C_32fc(setup, &bytes) != zkrStsNoErr) {
        state.SkipWithError("setup not created");
    } else {
        Buffer<Zkr8u> work(static_cast<std::size_t>(bytes));
        Buffer<Zkr32f> src(2 * n), dst(2 * n);
        const int step = side * 8;
        auto call = [&] {
            return zkriDFTFwd_CToC_32fc_C1R(reinterpret_cast<const Zkr32fc*>(src.data()), step,
                                            reinterpret_cast<Zkr32fc*>(dst.data()), step, setup, work.data());
        };
        if (const auto t = timeKernel(state, double(n), 0.0, call))
            state.counters["flop/cpu_clk"] = 5.0 * std::log2(double(n)) / t->cpuClkPerPx;
    }
    zkriDFTFree_C_32fc(setup);
    zkrInit();
}

bool registerRows() {
    for (const LevelInfo& level : kLevels) {
        if (zkrInitCpu(level.type) != zkrStsNoErr) continue;
        const std::string l = std::string("/") + level.name;
        benchmark::RegisterBenchmark(("DFTFwd_CToC_32fc_C1R" + l + "/240x240").c_str(), &benchDft<240>, level)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark(("DFTFwd_CToC_32fc_C1R" + l + "/251x251").c_str(), &benchDft<251>, level)
            ->Unit(benchmark::kMicrosecond);
    }
    zkrInit();
    return true;
}

[[maybe_unused]] const bool s_registered = registerRows();

}  // namespace
}  // namespace zkbench
