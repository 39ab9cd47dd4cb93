#pragma once

#include "grundel/core/Tapi.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>

/// A reusable barrier for a fixed number of threads.
///
/// Threads call enter(); each waits until count threads have entered, then
/// all go on together and the barrier is ready for the next round (a
/// generation). It always waits, whether worker threads run or not.
class GRUNDEL_API TmtBarrier {
public:
    /// count: threads per round; values below 1 are taken as 1.
    explicit TmtBarrier(long count) noexcept;
    TmtBarrier(const TmtBarrier&) = delete;
    TmtBarrier& operator=(const TmtBarrier&) = delete;

    /// Waits for the round to fill. True for the one thread that filled it,
    /// false for the others (and for threads let go by releaseAll or reset).
    bool enter();
    /// Lets every waiting thread go without filling the round and starts a
    /// new one; false when no thread was waiting.
    bool releaseAll();
    /// Lets every waiting thread go, as releaseAll, and makes later rounds
    /// count threads (below 1: 1).
    void reset(long count);

    long count() const noexcept;
    /// Threads waiting in the current round.
    long arrived() const noexcept;
    /// Rounds completed or released so far.
    std::uint32_t generation() const noexcept;

private:
    void startNextRound() noexcept;

    mutable std::mutex fMutex;
    std::condition_variable fRoundEnded;
    long fCount;
    long fArrived = 0;
    std::uint32_t fGeneration = 0;
};
