#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

#include <iosfwd>

class T4dDblMatrix;
class T4dDblVector;

/// A rotation as a quaternion (x, y, z, w) = (axis sin(a/2), cos(a/2)), the
/// identity (0, 0, 0, 1) by default. Rotations act on row vectors like the
/// matrices: in a * b, a is applied first, so that the matrix of a * b is
/// matrix(a) * matrix(b). Operations that need a unit quaternion take the
/// quaternion as unit; a zero quaternion does not normalise and gives the
/// identity where a rotation is needed.
class GRUNDEL_API Tquaternion {
public:
    constexpr Tquaternion() noexcept : x(0), y(0), z(0), w(1) {}
    constexpr Tquaternion(double x_, double y_, double z_, double w_) noexcept : x(x_), y(y_), z(z_), w(w_) {}
    /// Leaves the components uninitialised, for a value written at once.
    explicit Tquaternion(TnoInit) noexcept {}
    /// The right-handed rotation by angle radians about axis (need not be
    /// unit; a zero axis gives the identity).
    Tquaternion(double angle, const T4dDblVector& axis) noexcept;
    /// The rotation of a rotation matrix (upper-left 3x3 block, taken as
    /// orthonormal).
    explicit Tquaternion(const T4dDblMatrix& rotation) noexcept;

    Tquaternion& set(double x_, double y_, double z_, double w_) noexcept {
        x = x_;
        y = y_;
        z = z_;
        w = w_;
        return *this;
    }
    Tquaternion& setAxisAngle(const T4dDblVector& axis, double angle) noexcept;

    /// The rotation angle in [0, 2 pi] and the unit axis; the identity gives
    /// angle 0 and axis (1, 0, 0).
    double angle() const noexcept;
    T4dDblVector axis() const noexcept;
    void getAxisAngle(T4dDblVector& axis, double& angle) const noexcept;

    /// The rotation matrix (row-vector convention, no translation).
    T4dDblMatrix asMatrix() const noexcept;
    operator T4dDblMatrix() const noexcept;

    /// a then b.
    friend Tquaternion operator*(const Tquaternion& a, const Tquaternion& b) noexcept {
        // The Hamilton product b a: a acts first on a row vector.
        return Tquaternion(b.w * a.x + a.w * b.x + (b.y * a.z - b.z * a.y),
                           b.w * a.y + a.w * b.y + (b.z * a.x - b.x * a.z),
                           b.w * a.z + a.w * b.z + (b.x * a.y - b.y * a.x),
                           b.w * a.w - (b.x * a.x + b.y * a.y + b.z * a.z));
    }
    Tquaternion& operator*=(const Tquaternion& b) noexcept { return *this = *this * b; }
    Tquaternion& operator*=(double d) noexcept { return set(x * d, y * d, z * d, w * d); }
    friend Tquaternion operator*(Tquaternion q, double d) noexcept { return q *= d; }
    friend Tquaternion operator+(const Tquaternion& a, const Tquaternion& b) noexcept {
        return Tquaternion(a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w);
    }
    friend Tquaternion operator-(const Tquaternion& a, const Tquaternion& b) noexcept {
        return Tquaternion(a.x - b.x, a.y - b.y, a.z - b.z, a.w - b.w);
    }
    Tquaternion operator-() const noexcept { return Tquaternion(-x, -y, -z, -w); }

    double dot(const Tquaternion& o) const noexcept { return x * o.x + y * o.y + z * o.z + w * o.w; }
    /// The squared length.
    double norm() const noexcept { return dot(*this); }
    double length() const noexcept;
    /// Unit length; a quaternion of squared length at or below 1e-20 stays.
    Tquaternion& normalizeIt() noexcept;
    [[nodiscard]] Tquaternion normal() const noexcept { return Tquaternion(*this).normalizeIt(); }
    /// (-x, -y, -z, w): the inverse of a unit quaternion.
    Tquaternion& conjugateIt() noexcept { return set(-x, -y, -z, w); }
    [[nodiscard]] Tquaternion conjugate() const noexcept { return Tquaternion(-x, -y, -z, w); }
    /// The multiplicative inverse (conjugate over squared length); a zero
    /// quaternion stays.
    Tquaternion& invertIt() noexcept;
    [[nodiscard]] Tquaternion inverse() const noexcept { return Tquaternion(*this).invertIt(); }

    /// log of a unit quaternion: (axis angle/2, 0).
    [[nodiscard]] Tquaternion log() const noexcept;
    /// exp of a pure quaternion (v, 0): (v/|v| sin|v|, cos|v|).
    [[nodiscard]] Tquaternion exp() const noexcept;

    /// Spherical interpolation from a (t = 0) to b (t = 1) along the shorter
    /// arc.
    static Tquaternion slerp(const Tquaternion& a, const Tquaternion& b, double t) noexcept;
    /// Spherical cubic interpolation between q1 and q2 with the inner
    /// control points a and b (from squadPt).
    static Tquaternion squad(const Tquaternion& q1, const Tquaternion& q2, const Tquaternion& a,
                             const Tquaternion& b, double t) noexcept;
    /// The inner control point at q1 for a squad through q0, q1, q2.
    static Tquaternion squadPt(const Tquaternion& q0, const Tquaternion& q1, const Tquaternion& q2) noexcept;

    /// Both describe the same rotation within tolerance (q and -q do).
    bool equivalent(const Tquaternion& o, double tolerance = 1e-10) const noexcept;

    static const Tquaternion identity;

    friend bool operator==(const Tquaternion& a, const Tquaternion& b) noexcept {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }
    friend bool operator!=(const Tquaternion& a, const Tquaternion& b) noexcept { return !(a == b); }

    double x, y, z, w;
};

/// Prints "[angle: a, axis: <x, y, z>]", the angle in radians.
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const Tquaternion& q);

inline constexpr Tquaternion Tquaternion::identity{};
