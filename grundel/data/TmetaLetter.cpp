#include "grundel/data/TmetaLetter.h"

#include "grundel/core/TnameTable.h"
#include "grundel/data/TdataBuiltins_p.h"
#include "grundel/data/TdataLetter.h"
#include "grundel/data/TdataUnknown.h"
#include "grundel/iff/TiffTable.h"
#include "grundel/object/Tmetaclass.h"

TiffTable* TmetaLetter::fsIffTable = nullptr;
TnameTable* TmetaLetter::fsNameTable = nullptr;

// The tables are statics of this function: made during the first
// registration, they outlive every TmetaLetter made after that point, so
// the static registrations can unregister at exit in any order.
void TmetaLetter::makeTables() {
    static TiffTable iffTable;
    static TnameTable nameTable;
    fsIffTable = &iffTable;
    fsNameTable = &nameTable;
}

TmetaLetter::TmetaLetter(Tmetaclass* record, const char* typeName)
    : fRecord(record), fName(typeName ? typeName : record && record->name() ? record->name() : "") {
    if (!fsIffTable)
        makeTables();
    if (!record)
        return;
    fOwnsName = fsNameTable->insertUnique(Tstring(fName), record);
    if (record->tag().value() != 0)
        fOwnsTag = fsIffTable->insertUnique(record->tag().value(), record);
}

TmetaLetter::~TmetaLetter() {
    // Unique insertion leaves one entry per name and tag: the one this
    // registration made, when it made one.
    if (fOwnsName)
        fsNameTable->remove(fName, fRecord);
    if (fOwnsTag)
        fsIffTable->remove(fRecord->tag().value());
}

Tmetaclass* TmetaLetter::findTypeid(TiffTag tag) noexcept {
    grundel::detail::registerBuiltinLetters();
    Tmetaclass* record = nullptr;
    if (fsIffTable)
        (void)fsIffTable->find(tag.value(), record);
    return record;
}

Tmetaclass* TmetaLetter::findTypeid(std::string_view name) noexcept {
    grundel::detail::registerBuiltinLetters();
    return fsNameTable && !name.empty() ? fsNameTable->find(name) : nullptr;
}

Tmetaclass* TmetaLetter::findTypeid(const char* name) noexcept {
    return findTypeid(std::string_view(name ? name : ""));
}

TdataLetter* TmetaLetter::construct(TiffTag tag) {
    if (Tmetaclass* record = findTypeid(tag))
        return TdataLetter::construct(record);
    return new TdataUnknown(tag);
}

TdataLetter* TmetaLetter::construct(std::string_view name) {
    if (Tmetaclass* record = findTypeid(name))
        return TdataLetter::construct(record);
    return new TdataUnknown(Tstring(name));
}

TdataLetter* TmetaLetter::construct(const char* name) { return construct(std::string_view(name ? name : "")); }

TdataLetter* TmetaLetter::createDataLetter() const { return TdataLetter::construct(fRecord); }

TiffTag TmetaLetter::iffTag() const noexcept { return fRecord ? fRecord->tag() : TiffTag(); }

const char* TmetaLetter::name() const noexcept { return fName; }

TuInt16 TmetaLetter::typeId() const noexcept { return fRecord ? fRecord->typeId() : 0; }
