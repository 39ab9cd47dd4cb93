#pragma once

#include <cmath>

namespace grundel::detail {

/// |a - b| <= tol in single precision; false when either is NaN.
inline bool withinTolerance(float a, float b, float tol) noexcept { return std::fabs(a - b) <= tol; }

/// The signed single-precision difference a - b lies within 1e-10 of
/// tolerance, judged in double so that the 1e-10 is not lost to rounding.
inline bool differenceMatches(float a, float b, float tolerance) noexcept {
    const float d = a - b;
    return std::fabs(static_cast<double>(d) - static_cast<double>(tolerance)) <= 1e-10;
}

} // namespace grundel::detail
