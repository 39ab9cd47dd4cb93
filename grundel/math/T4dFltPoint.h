#pragma once

#include "grundel/core/Tapi.h"

/// A homogeneous point (x, y, z, w) in single precision, standing for
/// (x/w, y/w, z/w); the origin (0, 0, 0, 1) by default. This holds the data layout.
class GRUNDEL_API T4dFltPoint {
public:
    T4dFltPoint() noexcept : x(0), y(0), z(0), w(1) {}
    T4dFltPoint(float x_, float y_, float z_, float w_) noexcept : x(x_), y(y_), z(z_), w(w_) {}

    friend bool operator==(const T4dFltPoint& a, const T4dFltPoint& b) noexcept {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }
    friend bool operator!=(const T4dFltPoint& a, const T4dFltPoint& b) noexcept { return !(a == b); }

    float x, y, z, w;
};
