#include "grundel/threads/TmtThread.h"

#include "grundel/threads/TmtLock.h"
#include "grundel/threads/TmtThreadPool.h"
#include "grundel/threads/TmtThread_p.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

using grundel::detail::TmtThreadControl;

namespace {
constexpr int kShutdownGraceMs = 100;

thread_local TuInt32 tThreadID = 0;

// A forked child runs on a copy of the forking thread, which is its main
// thread now and has a new id.
void afterForkInChild() noexcept {
    tThreadID = 0;
    TmtThread::fMainThreadID = static_cast<TuInt32>(getpid());
}

const bool kForkHandlerInstalled = pthread_atfork(nullptr, nullptr, afterForkInChild) == 0;
} // namespace

TmtRefCounter TmtThread::fsThreadCount;
// On Linux the main thread's id is the process id.
TuInt32 TmtThread::fMainThreadID = static_cast<TuInt32>(getpid());

TuInt32 TmtThread::currentThreadID() noexcept {
    if (tThreadID == 0)
        tThreadID = static_cast<TuInt32>(syscall(SYS_gettid));
    return tThreadID;
}

TmtThread::TmtThread(TmtThreadProc proc, void* data, bool spawned)
    : fInfo{data, this}, fProc(proc), fControl(std::make_unique<TmtThreadControl>(spawned)) {
    (void)kForkHandlerInstalled;
}

TmtThread::~TmtThread() = default;

bool TmtThread::startSuspended() noexcept {
    TmtThreadControl& c = *fControl;
    pthread_t handle;
    if (pthread_create(&handle, nullptr, &TmtThread::sEntry, this) != 0)
        return false;
    {
        std::unique_lock<std::mutex> gate(c.gateLock);
        c.gateMoved.wait(gate, [&] { return c.gateStage >= 1; });
    }
    std::lock_guard<std::mutex> lock(c.lock);
    c.handle = handle;
    c.handleOpen = true;
    return true;
}

void TmtThread::resume() noexcept {
    TmtThreadControl& c = *fControl;
    std::lock_guard<std::mutex> gate(c.gateLock);
    c.gateStage = 2;
    c.gateMoved.notify_all();
}

void* TmtThread::sEntry(void* arg) {
    auto* thread = static_cast<TmtThread*>(arg);
    TmtThreadControl& c = *thread->fControl;
    // Nothing may cancel the thread before it is registered and running.
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    {
        std::unique_lock<std::mutex> gate(c.gateLock);
        thread->fThreadID = currentThreadID();
        c.gateStage = 1;
        c.gateMoved.notify_all();
        c.gateMoved.wait(gate, [&] { return c.gateStage >= 2; });
    }
    // Runs when the function returns and when a cancellation unwinds it.
    struct Finish {
        TmtThread* thread;
        ~Finish() { thread->finishRun(); }
    } finish{thread};
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
    thread->fProc(&thread->fInfo);
    return nullptr;
}

void TmtThread::finishRun() noexcept {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    TmtThreadControl& c = *fControl;
    fsThreadCount.remove();
    if (!fJoinable.load())
        closeHandle();
    if (!c.endSettled.exchange(true)) {
        // The reference goes first, so that whoever sees the status sees
        // the count without it.
        unref();
        fStatus.store(kThreadFinished);
    }
    c.ended.set();
    releaseLife();
}

void TmtThread::closeHandle() noexcept {
    TmtThreadControl& c = *fControl;
    std::lock_guard<std::mutex> lock(c.lock);
    if (c.handleOpen) {
        pthread_detach(c.handle);
        c.handleOpen = false;
    }
}

void TmtThread::reapHandle() {
    TmtThreadControl& c = *fControl;
    pthread_t handle;
    {
        std::lock_guard<std::mutex> lock(c.lock);
        if (!c.handleOpen)
            return;
        handle = c.handle;
        c.handleOpen = false;
    }
    // The thread has set its end: what remains of it is returning, so the
    // wait is short, and afterwards nothing of the thread runs any more.
    pthread_join(handle, nullptr);
}

void TmtThread::releaseLife() noexcept {
    if (fControl->life.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

int TmtThread::unref() noexcept {
    const int count = fRefCount.remove();
    if (count == 0 && TmtThreadPool::sForget(this)) {
        closeHandle();
        releaseLife();
    }
    return count;
}

void TmtThread::detach() noexcept { fJoinable.store(false); }

void TmtThread::setShutdownProc(TmtShutdownProc proc, void* data) noexcept {
    std::lock_guard<std::recursive_mutex> lock(fControl->procLock);
    fControl->shutdownProc = proc;
    fControl->shutdownData = data;
}

bool TmtThread::join(int timeout) {
    if (!fJoinable.load())
        return status() == kThreadFinished;
    TmtThreadControl& c = *fControl;
    const bool reachable = c.spawned && currentThreadID() != fThreadID;
    const int now = fStatus.load();
    if (now == kThreadTerminated)
        return true;
    if (now == kThreadFinished) {
        // Finished is set just before the end: the wait is short.
        if (reachable && c.ended.wait(kMtWaitForever))
            reapHandle();
        return true;
    }
    if (reachable && !c.ended.wait(timeout))
        return false;
    reachable ? reapHandle() : closeHandle();
    int expected = fStatus.load();
    while (expected != kThreadTerminated && !fStatus.compare_exchange_weak(expected, kThreadFinished)) {
    }
    fJoinable.store(false);
    return reachable;
}

bool TmtThread::shutdown(bool wait) {
    bool ended = true;
    const int now = fStatus.load();
    if (now == kThreadIdle || now == kThreadRunning) {
        {
            std::lock_guard<std::recursive_mutex> lock(fControl->procLock);
            if (fControl->shutdownProc)
                fControl->shutdownProc(this, fControl->shutdownData);
        }
        ended = join(wait ? kMtWaitForever : kShutdownGraceMs);
        if (!ended)
            terminate();
    }
    unref();
    return ended;
}

bool TmtThread::terminate() {
    TmtThreadControl& c = *fControl;
    if (!c.spawned || c.endSettled.exchange(true))
        return false;
    int rc;
    {
        std::lock_guard<std::mutex> lock(c.lock);
        if (!c.handleOpen) {
            // Only a thread that failed to join itself gets here: its handle
            // is gone, so it cannot be reached.
            c.endSettled.store(false);
            return false;
        }
        fExitCode.store(-1);
        rc = pthread_cancel(c.handle);
        pthread_detach(c.handle);
        c.handleOpen = false;
    }
    fStatus.store(kThreadTerminated);
    if (fRefCount.value() >= 2)
        unref();
    return rc == 0;
}

bool TmtThread::setPriority(eThreadPriority priority) noexcept {
    int nice;
    switch (priority) {
    case kPriorityAboveNormal: nice = -5; break;
    case kPriorityNormal: nice = 0; break;
    case kPriorityIdle: nice = 19; break;
    default: return false;  // below normal is the value that maps to nothing
    }
    const int now = fStatus.load();
    if (now == kThreadFinished || now == kThreadTerminated)
        return false;
    return setpriority(PRIO_PROCESS, static_cast<id_t>(fThreadID), nice) == 0;
}
