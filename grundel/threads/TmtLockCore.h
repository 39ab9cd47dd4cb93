#pragma once

// The machinery shared by TmtMutex, TmtRecursiveMutex, TmtCriticalSection and
// TmtRecursiveCS; users name those classes, not these.

#include "grundel/core/Tapi.h"
#include "grundel/core/TmtRefCounter.h"
#include "grundel/core/Ttypes.h"
#include "grundel/threads/TmtLock.h"

#include <atomic>
#include <cstdint>
#include <mutex>

namespace grundel::detail {

/// The thread count that locks made without one follow (TmtThread::fsThreadCount).
GRUNDEL_API TmtRefCounter* defaultThreadCount() noexcept;

GRUNDEL_API std::uintptr_t threadTagSlow() noexcept;

/// An identity of the calling thread that is unique among live threads and
/// costs one instruction (the address of the thread's control block).
inline std::uintptr_t currentThreadTag() noexcept {
#if defined(__x86_64__) && (defined(__clang__) || __GNUC__ >= 11)
    return reinterpret_cast<std::uintptr_t>(__builtin_thread_pointer());
#else
    return threadTagSlow();
#endif
}

/// A system mutex (std::mutex is a pthread mutex here) with the library's
/// economy: while the thread count it follows is 0, entering grants without
/// locking. It records which thread holds the mutex, so that it never leaves
/// a mutex another thread holds, and counts nesting when it is recursive. A
/// non-recursive lock that its holder enters again fails (kLockFailed)
/// rather than deadlocking. The untimed paths are inline: they are the ones
/// a critical section takes millions of times.
class GRUNDEL_API TmtLockCore {
public:
    TmtLockCore(TmtRefCounter* threadCount, bool recursive) noexcept;
    TmtLockCore(const TmtLockCore&) = delete;
    TmtLockCore& operator=(const TmtLockCore&) = delete;

    /// kLockGranted while no worker runs; otherwise kLockHeld, kLockTimedOut
    /// or kLockFailed after waiting up to timeoutMs.
    int enter(int timeoutMs) {
        if (fThreadCount->value() == 0)
            return kLockGranted;
        const std::uintptr_t self = currentThreadTag();
        if (fOwner.load(std::memory_order_relaxed) == self) {
            if (!fRecursive)
                return kLockFailed;
            ++fDepth;
            return kLockHeld;
        }
        if (timeoutMs < 0) {
            fMutex.lock();
        } else {
            const int status = lockWithin(timeoutMs);
            if (status != kLockHeld)
                return status;
        }
        fOwner.store(self, std::memory_order_relaxed);
        fDepth = 1;
        return kLockHeld;
    }
    /// Leaves the mutex when the calling thread holds it and either force is
    /// set or a worker runs (a nested level of a recursive lock only counts
    /// down). Otherwise nothing changes. False only when force is set and the
    /// calling thread does not hold the mutex.
    bool leave(bool force) noexcept {
        if (!force && fThreadCount->value() == 0)
            return true;
        if (fOwner.load(std::memory_order_relaxed) != currentThreadTag())
            return !force;
        if (--fDepth > 0)
            return true;
        fOwner.store(0, std::memory_order_relaxed);
        fMutex.unlock();
        return true;
    }

    /// The pthread_mutex_t.
    void* osHandle() noexcept { return fMutex.native_handle(); }
    TmtRefCounter* threadCount() const noexcept { return fThreadCount; }

private:
    /// Locks within timeoutMs (0: only tries): kLockHeld, kLockTimedOut or kLockFailed.
    int lockWithin(int timeoutMs) noexcept;

    TmtRefCounter* const fThreadCount;
    std::atomic<std::uintptr_t> fOwner{0};  // tag of the holding thread, 0 when free
    TuInt32 fDepth = 0;                      // nesting; touched only by the holder
    const bool fRecursive;
    std::mutex fMutex;
};

/// The interface of the lock family over a TmtLockCore, for Self. The read
/// and write forms are plain acquires.
template <class Self>
class TmtCoreLock {
public:
    TmtLock<Self> acquire() { return TmtLock<Self>(self(), fCore.enter(kMtWaitForever)); }
    TmtLock<Self> acquireRead() { return TmtLock<Self>(self(), fCore.enter(kMtWaitForever), kLockModeRead); }
    TmtLock<Self> acquireWrite() { return TmtLock<Self>(self(), fCore.enter(kMtWaitForever), kLockModeWrite); }
    TmtLock<Self> tryToAcquire(int timeout) { return TmtLock<Self>(self(), fCore.enter(timeout)); }
    TmtLock<Self> tryToAcquireRead(int timeout) { return TmtLock<Self>(self(), fCore.enter(timeout), kLockModeRead); }
    TmtLock<Self> tryToAcquireWrite(int timeout) { return TmtLock<Self>(self(), fCore.enter(timeout), kLockModeWrite); }

    bool release(bool force = false) noexcept { return fCore.leave(force); }
    bool releaseRead(bool force = false) noexcept { return fCore.leave(force); }
    bool releaseWrite(bool force = false) noexcept { return fCore.leave(force); }

    /// The pthread_mutex_t behind the lock.
    void* osHandle() noexcept { return fCore.osHandle(); }

protected:
    TmtCoreLock(TmtRefCounter* threadCount, bool recursive) noexcept : fCore(threadCount, recursive) {}
    ~TmtCoreLock() = default;

private:
    Self* self() noexcept { return static_cast<Self*>(this); }

    TmtLockCore fCore;
};

} // namespace grundel::detail
