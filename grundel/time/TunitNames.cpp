#include "grundel/time/TunitNames.h"

#include "grundel/core/TstringId.h"

#include <strings.h>

namespace {

constexpr const char* kTimeLong[kNumTimeUnits] = {
    "hours",
    "minutes",
    "seconds",
    "milliseconds",
    "15 frames per second",
    "24 frames per second",
    "25 frames per second",
    "30 frames per second",
    "48 frames per second",
    "50 frames per second",
    "60 frames per second",
    "2 frames per second",
    "3 frames per second",
    "4 frames per second",
    "5 frames per second",
    "6 frames per second",
    "8 frames per second",
    "10 frames per second",
    "12 frames per second",
    "16 frames per second",
    "20 frames per second",
    "40 frames per second",
    "75 frames per second",
    "80 frames per second",
    "100 frames per second",
    "120 frames per second",
    "125 frames per second",
    "150 frames per second",
    "200 frames per second",
    "240 frames per second",
    "250 frames per second",
    "300 frames per second",
    "375 frames per second",
    "400 frames per second",
    "500 frames per second",
    "600 frames per second",
    "750 frames per second",
    "1200 frames per second",
    "1500 frames per second",
    "2000 frames per second",
    "3000 frames per second",
    "6000 frames per second",
};

constexpr const char* kTimeShort[kNumTimeUnits] = {
    "h",       "min",     "s",       "ms",      "15 fps",   "24 fps",   "25 fps",   "30 fps",   "48 fps",
    "50 fps",  "60 fps",  "2 fps",   "3 fps",   "4 fps",    "5 fps",    "6 fps",    "8 fps",    "10 fps",
    "12 fps",  "16 fps",  "20 fps",  "40 fps",  "75 fps",   "80 fps",   "100 fps",  "120 fps",  "125 fps",
    "150 fps", "200 fps", "240 fps", "250 fps", "300 fps",  "375 fps",  "400 fps",  "500 fps",  "600 fps",
    "750 fps", "1200 fps", "1500 fps", "2000 fps", "3000 fps", "6000 fps",
};

constexpr const char* kUserRateLong = "user-defined rate";
constexpr const char* kUserRateShort = "user rate";

constexpr const char* kLinearLong[Tunit::kNumUnits] = {"inches",      "feet",        "yards",      "miles",
                                                       "millimeters", "centimeters", "kilometers", "meters"};
constexpr const char* kLinearShort[Tunit::kNumUnits] = {"in", "ft", "yd", "mi", "mm", "cm", "km", "m"};

constexpr const char* kAngleLong[kNumAngleUnits] = {"radians", "degrees", "minutes of arc", "seconds of arc"};
constexpr const char* kAngleShort[kNumAngleUnits] = {"rad", "deg", "arcmin", "arcsec"};

constexpr int kTimeShortBase = 320;
constexpr int kUserRateLongId = 362;
constexpr int kUserRateShortId = 363;
constexpr int kLinearLongBase = 370;
constexpr int kLinearShortBase = 380;
constexpr int kAngleLongBase = 390;
constexpr int kAngleShortBase = 394;

// Enters a name unless the application has entered one of that number.
void enter(int id, const char* text) {
    Tstring existing;
    if (!TstringTable::lookup(id, existing))
        TstringTable::set(id, text);
}

void enterNames() {
    for (int u = 0; u < kNumTimeUnits; ++u) {
        enter(TunitNames::longNameId(TtimeUnitSystem(u)), kTimeLong[u]);
        enter(TunitNames::shortNameId(TtimeUnitSystem(u)), kTimeShort[u]);
    }
    enter(kUserRateLongId, kUserRateLong);
    enter(kUserRateShortId, kUserRateShort);
    for (int u = 0; u < Tunit::kNumUnits; ++u) {
        enter(kLinearLongBase + u, kLinearLong[u]);
        enter(kLinearShortBase + u, kLinearShort[u]);
    }
    for (int u = 0; u < kNumAngleUnits; ++u) {
        enter(kAngleLongBase + u, kAngleLong[u]);
        enter(kAngleShortBase + u, kAngleShort[u]);
    }
}

// Once, at static initialisation or at the first lookup, whichever comes
// first (a static library may not run this file's initialisers).
void ensureNames() {
    static const bool entered = (enterNames(), true);
    (void)entered;
}

const bool kEnteredAtStart = (ensureNames(), true);

bool setName(Tstring& name, int id) {
    ensureNames();
    if (id < 0) {
        name.clear();
        return false;
    }
    return TstringTable::lookup(id, name);
}

// The code in [0, count) whose long or short name is name, or -1. Codes
// without a name (longId gives -1) are passed over.
template <class Unit>
int findName(const Tstring& name, int count) {
    ensureNames();
    Tstring candidate;
    for (int u = 0; u < count; ++u) {
        for (int id : {TunitNames::longNameId(Unit(u)), TunitNames::shortNameId(Unit(u))}) {
            if (id >= 0 && TstringTable::lookup(id, candidate) && !candidate.isEmpty() &&
                candidate.length() == name.length() && strcasecmp(candidate.asC(), name.asC()) == 0)
                return u;
        }
    }
    return -1;
}

} // namespace

TunitNames::~TunitNames() = default;

int TunitNames::longNameId(TtimeUnitSystem unit) noexcept {
    if (unit >= 0 && unit <= kTime60fps)
        return 272 + unit;
    if (unit > kTime60fps && unit < kNumTimeUnits)
        return 273 + unit;
    return unit == kTimeUserRate ? kUserRateLongId : -1;
}

int TunitNames::shortNameId(TtimeUnitSystem unit) noexcept {
    if (unit >= 0 && unit < kNumTimeUnits)
        return kTimeShortBase + unit;
    return unit == kTimeUserRate ? kUserRateShortId : -1;
}

int TunitNames::longNameId(Tunit::TunitSystem unit) noexcept {
    return Tunit::isValid(unit) ? kLinearLongBase + unit : -1;
}

int TunitNames::shortNameId(Tunit::TunitSystem unit) noexcept {
    return Tunit::isValid(unit) ? kLinearShortBase + unit : -1;
}

int TunitNames::longNameId(TangleUnitSystem unit) noexcept {
    return TangleUnit::isValid(unit) ? kAngleLongBase + unit : -1;
}

int TunitNames::shortNameId(TangleUnitSystem unit) noexcept {
    return TangleUnit::isValid(unit) ? kAngleShortBase + unit : -1;
}

bool TunitNames::setToLongName(Tstring& name, TtimeUnitSystem unit) { return setName(name, longNameId(unit)); }
bool TunitNames::setToShortName(Tstring& name, TtimeUnitSystem unit) { return setName(name, shortNameId(unit)); }
bool TunitNames::setToLongName(Tstring& name, Tunit::TunitSystem unit) { return setName(name, longNameId(unit)); }
bool TunitNames::setToShortName(Tstring& name, Tunit::TunitSystem unit) { return setName(name, shortNameId(unit)); }
bool TunitNames::setToLongName(Tstring& name, TangleUnitSystem unit) { return setName(name, longNameId(unit)); }
bool TunitNames::setToShortName(Tstring& name, TangleUnitSystem unit) { return setName(name, shortNameId(unit)); }

bool TunitNames::setFromName(const Tstring& name, TtimeUnitSystem& unit) {
    const int found = findName<TtimeUnitSystem>(name, kTimeUserRate + 1);
    if (found < 0)
        return false;
    unit = TtimeUnitSystem(found);
    return true;
}

bool TunitNames::setFromName(const Tstring& name, Tunit::TunitSystem& unit) {
    const int found = findName<Tunit::TunitSystem>(name, Tunit::kNumUnits);
    if (found < 0)
        return false;
    unit = Tunit::TunitSystem(found);
    return true;
}

bool TunitNames::setFromName(const Tstring& name, TangleUnitSystem& unit) {
    const int found = findName<TangleUnitSystem>(name, kNumAngleUnits);
    if (found < 0)
        return false;
    unit = TangleUnitSystem(found);
    return true;
}

bool TunitNames::setFromName(const Tstring& name, TtimeUnit&) {
    TtimeUnitSystem unit;
    return setFromName(name, unit) && TtimeUnit::setCurrentUnit(unit);
}

bool TunitNames::setFromName(const Tstring& name, Tunit&) {
    Tunit::TunitSystem unit;
    return setFromName(name, unit) && Tunit::setCurrentUnit(unit);
}

bool TunitNames::setFromName(const Tstring& name, TangleUnit&) {
    TangleUnitSystem unit;
    return setFromName(name, unit) && TangleUnit::setCurrentUnit(unit);
}
