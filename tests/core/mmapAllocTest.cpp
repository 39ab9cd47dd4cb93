#include "grundel/core/mmapAlloc.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

TEST(mmapAlloc, BlocksArePageAlignedZeroedAndKeepTheirBytes) {
    const TmmapStatistics before = mmapStatistics("test blocks");
    auto* p = static_cast<unsigned char*>(mmapAlloc(10000, "test blocks"));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 4096, 0u);
    EXPECT_EQ(p[9999], 0);
    EXPECT_EQ(mmapSize(p), 10000u);
    std::memset(p, 0x5A, 10000);
    EXPECT_EQ(mmapStatistics("test blocks").bytes, before.bytes + 10000);

    // Growth either happens in place or not at all.
    if (mmapGrow(p, 50000)) {
        EXPECT_EQ(mmapSize(p), 50000u);
    }
    auto* q = static_cast<unsigned char*>(mmapRealloc(p, 300000, "test blocks"));
    ASSERT_NE(q, nullptr);
    EXPECT_EQ(q[0], 0x5A);
    EXPECT_EQ(q[9999], 0x5A);
    EXPECT_EQ(mmapSize(q), 300000u);
    EXPECT_TRUE(mmapGrow(q, 5000)); // shrinking is always in place
    EXPECT_EQ(mmapStatistics("test blocks").bytes, before.bytes + 5000);
    EXPECT_GE(mmapStatistics("test blocks").peakBytes, before.bytes + 300000);
    EXPECT_TRUE(mmapFree(q));
    EXPECT_EQ(mmapStatistics("test blocks").blocks, before.blocks);
}

TEST(mmapAlloc, RefusesWhatItDidNotHandOut) {
    int local = 0;
    EXPECT_EQ(mmapAlloc(0, "test blocks"), nullptr);
    EXPECT_FALSE(mmapFree(&local));
    EXPECT_TRUE(mmapFree(nullptr));
    EXPECT_FALSE(mmapGrow(&local, 100));
    EXPECT_EQ(mmapRealloc(&local, 100, "test blocks"), nullptr);
    EXPECT_EQ(mmapSize(&local), 0u);
    EXPECT_EQ(mmapAlloc(SIZE_MAX, "test blocks"), nullptr);
    void* p = mmapAlloc(100, "test blocks");
    EXPECT_EQ(mmapRealloc(p, SIZE_MAX - 100, "test blocks"), nullptr);
    EXPECT_EQ(mmapSize(p), 100u); // untouched
    EXPECT_TRUE(mmapFree(p));
    EXPECT_FALSE(mmapFree(p));
}

TEST(mmapAlloc, ThreadsShareTheAllocator) {
    const TmmapStatistics before = mmapStatistics("test threads");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < 200; ++i) {
                auto* p = static_cast<int*>(mmapAlloc(70000, "test threads"));
                ASSERT_NE(p, nullptr);
                p[0] = t;
                p = static_cast<int*>(mmapRealloc(p, 140000 + i * 4096, "test threads"));
                ASSERT_NE(p, nullptr);
                ASSERT_EQ(p[0], t);
                ASSERT_TRUE(mmapFree(p));
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    const TmmapStatistics after = mmapStatistics("test threads");
    EXPECT_EQ(after.blocks, before.blocks);
    EXPECT_EQ(after.bytes, before.bytes);
}

namespace {

constexpr std::size_t kPage = 4096;

// Starts each test with no spares and the limit given, and puts the
// allocator's own limit back afterwards.
class SpareMappings : public ::testing::Test {
protected:
    void SetUp() override {
        mmapReleaseSpares();
        fLimit = mmapSetSpareLimit(std::size_t(16) << 20);
    }
    void TearDown() override {
        mmapReleaseSpares();
        (void)mmapSetSpareLimit(fLimit);
    }
    std::size_t fLimit = 0;
};

bool allBytes(const unsigned char* p, std::size_t n, unsigned char value) {
    for (std::size_t i = 0; i < n; ++i)
        if (p[i] != value)
            return false;
    return true;
}

} // namespace

TEST_F(SpareMappings, ReleasedPagesComeBackClearedOnlyWhenAsked) {
    const std::size_t n = 20 * kPage + 100;
    const TmmapStatistics before = mmapStatistics("test spares");
    auto* p = static_cast<unsigned char*>(mmapAlloc(n, "test spares"));
    ASSERT_NE(p, nullptr);
    std::memset(p, 0xA5, n);
    ASSERT_TRUE(mmapFree(p));
    EXPECT_EQ(mmapSpareBytes(), 21 * kPage);
    EXPECT_EQ(mmapStatistics("test spares").blocks, before.blocks); // spares are not in use

    auto* q = static_cast<unsigned char*>(mmapAllocUncleared(n, "test spares"));
    EXPECT_EQ(q, p);
    EXPECT_EQ(mmapSpareBytes(), 0u);
    EXPECT_TRUE(allBytes(q, n, 0xA5));
    EXPECT_EQ(mmapSize(q), n);
    EXPECT_EQ(mmapStatistics("test spares").bytes, before.bytes + n);
    ASSERT_TRUE(mmapFree(q));

    // Zeroed up to the end of the last page, which growth in place exposes.
    auto* r = static_cast<unsigned char*>(mmapAlloc(n - 50, "test spares"));
    EXPECT_EQ(r, p);
    EXPECT_TRUE(allBytes(r, 21 * kPage, 0));
    EXPECT_TRUE(mmapFree(r));
    EXPECT_FALSE(mmapFree(r)); // a spare is no longer a block
    EXPECT_EQ(mmapSize(r), 0u);
}

TEST_F(SpareMappings, SizesWithinAFactorOfTwoAreTrimmedOrGrown) {
    void* p = mmapAllocUncleared(32 * kPage, "test spares");
    ASSERT_NE(p, nullptr);
    ASSERT_TRUE(mmapFree(p));
    // Too small and too large a request leave the spare alone.
    auto* tiny = static_cast<unsigned char*>(mmapAlloc(15 * kPage, "test spares"));
    void* huge = mmapAlloc(66 * kPage, "test spares");
    ASSERT_TRUE(tiny && huge);
    EXPECT_NE(static_cast<void*>(tiny), p);
    EXPECT_NE(huge, p);
    EXPECT_EQ(mmapSpareBytes(), 32 * kPage);
    mmapReleaseSpares();
    std::memset(tiny, 0x33, 15 * kPage);
    ASSERT_TRUE(mmapFree(huge));
    ASSERT_TRUE(mmapFree(tiny));

    // The larger spare trimmed, its tail returned.
    void* trimmed = mmapAllocUncleared(34 * kPage, "test spares");
    EXPECT_EQ(trimmed, huge);
    EXPECT_EQ(mmapSpareBytes(), 15 * kPage);
    ASSERT_TRUE(mmapFree(trimmed));
    // A spare that holds the block wins over a smaller one.
    void* held = mmapAllocUncleared(24 * kPage, "test spares");
    EXPECT_EQ(held, huge);
    EXPECT_EQ(mmapSpareBytes(), 15 * kPage);
    // Only a smaller one left: grown, its bytes kept, the new pages fresh.
    auto* grown = static_cast<unsigned char*>(mmapAllocUncleared(20 * kPage, "test spares"));
    ASSERT_NE(grown, nullptr);
    EXPECT_EQ(mmapSpareBytes(), 0u);
    EXPECT_TRUE(allBytes(grown, 15 * kPage, 0x33));
    EXPECT_TRUE(allBytes(grown + 15 * kPage, 5 * kPage, 0));
    EXPECT_TRUE(mmapGrow(grown, 8 * kPage)); // its block behaves as any other
    EXPECT_TRUE(mmapFree(grown));
    EXPECT_TRUE(mmapFree(held));
    EXPECT_EQ(mmapSpareBytes(), 32 * kPage);
}

TEST_F(SpareMappings, TheLimitKeepsTheNewest) {
    (void)mmapSetSpareLimit(50 * kPage);
    void* blocks[4];
    for (void*& b : blocks)
        b = mmapAlloc(20 * kPage, "test spares");
    for (void* b : blocks)
        ASSERT_TRUE(mmapFree(b));
    EXPECT_EQ(mmapSpareBytes(), 40 * kPage);
    EXPECT_EQ(mmapAllocUncleared(20 * kPage, "test spares"), blocks[3]);
    EXPECT_EQ(mmapAllocUncleared(20 * kPage, "test spares"), blocks[2]);
    EXPECT_EQ(mmapSpareBytes(), 0u);
    ASSERT_TRUE(mmapFree(blocks[2]));
    ASSERT_TRUE(mmapFree(blocks[3]));

    // A block larger than the limit is not kept; lowering the limit
    // releases the oldest; no more than a few mappings are kept.
    void* big = mmapAlloc(60 * kPage, "test spares");
    ASSERT_TRUE(mmapFree(big));
    EXPECT_EQ(mmapSpareBytes(), 40 * kPage);
    EXPECT_EQ(mmapSetSpareLimit(30 * kPage), 50 * kPage);
    EXPECT_EQ(mmapSpareBytes(), 20 * kPage);
    EXPECT_EQ(mmapAllocUncleared(20 * kPage, "test spares"), blocks[3]);
    (void)mmapSetSpareLimit(0);
    ASSERT_TRUE(mmapFree(blocks[3]));
    EXPECT_EQ(mmapSpareBytes(), 0u);

    (void)mmapSetSpareLimit(std::size_t(16) << 20);
    std::vector<void*> many;
    for (int i = 0; i < 20; ++i)
        many.push_back(mmapAlloc(kPage, "test spares"));
    for (void* b : many)
        ASSERT_TRUE(mmapFree(b));
    EXPECT_GT(mmapSpareBytes(), 0u);
    EXPECT_LE(mmapSpareBytes(), 8 * kPage);
}

TEST_F(SpareMappings, ThreadsNeverShareASpare) {
    // Every thread fills its block and checks it before letting it go: a
    // spare handed to two threads at once shows as another's bytes.
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            const auto mark = static_cast<unsigned char>(0x30 + t);
            for (int i = 0; i < 300; ++i) {
                const std::size_t n = (16 + std::size_t((i * 7 + t) % 24)) * kPage;
                auto* p = static_cast<unsigned char*>(i % 2 ? mmapAlloc(n, "test spares")
                                                            : mmapAllocUncleared(n, "test spares"));
                ASSERT_NE(p, nullptr);
                if (i % 2) {
                    ASSERT_TRUE(allBytes(p, n, 0));
                }
                std::memset(p, mark, n);
                std::this_thread::yield();
                ASSERT_TRUE(allBytes(p, n, mark));
                ASSERT_TRUE(mmapFree(p));
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_LE(mmapSpareBytes(), std::size_t(16) << 20);
}
