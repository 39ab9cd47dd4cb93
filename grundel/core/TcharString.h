#pragma once

#include "grundel/core/Tapi.h"

#include <cstring>

/// A plain pointer to constant characters that the caller keeps alive.
/// Compares byte by byte as signed characters (unlike Tstring); two
/// identical pointers are equal at once.
class GRUNDEL_API TcharString {
public:
    /// The empty text every null pointer is replaced by.
    static const char gNil[1];

    TcharString() noexcept : fText(gNil) {}
    TcharString(const char* text) noexcept : fText(text ? text : gNil) {}

    void set(const char* text) noexcept { fText = text ? text : gNil; }
    TcharString& operator=(const char* text) noexcept {
        set(text);
        return *this;
    }
    /// Never null.
    const char* value() const noexcept { return fText; }
    unsigned int length() const noexcept { return static_cast<unsigned int>(std::strlen(fText)); }

    /// Signed-byte order: negative, 0 or positive.
    static int compare(const char* a, const char* b) noexcept {
        if (a == b)
            return 0;
        for (;; ++a, ++b) {
            const signed char ca = static_cast<signed char>(*a);
            const signed char cb = static_cast<signed char>(*b);
            if (ca != cb)
                return ca < cb ? -1 : 1;
            if (ca == 0)
                return 0;
        }
    }

    friend bool operator==(const TcharString& a, const TcharString& b) noexcept { return compare(a.fText, b.fText) == 0; }
    friend bool operator!=(const TcharString& a, const TcharString& b) noexcept { return compare(a.fText, b.fText) != 0; }
    friend bool operator<(const TcharString& a, const TcharString& b) noexcept { return compare(a.fText, b.fText) < 0; }
    friend bool operator<=(const TcharString& a, const TcharString& b) noexcept { return compare(a.fText, b.fText) <= 0; }
    friend bool operator>(const TcharString& a, const TcharString& b) noexcept { return compare(a.fText, b.fText) > 0; }
    friend bool operator>=(const TcharString& a, const TcharString& b) noexcept { return compare(a.fText, b.fText) >= 0; }

private:
    const char* fText;
};
