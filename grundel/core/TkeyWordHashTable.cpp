#include "grundel/core/TkeyWordHashTable.h"

#include "grundel/core/Tcrc32.h"

#include <cstring>

namespace {

inline bool sameKey(const TcharString& a, const TcharString& b) noexcept {
    return a.value() == b.value() || std::strcmp(a.value(), b.value()) == 0;
}

} // namespace

TuInt32 TkeyWordHashTable::hashOf(TcharString key) noexcept {
    return Tcrc32::calc(key.value(), std::strlen(key.value()));
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
    return removeEntry(hashOf(key), [&key](const Entry& x) { return sameKey(x.fKey, key); });
}
