#pragma once

#include "grundel/core/Tapi.h"

/// A 2-D point in double precision, (0, 0) by default. This holds the data layout.
class GRUNDEL_API TdblPoint {
public:
    TdblPoint() noexcept : x(0), y(0) {}
    TdblPoint(double x_, double y_) noexcept : x(x_), y(y_) {}

    friend bool operator==(const TdblPoint& a, const TdblPoint& b) noexcept { return a.x == b.x && a.y == b.y; }
    friend bool operator!=(const TdblPoint& a, const TdblPoint& b) noexcept { return !(a == b); }

    double x, y;
};
