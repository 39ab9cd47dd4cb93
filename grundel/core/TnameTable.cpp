#include "grundel/core/TnameTable.h"

#include "grundel/core/Tcrc32.h"

TuInt32 TnameTable::hashOf(std::string_view name) noexcept { return Tcrc32::calc(name.data(), name.size()); }

bool TnameTable::insert(const Tstring& name, Tmetaclass* record) {
    Entry* e = newEntry<Entry>();
    e->fName = name;
    e->fRecord = record;
    return insertWithHash(e, hashOf(e->fName.view()));
}

bool TnameTable::insertUnique(const Tstring& name, Tmetaclass* record) {
    if (find(name.view()))
        return false;
    insert(name, record);
    return true;
}

Tmetaclass* TnameTable::find(std::string_view name) const noexcept {
    // Records are never null in the table, so null means absent.
    const Entry* e = findEntry<Entry>(hashOf(name), [name](const Entry& x) { return x.fName.view() == name; });
    return e ? e->fRecord : nullptr;
}

bool TnameTable::remove(std::string_view name) noexcept {
    return removeEntry(hashOf(name), [name](const Entry& x) { return x.fName.view() == name; });
}

bool TnameTable::remove(std::string_view name, const Tmetaclass* record) noexcept {
    return removeEntry(hashOf(name),
                       [name, record](const Entry& x) { return x.fRecord == record && x.fName.view() == name; });
}

Tstring TnameTable::Iterator::name() const noexcept {
    const Entry* e = currentAs<Entry>();
    return e ? e->fName : Tstring();
}

Tmetaclass* TnameTable::Iterator::data() const noexcept {
    const Entry* e = currentAs<Entry>();
    return e ? e->fRecord : nullptr;
}
