// zkriAdd_8u_C1RSfs (scale factor 0) under Google Benchmark, for comparison with Quillmark's figure.
// Clocks come straight from the time-stamp counter, read once before and once after the
// benchmark's timed loop, so no clock-rate conversion is involved; the figure is reported as the
// counter "clk_per_px" (clocks per pixel; one channel, so the same unit as Quillmark's "pxch").
// Those are wall clocks: on a shared machine they include the time the process was descheduled.
// So a second counter, "cpu_clk_per_px", converts the loop's process CPU time into clocks with the
// counter rate measured over the same loop (counter clocks / wall nanoseconds).
// Data follow Quillmark's TimiAdd test: source 1 the ring pattern, source 2 uniform random bytes,
// 64-byte aligned rows whose step is the row length rounded up to 16 bytes.
#include <benchmark/benchmark.h>
#include <x86intrin.h>

#include <chrono>
#include <cmath>
#include <ctime>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>

#include "zkrcore.h"
// Only the Add family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "add/add.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace {

struct Image {
    int width, height, step;
    Zkr8u* data;
    Image(int w, int h) : width(w), height(h), step((w + 15) & ~15) {
        size_t bytes = (size_t(step) * h + 63) & ~size_t(63);  // aligned_alloc wants a multiple of 64
        data = static_cast<Zkr8u*>(std::aligned_alloc(64, bytes));
        std::memset(data, 0, bytes);  // touch every page before timing
    }
    ~Image() { std::free(data); }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    Zkr8u* row(int y) { return data + size_t(y) * step; }
};

// Ring pattern (sin((cx^2 + cy^2) 2 pi / (4h)) + 1) magn + offset with Quillmark's 8u defaults
// (magnitude and offset half the range); values past 255 keep their low bits as there.
void fillRing(Image& im) {
    const double magn = 127.5, offset = 127.5, k = 2 * M_PI / (4.0 * im.height);
    const double mx = (im.width - 1) / 2.0, my = (im.height - 1) / 2.0;
    for (int y = 0; y < im.height; ++y)
        for (int x = 0; x < im.width; ++x) {
            const double cx = x - mx, cy = y - my;
            im.row(y)[x] = Zkr8u(static_cast<long long>((std::sin((cx * cx + cy * cy) * k) + 1) * magn + offset));
        }
}

// Uniform bytes 0..255 from mt19937, seeded as Quillmark seeds its second buffer.
void fillRandom(Image& im, unsigned seed) {
    std::mt19937 g(seed);
    for (int y = 0; y < im.height; ++y)
        for (int x = 0; x < im.width; ++x) im.row(y)[x] = Zkr8u((g() + 0.5) / 4294967296.0 * 256.0);
}

double cpuNs() {
    timespec ts;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return ts.tv_sec * 1e9 + ts.tv_nsec;
}

void BM_zkriAdd_8u_C1RSfs(benchmark::State& state) {
    const int w = int(state.range(0)), h = int(state.range(1));
    Image src1(w, h), src2(w, h), dst(w, h);
    fillRing(src1);
    fillRandom(src2, 12345u + 16u);
    const ZkriSize roi{w, h};
    ZkrStatus status = zkrStsNoErr;

    const double cpu0 = cpuNs();
    const auto wall0 = std::chrono::steady_clock::now();
    const uint64_t begin = __rdtsc();
    for (auto _ : state) {
        status = zkriAdd_8u_C1RSfs(src1.data, src1.step, src2.data, src2.step, dst.data, dst.step, roi, 0);
        benchmark::DoNotOptimize(status);
        benchmark::ClobberMemory();  // the destination is an observable result every time
    }
    const uint64_t end = __rdtsc();
    const auto wall1 = std::chrono::steady_clock::now();
    const double cpu1 = cpuNs();

    if (status != zkrStsNoErr) state.SkipWithError(zkrGetStatusString(status));
    const double pixels = double(w) * h * double(state.iterations());
    const double clocks = double(end - begin);
    const double wallNs = std::chrono::duration<double, std::nano>(wall1 - wall0).count();
    state.counters["clk_per_px"] = clocks / pixels;
    state.counters["cpu_clk_per_px"] = (cpu1 - cpu0) * (clocks / wallNs) / pixels;
    state.SetItemsProcessed(int64_t(state.iterations()) * w * h);
}

BENCHMARK(BM_zkriAdd_8u_C1RSfs)->Args({64, 64})->Args({256, 256})->Args({1024, 1024});

}  // namespace

int main(int argc, char** argv) {
    zkrInit();
    benchmark::AddCustomContext("zkr_dispatch", zkrGetDispatchLevelName(zkrGetDispatchLevel()));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
