// Composition and decomposition of TxformMatrix. A single transform is used
// by one thread at a time: matrix() refreshes the rotation cache in place.

#include "grundel/math/TxformMatrix.h"

#include <cmath>

namespace {

constexpr double kTolerance = 1e-10;

using Rows = double[3][3];

double dot3(const double* a, const double* b) noexcept { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

// v * a for a row vector v and the upper-left 3x3 block of a.
template <int N>
T4dDblVector times(const T4dDblVector& v, const double (&a)[N][N]) noexcept {
    return T4dDblVector(v.x * a[0][0] + v.y * a[1][0] + v.z * a[2][0], v.x * a[0][1] + v.y * a[1][1] + v.z * a[2][1],
                        v.x * a[0][2] + v.y * a[1][2] + v.z * a[2][2]);
}

T4dDblVector lerp(const T4dDblVector& a, const T4dDblVector& b, double t) noexcept { return a + (b - a) * t; }
double lerp(double a, double b, double t) noexcept { return a + (b - a) * t; }

} // namespace

const TxformMatrix TxformMatrix::identity;

// ---- rotation cache --------------------------------------------------------

const Tquaternion& TxformMatrix::cachedRotation() const noexcept {
    if (fRotationCacheStale) {
        if (!rotateIsQuaternion()) {
            // An orientation that is bit-exactly the identity is left out.
            Tquaternion q(fRotation);
            if (fRotateOrient.w != 1.0)
                q = fRotateOrient * q;
            if (fJointOrient.w != 1.0)
                q = q * fJointOrient;
            fCachedRotation = q;
        }
        fRotationCacheStale = false;
    }
    return fCachedRotation;
}

void TxformMatrix::setMiddleRotation(const Tquaternion& r) noexcept {
    const TrotateXYZ previous = fRotation;
    fRotation = r;
    fRotation.closestSolution(previous);
    fCachedRotation = fRotateOrient * r * fJointOrient;
    fRotationCacheStale = false;
}

// ---- composition -----------------------------------------------------------

T4dDblMatrix TxformMatrix::compose(const Tshear2* u) const noexcept {
    const T4dDblMatrix q = cachedRotation().asMatrix();
    Rows a = {{fScale.x, 0, 0}, {0, fScale.y, 0}, {0, 0, fScale.z}};
    T4dDblMatrix out(TnoInit{});
    const bool sheared = u || !fShear.isZero();
    if (sheared) {
        a[1][0] = fScale.y * fShear.xy;
        a[2][0] = fScale.z * fShear.xz;
        a[2][1] = fScale.z * fShear.yz;
        if (u) {
            for (auto& row : a) {
                row[2] += row[0] * u->xz + row[1] * u->yz;
                row[1] += row[0] * u->xy;
            }
        }
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                out.m[r][c] = a[r][0] * q.m[0][c] + a[r][1] * q.m[1][c] + a[r][2] * q.m[2][c];
    } else {
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                out.m[r][c] = a[r][r] * q.m[r][c];
    }
    // The stored pivots are negated: fScalePivot is -sp, fRotatePivot is -rp.
    const T4dDblVector pre =
        (sheared ? times(fScalePivot, a)
                 : T4dDblVector(fScalePivot.x * fScale.x, fScalePivot.y * fScale.y, fScalePivot.z * fScale.z)) -
        fScalePivot + fScalePivotTranslation + fRotatePivot;
    const T4dDblVector t = times(pre, q.m) - fRotatePivot + fRotatePivotTranslation + fTranslation;
    out.m[3][0] = t.x;
    out.m[3][1] = t.y;
    out.m[3][2] = t.z;
    out.m[0][3] = out.m[1][3] = out.m[2][3] = 0;
    out.m[3][3] = 1;
    if (fFlags & kParentScaleHeld) {
        const double p[3] = {fParentScaleInverse.x, fParentScaleInverse.y, fParentScaleInverse.z};
        const double tr[3] = {fTranslation.x, fTranslation.y, fTranslation.z};
        for (int c = 0; c < 3; ++c) {
            for (int r = 0; r < 3; ++r)
                out.m[r][c] *= p[c];
            out.m[3][c] = (out.m[3][c] - tr[c]) * p[c] + tr[c];
        }
    }
    return out;
}

T4dDblMatrix TxformMatrix::matrix() const noexcept { return compose(nullptr); }

T4dDblMatrix TxformMatrix::shearedMatrix(const Tshear2& u) const noexcept { return compose(&u); }

T4dDblMatrix TxformMatrix::inverse() const noexcept { return matrix().inverse(); }

T4dDblMatrix TxformMatrix::scaleMatrix() const noexcept {
    TxformMatrix stage;
    stage.fScale = fScale;
    stage.fShear = fShear;
    stage.fScalePivot = fScalePivot;
    stage.fScalePivotTranslation = fScalePivotTranslation;
    return stage.matrix();
}

T4dDblMatrix TxformMatrix::rotateMatrix() const noexcept {
    TxformMatrix stage;
    stage.fFlags |= kRotateIsQuaternion;
    stage.fCachedRotation = cachedRotation();
    stage.fRotatePivot = fRotatePivot;
    stage.fRotatePivotTranslation = fRotatePivotTranslation;
    return stage.matrix();
}

T4dDblMatrix TxformMatrix::scaleMatrixInverse() const noexcept { return scaleMatrix().inverse(); }
T4dDblMatrix TxformMatrix::rotateMatrixInverse() const noexcept { return rotateMatrix().inverse(); }

// ---- decomposition ---------------------------------------------------------

void TxformMatrix::extractVectorsFromMatrix(const T4dDblMatrix& m) noexcept {
    double r[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            r[i][j] = m.m[i][j];
    auto scaleRow = [](double* row, double d) {
        for (int j = 0; j < 3; ++j)
            row[j] *= d;
    };
    auto subtract = [](double* row, double d, const double* from) {
        for (int j = 0; j < 3; ++j)
            row[j] -= d * from[j];
    };

    double sx = std::sqrt(dot3(r[0], r[0]));
    if (sx > kTolerance)
        scaleRow(r[0], 1 / sx);
    double xy = dot3(r[0], r[1]);
    if (std::fabs(xy) > kTolerance)
        subtract(r[1], xy, r[0]);
    else
        xy = 0;
    double sy = std::sqrt(dot3(r[1], r[1]));
    if (sy > kTolerance) {
        scaleRow(r[1], 1 / sy);
        xy /= sy;
    }
    double xz = dot3(r[0], r[2]);
    double yz = dot3(r[1], r[2]);
    if (std::fabs(xz) > kTolerance)
        subtract(r[2], xz, r[0]);
    else
        xz = 0;
    if (std::fabs(yz) > kTolerance)
        subtract(r[2], yz, r[1]);
    else
        yz = 0;
    double sz = std::sqrt(dot3(r[2], r[2]));
    if (sz > kTolerance) {
        scaleRow(r[2], 1 / sz);
        xz /= sz;
        yz /= sz;
    }
    const double cross[3] = {r[0][1] * r[1][2] - r[0][2] * r[1][1], r[0][2] * r[1][0] - r[0][0] * r[1][2],
                             r[0][0] * r[1][1] - r[0][1] * r[1][0]};
    if (dot3(r[2], cross) < 0) {
        sz = -sz;
        xz = -xz;
        yz = -yz;
        scaleRow(r[2], -1);
    }

    fScale.set(sx, sy, sz);
    fShear.set(xy, xz, yz);
    const T4dDblMatrix rotation(r[0][0], r[0][1], r[0][2], 0, r[1][0], r[1][1], r[1][2], 0, r[2][0], r[2][1], r[2][2], 0,
                                0, 0, 0, 1);
    fRotation = rotation;
    fCachedRotation = Tquaternion(fRotation);
    fRotationCacheStale = false;
    fTranslation.set(m.m[3][0], m.m[3][1], m.m[3][2]);
    fScalePivot = fScalePivotTranslation = fRotatePivot = fRotatePivotTranslation = T4dDblVector();
    fRotateOrient = fJointOrient = Tquaternion();
    fParentScaleInverse = Tscale();
    fFlags &= ~kParentScaleHeld;
}

// ---- whole-transform operations --------------------------------------------

bool TxformMatrix::equivalent(const TxformMatrix& o, double tolerance) const noexcept {
    return matrix().equivalent(o.matrix(), tolerance);
}

TxformMatrix& TxformMatrix::reverse() noexcept {
    extractVectorsFromMatrix(inverse());
    return *this;
}

TxformMatrix& TxformMatrix::compositeWith(const TxformMatrix& o) noexcept {
    extractVectorsFromMatrix(matrix() * o.matrix());
    return *this;
}

void TxformMatrix::resetClusterPivotsHACK(const TxformMatrix& o) noexcept {
    fScalePivot = o.fScalePivot;
    fScalePivotTranslation = o.fScalePivotTranslation;
    fRotatePivot = o.fRotatePivot;
    fRotatePivotTranslation = o.fRotatePivotTranslation;
}

T4dDblMatrix TxformMatrix::interpMatrix(const TxformMatrix& o, double t, bool viaQuaternion,
                                        short int order) const noexcept {
    TxformMatrix r(*this);
    r.fScale.set(lerp(fScale.x, o.fScale.x, t), lerp(fScale.y, o.fScale.y, t), lerp(fScale.z, o.fScale.z, t));
    r.fShear.set(lerp(fShear.xy, o.fShear.xy, t), lerp(fShear.xz, o.fShear.xz, t), lerp(fShear.yz, o.fShear.yz, t));
    r.fTranslation = lerp(fTranslation, o.fTranslation, t);
    r.fScalePivot = lerp(fScalePivot, o.fScalePivot, t);
    r.fScalePivotTranslation = lerp(fScalePivotTranslation, o.fScalePivotTranslation, t);
    r.fRotatePivot = lerp(fRotatePivot, o.fRotatePivot, t);
    r.fRotatePivotTranslation = lerp(fRotatePivotTranslation, o.fRotatePivotTranslation, t);
    r.fRotateOrient = Tquaternion::slerp(fRotateOrient, o.fRotateOrient, t);
    r.fJointOrient = Tquaternion::slerp(fJointOrient, o.fJointOrient, t);
    r.fParentScaleInverse.set(lerp(fParentScaleInverse.x, o.fParentScaleInverse.x, t),
                              lerp(fParentScaleInverse.y, o.fParentScaleInverse.y, t),
                              lerp(fParentScaleInverse.z, o.fParentScaleInverse.z, t));
    r.updateParentScaleHeld();
    if (viaQuaternion) {
        r.fFlags |= kRotateIsQuaternion;
        r.fCachedRotation = Tquaternion::slerp(cachedRotation(), o.cachedRotation(), t);
        r.fRotationCacheStale = false;
    } else {
        const TrotOrder ord = order >= 0 && order <= 5 ? static_cast<TrotOrder>(order) : fRotation.effectiveOrder();
        const TrotateXYZ a = fRotation.order == ord ? fRotation : fRotation.reorder(ord);
        TrotateXYZ b = o.fRotation.order == ord ? o.fRotation : o.fRotation.reorder(ord);
        b.closestSolution(a);
        r.fRotation = a + (b - a) * t;
        r.fFlags &= ~kRotateIsQuaternion;
        r.fRotationCacheStale = true;
    }
    return r.matrix();
}

T4dDblMatrix TxformMatrix::percentMatrix(double percent) const noexcept {
    TxformMatrix from;
    from.fRotation.order = fRotation.order;
    from.fScalePivot = fScalePivot;
    from.fRotatePivot = fRotatePivot;
    from.fFlags = fFlags & ~(kParentScaleHeld | kRotateIsQuaternion);
    return from.interpMatrix(*this, percent, rotateIsQuaternion(), -1);
}

T4dDblMatrix TxformMatrix::percentMatrixTranslateScale(double percent) const noexcept {
    TxformMatrix r(*this);
    r.fScale.set(lerp(1, fScale.x, percent), lerp(1, fScale.y, percent), lerp(1, fScale.z, percent));
    r.fTranslation = fTranslation * percent;
    return r.matrix();
}

TxformMatrix& TxformMatrix::unSquishIt(unSquishType type) noexcept {
    fShear = Tshear();
    if (type == kUnSquishShearAndScale) {
        const double mean = (std::fabs(fScale.x) + std::fabs(fScale.y) + std::fabs(fScale.z)) / 3;
        fScale.set(mean, mean, fScale.z < 0 ? -mean : mean);
    }
    return *this;
}

T4dDblMatrix TxformMatrix::unSquishMatrix(unSquishType type) const noexcept {
    return TxformMatrix(*this).unSquishIt(type).matrix();
}
