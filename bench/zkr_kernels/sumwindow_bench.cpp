// Clocks per pixel of the SumWindow family on every level: 8u row and column windows of 9 (running
// integer sums) and the 32f row window of 9 (in-order float adds), C1.
#include "bench_support.h"
#include "zkrcore.h"
#define ZKR_TABLE "sumwindow/sumwindow.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

constexpr int kMask = 9;

// The source carries the border the window reads on every side.
template <class T, class Call> void benchWindow(benchmark::State& state, LevelInfo level, ImageSize size, Call call) {
    if (!selectLevel(state, level)) return;
    const int sw = size.width + kMask - 1, sh = size.height + kMask - 1;
    Buffer<T> src(std::size_t(sw) * sh);
    Buffer<Zkr32f> dst(std::size_t(size.width) * size.height);
    const int sStep = sw * int(sizeof(T));
    const T* roi = src.data() + std::size_t(kMask / 2) * sw + kMask / 2;
    timeKernel(state, double(size.width) * size.height, double(sizeof(T) + sizeof(Zkr32f)), [&] {
        return call(roi, sStep, dst.data(), size.width * 4, ZkriSize{size.width, size.height});
    });
}

void row8u(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchWindow<Zkr8u>(s, l, z, [](const Zkr8u* p, int ps, Zkr32f* d, int ds, ZkriSize roi) {
        return zkriSumWindowRow_8u32f_C1R(p, ps, d, ds, roi, kMask, kMask / 2);
    });
}
void column8u(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchWindow<Zkr8u>(s, l, z, [](const Zkr8u* p, int ps, Zkr32f* d, int ds, ZkriSize roi) {
        return zkriSumWindowColumn_8u32f_C1R(p, ps, d, ds, roi, kMask, kMask / 2);
    });
}
void row32f(benchmark::State& s, LevelInfo l, ImageSize z) {
    benchWindow<Zkr32f>(s, l, z, [](const Zkr32f* p, int ps, Zkr32f* d, int ds, ZkriSize roi) {
        return zkriSumWindowRow_32f_C1R(p, ps, d, ds, roi, kMask, kMask / 2);
    });
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("SumWindowRow_8u32f_C1R_9", &row8u), registerPerLevel("SumWindowColumn_8u32f_C1R_9", &column8u),
     registerPerLevel("SumWindowRow_32f_C1R_9", &row32f), true);

}  // namespace
}  // namespace zkbench
