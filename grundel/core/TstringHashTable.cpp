#include "grundel/core/TstringHashTable.h"

#include <cstddef>
#include <cstring>

namespace {

inline TuInt64 load64(const char* p) noexcept {
    TuInt64 v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

inline TuInt64 load32(const char* p) noexcept {
    TuInt32 v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

// The full 128-bit product folded to 64 bits: each bit of either factor
// reaches every bit of the result, unlike a plain multiplication, which only
// carries low bits upwards.
inline TuInt64 fold(TuInt64 a, TuInt64 b) noexcept {
    const unsigned __int128 product = static_cast<unsigned __int128>(a) * b;
    return static_cast<TuInt64>(product) ^ static_cast<TuInt64>(product >> 64);
}

// Odd constants with bits spread evenly (from the golden ratio and the
// SplitMix64 finaliser).
constexpr TuInt64 kMix0 = 0x9E3779B97F4A7C15ull;
constexpr TuInt64 kMix1 = 0xBF58476D1CE4E5B9ull;
constexpr TuInt64 kMix2 = 0x94D049BB133111EBull;

// 16 bytes per folded multiplication; the last 1 to 16 bytes are read as two
// overlapping words, so that no byte beyond the text is touched, and the
// length goes in at both ends so that overlapping tails of different lengths
// stay apart.
TuInt32 textHash(const char* p, std::size_t n) noexcept {
    const TuInt64 length = n;
    TuInt64 h = kMix0 ^ length;
    for (; n > 16; p += 16, n -= 16)
        h = fold(load64(p) ^ kMix1, load64(p + 8) ^ h);
    TuInt64 a = 0;
    TuInt64 b = 0;
    if (n >= 8) {
        a = load64(p);
        b = load64(p + n - 8);
    } else if (n >= 4) {
        a = load32(p);
        b = load32(p + n - 4);
    } else if (n > 0) {
        const auto byte = [p](std::size_t i) { return TuInt64(static_cast<unsigned char>(p[i])); };
        a = byte(0) << 16 | byte(n / 2) << 8 | byte(n - 1);
    }
    h = fold(a ^ kMix1, b ^ h);
    h = fold(h ^ kMix2, length ^ kMix0);
    return static_cast<TuInt32>(h ^ (h >> 32));
}

// Tstring's own equality, inline: the stored hashes already matched.
inline bool sameText(const Tstring& a, const Tstring& b) noexcept {
    return a.data() == b.data() ||
           (a.length() == b.length() && std::memcmp(a.asC(), b.asC(), a.length()) == 0);
}

} // namespace

// -- TstringHashTable -------------------------------------------------------------

TuInt32 TstringHashTable::keyHash(const Tstring& key) noexcept { return textHash(key.asC(), key.length()); }

bool TstringHashTable::insert(const Tstring& key, const Tstring& value) {
    // The strings are shared into the entry before anything is linked or
    // rehashed, so key and value may belong to this table.
    Entry* e = newEntry<Entry>();
    e->fKey = key;
    e->fValue = value;
    return insertWithHash(e, keyHash(e->fKey));
}

bool TstringHashTable::insertUnique(const Tstring& key, const Tstring& value) {
    if (firstWithKey(key))
        return false;
    insert(key, value);
    return true;
}

bool TstringHashTable::insertReplace(const Tstring& key, const Tstring& value) {
    if (Entry* e = firstWithKey(key)) {
        e->fValue = value;
        return true;
    }
    return insert(key, value);
}

TstringHashTable::Entry* TstringHashTable::firstWithKey(const Tstring& key) const noexcept {
    return findEntry<Entry>(keyHash(key), [&key](const Entry& e) { return sameText(e.fKey, key); });
}

Tstring* TstringHashTable::find(const Tstring& key) noexcept {
    Entry* e = firstWithKey(key);
    return e ? &e->fValue : nullptr;
}

const Tstring* TstringHashTable::find(const Tstring& key) const noexcept {
    const Entry* e = firstWithKey(key);
    return e ? &e->fValue : nullptr;
}

bool TstringHashTable::find(const Tstring& key, Tstring& value) const noexcept {
    const Entry* e = firstWithKey(key);
    if (!e)
        return false;
    value = e->fValue;
    return true;
}

bool TstringHashTable::remove(const Tstring& key) noexcept {
    // key may be a string of the entry that goes: it is not used after.
    return removeEntry(keyHash(key), [&key](const Entry& x) { return sameText(x.fKey, key); });
}

const Tstring* TstringHashTable::Iterator::data() const noexcept {
    const Entry* e = currentAs<Entry>();
    return e ? &e->fValue : nullptr;
}

void TstringHashTable::Iterator::appendAllTo(TstringHashTable& other) const {
    const bool self = &other == &table();
    // Appending to itself: with the size frozen every copy lands at the head
    // of the chain being walked, behind the walk, and is not met again.
    struct SizeLock {
        ThashTable* t;
        ~SizeLock() {
            if (t)
                t->unlockSize();
        }
    } lock{self ? &other : nullptr};
    if (self)
        other.lockSize();
    Iterator walk(static_cast<const TstringHashTable&>(table()));
    for (bool more = walk.first(); more; more = walk.next()) {
        const Entry* e = walk.currentAs<Entry>();
        other.insert(e->fKey, e->fValue);
    }
}

// -- TstringKeyHashTable ------------------------------------------------------------

bool TstringKeyHashTable::insert(const Tstring& key) {
    Entry* e = newEntry<Entry>();
    e->fKey = key;
    return insertWithHash(e, keyHash(e->fKey));
}

bool TstringKeyHashTable::find(const Tstring& key) const noexcept {
    return findEntry<Entry>(keyHash(key), [&key](const Entry& e) { return sameText(e.fKey, key); });
}

bool TstringKeyHashTable::remove(const Tstring& key) noexcept {
    return removeEntry(keyHash(key), [&key](const Entry& x) { return sameText(x.fKey, key); });
}
