#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

/// The six rotation orders, named by the axis applied first, second, third.
enum TrotOrder : int { kRotXYZ = 0, kRotYZX = 1, kRotZXY = 2, kRotXZY = 3, kRotYXZ = 4, kRotZYX = 5 };

/// Euler angles in radians with their rotation order, zero angles in order
/// "xyz" by default. This holds the data layout.
class GRUNDEL_API TrotateXYZ {
public:
    TrotateXYZ() noexcept : x(0), y(0), z(0), order(kRotXYZ) {}
    TrotateXYZ(double x_, double y_, double z_, TrotOrder order_ = kRotXYZ) noexcept
        : x(x_), y(y_), z(z_), order(order_) {}

    friend bool operator==(const TrotateXYZ& a, const TrotateXYZ& b) noexcept {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.order == b.order;
    }
    friend bool operator!=(const TrotateXYZ& a, const TrotateXYZ& b) noexcept { return !(a == b); }

    double x, y, z;
    TrotOrder order;

private:
    // The tail padding, named so that equal values are equal byte for byte
    // (plain arrays compare their elements as bytes).
    [[maybe_unused]] Tint32 fPadding = 0;
};
