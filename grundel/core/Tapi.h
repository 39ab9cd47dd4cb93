#pragma once

/// GRUNDEL_API marks the classes and functions the library exports. The
/// library is built with hidden default visibility, so anything without it
/// stays internal to the shared object.
#if defined(__GNUC__) || defined(__clang__)
#define GRUNDEL_API __attribute__((visibility("default")))
#else
#define GRUNDEL_API
#endif
