#include "grundel/threads/TmtBarrier.h"

namespace {
long atLeastOne(long count) noexcept { return count < 1 ? 1 : count; }
} // namespace

TmtBarrier::TmtBarrier(long count) noexcept : fCount(atLeastOne(count)) {}

bool TmtBarrier::enter() {
    std::unique_lock<std::mutex> lock(fMutex);
    if (++fArrived >= fCount) {
        startNextRound();
        return true;
    }
    // Leave the round if cancelled while waiting, so it still fills.
    struct Arrival {
        TmtBarrier& barrier;
        std::uint32_t generation;
        ~Arrival() {
            if (barrier.fGeneration == generation)
                --barrier.fArrived;
        }
    } arrival{*this, fGeneration};
    while (fGeneration == arrival.generation)
        fRoundEnded.wait(lock);
    return false;
}

bool TmtBarrier::releaseAll() {
    std::lock_guard<std::mutex> lock(fMutex);
    const bool anyWaiting = fArrived > 0;
    startNextRound();
    return anyWaiting;
}

void TmtBarrier::reset(long count) {
    std::lock_guard<std::mutex> lock(fMutex);
    fCount = atLeastOne(count);
    startNextRound();
}

long TmtBarrier::count() const noexcept {
    std::lock_guard<std::mutex> lock(fMutex);
    return fCount;
}

long TmtBarrier::arrived() const noexcept {
    std::lock_guard<std::mutex> lock(fMutex);
    return fArrived;
}

std::uint32_t TmtBarrier::generation() const noexcept {
    std::lock_guard<std::mutex> lock(fMutex);
    return fGeneration;
}

void TmtBarrier::startNextRound() noexcept {
    ++fGeneration;
    fArrived = 0;
    fRoundEnded.notify_all();
}
