#pragma once

#include "grundel/core/Tapi.h"

/// A 3-D vector in single precision, zero by default. This holds the data layout.
class GRUNDEL_API T4dFltVector {
public:
    T4dFltVector() noexcept : x(0), y(0), z(0) {}
    T4dFltVector(float x_, float y_, float z_) noexcept : x(x_), y(y_), z(z_) {}

    friend bool operator==(const T4dFltVector& a, const T4dFltVector& b) noexcept { return a.x == b.x && a.y == b.y && a.z == b.z; }
    friend bool operator!=(const T4dFltVector& a, const T4dFltVector& b) noexcept { return !(a == b); }

    float x, y, z;
};
