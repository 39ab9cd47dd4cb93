#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

/// A four-character chunk identifier held as one 32-bit value, the first
/// character in the most significant byte ("FORM" is 0x464F524D); 0 by
/// default. A plain value: copy it freely.
class GRUNDEL_API TiffTag {
public:
    constexpr TiffTag() noexcept : fValue(0) {}
    constexpr explicit TiffTag(TuInt32 value) noexcept : fValue(value) {}
    /// The four bytes, first to last.
    constexpr TiffTag(char a, char b, char c, char d) noexcept
        : fValue(byte(a) << 24 | byte(b) << 16 | byte(c) << 8 | byte(d)) {}
    /// The first four characters of text. A shorter text (or null) is
    /// padded with zero bytes.
    constexpr explicit TiffTag(const char* text) noexcept : fValue(0) {
        bool ended = text == nullptr;
        for (int i = 0; i < 4; ++i) {
            const char c = ended ? '\0' : text[i];
            ended = ended || c == '\0';
            fValue = fValue << 8 | byte(c);
        }
    }

    constexpr TuInt32 value() const noexcept { return fValue; }
    constexpr void setValue(TuInt32 value) noexcept { fValue = value; }
    /// The four characters and a NUL into buffer (5 bytes); returns buffer.
    char* valueTchar(char* buffer) const noexcept {
        for (int i = 0; i < 4; ++i)
            buffer[i] = static_cast<char>(fValue >> (24 - 8 * i));
        buffer[4] = '\0';
        return buffer;
    }
    /// Reverses the four bytes in place.
    constexpr TiffTag& swapBytes() noexcept {
        fValue = (fValue >> 24) | ((fValue >> 8) & 0xFF00u) | ((fValue << 8) & 0xFF0000u) | (fValue << 24);
        return *this;
    }

    friend constexpr bool operator==(TiffTag a, TiffTag b) noexcept { return a.fValue == b.fValue; }
    friend constexpr bool operator!=(TiffTag a, TiffTag b) noexcept { return a.fValue != b.fValue; }

private:
    static constexpr TuInt32 byte(char c) noexcept { return static_cast<unsigned char>(c); }

    TuInt32 fValue;
};
