#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"
#include "grundel/time/TangleUnit.h"
#include "grundel/time/TtimeUnit.h"
#include "grundel/time/TtimeUnitSystem.h"
#include "grundel/time/Tunit.h"

/// English display names of the time, linear and angular units, long
/// ("24 frames per second", "centimeters", "degrees") and short ("24 fps",
/// "cm", "deg"). The names live in the library's numbered string table
/// (TstringTable), where an application may replace them; they are entered
/// at static initialisation unless an entry of that number exists already.
///
/// Numbers in the string table:
/// - time units 0 to 10, long: 272 to 282; 11 to 41, long: 284 to 314
/// - time units 0 to 41, short: 320 + code (320 to 361)
/// - the user-defined rate (43): long 362, short 363
/// - linear units, long: 370 + code; short: 380 + code
/// - angular units, long: 390 + code; short: 394 + code
/// The end marker (42) and codes out of range have no name.
///
/// Lookups are case-insensitive and take the long or the short name.
class GRUNDEL_API TunitNames {
public:
    virtual ~TunitNames();

    /// The string-table number of a unit's long (short) name; -1 when the
    /// code has none.
    static int longNameId(TtimeUnitSystem unit) noexcept;
    static int shortNameId(TtimeUnitSystem unit) noexcept;
    static int longNameId(Tunit::TunitSystem unit) noexcept;
    static int shortNameId(Tunit::TunitSystem unit) noexcept;
    static int longNameId(TangleUnitSystem unit) noexcept;
    static int shortNameId(TangleUnitSystem unit) noexcept;

    /// Sets name to the unit's long (short) name. False, with name emptied,
    /// for a code without a name.
    static bool setToLongName(Tstring& name, TtimeUnitSystem unit);
    static bool setToShortName(Tstring& name, TtimeUnitSystem unit);
    static bool setToLongName(Tstring& name, Tunit::TunitSystem unit);
    static bool setToShortName(Tstring& name, Tunit::TunitSystem unit);
    static bool setToLongName(Tstring& name, TangleUnitSystem unit);
    static bool setToShortName(Tstring& name, TangleUnitSystem unit);
    /// The names of a unit class's current (user-interface) unit.
    static bool setToLongName(Tstring& name, const TtimeUnit&) { return setToLongName(name, TtimeUnit::currentUnit()); }
    static bool setToShortName(Tstring& name, const TtimeUnit&) { return setToShortName(name, TtimeUnit::currentUnit()); }
    static bool setToLongName(Tstring& name, const Tunit&) { return setToLongName(name, Tunit::currentUnit()); }
    static bool setToShortName(Tstring& name, const Tunit&) { return setToShortName(name, Tunit::currentUnit()); }
    static bool setToLongName(Tstring& name, const TangleUnit&) { return setToLongName(name, TangleUnit::currentUnit()); }
    static bool setToShortName(Tstring& name, const TangleUnit&) { return setToShortName(name, TangleUnit::currentUnit()); }

    /// Sets unit to the unit named name. False, with unit unchanged, when
    /// no unit has that name.
    [[nodiscard]] static bool setFromName(const Tstring& name, TtimeUnitSystem& unit);
    [[nodiscard]] static bool setFromName(const Tstring& name, Tunit::TunitSystem& unit);
    [[nodiscard]] static bool setFromName(const Tstring& name, TangleUnitSystem& unit);
    /// Makes the unit named name the class's current unit (which fires its
    /// trigger when it changes). False, with nothing changed, when no unit
    /// has that name.
    [[nodiscard]] static bool setFromName(const Tstring& name, TtimeUnit& unit);
    [[nodiscard]] static bool setFromName(const Tstring& name, Tunit& unit);
    [[nodiscard]] static bool setFromName(const Tstring& name, TangleUnit& unit);
};
