#include "grundel/math/T4dDblVector.h"

#include "grundel/math/T2dFltVector.h"
#include "grundel/math/T4dFltVector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr double kDblTolerance = 1e-10;
constexpr double kPi = 3.14159265358979323846;

/// Rotates v by the unit quaternion q (x, y, z, w): q v q^-1.
T4dDblVector rotated(const T4dDblVector& v, const Tquaternion& q) {
    const T4dDblVector u(q.x, q.y, q.z);
    const T4dDblVector t = (u ^ v) * 2.0;
    return v + t * q.w + (u ^ t);
}

TEST(T4dDblVector, DefaultsAndConstants) {
    EXPECT_EQ(T4dDblVector(), T4dDblVector(0, 0, 0));
    EXPECT_EQ(T4dDblVector::identity, T4dDblVector(0, 0, 0));
    EXPECT_EQ(T4dDblVector::xAxis ^ T4dDblVector::yAxis, T4dDblVector::zAxis);
    EXPECT_EQ(T4dDblVector::yAxis ^ T4dDblVector::zAxis, T4dDblVector::xAxis);
    EXPECT_EQ(T4dFltVector::zAxis, T4dFltVector(0, 0, 1));
    T4dDblVector v(1, 2, 3);
    v[2] = 7;
    v(0) = 5;
    EXPECT_EQ(v, T4dDblVector(5, 2, 7));
    EXPECT_EQ(v[1], 2);
}

TEST(T4dDblVector, NormalizeThresholds) {
    T4dDblVector zero;
    EXPECT_EQ(zero.normalizeIt(), T4dDblVector());
    T4dDblVector tiny(1e-11, 0, 0); // squared length 1e-22, below 1e-20
    EXPECT_EQ(tiny.normalizeIt(), T4dDblVector(1e-11, 0, 0));
    const double nearUnit = std::sqrt(1 + 1e-10);
    T4dDblVector almost(nearUnit, 0, 0);
    EXPECT_EQ(almost.normalizeIt().x, nearUnit); // not rescaled
    T4dDblVector v(3, 0, 4);
    v.normalizeIt();
    EXPECT_DOUBLE_EQ(v.x, 0.6);
    EXPECT_DOUBLE_EQ(v.z, 0.8);
    EXPECT_EQ(T4dDblVector(0, 2, 0).normal(), T4dDblVector(0, 1, 0));

    // The float thresholds are 2e-5 on both sides.
    T4dFltVector f(0.004f, 0, 0); // squared 1.6e-5
    EXPECT_EQ(f.normalizeIt(), T4dFltVector(0.004f, 0, 0));
    T4dFltVector g(0.01f, 0, 0);
    EXPECT_FLOAT_EQ(g.normalizeIt().x, 1.0f);
}

TEST(T4dDblVector, NormalAndLength) {
    T4dDblVector n;
    double len = -1;
    T4dDblVector().getNormalAndLength(n, len);
    EXPECT_EQ(len, 0);
    EXPECT_EQ(n, T4dDblVector());
    const double nearUnit = std::sqrt(1 + 1e-10);
    T4dDblVector(0, nearUnit, 0).getNormalAndLength(n, len);
    EXPECT_EQ(len, 1.0);
    EXPECT_EQ(n.y, nearUnit);
    T4dDblVector(0, 0, -5).getNormalAndLength(n, len);
    EXPECT_EQ(len, 5);
    EXPECT_EQ(n, T4dDblVector(0, 0, -1));
}

TEST(T4dDblVector, ChangeLength) {
    T4dDblVector v(0, 3, 4);
    EXPECT_TRUE(v.changeLengthTo(10));
    EXPECT_TRUE(v.equivalent(T4dDblVector(0, 6, 8)));
    T4dDblVector z;
    EXPECT_FALSE(z.changeLengthTo(1));
    EXPECT_EQ(z, T4dDblVector());
}

TEST(T4dDblVector, DivisionBelowToleranceIsSkipped) {
    T4dDblVector v(1, 2, 3);
    v /= 0.0;
    EXPECT_EQ(v, T4dDblVector(1, 2, 3));
    v /= 1e-11;
    EXPECT_EQ(v, T4dDblVector(1, 2, 3));
    EXPECT_EQ(v / 2.0, T4dDblVector(0.5, 1, 1.5));
    T4dFltVector f(1, 2, 3);
    EXPECT_EQ(f / 1e-6f, f);
    T2dFltVector g(1, 2);
    EXPECT_EQ(g / 0.0f, g);
}

TEST(T4dDblVector, Comparisons) {
    const T4dDblVector v(1, 2, 3);
    EXPECT_FALSE(v.equivalent(v, 0)); // strict
    EXPECT_TRUE(v.equivalent(v));
    EXPECT_TRUE(v.equivalent(v + T4dDblVector(5e-11, 0, 0)));
    EXPECT_FALSE(v.equivalent(v + T4dDblVector(2e-10, 0, 0)));
    EXPECT_TRUE(T4dDblVector(1, 0, 0).parallel(T4dDblVector(-1, 0, 0)));
    EXPECT_TRUE(T4dDblVector(2, 2, 0).parallel(T4dDblVector(-1, -1, 0)));
    EXPECT_FALSE(T4dDblVector(1, 0, 0).parallel(T4dDblVector(1, 1e-3, 0)));
    EXPECT_FALSE(T4dDblVector().parallel(T4dDblVector(1, 0, 0)));
    EXPECT_TRUE(T4dDblVector(1e-11, 0, 0).zeroLength());
    EXPECT_FALSE(T4dDblVector(1e-9, 0, 0).zeroLength());
    EXPECT_TRUE(T4dDblVector(0, 1 + 0.9e-10, 0).unitLength());
    EXPECT_FALSE(T4dDblVector(0, 1 + 2e-10, 0).unitLength());
    EXPECT_TRUE(T4dDblVector(0, 0, 1e-300).nonZero());
    EXPECT_FALSE(T4dDblVector().nonZero());
    EXPECT_TRUE(T2dFltVector(1, 0).parallel(T2dFltVector(-3, 0)));
}

TEST(T4dDblVector, DominantAxisTiesGoLater) {
    EXPECT_EQ(T4dDblVector(1, 1, 0).dominantAxis(), kYAxis);
    EXPECT_EQ(T4dDblVector(1, 1, 1).dominantAxis(), kZAxis);
    EXPECT_EQ(T4dDblVector(2, 1, 1).dominantAxis(), kXAxis);
    EXPECT_EQ(T4dDblVector(0, 2, 2).dominantAxis(), kZAxis);
    EXPECT_EQ(T4dDblVector(2, 0, 2).dominantAxis(), kZAxis);
    EXPECT_EQ(T4dDblVector(1, -5, 2).dominantAxis(), kYAxis);
    EXPECT_EQ(T4dDblVector(1, -5, 2).maxComponent(), -5);
}

TEST(T4dDblVector, ApproxLength) {
    EXPECT_EQ(T4dDblVector(-1, 4, 2).approxLength(), 4 + 0.34375 * 2 + 0.25 * 1);
    EXPECT_EQ(T4dDblVector(0, 0, -3).approxLength(), 3);
    EXPECT_EQ(T4dDblVector(2, 2, 2).approxLength(), 2 * (1 + 0.34375 + 0.25));
}

TEST(T4dDblVector, Products) {
    const T4dDblVector a(1, 2, 3), b(4, 5, 6);
    EXPECT_EQ(a * b, 32);
    EXPECT_EQ(a.dotProduct(b), 32);
    EXPECT_EQ(a ^ b, T4dDblVector(-3, 6, -3));
    T4dDblVector c = a;
    c.setToCrossProduct(c, b); // aliasing the result
    EXPECT_EQ(c, T4dDblVector(-3, 6, -3));
    EXPECT_EQ(a.length(), std::sqrt(14.0));
    EXPECT_EQ(a.norm(), 14);
    EXPECT_TRUE(a.componentAlong(T4dDblVector(0, 0, 9)).equivalent(T4dDblVector(0, 0, 3)));
    EXPECT_EQ(-a, T4dDblVector(-1, -2, -3));
    EXPECT_EQ(a.inverse(), -a);
}

TEST(T4dDblVector, MatrixProductsUseTheRotationBlock) {
    // Rows: (1 2 3 0) (4 5 6 0) (7 8 9 0) (10 11 12 1).
    const T4dDblMatrix m(1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 10, 11, 12, 1);
    const T4dDblVector v(1, 0, 2);
    // v * M = 1 * row0 + 2 * row2; the translation row is ignored.
    EXPECT_EQ(v * m, T4dDblVector(15, 18, 21));
    T4dDblVector w = v;
    EXPECT_EQ(w.premultBy(m), T4dDblVector(7, 16, 25)); // M * v as a column
    w = v;
    w *= m;
    EXPECT_EQ(w, T4dDblVector(15, 18, 21));

    const T4dDblMatrix t = T4dDblVector(7, 8, 9);
    EXPECT_EQ(t, T4dDblMatrix(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 7, 8, 9, 1));
    w = m;
    EXPECT_EQ(w, T4dDblVector(10, 11, 12));
}

TEST(T4dDblVector, RotateByAxis) {
    T4dDblVector v(1, 0, 0);
    v.rotateBy(kYAxis, kPi / 2); // right-handed: x turns to -z
    EXPECT_TRUE(v.equivalent(T4dDblVector(0, 0, -1)));
    v.set(0, 1, 0).rotateBy(kXAxis, kPi / 2);
    EXPECT_TRUE(v.equivalent(T4dDblVector(0, 0, 1)));
    v.set(1, 0, 0).rotateBy(kZAxis, kPi / 2);
    EXPECT_TRUE(v.equivalent(T4dDblVector(0, 1, 0)));
    v.set(1, 2, 3).rotateBy(kZAxis, 5e-11);
    EXPECT_EQ(v, T4dDblVector(1, 2, 3));
    v.rotateBy(static_cast<Taxis>(3), 1.0);
    EXPECT_EQ(v, T4dDblVector(1, 2, 3));
}

TEST(T4dDblVector, RotateTo) {
    const T4dDblVector pairs[][2] = {{{1, 0, 0}, {0, 1, 0}},  {{1, 2, 3}, {-2, 0.5, 1}}, {{1, 0, 0}, {-1, 0, 0}},
                                     {{0, 3, 4}, {0, -3, -4}}, {{1, 1, 1}, {2, 2, 2}},   {{0, 0, 1}, {0, 1e-12, -1}}};
    for (const auto& p : pairs) {
        const Tquaternion q = p[0].rotateTo(p[1]);
        EXPECT_NEAR(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w, 1, 1e-12);
        EXPECT_TRUE(rotated(p[0].normal(), q).equivalent(p[1].normal(), 1e-9)) << p[0] << " to " << p[1];
    }
    EXPECT_EQ(T4dDblVector().rotateTo(T4dDblVector(1, 0, 0)), Tquaternion());
    EXPECT_EQ(T4dDblVector(1, 0, 0).rotateTo(T4dDblVector()), Tquaternion());
}

TEST(T4dDblVector, AngleBetweenInRadians) {
    EXPECT_EQ(T4dDblVector(2, 0, 0).angleBetween(T4dDblVector(3, 0, 0)).inRadians(), 0);
    EXPECT_EQ(T4dDblVector(2, 0, 0).angleBetween(T4dDblVector(-3, 0, 0)).inRadians(), kPi);
    EXPECT_EQ(T4dDblVector(2, 0, 0).angle(T4dDblVector(-3, 0, 0)).unit(), kAngleRadians);
    EXPECT_DOUBLE_EQ(T4dDblVector(1, 0, 0).angleBetween(T4dDblVector(1, 1, 0)).inRadians(), kPi / 4);
    EXPECT_DOUBLE_EQ(T4dDblVector(0, 0, 5).angleBetween(T4dDblVector(0, 1, 0)).inDegrees(), 90);
    EXPECT_FLOAT_EQ(float(T4dFltVector(1, 0, 0).angleBetween(T4dFltVector(0, -1, 1)).inRadians()), float(kPi / 2));
    EXPECT_EQ(T4dFltVector(0, 2, 0).angleBetween(T4dFltVector(0, -1, 0)).inRadians(), kPi);
}

TEST(T4dDblVector, NonFiniteInputIsAbsorbed) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    T4dDblVector v(nan, 0, 0);
    v.normalizeIt();
    EXPECT_TRUE(std::isnan(v.x));
    EXPECT_FALSE(T4dDblVector(nan, 0, 0).equivalent(T4dDblVector()));
    EXPECT_FALSE(T4dDblVector(inf, 0, 0).unitLength());
    T4dDblVector w(inf, 1, 0);
    w.rotateBy(kZAxis, 1.0);
    w.rotateBy(kZAxis, nan);
    const Tquaternion q = T4dDblVector(nan, 0, 0).rotateTo(T4dDblVector(1, 0, 0));
    EXPECT_EQ(q, Tquaternion());
}

} // namespace
