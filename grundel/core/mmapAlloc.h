#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

#include <cstddef>

/// The library's page-mapping allocator: large blocks in whole pages of
/// their own, which can often change size in place, so that very large
/// arrays are not copied when they grow.
///
/// Every block carries a category, a label kept for the memory statistics
/// (the arrays use "Arrays" and "Object Arrays"). Labels are compared by
/// their text and must outlive the blocks that use them (string literals).
/// All functions are thread-safe; one block is changed by one thread at a
/// time.

/// A new block of at least bytes, page-aligned and zero-filled; null when
/// bytes is 0 or the pages cannot be had.
GRUNDEL_API void* mmapAlloc(std::size_t bytes, const char* category) noexcept;

/// As mmapAlloc, but the bytes of a reused spare mapping (see below) are left
/// as its last block had them; pages beyond it are zero. For storage that its
/// owner writes before it reads (the arrays), which then skips the clearing.
GRUNDEL_API void* mmapAllocUncleared(std::size_t bytes, const char* category) noexcept;

/// Resizes storage to bytes, moving it when it cannot change in place. The
/// contents up to the smaller size are kept. Returns the block's new address;
/// null when storage is not a block of this allocator, bytes is 0 or the pages
/// cannot be had, and then storage is untouched. A null storage allocates.
GRUNDEL_API void* mmapRealloc(void* storage, std::size_t bytes, const char* category) noexcept;

/// Resizes storage to bytes without moving it. True on success; false (with
/// storage untouched) when the pages beyond it are taken, storage is not a
/// block of this allocator, or bytes is 0.
GRUNDEL_API bool mmapGrow(void* storage, std::size_t bytes) noexcept;

/// Releases a block. False (and nothing done) when storage is not a block of
/// this allocator; null is ignored and gives true.
GRUNDEL_API bool mmapFree(void* storage) noexcept;

// -- Spare mappings ---------------------------------------------------------------
//
// The first write to a fresh page costs far more than the write itself (the
// kernel supplies and clears the page). So mmapFree keeps the pages of the
// most recently released blocks as spares, up to a byte limit and a few
// mappings, and a new block of about the same size (half to twice) takes one
// again: the closest larger one trimmed to size, else the largest smaller one
// grown. The oldest spares go first when the limit is reached. Spares are
// never counted as blocks in use by the statistics.

/// The bytes (whole pages) held in spare mappings.
GRUNDEL_API std::size_t mmapSpareBytes() noexcept;

/// Sets the most bytes kept in spare mappings, releasing the oldest spares
/// beyond it; 0 keeps none. Returns the previous limit. The default is the
/// smaller of 64 MiB and a sixteenth of the machine's memory.
GRUNDEL_API std::size_t mmapSetSpareLimit(std::size_t bytes) noexcept;

/// Returns every spare mapping to the system.
GRUNDEL_API void mmapReleaseSpares() noexcept;

/// The size last asked for a block, or 0 when storage is not one.
GRUNDEL_API std::size_t mmapSize(const void* storage) noexcept;

/// What a category holds. Bytes are the sizes asked for, not the whole pages.
struct TmmapStatistics {
    TuInt64 blocks = 0;    ///< blocks in use
    TuInt64 bytes = 0;     ///< bytes in use
    TuInt64 peakBytes = 0; ///< the most bytes in use at one time
};

/// The statistics of one category; a null category sums them all (its peak is
/// then the sum of the categories' peaks). An unknown category gives zeros.
GRUNDEL_API TmmapStatistics mmapStatistics(const char* category) noexcept;
