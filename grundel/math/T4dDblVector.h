#pragma once

#include "grundel/core/Tapi.h"

/// A 3-D vector in double precision, zero by default. This holds the data layout.
class GRUNDEL_API T4dDblVector {
public:
    T4dDblVector() noexcept : x(0), y(0), z(0) {}
    T4dDblVector(double x_, double y_, double z_) noexcept : x(x_), y(y_), z(z_) {}

    friend bool operator==(const T4dDblVector& a, const T4dDblVector& b) noexcept { return a.x == b.x && a.y == b.y && a.z == b.z; }
    friend bool operator!=(const T4dDblVector& a, const T4dDblVector& b) noexcept { return !(a == b); }

    double x, y, z;
};
