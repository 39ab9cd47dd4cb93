#include "grundel/time/Tlinear.h"

Tlinear& Tlinear::valueSet(double value, Tunit::TunitSystem unit) noexcept {
    fValue = value;
    fUnit = Tunit::isValid(unit) ? unit : Tunit::kCentimeter;
    return *this;
}

Tlinear& Tlinear::setUnit(Tunit::TunitSystem unit) noexcept {
    if (Tunit::isValid(unit))
        fUnit = unit;
    return *this;
}

Tlinear& Tlinear::convertInto(Tunit::TunitSystem unit) noexcept {
    if (Tunit::isValid(unit) && unit != fUnit) {
        fValue = value(unit);
        fUnit = unit;
    }
    return *this;
}

Tlinear& Tlinear::operator+=(const Tlinear& other) noexcept {
    if (other.fUnit == fUnit)
        fValue += other.fValue;
    else
        fValue = Tunit::convert(inInternal() + other.inInternal(), Tunit::internal(), fUnit);
    return *this;
}

Tlinear& Tlinear::operator-=(const Tlinear& other) noexcept {
    if (other.fUnit == fUnit)
        fValue -= other.fValue;
    else
        fValue = Tunit::convert(inInternal() - other.inInternal(), Tunit::internal(), fUnit);
    return *this;
}
