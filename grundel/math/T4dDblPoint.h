#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/T4dPointOps.h"

#include <iosfwd>

/// A homogeneous point (x, y, z, w) in double precision, standing for
/// (x/w, y/w, z/w); the origin (0, 0, 0, 1) by default. Points are rows: a
/// matrix acts as p' = p * M with all 16 elements. The operations are those
/// of grundel::detail::T4dPointOps; the float twin is T4dFltPoint.
class GRUNDEL_API T4dDblPoint : public grundel::detail::T4dPointOps<double> {
public:
    constexpr T4dDblPoint() noexcept : x(0), y(0), z(0), w(1) {}
    constexpr T4dDblPoint(double x_, double y_, double z_, double w_ = 1) noexcept : x(x_), y(y_), z(z_), w(w_) {}
    /// Leaves the components uninitialised, for a value written at once.
    explicit T4dDblPoint(TnoInit) noexcept {}
    /// The four components of a finished affine combination.
    explicit T4dDblPoint(const Ttuple& t) noexcept;

    static const T4dDblPoint origin;

    /// Exact comparison; see equivalent for a tolerant one.
    friend bool operator==(const T4dDblPoint& a, const T4dDblPoint& b) noexcept {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }
    friend bool operator!=(const T4dDblPoint& a, const T4dDblPoint& b) noexcept { return !(a == b); }

    double x, y, z, w;
};

/// Prints "<x, y, z, w>".
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const T4dDblPoint& p);

inline constexpr T4dDblPoint T4dDblPoint::origin{};

// The rest of the family, and the definitions that need it.
#include "grundel/math/TdblGeometry.h"
