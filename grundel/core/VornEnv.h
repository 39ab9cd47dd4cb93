#pragma once

#include "grundel/core/Tapi.h"

/// The process environment value of name, or null when it is unset (or name
/// is null). The pointer is the runtime's and is valid until the variable
/// changes. Like getenv, not safe against concurrent VornPutEnv.
GRUNDEL_API const char* VornGetEnv(const char* name) noexcept;

/// Sets one "NAME=value" assignment in the process environment; the text is
/// copied. An empty value ("NAME=") removes the variable. Returns 0 on
/// success and -1 on failure (null, no "=", an empty name, no memory).
GRUNDEL_API int VornPutEnv(const char* assignment) noexcept;
