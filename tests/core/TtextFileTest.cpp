// Tfile (formatted text out, lines in) and TargList (a line's arguments).
#include <grundel/grundel.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <unistd.h>

namespace {

std::vector<std::string> argsOf(const char* line) {
    std::vector<std::string> out;
    for (const Tstring& arg : TargList(line))
        out.emplace_back(arg.view());
    return out;
}

TEST(TargList, BlanksQuotesAndEscapes) {
    using V = std::vector<std::string>;
    EXPECT_EQ(argsOf(""), V{});
    EXPECT_EQ(argsOf(" \t\r\n"), V{});
    EXPECT_EQ(argsOf("a  b\tc\r\n"), (V{"a", "b", "c"}));
    EXPECT_EQ(argsOf("-type \"double3\" 1 2 3"), (V{"-type", "double3", "1", "2", "3"}));
    EXPECT_EQ(argsOf("\"a b\" \"\" x"), (V{"a b", "", "x"}));
    EXPECT_EQ(argsOf("\"q\\\"uote\" \"back\\\\slash\" \"keep\\n\""), (V{"q\"uote", "back\\slash", "keep\\n"}));
    EXPECT_EQ(argsOf("\"unterminated rest"), (V{"unterminated rest"}));
    EXPECT_EQ(argsOf("\"ends with\\"), (V{"ends with\\"}));
    EXPECT_EQ(argsOf("mid\"quote x"), (V{"mid\"quote", "x"}));

    const TargList list("a b");
    EXPECT_EQ(list.count(), 2);
    EXPECT_EQ(list[-1], "");
    EXPECT_EQ(list[2], "");
    EXPECT_EQ(list.join(1), "b");
    EXPECT_EQ(list.join(5), "");
}

TEST(TargList, QuotedJoinsParseBackToTheSameArguments) {
    std::mt19937 random(3);
    const std::string alphabet = "ab \"\\\t-";
    for (int round = 0; round < 500; ++round) {
        TargList list;
        const int n = int(random() % 5);
        for (int i = 0; i < n; ++i) {
            std::string arg;
            for (int k = int(random() % 6); k > 0; --k)
                arg.push_back(alphabet[random() % alphabet.size()]);
            list.add(Tstring(std::string_view(arg)));
        }
        const TargList again(list.join().view());
        ASSERT_EQ(again.count(), list.count()) << list.join().asC();
        for (int i = 0; i < list.count(); ++i)
            EXPECT_EQ(again[i], list[i]) << list.join().asC();
    }
}

TEST(Tfile, NumbersAreShortestAndExact) {
    Tfile out;
    EXPECT_EQ(out.putDouble(0.1), 0);
    EXPECT_EQ(out.putChar(' '), 0);
    EXPECT_EQ(out.putFloat(0.1f), 0);
    EXPECT_EQ(out.putChar(' '), 0);
    EXPECT_EQ(out.putDouble(-0.0), 0);
    EXPECT_EQ(out.putString(" "), 0);
    EXPECT_EQ(out.putInt(-9223372036854775807LL - 1), 0);
    EXPECT_EQ(out.putString(std::string_view(" ")), 0);
    EXPECT_EQ(out.putUInt(18446744073709551615ULL), 0);
    EXPECT_EQ(out.printf(" %s=%d", "n", 5), 0);
    EXPECT_EQ(out.putString(static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(out.text(), "0.1 0.1 -0 -9223372036854775808 18446744073709551615 n=5");

    // Every digit on request: 17 for doubles, 9 for floats, trailing zeros
    // dropped; a moved file keeps the setting.
    Tfile full;
    full.setFullDigits(true);
    Tfile moved(std::move(full));
    EXPECT_TRUE(moved.fullDigits());
    for (double value : {0.1, 1.5, 1e300, -0.0, 5e-324})
        EXPECT_EQ(moved.putDouble(value) | moved.putChar(' '), 0);
    for (float value : {0.1f, 3.0f, std::numeric_limits<float>::infinity()})
        EXPECT_EQ(moved.putFloat(value) | moved.putChar(' '), 0);
    EXPECT_EQ(moved.text(), "0.10000000000000001 1.5 1.0000000000000001e+300 -0 4.9406564584124654e-324 "
                            "0.100000001 3 inf ");
}

TEST(Tfile, LinesFromTextAndFromDisk) {
    Tfile in;
    in.openText("one\r\ntwo\n\nlast");
    Tstring line;
    std::vector<std::string> lines;
    while (in.readLine(line))
        lines.emplace_back(line.view());
    EXPECT_EQ(lines, (std::vector<std::string>{"one", "two", "", "last"}));
    EXPECT_FALSE(in.readLine(line));
    EXPECT_EQ(line, "");

    char path[] = "/tmp/grundel-tfile-XXXXXX";
    const int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    close(fd);
    {
        Tfile out;
        ASSERT_TRUE(out.open(path, "w"));
        EXPECT_TRUE(out.isFile());
        EXPECT_EQ(out.putDouble(2.5), 0);
        EXPECT_EQ(out.putChar('\n'), 0);
        EXPECT_EQ(out.printf("%s\n", "x y"), 0);
        EXPECT_EQ(out.text(), ""); // nothing collects in memory
        Tfile moved(std::move(out));
        EXPECT_EQ(moved.close(), 0);
    }
    Tfile back;
    ASSERT_TRUE(back.open(path, "r"));
    ASSERT_TRUE(back.readLine(line));
    EXPECT_EQ(line, "2.5");
    ASSERT_TRUE(back.readLine(line));
    EXPECT_EQ(line, "x y");
    EXPECT_FALSE(back.readLine(line));
    EXPECT_EQ(back.putChar('z'), -1); // opened for reading
    std::remove(path);

    Tfile missing;
    EXPECT_FALSE(missing.open("/nonexistent/dir/file", "r"));
    EXPECT_FALSE(missing.isFile());
    EXPECT_FALSE(missing.open(nullptr, "r"));
}

} // namespace
