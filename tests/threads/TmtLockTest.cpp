// The lock family through its common interface, then what sets the classes
// apart: recursion, the semaphore's counting, the read/write scheduling.
#include "grundel/threads/TmtLock.h"

#include "ThreadTestSupport.h"
#include "grundel/threads/TmtCriticalSection.h"
#include "grundel/threads/TmtMutex.h"
#include "grundel/threads/TmtRWMutex.h"
#include "grundel/threads/TmtSemaphore.h"

#include <gtest/gtest.h>

#include <atomic>

using namespace threadtest;

namespace {

/// The status take(lock) gives on another (pool) thread, whose guard ends
/// with that thread.
template <class L, class Take>
int statusElsewhere(L& lock, Take take) {
    int status = kLockFailed;
    TmtThread* t = launch([&](TmtThreadInfo*) { status = take(lock).status(); });
    EXPECT_TRUE(t->join(kBoundMs));
    t->shutdown(true);
    return status;
}
template <class L>
int tryElsewhere(L& lock, int timeout = 0) {
    return statusElsewhere(lock, [timeout](L& l) { return l.tryToAcquire(timeout); });
}

template <class L>
class TmtLockFamily : public ::testing::Test {};
using Locks = ::testing::Types<TmtMutex, TmtRecursiveMutex, TmtCriticalSection, TmtRecursiveCS, TmtRWMutex>;
TYPED_TEST_SUITE(TmtLockFamily, Locks);

} // namespace

TYPED_TEST(TmtLockFamily, GrantsWithoutLockingWhileNoWorkerRuns) {
    ASSERT_EQ(TmtThread::fsThreadCount.value(), 0);
    TypeParam lock;
    TmtLock<TypeParam> a = lock.acquire();
    TmtLock<TypeParam> b = lock.tryToAcquireWrite(0);  // nothing is locked
    EXPECT_EQ(a.status(), kLockGranted);
    EXPECT_EQ(b.status(), kLockGranted);
    EXPECT_EQ(b.mode(), kLockModeWrite);
    EXPECT_EQ(a.release(), kLockReleased);
    EXPECT_EQ(a.release(), kLockFailed);
    EXPECT_EQ(b.release(), kLockReleased);
}

TYPED_TEST(TmtLockFamily, LocksForRealWhileAWorkerRuns) {
    RunningWorker worker;
    TypeParam lock;
    TmtLock<TypeParam> g = lock.acquire();
    EXPECT_EQ(g.status(), kLockHeld);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(tryElsewhere(lock, 40), kLockTimedOut);
    EXPECT_GE(millisecondsSince(start), 35);
    TmtLock<TypeParam> moved(std::move(g));
    EXPECT_EQ(g.release(), kLockFailed);  // moved out: owns nothing
    EXPECT_EQ(moved.release(), kLockReleased);
    EXPECT_EQ(moved.release(), kLockFailed);
    EXPECT_EQ(tryElsewhere(lock), kLockHeld);

    // A disowned guard leaves the lock held.
    lock.acquire().setOwned(false);
    EXPECT_EQ(tryElsewhere(lock), kLockTimedOut);
    EXPECT_TRUE(lock.release(true));
    EXPECT_FALSE(lock.release(true));  // nothing held any more
}

TYPED_TEST(TmtLockFamily, ManyThreadsCountExactly) {
    constexpr int kThreads = 4, kEach = 5000;
    struct Shared {
        TypeParam lock;
        long total = 0;
    } shared;
    TmtThreadPtrArray team;
    TmtThreadPool::getPool()->startJob(
        [](TmtThreadInfo* info) {
            auto* s = static_cast<Shared*>(info->fUserData);
            for (int i = 0; i < kEach; ++i) {
                TmtLock<TypeParam> g = i % 3 ? s->lock.acquire() : s->lock.tryToAcquire(kBoundMs);
                if (g.status() == kLockHeld)
                    ++s->total;
            }
        },
        &shared, team, kThreads);
    TmtThreadPool::getPool()->endJob(team);
    EXPECT_EQ(shared.total, long(kThreads) * kEach);
}

TEST(TmtLockFamily, NonRecursiveHolderAcquiringAgainFails) {
    RunningWorker worker;
    TmtMutex mutex;
    TmtCriticalSection cs;
    TmtLock<TmtMutex> m = mutex.acquire();
    TmtLock<TmtCriticalSection> c = cs.acquire();
    EXPECT_EQ(mutex.tryToAcquire(kBoundMs).status(), kLockFailed);  // not a deadlock
    EXPECT_EQ(cs.acquire().status(), kLockFailed);
    EXPECT_EQ(m.release(), kLockReleased);
    EXPECT_EQ(c.release(), kLockReleased);
}

template <class L>
class TmtRecursiveLocks : public ::testing::Test {};
using RecursiveLocks = ::testing::Types<TmtRecursiveMutex, TmtRecursiveCS>;
TYPED_TEST_SUITE(TmtRecursiveLocks, RecursiveLocks);

TYPED_TEST(TmtRecursiveLocks, EveryLevelNeedsItsRelease) {
    TypeParam lock;
    TmtLock<TypeParam> outer;
    {
        RunningWorker worker;
        outer = lock.acquire();
        TmtLock<TypeParam> inner = lock.tryToAcquire(0);
        EXPECT_EQ(inner.status(), kLockHeld);
        EXPECT_EQ(inner.release(), kLockReleased);
        EXPECT_EQ(tryElsewhere(lock), kLockTimedOut);
    }
    // With no worker left, a nested grant without locking must leave the
    // real hold alone.
    EXPECT_EQ(lock.acquire().status(), kLockGranted);
    EXPECT_EQ(tryElsewhere(lock), kLockTimedOut);
    EXPECT_EQ(outer.release(), kLockReleased);
    EXPECT_EQ(tryElsewhere(lock), kLockHeld);
}

TEST(TmtSemaphore, CountsUnitsWithOrWithoutWorkers) {
    TmtSemaphore sem(2);
    TmtLock<TmtSemaphore> a = sem.acquire();
    TmtLock<TmtSemaphore> b = sem.tryToAcquire(0);
    EXPECT_EQ(a.status(), kLockHeld);  // a semaphore always waits for real
    EXPECT_EQ(b.status(), kLockHeld);
    EXPECT_EQ(sem.available(), 0);
    EXPECT_EQ(sem.tryToAcquire(30).status(), kLockTimedOut);
    EXPECT_EQ(a.release(), kLockReleased);
    b.setOwned(false);  // keeps its unit consumed
    EXPECT_EQ(b.release(), kLockFailed);
    EXPECT_EQ(sem.available(), 1);
    EXPECT_TRUE(sem.reset(5));
    EXPECT_EQ(sem.available(), 5);
    EXPECT_EQ(TmtSemaphore(-3).available(), 0);
}

TEST(TmtRWMutex, ReadersShareAndWritersExclude) {
    RunningWorker worker;
    TmtRWMutex lock(TmtRWMutex::kReaderPriority);
    TmtLock<TmtRWMutex> r = lock.acquireRead();
    EXPECT_EQ(statusElsewhere(lock, [](TmtRWMutex& l) { return l.tryToAcquireRead(0); }), kLockHeld);
    EXPECT_EQ(lock.readers(), 1);  // the other reader's guard has ended
    EXPECT_EQ(tryElsewhere(lock), kLockTimedOut);
    r.release();
    TmtLock<TmtRWMutex> w = lock.acquire();
    EXPECT_TRUE(lock.hasWriter());
    EXPECT_EQ(statusElsewhere(lock, [](TmtRWMutex& l) { return l.tryToAcquireRead(20); }), kLockTimedOut);
    EXPECT_EQ(lock.acquireRead().status(), kLockFailed);  // the writer itself
    EXPECT_FALSE(lock.releaseRead(true));                  // no reader to release
}

TEST(TmtRWMutex, SchedulersOrderReadersAndWaitingWriters) {
    for (auto policy : {TmtRWMutex::kReaderPriority, TmtRWMutex::kWriterPriority, TmtRWMutex::kAlternating}) {
        SCOPED_TRACE(policy);
        RunningWorker worker;
        TmtRWMutex lock(policy);
        std::atomic<int> turns{0};
        int readerTurn = -1, writerTurn = -1;
        auto contender = [&](bool write, int& turn) {
            return launch([&, write](TmtThreadInfo*) {
                TmtLock<TmtRWMutex> g = write ? lock.tryToAcquireWrite(kBoundMs) : lock.tryToAcquireRead(kBoundMs);
                if (g.status() == kLockHeld)
                    turn = turns++;  // still holding it
            });
        };
        // A writer waiting behind a reader: may a new reader pass it?
        TmtLock<TmtRWMutex> r = lock.acquireRead();
        TmtThread* w1 = contender(true, writerTurn);
        ASSERT_TRUE(eventually([&] { return lock.waitingWriters() == 1; }));
        EXPECT_EQ(statusElsewhere(lock, [](TmtRWMutex& l) { return l.tryToAcquireRead(0); }),
                  policy == TmtRWMutex::kReaderPriority ? kLockHeld : kLockTimedOut);
        r.release();
        ASSERT_TRUE(w1->join(kBoundMs));
        w1->shutdown(true);
        if (policy == TmtRWMutex::kReaderPriority)
            continue;  // after a writer, readers and writers race
        // A reader and then a writer waiting behind a writer: who goes first?
        turns = 0;
        TmtLock<TmtRWMutex> w = lock.acquireWrite();
        TmtThread* reader = contender(false, readerTurn);
        ASSERT_TRUE(eventually([&] { return lock.waitingReaders() == 1; }));
        TmtThread* writer = contender(true, writerTurn);
        ASSERT_TRUE(eventually([&] { return lock.waitingWriters() == 1; }));
        w.release();
        ASSERT_TRUE(reader->join(kBoundMs) && writer->join(kBoundMs));
        EXPECT_EQ(readerTurn, policy == TmtRWMutex::kAlternating ? 0 : 1);
        EXPECT_EQ(writerTurn, policy == TmtRWMutex::kAlternating ? 1 : 0);
        reader->shutdown(true);
        writer->shutdown(true);
    }
}
