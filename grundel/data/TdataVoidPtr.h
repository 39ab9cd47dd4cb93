#pragma once

#include "grundel/core/Tstring.h"
#include "grundel/data/TdataLetter.h"

/// "void", VOID: an address handed between parts of one process. An
/// address means nothing in a file or another process, so it is never
/// written or read: the four reading and writing operations return -1 and
/// produce nothing.
class GRUNDEL_API TdataVoidPtr : public TdataLetter {
    GRUNDEL_CLASS(TdataVoidPtr)

public:
    static constexpr TiffTag kTag = TiffTag('V', 'O', 'I', 'D');
    static constexpr const char* kTypeName = "void";

    TdataVoidPtr() noexcept = default;
    explicit TdataVoidPtr(void* pointer) noexcept : fPointer(pointer) {}

    void* pointer() const noexcept { return fPointer; }
    void setPointer(void* pointer) noexcept { fPointer = pointer; }

    void debug(TdebugOutput& out, unsigned int flags = 0) const override;
    /// The null address.
    void reset() override { fPointer = nullptr; }
    [[nodiscard]] TdataLetter* copy() const override { return new TdataVoidPtr(*this); }
    void _getFootprint(TfootprintInfo& info) const override;
    using TdataLetter::operator==;
    using TdataLetter::operator!=;
    /// Both hold the same address.
    bool operator==(const TdataLetter& other) const override;
    bool operator!=(const TdataLetter& other) const override { return !(*this == other); }

    [[nodiscard]] int readBinary(TiffTag, TuInt32&, const char*&) override { return -1; }
    [[nodiscard]] int writeBinary(TiffFile&) const override { return -1; }
    [[nodiscard]] int readASCII(const TargList&, int&, unsigned int) override { return -1; }
    int writeASCII(Tfile&, int) const override { return -1; }
    Tstring typeName() const override { return Tstring(kTypeName); }

private:
    void* fPointer = nullptr;
};
