#include "grundel/math/T4dDblPoint.h"

#include "grundel/math/T2dFltPoint.h"
#include "grundel/math/T4dFltPoint.h"
#include "grundel/math/TdblPoint.h"
#include "grundel/math/TuvPoint.h"

#include <gtest/gtest.h>

namespace {

TEST(T4dDblPoint, HomogeneousForms) {
    EXPECT_EQ(T4dDblPoint(2, 4, 6, 2).cartesian(), T4dDblPoint(1, 2, 3, 1));
    EXPECT_EQ(T4dDblPoint(2, 4, 6, 2).rational(), T4dDblPoint(1, 2, 3, 2));
    EXPECT_EQ(T4dDblPoint(1, 2, 3, 2).homogenous(), T4dDblPoint(2, 4, 6, 2));
    EXPECT_EQ(T4dFltPoint(2, 4, 6, 2).cartesian(), T4dFltPoint(1, 2, 3, 1));

    // w = 0 (a point at infinity) does not divide.
    EXPECT_EQ(T4dDblPoint(2, 4, 6, 0).cartesian(), T4dDblPoint(2, 4, 6, 0));
    EXPECT_EQ(T4dDblPoint(2, 4, 6, 0).rational(), T4dDblPoint(2, 4, 6, 0));
    // A w that is 1 only within rounding is still divided: the test is exact.
    const double w = 1 + 1e-16 * 4;
    EXPECT_NE(T4dDblPoint(3, 0, 0, w).cartesian().x, 3);
}

TEST(T4dDblPoint, PointsAndVectors) {
    const T4dDblPoint a(1, 2, 3), b(2, 4, 6, 2); // b is (1, 2, 3) too
    EXPECT_EQ(a - b, T4dDblVector(0, 0, 0));
    EXPECT_EQ(T4dDblPoint(4, 4, 4) - a, T4dDblVector(3, 2, 1));
    EXPECT_EQ(b + T4dDblVector(1, 1, 1), T4dDblPoint(2, 3, 4, 1));
    EXPECT_EQ(b - T4dDblVector(1, 1, 1), T4dDblPoint(0, 1, 2, 1));
    const T4dDblPoint infinite(1, 0, 0, 0);
    EXPECT_EQ(infinite + T4dDblVector(1, 1, 1), infinite);
    EXPECT_EQ(a.distanceTo(T4dDblPoint(4, 6, 3)), 5);
    EXPECT_EQ(a.distance2To(T4dDblPoint(4, 6, 3)), 25);
    EXPECT_EQ(a.distanceTo(T3dDblPoint(1, 2, 8)), 5);
}

TEST(T4dDblPoint, AffineCombinationsGoThroughTuples) {
    const T4dDblPoint a(0, 2, 4), b(2, 4, 6, 2);
    const T4dDblPoint mid((a + b.cartesian()) * 0.5);
    EXPECT_EQ(mid, T4dDblPoint(0.5, 2, 3.5, 1));
    EXPECT_EQ(a + b, Ttuple(2, 6, 10, 3));
    EXPECT_EQ(a / 2.0, Ttuple(0, 1, 2, 0.5));
    EXPECT_EQ(a / 0.0, a.toTuple());

    const T3dDblPoint p(1, 1, 1), q(3, 5, 7);
    EXPECT_EQ(T3dDblPoint((p + q) / 2.0), T3dDblPoint(2, 3, 4));
    EXPECT_EQ(T3dDblPoint(p * 0.25 + q * 0.75), T3dDblPoint(2.5, 4, 5.5));
    EXPECT_EQ((p * 0.25 + q * 0.75).w, 1);
    EXPECT_EQ(q - p, T4dDblVector(2, 4, 6));
    EXPECT_EQ(p + T4dDblVector(1, 0, 0), T3dDblPoint(2, 1, 1));

    Ttuple t;
    t += a;
    t += T3dDblPoint(1, 1, 1);
    t += T4dDblVector(1, 0, 0);
    EXPECT_EQ(t, Ttuple(2, 3, 5, 2));
    EXPECT_EQ(T4dDblVector(t), T4dDblVector(2, 3, 5));
    EXPECT_EQ(-t, Ttuple(-2, -3, -5, -2));
    t /= 0.0;
    EXPECT_EQ(t, Ttuple(2, 3, 5, 2));
    EXPECT_EQ(t.clear(), Ttuple());
}

TEST(T4dDblPoint, MatrixProductsUseAllSixteenElements) {
    const T4dDblMatrix m(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
    // (1, 0, 2, 1) * M = row0 + 2 row2 + row3.
    EXPECT_EQ(T4dDblPoint(1, 0, 2) * m, T4dDblPoint(32, 36, 40, 44));
    T4dDblPoint p(1, 0, 2);
    EXPECT_EQ(p.premultBy(m), T4dDblPoint(11, 27, 43, 59));
    Ttuple t(1, 0, 2, 1);
    EXPECT_EQ(t *= m, Ttuple(32, 36, 40, 44));

    // A 3-D point takes w = 1 and divides by a projective w.
    EXPECT_TRUE((T3dDblPoint(1, 0, 2) * m).equivalent(T3dDblPoint(32 / 44.0, 36 / 44.0, 40 / 44.0)));
    const T4dDblMatrix move(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1);
    EXPECT_EQ(T3dDblPoint(1, 2, 3) * move, T3dDblPoint(11, 22, 33));
    EXPECT_EQ(T4dDblPoint(1, 2, 3) * move, T4dDblPoint(11, 22, 33, 1));
}

TEST(T4dDblPoint, EquivalenceIncludesWAndEquality) {
    const T4dDblPoint a(1, 2, 3);
    EXPECT_TRUE(a.equivalent(a, 0));
    EXPECT_FALSE(a.equivalent(T4dDblPoint(1, 2, 3, 1 + 1e-9)));
    EXPECT_TRUE(a.equivalent(T4dDblPoint(1, 2, 3, 1 + 1e-11)));
    EXPECT_TRUE(T3dDblPoint(1, 2, 3).equivalent(T3dDblPoint(1, 2, 3), 0));
    EXPECT_TRUE(T2dFltPoint(1, 2).equivalent(T2dFltPoint(1, 2.000001f)));
    double tolerance = 0.5;
    EXPECT_TRUE(TdblPoint(1, 1).equivalent(TdblPoint(1.3, 1.3), tolerance));
}

TEST(T4dDblPoint, SmallPointTypes) {
    TdblPoint p(1, 2);
    p.move(1, 1);
    p += TdblPoint(10, 10);
    EXPECT_EQ(p, TdblPoint(12, 13));
    EXPECT_EQ(p.moveTo(0, 1), TdblPoint(0, 1));
    EXPECT_EQ(T2dFltPoint(3, 4) - T2dFltPoint(), T2dFltVector(3, 4));
    EXPECT_EQ(T2dFltVector(1, 0) ^ T2dFltVector(0, 1), 1.0f);
    TuvPoint uv;
    uv = T4dDblPoint(0.25, 0.5, 9, 2);
    EXPECT_EQ(uv, TuvPoint(0.25, 0.5));
    uv = T3dFltPoint(1, 2, 3);
    EXPECT_EQ(uv, TuvPoint(1, 2));
    EXPECT_EQ(TuvPoint::unit, TuvPoint(1, 1));
}

} // namespace
