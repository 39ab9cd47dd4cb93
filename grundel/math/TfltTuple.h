#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/TtupleOps.h"

#include <iosfwd>

/// A free 4-tuple (x, y, z, w) in single precision, zero by default: the
/// type of an affine combination in progress, such as (a + b) * 0.5 for two
/// points a and b. T4dFltPoint, T3dFltPoint and T4dFltVector construct from
/// it. The operations are those of grundel::detail::TtupleOps; the double
/// twin is Ttuple.
class GRUNDEL_API TfltTuple : public grundel::detail::TtupleOps<float> {
public:
    constexpr TfltTuple() noexcept : x(0), y(0), z(0), w(0) {}
    constexpr TfltTuple(float x_, float y_, float z_, float w_) noexcept : x(x_), y(y_), z(z_), w(w_) {}
    /// Leaves the components uninitialised, for a value written at once.
    explicit TfltTuple(TnoInit) noexcept {}

    friend bool operator==(const TfltTuple& a, const TfltTuple& b) noexcept {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }
    friend bool operator!=(const TfltTuple& a, const TfltTuple& b) noexcept { return !(a == b); }

    float x, y, z, w;
};

/// Prints "<x, y, z, w>".
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const TfltTuple& t);

// The rest of the family, and the definitions that need it.
#include "grundel/math/TfltGeometry.h"
