#include "grundel/color/Thammersley.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <thread>
#include <vector>

namespace {

constexpr unsigned kPrimes[] = {2,  3,  5,  7,  11, 13, 17, 19, 23, 29,  31,  37,  41,  43,  47,  53,
                                59, 61, 67, 71, 73, 79, 83, 89, 97, 101, 103, 107, 109, 113, 127, 131};

TuInt32 reverse24(TuInt32 i) {
    TuInt32 r = 0;
    for (int bit = 0; bit < 24; ++bit, i >>= 1)
        r = r << 1 | (i & 1);
    return r;
}

// The scrambled radical inverse of i, every digit at once, in double.
double radicalInverse(TuInt64 i, unsigned b, const std::vector<unsigned>& sigma) {
    double x = 0, weight = 1.0 / b;
    for (; i; i /= b, weight /= b)
        x += sigma[i % b] * weight;
    return x;
}

} // namespace

TEST(Thammersley2, ValueIsBitReversal) {
    const Thammersley2 h;
    for (TuInt32 i = 0; i < (1u << 24); ++i)
        ASSERT_EQ(h.value(i), static_cast<float>(reverse24(i)) * 0x1p-24f) << i;
    EXPECT_EQ(h.value(4096), 0.00012207031f);
    // Indices beyond 24 bits repeat the sequence.
    EXPECT_EQ(h.value(1u << 24), 0.0f);
    EXPECT_EQ(h.value(0xFFFFFFFFu), h.value(0xFFFFFFu));
    EXPECT_EQ(Thammersley2::maxDigits(), 24u);
}

TEST(Thammersley2, NextWrapsAfterTwoToTheBits) {
    Thammersley2 one(1);
    EXPECT_EQ(one.next(), 0.5f);
    EXPECT_EQ(one.next(), 0.0f);
    EXPECT_EQ(one.next(), 0.5f);

    Thammersley2 three(3);
    std::vector<float> seen;
    for (int k = 0; k < 9; ++k)
        seen.push_back(three.next());
    EXPECT_EQ(seen, (std::vector<float>{0.5f, 0.25f, 0.75f, 0.125f, 0.625f, 0.375f, 0.875f, 0.0f, 0.5f}));

    Thammersley2 none(0);
    EXPECT_EQ(none.next(), 0.0f);
    EXPECT_EQ(none.next(), 0.0f);

    Thammersley2 wide(40);
    EXPECT_EQ(wide.bits(), 24u);
    EXPECT_EQ(wide.next(), 0.5f);
}

TEST(Thammersley, BoundsOfTheTables) {
    EXPECT_EQ(Thammersley::maxEntry(2), 16777216u);
    EXPECT_EQ(Thammersley::maxDigits(2), Thammersley2::maxDigits());
    EXPECT_EQ(Thammersley::maxEntry(3), 2187u * 2187u);
    EXPECT_EQ(Thammersley::maxDigits(3), 14u);
    EXPECT_EQ(Thammersley::maxEntry(64), 4096u * 4096u);
    EXPECT_EQ(Thammersley::maxEntry(61), 3721u * 3721u);
    EXPECT_EQ(Thammersley::maxEntry(67), 67u * 67u);
    EXPECT_EQ(Thammersley::maxDigits(131), 2u);
    EXPECT_EQ(Thammersley::maxEntry(4000000000u), 4000000000ull * 4000000000ull);
    for (unsigned b : {0u, 1u}) {
        EXPECT_EQ(Thammersley::maxEntry(b), 0u);
        EXPECT_EQ(Thammersley::maxDigits(b), 0u);
    }
}

TEST(Thammersley, SelectorsArePrimes) {
    for (unsigned s = 0; s < Thammersley::baseCount; ++s)
        EXPECT_EQ(Thammersley(s, 1).base(), kPrimes[s]);
    const Thammersley beyond(32, 1);
    EXPECT_EQ(beyond.baseSelector(), 31u);
    EXPECT_EQ(beyond.base(), 131u);
}

TEST(Thammersley, KnownDigitPermutations) {
    // Single-digit indices give sigma_b(k) / b.
    const std::vector<std::vector<unsigned>> known = {
        {0, 1}, {0, 1, 2}, {0, 3, 2, 1, 4}, {0, 2, 5, 3, 1, 4, 6}, {0, 7, 4, 2, 9, 5, 1, 8, 6, 3, 10}};
    for (std::size_t s = 0; s < known.size(); ++s) {
        const Thammersley h(static_cast<unsigned>(s), 1);
        std::vector<unsigned> seen;
        for (unsigned k = 0; k < h.base(); ++k)
            seen.push_back(static_cast<unsigned>(std::lround(h.value(k) * h.base())));
        EXPECT_EQ(seen, known[s]) << "base " << h.base();
    }
}

TEST(Thammersley, ValuesAreScrambledRadicalInverses) {
    for (unsigned s = 0; s < Thammersley::baseCount; ++s) {
        const Thammersley h(s, 1);
        const unsigned b = h.base();
        // The digit permutation as the single-digit values give it.
        std::vector<unsigned> sigma;
        for (unsigned k = 0; k < b; ++k)
            sigma.push_back(static_cast<unsigned>(std::lround(h.value(k) * b)));
        std::vector<unsigned> digits = sigma;
        std::sort(digits.begin(), digits.end());
        for (unsigned k = 0; k < b; ++k)
            ASSERT_EQ(digits[k], k) << "base " << b << ": not a permutation";
        const auto limit = static_cast<TuInt32>(Thammersley::maxEntry(b));
        const auto count = static_cast<TuInt32>(std::lround(std::sqrt(limit)));
        // The first values, both sides of the table size, and the last ones.
        for (TuInt32 first : {0u, count > 100 ? count - 100 : 0u, limit > 2000 ? limit - 2000 : 0u})
            for (TuInt32 i = first; i < std::min(first + 2000, limit); ++i)
                ASSERT_NEAR(h.value(i), radicalInverse(i, b, sigma), 3e-7) << "base " << b << " index " << i;
        // Past the last exact index the sequence repeats.
        EXPECT_EQ(h.value(limit), h.value(0));
        EXPECT_EQ(h.value(0xFFFFFFFFu), h.value(0xFFFFFFFFu % limit));
    }
}

TEST(Thammersley, NextCyclesThroughThePeriod) {
    Thammersley five(1, 5);
    EXPECT_EQ(five.period(), 5u);
    std::vector<float> seen;
    for (int k = 0; k < 6; ++k)
        seen.push_back(five.next());
    EXPECT_EQ(seen, (std::vector<float>{five.value(1), five.value(2), five.value(3), five.value(4), 0.0f,
                                        five.value(1)}));
    for (unsigned period : {0u, 1u}) {
        Thammersley h(4, period);
        EXPECT_EQ(h.period(), period);
        EXPECT_EQ(h.next(), h.value(0));
        EXPECT_EQ(h.next(), h.value(0));
    }
}

TEST(Thammersley, FirstConstructionsRace) {
    // The tables are built once, whichever thread constructs first.
    std::vector<std::thread> threads;
    std::vector<float> sums(4);
    for (std::size_t t = 0; t < sums.size(); ++t)
        threads.emplace_back([&sums, t] {
            Thammersley h(static_cast<unsigned>(t), 1000);
            Thammersley2 h2(10);
            float sum = 0;
            for (int k = 0; k < 1000; ++k)
                sum += h.next() + h2.next();
            sums[t] = sum;
        });
    for (std::thread& t : threads)
        t.join();
    for (float sum : sums)
        EXPECT_GT(sum, 0.0f);
}
