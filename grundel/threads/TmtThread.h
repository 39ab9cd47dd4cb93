#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/TmtRefCounter.h"
#include "grundel/core/Ttypes.h"

#include <atomic>
#include <memory>

class TmtThread;

/// What a thread function receives. It stands at the start of its
/// TmtThread, and lives as long as the thread object does.
struct TmtThreadInfo {
    /// The data given at launch; a sub-pool puts each job's data here.
    void* fUserData;
    /// The thread running the function.
    TmtThread* fThread;
};

/// A thread function.
using TmtThreadProc = void (*)(TmtThreadInfo* info);
/// Asks a thread's function to end (TmtThread::setShutdownProc).
using TmtShutdownProc = void (*)(TmtThread* thread, void* data);

namespace grundel::detail {
struct TmtThreadControl;
}

/// A thread of the process, always made by TmtThreadPool::launchThread.
///
/// The object is reference counted: launching gives one reference to the
/// creator and one to the running thread, which drops its own when its
/// function returns. shutdown() and unref() drop the caller's. The object
/// is destroyed when the count reaches 0 and the thread no longer runs;
/// from the count reaching 0 it is no longer in the pool.
///
/// Statuses (eThreadStatus): idle and running any number of times (a
/// sub-pool's worker is idle while it waits for work), then finished or
/// terminated. A thread counts in fsThreadCount from the moment launchThread
/// returns it until its function has returned.
///
/// Timeouts are milliseconds; negative waits without limit.
class GRUNDEL_API TmtThread {
public:
    enum eThreadStatus {
        kThreadIdle = 0,
        kThreadRunning = 1,
        kThreadFinished = 2,
        kThreadTerminated = 3,
    };

    /// Relative priorities, set as nice values of the thread: above normal
    /// -5, normal 0, idle 19. Below normal has no mapping (see setPriority).
    enum eThreadPriority {
        kPriorityAboveNormal = 0,
        kPriorityNormal = 1,
        kPriorityBelowNormal = 2,
        kPriorityIdle = 3,
    };

    /// On a joinable thread: true at once when it has finished or was
    /// terminated; otherwise waits for its end up to timeout, returning false
    /// with nothing changed when the time runs out. When the wait ends (or
    /// cannot be made: the thread joining itself, or the record of the main
    /// thread) the thread is marked finished and no longer joinable, and the
    /// result tells whether its end was seen; a join that saw it has also
    /// waited for the system thread to be gone. On a detached thread: whether
    /// its status is finished, without waiting.
    bool join(int timeout);
    /// Makes the thread not joinable; it then releases its own system
    /// resources when it ends.
    void detach() noexcept;
    /// Ends the thread and drops the caller's reference. An idle or running
    /// thread is asked to end through its shutdown procedure (if set), then
    /// joined without limit (wait) or for 100 milliseconds, and terminated if
    /// the join fails. Whether it ended by itself; the object may be gone
    /// when this returns.
    bool shutdown(bool wait);
    /// Cancels the thread: it is stopped at its next cancellation point (a
    /// blocking wait of the system, such as a lock, semaphore or condition
    /// wait that blocks, or a sleep), unwinding its stack. A thread that never
    /// reaches one keeps running, abandoned; a thread cancelled inside a
    /// noexcept function ends the process. Sets exit code -1 and status
    /// terminated and, when at least two references remain, drops the
    /// running thread's. False when the thread had already ended, was
    /// terminated before, or is the main thread's record.
    bool terminate();
    /// Sets the thread's priority. kPriorityBelowNormal deliberately fails
    /// (false, nothing set), as does any value outside the enumeration and a
    /// thread that has ended; otherwise whether the system allowed it
    /// (raising a priority usually needs privileges).
    bool setPriority(eThreadPriority priority) noexcept;

    eThreadStatus status() const noexcept { return static_cast<eThreadStatus>(fStatus.load()); }
    /// The kernel's id of the thread.
    TuInt32 threadID() const noexcept { return fThreadID; }
    /// 0 unless set by setExitCode or terminate (-1).
    Tint32 exitCode() const noexcept { return fExitCode.load(); }
    void setExitCode(Tint32 code) noexcept { fExitCode.store(code); }
    void setIdle() noexcept { fStatus.store(kThreadIdle); }
    void setRunning() noexcept { fStatus.store(kThreadRunning); }
    bool isJoinable() const noexcept { return fJoinable.load(); }
    /// The procedure shutdown() calls, with data, to ask the function to end.
    /// Once this returns, a call of the procedure set before has ended, and
    /// none starts again, so that a procedure's data may go away after it is
    /// replaced (by null, for instance). A procedure may set another.
    void setShutdownProc(TmtShutdownProc proc, void* data) noexcept;
    TmtThreadInfo* info() noexcept { return &fInfo; }

    /// Adds a reference; the new count.
    int ref() noexcept { return fRefCount.add(); }
    /// Drops a reference; the new count. At 0 the thread leaves the pool and
    /// the object is destroyed once the thread no longer runs.
    int unref() noexcept;
    int refCount() const noexcept { return fRefCount.value(); }

    /// Threads now running a function launched by the pool. Every lock of
    /// the library follows this count by default.
    static TmtRefCounter fsThreadCount;
    /// The kernel's id of the process's main thread.
    static TuInt32 fMainThreadID;

    /// The kernel's id of the calling thread.
    static TuInt32 currentThreadID() noexcept;
    static bool isMainThread() noexcept { return currentThreadID() == fMainThreadID; }
    /// Whether any launched thread is running (fsThreadCount is not 0).
    static bool usingThreads() noexcept { return fsThreadCount.value() != 0; }
    /// The number of launched threads running now (fsThreadCount).
    static int numSpawnedThreads() noexcept { return fsThreadCount.value(); }

private:
    friend class TmtThreadPool;
    friend struct grundel::detail::TmtThreadControl;

    /// A thread to run proc(data); spawned says whether a system thread will
    /// run it (false for the main thread's record).
    TmtThread(TmtThreadProc proc, void* data, bool spawned);
    ~TmtThread();
    TmtThread(const TmtThread&) = delete;
    TmtThread& operator=(const TmtThread&) = delete;

    /// Starts the system thread, held at its start gate until resume(), and
    /// waits until its id is known. False when the system refuses.
    bool startSuspended() noexcept;
    void resume() noexcept;
    static void* sEntry(void* thread);
    /// Ends the thread's part after its function returned or was cancelled.
    void finishRun() noexcept;
    /// Lets the system release the thread when it ends (once).
    void closeHandle() noexcept;
    /// Waits for the system thread of a thread that has set its end to be
    /// gone, and releases it (once).
    void reapHandle();
    /// Drops one of the two holds on the object (references, running
    /// thread); the last destroys it.
    void releaseLife() noexcept;

    TmtThreadInfo fInfo;  // first: the info's address is the thread's
    TuInt32 fThreadID = 0;
    std::atomic<Tint32> fExitCode{0};
    TmtThreadProc fProc;
    std::atomic<bool> fJoinable{true};
    std::atomic<int> fStatus{kThreadIdle};
    TmtRefCounter fRefCount;
    std::unique_ptr<grundel::detail::TmtThreadControl> fControl;

    // The pool's list, guarded by the pool's lock.
    TmtThread* fPrevious = nullptr;
    TmtThread* fNext = nullptr;
    bool fListed = false;
};
