#include "grundel/data/TdataChunk.h"

#include "grundel/data/Tdata.h"
#include "grundel/data/TdataLetter.h"
#include "grundel/data/TdataUnknown.h"
#include "grundel/data/TdataVoidPtr.h"
#include "grundel/data/TmetaLetter.h"
#include "grundel/iff/FLerror.h"
#include "grundel/iff/TiffFile.h"

#include <utility>

namespace {

// The whole chunk kept as it is, for writing back unchanged.
Tdata keepUnknown(TiffTag tag, const char* data, TuInt32 size) {
    Tdata kept(new TdataUnknown(tag));
    TuInt32 remaining = size;
    (void)kept.letter()->readBinary(tag, remaining, data); // cannot refuse
    return kept;
}

} // namespace

int TdataChunk::write(TiffFile& file, const Tdata& value) {
    if (value.isNULL())
        return 0;
    if (value.isAddr() || value.cast(&TdataVoidPtr::fsMetaclass))
        return -1; // addresses never go to files: not even an empty chunk
    // A known size spares a seek back on closing, and lets kept chunks
    // come back byte for byte.
    Tint32 size = value.isAnimTime() ? 4 : value.isNumeric() ? 8 : -1;
    if (const auto* unknown = static_cast<const TdataUnknown*>(value.cast(&TdataUnknown::fsMetaclass)))
        size = Tint32(unknown->byteCount());
    if (const int code = file.beginPut(value.tag(), size))
        return code;
    const int written = value.writeBinary(file);
    const int closed = file.endPut();
    return written != 0 ? -1 : closed;
}

int TdataChunk::decode(TiffTag tag, const void* data, TuInt32 size, Tdata& value, TuInt32* unread) {
    const char* bytes = static_cast<const char*>(data);
    if (!bytes)
        size = 0;
    if (unread)
        *unread = 0;
    if (tag == Tdata::kTag) {
        // Tdata is not a letter: its two immediate forms by size.
        if (size != 8 && size != 4) {
            value = keepUnknown(tag, bytes, size);
            return kRefused;
        }
        Tdata read = size == 8 ? Tdata(0.0) : Tdata(TanimTime());
        TuInt32 remaining = size;
        const char* cursor = bytes;
        (void)read.readBinary(tag, remaining, cursor); // the size fits
        value = std::move(read);
        return kRead;
    }
    TdataLetter* letter = TmetaLetter::construct(tag);
    if (!letter) {
        value = keepUnknown(tag, bytes, size);
        return kRefused;
    }
    Tdata read(letter);
    TuInt32 remaining = size;
    const char* cursor = bytes;
    if (letter->readBinary(tag, remaining, cursor) != 0 || remaining > size) {
        value = keepUnknown(tag, bytes, size);
        return kRefused;
    }
    value = std::move(read);
    if (unread)
        *unread = remaining;
    return kRead;
}

int TdataChunk::read(TiffFile& file, Tdata& value, TiffTag* tag) {
    TiffTag found;
    Tint32 size = 0;
    if (const int code = file.beginGet(found, &size))
        return code;
    if (size < 0) {
        (void)file.endGet();
        return FLseterror(kFLbadSize);
    }
    // Small chunks (every immediate and tuple) are read into a buffer here,
    // which spares beginRead's look at the file's size; larger ones go
    // through beginRead, which checks the size against the file before it
    // takes memory.
    char small[256];
    const void* bytes = small;
    if (std::size_t(size) <= sizeof small) {
        if (const int code = size > 0 ? file.get(small, std::size_t(size)) : 0) {
            (void)file.endGet();
            return code;
        }
    } else if (!(bytes = file.beginRead(std::size_t(size)))) {
        const int code = file.error();
        (void)file.endGet();
        return code;
    }
    Tdata read;
    const int result = decode(found, bytes, TuInt32(size), read);
    if (const int code = file.endGet())
        return code;
    value = std::move(read);
    if (tag)
        *tag = found;
    return result;
}
