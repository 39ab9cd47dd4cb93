#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/T4dDblVector.h"
#include "grundel/math/Tquaternion.h"
#include "grundel/math/TrotateXYZ.h"
#include "grundel/math/Tscale.h"
#include "grundel/math/Tshear.h"

/// The animatable transform of a scene object, kept as separately editable
/// pieces; the identity by default. This holds the data layout.
class GRUNDEL_API TxformMatrix {
public:
    /// Bits of fFlags.
    enum : TuInt32 {
        kCompensateForParentScale = 1u << 0,
        kParentScaleHeld = 1u << 1,
        kRotateIsQuaternion = 1u << 2,
    };

    TxformMatrix() noexcept = default;
    TxformMatrix(const TxformMatrix&) noexcept = default;
    TxformMatrix& operator=(const TxformMatrix&) noexcept = default;
    virtual ~TxformMatrix() = default;

    /// Equal pieces; the rotation cache is not compared.
    friend bool operator==(const TxformMatrix& a, const TxformMatrix& b) noexcept {
        return a.fScale == b.fScale && a.fRotation == b.fRotation && a.fTranslation == b.fTranslation &&
               a.fShear == b.fShear && a.fScalePivot == b.fScalePivot &&
               a.fScalePivotTranslation == b.fScalePivotTranslation && a.fRotatePivot == b.fRotatePivot &&
               a.fRotatePivotTranslation == b.fRotatePivotTranslation && a.fRotateOrient == b.fRotateOrient &&
               a.fJointOrient == b.fJointOrient && a.fParentScaleInverse == b.fParentScaleInverse &&
               a.fFlags == b.fFlags;
    }
    friend bool operator!=(const TxformMatrix& a, const TxformMatrix& b) noexcept { return !(a == b); }

protected:
    Tscale fScale;
    TrotateXYZ fRotation;
    T4dDblVector fTranslation;
    Tshear fShear;
    T4dDblVector fScalePivot; ///< negated: the vector from the pivot to the origin
    T4dDblVector fScalePivotTranslation;
    T4dDblVector fRotatePivot; ///< negated like fScalePivot
    T4dDblVector fRotatePivotTranslation;
    Tquaternion fRotateOrient;
    Tquaternion fJointOrient;
    Tscale fParentScaleInverse;
    Tquaternion fCachedRotation;
    bool fRotationCacheStale = false;
    TuInt32 fFlags = kCompensateForParentScale;
};
