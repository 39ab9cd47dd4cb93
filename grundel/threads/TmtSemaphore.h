#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/TmtRefCounter.h"
#include "grundel/threads/TmtLock.h"

/// A counting semaphore. Unlike the other locks it always waits, whether
/// worker threads run or not. Beside the system semaphore it keeps the
/// number of available units (available()), lowered after each successful
/// wait and raised after each successful release.
///
/// acquire waits without limit (kLockHeld, or kLockFailed); the tries wait up
/// to their timeout (kLockTimedOut when it runs out). release adds one unit.
/// The guard of an acquisition gives its unit back when it ends unless
/// setOwned(false) keeps it consumed. Read and write forms are plain ones.
class GRUNDEL_API TmtSemaphore {
public:
    /// count: the initial units, clamped to [0, the system maximum].
    explicit TmtSemaphore(long count = 0) noexcept;
    ~TmtSemaphore();
    TmtSemaphore(const TmtSemaphore&) = delete;
    TmtSemaphore& operator=(const TmtSemaphore&) = delete;

    TmtLock<TmtSemaphore> acquire();
    TmtLock<TmtSemaphore> acquireRead() { return wait(kMtWaitForever, kLockModeRead); }
    TmtLock<TmtSemaphore> acquireWrite() { return wait(kMtWaitForever, kLockModeWrite); }
    TmtLock<TmtSemaphore> tryToAcquire(int timeout) { return wait(timeout, kLockModePlain); }
    TmtLock<TmtSemaphore> tryToAcquireRead(int timeout) { return wait(timeout, kLockModeRead); }
    TmtLock<TmtSemaphore> tryToAcquireWrite(int timeout) { return wait(timeout, kLockModeWrite); }

    /// Adds one unit (force is not needed here); false when the count is at
    /// the system maximum.
    bool release(bool force = false) noexcept;
    bool releaseRead(bool force = false) noexcept { return release(force); }
    bool releaseWrite(bool force = false) noexcept { return release(force); }

    /// Remakes the semaphore with count units (clamped as in the
    /// constructor). Only while no thread waits on it. Returns true.
    bool reset(long count) noexcept;

    /// Units available now, as counted beside the system semaphore.
    int available() const noexcept { return fAvailable.value(); }
    /// The sem_t behind the semaphore.
    void* osHandle() noexcept { return fSem; }

private:
    TmtLock<TmtSemaphore> wait(int timeoutMs, int mode);

    alignas(8) unsigned char fSem[32];
    TmtRefCounter fAvailable;
};
