#pragma once

#include "grundel/core/Tapi.h"

/// A 2-D point in single precision, (0, 0) by default. This holds the data layout.
class GRUNDEL_API TfltPoint {
public:
    TfltPoint() noexcept : x(0), y(0) {}
    TfltPoint(float x_, float y_) noexcept : x(x_), y(y_) {}

    friend bool operator==(const TfltPoint& a, const TfltPoint& b) noexcept { return a.x == b.x && a.y == b.y; }
    friend bool operator!=(const TfltPoint& a, const TfltPoint& b) noexcept { return !(a == b); }

    float x, y;
};
