// Number parsing: what is taken, what is left, and the saturated edges.
#include "grundel/iff/FLnumber.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <string>

TEST(FLnumber, ReadsDoublesAndStopsWhereTheNumberEnds) {
    struct Case {
        const char* text;
        double value;
        size_t taken;
    };
    const Case cases[] = {
        {"42", 42.0, 2},
        {"  \t-12.5e2x", -1250.0, 10},
        {"+.5", 0.5, 3},
        {"5.", 5.0, 2},
        {"1e", 1.0, 1},
        {"1e+", 1.0, 1},
        {"2E-3;", 0.002, 4},
        {"1.5.5", 1.5, 3},
        {"0x10", 0.0, 1},
        {"1,5", 1.0, 1},
        {"1e400", HUGE_VAL, 5},
        {"-1e400", -HUGE_VAL, 6},
        {"0.0000001e999999999999999", HUGE_VAL, 25},
        {"1e-400", 0.0, 6},
        {"0e99999999999", 0.0, 13},
        {"4.9406564584124654e-324", 4.9406564584124654e-324, 23},
    };
    for (const Case& c : cases) {
        const char* end = nullptr;
        const double value = FLatof(c.text, &end);
        EXPECT_EQ(value, c.value) << c.text;
        EXPECT_EQ(static_cast<size_t>(end - c.text), c.taken) << c.text;
    }
    EXPECT_TRUE(std::signbit(FLatof("-1e-400"))) << "underflow keeps the sign";
}

TEST(FLnumber, GarbageGivesZeroAndTakesNothing) {
    for (const char* text : {"", "   ", "-", "+", ".", "-.e5", "e5", "inf", "nan", "abc"}) {
        const char* end = nullptr;
        EXPECT_EQ(FLatof(text, &end), 0.0) << text;
        EXPECT_EQ(end, text) << text;
        EXPECT_EQ(FLatoi(text, &end), 0) << text;
        EXPECT_EQ(end, text) << text;
    }
    const char* end = "x";
    EXPECT_EQ(FLatof(nullptr, &end), 0.0);
    EXPECT_EQ(end, nullptr);
    EXPECT_EQ(FLatoi(nullptr), 0);
}

TEST(FLnumber, IntegersSaturate) {
    struct Case {
        const char* text;
        int value;
        size_t taken;
    };
    const Case cases[] = {
        {"2147483647", INT_MAX, 10},
        {"2147483648", INT_MAX, 10},
        {"-2147483648", INT_MIN, 11},
        {"-2147483649", INT_MIN, 11},
        {"99999999999999999999999999999999", INT_MAX, 32},
        {" +7z", 7, 3},
        {"-0", 0, 2},
        {"12.9", 12, 2},
        {"007", 7, 3},
    };
    for (const Case& c : cases) {
        const char* end = nullptr;
        EXPECT_EQ(FLatoi(c.text, &end), c.value) << c.text;
        EXPECT_EQ(static_cast<size_t>(end - c.text), c.taken) << c.text;
    }
}

TEST(FLnumber, ViewsNeedNoTerminatorAndTheLocaleIsIgnored) {
    const char digits[] = {'1', '2', '3', '.', '5'}; // no NUL
    size_t used = 0;
    EXPECT_EQ(FLatoi(std::string_view(digits, 3), &used), 123);
    EXPECT_EQ(used, 3u);
    EXPECT_EQ(FLatof(std::string_view(digits, 5), &used), 123.5);
    EXPECT_EQ(used, 5u);
    EXPECT_EQ(FLatof(std::string_view(digits, 0), &used), 0.0);
    EXPECT_EQ(used, 0u);

    // A locale with a decimal comma, where one is installed.
    const std::string saved = std::setlocale(LC_NUMERIC, nullptr);
    if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8") || std::setlocale(LC_NUMERIC, "fr_FR.UTF-8")) {
        EXPECT_EQ(FLatof("2.25"), 2.25);
        EXPECT_EQ(FLatof("2,25"), 2.0);
    }
    std::setlocale(LC_NUMERIC, saved.c_str());

    // Long input costs linear time and no stack.
    const std::string longNumber = "0." + std::string(1 << 20, '3') + "e1";
    EXPECT_NEAR(FLatof(longNumber, &used), 10.0 / 3.0, 1e-10);
    EXPECT_EQ(used, longNumber.size());
}
