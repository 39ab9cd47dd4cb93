#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/time/TanimTime.h"

/// A length of animation time, in ticks; never negative (a negative length
/// is taken as 0).
class GRUNDEL_API Tduration {
public:
    constexpr Tduration() noexcept = default;
    explicit Tduration(TanimTime length) noexcept : fLength(length < TanimTime::zero ? TanimTime::zero : length) {}
    /// The time from start to end (0 when end is before start).
    Tduration(TanimTime start, TanimTime end) noexcept : Tduration(end - start) {}

    TanimTime length() const noexcept { return fLength; }
    float inSeconds() const noexcept { return fLength.inSeconds(); }
    bool isZero() const noexcept { return fLength == TanimTime::zero; }

    /// Sums saturate at TanimTime::maxTime.
    Tduration& operator+=(Tduration other) noexcept { return *this = Tduration(fLength + other.fLength); }
    friend Tduration operator+(Tduration a, Tduration b) noexcept { return a += b; }

    friend bool operator==(Tduration a, Tduration b) noexcept { return a.fLength == b.fLength; }
    friend bool operator!=(Tduration a, Tduration b) noexcept { return a.fLength != b.fLength; }
    friend bool operator<(Tduration a, Tduration b) noexcept { return a.fLength < b.fLength; }

private:
    TanimTime fLength;
};
