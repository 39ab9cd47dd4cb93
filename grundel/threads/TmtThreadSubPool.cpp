#include "grundel/threads/TmtThreadSubPool.h"

#include "grundel/threads/TmtThreadPool.h"

namespace {
constexpr TuInt32 kTeamRoom = 8;
} // namespace

TmtThreadSubPool::TmtThreadSubPool() noexcept : TmtThreadPtrArray(kTeamRoom), fWake(0) {}

TmtThreadSubPool::~TmtThreadSubPool() {
    if (!isEmpty())
        shutdownPool();
}

bool TmtThreadSubPool::initPool(unsigned count) {
    fJob.store(nullptr);
    if (length() == count)
        return true;
    if (!isEmpty())
        shutdownPool();
    if (count == 0)
        return true;
    const int wanted = count > unsigned(TmtThreadPool::maxNumberOfThreads()) ? TmtThreadPool::maxNumberOfThreads()
                                                                               : int(count);
    // Start from an empty semaphore: surplus units of the old team go.
    fWake.reset(wanted);
    for (int i = 0; i < wanted; ++i)
        fWake.acquire().setOwned(false);
    TmtThreadPool::getPool()->startJob(&sThreadStagingProc, this, *this, wanted);
    for (TuInt32 i = 0; i < length(); ++i)
        (*this)[i]->setShutdownProc(&sShutdownThreadsProc, this);
    return length() == count;
}

int TmtThreadSubPool::execute(TmtThreadProc fn, void* data, int count) {
    if (!fn || count < 1)
        return 0;
    auto guard = fExecuteLock.acquire();
    fJob.store(fn);
    fJobData.store(data);
    int released = 0;
    while (released < count && fWake.release())
        ++released;
    return released;
}

void TmtThreadSubPool::shutdownPool() {
    wakeAllToEnd();
    TmtThreadPool::getPool()->endJob(*this);
}

void TmtThreadSubPool::wakeAllToEnd() noexcept {
    fJob.store(nullptr);
    for (TuInt32 i = 0; i < length(); ++i)
        fWake.release();
}

void TmtThreadSubPool::sShutdownThreadsProc(TmtThread*, void* subPool) {
    static_cast<TmtThreadSubPool*>(subPool)->wakeAllToEnd();
}

void TmtThreadSubPool::sThreadStagingProc(TmtThreadInfo* info) {
    auto* pool = static_cast<TmtThreadSubPool*>(info->fUserData);
    TmtThread* self = info->fThread;
    for (;;) {
        self->setIdle();
        pool->fIdle.add();
        TmtLock<TmtSemaphore> unit = pool->fWake.acquire();
        unit.setOwned(false);  // the unit stays consumed
        pool->fIdle.remove();
        self->setRunning();
        const TmtThreadProc job = pool->fJob.load();
        if (!job || !unit.acquired())
            return;
        info->fUserData = pool->fJobData.load();
        job(info);
    }
}
