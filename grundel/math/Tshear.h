#pragma once

#include "grundel/core/Tapi.h"

/// Shear factors in the order xy, xz, yz, zero by default. This holds the
/// data layout.
class GRUNDEL_API Tshear {
public:
    Tshear() noexcept : xy(0), xz(0), yz(0) {}
    Tshear(double xy_, double xz_, double yz_) noexcept : xy(xy_), xz(xz_), yz(yz_) {}

    friend bool operator==(const Tshear& a, const Tshear& b) noexcept { return a.xy == b.xy && a.xz == b.xz && a.yz == b.yz; }
    friend bool operator!=(const Tshear& a, const Tshear& b) noexcept { return !(a == b); }

    double xy, xz, yz;
};
