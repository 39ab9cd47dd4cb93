#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/T4dVectorOps.h"

#include <iosfwd>

/// A 3-D vector in double precision, zero by default. Vectors are rows: a
/// matrix acts as v' = v * M through its upper-left 3x3 block, since a
/// vector has no position. The operations are those of
/// grundel::detail::T4dVectorOps; the float twin is T4dFltVector.
class GRUNDEL_API T4dDblVector : public grundel::detail::T4dVectorOps<double> {
public:
    constexpr T4dDblVector() noexcept : x(0), y(0), z(0) {}
    constexpr T4dDblVector(double x_, double y_, double z_) noexcept : x(x_), y(y_), z(z_) {}
    /// Leaves the components uninitialised, for a value written at once.
    explicit T4dDblVector(TnoInit) noexcept {}
    /// The x, y, z of a finished affine combination (its w is ignored).
    explicit T4dDblVector(const Ttuple& t) noexcept;

    using grundel::detail::T4dVectorOps<double>::operator=;

    /// (0, 0, 0).
    static const T4dDblVector identity;
    static const T4dDblVector xAxis;
    static const T4dDblVector yAxis;
    static const T4dDblVector zAxis;

    /// Exact comparison; see equivalent for a tolerant one.
    friend bool operator==(const T4dDblVector& a, const T4dDblVector& b) noexcept { return a.x == b.x && a.y == b.y && a.z == b.z; }
    friend bool operator!=(const T4dDblVector& a, const T4dDblVector& b) noexcept { return !(a == b); }

    double x, y, z;
};

/// Prints "<x, y, z>".
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const T4dDblVector& v);

inline constexpr T4dDblVector T4dDblVector::identity{0, 0, 0};
inline constexpr T4dDblVector T4dDblVector::xAxis{1, 0, 0};
inline constexpr T4dDblVector T4dDblVector::yAxis{0, 1, 0};
inline constexpr T4dDblVector T4dDblVector::zAxis{0, 0, 1};

// The rest of the family, and the definitions that need it.
#include "grundel/math/TdblGeometry.h"
