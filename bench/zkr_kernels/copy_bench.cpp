// Clocks per pixel of the Copy family's plain copies, 8u C1 and 32f C3, of two 8u channel orders
// (C3, AC4) and of the 8u C1 to C3 channel copy, on every dispatch level,
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

// Channel moves between layouts: srcCh channels read and dstCh channels written per pixel (the
// C1 to C3 copy writes one channel of three: the store side is the whole C3 row's vectors).
// ls_bound: one vector loaded and one stored per clock, so the larger of the two pixel sizes over
// the vector bytes.
using MoveCall = ZkrStatus (*)(const Zkr8u*, int, Zkr8u*, int, ZkriSize);
template <int srcCh, int dstCh, MoveCall call> void benchMove(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    Buffer<Zkr8u> a(std::size_t(size.width) * size.height * srcCh), d(std::size_t(size.width) * size.height * dstCh);
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(size.width) * size.height, double(srcCh + dstCh),
               [&] { return call(a.data(), size.width * srcCh, d.data(), size.width * dstCh, roi); });
    state.counters["ls_bound"] = double(srcCh > dstCh ? srcCh : dstCh) / level.vectorBytes;
}
constexpr int kReversed[4] = {2, 1, 0, 3};
ZkrStatus swapC3(const Zkr8u* s, int ss, Zkr8u* d, int ds, ZkriSize roi) {
    return zkriSwapChannels_8u_C3R(s, ss, d, ds, roi, kReversed);
}
ZkrStatus swapAC4(const Zkr8u* s, int ss, Zkr8u* d, int ds, ZkriSize roi) {
    return zkriSwapChannels_8u_AC4R(s, ss, d, ds, roi, kReversed);
}
ZkrStatus insertC1C3(const Zkr8u* s, int ss, Zkr8u* d, int ds, ZkriSize roi) {
    return zkriCopy_8u_C1C3R(s, ss, d + 1, ds, roi);
}

[[maybe_unused]] const bool s_registered =
    (registerPerLevel("SwapChannels_8u_C3R", &benchMove<3, 3, &swapC3>),
     registerPerLevel("SwapChannels_8u_AC4R", &benchMove<4, 4, &swapAC4>),
     registerPerLevel("Copy_8u_C1C3R", &benchMove<1, 3, &insertC1C3>),
     registerPerLevel("Copy_8u_C1R", &benchCopy<Zkr8u, 1, &zkriCopy_8u_C1R>),
     registerC3("Copy_32f_C3R", &benchCopy<Zkr32f, 3, &zkriCopy_32f_C3R>), true);

}  // namespace
}  // namespace zkbench
