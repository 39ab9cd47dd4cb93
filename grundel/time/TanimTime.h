#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"
#include "grundel/core/Ttypes.h"
#include "grundel/time/TtimeUnitSystem.h"


class TdebugOutput;
class TfootprintInfo;
class Tint32Array;

/// Animation time: a signed whole number of ticks, 6000 to the second, so
/// that every supported frame rate is a whole number of ticks; 0 by default.
///
/// Results beyond the 32-bit range saturate at minTime and maxTime: setting
/// from a value, and + - * / (a quotient by a zero time or by 0.0 gives
/// maxTime or minTime by the sign of the dividend, 0 for 0 / 0). NaN sets 0.
///
/// Class-wide settings (the current time unit, the user-defined rate) are
/// changed on the application's main thread; reading them is safe anywhere.
class GRUNDEL_API TanimTime {
public:
    static constexpr Tint32 kTicksPerSecond = 6000;

    static const TanimTime zero;      ///< 0 ticks
    static const TanimTime oneSecond; ///< 6000 ticks
    static const TanimTime minTime;   ///< -2147483648 ticks
    static const TanimTime maxTime;   ///< 2147483647 ticks

    constexpr TanimTime() noexcept : fTicks(0) {}
    /// Leaves the tick count undefined.
    explicit TanimTime(TnoInit) noexcept {}
    constexpr explicit TanimTime(Tint32 ticks) noexcept : fTicks(ticks) {}
    /// value in unit, as setValue() sets it.
    TanimTime(double value, TtimeUnitSystem unit) noexcept { setValue(value, unit); }

    constexpr Tint32 inTicks() const noexcept { return fTicks; }
    /// Seconds, computed in single precision: ticks x (1/6000).
    float inSeconds() const noexcept { return static_cast<float>(fTicks) * (1.0f / 6000.0f); }

    /// Sets value in unit: value x ticks per unit, rounded to the nearest
    /// tick with halves to even. The user-defined rate (43) uses
    /// timeConvert(); the end marker (42) gives 0; other codes (negative or
    /// above 43) take value as ticks.
    TanimTime& setValue(double value, TtimeUnitSystem unit) noexcept {
        fTicks = roundToTicks(value * ticksPerUnit(unit));
        return *this;
    }

    /// Ticks per unit of any code: the user-defined rate's timeConvert(), 0
    /// for the end marker, 1 for codes outside 0 to 43.
    static double ticksPerUnit(TtimeUnitSystem unit) noexcept {
        if (static_cast<unsigned>(unit) < unsigned(kNumTimeUnits))
            return grundel::detail::kTimeConversions[unit].fToInternal;
        return ticksPerOtherUnit(unit);
    }

    /// The time in unit: ticks x the stored reciprocal of the unit's tick
    /// count. The user-defined rate (43) gives ticks / timeConvert(); the end
    /// marker (42) gives 0; other codes give the tick count.
    double valueInThisUnit(TtimeUnitSystem unit) const noexcept {
        if (static_cast<unsigned>(unit) < unsigned(kNumTimeUnits))
            return fTicks * grundel::detail::kTimeConversions[unit].fFromInternal;
        return valueInOtherUnit(unit);
    }

    /// value in from, expressed in to, through a whole number of ticks (so
    /// 1/7 second in seconds does not come back as exactly 1/7).
    static double convertFromUnitToUnit(double value, TtimeUnitSystem from, TtimeUnitSystem to) noexcept {
        return TanimTime(value, from).valueInThisUnit(to);
    }

    /// Splits the time into hours, minutes, seconds and a last field, all of
    /// the time's sign: frames in the global current unit when that is a
    /// frame rate (4 to 41, 43), rounded to nearest with halves to even and
    /// carried into the seconds when they reach a whole second; otherwise
    /// hundredths of a second, truncated. out is replaced.
    void getValueInSmpteUnit(Tint32Array& out) const;
    /// The split as text: each field's magnitude in decimal, at least two
    /// digits, joined by ":", with one leading "-" when a field is negative:
    /// "01:02:03:04".
    Tstring valueInSmpteUnit() const;
    /// The inverse of getValueInSmpteUnit() in the global current unit: four
    /// fields of one sign, minutes and seconds below 60, the last below the
    /// frame rate (or 100), the total within range. False (time unchanged)
    /// otherwise.
    [[nodiscard]] bool setValueFromSmpteUnit(const Tint32Array& fields) noexcept;
    /// The inverse of valueInSmpteUnit(): exactly the text it writes, and
    /// nothing else (no spaces, no "+", no superfluous leading zero, no "-"
    /// before an all-zero time). False (time unchanged) otherwise.
    [[nodiscard]] bool setValueFromSmpteUnit(const Tstring& text) noexcept;

    /// Limits the time to [min, max] (to min when min > max).
    TanimTime& clamp(TanimTime min, TanimTime max) noexcept {
        if (fTicks > max.fTicks)
            fTicks = max.fTicks;
        if (fTicks < min.fTicks)
            fTicks = min.fTicks;
        return *this;
    }

    TanimTime& operator+=(TanimTime other) noexcept { return *this = *this + other; }
    TanimTime& operator-=(TanimTime other) noexcept { return *this = *this - other; }
    TanimTime& operator*=(TanimTime other) noexcept { return *this = *this * other; }
    TanimTime& operator/=(TanimTime other) noexcept { return *this = *this / other; }
    TanimTime& operator*=(double factor) noexcept { return *this = *this * factor; }
    TanimTime& operator/=(double divisor) noexcept { return *this = *this / divisor; }

    friend TanimTime operator+(TanimTime a, TanimTime b) noexcept { return saturate(Tint64(a.fTicks) + b.fTicks); }
    friend TanimTime operator-(TanimTime a, TanimTime b) noexcept { return saturate(Tint64(a.fTicks) - b.fTicks); }
    friend TanimTime operator*(TanimTime a, TanimTime b) noexcept { return saturate(Tint64(a.fTicks) * b.fTicks); }
    /// The whole quotient of the tick counts, truncated toward zero.
    friend TanimTime operator/(TanimTime a, TanimTime b) noexcept {
        if (b.fTicks == 0)
            return TanimTime(a.fTicks > 0 ? kMax : a.fTicks < 0 ? kMin : 0);
        return saturate(Tint64(a.fTicks) / b.fTicks);
    }
    /// Ticks x factor, rounded as setValue() rounds.
    friend TanimTime operator*(TanimTime a, double factor) noexcept { return TanimTime(roundToTicks(a.fTicks * factor)); }
    friend TanimTime operator*(double factor, TanimTime a) noexcept { return a * factor; }
    friend TanimTime operator/(TanimTime a, double divisor) noexcept { return TanimTime(roundToTicks(a.fTicks / divisor)); }
    friend TanimTime operator-(TanimTime a) noexcept { return saturate(-Tint64(a.fTicks)); }

    friend bool operator==(TanimTime a, TanimTime b) noexcept { return a.fTicks == b.fTicks; }
    friend bool operator!=(TanimTime a, TanimTime b) noexcept { return a.fTicks != b.fTicks; }
    friend bool operator<(TanimTime a, TanimTime b) noexcept { return a.fTicks < b.fTicks; }
    friend bool operator>(TanimTime a, TanimTime b) noexcept { return a.fTicks > b.fTicks; }
    friend bool operator<=(TanimTime a, TanimTime b) noexcept { return a.fTicks <= b.fTicks; }
    friend bool operator>=(TanimTime a, TanimTime b) noexcept { return a.fTicks >= b.fTicks; }

    /// The global current time unit (default 5, 24 frames per second); the
    /// same setting as TtimeUnit::currentUnit().
    static TtimeUnitSystem globalCurrentTimeUnit() noexcept;
    /// Sets the global current unit, firing TtimeUnit::timeUnitChanged()
    /// when it changes. False (nothing changed) for 42 or a code outside 0
    /// to 43.
    [[nodiscard]] static bool setGlobalCurrentTimeUnit(TtimeUnitSystem unit);
    /// Ticks per unit of the user-defined rate (43); default 250.
    static double timeConvert() noexcept;
    /// Sets the user-defined rate, firing TtimeUnit::timeUnitChanged() when
    /// it changes while it is the current unit. False (nothing changed)
    /// unless ticksPerUnit is positive and finite.
    [[nodiscard]] static bool setTimeConvert(double ticksPerUnit);

    /// Writes the tick count and its value in the current unit as one line,
    /// after label (may be null).
    void debug(TdebugOutput& out, const char* label = nullptr) const;
    /// debug() to standard error.
    void debugMe() const;
    /// Enters the class in the footprint report (which keeps no register of
    /// value classes: nothing to do, present for the report's callers).
    static void _fsRegister() noexcept {}
    /// Reports the object's own bytes; it holds nothing else.
    void _getFootprint(TfootprintInfo& info) const;

    /// A tick count rounded from value: halves to even, saturated, NaN to 0.
    static Tint32 roundToTicks(double value) noexcept {
        // Branch-free so that loops over arrays vectorise. Adding 1.5 x 2^52
        // leaves no fraction bits, so the addition rounds in the default mode
        // (halves to even) for any |value| up to 2^51.
        constexpr double kRound = 6755399441055744.0;
        value = value == value ? value : 0.0;
        value = value < 2147483647.0 ? value : 2147483647.0;
        value = value > -2147483648.0 ? value : -2147483648.0;
        return static_cast<Tint32>((value + kRound) - kRound);
    }

private:
    static constexpr Tint32 kMax = 2147483647;
    static constexpr Tint32 kMin = -2147483647 - 1;

    static TanimTime saturate(Tint64 ticks) noexcept {
        return TanimTime(ticks > kMax ? kMax : ticks < kMin ? kMin : static_cast<Tint32>(ticks));
    }
    static double ticksPerOtherUnit(TtimeUnitSystem unit) noexcept;
    double valueInOtherUnit(TtimeUnitSystem unit) const noexcept;

    Tint32 fTicks;
};

inline constexpr TanimTime TanimTime::zero{0};
inline constexpr TanimTime TanimTime::oneSecond{6000};
inline constexpr TanimTime TanimTime::minTime{-2147483647 - 1};
inline constexpr TanimTime TanimTime::maxTime{2147483647};
