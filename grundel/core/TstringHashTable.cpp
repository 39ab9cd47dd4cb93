#include "grundel/core/TstringHashTable.h"

#include <cstring>
#include <utility>

namespace {

// Tstring's own equality, inline: the stored hashes already matched.
inline bool sameText(const Tstring& a, const Tstring& b) noexcept {
    return a.data() == b.data() ||
           (a.length() == b.length() && std::memcmp(a.asC(), b.asC(), a.length()) == 0);
}

} // namespace

// -- TstringHashTable -------------------------------------------------------------

TstringHashTable::TstringHashTable(const TstringHashTable& other) : ThashTable(other) {
    copyEntriesFrom<Entry>(other);
}

TstringHashTable::TstringHashTable(TstringHashTable&& other) noexcept : ThashTable() {
    swapTable(other);
}

TstringHashTable& TstringHashTable::operator=(const TstringHashTable& other) {
    if (this != &other) {
        TstringHashTable copy(other);
        swapTable(copy);
    }
    return *this;
}

TstringHashTable& TstringHashTable::operator=(TstringHashTable&& other) noexcept {
    if (this != &other) {
        TstringHashTable taken(std::move(other));
        swapTable(taken);
    }
    return *this;
}

TstringHashTable::~TstringHashTable() { clearall(); }

void TstringHashTable::clearall() noexcept { destroyEntries<Entry>(); }

void TstringHashTable::reset() noexcept {
    clearall();
    reinitializeTable();
}

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
    Entry* e = unlinkEntry<Entry>(key.hash(), [&key](const Entry& x) { return sameText(x.fKey, key); });
    if (!e)
        return false;
    delete e;
    shrinkTable();
    return true;
}

bool TstringHashTable::Iterator::getKey(Tstring& key) const noexcept {
    if (!current())
        return false;
    key = static_cast<const Entry*>(current())->fKey;
    return true;
}

bool TstringHashTable::Iterator::getData(Tstring& value) const noexcept {
    if (!current())
        return false;
    value = static_cast<const Entry*>(current())->fValue;
    return true;
}

const Tstring* TstringHashTable::Iterator::data() const noexcept {
    return current() ? &static_cast<const Entry*>(current())->fValue : nullptr;
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
        const auto* e = static_cast<const Entry*>(walk.current());
        other.insert(e->fKey, e->fValue);
    }
}

// -- TstringKeyHashTable ------------------------------------------------------------

TstringKeyHashTable::TstringKeyHashTable(const TstringKeyHashTable& other) : ThashTable(other) {
    copyEntriesFrom<Entry>(other);
}

TstringKeyHashTable::TstringKeyHashTable(TstringKeyHashTable&& other) noexcept : ThashTable() {
    swapTable(other);
}

TstringKeyHashTable& TstringKeyHashTable::operator=(const TstringKeyHashTable& other) {
    if (this != &other) {
        TstringKeyHashTable copy(other);
        swapTable(copy);
    }
    return *this;
}

TstringKeyHashTable& TstringKeyHashTable::operator=(TstringKeyHashTable&& other) noexcept {
    if (this != &other) {
        TstringKeyHashTable taken(std::move(other));
        swapTable(taken);
    }
    return *this;
}

TstringKeyHashTable::~TstringKeyHashTable() { clearall(); }

void TstringKeyHashTable::clearall() noexcept { destroyEntries<Entry>(); }

void TstringKeyHashTable::reset() noexcept {
    clearall();
    reinitializeTable();
}

bool TstringKeyHashTable::insert(const Tstring& key) {
    Entry* e = newEntry<Entry>();
    e->fKey = key;
    return insertWithHash(e, e->fKey.hash());
}

bool TstringKeyHashTable::find(const Tstring& key) const noexcept {
    return findEntry<Entry>(key.hash(), [&key](const Entry& e) { return sameText(e.fKey, key); });
}

bool TstringKeyHashTable::remove(const Tstring& key) noexcept {
    Entry* e = unlinkEntry<Entry>(key.hash(), [&key](const Entry& x) { return sameText(x.fKey, key); });
    if (!e)
        return false;
    delete e;
    shrinkTable();
    return true;
}

bool TstringKeyHashTable::Iterator::getKey(Tstring& key) const noexcept {
    if (!current())
        return false;
    key = static_cast<const Entry*>(current())->fKey;
    return true;
}
