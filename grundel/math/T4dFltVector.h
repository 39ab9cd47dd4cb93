#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/T4dVectorOps.h"

#include <iosfwd>

/// A 3-D vector in single precision, zero by default. Vectors are rows: a
/// matrix acts as v' = v * M through its upper-left 3x3 block, since a
/// vector has no position. The operations are those of
/// grundel::detail::T4dVectorOps; the double twin is T4dDblVector.
class GRUNDEL_API T4dFltVector : public grundel::detail::T4dVectorOps<float> {
public:
    constexpr T4dFltVector() noexcept : x(0), y(0), z(0) {}
    constexpr T4dFltVector(float x_, float y_, float z_) noexcept : x(x_), y(y_), z(z_) {}
    /// Leaves the components uninitialised, for a value written at once.
    explicit T4dFltVector(TnoInit) noexcept {}
    /// The x, y, z of a finished affine combination (its w is ignored).
    explicit T4dFltVector(const TfltTuple& t) noexcept;

    using grundel::detail::T4dVectorOps<float>::operator=;

    /// (0, 0, 0).
    static const T4dFltVector identity;
    static const T4dFltVector xAxis;
    static const T4dFltVector yAxis;
    static const T4dFltVector zAxis;

    /// Exact comparison; see equivalent for a tolerant one.
    friend bool operator==(const T4dFltVector& a, const T4dFltVector& b) noexcept { return a.x == b.x && a.y == b.y && a.z == b.z; }
    friend bool operator!=(const T4dFltVector& a, const T4dFltVector& b) noexcept { return !(a == b); }

    float x, y, z;
};

/// Prints "<x, y, z>".
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const T4dFltVector& v);

inline constexpr T4dFltVector T4dFltVector::identity{0, 0, 0};
inline constexpr T4dFltVector T4dFltVector::xAxis{1, 0, 0};
inline constexpr T4dFltVector T4dFltVector::yAxis{0, 1, 0};
inline constexpr T4dFltVector T4dFltVector::zAxis{0, 0, 1};

// The rest of the family, and the definitions that need it.
#include "grundel/math/TfltGeometry.h"
