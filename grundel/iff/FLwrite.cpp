// Writing chunks and groups.
#include "grundel/iff/FLchunk_p.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

using namespace grundel::detail;

namespace {

constexpr unsigned char kZeros[8] = {};
constexpr unsigned char kEovc[8] = {'E', 'O', 'V', 'C', 0x80, 0, 0, 0};

int writeBytes(_FLfile* file, const void* data, std::size_t n) {
    return file->io->write(data, n) ? kFLnoError : flIoFail(file);
}

int writeZeros(_FLfile* file, TuInt64 n) {
    while (n > 0) {
        const std::size_t take = n < sizeof kZeros ? static_cast<std::size_t>(n) : sizeof kZeros;
        if (const int code = writeBytes(file, kZeros, take))
            return code;
        n -= take;
    }
    return kFLnoError;
}

int checkWritable(_FLfile* file) {
    if (!file)
        return flFail(kFLnotAFile);
    if (!isWriting(file))
        return flFail(kFLbadMode);
    if (file->block)
        return flFail(kFLnestedWrite);
    return kFLnoError;
}

// The checks and header of a chunk about to be written at the current
// level. A negative size is unknown. With groupOnly, an identifier that is
// not a group's is refused (3) before anything is written.
int beginChunk(_FLfile* file, TuInt32 id, Tint32 size, bool groupOnly = false) {
    if (const int code = checkWritable(file))
        return code;
    _FLcontext* level = file->context;
    if (level->id)
        return flFail(kFLnestedWrite);
    if (groupOnly)
        if (const int code = groupIdCode(id))
            return flFail(code);
    FLkind kind;
    if (const int code = classify(id, level, size, kind))
        return code;
    const TuInt64 at = file->io->position();
    if (!isUnknownSize(size) && level->levelEnd != kFLunknownEnd &&
        (at > level->levelEnd || padded(TuInt64(size), kind.mask) + 8 > level->levelEnd - at))
        return flFail(kFLpastBoundary);
    if (isUnknownSize(size))
        size = static_cast<Tint32>((file->flags & kFLcannotSeek) ? kFLsizeStream : kFLsizePatched);
    unsigned char header[8];
    writeBE32(header, id);
    writeBE32(header + 4, static_cast<TuInt32>(size));
    if (const int code = writeBytes(file, header, sizeof header))
        return code;
    level->id = id;
    level->size = size;
    level->flags = kind.flags | kFLkindWriting;
    level->type = 0;
    level->start = at + 8;
    level->chunkMask = kind.mask;
    return kFLnoError;
}

// Forgets the chunk just closed at level and notes how far the file goes.
int chunkClosed(_FLfile* file, _FLcontext* level) {
    clearChunk(level);
    file->end = file->io->position();
    if (file->end > file->highWater)
        file->highWater = file->end;
    return kFLnoError;
}

// Pads the chunk open at level and patches or marks an unknown size.
int finishChunk(_FLfile* file, const _FLcontext* level) {
    const TuInt64 count = file->io->position() - level->start;
    if (!isUnknownSize(level->size)) {
        if (count > TuInt64(level->size))
            return flFail(kFLbadSize);
        // Data short of the declared size is made up with zeros, so that the
        // file stays readable; the caller still hears of it.
        const TuInt64 size = TuInt64(level->size);
        if (const int code = writeZeros(file, padded(size, level->chunkMask) - count))
            return code;
        return count == size ? kFLnoError : flFail(kFLbadSize);
    }
    if (count > 0x7FFFFFFF)
        return flFail(kFLbadSize);
    // Deliberately rounded on to a multiple of 4 even in the 2-byte family.
    const TuInt64 length = padded(padded(count, level->chunkMask), 3);
    if (const int code = writeZeros(file, length - count))
        return code;
    if (static_cast<TuInt32>(level->size) == kFLsizePatched) {
        unsigned char size[4];
        writeBE32(size, static_cast<TuInt32>(count));
        if (!file->io->patch(level->start - 4, size, sizeof size))
            return flIoFail(file);
    } else if (!(level->flags & kFLkindTyped)) {
        if (const int code = writeBytes(file, kEovc, sizeof kEovc))
            return code;
    }
    return kFLnoError;
}

// Closes the chunk open at level: whatever the outcome, the level is free
// for the next chunk.
int endChunk(_FLfile* file, _FLcontext* level) {
    const int code = finishChunk(file, level);
    chunkClosed(file, level);
    return code;
}

// Whether length more bytes fit the chunk open at level: its known size,
// or for a chunk of unknown size the end of a group whose size is known.
bool fits(_FLfile* file, const _FLcontext* level, std::size_t length) {
    const TuInt64 at = file->io->position();
    if (!isUnknownSize(level->size))
        return at - level->start + length <= TuInt64(level->size);
    return level->levelEnd == kFLunknownEnd || (at <= level->levelEnd && length <= level->levelEnd - at);
}

int putBytes(_FLfile* file, const void* data, std::size_t length) {
    if (const int code = checkWritable(file))
        return code;
    _FLcontext* level = file->context;
    if (!level->id)
        return flFail(kFLnoChunk);
    if (!fits(file, level, length))
        return flFail(kFLpastBoundary);
    return writeBytes(file, data, length);
}

} // namespace

int FLbgnput(_FLfile* file, TuInt32 id, Tint32 size) { return beginChunk(file, id, size); }

int FLput(_FLfile* file, const void* data, std::size_t length) {
    if (length > 0 && !data)
        return flFail(kFLbadSize);
    return putBytes(file, data, length);
}

int FLputs(_FLfile* file, const char* text) {
    return FLput(file, text ? text : "", (text ? std::strlen(text) : 0) + 1);
}

int FLendput(_FLfile* file) {
    if (const int code = checkWritable(file))
        return code;
    if (!file->context->id)
        return flFail(kFLnoChunk);
    return endChunk(file, file->context);
}

int FLputchunk(_FLfile* file, TuInt32 id, Tint32 size, const void* data) {
    if (size < 0)
        return flFail(kFLbadSize);
    if (const int code = beginChunk(file, id, size))
        return code;
    if (size > 0 && !data)
        return flFail(kFLbadSize);
    // beginChunk checked the room for the data and its padding, and the data
    // is exactly the declared size: what FLput and FLendput would check again
    // holds, so the bytes go straight out.
    _FLcontext* level = file->context;
    const std::size_t n = static_cast<std::size_t>(size);
    if (const int code = writeBytes(file, data, n))
        return code;
    const std::size_t padding = static_cast<std::size_t>(padded(n, level->chunkMask) - n);
    const int code = padding ? writeBytes(file, kZeros, padding) : kFLnoError;
    chunkClosed(file, level);
    return code;
}

int FLputchunkTyped(_FLfile* file, TuInt32 id, Tint32 size, const void* data, TuInt32 type) {
    if (size < 0 || size > 0x7FFFFFFF - 4)
        return flFail(kFLbadSize);
    if (const int code = beginChunk(file, id, size + 4))
        return code;
    unsigned char typeCode[4];
    writeBE32(typeCode, type);
    if (const int code = FLput(file, typeCode, sizeof typeCode))
        return code;
    if (const int code = FLput(file, data, static_cast<std::size_t>(size)))
        return code;
    return FLendput(file);
}

namespace {

// The header and type code of a group, and the level inside it; a negative
// size is unknown.
int beginGroup(_FLfile* file, TuInt32 id, TuInt32 type, Tint32 size) {
    if (type & 0x80000000u)
        return flFail(kFLbadId);
    if (const int code = beginChunk(file, id, size, true))
        return code;
    unsigned char typeCode[4];
    writeBE32(typeCode, type);
    if (const int code = writeBytes(file, typeCode, sizeof typeCode))
        return code;
    _FLcontext* level = file->context;
    level->type = type;
    const TuInt64 end = isUnknownSize(level->size) ? kFLunknownEnd : level->start + TuInt64(level->size);
    return pushLevel(file, file->io->position(), end);
}

} // namespace

int FLbgnwgroup(_FLfile* file, TuInt32 id, TuInt32 type) { return beginGroup(file, id, type, -1); }

int FLbgnwgroupsize(_FLfile* file, TuInt32 id, TuInt32 type, Tint32 size) {
    if (size < 4)
        return flFail(kFLbadSize);
    return beginGroup(file, id, type, size);
}

int FLendwgroup(_FLfile* file) {
    if (const int code = checkWritable(file))
        return code;
    _FLcontext* level = file->context;
    if (!level->parent)
        return flFail(kFLnoGroup);
    if (level->id)
        if (const int code = endChunk(file, level))
            return code;
    _FLcontext* parent = level->parent;
    if (static_cast<TuInt32>(parent->size) == kFLsizeStream) {
        unsigned char gend[8];
        writeBE32(gend, kIdGEND);
        writeBE32(gend + 4, 0);
        if (const int code = writeBytes(file, gend, sizeof gend))
            return code;
    }
    file->context = parent;
    giveContext(level);
    return endChunk(file, parent);
}

void* FLbgnwbchunk(_FLfile* file, TuInt32 id, Tint32 size) {
    if (size < 0) {
        flFail(kFLbadSize);
        return nullptr;
    }
    if (beginChunk(file, id, size))
        return nullptr;
    // The data area and its padding, filled in place by the caller.
    char* area = file->io->reserve(static_cast<std::size_t>(padded(TuInt64(size), file->context->chunkMask)));
    if (!area) {
        flIoFail(file);
        return nullptr;
    }
    file->block = area;
    file->blockReserved = static_cast<TuInt32>(size);
    return area;
}

int FLendwbchunk(_FLfile* file, Tint32 size) {
    if (!file)
        return flFail(kFLnotAFile);
    if (!file->block)
        return flFail(kFLnoChunk);
    if (size == 0)
        size = static_cast<Tint32>(file->blockReserved);
    if (size < 0 || TuInt32(size) > file->blockReserved)
        return flFail(kFLbadSize);
    _FLcontext* level = file->context;
    const TuInt64 length = padded(TuInt64(size), level->chunkMask);
    std::memset(static_cast<char*>(file->block) + size, 0, static_cast<std::size_t>(length - TuInt64(size)));
    file->io->commit(static_cast<std::size_t>(length));
    file->block = nullptr;
    if (TuInt32(size) != file->blockReserved) {
        unsigned char field[4];
        writeBE32(field, static_cast<TuInt32>(size));
        if (!file->io->patch(level->start - 4, field, sizeof field))
            return flIoFail(file);
    }
    return chunkClosed(file, level);
}

long FLwrite(_FLfile* file, const void* data, std::size_t length) {
    if (checkWritable(file))
        return -1;
    _FLcontext* level = file->context;
    if (level->id && !fits(file, level, length)) {
        flFail(kFLpastBoundary);
        return -1;
    }
    return writeBytes(file, data, length) ? -1 : static_cast<long>(length);
}

int FLprintf(_FLfile* file, const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    std::va_list again;
    va_copy(again, args);
    char small[512];
    const int n = std::vsnprintf(small, sizeof small, format, args);
    va_end(args);
    long written = -1;
    if (n < 0) {
        flFail(kFLbadSize);
    } else if (static_cast<std::size_t>(n) < sizeof small) {
        written = FLwrite(file, small, static_cast<std::size_t>(n));
    } else {
        try {
            std::vector<char> text(static_cast<std::size_t>(n) + 1);
            std::vsnprintf(text.data(), text.size(), format, again);
            written = FLwrite(file, text.data(), static_cast<std::size_t>(n));
        } catch (...) {
            flFail(kFLnoMemory);
        }
    }
    va_end(again);
    return static_cast<int>(written);
}
