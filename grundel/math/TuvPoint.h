#pragma once

#include "grundel/core/Tapi.h"

/// Texture coordinates (u, v), (0, 0) by default. This holds the data layout.
class GRUNDEL_API TuvPoint {
public:
    TuvPoint() noexcept : u(0), v(0) {}
    TuvPoint(double u_, double v_) noexcept : u(u_), v(v_) {}

    friend bool operator==(const TuvPoint& a, const TuvPoint& b) noexcept { return a.u == b.u && a.v == b.v; }
    friend bool operator!=(const TuvPoint& a, const TuvPoint& b) noexcept { return !(a == b); }

    double u, v;
};
