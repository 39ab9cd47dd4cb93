#include "grundel/threads/TmtConditionVar.h"

#include "ThreadTestSupport.h"

#include <gtest/gtest.h>

using namespace threadtest;

namespace {

/// Consumers waiting on a condition variable for tickets handed out under a
/// critical section.
struct Queue {
    TmtCriticalSection lock;
    TmtConditionVar ready;
    int waiting = 0;  // consumers that reached their wait
    int tickets = 0;
    Latch served;

    static void consume(TmtThreadInfo* info) {
        auto* q = static_cast<Queue*>(info->fUserData);
        TmtLock<TmtCriticalSection> g = q->lock.acquire();
        ++q->waiting;
        while (q->tickets == 0)
            if (!q->ready.wait(g))
                return;
        --q->tickets;
        q->served.add();
    }
    /// All n consumers sleep in wait: each counted itself under the lock,
    /// and wait lets the lock go only once the thread counts as waiting.
    bool allWaiting(int n) {
        return eventually([&] { return lock.acquire(), waiting == n; });
    }
    void give(int n, bool all) {
        TmtLock<TmtCriticalSection> g = lock.acquire();
        EXPECT_EQ(g.status(), kLockHeld);
        tickets = n;
        EXPECT_TRUE(all ? ready.broadcast() : ready.signal());
    }
};

} // namespace

TEST(TmtConditionVar, SignalWakesOneBroadcastWakesAll) {
    Queue q;
    TmtThreadPtrArray team;
    TmtThreadPool::getPool()->startJob(&Queue::consume, &q, team, 3);
    ASSERT_TRUE(q.allWaiting(3));
    q.give(1, false);
    ASSERT_TRUE(q.served.waitFor(1));
    q.give(2, true);
    ASSERT_TRUE(q.served.waitFor(3));
    TmtThreadPool::getPool()->endJob(team);
    EXPECT_EQ(q.served.value(), 3);
    EXPECT_FALSE(q.ready.signal());  // nobody waits
    EXPECT_FALSE(q.ready.broadcast());

    TmtLock<TmtMutex> none;
    EXPECT_FALSE(q.ready.wait(none));  // a guard holding nothing cannot wait
}

TEST(TmtTimedConditionVar, TimesOutOrIsSignalledHoldingTheLockAgain) {
    RunningWorker worker;
    TmtCriticalSection cs;
    TmtTimedConditionVar cv;
    TmtLock<TmtCriticalSection> g = cs.acquire();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(cv.wait(g, 30), kWaitTimedOut);
    EXPECT_GE(millisecondsSince(start), 25);
    EXPECT_EQ(g.status(), kLockHeld);
    EXPECT_FALSE(cv.signal());  // the timed-out waiter left the queue

    bool waiting = false;
    int result = 1;
    TmtThread* t = launch([&](TmtThreadInfo*) {
        TmtLock<TmtCriticalSection> mine = cs.acquire();
        waiting = true;
        result = cv.wait(mine, kBoundMs);
    });
    g.release();
    ASSERT_TRUE(eventually([&] { return cs.acquire(), waiting; }));
    EXPECT_TRUE(cv.signal());
    ASSERT_TRUE(t->join(kBoundMs));
    EXPECT_EQ(result, kWaitSignalled);
    t->shutdown(true);
    EXPECT_EQ(cv.wait(g, 30), kWaitFailed);  // released: holds nothing
}
