#include "grundel/threads/TmtRWMutex.h"

#include "grundel/threads/TmtLockCore.h"
#include "grundel/threads/TmtSync_p.h"

using grundel::detail::currentThreadTag;
using grundel::detail::Tdeadline;

namespace {
/// Waits on condition until mustWait() turns false or the deadline passes;
/// false when it passed first.
template <class MustWait>
bool waitWhile(std::condition_variable& condition, std::unique_lock<std::mutex>& lock, const Tdeadline& deadline,
               MustWait mustWait) {
    while (mustWait()) {
        if (deadline.forever())
            condition.wait(lock);
        else if (condition.wait_until(lock, deadline.end()) == std::cv_status::timeout)
            return !mustWait();
    }
    return true;
}
} // namespace

TmtRWMutex::TmtRWMutex(eScheduler scheduler, TmtRefCounter* threadCount) noexcept
    : fScheduler(scheduler), fThreadCount(threadCount ? threadCount : grundel::detail::defaultThreadCount()) {}

bool TmtRWMutex::readerMustWait(std::uint32_t admittedBatch) const noexcept {
    if (fWriter != 0)
        return true;
    switch (fScheduler) {
    case kReaderPriority: return false;
    case kWriterPriority: return fWaitingWriters > 0;
    default: return fWaitingWriters > 0 && admittedBatch == fReaderBatch;
    }
}

TmtLock<TmtRWMutex> TmtRWMutex::tryToAcquireRead(int timeout) {
    if (fThreadCount->value() == 0)
        return TmtLock<TmtRWMutex>(this, kLockGranted, kLockModeRead);
    const Tdeadline deadline(timeout);
    std::unique_lock<std::mutex> lock(fMutex);
    if (fWriter == currentThreadTag())
        return TmtLock<TmtRWMutex>(this, kLockFailed, kLockModeRead);
    const std::uint32_t batch = fReaderBatch;
    if (readerMustWait(batch)) {
        if (timeout == 0)
            return TmtLock<TmtRWMutex>(this, kLockTimedOut, kLockModeRead);
        // Keeps the counts right however the wait ends, cancellation included.
        struct Waiting {
            TmtRWMutex& m;
            std::uint32_t batch;
            explicit Waiting(TmtRWMutex& m_, std::uint32_t b) : m(m_), batch(b) { ++m.fWaitingReaders; }
            ~Waiting() {
                --m.fWaitingReaders;
                if (batch != m.fReaderBatch && --m.fAdmittedReaders == 0)
                    m.fWritersGo.notify_all();
            }
        } waiting(*this, batch);
        if (!waitWhile(fReadersGo, lock, deadline, [&] { return readerMustWait(batch); }))
            return TmtLock<TmtRWMutex>(this, kLockTimedOut, kLockModeRead);
    }
    ++fActiveReaders;
    return TmtLock<TmtRWMutex>(this, kLockHeld, kLockModeRead);
}

TmtLock<TmtRWMutex> TmtRWMutex::tryToAcquireWrite(int timeout) {
    if (fThreadCount->value() == 0)
        return TmtLock<TmtRWMutex>(this, kLockGranted, kLockModeWrite);
    const Tdeadline deadline(timeout);
    const std::uintptr_t self = currentThreadTag();
    std::unique_lock<std::mutex> lock(fMutex);
    if (fWriter == self)
        return TmtLock<TmtRWMutex>(this, kLockFailed, kLockModeWrite);
    auto mustWait = [this] { return fWriter != 0 || fActiveReaders > 0 || fAdmittedReaders > 0; };
    if (mustWait()) {
        if (timeout == 0)
            return TmtLock<TmtRWMutex>(this, kLockTimedOut, kLockModeWrite);
        struct Waiting {
            TmtRWMutex& m;
            explicit Waiting(TmtRWMutex& m_) : m(m_) { ++m.fWaitingWriters; }
            // Readers may have been held back by this waiting writer.
            ~Waiting() {
                if (--m.fWaitingWriters == 0)
                    m.fReadersGo.notify_all();
            }
        } waiting(*this);
        if (!waitWhile(fWritersGo, lock, deadline, mustWait))
            return TmtLock<TmtRWMutex>(this, kLockTimedOut, kLockModeWrite);
    }
    fWriter = self;
    return TmtLock<TmtRWMutex>(this, kLockHeld, kLockModeWrite);
}

bool TmtRWMutex::releaseRead(bool force) noexcept {
    if (!force && fThreadCount->value() == 0)
        return true;
    std::lock_guard<std::mutex> lock(fMutex);
    if (fActiveReaders == 0)
        return !force;
    if (--fActiveReaders == 0)
        fWritersGo.notify_all();
    return true;
}

bool TmtRWMutex::releaseWrite(bool force) noexcept {
    if (!force && fThreadCount->value() == 0)
        return true;
    std::lock_guard<std::mutex> lock(fMutex);
    if (fWriter == 0 || fWriter != currentThreadTag())
        return !force;
    fWriter = 0;
    if (fScheduler == kAlternating && fWaitingReaders > 0) {
        ++fReaderBatch;
        fAdmittedReaders = fWaitingReaders;
    }
    fReadersGo.notify_all();
    fWritersGo.notify_all();
    return true;
}

int TmtRWMutex::readers() const noexcept {
    std::lock_guard<std::mutex> lock(fMutex);
    return fActiveReaders;
}

bool TmtRWMutex::hasWriter() const noexcept {
    std::lock_guard<std::mutex> lock(fMutex);
    return fWriter != 0;
}

int TmtRWMutex::waitingReaders() const noexcept {
    std::lock_guard<std::mutex> lock(fMutex);
    return fWaitingReaders;
}

int TmtRWMutex::waitingWriters() const noexcept {
    std::lock_guard<std::mutex> lock(fMutex);
    return fWaitingWriters;
}
