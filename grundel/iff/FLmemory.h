#pragma once

#include "grundel/core/Tapi.h"

#include <cstddef>

/// The chunk library's memory routines: the C heap, with every failure
/// (including a size whose arithmetic overflows, and any size above
/// PTRDIFF_MAX, refused before the allocator is asked) reported as a null
/// result and code 33 "no memory" in the error variable. Blocks from any of them
/// are freed with FLfree (or free()).

/// size bytes, uninitialised; a size of 0 gives a distinct block of 0 usable bytes.
[[nodiscard]] GRUNDEL_API void* FLmalloc(size_t size) noexcept;
/// count * size zeroed bytes; null and 33 also when the product overflows.
[[nodiscard]] GRUNDEL_API void* FLcalloc(size_t count, size_t size) noexcept;
/// block resized to size (null block: FLmalloc). On failure null and 33,
/// and block is left as it was, still to be freed by the caller.
[[nodiscard]] GRUNDEL_API void* FLrealloc(void* block, size_t size) noexcept;
/// Frees block; null is accepted.
GRUNDEL_API void FLfree(void* block) noexcept;

/// Makes block hold at least needed bytes, *capacity being what it holds
/// now. When it already does, returns block untouched. Otherwise grows it
/// geometrically (to at least twice *capacity), keeping its content at the
/// front, sets *capacity and returns the new block. On failure null and 33,
/// with block and *capacity unchanged.
[[nodiscard]] GRUNDEL_API void* FLgrow(void* block, size_t* capacity, size_t needed) noexcept;
/// The reverse form, for a buffer filled from its end toward its front:
/// grows the same way, but moves the old *capacity bytes to the end of the
/// new block, so that the room appears in front of them.
[[nodiscard]] GRUNDEL_API void* FLrgrow(void* block, size_t* capacity, size_t needed) noexcept;
/// Inserts count bytes at offset into a buffer holding *length bytes of a
/// *capacity-byte block, growing it with FLgrow when needed. bytes null
/// inserts zeros; bytes may point into the block's held bytes. Updates
/// *length (and *capacity) and returns the block, perhaps moved. An offset
/// past *length, or bytes in the block that run past *length, give null and
/// code 16 "bad size", a failed growth null and 33;
/// in both cases the buffer is unchanged.
[[nodiscard]] GRUNDEL_API void* FLinsbytes(void* block, size_t* length, size_t* capacity, size_t offset,
                                           const void* bytes, size_t count) noexcept;
