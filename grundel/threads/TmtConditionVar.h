#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/threads/TmtCriticalSection.h"
#include "grundel/threads/TmtLock.h"
#include "grundel/threads/TmtMutex.h"

#include <condition_variable>
#include <mutex>

/// Outcomes of TmtTimedConditionVar::wait, in the values of the lock statuses.
enum TwaitStatus : int {
    kWaitSignalled = 0,  ///< woken by signal (or broadcast), and the lock is held again
    kWaitTimedOut = -2,  ///< the timeout ran out; the lock is held again
    kWaitFailed = -3,    ///< the guard held nothing, or taking the lock again failed
};

namespace grundel::detail {

/// The queue of threads waiting on a condition variable, in arrival order.
/// Each waiter is woken by name, so a signal wakes exactly one thread that
/// was waiting when it came, and a broadcast every such thread.
class GRUNDEL_API TwaitQueue {
public:
    struct Waiter {
        Waiter* next = nullptr;
        Waiter* previous = nullptr;
        bool woken = false;
    };

    TwaitQueue() = default;
    TwaitQueue(const TwaitQueue&) = delete;
    TwaitQueue& operator=(const TwaitQueue&) = delete;

    /// Joins the queue; from here on a signal can no longer be missed.
    void enlist(Waiter& waiter);
    /// Sleeps until woken (true) or timeoutMs runs out (false; negative
    /// waits without limit). Leaves the queue either way.
    bool sleep(Waiter& waiter, int timeoutMs);
    /// Wakes the longest waiter; false when nobody waits.
    bool wakeOne();
    /// Wakes every waiter; false when nobody waits.
    bool wakeAll();

private:
    void unlink(Waiter& waiter) noexcept;
    bool wakeFirst() noexcept;

    std::mutex fMutex;
    std::condition_variable fCondition;
    Waiter* fFirst = nullptr;
    Waiter* fLast = nullptr;
};

/// Releases guard, sleeps on queue, takes guard's lock again in the same
/// mode. woken tells whether a wake-up (not the timeout) ended the sleep.
/// False when guard held nothing (nothing waits then) or the lock could not
/// be taken again.
template <class L>
bool waitReleasing(TwaitQueue& queue, TmtLock<L>& guard, int timeoutMs, bool& woken) {
    woken = false;
    if (!guard.owned())
        return false;
    L* lock = guard.lock();
    const int mode = guard.mode();
    TwaitQueue::Waiter waiter;
    queue.enlist(waiter);
    guard.release();
    woken = queue.sleep(waiter, timeoutMs);
    guard = mode == kLockModeRead    ? lock->acquireRead()
            : mode == kLockModeWrite ? lock->acquireWrite()
                                     : lock->acquire();
    return guard.acquired();
}

} // namespace grundel::detail

/// A condition variable for the library's locks.
///
/// wait releases the caller's lock through its guard, sleeps until signal or
/// broadcast, then takes the lock again into the same guard. A signal wakes
/// the thread that has waited longest; a broadcast every thread waiting when
/// it comes. Wake-ups are never lost (a thread counts as waiting before its
/// lock is released) and never spurious; callers still re-check their
/// condition, as another thread may have changed it before the lock was
/// taken again. A recursive mutex must be held once: wait releases one level.
class GRUNDEL_API TmtConditionVar {
public:
    /// True when woken and the lock is held again (status kLockHeld or
    /// kLockGranted); false at once when the guard holds nothing.
    bool wait(TmtLock<TmtCriticalSection>& lock) { return waitOn(lock); }
    bool wait(TmtLock<TmtMutex>& lock) { return waitOn(lock); }
    bool wait(TmtLock<TmtRecursiveMutex>& lock) { return waitOn(lock); }

    /// Wakes one waiting thread; false when none waits.
    bool signal() { return fQueue.wakeOne(); }
    /// Wakes every waiting thread; false when none waits.
    bool broadcast() { return fQueue.wakeAll(); }

private:
    template <class L>
    bool waitOn(TmtLock<L>& lock) {
        bool woken;
        return grundel::detail::waitReleasing(fQueue, lock, kMtWaitForever, woken) && woken;
    }

    grundel::detail::TwaitQueue fQueue;
};

/// TmtConditionVar with a timeout, for critical sections.
class GRUNDEL_API TmtTimedConditionVar {
public:
    /// Waits up to timeout milliseconds (negative: without limit) and takes
    /// the lock again before returning kWaitSignalled or kWaitTimedOut;
    /// kWaitFailed when the guard held nothing (at once) or the lock could
    /// not be taken again.
    TwaitStatus wait(TmtLock<TmtCriticalSection>& lock, int timeout) {
        bool woken;
        if (!grundel::detail::waitReleasing(fQueue, lock, timeout, woken))
            return kWaitFailed;
        return woken ? kWaitSignalled : kWaitTimedOut;
    }
    /// Wakes one waiting thread; false when none waits.
    bool signal() { return fQueue.wakeOne(); }

private:
    grundel::detail::TwaitQueue fQueue;
};
