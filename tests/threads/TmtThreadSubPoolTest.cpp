#include "grundel/threads/TmtThreadSubPool.h"

#include "ThreadTestSupport.h"

#include <gtest/gtest.h>

#include <set>

using namespace threadtest;

namespace {

struct Job {
    Latch runs;
    std::mutex lock;
    std::set<TmtThread*> threads;  // the workers that ran it
    int status = -1;
};

void countRun(TmtThreadInfo* info) {
    auto* job = static_cast<Job*>(info->fUserData);
    {
        std::lock_guard<std::mutex> lock(job->lock);
        job->threads.insert(info->fThread);
        job->status = info->fThread->status();
    }
    job->runs.add();
}

/// The runs once the job ran target times and the team is idle again: any
/// extra run would have happened by then.
int settledRuns(TmtThreadSubPool& pool, Job& job, int target) {
    EXPECT_TRUE(job.runs.waitFor(target));
    EXPECT_TRUE(eventually([&] { return pool.idleCount() == int(pool.length()); }));
    return job.runs.value();
}

struct Blocking {
    Latch started, release, finished;
};

void blockingRun(TmtThreadInfo* info) {
    auto* job = static_cast<Blocking*>(info->fUserData);
    job->started.add();
    job->release.waitFor();
    job->finished.add();
}

void noRun(TmtThreadInfo*) { ADD_FAILURE() << "a closed sub-pool ran a job"; }

} // namespace

TEST(TmtThreadSubPool, RunsAJobExactlyCountTimes) {
    TmtThreadSubPool pool;
    ASSERT_TRUE(pool.initPool(2));
    ASSERT_TRUE(eventually([&] { return pool.idleCount() == 2; }));
    EXPECT_EQ(pool[0]->status(), TmtThread::kThreadIdle);
    Job job;
    EXPECT_EQ(pool.execute(&countRun, &job, 2), 2);
    EXPECT_EQ(settledRuns(pool, job, 2), 2);
    EXPECT_EQ(job.status, TmtThread::kThreadRunning);
    // More runs than workers: the surplus stays on the semaphore, and the
    // workers take it as they come back.
    Job more;
    EXPECT_EQ(pool.execute(&countRun, &more, 7), 7);
    EXPECT_EQ(settledRuns(pool, more, 7), 7);
    for (TmtThread* t : more.threads)
        EXPECT_TRUE(t == pool[0] || t == pool[1]);
}

TEST(TmtThreadSubPool, ReinitialisingKeepsOrReplacesTheTeam) {
    TmtThreadSubPool pool;
    ASSERT_TRUE(pool.initPool(2));
    TmtThread* first = pool[0];
    EXPECT_TRUE(pool.initPool(2));
    EXPECT_EQ(pool[0], first);
    ASSERT_TRUE(pool.initPool(3));
    EXPECT_EQ(TmtThread::numSpawnedThreads(), 3);
    Job job;
    pool.execute(&countRun, &job, 3);
    EXPECT_EQ(settledRuns(pool, job, 3), 3);
    ASSERT_TRUE(pool.initPool(1));
    Job again;
    pool.execute(&countRun, &again, 2);
    EXPECT_EQ(settledRuns(pool, again, 2), 2);
    EXPECT_EQ(again.threads.size(), 1u);
}

TEST(TmtThreadSubPool, DegenerateCountsDoNothing) {
    TmtThreadSubPool pool;
    EXPECT_TRUE(pool.initPool(0));
    EXPECT_TRUE(pool.isEmpty());
    ASSERT_TRUE(pool.initPool(2));
    Job job;
    EXPECT_EQ(pool.execute(&countRun, &job, 0), 0);
    EXPECT_EQ(pool.execute(&countRun, &job, -3), 0);
    EXPECT_EQ(pool.execute(nullptr, &job, 2), 0);
    EXPECT_EQ(settledRuns(pool, job, 0), 0);
    EXPECT_TRUE(pool.initPool(0));  // ends the team
    EXPECT_TRUE(pool.isEmpty());
    EXPECT_EQ(TmtThread::numSpawnedThreads(), 0);
    // Releases into an empty team are dropped when a new team starts.
    EXPECT_EQ(pool.execute(&countRun, &job, 2), 2);
    ASSERT_TRUE(pool.initPool(1));
    EXPECT_EQ(settledRuns(pool, job, 0), 0);
    EXPECT_FALSE(pool.initPool(unsigned(TmtThreadPool::maxNumberOfThreads()) + 1));
    EXPECT_EQ(int(pool.length()), TmtThreadPool::maxNumberOfThreads());
}

TEST(TmtThreadSubPool, DestructionWaitsForRunsInProgress) {
    Blocking job;
    auto pool = std::make_unique<TmtThreadSubPool>();
    ASSERT_TRUE(pool->initPool(2));
    pool->execute(&blockingRun, &job, 2);
    ASSERT_TRUE(job.started.waitFor(2));
    Latch destroyed;
    std::thread destroyer([&] {
        pool.reset();
        destroyed.add();
    });
    EXPECT_FALSE(destroyed.waitFor(1, 20));
    job.release.add();
    const bool ok = destroyed.waitFor();
    EXPECT_TRUE(ok);
    ok ? destroyer.join() : destroyer.detach();
    EXPECT_EQ(job.finished.value(), 2);
    EXPECT_EQ(TmtThread::numSpawnedThreads(), 0);
}

TEST(TmtThreadSubPool, PoolShutdownLetsRunsFinishThenClosesTheTeams) {
    TmtThreadSubPool busy, idle, ended, unused;
    ASSERT_TRUE(busy.initPool(2));
    ASSERT_TRUE(idle.initPool(3));
    ASSERT_TRUE(ended.initPool(1));
    ended.shutdownPool();
    Blocking job;
    EXPECT_EQ(busy.execute(&blockingRun, &job, 5), 5);  // two run, three wait
    ASSERT_TRUE(job.started.waitFor(2));

    std::thread releaser([&] {
        // Longer than the grace a plain thread gets before it is terminated.
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        job.release.add();
    });
    TmtThreadPool::getPool()->shutdownPool();
    releaser.join();
    EXPECT_EQ(job.finished.value(), 2);  // the runs in progress ended by themselves
    EXPECT_EQ(job.started.value(), 2);   // and the waiting ones were dropped
    EXPECT_EQ(TmtThread::numSpawnedThreads(), 0);

    // Closed for good, and safe to use.
    for (TmtThreadSubPool* closed : {&busy, &idle}) {
        EXPECT_TRUE(closed->isEmpty());
        EXPECT_EQ(closed->execute(&noRun, nullptr, 3), 0);
        EXPECT_FALSE(closed->initPool(2));
        closed->shutdownPool();
        EXPECT_EQ(closed->idleCount(), 0);
    }
    // Those without a team take one on the next pool.
    for (TmtThreadSubPool* open : {&ended, &unused}) {
        ASSERT_TRUE(open->initPool(1));
        Job again;
        EXPECT_EQ(open->execute(&countRun, &again, 1), 1);
        EXPECT_EQ(settledRuns(*open, again, 1), 1);
        open->shutdownPool();
    }
}

TEST(TmtThreadSubPool, DestroyedWhilePoolShutdownEndsItsTeam) {
    // The owner destroys its sub-pool while the pool's shutdown ends the
    // team; whichever comes first ends it, and the other waits.
    auto pool = std::make_unique<TmtThreadSubPool>();
    ASSERT_TRUE(pool->initPool(1));
    Blocking job;
    pool->execute(&blockingRun, &job, 1);
    ASSERT_TRUE(job.started.waitFor());
    Latch shuttingDown;
    std::thread owner([&] {
        shuttingDown.waitFor();
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        pool.reset();
    });
    std::thread releaser([&] {
        shuttingDown.waitFor();
        std::this_thread::sleep_for(std::chrono::milliseconds(80));
        job.release.add();
    });
    shuttingDown.add();
    TmtThreadPool::getPool()->shutdownPool();
    owner.join();
    releaser.join();
    EXPECT_EQ(pool, nullptr);
    EXPECT_EQ(job.finished.value(), 1);
    EXPECT_EQ(TmtThread::numSpawnedThreads(), 0);
}
