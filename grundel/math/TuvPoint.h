#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/T3dFltPoint.h"
#include "grundel/math/T4dDblPoint.h"
#include "grundel/math/TfltPoint.h"

/// Texture coordinates (u, v), (0, 0) by default. Assignment from a point
/// takes its first two components as they are (a 4-D point's w is not
/// divided out).
class GRUNDEL_API TuvPoint {
public:
    constexpr TuvPoint() noexcept : u(0), v(0) {}
    constexpr TuvPoint(double u_, double v_) noexcept : u(u_), v(v_) {}
    /// Leaves the components uninitialised, for a value written at once.
    explicit TuvPoint(TnoInit) noexcept {}

    TuvPoint& operator=(const T3dFltPoint& p) noexcept { return set(p.x, p.y); }
    TuvPoint& operator=(const T4dDblPoint& p) noexcept { return set(p.x, p.y); }
    TuvPoint& operator=(const TfltPoint& p) noexcept { return set(p.x, p.y); }
    TuvPoint& set(double u_, double v_) noexcept {
        u = u_;
        v = v_;
        return *this;
    }

    /// (0, 0).
    static const TuvPoint origin;
    /// (1, 1).
    static const TuvPoint unit;

    friend bool operator==(const TuvPoint& a, const TuvPoint& b) noexcept { return a.u == b.u && a.v == b.v; }
    friend bool operator!=(const TuvPoint& a, const TuvPoint& b) noexcept { return !(a == b); }

    double u, v;
};

inline constexpr TuvPoint TuvPoint::origin{0, 0};
inline constexpr TuvPoint TuvPoint::unit{1, 1};
