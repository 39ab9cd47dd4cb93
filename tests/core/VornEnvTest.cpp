#include "grundel/core/VornEnv.h"

#include <gtest/gtest.h>

#include <string>

TEST(VornEnv, SetReadAndRemove) {
    EXPECT_EQ(VornGetEnv("GRUNDEL_TEST_UNSET_NAME"), nullptr);
    ASSERT_EQ(VornPutEnv("GRUNDEL_TEST_NAME=abc"), 0);
    ASSERT_NE(VornGetEnv("GRUNDEL_TEST_NAME"), nullptr);
    EXPECT_STREQ(VornGetEnv("GRUNDEL_TEST_NAME"), "abc");
    ASSERT_EQ(VornPutEnv("GRUNDEL_TEST_NAME="), 0);
    EXPECT_EQ(VornGetEnv("GRUNDEL_TEST_NAME"), nullptr);
}

TEST(VornEnv, CopiesTheAssignment) {
    std::string assignment = "GRUNDEL_TEST_COPY=first";
    ASSERT_EQ(VornPutEnv(assignment.c_str()), 0);
    assignment.replace(assignment.find('=') + 1, std::string::npos, "other");
    EXPECT_STREQ(VornGetEnv("GRUNDEL_TEST_COPY"), "first");
    VornPutEnv("GRUNDEL_TEST_COPY=");
}

TEST(VornEnv, ValueMayHoldEquals) {
    ASSERT_EQ(VornPutEnv("GRUNDEL_TEST_EQ=a=b"), 0);
    EXPECT_STREQ(VornGetEnv("GRUNDEL_TEST_EQ"), "a=b");
    VornPutEnv("GRUNDEL_TEST_EQ=");
}

TEST(VornEnv, MalformedAssignmentsFail) {
    EXPECT_EQ(VornPutEnv(nullptr), -1);
    EXPECT_EQ(VornPutEnv("NOEQUALS"), -1);
    EXPECT_EQ(VornPutEnv("=value"), -1);
    EXPECT_EQ(VornGetEnv(nullptr), nullptr);
}
