#include "grundel/core/Tfile.h"

#include <charconv>
#include <cstdarg>
#include <utility>

Tfile::~Tfile() { close(); }

Tfile::Tfile(Tfile&& other) noexcept
    : fStream(std::exchange(other.fStream, nullptr)), fOwnsStream(std::exchange(other.fOwnsStream, false)),
      fFullDigits(other.fFullDigits), fText(std::move(other.fText)), fReadPos(std::exchange(other.fReadPos, 0)) {}

Tfile& Tfile::operator=(Tfile&& other) noexcept {
    if (this != &other) {
        close();
        fStream = std::exchange(other.fStream, nullptr);
        fOwnsStream = std::exchange(other.fOwnsStream, false);
        fFullDigits = other.fFullDigits;
        fText = std::move(other.fText);
        fReadPos = std::exchange(other.fReadPos, 0);
    }
    return *this;
}

bool Tfile::open(const char* path, const char* mode) {
    close();
    if (!path || !mode)
        return false;
    fStream = std::fopen(path, mode);
    fOwnsStream = fStream != nullptr;
    return fStream != nullptr;
}

void Tfile::attach(std::FILE* stream) noexcept {
    close();
    fStream = stream;
    fOwnsStream = false;
}

void Tfile::openText(std::string_view text) {
    close();
    fText.assign(text);
}

int Tfile::close() noexcept {
    int result = 0;
    if (fStream && fOwnsStream)
        result = std::fclose(fStream) == 0 ? 0 : -1;
    fStream = nullptr;
    fOwnsStream = false;
    fText.clear();
    fReadPos = 0;
    return result;
}

int Tfile::putBytes(const char* bytes, std::size_t length) noexcept {
    if (fStream)
        return std::fwrite(bytes, 1, length, fStream) == length ? 0 : -1;
    try {
        fText.append(bytes, length);
    } catch (...) {
        return -1;
    }
    return 0;
}

int Tfile::putChar(char c) noexcept { return putBytes(&c, 1); }

int Tfile::putString(std::string_view text) noexcept { return putBytes(text.data(), text.size()); }

// std::to_chars without a precision gives the shortest text that reads back
// exactly, independent of the locale; with one, the general format drops
// trailing zeros as %g does.
int Tfile::putDouble(double value) noexcept {
    char buffer[40];
    const auto end = fFullDigits ? std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 17).ptr
                                 : std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    return putBytes(buffer, std::size_t(end - buffer));
}

int Tfile::putFloat(float value) noexcept {
    char buffer[40];
    const auto end = fFullDigits ? std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 9).ptr
                                 : std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    return putBytes(buffer, std::size_t(end - buffer));
}

int Tfile::putInt(long long value) noexcept {
    char buffer[24];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    return putBytes(buffer, std::size_t(end - buffer));
}

int Tfile::putUInt(unsigned long long value) noexcept {
    char buffer[24];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    return putBytes(buffer, std::size_t(end - buffer));
}

int Tfile::printf(const char* format, ...) noexcept {
    std::va_list args;
    va_start(args, format);
    int result = 0;
    if (fStream) {
        result = std::vfprintf(fStream, format, args) < 0 ? -1 : 0;
    } else {
        std::va_list again;
        va_copy(again, args);
        const int length = std::vsnprintf(nullptr, 0, format, again);
        va_end(again);
        if (length < 0) {
            result = -1;
        } else {
            try {
                const std::size_t at = fText.size();
                fText.resize(at + std::size_t(length) + 1);
                std::vsnprintf(&fText[at], std::size_t(length) + 1, format, args);
                fText.resize(at + std::size_t(length));
            } catch (...) {
                result = -1;
            }
        }
    }
    va_end(args);
    return result;
}

bool Tfile::readLine(Tstring& line) {
    std::string text;
    bool any = false;
    if (fStream) {
        for (int c; (c = std::getc(fStream)) != EOF;) {
            any = true;
            if (c == '\n')
                break;
            text.push_back(static_cast<char>(c));
        }
    } else if (fReadPos < fText.size()) {
        any = true;
        std::size_t end = fText.find('\n', fReadPos);
        const std::size_t next = end == std::string::npos ? fText.size() : end + 1;
        if (end == std::string::npos)
            end = fText.size();
        text.assign(fText, fReadPos, end - fReadPos);
        fReadPos = next;
    }
    if (!text.empty() && text.back() == '\r')
        text.pop_back();
    line = Tstring(std::string_view(text));
    return any;
}
