#include "grundel/core/Tarrays.h"
#include "grundel/core/TbitField.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <set>
#include <vector>

// An element that counts its lives: every construction is matched by exactly
// one destruction, no object is used after it dies, and none is destroyed
// twice. Object and sorted members are checked through it.

namespace {

struct Counted {
    static inline int sLive = 0;
    static inline int sConstructed = 0;
    static inline std::set<const Counted*>* sAlive = nullptr;

    Counted() : fValue(0) { born(); }
    Counted(int value) : fValue(value) { born(); }
    Counted(const Counted& other) : fValue(other.checked()) { born(); }
    Counted& operator=(const Counted& other) {
        checked();
        fValue = other.checked();
        return *this;
    }
    ~Counted() {
        EXPECT_EQ(sAlive->erase(this), 1u) << "destroyed an object that was not alive";
        --sLive;
        fValue = -999;
    }
    int checked() const {
        EXPECT_EQ(sAlive->count(this), 1u) << "used an object that is not alive";
        return fValue;
    }
    friend bool operator==(const Counted& a, const Counted& b) { return a.checked() == b.checked(); }
    friend bool operator<(const Counted& a, const Counted& b) { return a.checked() < b.checked(); }

    int fValue;

private:
    void born() {
        EXPECT_TRUE(sAlive->insert(this).second) << "constructed over a live object";
        ++sLive;
        ++sConstructed;
    }
};

} // namespace

GRUNDEL_OBJECT_ARRAY(TcountedArray, Counted);
GRUNDEL_SORTED_ARRAY(TcountedSortedArray, Counted);

namespace {

class CountedLives : public ::testing::Test {
protected:
    void SetUp() override {
        Counted::sAlive = &fAlive;
        Counted::sLive = 0;
        Counted::sConstructed = 0;
    }
    void TearDown() override {
        EXPECT_EQ(Counted::sLive, 0) << "objects leaked or destroyed twice";
        EXPECT_TRUE(fAlive.empty());
        Counted::sAlive = nullptr;
    }

    static std::vector<int> values(const TcountedArray& a) {
        std::vector<int> out;
        for (const Counted& c : a)
            out.push_back(c.checked());
        return out;
    }

    std::set<const Counted*> fAlive;
};

TEST_F(CountedLives, EditingKeepsEveryLifeBalanced) {
    {
        TcountedArray a;
        for (int i = 0; i < 100; ++i)
            a.addLast(Counted(i));
        EXPECT_EQ(Counted::sLive, 100);
        a.insert(Counted(-1), 0);
        a.insert(a[50], 10); // an element of our own, at full capacity or not
        EXPECT_EQ(a[10].checked(), 49);
        a.addLast(a[0]);
        EXPECT_EQ(a.last().checked(), -1);
        EXPECT_EQ(a.remove(Counted(49)), 0);
        EXPECT_EQ(a.length(), 102u);
        EXPECT_EQ(Counted::sLive, 102);

        TcountedArray b;
        b.copy(a, 5, 20);
        EXPECT_EQ(b.length(), 20u);
        b.catenate(b); // with itself
        EXPECT_EQ(b.length(), 40u);
        EXPECT_EQ(b[20].checked(), b[0].checked());
        b.copy(b, 30, 5); // from itself
        EXPECT_EQ(b.length(), 5u);

        const Counted* inserted = a.data() + 3;
        a.insert(inserted, 50, 7); // a range of our own that moves while we grow
        EXPECT_EQ(a.length(), 152u);
        a.swap(b);
        EXPECT_EQ(a.length(), 5u);
        a.createAndSet(a[1], 300, 16);
        EXPECT_EQ(a.length(), 300u);
        EXPECT_EQ(Counted::sLive, int(a.length() + b.length()));
    }
    EXPECT_GT(Counted::sConstructed, 0);
}

TEST_F(CountedLives, SortedMembersKeepOrderAndLives) {
    TcountedSortedArray s(true);
    for (int i = 0; i < 200; ++i)
        s.insert(Counted((i * 37) % 101));
    EXPECT_TRUE(std::is_sorted(s.begin(), s.end()));
    EXPECT_EQ(Counted::sLive, 200);
    EXPECT_EQ(s.remove(Counted(5)), 0);
    EXPECT_EQ(Counted::sLive, 199);
}

TEST(ArrayRanges, RangeForAndAlgorithmsSeeTheElementsInOrder) {
    TuInt32Array a;
    for (TuInt32 i = 0; i < 1000; ++i)
        a.addLast(999 - i);
    std::sort(a.begin(), a.end());
    EXPECT_EQ(std::accumulate(a.begin(), a.end(), 0ull), 999ull * 1000 / 2);
    TuInt32 expected = 0;
    for (TuInt32 v : a)
        EXPECT_EQ(v, expected++);

    TstringArray names;
    names.addLast("b");
    names.addLast("a");
    std::sort(names.begin(), names.end(), [](const Tstring& x, const Tstring& y) { return x < y; });
    EXPECT_EQ(names[0], "a");

    const TuInt32Array empty;
    EXPECT_EQ(empty.begin(), empty.end());
}

TEST(BitRanges, BitsWalkAsBoolsFromBitZero) {
    TbitField32 f;
    f.setBit(0, true).setBit(5, true).setBit(31, true);
    std::vector<TuInt32> set;
    TuInt32 i = 0;
    for (bool bit : f) {
        if (bit)
            set.push_back(i);
        ++i;
    }
    EXPECT_EQ(i, 32u);
    EXPECT_EQ(set, (std::vector<TuInt32>{0, 5, 31}));

    TbitFieldFixedN fixed(70);
    fixed.setBit(69, true);
    EXPECT_EQ(std::count(fixed.begin(), fixed.end(), true), 1);
    EXPECT_EQ(std::distance(fixed.begin(), fixed.end()), 70);

    TbitFieldN grown;
    grown.setBit(40, true);
    EXPECT_EQ(std::distance(grown.begin(), grown.end()), 64);
    EXPECT_EQ(std::count(grown.begin(), grown.end(), true), 1);

    TbitField128 wide;
    wide.setBit(127, true);
    EXPECT_EQ(std::count(wide.begin(), wide.end(), true), 1);
}

} // namespace

#ifndef NDEBUG
using ArrayIndexDeathTest = ::testing::Test;

TEST(ArrayIndexDeathTest, DebugBuildsAssertIndices) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    TuInt32Array plain;
    plain.addLast(1);
    EXPECT_DEATH((void)plain[1], "array index out of range");
    TuInt32Array empty;
    EXPECT_DEATH((void)empty.last(), "last\\(\\) of an empty array");
    TstringArray strings;
    EXPECT_DEATH((void)strings.element(0), "array index out of range");
    TuInt32SortedArray sorted;
    EXPECT_DEATH((void)sorted[0], "array index out of range");
}

TEST(ArrayIndexDeathTest, DebugBuildsAssertBitIndices) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    TbitField16 f16;
    EXPECT_DEATH((void)bool(f16[16]), "bit index out of range");
    const TbitField128 f128;
    EXPECT_DEATH((void)f128[128], "bit index out of range");
    TbitFieldFixedN fixed(10);
    EXPECT_DEATH((void)bool(fixed[10]), "bit index out of range");
    TbitMatrix m(2, 3);
    EXPECT_DEATH((void)bool(m[0][3]), "bit index out of range");
    // testBit keeps its defined answer past the end.
    EXPECT_FALSE(f16.testBit(16));
    EXPECT_FALSE(fixed.testBit(10));
}
#endif
