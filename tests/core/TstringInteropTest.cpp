#include "grundel/core/Tstring.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

// Tstring beside std::string and std::string_view: conversions in both
// directions, in initialisation and in calls, with no ambiguity against the
// const char* forms.

namespace {

std::size_t takesTstring(const Tstring& s) { return s.length(); }
std::size_t takesStd(const std::string& s) { return s.size(); }
std::size_t takesView(std::string_view s) { return s.size(); }

TEST(TstringInterop, ConvertsFromStandardStringsInInitialisationAndCalls) {
    const std::string std("scene:ball");
    const std::string_view view("pCube12");
    Tstring a = std;
    Tstring b = view;
    Tstring c(std);
    EXPECT_EQ(a, "scene:ball");
    EXPECT_EQ(b, "pCube12");
    EXPECT_EQ(c, a);
    EXPECT_EQ(takesTstring(std), 10u);
    EXPECT_EQ(takesTstring(view), 7u);
    EXPECT_EQ(takesTstring("literal"), 7u);

    a = view;
    EXPECT_EQ(a, "pCube12");
    a = std::string("x");
    EXPECT_EQ(a, "x");
    a = "plain";
    EXPECT_EQ(a, "plain");
}

TEST(TstringInterop, ConvertsToStandardStringsAndKeepsEmbeddedNuls) {
    const Tstring s("a\0b", 3);
    const std::string std = s;
    const std::string_view view = s;
    EXPECT_EQ(std.size(), 3u);
    EXPECT_EQ(view.size(), 3u);
    EXPECT_EQ(takesStd(s), 3u);
    EXPECT_EQ(takesView(s), 3u);
    EXPECT_EQ(Tstring_toStdString(s), std);
    EXPECT_EQ(Tstring(std), s);

    const Tstring empty;
    EXPECT_EQ(std::string(empty), "");
    EXPECT_TRUE(std::string_view(empty).empty());
}

TEST(TstringInterop, ComparesWithEveryStringTypeWithoutAmbiguity) {
    const Tstring s("name");
    EXPECT_TRUE(s == std::string("name"));
    EXPECT_TRUE(std::string("name") == s);
    EXPECT_TRUE(s == std::string_view("name"));
    EXPECT_TRUE(std::string_view("name") == s);
    EXPECT_TRUE(s != std::string("other"));
    EXPECT_TRUE(std::string_view("other") != s);
    EXPECT_TRUE(s == "name");
    EXPECT_FALSE(Tstring("a\0b", 3) == std::string("a")); // bytes, not C text
    // Other types' comparisons stay unambiguous where Tstring is visible.
    const std::string_view view("x");
    EXPECT_TRUE(view == "x");
    EXPECT_TRUE(std::string("x") != "y");
}

TEST(TstringInterop, CharactersWalkInRangeFor) {
    const Tstring s("abc");
    std::string seen;
    for (char c : s)
        seen += c;
    EXPECT_EQ(seen, "abc");
    EXPECT_EQ(std::count(s.begin(), s.end(), 'b'), 1);
    const Tstring empty;
    EXPECT_EQ(empty.begin(), empty.end());
}

} // namespace
