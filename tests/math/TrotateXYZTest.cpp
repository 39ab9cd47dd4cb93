#include "grundel/math/TrotateXYZ.h"

#include "grundel/math/TdblGeometry.h"
#include "grundel/math/T4dFltVector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>

namespace {

constexpr double kPi = 3.14159265358979323846;
const TrotOrder kOrders[] = {kRotXYZ, kRotYZX, kRotZXY, kRotXZY, kRotYXZ, kRotZYX};

Tquaternion randomQuaternion(std::mt19937& rng) {
    std::uniform_real_distribution<double> d(-1, 1);
    return Tquaternion(d(rng), d(rng), d(rng), d(rng)).normal();
}

TEST(Tquaternion, ProductsAgreeWithMatrixProducts) {
    std::mt19937 rng(3);
    for (int i = 0; i < 100; ++i) {
        const Tquaternion a = randomQuaternion(rng), b = randomQuaternion(rng);
        EXPECT_TRUE((a * b).asMatrix().equivalent(a.asMatrix() * b.asMatrix(), 1e-12));
        EXPECT_TRUE(Tquaternion(a.asMatrix()).equivalent(a, 1e-12));
        EXPECT_TRUE((a * a.inverse()).equivalent(Tquaternion(), 1e-12));
        const T4dDblVector v(1, -2, 0.5);
        EXPECT_TRUE(T4dDblVector(v).rotateBy(a).equivalent(v * a.asMatrix(), 1e-12));
    }
    // A quarter turn about Z takes x to y, right-handed.
    const Tquaternion q(kPi / 2, T4dDblVector(0, 0, 2));
    EXPECT_TRUE((T4dDblVector::xAxis * q.asMatrix()).equivalent(T4dDblVector::yAxis));
    EXPECT_NEAR(q.angle(), kPi / 2, 1e-15);
    EXPECT_TRUE(q.axis().equivalent(T4dDblVector::zAxis));
}

TEST(Tquaternion, Interpolation) {
    const Tquaternion a, b(kPi / 2, T4dDblVector::zAxis);
    EXPECT_TRUE(Tquaternion::slerp(a, b, 0).equivalent(a));
    EXPECT_TRUE(Tquaternion::slerp(a, b, 1).equivalent(b));
    EXPECT_TRUE(Tquaternion::slerp(a, b, 0.5).equivalent(Tquaternion(kPi / 4, T4dDblVector::zAxis), 1e-12));
    EXPECT_TRUE(Tquaternion::slerp(a, -b, 0.5).equivalent(Tquaternion(kPi / 4, T4dDblVector::zAxis), 1e-12));
    const Tquaternion c(kPi, T4dDblVector::zAxis);
    const Tquaternion s1 = Tquaternion::squadPt(a, b, c);
    EXPECT_TRUE(Tquaternion::squad(a, b, a, s1, 0).equivalent(a, 1e-12));
    EXPECT_TRUE(Tquaternion::squad(a, b, a, s1, 1).equivalent(b, 1e-12));
    // Evenly spaced turns about one axis: the control point is the key itself.
    EXPECT_TRUE(s1.equivalent(b, 1e-12));
    EXPECT_TRUE(b.log().exp().equivalent(b, 1e-12));
}

TEST(TrotateXYZ, MatrixQuaternionAndVectorAgree) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> angle(-3, 3);
    for (TrotOrder order : kOrders)
        for (int i = 0; i < 20; ++i) {
            const TrotateXYZ r(angle(rng), angle(rng), angle(rng), order);
            const T4dDblMatrix m = r;
            const Tquaternion q = r;
            EXPECT_TRUE(q.asMatrix().equivalent(m, 1e-12));
            const T4dDblVector v(0.3, -1, 2);
            EXPECT_TRUE(T4dDblVector(v).rotateBy(r).equivalent(v * m, 1e-12));
            // Round trip through the decomposition gives the same rotation.
            const TrotateXYZ back = TrotateXYZ::decompose1(m, order);
            EXPECT_TRUE(static_cast<T4dDblMatrix>(back).equivalent(m, 1e-12)) << r;
            EXPECT_TRUE(static_cast<T4dDblMatrix>(r.alternateSolution()).equivalent(m, 1e-12)) << r;
            EXPECT_TRUE(static_cast<T4dDblMatrix>(r.reorder(kRotZYX)).equivalent(m, 1e-12)) << r;
        }
    // "xyz" turns about X first: the matrix is Rx * Ry * Rz.
    const TrotateXYZ r(kPi / 2, kPi / 2, 0);
    EXPECT_TRUE(T4dDblVector(0, 1, 0).rotateBy(r).equivalent(T4dDblVector(1, 0, 0)));
    EXPECT_TRUE(T4dFltVector(0, 1, 0).rotateBy(r).equivalent(T4dFltVector(1, 0, 0)));
}

TEST(TrotateXYZ, DecomposePicksTheSmallerSolution) {
    const TrotateXYZ r(0.1, 0.2, 0.3);
    EXPECT_TRUE(TrotateXYZ::decompose1(r, kRotXYZ).equivalent(r, 1e-12));
    T4dDblVector out[2];
    ASSERT_TRUE(TrotateXYZ::decompose(r, kRotXYZ, out));
    EXPECT_TRUE(out[1].equivalent(T4dDblVector(kPi + 0.1, kPi - 0.2, kPi + 0.3), 1e-12));
    TrotateXYZ assigned(0, 0, 0, kRotYXZ);
    assigned = static_cast<T4dDblMatrix>(TrotateXYZ(0.1, 0.2, 0.3, kRotYXZ));
    EXPECT_TRUE(assigned.equivalent(TrotateXYZ(0.1, 0.2, 0.3, kRotYXZ), 1e-12));
}

TEST(TrotateXYZ, GimbalLock) {
    const T4dDblMatrix m = TrotateXYZ(0.4, kPi / 2, 0.3);
    T4dDblVector out[2] = {T4dDblVector(9, 9, 9), T4dDblVector(9, 9, 9)};
    EXPECT_FALSE(TrotateXYZ::decompose(m, kRotXYZ, out));
    EXPECT_EQ(out[0].z, 0);
    EXPECT_EQ(out[1], T4dDblVector(9, 9, 9));
    EXPECT_TRUE(static_cast<T4dDblMatrix>(TrotateXYZ(out[0].x, out[0].y, 0)).equivalent(m, 1e-12));
    EXPECT_FALSE(TrotateXYZ::decompose(m, static_cast<TrotOrder>(6), out));
}

TEST(TrotateXYZ, SecondSolutionAtAndNearPi) {
    // Exactly pi moves down by pi; just inside the margin moves up.
    EXPECT_EQ(TrotateXYZ(kPi, 0, 0).alternateSolution().x, 0);
    EXPECT_EQ(TrotateXYZ(3.1415926534, 0, 0).alternateSolution().x, 3.1415926534 + kPi);
    EXPECT_EQ(TrotateXYZ(0, -kPi, 0).alternateSolution().y, 0);
    EXPECT_EQ(TrotateXYZ(0, -3.1415926534, 0).alternateSolution().y, kPi + 3.1415926534);
}

TEST(TrotateXYZ, KeepingAnglesNear) {
    EXPECT_TRUE(TrotateXYZ(3 * kPi, -3.5 * kPi, 0.5).bound().equivalent(TrotateXYZ(kPi, 0.5 * kPi, 0.5), 1e-12));
    TrotateXYZ r(0.1, 0.2, 0.3);
    r.closestCut(TrotateXYZ(10, -10, 0));
    EXPECT_TRUE(r.equivalent(TrotateXYZ(0.1 + 4 * kPi, 0.2 - 4 * kPi, 0.3), 1e-12));
    // Small steps about Z past pi stay continuous instead of jumping to -pi.
    TrotateXYZ turning;
    for (int i = 0; i < 40; ++i)
        turning.incrementalRotateBy(0.1, T4dDblVector::zAxis);
    EXPECT_NEAR(turning.z, 4.0, 1e-9);
    EXPECT_NEAR(turning.x, 0, 1e-9);
}

TEST(TrotateXYZ, OrderOutOfRangeReadsAsXyz) {
    const TrotateXYZ odd(0.1, 0.2, 0.3, static_cast<TrotOrder>(9));
    EXPECT_EQ(static_cast<T4dDblMatrix>(odd), static_cast<T4dDblMatrix>(TrotateXYZ(0.1, 0.2, 0.3)));
    std::ostringstream out;
    out << odd << ' ' << TrotateXYZ(1, 2, 3, kRotZYX) << ' ' << Tquaternion() << ' '
        << Tquaternion(0.5, T4dDblVector(0, 2, 0));
    EXPECT_EQ(out.str(), "[order: xyz, x: 0.1, y: 0.2, z: 0.3] [order: zyx, x: 1, y: 2, z: 3] "
                         "[angle: 0, axis: <1, 0, 0>] [angle: 0.5, axis: <0, 1, 0>]");
}

} // namespace
