// Persistent worker threads that split a job into row bands over the threads
// set by zkrSetNumThreads. The pool grows on demand and keeps its threads.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace zkr {

class WorkerPool {
public:
    using Task = void (*)(void* ctx, int part, int parts);

    static WorkerPool& instance();

    // Runs task(ctx, p, parts) for every p in [0, parts): part 0 on the calling
    // thread, the others on workers. Runs everything on the caller when the
    // pool is busy with another caller's run or cannot start threads.
    void run(int parts, Task task, void* ctx);

    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;
    ~WorkerPool();

private:
    WorkerPool() = default;
    int ensureWorkers(int wanted);                   // returns the number of workers available
    void workerLoop(int index, std::uint64_t seen);  // seen: last run it need not join

    std::mutex runMutex_;  // one parallel run at a time
    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable done_;
    std::vector<std::thread> workers_;
    std::uint64_t generation_ = 0;
    int parts_ = 0;
    int pending_ = 0;
    bool stop_ = false;
    Task task_ = nullptr;
    void* ctx_ = nullptr;
};

// Smallest job (in pixels) worth splitting over threads.
inline constexpr long kMinParallelPixels = 64 * 1024;

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
    WorkerPool::instance().run(
        parts,
        [](void* p, int part, int n) {
            const auto& c = *static_cast<const Ctx*>(p);
            const int y0 = int(std::int64_t(c.rows) * part / n);
            const int y1 = int(std::int64_t(c.rows) * (part + 1) / n);
            (*c.body)(y0, y1);
        },
        &ctx);
}

}  // namespace zkr
