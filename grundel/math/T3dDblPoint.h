#pragma once

#include "grundel/core/Tapi.h"

/// A 3-D point in double precision, the origin by default. This holds the data layout.
class GRUNDEL_API T3dDblPoint {
public:
    T3dDblPoint() noexcept : x(0), y(0), z(0) {}
    T3dDblPoint(double x_, double y_, double z_) noexcept : x(x_), y(y_), z(z_) {}

    friend bool operator==(const T3dDblPoint& a, const T3dDblPoint& b) noexcept { return a.x == b.x && a.y == b.y && a.z == b.z; }
    friend bool operator!=(const T3dDblPoint& a, const T3dDblPoint& b) noexcept { return !(a == b); }

    double x, y, z;
};
