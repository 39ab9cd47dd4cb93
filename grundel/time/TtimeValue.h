#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/time/TanimTime.h"

/// A time that is either a TanimTime or a plain float; time 0 by default.
/// Either kind reads as the other: a float as seconds.
class GRUNDEL_API TtimeValue {
public:
    TtimeValue() noexcept : TtimeValue(TanimTime()) {}
    TtimeValue(TanimTime time) noexcept : fIsAnimTime(true) { fValue.fTicks = time.inTicks(); }
    explicit TtimeValue(float value) noexcept : fIsAnimTime(false) { fValue.fFloat = value; }

    bool isAnimTime() const noexcept { return fIsAnimTime; }
    bool isFloat() const noexcept { return !fIsAnimTime; }

    /// The time; a float is taken as seconds, rounded as
    /// TanimTime::setValue() rounds.
    TanimTime animTime() const noexcept {
        return fIsAnimTime ? TanimTime(fValue.fTicks) : TanimTime(double(fValue.fFloat), kTimeSeconds);
    }
    /// The float; a time gives its seconds (TanimTime::inSeconds()).
    float floatValue() const noexcept { return fIsAnimTime ? TanimTime(fValue.fTicks).inSeconds() : fValue.fFloat; }

    TtimeValue& set(TanimTime time) noexcept { return *this = TtimeValue(time); }
    TtimeValue& set(float value) noexcept { return *this = TtimeValue(value); }

    /// The same kind holding the same value.
    friend bool operator==(const TtimeValue& a, const TtimeValue& b) noexcept {
        if (a.fIsAnimTime != b.fIsAnimTime)
            return false;
        return a.fIsAnimTime ? a.fValue.fTicks == b.fValue.fTicks : a.fValue.fFloat == b.fValue.fFloat;
    }
    friend bool operator!=(const TtimeValue& a, const TtimeValue& b) noexcept { return !(a == b); }

private:
    union {
        Tint32 fTicks;
        float fFloat;
    } fValue;
    bool fIsAnimTime;
    // The tail padding, named so that equal values are equal byte for byte
    // (plain arrays compare their elements as bytes).
    [[maybe_unused]] TuInt8 fPadding[3] = {0, 0, 0};
};
