#include "grundel/time/TangleUnit.h"

#include "grundel/object/Ttrigger.h"
#include "grundel/time/TunitSetting_p.h"

namespace {

// The defining factors, from the larger unit to the smaller: kDefining[a][b]
// for a < b.
constexpr double kDefining[kNumAngleUnits][kNumAngleUnits] = {
    {1.0, 57.29577951308232, 3437.74677078494, 206264.8062470964},
    {0.0, 1.0, 60.0, 3600.0},
    {0.0, 0.0, 1.0, 60.0},
    {0.0, 0.0, 0.0, 1.0},
};

double angleFactor(int from, int to) noexcept {
    if (from <= to)
        return kDefining[from][to];
    return 1.0 / kDefining[to][from];
}

Ttrigger& makeTrigger() { return TangleUnit::angularUnitChanged(); }

// The setting and its conversion table, built on first use.
grundel::detail::TunitSetting<kNumAngleUnits>& gUnitConversions() {
    static grundel::detail::TunitSetting<kNumAngleUnits> setting(kAngleRadians, kAngleDegrees, &angleFactor,
                                                                 &makeTrigger);
    return setting;
}

} // namespace

TangleUnitSystem TangleUnit::currentUnit() noexcept { return TangleUnitSystem(gUnitConversions().ui()); }

bool TangleUnit::setCurrentUnit(TangleUnitSystem unit) { return gUnitConversions().setUi(unit); }

TangleUnitSystem TangleUnit::internal() noexcept { return TangleUnitSystem(gUnitConversions().internal()); }

bool TangleUnit::setInternal(TangleUnitSystem unit) { return gUnitConversions().setInternal(unit); }

const TunitConversion& TangleUnit::conversion(TangleUnitSystem unit) noexcept {
    return gUnitConversions().record(unit);
}

double TangleUnit::convert(double value, TangleUnitSystem from, TangleUnitSystem to) noexcept {
    return gUnitConversions().convert(value, from, to);
}

double TangleUnit::convertToCurrent(double internalValue) noexcept {
    auto& s = gUnitConversions();
    return internalValue * s.record(s.ui()).fFromInternal;
}

double TangleUnit::convertToDflt(double uiValue) noexcept {
    auto& s = gUnitConversions();
    return uiValue * s.record(s.ui()).fToInternal;
}

Ttrigger& TangleUnit::angularUnitChanged() {
    static Ttrigger trigger("angularUnitChanged");
    return trigger;
}
