// Carry-less-multiplication path of Tcrc32: folds 64 bytes per step in four
// independent 128-bit lanes, then reduces to 32 bits with a Barrett step.
// The fold constants are x^n mod P for the reflected polynomial, bit-reversed
// and shifted one place as the reflected domain requires.

#include "grundel/core/Tcrc32_p.h"

#if defined(__x86_64__) || defined(__i386__)

#include <cpuid.h>
#include <immintrin.h>

namespace grundel::detail {

bool crc32HaveClmul() noexcept {
    unsigned int a = 0, b = 0, c = 0, d = 0;
    if (!__get_cpuid(1, &a, &b, &c, &d))
        return false;
    return (c & bit_PCLMUL) && (c & bit_SSE4_1);
}

#define GRUNDEL_CLMUL_TARGET __attribute__((target("pclmul,sse4.1")))

namespace {

GRUNDEL_CLMUL_TARGET inline __m128i fold(__m128i x, __m128i k, __m128i next) noexcept {
    const __m128i lo = _mm_clmulepi64_si128(x, k, 0x00);
    const __m128i hi = _mm_clmulepi64_si128(x, k, 0x11);
    return _mm_xor_si128(_mm_xor_si128(lo, hi), next);
}

GRUNDEL_CLMUL_TARGET inline __m128i load(const unsigned char* p) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

} // namespace

GRUNDEL_CLMUL_TARGET
TuInt32 crc32Clmul(TuInt32 crc, const unsigned char* p, std::size_t n) noexcept {
    if (n < kCrc32ClmulMinimum)
        return crc32Tables(crc, p, n);

    // x^(512+32), x^(512-32) mod P: fold across four lanes.
    const __m128i k1k2 = _mm_set_epi64x(0x1c6e41596, 0x154442bd4);
    // x^(128+32), x^(128-32) mod P: fold one lane into the next.
    const __m128i k3k4 = _mm_set_epi64x(0x0ccaa009e, 0x1751997d0);
    // x^64 mod P: the last 64 to 32 bits.
    const __m128i k5 = _mm_set_epi64x(0, 0x163cd6124);
    // Barrett constants: P' and mu = x^64 / P.
    const __m128i poly = _mm_set_epi64x(0x1F7011641, 0x1DB710641);
    const __m128i mask32 = _mm_set_epi32(0, 0, 0, -1);

    __m128i x0 = _mm_xor_si128(load(p), _mm_cvtsi32_si128(static_cast<int>(crc)));
    __m128i x1 = load(p + 16);
    __m128i x2 = load(p + 32);
    __m128i x3 = load(p + 48);
    p += 64;
    n -= 64;
    for (; n >= 64; p += 64, n -= 64) {
        x0 = fold(x0, k1k2, load(p));
        x1 = fold(x1, k1k2, load(p + 16));
        x2 = fold(x2, k1k2, load(p + 32));
        x3 = fold(x3, k1k2, load(p + 48));
    }
    __m128i x = fold(x0, k3k4, x1);
    x = fold(x, k3k4, x2);
    x = fold(x, k3k4, x3);
    for (; n >= 16; p += 16, n -= 16)
        x = fold(x, k3k4, load(p));

    // 128 to 64 bits (appending the 32 zero bits a CRC implies).
    x = _mm_xor_si128(_mm_srli_si128(x, 8), _mm_clmulepi64_si128(x, k3k4, 0x10));
    // 64 to 32 bits.
    const __m128i high = _mm_srli_si128(x, 4);
    x = _mm_xor_si128(_mm_clmulepi64_si128(_mm_and_si128(x, mask32), k5, 0x00), high);
    // Barrett reduction of the reflected 64-bit remainder.
    __m128i t = _mm_clmulepi64_si128(_mm_and_si128(x, mask32), poly, 0x10);
    t = _mm_clmulepi64_si128(_mm_and_si128(t, mask32), poly, 0x00);
    crc = static_cast<TuInt32>(_mm_extract_epi32(_mm_xor_si128(x, t), 1));

    return n ? crc32Tables(crc, p, n) : crc;
}

} // namespace grundel::detail

#else

namespace grundel::detail {

bool crc32HaveClmul() noexcept { return false; }

TuInt32 crc32Clmul(TuInt32 crc, const unsigned char* p, std::size_t n) noexcept {
    return crc32Tables(crc, p, n);
}

} // namespace grundel::detail

#endif
