#include "grundel/core/TptrHashTable.h"

#include "grundel/core/Tcrc32.h"

#include <cstdint>
#include <utility>

TuInt32 TptrHashTable::hashOf(const void* key) noexcept {
    // The whole 64-bit value: pointers that differ only in their high half
    // must not share a hash.
    const TuInt64 value = reinterpret_cast<std::uintptr_t>(key);
    return Tcrc32::calc8(&value);
}

TptrHashTable::TptrHashTable(const TptrHashTable& other) : ThashTable(other) {
    copyEntriesFrom<Entry>(other);
}

TptrHashTable::TptrHashTable(TptrHashTable&& other) noexcept : ThashTable() { swapTable(other); }

TptrHashTable& TptrHashTable::operator=(const TptrHashTable& other) {
    if (this != &other) {
        TptrHashTable copy(other);
        swapTable(copy);
    }
    return *this;
}

TptrHashTable& TptrHashTable::operator=(TptrHashTable&& other) noexcept {
    if (this != &other) {
        TptrHashTable taken(std::move(other));
        swapTable(taken);
    }
    return *this;
}

TptrHashTable::~TptrHashTable() { clearall(); }

void TptrHashTable::clearall() noexcept { destroyEntries<Entry>(); }

void TptrHashTable::reset() noexcept {
    clearall();
    reinitializeTable();
}

bool TptrHashTable::insert(const void* key) {
    Entry* e = newEntry<Entry>();
    e->fKey = key;
    return insertWithHash(e, hashOf(key));
}

bool TptrHashTable::find(const void* key) const noexcept {
    return findEntry<Entry>(hashOf(key), [key](const Entry& e) { return e.fKey == key; });
}

bool TptrHashTable::remove(const void* key) noexcept {
    Entry* e = unlinkEntry<Entry>(hashOf(key), [key](const Entry& x) { return x.fKey == key; });
    if (!e)
        return false;
    delete e;
    shrinkTable();
    return true;
}

bool TptrHashTable::Iterator::getKey(const void*& key) const noexcept {
    if (!current())
        return false;
    key = static_cast<const Entry*>(current())->fKey;
    return true;
}
