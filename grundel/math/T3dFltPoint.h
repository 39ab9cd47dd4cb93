#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/T3dPointOps.h"

#include <iosfwd>

/// A 3-D Cartesian point in single precision, the origin by default: a
/// homogeneous point whose w is always 1. The operations are those of
/// grundel::detail::T3dPointOps; the double twin is T3dDblPoint.
class GRUNDEL_API T3dFltPoint : public grundel::detail::T3dPointOps<float> {
public:
    constexpr T3dFltPoint() noexcept : x(0), y(0), z(0) {}
    constexpr T3dFltPoint(float x_, float y_, float z_) noexcept : x(x_), y(y_), z(z_) {}
    /// Leaves the components uninitialised, for a value written at once.
    explicit T3dFltPoint(TnoInit) noexcept {}
    /// The x, y, z of a finished affine combination (weights summing to 1,
    /// so its w is 1; w is not divided out).
    explicit T3dFltPoint(const TfltTuple& t) noexcept;

    static const T3dFltPoint origin;

    friend bool operator==(const T3dFltPoint& a, const T3dFltPoint& b) noexcept { return a.x == b.x && a.y == b.y && a.z == b.z; }
    friend bool operator!=(const T3dFltPoint& a, const T3dFltPoint& b) noexcept { return !(a == b); }

    float x, y, z;
};

/// Prints "<x, y, z, 1.0>".
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const T3dFltPoint& p);

inline constexpr T3dFltPoint T3dFltPoint::origin{};

// The rest of the family, and the definitions that need it.
#include "grundel/math/TfltGeometry.h"
