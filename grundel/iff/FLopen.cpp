// Opening (every name form), closing, and marks.
#include "grundel/iff/FLchunk_p.h"
#include "grundel/iff/FLpath.h"

#include "grundel/core/Tstring.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace grundel::detail;

struct _FLmark {
    _FLmark* next;
    int id;
    TuInt64 position;
    TuInt32 depth;
};

namespace {

// The shell's single quotes around text.
Tstring quoted(const char* text) {
    Tstring q("'");
    for (const char* p = text; *p; ++p)
        if (*p == '\'')
            q += "'\\''";
        else
            q += *p;
    q += '\'';
    return q;
}

FLio* openCommand(const Tstring& command, bool writing) {
    std::fflush(nullptr);
    std::FILE* process = ::popen(command.asC(), writing ? "w" : "r");
    if (!process) {
        FLsetoserror(errno);
        flFail(kFLbadPipe);
        return nullptr;
    }
    FLio* io = FLio::forDescriptor(::fileno(process), false, process, writing);
    if (!io) {
        ::pclose(process);
        flFail(kFLnoMemory);
    }
    return io;
}

FLio* openPath(const char* path, bool writing) {
    const int fd = writing ? ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)
                           : ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        FLsetoserror(errno);
        flFail(kFLio);
        return nullptr;
    }
    struct stat st;
    if (::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
        ::close(fd);
        flFail(kFLnotAFile);
        return nullptr;
    }
    FLio* io = FLio::forDescriptor(fd, true, nullptr, writing);
    if (!io) {
        ::close(fd);
        flFail(kFLnoMemory);
    }
    return io;
}

FLio* openMapped(const char* path, bool writing) {
    if (writing)
        return openPath(path, true);
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        FLsetoserror(errno);
        flFail(kFLio);
        return nullptr;
    }
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        flFail(kFLnotAFile);
        return nullptr;
    }
    void* map = nullptr;
    if (st.st_size > 0) {
        map = ::mmap(nullptr, static_cast<std::size_t>(st.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
        if (map == MAP_FAILED) {
            FLsetoserror(errno);
            ::close(fd);
            flFail(kFLio);
            return nullptr;
        }
    }
    ::close(fd);
    FLio* io = FLio::forMemoryRead(map, static_cast<std::size_t>(st.st_size), map != nullptr);
    if (!io) {
        if (map)
            ::munmap(map, static_cast<std::size_t>(st.st_size));
        flFail(kFLnoMemory);
    }
    return io;
}

// "mem:0xADDRESS,SIZE", or "mem:" alone for writing into a block of ours.
FLio* openMemory(const char* rest, bool writing, TuInt32& flags) {
    if (!*rest) {
        if (!writing) {
            flFail(kFLbadName);
            return nullptr;
        }
        flags |= kFLownBlock;
        return FLio::forMemoryWrite(nullptr, 0);
    }
    char* end = nullptr;
    errno = 0;
    const unsigned long long address = std::strtoull(rest, &end, 16);
    if (errno || end == rest || *end != ',' || address == 0) {
        flFail(kFLbadName);
        return nullptr;
    }
    const char* sizeText = end + 1;
    const unsigned long long size = std::strtoull(sizeText, &end, 10);
    if (errno || end == sizeText || *end) {
        flFail(kFLbadName);
        return nullptr;
    }
    void* block = reinterpret_cast<void*>(static_cast<std::uintptr_t>(address));
    return writing ? FLio::forMemoryWrite(block, static_cast<std::size_t>(size))
                   : FLio::forMemoryRead(block, static_cast<std::size_t>(size), false);
}

FLio* openDescriptorName(const char* rest, bool writing) {
    char* end = nullptr;
    errno = 0;
    const long fd = std::strtol(rest, &end, 10);
    if (errno || end == rest || *end || fd < 0 || fd > 0x7FFFFFFF || ::fcntl(int(fd), F_GETFD) < 0) {
        flFail(kFLbadName);
        return nullptr;
    }
    FLio* io = FLio::forDescriptor(static_cast<int>(fd), false, nullptr, writing);
    if (!io)
        flFail(kFLnoMemory);
    return io;
}

// "host:path" on another machine.
FLio* openRemote(const char* name, const Tstring& host, const char* path, bool writing) {
    const int at = host.rindex('@');
    const Tstring machine = at >= 0 ? host.substring(at + 1, static_cast<int>(host.length()) - 1) : host;
    addrinfo* found = nullptr;
    if (machine.isEmpty() || ::getaddrinfo(machine.asC(), nullptr, nullptr, &found) != 0) {
        flFail(kFLhost);
        return nullptr;
    }
    ::freeaddrinfo(found);
    const Tstring copier = FLfindcmd("flrcp");
    if (!copier.isEmpty())
        return openCommand(copier + (writing ? " -w " : " ") + quoted(name), writing);
    Tstring shell;
    if (::access("/usr/bsd/rsh", X_OK) == 0)
        shell = "/usr/bsd/rsh";
    if (shell.isEmpty())
        shell = FLfindcmd("rsh");
    if (shell.isEmpty())
        shell = FLfindcmd("ssh");
    if (shell.isEmpty()) {
        flFail(kFLhost);
        return nullptr;
    }
    const Tstring remote = Tstring::cformatString("cat %c %s", writing ? '>' : '<', quoted(path).asC());
    return openCommand(shell + " " + quoted(host.asC()) + " " + quoted(remote.asC()), writing);
}

thread_local bool gSpecialNames = false;

bool isExistingFile(const char* path) {
    struct stat st;
    return ::stat(path, &st) == 0;
}

// The special forms "driver:rest" and "host:path" (with the switch on).
FLio* openDriverOrRemote(const char* given, const char* colon, bool writing) {
    const Tstring form(given, static_cast<unsigned int>(colon - given));
    const char* rest = colon + 1;
    const int at = form.rindex('@');
    const Tstring driver = at >= 0 ? form.substring(at + 1, static_cast<int>(form.length()) - 1) : form;
    const Tstring directory = FLfinddriver(driver.asC());
    if (!directory.isEmpty())
        return openCommand(Tstring::cformatString("%s %s %s", quoted((directory + driver).asC()).asC(),
                                                  writing ? "write" : "read", quoted(rest).asC()),
                           writing);
    return openRemote(given, form, rest, writing);
}

// Picks the name form and opens the bytes; name receives the file's name.
FLio* openByName(const char* given, bool writing, Tstring& name, TuInt32& flags) {
    name = given;
    if (std::strcmp(given, "stdin") == 0 || std::strcmp(given, "stdout") == 0) {
        const bool input = given[3] == 'i';
        if (input == writing) {
            flFail(kFLbadName);
            return nullptr;
        }
        return FLio::forDescriptor(input ? 0 : 1, false, nullptr, writing);
    }
    const bool special = gSpecialNames;
    const char* colon = std::strchr(given, ':');
    const bool mayBeForm = given[0] == '|' || (colon && colon != given + 1);
    // A file of that name wins over every form; a '/' before the colon
    // makes it a path ("./take:1.aifc", "/scenes/shot:v2.iff").
    if (!mayBeForm || isExistingFile(given) || (colon && std::memchr(given, '/', colon - given)))
        return openPath(given, writing);
    if (std::strncmp(given, "mmap:", 5) == 0) {
        if (!writing)
            flags |= kFLinMemory; // FLmeminfo hands out the mapping
        return openMapped(given + 5, writing);
    }
    if (!special)
        return openPath(given, writing);
    if (given[0] == '|') {
        name = Tstring("pipe:") + (given + 1);
        return openCommand(given + 1, writing);
    }
    const char* rest = colon + 1;
    const Tstring form(given, static_cast<unsigned int>(colon - given));
    if (form == "pipe")
        return *rest ? openCommand(rest, writing) : (flFail(kFLbadName), nullptr);
    if (form == "fd")
        return openDescriptorName(rest, writing);
    if (form == "mem") {
        flags |= kFLinMemory;
        return openMemory(rest, writing, flags);
    }
    return openDriverOrRemote(given, colon, writing);
}

void freeMarks(_FLfile* file) {
    while (_FLmark* mark = file->marks) {
        file->marks = mark->next;
        std::free(mark);
    }
}

void freeRecord(_FLfile* file) {
    while (file->context && file->context != &file->root) {
        _FLcontext* inner = file->context;
        file->context = inner->parent;
        giveContext(inner);
    }
    freeMarks(file);
    std::free(file->name);
    std::free(file->tmpName);
    std::free(file);
}

char* copyText(const char* text) {
    const std::size_t n = std::strlen(text) + 1;
    char* copy = static_cast<char*>(std::malloc(n));
    if (copy)
        std::memcpy(copy, text, n);
    return copy;
}

} // namespace

_FLfile* FLsopen(const char* name, const char* mode, std::size_t recordSize) {
    if (!mode || (mode[0] != 'r' && mode[0] != 'w')) {
        flFail(kFLbadMode);
        return nullptr;
    }
    if (!name || !*name) {
        flFail(kFLbadName);
        return nullptr;
    }
    const bool writing = mode[0] == 'w';
    if (recordSize < sizeof(_FLfile))
        recordSize = sizeof(_FLfile);
    auto* file = static_cast<_FLfile*>(std::calloc(1, recordSize));
    if (!file) {
        flFail(kFLnoMemory);
        return nullptr;
    }
    file->recordSize = recordSize;
    file->mode = mode[0];
    file->flags = writing ? kFLwriting : (mode[1] == 's' ? kFLrepairSizes : 0);
    Tstring fileName;
    file->io = openByName(name, writing, fileName, file->flags);
    file->name = copyText(fileName.asC());
    if (!file->io || !file->name) {
        if (file->io) {
            file->io->close();
            delete file->io;
        }
        if (FLerror() == kFLnoError)
            flFail(kFLnoMemory);
        freeRecord(file);
        return nullptr;
    }
    if (writing && !file->io->seekable())
        file->flags |= kFLcannotSeek;
    file->context = &file->root;
    file->root.mask = 1;
    file->root.levelStart = file->io->position();
    file->root.levelEnd = kFLunknownEnd;
    file->end = file->highWater = file->io->position();
    return file;
}

_FLfile* FLopen(const char* name, const char* mode) { return FLsopen(name, mode, sizeof(_FLfile)); }

bool FLsetspecialnames(bool on) noexcept {
    const bool before = gSpecialNames;
    gSpecialNames = on;
    return before;
}

bool FLgetspecialnames() noexcept { return gSpecialNames; }

_FLfile* FLopenCreatorType(const char* name, const char* mode, TuInt32 creator, TuInt32 type) {
    _FLfile* file = FLopen(name, mode);
    if (file) {
        file->creator = creator;
        file->fileType = type;
    }
    return file;
}

long FLsize(_FLfile* file) {
    if (!file)
        return flFail(kFLnotAFile), -1;
    if (isWriting(file)) {
        const TuInt64 at = file->io->position();
        return static_cast<long>(at > file->highWater ? at : file->highWater);
    }
    TuInt64 length = 0;
    return file->io->length(length) ? static_cast<long>(length) : -1;
}

int FLflush(_FLfile* file) {
    if (!file)
        return flFail(kFLnotAFile);
    return file->io->flush() ? kFLnoError : flIoFail(file);
}

int FLfileno(const _FLfile* file) noexcept { return file ? file->io->descriptor() : -1; }

void* FLuserdata(_FLfile* file) noexcept {
    return file && file->recordSize > sizeof(_FLfile) ? reinterpret_cast<char*>(file) + sizeof(_FLfile) : nullptr;
}

int FLmeminfo(const _FLfile* file, const void** data, std::size_t* size) {
    if (!file || !(file->flags & kFLinMemory))
        return flFail(kFLnotAFile);
    if (data)
        *data = file->io->memoryData();
    if (size)
        *size = file->io->memorySize();
    return kFLnoError;
}

namespace {

int closeFile(_FLfile* file, void** data, std::size_t* size, bool finish) {
    if (data)
        *data = nullptr;
    if (size)
        *size = 0;
    if (!file)
        return 0;
    const int before = FLerror();
    bool failed = false;
    if (isWriting(file) && finish) {
        if (file->block && FLendwbchunk(file, 0) != kFLnoError)
            failed = true;
        // Close whatever is open, innermost first; a level that cannot be
        // closed cleanly is left behind all the same.
        for (;;) {
            _FLcontext* level = file->context;
            if (level->id && FLendput(file) != kFLnoError) {
                failed = true;
                clearChunk(level);
            }
            if (!level->parent)
                break;
            if (FLendwgroup(file) != kFLnoError) {
                failed = true;
                if (file->context == level)
                    popLevel(file);
            }
        }
    }
    if (isWriting(file)) {
        if (!file->io->flush())
            failed = true;
        if (data && (file->flags & kFLownBlock))
            *data = file->io->releaseMemory(*size);
    }
    const int closed = file->io->close();
    delete file->io;
    if ((file->flags & kFLdeleteOnClose) && file->tmpName)
        ::unlink(file->tmpName);
    freeRecord(file);
    if (failed)
        return -1;
    FLseterror(before);
    return closed;
}

} // namespace

int FLclose(_FLfile* file) { return closeFile(file, nullptr, nullptr, true); }

int FLquickclose(_FLfile* file) { return closeFile(file, nullptr, nullptr, false); }

int FLclosemem(_FLfile* file, void** data, std::size_t* size) {
    std::size_t ignored = 0;
    return closeFile(file, data, size ? size : &ignored, true);
}

// -- Marks -----------------------------------------------------------------------------

namespace {
_FLmark* findMark(_FLfile* file, int id) {
    for (_FLmark* mark = file ? file->marks : nullptr; mark; mark = mark->next)
        if (mark->id == id)
            return mark;
    return nullptr;
}
} // namespace

int FLsetmark(_FLfile* file, int id) {
    if (!file)
        return flFail(kFLnotAFile);
    _FLmark* mark = findMark(file, id);
    if (!mark) {
        mark = static_cast<_FLmark*>(std::calloc(1, sizeof(_FLmark)));
        if (!mark)
            return flFail(kFLnoMemory);
        mark->id = id;
        mark->next = file->marks;
        file->marks = mark;
    }
    mark->position = file->io->position();
    mark->depth = file->context->depth;
    return kFLnoError;
}

int FLjmpmark(_FLfile* file, int id) {
    const _FLmark* mark = findMark(file, id);
    if (!mark)
        return flFail(kFLnoMarker);
    if (mark->depth != file->context->depth)
        return flFail(kFLunexpected);
    if (isWriting(file))
        return flFail(kFLfifo);
    if (!file->io->seek(mark->position))
        return flFail(kFLfifo);
    clearChunk(file->context);
    return kFLnoError;
}

int FLdelmark(_FLfile* file, int id) {
    for (_FLmark** link = file ? &file->marks : nullptr; link && *link; link = &(*link)->next)
        if ((*link)->id == id) {
            _FLmark* gone = *link;
            *link = gone->next;
            std::free(gone);
            return kFLnoError;
        }
    return flFail(kFLnoMarker);
}

void FLclearmarks(_FLfile* file) {
    if (file)
        freeMarks(file);
}
