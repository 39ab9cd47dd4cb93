#include "grundel/time/Tunit.h"

#include "grundel/object/Ttrigger.h"
#include "grundel/time/TunitSetting_p.h"

#include <cstdint>
#include <numeric>

namespace {

// Each unit's size in tenths of a millimeter: every ratio of two sizes is
// an exact rational.
constexpr std::uint64_t kSize[Tunit::kNumUnits] = {
    254,      // inch
    3048,     // foot
    9144,     // yard
    16093440, // mile
    10,       // millimeter
    100,      // centimeter
    10000000, // kilometer
    10000,    // meter
};

// True when n/d (in lowest terms) has a finite decimal expansion.
bool isFiniteDecimal(std::uint64_t d) noexcept {
    while (d % 2 == 0)
        d /= 2;
    while (d % 5 == 0)
        d /= 5;
    return d == 1;
}

// size(from) / size(to), correctly rounded (both parts are exact doubles and
// division rounds once) when it is a finite decimal; otherwise 1 divided by
// the opposite factor, which then is one.
double linearFactor(int from, int to) noexcept {
    const std::uint64_t g = std::gcd(kSize[from], kSize[to]);
    const std::uint64_t n = kSize[from] / g;
    const std::uint64_t d = kSize[to] / g;
    if (isFiniteDecimal(d))
        return static_cast<double>(n) / static_cast<double>(d);
    return 1.0 / (static_cast<double>(d) / static_cast<double>(n));
}

Ttrigger& makeTrigger() { return Tunit::linearUnitChanged(); }

// The setting and its conversion table, built on first use.
grundel::detail::TunitSetting<Tunit::kNumUnits>& gUnitConversions() {
    static grundel::detail::TunitSetting<Tunit::kNumUnits> setting(Tunit::kCentimeter, Tunit::kCentimeter,
                                                                   &linearFactor, &makeTrigger);
    return setting;
}

} // namespace

Tunit::TunitSystem Tunit::currentUnit() noexcept { return TunitSystem(gUnitConversions().ui()); }

bool Tunit::setCurrentUnit(TunitSystem unit) { return gUnitConversions().setUi(unit); }

Tunit::TunitSystem Tunit::internal() noexcept { return TunitSystem(gUnitConversions().internal()); }

bool Tunit::setInternal(TunitSystem unit) { return gUnitConversions().setInternal(unit); }

const TunitConversion& Tunit::conversion(TunitSystem unit) noexcept { return gUnitConversions().record(unit); }

double Tunit::convert(double value, TunitSystem from, TunitSystem to) noexcept {
    return gUnitConversions().convert(value, from, to);
}

double Tunit::convertToCurrent(double internalValue) noexcept {
    auto& s = gUnitConversions();
    return internalValue * s.record(s.ui()).fFromInternal;
}

double Tunit::convertToDflt(double uiValue) noexcept {
    auto& s = gUnitConversions();
    return uiValue * s.record(s.ui()).fToInternal;
}

Ttrigger& Tunit::linearUnitChanged() {
    static Ttrigger trigger("linearUnitChanged");
    return trigger;
}
