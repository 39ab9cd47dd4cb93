// Signal words for Linux numbers, and catchers that print and then die of
// the same signal.
#include "grundel/iff/FLsignal.h"

#include "grundel/iff/FLerror.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <unistd.h>

TEST(FLsignal, WordsFollowTheLinuxSignalNotItsNumber) {
    EXPECT_STREQ(FLstrsignal(SIGHUP), "hangup");
    EXPECT_STREQ(FLstrsignal(SIGBUS), "bus error");
    EXPECT_STREQ(FLstrsignal(SIGUSR1), "user defined signal 1");
    EXPECT_STREQ(FLstrsignal(SIGUSR2), "user defined signal 2");
    EXPECT_STREQ(FLstrsignal(SIGCHLD), "death of of child");
    EXPECT_STREQ(FLstrsignal(SIGSEGV), "segmentation violation");
    EXPECT_STREQ(FLstrsignal(SIGSYS), "bad argument to system call");
    EXPECT_STREQ(FLstrsignal(SIGCONT), "continue after stop");
    EXPECT_STREQ(FLstrsignal(SIGSTOP), "stop");
    EXPECT_STREQ(FLstrsignal(SIGTSTP), "stop signal generated from keyboard");
    EXPECT_STREQ(FLstrsignal(SIGIO), "input/output possible");
    EXPECT_STREQ(FLstrsignal(SIGPWR), "power fail");
    EXPECT_STREQ(FLstrsignal(SIGXFSZ), "file size limit exceeded");
    for (int n : {0, -1, SIGSTKFLT, SIGRTMIN, 65})
        EXPECT_STREQ(FLstrsignal(n), "unknown signal") << n;
}

namespace {

void sayCleanup(int signal) {
    const char text[] = "cleanup for ";
    ssize_t ignored = ::write(STDERR_FILENO, text, sizeof text - 1);
    const char* word = FLstrsignal(signal);
    ignored = ::write(STDERR_FILENO, word, std::strlen(word));
    ignored = ::write(STDERR_FILENO, "\n", 1);
    (void)ignored;
}

} // namespace

TEST(FLsignalDeathTest, CatchersPrintThenEndByTheSameSignal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            FLsetprogname("vornapp");
            FLcatchint();
            std::raise(SIGTERM);
        },
        testing::KilledBySignal(SIGTERM), "vornapp: software termination signal\n");
    EXPECT_EXIT(
        {
            FLsetprogname(nullptr);
            FLcatchint();
            std::raise(SIGINT);
        },
        testing::KilledBySignal(SIGINT), "^interrupt\n$");
    EXPECT_EXIT(
        {
            FLcatchcore();
            std::raise(SIGBUS);
        },
        testing::KilledBySignal(SIGBUS), "bus error");
    EXPECT_EXIT(
        {
            FLcatchall();
            std::raise(SIGUSR1);
        },
        testing::KilledBySignal(SIGUSR1), "user defined signal 1");
    // The interrupt set leaves faults alone: the default action, silently.
    EXPECT_EXIT(
        {
            FLcatchint();
            std::raise(SIGUSR2);
        },
        testing::KilledBySignal(SIGUSR2), "^$");
}

TEST(FLsignalDeathTest, TheCatchFunctionRunsFirstAndSilenceKeepsIt) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            FLcatchfunc(sayCleanup);
            FLcatchall();
            std::raise(SIGHUP);
        },
        testing::KilledBySignal(SIGHUP), "^cleanup for hangup\nhangup\n$");
    EXPECT_EXIT(
        {
            FLcatchfunc(sayCleanup);
            FLsilentcatch();
            std::raise(SIGALRM);
        },
        testing::KilledBySignal(SIGALRM), "^cleanup for alarm clock\n$");
    EXPECT_EXIT(
        {
            FLsilentcatch();
            std::raise(SIGPIPE);
        },
        testing::KilledBySignal(SIGPIPE), "^$");
    EXPECT_EQ(FLcatchfunc(nullptr), nullptr) << "the parent's catch function is untouched";
}
