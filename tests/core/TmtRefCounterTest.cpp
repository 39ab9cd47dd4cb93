#include "grundel/core/TmtRefCounter.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(TmtRefCounter, IncrementsAndDecrementsReturnNewValue) {
    TmtRefCounter c(1);
    EXPECT_EQ(c.remove(), 0);
    EXPECT_EQ(c.add(), 1);
    EXPECT_EQ(++c, 2);
    EXPECT_EQ(--c, 1);
    EXPECT_EQ(TmtRefCounter().value(), 0);
}

TEST(TmtRefCounter, PostfixFormsBothAddOne) {
    TmtRefCounter c(5);
    EXPECT_EQ(c--, 5);
    EXPECT_EQ(c.value(), 6);
    EXPECT_EQ(c++, 6);
    EXPECT_EQ(static_cast<int>(c), 7);
}

TEST(TmtRefCounter, AssignmentForms) {
    TmtRefCounter c;
    EXPECT_EQ(c = 7, 7);
    EXPECT_EQ(c.value(), 7);
    TmtRefCounter d(3);
    d = c;
    EXPECT_EQ(d.value(), 7);
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
