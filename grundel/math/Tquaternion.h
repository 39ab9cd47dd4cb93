#pragma once

#include "grundel/core/Tapi.h"

/// A rotation quaternion (x, y, z, w), the identity (0, 0, 0, 1) by default. This holds the data layout.
class GRUNDEL_API Tquaternion {
public:
    Tquaternion() noexcept : x(0), y(0), z(0), w(1) {}
    Tquaternion(double x_, double y_, double z_, double w_) noexcept : x(x_), y(y_), z(z_), w(w_) {}

    friend bool operator==(const Tquaternion& a, const Tquaternion& b) noexcept {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }
    friend bool operator!=(const Tquaternion& a, const Tquaternion& b) noexcept { return !(a == b); }

    double x, y, z, w;
};
