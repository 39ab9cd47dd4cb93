// Reading chunks and groups.
#include "grundel/iff/FLchunk_p.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

using namespace grundel::detail;

namespace {

constexpr unsigned char kEovc[8] = {'E', 'O', 'V', 'C', 0x80, 0, 0, 0};
constexpr TuInt32 kIdFRAM = FLmakeid("FRAM");
constexpr TuInt32 kIdGRUP = FLmakeid("GRUP");
constexpr TuInt32 kIdSHAP = FLmakeid("SHAP");
constexpr std::size_t kRepairWindow = 4096;

int checkReadable(_FLfile* file) {
    if (!file)
        return flFail(kFLnotAFile);
    if (isWriting(file))
        return flFail(kFLbadMode);
    return kFLnoError;
}

// Where level ends: its known end, the root's room, or kFLunknownEnd.
TuInt64 levelLimit(const _FLcontext* level) {
    return level->parent ? level->levelEnd : level->levelStart + kRootRoom;
}

// A writer that rounds unknown sizes up to 4 leaves two zero bytes where the
// next header of a 2-byte family level stands; no identifier begins with a
// zero byte, so they are skipped.
void skipStrayZeros(_FLfile* file, const _FLcontext* level, TuInt64 limit) {
    if (level->mask != 1)
        return;
    const TuInt64 at = file->io->position();
    if (limit != kFLunknownEnd && (at >= limit || limit - at < 2))
        return;
    if (const unsigned char* next = file->io->peek(2)) {
        if (next[0] == 0 && next[1] == 0)
            file->io->skip(2);
        return;
    }
    unsigned char two[2];
    const std::size_t got = file->io->read(two, 2);
    if (got == 2 && two[0] == 0 && two[1] == 0)
        return;
    file->io->unread(two, got);
}

// Size-repair mode: a "FRAM", "GRUP" or "SHAP" chunk ends where the next
// such header stands within the next 4096 bytes (at an even offset), and
// never past room, what is left of its level.
Tint32 repairedSize(_FLfile* file, TuInt64 room) {
    unsigned char window[kRepairWindow];
    const std::size_t got = file->io->read(window, room < sizeof window ? static_cast<std::size_t>(room) : sizeof window);
    file->io->unread(window, got);
    for (std::size_t at = 0; at + 4 <= got; at += 2) {
        const TuInt32 id = readBE32(window + at);
        if (id == kIdFRAM || id == kIdGRUP || id == kIdSHAP)
            return static_cast<Tint32>(at);
    }
    return static_cast<Tint32>(got);
}

// Moves the reader to final, the end of a chunk with its padding; the data
// up to dataEnd must be there (8 otherwise), missing padding at the very end
// of a file is tolerated. Backwards only where the file can seek.
int moveTo(_FLfile* file, TuInt64 final, TuInt64 dataEnd) {
    const TuInt64 at = file->io->position();
    if (at == final)
        return kFLnoError; // the usual case: the data was read to its end
    if (at > final)
        return file->io->seek(final) ? kFLnoError : kFLfifo;
    if (at < dataEnd && !file->io->skip(dataEnd - at))
        return file->io->lastError() ? kFLio : kFLincomplete;
    const TuInt64 here = file->io->position();
    if (here < final)
        file->io->skip(final - here);
    return kFLnoError;
}

// Skips an unknown-size data chunk written to a stream: up to and past the
// "EOVC" marker, which stands at a multiple of 4 from the data's start and
// within the level.
int skipToMarker(_FLfile* file, const _FLcontext* level) {
    const TuInt64 at = file->io->position();
    const TuInt64 limit = levelLimit(level);
    if (!file->io->skip(padded(at - level->start, 3) - (at - level->start)))
        return kFLnoEndMarker;
    unsigned char word[4];
    for (;;) {
        if ((limit != kFLunknownEnd && file->io->position() + 8 > limit) || file->io->read(word, 4) != 4)
            return kFLnoEndMarker;
        if (std::memcmp(word, kEovc, 4) != 0)
            continue;
        unsigned char rest[4];
        const std::size_t got = file->io->read(rest, 4);
        if (got == 4 && std::memcmp(rest, kEovc + 4, 4) == 0)
            return kFLnoError;
        file->io->unread(rest, got);
    }
}

int finishChunk(_FLfile* file, _FLcontext* level) {
    if (!isUnknownSize(level->size))
        return moveTo(file, level->start + padded(TuInt64(level->size), level->chunkMask),
                      level->start + TuInt64(level->size));
    if (static_cast<TuInt32>(level->size) == kFLsizeStream)
        return skipToMarker(file, level);
    // Unknown and never patched: the data runs to the end of the level.
    const TuInt64 limit = levelLimit(level);
    if (limit == kFLunknownEnd || !level->parent) {
        while (file->io->skip(TuInt64(1) << 30)) {
        }
        return kFLnoError;
    }
    return moveTo(file, limit, limit);
}

} // namespace

int FLbgnget(_FLfile* file, TuInt32* id, Tint32* size) {
    if (const int code = checkReadable(file))
        return code;
    _FLcontext* level = file->context;
    if (!level->id) {
        const TuInt64 limit = levelLimit(level);
        skipStrayZeros(file, level, limit);
        const TuInt64 at = file->io->position();
        if (limit != kFLunknownEnd) {
            if (at >= limit)
                return flFail(kFLend);
            if (limit - at < 8)
                return flFail(kFLbadBlock);
        }
        // No header at all is the end of the level; part of one is a cut file.
        unsigned char header[8];
        const std::size_t got = file->io->read(header, sizeof header);
        if (got != sizeof header) {
            if (file->io->lastError())
                return flIoFail(file);
            return flFail(got == 0 ? kFLend : kFLincomplete);
        }
        const TuInt32 chunkId = readBE32(header);
        const TuInt32 raw = readBE32(header + 4);
        Tint32 chunkSize = static_cast<Tint32>(raw);
        if (chunkSize >= 0) {
            if (limit != kFLunknownEnd && TuInt64(chunkSize) + 8 > limit - at)
                return flFail(kFLbadSize);
        } else if (!isLegalUnknownSize(raw)) {
            return flFail(level->parent ? kFLbadSize : kFLbadRoot);
        }
        FLkind kind;
        if (const int code = classify(chunkId, level, chunkSize, kind))
            return code;
        if ((file->flags & kFLrepairSizes) && (kind.flags & kFLkindData) &&
            (chunkId == kIdFRAM || chunkId == kIdGRUP || chunkId == kIdSHAP))
            chunkSize = repairedSize(file, limit == kFLunknownEnd ? kRepairWindow : limit - at - 8);
        level->id = chunkId;
        level->size = chunkSize;
        level->flags = kind.flags;
        level->type = 0;
        level->start = at + 8;
        level->chunkMask = kind.mask;
        if (kind.flags & kFLkindTyped) {
            unsigned char type[4];
            if (file->io->read(type, sizeof type) != sizeof type) {
                clearChunk(level);
                return flFail(kFLincomplete);
            }
            level->type = readBE32(type);
        }
        if (chunkId == kIdGEND && level->parent) {
            // The group's size from where its end marker stands.
            _FLcontext* group = level->parent;
            const TuInt64 distance = file->io->position() - level->levelStart;
            if (static_cast<TuInt32>(group->size) == kFLsizePatched && distance + 4 <= 0x7FFFFFFF) {
                group->size = static_cast<Tint32>(distance + 4);
                level->levelEnd = file->io->position();
            } else if (group->size >= 0 && TuInt64(group->size) != distance + 4) {
                return flFail(kFLbadBlockEnd);
            }
        }
    }
    if (id)
        *id = level->id;
    if (size)
        *size = level->size;
    if (level->id == kIdGEND)
        return flFail(kFLend);
    if (level->id == kIdINCL || level->id == kIdPATH)
        return flFail(kFLnotImplemented);
    return (level->flags & kFLkindTyped) ? flFail(kFLgroupHeader) : kFLnoError;
}

TuInt32 FLgrouptype(const _FLfile* file) noexcept { return file ? file->context->type : 0; }

TuInt32 FLchunkflags(const _FLfile* file) noexcept { return file ? file->context->flags : 0; }

int FLbgnrgroup(_FLfile* file, TuInt32* type, Tint32* size) {
    if (const int code = checkReadable(file))
        return code;
    _FLcontext* level = file->context;
    if (!level->id) {
        const bool firstHeader = !level->parent && file->io->position() == level->levelStart;
        const int code = FLbgnget(file, nullptr, nullptr);
        if (code == kFLincomplete && firstHeader) {
            FLseterror(kFLnoError);
            return kFLend;
        }
        if (code != kFLnoError && code != kFLgroupHeader)
            return code;
    }
    if (level->id == kIdGEND)
        return flFail(kFLend);
    if (!(level->flags & kFLkindTyped))
        return flFail(kFLchunkHeader);
    // A group of unknown size ends at the latest where its parent does, so
    // that nothing is read twice.
    const TuInt64 end = !isUnknownSize(level->size) ? level->start + TuInt64(level->size)
                        : level->parent                ? level->levelEnd
                                                       : kFLunknownEnd;
    if (const int code = pushLevel(file, level->start + 4, end))
        return code;
    if (type)
        *type = level->type;
    if (size)
        *size = level->size;
    return kFLnoError;
}

int FLendrgroup(_FLfile* file) {
    if (const int code = checkReadable(file))
        return code;
    _FLcontext* level = file->context;
    if (!level->parent)
        return flFail(kFLnoGroup);
    _FLcontext* group = level->parent;
    int result = kFLnoError;
    if (!isUnknownSize(group->size)) {
        result = moveTo(file, group->start + padded(TuInt64(group->size), group->chunkMask),
                        group->start + TuInt64(group->size));
    } else {
        // Walk the rest of the level, groups inside included.
        for (;;) {
            int code = FLbgnget(file, nullptr, nullptr);
            if (code == kFLend)
                break;
            if (code == kFLgroupHeader) {
                code = FLbgnrgroup(file, nullptr, nullptr);
                if (code == kFLnoError)
                    code = FLendrgroup(file);
            } else if (code == kFLnoError) {
                code = FLendget(file);
            }
            if (code != kFLnoError) {
                result = code;
                break;
            }
        }
        if (result == kFLnoError) {
            if (level->id == kIdGEND) {
                const TuInt64 count = file->io->position() - group->start;
                file->io->skip(padded(count, group->chunkMask) - count);
            }
            const TuInt64 limit = levelLimit(group);
            const TuInt64 at = file->io->position();
            unsigned char marker[8];
            if (limit == kFLunknownEnd || (at <= limit && limit - at >= sizeof marker)) {
                const std::size_t got = file->io->read(marker, sizeof marker);
                if (got != sizeof marker || std::memcmp(marker, kEovc, sizeof kEovc) != 0)
                    file->io->unread(marker, got);
            }
        }
    }
    popLevel(file);
    if (result == kFLio)
        return flIoFail(file);
    return result ? flFail(result) : kFLnoError;
}

int FLskipgroup(_FLfile* file) {
    if (const int code = FLbgnrgroup(file, nullptr, nullptr))
        return code;
    return FLendrgroup(file);
}

int FLendget(_FLfile* file) {
    if (const int code = checkReadable(file))
        return code;
    _FLcontext* level = file->context;
    if (!level->id)
        return flFail(kFLnoChunk);
    if (level->id == kIdGEND)
        return kFLnoError;
    if (level->flags & kFLkindTyped)
        return FLskipgroup(file);
    const int code = finishChunk(file, level);
    clearChunk(level);
    if (code == kFLio)
        return flIoFail(file);
    return code ? flFail(code) : kFLnoError;
}

int FLget(_FLfile* file, void* buffer, std::size_t length) {
    if (const int code = checkReadable(file))
        return code;
    _FLcontext* level = file->context;
    if (!level->id || level->id == kIdGEND)
        return flFail(kFLnoChunk);
    if (!isUnknownSize(level->size) && file->io->position() - level->start + length > TuInt64(level->size))
        return flFail(kFLpastBoundary);
    if (file->io->read(buffer, length) != length)
        return file->io->lastError() ? flIoFail(file) : flFail(kFLincomplete);
    return kFLnoError;
}

long FLread(_FLfile* file, void* buffer, std::size_t length) {
    if (checkReadable(file))
        return -1;
    const _FLcontext* level = file->context;
    if (level->id && !isUnknownSize(level->size)) {
        const TuInt64 done = file->io->position() - level->start;
        const TuInt64 left = done < TuInt64(level->size) ? TuInt64(level->size) - done : 0;
        if (length > left)
            length = static_cast<std::size_t>(left);
    }
    const std::size_t got = file->io->read(buffer, length);
    if (got < length && file->io->lastError()) {
        flIoFail(file);
        return -1;
    }
    return static_cast<long>(got);
}

int FLunread(_FLfile* file, const void* data, std::size_t length) {
    if (const int code = checkReadable(file))
        return code;
    return file->io->unread(data, length) ? kFLnoError : flFail(kFLnoMemory);
}

int FLunget(_FLfile* file, std::size_t length) {
    if (const int code = checkReadable(file))
        return code;
    const _FLcontext* level = file->context;
    if (!level->id)
        return flFail(kFLnoChunk);
    const TuInt64 at = file->io->position();
    if (at - level->start < length)
        return flFail(kFLpastBoundary);
    return file->io->seek(at - length) ? kFLnoError : flFail(kFLfifo);
}

int FLseek(_FLfile* file, long offset, int whence) {
    if (const int code = checkReadable(file))
        return code;
    const _FLcontext* level = file->context;
    const TuInt64 at = file->io->position();
    TuInt64 base = 0;
    if (level->id) {
        if (isUnknownSize(level->size) && whence == SEEK_END)
            return flFail(kFLunknownSize);
        base = whence == SEEK_SET ? level->start : whence == SEEK_CUR ? at : level->start + TuInt64(level->size);
    } else {
        TuInt64 length = 0;
        if (whence == SEEK_END && !file->io->length(length))
            return flFail(kFLfifo);
        base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? at : length;
    }
    if (offset < 0 && TuInt64(-offset) > base)
        return flFail(kFLpastBoundary);
    const TuInt64 target = base + offset;
    if (level->id && (target < level->start ||
                      (!isUnknownSize(level->size) && target > level->start + TuInt64(level->size))))
        return flFail(kFLpastBoundary);
    return file->io->seek(target) ? kFLnoError : flFail(kFLfifo);
}

long FLtell(_FLfile* file) {
    if (!file)
        return -1;
    const TuInt64 at = file->io->position();
    const _FLcontext* level = file->context;
    return static_cast<long>(level->id && !isWriting(file) ? at - level->start : at);
}

void* FLreadchunk(_FLfile* file, TuInt32* id, Tint32* size) {
    if (checkReadable(file))
        return nullptr;
    if (!file->context->parent) {
        flFail(kFLnoGroup);
        return nullptr;
    }
    TuInt32 chunkId = 0;
    Tint32 chunkSize = 0;
    const int code = FLbgnget(file, &chunkId, &chunkSize);
    if (code != kFLnoError)
        return nullptr;
    if (isUnknownSize(chunkSize)) {
        flFail(kFLbadSize);
        return nullptr;
    }
    // Never allocate what the file cannot hold.
    TuInt64 length = 0;
    const TuInt64 at = file->io->position();
    const bool lengthKnown = file->io->length(length);
    if (lengthKnown && (at > length || TuInt64(chunkSize) > length - at)) {
        flFail(kFLincomplete);
        return nullptr;
    }
    const std::size_t n = static_cast<std::size_t>(chunkSize);
    char* data = nullptr;
    if (lengthKnown) {
        data = static_cast<char*>(std::malloc(n ? n : 1));
        if (!data) {
            flFail(kFLnoMemory);
            return nullptr;
        }
        if (FLget(file, data, n) != kFLnoError) {
            std::free(data);
            return nullptr;
        }
    } else {
        // A stream of unknown length: grow with what actually arrives.
        std::size_t capacity = n < 65536 ? (n ? n : 1) : 65536;
        data = static_cast<char*>(std::malloc(capacity));
        std::size_t got = 0;
        while (data && got < n) {
            if (got == capacity) {
                capacity = capacity * 2 < n ? capacity * 2 : n;
                char* grown = static_cast<char*>(std::realloc(data, capacity));
                if (!grown) {
                    std::free(data);
                    data = nullptr;
                    break;
                }
                data = grown;
            }
            const std::size_t take = (capacity < n ? capacity : n) - got;
            if (FLget(file, data + got, take) != kFLnoError) {
                std::free(data);
                return nullptr;
            }
            got += take;
        }
        if (!data) {
            flFail(kFLnoMemory);
            return nullptr;
        }
    }
    if (FLendget(file) != kFLnoError) {
        std::free(data);
        return nullptr;
    }
    if (id)
        *id = chunkId;
    if (size)
        *size = chunkSize;
    return data;
}
