// Splitting a job into row bands over the threads set by zkrSetNumThreads.
// The worker threads themselves live in worker_pool.cpp: this header is
// included by every family's entry points and stays free of the thread
// library's headers.
#pragma once

#include <atomic>
#include <cstdint>

namespace zkr {

// A task split into parts: task(ctx, part, parts) runs part `part` of `parts`.
using PartTask = void (*)(void* ctx, int part, int parts);

// Runs task(ctx, p, parts) for every p in [0, parts) on the library's
// persistent worker threads (grown on demand up to the threads set by
// zkrSetNumThreads): part 0 on the calling thread, the others on workers.
// Runs everything on the caller when the pool is busy with another caller's
// run or cannot start threads.
void runParts(int parts, PartTask task, void* ctx);

// Smallest job (in pixels) worth splitting over threads: 64 K pixels, set by the build (the
// ThreadSanitizer build splits smaller images).
#ifndef ZKR_MIN_PARALLEL_PIXELS
#error "the build sets ZKR_MIN_PARALLEL_PIXELS, the smallest image split over threads"
#endif
inline constexpr long kMinParallelPixels = ZKR_MIN_PARALLEL_PIXELS;

// Number of bands a job of `pixels` pixels in `rows` rows is split into.
int bandsFor(std::int64_t pixels, int rows);

// Runs body(y0, y1) over bands of the rows [0, rows): over the configured
// threads for large jobs, on the calling thread otherwise. `pixels` is the
// job's size that decides whether splitting pays. body must be safe to run
// on disjoint bands at once.
template <class Body> void forRowBands(std::int64_t pixels, int rows, const Body& body) {
    const int parts = bandsFor(pixels, rows);
    if (parts <= 1) {
        body(0, rows);
        return;
    }
    struct Ctx {
        const Body* body;
        int rows;
    } ctx{&body, rows};
    runParts(
        parts,
        [](void* p, int part, int n) {
            const auto& c = *static_cast<const Ctx*>(p);
            const int y0 = int(std::int64_t(c.rows) * part / n);
            const int y1 = int(std::int64_t(c.rows) * (part + 1) / n);
            (*c.body)(y0, y1);
        },
        &ctx);
}

// Runs rows(y0, y1) over bands of the rows [0, rows) as forRowBands does and returns the bitwise OR
// of what the bands returned: the conditions a kernel met on its rows (a zero divisor, a negative
// argument), which the call reports after processing the whole image.
template <class Rows> int forRowBandsMet(std::int64_t pixels, int rows, const Rows& bandRows) {
    std::atomic<int> met{0};
    forRowBands(pixels, rows, [&](int y0, int y1) {
        if (const int m = int(bandRows(y0, y1)); m != 0) met.fetch_or(m, std::memory_order_relaxed);
    });
    return met.load(std::memory_order_relaxed);
}

}  // namespace zkr
