#pragma once

// Bounded waiting for the thread tests: every wait gives up after kBoundMs
// and the test fails instead of hanging.

#include "grundel/threads/TmtThreadPool.h"

#include <pthread.h>

#include <chrono>
#include <ctime>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace threadtest {

constexpr int kBoundMs = 10000;

/// A count that threads wait to reach; as a flag, it is set at 1.
class Latch {
public:
    void add() {
        std::lock_guard<std::mutex> lock(fMutex);
        ++fValue;
        fChanged.notify_all();
    }
    int value() {
        std::lock_guard<std::mutex> lock(fMutex);
        return fValue;
    }
    /// Whether the count reached target within ms.
    bool waitFor(int target = 1, int ms = kBoundMs) {
        std::unique_lock<std::mutex> lock(fMutex);
        return fChanged.wait_for(lock, std::chrono::milliseconds(ms), [&] { return fValue >= target; });
    }

private:
    std::mutex fMutex;
    std::condition_variable fChanged;
    int fValue = 0;
};

/// For state that no event announces: polls pred until it holds or the bound passes.
template <class Pred>
bool eventually(Pred pred) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kBoundMs);
    while (!pred())
        if (std::chrono::steady_clock::now() > end)
            return false;
        else
            std::this_thread::yield();
    return true;
}

inline long long millisecondsSince(std::chrono::steady_clock::time_point start) {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now() - start).count();
}

/// Blocks (up to the bound) in a condition wait nothing ends: a thread that
/// ignores every request to end, until it is cancelled. The system wait is
/// called from this frame, so that the sanitizers see the cancellation's
/// first cleanup right above it.
inline void blockUntilCancelled() {
    std::mutex m;
    pthread_cond_t never = PTHREAD_COND_INITIALIZER;
    timespec until;
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += kBoundMs / 1000;
    std::unique_lock<std::mutex> lock(m);
    while (pthread_cond_timedwait(&never, m.native_handle(), &until) == 0) {
    }
}

/// Runs f on a new pool thread; the caller holds the creator's reference.
inline TmtThread* launch(std::function<void(TmtThreadInfo*)> f) {
    using Fn = std::function<void(TmtThreadInfo*)>;
    return TmtThreadPool::getPool()->launchThread(
        [](TmtThreadInfo* info) { std::unique_ptr<Fn>(static_cast<Fn*>(info->fUserData))->operator()(info); },
        new Fn(std::move(f)));
}

/// A pool thread idling while the object lives, so that locks lock for real.
class RunningWorker {
public:
    RunningWorker() : fThread(launch([this](TmtThreadInfo*) { fStop.waitFor(); })) {}
    ~RunningWorker() {
        fStop.add();
        fThread->shutdown(true);
    }

private:
    Latch fStop;
    TmtThread* fThread;
};

} // namespace threadtest
