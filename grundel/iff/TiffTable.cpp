#include "grundel/iff/TiffTable.h"

#include "grundel/core/Tcrc32.h"

#include <utility>
#include <vector>

TuInt32 TiffTable::hashOf(TuInt32 tag) noexcept {
    const unsigned char bytes[4] = {static_cast<unsigned char>(tag >> 24), static_cast<unsigned char>(tag >> 16),
                                    static_cast<unsigned char>(tag >> 8), static_cast<unsigned char>(tag)};
    return Tcrc32::calc4(bytes);
}

TiffTable::Entry* TiffTable::newest(TuInt32 tag) const noexcept {
    return findEntry<Entry>(hashOf(tag), [tag](const Entry& e) { return e.fTag == tag; });
}

bool TiffTable::insert(TuInt32 tag, Tmetaclass* record) {
    Entry* e = newEntry<Entry>();
    e->fTag = tag;
    e->fRecord = record;
    return insertWithHash(e, hashOf(tag));
}

bool TiffTable::insertUnique(TuInt32 tag, Tmetaclass* record) {
    if (newest(tag))
        return false;
    insert(tag, record);
    return true;
}

bool TiffTable::insertReplace(TuInt32 tag, Tmetaclass* record) {
    if (Entry* e = newest(tag)) {
        e->fRecord = record;
        return true;
    }
    return insert(tag, record);
}

Tmetaclass** TiffTable::find(TuInt32 tag) noexcept {
    Entry* e = newest(tag);
    return e ? &e->fRecord : nullptr;
}

Tmetaclass* const* TiffTable::find(TuInt32 tag) const noexcept {
    const Entry* e = newest(tag);
    return e ? &e->fRecord : nullptr;
}

bool TiffTable::find(TuInt32 tag, Tmetaclass*& record) const noexcept {
    const Entry* e = newest(tag);
    if (!e)
        return false;
    record = e->fRecord;
    return true;
}

bool TiffTable::remove(TuInt32 tag) noexcept {
    return removeEntry(hashOf(tag), [tag](const Entry& x) { return x.fTag == tag; });
}

Tmetaclass* TiffTable::Iterator::data() const noexcept {
    const Entry* e = currentAs<Entry>();
    return e ? e->fRecord : nullptr;
}

void TiffTable::Iterator::appendAllTo(TiffTable& other) const {
    // Taken first, so that other may be this very table.
    std::vector<std::pair<TuInt32, Tmetaclass*>> pairs;
    Iterator walk(static_cast<const TiffTable&>(table()));
    for (bool more = walk.current() != nullptr; more; more = walk.next()) {
        const Entry* e = walk.currentAs<Entry>();
        pairs.emplace_back(e->fTag, e->fRecord);
    }
    for (const auto& pair : pairs)
        other.insert(pair.first, pair.second);
}
