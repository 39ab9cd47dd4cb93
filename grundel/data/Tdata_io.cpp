// Tdata in chunk files and as text.
#include "grundel/data/Tdata.h"

#include "grundel/core/TargList.h"
#include "grundel/core/Tfile.h"
#include "grundel/data/TdataLetter.h"
#include "grundel/data/TdataUnknown.h"
#include "grundel/data/TmetaLetter.h"
#include "grundel/iff/TiffFile.h"
#include "grundel/time/TangleUnit.h"
#include "grundel/time/Tunit.h"

#include <cassert>
#include <charconv>
#include <cstring>
#include <string_view>

namespace {

void putBigEndian(TuInt64 value, unsigned char* out, int bytes) noexcept {
    for (int i = 0; i < bytes; ++i)
        out[i] = static_cast<unsigned char>(value >> (8 * (bytes - 1 - i)));
}

TuInt64 getBigEndian(const char* in, int bytes) noexcept {
    TuInt64 value = 0;
    for (int i = 0; i < bytes; ++i)
        value = value << 8 | static_cast<unsigned char>(in[i]);
    return value;
}

// A number in the forms Tfile writes, the whole argument: what from_chars
// reads in its general format ("1.5", "-2e-07", "inf", "nan"), with an
// optional '+' in front. False for anything else, out of range included.
bool parseNumber(std::string_view text, double& value) noexcept {
    if (text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+')
        text.remove_prefix(1);
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, std::chars_format::general);
    return result.ec == std::errc() && result.ptr == end;
}

bool parseUnsigned(std::string_view text, TuInt64& value) noexcept {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return !text.empty() && result.ec == std::errc() && result.ptr == end;
}

} // namespace

int Tdata::writeBinary(TiffFile& file) const {
    if (isLetter())
        return fPayload.fLetter ? fPayload.fLetter->writeBinary(file) : 0;
    if (isAddr())
        return -1; // an address means nothing in another process
    unsigned char bytes[8];
    if (isAnimTime()) {
        putBigEndian(TuInt32(fPayload.fWords[0]), bytes, 4);
        return file.put(bytes, 4) == 0 ? 0 : -1;
    }
    putBigEndian(fPayload.fBits, bytes, 8);
    return file.put(bytes, 8) == 0 ? 0 : -1;
}

int Tdata::readBinary(TiffTag tag, TuInt32& remaining, const char*& cursor) {
    assert((cursor || remaining == 0) && "readBinary() without bytes");
    if (isLetter() && fPayload.fLetter)
        return fPayload.fLetter->readBinary(tag, remaining, cursor);
    if (isAddr()) {
        fPayload.fBits = 0;
        return 0;
    }
    if (isAnimTime()) {
        if (remaining < 4)
            return -1;
        setTicks(Tint32(TuInt32(getBigEndian(cursor, 4))));
        cursor += 4;
        remaining -= 4;
        return 0;
    }
    if (remaining < 8)
        return -1;
    fPayload.fBits = getBigEndian(cursor, 8);
    if (isLetter()) // the NULL value becomes a number
        fFlags = (fFlags & kFromCache) | kNumeric | kHolder;
    cursor += 8;
    remaining -= 8;
    return 0;
}

// Text forms of immediates, by hint: 0 and 4 the number as it stands (an
// address as its integer), 1 the boolean as "0" or "1", 2 the 32-bit
// integer, 6 the number in the user's linear unit, 7 in the user's angle
// unit, 8 the number taken as ticks and written in seconds as a float; any
// other hint writes nothing. A time is written in the user-defined time
// unit whatever the hint.
int Tdata::writeASCII(Tfile& file, int hint, bool withType) const {
    if (isLetter()) {
        if (!fPayload.fLetter)
            return 0;
        int result = 0;
        if (withType) {
            // Always in quotes; a quote or backslash in the name escaped.
            result |= file.putString("-type ");
            result |= file.putString(TargList::quote(fPayload.fLetter->typeName().view(), true).view());
            result |= file.putChar(' ');
        }
        result |= fPayload.fLetter->writeASCII(file, hint);
        return result == 0 ? 0 : -1;
    }
    if (isAnimTime())
        return file.putDouble(TanimTime(fPayload.fWords[0]).valueInThisUnit(kTimeUserRate));
    switch (hint) {
    case 0:
    case 4:
        return isAddr() ? file.putUInt(fPayload.fBits) : file.putDouble(fPayload.fDouble);
    case 1: return file.putChar(booleanValue() ? '1' : '0');
    case 2: return file.putInt(int32Value());
    case 6: return file.putDouble(Tunit::internalToUI(doubleValue()));
    case 7: return file.putDouble(TangleUnit::internalToUI(doubleValue()));
    case 8: return file.putFloat(static_cast<float>(timeValue().inTicks()) * (1.0f / 6000.0f));
    default: return 0;
    }
}

int Tdata::readASCII(const TargList& args, int& index, unsigned int flags) {
    if (index < 0 || index >= args.count())
        return -1;
    if (args[index].view() == "-type") {
        if (index + 1 >= args.count())
            return -1;
        const std::string_view name = args[index + 1].view();
        int at = index + 2;
        if (name == fsMetaclass.name()) {
            double value = 0.0;
            if (at >= args.count() || !parseNumber(args[at].view(), value))
                return -1;
            *this = value;
            index = at;
            return 0;
        }
        TdataLetter* made = TmetaLetter::construct(name);
        if (!made)
            return -1;
        Tdata read(made);
        // The unknown class's own name made it too: keep the name all the same.
        if (auto* unknown = static_cast<TdataUnknown*>(made->cast(&TdataUnknown::fsMetaclass)))
            if (unknown->typeName().isEmpty())
                unknown->setTypeName(Tstring(name));
        if (made->readASCII(args, at, flags) != 0)
            return -1;
        *this = std::move(read);
        index = at;
        return 0;
    }
    const std::string_view text = args[index].view();
    if (isAddr()) {
        TuInt64 bits = 0;
        if (parseUnsigned(text, bits)) {
            assignBits(bits);
            return 0;
        }
    }
    double value = 0.0;
    if (!parseNumber(text, value))
        return -1;
    if (isAnimTime())
        *this = TanimTime(value, kTimeUserRate);
    else
        *this = value;
    return 0;
}
