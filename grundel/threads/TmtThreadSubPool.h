#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/threads/TmtArrays.h"
#include "grundel/core/TmtRefCounter.h"
#include "grundel/threads/TmtCriticalSection.h"
#include "grundel/threads/TmtSemaphore.h"
#include "grundel/threads/TmtThread.h"

#include <atomic>

class TmtThreadPool;

/// A fixed team of worker threads for data-parallel work; the array holds
/// the team's threads.
///
/// Workers sleep on a wake semaphore. execute(fn, data, count) stores the
/// job and releases the semaphore count times: each unit wakes one worker,
/// which runs fn once with its TmtThreadInfo (fUserData holding data) and
/// sleeps again, so fn runs exactly count times in all, however many workers
/// there are; units beyond the team are taken by workers as they come back.
/// execute does not wait for the job; callers that need to know when it is
/// done count with their own counter or barrier. One job at a time: a second
/// execute before the first is done replaces the job for the runs not yet
/// started.
///
/// Use a sub-pool from one thread at a time, and not from its own jobs.
/// Destroying it ends its team, waiting for jobs in progress.
///
/// TmtThreadPool::shutdownPool() ends every team first, from its own thread:
/// each worker finishes the run it is in and takes no more, and is joined.
/// The sub-pool is closed for good then: execute() returns 0 and runs
/// nothing, initPool() returns false, and the object stays safe to use and
/// to destroy. While the pool shuts down, no sub-pool starts a team.
class GRUNDEL_API TmtThreadSubPool : public TmtThreadPtrArray {
public:
    TmtThreadSubPool() noexcept;
    ~TmtThreadSubPool() override;
    TmtThreadSubPool(const TmtThreadSubPool&) = delete;
    TmtThreadSubPool& operator=(const TmtThreadSubPool&) = delete;

    /// Makes the team count threads. A team of that size already is kept as
    /// it is; another is shut down first. A count of 0 leaves no team. True
    /// when the team has count threads (false when the system refused
    /// threads, count is above TmtThreadPool::maxNumberOfThreads(), or the
    /// sub-pool is closed).
    bool initPool(unsigned count);
    /// Runs fn(info) count times on the team, as described above; the
    /// number of runs started, which is count, or 0 for a null fn, a count
    /// below 1 or a closed sub-pool.
    int execute(TmtThreadProc fn, void* data, int count);
    /// Ends the team: every worker finishes its current run and ends, and is
    /// joined. Runs released but not started are dropped.
    void shutdownPool();

    /// Workers waiting for work now.
    int idleCount() const noexcept { return fIdle.value(); }

protected:
    /// The workers' loop; its data is the sub-pool.
    static void sThreadStagingProc(TmtThreadInfo* info);
    /// The workers' shutdown procedure: wakes every worker with no job, so
    /// that all of them end (without waiting for them).
    static void sShutdownThreadsProc(TmtThread* thread, void* subPool);

private:
    friend class TmtThreadPool;

    /// Closes every sub-pool with a team, ending the teams on pool, and
    /// refuses new teams until sReopenAll().
    static void sCloseAll(TmtThreadPool* pool);
    static void sReopenAll() noexcept;

    /// Ends the team on pool and leaves the list of sub-pools with a team;
    /// under fExecuteLock.
    void endTeam(TmtThreadPool* pool);
    /// Leaves the list of sub-pools with a team; under the list's lock.
    void unlistLocked() noexcept;
    void wakeAllToEnd() noexcept;

    TmtSemaphore fWake;
    /// Guards the team, the job and fClosed; held while a team ends. It
    /// always locks: the shutdown of the process pool comes from another
    /// thread.
    TmtCriticalSection fExecuteLock;
    TmtRefCounter fIdle;
    std::atomic<TmtThreadProc> fJob{nullptr};
    std::atomic<void*> fJobData{nullptr};
    /// The team's size, for the shutdown procedure, which runs on any thread.
    std::atomic<TuInt32> fTeamSize{0};
    bool fClosed = false;
    // Guarded by the list of sub-pools with a team: whether this one is in
    // it, and whether the pool's shutdown is ending its team now.
    bool fListed = false;
    bool fPinned = false;
};
