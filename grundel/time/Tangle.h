#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/time/TangleUnit.h"

/// An angle: a value with the angular unit it is given in.
///
/// Angles of different units compare and combine after conversion to the
/// internal unit (TangleUnit::internal()); a result keeps the unit of the
/// left operand. Angles of the same unit compare and combine directly.
class GRUNDEL_API Tangle {
public:
    /// 0 radians.
    Tangle() noexcept = default;
    /// value in unit. With toInternal the value is converted at once and
    /// the angle holds the internal unit; without, it keeps unit. An
    /// invalid unit is taken as radians.
    explicit Tangle(double value, TangleUnitSystem unit = kAngleRadians, bool toInternal = false) noexcept;

    static Tangle radians(double value) noexcept { return Tangle(value, kAngleRadians); }
    static Tangle degrees(double value) noexcept { return Tangle(value, kAngleDegrees); }

    /// The number as held, in unit().
    double value() const noexcept { return fValue; }
    TangleUnitSystem unit() const noexcept { return fUnit; }
    /// The angle expressed in unit (the number as held for an invalid unit).
    double value(TangleUnitSystem unit) const noexcept { return TangleUnit::convert(fValue, fUnit, unit); }
    double inRadians() const noexcept { return value(kAngleRadians); }
    double inDegrees() const noexcept { return value(kAngleDegrees); }
    double inInternal() const noexcept { return value(TangleUnit::internal()); }

    /// Holds value in radians (degrees).
    Tangle& setRadians(double value) noexcept;
    Tangle& setDegrees(double value) noexcept;
    /// Holds value in unit (radians for an invalid unit).
    Tangle& set(double value, TangleUnitSystem unit) noexcept;
    /// Converts the number so that the angle stays the same, now in unit.
    /// An invalid unit leaves the angle unchanged.
    Tangle& convertInto(TangleUnitSystem unit) noexcept;

    Tangle& operator+=(const Tangle& other) noexcept;
    Tangle& operator-=(const Tangle& other) noexcept;
    Tangle& operator*=(double factor) noexcept { fValue *= factor; return *this; }
    Tangle& operator/=(double divisor) noexcept { fValue /= divisor; return *this; }
    Tangle operator-() const noexcept { return Tangle(-fValue, fUnit); }

    friend Tangle operator+(Tangle a, const Tangle& b) noexcept { return a += b; }
    friend Tangle operator-(Tangle a, const Tangle& b) noexcept { return a -= b; }
    friend Tangle operator*(Tangle a, double f) noexcept { return a *= f; }
    friend Tangle operator*(double f, Tangle a) noexcept { return a *= f; }
    friend Tangle operator/(Tangle a, double d) noexcept { return a /= d; }
    /// The ratio of two angles.
    friend double operator/(const Tangle& a, const Tangle& b) noexcept { return a.fValue / b.value(a.fUnit); }

    friend bool operator==(const Tangle& a, const Tangle& b) noexcept { return compare(a, b) == 0; }
    friend bool operator!=(const Tangle& a, const Tangle& b) noexcept { return !(a == b); }
    friend bool operator<(const Tangle& a, const Tangle& b) noexcept { return compare(a, b) < 0; }
    friend bool operator>(const Tangle& a, const Tangle& b) noexcept { return compare(a, b) == 1; }
    friend bool operator<=(const Tangle& a, const Tangle& b) noexcept { return compare(a, b) <= 0; }
    friend bool operator>=(const Tangle& a, const Tangle& b) noexcept {
        const int c = compare(a, b);
        return c == 0 || c == 1;
    }

private:
    /// -1, 0, 1; 2 when either is NaN (unordered: only != holds).
    static int compare(const Tangle& a, const Tangle& b) noexcept;

    double fValue = 0.0;
    TangleUnitSystem fUnit = kAngleRadians;
};
