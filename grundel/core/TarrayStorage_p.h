#pragma once

// Storage of the array family, shared by Tarray and TobjArray: the heap below
// kArrayMappedBytes, mapped pages from it on. Every free decides between the
// two by the byte size alone, so callers must pass the size the storage was
// made with. TarrayStorage.cpp also holds TarrayBase, for both classes.

#include "grundel/core/Tarray.h"

#include <cstddef>
#include <cstdint>

namespace grundel::detail {

inline bool isMapped(std::size_t bytes) noexcept { return bytes >= kArrayMappedBytes; }

/// New storage of bytes; raises TmemoryException when it cannot be had.
void* arrayAllocate(std::size_t bytes, const char* category);
/// Releases storage of bytes (null is ignored).
void arrayRelease(void* storage, std::size_t bytes) noexcept;
/// Moves plain bytes from oldBytes to newBytes of storage, crossing between
/// the heap and mapped pages as needed. Raises TmemoryException and leaves
/// storage untouched when memory runs out.
void* arrayReallocate(std::size_t oldBytes, std::size_t newBytes, void* storage, const char* category);

/// The physical size that growth to n (above physical) reaches by whole
/// increments; an increment of 0 is first set to 1.
inline TuInt32 grownPhysicalSize(TuInt32 physical, TuInt32& increment, TuInt32 n) noexcept {
    if (increment == 0)
        increment = 1;
    const TuInt64 step = increment;
    const TuInt64 grown = step >= n ? physical + step : physical + step * ((n - physical - 1) / step + 1);
    return grown > UINT32_MAX ? UINT32_MAX : static_cast<TuInt32>(grown);
}

/// The increment after a growth to n: it widens by a quarter while it is
/// below a quarter of n.
inline TuInt32 adaptedIncrement(TuInt32 increment, TuInt32 n) noexcept {
    if (increment < 0x7FFFFFFFu && TuInt64(increment) * 4 < n)
        return 1 + increment + increment / 4;
    return increment;
}

/// count as a 32-bit length; raises TmemoryException when it does not fit.
TuInt32 checkedCount(TuInt64 count, TuInt32 elementSize);

/// True when the n bytes at p overlap the bytes of storage: arguments that
/// point into an array's own elements must be saved before they move.
inline bool overlaps(const void* p, std::size_t n, const void* storage, std::size_t bytes) noexcept {
    const auto a = reinterpret_cast<std::uintptr_t>(p);
    const auto s = reinterpret_cast<std::uintptr_t>(storage);
    return storage != nullptr && p != nullptr && a < s + bytes && s < a + n;
}

} // namespace grundel::detail
