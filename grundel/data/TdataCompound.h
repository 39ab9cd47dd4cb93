#pragma once

#include "grundel/data/TdataArrays.h"
#include "grundel/data/TdataLetter.h"

/// A sequence of child values of any kind: type name "TdataCompound", tag
/// CMPD.
///
/// Binary form: each child as a chunk of its own, one after the other: its
/// tag (4 bytes), its payload's length (32-bit, big-endian), the payload,
/// and zero bytes up to a multiple of 4. Children are read through the
/// registry (unknown tags and refused payloads are kept as TdataUnknown).
/// Reading takes the whole rest of the chunk and refuses (-1, nothing
/// consumed) a child that runs past it, missing or nonzero padding, a
/// child whose class leaves bytes of its payload unread, or nesting deeper
/// than kMaxDepth, so that what is read writes back byte for byte. NULL
/// children are not written.
///
/// Text form: the child count, then each child as Tdata writes it with its
/// type ("-type "long2" 1 2"), each followed by one space. A child of a
/// type nobody registered keeps the rest of the line, so it reads back
/// only as the last child.
class GRUNDEL_API TdataCompound : public TdataLetter {
    GRUNDEL_CLASS(TdataCompound)

public:
    static constexpr TiffTag kTag = TiffTag('C', 'M', 'P', 'D');
    /// Compounds nested deeper than this are refused in reading and
    /// writing, binary and text.
    static constexpr int kMaxDepth = 32;

    TdataCompound() noexcept = default;

    TuInt32 count() const noexcept { return fChildren.length(); }
    /// Child i (below count()).
    const Tdata& child(TuInt32 i) const noexcept { return fChildren[i]; }
    Tdata& child(TuInt32 i) noexcept { return fChildren[i]; }
    const Tdata* begin() const noexcept { return fChildren.begin(); }
    const Tdata* end() const noexcept { return fChildren.end(); }
    void addChild(const Tdata& value) { (void)fChildren.addLast(value); }

    void debug(TdebugOutput& out, unsigned int flags = 0) const override;
    void reset() override { fChildren.reset(); }
    /// A compound sharing the children's letters.
    [[nodiscard]] TdataLetter* copy() const override { return new TdataCompound(*this); }
    void _getFootprint(TfootprintInfo& info) const override;

    [[nodiscard]] int readASCII(const TargList& args, int& index, unsigned int flags) override;
    [[nodiscard]] int readBinary(TiffTag tag, TuInt32& remaining, const char*& cursor) override;
    [[nodiscard]] int writeBinary(TiffFile& file) const override;
    int writeASCII(Tfile& file, int hint) const override;

protected:
    TdataCompound(const TdataCompound& other) : TdataLetter(other) { fChildren.copy(other.fChildren); }

private:
    TdataArray fChildren;
};

