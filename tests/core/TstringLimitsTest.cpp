// Text that would grow without bound: environment expansion past its limit
// and numbers printed with absurd precisions.
#include "grundel/core/Tstring.h"
#include "grundel/core/VornEnv.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <string>

TEST(TstringLimits, ExpansionPastTheLimitComesBackUnexpanded) {
    const std::string value(100 * 1024, 'v');
    ASSERT_EQ(VornPutEnv(("GRUNDEL_T_BIG=" + value).c_str()), 0);
    std::string many;
    for (int i = 0; i < 20 * 1024; ++i)
        many += "$GRUNDEL_T_BIG"; // 280 KB of references to 100 KB: 2 GB expanded
    const Tstring text(many.c_str());
    const auto start = std::chrono::steady_clock::now();
    const Tstring expanded = text.expandEnvAndTilde();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(expanded, text); // whole, never cut short

    // Up to the limit it expands; one byte more and it does not.
    Tstring out("kept");
    const Tstring ten("$GRUNDEL_T_BIG$GRUNDEL_T_BIG$GRUNDEL_T_BIG$GRUNDEL_T_BIG$GRUNDEL_T_BIG"
                      "$GRUNDEL_T_BIG$GRUNDEL_T_BIG$GRUNDEL_T_BIG$GRUNDEL_T_BIG$GRUNDEL_T_BIG");
    ASSERT_TRUE(Tstring::expandEnv(ten, out, 10 * 100 * 1024));
    EXPECT_EQ(out.length(), 10u * 100 * 1024);
    out = "kept";
    EXPECT_FALSE(Tstring::expandEnv(ten, out, 10 * 100 * 1024 - 1));
    EXPECT_EQ(out, Tstring("kept"));
    const Tstring plain("x$GRUNDEL_T_BIG");
    EXPECT_FALSE(Tstring::expandEnv(plain, out, 100 * 1024)); // the text around counts too
    VornPutEnv("GRUNDEL_T_BIG=");
}

TEST(TstringLimits, ExpansionWithTheCallersVariables) {
    const auto lookup = [](const char* name, void* context) -> const char* {
        return std::string(name) == "WHO" ? static_cast<const char*>(context) : nullptr;
    };
    char who[] = "world";
    Tstring out;
    ASSERT_TRUE(Tstring::expandEnv(Tstring("hello ${WHO}, %WHO% and $NOBODY"), out, Tstring::kExpandLimit, lookup,
                                   who));
    EXPECT_EQ(out, Tstring("hello world, world and $NOBODY"));
    // Text with a zero byte inside is expanded over its whole length.
    const Tstring withZero("a\0$WHO", 6);
    ASSERT_TRUE(Tstring::expandEnv(withZero, out, Tstring::kExpandLimit, lookup, who));
    EXPECT_EQ(out, Tstring("a\0world", 7));
}

TEST(TstringLimits, PrecisionIsHeldToWhatADoubleCarries) {
    Tstring s;
    s.setDouble(1e308, 1000000000, false);
    EXPECT_EQ(s.length(), 309u); // the integer digits; trailing zeros of the decimals dropped
    s.setDouble(1e308, INT_MAX, true);
    EXPECT_LE(s.length(), 309u + 18);
    s.setDouble(0.1, 40, true);
    EXPECT_EQ(s, Tstring("0.10000000000000001")); // 17 significant digits, no more
    s.setDouble(0.1, 40, false);
    EXPECT_EQ(s, Tstring("0.100000000000000005551115123")); // 27 decimals, trailing zeros dropped
    s.setDouble(1.25e-10, 40, false);
    EXPECT_EQ(s, Tstring("0.000000000125000000000000008")); // every digit the double has
    // Ordinary precisions are untouched.
    s.setDouble(3.14159, 3, false);
    EXPECT_EQ(s, Tstring("3.142"));
}
