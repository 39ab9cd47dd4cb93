#pragma once

#include "grundel/core/Tapi.h"

#include <cmath>
#include <iosfwd>

namespace grundel::detail {

/// The three values of a shear, shared by Tshear and Tshear2 (V the class).
template <class V>
class TshearValues {
public:
    constexpr TshearValues() noexcept : xy(0), xz(0), yz(0) {}
    constexpr TshearValues(double xy_, double xz_, double yz_) noexcept : xy(xy_), xz(xz_), yz(yz_) {}

    V& set(double xy_, double xz_, double yz_) noexcept {
        xy = xy_;
        xz = xz_;
        yz = yz_;
        return static_cast<V&>(*this);
    }
    /// Value i: 0 xy, 1 xz, 2 yz.
    double value(int i) const noexcept { return i == 0 ? xy : i == 1 ? xz : yz; }
    /// All three exactly zero: the composition then takes its shear-free path.
    bool isZero() const noexcept { return xy == 0 && xz == 0 && yz == 0; }
    bool equivalent(const V& o, double tolerance = 1e-10) const noexcept {
        return std::fabs(xy - o.xy) <= tolerance && std::fabs(xz - o.xz) <= tolerance &&
               std::fabs(yz - o.yz) <= tolerance;
    }

    V& operator+=(const V& o) noexcept { return set(xy + o.xy, xz + o.xz, yz + o.yz); }
    V& operator-=(const V& o) noexcept { return set(xy - o.xy, xz - o.xz, yz - o.yz); }
    V& operator*=(double d) noexcept { return set(xy * d, xz * d, yz * d); }
    friend V operator+(V a, const V& b) noexcept { return a += b; }
    friend V operator-(V a, const V& b) noexcept { return a -= b; }
    friend V operator*(V a, double d) noexcept { return a *= d; }

    friend bool operator==(const V& a, const V& b) noexcept { return a.xy == b.xy && a.xz == b.xz && a.yz == b.yz; }
    friend bool operator!=(const V& a, const V& b) noexcept { return !(a == b); }

    double xy, xz, yz;
};

} // namespace grundel::detail

/// Shear factors in the order xy, xz, yz, zero by default: the unit lower
/// triangular matrix with rows (1, 0, 0), (xy, 1, 0), (xz, yz, 1).
class GRUNDEL_API Tshear : public grundel::detail::TshearValues<Tshear> {
public:
    using TshearValues::TshearValues;
};

/// The second shear of the sheared composition, zero by default: the unit
/// upper triangular matrix with rows (1, xy, xz), (0, 1, yz), (0, 0, 1).
class GRUNDEL_API Tshear2 : public grundel::detail::TshearValues<Tshear2> {
public:
    using TshearValues::TshearValues;
};

/// Prints "[xy: a, xz: b, yz: c]".
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const Tshear& s);
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const Tshear2& s);
