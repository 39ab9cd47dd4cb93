// A trivial job run on two workers, waiting for both, three ways: a
// TmtThreadSubPool; a plain persistent pool of two workers sleeping on POSIX
// semaphores; and two std::threads spawned and joined for each job.
#include "grundel/threads/TmtThreadSubPool.h"

#include <benchmark/benchmark.h>

#include <semaphore.h>

#include <atomic>
#include <thread>

namespace {

constexpr int kWorkers = 2;

/// The job: note the run, and tell the waiting thread.
struct Job {
    std::atomic<long> runs{0};
    sem_t done;
    Job() { sem_init(&done, 0, 0); }
    ~Job() { sem_destroy(&done); }
    void run() {
        runs.fetch_add(1, std::memory_order_relaxed);
        sem_post(&done);
    }
    void waitForAll() {
        for (int i = 0; i < kWorkers; ++i)
            while (sem_wait(&done) != 0) {
            }
    }
};

/// The hand-written peer: workers sleep on one semaphore and run the job
/// once per unit.
class SemaphorePool {
public:
    explicit SemaphorePool(Job& job) : fJob(job) {
        sem_init(&fWake, 0, 0);
        for (auto& t : fThreads)
            t = std::thread([this] { loop(); });
    }
    ~SemaphorePool() {
        fStop.store(true);
        for (int i = 0; i < kWorkers; ++i)
            sem_post(&fWake);
        for (auto& t : fThreads)
            t.join();
        sem_destroy(&fWake);
    }
    void runAll() {
        for (int i = 0; i < kWorkers; ++i)
            sem_post(&fWake);
        fJob.waitForAll();
    }

private:
    void loop() {
        for (;;) {
            while (sem_wait(&fWake) != 0) {
            }
            if (fStop.load())
                return;
            fJob.run();
        }
    }

    Job& fJob;
    sem_t fWake;
    std::atomic<bool> fStop{false};
    std::thread fThreads[kWorkers];
};

class SubPool {
public:
    explicit SubPool(Job& job) : fJob(job) { fPool.initPool(kWorkers); }
    void runAll() {
        fPool.execute(&run, &fJob, kWorkers);
        fJob.waitForAll();
    }

private:
    static void run(TmtThreadInfo* info) { static_cast<Job*>(info->fUserData)->run(); }
    Job& fJob;
    TmtThreadSubPool fPool;
};

class SpawnJoin {
public:
    explicit SpawnJoin(Job& job) : fJob(job) {}
    void runAll() {
        std::thread threads[kWorkers];
        for (auto& t : threads)
            t = std::thread([this] { fJob.run(); });
        for (auto& t : threads)
            t.join();
        fJob.waitForAll();
    }

private:
    Job& fJob;
};

template <class Runner>
void BM_ExecuteTwo(benchmark::State& state) {
    Job job;
    Runner runner(job);
    for (auto _ : state)
        runner.runAll();
    state.SetItemsProcessed(job.runs.load());
}

} // namespace

BENCHMARK_TEMPLATE(BM_ExecuteTwo, SubPool)->Repetitions(9)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK_TEMPLATE(BM_ExecuteTwo, SemaphorePool)->Repetitions(9)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK_TEMPLATE(BM_ExecuteTwo, SpawnJoin)->Repetitions(9)->ReportAggregatesOnly(true)->UseRealTime();
