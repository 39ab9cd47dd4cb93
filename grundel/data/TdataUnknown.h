#pragma once

#include "grundel/core/Tarrays.h"
#include "grundel/data/TdataLetter.h"

/// The letter of a tag or type name that no class registered: it keeps the
/// bytes of the chunk it was read from, or the text of the arguments, and
/// writes them back unchanged, so that values of unknown kinds survive a
/// round trip through a program that does not understand them.
/// Registered as "TdataUnknown" with tag UNKN.
class GRUNDEL_API TdataUnknown : public TdataLetter {
    GRUNDEL_CLASS(TdataUnknown)

public:
    static constexpr TiffTag kTag = TiffTag('U', 'N', 'K', 'N');

    TdataUnknown() noexcept = default;
    /// Empty, keeping tag (the chunk tag it was met under).
    explicit TdataUnknown(TiffTag tag) noexcept : fTag(tag) {}
    /// Empty, keeping typeName (the type name it was met under in text).
    explicit TdataUnknown(const Tstring& typeName) noexcept : fTypeName(typeName) {}

    void debug(TdebugOutput& out, unsigned int flags = 0) const override;
    /// Forgets the bytes and the text (the tag and type name stay).
    void reset() override;
    [[nodiscard]] TdataLetter* copy() const override;
    void _getFootprint(TfootprintInfo& info) const override;

    /// Keeps tag and the whole rest of the chunk: cursor moves past it and
    /// remaining becomes 0. Raises TmemoryException when no memory is left.
    [[nodiscard]] int readBinary(TiffTag tag, TuInt32& remaining, const char*& cursor) override;
    /// Puts the kept bytes; -1 when the file took fewer.
    [[nodiscard]] int writeBinary(TiffFile& file) const override;
    /// Keeps every argument from index on as its text (quoted where a
    /// blank or quote needs it, so that the text parses back to the same
    /// arguments) and leaves index on the last argument. -1 for a negative
    /// index.
    [[nodiscard]] int readASCII(const TargList& args, int& index, unsigned int flags) override;
    /// One space, then the kept text.
    int writeASCII(Tfile& file, int hint) const override;
    /// The type name it was met under, or "".
    Tstring typeName() const override { return fTypeName; }
    /// The tag it was met under, or UNKN without one.
    TiffTag iffTag() const override { return fTag.value() ? fTag : kTag; }

    TiffTag keptTag() const noexcept { return fTag; }
    const TuInt8* bytes() const noexcept { return fBytes.begin(); }
    TuInt32 byteCount() const noexcept { return fBytes.length(); }
    bool isFromText() const noexcept { return fFromText; }
    const Tstring& text() const noexcept { return fText; }
    void setTypeName(const Tstring& name) noexcept { fTypeName = name; }

protected:
    TdataUnknown(const TdataUnknown& other);

private:
    TiffTag fTag;
    TuInt8Array fBytes;
    bool fFromText = false;
    Tstring fText;
    Tstring fTypeName;
};
