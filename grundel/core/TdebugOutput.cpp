#include "grundel/core/TdebugOutput.h"

TdebugOutput::TdebugOutput(std::FILE* file) noexcept : fFile(file ? file : stderr) {}

TdebugOutput& TdebugOutput::sStandardError() noexcept {
    static TdebugOutput stream(stderr);
    return stream;
}

int TdebugOutput::printf(const char* format, ...) noexcept {
    std::va_list args;
    va_start(args, format);
    const int n = vprintf(format, args);
    va_end(args);
    return n;
}

int TdebugOutput::vprintf(const char* format, std::va_list args) noexcept {
    return std::vfprintf(fFile, format, args);
}

void TdebugOutput::setFile(std::FILE* file) noexcept { fFile = file ? file : stderr; }

void TdebugOutput::flush() noexcept { std::fflush(fFile); }
