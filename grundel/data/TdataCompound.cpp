#include "grundel/data/TdataCompound.h"

#include "grundel/core/TargList.h"
#include "grundel/core/TdebugOutput.h"
#include "grundel/core/Tfile.h"
#include "grundel/core/TfootprintInfo.h"
#include "grundel/data/TdataArrayAttrs.h"
#include "grundel/data/TdataBinary.h"
#include "grundel/data/TdataBuiltins_p.h"
#include "grundel/data/TdataBytes_p.h"
#include "grundel/data/TdataChunk.h"
#include "grundel/data/TmetaLetter.h"
#include "grundel/iff/FLfile.h"
#include "grundel/iff/TiffFile.h"

#include <cstdint>

using grundel::detail::getBigEndian32;
using grundel::detail::putBigEndian32;

GRUNDEL_DEFINE_CLASS(TdataCompound, "CMPD", TdataLetter)

void grundel::detail::registerStructuredLetters() {
    static const TmetaLetter binary(&TdataBinary::fsMetaclass, "binary");
    static const TmetaLetter compound(&TdataCompound::fsMetaclass, "TdataCompound");
    static const TmetaLetter attributes(&TdataArrayAttrs::fsMetaclass, "newParticles");
}

namespace {

// Nesting of compounds being read or written on this thread.
thread_local int tDepth = 0;

class DepthGuard {
public:
    DepthGuard() noexcept : fAllowed(tDepth < TdataCompound::kMaxDepth) { ++tDepth; }
    ~DepthGuard() { --tDepth; }
    DepthGuard(const DepthGuard&) = delete;
    DepthGuard& operator=(const DepthGuard&) = delete;
    bool allowed() const noexcept { return fAllowed; }

private:
    bool fAllowed;
};

constexpr TuInt64 padded4(TuInt64 n) noexcept { return (n + 3) & ~TuInt64(3); }

// The payload value writes, into out; false when it cannot be written.
bool payloadBytes(const Tdata& value, TuInt8Array& out) {
    // A chunk written into a group in memory: group header (12 bytes),
    // chunk header (8 bytes), then the payload. The chunk is named by a
    // fixed tag, so that a child kept under a tag the chunk library would
    // refuse as a chunk's (a group's, say) is written all the same.
    const TiffSpecialNames names;
    TiffFile file("mem:", "w");
    if (file.beginWriteGroup(TiffTag('F', 'O', 'R', 'M'), TdataCompound::kTag) != 0 ||
        file.beginPut(TiffTag('D', 'A', 'T', 'A'), -1) != 0)
        return false;
    const int written = value.writeBinary(file);
    if (file.endPut() != 0 || written != 0 || file.endWriteGroup() != 0)
        return false;
    const void* data = nullptr;
    std::size_t size = 0;
    if (file.memoryInfo(&data, &size) != 0 || size < 20)
        return false;
    const char* bytes = static_cast<const char*>(data);
    const TuInt32 length = getBigEndian32(bytes + 16);
    if (length > size - 20)
        return false;
    out.reset();
    if (length)
        (void)out.addLast(reinterpret_cast<const TuInt8*>(bytes + 20), length);
    return true;
}

} // namespace

void TdataCompound::debug(TdebugOutput& out, unsigned int flags) const {
    out.printf("Compound Data %#x\n", unsigned(reinterpret_cast<std::uintptr_t>(this)));
    for (TuInt32 i = 0; i < count(); ++i) {
        out.printf("Child [%d]:\n", int(i));
        if (const TdataLetter* letter = child(i).letter())
            letter->debug(out, flags);
        else if (child(i).isNumeric())
            out.printf("%g\n", child(i).doubleValue());
    }
}

void TdataCompound::_getFootprint(TfootprintInfo& info) const {
    info.setSize(sizeof(*this) + std::size_t(fChildren.physicalSize()) * sizeof(Tdata), "TdataCompound");
}

int TdataCompound::readBinary(TiffTag, TuInt32& remaining, const char*& cursor) {
    const DepthGuard depth;
    if (!depth.allowed())
        return -1;
    TdataArray children;
    const char* at = cursor;
    TuInt32 left = remaining;
    while (left > 0) {
        if (left < 8)
            return -1;
        const TiffTag tag(getBigEndian32(at));
        const TuInt32 length = getBigEndian32(at + 4);
        at += 8;
        left -= 8;
        const TuInt64 room = padded4(length);
        if (room > left)
            return -1;
        for (TuInt64 i = length; i < room; ++i)
            if (at[i] != 0)
                return -1;
        Tdata value;
        TuInt32 unread = 0;
        (void)TdataChunk::decode(tag, at, length, value, &unread);
        if (unread != 0 || value.isNULL())
            return -1;
        (void)children.addLast(value);
        at += room;
        left -= TuInt32(room);
    }
    fChildren.swap(children);
    cursor = at;
    remaining = 0;
    return 0;
}

int TdataCompound::writeBinary(TiffFile& file) const {
    const DepthGuard depth;
    if (!depth.allowed())
        return -1;
    TuInt8Array payload;
    static const unsigned char kZeros[4] = {};
    for (const Tdata& value : *this) {
        if (value.isNULL())
            continue;
        if (!payloadBytes(value, payload))
            return -1;
        unsigned char header[8];
        putBigEndian32(value.tag().value(), header);
        putBigEndian32(payload.length(), header + 4);
        if (file.put(header, 8) != 0 || (payload.length() && file.put(payload.begin(), payload.length()) != 0))
            return -1;
        const std::size_t pad = std::size_t(padded4(payload.length()) - payload.length());
        if (pad && file.put(kZeros, pad) != 0)
            return -1;
    }
    return 0;
}

int TdataCompound::readASCII(const TargList& args, int& index, unsigned int flags) {
    const DepthGuard depth;
    if (!depth.allowed() || index < 0 || index >= args.count())
        return -1;
    // Every child takes at least one argument.
    TuInt32 n = 0;
    if (!grundel::detail::parseTextCount(args[index].view(), TuInt32(args.count() - index - 1), n))
        return -1;
    TdataArray children;
    int at = index;
    for (TuInt32 i = 0; i < n; ++i) {
        ++at;
        Tdata value;
        if (at >= args.count() || value.readASCII(args, at, flags) != 0)
            return -1;
        (void)children.addLast(value);
    }
    fChildren.swap(children);
    index = at;
    return 0;
}

int TdataCompound::writeASCII(Tfile& file, int hint) const {
    const DepthGuard depth;
    if (!depth.allowed())
        return -1;
    TuInt32 written = 0;
    for (const Tdata& value : *this)
        written += value.isNULL() ? 0 : 1;
    int result = file.putUInt(written);
    result |= file.putChar(' ');
    for (const Tdata& value : *this) {
        if (value.isNULL())
            continue;
        result |= value.writeASCII(file, hint, true);
        result |= file.putChar(' ');
    }
    return result == 0 ? 0 : -1;
}
