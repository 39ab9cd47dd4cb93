#include "grundel/threads/TmtThreadSubPool.h"

#include "grundel/threads/TmtThreadPool.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace {
constexpr TuInt32 kTeamRoom = 8;

// Followed by every sub-pool's lock, so that it always locks.
TmtRefCounter gAlwaysLock(1);

// The sub-pools with a team, which the process pool's shutdown ends first.
struct TeamList {
    std::mutex lock;
    std::condition_variable unpinned;
    std::vector<TmtThreadSubPool*> pools;
    bool closing = false;  // the process pool is shutting down
};

TeamList& teams() {
    static TeamList list;
    return list;
}
} // namespace

TmtThreadSubPool::TmtThreadSubPool() noexcept
    : TmtThreadPtrArray(kTeamRoom), fWake(0), fExecuteLock(&gAlwaysLock) {}

TmtThreadSubPool::~TmtThreadSubPool() {
    {
        // The pool's shutdown may be ending this team now: wait for it, and
        // keep it from finding this sub-pool afterwards.
        TeamList& list = teams();
        std::unique_lock<std::mutex> lock(list.lock);
        unlistLocked();
        list.unpinned.wait(lock, [this] { return !fPinned; });
    }
    auto guard = fExecuteLock.acquire();
    if (!isEmpty())
        endTeam(TmtThreadPool::getPool());
}

bool TmtThreadSubPool::initPool(unsigned count) {
    auto guard = fExecuteLock.acquire();
    if (fClosed)
        return false;
    fJob.store(nullptr);
    if (length() == count)
        return true;
    if (!isEmpty())
        endTeam(TmtThreadPool::getPool());
    if (count == 0)
        return true;
    {
        TeamList& list = teams();
        std::lock_guard<std::mutex> lock(list.lock);
        if (list.closing)
            return false;
        list.pools.push_back(this);
        fListed = true;
    }
    const int wanted = count > unsigned(TmtThreadPool::maxNumberOfThreads()) ? TmtThreadPool::maxNumberOfThreads()
                                                                               : int(count);
    // Start from an empty semaphore: surplus units of the old team go.
    fWake.reset(wanted);
    for (int i = 0; i < wanted; ++i)
        fWake.acquire().setOwned(false);
    TmtThreadPool::getPool()->startJob(&sThreadStagingProc, this, *this, wanted);
    fTeamSize.store(length());
    for (TuInt32 i = 0; i < length(); ++i)
        (*this)[i]->setShutdownProc(&sShutdownThreadsProc, this);
    if (isEmpty()) {
        std::lock_guard<std::mutex> lock(teams().lock);
        unlistLocked();
    }
    return length() == count;
}

int TmtThreadSubPool::execute(TmtThreadProc fn, void* data, int count) {
    if (!fn || count < 1)
        return 0;
    auto guard = fExecuteLock.acquire();
    if (fClosed)
        return 0;
    fJob.store(fn);
    fJobData.store(data);
    int released = 0;
    while (released < count && fWake.release())
        ++released;
    return released;
}

void TmtThreadSubPool::shutdownPool() {
    auto guard = fExecuteLock.acquire();
    if (!isEmpty())
        endTeam(TmtThreadPool::getPool());
}

void TmtThreadSubPool::endTeam(TmtThreadPool* pool) {
    // From here on no one else's shutdown of a worker reaches this object.
    for (TuInt32 i = 0; i < length(); ++i)
        (*this)[i]->setShutdownProc(nullptr, nullptr);
    wakeAllToEnd();
    pool->endJob(*this);
    fTeamSize.store(0);
    std::lock_guard<std::mutex> lock(teams().lock);
    unlistLocked();
}

void TmtThreadSubPool::unlistLocked() noexcept {
    if (!fListed)
        return;
    auto& pools = teams().pools;
    pools.erase(std::find(pools.begin(), pools.end(), this));
    fListed = false;
}

void TmtThreadSubPool::wakeAllToEnd() noexcept {
    fJob.store(nullptr);
    for (TuInt32 i = fTeamSize.load(); i > 0; --i)
        fWake.release();
}

void TmtThreadSubPool::sCloseAll(TmtThreadPool* pool) {
    TeamList& list = teams();
    std::unique_lock<std::mutex> lock(list.lock);
    list.closing = true;
    while (!list.pools.empty()) {
        // Pinned, the sub-pool outlives the ending of its team: its
        // destructor waits.
        TmtThreadSubPool* sub = list.pools.back();
        list.pools.pop_back();
        sub->fListed = false;
        sub->fPinned = true;
        lock.unlock();
        {
            auto guard = sub->fExecuteLock.acquire();
            sub->fClosed = true;
            if (!sub->isEmpty())
                sub->endTeam(pool);
        }
        lock.lock();
        sub->fPinned = false;
        list.unpinned.notify_all();
    }
}

void TmtThreadSubPool::sReopenAll() noexcept {
    TeamList& list = teams();
    std::lock_guard<std::mutex> lock(list.lock);
    list.closing = false;
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
