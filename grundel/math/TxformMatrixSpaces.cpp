// The queries and edits of TxformMatrix's pieces in the three spaces.

#include "grundel/math/TxformMatrix.h"

namespace {

T4dDblPoint asPoint(const T4dDblVector& v) noexcept { return T4dDblPoint(v.x, v.y, v.z); }
T4dDblVector asVector(const T4dDblPoint& p) noexcept {
    const double w = p.w != 0 ? p.w : 1;
    return T4dDblVector(p.x / w, p.y / w, p.z / w);
}

} // namespace

// ---- scale -----------------------------------------------------------------

Tscale TxformMatrix::scale(TxformSpace space) const noexcept {
    return space == kPostTransform && (fFlags & kParentScaleHeld) ? fScale * fParentScaleInverse : fScale;
}

TxformMatrix& TxformMatrix::scaleTo(const Tscale& s, TxformSpace space) noexcept {
    fScale = space == kPostTransform && (fFlags & kParentScaleHeld) ? s / fParentScaleInverse : s;
    return *this;
}

TxformMatrix& TxformMatrix::scaleBy(const Tscale& s, TxformSpace) noexcept {
    fScale *= s;
    return *this;
}

// ---- rotation --------------------------------------------------------------

Tquaternion TxformMatrix::rotation(TxformSpace space) const noexcept {
    switch (space) {
    case kPreTransform:
        return rotateIsQuaternion() ? fRotateOrient.inverse() * cachedRotation() * fJointOrient.inverse()
                                    : Tquaternion(fRotation);
    case kTransform:
        return cachedRotation();
    default: {
        TxformMatrix whole;
        whole = matrix();
        return whole.fCachedRotation;
    }
    }
}

TrotateXYZ TxformMatrix::rotationXYZ(TxformSpace space) const noexcept {
    if (space == kPreTransform && !rotateIsQuaternion())
        return fRotation;
    TrotateXYZ r(0, 0, 0, fRotation.order);
    r = rotation(space);
    return r.closestSolution(fRotation);
}

TxformMatrix& TxformMatrix::rotateTo(const TrotateXYZ& r, TxformSpace space) noexcept {
    if (space == kPreTransform) {
        fRotation = r;
        if (rotateIsQuaternion())
            fCachedRotation = fRotateOrient * Tquaternion(fRotation) * fJointOrient;
        else
            markRotationStale();
        return *this;
    }
    fRotation.order = r.order;
    return rotateTo(Tquaternion(r), space);
}

TxformMatrix& TxformMatrix::rotateTo(const Tquaternion& q, TxformSpace space) noexcept {
    setMiddleRotation(space == kPreTransform ? q : fRotateOrient.inverse() * q * fJointOrient.inverse());
    return *this;
}

TxformMatrix& TxformMatrix::rotateBy(const TrotateXYZ& r, TxformSpace space) noexcept {
    return rotateBy(Tquaternion(r), space);
}

TxformMatrix& TxformMatrix::rotateBy(const Tquaternion& q, TxformSpace space) noexcept {
    const Tquaternion middle = rotation(kPreTransform);
    setMiddleRotation(space == kPreTransform ? middle * q : middle * fJointOrient * q * fJointOrient.inverse());
    return *this;
}

TrotOrder TxformMatrix::rotationOrder() const noexcept { return fRotation.order; }

Tquaternion TxformMatrix::rotateOrient(TxformSpace) const noexcept { return fRotateOrient; }

TxformMatrix& TxformMatrix::setRotateOrient(const Tquaternion& q, TxformSpace, bool keepMatrix) noexcept {
    const Tquaternion combined = cachedRotation();
    const Tquaternion middle = rotation(kPreTransform);
    fRotateOrient = q;
    if (keepMatrix)
        setMiddleRotation(q.inverse() * combined * fJointOrient.inverse());
    else if (rotateIsQuaternion())
        fCachedRotation = q * middle * fJointOrient;
    else
        markRotationStale();
    return *this;
}

Tquaternion TxformMatrix::jointOrient(TxformSpace) const noexcept { return fJointOrient; }

TxformMatrix& TxformMatrix::setJointOrient(const Tquaternion& q, TxformSpace, bool keepMatrix) noexcept {
    const Tquaternion combined = cachedRotation();
    const Tquaternion middle = rotation(kPreTransform);
    fJointOrient = q;
    if (keepMatrix)
        setMiddleRotation(fRotateOrient.inverse() * combined * q.inverse());
    else if (rotateIsQuaternion())
        fCachedRotation = fRotateOrient * middle * q;
    else
        markRotationStale();
    return *this;
}

void TxformMatrix::setRotateIsQuaternion(bool on) noexcept {
    cachedRotation(); // the cache takes over (or hands back) a fresh rotation
    if (on) {
        fFlags |= kRotateIsQuaternion;
    } else {
        fFlags &= ~kRotateIsQuaternion;
        markRotationStale();
    }
}

// ---- translation and shear -------------------------------------------------

T4dDblVector TxformMatrix::translation(TxformSpace space) const noexcept {
    if (space != kPostTransform)
        return fTranslation;
    const T4dDblMatrix m = matrix();
    return T4dDblVector(m.m[3][0], m.m[3][1], m.m[3][2]);
}

TxformMatrix& TxformMatrix::translateTo(const T4dDblVector& v, TxformSpace space) noexcept {
    // The translation stage is last and the parent scale leaves it fixed, so
    // a change of t moves the origin's image by the same amount.
    fTranslation += v - translation(space);
    return *this;
}

TxformMatrix& TxformMatrix::translateBy(const T4dDblVector& v, TxformSpace) noexcept {
    fTranslation += v;
    return *this;
}

Tshear TxformMatrix::shear(TxformSpace) const noexcept { return fShear; }

TxformMatrix& TxformMatrix::shearTo(const Tshear& s, TxformSpace) noexcept {
    fShear = s;
    return *this;
}

TxformMatrix& TxformMatrix::shearBy(const Tshear& s, TxformSpace) noexcept {
    fShear += s;
    return *this;
}

// ---- pivots ----------------------------------------------------------------

T4dDblPoint TxformMatrix::scalePivot(TxformSpace space) const noexcept {
    const T4dDblPoint p = asPoint(-fScalePivot);
    return space == kPostTransform ? p * matrix() : p;
}

T4dDblVector TxformMatrix::scaleTranslation(TxformSpace space) const noexcept {
    return space == kPostTransform ? fScalePivotTranslation * matrix() : fScalePivotTranslation;
}

TxformMatrix& TxformMatrix::setScalePivot(const T4dDblPoint& p, TxformSpace space, bool keepMatrix) noexcept {
    const T4dDblVector pivot = asVector(space == kPostTransform ? p * inverse() : p);
    if (keepMatrix) {
        // The scale stage moves its origin by sp - sp * S H; keep the sum
        // with the pivot translation.
        const T4dDblMatrix before = scaleMatrix();
        fScalePivot = -pivot;
        const T4dDblMatrix after = scaleMatrix();
        for (int c = 0; c < 3; ++c)
            fScalePivotTranslation[static_cast<unsigned>(c)] += before.m[3][c] - after.m[3][c];
    } else {
        fScalePivot = -pivot;
    }
    return *this;
}

TxformMatrix& TxformMatrix::setScaleTranslation(const T4dDblVector& v, TxformSpace space) noexcept {
    fScalePivotTranslation = space == kPostTransform ? v * inverse() : v;
    return *this;
}

T4dDblPoint TxformMatrix::rotatePivot(TxformSpace space) const noexcept {
    T4dDblPoint p = asPoint(-fRotatePivot);
    if (space != kPreTransform)
        p *= scaleMatrixInverse();
    if (space == kPostTransform)
        p *= matrix();
    return p;
}

T4dDblVector TxformMatrix::rotateTranslation(TxformSpace space) const noexcept {
    return space == kPostTransform ? fRotatePivotTranslation * matrix() : fRotatePivotTranslation;
}

TxformMatrix& TxformMatrix::setRotatePivot(const T4dDblPoint& p, TxformSpace space, bool keepMatrix) noexcept {
    T4dDblPoint stored = p;
    if (space == kPostTransform)
        stored *= inverse();
    if (space != kPreTransform)
        stored *= scaleMatrix();
    const T4dDblVector pivot = asVector(stored);
    if (keepMatrix) {
        const T4dDblMatrix before = rotateMatrix();
        fRotatePivot = -pivot;
        const T4dDblMatrix after = rotateMatrix();
        for (int c = 0; c < 3; ++c)
            fRotatePivotTranslation[static_cast<unsigned>(c)] += before.m[3][c] - after.m[3][c];
    } else {
        fRotatePivot = -pivot;
    }
    return *this;
}

TxformMatrix& TxformMatrix::setRotateTranslation(const T4dDblVector& v, TxformSpace space) noexcept {
    fRotatePivotTranslation = space == kPostTransform ? v * inverse() : v;
    return *this;
}

// ---- parent scale ----------------------------------------------------------

void TxformMatrix::updateParentScaleHeld() noexcept {
    if ((fFlags & kCompensateForParentScale) && fParentScaleInverse != Tscale())
        fFlags |= kParentScaleHeld;
    else
        fFlags &= ~kParentScaleHeld;
}

void TxformMatrix::setCompensateForParentScale(bool on) noexcept {
    if (on) {
        fFlags |= kCompensateForParentScale;
        updateParentScaleHeld();
    } else {
        fFlags &= ~(kCompensateForParentScale | kParentScaleHeld);
    }
}

Tscale TxformMatrix::parentScaleInverse(TxformSpace) const noexcept { return fParentScaleInverse; }

TxformMatrix& TxformMatrix::parentScaleInverseTo(const Tscale& s, TxformSpace) noexcept {
    fParentScaleInverse = s;
    updateParentScaleHeld();
    return *this;
}

TxformMatrix& TxformMatrix::parentScaleInverseBy(const Tscale& s, TxformSpace) noexcept {
    fParentScaleInverse *= s;
    updateParentScaleHeld();
    return *this;
}
