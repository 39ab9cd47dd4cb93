// The string-keyed tables with the keys scenes are made of: names with a
// running number, random names, names with every byte value and names up to
// 1 MB long.
#include "grundel/core/TkeyWordHashTable.h"
#include "grundel/core/TptrHashTable.h"
#include "grundel/core/TstringHashTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

std::vector<Tstring> numberedNames(int count, const char* prefix = "pCube") {
    std::vector<Tstring> names;
    for (int i = 1; i <= count; ++i)
        names.push_back(Tstring::cformatString("%s%d", prefix, i));
    return names;
}

std::vector<Tstring> randomNames(int count, unsigned seed) {
    static const char kAlphabet[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
    std::mt19937 rng(seed);
    std::vector<Tstring> names;
    std::unordered_set<std::string> seen;
    while (static_cast<int>(names.size()) < count) {
        std::string s(12, ' ');
        for (char& c : s)
            c = kAlphabet[rng() % (sizeof kAlphabet - 1)];
        if (seen.insert(s).second)
            names.emplace_back(s);
    }
    return names;
}

// One interface over both string-keyed tables, for the typed tests.
struct PairTable : TstringHashTable {
    void add(const Tstring& k, const Tstring& v) { insert(k, v); }
    bool has(const Tstring& k) const { return find(k) != nullptr; }
    std::vector<std::string> keys() const {
        std::vector<std::string> out;
        Iterator it(*this);
        Tstring k;
        for (bool more = it.first(); more && it.getKey(k); more = it.next())
            out.emplace_back(k.view());
        return out;
    }
};
struct KeyTable : TstringKeyHashTable {
    void add(const Tstring& k, const Tstring&) { insert(k); }
    bool has(const Tstring& k) const { return find(k); }
    std::vector<std::string> keys() const {
        std::vector<std::string> out;
        Iterator it(*this);
        Tstring k;
        for (bool more = it.first(); more && it.getKey(k); more = it.next())
            out.emplace_back(k.view());
        return out;
    }
};

template <class Table>
class StringKeyedTable : public ::testing::Test {};
using Tables = ::testing::Types<PairTable, KeyTable>;
TYPED_TEST_SUITE(StringKeyedTable, Tables);

std::vector<std::string> sortedTexts(const std::vector<Tstring>& names) {
    std::vector<std::string> out;
    for (const Tstring& n : names)
        out.emplace_back(n.view());
    std::sort(out.begin(), out.end());
    return out;
}

// Finds every name, misses others, walks each entry once, removes half.
template <class Table>
void checkKeys(const std::vector<Tstring>& names, const std::vector<Tstring>& absent) {
    Table t;
    for (const Tstring& n : names)
        t.add(n, n);
    ASSERT_EQ(t.entryCount(), names.size());
    for (const Tstring& n : names)
        ASSERT_TRUE(t.has(Tstring(n.asC(), n.length()))) << n.asC(); // another block, same text
    for (const Tstring& n : absent)
        ASSERT_FALSE(t.has(n)) << n.asC();
    std::vector<std::string> walked = t.keys();
    std::sort(walked.begin(), walked.end());
    EXPECT_EQ(walked, sortedTexts(names));

    for (std::size_t i = 0; i < names.size(); i += 2)
        ASSERT_TRUE(t.remove(names[i]));
    for (std::size_t i = 0; i < names.size(); ++i)
        ASSERT_EQ(t.has(names[i]), i % 2 == 1) << names[i].asC();
    EXPECT_EQ(t.entryCount(), names.size() / 2);
}

TYPED_TEST(StringKeyedTable, NumberedNamesFoundMissedWalkedAndRemoved) {
    checkKeys<TypeParam>(numberedNames(100000), numberedNames(2000, "pSphere"));
}

TYPED_TEST(StringKeyedTable, RandomNamesFoundMissedWalkedAndRemoved) {
    checkKeys<TypeParam>(randomNames(20000, 1), randomNames(2000, 2));
}

TYPED_TEST(StringKeyedTable, NamesWithEveryByteValueAndOfEveryLength) {
    std::vector<Tstring> names;
    for (int b = 0; b < 256; ++b) {
        const char c = static_cast<char>(b);
        names.emplace_back(&c, 1u);
        const char pair[2] = {'n', c}; // a NUL inside the text too
        names.emplace_back(pair, 2u);
    }
    names.emplace_back(); // the empty name
    std::string text(1 << 20, '\0');
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<char>(i * 131 + (i >> 8));
    for (std::size_t n = 3; n <= 64; ++n)
        names.emplace_back(text.data(), static_cast<unsigned>(n));
    for (std::size_t n = 128; n <= text.size(); n *= 2) {
        names.emplace_back(text.data(), static_cast<unsigned>(n - 1));
        names.emplace_back(text.data(), static_cast<unsigned>(n));
    }
    // Same length, differing only in the last byte.
    std::string last = text;
    last.back() ^= 1;
    const std::vector<Tstring> absent = {Tstring(last), Tstring(text.data() + 1, 64u), Tstring("\xff\xff")};
    checkKeys<TypeParam>(names, absent);
}

TEST(TstringHashTable, KeyHashSpreadsNumberedNamesOverTheBuckets) {
    const std::vector<Tstring> names = numberedNames(100000);
    constexpr TuInt32 kBuckets = 1u << 17; // fuller than a table ever is
    std::vector<int> chains(kBuckets);
    std::unordered_set<TuInt32> hashes;
    std::unordered_set<TuInt32> linear;
    for (const Tstring& n : names) {
        hashes.insert(TstringHashTable::keyHash(n));
        linear.insert(n.hash());
        ++chains[ThashTable::tableIndex(TstringHashTable::keyHash(n), kBuckets)];
    }
    EXPECT_LT(linear.size(), 5000u); // why the tables do not use Tstring::hash
    EXPECT_GT(hashes.size(), 99990u);
    EXPECT_LE(*std::max_element(chains.begin(), chains.end()), 10);

    // A function of the text alone, the same in both tables.
    const Tstring a("pCube42"), b(std::string_view("pCube42"));
    EXPECT_NE(a.data(), b.data());
    EXPECT_EQ(TstringHashTable::keyHash(a), TstringHashTable::keyHash(b));
    EXPECT_EQ(TstringKeyHashTable::keyHash(a), TstringHashTable::keyHash(a));
    EXPECT_NE(TstringHashTable::keyHash(Tstring("a\0", 2u)), TstringHashTable::keyHash(Tstring("a")));
}

TEST(TstringHashTable, EqualNumberedKeysMeetTheNewestFirst) {
    const std::vector<Tstring> names = numberedNames(3000);
    TstringHashTable t;
    t.lockSize(); // the chains keep their order while the size is frozen
    for (const Tstring& n : names)
        t.insert(n, "old");
    for (const Tstring& n : names)
        t.insert(n, "new");
    for (const Tstring& n : names)
        ASSERT_EQ(*t.find(n), "new");
    for (const Tstring& n : names)
        ASSERT_TRUE(t.remove(n));
    for (const Tstring& n : names)
        ASSERT_EQ(*t.find(n), "old");
    t.unlockSize();

    TstringKeyHashTable keys;
    keys.insert("k");
    keys.insert("k");
    EXPECT_TRUE(keys.remove("k") && keys.find("k") && keys.remove("k"));
    EXPECT_FALSE(keys.find("k"));
}

// Moves hand the entries over without copying them; the source is empty and
// usable, and self-moves keep the table.
template <class Table, class Key>
void checkMoves(const Key& a, const Key& b) {
    Table t;
    t.insert(a);
    Table moved(std::move(t));
    EXPECT_EQ(t.entryCount(), 0u);
    EXPECT_FALSE(t.find(a));
    EXPECT_TRUE(moved.find(a));
    Table target;
    target.insert(b);
    target = std::move(moved);
    EXPECT_TRUE(target.find(a));
    EXPECT_FALSE(target.find(b));
    EXPECT_EQ(moved.entryCount(), 0u);
    Table& alias = target;
    target = std::move(alias);
    EXPECT_TRUE(target.find(a));
    t.insert(b); // a moved-from table works as a new one
    EXPECT_TRUE(t.find(b));
}

TEST(StringKeyedTable, EveryTableMovesItsEntries) {
    checkMoves<TstringKeyHashTable>(Tstring("a"), Tstring("b"));
    checkMoves<TkeyWordHashTable>("a", "b");
    int x = 0, y = 0;
    checkMoves<TptrHashTable>(static_cast<void*>(&x), static_cast<void*>(&y));

    TstringHashTable pairs;
    pairs.insert("k", "v");
    const Tstring* value = pairs.find("k");
    TstringHashTable other;
    other = std::move(pairs);
    EXPECT_EQ(other.find("k"), value); // the same entry, not a copy
    EXPECT_EQ(pairs.find("k"), nullptr);
}

} // namespace
