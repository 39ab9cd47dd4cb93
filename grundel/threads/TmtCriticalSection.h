#pragma once

#include "grundel/threads/TmtLockCore.h"

/// The cheap lock used inside the library. It behaves as TmtMutex: no
/// locking while the followed count of worker threads is 0 (kLockGranted),
/// the operating-system mutex otherwise (kLockHeld); tries wait up to their
/// timeout (kLockTimedOut when it runs out). Not recursive: the holder
/// acquiring again while workers run gets kLockFailed instead of a deadlock.
class GRUNDEL_API TmtCriticalSection : public grundel::detail::TmtCoreLock<TmtCriticalSection> {
public:
    /// threadCount: the count to follow; null follows TmtThread::fsThreadCount.
    explicit TmtCriticalSection(TmtRefCounter* threadCount = nullptr) noexcept
        : TmtCoreLock(threadCount, false) {}
};

/// TmtCriticalSection that its holder may enter again: every acquisition
/// taken for real needs its own release, and the last one leaves it.
class GRUNDEL_API TmtRecursiveCS : public grundel::detail::TmtCoreLock<TmtRecursiveCS> {
public:
    explicit TmtRecursiveCS(TmtRefCounter* threadCount = nullptr) noexcept : TmtCoreLock(threadCount, true) {}
};
