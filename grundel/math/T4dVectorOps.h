#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/math/Taxis.h"
#include "grundel/math/TgeometryFamily.h"
#include "grundel/time/Tangle.h"

#include <cassert>
#include <cmath>

namespace grundel::detail {

/// q = the unit quaternion (x, y, z, w) that turns direction a onto
/// direction b (neither need be unit). Opposite directions turn by pi about
/// an axis perpendicular to a; a vector too short to normalise on either
/// side gives the identity (0, 0, 0, 1).
GRUNDEL_API void rotationBetween(const double a[3], const double b[3], double q[4]) noexcept;

/// The operations of T4dDblVector and T4dFltVector (S = double or float): a
/// 3-D direction with no position, acted on by the upper-left 3x3 block of a
/// matrix in the row-vector convention, v' = v * M.
///
/// Tolerance arguments default to kTolerance (1e-10 double, 1e-5 float).
/// Degenerate input is absorbed: a vector too short to have a direction does
/// not normalise, a division by less than kTolerance is skipped, a rotation
/// by less than kTolerance does nothing. Nothing here throws or reports.
template <class S>
class T4dVectorOps {
    using F = TgeometryFamily<S>;
    using V = typename F::Vector;
    using Tuple = typename F::Tuple;
    using M = typename F::Matrix;
    using Q = typename F::Quaternion; // rotations are double in both precisions
    using R = typename F::Rotation;

public:
    static constexpr S kTolerance = F::kTolerance;

    // -- Components: 0 x, 1 y, 2 z --------------------------------------------

    S& operator[](unsigned int i) noexcept { return self().*component(i); }
    const S& operator[](unsigned int i) const noexcept { return self().*component(i); }
    S& operator()(short int i) noexcept { return self().*component(static_cast<unsigned int>(i)); }
    const S& operator()(short int i) const noexcept { return self().*component(static_cast<unsigned int>(i)); }

    V& set(S x, S y, S z) noexcept {
        self().x = x;
        self().y = y;
        self().z = z;
        return self();
    }

    // -- Arithmetic --------------------------------------------------------------

    V& operator+=(const V& o) noexcept { return set(self().x + o.x, self().y + o.y, self().z + o.z); }
    V& operator-=(const V& o) noexcept { return set(self().x - o.x, self().y - o.y, self().z - o.z); }
    V& operator*=(S d) noexcept { return set(self().x * d, self().y * d, self().z * d); }
    /// Skipped, leaving the vector unchanged, when |d| < kTolerance.
    V& operator/=(S d) noexcept {
        if (absOf(d) < kTolerance)
            return self();
        return *this *= S(1) / d;
    }
    V operator-() const noexcept { return V(-self().x, -self().y, -self().z); }

    friend V operator+(V a, const V& b) noexcept { return a += b; }
    friend V operator-(V a, const V& b) noexcept { return a -= b; }
    friend V operator*(V a, S d) noexcept { return a *= d; }
    friend V operator*(S d, V a) noexcept { return a *= d; }
    /// The vector unchanged when |d| < kTolerance.
    friend V operator/(V a, S d) noexcept { return a /= d; }

    // -- Products ----------------------------------------------------------------

    S dot(const V& o) const noexcept { return self().x * o.x + self().y * o.y + self().z * o.z; }
    S dotProduct(const V& o) const noexcept { return dot(o); }
    friend S operator*(const V& a, const V& b) noexcept { return a.dot(b); }

    /// this x o, right-handed: xAxis ^ yAxis == zAxis.
    V cross(const V& o) const noexcept {
        const V& a = self();
        return V(a.y * o.z - a.z * o.y, a.z * o.x - a.x * o.z, a.x * o.y - a.y * o.x);
    }
    V crossProduct(const V& o) const noexcept { return cross(o); }
    friend V operator^(const V& a, const V& b) noexcept { return a.cross(b); }
    /// this = a x b; a or b may be this vector.
    V& setToCrossProduct(const V& a, const V& b) noexcept { return self() = a.cross(b); }

    // -- Measures ----------------------------------------------------------------

    S length() const noexcept { return std::sqrt(norm()); }
    /// The squared length.
    S norm() const noexcept { return dot(self()); }
    /// Length estimate without a square root: with the absolute components
    /// sorted into a >= b >= c, a + (11/32) b + (1/4) c; at most about 13% off.
    S approxLength() const noexcept {
        S a = absOf(self().x), b = absOf(self().y), c = absOf(self().z);
        if (a < b)
            swap(a, b);
        if (b < c)
            swap(b, c);
        if (a < b)
            swap(a, b);
        return a + S(0.34375) * b + S(0.25) * c;
    }

    /// Scales to unit length. Unchanged when the squared length s is at or
    /// below 1e-20 (2e-5 float; a zero vector stays zero) or when |s - 1| is
    /// at most 2e-10 (2e-5 float).
    V& normalizeIt() noexcept { return *this *= normalizingFactor(norm(), F::kTinySquare, F::kUnitTolerance); }
    [[nodiscard]] V normal() const noexcept {
        V v(self());
        return v.normalizeIt();
    }
    /// The normal and length together, by the thresholds of normalizeIt: a
    /// vector too short gives itself and length 0; an already unit vector
    /// gives itself and length exactly 1.
    void getNormalAndLength(V& normal, S& length) const noexcept {
        const S s = norm();
        normal = self();
        if (s <= F::kTinySquare) {
            length = 0;
        } else if (absOf(s - S(1)) <= F::kUnitTolerance) {
            length = 1;
        } else {
            length = std::sqrt(s);
            normal.set(normal.x / length, normal.y / length, normal.z / length);
        }
    }
    /// Scales to length l. False, unchanged, when the vector is too short to
    /// have a direction (squared length at or below 1e-20; 2e-5 float).
    [[nodiscard]] bool changeLengthTo(S l) noexcept {
        const S s = norm();
        if (s <= F::kTinySquare)
            return false;
        if (absOf(l * l - s) <= F::kUnitTolerance * l)
            return true;
        *this *= l / std::sqrt(s);
        return true;
    }
    /// The part of this vector along axis (which need not be unit).
    V componentAlong(const V& axis) const noexcept {
        const V n = axis.normal();
        return n * dot(n);
    }

    /// Negation.
    V& invertIt() noexcept { return set(-self().x, -self().y, -self().z); }
    [[nodiscard]] V inverse() const noexcept { return -*this; }

    /// The axis of the largest absolute component; ties go to the later axis.
    Taxis dominantAxis() const noexcept {
        const S ax = absOf(self().x), ay = absOf(self().y), az = absOf(self().z);
        if (ax <= ay)
            return ay > az ? kYAxis : kZAxis;
        return ax > az ? kXAxis : kZAxis;
    }
    /// The signed component on dominantAxis().
    S maxComponent() const noexcept { return (*this)[static_cast<unsigned int>(dominantAxis())]; }

    // -- Angles and rotations --------------------------------------------------------

    /// The angle between the two directions, in radians from 0 to pi (exactly
    /// 0 and pi where rounding takes the cosine past 1 or -1). A vector too
    /// short to normalise counts as perpendicular to everything.
    Tangle angleBetween(const V& o) const noexcept {
        const S c = normal().dot(o.normal());
        if (c >= S(1))
            return Tangle::radians(0);
        if (c <= S(-1))
            return Tangle::radians(3.14159265358979323846);
        return Tangle::radians(std::acos(double(c)));
    }
    Tangle angle(const V& o) const noexcept { return angleBetween(o); }

    /// Turns this vector, right-handed, by angle radians about a principal
    /// axis. Unchanged when |angle| < kTolerance or axis is no axis code.
    V& rotateBy(Taxis axis, S angle) noexcept {
        if (absOf(angle) < kTolerance)
            return self();
        // The quaternion sandwich about a principal axis, from the half angle.
        const S c = std::cos(angle / 2), s = std::sin(angle / 2);
        const S ca = c * c - s * s, sa = 2 * s * c;
        V& v = self();
        switch (axis) {
        case kXAxis:
            return set(v.x, v.y * ca - v.z * sa, v.y * sa + v.z * ca);
        case kYAxis:
            return set(v.z * sa + v.x * ca, v.y, v.z * ca - v.x * sa);
        case kZAxis:
            return set(v.x * ca - v.y * sa, v.x * sa + v.y * ca, v.z);
        }
        return v;
    }
    /// Applies the single-axis rotations of r in the sequence of its order
    /// ("xyz": about X by r.x first, then Y, then Z).
    V& rotateBy(const R& r) noexcept {
        const int* axes = R::fsOrderMap[r.effectiveOrder()];
        for (int i = 0; i < 3; ++i)
            rotateBy(static_cast<Taxis>(axes[i]), static_cast<S>(r.value(axes[i])));
        return self();
    }
    /// The sandwich q v q^-1, q taken as unit; the same as v * q.asMatrix().
    V& rotateBy(const Q& q) noexcept {
        const double v[3] = {double(self().x), double(self().y), double(self().z)};
        // t = 2 (u x v), v' = v + w t + u x t, with u the vector part of q.
        const double t[3] = {2 * (q.y * v[2] - q.z * v[1]), 2 * (q.z * v[0] - q.x * v[2]), 2 * (q.x * v[1] - q.y * v[0])};
        return set(static_cast<S>(v[0] + q.w * t[0] + (q.y * t[2] - q.z * t[1])),
                   static_cast<S>(v[1] + q.w * t[1] + (q.z * t[0] - q.x * t[2])),
                   static_cast<S>(v[2] + q.w * t[2] + (q.x * t[1] - q.y * t[0])));
    }
    /// The unit quaternion that turns this direction onto target's. Opposite
    /// directions turn by pi about a perpendicular axis; a zero vector on
    /// either side gives the identity.
    Q rotateTo(const V& target) const noexcept {
        const double a[3] = {double(self().x), double(self().y), double(self().z)};
        const double b[3] = {double(target.x), double(target.y), double(target.z)};
        double q[4];
        rotationBetween(a, b, q);
        return Q(q[0], q[1], q[2], q[3]);
    }

    // -- Matrices ----------------------------------------------------------------

    /// v = v * M with the 3x3 block of M (a vector takes no translation).
    V& postmultBy(const M& mat) noexcept { return setToProduct(V(self()), mat); }
    /// v = M * v, v taken as a column, with the 3x3 block of M.
    V& premultBy(const M& mat) noexcept { return setToProduct(mat, V(self())); }
    V& operator*=(const M& mat) noexcept { return postmultBy(mat); }
    friend V operator*(V v, const M& mat) noexcept { return v.postmultBy(mat); }
    /// this = v * M (3x3 block).
    V& setToProduct(const V& v, const M& mat) noexcept {
        const auto& m = mat.m;
        return set(v.x * m[0][0] + v.y * m[1][0] + v.z * m[2][0], v.x * m[0][1] + v.y * m[1][1] + v.z * m[2][1],
                   v.x * m[0][2] + v.y * m[1][2] + v.z * m[2][2]);
    }
    /// this = M * v (3x3 block, v as a column).
    V& setToProduct(const M& mat, const V& v) noexcept {
        const auto& m = mat.m;
        return set(m[0][0] * v.x + m[0][1] * v.y + m[0][2] * v.z, m[1][0] * v.x + m[1][1] * v.y + m[1][2] * v.z,
                   m[2][0] * v.x + m[2][1] * v.y + m[2][2] * v.z);
    }
    /// The translation matrix by this vector: the identity with row 3 = v.
    operator M() const noexcept {
        M t;
        t.m[3][0] = self().x;
        t.m[3][1] = self().y;
        t.m[3][2] = self().z;
        return t;
    }
    /// Takes the translation row (3) of mat.
    V& operator=(const M& mat) noexcept { return set(mat.m[3][0], mat.m[3][1], mat.m[3][2]); }

    // -- Comparisons -------------------------------------------------------------

    /// The squared length of the difference is strictly below tolerance²:
    /// with tolerance 0 no vector is equivalent, not even to itself.
    bool equivalent(const V& o, S tolerance = kTolerance) const noexcept {
        return (self() - o).norm() < tolerance * tolerance;
    }
    bool zeroLength(S tolerance = kTolerance) const noexcept { return norm() <= tolerance * tolerance; }
    /// |squared length - 1| <= 2 tolerance (squared, so the bound doubles).
    bool unitLength(S tolerance = kTolerance) const noexcept { return absOf(norm() - S(1)) <= 2 * tolerance; }
    /// Same or opposite directions: with c the dot product of both normals,
    /// |1 - |c|| <= tolerance.
    bool parallel(const V& o, S tolerance = kTolerance) const noexcept {
        const S c = normal().dot(o.normal());
        return absOf(S(1) - absOf(c)) <= tolerance;
    }
    /// Some component is not exactly zero.
    bool nonZero() const noexcept { return self().x != 0 || self().y != 0 || self().z != 0; }

    /// (x, y, z, 0).
    Tuple toTuple() const noexcept { return Tuple(self().x, self().y, self().z, 0); }

protected:
    T4dVectorOps() = default;

private:
    V& self() noexcept { return static_cast<V&>(*this); }
    const V& self() const noexcept { return static_cast<const V&>(*this); }
    static S V::*component(unsigned int i) noexcept {
        assert(i < 3);
        constexpr S V::*members[3] = {&V::x, &V::y, &V::z};
        return members[i];
    }
    static void swap(S& a, S& b) noexcept {
        const S t = a;
        a = b;
        b = t;
    }
};

} // namespace grundel::detail
