#pragma once

// Test hooks of ThashTable.

#include "grundel/core/Tapi.h"

namespace grundel::detail {

/// Makes the next count bucket-array allocations of every hash table fail,
/// as they would when memory runs out (0 stops it). For tests only.
GRUNDEL_API void failNextBucketAllocations(int count) noexcept;

} // namespace grundel::detail
