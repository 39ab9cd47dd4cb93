#include "grundel/threads/TmtSemaphore.h"

#include "grundel/threads/TmtSync_p.h"

#include <cerrno>
#include <climits>
#include <semaphore.h>

namespace {
static_assert(sizeof(sem_t) <= 32 && alignof(sem_t) <= 8, "room for the semaphore");

sem_t* osSem(unsigned char* storage) noexcept { return reinterpret_cast<sem_t*>(storage); }

unsigned clampCount(long count) noexcept {
    if (count < 0)
        return 0;
    return count > SEM_VALUE_MAX ? unsigned(SEM_VALUE_MAX) : unsigned(count);
}

/// 0 when a unit was taken, else ETIMEDOUT or another error.
int takeUnit(sem_t* s, int timeoutMs) {
    if (timeoutMs == 0) {
        while (sem_trywait(s) != 0) {
            if (errno == EAGAIN)
                return ETIMEDOUT;
            if (errno != EINTR)
                return errno;
        }
        return 0;
    }
    const grundel::detail::Tdeadline deadline(timeoutMs);
    for (;;) {
        int rc;
        if (deadline.forever()) {
            rc = sem_wait(s);
        } else {
            const timespec slice = deadline.wallClockSlice();
            rc = sem_timedwait(s, &slice);
        }
        if (rc == 0)
            return 0;
        if (errno == ETIMEDOUT) {
            if (deadline.passed())
                return ETIMEDOUT;
        } else if (errno != EINTR) {
            return errno;
        }
    }
}
} // namespace

TmtSemaphore::TmtSemaphore(long count) noexcept : fAvailable(int(clampCount(count))) {
    sem_init(osSem(fSem), 0, clampCount(count));
}

TmtSemaphore::~TmtSemaphore() { sem_destroy(osSem(fSem)); }

TmtLock<TmtSemaphore> TmtSemaphore::acquire() { return wait(kMtWaitForever, kLockModePlain); }

TmtLock<TmtSemaphore> TmtSemaphore::wait(int timeoutMs, int mode) {
    const int rc = takeUnit(osSem(fSem), timeoutMs);
    if (rc == 0) {
        fAvailable.remove();
        return TmtLock<TmtSemaphore>(this, kLockHeld, mode);
    }
    return TmtLock<TmtSemaphore>(this, rc == ETIMEDOUT ? kLockTimedOut : kLockFailed, mode);
}

bool TmtSemaphore::release(bool) noexcept {
    if (sem_post(osSem(fSem)) != 0)
        return false;
    fAvailable.add();
    return true;
}

bool TmtSemaphore::reset(long count) noexcept {
    sem_destroy(osSem(fSem));
    sem_init(osSem(fSem), 0, clampCount(count));
    fAvailable = int(clampCount(count));
    return true;
}
