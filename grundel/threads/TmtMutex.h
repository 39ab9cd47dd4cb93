#pragma once

#include "grundel/threads/TmtLockCore.h"

/// A mutual-exclusion lock with timed tries, following a count of running
/// worker threads (TmtThread::fsThreadCount unless another count is given).
///
/// While that count is 0, every acquire is granted at once without locking
/// (status kLockGranted); otherwise it takes the operating-system mutex
/// (kLockHeld). Tries wait up to their timeout: kLockHeld on success,
/// kLockTimedOut when it runs out, kLockFailed otherwise. Not recursive: the
/// holder acquiring again while workers run gets kLockFailed, not a deadlock.
/// release(force) leaves the mutex when the calling thread holds it and
/// force is set or a worker runs, and returns true; it returns false only
/// when force is set and the calling thread does not hold the mutex. Read and
/// write forms are plain acquires and releases.
class GRUNDEL_API TmtMutex : public grundel::detail::TmtCoreLock<TmtMutex> {
public:
    /// threadCount: the count to follow; null follows TmtThread::fsThreadCount.
    explicit TmtMutex(TmtRefCounter* threadCount = nullptr) noexcept : TmtCoreLock(threadCount, false) {}
};

/// TmtMutex that its holder may acquire again: each acquisition taken for
/// real (kLockHeld) needs its own release, and the mutex is left with the
/// last. Acquisitions granted without locking do not count.
class GRUNDEL_API TmtRecursiveMutex : public grundel::detail::TmtCoreLock<TmtRecursiveMutex> {
public:
    explicit TmtRecursiveMutex(TmtRefCounter* threadCount = nullptr) noexcept : TmtCoreLock(threadCount, true) {}
};
