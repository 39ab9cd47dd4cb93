#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

/// A 2-D point in single precision, (0, 0) by default: a plain position, as
/// for screen and layout coordinates.
class GRUNDEL_API TfltPoint {
public:
    static constexpr float kTolerance = 1e-5f;

    constexpr TfltPoint() noexcept : x(0), y(0) {}
    constexpr TfltPoint(float x_, float y_) noexcept : x(x_), y(y_) {}
    /// Leaves the components uninitialised, for a value written at once.
    explicit TfltPoint(TnoInit) noexcept {}

    TfltPoint& set(float x_, float y_) noexcept {
        x = x_;
        y = y_;
        return *this;
    }
    /// Moves by (dx, dy).
    TfltPoint& move(float dx, float dy) noexcept { return set(x + dx, y + dy); }
    TfltPoint& moveTo(float x_, float y_) noexcept { return set(x_, y_); }
    TfltPoint& operator+=(const TfltPoint& o) noexcept { return move(o.x, o.y); }
    TfltPoint& operator-=(const TfltPoint& o) noexcept { return move(-o.x, -o.y); }

    /// The squared distance is at most tolerance² (equality counts).
    bool equivalent(const TfltPoint& o, const float& tolerance = kTolerance) const noexcept {
        const float dx = x - o.x, dy = y - o.y;
        return dx * dx + dy * dy <= tolerance * tolerance;
    }

    friend bool operator==(const TfltPoint& a, const TfltPoint& b) noexcept { return a.x == b.x && a.y == b.y; }
    friend bool operator!=(const TfltPoint& a, const TfltPoint& b) noexcept { return !(a == b); }

    float x, y;
};
