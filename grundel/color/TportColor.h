#pragma once

#include "grundel/core/Tapi.h"

/// A colour as red, green, blue and alpha in [0, 1]; opaque black by
/// default. This holds the data layout.
class GRUNDEL_API TportColor {
public:
    TportColor() noexcept : fRed(0), fGreen(0), fBlue(0), fAlpha(1) {}
    TportColor(float red, float green, float blue, float alpha) noexcept
        : fRed(red), fGreen(green), fBlue(blue), fAlpha(alpha) {}

    friend bool operator==(const TportColor& a, const TportColor& b) noexcept {
        return a.fRed == b.fRed && a.fGreen == b.fGreen && a.fBlue == b.fBlue && a.fAlpha == b.fAlpha;
    }
    friend bool operator!=(const TportColor& a, const TportColor& b) noexcept { return !(a == b); }

private:
    float fRed, fGreen, fBlue, fAlpha;
};
