// Clocks per pixel of zkriAdd and zkriSub C1 (not in place, scale factor 0)
// for 8u, 16s and 32f on every dispatch level of this machine, at the shared
// sizes (L1, L2, mem) and at "L1half", where the three buffers together fill
// half of the L1 data cache (so 8u, 16s and 32f all run the same number of
// vectors), next to two bounds:
//   ls_bound   one vector of each source loaded and one vector stored per
//              clock (2 loads + 1 store per cycle): sizeof(T) / vector bytes
//   mem_bound  3 * sizeof(T) bytes moved per pixel at the bandwidth of a
//              streaming copy measured here (bytes read + bytes written per
//              clock; write-allocate traffic is not counted in either)
// and a 1x1 row ("call") whose clk/call is the fixed cost of one call:
// argument checks, dispatch, job set-up and the threading decision.
// Clocks are time-stamp counter ticks (__rdtsc) over the whole timed loop;
// on a shared machine these include the time other processes ran, so the
// cpu_ counters give the same figures from the thread's CPU time (converted
// to ticks at the rate the loop itself saw): the ones to read when the load
// average is above the number of cores.
#include <unistd.h>

#include <cstdint>
#include <string>

#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "add/add.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

enum class AddOp { Add, Sub };

template <class T, AddOp op> struct C1Call;
template <AddOp op> struct C1Call<Zkr8u, op> {
    static ZkrStatus call(const Zkr8u* a, const Zkr8u* b, Zkr8u* d, int step, ZkriSize roi) {
        return op == AddOp::Add ? zkriAdd_8u_C1RSfs(a, step, b, step, d, step, roi, 0)
                                : zkriSub_8u_C1RSfs(a, step, b, step, d, step, roi, 0);
    }
};
template <AddOp op> struct C1Call<Zkr16s, op> {
    static ZkrStatus call(const Zkr16s* a, const Zkr16s* b, Zkr16s* d, int step, ZkriSize roi) {
        return op == AddOp::Add ? zkriAdd_16s_C1RSfs(a, step, b, step, d, step, roi, 0)
                                : zkriSub_16s_C1RSfs(a, step, b, step, d, step, roi, 0);
    }
};
template <AddOp op> struct C1Call<Zkr32f, op> {
    static ZkrStatus call(const Zkr32f* a, const Zkr32f* b, Zkr32f* d, int step, ZkriSize roi) {
        return op == AddOp::Add ? zkriAdd_32f_C1R(a, step, b, step, d, step, roi)
                                : zkriSub_32f_C1R(a, step, b, step, d, step, roi);
    }
};

// The L1 data cache in bytes (48 KB when the system does not say).
long l1Bytes() {
    const long l1 = sysconf(_SC_LEVEL1_DCACHE_SIZE);
    return l1 > 0 ? l1 : 48 * 1024;
}

// Three images of T filling half of L1, 32 rows high.
template <class T> ImageSize halfL1() {
    const long pixels = l1Bytes() / 2 / 3 / long(sizeof(T));
    return {"L1half", int(pixels / 32), 32};
}

template <class T, AddOp op> void benchC1(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height;
    Buffer<T> a(n), b(n), d(n);
    const int step = size.width * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(n), 3.0 * sizeof(T), [&] { return C1Call<T, op>::call(a.data(), b.data(), d.data(), step, roi); });
    state.counters["ls_bound"] = double(sizeof(T)) / level.vectorBytes;
}

template <class T, AddOp op> void registerRows(const std::string& name) {
    registerPerLevel(name, &benchC1<T, op>);
    for (const LevelInfo& level : kLevels) {
        if (zkrInitCpu(level.type) != zkrStsNoErr) continue;
        for (const ImageSize size : {halfL1<T>(), ImageSize{"call", 1, 1}}) {
            const std::string full = name + "/" + level.name + "/" + size.name;
            benchmark::RegisterBenchmark(full.c_str(), &benchC1<T, op>, level, size)->Unit(benchmark::kMicrosecond);
        }
    }
    zkrInit();
}

// The constant and AC4 forms: a constant becomes a pattern of whole pixels repeated along the row
// (one value for 8u C1, three for 32f C3), AC4 writes through a keep mask that leaves alpha alone.
// Rows "<name>/<level>/L1half" and "/call" as above, with the pixel's channels counted in the
// buffers; ls_bound is one vector of every operand per clock over the pixel's bytes.
ZkrStatus addC8uC1(const Zkr8u* a, const Zkr8u*, Zkr8u* d, int step, ZkriSize roi) {
    return zkriAddC_8u_C1RSfs(a, step, Zkr8u(7), d, step, roi, 0);
}
ZkrStatus addC32fC3(const Zkr32f* a, const Zkr32f*, Zkr32f* d, int step, ZkriSize roi) {
    static const Zkr32f values[3] = {1.0f, -2.0f, 0.5f};
    return zkriAddC_32f_C3R(a, step, values, d, step, roi);
}
ZkrStatus add8uAC4(const Zkr8u* a, const Zkr8u* b, Zkr8u* d, int step, ZkriSize roi) {
    return zkriAdd_8u_AC4RSfs(a, step, b, step, d, step, roi, 0);
}
ZkrStatus add32fAC4(const Zkr32f* a, const Zkr32f* b, Zkr32f* d, int step, ZkriSize roi) {
    return zkriAdd_32f_AC4R(a, step, b, step, d, step, roi);
}

template <class T> using PixelCall = ZkrStatus (*)(const T*, const T*, T*, int, ZkriSize);

template <class T, int channels, int sources, PixelCall<T> call>
void benchPixels(benchmark::State& state, LevelInfo level, ImageSize size) {
    if (!selectLevel(state, level)) return;
    const std::size_t n = std::size_t(size.width) * size.height * channels;
    Buffer<T> a(n), b(n), d(n);
    const int step = size.width * channels * int(sizeof(T));
    const ZkriSize roi{size.width, size.height};
    timeKernel(state, double(size.width) * size.height, double((sources + 1) * channels * sizeof(T)),
               [&] { return call(a.data(), b.data(), d.data(), step, roi); });
    state.counters["ls_bound"] = double(channels * sizeof(T)) / level.vectorBytes;
}

template <class T, int channels, int sources, PixelCall<T> call> void registerPixelRows(const std::string& name) {
    for (const LevelInfo& level : kLevels) {
        if (zkrInitCpu(level.type) != zkrStsNoErr) continue;
        const ImageSize half = halfL1<T>();
        for (const ImageSize size : {ImageSize{"L1half", half.width / channels, half.height}, ImageSize{"call", 1, 1}}) {
            const std::string full = name + "/" + level.name + "/" + size.name;
            benchmark::RegisterBenchmark(full.c_str(), &benchPixels<T, channels, sources, call>, level, size)
                ->Unit(benchmark::kMicrosecond);
        }
    }
    zkrInit();
}

[[maybe_unused]] const bool s_registeredPixels =
    (registerPixelRows<Zkr8u, 1, 1, addC8uC1>("AddC_8u_C1RSfs"), registerPixelRows<Zkr32f, 3, 1, addC32fC3>("AddC_32f_C3R"),
     registerPixelRows<Zkr8u, 4, 2, add8uAC4>("Add_8u_AC4RSfs"), registerPixelRows<Zkr32f, 4, 2, add32fAC4>("Add_32f_AC4R"),
     true);

[[maybe_unused]] const bool s_registered =
    (registerRows<Zkr8u, AddOp::Add>("Add_8u_C1RSfs"), registerRows<Zkr16s, AddOp::Add>("Add_16s_C1RSfs"),
     registerRows<Zkr32f, AddOp::Add>("Add_32f_C1R"), registerRows<Zkr8u, AddOp::Sub>("Sub_8u_C1RSfs"),
     registerRows<Zkr16s, AddOp::Sub>("Sub_16s_C1RSfs"), registerRows<Zkr32f, AddOp::Sub>("Sub_32f_C1R"), true);

}  // namespace
}  // namespace zkbench
