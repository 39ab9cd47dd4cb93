#pragma once

#include "grundel/core/Tapi.h"

#include <cstdarg>
#include <cstdio>

/// The diagnostics stream: formatted text to a FILE*. Debug dumps of the
/// library's classes write through it. Each call is one stdio call, so lines
/// from different threads do not interleave within a call.
class GRUNDEL_API TdebugOutput {
public:
    /// Writes to file; null means standard error.
    explicit TdebugOutput(std::FILE* file = nullptr) noexcept;

    /// The process-wide stream on standard error.
    static TdebugOutput& sStandardError() noexcept;

    /// printf-style output; the number of bytes written, negative on error.
    int printf(const char* format, ...) noexcept __attribute__((format(printf, 2, 3)));
    int vprintf(const char* format, std::va_list args) noexcept;

    std::FILE* file() const noexcept { return fFile; }
    void setFile(std::FILE* file) noexcept;
    void flush() noexcept;

private:
    std::FILE* fFile;
};
