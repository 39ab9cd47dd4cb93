#pragma once

#include "grundel/core/Tapi.h"

#include <cmath>
#include <iosfwd>

/// Scale factors along x, y and z, the identity (1, 1, 1) by default.
/// Products and quotients are component-wise; dividing by a factor of (near)
/// zero leaves that component unchanged, as geometry absorbs degenerate input.
class GRUNDEL_API Tscale {
public:
    constexpr Tscale() noexcept : x(1), y(1), z(1) {}
    constexpr Tscale(double x_, double y_, double z_) noexcept : x(x_), y(y_), z(z_) {}

    Tscale& set(double x_, double y_, double z_) noexcept {
        x = x_;
        y = y_;
        z = z_;
        return *this;
    }
    /// Factor i: 0 x, 1 y, 2 z.
    double value(int i) const noexcept { return i == 0 ? x : i == 1 ? y : z; }

    Tscale& operator*=(const Tscale& o) noexcept { return set(x * o.x, y * o.y, z * o.z); }
    Tscale& operator/=(const Tscale& o) noexcept { return set(quotient(x, o.x), quotient(y, o.y), quotient(z, o.z)); }
    Tscale& operator*=(double d) noexcept { return set(x * d, y * d, z * d); }
    friend Tscale operator*(Tscale a, const Tscale& b) noexcept { return a *= b; }
    friend Tscale operator/(Tscale a, const Tscale& b) noexcept { return a /= b; }
    friend Tscale operator*(Tscale a, double d) noexcept { return a *= d; }

    /// The reciprocal factors; a (near) zero factor stays.
    Tscale& invertIt() noexcept { return *this = Tscale() / *this; }
    [[nodiscard]] Tscale inverse() const noexcept { return Tscale(*this).invertIt(); }

    bool isIdentity(double tolerance = 1e-10) const noexcept { return equivalent(Tscale(), tolerance); }
    bool equivalent(const Tscale& o, double tolerance = 1e-10) const noexcept {
        return std::fabs(x - o.x) <= tolerance && std::fabs(y - o.y) <= tolerance && std::fabs(z - o.z) <= tolerance;
    }

    static const Tscale identity;

    friend bool operator==(const Tscale& a, const Tscale& b) noexcept { return a.x == b.x && a.y == b.y && a.z == b.z; }
    friend bool operator!=(const Tscale& a, const Tscale& b) noexcept { return !(a == b); }

    double x, y, z;

private:
    static double quotient(double a, double b) noexcept { return std::fabs(b) < 1e-10 ? a : a / b; }
};

inline constexpr Tscale Tscale::identity{};

/// Prints "[x: a, y: b, z: c]".
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const Tscale& s);
