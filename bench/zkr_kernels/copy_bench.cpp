// Clocks per pixel of the Copy family's plain copies, 8u C1 and 32f C3, on every dispatch level,
// next to two bounds:
//   ls_bound   one vector stored per clock (a copy loads and stores the same bytes; the store
//              port is the narrower one): pixel bytes / vector bytes
//   mem_bound  2 * pixel bytes moved at the bandwidth of the streaming copy measured by the
//              kernel benchmark (bytes read + bytes written per clock)
// 8u C1 uses the shared sizes; 32f C3 keeps its memory size at 8192 x 4096 (twice 384 MB).
#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "copy/TimiCopy.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "copy/TimiCopyManaged.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "copy/TimiCopyP.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

template <class T, int channels, ZkrStatus (*call)(const T*, int, T*, int, ZkriSize)>
void benchCopy(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (zkrInitCpu(level.type) != zkrStsNoErr) {
        state.SkipWithError("level not supported by this processor");
        return;
    }
    zkrSetNumThreads(1);
    const std::size_t n = std::size_t(size.width) * size.height * channels;
    Buffer<T> a(n), d(n);
    const int step = size.width * channels * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    if (call(a.data(), step, d.data(), step, roi) != zkrStsNoErr) {
        state.SkipWithError("call failed");
        return;
    }
    const std::uint64_t t0 = ticks();
    for (auto _ : state) {
        call(a.data(), step, d.data(), step, roi);
        benchmark::ClobberMemory();
    }
    const std::uint64_t t1 = ticks();
    const double pixels = double(size.width) * size.height * double(state.iterations());
    const double pixelBytes = double(sizeof(T)) * channels;
    state.counters["clk/px"] = double(t1 - t0) / pixels;
    state.counters["ls_bound"] = pixelBytes / level.vectorBytes;
    state.counters["mem_bound"] = 2.0 * pixelBytes / copyRate().bytesPerClock;
    state.SetBytesProcessed(std::int64_t(pixels * 2 * pixelBytes));
    zkrInit();
}

const ImageSize kSizesC3[] = {{"L1", 64, 32}, {"L2", 128, 128}, {"mem", 8192, 4096}};

bool registerC3(const std::string& name, LevelSizeFn fn) {
    for (const LevelInfo& level : kLevels) {
        if (zkrInitCpu(level.type) != zkrStsNoErr) continue;
        for (const ImageSize& size : kSizesC3) {
            const std::string full = name + "/" + level.name + "/" + size.name;
            benchmark::RegisterBenchmark(full.c_str(), fn, level, size)->Unit(benchmark::kMicrosecond);
        }
    }
    zkrInit();
    return true;
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("Copy_8u_C1R", &benchCopy<Zkr8u, 1, &zkriCopy_8u_C1R>),
     registerC3("Copy_32f_C3R", &benchCopy<Zkr32f, 3, &zkriCopy_32f_C3R>), true);

}  // namespace
}  // namespace zkbench
