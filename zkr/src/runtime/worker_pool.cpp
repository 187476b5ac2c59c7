#include "worker_pool.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "zkrcore.h"

namespace zkr {
namespace {

// How long a worker keeps polling for the next run after finishing one, and how long the caller
// polls for its workers before either blocks on the condition variable. Handing a run over through
// the condition variable alone costs a sleep and a wake-up per thread and call: on a virtual
// machine each wake-up of an idle processor leaves the guest, tens of microseconds that scattered
// a two-thread 512x512 addition between 3 and 8 times its one-thread time. Calls that follow each
// other within this time (a timing loop, a pipeline of calls) hand over in well under a
// microsecond.
constexpr auto kSpinTime = std::chrono::microseconds(200);

void cpuRelax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

// Polls `ready` until it holds or kSpinTime has passed; true when it holds.
template <class Ready> bool spinUntil(const Ready& ready) {
    const auto deadline = std::chrono::steady_clock::now() + kSpinTime;
    for (int i = 0;; ++i) {
        if (ready()) return true;
        cpuRelax();
        if ((i & 63) == 63 && std::chrono::steady_clock::now() > deadline) return ready();
    }
}

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

    // A run is announced by one word: its generation above the low 16 bits, its part count in
    // them, so that a worker reads both at once. The task and its context are written before the
    // announcement (release) and read only by the workers that take part, after it (acquire); the
    // next run cannot begin before every one of them has counted itself out of `pending_`.
    static constexpr int kPartBits = 16;
    static std::uint64_t generationOf(std::uint64_t ticket) { return ticket >> kPartBits; }
    static int partsOf(std::uint64_t ticket) { return int(ticket & ((1u << kPartBits) - 1)); }

    std::mutex runMutex_;  // one parallel run at a time
    std::mutex mutex_;     // the blocking side of the hand-over
    std::condition_variable wake_;
    std::condition_variable done_;
    std::vector<std::thread> workers_;
    std::atomic<std::uint64_t> ticket_{0};
    std::atomic<int> pending_{0};
    std::atomic<bool> stop_{false};
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
        stop_.store(true);
    }
    wake_.notify_all();
    for (std::thread& t : workers_) t.join();
}

int WorkerPool::ensureWorkers(int wanted) {
    while (int(workers_.size()) < wanted) {
        try {
            // Called between runs (runMutex_ held): the new worker waits for the next run.
            const int index = int(workers_.size());
            const std::uint64_t generation = generationOf(ticket_.load(std::memory_order_relaxed));
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
    if (parts >= (1 << kPartBits)) parts = (1 << kPartBits) - 1;
    task_ = task;
    ctx_ = ctx;
    pending_.store(parts - 1, std::memory_order_relaxed);
    {
        // Under the mutex, so that a worker about to block sees either the new run or the wake-up.
        std::lock_guard<std::mutex> lock(mutex_);
        const std::uint64_t generation = generationOf(ticket_.load(std::memory_order_relaxed)) + 1;
        ticket_.store((generation << kPartBits) | std::uint64_t(parts), std::memory_order_release);
    }
    wake_.notify_all();
    task(ctx, 0, parts);
    const auto finished = [this] { return pending_.load(std::memory_order_acquire) == 0; };
    if (spinUntil(finished)) return;
    std::unique_lock<std::mutex> lock(mutex_);
    done_.wait(lock, finished);
}

void WorkerPool::workerLoop(int index, std::uint64_t seen) {
    const int part = index + 1;
    for (;;) {
        const auto announced = [&] {
            return stop_.load(std::memory_order_relaxed) ||
                   generationOf(ticket_.load(std::memory_order_acquire)) != seen;
        };
        if (!spinUntil(announced)) {
            std::unique_lock<std::mutex> lock(mutex_);
            wake_.wait(lock, announced);
        }
        if (stop_.load(std::memory_order_relaxed)) return;
        const std::uint64_t ticket = ticket_.load(std::memory_order_acquire);
        seen = generationOf(ticket);
        const int parts = partsOf(ticket);
        if (part >= parts) continue;
        task_(ctx_, part, parts);
        if (pending_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            // The caller may be blocked (or about to block) on done_: the mutex orders this
            // notification after its check of pending_.
            std::lock_guard<std::mutex> lock(mutex_);
            done_.notify_one();
        }
    }
}

int bandsFor(std::int64_t pixels, int rows) {
    int threads = 1;
    zkrGetNumThreads(&threads);
    const bool split = threads > 1 && pixels >= kMinParallelPixels && rows >= 2 * std::int64_t(threads);
    return split ? threads : 1;
}

}  // namespace zkr
