#include "grundel/core/VornEnv.h"

#include <gtest/gtest.h>

#include <string>

TEST(VornEnv, SetCopiedReadAndRemove) {
    EXPECT_EQ(VornGetEnv("GRUNDEL_TEST_UNSET_NAME"), nullptr);
    std::string assignment = "GRUNDEL_TEST_NAME=a=b";
    ASSERT_EQ(VornPutEnv(assignment.c_str()), 0);
    assignment.replace(assignment.find('=') + 1, std::string::npos, "other");
    EXPECT_STREQ(VornGetEnv("GRUNDEL_TEST_NAME"), "a=b"); // copied, and may hold '='
    ASSERT_EQ(VornPutEnv("GRUNDEL_TEST_NAME="), 0);
    EXPECT_EQ(VornGetEnv("GRUNDEL_TEST_NAME"), nullptr);
}

TEST(VornEnv, MalformedAssignmentsFail) {
    EXPECT_EQ(VornPutEnv(nullptr), -1);
    EXPECT_EQ(VornPutEnv("NOEQUALS"), -1);
    EXPECT_EQ(VornPutEnv("=value"), -1);
    EXPECT_EQ(VornGetEnv(nullptr), nullptr);
}
