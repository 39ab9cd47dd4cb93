#pragma once

#include "grundel/core/Tapi.h"

/// An enumeration value held as a plain int, so that a set of named values
/// can grow (later versions, plug-ins) without recompiling its holders.
/// kBadEnumValue marks a value that is unset or not understood; it is the
/// default.
class GRUNDEL_API TexpandableEnum {
public:
    static constexpr int kBadEnumValue = -1;

    constexpr TexpandableEnum() noexcept = default;
    constexpr explicit TexpandableEnum(int value) noexcept : fValue(value) {}

    constexpr int value() const noexcept { return fValue; }
    constexpr bool isValid() const noexcept { return fValue != kBadEnumValue; }
    TexpandableEnum& set(int value) noexcept {
        fValue = value;
        return *this;
    }
    /// Makes the value kBadEnumValue.
    TexpandableEnum& invalidate() noexcept { return set(kBadEnumValue); }

    friend constexpr bool operator==(TexpandableEnum a, TexpandableEnum b) noexcept { return a.fValue == b.fValue; }
    friend constexpr bool operator!=(TexpandableEnum a, TexpandableEnum b) noexcept { return a.fValue != b.fValue; }
    friend constexpr bool operator<(TexpandableEnum a, TexpandableEnum b) noexcept { return a.fValue < b.fValue; }

private:
    int fValue = kBadEnumValue;
};
