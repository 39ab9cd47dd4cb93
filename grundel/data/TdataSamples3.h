#pragma once

#include "grundel/core/Tstring.h"
#include "grundel/data/TdataLetter.h"
#include "grundel/data/TrgbSamples.h"

/// What the two spectrum letters share: three single-precision samples,
/// red, green, blue. Binary: 12 bytes, the samples as big-endian floats, red
/// first; the reader needs 12 bytes (else -1, nothing consumed) and leaves
/// any further bytes to the caller. Text: the three samples, each followed
/// by one space, whatever the hint; readASCII takes three numbers.
class GRUNDEL_API TdataSamples3 : public TdataLetter {
public:
    static constexpr TuInt32 kBytes = 12;

    float red() const noexcept { return fSamples.red(); }
    float green() const noexcept { return fSamples.green(); }
    float blue() const noexcept { return fSamples.blue(); }

    void debug(TdebugOutput& out, unsigned int flags = 0) const override;
    /// All samples 0.
    void reset() override { fSamples = Tspectrum(); }
    void _getFootprint(TfootprintInfo& info) const override;
    using TdataLetter::operator==;
    using TdataLetter::operator!=;
    /// The same class with exactly equal samples.
    bool operator==(const TdataLetter& other) const override;
    bool operator!=(const TdataLetter& other) const override { return !(*this == other); }

    [[nodiscard]] int readBinary(TiffTag tag, TuInt32& remaining, const char*& cursor) override;
    [[nodiscard]] int writeBinary(TiffFile& file) const override;
    /// -1 (nothing changed) for fewer than three arguments or one that is
    /// not a number; index is left on the third.
    [[nodiscard]] int readASCII(const TargList& args, int& index, unsigned int flags) override;
    int writeASCII(Tfile& file, int hint) const override;

protected:
    TdataSamples3() noexcept = default;
    explicit TdataSamples3(const Tspectrum& s) noexcept : fSamples(s) {}

    Tspectrum fSamples;
};

/// "spectrumRGB", SRGB: a Tspectrum.
class GRUNDEL_API TdataSpectrum : public TdataSamples3 {
    GRUNDEL_CLASS(TdataSpectrum)

public:
    static constexpr TiffTag kTag = TiffTag('S', 'R', 'G', 'B');
    static constexpr const char* kTypeName = "spectrumRGB";

    TdataSpectrum() noexcept = default;
    explicit TdataSpectrum(const Tspectrum& s) noexcept : TdataSamples3(s) {}

    const Tspectrum& spectrum() const noexcept { return fSamples; }
    void setSpectrum(const Tspectrum& s) noexcept { fSamples = s; }

    [[nodiscard]] TdataLetter* copy() const override { return new TdataSpectrum(*this); }
    Tstring typeName() const override { return Tstring(kTypeName); }
};

/// "reflectanceRGB", RRGB: a Treflectance.
class GRUNDEL_API TdataReflectance : public TdataSamples3 {
    GRUNDEL_CLASS(TdataReflectance)

public:
    static constexpr TiffTag kTag = TiffTag('R', 'R', 'G', 'B');
    static constexpr const char* kTypeName = "reflectanceRGB";

    TdataReflectance() noexcept = default;
    explicit TdataReflectance(const Treflectance& r) noexcept : TdataSamples3(r) {}

    Treflectance reflectance() const noexcept { return Treflectance(fSamples); }
    void setReflectance(const Treflectance& r) noexcept { fSamples = r; }

    [[nodiscard]] TdataLetter* copy() const override { return new TdataReflectance(*this); }
    Tstring typeName() const override { return Tstring(kTypeName); }
};
