#include "grundel/core/Tstring.h"

#include <gtest/gtest.h>

TEST(Tstring, DefaultIsEmptyWithoutBlock) {
    Tstring s;
    EXPECT_STREQ(s.asC(), "");
    EXPECT_EQ(s.length(), 0u);
    EXPECT_EQ(s.data(), nullptr);
}
