#include "grundel/core/Tarrays.h"

#include "grundel/core/Tstring.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<std::string> texts(const TstringArray& array) {
    std::vector<std::string> out;
    for (TuInt32 i = 0; i < array.length(); ++i)
        out.push_back(array[i].asC());
    return out;
}

} // namespace

TEST(TstringArray, ElementsShareTheirBlocks) {
    Tstring name("shared text");
    {
        TstringArray array(2);
        for (int i = 0; i < 20; ++i)
            array.addLast(name); // growth relocates the elements, sharing still
        EXPECT_EQ(name.shareCount(), 21);
        EXPECT_EQ(array[19].data(), name.data());
        array.removeAt(0, 10);
        EXPECT_EQ(name.shareCount(), 11);
        array.element(0) = "other";
        EXPECT_EQ(name.shareCount(), 10);
        EXPECT_EQ(array.find(Tstring("other")), kArrayOk);
    }
    EXPECT_EQ(name.shareCount(), 1);
}

TEST(TstringArray, SplitSkipsEmptyRuns) {
    TstringArray array;
    EXPECT_EQ(Tstring(",a,,b,").split(',', array), 0);
    EXPECT_EQ(texts(array), (std::vector<std::string>{"a", "b"}));
    Tstring("no separator").split(',', array);
    Tstring(",,,").split(',', array);
    Tstring().split(',', array);
    Tstring("x/yy/").split('/', array);
    EXPECT_EQ(texts(array), (std::vector<std::string>{"a", "b", "no separator", "x", "yy"}));
}

TEST(TsortedStringArray, KeepsNamesInNaturalOrder) {
    TsortedStringArray names(false, 4);
    for (const char* name : {"b", "a10", "a9", "a", "a09"})
        EXPECT_EQ(names.insert(name), kArrayOk);
    EXPECT_EQ(names.insert("a10"), kArrayRefused);
    ASSERT_EQ(names.length(), 5u);
    const char* expected[] = {"a", "a09", "a9", "a10", "b"};
    for (TuInt32 i = 0; i < 5; ++i)
        EXPECT_STREQ(names[i].asC(), expected[i]);
    TuInt32 index = 0;
    EXPECT_EQ(names.find("a10", index), kArrayOk);
    EXPECT_EQ(index, 3u);
    EXPECT_EQ(names.find("a11", index), kArrayRefused);
    EXPECT_EQ(index, 4u);
}
