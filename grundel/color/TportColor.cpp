#include "grundel/color/TportColor.h"

short TportColor::fsDepth = 24;
int TportColor::fsTransparentIndex = -1;

TportColor& TportColor::operator^=(const TportColor& o) noexcept {
    using grundel::detail::truncatedByte;
    constexpr float k = 0.003921569f;
    fRed = static_cast<float>(truncatedByte(fRed) ^ truncatedByte(o.fRed)) * k;
    fGreen = static_cast<float>(truncatedByte(fGreen) ^ truncatedByte(o.fGreen)) * k;
    fBlue = static_cast<float>(truncatedByte(fBlue) ^ truncatedByte(o.fBlue)) * k;
    return *this;
}

bool TportColor::equivalent(const TportColor& other, float /*tolerance*/) const noexcept {
    constexpr float kTolerance = 1e-5f;
    return std::fabs(fRed - other.fRed) < kTolerance && std::fabs(fGreen - other.fGreen) < kTolerance &&
           std::fabs(fBlue - other.fBlue) < kTolerance;
}

TuInt32 TportColor::asXColor() const noexcept {
    using grundel::detail::truncatedByte;
    return truncatedByte(fBlue) << 16 | truncatedByte(fGreen) << 8 | truncatedByte(fRed);
}
