#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/time/TanimTime.h"
#include "grundel/time/Tduration.h"

/// A closed interval of animation time [start, end], start <= end; by
/// default the single instant 0.
class GRUNDEL_API TtimeRange {
public:
    constexpr TtimeRange() noexcept = default;
    /// The interval between a and b, in either order.
    TtimeRange(TanimTime a, TanimTime b) noexcept : fStart(a < b ? a : b), fEnd(a < b ? b : a) {}

    TanimTime start() const noexcept { return fStart; }
    TanimTime end() const noexcept { return fEnd; }
    Tduration duration() const noexcept { return Tduration(fStart, fEnd); }

    bool contains(TanimTime t) const noexcept { return fStart <= t && t <= fEnd; }
    bool intersects(const TtimeRange& other) const noexcept { return fStart <= other.fEnd && other.fStart <= fEnd; }
    /// t limited to the interval.
    TanimTime clamp(TanimTime t) const noexcept { return t.clamp(fStart, fEnd); }
    /// Grows the interval to take in other.
    TtimeRange& uniteIt(const TtimeRange& other) noexcept {
        fStart = other.fStart < fStart ? other.fStart : fStart;
        fEnd = fEnd < other.fEnd ? other.fEnd : fEnd;
        return *this;
    }
    TtimeRange unite(const TtimeRange& other) const noexcept { return TtimeRange(*this).uniteIt(other); }

    friend bool operator==(const TtimeRange& a, const TtimeRange& b) noexcept {
        return a.fStart == b.fStart && a.fEnd == b.fEnd;
    }
    friend bool operator!=(const TtimeRange& a, const TtimeRange& b) noexcept { return !(a == b); }

private:
    TanimTime fStart;
    TanimTime fEnd;
};
