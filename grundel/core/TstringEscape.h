#pragma once

#include "grundel/core/Tapi.h"

/// C escape sequences, both ways.
///
/// Encoding (strecpy, streadd): printable characters are copied, a backslash
/// is doubled; BEL BS HT LF VT FF CR become \a \b \t \n \v \f \r; any other
/// byte becomes a backslash and three octal digits, taken from the front of
/// "%o" of the byte as a sign-extended char, so that every byte from 0x80 up
/// encodes as "\377" (lossy, kept for compatibility). Characters listed in
/// exceptions (may be null) are copied unchanged. dst needs room for
/// 4 * strlen(src) + 1 bytes.
///
/// Decoding (strccpy, strcadd): a backslash and 1 to 3 octal digits give that
/// byte; \\ \a \b \f \n \r \t \v give their characters; a backslash before
/// any other character is dropped, the character kept. dst needs room for
/// strlen(src) + 1 bytes and may equal src.

/// Encodes src into dst; returns dst.
GRUNDEL_API char* strecpy(char* dst, const char* src, const char* exceptions) noexcept;
/// Encodes src into dst; returns the position of the terminator written.
GRUNDEL_API char* streadd(char* dst, const char* src, const char* exceptions) noexcept;
/// Decodes src into dst; returns dst.
GRUNDEL_API char* strccpy(char* dst, const char* src) noexcept;
/// Decodes src into dst; returns the position of the terminator written.
GRUNDEL_API char* strcadd(char* dst, const char* src) noexcept;
