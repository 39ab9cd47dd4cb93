#pragma once

#include <cstddef>
#include <cstdint>

/// Fixed-width names used across the library's interfaces. Widths are the
/// design's: counts, sizes, tags and flags are 32-bit unless named otherwise.
using Tint8 = std::int8_t;
using TuInt8 = std::uint8_t;
using Tint16 = std::int16_t;
using TuInt16 = std::uint16_t;
using Tint32 = std::int32_t;
using TuInt32 = std::uint32_t;
using Tint64 = std::int64_t;
using TuInt64 = std::uint64_t;
using TintPtrSz = std::intptr_t;
using TuIntPtrSz = std::uintptr_t;
using Tbyte = unsigned char;
/// One byte on disk; true only for the value 1 when decoded.
using Tboolean = bool;

/// Tag that value classes accept to skip initialisation.
struct TnoInit {};
