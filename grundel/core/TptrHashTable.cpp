#include "grundel/core/TptrHashTable.h"

#include "grundel/core/Tcrc32.h"

#include <cstdint>

TuInt32 TptrHashTable::hashOf(const void* key) noexcept {
    // The whole 64-bit value: pointers that differ only in their high half
    // must not share a hash.
    const TuInt64 value = reinterpret_cast<std::uintptr_t>(key);
    return Tcrc32::calc8(&value);
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
    return removeEntry(hashOf(key), [key](const Entry& x) { return x.fKey == key; });
}
