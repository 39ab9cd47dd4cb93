#include "grundel/threads/TmtThreadPool.h"

#include "grundel/core/TresourceQuery.h"
#include "grundel/threads/TmtThreadSubPool.h"
#include "grundel/threads/TmtThread_p.h"

#include <algorithm>
#include <mutex>

namespace {
// How long shutdownPool waits for a terminated thread to unwind. One that
// reaches no cancellation point in that time is abandoned.
constexpr int kUnwindWaitMs = 1000;

// The pool's list must be guarded even when no worker runs: a thread that
// has just left the count can still be taking itself out of the list.
TmtRefCounter gAlwaysLock(1);

// Guards sSingleton. Taken before a pool's own lock, never after.
std::mutex& singletonLock() {
    static std::mutex lock;
    return lock;
}
} // namespace

TmtThreadPool* TmtThreadPool::sSingleton = nullptr;

TmtThreadPool::TmtThreadPool() : fLock(&gAlwaysLock) {
    TmtThread* main = new TmtThread(nullptr, nullptr, false);
    main->fThreadID = TmtThread::currentThreadID();
    main->fStatus.store(TmtThread::kThreadRunning);
    main->ref();
    addThread(main);
}

TmtThreadPool::~TmtThreadPool() = default;

TmtThreadPool* TmtThreadPool::getPool() {
    std::lock_guard<std::mutex> lock(singletonLock());
    if (!sSingleton)
        sSingleton = new TmtThreadPool;
    return sSingleton;
}

int TmtThreadPool::maxNumberOfThreads() noexcept { return std::max(10, 8 * TresourceQuery::getNumberOfCPUs()); }

TmtThread* TmtThreadPool::launchThread(TmtThreadProc proc, void* data) {
    TmtThread* thread = new TmtThread(proc, data, true);
    thread->ref();  // the creator's
    thread->ref();  // the running thread's
    if (!thread->startSuspended()) {
        delete thread;
        return nullptr;
    }
    addThread(thread);
    thread->fStatus.store(TmtThread::kThreadRunning);
    TmtThread::fsThreadCount.add();
    thread->resume();
    return thread;
}

int TmtThreadPool::startJob(TmtThreadProc proc, void* data, TmtThreadPtrArray& threads, int count) {
    if (count == 0)
        count = TresourceQuery::getNumberOfUnrestrictedCPUs();
    count = std::min(std::max(count, 0), maxNumberOfThreads());
    threads.reset();
    threads.buffer(static_cast<TuInt32>(count));
    for (int i = 0; i < count; ++i) {
        TmtThread* thread = launchThread(proc, data);
        if (!thread)
            break;
        threads.addLast(thread);
    }
    return static_cast<int>(threads.length());
}

void TmtThreadPool::endJob(TmtThreadPtrArray& threads) {
    while (!threads.isEmpty()) {
        TmtThread* thread = threads.last();
        threads.removeLast();
        if (thread)
            thread->shutdown(true);
    }
}

void TmtThreadPool::addThread(TmtThread* thread) {
    auto guard = fLock.acquire();
    thread->fPrevious = nullptr;
    thread->fNext = fFirst;
    if (fFirst)
        fFirst->fPrevious = thread;
    fFirst = thread;
    thread->fListed = true;
}

bool TmtThreadPool::unlink(TmtThread* thread) noexcept {
    if (!thread->fListed)
        return false;
    if (thread->fPrevious)
        thread->fPrevious->fNext = thread->fNext;
    else
        fFirst = thread->fNext;
    if (thread->fNext)
        thread->fNext->fPrevious = thread->fPrevious;
    thread->fPrevious = thread->fNext = nullptr;
    thread->fListed = false;
    return true;
}

bool TmtThreadPool::removeThread(TmtThread* thread) {
    if (!thread)
        return false;
    auto guard = fLock.acquire();
    return unlink(thread);
}

TmtThread* TmtThreadPool::findThread(TuInt32 threadID) {
    auto guard = fLock.acquire();
    for (TmtThread* t = fFirst; t; t = t->fNext)
        if (t->fThreadID == threadID)
            return t;
    return nullptr;
}

int TmtThreadPool::numThreads() {
    auto guard = fLock.acquire();
    int n = 0;
    for (TmtThread* t = fFirst; t; t = t->fNext)
        ++n;
    return n;
}

bool TmtThreadPool::sForget(TmtThread* thread) noexcept {
    std::lock_guard<std::mutex> lock(singletonLock());
    if (!sSingleton)
        return true;
    auto guard = sSingleton->fLock.acquire();
    if (thread->refCount() != 0)
        return false;
    sSingleton->unlink(thread);
    return true;
}

void TmtThreadPool::shutdownPool() {
    // The teams first: their workers finish what they run, without the
    // grace period and termination below, and are joined.
    TmtThreadSubPool::sCloseAll(this);

    const TuInt32 self = TmtThread::currentThreadID();
    // Each is pinned by a reference of ours while it is shut down, so that
    // it cannot vanish in between; with the pin dropped again, what remains
    // is shutdown's own drop of one reference.
    TmtThreadPtrArray others;
    {
        auto guard = fLock.acquire();
        // A thread whose count has reached 0 is on its way out (sForget
        // waits for this lock): taking a reference would revive it.
        for (TmtThread* t = fFirst; t; t = t->fNext)
            if (t->fThreadID != self && t->refCount() > 0) {
                t->ref();
                others.addLast(t);
            }
    }
    for (TuInt32 i = 0; i < others.length(); ++i) {
        TmtThread* thread = others[i];
        thread->shutdown(false);
        // Joined, or terminated: then its stack unwinds, and its end waits
        // for that.
        grundel::detail::TmtThreadControl& c = *thread->fControl;
        if (c.spawned && c.ended.wait(kUnwindWaitMs))
            thread->reapHandle();
        thread->unref();
    }

    // Whatever is still listed (the caller, threads with references held
    // elsewhere) leaves the list; the main thread's record goes with the pool.
    TmtThread* mainRecord = nullptr;
    {
        std::lock_guard<std::mutex> lock(singletonLock());
        if (sSingleton == this)
            sSingleton = nullptr;
        auto guard = fLock.acquire();
        while (fFirst) {
            TmtThread* t = fFirst;
            unlink(t);
            if (!t->fControl->spawned)
                mainRecord = t;
        }
    }
    if (mainRecord)
        mainRecord->unref();
    delete this;
    TmtThreadSubPool::sReopenAll();
}
