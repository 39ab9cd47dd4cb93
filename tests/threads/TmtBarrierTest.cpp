#include "grundel/threads/TmtBarrier.h"

#include "ThreadTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>

using namespace threadtest;

TEST(TmtBarrier, HoldsEveryRoundUntilAllHaveArrived) {
    constexpr int kThreads = 3, kRounds = 6;
    struct Shared {
        TmtBarrier barrier{kThreads};
        std::atomic<int> arrived[kRounds] = {}, filled[kRounds] = {}, early{0};
    } s;
    TmtThreadPtrArray team;
    TmtThreadPool::getPool()->startJob(
        [](TmtThreadInfo* info) {
            auto* s = static_cast<Shared*>(info->fUserData);
            for (int round = 0; round < kRounds; ++round) {
                ++s->arrived[round];
                if (s->barrier.enter())
                    ++s->filled[round];
                if (s->arrived[round].load() != kThreads)
                    ++s->early;  // passed before the round was full
            }
        },
        &s, team, kThreads);
    TmtThreadPool::getPool()->endJob(team);
    EXPECT_EQ(s.early.load(), 0);
    for (int round = 0; round < kRounds; ++round)
        EXPECT_EQ(s.filled[round].load(), 1) << "round " << round;
    EXPECT_EQ(s.barrier.generation(), TuInt32(kRounds));
}

TEST(TmtBarrier, ReleaseAllAndResetLetWaitersGo) {
    TmtBarrier barrier(3);
    Latch passed;
    std::atomic<int> filled{0};
    TmtThread* a = launch([&](TmtThreadInfo*) { filled += barrier.enter(), passed.add(); });
    TmtThread* b = launch([&](TmtThreadInfo*) { filled += barrier.enter(), passed.add(); });
    ASSERT_TRUE(eventually([&] { return barrier.arrived() == 2; }));
    EXPECT_TRUE(barrier.releaseAll());
    ASSERT_TRUE(passed.waitFor(2));
    EXPECT_EQ(filled.load(), 0);
    EXPECT_FALSE(barrier.releaseAll());
    a->shutdown(true);
    b->shutdown(true);
    barrier.reset(0);  // below 1: everyone passes at once
    EXPECT_EQ(barrier.count(), 1);
    EXPECT_TRUE(barrier.enter());
}
