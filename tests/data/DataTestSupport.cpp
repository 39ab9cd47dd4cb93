#include "DataTestSupport.h"

#include <cstdio>

GRUNDEL_DEFINE_CLASS(TcountedLetter, "TST1", TdataLetter)
GRUNDEL_DEFINE_CLASS(TlateLetter, "TST1", TdataLetter)

int TcountedLetter::sLive = 0;

namespace {
const TmetaLetter kCountedRegistration(&TcountedLetter::fsMetaclass, "testValue");
const TmetaLetter kLateRegistration(&TlateLetter::fsMetaclass);
} // namespace

int TcountedLetter::readBinary(TiffTag, TuInt32& remaining, const char*& cursor) {
    Tdata number;
    return number.readBinary(Tdata::kTag, remaining, cursor) == 0 ? (fValue = number.doubleValue(), 0) : -1;
}

int TcountedLetter::writeBinary(TiffFile& file) const { return Tdata(fValue).writeBinary(file); }

int TcountedLetter::readASCII(const TargList& args, int& index, unsigned int flags) {
    Tdata number;
    if (number.readASCII(args, index, flags) != 0)
        return -1;
    fValue = number.doubleValue();
    return 0;
}

int TcountedLetter::writeASCII(Tfile& file, int hint) const { return Tdata(fValue).writeASCII(file, hint); }

std::string memName(const Bytes& bytes) {
    char name[64];
    std::snprintf(name, sizeof name, "mem:%p,%zu", static_cast<const void*>(bytes.data()), bytes.size());
    return name;
}

Bytes payloadOf(const Tdata& value) {
    const Bytes file = writeToMemory([&](TiffFile& out) { (void)TdataChunk::write(out, value); });
    // FORM size TEST, then one chunk header of 8 bytes.
    if (file.size() < 20)
        return {};
    const std::size_t size = std::size_t(file[16]) << 24 | std::size_t(file[17]) << 16 | std::size_t(file[18]) << 8 | file[19];
    return Bytes(file.begin() + 20, file.begin() + 20 + std::ptrdiff_t(std::min(size, file.size() - 20)));
}
