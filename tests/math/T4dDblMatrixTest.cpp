#include "grundel/math/T4dDblMatrix.h"

#include "grundel/math/T4dFltMatrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr double kPi = 3.14159265358979323846;

const T4dDblMatrix kA(1, 2, 3, 4, 5, 6, 7, 8, 2, 6, 4, 8, 3, 1, 1, 2); // det 72, upper 3x3 det 24
const T4dDblMatrix kB(2, 0, 1, 0, 1, 3, 0, 1, 0, 1, 2, 0, 4, 0, 0, 1); // det 9

T4dDblMatrix translation(double x, double y, double z) { return T4dDblVector(x, y, z); }

T4dDblMatrix scale(double x, double y, double z) { return T4dDblMatrix(x, 0, 0, 0, 0, y, 0, 0, 0, 0, z, 0, 0, 0, 0, 1); }

T4dDblMatrix rotationZ(double a) {
    const double c = std::cos(a), s = std::sin(a);
    return T4dDblMatrix(c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
}

/// A well-conditioned matrix: a random rotation-like block with scales in
/// [0.5, 2], a random translation and, when projective, a small fourth column.
T4dDblMatrix randomMatrix(std::mt19937& rng, bool projective) {
    std::uniform_real_distribution<double> angle(-kPi, kPi), factor(0.5, 2), offset(-10, 10), small(-0.2, 0.2);
    T4dDblMatrix m = rotationZ(angle(rng));
    T4dDblMatrix tilt(1, 0, 0, 0, 0, std::cos(1.0), std::sin(1.0), 0, 0, -std::sin(1.0), std::cos(1.0), 0, 0, 0, 0, 1);
    m *= tilt;
    m.postmultBy(rotationZ(angle(rng)));
    m.premultBy(scale(factor(rng), factor(rng), factor(rng)));
    m *= translation(offset(rng), offset(rng), offset(rng));
    if (projective)
        for (int i = 0; i < 3; ++i)
            m[i][3] = small(rng);
    return m;
}

TEST(T4dDblMatrix, ProductsInTheRowVectorConvention) {
    EXPECT_EQ(kA * kB, T4dDblMatrix(20, 9, 7, 6, 48, 25, 19, 14, 42, 22, 10, 14, 15, 4, 5, 3));
    // Translate then scale: a point moves first, then the whole is scaled.
    const T4dDblMatrix ts = translation(1, 2, 3) * scale(2, 2, 2);
    EXPECT_EQ(T4dDblPoint(0, 0, 0) * ts, T4dDblPoint(2, 4, 6));
    EXPECT_EQ(T4dDblPoint(0, 0, 0) * (scale(2, 2, 2) * translation(1, 2, 3)), T4dDblPoint(1, 2, 3));

    T4dDblMatrix m = kA;
    m.setToProduct(m, m); // aliasing both operands
    EXPECT_EQ(m, kA * kA);
    m = kA;
    m.premultBy(kB);
    EXPECT_EQ(m, kB * kA);
    m = kA;
    m.postmultBy(kB);
    EXPECT_EQ(m, kA * kB);

    const T4dDblMatrix r = rotationZ(0.3) * translation(4, 5, 6), s = scale(1, 2, 3) * translation(-1, 0, 1);
    m.affineProduct(r, s);
    EXPECT_TRUE(m.equivalent(r * s, 1e-14));
    m = r;
    EXPECT_TRUE(m.affinePostmultBy(s).equivalent(r * s, 1e-14));
    m = r;
    EXPECT_TRUE(m.affinePremultBy(s).equivalent(s * r, 1e-14));
}

TEST(T4dDblMatrix, PreTranslateAndPreScale) {
    const double t[3] = {1, -2, 3}, s[3] = {2, 3, 4};
    T4dDblMatrix m = rotationZ(0.7) * translation(5, 6, 7);
    m.preTranslate(t);
    EXPECT_TRUE(m.equivalent(translation(1, -2, 3) * rotationZ(0.7) * translation(5, 6, 7), 1e-14));
    m = rotationZ(0.7) * translation(5, 6, 7);
    m.preScale(s);
    EXPECT_TRUE(m.equivalent(scale(2, 3, 4) * rotationZ(0.7) * translation(5, 6, 7), 1e-14));
}

TEST(T4dDblMatrix, Determinants) {
    EXPECT_EQ(kA.det4x4(), 72);
    EXPECT_EQ(kB.det4x4(), 9);
    EXPECT_EQ(kA.det3x3(), 24);
    EXPECT_EQ(T4dDblMatrix().det4x4(), 1);
    const T4dDblMatrix tiny = scale(1e-100, 1e-100, 1e-100);
    EXPECT_EQ(tiny.det4x4(), 1e-300);
    EXPECT_FALSE(tiny.isSingular());
    const T4dDblMatrix dependent(1, 2, 3, 4, 2, 4, 6, 8, 0, 1, 0, 1, 5, 5, 5, 5);
    EXPECT_TRUE(dependent.isSingular());
    // M * adjoint(M) = det * I.
    EXPECT_EQ(kA * kA.adjoint(), T4dDblMatrix() * 72.0);
}

TEST(T4dDblMatrix, InversesOfRandomMatrices) {
    std::mt19937 rng(20240517);
    for (int i = 0; i < 200; ++i) {
        const T4dDblMatrix m = randomMatrix(rng, i % 2 == 1);
        EXPECT_TRUE((m * m.inverse()).equivalent(T4dDblMatrix(), 1e-12)) << m;
        EXPECT_TRUE((m.fastInverse() * m).equivalent(T4dDblMatrix(), 1e-12)) << m;
        const T4dFltMatrix f(m);
        EXPECT_TRUE((f * f.inverse()).equivalent(T4dFltMatrix(), 1e-4f)) << m;
        EXPECT_TRUE((f * f.fastInverse()).equivalent(T4dFltMatrix(), 1e-4f)) << m;
    }
    EXPECT_EQ(kA * kA.inverse() * 1.0, kA * kA.inverse()); // no NaN
    EXPECT_TRUE((kA * kA.inverse()).equivalent(T4dDblMatrix(), 1e-14));
}

TEST(T4dDblMatrix, SingularDoubleMatrixInvertsPartially) {
    // Column 1 has no pivot: it is skipped and row 1 keeps its identity row.
    T4dDblMatrix m = scale(2, 0, 4);
    EXPECT_EQ(m.invertIt(), scale(0.5, 1, 0.25));
    T4dDblMatrix zero(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    EXPECT_EQ(zero.invertIt(), T4dDblMatrix());
}

TEST(T4dDblMatrix, SingularFloatMatrixBecomesIdentity) {
    T4dFltMatrix zeroRow(1, 2, 3, 4, 0, 0, 0, 0, 5, 6, 7, 8, 1, 0, 1, 1);
    EXPECT_EQ(zeroRow.invertIt(), T4dFltMatrix());
    T4dFltMatrix nearly(1e-6f, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
    EXPECT_EQ(nearly.inverse(), T4dFltMatrix());
    EXPECT_EQ(nearly.inverse(1e-7f), T4dFltMatrix(1e6f, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1));
    // Its determinant is positive, so the fast inverse takes the adjugate.
    EXPECT_TRUE(nearly.fastInverse().equivalent(T4dFltMatrix(1e6f, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1), 0.1f));
}

TEST(T4dDblMatrix, FastInverseOfMirrorsPivots) {
    T4dDblMatrix mirror = scale(-1, 1, 1);
    EXPECT_EQ(mirror.fastInvertIt(), scale(-1, 1, 1));
    const T4dDblMatrix turned = rotationZ(0.4) * scale(1, -2, 1) * translation(3, 2, 1);
    EXPECT_TRUE((turned * turned.fastInverse()).equivalent(T4dDblMatrix(), 1e-14));
    // A negative determinant, however small, takes the pivoting inverse: its
    // skipped pivot leaves the row alone instead of dividing by 1e-20.
    EXPECT_EQ(scale(-1e-20, 1, 1).fastInverse(), T4dDblMatrix());
    T4dFltMatrix fmirror(-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
    EXPECT_EQ(fmirror.fastInvertIt(), T4dFltMatrix(-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1));
}

TEST(T4dDblMatrix, Classification) {
    EXPECT_TRUE((rotationZ(1) * translation(1, 2, 3)).isAffine());
    EXPECT_FALSE(kA.isAffine());
    T4dDblMatrix almost = translation(1, 2, 3);
    almost[3][3] = 1 + 1e-11;
    almost[0][3] = -1e-11;
    EXPECT_TRUE(almost.isAffine());

    const T4dDblMatrix scaledRotation = rotationZ(1.1) * scale(2, 2, 2);
    EXPECT_TRUE(scaledRotation.isOrthogonal());
    EXPECT_FALSE((rotationZ(1.1) * scale(2, 2, 2.001)).isOrthogonal());
    EXPECT_FALSE(T4dDblMatrix(1, 0, 0, 0, 0.1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1).isOrthogonal());

    EXPECT_TRUE(kA.equivalent(kA, 0));
    T4dDblMatrix nudged = kA;
    nudged(7) += 2e-10;
    EXPECT_FALSE(kA.equivalent(nudged));
    EXPECT_NE(kA, nudged);
}

TEST(T4dDblMatrix, HomogenizeReorthonormalises) {
    T4dDblMatrix m = rotationZ(0.5) * translation(1, 2, 3);
    m[0][0] *= 1.01;
    m[1][0] += 0.02;
    m[2][2] = 3;
    m[0][3] = 0.5;
    m.homogenizeIt();
    EXPECT_TRUE(m.isOrthogonal());
    EXPECT_NEAR(m.det3x3(), 1, 1e-12);
    EXPECT_EQ(T4dDblVector(m[3][0], m[3][1], m[3][2]), T4dDblVector(1, 2, 3));
    EXPECT_EQ(m[0][3], 0.5);
    EXPECT_TRUE(T4dDblVector(m[0][0], m[0][1], m[0][2]).parallel(T4dDblVector(std::cos(0.5) * 1.01, std::sin(0.5), 0)));
}

TEST(T4dDblMatrix, NormalsAndTangents) {
    const T4dDblMatrix m = scale(2, 1, 1) * rotationZ(kPi / 2) * translation(5, 5, 5);
    // The plane x = 1 maps to the plane y = 2; its normal turns onto y.
    const T4dDblVector n = T4dDblVector(1, 0, 0) * m.convertForNormals();
    EXPECT_TRUE(n.equivalent(T4dDblVector(0, 0.5, 0)));
    T4dFltMatrix f(m);
    f.convertItForTangents();
    EXPECT_EQ(f[3][0], 0);
    EXPECT_EQ(f[3][3], 1);
    EXPECT_EQ(f[0][1], 2);
}

TEST(T4dDblMatrix, FrameTransposeAndConversions) {
    T4dDblMatrix frame;
    frame.setToFrame(T4dDblVector(0, 1, 0), T4dDblVector(-1, 0, 0), T4dDblVector(0, 0, 1), T4dDblPoint(7, 8, 9, 2));
    EXPECT_EQ(T4dDblPoint(1, 0, 0) * frame, T4dDblPoint(7, 9, 9));
    EXPECT_EQ(frame[3][3], 1);
    EXPECT_EQ(kA.transpose().transpose(), kA);
    EXPECT_EQ(kA.transpose()(1), 5);
    EXPECT_EQ(kA.array()[15], 2);

    const T4dFltMatrix f(kA);
    EXPECT_EQ(f.T4dDblMatrixOf(), kA);
    T4dFltMatrix g;
    g = T4dDblMatrix(0.1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
    EXPECT_EQ(g[0][0], 0.1f);

    T4dDblMatrix sum = kA;
    sum += kB;
    sum -= kA;
    EXPECT_EQ(sum, kB);
}

TEST(T4dDblMatrix, NonFiniteElementsAreAbsorbed) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    T4dDblMatrix m = kA;
    m[1][2] = nan;
    m.invertIt();
    m = kA;
    m[2][2] = inf;
    m.fastInvertIt();
    m.homogenizeIt();
    T4dFltMatrix f(kA);
    f[0][0] = static_cast<float>(nan);
    f.invertIt();
    f.fastInvertIt();
    EXPECT_FALSE(T4dDblMatrix(nan, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1).equivalent(T4dDblMatrix()));
}

} // namespace
