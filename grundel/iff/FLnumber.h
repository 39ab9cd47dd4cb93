#pragma once

#include "grundel/core/Tapi.h"

#include <string_view>

/// Number parsing that ignores the locale ("." is always the decimal
/// point) and never fails: leading white space (space, \t, \n, \v, \f, \r)
/// is skipped, an optional sign is taken, and the number ends at the first
/// character that does not belong to it.
///
/// FLatof reads decimal digits with an optional fraction and an optional
/// exponent ("e" or "E", optional sign, digits); an "e" without digits
/// after it is not part of the number. A value too large for a double gives
/// +-infinity (HUGE_VAL); one too small even for a subnormal gives +-0.
/// "inf", "nan" and hexadecimal forms are not numbers here (garbage).
/// FLatoi reads decimal digits and saturates at INT_MAX / INT_MIN.
///
/// Garbage (no digits where the number should start, an empty or null
/// text) gives 0, and *end then points at the start of the text (or is
/// null for a null text).

GRUNDEL_API double FLatof(const char* text, const char** end = nullptr) noexcept;
GRUNDEL_API int FLatoi(const char* text, const char** end = nullptr) noexcept;

/// The same over a view that need not be NUL-terminated; *used receives the
/// number of characters taken (0 for garbage).
GRUNDEL_API double FLatof(std::string_view text, size_t* used) noexcept;
GRUNDEL_API int FLatoi(std::string_view text, size_t* used) noexcept;
