#include "grundel/threads/TmtLockCore.h"

#include "grundel/threads/TmtThread.h"
#include "grundel/threads/TmtSync_p.h"

#include <cerrno>
#include <pthread.h>

namespace grundel::detail {

TmtRefCounter* defaultThreadCount() noexcept { return &TmtThread::fsThreadCount; }

std::uintptr_t threadTagSlow() noexcept { return static_cast<std::uintptr_t>(pthread_self()); }

TmtLockCore::TmtLockCore(TmtRefCounter* threadCount, bool recursive) noexcept
    : fThreadCount(threadCount ? threadCount : defaultThreadCount()), fRecursive(recursive) {}

int TmtLockCore::lockWithin(int timeoutMs) noexcept {
    pthread_mutex_t* m = fMutex.native_handle();
    int rc;
    if (timeoutMs == 0) {
        rc = pthread_mutex_trylock(m);
        if (rc == EBUSY)
            return kLockTimedOut;
    } else {
        // The monotonic form of the timed lock is not seen by the thread
        // sanitizer, so wait on the wall clock in slices (Tdeadline).
        const Tdeadline deadline(timeoutMs);
        for (;;) {
            const timespec slice = deadline.wallClockSlice();
            rc = pthread_mutex_timedlock(m, &slice);
            if (rc != ETIMEDOUT)
                break;
            if (deadline.passed())
                return kLockTimedOut;
        }
    }
    return rc == 0 ? kLockHeld : kLockFailed;
}

} // namespace grundel::detail
