#pragma once

// The system side of a TmtThread: its pthread handle, the gate that holds a
// new thread until the pool has registered it, and the bookkeeping of how
// the thread ended.

#include "grundel/threads/TmtThread.h"
#include "grundel/threads/TmtSync_p.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <pthread.h>

namespace grundel::detail {

struct TmtThreadControl {
    explicit TmtThreadControl(bool spawned) noexcept : spawned(spawned), life(spawned ? 2 : 1) {}

    /// Whether a system thread of ours runs the function (not for the main
    /// thread's record).
    const bool spawned;

    /// Guards the handle.
    std::mutex lock;
    pthread_t handle{};
    /// The handle may be cancelled, detached or joined: none of that has
    /// been done to it yet.
    bool handleOpen = false;

    /// Guards the shutdown procedure and is held while it runs, so that
    /// replacing it waits for a call in progress. Recursive: a procedure
    /// may replace itself.
    std::recursive_mutex procLock;
    TmtShutdownProc shutdownProc = nullptr;
    void* shutdownData = nullptr;

    /// Start gate: 1 once the thread has published its id, 2 once it may run.
    std::mutex gateLock;
    std::condition_variable gateMoved;
    int gateStage = 0;

    /// Set when the thread is done with its function and the object.
    TmtEvent ended{true};
    /// Taken by whichever settles the thread's end first: the thread
    /// returning from its function, or terminate.
    std::atomic<bool> endSettled{false};
    /// Holds on the object: the references (until their count reaches 0)
    /// and the running thread.
    std::atomic<int> life;
};

} // namespace grundel::detail
