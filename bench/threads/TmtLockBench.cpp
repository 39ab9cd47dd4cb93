// TmtCriticalSection beside std::mutex: an acquire and release with no
// worker thread running (the case the lock's economy is for) and with two
// workers running (a real lock, uncontended).
#include "grundel/threads/TmtCriticalSection.h"
#include "grundel/threads/TmtThreadSubPool.h"

#include <benchmark/benchmark.h>

#include <mutex>

namespace {

void lockAndRelease(TmtCriticalSection& cs) {
    TmtLock<TmtCriticalSection> guard = cs.acquire();
    benchmark::ClobberMemory();
}

void lockAndRelease(std::mutex& m) {
    std::lock_guard<std::mutex> guard(m);
    benchmark::ClobberMemory();
}

/// range(0): workers idling in a sub-pool while the loop runs (they count
/// as running threads, so the library's locks lock for real).
template <class Lock>
void BM_AcquireRelease(benchmark::State& state) {
    TmtThreadSubPool workers;
    workers.initPool(static_cast<unsigned>(state.range(0)));
    Lock lock;
    for (auto _ : state)
        lockAndRelease(lock);
    state.counters["workers"] = static_cast<double>(TmtThread::numSpawnedThreads());
}

} // namespace

BENCHMARK_TEMPLATE(BM_AcquireRelease, TmtCriticalSection)->Arg(0)->Arg(2)->Repetitions(9)->ReportAggregatesOnly(true);
BENCHMARK_TEMPLATE(BM_AcquireRelease, std::mutex)->Arg(0)->Arg(2)->Repetitions(9)->ReportAggregatesOnly(true);
