#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

#include <cassert>

class Treflectance;

/// A light or colour quantity sampled at three wavelengths: red, green and
/// blue, in single precision, in that order in memory. All samples are 0 by
/// default. A plain value (trivially copyable, 12 bytes, no virtual table) so
/// that arrays and file letters can hold it as bytes; one thread at a time.
///
/// Arithmetic is per sample in single precision with IEEE results: nothing
/// clamps, and dividing by 0 gives infinities or NaN. Samples are stored as
/// given; the clip operations bring them into [0, 1] on request.
///
/// Ordering is lexicographic by red, then green, then blue. A NaN sample is
/// neither less nor greater than anything, so the comparison moves on to the
/// next sample; operator== is exact, and false for a NaN sample.
class GRUNDEL_API Tspectrum {
public:
    /// The tolerance of the one-argument equivalent: 1e-5 in single precision.
    static constexpr float kEquivalentTolerance = 1e-5f;

    /// Black: all three samples 0.
    constexpr Tspectrum() noexcept : fRed(0), fGreen(0), fBlue(0) {}
    /// All three samples set to value (a grey).
    constexpr explicit Tspectrum(float value) noexcept : fRed(value), fGreen(value), fBlue(value) {}
    /// Leaves the samples uninitialised, for a value written at once.
    explicit Tspectrum(TnoInit) noexcept {}

    /// A spectrum of the three samples given.
    static constexpr Tspectrum fromRGB(float red, float green, float blue) noexcept { return Tspectrum(red, green, blue); }

    constexpr float red() const noexcept { return fRed; }
    constexpr float green() const noexcept { return fGreen; }
    constexpr float blue() const noexcept { return fBlue; }
    /// Sample i: 0 red, 1 green, 2 blue.
    float sample(int i) const noexcept {
        assert(i >= 0 && i < 3);
        return i == 0 ? fRed : (i == 1 ? fGreen : fBlue);
    }
    void setRed(float v) noexcept { fRed = v; }
    void setGreen(float v) noexcept { fGreen = v; }
    void setBlue(float v) noexcept { fBlue = v; }
    void set(float red, float green, float blue) noexcept { fRed = red; fGreen = green; fBlue = blue; }

    // Per-sample arithmetic. A reflectance may only be multiplied in: adding
    // or subtracting one does not compile.
    Tspectrum operator+(const Tspectrum& o) const noexcept { return {fRed + o.fRed, fGreen + o.fGreen, fBlue + o.fBlue}; }
    Tspectrum operator-(const Tspectrum& o) const noexcept { return {fRed - o.fRed, fGreen - o.fGreen, fBlue - o.fBlue}; }
    Tspectrum operator*(const Tspectrum& o) const noexcept { return {fRed * o.fRed, fGreen * o.fGreen, fBlue * o.fBlue}; }
    inline Tspectrum operator*(const Treflectance& r) const noexcept;
    Tspectrum operator*(float f) const noexcept { return {fRed * f, fGreen * f, fBlue * f}; }
    Tspectrum operator/(float f) const noexcept { return {fRed / f, fGreen / f, fBlue / f}; }
    Tspectrum operator+(const Treflectance&) const = delete;
    Tspectrum operator-(const Treflectance&) const = delete;

    Tspectrum& operator+=(const Tspectrum& o) noexcept { return *this = *this + o; }
    Tspectrum& operator-=(const Tspectrum& o) noexcept { return *this = *this - o; }
    Tspectrum& operator*=(const Tspectrum& o) noexcept { return *this = *this * o; }
    inline Tspectrum& operator*=(const Treflectance& r) noexcept;
    Tspectrum& operator*=(float f) noexcept { return *this = *this * f; }
    Tspectrum& operator/=(float f) noexcept { return *this = *this / f; }
    Tspectrum& operator+=(const Treflectance&) = delete;
    Tspectrum& operator-=(const Treflectance&) = delete;

    /// True only when all three samples are exactly equal.
    bool operator==(const Tspectrum& o) const noexcept { return fRed == o.fRed && fGreen == o.fGreen && fBlue == o.fBlue; }
    bool operator!=(const Tspectrum& o) const noexcept { return !(*this == o); }
    /// Lexicographic by red, green, blue.
    bool operator<(const Tspectrum& o) const noexcept {
        if (fRed < o.fRed) return true;
        if (o.fRed < fRed) return false;
        if (fGreen < o.fGreen) return true;
        if (o.fGreen < fGreen) return false;
        return fBlue < o.fBlue;
    }
    bool operator>(const Tspectrum& o) const noexcept { return o < *this; }
    bool operator<=(const Tspectrum& o) const noexcept { return !(o < *this); }
    bool operator>=(const Tspectrum& o) const noexcept { return !(*this < o); }

    /// True when every sample differs from other's by at most
    /// kEquivalentTolerance. False for a NaN sample.
    bool equivalent(const Tspectrum& other) const noexcept;
    /// Not a closeness test: true only when, for every sample, the signed
    /// difference d = this sample - other's (in single precision) lies within
    /// 1e-10 of tolerance itself, |d - tolerance| <= 1e-10. Two equal spectra
    /// are equivalent under 0 and not under 0.5; (0.75, 1, 0.5) is equivalent
    /// to (0.25, 0.5, 0) under 0.5.
    bool equivalent(const Tspectrum& other, float tolerance) const noexcept;

    /// A new spectrum of 1 - s for every sample s.
    Tspectrum diffFromWhite() const noexcept { return {1.0f - fRed, 1.0f - fGreen, 1.0f - fBlue}; }

    /// Front-to-back compositing of a behind this: s <- s + (1 - s) * a.
    Tspectrum& accumulate(const Tspectrum& a) noexcept {
        fRed += (1.0f - fRed) * a.fRed;
        fGreen += (1.0f - fGreen) * a.fGreen;
        fBlue += (1.0f - fBlue) * a.fBlue;
        return *this;
    }
    /// s <- s + a * (1 - b): a seen through what b hides.
    Tspectrum& accumulate(const Tspectrum& a, const Tspectrum& b) noexcept {
        fRed += a.fRed * (1.0f - b.fRed);
        fGreen += a.fGreen * (1.0f - b.fGreen);
        fBlue += a.fBlue * (1.0f - b.fBlue);
        return *this;
    }
    /// s <- s + (1 - a) * b * f.
    Tspectrum& accumulate(const Tspectrum& a, float f, const Tspectrum& b) noexcept {
        fRed += (1.0f - a.fRed) * b.fRed * f;
        fGreen += (1.0f - a.fGreen) * b.fGreen * f;
        fBlue += (1.0f - a.fBlue) * b.fBlue * f;
        return *this;
    }

    /// Each sample of 1 or more becomes 1; a NaN sample stays NaN.
    Tspectrum& clipToMaxSampleValue() noexcept {
        fRed = clipMax(fRed);
        fGreen = clipMax(fGreen);
        fBlue = clipMax(fBlue);
        return *this;
    }
    /// Each sample of 0 or less becomes 0 (also -0); a NaN sample stays NaN.
    Tspectrum& clipToMinSampleValue() noexcept {
        fRed = clipMin(fRed);
        fGreen = clipMin(fGreen);
        fBlue = clipMin(fBlue);
        return *this;
    }
    /// Both clips: every sample in [0, 1] unless it is NaN.
    Tspectrum& clipSampleValues() noexcept { return clipToMaxSampleValue().clipToMinSampleValue(); }

    /// result = a + b per sample; result may be a or b.
    static void addSpectrum(const Tspectrum& a, const Tspectrum& b, Tspectrum& result) noexcept { result = a + b; }

protected:
    constexpr Tspectrum(float red, float green, float blue) noexcept : fRed(red), fGreen(green), fBlue(blue) {}

    static constexpr float clipMax(float s) noexcept { return s >= 1.0f ? 1.0f : s; }
    static constexpr float clipMin(float s) noexcept { return s <= 0.0f ? 0.0f : s; }

private:
    float fRed, fGreen, fBlue;
};

/// A spectrum used as a reflectance factor. It is only ever multiplied into
/// a spectrum (either way round, or with *= on the spectrum) and assigned
/// from one: its own sums, differences, scalings and products with another
/// reflectance are private, so that code mixing up light and reflectance
/// does not compile. Same layout as Tspectrum.
class GRUNDEL_API Treflectance : public Tspectrum {
public:
    constexpr Treflectance() noexcept = default;
    constexpr explicit Treflectance(float value) noexcept : Tspectrum(value) {}
    explicit Treflectance(TnoInit t) noexcept : Tspectrum(t) {}
    /// A reflectance of the spectrum's samples.
    constexpr explicit Treflectance(const Tspectrum& s) noexcept : Tspectrum(s) {}

    /// A reflectance of the three samples given.
    static constexpr Treflectance fromRGB(float red, float green, float blue) noexcept { return Treflectance(Tspectrum::fromRGB(red, green, blue)); }

    Treflectance& operator=(const Tspectrum& s) noexcept {
        Tspectrum::operator=(s);
        return *this;
    }

    /// The spectrum filtered by this reflectance, per sample.
    Tspectrum operator*(const Tspectrum& s) const noexcept { return s * static_cast<const Tspectrum&>(*this); }

private:
    using Tspectrum::operator+;
    using Tspectrum::operator-;
    using Tspectrum::operator*;
    using Tspectrum::operator/;
    using Tspectrum::operator+=;
    using Tspectrum::operator-=;
    using Tspectrum::operator*=;
    using Tspectrum::operator/=;
};

inline Tspectrum Tspectrum::operator*(const Treflectance& r) const noexcept { return *this * static_cast<const Tspectrum&>(r); }
inline Tspectrum& Tspectrum::operator*=(const Treflectance& r) noexcept { return *this *= static_cast<const Tspectrum&>(r); }
