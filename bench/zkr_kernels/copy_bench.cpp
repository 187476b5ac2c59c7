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
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height * channels;
    Buffer<T> a(n), d(n);
    const int step = size.width * channels * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(size.width) * size.height, 2.0 * double(sizeof(T)) * channels,
               [&] { return call(a.data(), step, d.data(), step, roi); });
    state.counters["ls_bound"] = double(sizeof(T)) * channels / level.vectorBytes;
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
