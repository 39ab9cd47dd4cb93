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
