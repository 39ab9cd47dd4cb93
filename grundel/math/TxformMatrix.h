#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/T4dDblMatrix.h"
#include "grundel/math/T4dDblPoint.h"
#include "grundel/math/T4dDblVector.h"
#include "grundel/math/Tquaternion.h"
#include "grundel/math/TrotateXYZ.h"
#include "grundel/math/Tscale.h"
#include "grundel/math/Tshear.h"

/// The space in which a query or edit of a TxformMatrix is expressed.
enum TxformSpace : int {
    kPreTransform = 0,  ///< the piece's own stage, as stored
    kTransform = 1,     ///< the piece carried through the stages before it
    kPostTransform = 2, ///< the piece carried through the whole matrix()
};

/// The stored form of a transform: 328 bytes, big-endian in files. values
/// holds 35 doubles of the pieces in field order (scale, rotation angles,
/// translation, shear, scale pivot, scale pivot translation, rotate pivot,
/// rotate pivot translation, each 3; rotate and joint orientation, each 4 as
/// x y z w; parent scale inverse 3), the pivots negated as held; then the
/// cached rotation (4) and one reserved 0.0. orderAndFlags holds the rotation
/// order in its low byte and the flag bits shifted left by 8; the last 4
/// bytes are zero when written and ignored when read.
struct GRUNDEL_API TxformMatrixV1 {
    static constexpr int kValueCount = 40;
    static constexpr int kRecordSize = 328;

    double values[kValueCount] = {};
    TuInt32 orderAndFlags = 0;
    TuInt32 reserved = 0;

    /// Writes the record big-endian into out.
    void write(unsigned char (&out)[kRecordSize]) const noexcept;
    /// Reads a big-endian record.
    void read(const unsigned char (&in)[kRecordSize]) noexcept;
};
static_assert(sizeof(TxformMatrixV1) == TxformMatrixV1::kRecordSize, "the stored record is 328 bytes");

/// The animatable transform of a scene object, kept as separately editable
/// pieces and composed on demand (row vectors, p' = p * M):
///
///     M = T(-sp) S H T(sp) T(st) T(-rp) Q T(rp) T(rt) T(t)
///
/// with scale S, shear H, the combined rotation Q = rotateOrient * R *
/// jointOrient, scale and rotate pivots sp, rp, their translations st, rt and
/// the translation t; then, while a parent scale inverse is held, scaled by
/// it about the translation. The identity by default. Nothing throws;
/// degenerate input is absorbed.
class GRUNDEL_API TxformMatrix {
public:
    /// Bits of fFlags.
    enum : TuInt32 {
        kCompensateForParentScale = 1u << 0,
        kParentScaleHeld = 1u << 1,
        kRotateIsQuaternion = 1u << 2,
        kAllFlags = 7u,
    };

    /// What unSquishIt and unSquishMatrix remove.
    enum unSquishType : int {
        kUnSquishShear = 0,        ///< the shear only
        kUnSquishShearAndScale = 1 ///< the shear, and the scale made uniform (the mean of |x|, |y|, |z|; sign of z kept)
    };

    TxformMatrix() noexcept = default;
    TxformMatrix(const TxformMatrix&) noexcept = default;
    /// The decomposition of m (see extractVectorsFromMatrix), order "xyz".
    explicit TxformMatrix(const T4dDblMatrix& m) noexcept { extractVectorsFromMatrix(m); }
    /// The decomposition of m in this transform's rotation order.
    TxformMatrix& operator=(const T4dDblMatrix& m) noexcept {
        extractVectorsFromMatrix(m);
        return *this;
    }
    /// Reads the stored form; the rotation cache is rebuilt unless the
    /// rotation is held as a quaternion.
    TxformMatrix& operator=(const TxformMatrixV1& v) noexcept;
    /// Writes the stored form.
    void fillFileIOClass(TxformMatrixV1& v) const noexcept;

    virtual ~TxformMatrix() = default;
    virtual TxformMatrix& operator=(const TxformMatrix&) noexcept = default;
    /// matrix() of both within tolerance, element by element.
    virtual bool equivalent(const TxformMatrix& o, double tolerance = 1e-10) const noexcept;
    /// Becomes the inverse transform (the decomposition of inverse(), in the
    /// same rotation order); returns *this.
    virtual TxformMatrix& reverse() noexcept;
    /// Becomes this transform followed by o (the decomposition of
    /// matrix() * o.matrix(), in this rotation order); returns *this.
    virtual TxformMatrix& compositeWith(const TxformMatrix& o) noexcept;
    /// Takes o's pivots and pivot translations, keeping everything else.
    virtual void resetClusterPivotsHACK(const TxformMatrix& o) noexcept;

    /// The composed matrix; rebuilds the rotation cache when stale.
    virtual T4dDblMatrix matrix() const noexcept;
    /// The inverse of matrix() (a singular one stays as it is).
    virtual T4dDblMatrix inverse() const noexcept;
    /// The scale stage T(-sp) S H T(sp) T(st).
    virtual T4dDblMatrix scaleMatrix() const noexcept;
    /// The rotation stage T(-rp) Q T(rp) T(rt).
    virtual T4dDblMatrix rotateMatrix() const noexcept;
    virtual T4dDblMatrix scaleMatrixInverse() const noexcept;
    virtual T4dDblMatrix rotateMatrixInverse() const noexcept;
    /// interpMatrix to this at percent (0 to 1) from this transform with
    /// every piece but the pivots at the identity: the transform grown from
    /// nothing about its pivots.
    virtual T4dDblMatrix percentMatrix(double percent) const noexcept;
    /// The matrix of the pieces interpolated from this (t = 0) to o (t = 1):
    /// scale, shear, translations and pivots linearly; orientations by slerp.
    /// With viaQuaternion the combined rotation is slerped along the shorter
    /// arc; otherwise the angles are interpolated linearly after o's are
    /// moved to the solution closest to this one's. order gives the
    /// rotation order of the angle interpolation (-1 or a code outside 0-5:
    /// this transform's order).
    virtual T4dDblMatrix interpMatrix(const TxformMatrix& o, double t, bool viaQuaternion = false,
                                      short int order = -1) const noexcept;
    /// The matrix with the scale and the translation (not the pivot
    /// translations) taken percent of the way from the identity, every
    /// other piece in full.
    virtual T4dDblMatrix percentMatrixTranslateScale(double percent) const noexcept;

    /// Scale: codes 0 and 1 as stored; 2 including the parent scale inverse
    /// while held.
    virtual Tscale scale(TxformSpace space) const noexcept;
    /// Sets the scale so that scale(space) returns s.
    virtual TxformMatrix& scaleTo(const Tscale& s, TxformSpace space) noexcept;
    /// Multiplies the scale component-wise (the same in every space).
    virtual TxformMatrix& scaleBy(const Tscale& s, TxformSpace space) noexcept;
    /// Rotation: 0 the angles alone; 1 the combined rotation Q; 2 the
    /// rotation of matrix()'s orthonormalised rows (Q itself unless shear,
    /// a mirror or a parent scale skews the matrix).
    virtual Tquaternion rotation(TxformSpace space) const noexcept;
    /// rotation(space) as angles in this transform's order.
    virtual TrotateXYZ rotationXYZ(TxformSpace space) const noexcept;
    /// Sets the rotation so that rotation(space) becomes r (space 2 as 1:
    /// the orientations are kept and the angles solve for the rest). The
    /// TrotateXYZ form also takes r's order, and in space 0 r's angles as
    /// given (turns beyond pi included): it is how the order is set.
    virtual TxformMatrix& rotateTo(const TrotateXYZ& r, TxformSpace space) noexcept;
    virtual TxformMatrix& rotateTo(const Tquaternion& q, TxformSpace space) noexcept;
    /// Turns after the current rotation: 0 after the angles alone, 1 and 2
    /// after the combined rotation.
    virtual TxformMatrix& rotateBy(const TrotateXYZ& r, TxformSpace space) noexcept;
    virtual TxformMatrix& rotateBy(const Tquaternion& q, TxformSpace space) noexcept;
    virtual TrotOrder rotationOrder() const noexcept;
    /// The rotate orientation as stored, in every space.
    virtual Tquaternion rotateOrient(TxformSpace space) const noexcept;
    /// Sets the rotate orientation; with keepMatrix the angles change so
    /// that the combined rotation, and so matrix(), stays.
    virtual TxformMatrix& setRotateOrient(const Tquaternion& q, TxformSpace space, bool keepMatrix) noexcept;
    /// Translation: 0 and 1 as stored; 2 the image of the origin.
    virtual T4dDblVector translation(TxformSpace space) const noexcept;
    virtual T4dDblVector translation() const noexcept { return fTranslation; }
    /// Sets the translation so that translation(space) returns v.
    virtual TxformMatrix& translateTo(const T4dDblVector& v, TxformSpace space) noexcept;
    /// Moves by v (the translation stage is last, so alike in every space).
    virtual TxformMatrix& translateBy(const T4dDblVector& v, TxformSpace space) noexcept;
    /// The shear as stored, in every space.
    virtual Tshear shear(TxformSpace space) const noexcept;
    virtual TxformMatrix& shearTo(const Tshear& s, TxformSpace space) noexcept;
    /// Adds to the shear values.
    virtual TxformMatrix& shearBy(const Tshear& s, TxformSpace space) noexcept;
    /// The scale pivot: 0 and 1 as a point of the object; 2 carried through
    /// matrix().
    virtual T4dDblPoint scalePivot(TxformSpace space) const noexcept;
    virtual T4dDblPoint scalePivot() const noexcept { return scalePivot(kPreTransform); }
    /// The scale pivot translation: 0 and 1 as stored; 2 as a direction
    /// carried through matrix().
    virtual T4dDblVector scaleTranslation(TxformSpace space) const noexcept;
    virtual T4dDblVector scaleTranslation() const noexcept { return fScalePivotTranslation; }
    /// Sets the scale pivot given in space (2: mapped back through the
    /// inverse of matrix()); with keepMatrix the scale pivot translation
    /// compensates so that matrix() stays.
    virtual TxformMatrix& setScalePivot(const T4dDblPoint& p, TxformSpace space, bool keepMatrix) noexcept;
    virtual TxformMatrix& setScaleTranslation(const T4dDblVector& v, TxformSpace space) noexcept;
    /// The rotate pivot: 0 as stored; 1 multiplied by scaleMatrixInverse();
    /// 2 then also by matrix().
    virtual T4dDblPoint rotatePivot(TxformSpace space) const noexcept;
    virtual T4dDblPoint rotatePivot() const noexcept { return rotatePivot(kPreTransform); }
    /// The rotate pivot translation: 0 and 1 as stored; 2 as a direction
    /// carried through matrix().
    virtual T4dDblVector rotateTranslation(TxformSpace space) const noexcept;
    virtual T4dDblVector rotateTranslation() const noexcept { return fRotatePivotTranslation; }
    /// Sets the rotate pivot so that rotatePivot(space) returns p; with
    /// keepMatrix the rotate pivot translation compensates.
    virtual TxformMatrix& setRotatePivot(const T4dDblPoint& p, TxformSpace space, bool keepMatrix) noexcept;
    virtual TxformMatrix& setRotateTranslation(const T4dDblVector& v, TxformSpace space) noexcept;
    /// The joint orientation as stored, in every space.
    virtual Tquaternion jointOrient(TxformSpace space) const noexcept;
    /// Sets the joint orientation; with keepMatrix the angles compensate.
    virtual TxformMatrix& setJointOrient(const Tquaternion& q, TxformSpace space, bool keepMatrix) noexcept;
    virtual bool compensateForParentScale() const noexcept { return (fFlags & kCompensateForParentScale) != 0; }
    virtual void setCompensateForParentScale(bool on) noexcept;
    /// The parent scale inverse as stored, in every space.
    virtual Tscale parentScaleInverse(TxformSpace space) const noexcept;
    virtual TxformMatrix& parentScaleInverseTo(const Tscale& s, TxformSpace space) noexcept;
    virtual TxformMatrix& parentScaleInverseBy(const Tscale& s, TxformSpace space) noexcept;
    /// Removes the shear (and, by type, makes the scale uniform), keeping
    /// the pivots, rotation and translation; returns *this.
    virtual TxformMatrix& unSquishIt(unSquishType type) noexcept;
    /// matrix() of the unsquished copy.
    virtual T4dDblMatrix unSquishMatrix(unSquishType type) const noexcept;
    /// On: the cached quaternion is the rotation and the angles only follow.
    virtual void setRotateIsQuaternion(bool on) noexcept;
    virtual bool isAPluginXform() const noexcept { return false; }

    /// The sheared composition with a second shear u after H.
    T4dDblMatrix shearedMatrix(const Tshear2& u) const noexcept;
    bool rotateIsQuaternion() const noexcept { return (fFlags & kRotateIsQuaternion) != 0; }
    TuInt32 flags() const noexcept { return fFlags; }

    static const TxformMatrix identity;

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
    /// Gram-Schmidt factorisation of m into scale, shear, rotation (in this
    /// order) and translation; resets pivots, orientations and the parent
    /// scale inverse. A mirror always comes out as a negative Z scale; a
    /// zero row keeps a (near) zero scale and is not normalised.
    virtual void extractVectorsFromMatrix(const T4dDblMatrix& m) noexcept;

    /// The combined rotation, rebuilt from the angles when stale.
    const Tquaternion& cachedRotation() const noexcept;
    void markRotationStale() noexcept { fRotationCacheStale = true; }
    void updateParentScaleHeld() noexcept;
    /// Sets the angles (near their previous values) to the middle rotation r
    /// and the cache to the combined rotation at once.
    void setMiddleRotation(const Tquaternion& r) noexcept;
    T4dDblMatrix compose(const Tshear2* u) const noexcept;

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
    mutable Tquaternion fCachedRotation; // rebuilt lazily by matrix()
    mutable bool fRotationCacheStale = false;
    TuInt32 fFlags = kCompensateForParentScale;
};
