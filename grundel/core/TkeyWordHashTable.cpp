#include "grundel/core/TkeyWordHashTable.h"

#include "grundel/core/Tcrc32.h"

#include <cstring>
#include <utility>

namespace {

inline bool sameKey(const TcharString& a, const TcharString& b) noexcept {
    return a.value() == b.value() || std::strcmp(a.value(), b.value()) == 0;
}

} // namespace

TuInt32 TkeyWordHashTable::hashOf(TcharString key) noexcept {
    return Tcrc32::calc(key.value(), std::strlen(key.value()));
}

TkeyWordHashTable::TkeyWordHashTable(const TkeyWordHashTable& other) : ThashTable(other) {
    copyEntriesFrom<Entry>(other);
}

TkeyWordHashTable::TkeyWordHashTable(TkeyWordHashTable&& other) noexcept : ThashTable() {
    swapTable(other);
}

TkeyWordHashTable& TkeyWordHashTable::operator=(const TkeyWordHashTable& other) {
    if (this != &other) {
        TkeyWordHashTable copy(other);
        swapTable(copy);
    }
    return *this;
}

TkeyWordHashTable& TkeyWordHashTable::operator=(TkeyWordHashTable&& other) noexcept {
    if (this != &other) {
        TkeyWordHashTable taken(std::move(other));
        swapTable(taken);
    }
    return *this;
}

TkeyWordHashTable::~TkeyWordHashTable() { clearall(); }

void TkeyWordHashTable::clearall() noexcept { destroyEntries<Entry>(); }

void TkeyWordHashTable::reset() noexcept {
    clearall();
    reinitializeTable();
}

bool TkeyWordHashTable::insert(TcharString key) {
    Entry* e = newEntry<Entry>();
    e->fKey = key;
    return insertWithHash(e, hashOf(key));
}

bool TkeyWordHashTable::find(TcharString key) const noexcept {
    return findEntry<Entry>(hashOf(key), [&key](const Entry& e) { return sameKey(e.fKey, key); });
}

bool TkeyWordHashTable::remove(TcharString key) noexcept {
    Entry* e = unlinkEntry<Entry>(hashOf(key), [&key](const Entry& x) { return sameKey(x.fKey, key); });
    if (!e)
        return false;
    delete e;
    shrinkTable();
    return true;
}

bool TkeyWordHashTable::Iterator::getKey(TcharString& key) const noexcept {
    if (!current())
        return false;
    key = static_cast<const Entry*>(current())->fKey;
    return true;
}
