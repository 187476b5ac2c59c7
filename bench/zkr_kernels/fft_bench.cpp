// Clocks per pixel of the two-dimensional FFT at order 8x8 (256 x 256) on every dispatch level of
// this machine: the complex forward transform (zkriFFTFwd_CToC_32fc_C1R) and the real forward
// transform to the packed spectrum (zkriFFTFwd_RToPack_32f_C1R), one thread. Beside the clocks,
// the rate in flops per clock of processor time with the usual count of 5 N log2 N for N complex points (half of it
// for a real image), so the levels can be compared with the vector width. cpu_clk/px counts only
// the ticks the thread was running, which a machine shared with other work needs.
#include <cstdint>
#include <string>

#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "fft/fft.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

constexpr int kOrder = 8;

template <bool complex> void benchFft(benchmark::State& state, LevelInfo level) {
    if (!selectLevel(state, level)) return;
    const int w = 1 << kOrder, h = 1 << kOrder;
    const std::size_t n = std::size_t(w) * h;
    int bytes = 0;
    ZkriFFTSpec_C_32fc* specC = nullptr;
    ZkriFFTSpec_R_32f* specR = nullptr;
    const bool ok = complex ? zkriFFTInitAlloc_C_32fc(&specC, kOrder, kOrder, ZKR_FFT_DIV_INV_BY_N, zkrAlgHintNone) ==
                                      zkrStsNoErr &&
                                  zkriFFTGetBufSize_C_32fc(specC, &bytes) == zkrStsNoErr
                            : zkriFFTInitAlloc_R_32f(&specR, kOrder, kOrder, ZKR_FFT_DIV_INV_BY_N, zkrAlgHintNone) ==
                                      zkrStsNoErr &&
                                  zkriFFTGetBufSize_R_32f(specR, &bytes) == zkrStsNoErr;
    if (!ok) {
        state.SkipWithError("setup not created");
    } else {
        Buffer<Zkr8u> work(static_cast<std::size_t>(bytes));
        const int comps = complex ? 2 : 1;
        Buffer<Zkr32f> src(n * comps), dst(n * comps);
        const int step = w * comps * int(sizeof(Zkr32f));
        auto call = [&] {
            if constexpr (complex)
                return zkriFFTFwd_CToC_32fc_C1R(reinterpret_cast<const Zkr32fc*>(src.data()), step,
                                                reinterpret_cast<Zkr32fc*>(dst.data()), step, specC, work.data());
            else
                return zkriFFTFwd_RToPack_32f_C1R(src.data(), step, dst.data(), step, specR, work.data());
        };
        if (const auto t = timeKernel(state, double(n), 0.0, call)) {
            // 5 N log2(N) for the complex transform, half of it for the real one, per pixel.
            const double flopsPerPixel = 5.0 * (2 * kOrder) / (complex ? 1 : 2);
            state.counters["flop/cpu_clk"] = flopsPerPixel / t->cpuClkPerPx;
        }
    }
    zkriFFTFree_C_32fc(specC);
    zkriFFTFree_R_32f(specR);
    zkrInit();
}

bool registerRows() {
    for (const LevelInfo& level : kLevels) {
        if (zkrInitCpu(level.type) != zkrStsNoErr) continue;
        const std::string suffix = std::string("/") + level.name + "/order8x8";
        benchmark::RegisterBenchmark(("FFTFwd_CToC_32fc_C1R" + suffix).c_str(), &benchFft<true>, level)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark(("FFTFwd_RToPack_32f_C1R" + suffix).c_str(), &benchFft<false>, level)
            ->Unit(benchmark::kMicrosecond);
    }
    zkrInit();
    return true;
}

[[maybe_unused]] const bool s_registered = registerRows();

}  // namespace
}  // namespace zkbench
