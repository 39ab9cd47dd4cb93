#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/TgeometryFamily.h"

#include <cmath>
#include <iosfwd>

/// A 2-D vector in single precision, zero by default: the 2-D subset of the
/// 3-D vector operations, with the float tolerances (1e-5 by default).
/// Degenerate input is absorbed as in 3-D: a vector too short to have a
/// direction does not normalise, a division by less than 1e-5 is skipped.
class GRUNDEL_API T2dFltVector {
public:
    static constexpr float kTolerance = 1e-5f;

    constexpr T2dFltVector() noexcept : x(0), y(0) {}
    constexpr T2dFltVector(float x_, float y_) noexcept : x(x_), y(y_) {}
    /// Leaves the components uninitialised, for a value written at once.
    explicit T2dFltVector(TnoInit) noexcept {}

    /// Component 0 x, 1 y.
    float& operator[](unsigned int i) noexcept { return i == 0 ? x : y; }
    float operator[](unsigned int i) const noexcept { return i == 0 ? x : y; }
    float& operator()(short int i) noexcept { return i == 0 ? x : y; }
    float operator()(short int i) const noexcept { return i == 0 ? x : y; }

    T2dFltVector& set(float x_, float y_) noexcept {
        x = x_;
        y = y_;
        return *this;
    }

    T2dFltVector& operator+=(const T2dFltVector& o) noexcept { return set(x + o.x, y + o.y); }
    T2dFltVector& operator-=(const T2dFltVector& o) noexcept { return set(x - o.x, y - o.y); }
    T2dFltVector& operator*=(float d) noexcept { return set(x * d, y * d); }
    /// Skipped, leaving the vector unchanged, when |d| < kTolerance.
    T2dFltVector& operator/=(float d) noexcept { return std::fabs(d) < kTolerance ? *this : *this *= 1.0f / d; }
    T2dFltVector operator-() const noexcept { return T2dFltVector(-x, -y); }
    friend T2dFltVector operator+(T2dFltVector a, const T2dFltVector& b) noexcept { return a += b; }
    friend T2dFltVector operator-(T2dFltVector a, const T2dFltVector& b) noexcept { return a -= b; }
    friend T2dFltVector operator*(T2dFltVector a, float d) noexcept { return a *= d; }
    friend T2dFltVector operator*(float d, T2dFltVector a) noexcept { return a *= d; }
    friend T2dFltVector operator/(T2dFltVector a, float d) noexcept { return a /= d; }

    float dot(const T2dFltVector& o) const noexcept { return x * o.x + y * o.y; }
    float dotProduct(const T2dFltVector& o) const noexcept { return dot(o); }
    friend float operator*(const T2dFltVector& a, const T2dFltVector& b) noexcept { return a.dot(b); }
    /// The scalar x1 y2 - y1 x2: positive when o lies counter-clockwise.
    float cross(const T2dFltVector& o) const noexcept { return x * o.y - y * o.x; }
    float crossProduct(const T2dFltVector& o) const noexcept { return cross(o); }
    friend float operator^(const T2dFltVector& a, const T2dFltVector& b) noexcept { return a.cross(b); }

    float length() const noexcept { return std::sqrt(norm()); }
    /// The squared length.
    float norm() const noexcept { return x * x + y * y; }
    /// Unit length; unchanged when the squared length s is at or below 2e-5
    /// or already within 2e-5 of 1.
    T2dFltVector& normalizeIt() noexcept { return *this *= grundel::detail::normalizingFactor(norm(), 2e-5f, 2e-5f); }
    [[nodiscard]] T2dFltVector normal() const noexcept { return T2dFltVector(*this).normalizeIt(); }
    /// Negation.
    T2dFltVector& invertIt() noexcept { return set(-x, -y); }
    [[nodiscard]] T2dFltVector inverse() const noexcept { return -*this; }

    /// The squared length of the difference is strictly below tolerance².
    bool equivalent(const T2dFltVector& o, float tolerance = kTolerance) const noexcept {
        return (*this - o).norm() < tolerance * tolerance;
    }
    bool zeroLength(float tolerance = kTolerance) const noexcept { return norm() <= tolerance * tolerance; }
    bool unitLength(float tolerance = kTolerance) const noexcept { return std::fabs(norm() - 1.0f) <= 2 * tolerance; }
    /// Same or opposite directions, within tolerance of the normals' |dot| = 1.
    bool parallel(const T2dFltVector& o, float tolerance = kTolerance) const noexcept {
        return std::fabs(1.0f - std::fabs(normal().dot(o.normal()))) <= tolerance;
    }
    bool nonZero() const noexcept { return x != 0 || y != 0; }

    /// (0, 0).
    static const T2dFltVector identity;
    static const T2dFltVector xAxis;
    static const T2dFltVector yAxis;

    friend bool operator==(const T2dFltVector& a, const T2dFltVector& b) noexcept { return a.x == b.x && a.y == b.y; }
    friend bool operator!=(const T2dFltVector& a, const T2dFltVector& b) noexcept { return !(a == b); }

    float x, y;
};

/// Prints "<x, y>".
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const T2dFltVector& v);

inline constexpr T2dFltVector T2dFltVector::identity{0, 0};
inline constexpr T2dFltVector T2dFltVector::xAxis{1, 0};
inline constexpr T2dFltVector T2dFltVector::yAxis{0, 1};
