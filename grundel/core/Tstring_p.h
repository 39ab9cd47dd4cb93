#pragma once

// Test hooks of Tstring.

#include "grundel/core/Tapi.h"

#include <cstddef>
#include <vector>

namespace grundel::detail {

/// While sizes is set, every byte count that a string block asks of the
/// heap (malloc or realloc) is appended to it; null stops the recording.
/// For tests only, on one thread.
GRUNDEL_API void recordStringBlockRequests(std::vector<std::size_t>* sizes) noexcept;

} // namespace grundel::detail
