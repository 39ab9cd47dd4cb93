#pragma once

#include "grundel/data/TblendFactor.h"
#include "grundel/data/TrgbSamples.h"

#include <type_traits>

/// A spectrum with its blend factor: what a renderer carries per sample.
/// The weight comes first in memory, then red, green, blue (16 bytes,
/// trivially copyable); one thread at a time.
///
/// The spectrum arithmetic, accumulate forms and accessors are Tspectrum's
/// (they act on the spectrum only, and arithmetic gives a plain Tspectrum);
/// accumulateAlpha is TblendFactor's. Equality, both equivalent forms and
/// the clips cover all four values: a render spectrum is equal or
/// equivalent to another when both its spectrum and its weight are, under
/// the rules of Tspectrum and TblendFactor, and each clip clips the three
/// samples and the weight alike. It has no ordering.
class GRUNDEL_API TrenderSpectrum : public TblendFactor, public Tspectrum {
public:
    /// Black with weight 0.
    constexpr TrenderSpectrum() noexcept = default;
    explicit TrenderSpectrum(TnoInit t) noexcept : TblendFactor(t), Tspectrum(t) {}
    /// The spectrum given, with weight 0.
    constexpr explicit TrenderSpectrum(const Tspectrum& s) noexcept : Tspectrum(s) {}
    /// The spectrum and weight given.
    constexpr TrenderSpectrum(const Tspectrum& s, const TblendFactor& b) noexcept : TblendFactor(b), Tspectrum(s) {}

    /// Replaces the spectrum, keeping the weight.
    TrenderSpectrum& operator=(const Tspectrum& s) noexcept {
        spectrum() = s;
        return *this;
    }
    /// Replaces the weight, keeping the spectrum.
    TrenderSpectrum& operator=(const TblendFactor& b) noexcept {
        blendFactor() = b;
        return *this;
    }

    Tspectrum& spectrum() noexcept { return *this; }
    const Tspectrum& spectrum() const noexcept { return *this; }
    TblendFactor& blendFactor() noexcept { return *this; }
    const TblendFactor& blendFactor() const noexcept { return *this; }

    /// True only when all four values are exactly equal.
    bool operator==(const TrenderSpectrum& o) const noexcept { return spectrum() == o.spectrum() && blendFactor() == o.blendFactor(); }
    bool operator!=(const TrenderSpectrum& o) const noexcept { return !(*this == o); }
    bool operator<(const TrenderSpectrum&) const = delete;
    bool operator>(const TrenderSpectrum&) const = delete;
    bool operator<=(const TrenderSpectrum&) const = delete;
    bool operator>=(const TrenderSpectrum&) const = delete;

    bool equivalent(const TrenderSpectrum& o) const noexcept {
        return spectrum().equivalent(o.spectrum()) && blendFactor().equivalent(o.blendFactor());
    }
    /// The quirky form on all four values: see Tspectrum::equivalent.
    bool equivalent(const TrenderSpectrum& o, float tolerance) const noexcept {
        return spectrum().equivalent(o.spectrum(), tolerance) && blendFactor().equivalent(o.blendFactor(), tolerance);
    }

    TrenderSpectrum& clipToMaxSampleValue() noexcept {
        Tspectrum::clipToMaxSampleValue();
        TblendFactor::clipToMaxSampleValue();
        return *this;
    }
    TrenderSpectrum& clipToMinSampleValue() noexcept {
        Tspectrum::clipToMinSampleValue();
        TblendFactor::clipToMinSampleValue();
        return *this;
    }
    TrenderSpectrum& clipSampleValues() noexcept { return clipToMaxSampleValue().clipToMinSampleValue(); }
};

static_assert(std::is_trivially_copyable_v<TrenderSpectrum> && sizeof(TrenderSpectrum) == 4 * sizeof(float),
              "file letters and arrays hold render spectra as bytes");
