#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/time/TunitConversion.h"

class Ttrigger;

/// The process-wide linear units: the internal unit that lengths are stored
/// in and the unit the user interface shows (both centimeters by default),
/// with the conversions between them.
///
/// Every operation is static; an object is only a handle on the shared
/// setting (TunitNames takes one). currentUnit() and ui() name the same
/// setting. The conversion table is built on first use and rebuilt when the
/// internal unit changes. Settings are changed on the application's main
/// thread; conversions may run anywhere while no setting changes.
///
/// Factors: 1 inch = 2.54 cm, 1 foot = 12 inches, 1 yard = 36 inches,
/// 1 mile = 63360 inches. A factor whose exact value is a finite decimal
/// (inches to centimeters: 2.54) is that decimal, correctly rounded; the
/// other direction (centimeters to inches) is 1 divided by it, in double.
class GRUNDEL_API Tunit {
public:
    /// Linear units. The codes are stored and must not be renumbered.
    enum TunitSystem : int {
        kInch = 0,
        kFoot = 1,
        kYard = 2,
        kMile = 3,
        kMillimeter = 4,
        kCentimeter = 5,
        kKilometer = 6,
        kMeter = 7,
    };
    /// The number of linear units; codes are 0 to kNumUnits - 1.
    static constexpr int kNumUnits = 8;

    /// True for the codes 0 to kNumUnits - 1.
    static bool isValid(TunitSystem unit) noexcept { return unit >= 0 && unit < kNumUnits; }

    /// The user-interface unit.
    static TunitSystem currentUnit() noexcept;
    /// Sets the user-interface unit; fires linearUnitChanged() when it
    /// changes. False (nothing changed) for an invalid code.
    [[nodiscard]] static bool setCurrentUnit(TunitSystem unit);
    static TunitSystem ui() noexcept { return currentUnit(); }
    [[nodiscard]] static bool setUI(TunitSystem unit) { return setCurrentUnit(unit); }

    /// The unit lengths are stored in.
    static TunitSystem internal() noexcept;
    /// Sets the internal unit and rebuilds the table; fires
    /// linearUnitChanged() when it changes, since every value shown changes
    /// with it. False (nothing changed) for an invalid code.
    [[nodiscard]] static bool setInternal(TunitSystem unit);

    /// The record of unit against the internal unit; the identity record
    /// for an invalid code.
    static const TunitConversion& conversion(TunitSystem unit) noexcept;
    /// value in from, expressed in to (through the internal unit when
    /// neither is it); value itself for an invalid code.
    static double convert(double value, TunitSystem from, TunitSystem to) noexcept;

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
    /// Made on first use; its name is "linearUnitChanged".
    static Ttrigger& linearUnitChanged();
};
