// Persistent worker threads for splitting an image over the threads set by
// zkrSetNumThreads. The pool grows on demand and keeps its threads.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "kernels.h"

namespace zkr::img {

class WorkerPool {
public:
    using Task = void (*)(void* ctx, int part, int parts);

    static WorkerPool& instance();

    // Runs task(ctx, p, parts) for every p in [0, parts): part 0 on the calling
    // thread, the others on workers. Runs everything on the caller when the
    // pool is busy with another caller's run or cannot start threads.
    void run(int parts, Task task, void* ctx);

    ~WorkerPool();

private:
    WorkerPool() = default;
    int ensureWorkers(int wanted);  // returns the number of workers available
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

// Smallest image (in pixels) worth splitting over threads.
inline constexpr long kMinParallelPixels = 64 * 1024;

// Runs `fn` over rows [0, height) of `job`: in bands over the configured
// threads for large images, on the calling thread otherwise.
void runRows(const EltJob& job, RowsFn fn, int width, int height);

}  // namespace zkr::img
