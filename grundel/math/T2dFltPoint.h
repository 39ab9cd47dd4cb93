#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/T2dFltVector.h"

#include <iosfwd>

/// A 2-D point in single precision, the origin by default: the 2-D subset
/// of the point operations. A point minus a point is a vector, a point plus
/// a vector a point.
class GRUNDEL_API T2dFltPoint {
public:
    static constexpr float kTolerance = 1e-5f;

    constexpr T2dFltPoint() noexcept : x(0), y(0) {}
    constexpr T2dFltPoint(float x_, float y_) noexcept : x(x_), y(y_) {}
    /// Leaves the components uninitialised, for a value written at once.
    explicit T2dFltPoint(TnoInit) noexcept {}

    /// Component 0 x, 1 y.
    float& operator[](unsigned int i) noexcept { return i == 0 ? x : y; }
    float operator[](unsigned int i) const noexcept { return i == 0 ? x : y; }
    float& operator()(short int i) noexcept { return i == 0 ? x : y; }
    float operator()(short int i) const noexcept { return i == 0 ? x : y; }

    T2dFltPoint& set(float x_, float y_) noexcept {
        x = x_;
        y = y_;
        return *this;
    }

    T2dFltPoint& operator+=(const T2dFltVector& v) noexcept { return set(x + v.x, y + v.y); }
    T2dFltPoint& operator-=(const T2dFltVector& v) noexcept { return set(x - v.x, y - v.y); }
    friend T2dFltPoint operator+(T2dFltPoint p, const T2dFltVector& v) noexcept { return p += v; }
    friend T2dFltPoint operator-(T2dFltPoint p, const T2dFltVector& v) noexcept { return p -= v; }
    /// The vector from b to a.
    friend T2dFltVector operator-(const T2dFltPoint& a, const T2dFltPoint& b) noexcept {
        return T2dFltVector(a.x - b.x, a.y - b.y);
    }

    float distanceTo(const T2dFltPoint& o) const noexcept { return (*this - o).length(); }
    float distance2To(const T2dFltPoint& o) const noexcept { return (*this - o).norm(); }
    /// The squared distance is at most tolerance² (equality counts).
    bool equivalent(const T2dFltPoint& o, float tolerance = kTolerance) const noexcept {
        return distance2To(o) <= tolerance * tolerance;
    }

    static const T2dFltPoint origin;

    friend bool operator==(const T2dFltPoint& a, const T2dFltPoint& b) noexcept { return a.x == b.x && a.y == b.y; }
    friend bool operator!=(const T2dFltPoint& a, const T2dFltPoint& b) noexcept { return !(a == b); }

    float x, y;
};

/// Prints "<x, y>".
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const T2dFltPoint& p);

inline constexpr T2dFltPoint T2dFltPoint::origin{};
