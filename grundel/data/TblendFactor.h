#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

/// One blending weight (an alpha) in single precision, 0 by default. A plain
/// value (trivially copyable, 4 bytes); one thread at a time. It is made from
/// a float only by name, through fromWeight, so that a float never turns
/// into a weight by accident.
///
/// The clips and both equivalent forms follow Tspectrum's on the one weight:
/// clipToMaxSampleValue makes a weight of 1 or more 1, clipToMinSampleValue
/// makes a weight of 0 or less 0, clipSampleValues does both; a NaN weight
/// stays NaN.
class GRUNDEL_API TblendFactor {
public:
    /// The tolerance of the one-argument equivalent: 1e-5 in single precision.
    static constexpr float kEquivalentTolerance = 1e-5f;

    constexpr TblendFactor() noexcept : fWeight(0) {}
    /// Leaves the weight uninitialised, for a value written at once.
    explicit TblendFactor(TnoInit) noexcept {}

    /// A blend factor of weight w.
    static constexpr TblendFactor fromWeight(float w) noexcept { return TblendFactor(w); }

    constexpr float weight() const noexcept { return fWeight; }
    void setWeight(float w) noexcept { fWeight = w; }

    /// weight <- weight + other's weight, without clamping.
    TblendFactor& accumulateAlpha(const TblendFactor& other) noexcept {
        fWeight += other.fWeight;
        return *this;
    }

    /// True only when the weights are exactly equal.
    bool operator==(const TblendFactor& o) const noexcept { return fWeight == o.fWeight; }
    bool operator!=(const TblendFactor& o) const noexcept { return !(*this == o); }

    /// True when the weights differ by at most kEquivalentTolerance.
    bool equivalent(const TblendFactor& other) const noexcept;
    /// Not a closeness test, as Tspectrum's: true only when the signed
    /// difference d = weight - other's lies within 1e-10 of tolerance,
    /// |d - tolerance| <= 1e-10. Equal weights are equivalent under 0 only.
    bool equivalent(const TblendFactor& other, float tolerance) const noexcept;

    TblendFactor& clipToMaxSampleValue() noexcept {
        if (fWeight >= 1.0f)
            fWeight = 1.0f;
        return *this;
    }
    TblendFactor& clipToMinSampleValue() noexcept {
        if (fWeight <= 0.0f)
            fWeight = 0.0f;
        return *this;
    }
    TblendFactor& clipSampleValues() noexcept { return clipToMaxSampleValue().clipToMinSampleValue(); }

private:
    constexpr explicit TblendFactor(float w) noexcept : fWeight(w) {}

    float fWeight;
};
