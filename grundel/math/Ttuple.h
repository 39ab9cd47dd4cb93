#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/TtupleOps.h"

#include <iosfwd>

/// A free 4-tuple (x, y, z, w) in double precision, zero by default: the
/// type of an affine combination in progress, such as (a + b) * 0.5 for two
/// points a and b. T4dDblPoint, T3dDblPoint and T4dDblVector construct from
/// it. The operations are those of grundel::detail::TtupleOps; the float
/// twin is TfltTuple.
class GRUNDEL_API Ttuple : public grundel::detail::TtupleOps<double> {
public:
    constexpr Ttuple() noexcept : x(0), y(0), z(0), w(0) {}
    constexpr Ttuple(double x_, double y_, double z_, double w_) noexcept : x(x_), y(y_), z(z_), w(w_) {}
    /// Leaves the components uninitialised, for a value written at once.
    explicit Ttuple(TnoInit) noexcept {}

    friend bool operator==(const Ttuple& a, const Ttuple& b) noexcept {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }
    friend bool operator!=(const Ttuple& a, const Ttuple& b) noexcept { return !(a == b); }

    double x, y, z, w;
};

/// Prints "<x, y, z, w>".
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const Ttuple& t);

// The rest of the family, and the definitions that need it.
#include "grundel/math/TdblGeometry.h"
