#include "grundel/time/Tangle.h"

Tangle::Tangle(double value, TangleUnitSystem unit, bool toInternal) noexcept {
    set(value, unit);
    if (toInternal)
        convertInto(TangleUnit::internal());
}

Tangle& Tangle::setRadians(double value) noexcept { return set(value, kAngleRadians); }

Tangle& Tangle::setDegrees(double value) noexcept { return set(value, kAngleDegrees); }

Tangle& Tangle::set(double value, TangleUnitSystem unit) noexcept {
    fValue = value;
    fUnit = TangleUnit::isValid(unit) ? unit : kAngleRadians;
    return *this;
}

Tangle& Tangle::convertInto(TangleUnitSystem unit) noexcept {
    if (TangleUnit::isValid(unit) && unit != fUnit) {
        fValue = value(unit);
        fUnit = unit;
    }
    return *this;
}

Tangle& Tangle::operator+=(const Tangle& other) noexcept {
    if (other.fUnit == fUnit) {
        fValue += other.fValue;
    } else {
        const TangleUnitSystem in = TangleUnit::internal();
        fValue = TangleUnit::convert(inInternal() + other.inInternal(), in, fUnit);
    }
    return *this;
}

Tangle& Tangle::operator-=(const Tangle& other) noexcept {
    if (other.fUnit == fUnit) {
        fValue -= other.fValue;
    } else {
        const TangleUnitSystem in = TangleUnit::internal();
        fValue = TangleUnit::convert(inInternal() - other.inInternal(), in, fUnit);
    }
    return *this;
}

int Tangle::compare(const Tangle& a, const Tangle& b) noexcept {
    double x = a.fValue;
    double y = b.fValue;
    if (a.fUnit != b.fUnit) {
        x = a.inInternal();
        y = b.inInternal();
    }
    if (x < y)
        return -1;
    if (x > y)
        return 1;
    return x == y ? 0 : 2;
}
