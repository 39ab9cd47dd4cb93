// The array family beside std::vector. Each case is a template over the
// container, so that the two appear side by side in one run:
// BM_Case<TuInt32Array>, BM_Case<std::vector<unsigned int>>.
#include "grundel/core/Tarrays.h"

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Words = std::vector<TuInt32>;
using Strings = std::vector<std::string>;

void addLast(TuInt32Array& a, TuInt32 v) { a.addLast(v); }
void addLast(Words& a, TuInt32 v) { a.push_back(v); }
void addLast(TstringArray& a, const Tstring& s) { a.addLast(s); }
void addLast(Strings& a, const std::string& s) { a.push_back(s); }
void insertFront(TuInt32Array& a, TuInt32 v) { a.insert(v, 0); }
void insertFront(Words& a, TuInt32 v) { a.insert(a.begin(), v); }
bool contains(const TuInt32Array& a, TuInt32 v) { return a.find(v) == kArrayOk; }
bool contains(const Words& a, TuInt32 v) { return std::find(a.begin(), a.end(), v) != a.end(); }

template <class A>
void BM_AddLast(benchmark::State& state) {
    const TuInt32 n = static_cast<TuInt32>(state.range(0));
    for (auto _ : state) {
        A a;
        for (TuInt32 i = 0; i < n; ++i)
            addLast(a, i);
        benchmark::DoNotOptimize(a.data());
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK_TEMPLATE(BM_AddLast, TuInt32Array)->Arg(1 << 20);
BENCHMARK_TEMPLATE(BM_AddLast, Words)->Arg(1 << 20);

template <class A>
void BM_InsertFront(benchmark::State& state) {
    const TuInt32 n = static_cast<TuInt32>(state.range(0));
    for (auto _ : state) {
        A a;
        for (TuInt32 i = 0; i < n; ++i)
            insertFront(a, i);
        benchmark::DoNotOptimize(a.data());
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK_TEMPLATE(BM_InsertFront, TuInt32Array)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_InsertFront, Words)->Arg(10000)->Unit(benchmark::kMillisecond);

template <class A>
void BM_Find(benchmark::State& state) {
    const TuInt32 n = static_cast<TuInt32>(state.range(0));
    A a;
    for (TuInt32 i = 0; i < n; ++i)
        addLast(a, i * 2654435761u);
    TuInt32 k = 0;
    for (auto _ : state) {
        // Every position in turn, and now and then a value that is absent.
        const TuInt32 target = (k % 17 == 0 ? 1 : (k * 7919) % n * 2654435761u);
        benchmark::DoNotOptimize(contains(a, target));
        ++k;
    }
}
BENCHMARK_TEMPLATE(BM_Find, TuInt32Array)->Arg(10000);
BENCHMARK_TEMPLATE(BM_Find, Words)->Arg(10000);

template <class A, class S>
void BM_StringAddLast(benchmark::State& state) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    std::vector<S> pool;
    pool.reserve(n);
    for (std::size_t i = 0; i < n; ++i)
        pool.emplace_back(("name_" + std::to_string(i * 7919 % n)).c_str());
    for (auto _ : state) {
        A a;
        for (const S& s : pool)
            addLast(a, s);
        benchmark::DoNotOptimize(a.data());
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK_TEMPLATE(BM_StringAddLast, TstringArray, Tstring)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_StringAddLast, Strings, std::string)->Arg(100000)->Unit(benchmark::kMicrosecond);

// -- Growth to 100 MB, each run in a child process of its own ----------------

long statusKilobytes(const char* field) {
    std::FILE* f = std::fopen("/proc/self/status", "r");
    if (!f)
        return 0;
    char line[256];
    long kb = 0;
    const std::size_t n = std::strlen(field);
    while (std::fgets(line, sizeof line, f))
        if (std::strncmp(line, field, n) == 0)
            kb = std::strtol(line + n + 1, nullptr, 10);
    std::fclose(f);
    return kb;
}

struct GrowthResult {
    double seconds;
    long peakKilobytes; // the child's peak resident memory above its start
};

template <class A>
GrowthResult growInChild(TuInt32 n) {
    int fds[2];
    if (pipe(fds) != 0)
        return {0, 0};
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        // Hand back the heap that earlier cases freed, so that the growth
        // cannot trim it and hide part of its own peak.
        malloc_trim(0);
        const long start = statusKilobytes("VmRSS:");
        GrowthResult r{0, 0};
        {
            const auto t0 = std::chrono::steady_clock::now();
            A a;
            for (TuInt32 i = 0; i < n; ++i)
                addLast(a, i);
            benchmark::DoNotOptimize(a.data());
            r.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        }
        // Read after the release: the kernel brings the high-water mark up
        // to date when it unmaps the pages.
        r.peakKilobytes = statusKilobytes("VmHWM:") - start;
        _exit(write(fds[1], &r, sizeof r) == sizeof r ? 0 : 1);
    }
    close(fds[1]);
    GrowthResult r{0, 0};
    if (pid < 0 || read(fds[0], &r, sizeof r) != sizeof r)
        r = {0, 0};
    close(fds[0]);
    if (pid > 0)
        waitpid(pid, nullptr, 0);
    return r;
}

template <class A>
void BM_Grow100MB(benchmark::State& state) {
    const TuInt32 n = (100u << 20) / sizeof(TuInt32);
    long peak = 0;
    for (auto _ : state) {
        const GrowthResult r = growInChild<A>(n);
        if (r.seconds <= 0) {
            state.SkipWithError("the child process failed");
            break;
        }
        state.SetIterationTime(r.seconds);
        peak = std::max(peak, r.peakKilobytes);
    }
    state.counters["peak_MB"] = double(peak) / 1024;
    state.SetBytesProcessed(state.iterations() * std::int64_t(n) * 4);
}
BENCHMARK_TEMPLATE(BM_Grow100MB, TuInt32Array)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Grow100MB, Words)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);

} // namespace
