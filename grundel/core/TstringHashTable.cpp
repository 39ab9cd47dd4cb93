#include "grundel/core/TstringHashTable.h"

#include <cstring>

namespace {

// Tstring's own equality, inline: the stored hashes already matched.
inline bool sameText(const Tstring& a, const Tstring& b) noexcept {
    return a.data() == b.data() ||
           (a.length() == b.length() && std::memcmp(a.asC(), b.asC(), a.length()) == 0);
}

} // namespace

// -- TstringHashTable -------------------------------------------------------------

bool TstringHashTable::insert(const Tstring& key, const Tstring& value) {
    // The strings are shared into the entry before anything is linked or
    // rehashed, so key and value may belong to this table.
    Entry* e = newEntry<Entry>();
    e->fKey = key;
    e->fValue = value;
    return insertWithHash(e, e->fKey.hash());
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
    return findEntry<Entry>(key.hash(), [&key](const Entry& e) { return sameText(e.fKey, key); });
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
    return removeEntry(key.hash(), [&key](const Entry& x) { return sameText(x.fKey, key); });
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
    return insertWithHash(e, e->fKey.hash());
}

bool TstringKeyHashTable::find(const Tstring& key) const noexcept {
    return findEntry<Entry>(key.hash(), [&key](const Entry& e) { return sameText(e.fKey, key); });
}

bool TstringKeyHashTable::remove(const Tstring& key) noexcept {
    return removeEntry(key.hash(), [&key](const Entry& x) { return sameText(x.fKey, key); });
}
