#pragma once

#include "grundel/core/Tarrays.h"
#include "grundel/data/TdataLetter.h"

/// Uninterpreted bytes: type name "binary", tag BINA.
///
/// Binary form: the bytes as they are; reading takes the whole rest of the
/// chunk. Text form: the byte count, then (when there are any) the bytes
/// as one argument of two lowercase hexadecimal digits each, each followed
/// by one space ("3 00ff7a "); reading accepts either case and refuses a
/// count that does not match the digits given.
class GRUNDEL_API TdataBinary : public TdataLetter {
    GRUNDEL_CLASS(TdataBinary)

public:
    static constexpr TiffTag kTag = TiffTag('B', 'I', 'N', 'A');

    TdataBinary() noexcept = default;
    /// Holds a copy of the n bytes at data.
    TdataBinary(const void* data, TuInt32 n) { assign(data, n); }

    const TuInt8* bytes() const noexcept { return fBytes.begin(); }
    TuInt32 byteCount() const noexcept { return fBytes.length(); }
    const TuInt8* begin() const noexcept { return fBytes.begin(); }
    const TuInt8* end() const noexcept { return fBytes.end(); }
    /// Replaces the bytes by a copy of the n bytes at data.
    void assign(const void* data, TuInt32 n);

    void debug(TdebugOutput& out, unsigned int flags = 0) const override;
    void reset() override { fBytes.reset(); }
    [[nodiscard]] TdataLetter* copy() const override { return new TdataBinary(*this); }
    void _getFootprint(TfootprintInfo& info) const override;
    bool operator==(const TdataLetter& other) const override;
    bool operator!=(const TdataLetter& other) const override { return !(*this == other); }

    [[nodiscard]] int readASCII(const TargList& args, int& index, unsigned int flags) override;
    [[nodiscard]] int readBinary(TiffTag tag, TuInt32& remaining, const char*& cursor) override;
    [[nodiscard]] int writeBinary(TiffFile& file) const override;
    int writeASCII(Tfile& file, int hint) const override;
    Tstring typeName() const override { return "binary"; }

protected:
    TdataBinary(const TdataBinary& other) : TdataLetter(other) { fBytes.copy(other.fBytes); }

private:
    TuInt8Array fBytes;
};
