#include "grundel/math/Tquaternion.h"

#include "grundel/math/TdblGeometry.h"

#include <algorithm>
#include <cmath>
#include <ostream>

namespace {

constexpr double kTinySquare = 1e-20;

} // namespace

Tquaternion::Tquaternion(double angle, const T4dDblVector& axis) noexcept : Tquaternion() {
    setAxisAngle(axis, angle);
}

Tquaternion::Tquaternion(const T4dDblMatrix& rotation) noexcept {
    // R(i, j) reads the column-convention matrix, the transpose of the
    // row-convention one; the largest of w, x, y, z is found first so that
    // no division is by a small number.
    const auto& m = rotation.m;
    const auto R = [&m](int i, int j) { return m[j][i]; };
    const double trace = R(0, 0) + R(1, 1) + R(2, 2);
    if (trace > 0) {
        const double s = 0.5 / std::sqrt(trace + 1);
        set((R(2, 1) - R(1, 2)) * s, (R(0, 2) - R(2, 0)) * s, (R(1, 0) - R(0, 1)) * s, 0.25 / s);
    } else if (R(0, 0) >= R(1, 1) && R(0, 0) >= R(2, 2)) {
        const double s = 2 * std::sqrt(std::max(0.0, 1 + R(0, 0) - R(1, 1) - R(2, 2)));
        set(0.25 * s, (R(0, 1) + R(1, 0)) / s, (R(0, 2) + R(2, 0)) / s, (R(2, 1) - R(1, 2)) / s);
    } else if (R(1, 1) >= R(2, 2)) {
        const double s = 2 * std::sqrt(std::max(0.0, 1 + R(1, 1) - R(0, 0) - R(2, 2)));
        set((R(0, 1) + R(1, 0)) / s, 0.25 * s, (R(1, 2) + R(2, 1)) / s, (R(0, 2) - R(2, 0)) / s);
    } else {
        const double s = 2 * std::sqrt(std::max(0.0, 1 + R(2, 2) - R(0, 0) - R(1, 1)));
        set((R(0, 2) + R(2, 0)) / s, (R(1, 2) + R(2, 1)) / s, 0.25 * s, (R(1, 0) - R(0, 1)) / s);
    }
    // A block that is no rotation at all (zero, or not finite) gives the identity.
    if (!std::isfinite(norm()))
        *this = Tquaternion();
    else
        normalizeIt();
}

Tquaternion& Tquaternion::setAxisAngle(const T4dDblVector& axis, double angle) noexcept {
    const double n = axis.norm();
    if (n <= kTinySquare)
        return *this = Tquaternion();
    const double s = std::sin(angle / 2) / std::sqrt(n);
    return set(axis.x * s, axis.y * s, axis.z * s, std::cos(angle / 2));
}

double Tquaternion::angle() const noexcept {
    const double v = std::sqrt(x * x + y * y + z * z);
    return 2 * std::atan2(v, w);
}

T4dDblVector Tquaternion::axis() const noexcept {
    const T4dDblVector v(x, y, z);
    const double n = v.norm();
    if (n <= kTinySquare)
        return T4dDblVector::xAxis;
    return v / std::sqrt(n);
}

void Tquaternion::getAxisAngle(T4dDblVector& axisOut, double& angleOut) const noexcept {
    axisOut = axis();
    angleOut = angle();
}

T4dDblMatrix Tquaternion::asMatrix() const noexcept {
    const double xx = x * x, yy = y * y, zz = z * z;
    const double xy = x * y, xz = x * z, yz = y * z, xw = x * w, yw = y * w, zw = z * w;
    return T4dDblMatrix(1 - 2 * (yy + zz), 2 * (xy + zw), 2 * (xz - yw), 0,  //
                        2 * (xy - zw), 1 - 2 * (xx + zz), 2 * (yz + xw), 0,  //
                        2 * (xz + yw), 2 * (yz - xw), 1 - 2 * (xx + yy), 0,  //
                        0, 0, 0, 1);
}

Tquaternion::operator T4dDblMatrix() const noexcept { return asMatrix(); }

double Tquaternion::length() const noexcept { return std::sqrt(norm()); }

Tquaternion& Tquaternion::normalizeIt() noexcept {
    const double n = norm();
    if (n <= kTinySquare || n == 1)
        return *this;
    return *this *= 1 / std::sqrt(n);
}

Tquaternion& Tquaternion::invertIt() noexcept {
    const double n = norm();
    if (n <= kTinySquare)
        return *this;
    return set(-x / n, -y / n, -z / n, w / n);
}

Tquaternion Tquaternion::log() const noexcept {
    const double v = std::sqrt(x * x + y * y + z * z);
    if (v <= 1e-10)
        return Tquaternion(x, y, z, 0);
    const double half = std::atan2(v, w);
    return Tquaternion(x / v * half, y / v * half, z / v * half, 0);
}

Tquaternion Tquaternion::exp() const noexcept {
    const double v = std::sqrt(x * x + y * y + z * z);
    if (v <= 1e-10)
        return Tquaternion(x, y, z, 1).normal();
    const double s = std::sin(v) / v;
    return Tquaternion(x * s, y * s, z * s, std::cos(v));
}

Tquaternion Tquaternion::slerp(const Tquaternion& a, const Tquaternion& b, double t) noexcept {
    Tquaternion to = b;
    double c = a.dot(b);
    if (c < 0) { // the shorter arc
        to = -b;
        c = -c;
    }
    double wa = 1 - t, wb = t;
    if (c < 1 - 1e-10) {
        const double theta = std::acos(std::min(c, 1.0));
        const double s = std::sin(theta);
        wa = std::sin((1 - t) * theta) / s;
        wb = std::sin(t * theta) / s;
    }
    return (a * wa + to * wb).normal();
}

Tquaternion Tquaternion::squad(const Tquaternion& q1, const Tquaternion& q2, const Tquaternion& a,
                               const Tquaternion& b, double t) noexcept {
    return slerp(slerp(q1, q2, t), slerp(a, b, t), 2 * t * (1 - t));
}

Tquaternion Tquaternion::squadPt(const Tquaternion& q0, const Tquaternion& q1, const Tquaternion& q2) noexcept {
    // q1 exp(-(log(q1^-1 q0) + log(q1^-1 q2)) / 4), written in the
    // Hamilton order; our operator* composes in the reverse order.
    const Tquaternion inv = q1.conjugate();
    const Tquaternion l0 = (q0 * inv).log(), l2 = (q2 * inv).log();
    const Tquaternion e = (Tquaternion(l0.x + l2.x, l0.y + l2.y, l0.z + l2.z, 0) * -0.25).exp();
    return (e * q1).normal();
}

bool Tquaternion::equivalent(const Tquaternion& o, double tolerance) const noexcept {
    const Tquaternion d = *this - o, s = *this + o;
    return d.norm() <= tolerance * tolerance || s.norm() <= tolerance * tolerance;
}

std::ostream& operator<<(std::ostream& out, const Tquaternion& q) {
    const T4dDblVector a = q.axis();
    return out << "[angle: " << q.angle() << ", axis: <" << a.x << ", " << a.y << ", " << a.z << ">]";
}
