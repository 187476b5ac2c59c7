// FFTW rows of the kernel benchmark: the forward transforms of the library's FFT rows (a 256 x 256
// image, complex to complex and real to half spectrum) in single precision on one thread, with
// plans made by measuring (FFTW_MEASURE) before the timed loop. Named like the library rows with
// "fftw" in the level's place. Built only when CMake finds FFTW (tools/install-bench-deps.sh).
#include <fftw3.h>

#include "bench_support.h"

namespace zkbench {
namespace {

template <bool complex> void fftwForward(benchmark::State& s) {
    constexpr int n = 256;
    const std::size_t floats = std::size_t(n) * n * 2;  // complex input, or the real input's half spectrum
    float* in = fftwf_alloc_real(floats);
    float* out = fftwf_alloc_real(floats + 2 * n);
    auto* cin = reinterpret_cast<fftwf_complex*>(in);
    auto* cout = reinterpret_cast<fftwf_complex*>(out);
    const fftwf_plan plan = complex ? fftwf_plan_dft_2d(n, n, cin, cout, FFTW_FORWARD, FFTW_MEASURE)
                                    : fftwf_plan_dft_r2c_2d(n, n, in, cout, FFTW_MEASURE);
    for (std::size_t i = 0; i < floats; ++i) in[i] = float(i % 97);  // planning overwrote the input
    if (!plan) {
        s.SkipWithError("plan not created");
    } else if (const auto t = timeKernel(s, double(n) * n, 0.0, [&] {
                   fftwf_execute(plan);
                   return zkrStsNoErr;
               })) {
        s.counters["flop/cpu_clk"] = 5.0 * 16 / (complex ? 1 : 2) / t->cpuClkPerPx;
    }
    if (plan) fftwf_destroy_plan(plan);
    fftwf_free(in);
    fftwf_free(out);
}

[[maybe_unused]] const bool s_registered =
    (benchmark::RegisterBenchmark("FFTFwd_CToC_32fc_C1R/fftw/order8x8", &fftwForward<true>)->Unit(benchmark::kMicrosecond),
     benchmark::RegisterBenchmark("FFTFwd_RToPack_32f_C1R/fftw/order8x8", &fftwForward<false>)->Unit(benchmark::kMicrosecond),
     true);

}  // namespace
}  // namespace zkbench
