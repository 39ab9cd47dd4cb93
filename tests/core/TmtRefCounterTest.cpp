#include "grundel/core/TmtRefCounter.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(TmtRefCounter, OperatorsReturnTheNewValueAndPostfixFormsBothAddOne) {
    TmtRefCounter c(1);
    EXPECT_EQ(c.remove(), 0);
    EXPECT_EQ(c.add(), 1);
    EXPECT_EQ(++c, 2);
    EXPECT_EQ(--c, 1);
    EXPECT_EQ(c--, 1);
    EXPECT_EQ(c++, 2);
    EXPECT_EQ(c.value(), 3);
    TmtRefCounter d;
    EXPECT_EQ(d.value(), 0);
    EXPECT_EQ(d = c, 3);
}

TEST(TmtRefCounter, ConcurrentAddAndRemoveBalance) {
    TmtRefCounter c(1);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&c] {
            for (int i = 0; i < 10000; ++i) {
                c.add();
                c.remove();
            }
        });
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(c.value(), 1);
}
