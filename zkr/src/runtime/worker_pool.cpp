#include "worker_pool.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "zkrcore.h"

namespace zkr {
namespace {

// Persistent worker threads; the pool grows on demand and keeps its threads.
class WorkerPool {
public:
    using Task = PartTask;

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

}  // namespace

void runParts(int parts, PartTask task, void* ctx) { WorkerPool::instance().run(parts, task, ctx); }

WorkerPool& WorkerPool::instance() {
    static WorkerPool pool;
    return pool;
}

WorkerPool::~WorkerPool() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
    }
    wake_.notify_all();
    for (std::thread& t : workers_) t.join();
}

int WorkerPool::ensureWorkers(int wanted) {
    while (int(workers_.size()) < wanted) {
        try {
            // Called between runs (runMutex_ held): the new worker waits for the next run.
            const int index = int(workers_.size());
            const std::uint64_t generation = generation_;
            workers_.emplace_back([this, index, generation] { workerLoop(index, generation); });
        } catch (...) {
            break;  // run with the threads we have
        }
    }
    return int(workers_.size());
}

void WorkerPool::run(int parts, Task task, void* ctx) {
    std::unique_lock<std::mutex> runLock(runMutex_, std::try_to_lock);
    if (runLock.owns_lock()) {
        const int workers = ensureWorkers(parts - 1);
        if (workers + 1 < parts) parts = workers + 1;
    } else {
        parts = 1;
    }
    if (parts <= 1) {
        task(ctx, 0, 1);
        return;
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        task_ = task;
        ctx_ = ctx;
        parts_ = parts;
        pending_ = parts - 1;
        ++generation_;
    }
    wake_.notify_all();
    task(ctx, 0, parts);
    std::unique_lock<std::mutex> lock(mutex_);
    done_.wait(lock, [this] { return pending_ == 0; });
}

void WorkerPool::workerLoop(int index, std::uint64_t seen) {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        wake_.wait(lock, [&] { return stop_ || generation_ != seen; });
        if (stop_) return;
        seen = generation_;
        const int part = index + 1;
        if (part >= parts_) continue;
        const Task task = task_;
        void* const ctx = ctx_;
        const int parts = parts_;
        lock.unlock();
        task(ctx, part, parts);
        lock.lock();
        if (--pending_ == 0) done_.notify_one();
    }
}

int bandsFor(std::int64_t pixels, int rows) {
    int threads = 1;
    zkrGetNumThreads(&threads);
    const bool split = threads > 1 && pixels >= kMinParallelPixels && rows >= 2 * std::int64_t(threads);
    return split ? threads : 1;
}

}  // namespace zkr
