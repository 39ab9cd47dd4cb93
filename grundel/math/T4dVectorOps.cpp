#include "grundel/math/T4dVectorOps.h"

#include <cmath>

namespace grundel::detail {

namespace {

constexpr double kTinySquare = 1e-20;

double dot(const double a[3], const double b[3]) noexcept { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

void cross(const double a[3], const double b[3], double r[3]) noexcept {
    r[0] = a[1] * b[2] - a[2] * b[1];
    r[1] = a[2] * b[0] - a[0] * b[2];
    r[2] = a[0] * b[1] - a[1] * b[0];
}

void set(double q[4], double x, double y, double z, double w) noexcept {
    q[0] = x;
    q[1] = y;
    q[2] = z;
    q[3] = w;
}

} // namespace

void rotationBetween(const double a[3], const double b[3], double q[4]) noexcept {
    const double na = dot(a, a), nb = dot(b, b);
    if (!(na > kTinySquare && nb > kTinySquare))
        return set(q, 0, 0, 0, 1);
    // For unit a and b, (a x b, 1 + a.b) is the rotation by the angle
    // between them, scaled by 2 cos(angle / 2); normalising removes the
    // scale. Without normalising a and b first, the same holds with
    // |a| |b| as the 1.
    double axis[3];
    cross(a, b, axis);
    const double w = std::sqrt(na * nb) + dot(a, b);
    const double n = std::sqrt(dot(axis, axis) + w * w);
    if (n > 1e-10 * std::sqrt(na * nb))
        return set(q, axis[0] / n, axis[1] / n, axis[2] / n, w / n);
    // Opposite: half a turn about an axis perpendicular to a, taken across
    // a's smallest component for the best conditioned cross product.
    const double ax = std::fabs(a[0]), ay = std::fabs(a[1]), az = std::fabs(a[2]);
    const double e[3] = {ax <= ay && ax <= az ? 1.0 : 0.0, ay < ax && ay <= az ? 1.0 : 0.0,
                         az < ax && az < ay ? 1.0 : 0.0};
    double p[3];
    cross(a, e, p);
    const double np = std::sqrt(dot(p, p));
    set(q, p[0] / np, p[1] / np, p[2] / np, 0);
}

} // namespace grundel::detail
