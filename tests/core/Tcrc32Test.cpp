#include "grundel/core/Tcrc32.h"

#include "grundel/core/Tcrc32_p.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#if GRUNDEL_TEST_HAVE_ZLIB
#include <zlib.h>
#endif

namespace {

using Path = TuInt32 (*)(TuInt32, const unsigned char*, std::size_t);

// The CRC register bit by bit, as the polynomial defines it.
TuInt32 bitwise(TuInt32 crc, const unsigned char* p, std::size_t n) {
    while (n--) {
        crc ^= *p++;
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1)));
    }
    return crc;
}

std::vector<unsigned char> randomBytes(std::size_t n, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<unsigned char> v(n);
    for (auto& b : v)
        b = static_cast<unsigned char>(rng());
    return v;
}

// Every way of computing the CRC that this processor can run.
std::vector<std::pair<const char*, Path>> paths() {
    std::vector<std::pair<const char*, Path>> p = {
        {"tables", &grundel::detail::crc32Tables},
        {"dispatch", [](TuInt32 c, const unsigned char* b, std::size_t n) { return Tcrc32::continueCalc(c, b, n); }}};
    if (grundel::detail::crc32HaveClmul())
        p.push_back({"clmul", &grundel::detail::crc32Clmul});
    return p;
}

// Lengths around every boundary of the paths: bytes, 8-byte steps, 16-byte
// folds, 64-byte blocks, and a few long buffers.
std::vector<std::size_t> lengths() {
    std::vector<std::size_t> v;
    for (std::size_t n = 0; n <= 300; ++n)
        v.push_back(n);
    for (std::size_t n : {1023u, 4096u, 4097u, 65536u + 15u, (1u << 20) + 7u})
        v.push_back(n);
    return v;
}

} // namespace

TEST(Tcrc32, KnownValues) {
    EXPECT_EQ(Tcrc32::startingCRC(), 0xFFFFFFFFu);
    EXPECT_EQ(Tcrc32::calc("123456789", 9), 0x340BC6D9u); // standard 0xCBF43926, not inverted
    EXPECT_EQ(Tcrc32::calc(nullptr, 0), 0xFFFFFFFFu);
    EXPECT_EQ(Tcrc32::continueCalc(0x12345678u, nullptr, 0), 0x12345678u);
}

#ifndef NDEBUG
TEST(Tcrc32DeathTest, NullBytesWithALengthIsAProgrammingError) {
    EXPECT_DEATH(Tcrc32::calc(nullptr, 4), "");
}
#endif

TEST(Tcrc32, EveryPathAgreesWithTheDefinitionAndZlib) {
    const std::vector<unsigned char> data = randomBytes((1u << 20) + 64, 1);
    for (const auto& [name, path] : paths()) {
        for (std::size_t n : lengths()) {
            const std::size_t offset = n % 13; // unaligned starts too
            const unsigned char* p = data.data() + offset;
            const TuInt32 start = n % 3 == 0 ? 0xFFFFFFFFu : 0x9E3779B9u * TuInt32(n);
            const TuInt32 got = path(start, p, n);
            if (n <= 4097) {
                ASSERT_EQ(got, bitwise(start, p, n)) << name << " length " << n;
            }
#if GRUNDEL_TEST_HAVE_ZLIB
            // zlib inverts on entry and exit.
            const auto zlib = crc32(~start, p, static_cast<uInt>(n));
            ASSERT_EQ(got, static_cast<TuInt32>(~zlib)) << name << " length " << n;
#endif
        }
    }
}

TEST(Tcrc32, ContinueCalcChainsPieces) {
    const std::vector<unsigned char> data = randomBytes(5000, 2);
    const TuInt32 whole = Tcrc32::calc(data.data(), data.size());
    for (std::size_t cut : {0u, 1u, 7u, 63u, 64u, 65u, 1000u, 4999u, 5000u}) {
        const TuInt32 head = Tcrc32::calc(data.data(), cut);
        EXPECT_EQ(Tcrc32::continueCalc(head, data.data() + cut, data.size() - cut), whole) << cut;
    }
    TuInt32 crc = Tcrc32::startingCRC();
    for (std::size_t at = 0; at < data.size(); at += 97)
        crc = Tcrc32::continueCalc(crc, data.data() + at, std::min<std::size_t>(97, data.size() - at));
    EXPECT_EQ(crc, whole);
}

TEST(Tcrc32, FixedWidthFormsEqualCalc) {
    const std::vector<unsigned char> data = randomBytes(4096 + 8, 3);
    for (std::size_t i = 0; i < 4096; ++i) {
        ASSERT_EQ(Tcrc32::calc4(&data[i]), Tcrc32::calc(&data[i], 4)) << i;
        ASSERT_EQ(Tcrc32::calc8(&data[i]), Tcrc32::calc(&data[i], 8)) << i;
    }
}
