#pragma once

// The CRC-32 paths behind Tcrc32, for the library and its tests.

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

#include <cstddef>

namespace grundel::detail {

/// The portable path (slicing by eight): any length, any alignment.
GRUNDEL_API TuInt32 crc32Tables(TuInt32 crc, const unsigned char* bytes, std::size_t length) noexcept;

/// True when this processor can run crc32Clmul.
GRUNDEL_API bool crc32HaveClmul() noexcept;

/// The carry-less-multiplication path; only when crc32HaveClmul(). Short
/// buffers and the last bytes go through the tables.
GRUNDEL_API TuInt32 crc32Clmul(TuInt32 crc, const unsigned char* bytes, std::size_t length) noexcept;

/// Buffers shorter than this are not worth the carry-less path.
constexpr std::size_t kCrc32ClmulMinimum = 64;

} // namespace grundel::detail
