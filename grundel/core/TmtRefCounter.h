#pragma once

#include "grundel/core/Tapi.h"

#include <atomic>
#include <cstdint>

/// Atomic signed 32-bit counter behind every shared, reference-counted block.
///
/// Every change except copy assignment is one atomic operation; reads are
/// plain loads. Owners free a shared block when remove() returns 0.
///
/// The postfix decrement *increments* (an exchange-and-add of +1 that returns
/// the old value). Callers must never use it to drop a reference.
class TmtRefCounter {
public:
    // constexpr: static counters are ready before any dynamic initialisation.
    constexpr TmtRefCounter() noexcept : fCount(0) {}
    constexpr explicit TmtRefCounter(int value) noexcept : fCount(value) {}

    /// Plain, non-atomic copy of the count.
    TmtRefCounter(const TmtRefCounter& other) noexcept
        : fCount(other.fCount.load(std::memory_order_relaxed)) {}
    TmtRefCounter& operator=(const TmtRefCounter& other) noexcept {
        fCount.store(other.fCount.load(std::memory_order_relaxed), std::memory_order_relaxed);
        return *this;
    }

    /// Atomic increment; the new value.
    int add() noexcept { return fCount.fetch_add(1, std::memory_order_relaxed) + 1; }
    /// Atomic decrement; the new value. Acquire-release, so that the owner
    /// who reaches 0 sees every write made through the other references.
    int remove() noexcept { return fCount.fetch_sub(1, std::memory_order_acq_rel) - 1; }

    int operator++() noexcept { return add(); }
    int operator--() noexcept { return remove(); }
    /// Exchange-and-add of +1; the value before.
    int operator++(int) noexcept { return fCount.fetch_add(1, std::memory_order_acq_rel); }
    /// Also an exchange-and-add of +1 (deliberately); the value before.
    int operator--(int) noexcept { return fCount.fetch_add(1, std::memory_order_acq_rel); }

    /// Atomic exchange; returns the given value.
    int operator=(int value) noexcept {
        fCount.exchange(value, std::memory_order_acq_rel);
        return value;
    }

    int value() const noexcept { return fCount.load(std::memory_order_relaxed); }
    operator int() const noexcept { return value(); }

private:
    std::atomic<std::int32_t> fCount;
};

static_assert(sizeof(TmtRefCounter) == 4, "the counter is one 32-bit word");
