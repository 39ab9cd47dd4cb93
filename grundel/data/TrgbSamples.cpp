#include "grundel/data/TrgbSamples.h"

#include "grundel/data/TsampleTolerance_p.h"

#include <type_traits>

static_assert(std::is_trivially_copyable_v<Tspectrum> && sizeof(Tspectrum) == 3 * sizeof(float),
              "file letters and arrays hold spectra as bytes");
static_assert(std::is_trivially_copyable_v<Treflectance> && sizeof(Treflectance) == sizeof(Tspectrum));

using grundel::detail::differenceMatches;
using grundel::detail::withinTolerance;

bool Tspectrum::equivalent(const Tspectrum& o) const noexcept {
    return withinTolerance(fRed, o.fRed, kEquivalentTolerance) && withinTolerance(fGreen, o.fGreen, kEquivalentTolerance) &&
           withinTolerance(fBlue, o.fBlue, kEquivalentTolerance);
}

bool Tspectrum::equivalent(const Tspectrum& o, float tolerance) const noexcept {
    return differenceMatches(fRed, o.fRed, tolerance) && differenceMatches(fGreen, o.fGreen, tolerance) &&
           differenceMatches(fBlue, o.fBlue, tolerance);
}
