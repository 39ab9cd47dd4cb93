#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

/// A 2-D point in double precision, (0, 0) by default: a plain position, as
/// for screen and layout coordinates.
class GRUNDEL_API TdblPoint {
public:
    static constexpr double kTolerance = 1e-10;

    constexpr TdblPoint() noexcept : x(0), y(0) {}
    constexpr TdblPoint(double x_, double y_) noexcept : x(x_), y(y_) {}
    /// Leaves the components uninitialised, for a value written at once.
    explicit TdblPoint(TnoInit) noexcept {}

    TdblPoint& set(double x_, double y_) noexcept {
        x = x_;
        y = y_;
        return *this;
    }
    /// Moves by (dx, dy).
    TdblPoint& move(double dx, double dy) noexcept { return set(x + dx, y + dy); }
    TdblPoint& moveTo(double x_, double y_) noexcept { return set(x_, y_); }
    TdblPoint& operator+=(const TdblPoint& o) noexcept { return move(o.x, o.y); }
    TdblPoint& operator-=(const TdblPoint& o) noexcept { return move(-o.x, -o.y); }

    /// The squared distance is at most tolerance² (equality counts).
    bool equivalent(const TdblPoint& o, const double& tolerance = kTolerance) const noexcept {
        const double dx = x - o.x, dy = y - o.y;
        return dx * dx + dy * dy <= tolerance * tolerance;
    }

    friend bool operator==(const TdblPoint& a, const TdblPoint& b) noexcept { return a.x == b.x && a.y == b.y; }
    friend bool operator!=(const TdblPoint& a, const TdblPoint& b) noexcept { return !(a == b); }

    double x, y;
};
