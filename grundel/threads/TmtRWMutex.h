#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/TmtRefCounter.h"
#include "grundel/threads/TmtLock.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

/// A lock that many readers may hold at once, or one writer.
///
/// Like the other locks it follows a count of running worker threads
/// (TmtThread::fsThreadCount unless given another) and grants every form
/// without locking (kLockGranted) while that count is 0. acquire and
/// tryToAcquire are the write forms. Timed tries return kLockTimedOut when
/// their timeout runs out. A writer that acquires again, in either form,
/// gets kLockFailed instead of a deadlock; a reader acquiring again is
/// admitted as another reader (under kWriterPriority or kAlternating that can
/// wait behind a waiting writer, so readers should not nest there).
///
/// Releases follow the rule of the other locks: they act when force is set
/// or a worker runs. releaseWrite acts only for the writer that holds the
/// lock; releaseRead cannot tell readers apart and drops one reader. Both
/// return false only when force is set and there was nothing to release.
class GRUNDEL_API TmtRWMutex {
public:
    /// Who goes first when readers and writers wait.
    enum eScheduler {
        /// Readers enter whenever no writer holds the lock; a steady stream
        /// of readers can keep writers waiting.
        kReaderPriority = 0,
        /// A reader also waits while a writer waits, and writers go before
        /// waiting readers; a steady stream of writers can keep readers waiting.
        kWriterPriority = 1,
        /// Readers queue behind waiting writers, but when a writer leaves,
        /// every reader then waiting enters before the next writer: neither
        /// side starves.
        kAlternating = 2,
    };

    explicit TmtRWMutex(eScheduler scheduler = kAlternating, TmtRefCounter* threadCount = nullptr) noexcept;
    TmtRWMutex(const TmtRWMutex&) = delete;
    TmtRWMutex& operator=(const TmtRWMutex&) = delete;

    TmtLock<TmtRWMutex> acquire() { return tryToAcquireWrite(kMtWaitForever); }
    TmtLock<TmtRWMutex> acquireRead() { return tryToAcquireRead(kMtWaitForever); }
    TmtLock<TmtRWMutex> acquireWrite() { return tryToAcquireWrite(kMtWaitForever); }
    TmtLock<TmtRWMutex> tryToAcquire(int timeout) { return tryToAcquireWrite(timeout); }
    TmtLock<TmtRWMutex> tryToAcquireRead(int timeout);
    TmtLock<TmtRWMutex> tryToAcquireWrite(int timeout);

    bool release(bool force = false) noexcept { return releaseWrite(force); }
    bool releaseRead(bool force = false) noexcept;
    bool releaseWrite(bool force = false) noexcept;

    eScheduler scheduler() const noexcept { return fScheduler; }
    /// Readers holding the lock now (taken for real).
    int readers() const noexcept;
    /// Whether a writer holds the lock now (taken for real).
    bool hasWriter() const noexcept;
    /// Threads waiting to read, and to write, now.
    int waitingReaders() const noexcept;
    int waitingWriters() const noexcept;

private:
    bool readerMustWait(std::uint32_t admittedBatch) const noexcept;

    const eScheduler fScheduler;
    TmtRefCounter* const fThreadCount;
    mutable std::mutex fMutex;
    std::condition_variable fReadersGo;
    std::condition_variable fWritersGo;
    // Guarded by fMutex.
    int fActiveReaders = 0;
    int fWaitingReaders = 0;
    int fWaitingWriters = 0;
    int fAdmittedReaders = 0;        // readers let past waiting writers, not yet in
    std::uint32_t fReaderBatch = 0;  // which waiting readers were let past
    std::uintptr_t fWriter = 0;      // tag of the writing thread, 0 when none
};
