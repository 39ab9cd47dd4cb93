#pragma once

#include "grundel/core/Tapi.h"

#include <cstddef>

/// A splay tree mapping NUL-terminated string keys (compared byte for byte,
/// as strcmp does) to caller pointers. The tree copies each key and keeps
/// one entry per key. Every lookup moves the entry it reaches to the root,
/// so keys asked for often are found quickly; any sequence of m operations
/// on n entries costs O((m + n) log n). Nothing recurses, so a tree made
/// degenerate by sorted insertions is still safe. One tree is used by one
/// thread at a time (even lookups change it).
struct FLsplay;

/// Frees a value when its entry is replaced or the tree deleted.
using FLsplayfree = void (*)(void* value);

/// A new empty tree; values are freed with freeValue (null: they are the
/// caller's). Null and code 33 when memory runs out.
[[nodiscard]] GRUNDEL_API FLsplay* FLnewsplay(FLsplayfree freeValue = nullptr) noexcept;
/// The value stored under key; null when the key is absent (or key is null).
/// found, when given, tells an absent key from a null value.
GRUNDEL_API void* FLsplayfind(FLsplay* tree, const char* key, bool* found = nullptr) noexcept;
/// Stores value under key. A key already present keeps its entry and takes
/// the new value (the old one goes to freeValue unless it is the same
/// pointer). Returns 0; 33 when memory runs out, 42 for a null key; the
/// tree is unchanged on failure.
[[nodiscard]] GRUNDEL_API int FLsplayadd(FLsplay* tree, const char* key, void* value) noexcept;
/// The number of entries.
GRUNDEL_API size_t FLsplaycount(const FLsplay* tree) noexcept;
/// Calls func for every entry in increasing key order, without reshaping
/// the tree; a non-zero result stops the walk and is returned (else 0).
/// The walk threads the tree while it runs: func must not throw, nor use
/// the tree.
GRUNDEL_API int FLsplaywalk(const FLsplay* tree, int (*func)(const char* key, void* value, void* data),
                            void* data);
/// Frees the whole tree: every key, every value through freeValue, the tree.
/// Null is accepted.
GRUNDEL_API void FLdelsplay(FLsplay* tree) noexcept;
