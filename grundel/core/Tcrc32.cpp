#include "grundel/core/Tcrc32.h"

#include "grundel/core/Tcrc32_p.h"

#include <cassert>
#include <cstring>

namespace grundel::detail {

namespace {

struct Tcrc32TableSet {
    TuInt32 t[8][256];
};

constexpr Tcrc32TableSet makeTables() noexcept {
    Tcrc32TableSet s{};
    for (TuInt32 i = 0; i < 256; ++i) {
        TuInt32 c = i;
        for (int bit = 0; bit < 8; ++bit)
            c = (c & 1) ? (c >> 1) ^ 0xEDB88320u : c >> 1;
        s.t[0][i] = c;
    }
    for (int k = 1; k < 8; ++k)
        for (int i = 0; i < 256; ++i)
            s.t[k][i] = (s.t[k - 1][i] >> 8) ^ s.t[0][s.t[k - 1][i] & 0xFF];
    return s;
}

constexpr Tcrc32TableSet kTableSet = makeTables();
static_assert(kTableSet.t[0][1] == 0x77073096u, "byte table of polynomial 0xEDB88320");

inline TuInt32 load32(const unsigned char* p) noexcept {
    TuInt32 v;
    std::memcpy(&v, p, 4);
    return v; // little-endian on every target of this library
}

// Four bytes already XORed into the register, one lookup per byte.
inline TuInt32 fold4(TuInt32 c) noexcept {
    const auto& t = kTableSet.t;
    return t[3][c & 0xFF] ^ t[2][(c >> 8) & 0xFF] ^ t[1][(c >> 16) & 0xFF] ^ t[0][c >> 24];
}

inline TuInt32 fold8(TuInt32 lo, TuInt32 hi) noexcept {
    const auto& t = kTableSet.t;
    return t[7][lo & 0xFF] ^ t[6][(lo >> 8) & 0xFF] ^ t[5][(lo >> 16) & 0xFF] ^ t[4][lo >> 24] ^
           t[3][hi & 0xFF] ^ t[2][(hi >> 8) & 0xFF] ^ t[1][(hi >> 16) & 0xFF] ^ t[0][hi >> 24];
}

} // namespace

TuInt32 crc32Tables(TuInt32 crc, const unsigned char* p, std::size_t n) noexcept {
    for (; n >= 8; p += 8, n -= 8)
        crc = fold8(crc ^ load32(p), load32(p + 4));
    const auto& t0 = kTableSet.t[0];
    for (; n > 0; ++p, --n)
        crc = (crc >> 8) ^ t0[(crc ^ *p) & 0xFF];
    return crc;
}

} // namespace grundel::detail

namespace {
// Read before this file's dynamic initialisation (from another file's static
// constructor) it is still false, which only means the portable path.
const bool gUseClmul = grundel::detail::crc32HaveClmul();
} // namespace

TuInt32 Tcrc32::continueCalc(TuInt32 crc, const void* bytes, std::size_t length) noexcept {
    assert(bytes || length == 0);
    const auto* p = static_cast<const unsigned char*>(bytes);
    if (length >= grundel::detail::kCrc32ClmulMinimum && gUseClmul)
        return grundel::detail::crc32Clmul(crc, p, length);
    return length ? grundel::detail::crc32Tables(crc, p, length) : crc;
}

TuInt32 Tcrc32::calc4(const void* fourBytes) noexcept {
    using namespace grundel::detail;
    return fold4(startingCRC() ^ load32(static_cast<const unsigned char*>(fourBytes)));
}

TuInt32 Tcrc32::calc8(const void* eightBytes) noexcept {
    using namespace grundel::detail;
    const auto* p = static_cast<const unsigned char*>(eightBytes);
    return fold8(startingCRC() ^ load32(p), load32(p + 4));
}
