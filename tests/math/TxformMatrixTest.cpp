#include "grundel/math/TxformMatrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>

namespace {

constexpr double kPi = 3.14159265358979323846;
const TrotOrder kOrders[] = {kRotXYZ, kRotYZX, kRotZXY, kRotXZY, kRotYXZ, kRotZYX};

// Opens the protected pieces to the tests.
class Xform : public TxformMatrix {
public:
    using TxformMatrix::TxformMatrix;
    using TxformMatrix::operator=;
    Xform& set(const Tscale& s, const TrotateXYZ& r, const T4dDblVector& t, const Tshear& h) {
        fScale = s;
        fRotation = r;
        fTranslation = t;
        fShear = h;
        markRotationStale();
        return *this;
    }
    const TrotateXYZ& angles() const { return fRotation; }
};

T4dDblMatrix translate(const T4dDblVector& v) {
    T4dDblMatrix m;
    m.m[3][0] = v.x;
    m.m[3][1] = v.y;
    m.m[3][2] = v.z;
    return m;
}
T4dDblMatrix scaleOf(const Tscale& s) {
    T4dDblMatrix m;
    m.m[0][0] = s.x;
    m.m[1][1] = s.y;
    m.m[2][2] = s.z;
    return m;
}
T4dDblMatrix shearOf(const Tshear& h) {
    T4dDblMatrix m;
    m.m[1][0] = h.xy;
    m.m[2][0] = h.xz;
    m.m[2][1] = h.yz;
    return m;
}
T4dDblVector vec(const T4dDblPoint& p) { return T4dDblVector(p.x, p.y, p.z); }

struct Random {
    std::mt19937 rng{17};
    double operator()(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(rng); }
    T4dDblVector vector() { return T4dDblVector((*this)(-3, 3), (*this)(-3, 3), (*this)(-3, 3)); }
    Tscale scale() { return Tscale((*this)(0.2, 3), (*this)(0.2, 3), (*this)(-3, 3) < 0 ? (*this)(-3, -0.2) : (*this)(0.2, 3)); }
    Tshear shear() { return Tshear((*this)(-1, 1), (*this)(-1, 1), (*this)(-1, 1)); }
    Tquaternion quaternion() { return Tquaternion((*this)(-1, 1), (*this)(-1, 1), (*this)(-1, 1), (*this)(-1, 1)).normal(); }
    TrotateXYZ angles(TrotOrder order) { return TrotateXYZ((*this)(-3, 3), (*this)(-1.4, 1.4), (*this)(-3, 3), order); }

    // Every piece set, pivots and orientations included.
    Xform full(TrotOrder order) {
        Xform x;
        x.set(scale(), angles(order), vector(), shear());
        x.setScalePivot(T4dDblPoint(vector().x, vector().y, vector().z), kPreTransform, false);
        x.setScaleTranslation(vector(), kPreTransform);
        x.setRotatePivot(T4dDblPoint(vector().x, vector().y, vector().z), kPreTransform, false);
        x.setRotateTranslation(vector(), kPreTransform);
        x.setRotateOrient(quaternion(), kPreTransform, false);
        x.setJointOrient(quaternion(), kPreTransform, false);
        return x;
    }
};

TEST(TscaleTshear, ArithmeticAndPrintedForms) {
    EXPECT_EQ(Tscale(2, 3, 4) * Tscale(0.5, 2, 0.25), Tscale(1, 6, 1));
    EXPECT_EQ(Tscale(2, 3, 4).inverse(), Tscale(0.5, 1.0 / 3, 0.25));
    EXPECT_EQ(Tscale(2, 3, 4) / Tscale(2, 0, 4), Tscale(1, 3, 1)); // a zero factor is absorbed
    EXPECT_TRUE(Tshear().isZero());
    EXPECT_EQ(Tshear(1, 2, 3) + Tshear(1, 1, 1), Tshear(2, 3, 4));
    std::ostringstream out;
    out << Tscale() << ' ' << Tshear(0.5, 0, -1) << ' ' << Tshear2(1, 2, 3);
    EXPECT_EQ(out.str(), "[x: 1, y: 1, z: 1] [xy: 0.5, xz: 0, yz: -1] [xy: 1, xz: 2, yz: 3]");
}

TEST(TxformMatrix, RotatePivotStaysFixed) {
    TxformMatrix x;
    x.setRotatePivot(T4dDblPoint(1, 0, 0), kPreTransform, false);
    x.rotateTo(TrotateXYZ(0, 0, kPi), kPreTransform);
    EXPECT_TRUE((T4dDblPoint(1, 0, 0) * x.matrix()).equivalent(T4dDblPoint(1, 0, 0), 1e-12));
    EXPECT_TRUE((T4dDblPoint(0, 0, 0) * x.matrix()).equivalent(T4dDblPoint(2, 0, 0), 1e-12));
    EXPECT_TRUE(x.rotatePivot().equivalent(T4dDblPoint(1, 0, 0)));
}

TEST(TxformMatrix, MatrixIsTheProductOfItsStages) {
    Random rnd;
    for (TrotOrder order : kOrders) {
        Xform x = rnd.full(order);
        const Tscale psi = rnd.scale();
        x.parentScaleInverseTo(psi, kPreTransform);
        const T4dDblVector sp = vec(x.scalePivot()), rp = vec(x.rotatePivot());
        const T4dDblVector t = x.translation();
        const Tquaternion q = x.rotateOrient(kPreTransform) * Tquaternion(x.angles()) * x.jointOrient(kPreTransform);
        T4dDblMatrix expected = translate(-sp) * scaleOf(x.scale(kPreTransform)) * shearOf(x.shear(kPreTransform)) *
                                translate(sp) * translate(x.scaleTranslation()) * translate(-rp) * q.asMatrix() *
                                translate(rp) * translate(x.rotateTranslation()) * translate(t);
        // The parent scale inverse scales about the translation point.
        expected = expected * translate(-t) * scaleOf(psi) * translate(t);
        EXPECT_TRUE(x.matrix().equivalent(expected, 1e-9)) << order;
        EXPECT_TRUE(x.matrix().equivalent(x.scaleMatrix() * x.rotateMatrix() * translate(t) * translate(-t) *
                                              scaleOf(psi) * translate(t),
                                          1e-9));
        // A zero second shear is the plain composition; a nonzero one follows H.
        EXPECT_TRUE(x.shearedMatrix(Tshear2()).equivalent(x.matrix(), 1e-12));
        x.setCompensateForParentScale(false);
        const Tshear2 u(0.3, -0.2, 0.7);
        T4dDblMatrix um;
        um.m[0][1] = u.xy;
        um.m[0][2] = u.xz;
        um.m[1][2] = u.yz;
        const T4dDblMatrix sheared = translate(-sp) * scaleOf(x.scale(kPreTransform)) *
                                     shearOf(x.shear(kPreTransform)) * um * translate(sp) *
                                     translate(x.scaleTranslation()) * translate(-rp) * q.asMatrix() * translate(rp) *
                                     translate(x.rotateTranslation()) * translate(t);
        EXPECT_TRUE(x.shearedMatrix(u).equivalent(sheared, 1e-9));
    }
}

TEST(TxformMatrix, ParentScaleRule) {
    TxformMatrix x;
    EXPECT_TRUE(x.compensateForParentScale());
    EXPECT_FALSE(x.flags() & TxformMatrix::kParentScaleHeld);
    x.translateTo(T4dDblVector(1, 2, 3), kPreTransform);
    x.parentScaleInverseTo(Tscale(2, 2, 2), kPreTransform);
    EXPECT_TRUE(x.flags() & TxformMatrix::kParentScaleHeld);
    // Scaled about the translation point: the origin still maps there.
    EXPECT_TRUE((T4dDblPoint(0, 0, 0) * x.matrix()).equivalent(T4dDblPoint(1, 2, 3)));
    EXPECT_TRUE((T4dDblPoint(1, 0, 0) * x.matrix()).equivalent(T4dDblPoint(3, 2, 3)));
    x.setCompensateForParentScale(false);
    EXPECT_EQ(x.flags() & (TxformMatrix::kParentScaleHeld | TxformMatrix::kCompensateForParentScale), 0u);
    EXPECT_TRUE((T4dDblPoint(1, 0, 0) * x.matrix()).equivalent(T4dDblPoint(2, 2, 3)));
    x.setCompensateForParentScale(true);
    EXPECT_TRUE(x.flags() & TxformMatrix::kParentScaleHeld);
    x.parentScaleInverseTo(Tscale(), kPreTransform);
    EXPECT_FALSE(x.flags() & TxformMatrix::kParentScaleHeld);
}

TEST(TxformMatrix, DecomposesIdentityMirrorsAndShear) {
    Xform x = Random().full(kRotXYZ);
    x = T4dDblMatrix::identity;
    EXPECT_EQ(x, TxformMatrix::identity);

    const Xform zMirror(T4dDblMatrix(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1));
    EXPECT_EQ(zMirror.scale(kPreTransform), Tscale(1, 1, -1));
    EXPECT_TRUE(zMirror.angles().isZero());

    const T4dDblMatrix xMirror(-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
    const Xform fromX(xMirror);
    EXPECT_GT(fromX.scale(kPreTransform).x, 0);
    EXPECT_TRUE(fromX.scale(kPreTransform).equivalent(Tscale(1, 1, -1)));
    EXPECT_TRUE(fromX.matrix().equivalent(xMirror, 1e-12));

    Xform sheared;
    sheared.shearTo(Tshear(0.5, 0, 0), kPreTransform);
    const Xform back(sheared.matrix());
    EXPECT_TRUE(back.shear(kPreTransform).equivalent(Tshear(0.5, 0, 0)));
    EXPECT_TRUE(back.scale(kPreTransform).equivalent(Tscale()));
}

TEST(TxformMatrix, ComposeDecomposeRoundTrips) {
    Random rnd;
    for (TrotOrder order : kOrders) {
        for (int i = 0; i < 50; ++i) {
            Xform x;
            x.set(rnd.scale(), rnd.angles(order), rnd.vector(), rnd.shear());
            Xform back;
            back.rotateTo(TrotateXYZ(0, 0, 0, order), kPreTransform);
            back = x.matrix();
            ASSERT_TRUE(back.matrix().equivalent(x.matrix(), 1e-9)) << order << ' ' << i;
            EXPECT_TRUE(back.scale(kPreTransform).equivalent(x.scale(kPreTransform), 1e-9));
            EXPECT_TRUE(back.shear(kPreTransform).equivalent(x.shear(kPreTransform), 1e-9));
            EXPECT_EQ(back.rotationOrder(), order);
            // Pieces with pivots and orientations compose to the same matrix.
            Xform full = rnd.full(order);
            back = full.matrix();
            EXPECT_TRUE(back.matrix().equivalent(full.matrix(), 1e-9));
        }
    }
}

TEST(TxformMatrix, DegenerateMatricesAreAbsorbed) {
    const Xform zero(T4dDblMatrix(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5, 6, 7, 1));
    EXPECT_EQ(zero.scale(kPreTransform), Tscale(0, 0, 0));
    EXPECT_TRUE(zero.matrix().equivalent(T4dDblMatrix(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5, 6, 7, 1)));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Xform bad(T4dDblMatrix(nan, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1));
    (void)bad.matrix();
    Xform flat;
    flat = T4dDblMatrix(1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1); // two equal rows
    EXPECT_NEAR(flat.scale(kPreTransform).y, 0, 1e-10);
}

TEST(TxformMatrix, KeepMatrixSettersCompensate) {
    Random rnd;
    for (TrotOrder order : kOrders) {
        Xform x = rnd.full(order);
        const T4dDblMatrix before = x.matrix();
        x.setScalePivot(T4dDblPoint(4, -1, 2), kPreTransform, true);
        EXPECT_TRUE(x.matrix().equivalent(before, 1e-9));
        x.setRotatePivot(T4dDblPoint(-2, 3, 1), kPreTransform, true);
        EXPECT_TRUE(x.matrix().equivalent(before, 1e-9));
        x.setRotateOrient(rnd.quaternion(), kPreTransform, true);
        EXPECT_TRUE(x.matrix().equivalent(before, 1e-9));
        x.setJointOrient(rnd.quaternion(), kPreTransform, true);
        EXPECT_TRUE(x.matrix().equivalent(before, 1e-9));
        x.setRotatePivot(T4dDblPoint(7, 3, 1), kPreTransform, false);
        EXPECT_FALSE(x.matrix().equivalent(before, 1e-6));
    }
}

TEST(TxformMatrix, SpacesRoundTrip) {
    Random rnd;
    Xform x = rnd.full(kRotZXY);
    x.parentScaleInverseTo(Tscale(1, 2, 0.5), kPreTransform);
    const T4dDblPoint p(0.5, -1, 2);
    for (TxformSpace space : {kPreTransform, kTransform, kPostTransform}) {
        x.setScalePivot(p, space, true);
        EXPECT_TRUE(x.scalePivot(space).equivalent(p, 1e-9)) << space;
        x.setRotatePivot(p, space, true);
        EXPECT_TRUE(x.rotatePivot(space).equivalent(p, 1e-9)) << space;
        const Tquaternion q = rnd.quaternion();
        x.rotateTo(q, space);
        EXPECT_TRUE(x.rotation(space == kPostTransform ? kTransform : space).equivalent(q, 1e-9)) << space;
        x.translateTo(T4dDblVector(1, 2, 3), space);
        EXPECT_TRUE(x.translation(space).equivalent(T4dDblVector(1, 2, 3), 1e-9)) << space;
        x.scaleTo(Tscale(2, 3, 4), space);
        EXPECT_TRUE(x.scale(space).equivalent(Tscale(2, 3, 4), 1e-12)) << space;
        x.setScaleTranslation(T4dDblVector(1, 0, 0), space);
        EXPECT_TRUE(x.scaleTranslation(space).equivalent(T4dDblVector(1, 0, 0), 1e-9)) << space;
    }
    // The rotate pivot in the transform's space is undone by the scale stage.
    EXPECT_TRUE(x.rotatePivot(kTransform).equivalent(x.rotatePivot() * x.scaleMatrixInverse(), 1e-12));
    // The post-transform scale pivot is the stored one carried through matrix().
    EXPECT_TRUE(x.scalePivot(kPostTransform).equivalent(x.scalePivot() * x.matrix(), 1e-12));
    // Without shear, mirror or parent scale the whole matrix turns by the
    // combined rotation.
    Xform plain = rnd.full(kRotXZY);
    plain.shearTo(Tshear(), kPreTransform);
    plain.scaleTo(Tscale(1, 2, 3), kPreTransform);
    EXPECT_TRUE(plain.rotation(kPostTransform).equivalent(plain.rotation(kTransform), 1e-9));
    // rotateBy in the transform's space turns after the combined rotation.
    const Tquaternion before = x.rotation(kTransform), turn = rnd.quaternion();
    x.rotateBy(turn, kTransform);
    EXPECT_TRUE(x.rotation(kTransform).equivalent(before * turn, 1e-9));
}

TEST(TxformMatrix, RotateIsQuaternionKeepsTheCache) {
    Xform x;
    x.setRotateOrient(Tquaternion(0.3, T4dDblVector::xAxis), kPreTransform, false);
    x.setRotateIsQuaternion(true);
    const Tquaternion q(2.5, T4dDblVector(1, 1, 0));
    x.rotateTo(q, kTransform);
    EXPECT_TRUE(Tquaternion(x.matrix()).equivalent(q, 1e-12));
    EXPECT_TRUE(x.rotation(kTransform).equivalent(q, 1e-12));
    x.setRotateIsQuaternion(false);
    EXPECT_TRUE(Tquaternion(x.matrix()).equivalent(q, 1e-9)); // the angles followed
}

TEST(TxformMatrix, InterpolationAndWholeTransformEdits) {
    Random rnd;
    const Xform a = rnd.full(kRotXYZ), b = rnd.full(kRotXYZ);
    for (bool viaQuaternion : {false, true}) {
        EXPECT_TRUE(a.interpMatrix(b, 0, viaQuaternion).equivalent(a.matrix(), 1e-9));
        EXPECT_TRUE(a.interpMatrix(b, 1, viaQuaternion).equivalent(b.matrix(), 1e-9));
    }
    EXPECT_TRUE(a.percentMatrix(1).equivalent(a.matrix(), 1e-9));
    EXPECT_TRUE(a.percentMatrix(0).equivalent(T4dDblMatrix::identity, 1e-9));
    EXPECT_TRUE(a.percentMatrixTranslateScale(1).equivalent(a.matrix(), 1e-12));

    // Halfway between two turns about Z, either way of interpolating.
    Xform r0, r1;
    r1.rotateTo(TrotateXYZ(0, 0, kPi / 2), kPreTransform);
    const Tquaternion half(kPi / 4, T4dDblVector::zAxis);
    EXPECT_TRUE(Tquaternion(r0.interpMatrix(r1, 0.5, false)).equivalent(half, 1e-12));
    EXPECT_TRUE(Tquaternion(r0.interpMatrix(r1, 0.5, true)).equivalent(half, 1e-12));

    Xform rev = a;
    rev.reverse();
    EXPECT_TRUE((a.matrix() * rev.matrix()).equivalent(T4dDblMatrix::identity, 1e-9));
    Xform comp = a;
    comp.compositeWith(b);
    EXPECT_TRUE(comp.matrix().equivalent(a.matrix() * b.matrix(), 1e-9));

    Xform squished = a;
    squished.unSquishIt(TxformMatrix::kUnSquishShearAndScale);
    EXPECT_TRUE(squished.shear(kPreTransform).isZero());
    const Tscale s = squished.scale(kPreTransform);
    EXPECT_DOUBLE_EQ(s.x, s.y);
    EXPECT_DOUBLE_EQ(std::fabs(s.z), s.x);
    EXPECT_TRUE(a.unSquishMatrix(TxformMatrix::kUnSquishShearAndScale).equivalent(squished.matrix(), 1e-12));
}

TEST(TxformMatrix, StoredRecord) {
    Random rnd;
    Xform x = rnd.full(kRotYXZ);
    x.parentScaleInverseTo(Tscale(2, 1, 1), kPreTransform);
    TxformMatrixV1 v;
    x.fillFileIOClass(v);
    unsigned char bytes[TxformMatrixV1::kRecordSize];
    std::memset(bytes, 0xAA, sizeof bytes);
    v.write(bytes);
    // Scale x first, big-endian; the word at 320: order 4, flags 3 shifted by 8.
    double sx = x.scale(kPreTransform).x;
    TuInt64 bits;
    std::memcpy(&bits, &sx, 8);
    EXPECT_EQ(bytes[0], bits >> 56);
    EXPECT_EQ(bytes[7], bits & 0xff);
    const unsigned char word[8] = {0, 0, 3, 4, 0, 0, 0, 0};
    EXPECT_EQ(std::memcmp(bytes + 320, word, 8), 0);
    // The pivots are stored negated, as held.
    double rpx;
    for (int i = 0; i < 8; ++i)
        bits = bits << 8 | bytes[8 * 18 + i];
    std::memcpy(&rpx, &bits, 8);
    EXPECT_EQ(rpx, -x.rotatePivot().x);

    bytes[324] = 0x55; // ignored on reading
    TxformMatrixV1 read;
    read.read(bytes);
    Xform y;
    y = read;
    EXPECT_EQ(y, x);
    EXPECT_TRUE(y.matrix().equivalent(x.matrix(), 1e-12));

    // An order code out of range is kept and composes as "xyz".
    bytes[323] = 9;
    read.read(bytes);
    y = read;
    Xform asXyz = y;
    asXyz.rotateTo(TrotateXYZ(asXyz.angles().x, asXyz.angles().y, asXyz.angles().z, kRotXYZ), kPreTransform);
    EXPECT_TRUE(y.matrix().equivalent(asXyz.matrix(), 1e-12));

    // Arbitrary bytes read as some transform (NaNs included), never a fault.
    std::mt19937 rng(9);
    for (int i = 0; i < 200; ++i) {
        for (unsigned char& b : bytes)
            b = static_cast<unsigned char>(rng());
        read.read(bytes);
        y = read;
        EXPECT_EQ(y.flags() & ~TxformMatrix::kAllFlags, 0u);
        (void)y.matrix();
        y.fillFileIOClass(v);
    }
}

} // namespace
