#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/threads/TmtArrays.h"
#include "grundel/core/TmtRefCounter.h"
#include "grundel/threads/TmtCriticalSection.h"
#include "grundel/threads/TmtThread.h"

/// The process's one pool of threads: every TmtThread is launched here, and
/// the pool keeps a list of all of them (with a record for the thread that
/// made the pool, the main thread) so that they can be ended together.
///
/// getPool() makes the pool on first use; shutdownPool() ends it. Any thread
/// may use the pool; its list is guarded by its own critical section, which
/// always locks.
class GRUNDEL_API TmtThreadPool {
public:
    /// The pool, made on first use with a record of the calling thread:
    /// that thread's id, status running, no system handle.
    static TmtThreadPool* getPool();

    /// Starts a thread running proc with a TmtThreadInfo holding data. The
    /// thread is in the pool's list and counted in TmtThread::fsThreadCount
    /// before it runs. The caller owns one reference (drop it with shutdown
    /// or unref). Null when the system refuses a thread.
    TmtThread* launchThread(TmtThreadProc proc, void* data);
    /// Launches count threads running proc(data) into threads, replacing its
    /// contents. A count of 0 means the number of processors the process may
    /// use; a negative count launches none; more than maxNumberOfThreads()
    /// launches that many. The number launched, which is threads' length.
    int startJob(TmtThreadProc proc, void* data, TmtThreadPtrArray& threads, int count);
    /// Shuts down (waiting without limit) and removes the threads of an
    /// array, from the last to the first.
    void endJob(TmtThreadPtrArray& threads);
    /// 8 threads per processor of the machine, but at least 10.
    static int maxNumberOfThreads() noexcept;
    /// Takes thread out of the list (it stays alive); false when absent.
    bool removeThread(TmtThread* thread);
    /// The listed thread with the kernel id threadID, or null. The pointer
    /// carries no reference: it stays valid only while the thread is known
    /// to keep one.
    TmtThread* findThread(TuInt32 threadID);
    /// Threads in the list, the main thread's record included.
    int numThreads();

    /// Ends every thread but the calling one, and the pool. First the teams
    /// of live sub-pools: each worker finishes the run it is in, takes no
    /// more and is joined, and the sub-pools stay closed (see
    /// TmtThreadSubPool). Then every other listed thread gets shutdown(false)
    /// (asked to end, 100 milliseconds' grace, then terminated), which drops
    /// one reference of each, and is waited for: joined, or for up to a
    /// second while a terminated thread unwinds (one that reaches no
    /// cancellation point by then is abandoned). Then the pool is destroyed;
    /// the next getPool() makes a new one. Meant for the end of the process,
    /// from a thread that no sub-pool runs: threads the caller still points
    /// at must not be used afterwards unless it holds a reference of its own.
    void shutdownPool();

private:
    friend class TmtThread;

    TmtThreadPool();
    ~TmtThreadPool();
    TmtThreadPool(const TmtThreadPool&) = delete;
    TmtThreadPool& operator=(const TmtThreadPool&) = delete;

    void addThread(TmtThread* thread);
    bool unlink(TmtThread* thread) noexcept;
    /// Takes a thread whose last reference went out of the pool, unless
    /// shutdownPool took a reference meanwhile (false: it drops it later).
    static bool sForget(TmtThread* thread) noexcept;

    static TmtThreadPool* sSingleton;

    TmtCriticalSection fLock;
    TmtThread* fFirst = nullptr;
};
