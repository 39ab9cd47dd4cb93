#include "grundel/data/TblendFactor.h"

#include "grundel/data/TsampleTolerance_p.h"

#include <type_traits>

static_assert(std::is_trivially_copyable_v<TblendFactor> && sizeof(TblendFactor) == sizeof(float));

bool TblendFactor::equivalent(const TblendFactor& o) const noexcept {
    return grundel::detail::withinTolerance(fWeight, o.fWeight, kEquivalentTolerance);
}

bool TblendFactor::equivalent(const TblendFactor& o, float tolerance) const noexcept {
    return grundel::detail::differenceMatches(fWeight, o.fWeight, tolerance);
}
