#include "grundel/threads/TmtThread.h"

#include "ThreadTestSupport.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

using namespace threadtest;
using Clock = std::chrono::steady_clock;

TEST(TmtThread, StatusesThroughItsLife) {
    Latch step, ack;
    TuInt32 seenID = 0;
    TmtThreadInfo* seenInfo = nullptr;
    TmtThread* t = launch([&](TmtThreadInfo* info) {
        seenID = TmtThread::currentThreadID();
        seenInfo = info;
        step.waitFor(1);
        info->fThread->setIdle();
        ack.add();
        step.waitFor(2);
        info->fThread->setExitCode(7);
    });
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->status(), TmtThread::kThreadRunning);
    EXPECT_EQ(TmtThread::numSpawnedThreads(), 1);
    EXPECT_TRUE(TmtThread::usingThreads());
    step.add();
    ASSERT_TRUE(ack.waitFor());
    EXPECT_EQ(t->status(), TmtThread::kThreadIdle);
    step.add();
    ASSERT_TRUE(eventually([&] { return t->status() == TmtThread::kThreadFinished; }));
    // Finished: joins at once, stays joinable; its own reference is gone.
    EXPECT_TRUE(t->join(0));
    EXPECT_TRUE(t->isJoinable());
    EXPECT_EQ(t->refCount(), 1);
    EXPECT_EQ(t->exitCode(), 7);
    EXPECT_FALSE(TmtThread::usingThreads());
    // The info stands at the start of the thread; ids are the kernel's.
    EXPECT_EQ(static_cast<void*>(seenInfo), static_cast<void*>(t));
    EXPECT_EQ(seenID, t->threadID());
    EXPECT_EQ(TmtThread::currentThreadID(), TuInt32(syscall(SYS_gettid)));
    EXPECT_EQ(TmtThread::fMainThreadID, TuInt32(getpid()));
    EXPECT_TRUE(TmtThread::isMainThread());
    EXPECT_TRUE(t->shutdown(true));
}

TEST(TmtThread, JoinTimesOutChangingNothing) {
    Latch stop;
    TmtThread* t = launch([&](TmtThreadInfo*) { stop.waitFor(); });
    EXPECT_FALSE(t->setPriority(TmtThread::kPriorityBelowNormal));  // deliberately
    EXPECT_FALSE(t->setPriority(static_cast<TmtThread::eThreadPriority>(9)));
    EXPECT_TRUE(t->setPriority(TmtThread::kPriorityIdle));  // lowering needs no privilege
    const auto start = Clock::now();
    EXPECT_FALSE(t->join(30));
    EXPECT_GE(millisecondsSince(start), 25);
    EXPECT_FALSE(t->join(0));
    EXPECT_EQ(t->status(), TmtThread::kThreadRunning);
    EXPECT_TRUE(t->isJoinable());
    stop.add();
    EXPECT_TRUE(t->join(kBoundMs));
    EXPECT_EQ(t->status(), TmtThread::kThreadFinished);
    EXPECT_TRUE(t->join(0));
    EXPECT_FALSE(t->terminate());
    EXPECT_FALSE(t->setPriority(TmtThread::kPriorityIdle));
    t->shutdown(true);
}

TEST(TmtThread, DetachedThreadJoinsWithoutWaiting) {
    Latch stop;
    TmtThread* t = launch([&](TmtThreadInfo*) { stop.waitFor(); });
    t->detach();
    EXPECT_FALSE(t->join(kBoundMs));  // at once: it is not finished
    stop.add();
    ASSERT_TRUE(eventually([&] { return t->status() == TmtThread::kThreadFinished; }));
    EXPECT_TRUE(t->join(0));
    t->unref();
}

TEST(TmtThread, ShutdownTerminatesAThreadThatIgnoresItsProcedure) {
    Latch unwound;
    TmtThread* t = launch([&](TmtThreadInfo*) {
        struct OnExit {
            Latch& l;
            ~OnExit() { l.add(); }
        } onExit{unwound};
        blockUntilCancelled();
    });
    t->ref();  // ours, to look at it afterwards
    const auto start = Clock::now();
    EXPECT_FALSE(t->shutdown(false));
    EXPECT_GE(millisecondsSince(start), 90);
    EXPECT_LT(millisecondsSince(start), kBoundMs / 2);
    EXPECT_EQ(t->status(), TmtThread::kThreadTerminated);
    EXPECT_EQ(t->exitCode(), -1);
    EXPECT_EQ(t->refCount(), 1);  // terminate dropped the thread's, shutdown the creator's
    // Cancelled: its stack unwound and it left the count.
    EXPECT_TRUE(unwound.waitFor());
    EXPECT_TRUE(eventually([] { return TmtThread::numSpawnedThreads() == 0; }));
    // Ending it again changes nothing.
    EXPECT_FALSE(t->terminate());
    EXPECT_TRUE(t->join(0));
    EXPECT_EQ(t->status(), TmtThread::kThreadTerminated);
    EXPECT_TRUE(t->shutdown(false));
}
