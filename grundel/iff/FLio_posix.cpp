#include "grundel/iff/FLio_p.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <csignal>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace grundel::detail {

namespace {

// write(2) that does not raise SIGPIPE when a stream's reader has gone: the
// signal is blocked for the call and a pending one it caused is taken back,
// so the caller sees EPIPE instead of the process ending.
ssize_t writeQuietly(int fd, const void* data, std::size_t n, bool stream) noexcept {
    if (!stream)
        return ::write(fd, data, n);
    sigset_t pipeSignal;
    sigset_t previous;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSignal, &previous);
    const ssize_t put = ::write(fd, data, n);
    const int error = errno;
    if (put < 0 && error == EPIPE) {
        const timespec now = {0, 0};
        sigtimedwait(&pipeSignal, nullptr, &now);
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    errno = error;
    return put;
}

} // namespace

FLio* FLio::forDescriptor(int fd, bool owned, std::FILE* process, bool writing) noexcept {
    auto* io = new (std::nothrow) FLio();
    if (!io)
        return nullptr;
    io->fFd = fd;
    io->fOwnsFd = owned;
    io->fProcess = process;
    io->fWriting = writing;
    struct stat st;
    io->fSeekable = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && ::lseek(fd, 0, SEEK_CUR) >= 0;
    if (io->fSeekable) {
        const off_t at = ::lseek(fd, 0, SEEK_CUR);
        (writing ? io->fWriteBase : io->fReadBase) = static_cast<TuInt64>(at);
    }
    const std::size_t size = kBufferSize;
    char*& buffer = writing ? io->fWriteBuffer : io->fReadBuffer;
    buffer = static_cast<char*>(std::malloc(size));
    if (!buffer) {
        io->fOwnsFd = false;
        io->fProcess = nullptr;
        delete io;
        return nullptr;
    }
    if (writing)
        io->fWriteCapacity = size;
    return io;
}

FLio* FLio::forMemoryRead(const void* data, std::size_t size, bool mapped) noexcept {
    auto* io = new (std::nothrow) FLio();
    if (!io)
        return nullptr;
    io->fMemory = true;
    io->fMapped = mapped;
    io->fSeekable = true;
    io->fReadBuffer = static_cast<char*>(const_cast<void*>(data));
    io->fReadEnd = size;
    return io;
}

FLio* FLio::forMemoryWrite(void* fixed, std::size_t capacity) noexcept {
    auto* io = new (std::nothrow) FLio();
    if (!io)
        return nullptr;
    io->fMemory = true;
    io->fWriting = true;
    io->fSeekable = true;
    io->fOwnsBlock = fixed == nullptr;
    io->fWriteBuffer = static_cast<char*>(fixed);
    io->fWriteCapacity = fixed ? capacity : 0;
    return io;
}

FLio::~FLio() { close(); }

bool FLio::fail(int error) noexcept {
    fErrno = error;
    return false;
}

bool FLio::length(TuInt64& n) const noexcept {
    if (fMemory && !fWriting) {
        n = fReadEnd;
        return true;
    }
    struct stat st;
    if (fSeekable && ::fstat(fFd, &st) == 0) {
        n = static_cast<TuInt64>(st.st_size);
        return true;
    }
    return false;
}

// -- Reading -----------------------------------------------------------------------

bool FLio::refill() noexcept {
    if (fMemory || fFd < 0)
        return false;
    fReadBase += fReadEnd;
    fReadAt = fReadEnd = 0;
    for (;;) {
        const ssize_t got = ::read(fFd, fReadBuffer, kBufferSize);
        if (got > 0) {
            fReadEnd = static_cast<std::size_t>(got);
            return true;
        }
        if (got == 0)
            return false;
        if (errno != EINTR)
            return fail(errno);
    }
}

std::size_t FLio::readMore(void* destination, std::size_t n) noexcept {
    if (n == 0)
        return 0;
    char* out = static_cast<char*>(destination);
    std::size_t done = 0;
    while (done < n && !fPushedBack.empty()) {
        out[done++] = fPushedBack.back();
        fPushedBack.pop_back();
    }
    while (done < n) {
        if (fReadAt == fReadEnd) {
            // Large reads from a descriptor skip the buffer.
            if (!fMemory && fFd >= 0 && n - done >= kBufferSize) {
                const ssize_t got = ::read(fFd, out + done, n - done);
                if (got > 0) {
                    fReadBase += fReadEnd + static_cast<TuInt64>(got);
                    fReadAt = fReadEnd = 0;
                    done += static_cast<std::size_t>(got);
                    continue;
                }
                if (got < 0 && errno == EINTR)
                    continue;
                if (got < 0)
                    fail(errno);
                break;
            }
            if (!refill())
                break;
        }
        const std::size_t take = std::min(n - done, fReadEnd - fReadAt);
        std::memcpy(out + done, fReadBuffer + fReadAt, take);
        fReadAt += take;
        done += take;
    }
    return done;
}

bool FLio::unread(const void* source, std::size_t n) noexcept {
    if (n == 0)
        return true; // and an empty mapping has no buffer to compare with
    if (n > position())
        return false;
    const char* in = static_cast<const char*>(source);
    // Back into the buffer when these are its own bytes (the usual case).
    if (fPushedBack.empty() && n <= fReadAt && std::memcmp(fReadBuffer + fReadAt - n, in, n) == 0) {
        fReadAt -= n;
        return true;
    }
    try {
        for (std::size_t i = n; i-- > 0;)
            fPushedBack.push_back(in[i]);
    } catch (...) {
        return fail(ENOMEM);
    }
    return true;
}

bool FLio::skipMore(TuInt64 n) noexcept {
    while (n > 0 && !fPushedBack.empty()) {
        fPushedBack.pop_back();
        --n;
    }
    const TuInt64 inBuffer = fReadEnd - fReadAt;
    if (n <= inBuffer) {
        fReadAt += static_cast<std::size_t>(n);
        return true;
    }
    if (fMemory) {
        fReadAt = fReadEnd;
        return false;
    }
    if (fSeekable) {
        const TuInt64 target = fReadBase + fReadAt + n;
        TuInt64 total = 0;
        if (length(total) && target > total) {
            seek(total);
            return false;
        }
        return seek(target);
    }
    n -= inBuffer;
    fReadAt = fReadEnd;
    while (n > 0) {
        if (!refill())
            return false;
        const std::size_t take = static_cast<std::size_t>(std::min<TuInt64>(n, fReadEnd));
        fReadAt = take;
        n -= take;
    }
    return true;
}

bool FLio::seek(TuInt64 target) noexcept {
    fPushedBack.clear();
    if (target >= fReadBase && target <= fReadBase + fReadEnd) {
        fReadAt = static_cast<std::size_t>(target - fReadBase);
        return true;
    }
    if (fMemory)
        return false;
    if (fSeekable) {
        if (::lseek(fFd, static_cast<off_t>(target), SEEK_SET) < 0)
            return fail(errno);
        fReadBase = target;
        fReadAt = fReadEnd = 0;
        return true;
    }
    const TuInt64 here = position();
    return target >= here && skip(target - here);
}

// -- Writing -----------------------------------------------------------------------

bool FLio::growWriteBuffer(std::size_t needed) noexcept {
    if (fMemory && !fOwnsBlock)
        return fail(ENOSPC);
    std::size_t capacity = std::max<std::size_t>(fWriteCapacity ? fWriteCapacity : 4096, 4096);
    while (capacity < needed) {
        if (capacity > SIZE_MAX / 2)
            return fail(ENOMEM);
        capacity *= 2;
    }
    char* grown = static_cast<char*>(std::realloc(fWriteBuffer, capacity));
    if (!grown)
        return fail(ENOMEM);
    fWriteBuffer = grown;
    fWriteCapacity = capacity;
    return true;
}

char* FLio::reserve(std::size_t n) noexcept {
    if (fWriteLength + n > fWriteCapacity) {
        if (!fMemory && !flush())
            return nullptr;
        if (fWriteLength + n > fWriteCapacity && !growWriteBuffer(fWriteLength + n))
            return nullptr;
    }
    return fWriteBuffer + fWriteLength;
}

bool FLio::writeMore(const void* source, std::size_t n) noexcept {
    if (n == 0)
        return true;
    if (!fMemory && n >= kBufferSize) {
        // Large pieces go straight out, after what is buffered.
        if (!flush())
            return false;
        const char* in = static_cast<const char*>(source);
        while (n > 0) {
            const ssize_t put = writeQuietly(fFd, in, n, !fSeekable);
            if (put < 0) {
                if (errno == EINTR)
                    continue;
                return fail(errno);
            }
            in += put;
            n -= static_cast<std::size_t>(put);
            fWriteBase += static_cast<TuInt64>(put);
        }
        return true;
    }
    char* room = reserve(n);
    if (!room)
        return false;
    std::memcpy(room, source, n);
    commit(n);
    return true;
}

bool FLio::patch(TuInt64 at, const void* source, std::size_t n) noexcept {
    const char* in = static_cast<const char*>(source);
    // The part still in the buffer (for memory files, all of it).
    while (n > 0 && at + n > fWriteBase) {
        const TuInt64 last = at + n - 1;
        if (last >= fWriteBase + fWriteLength)
            return fail(EINVAL);
        if (at >= fWriteBase) {
            std::memcpy(fWriteBuffer + (at - fWriteBase), in, n);
            return true;
        }
        const std::size_t tail = static_cast<std::size_t>(at + n - fWriteBase);
        std::memcpy(fWriteBuffer, in + (n - tail), tail);
        n -= tail;
    }
    if (n == 0)
        return true;
    if (fMemory || !fSeekable)
        return fail(ESPIPE);
    while (n > 0) {
        const ssize_t put = ::pwrite(fFd, in, n, static_cast<off_t>(at));
        if (put < 0) {
            if (errno == EINTR)
                continue;
            return fail(errno);
        }
        in += put;
        at += static_cast<TuInt64>(put);
        n -= static_cast<std::size_t>(put);
    }
    return true;
}

bool FLio::flush() noexcept {
    if (!fWriting || fMemory)
        return true;
    std::size_t done = 0;
    while (done < fWriteLength) {
        const ssize_t put = writeQuietly(fFd, fWriteBuffer + done, fWriteLength - done, !fSeekable);
        if (put < 0) {
            if (errno == EINTR)
                continue;
            // Keep what could not be written, at the front of the buffer.
            std::memmove(fWriteBuffer, fWriteBuffer + done, fWriteLength - done);
            fWriteLength -= done;
            fWriteBase += done;
            return fail(errno);
        }
        done += static_cast<std::size_t>(put);
    }
    fWriteBase += fWriteLength;
    fWriteLength = 0;
    return true;
}

void* FLio::releaseMemory(std::size_t& size) noexcept {
    if (!fMemory || !fWriting || !fOwnsBlock)
        return nullptr;
    void* block = fWriteBuffer;
    size = fWriteLength;
    fWriteBuffer = nullptr;
    fWriteCapacity = fWriteLength = 0;
    return block;
}

int FLio::close() noexcept {
    if (fClosed)
        return 0;
    fClosed = true;
    bool ok = flush();
    if (fMemory) {
        if (fMapped && fReadBuffer)
            ::munmap(fReadBuffer, fReadEnd);
        if (fOwnsBlock)
            std::free(fWriteBuffer);
        fReadBuffer = nullptr;
        fWriteBuffer = nullptr;
        return ok ? 0 : -1;
    }
    if (fProcess) {
        ok = ::pclose(fProcess) == 0 && ok;
        fProcess = nullptr;
    } else if (fOwnsFd && fFd >= 0) {
        ok = ::close(fFd) == 0 && ok;
    }
    fFd = -1;
    std::free(fReadBuffer);
    std::free(fWriteBuffer);
    fReadBuffer = fWriteBuffer = nullptr;
    return ok ? 0 : -1;
}

} // namespace grundel::detail
