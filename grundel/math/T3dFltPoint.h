#pragma once

#include "grundel/core/Tapi.h"

/// A 3-D point in single precision, the origin by default. This holds the data layout.
class GRUNDEL_API T3dFltPoint {
public:
    T3dFltPoint() noexcept : x(0), y(0), z(0) {}
    T3dFltPoint(float x_, float y_, float z_) noexcept : x(x_), y(y_), z(z_) {}

    friend bool operator==(const T3dFltPoint& a, const T3dFltPoint& b) noexcept { return a.x == b.x && a.y == b.y && a.z == b.z; }
    friend bool operator!=(const T3dFltPoint& a, const T3dFltPoint& b) noexcept { return !(a == b); }

    float x, y, z;
};
