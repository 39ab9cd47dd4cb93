#pragma once

#include "grundel/core/Tapi.h"

/// Scale factors along x, y and z, the identity (1, 1, 1) by default. This
/// holds the data layout.
class GRUNDEL_API Tscale {
public:
    Tscale() noexcept : x(1), y(1), z(1) {}
    Tscale(double x_, double y_, double z_) noexcept : x(x_), y(y_), z(z_) {}

    friend bool operator==(const Tscale& a, const Tscale& b) noexcept { return a.x == b.x && a.y == b.y && a.z == b.z; }
    friend bool operator!=(const Tscale& a, const Tscale& b) noexcept { return !(a == b); }

    double x, y, z;
};
