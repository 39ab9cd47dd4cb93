#pragma once

#include <grundel/grundel.h>

#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

/// A letter holding one double, counting its live instances, so that tests
/// can see that every reference taken is given back. Tag "TST1", name
/// "testValue"; reads and writes 8 bytes big-endian, and its text is the
/// number.
class TcountedLetter : public TdataLetter {
    GRUNDEL_CLASS(TcountedLetter)

public:
    TcountedLetter() noexcept { ++sLive; }
    explicit TcountedLetter(double value) noexcept : fValue(value) { ++sLive; }
    TcountedLetter(const TcountedLetter& other) noexcept : TdataLetter(other), fValue(other.fValue) { ++sLive; }
    ~TcountedLetter() override { --sLive; }

    TdataLetter* copy() const override { return new TcountedLetter(*this); }
    double doubleValue() const override { return fValue; }
    int readBinary(TiffTag tag, TuInt32& remaining, const char*& cursor) override;
    int writeBinary(TiffFile& file) const override;
    int readASCII(const TargList& args, int& index, unsigned int flags) override;
    int writeASCII(Tfile& file, int hint) const override;
    Tstring typeName() const override { return "testValue"; }

    double fValue = 0.0;
    static int sLive;
};

/// A second class claiming TcountedLetter's tag under another name:
/// registered later, so never found by the tag.
class TlateLetter : public TdataLetter {
    GRUNDEL_CLASS(TlateLetter)
};

/// The bytes of a memory file written by fill, which gets the file with a
/// group open.
template <class Fill>
Bytes writeToMemory(Fill fill) {
    const TiffSpecialNames names;
    TiffFile out("mem:", "w");
    if (out.beginWriteGroup(TiffTag("FORM"), TiffTag("TEST")) != 0)
        return {};
    fill(out);
    (void)out.endWriteGroup();
    const void* data = nullptr;
    std::size_t size = 0;
    if (out.memoryInfo(&data, &size) != 0)
        return {};
    Bytes bytes(static_cast<const unsigned char*>(data), static_cast<const unsigned char*>(data) + size);
    (void)out.close();
    return bytes;
}

/// The name under which FLopen reads bytes from memory (special names on).
std::string memName(const Bytes& bytes);

/// The payload bytes of one value written with TdataChunk::write, chunk
/// header and group stripped.
Bytes payloadOf(const Tdata& value);
