// Writing chunks and groups, with the class-wide buffered mode: a group and
// its chunks held in memory and written with known sizes when it ends.
#include "grundel/iff/TiffFile.h"

#include "grundel/iff/FLchunk_p.h"

#include <algorithm>
#include <vector>

namespace {

// Groups buffer at most this many bytes before going on unbuffered.
constexpr TuInt64 kBufferLimit = 0x10000;

struct BufferedChunk {
    TuInt32 tag = 0;
    std::vector<char> bytes;
};

// The class-wide state: one buffered group (or one chunk outside a group)
// in the whole process. Unguarded, as the mode is for one thread.
struct BufferState {
    bool on = false;
    bool groupOpen = false;
    bool chunkOpen = false;
    const TiffFile* owner = nullptr;
    TuInt32 id = 0;
    TuInt32 type = 0;
    int index = -1;
    TuInt64 total = 0;
    std::vector<BufferedChunk> chunks;
};

BufferState& state() {
    static BufferState s;
    return s;
}

void releaseState(BufferState& s) {
    s.groupOpen = s.chunkOpen = false;
    s.owner = nullptr;
    s.index = -1;
    s.total = 0;
}

void bigEndian(unsigned char* out, TuInt32 value) {
    out[0] = static_cast<unsigned char>(value >> 24);
    out[1] = static_cast<unsigned char>(value >> 16);
    out[2] = static_cast<unsigned char>(value >> 8);
    out[3] = static_cast<unsigned char>(value);
}

} // namespace

void TiffFile::setBufferingMode(bool on) noexcept { state().on = on; }

bool TiffFile::bufferingMode() noexcept { return state().on; }

bool TiffFile::buffering() const noexcept {
    const BufferState& s = state();
    return s.owner == this && s.index >= 0;
}

int TiffFile::appendBuffered(const void* data, std::size_t length) {
    BufferState& s = state();
    if (s.groupOpen && s.total + length > kBufferLimit) {
        // Too much for the mode: it goes off, and the group goes on unbuffered.
        s.on = false;
        if (const int code = flushBufferedUnbuffered())
            return code;
        return FLput(fFile, data, length);
    }
    std::vector<char>& bytes = s.chunks[static_cast<std::size_t>(s.index)].bytes;
    try {
        if (bytes.size() + length > bytes.capacity())
            bytes.reserve(bytes.capacity() + std::max<std::size_t>(1024, length + 4));
        bytes.insert(bytes.end(), static_cast<const char*>(data), static_cast<const char*>(data) + length);
    } catch (...) {
        return FLseterror(kFLnoMemory);
    }
    s.total += length;
    return kFLnoError;
}

int TiffFile::flushBufferedUnbuffered() {
    BufferState& s = state();
    const int last = s.index;
    const bool lastOpen = s.chunkOpen;
    const TuInt32 id = s.id;
    const TuInt32 type = s.type;
    releaseState(s);
    if (const int code = FLbgnwgroup(fFile, id, type))
        return code;
    for (int i = 0; i <= last; ++i) {
        const BufferedChunk& chunk = s.chunks[static_cast<std::size_t>(i)];
        const auto size = static_cast<Tint32>(chunk.bytes.size());
        if (i < last || !lastOpen) {
            if (const int code = FLputchunk(fFile, chunk.tag, size, chunk.bytes.data()))
                return code;
        } else {
            if (const int code = FLbgnput(fFile, chunk.tag, -1))
                return code;
            if (const int code = FLput(fFile, chunk.bytes.data(), chunk.bytes.size()))
                return code;
        }
    }
    return kFLnoError;
}

int TiffFile::endBufferedGroup() {
    BufferState& s = state();
    const int last = s.index;
    releaseState(s);
    // 4 for the type, and each chunk with its header, padded to 4 whatever
    // the group's family: buffered groups are meant for the 4-byte family.
    TuInt64 size = 4;
    for (int i = 0; i <= last; ++i)
        size += 8 + ((s.chunks[static_cast<std::size_t>(i)].bytes.size() + 3) & ~std::size_t(3));
    if (size > 0x7FFFFFFF)
        return FLseterror(kFLbadSize);
    if (const int code = FLbgnput(fFile, s.id, static_cast<Tint32>(size)))
        return code;
    unsigned char word[8];
    bigEndian(word, s.type);
    if (const int code = FLput(fFile, word, 4))
        return code;
    static const char kZeros[4] = {};
    for (int i = 0; i <= last; ++i) {
        const BufferedChunk& chunk = s.chunks[static_cast<std::size_t>(i)];
        const std::size_t length = chunk.bytes.size();
        bigEndian(word, chunk.tag);
        bigEndian(word + 4, static_cast<TuInt32>(length));
        if (const int code = FLput(fFile, word, 8))
            return code;
        if (const int code = FLput(fFile, chunk.bytes.data(), length))
            return code;
        if (const int code = FLput(fFile, kZeros, ((length + 3) & ~std::size_t(3)) - length))
            return code;
    }
    return FLendput(fFile);
}

int TiffFile::finishBuffered(bool write) {
    BufferState& s = state();
    if (s.owner != this)
        return kFLnoError;
    if (!write) {
        releaseState(s);
        return kFLnoError;
    }
    if (s.groupOpen)
        return endBufferedGroup();
    if (s.index >= 0)
        return endPut();
    releaseState(s);
    return kFLnoError;
}

void TiffFile::takeBuffered(const TiffFile& from) noexcept {
    BufferState& s = state();
    if (s.owner == &from)
        s.owner = this;
}

namespace {

// The checks FLbgnwgroup makes, for a group that is buffered and so not yet
// written.
int checkBufferedGroup(_FLfile* file, TuInt32 id, TuInt32 type) {
    if (!(file->flags & kFLwriting))
        return FLseterror(kFLbadMode);
    if (file->block || file->context->id)
        return FLseterror(kFLnestedWrite);
    if (type & 0x80000000u)
        return FLseterror(kFLbadId);
    if (const int code = grundel::detail::groupIdCode(id))
        return FLseterror(code);
    Tint32 size = 0;
    grundel::detail::FLkind kind;
    return grundel::detail::classify(id, file->context, size, kind);
}

} // namespace

int TiffFile::beginWriteGroup(TiffTag id, TiffTag type) {
    if (!fFile)
        return FLseterror(kFLnotAFile), -1;
    BufferState& s = state();
    if (s.owner == this && s.groupOpen) {
        // A group inside a buffered one: what is buffered goes out first,
        // and the outer group goes on unbuffered (the mode stays on).
        if (const int code = flushBufferedUnbuffered())
            return code;
    } else if (s.on && !s.owner) {
        if (const int code = checkBufferedGroup(fFile, id.value(), type.value()))
            return code;
        s.owner = this;
        s.groupOpen = true;
        s.id = id.value();
        s.type = type.value();
        return kFLnoError;
    }
    return FLbgnwgroup(fFile, id.value(), type.value());
}

int TiffFile::endWriteGroup() {
    if (!fFile)
        return FLseterror(kFLnotAFile), -1;
    const BufferState& s = state();
    if (s.owner == this && s.groupOpen)
        return endBufferedGroup();
    return FLendwgroup(fFile);
}

int TiffFile::beginPut(TiffTag tag, Tint32 size) {
    if (!fFile)
        return FLseterror(kFLnotAFile), -1;
    BufferState& s = state();
    const bool inGroup = s.owner == this && s.groupOpen;
    const bool loose = s.on && !s.owner;
    if (!inGroup && !loose)
        return FLbgnput(fFile, tag.value(), size);
    if (loose) {
        // Checked now as FLbgnput would, though written only at endPut.
        if (!(fFile->flags & kFLwriting))
            return FLseterror(kFLbadMode);
        if (fFile->block || fFile->context->id)
            return FLseterror(kFLnestedWrite);
        Tint32 ignored = 0;
        grundel::detail::FLkind kind;
        if (const int code = grundel::detail::classify(tag.value(), fFile->context, ignored, kind))
            return code;
    }
    // The declared size is ignored: the buffer knows it in the end.
    s.owner = this;
    ++s.index;
    try {
        if (s.chunks.size() <= static_cast<std::size_t>(s.index))
            s.chunks.resize(static_cast<std::size_t>(s.index) + 1);
    } catch (...) {
        --s.index;
        return FLseterror(kFLnoMemory);
    }
    s.chunks[static_cast<std::size_t>(s.index)].tag = tag.value();
    s.chunks[static_cast<std::size_t>(s.index)].bytes.clear();
    s.chunkOpen = true;
    return kFLnoError;
}

int TiffFile::endPut() {
    if (!fFile)
        return FLseterror(kFLnotAFile), -1;
    BufferState& s = state();
    if (s.owner == this && s.groupOpen) {
        s.chunkOpen = false;
        return kFLnoError;
    }
    if (s.owner == this && s.index >= 0) {
        // A chunk buffered outside a group goes out at once, size known.
        const BufferedChunk& chunk = s.chunks[0];
        releaseState(s);
        return FLputchunk(fFile, chunk.tag, static_cast<Tint32>(chunk.bytes.size()), chunk.bytes.data());
    }
    return FLendput(fFile);
}

int TiffFile::put(const void* data, std::size_t length) {
    if (!fFile)
        return FLseterror(kFLnotAFile), -1;
    if (buffering())
        return appendBuffered(data, length);
    return FLput(fFile, data, length);
}

long TiffFile::write(const void* data, std::size_t length) {
    if (!fFile)
        return FLseterror(kFLnotAFile), -1;
    if (buffering())
        return appendBuffered(data, length) == kFLnoError ? static_cast<long>(length) : -1;
    return FLwrite(fFile, data, length);
}
