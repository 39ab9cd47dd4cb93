// Tstring's text services: environment expansion, patterns, numbers,
// formatting and natural order.
#include "grundel/core/TnameString.h"
#include "grundel/core/Tstring.h"
#include "grundel/core/VornEnv.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

class TstringEnv : public ::testing::Test {
protected:
    void SetUp() override {
        VornPutEnv("GRUNDEL_T_DIR=/opt/x");
        VornPutEnv("GRUNDEL_T_UNSET=");
    }
    void TearDown() override { VornPutEnv("GRUNDEL_T_DIR="); }

    static Tstring expand(const char* text) { return Tstring(text).expandEnvAndTilde(); }
};

} // namespace

TEST_F(TstringEnv, EveryReferenceForm) {
    EXPECT_EQ(expand("$GRUNDEL_T_DIR/a"), "/opt/x/a");
    EXPECT_EQ(expand("${GRUNDEL_T_DIR}/a"), "/opt/x/a");
    EXPECT_EQ(expand("%GRUNDEL_T_DIR%/a"), "/opt/x/a");
    EXPECT_EQ(expand("$GRUNDEL_T_DIR%/a"), "/opt/x/a");
    EXPECT_EQ(expand("%{GRUNDEL_T_DIR}%/a"), "/opt/x/a");
    EXPECT_EQ(expand("${GRUNDEL_T_DIR/a"), "/opt/x/a"); // unclosed brace
    EXPECT_EQ(expand("x$GRUNDEL_T_DIR$GRUNDEL_T_DIR"), "x/opt/x/opt/x");
}

TEST_F(TstringEnv, UnsetAndEmptyReferencesStayAsWritten) {
    EXPECT_EQ(expand("~/x/$GRUNDEL_T_UNSET/${GRUNDEL_T_DIR}"), "~/x/$GRUNDEL_T_UNSET//opt/x");
    EXPECT_EQ(expand("${GRUNDEL_T_UNSET}%"), "${GRUNDEL_T_UNSET}%");
    EXPECT_EQ(expand("50% off $ now $"), "50% off $ now $");
    EXPECT_EQ(expand("${}"), "${}");
    EXPECT_EQ(expand(""), "");
    const Tstring original("$GRUNDEL_T_DIR");
    original.expandEnvAndTilde();
    EXPECT_EQ(original, "$GRUNDEL_T_DIR"); // the receiver is unchanged
}

TEST_F(TstringEnv, QuickTestLooksOnlyForDollar) {
    EXPECT_TRUE(Tstring("a$b").hasEnvOrTilde());
    EXPECT_FALSE(Tstring("~/x").hasEnvOrTilde());
    EXPECT_FALSE(Tstring("%A%").hasEnvOrTilde());
}

TEST(TstringPattern, Wildcards) {
    EXPECT_TRUE(Tstring("a.txt").matches("*.txt"));
    EXPECT_FALSE(Tstring("a.txt.bak").matches("*.txt"));
    EXPECT_TRUE(Tstring("abc").matches("a?c"));
    EXPECT_FALSE(Tstring("ac").matches("a?c"));
    EXPECT_TRUE(Tstring("a*c").matches("a\\*c"));
    EXPECT_FALSE(Tstring("abc").matches("a\\*c"));
    EXPECT_TRUE(Tstring("abcabd").matches("*ab?"));
    EXPECT_TRUE(Tstring("anything").matches("*"));
    EXPECT_TRUE(Tstring("xyz").matches("x**"));
    EXPECT_TRUE(Tstring("a\\").matches("a\\"));
    EXPECT_TRUE(Tstring("a?").isWildCard());
    EXPECT_FALSE(Tstring("a.b").isWildCard());
}

TEST(TstringPattern, EmptyTextAndEmptyPatterns) {
    const Tstring empty;
    EXPECT_TRUE(empty.matches(static_cast<const char*>(nullptr)));
    EXPECT_FALSE(empty.matches("")); // deliberately not
    EXPECT_TRUE(empty.matches(Tstring()));
    EXPECT_FALSE(empty.matches("*"));
    EXPECT_FALSE(Tstring("a").matches(""));
    EXPECT_FALSE(Tstring("a").matches(static_cast<const char*>(nullptr)));
    EXPECT_FALSE(Tstring("a").matches(Tstring()));
}

TEST(TstringPattern, ManyStarsStayFast) {
    const Tstring text(std::string(20000, 'a').c_str());
    EXPECT_FALSE(text.matches("*a*a*a*a*a*a*a*a*a*a*b"));
    EXPECT_TRUE(text.matches("*a*a*a*a*a*a*a*a*a*a"));
}

TEST(TstringPattern, RegularExpressions) {
    Tstring a, b, c;
    EXPECT_EQ(Tstring("key=value").matchesRegexp("([a-z]+)=([a-z]+)", &a, &b), 2);
    EXPECT_EQ(a, "key");
    EXPECT_EQ(b, "value");
    // Anchored by default: a partial match is no match.
    EXPECT_EQ(Tstring("xkey=value").matchesRegexp("key=.*"), 0);
    // An explicit anchor at either end turns the automatic anchoring off.
    EXPECT_EQ(Tstring("xkey=value").matchesRegexp("key=.*$"), 1);
    EXPECT_EQ(Tstring("abc").matchesRegexp("abc"), 1); // no groups
    // A group that took no part empties its output; outputs stop at the first null.
    a = "old";
    b = "old";
    c = "old";
    EXPECT_EQ(Tstring("ab").matchesRegexp("(a)(x)?(b)", &a, &b, nullptr, &c), 3);
    EXPECT_EQ(a, "a");
    EXPECT_TRUE(b.isEmpty());
    EXPECT_EQ(c, "old");
    EXPECT_EQ(Tstring("abc").matchesRegexp("(unclosed"), 0);
    // Patterns that would make the compiler allocate without bound.
    EXPECT_EQ(Tstring("a").matchesRegexp(("a" + std::string(40, '+')).c_str()), 0);
    EXPECT_EQ(Tstring("a").matchesRegexp("((a{200}){200}){200}"), 0);
    EXPECT_EQ(Tstring("aaab").matchesRegexp("a{3}[+*]?b+"), 1);
    EXPECT_EQ(Tstring("abc").matchesRegexp(nullptr), 0);
    // The output may be the subject itself.
    Tstring self("path/name.ext");
    EXPECT_EQ(self.matchesRegexp("(.*)/(.*)", &self, &a), 2);
    EXPECT_EQ(self, "path");
    EXPECT_EQ(a, "name.ext");
}

TEST(TstringNumber, SetDoubleRules) {
    Tstring s;
    s.setDouble(1.5, 3, false);
    EXPECT_EQ(s, "1.5");
    s.setDouble(2.0, 3, false);
    EXPECT_EQ(s, "2");
    s.setDouble(1e-12);
    EXPECT_EQ(s, "0");
    s.setDouble(-1e-12, 4, false);
    EXPECT_EQ(s, "0");
    s.setDouble(123.456); // 3 integer digits + 6
    EXPECT_EQ(s, "123.456");
    s.setDouble(0.1234567891);
    EXPECT_EQ(s, "0.123457");
    s.setDouble(120.0, 2, false);
    EXPECT_EQ(s, "120");
    s.setDouble(2.5, -1, true); // a negative precision: plain "%lg"
    EXPECT_EQ(s, "2.5");
    s.setDouble(1e300); // 301 integer digits + 6: printed in full
    EXPECT_EQ(s.length(), 301u);
}

TEST(TstringNumber, ClampingOffUsesSeventeenDigits) {
    Tstring::fsFloatClampingOnConversion = false;
    Tstring s;
    s.setDouble(0.1, 3, true);
    EXPECT_EQ(s, "0.10000000000000001");
    s.setDouble(1e-12, 3, true);
    EXPECT_EQ(s, "9.9999999999999998e-13");
    Tstring::fsFloatClampingOnConversion = true;
}

TEST(TstringNumber, IntegersBothWays) {
    Tstring s;
    s.setInt32(-42);
    EXPECT_EQ(s, "-42");
    s.setInt64(INT64_MIN);
    EXPECT_EQ(s, "-9223372036854775808");
    s.setUInt64(UINT64_MAX);
    EXPECT_EQ(s, "18446744073709551615");
    s.setUInt32(0);
    EXPECT_EQ(s, "0");

    EXPECT_EQ(Tstring("-17xyz").asInt32(), -17);
    EXPECT_EQ(Tstring("").asInt32(), 0);
    EXPECT_EQ(Tstring("abc").asDouble(), 0.0);
    EXPECT_EQ(Tstring("70000").asInt16(), static_cast<Tint16>(70000));
    EXPECT_EQ(Tstring("4294967295").asUInt32(), 4294967295u);
    EXPECT_FLOAT_EQ(Tstring(" 2.5e1").asFloat(), 25.0f);

    EXPECT_TRUE(Tstring("-32768").isInt16());
    EXPECT_FALSE(Tstring("32768").isInt16());
    EXPECT_TRUE(Tstring("+2147483647").isInt32());
    EXPECT_FALSE(Tstring("2147483648").isInt32());
    EXPECT_FALSE(Tstring("-").isInt32());
    EXPECT_FALSE(Tstring("12 ").isInt32());
    EXPECT_FALSE(Tstring("-1").isUInt32());
    EXPECT_TRUE(Tstring("4294967295").isUInt32());
    EXPECT_FALSE(Tstring("4294967296").isUInt32());
    EXPECT_TRUE(Tstring("-1.5e3").isDouble());
    EXPECT_FALSE(Tstring("1.5x").isDouble());
    EXPECT_FALSE(Tstring("").isDouble());
    EXPECT_FALSE(Tstring("1e300").isFloat());
    EXPECT_TRUE(Tstring("1e300").isDouble());
    EXPECT_FALSE(Tstring("nan").isDouble());
}

TEST(TstringFormat, Cformat) {
    Tstring s;
    EXPECT_EQ(s.cformat("%d-%s", 7, "x"), 3);
    EXPECT_EQ(s, "7-x");
    // Longer than the first 256-byte attempt, and feeding on itself.
    const std::string long1(300, 'a');
    EXPECT_EQ(s.cformat("%s", long1.c_str()), 300);
    EXPECT_EQ(s.cformat("%s|%s", s.asC(), s.asC()), 601);
    EXPECT_EQ(s.length(), 601u);
    EXPECT_EQ(s[300], '|');
    EXPECT_EQ(Tstring::cformatString("%05.1f", 2.25), "002.2");
    EXPECT_EQ(s.cformat(nullptr), -1);
}

TEST(TstringFormat, OutputTooLargeFails) {
    Tstring s("before");
    // 2^30 characters would need a 2^31-byte buffer: refused without allocating it.
    EXPECT_EQ(s.cformat("%*d", 1 << 30, 1), -1);
    EXPECT_TRUE(s.isEmpty());
}

TEST(TstringFormat, StringArguments) {
    const Tstring who("world"), what("hello");
    Tstring s;
    EXPECT_EQ(s.format("%2, %1! 100%% %3", &who, &what, nullptr), 21);
    EXPECT_EQ(s, "hello, world! 100% %3");
}

TEST(TnameString, NaturalOrder) {
    auto cmp = TnameString::strnumcmp;
    EXPECT_LT(cmp("a9", "a10"), 0);
    EXPECT_GT(cmp("a10", "a9"), 0);
    EXPECT_EQ(cmp("a10b", "a10b"), 0);
    EXPECT_LT(cmp("a10b", "a10c"), 0);
    EXPECT_LT(cmp("a01", "a1"), 0); // "0" compares as a character
    EXPECT_GT(cmp("x2y10", "x2y9z"), 0);
    EXPECT_LT(cmp("ab", "abc"), 0);
    EXPECT_LT(cmp("\xe9", "a"), 0); // signed bytes
    EXPECT_EQ(cmp(nullptr, ""), 0);
    // Runs of 16 digits and more: length first, then digit by digit.
    EXPECT_LT(cmp("n9999999999999999", "n10000000000000000"), 0);
    EXPECT_LT(cmp("n1234567890123456", "n1234567890123457"), 0);
    EXPECT_LT(cmp("n99999999999999999999", "n100000000000000000000"), 0);
}

TEST(TnameString, VersionParts) {
    const TnameString n("pCube12");
    EXPECT_EQ(n.baseString(), "pCube");
    EXPECT_EQ(n.versionString(), "12");
    EXPECT_EQ(n.versionNumber(), 12);
    const TnameString plain("name");
    EXPECT_EQ(plain.baseString(), "name");
    EXPECT_EQ(plain.versionNumber(), 0);
    EXPECT_EQ(plain.versionString(), "");
    EXPECT_EQ(TnameString("99999999999999999999999").versionNumber(), INT64_MAX);
    EXPECT_LT(TnameString("item9"), TnameString("item10"));
}
