#pragma once

#include <cmath>

// The geometric value types come in two families, double and float, with the
// same operations. The operations are written once, as templates over the
// scalar type (T4dVectorOps, T4dPointOps, T3dPointOps, TtupleOps,
// T4dMatrixOps); each concrete class holds its own components and derives
// from the template of its kind. TgeometryFamily<S> names the members of one
// family and its tolerances.

class T3dDblPoint;
class T3dFltPoint;
class T4dDblMatrix;
class T4dDblPoint;
class T4dDblVector;
class T4dFltMatrix;
class T4dFltPoint;
class T4dFltVector;
class TfltTuple;
class Tquaternion;
class TrotateXYZ;
class Ttuple;

namespace grundel::detail {

template <class S>
struct TgeometryFamily;

template <>
struct TgeometryFamily<double> {
    using Vector = T4dDblVector;
    using Point = T4dDblPoint;
    using Point3 = T3dDblPoint;
    using Tuple = Ttuple;
    using Matrix = T4dDblMatrix;
    using Quaternion = Tquaternion;
    using Rotation = TrotateXYZ;

    /// Default tolerance of comparisons, and the bound below which a divisor
    /// or a rotation angle is ignored.
    static constexpr double kTolerance = 1e-10;
    /// Bound on |s - 1| for a squared length s that already counts as unit.
    static constexpr double kUnitTolerance = 2e-10;
    /// A squared length at or below this does not normalise.
    static constexpr double kTinySquare = 1e-20;
    /// fastInvertIt takes the pivoting inverse at or below this determinant.
    static constexpr double kFastInverseThreshold = 9.999899747378751e-06;
    static constexpr const char* kName = "doubles";
};

template <>
struct TgeometryFamily<float> {
    using Vector = T4dFltVector;
    using Point = T4dFltPoint;
    using Point3 = T3dFltPoint;
    using Tuple = TfltTuple;
    using Matrix = T4dFltMatrix;
    using Quaternion = Tquaternion;
    using Rotation = TrotateXYZ;

    // The double constants 2e-10 and 1e-20 lie below float precision.
    static constexpr float kTolerance = 1e-5f;
    static constexpr float kUnitTolerance = 2e-5f;
    static constexpr float kTinySquare = 2e-5f;
    static constexpr float kFastInverseThreshold = 0.0f;
    static constexpr const char* kName = "floats";
};

/// |a| as the templates use it; one spelling for both precisions.
template <class S>
constexpr S absOf(S a) noexcept {
    return a < 0 ? -a : a;
}

/// The factor that normalises a vector of squared length s, or 1 when the
/// vector stays as it is: s at or below tiny (too short to have a
/// direction), or s within unitTolerance of 1 (already unit).
template <class S>
S normalizingFactor(S s, S tiny, S unitTolerance) noexcept {
    if (s <= tiny || absOf(s - S(1)) <= unitTolerance)
        return S(1);
    return S(1) / std::sqrt(s);
}

} // namespace grundel::detail
