#include "grundel/core/TstringEscape.h"

#include <cctype>
#include <cstdio>
#include <cstring>

char* streadd(char* dst, const char* src, const char* exceptions) noexcept {
    for (; *src; ++src) {
        const char c = *src;
        if (exceptions && std::strchr(exceptions, c)) {
            *dst++ = c;
            continue;
        }
        if (std::isprint(static_cast<unsigned char>(c))) {
            if (c == '\\')
                *dst++ = '\\';
            *dst++ = c;
            continue;
        }
        *dst++ = '\\';
        switch (c) {
        case '\a': *dst++ = 'a'; break;
        case '\b': *dst++ = 'b'; break;
        case '\t': *dst++ = 't'; break;
        case '\n': *dst++ = 'n'; break;
        case '\v': *dst++ = 'v'; break;
        case '\f': *dst++ = 'f'; break;
        case '\r': *dst++ = 'r'; break;
        default: {
            // The byte as a sign-extended char in octal, first three digits
            // only: every byte from 0x80 up gives "377".
            char digits[16];
            std::snprintf(digits, sizeof digits, "%.3o",
                          static_cast<unsigned int>(static_cast<int>(static_cast<signed char>(c))));
            std::memcpy(dst, digits, 3);
            dst += 3;
        }
        }
    }
    *dst = '\0';
    return dst;
}

char* strecpy(char* dst, const char* src, const char* exceptions) noexcept {
    streadd(dst, src, exceptions);
    return dst;
}

namespace {
inline bool isOctal(char c) noexcept { return c >= '0' && c <= '7'; }
} // namespace

char* strcadd(char* dst, const char* src) noexcept {
    while (*src) {
        if (*src != '\\') {
            *dst++ = *src++;
            continue;
        }
        ++src;
        if (isOctal(*src)) {
            unsigned int value = 0;
            for (int k = 0; k < 3 && isOctal(*src); ++k)
                value = value * 8 + static_cast<unsigned int>(*src++ - '0');
            *dst++ = static_cast<char>(value);
            continue;
        }
        switch (*src) {
        case '\0': continue; // a trailing backslash is dropped
        case 'a': *dst++ = '\a'; break;
        case 'b': *dst++ = '\b'; break;
        case 'f': *dst++ = '\f'; break;
        case 'n': *dst++ = '\n'; break;
        case 'r': *dst++ = '\r'; break;
        case 't': *dst++ = '\t'; break;
        case 'v': *dst++ = '\v'; break;
        default: *dst++ = *src; break; // "\\" included
        }
        ++src;
    }
    *dst = '\0';
    return dst;
}

char* strccpy(char* dst, const char* src) noexcept {
    strcadd(dst, src);
    return dst;
}
