#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/T4dPointOps.h"

#include <iosfwd>

/// A homogeneous point (x, y, z, w) in single precision, standing for
/// (x/w, y/w, z/w); the origin (0, 0, 0, 1) by default. Points are rows: a
/// matrix acts as p' = p * M with all 16 elements. The operations are those
/// of grundel::detail::T4dPointOps; the double twin is T4dDblPoint.
class GRUNDEL_API T4dFltPoint : public grundel::detail::T4dPointOps<float> {
public:
    constexpr T4dFltPoint() noexcept : x(0), y(0), z(0), w(1) {}
    constexpr T4dFltPoint(float x_, float y_, float z_, float w_ = 1) noexcept : x(x_), y(y_), z(z_), w(w_) {}
    /// Leaves the components uninitialised, for a value written at once.
    explicit T4dFltPoint(TnoInit) noexcept {}
    /// The four components of a finished affine combination.
    explicit T4dFltPoint(const TfltTuple& t) noexcept;

    static const T4dFltPoint origin;

    /// Exact comparison; see equivalent for a tolerant one.
    friend bool operator==(const T4dFltPoint& a, const T4dFltPoint& b) noexcept {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }
    friend bool operator!=(const T4dFltPoint& a, const T4dFltPoint& b) noexcept { return !(a == b); }

    float x, y, z, w;
};

/// Prints "<x, y, z, w>".
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const T4dFltPoint& p);

inline constexpr T4dFltPoint T4dFltPoint::origin{};

// The rest of the family, and the definitions that need it.
#include "grundel/math/TfltGeometry.h"
