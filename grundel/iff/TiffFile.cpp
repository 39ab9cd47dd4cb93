#include "grundel/iff/TiffFile.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <cstring>
#include <unistd.h>

// -- TiffParserCallback --------------------------------------------------------

int TiffParserCallback::iffVFormMethod1(TiffFile&, TiffTag, TiffTag) { return 0; }
int TiffParserCallback::iffVFormMethod2(TiffFile&, TiffTag, TiffTag) { return 0; }
int TiffParserCallback::iffVFormMethod3(TiffFile&, TiffTag, TiffTag) { return 0; }
int TiffParserCallback::iffVFormMethod4(TiffFile&, TiffTag, TiffTag) { return 0; }
int TiffParserCallback::iffVListMethod1(TiffFile&, TiffTag, TiffTag) { return 0; }
int TiffParserCallback::iffVListMethod2(TiffFile&, TiffTag, TiffTag) { return 0; }
int TiffParserCallback::iffVListMethod3(TiffFile&, TiffTag, TiffTag) { return 0; }
int TiffParserCallback::iffVListMethod4(TiffFile&, TiffTag, TiffTag) { return 0; }
int TiffParserCallback::iffVLeafMethod1(TiffFile&, TiffTag, Tint32) { return 0; }
int TiffParserCallback::iffVLeafMethod2(TiffFile&, TiffTag, Tint32) { return 0; }
int TiffParserCallback::iffVLeafMethod3(TiffFile&, TiffTag, Tint32) { return 0; }
int TiffParserCallback::iffVLeafMethod4(TiffFile&, TiffTag, Tint32) { return 0; }
TiffParserCallback::~TiffParserCallback() = default;

// -- Opening and closing --------------------------------------------------------

namespace {
inline int closedFile() noexcept { return FLseterror(kFLnotAFile), -1; }
} // namespace

TiffFile::TiffFile(const char* name, const char* mode, TuInt32 creator, TuInt32 type) {
    static_cast<void>(open(name, mode, creator, type)); // isActive() tells
}

TiffFile::~TiffFile() { static_cast<void>(close()); }

TiffFile::TiffFile(TiffFile&& other) noexcept
    : fFile(other.fFile), fIsImage(other.fIsImage), fParseEnded(other.fParseEnded), fForm(other.fForm),
      fList(other.fList), fLeaf(other.fLeaf), fCallbackObject(other.fCallbackObject),
      fBuffer(std::move(other.fBuffer)), fWriteBuffer(std::move(other.fWriteBuffer)) {
    takeBuffered(other);
    other.fFile = nullptr;
}

TiffFile& TiffFile::operator=(TiffFile&& other) noexcept {
    if (this == &other)
        return *this;
    static_cast<void>(close());
    fFile = other.fFile;
    other.fFile = nullptr;
    fIsImage = other.fIsImage;
    fParseEnded = other.fParseEnded;
    fForm = other.fForm;
    fList = other.fList;
    fLeaf = other.fLeaf;
    fCallbackObject = other.fCallbackObject;
    fBuffer = std::move(other.fBuffer);
    fWriteBuffer = std::move(other.fWriteBuffer);
    takeBuffered(other);
    return *this;
}

bool TiffFile::open(const char* name, const char* mode, TuInt32 creator, TuInt32 type) {
    static_cast<void>(close());
    fFile = creator || type ? FLopenCreatorType(name, mode, creator, type) : FLopen(name, mode);
    return fFile != nullptr;
}

bool TiffFile::reopen(const char* name, const char* mode) {
    const TuInt32 creator = fFile ? fFile->creator : 0;
    const TuInt32 type = fFile ? fFile->fileType : 0;
    return open(name, mode, creator, type);
}

int TiffFile::close() {
    if (!fFile)
        return -1;
    const int buffered = finishBuffered(true);
    _FLfile* file = fFile;
    fFile = nullptr;
    const int closed = FLclose(file);
    return buffered ? -1 : closed;
}

int TiffFile::quickClose() {
    if (!fFile)
        return -1;
    static_cast<void>(finishBuffered(false)); // dropping cannot fail
    _FLfile* file = fFile;
    fFile = nullptr;
    return FLquickclose(file);
}

void TiffFile::setFLfile(_FLfile* file) {
    static_cast<void>(close());
    fFile = file;
}

// -- Positioning ------------------------------------------------------------------

int TiffFile::seek(long offset, int whence) { return fFile ? FLseek(fFile, offset, whence) : closedFile(); }
long TiffFile::tell() { return fFile ? FLtell(fFile) : closedFile(); }
long TiffFile::size() { return fFile ? FLsize(fFile) : closedFile(); }
int TiffFile::flush() { return fFile ? FLflush(fFile) : closedFile(); }

void TiffFile::setTmp(bool on) {
    if (!fFile)
        return;
    if (!on) {
        fFile->flags &= ~kFLdeleteOnClose;
        return;
    }
    if (!fFile->tmpName) {
        const std::size_t n = std::strlen(fFile->name) + 1;
        fFile->tmpName = static_cast<char*>(std::malloc(n));
        if (!fFile->tmpName)
            return;
        std::memcpy(fFile->tmpName, fFile->name, n);
    }
    fFile->flags |= kFLdeleteOnClose;
}

bool TiffFile::isTty() const noexcept {
    const int fd = FLfileno(fFile);
    return fd >= 0 && ::isatty(fd);
}

bool TiffFile::isTtyFile(const char* name) noexcept {
    if (!name)
        return false;
    if (std::strcmp(name, "stdin") == 0)
        return ::isatty(0);
    if (std::strcmp(name, "stdout") == 0)
        return ::isatty(1);
    return false;
}

int TiffFile::memoryInfo(const void** data, std::size_t* size) const {
    return fFile ? FLmeminfo(fFile, data, size) : closedFile();
}

// -- Plain input and output ------------------------------------------------------

long TiffFile::read(void* buffer, std::size_t length) { return fFile ? FLread(fFile, buffer, length) : closedFile(); }
int TiffFile::get(void* buffer, std::size_t length) { return fFile ? FLget(fFile, buffer, length) : closedFile(); }
int TiffFile::unread(const void* data, std::size_t length) {
    return fFile ? FLunread(fFile, data, length) : closedFile();
}
int TiffFile::unget(std::size_t length) { return fFile ? FLunget(fFile, length) : closedFile(); }

int TiffFile::putString(const char* text) { return put(text ? text : "", (text ? std::strlen(text) : 0) + 1); }

int TiffFile::getString(char* buffer, std::size_t length) {
    if (!fFile)
        return closedFile();
    std::size_t at = 0;
    for (;;) {
        char c = 0;
        if (const int code = FLget(fFile, &c, 1))
            return code;
        if (c == '\0')
            break;
        if (buffer && at + 1 < length)
            buffer[at++] = c;
    }
    if (buffer && length > 0)
        buffer[at] = '\0';
    return kFLnoError;
}

namespace {

// 0 when length more bytes can be read here: 24 on a file being written, 13 past the open chunk's known
// size, 8 past the end of a file of known length. present tells whether the file's length vouched for
// the bytes.
int checkReadable(_FLfile* file, std::size_t length, bool* present = nullptr) {
    if (file->flags & kFLwriting)
        return FLseterror(kFLbadMode);
    const _FLcontext* level = file->context;
    const long tell = FLtell(file);
    if (tell < 0)
        return FLerror();
    const TuInt64 done = TuInt64(tell);
    if (level->id && level->size >= 0 && (done > TuInt64(level->size) || length > TuInt64(level->size) - done))
        return FLseterror(kFLpastBoundary);
    const long total = FLsize(file);
    const TuInt64 at = level->id ? level->start + done : done;
    if (total >= 0 && (at > TuInt64(total) || length > TuInt64(total) - at))
        return FLseterror(kFLincomplete);
    if (present)
        *present = total >= 0;
    return kFLnoError;
}

} // namespace

const void* TiffFile::beginRead(std::size_t length) {
    if (!fFile)
        return closedFile(), nullptr;
    bool present = false;
    if (checkReadable(fFile, length, &present) != kFLnoError)
        return nullptr;
    // On a stream the buffer grows with what arrives, so that a stream that
    // declares more than it sends costs no more than it sent; bytes that a
    // file's length vouches for are taken at once.
    constexpr std::size_t kStep = 64 * 1024;
    try {
        fBuffer.resize(std::max<std::size_t>(present ? length : std::min(length, kStep), 1));
        for (std::size_t got = 0; got < length;) {
            if (got == fBuffer.size())
                fBuffer.resize(std::min(length, 2 * got));
            const std::size_t take = fBuffer.size() - got;
            if (FLget(fFile, fBuffer.data() + got, take) != kFLnoError)
                return nullptr;
            got += take;
        }
    } catch (...) {
        FLseterror(kFLnoMemory);
        return nullptr;
    }
    return fBuffer.data();
}

const void* TiffFile::sharedGet(std::size_t length) {
    const void* block = nullptr;
    std::size_t blockSize = 0;
    if (!fFile || (fFile->flags & kFLwriting) || FLmeminfo(fFile, &block, &blockSize) != kFLnoError) {
        FLseterror(kFLnoError);
        return beginRead(length);
    }
    const long at = FLtell(fFile);
    const TuInt64 absolute = fFile->context->id ? fFile->context->start + TuInt64(at) : TuInt64(at);
    if (FLseek(fFile, static_cast<long>(length), SEEK_CUR) != kFLnoError)
        return nullptr;
    return static_cast<const char*>(block) + absolute;
}

void* TiffFile::beginWrite(std::size_t length) {
    if (!fFile)
        return closedFile(), nullptr;
    try {
        fWriteBuffer.resize(length ? length : 1);
    } catch (...) {
        FLseterror(kFLnoMemory);
        return nullptr;
    }
    return fWriteBuffer.data();
}

int TiffFile::endWrite(std::size_t used) {
    if (used > fWriteBuffer.size())
        return FLseterror(kFLbadSize);
    return put(fWriteBuffer.data(), used);
}

// -- Chunks ----------------------------------------------------------------------

int TiffFile::putChunk(TiffTag tag, Tint32 size, const void* data) {
    if (size < 0)
        return FLseterror(kFLbadSize);
    if (const int code = beginPut(tag, size))
        return code;
    if (const int code = put(data, static_cast<std::size_t>(size)))
        return code;
    return endPut();
}

int TiffFile::putTypedChunk(TiffTag tag, Tint32 size, const void* data, TiffTag type) {
    if (size < 0 || size > 0x7FFFFFFF - 4)
        return FLseterror(kFLbadSize);
    if (const int code = beginPut(tag, size + 4))
        return code;
    const unsigned char code4[4] = {static_cast<unsigned char>(type.value() >> 24),
                                    static_cast<unsigned char>(type.value() >> 16),
                                    static_cast<unsigned char>(type.value() >> 8),
                                    static_cast<unsigned char>(type.value())};
    if (const int code = put(code4, 4))
        return code;
    if (const int code = put(data, static_cast<std::size_t>(size)))
        return code;
    return endPut();
}

int TiffFile::beginGet(TiffTag& tag, Tint32* size) {
    if (!fFile)
        return closedFile();
    TuInt32 id = 0;
    const int code = FLbgnget(fFile, &id, size);
    tag.setValue(id);
    return code;
}

int TiffFile::endGet() { return fFile ? FLendget(fFile) : closedFile(); }

const void* TiffFile::loadChunk(TiffTag& tag, Tint32* size, std::vector<char>& into) {
    if (!fFile)
        return closedFile(), nullptr;
    TuInt32 id = 0;
    Tint32 length = 0;
    void* data = FLreadchunk(fFile, &id, &length);
    if (!data)
        return nullptr;
    tag.setValue(id);
    if (size)
        *size = length;
    try {
        into.assign(static_cast<char*>(data), static_cast<char*>(data) + length);
    } catch (...) {
        std::free(data);
        FLseterror(kFLnoMemory);
        return nullptr;
    }
    std::free(data);
    if (into.empty())
        into.push_back('\0');
    return into.data();
}

const void* TiffFile::getChunk(TiffTag& tag, Tint32* size) { return loadChunk(tag, size, fBuffer); }

void* TiffFile::readChunk(TiffTag& tag, Tint32* size) {
    if (!fFile)
        return closedFile(), nullptr;
    TuInt32 id = 0;
    void* data = FLreadchunk(fFile, &id, size);
    if (data)
        tag.setValue(id);
    return data;
}

namespace {
// Splits the type off the front of a chunk's data; null when it is shorter than 4.
const char* splitType(const char* data, Tint32* size, Tint32 whole, TiffTag& type) {
    if (!data)
        return nullptr;
    if (whole < 4) {
        FLseterror(kFLbadSize);
        return nullptr;
    }
    const auto* b = reinterpret_cast<const unsigned char*>(data);
    type.setValue(TuInt32(b[0]) << 24 | TuInt32(b[1]) << 16 | TuInt32(b[2]) << 8 | b[3]);
    if (size)
        *size = whole - 4;
    return data + 4;
}
} // namespace

const void* TiffFile::getTypedChunk(TiffTag& tag, Tint32* size, TiffTag& type) {
    Tint32 whole = 0;
    const char* data = static_cast<const char*>(getChunk(tag, &whole));
    return splitType(data, size, whole, type);
}

void* TiffFile::readTypedChunk(TiffTag& tag, Tint32* size, TiffTag& type) {
    Tint32 whole = 0;
    char* data = static_cast<char*>(readChunk(tag, &whole));
    if (!splitType(data, size, whole, type)) {
        std::free(data);
        return nullptr;
    }
    std::memmove(data, data + 4, static_cast<std::size_t>(whole - 4));
    return data;
}

void* TiffFile::beginWriteBufferedChunk(TiffTag tag, Tint32 size) {
    return fFile ? FLbgnwbchunk(fFile, tag.value(), size) : (closedFile(), nullptr);
}

int TiffFile::endWriteBufferedChunk(Tint32 size) { return fFile ? FLendwbchunk(fFile, size) : closedFile(); }

// -- Reading groups ---------------------------------------------------------------

int TiffFile::beginReadGroup(TiffTag& id, TiffTag& type) {
    if (!fFile)
        return closedFile();
    TuInt32 header = 0;
    Tint32 size = 0;
    const int code = FLbgnget(fFile, &header, &size);
    if (code == kFLnoError)
        return FLseterror(kFLchunkHeader);
    if (code != kFLgroupHeader)
        return code;
    TuInt32 groupType = 0;
    if (const int entered = FLbgnrgroup(fFile, &groupType, &size))
        return entered;
    id.setValue(header);
    type.setValue(groupType);
    return kFLnoError;
}

int TiffFile::endReadGroup() { return fFile ? FLendrgroup(fFile) : closedFile(); }
int TiffFile::skipGroup() { return fFile ? FLskipgroup(fFile) : closedFile(); }

// -- Byte order ------------------------------------------------------------------

TuInt32 TiffFile::swapWord(TuInt32 v) noexcept {
    return (v >> 24) | ((v >> 8) & 0xFF00u) | ((v << 8) & 0xFF0000u) | (v << 24);
}

TuInt16 TiffFile::swapHalf(TuInt16 v) noexcept { return static_cast<TuInt16>((v >> 8) | (v << 8)); }
