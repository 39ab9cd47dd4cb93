#pragma once

// Building blocks shared by the thread classes: deadlines and the one
// internal event class.
//
// Nothing here that can block is noexcept: a thread terminated while it
// waits is cancelled inside the wait, and its stack unwinds through these
// frames (a noexcept frame would end the process instead).

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <mutex>

namespace grundel::detail {

/// The end of a wait of timeout milliseconds on the monotonic clock; a
/// negative timeout never ends.
class Tdeadline {
public:
    using Clock = std::chrono::steady_clock;

    explicit Tdeadline(int timeoutMs) noexcept
        : fForever(timeoutMs < 0), fEnd(Clock::now() + std::chrono::milliseconds(timeoutMs < 0 ? 0 : timeoutMs)) {}

    bool forever() const noexcept { return fForever; }
    bool passed() const noexcept { return !fForever && Clock::now() >= fEnd; }
    Clock::time_point end() const noexcept { return fEnd; }

    /// A wall-clock time for the waits that only take one (mutexes and
    /// semaphores): now plus the remaining time, but at most a quarter of a
    /// second ahead, so that a step of the wall clock costs at most that much.
    /// Callers loop until passed().
    timespec wallClockSlice() const noexcept;

private:
    bool fForever;
    Clock::time_point fEnd;
};

/// An event on a mutex and a condition variable: manual-reset events stay
/// set until reset; auto-reset events let exactly one waiter through per set.
class TmtEvent {
public:
    explicit TmtEvent(bool manualReset, bool initiallySet = false) noexcept
        : fManualReset(manualReset), fSet(initiallySet) {}

    void set() {
        std::lock_guard<std::mutex> lock(fMutex);
        fSet = true;
        if (fManualReset)
            fCondition.notify_all();
        else
            fCondition.notify_one();
    }
    void reset() {
        std::lock_guard<std::mutex> lock(fMutex);
        fSet = false;
    }
    /// Waits up to timeoutMs (negative: without limit); whether the event
    /// was set. An auto-reset event is reset by the waiter it lets through.
    bool wait(int timeoutMs) {
        const Tdeadline deadline(timeoutMs);
        std::unique_lock<std::mutex> lock(fMutex);
        while (!fSet) {
            if (deadline.forever())
                fCondition.wait(lock);
            else if (fCondition.wait_until(lock, deadline.end()) == std::cv_status::timeout && !fSet)
                return false;
        }
        if (!fManualReset)
            fSet = false;
        return true;
    }

private:
    std::mutex fMutex;
    std::condition_variable fCondition;
    const bool fManualReset;
    bool fSet;
};

} // namespace grundel::detail
