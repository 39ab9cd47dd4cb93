#include "grundel/math/TrotateXYZ.h"

#include "grundel/math/TdblGeometry.h"

#include <cmath>
#include <ostream>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kTwoPi = 2 * kPi;
// Just inside pi, so that an angle of exactly pi moves down rather than up.
constexpr double kPiInside = 3.141592653489793;
constexpr double kGimbalLock = 1e-10;

const char* const kOrderNames[6] = {"xyz", "yzx", "zxy", "xzy", "yxz", "zyx"};

double& angleOn(T4dDblVector& v, int axis) noexcept { return v[static_cast<unsigned int>(axis)]; }

/// The row-vector rotation matrix about one principal axis.
T4dDblMatrix axisRotation(int axis, double a) noexcept {
    const double c = std::cos(a), s = std::sin(a);
    switch (axis) {
    case 0:
        return T4dDblMatrix(1, 0, 0, 0, 0, c, s, 0, 0, -s, c, 0, 0, 0, 0, 1);
    case 1:
        return T4dDblMatrix(c, 0, -s, 0, 0, 1, 0, 0, s, 0, c, 0, 0, 0, 0, 1);
    default:
        return T4dDblMatrix(c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
    }
}

/// a wrapped into (-pi, pi].
double wrapped(double a) noexcept {
    if (!std::isfinite(a) || (a > -kPi && a <= kPi))
        return a;
    a = std::fmod(a, kTwoPi);
    if (a > kPi)
        a -= kTwoPi;
    else if (a <= -kPi)
        a += kTwoPi;
    return a;
}

/// a shifted by whole turns to within pi of target.
double cutNear(double a, double target) noexcept {
    const double d = wrapped(a - target);
    return std::isfinite(d) ? target + d : a;
}

double distance(const TrotateXYZ& a, const TrotateXYZ& b, const double* weights) noexcept {
    const double w[3] = {weights ? weights[0] : 1, weights ? weights[1] : 1, weights ? weights[2] : 1};
    return w[0] * std::fabs(a.x - b.x) + w[1] * std::fabs(a.y - b.y) + w[2] * std::fabs(a.z - b.z);
}

} // namespace

const int TrotateXYZ::fsOrderMap[6][3] = {{0, 1, 2}, {1, 2, 0}, {2, 0, 1}, {0, 2, 1}, {1, 0, 2}, {2, 1, 0}};

TrotateXYZ::TrotateXYZ(const T4dDblMatrix& rotation, TrotOrder order_) noexcept
    : TrotateXYZ(decompose1(rotation, order_)) {}

const char* TrotateXYZ::orderName(TrotOrder order) noexcept {
    return kOrderNames[order >= 0 && order <= 5 ? order : kRotXYZ];
}

TrotateXYZ& TrotateXYZ::set(double x_, double y_, double z_, TrotOrder order_) noexcept {
    x = x_;
    y = y_;
    z = z_;
    order = order_;
    return *this;
}

TrotateXYZ& TrotateXYZ::set(const T4dDblVector& angles, TrotOrder order_) noexcept {
    return set(angles.x, angles.y, angles.z, order_);
}

double TrotateXYZ::value(int i) const noexcept { return i == 0 ? x : i == 1 ? y : z; }

T4dDblVector TrotateXYZ::asVector() const noexcept { return T4dDblVector(x, y, z); }

TrotateXYZ& TrotateXYZ::operator=(const T4dDblMatrix& rotation) noexcept {
    return *this = decompose1(rotation, order);
}

TrotateXYZ& TrotateXYZ::operator=(const Tquaternion& rotation) noexcept {
    return *this = rotation.asMatrix();
}

TrotateXYZ& TrotateXYZ::operator=(const T4dDblVector& angles) noexcept { return set(angles, order); }

TrotateXYZ::operator T4dDblMatrix() const noexcept {
    const int* axes = fsOrderMap[effectiveOrder()];
    T4dDblMatrix m = axisRotation(axes[0], value(axes[0]));
    m *= axisRotation(axes[1], value(axes[1]));
    m *= axisRotation(axes[2], value(axes[2]));
    return m;
}

TrotateXYZ::operator Tquaternion() const noexcept {
    // Single-axis quaternions written out: no axis to normalise.
    const int* axes = fsOrderMap[effectiveOrder()];
    const auto about = [this](int axis) {
        const double half = value(axis) / 2;
        Tquaternion q(0, 0, 0, std::cos(half));
        (axis == 0 ? q.x : axis == 1 ? q.y : q.z) = std::sin(half);
        return q;
    };
    return about(axes[0]) * about(axes[1]) * about(axes[2]);
}

TrotateXYZ& TrotateXYZ::operator*=(const TrotateXYZ& o) noexcept {
    return *this = static_cast<T4dDblMatrix>(*this) * static_cast<T4dDblMatrix>(o);
}

TrotateXYZ& TrotateXYZ::operator*=(const Tquaternion& o) noexcept {
    return *this = static_cast<T4dDblMatrix>(*this) * o.asMatrix();
}

TrotateXYZ& TrotateXYZ::invertIt() noexcept { return *this = static_cast<T4dDblMatrix>(*this).transpose(); }

bool TrotateXYZ::isZero(double tolerance) const noexcept {
    return std::fabs(x) <= tolerance && std::fabs(y) <= tolerance && std::fabs(z) <= tolerance;
}

bool TrotateXYZ::equivalent(const TrotateXYZ& o, double tolerance) const noexcept {
    return effectiveOrder() == o.effectiveOrder() && std::fabs(x - o.x) <= tolerance &&
           std::fabs(y - o.y) <= tolerance && std::fabs(z - o.z) <= tolerance;
}

double TrotateXYZ::norm1() const noexcept { return std::fabs(x) + std::fabs(y) + std::fabs(z); }

TrotateXYZ& TrotateXYZ::reorderIt(TrotOrder newOrder) noexcept {
    return *this = decompose1(static_cast<T4dDblMatrix>(*this), newOrder);
}

TrotateXYZ TrotateXYZ::bound() const noexcept { return TrotateXYZ(wrapped(x), wrapped(y), wrapped(z), order); }

TrotateXYZ& TrotateXYZ::closestCut(const TrotateXYZ& target) noexcept {
    return set(cutNear(x, target.x), cutNear(y, target.y), cutNear(z, target.z), order);
}

TrotateXYZ TrotateXYZ::alternateSolution() const noexcept {
    const int* axes = fsOrderMap[effectiveOrder()];
    T4dDblVector a = asVector();
    for (int outer : {axes[0], axes[2]}) {
        double& v = angleOn(a, outer);
        v = v <= kPiInside ? v + kPi : v - kPi;
    }
    double& b = angleOn(a, axes[1]);
    b = b >= -kPiInside ? kPi - b : -kPi - b;
    return TrotateXYZ(a.x, a.y, a.z, order);
}

TrotateXYZ& TrotateXYZ::closestSolution(const TrotateXYZ& target, const double* weights) noexcept {
    TrotateXYZ first = *this, second = alternateSolution();
    first.closestCut(target);
    second.closestCut(target);
    return *this = distance(second, target, weights) < distance(first, target, weights) ? second : first;
}

TrotateXYZ& TrotateXYZ::incrementalRotateBy(double angle, const T4dDblVector& axis) noexcept {
    const T4dDblMatrix m = static_cast<T4dDblMatrix>(*this) * Tquaternion(angle, axis).asMatrix();
    return *this = decompose2(m, order, *this);
}

bool TrotateXYZ::decompose(const T4dDblMatrix& matrix, TrotOrder order, T4dDblVector out[2]) noexcept {
    if (order < 0 || order > 5)
        return false;
    const auto& m = matrix.m;
    double c = 0, first = 0, middle = 0, third = 0, lockFirst = 0;
    switch (order) {
    case kRotXYZ:
        c = std::sqrt(m[0][0] * m[0][0] + m[0][1] * m[0][1]);
        first = std::atan2(m[1][2], m[2][2]), middle = std::atan2(-m[0][2], c), third = std::atan2(m[0][1], m[0][0]);
        lockFirst = std::atan2(-m[2][1], m[1][1]);
        break;
    case kRotYZX:
        c = std::sqrt(m[1][1] * m[1][1] + m[1][2] * m[1][2]);
        first = std::atan2(m[2][0], m[0][0]), middle = std::atan2(-m[1][0], c), third = std::atan2(m[1][2], m[1][1]);
        lockFirst = std::atan2(-m[0][2], m[2][2]);
        break;
    case kRotZXY:
        c = std::sqrt(m[2][0] * m[2][0] + m[2][2] * m[2][2]);
        first = std::atan2(m[0][1], m[1][1]), middle = std::atan2(-m[2][1], c), third = std::atan2(m[2][0], m[2][2]);
        lockFirst = std::atan2(-m[1][0], m[0][0]);
        break;
    case kRotXZY:
        c = std::sqrt(m[0][0] * m[0][0] + m[0][2] * m[0][2]);
        first = std::atan2(-m[2][1], m[1][1]), middle = std::atan2(m[0][1], c), third = std::atan2(-m[0][2], m[0][0]);
        lockFirst = std::atan2(m[1][2], m[2][2]);
        break;
    case kRotYXZ:
        c = std::sqrt(m[1][0] * m[1][0] + m[1][1] * m[1][1]);
        first = std::atan2(-m[0][2], m[2][2]), middle = std::atan2(m[1][2], c), third = std::atan2(-m[1][0], m[1][1]);
        lockFirst = std::atan2(m[2][0], m[0][0]);
        break;
    case kRotZYX:
        c = std::sqrt(m[2][1] * m[2][1] + m[2][2] * m[2][2]);
        first = std::atan2(-m[1][0], m[0][0]), middle = std::atan2(m[2][0], c), third = std::atan2(-m[2][1], m[2][2]);
        lockFirst = std::atan2(m[0][1], m[1][1]);
        break;
    }
    const int* axes = fsOrderMap[order];
    const bool locked = c <= kGimbalLock;
    angleOn(out[0], axes[0]) = locked ? lockFirst : first;
    angleOn(out[0], axes[1]) = middle;
    angleOn(out[0], axes[2]) = locked ? 0 : third;
    if (locked)
        return false;
    out[1] = TrotateXYZ(out[0].x, out[0].y, out[0].z, order).alternateSolution().asVector();
    return true;
}

TrotateXYZ TrotateXYZ::decompose1(const T4dDblMatrix& m, TrotOrder order) noexcept {
    const TrotOrder used = order >= 0 && order <= 5 ? order : kRotXYZ;
    T4dDblVector out[2];
    TrotateXYZ result(0, 0, 0, order);
    if (!decompose(m, used, out))
        return result.set(out[0], order);
    const TrotateXYZ a(out[0].x, out[0].y, out[0].z, order), b(out[1].x, out[1].y, out[1].z, order);
    return b.norm1() < a.norm1() ? b : a;
}

TrotateXYZ TrotateXYZ::decompose2(const T4dDblMatrix& m, TrotOrder order, const TrotateXYZ& near) noexcept {
    TrotateXYZ r = decompose1(m, order);
    return r.closestSolution(near);
}

TrotateXYZ TrotateXYZ::quaternionToRotateXYZ(const Tquaternion& q, TrotOrder order) noexcept {
    return decompose1(q.asMatrix(), order);
}

std::ostream& operator<<(std::ostream& out, const TrotateXYZ& r) {
    return out << "[order: " << TrotateXYZ::orderName(r.order) << ", x: " << r.x << ", y: " << r.y << ", z: " << r.z
               << "]";
}
