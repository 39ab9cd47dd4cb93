#pragma once

// The bytes under an open chunk file. Used by the FL files only.

#include "grundel/core/Ttypes.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <vector>

namespace grundel::detail {

/// A descriptor (file, pipe, standard stream, command) behind a read buffer
/// and a write buffer, or a block of memory read or written in place. A file
/// is either read or written, never both. Positions are offsets from where
/// the stream began.
class FLio {
public:
    static constexpr std::size_t kBufferSize = 64 * 1024;

    /// fd is closed by close() when owned; process (from popen) is closed
    /// with pclose instead.
    static FLio* forDescriptor(int fd, bool owned, std::FILE* process, bool writing) noexcept;
    /// Reads size bytes at data (not copied; the caller keeps them alive).
    static FLio* forMemoryRead(const void* data, std::size_t size, bool mapped) noexcept;
    /// Writes into the capacity bytes at fixed, or into a block of its own
    /// that grows when fixed is null.
    static FLio* forMemoryWrite(void* fixed, std::size_t capacity) noexcept;
    ~FLio();
    FLio(const FLio&) = delete;
    FLio& operator=(const FLio&) = delete;

    bool seekable() const noexcept { return fSeekable; }
    /// The descriptor, or -1 for memory.
    int descriptor() const noexcept { return fMemory ? -1 : fFd; }
    bool inMemory() const noexcept { return fMemory; }
    /// errno of the last failure (0: none, or the end of the data).
    int lastError() const noexcept { return fErrno; }
    TuInt64 position() const noexcept {
        return fWriting ? fWriteBase + fWriteLength : fReadBase + fReadAt - fPushedBack.size();
    }
    /// The total length when it is known (files and memory being read).
    bool length(TuInt64& n) const noexcept;

    // -- Reading -------------------------------------------------------------
    /// Up to n bytes; fewer at the end of the data or on an error.
    std::size_t read(void* destination, std::size_t n) noexcept {
        // Inline while the buffer holds them: a chunk's header and small
        // data come this way, once per chunk.
        if (n != 0 && n <= fReadEnd - fReadAt && fPushedBack.empty()) {
            std::memcpy(destination, fReadBuffer + fReadAt, n);
            fReadAt += n;
            return n;
        }
        return readMore(destination, n);
    }
    /// The next n bytes, left unread, when the buffer holds them and nothing
    /// was pushed back; null otherwise.
    const unsigned char* peek(std::size_t n) const noexcept {
        return n <= fReadEnd - fReadAt && fPushedBack.empty()
                   ? reinterpret_cast<const unsigned char*>(fReadBuffer + fReadAt)
                   : nullptr;
    }
    /// Pushes n bytes back: the next reads return them first. False when
    /// memory runs out or the position would fall below 0.
    bool unread(const void* source, std::size_t n) noexcept;
    /// Moves forward n bytes. False when the data ends first (by seeking past
    /// the known length, or reading to the end of a stream).
    bool skip(TuInt64 n) noexcept {
        if (n <= fReadEnd - fReadAt && fPushedBack.empty()) {
            fReadAt += static_cast<std::size_t>(n);
            return true;
        }
        return skipMore(n);
    }
    /// Moves to an absolute position: anywhere in memory or a seekable file,
    /// only forward in a stream.
    bool seek(TuInt64 position) noexcept;

    // -- Writing -------------------------------------------------------------
    /// Room for n bytes at the current position, to be filled and then
    /// committed; null when it cannot be had.
    char* reserve(std::size_t n) noexcept;
    void commit(std::size_t n) noexcept { fWriteLength += n; }
    bool write(const void* source, std::size_t n) noexcept {
        if (n != 0 && n <= fWriteCapacity - fWriteLength) {
            std::memcpy(fWriteBuffer + fWriteLength, source, n);
            fWriteLength += n;
            return true;
        }
        return writeMore(source, n);
    }
    /// Overwrites n bytes written earlier at position.
    bool patch(TuInt64 position, const void* source, std::size_t n) noexcept;
    bool flush() noexcept;
    /// Flushes and closes: 0, or -1 when anything failed.
    int close() noexcept;

    /// The block of a memory file: what was written so far, or what is read.
    const void* memoryData() const noexcept { return fWriting ? fWriteBuffer : fReadBuffer; }
    std::size_t memorySize() const noexcept { return fWriting ? fWriteLength : fReadEnd; }
    /// Hands the block written over (the caller frees it with free()); null
    /// when it is not the file's own block.
    void* releaseMemory(std::size_t& size) noexcept;

private:
    FLio() noexcept = default;
    bool refill() noexcept;
    // The general cases of read, skip and write.
    std::size_t readMore(void* destination, std::size_t n) noexcept;
    bool skipMore(TuInt64 n) noexcept;
    bool writeMore(const void* source, std::size_t n) noexcept;
    bool growWriteBuffer(std::size_t needed) noexcept;
    bool fail(int error) noexcept;

    int fFd = -1;
    bool fOwnsFd = false;
    std::FILE* fProcess = nullptr;
    bool fWriting = false;
    bool fSeekable = false;
    bool fMemory = false;
    bool fMapped = false;
    bool fOwnsBlock = false;
    bool fClosed = false;
    int fErrno = 0;

    // Reading: fReadBuffer[fReadAt, fReadEnd) are the next bytes; fReadBase
    // is the position of fReadBuffer[0]. Pushed-back bytes, last first.
    char* fReadBuffer = nullptr;
    std::size_t fReadAt = 0;
    std::size_t fReadEnd = 0;
    TuInt64 fReadBase = 0;
    std::vector<char> fPushedBack;

    // Writing: fWriteBuffer[0, fWriteLength) not yet written out, starting at
    // position fWriteBase. For memory files the buffer is the block itself.
    char* fWriteBuffer = nullptr;
    std::size_t fWriteCapacity = 0;
    std::size_t fWriteLength = 0;
    TuInt64 fWriteBase = 0;
};

} // namespace grundel::detail
