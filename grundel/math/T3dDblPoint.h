#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/T3dPointOps.h"

#include <iosfwd>

/// A 3-D Cartesian point in double precision, the origin by default: a
/// homogeneous point whose w is always 1. The operations are those of
/// grundel::detail::T3dPointOps; the float twin is T3dFltPoint.
class GRUNDEL_API T3dDblPoint : public grundel::detail::T3dPointOps<double> {
public:
    constexpr T3dDblPoint() noexcept : x(0), y(0), z(0) {}
    constexpr T3dDblPoint(double x_, double y_, double z_) noexcept : x(x_), y(y_), z(z_) {}
    /// Leaves the components uninitialised, for a value written at once.
    explicit T3dDblPoint(TnoInit) noexcept {}
    /// The x, y, z of a finished affine combination (weights summing to 1,
    /// so its w is 1; w is not divided out).
    explicit T3dDblPoint(const Ttuple& t) noexcept;

    static const T3dDblPoint origin;

    friend bool operator==(const T3dDblPoint& a, const T3dDblPoint& b) noexcept { return a.x == b.x && a.y == b.y && a.z == b.z; }
    friend bool operator!=(const T3dDblPoint& a, const T3dDblPoint& b) noexcept { return !(a == b); }

    double x, y, z;
};

/// Prints "<x, y, z, 1.0>".
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const T3dDblPoint& p);

inline constexpr T3dDblPoint T3dDblPoint::origin{};

// The rest of the family, and the definitions that need it.
#include "grundel/math/TdblGeometry.h"
