#include "grundel/core/ThashTable.h"

#include "grundel/core/Tcrc32.h"
#include "grundel/core/Texception.h"
#include "grundel/core/ThashTable_p.h"
#include "grundel/core/TkeyWordHashTable.h"
#include "grundel/core/TptrHashTable.h"
#include "grundel/core/TstringHashTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

// Entries whose hash the test chooses, so that buckets and chains are known.
class TidTable : public ThashTable {
public:
    struct Entry : ThashTableEntry {
        int fId = 0;
    };

    using ThashTable::ThashTable;
    using ThashTable::setTableSize;
    ~TidTable() override { destroyEntries<Entry>(); }

    bool add(TuInt32 hash, int id) {
        Entry* e = newEntry<Entry>();
        e->fId = id;
        return insertWithHash(e, hash);
    }
    bool removeOne(TuInt32 hash) {
        Entry* e = unlinkEntry<Entry>(hash, [](const Entry&) { return true; });
        delete e;
        if (e)
            shrinkTable();
        return e != nullptr;
    }

    // Ids in walk order; entries for which drop(id) holds are removed
    // through the iterator as they are met.
    template <class Drop>
    std::vector<int> walk(Drop drop) {
        struct Walker : ThashTableIterator {
            explicit Walker(const ThashTable& t) : ThashTableIterator(t) {}
            using ThashTableIterator::_first;
            using ThashTableIterator::_next;
            using ThashTableIterator::_remove;
            using ThashTableIterator::bucket;
        } w(*this);
        std::vector<int> ids;
        for (ThashTableEntry* e = w._first(); e; e = w._next()) {
            ids.push_back(static_cast<Entry*>(e)->fId);
            if (drop(ids.back())) {
                EXPECT_TRUE(w._remove(e, w.bucket()));
                delete static_cast<Entry*>(e);
            }
        }
        return ids;
    }
    std::vector<int> walk() {
        return walk([](int) { return false; });
    }
};

std::vector<int> sorted(std::vector<int> v) {
    std::sort(v.begin(), v.end());
    return v;
}

std::vector<int> range(int n) {
    std::vector<int> v(n);
    for (int i = 0; i < n; ++i)
        v[i] = i;
    return v;
}

// Every pair of a string table in walk order, as "key=value".
std::vector<std::string> pairs(const TstringHashTable& t, bool sort = false) {
    std::vector<std::string> out;
    TstringHashTable::Iterator it(t);
    Tstring k, v;
    for (bool more = it.first(); more; more = it.next()) {
        it.getKey(k);
        it.getData(v);
        out.push_back(std::string(k.asC()) + "=" + v.asC());
    }
    if (sort)
        std::sort(out.begin(), out.end());
    return out;
}

} // namespace

TEST(ThashTable, LimitsRoundUpToPowersOfTwo) {
    struct Case {
        TuInt32 min, max, wantMin, wantMax;
    } cases[] = {{0, 0, 8, 8},           {9, 100, 16, 128},    {100, 9, 128, 128},
                 {8, 8, 8, 8},           {5, 0x80000001u, 8, 0x80000000u},
                 {0xFFFFFFFFu, 0xFFFFFFFFu, 0x80000000u, 0x80000000u}};
    for (const Case& c : cases) {
        ThashTable t(c.min, c.max);
        EXPECT_EQ(t.minimumSize(), c.wantMin) << c.min;
        EXPECT_EQ(t.maximumSize(), c.wantMax) << c.max;
        EXPECT_EQ(t.tableSize(), c.wantMin);
        EXPECT_EQ(t.entryCount(), 0u);
    }
}

TEST(ThashTable, GrowsPastThreeEighthsButNeverPastMaximum) {
    TidTable t(0, 32);
    for (int i = 0; i < 3; ++i)
        t.add(i, i);
    EXPECT_EQ(t.tableSize(), 8u);
    EXPECT_TRUE(t.add(3, 3));
    EXPECT_EQ(t.tableSize(), 16u);
    for (int i = 4; i < 1000; ++i)
        t.add(i, i);
    EXPECT_EQ(t.tableSize(), 32u);

    TidTable fixed(8, 8);
    for (int i = 0; i < 100; ++i)
        fixed.add(i, i);
    EXPECT_EQ(fixed.tableSize(), 8u);
    EXPECT_EQ(sorted(fixed.walk()), range(100));
}

TEST(ThashTable, ShrinksBelowOneEighthButNeverBelowMinimum) {
    TidTable t(16);
    for (int i = 0; i < 100; ++i)
        t.add(i, i);
    ASSERT_EQ(t.tableSize(), 512u);
    std::vector<std::pair<TuInt32, TuInt32>> halvings; // (count, new size)
    for (int i = 99; i >= 0; --i) {
        const TuInt32 before = t.tableSize();
        ASSERT_TRUE(t.removeOne(i));
        if (t.tableSize() != before)
            halvings.push_back({t.entryCount(), t.tableSize()});
    }
    const std::vector<std::pair<TuInt32, TuInt32>> want = {{63, 256}, {31, 128}, {15, 64}, {7, 32}, {3, 16}};
    EXPECT_EQ(halvings, want);
    EXPECT_FALSE(t.removeOne(0));
}

TEST(ThashTable, SizeLockNestsAndLastUnlockResizesAtOnce) {
    TidTable t;
    t.lockSize();
    t.lockSize();
    EXPECT_EQ(t.sizeLockDepth(), 2u);
    for (int i = 0; i < 100; ++i)
        t.add(i, i);
    EXPECT_EQ(t.tableSize(), 8u);
    EXPECT_EQ(t.maximumSize(), 8u);
    EXPECT_FALSE(t.resize());
    EXPECT_TRUE(t.unlockSize());
    EXPECT_EQ(t.tableSize(), 8u);
    EXPECT_TRUE(t.unlockSize());
    EXPECT_EQ(t.tableSize(), 512u); // several doublings in one step
    EXPECT_EQ(t.minimumSize(), 8u);
    EXPECT_EQ(t.maximumSize(), ThashTable::kLargestSize);

    t.lockSize();
    for (int i = 0; i < 95; ++i)
        t.removeOne(i);
    EXPECT_EQ(t.tableSize(), 512u);
    EXPECT_TRUE(t.unlockSize());
    EXPECT_EQ(t.tableSize(), 32u); // 5 entries: halved while below an eighth
    EXPECT_FALSE(t.unlockSize());
    EXPECT_TRUE(t.resize());
    EXPECT_EQ(t.tableSize(), 32u);
}

TEST(ThashTable, NewestFirstInChainAndEachRehashReversesChains) {
    TidTable t;
    t.add(1, 1);
    t.add(9, 2); // same bucket as hash 1 at size 8
    t.add(0, 3);
    EXPECT_EQ(t.walk(), (std::vector<int>{3, 2, 1}));
    ASSERT_TRUE(t.setTableSize(16));
    EXPECT_EQ(t.walk(), (std::vector<int>{3, 1, 2}));
    ASSERT_TRUE(t.setTableSize(8)); // buckets 1 and 9 merge, walked in index order
    EXPECT_EQ(t.walk(), (std::vector<int>{3, 2, 1}));

    TidTable same(64);
    for (int id = 10; id < 13; ++id)
        same.add(5, id);
    EXPECT_EQ(same.walk(), (std::vector<int>{12, 11, 10}));
    ASSERT_TRUE(same.setTableSize(128));
    EXPECT_EQ(same.walk(), (std::vector<int>{10, 11, 12}));
    ASSERT_TRUE(same.setTableSize(32));
    EXPECT_EQ(same.walk(), (std::vector<int>{12, 11, 10}));
}

TEST(ThashTable, WalkVisitsEachEntryOnceAlsoWhileRemovingUnderLock) {
    TidTable t;
    for (int i = 0; i < 200; ++i)
        t.add(i * 7 % 64, i); // many collisions, long chains
    EXPECT_EQ(sorted(t.walk()), range(200));

    t.lockSize();
    const TuInt32 size = t.tableSize();
    EXPECT_EQ(sorted(t.walk([](int id) { return id % 2 == 0; })), range(200));
    EXPECT_EQ(t.entryCount(), 100u);
    EXPECT_EQ(t.tableSize(), size);
    const std::vector<int> odd = t.walk([](int) { return true; });
    EXPECT_TRUE(std::all_of(odd.begin(), odd.end(), [](int id) { return id % 2 == 1; }));
    EXPECT_EQ(odd.size(), 100u);
    EXPECT_EQ(t.entryCount(), 0u);
    EXPECT_TRUE(t.unlockSize());
    EXPECT_EQ(t.tableSize(), 8u);
    EXPECT_TRUE(t.walk().empty());
}

TEST(ThashTable, BadInputGivesResultsAndKeepsTheTable) {
    TidTable t;
    EXPECT_FALSE(t.unlockSize());
    EXPECT_FALSE(t.removeOne(3));
    EXPECT_FALSE(t.setTableSize(12));
    EXPECT_FALSE(t.setTableSize(0));

    // The very first bucket array: nothing can be stored, nothing changes.
    grundel::detail::failNextBucketAllocations(1);
    EXPECT_THROW(t.add(0, 0), TmemoryException);
    EXPECT_EQ(t.entryCount(), 0u);

    for (int i = 0; i < 3; ++i)
        t.add(i, i);
    grundel::detail::failNextBucketAllocations(1);
    EXPECT_FALSE(t.add(3, 3)); // could not grow, but stored
    EXPECT_EQ(t.tableSize(), 8u);
    EXPECT_EQ(sorted(t.walk()), range(4));

    t.lockSize();
    for (int i = 4; i < 20; ++i)
        t.add(i, i);
    grundel::detail::failNextBucketAllocations(1);
    EXPECT_TRUE(t.unlockSize());
    EXPECT_EQ(t.sizeLockDepth(), 0u);
    EXPECT_EQ(t.tableSize(), 8u);
    EXPECT_EQ(sorted(t.walk()), range(20));
    EXPECT_TRUE(t.resize());
    EXPECT_EQ(t.tableSize(), 64u);
    grundel::detail::failNextBucketAllocations(0);
}

TEST(TstringHashTable, NewerEqualKeysShadowOlderOnesUntilRemoved) {
    TstringHashTable t;
    EXPECT_EQ(t.find("k"), nullptr);
    EXPECT_TRUE(t.insert("k", "old"));
    EXPECT_TRUE(t.insert("k", "new"));
    EXPECT_EQ(t.entryCount(), 2u);
    Tstring out("untouched");
    EXPECT_TRUE(t.find("k", out));
    EXPECT_EQ(out, "new");
    EXPECT_TRUE(t.remove("k"));
    EXPECT_EQ(*t.find("k"), "old");
    EXPECT_TRUE(t.remove("k"));
    EXPECT_FALSE(t.remove("k"));
    out = "untouched";
    EXPECT_FALSE(t.find("k", out));
    EXPECT_EQ(out, "untouched");

    // The empty key is a key like any other.
    t.insert("", "empty");
    EXPECT_EQ(*t.find(Tstring()), "empty");
    EXPECT_EQ(t.find("x"), nullptr);
}

TEST(TstringHashTable, InsertUniqueAndInsertReplaceMeetTheNewestEntry) {
    TstringHashTable t;
    t.insert("k", "a");
    t.insert("k", "b");
    EXPECT_FALSE(t.insertUnique("k", "c"));
    EXPECT_EQ(t.entryCount(), 2u);
    EXPECT_TRUE(t.insertUnique("u", "1"));
    EXPECT_TRUE(t.insertReplace("k", "c"));
    EXPECT_EQ(t.entryCount(), 3u);
    t.remove("k");
    EXPECT_EQ(*t.find("k"), "a"); // the older entry kept its value
    EXPECT_TRUE(t.insertReplace("r", "2"));
    EXPECT_EQ(*t.find("r"), "2");
}

TEST(TstringHashTable, SharesStringsAndReleasesThem) {
    const Tstring key("key"), value("value");
    {
        TstringHashTable t;
        t.insert(key, value);
        EXPECT_EQ(t.find("key")->data(), value.data());
        t.remove(key);
        EXPECT_EQ(value.shareCount(), 1);
        t.insert(key, value);
        t.reset();
        EXPECT_EQ(value.shareCount(), 1);
        t.insert(key, value);
    }
    EXPECT_EQ(key.shareCount(), 1);
}

TEST(TstringHashTable, AcceptsItsOwnStringsAsArguments) {
    TstringHashTable t;
    t.insert("a", "va");
    t.insert("b", "vb");
    t.insert("x", "x");
    const Tstring* va = t.find("a");
    EXPECT_TRUE(t.insert(*va, *va)); // fourth insertion: the table grows
    ASSERT_EQ(t.tableSize(), 16u);
    EXPECT_EQ(*t.find("va"), "va");
    EXPECT_TRUE(t.insertReplace("b", *t.find("b")));
    EXPECT_EQ(*t.find("b"), "vb");
    EXPECT_TRUE(t.remove(*t.find("x"))); // the key is the entry's own value
    EXPECT_EQ(t.find("x"), nullptr);
}

TEST(TstringHashTable, CopiesKeepEntriesOrderAndLimits) {
    TstringHashTable t(16, 64);
    t.insert("k", "a");
    t.insert("k", "b");
    for (int i = 0; i < 20; ++i)
        t.insert(Tstring::cformatString("key%d", i), "v");
    TstringHashTable copy(t);
    EXPECT_EQ(copy.minimumSize(), 16u);
    EXPECT_EQ(copy.maximumSize(), 64u);
    EXPECT_EQ(pairs(copy), pairs(t)); // same walk order, so same sizes and chains
    const Tstring newest = *t.find("k");
    copy.remove("k");
    EXPECT_EQ(*t.find("k"), newest);
    EXPECT_NE(*copy.find("k"), newest);

    TstringHashTable other(8, 8);
    other.insert("gone", "1");
    other = t;
    EXPECT_EQ(pairs(other), pairs(t));
    EXPECT_EQ(other.maximumSize(), 64u);
    const TstringHashTable& alias = other;
    other = alias;
    EXPECT_EQ(pairs(other), pairs(t));

    t.lockSize(); // a copy is never locked and has the real limits
    TstringHashTable unlocked(t);
    EXPECT_EQ(unlocked.sizeLockDepth(), 0u);
    EXPECT_EQ(unlocked.minimumSize(), 16u);

    TstringHashTable moved(std::move(other));
    EXPECT_EQ(pairs(moved), pairs(t));
    EXPECT_EQ(other.entryCount(), 0u);

    TstringHashTable small;
    small.insert("s", "1");
    grundel::detail::failNextBucketAllocations(1);
    EXPECT_THROW(small = t, TmemoryException);
    EXPECT_EQ(pairs(small), std::vector<std::string>{"s=1"});
}

TEST(TstringHashTable, IteratorAppendsAllPairsAlsoToItsOwnTable) {
    TstringHashTable t;
    TstringHashTable::Iterator it(t);
    Tstring k("unchanged");
    EXPECT_FALSE(it.first());
    EXPECT_FALSE(it.getKey(k));
    EXPECT_EQ(k, "unchanged");
    EXPECT_EQ(it.data(), nullptr);

    for (int i = 0; i < 50; ++i)
        t.insert(Tstring::cformatString("k%d", i), Tstring::cformatString("v%d", i));
    TstringHashTable other;
    it.appendAllTo(other);
    EXPECT_EQ(pairs(other, true), pairs(t, true));

    it.appendAllTo(t);
    EXPECT_EQ(t.entryCount(), 100u);
    EXPECT_TRUE(t.remove("k7") && t.remove("k7"));
    EXPECT_EQ(t.find("k7"), nullptr);
}

TEST(TstringHashTable, RemovingTheCurrentKeyUnderLockKeepsTheWalk) {
    TstringHashTable t;
    for (int i = 0; i < 40; ++i)
        t.insert(Tstring::cformatString("k%d", i % 25), "v"); // some keys twice
    t.lockSize();
    TstringHashTable::Iterator it(t);
    int visited = 0;
    Tstring k;
    for (bool more = it.first(); more; more = it.next(), ++visited) {
        it.getKey(k);
        EXPECT_TRUE(t.remove(k));
    }
    EXPECT_EQ(visited, 40);
    EXPECT_EQ(t.entryCount(), 0u);
    t.unlockSize();
    EXPECT_EQ(t.tableSize(), 8u);
}

TEST(TstringKeyHashTable, HoldsKeysWithDuplicates) {
    TstringKeyHashTable t;
    for (const char* k : {"a", "a", "b"})
        t.insert(k);
    TstringKeyHashTable copy(t);
    EXPECT_TRUE(t.remove("a") && t.find("a") && t.remove("a"));
    EXPECT_FALSE(t.find("a"));
    std::string keys;
    TstringKeyHashTable::Iterator it(copy);
    Tstring k;
    for (bool more = it.first(); more && it.getKey(k); more = it.next())
        keys += k.asC();
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(keys, "aab");
}

TEST(TkeyWordHashTable, ComparesCharactersAndTakesNullForEmpty) {
    EXPECT_EQ(TkeyWordHashTable::hashOf("123456789"), 0x340BC6D9u);
    EXPECT_EQ(TkeyWordHashTable::hashOf(nullptr), 0xFFFFFFFFu);
    char word[] = "alpha";
    TkeyWordHashTable t;
    t.insert(word);
    EXPECT_TRUE(t.find("alpha")); // another pointer, same characters
    EXPECT_FALSE(t.find("alph"));
    EXPECT_FALSE(t.find(nullptr));
    t.insert(nullptr);
    EXPECT_TRUE(t.find(""));
    EXPECT_TRUE(t.remove(""));
    EXPECT_FALSE(t.find(nullptr));

    TkeyWordHashTable::Iterator it(t);
    TcharString key;
    ASSERT_TRUE(it.first());
    it.getKey(key);
    EXPECT_EQ(key.value(), word); // the pointer, not a copy
}

TEST(TptrHashTable, HashesTheWholePointer) {
    int objects[2];
    const void* low = reinterpret_cast<const void*>(0x0000000100001000ull);
    const void* high = reinterpret_cast<const void*>(0x0000000200001000ull);
    EXPECT_NE(TptrHashTable::hashOf(low), TptrHashTable::hashOf(high));
    EXPECT_EQ(TptrHashTable::hashOf(low), Tcrc32::calc(&low, sizeof low));

    TptrHashTable t;
    t.insert(low);
    t.insert(&objects[0]);
    t.insert(nullptr);
    EXPECT_TRUE(t.find(low));
    EXPECT_FALSE(t.find(high));
    EXPECT_FALSE(t.find(&objects[1]));
    EXPECT_TRUE(t.find(nullptr));
    EXPECT_TRUE(t.remove(nullptr));
    EXPECT_FALSE(t.remove(nullptr));
}
