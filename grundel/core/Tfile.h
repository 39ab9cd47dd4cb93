#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"
#include "grundel/core/Ttypes.h"

#include <cstdio>
#include <string>
#include <string_view>

/// A text file: formatted output of numbers, strings and characters, and
/// reading line by line. It is either a file on disk (open), a stdio stream
/// that someone else owns (attach), or text in memory (the state of a new
/// object, and openText): output then collects in text(), input comes from
/// the given text.
///
/// Numbers are written in the C locale whatever the process locale is:
/// doubles and floats in the shortest text that reads back to the same
/// value ("0.1", "1e+300", "inf", "nan"), integers in decimal. With
/// setFullDigits(true), doubles are written with 17 significant digits and
/// floats with 9 instead ("0.10000000000000001"), trailing zeros dropped,
/// for readers that want every digit the value carries.
///
/// Output operations return 0, or -1 when the stream refused the bytes (a
/// file opened for reading, a full disk). One thread at a time.
class GRUNDEL_API Tfile {
public:
    /// Writes into memory.
    Tfile() noexcept = default;
    ~Tfile();
    Tfile(const Tfile&) = delete;
    Tfile& operator=(const Tfile&) = delete;
    Tfile(Tfile&& other) noexcept;
    Tfile& operator=(Tfile&& other) noexcept;

    /// Opens a file with an fopen mode ("r", "w", "a"), closing what was
    /// open. False when it cannot be opened (the object then writes into
    /// memory again).
    [[nodiscard]] bool open(const char* path, const char* mode);
    /// Uses stream, which the caller keeps and closes.
    void attach(std::FILE* stream) noexcept;
    /// Reads lines from text (copied), closing what was open.
    void openText(std::string_view text);
    /// Closes a file of its own, detaches a stream, and starts an empty text
    /// in memory. -1 when closing the file failed.
    int close() noexcept;
    /// True for a file or an attached stream; false for text in memory.
    bool isFile() const noexcept { return fStream != nullptr; }
    /// Doubles with 17 significant digits and floats with 9 (on), or the
    /// shortest exact text (off, the default).
    void setFullDigits(bool on) noexcept { fFullDigits = on; }
    bool fullDigits() const noexcept { return fFullDigits; }

    int putChar(char c) noexcept;
    int putString(std::string_view text) noexcept;
    int putString(const char* text) noexcept { return putString(std::string_view(text ? text : "")); }
    int putDouble(double value) noexcept;
    int putFloat(float value) noexcept;
    int putInt(long long value) noexcept;
    int putUInt(unsigned long long value) noexcept;
    /// printf-style output, in the process locale.
    int printf(const char* format, ...) noexcept __attribute__((format(printf, 2, 3)));

    /// The next line without its line end ("\n" or "\r\n") into line; false
    /// at the end of the input (line is then empty). A last line without a
    /// line end is still a line.
    [[nodiscard]] bool readLine(Tstring& line);

    /// What was written in memory (empty for a file).
    const std::string& text() const noexcept { return fText; }

private:
    int putBytes(const char* bytes, std::size_t length) noexcept;

    std::FILE* fStream = nullptr;
    bool fOwnsStream = false;
    bool fFullDigits = false;
    std::string fText;
    std::size_t fReadPos = 0;
};
