#include "grundel/data/TrenderSpectrum.h"

#include <type_traits>

static_assert(std::is_trivially_copyable_v<TrenderSpectrum> && sizeof(TrenderSpectrum) == 4 * sizeof(float),
              "file letters and arrays hold render spectra as bytes");

bool TrenderSpectrum::equivalent(const TrenderSpectrum& o) const noexcept {
    return spectrum().equivalent(o.spectrum()) && blendFactor().equivalent(o.blendFactor());
}

bool TrenderSpectrum::equivalent(const TrenderSpectrum& o, float tolerance) const noexcept {
    return spectrum().equivalent(o.spectrum(), tolerance) && blendFactor().equivalent(o.blendFactor(), tolerance);
}
