#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/time/TanimTime.h"
#include "grundel/time/TtimeUnitSystem.h"
#include "grundel/time/TunitConversion.h"

class Ttrigger;

/// The process-wide time unit of the user interface; the internal unit is
/// always the tick (code 41). The current unit is TanimTime's global
/// current unit: currentUnit(), ui() and TanimTime::globalCurrentTimeUnit()
/// name one setting.
///
/// Every operation is static; an object is only a handle on the shared
/// setting (TunitNames takes one). The setting is changed on the
/// application's main thread.
class GRUNDEL_API TtimeUnit {
public:
    /// True for the codes that may be current: 0 to 41 and 43.
    static bool isValid(TtimeUnitSystem unit) noexcept {
        return (unit >= 0 && unit < kNumTimeUnits) || unit == kTimeUserRate;
    }

    static TtimeUnitSystem currentUnit() noexcept { return TanimTime::globalCurrentTimeUnit(); }
    /// Sets the current unit; fires timeUnitChanged() when it changes. False
    /// (nothing changed) for a code that isValid() refuses.
    [[nodiscard]] static bool setCurrentUnit(TtimeUnitSystem unit) { return TanimTime::setGlobalCurrentTimeUnit(unit); }
    static TtimeUnitSystem ui() noexcept { return currentUnit(); }
    [[nodiscard]] static bool setUI(TtimeUnitSystem unit) { return setCurrentUnit(unit); }
    /// The tick.
    static TtimeUnitSystem internal() noexcept { return kTime6000fps; }

    /// The record of unit against the tick: the reciprocal of its tick count
    /// and the count. The user-defined rate follows TanimTime::timeConvert();
    /// the end marker gives {0, 0}; other codes {1, 1} (plain ticks).
    static TunitConversion conversion(TtimeUnitSystem unit) noexcept;

    /// ticks in the current unit.
    static double internalToUI(Tint32 ticks) noexcept { return TanimTime(ticks).valueInThisUnit(currentUnit()); }
    /// A value in the current unit in ticks, rounded as TanimTime::setValue()
    /// rounds.
    static Tint32 uiToInternal(double value) noexcept { return TanimTime(value, currentUnit()).inTicks(); }

    /// Fired on every change of the current unit (and of the user-defined
    /// rate while it is current). Made on first use; its name is
    /// "timeUnitChanged".
    static Ttrigger& timeUnitChanged();
};
