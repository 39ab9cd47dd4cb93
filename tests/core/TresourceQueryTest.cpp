#include "grundel/core/TresourceQuery.h"

#include <gtest/gtest.h>

#include <sched.h>

#include <thread>

TEST(TresourceQuery, CountsTheMachinesAndTheProcesssProcessors) {
    const int cpus = TresourceQuery::getNumberOfCPUs();
    EXPECT_EQ(unsigned(cpus), std::thread::hardware_concurrency());

    // Narrowing the affinity to one processor is seen at once.
    cpu_set_t saved;
    ASSERT_EQ(sched_getaffinity(0, sizeof(saved), &saved), 0);
    EXPECT_EQ(TresourceQuery::getNumberOfUnrestrictedCPUs(), CPU_COUNT(&saved));
    int first = 0;
    while (!CPU_ISSET(first, &saved))
        ++first;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(first, &one);
    ASSERT_EQ(sched_setaffinity(0, sizeof(one), &one), 0);
    EXPECT_EQ(TresourceQuery::getNumberOfUnrestrictedCPUs(), 1);
    ASSERT_EQ(sched_setaffinity(0, sizeof(saved), &saved), 0);
    EXPECT_LE(TresourceQuery::getNumberOfUnrestrictedCPUs(), cpus);
}
