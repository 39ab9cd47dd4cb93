#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/time/Tunit.h"

/// A length: a value with the linear unit it is given in.
///
/// Lengths of different units compare and combine after conversion to the
/// internal unit (Tunit::internal()); a result keeps the unit of the left
/// operand. Lengths of the same unit compare and combine directly.
class GRUNDEL_API Tlinear {
public:
    /// 0 centimeters.
    Tlinear() noexcept = default;
    /// value in unit (centimeters for an invalid unit).
    explicit Tlinear(double value, Tunit::TunitSystem unit = Tunit::kCentimeter) noexcept { valueSet(value, unit); }

    /// The number as held, in unit().
    double value() const noexcept { return fValue; }
    /// The length expressed in unit (the number as held for an invalid unit).
    double value(Tunit::TunitSystem unit) const noexcept { return Tunit::convert(fValue, fUnit, unit); }
    double inInternal() const noexcept { return value(Tunit::internal()); }

    /// Holds value in unit (centimeters for an invalid unit).
    Tlinear& valueSet(double value, Tunit::TunitSystem unit) noexcept;
    /// Holds value in centimeters.
    Tlinear& cmSet(double value) noexcept { return valueSet(value, Tunit::kCentimeter); }

    Tunit::TunitSystem unit() const noexcept { return fUnit; }
    /// Relabels the number as a value in unit, without converting it. An
    /// invalid unit changes nothing.
    Tlinear& setUnit(Tunit::TunitSystem unit) noexcept;
    /// Converts the number so that the length stays the same, now in unit.
    /// An invalid unit changes nothing.
    Tlinear& convertInto(Tunit::TunitSystem unit) noexcept;

    Tlinear& operator+=(const Tlinear& other) noexcept;
    Tlinear& operator-=(const Tlinear& other) noexcept;
    Tlinear& operator*=(double factor) noexcept { fValue *= factor; return *this; }
    Tlinear& operator/=(double divisor) noexcept { fValue /= divisor; return *this; }

    friend Tlinear operator+(Tlinear a, const Tlinear& b) noexcept { return a += b; }
    friend Tlinear operator-(Tlinear a, const Tlinear& b) noexcept { return a -= b; }

    /// Equal lengths (after conversion when the units differ).
    friend bool operator==(const Tlinear& a, const Tlinear& b) noexcept {
        return a.fUnit == b.fUnit ? a.fValue == b.fValue : a.inInternal() == b.inInternal();
    }
    friend bool operator!=(const Tlinear& a, const Tlinear& b) noexcept { return !(a == b); }

private:
    double fValue = 0.0;
    Tunit::TunitSystem fUnit = Tunit::kCentimeter;
};
