#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

#include <cstddef>

/// The library's CRC-32: the reflected CRC of polynomial 0xEDB88320 (the
/// table of IEEE 802.3), started from 0xFFFFFFFF and, deliberately, not
/// inverted at the end. Its values are only meant to be compared with values
/// made the same way; the usual CRC-32 of the same bytes is the complement
/// (the check value of "123456789" is 0x340BC6D9 here, 0xCBF43926 there).
///
/// Only static, thread-safe operations. Long buffers use carry-less
/// multiplication where the processor has it (chosen once at load time);
/// every path gives the same values.
class GRUNDEL_API Tcrc32 {
public:
    Tcrc32() = delete;

    /// The value a calculation starts from: 0xFFFFFFFF.
    static constexpr TuInt32 startingCRC() noexcept { return 0xFFFFFFFFu; }

    /// CRC of length bytes from startingCRC(). Zero bytes give 0xFFFFFFFF;
    /// bytes may be null only when length is 0.
    static TuInt32 calc(const void* bytes, std::size_t length) noexcept {
        return continueCalc(startingCRC(), bytes, length);
    }

    /// Continues a calculation: calc over a + b equals
    /// continueCalc(calc(a), b). bytes may be null only when length is 0.
    static TuInt32 continueCalc(TuInt32 crc, const void* bytes, std::size_t length) noexcept;

    /// calc over exactly four bytes, without a loop.
    static TuInt32 calc4(const void* fourBytes) noexcept;

    /// calc over exactly eight bytes, without a loop (a whole pointer value).
    static TuInt32 calc8(const void* eightBytes) noexcept;
};
