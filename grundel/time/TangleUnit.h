#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/time/TunitConversion.h"

class Ttrigger;

/// Angular units. The codes are stored and must not be renumbered.
enum TangleUnitSystem : int {
    kAngleRadians = 0,
    kAngleDegrees = 1,
    kAngleMinutes = 2, ///< minutes of arc
    kAngleSeconds = 3, ///< seconds of arc
};
/// The number of angular units; codes are 0 to kNumAngleUnits - 1.
constexpr int kNumAngleUnits = 4;

/// The process-wide angular units: the internal unit that angles are stored
/// in (radians by default) and the unit the user interface shows (degrees
/// by default), with the conversions between them.
///
/// Every operation is static; an object is only a handle on the shared
/// setting (TunitNames takes one). currentUnit() and ui() name the same
/// setting. The conversion table is built on first use and rebuilt when the
/// internal unit changes. Settings are changed on the application's main
/// thread; conversions may run anywhere while no setting changes.
///
/// Factors: radians to degrees, minutes and seconds of arc and degrees to
/// minutes (60) and seconds (3600) are the defining constants; each
/// opposite direction is 1 divided by its constant, in double.
class GRUNDEL_API TangleUnit {
public:
    /// True for the codes 0 to kNumAngleUnits - 1.
    static bool isValid(TangleUnitSystem unit) noexcept { return unit >= 0 && unit < kNumAngleUnits; }

    /// The user-interface unit.
    static TangleUnitSystem currentUnit() noexcept;
    /// Sets the user-interface unit; fires angularUnitChanged() when it
    /// changes. False (nothing changed) for an invalid code.
    [[nodiscard]] static bool setCurrentUnit(TangleUnitSystem unit);
    static TangleUnitSystem ui() noexcept { return currentUnit(); }
    [[nodiscard]] static bool setUI(TangleUnitSystem unit) { return setCurrentUnit(unit); }

    /// The unit angles are stored in.
    static TangleUnitSystem internal() noexcept;
    /// Sets the internal unit and rebuilds the table; fires
    /// angularUnitChanged() when it changes, since every value shown changes
    /// with it. False (nothing changed) for an invalid code.
    [[nodiscard]] static bool setInternal(TangleUnitSystem unit);

    /// The record of unit against the internal unit; the identity record
    /// for an invalid code.
    static const TunitConversion& conversion(TangleUnitSystem unit) noexcept;
    /// value in from, expressed in to (through the internal unit when
    /// neither is it); value itself for an invalid code.
    static double convert(double value, TangleUnitSystem from, TangleUnitSystem to) noexcept;

    /// An internal value in the user-interface unit.
    static double convertToCurrent(double internalValue) noexcept;
    /// A value in the user-interface unit in the internal unit.
    static double convertToDflt(double uiValue) noexcept;
    static double internalToUI(double value) noexcept { return convertToCurrent(value); }
    static double uiToInternal(double value) noexcept { return convertToDflt(value); }
    /// The float forms compute in double and round once.
    static float internalToUI(float value) noexcept { return static_cast<float>(convertToCurrent(value)); }
    static float uiToInternal(float value) noexcept { return static_cast<float>(convertToDflt(value)); }

    /// Fired on every change of the user-interface or the internal unit.
    /// Made on first use; its name is "angularUnitChanged".
    static Ttrigger& angularUnitChanged();
};
