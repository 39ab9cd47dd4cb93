#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

#include <iosfwd>

class T4dDblMatrix;
class T4dDblVector;
class Tquaternion;

/// The six rotation orders, named by the axis applied first, second, third.
enum TrotOrder : int { kRotXYZ = 0, kRotYZX = 1, kRotZXY = 2, kRotXZY = 3, kRotYXZ = 4, kRotZYX = 5 };

/// Euler angles in radians with their rotation order, zero angles in order
/// "xyz" by default. The rotation applies the single-axis rotations in the
/// order's sequence to a row vector: for "xyz" the matrix is Rx * Ry * Rz.
/// An order code outside 0-5 reads as "xyz" everywhere except decompose,
/// which refuses it.
class GRUNDEL_API TrotateXYZ {
public:
    constexpr TrotateXYZ() noexcept : x(0), y(0), z(0), order(kRotXYZ) {}
    constexpr TrotateXYZ(double x_, double y_, double z_, TrotOrder order_ = kRotXYZ) noexcept
        : x(x_), y(y_), z(z_), order(order_) {}
    explicit TrotateXYZ(TnoInit) noexcept {}
    /// The angles of a rotation matrix in order (decompose1).
    TrotateXYZ(const T4dDblMatrix& rotation, TrotOrder order_) noexcept;

    /// Axis indices (0 x, 1 y, 2 z) in application order, per order code.
    static const int fsOrderMap[6][3];
    /// "xyz", "yzx", ...; "xyz" for a code outside 0-5.
    static const char* orderName(TrotOrder order) noexcept;
    /// The order as used: "xyz" for a code outside 0-5.
    TrotOrder effectiveOrder() const noexcept { return order >= 0 && order <= 5 ? order : kRotXYZ; }

    TrotateXYZ& set(double x_, double y_, double z_, TrotOrder order_ = kRotXYZ) noexcept;
    TrotateXYZ& set(const T4dDblVector& angles, TrotOrder order_ = kRotXYZ) noexcept;
    /// Angle i: 0 x, 1 y, 2 z.
    double value(int i) const noexcept;
    /// (x, y, z).
    T4dDblVector asVector() const noexcept;

    /// The angles of a rotation matrix (decompose1), in this object's order.
    TrotateXYZ& operator=(const T4dDblMatrix& rotation) noexcept;
    /// The angles of a rotation, in this object's order.
    TrotateXYZ& operator=(const Tquaternion& rotation) noexcept;
    /// Takes the angles, keeping the order.
    TrotateXYZ& operator=(const T4dDblVector& angles) noexcept;

    /// The rotation matrix (row-vector convention, no translation).
    operator T4dDblMatrix() const noexcept;
    operator Tquaternion() const noexcept;

    // Component-wise arithmetic on the angles; the result keeps this order.
    TrotateXYZ& operator+=(const TrotateXYZ& o) noexcept { return set(x + o.x, y + o.y, z + o.z, order); }
    TrotateXYZ& operator-=(const TrotateXYZ& o) noexcept { return set(x - o.x, y - o.y, z - o.z, order); }
    TrotateXYZ& operator*=(double d) noexcept { return set(x * d, y * d, z * d, order); }
    TrotateXYZ operator-() const noexcept { return TrotateXYZ(-x, -y, -z, order); }
    friend TrotateXYZ operator+(TrotateXYZ a, const TrotateXYZ& b) noexcept { return a += b; }
    friend TrotateXYZ operator-(TrotateXYZ a, const TrotateXYZ& b) noexcept { return a -= b; }
    friend TrotateXYZ operator*(TrotateXYZ a, double d) noexcept { return a *= d; }

    /// Composition: this rotation, then o; expressed in this object's order.
    TrotateXYZ& operator*=(const TrotateXYZ& o) noexcept;
    TrotateXYZ& operator*=(const Tquaternion& o) noexcept;
    friend TrotateXYZ operator*(TrotateXYZ a, const TrotateXYZ& b) noexcept { return a *= b; }
    friend TrotateXYZ operator*(TrotateXYZ a, const Tquaternion& b) noexcept { return a *= b; }

    /// The inverse rotation, in the same order.
    TrotateXYZ& invertIt() noexcept;
    [[nodiscard]] TrotateXYZ inverse() const noexcept { return TrotateXYZ(*this).invertIt(); }

    /// Every angle within tolerance of 0.
    bool isZero(double tolerance = 1e-10) const noexcept;
    /// The same order and every angle within tolerance.
    bool equivalent(const TrotateXYZ& o, double tolerance = 1e-10) const noexcept;
    /// |x| + |y| + |z|.
    double norm1() const noexcept;

    /// The same rotation in another order.
    TrotateXYZ& reorderIt(TrotOrder newOrder) noexcept;
    [[nodiscard]] TrotateXYZ reorder(TrotOrder newOrder) const noexcept { return TrotateXYZ(*this).reorderIt(newOrder); }

    /// Each angle wrapped into (-pi, pi].
    [[nodiscard]] TrotateXYZ bound() const noexcept;
    /// this = r with each angle wrapped into (-pi, pi].
    TrotateXYZ& bound(const TrotateXYZ& r) noexcept { return *this = r.bound(); }
    /// Shifts each angle by a whole number of turns to within pi of
    /// target's angle on the same axis.
    TrotateXYZ& closestCut(const TrotateXYZ& target) noexcept;
    /// The other set of angles for the same rotation: the outer angles moved
    /// by pi, the middle one mirrored about pi/2 (see decompose).
    [[nodiscard]] TrotateXYZ alternateSolution() const noexcept;
    /// Of this solution and its alternate, each cut closest to target, the
    /// one at the least norm1 distance from target (this one on a tie).
    /// weights, when given, scale the distance on x, y and z.
    TrotateXYZ& closestSolution(const TrotateXYZ& target, const double* weights = nullptr) noexcept;
    /// Turns by angle about axis after the current rotation, keeping the
    /// angles near their previous values (decompose2 with this as the
    /// target), so that a rotation made in small steps stays continuous.
    TrotateXYZ& incrementalRotateBy(double angle, const T4dDblVector& axis) noexcept;

    /// The two sets of angles (x, y, z in out[i]) of the rotation matrix
    /// m in order. In gimbal lock (the middle angle's cosine at most 1e-10)
    /// only out[0] is filled, with the third angle of the order 0, and the
    /// result is false; false too, with nothing filled, for an order code
    /// outside 0-5.
    static bool decompose(const T4dDblMatrix& m, TrotOrder order, T4dDblVector out[2]) noexcept;
    /// The solution of decompose with the smaller norm1 (the first on a
    /// tie); for an order code outside 0-5, that of "xyz".
    static TrotateXYZ decompose1(const T4dDblMatrix& m, TrotOrder order) noexcept;
    /// The solution of decompose, cut closest to near, at the least norm1
    /// distance from near.
    static TrotateXYZ decompose2(const T4dDblMatrix& m, TrotOrder order, const TrotateXYZ& near) noexcept;
    static TrotateXYZ quaternionToRotateXYZ(const Tquaternion& q, TrotOrder order = kRotXYZ) noexcept;

    static const TrotateXYZ identity;

    friend bool operator==(const TrotateXYZ& a, const TrotateXYZ& b) noexcept {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.order == b.order;
    }
    friend bool operator!=(const TrotateXYZ& a, const TrotateXYZ& b) noexcept { return !(a == b); }

    double x, y, z;
    TrotOrder order;

private:
    // The tail padding, named so that equal values are equal byte for byte
    // (plain arrays compare their elements as bytes).
    [[maybe_unused]] Tint32 fPadding = 0;
};

/// Prints "[order: xyz, x: a, y: b, z: c]".
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const TrotateXYZ& r);

inline constexpr TrotateXYZ TrotateXYZ::identity{};
