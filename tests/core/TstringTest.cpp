#include "grundel/core/Tstring.h"

#include "grundel/core/TcharString.h"
#include "grundel/core/TstringId.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

// The hash as written: one byte at a time over the whole text.
TuInt32 referenceHash(const std::string& s) {
    if (s.empty())
        return 0xFFFFFFFFu;
    TuInt32 h = 0;
    for (char c : s)
        h = (h << 1) ^ static_cast<TuInt32>(static_cast<Tint32>(static_cast<signed char>(c)));
    return h ^ (h >> 10) ^ (h >> 20);
}

} // namespace

TEST(Tstring, EmptyStringsHoldNothingAndCompareEqual) {
    Tstring none;
    EXPECT_STREQ(none.asC(), "");
    EXPECT_STREQ(*none, "");
    EXPECT_EQ(none.data(), nullptr);
    EXPECT_EQ(Tstring("").data(), nullptr);
    EXPECT_EQ(Tstring(static_cast<const char*>(nullptr)).data(), nullptr);

    Tstring allocated(10u); // a block, but no text
    ASSERT_NE(allocated.data(), nullptr);
    EXPECT_EQ(allocated.length(), 0u);
    EXPECT_TRUE(allocated == none);
    EXPECT_TRUE(none == allocated);
    EXPECT_EQ(allocated.compare(none), 0);
    EXPECT_EQ(none[0], '\0');
}

TEST(Tstring, CopySharesUntilWrite) {
    Tstring a("shared text");
    Tstring b(a);
    EXPECT_EQ(a.data(), b.data());
    EXPECT_EQ(a.shareCount(), 2);

    b += "!";
    EXPECT_NE(a.data(), b.data());
    EXPECT_EQ(a, "shared text");
    EXPECT_EQ(b, "shared text!");
    EXPECT_EQ(a.shareCount(), 1);

    Tstring c(a);
    c.toUpperCase();
    EXPECT_EQ(a, "shared text");
    EXPECT_EQ(c, "SHARED TEXT");

    // Assigning a string that holds the same block changes nothing.
    Tstring d(a);
    const auto* block = d.data();
    d = a;
    d.set(d);
    EXPECT_EQ(d.data(), block);
    EXPECT_EQ(a.shareCount(), 2);
}

TEST(Tstring, InPlaceOperationsChangeEverySharer) {
    Tstring a("  one \t two  ");
    Tstring b(a);
    a.collapseWhiteSpace();
    EXPECT_EQ(a.data(), b.data());
    EXPECT_EQ(b, "one two");

    Tstring c("aaaa bbbb cccc");
    Tstring d(c);
    c.formatToWidth(6);
    EXPECT_EQ(d, "aaaa\nbbbb\ncccc");

    // Nothing left: the shared block is let go, the sharer keeps its text.
    Tstring e(" \t ");
    Tstring f(e);
    e.collapseWhiteSpace();
    EXPECT_EQ(e.data(), nullptr);
    EXPECT_EQ(f, " \t ");
    Tstring g(" \n");
    g.collapseWhiteSpace();
    EXPECT_TRUE(g.isEmpty());
}

TEST(Tstring, CasesThatChangeNothingDoNotCopy) {
    Tstring a("lower case 123");
    Tstring b(a);
    b.toLowerCase();
    b.removeSpaces().capitalize();
    EXPECT_EQ(a, "lower case 123");
    EXPECT_EQ(b, "Lowercase123");
    Tstring c(a);
    c.toLowerCase();
    c.removeInitialAndFinalSpaces();
    EXPECT_EQ(c.data(), a.data());
}

TEST(Tstring, BlockSizesFollowTheSizingRules) {
    auto* zero = Tstring::TstringData::create(0);
    EXPECT_EQ(zero->fCapacity, 4u); // a 20-byte block
    EXPECT_EQ(Tstring::TstringData::blockSize(zero->fCapacity), 20u);
    EXPECT_EQ(zero->fCount.value(), 1);
    std::free(zero);
    EXPECT_EQ(Tstring(5u).capacity(), 24u); // 40 bytes
    EXPECT_EQ(Tstring(16u).capacity(), 24u); // (16 + 35) / 20 * 20 = 40 bytes

    // A sole owner grows to n + 20 rounded down to 4, minus the header: about
    // four characters of slack, never geometric.
    Tstring s("abcd"); // a 20-byte block
    ASSERT_EQ(s.capacity(), 4u);
    s += std::string(21, 'x').c_str(); // 25 characters
    EXPECT_EQ(s.capacity(), ((25u + 20) & ~3u) - 16);
    // One character at a time, see TstringAppendTest.

    // shrink() brings the capacity down to the length plus slack.
    Tstring big(1000u);
    big = "short";
    big.shrink();
    EXPECT_EQ(big.capacity(), ((5u + 20) & ~3u) - 16);
    EXPECT_EQ(big, "short");
}

TEST(Tstring, ReserveAndResizeKeepOrDropText) {
    // With room to spare, keep false does not clear the text: deliberate.
    Tstring roomy(50u);
    roomy = "kept";
    roomy.reserve(10, false);
    EXPECT_EQ(roomy, "kept");
    roomy.reserve(100, false);
    EXPECT_TRUE(roomy.isEmpty());
    EXPECT_GE(roomy.capacity(), 100u);

    Tstring a("shared");
    Tstring b(a);
    b.reserve(3, true); // shared: a block of its own, with the whole text
    EXPECT_NE(a.data(), b.data());
    EXPECT_EQ(b, "shared");
    Tstring c(a);
    c.resize(3, true); // shared and shrinking: the first three characters
    EXPECT_EQ(c, "sha");
    EXPECT_EQ(a, "shared");
    Tstring d(a);
    d.resize(3, false);
    EXPECT_TRUE(d.isEmpty());
}

TEST(Tstring, AppendingAcceptsItsOwnText) {
    Tstring s("abc");
    s += s;
    EXPECT_EQ(s, "abcabc");
    // Fill exactly to capacity, then append a piece of itself.
    Tstring full(std::string(24, 'q').c_str());
    ASSERT_EQ(full.length(), full.capacity());
    full.catenate(full.asC() + 2, 10);
    EXPECT_EQ(full, std::string(34, 'q').c_str());
    Tstring shared("xyz");
    Tstring other(shared);
    shared.catenate(shared.asC(), 3);
    EXPECT_EQ(shared, "xyzxyz");
    EXPECT_EQ(other, "xyz");
    Tstring self("hello world");
    self.set(self.asC() + 6);
    EXPECT_EQ(self, "world");
    self.set(self.asC(), 3);
    EXPECT_EQ(self, "wor");
}

TEST(Tstring, AppendForms) {
    Tstring s;
    s.catenateChar(nullptr, 5);
    EXPECT_EQ(s.data(), nullptr);
    s.appendChar("xyz", 2);
    s.appendSpace();
    s.append("a");
    s.append('b');
    s.appendNewline();
    s.catenate("tail", 2);
    EXPECT_EQ(s, "xy ab\nta");
    EXPECT_EQ(Tstring("a") + Tstring("b") + "c" + 'd', "abcd");
    EXPECT_EQ("x" + Tstring("y"), "xy");
    Tstring cleared("text");
    cleared = static_cast<const char*>(nullptr);
    EXPECT_TRUE(cleared.isEmpty());
    Tstring raw;
    raw.setChar("a\0b", 3);
    EXPECT_EQ(raw.length(), 3u);
    EXPECT_EQ(raw[2], 'b');
}

TEST(Tstring, IndexingAndSearchingAtTheEnds) {
    const Tstring s("abcabc");
    EXPECT_EQ(s[5], 'c');
    EXPECT_EQ(s[6], '\0');
    EXPECT_EQ(s[1000000], '\0');
    EXPECT_EQ(s.index('c'), 2);
    EXPECT_EQ(s.index('c', 3), 5);
    EXPECT_EQ(s.index('c', 6), -1);
    EXPECT_EQ(s.index('a', -4), 0);
    EXPECT_EQ(Tstring().index('a'), -1);
    EXPECT_EQ(s.rindex('a'), 3);
    EXPECT_EQ(s.rindex('a', 3), 0);
    EXPECT_EQ(s.rindex('c', 100), 5);
    EXPECT_EQ(s.rindex('a', 0), -1);
    EXPECT_EQ(s.findchr("xc"), 2);
    EXPECT_EQ(s.findchr("xc", 3), 5);
    EXPECT_EQ(s.findchr("xyz"), -1);
    EXPECT_EQ(s.findchr(""), -1);
    EXPECT_EQ(s.findrchr("ab"), 4);
    EXPECT_EQ(s.findstr("ca"), 2);
    EXPECT_EQ(s.findstr("bc", 2), 4);
    EXPECT_EQ(s.findstr("zz"), -1);
    EXPECT_EQ(s.findstr(nullptr), -1);
    EXPECT_EQ(s.findrstr("abc"), 3);
    EXPECT_EQ(s.findrstr("abcd"), -1);
}

TEST(Tstring, ComparisonOrders) {
    EXPECT_LT(Tstring("abc"), Tstring("abd"));
    EXPECT_LT(Tstring("ab"), Tstring("abc"));
    EXPECT_LT(Tstring("z"), Tstring("\xe9")); // unsigned bytes
    EXPECT_GT(Tstring("b"), "a");
    EXPECT_EQ(Tstring("ABC").caseCompare("abc"), 0);
    EXPECT_EQ(Tstring("abc").compare("abd"), -1);
    EXPECT_EQ(Tstring("abd").compare("abc"), 1);
    EXPECT_NE(Tstring("abc"), Tstring("ab"));
    EXPECT_TRUE(Tstring() == static_cast<const char*>(nullptr));
    // Equality counts the length, so an embedded NUL matters.
    EXPECT_NE(Tstring("a\0b", 3), Tstring("a"));

    // Signed bytes for TcharString, unlike Tstring.
    EXPECT_LT(TcharString("\xe9"), TcharString("z"));
    const char* same = "same";
    EXPECT_EQ(TcharString(same), TcharString(same));
    EXPECT_EQ(TcharString(nullptr).value(), TcharString::gNil);
}

TEST(Tstring, HashValues) {
    EXPECT_EQ(Tstring().hash(), 0xFFFFFFFFu);
    EXPECT_EQ(Tstring("").hash(), 0xFFFFFFFFu);
    EXPECT_EQ(Tstring("a").hash(), 97u); // 97 ^ 0 ^ 0
    // A byte of 0x80 or more sign-extends and flips the high bits.
    EXPECT_NE(Tstring("ab\xe9").hash(), Tstring("ab\x69").hash());
    EXPECT_EQ(Tstring("\x80").hash() >> 24, 0xFFu);

    std::mt19937 random(7);
    for (unsigned length = 1; length < 200; ++length) {
        std::string text(length, ' ');
        for (char& c : text)
            c = static_cast<char>(1 + random() % 255);
        EXPECT_EQ(Tstring(text.c_str()).hash(), referenceHash(text)) << length;
    }
}

TEST(Tstring, SubstringBoundaries) {
    const Tstring s("abcdef");
    EXPECT_EQ(s.substring(2, 100), "cdef");
    EXPECT_EQ(s.substring(4, 2), "");
    EXPECT_EQ(s.substring(0, 0), "a");
    EXPECT_EQ(s.substring(5, 5), "f");
    EXPECT_EQ(s.substring(6, 10), "");
    EXPECT_EQ(s.substring(-1, 3), "");
    EXPECT_EQ(Tstring().substring(0, 0), "");
    EXPECT_EQ(s.substring(0, 5).data(), s.data()); // the whole text is shared
    Tstring self("0123456789");
    self.substring(3, 5, self);
    EXPECT_EQ(self, "345");
}

TEST(Tstring, Substitute) {
    Tstring s("a-b-c");
    EXPECT_EQ(s.substitute("-", "--"), 2);
    EXPECT_EQ(s, "a--b--c");
    EXPECT_EQ(s.substitute("--", ""), 2);
    EXPECT_EQ(s, "abc");
    EXPECT_EQ(s.substitute("x", "y"), 0);
    EXPECT_EQ(s.substitute("", "y"), 0);
    EXPECT_EQ(s.substitute("abc", nullptr), 1);
    EXPECT_TRUE(s.isEmpty());
}

TEST(Tstring, SpaceOperations) {
    Tstring a("\t a b\n");
    a.removeSpaces();
    EXPECT_EQ(a, "ab");
    Tstring b("  \tx y  ");
    b.removeInitialAndFinalSpaces();
    EXPECT_EQ(b, "\tx y"); // only 0x20 is trimmed
    Tstring c("    ");
    c.removeInitialAndFinalSpaces();
    EXPECT_TRUE(c.isEmpty());
    Tstring d("\n a \t\t b \r\n c\n");
    d.collapseWhiteSpace();
    EXPECT_EQ(d, "a b c");
}

TEST(Tstring, FormatToWidthBreaks) {
    // A break at the white space that follows a full line.
    Tstring a("abc def ghi");
    a.formatToWidth(3);
    EXPECT_EQ(a, "abc\ndef\nghi");
    // Looking back for the nearest white space.
    Tstring b("ab cdef gh");
    b.formatToWidth(4);
    EXPECT_EQ(b, "ab\ncdef\ngh");
    // No white space within the width: no break, and none until the next
    // "\n" of the text (the column is not reset).
    Tstring c("abcdefgh ij kl\nmn op");
    c.formatToWidth(3);
    EXPECT_EQ(c, "abcdefgh ij kl\nmn\nop");
    Tstring d("abc");
    d.formatToWidth(0);
    EXPECT_EQ(d, "abc");
}

TEST(Tstring, CleanLineEnds) {
    auto cleaned = [](const char* text, unsigned n, Tsystem system) {
        Tstring s(text, n);
        s.clean(system);
        return s;
    };
    // Windows: every line end becomes CR LF.
    Tstring w = cleaned("a\nb\rc\r\nd", 8, kSystemWindows);
    EXPECT_EQ(w, "a\r\nb\r\nc\r\nd");
    EXPECT_EQ(w.length(), 10u);
    // Unix-like: CR and CR LF become LF; the length is kept, so a skipped
    // LF leaves the old last character behind.
    Tstring u = cleaned("a\r\nb", 4, kSystemUnix);
    EXPECT_EQ(u.length(), 4u);
    EXPECT_EQ(std::string(u.asC(), 4), std::string("a\nbb"));
    Tstring n = cleaned("a\rb\nc", 5, kSystemNone);
    EXPECT_EQ(n, "a\rb\nc");
    // Classic and code 3: the length drops by the skipped LFs and the
    // terminator lands one character early.
    Tstring m = cleaned("ab\r\ncd", 6, kSystemMacClassic);
    EXPECT_EQ(m.length(), 5u);
    EXPECT_STREQ(m.asC(), "ab\rc");
    Tstring x = cleaned("ab\r\ncd", 6, kSystemMacOSX);
    EXPECT_EQ(x.length(), 5u);
    EXPECT_STREQ(x.asC(), "ab\nc");
    Tstring y = cleaned("a\nb", 3, kSystemMacClassic); // nothing skipped
    EXPECT_EQ(y, "a\rb");
    // Cleaning a shared string leaves the sharer alone.
    Tstring original("x\ny");
    Tstring copy(original);
    copy.clean(kSystemWindows);
    EXPECT_EQ(original, "x\ny");
}

TEST(Tstring, EscapeSequences) {
    Tstring e("a\tb\\c\xe9\x01\x7f\"");
    e.encodeEscapeSequences();
    EXPECT_EQ(e, "a\\tb\\\\c\\377\\001\\177\"");
    Tstring q("say \"hi\"");
    q.encodeEscapeSequences(true);
    EXPECT_EQ(q, "say \\\"hi\\\"");

    Tstring d("\\101\\q\\n\\\\\\7x");
    d.decodeEscapeSequences();
    EXPECT_EQ(d, "Aq\n\\\ax");
    Tstring octal("\\1234"); // at most three digits
    octal.decodeEscapeSequences();
    EXPECT_EQ(octal, "S4");
    Tstring trailing("ab\\");
    trailing.decodeEscapeSequences();
    EXPECT_EQ(trailing, "ab");
    Tstring nul("a\\0b");
    nul.decodeEscapeSequences();
    EXPECT_EQ(nul.length(), 3u);
    EXPECT_EQ(nul[2], 'b');

    // Every byte below 0x80 survives a round trip.
    std::string all;
    for (int c = 1; c < 0x80; ++c)
        all += static_cast<char>(c);
    Tstring round(all.c_str());
    round.encodeEscapeSequences().decodeEscapeSequences();
    EXPECT_EQ(round, all.c_str());
}

TEST(Tstring, PathParts) {
    const Tstring p("/usr/lib/libx.so.1");
    EXPECT_EQ(p.tail(), "libx.so.1");
    EXPECT_EQ(p.directoryPath(), "/usr/lib");
    EXPECT_EQ(p.extension(), "1");
    EXPECT_EQ(p.baseName(), "libx.so");
    EXPECT_EQ(p.root(), "/usr/lib/libx.so");
    EXPECT_EQ(Tstring("name").tail(), "name");
    EXPECT_EQ(Tstring("name").directoryPath(), "");
    EXPECT_EQ(Tstring("/name").directoryPath(), "/");
    EXPECT_EQ(Tstring("dir.d/file").extension(), "");
    EXPECT_EQ(Tstring("dir.d/file").root(), "dir.d/file");
    EXPECT_EQ(Tstring("/home/.profile").extension(), "");
    EXPECT_EQ(Tstring("/home/.profile").baseName(), ".profile");
    Tstring edit("a/b/c.txt");
    edit.stripExtension();
    EXPECT_EQ(edit, "a/b/c");
    edit.stripPath();
    EXPECT_EQ(edit, "c");
}

TEST(Tstring, NumberedStringsComeFromTheTable) {
    TstringTable::set(90001, "Ninety thousand and one");
    EXPECT_EQ(Tstring(TstringIdNumber(90001)), "Ninety thousand and one");
    EXPECT_EQ(Tstring(TstringId("symbolic", 90001)), "Ninety thousand and one");
    Tstring s("kept");
    TstringId catalog;
    catalog.setCatalog(90001);
    s = catalog;
    EXPECT_EQ(s, "kept");
    s += TstringIdNumber(90001);
    EXPECT_EQ(s, "keptNinety thousand and one");
    EXPECT_TRUE(Tstring(TstringIdNumber(90002)).isEmpty());

    TstringTable::set(90003, std::string(600, 'L').c_str());
    EXPECT_EQ(Tstring(TstringIdNumber(90003)).length(), 510u);
    TstringTable::set(90001, nullptr);
    EXPECT_TRUE(Tstring(TstringIdNumber(90001)).isEmpty());

    TstringId id("name", 4);
    TstringId copy(id);
    EXPECT_STREQ(copy.symbolicName(), "name");
    EXPECT_NE(copy.symbolicName(), id.symbolicName());
    copy.set(TstringIdNumber(5));
    EXPECT_TRUE(copy.isNumeric());
    EXPECT_EQ(copy.symbolicName(), nullptr);
}

TEST(Tstring, PascalForm) {
    unsigned char buffer[256];
    const unsigned char* p = Tstring("abc").asPascal(buffer);
    EXPECT_EQ(p[0], 3);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(p + 1), 3), "abc");
    EXPECT_EQ(Tstring(std::string(300, 'x').c_str()).asPascal()[0], 255);
}

TEST(Tstring, SharedCopiesAcrossThreads) {
    const Tstring source("a string copied and dropped by many threads at once");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&source] {
            for (int i = 0; i < 20000; ++i) {
                Tstring copy(source);
                Tstring other = copy;
                other += "!"; // a private block
            }
        });
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(source.shareCount(), 1);
}
