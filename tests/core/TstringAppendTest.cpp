// Appending: the sizes asked of the heap, the text at every length across
// the block sizes, and blocks shared with other strings.
#include "grundel/core/Tstring.h"
#include "grundel/core/Tstring_p.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// What a block that its owner grows for n characters asks of the heap.
std::size_t grownBytes(std::size_t n) { return (n + 20) & ~std::size_t(3); }

std::string pattern(std::size_t n) {
    std::string s(n, ' ');
    for (std::size_t i = 0; i < n; ++i)
        s[i] = static_cast<char>('a' + (i * 7 + i / 26) % 26);
    return s;
}

class Requests {
public:
    Requests() { grundel::detail::recordStringBlockRequests(&fSizes); }
    ~Requests() { grundel::detail::recordStringBlockRequests(nullptr); }
    std::vector<std::size_t> fSizes;
};

TEST(TstringAppend, OneCharacterAtATimeAsksTheHeapForSmallSteps) {
    Requests requests;
    Tstring s;
    std::size_t seen = 0;
    for (std::size_t n = 1; n <= 3000; ++n) {
        s += static_cast<char>('a' + n % 26);
        ASSERT_EQ(s.length(), n);
        ASSERT_LE(n, s.capacity());
        if (requests.fSizes.size() == seen)
            continue;
        // A growth asks for exactly the size of the new length, never more.
        ASSERT_EQ(requests.fSizes.size(), seen + 1) << n;
        ASSERT_EQ(requests.fSizes.back(), n == 1 ? 20u : grownBytes(n)) << n;
        seen = requests.fSizes.size();
    }
    EXPECT_EQ(Tstring_toStdString(s), [] {
        std::string t;
        for (std::size_t n = 1; n <= 3000; ++n)
            t += static_cast<char>('a' + n % 26);
        return t;
    }());
    EXPECT_GE(requests.fSizes.size(), 3000u / 64); // at most every 64 characters
}

TEST(TstringAppend, EveryLengthOntoEveryLengthAcrossBlockSizes) {
    const std::string text = pattern(200);
    for (std::size_t start = 0; start <= 90; ++start) {
        for (std::size_t add = 0; add <= 110; add += (add < 40 ? 1 : 7)) {
            Tstring one(text.data(), static_cast<unsigned>(start));
            Tstring many(one); // shares until the first append
            for (std::size_t i = 0; i < add; ++i)
                one += text[start + i];
            many.catenate(text.data() + start, static_cast<unsigned>(add));
            const std::string want = text.substr(0, start + add);
            ASSERT_EQ(Tstring_toStdString(one), want) << start << "+" << add;
            ASSERT_EQ(Tstring_toStdString(many), want) << start << "+" << add;
            ASSERT_EQ(one.asC()[one.length()], '\0');
            ASSERT_LE(one.length(), one.capacity());
        }
    }
}

// Appending one character must never change another string that shares
// the block: not when the block has room, not when it is full, not with
// several sharers.
TEST(TstringAppend, NeverChangesAStringSharingTheBlock) {
    for (int sharers = 1; sharers <= 3; ++sharers) {
        for (std::size_t n = 0; n <= 45; ++n) {
            const std::string text = pattern(n);
            Tstring mine(text.data(), static_cast<unsigned>(n));
            if (n == 0)
                mine.reserve(8); // an empty text in a block of its own
            std::vector<Tstring> others(static_cast<std::size_t>(sharers), mine);
            const auto* block = mine.data();
            mine += 'X';
            ASSERT_NE(mine.data(), block) << n;
            ASSERT_EQ(Tstring_toStdString(mine), text + "X");
            for (const Tstring& other : others) {
                ASSERT_EQ(other.data(), block);
                ASSERT_EQ(other.length(), n);
                ASSERT_EQ(Tstring_toStdString(other), text) << sharers << " sharers, length " << n;
                ASSERT_EQ(other.shareCount(), sharers);
            }
            others.front() += 'Y'; // the last sharers still see the old text
            ASSERT_EQ(Tstring_toStdString(others.front()), text + "Y");
            ASSERT_EQ(Tstring_toStdString(others.back()), sharers > 1 ? text : text + "Y");
        }
    }
}

} // namespace
