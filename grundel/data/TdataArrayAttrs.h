#pragma once

#include "grundel/core/Tarrays.h"
#include "grundel/data/TdataArrays.h"
#include "grundel/data/TdataLetter.h"

/// Named attribute arrays (one per particle attribute, say "position" or
/// "id"): type name "newParticles", tag NWP#. Each attribute holds one
/// array letter (TdataInt32Array, TdataDoubleArray or TdataUInt64Array).
///
/// Binary form, all integers unsigned 32-bit big-endian:
///
///     count                         number of attributes
///     then per attribute:
///       nameLength, name bytes      the name, without a terminating zero,
///       zero bytes up to 4          padding to a multiple of 4
///       tag                         I32#, DBL# or U64#: the array's class
///       byteLength                  a multiple of the element size
///       elements                    the array's own binary form
///
/// Reading takes the whole chunk and refuses it (-1, nothing consumed) when
/// anything is out of place: a count or length past the bytes present,
/// another tag, nonzero padding, bytes left over at the end.
///
/// Text form: the count, then per attribute its name (quoted when needed)
/// and its array with type ("id -type "Int32Array" 2 7 9 "), each part
/// followed by one space.
class GRUNDEL_API TdataArrayAttrs : public TdataLetter {
    GRUNDEL_CLASS(TdataArrayAttrs)

public:
    static constexpr TiffTag kTag = TiffTag('N', 'W', 'P', '#');

    TdataArrayAttrs() noexcept = default;

    TuInt32 count() const noexcept { return fNames.length(); }
    const Tstring& name(TuInt32 i) const noexcept { return fNames[i]; }
    /// The array of attribute i (a Tdata holding an array letter).
    const Tdata& attribute(TuInt32 i) const noexcept { return fArrays[i]; }
    /// The index of the first attribute called name, or -1.
    int find(std::string_view name) const noexcept;
    /// Appends an attribute; -1 (nothing added) unless array holds one of
    /// the three array letters.
    [[nodiscard]] int addAttribute(const Tstring& name, const Tdata& array);

    void debug(TdebugOutput& out, unsigned int flags = 0) const override;
    void reset() override;
    /// Attributes sharing the arrays' letters.
    [[nodiscard]] TdataLetter* copy() const override { return new TdataArrayAttrs(*this); }
    void _getFootprint(TfootprintInfo& info) const override;

    [[nodiscard]] int readASCII(const TargList& args, int& index, unsigned int flags) override;
    [[nodiscard]] int readBinary(TiffTag tag, TuInt32& remaining, const char*& cursor) override;
    [[nodiscard]] int writeBinary(TiffFile& file) const override;
    int writeASCII(Tfile& file, int hint) const override;
    Tstring typeName() const override { return "newParticles"; }

protected:
    TdataArrayAttrs(const TdataArrayAttrs& other) : TdataLetter(other) {
        fNames.copy(other.fNames);
        fArrays.copy(other.fArrays);
    }

private:
    TstringArray fNames;
    TdataArray fArrays;
};
