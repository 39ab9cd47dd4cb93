#include "grundel/threads/TmtThreadPool.h"

#include "ThreadTestSupport.h"
#include "grundel/core/TresourceQuery.h"

#include <gtest/gtest.h>

#include <atomic>

using namespace threadtest;

TEST(TmtThreadPool, IsOneObjectWithARecordOfItsMakingThread) {
    TmtThreadPool* pool = TmtThreadPool::getPool();
    EXPECT_EQ(TmtThreadPool::getPool(), pool);
    TmtThread* main = pool->findThread(TmtThread::currentThreadID());
    ASSERT_NE(main, nullptr);
    EXPECT_EQ(main->status(), TmtThread::kThreadRunning);
    EXPECT_FALSE(main->terminate());
    EXPECT_EQ(pool->numThreads(), 1);
    const int cpus = TresourceQuery::getNumberOfCPUs();
    EXPECT_EQ(TmtThreadPool::maxNumberOfThreads(), cpus < 2 ? 10 : 8 * cpus);
}

TEST(TmtThreadPool, ThreadRunsOnlyOnceRegisteredAndLeavesWithItsLastReference) {
    TmtThreadPool* pool = TmtThreadPool::getPool();
    TmtThread* listed = nullptr;
    TmtThread* t = launch([&](TmtThreadInfo*) { listed = pool->findThread(TmtThread::currentThreadID()); });
    ASSERT_TRUE(t->join(kBoundMs));
    EXPECT_EQ(listed, t);
    const TuInt32 id = t->threadID();
    EXPECT_EQ(pool->findThread(id), t);
    t->shutdown(true);
    EXPECT_EQ(pool->findThread(id), nullptr);

    Latch stop;
    t = launch([&](TmtThreadInfo*) { stop.waitFor(); });
    EXPECT_TRUE(pool->removeThread(t));
    EXPECT_FALSE(pool->removeThread(t));
    EXPECT_EQ(pool->numThreads(), 1);
    EXPECT_EQ(t->status(), TmtThread::kThreadRunning);  // out of the list, alive
    stop.add();
    EXPECT_TRUE(t->shutdown(true));
}

TEST(TmtThreadPool, StartJobAndEndJob) {
    TmtThreadPool* pool = TmtThreadPool::getPool();
    std::atomic<int> runs{0};
    TmtThreadPtrArray team;
    auto count = [](TmtThreadInfo* info) { ++*static_cast<std::atomic<int>*>(info->fUserData); };
    EXPECT_EQ(pool->startJob(count, &runs, team, 3), 3);
    ASSERT_EQ(team.length(), 3u);
    pool->endJob(team);
    EXPECT_TRUE(team.isEmpty());
    EXPECT_EQ(runs.load(), 3);
    EXPECT_EQ(TmtThread::numSpawnedThreads(), 0);
    // 0 is one thread per processor the process may use; below 0, none.
    EXPECT_EQ(pool->startJob(count, &runs, team, 0), TresourceQuery::getNumberOfUnrestrictedCPUs());
    pool->endJob(team);
    EXPECT_EQ(pool->startJob(count, &runs, team, -4), 0);
}

TEST(TmtThreadPool, ShutdownPoolEndsEveryThreadAndTheNextUseStartsAnew) {
    TmtThreadPool* pool = TmtThreadPool::getPool();
    Latch stop, unwound;
    TmtThread* willing = launch([&](TmtThreadInfo*) { stop.waitFor(); });
    willing->setShutdownProc([](TmtThread*, void* l) { static_cast<Latch*>(l)->add(); }, &stop);
    launch([&](TmtThreadInfo*) {
        struct OnExit {
            Latch& l;
            ~OnExit() { l.add(); }
        } onExit{unwound};
        blockUntilCancelled();
    });
    EXPECT_EQ(pool->numThreads(), 3);
    pool->shutdownPool();  // takes over the creator's references
    EXPECT_TRUE(unwound.waitFor());
    EXPECT_TRUE(eventually([] { return TmtThread::numSpawnedThreads() == 0; }));
    TmtThreadPool* fresh = TmtThreadPool::getPool();
    EXPECT_EQ(fresh->numThreads(), 1);
    EXPECT_NE(fresh->findThread(TmtThread::currentThreadID()), nullptr);
}
