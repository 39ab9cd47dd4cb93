#include "grundel/object/TnameObject.h"

#include "grundel/core/TfootprintInfo.h"
#include "grundel/core/TkeyWordHashTable.h"
#include "grundel/object/Tnamespace.h"

GRUNDEL_DEFINE_CLASS(TnameObject, "")

TuInt32 TnameObject::fsRelativeNames = 0;

TnameObject::TnameObject() noexcept = default;

TnameObject::TnameObject(const Tstring& name) { (void)setName(name); }

TnameObject::~TnameObject() {
    if (fName.isRegistered())
        fName.removeObject(this);
}

void TnameObject::_getFootprint(TfootprintInfo& info) const {
    info.setSize(typeof()->size() + fName.asString().capacity() + fPlainName.capacity(), typeof()->name());
}

bool TnameObject::setName(const Tstring& name) {
    // A path is read from the current namespace, as relativeName() writes it.
    Tnamespace* space = name.index(':') >= 0 ? nullptr : fName.nameSpace();
    bool valid = false;
    bool numbered = false;
    const Tstring simple = Tname::parseAndConvertName(name, space, valid, numbered, false);
    if (simple.isEmpty() || !space)
        return false;
    Tname target(simple, space);
    if (numbered)
        target.makeUnique();
    if (!isReserved()) {
        fName.setNamespace(space);
        fPlainName = target.asString();
        return true;
    }
    if (fName.isRegistered()) {
        Tnamespace* from = fName.registeredNamespace();
        if (from == space && fName.asString() == target.asString())
            return true;
        return from->mapObject(fName.asString(), target.asString(), space);
    }
    // Reserved but refused before: the new name may be free.
    const Tname previous = fName;
    fName.setText(target.asString());
    fName.setNamespace(space);
    if (fName.addObject(this))
        return true;
    fName = previous;
    return false;
}

Tname TnameObject::currentName() const {
    if (isReserved())
        return fName;
    return Tname(fPlainName, fName.nameSpace());
}

Tstring TnameObject::name() const { return isReserved() ? fName.asString() : fPlainName; }

Tstring TnameObject::baseName() const { return TnameString(name()).baseString(); }

Tstring TnameObject::fullName() const { return currentName().asFullNamespacePath(); }

Tstring TnameObject::relativeName() const { return currentName().asRelativeNamespacePath(); }

bool TnameObject::hasUniqueName() const {
    if (isReserved() && fName.isRegistered())
        return fName.registeredNamespace()->findName(fName.asString()) == this;
    return currentName().isUnique();
}

void TnameObject::makeNameUnique() {
    if (!isReserved()) {
        Tname numbered = currentName();
        numbered.makeUnique();
        fPlainName = numbered.asString();
        return;
    }
    const bool wasRegistered = fName.isRegistered();
    if (wasRegistered)
        fName.removeObject(this);
    fName.makeUnique();
    if (wasRegistered)
        fName.addObject(this);
}

void TnameObject::clearName() {
    if (!isReserved()) {
        fPlainName.clear();
        return;
    }
    if (fName.isRegistered())
        fName.removeObject(this);
    fName.clear();
}

bool TnameObject::reserveName() {
    if (isReserved())
        return false;
    fReserved = 1;
    fName.setText(fPlainName);
    const bool entered = fName.addObject(this);
    fPlainName.clear();
    return entered;
}

bool TnameObject::releaseName() {
    if (!isReserved())
        return false;
    fPlainName = fName.asString();
    const bool removed = fName.removeObject(this);
    fName.clear();
    fReserved = 0;
    return removed;
}

// -- Keywords and relative names -------------------------------------------------

TkeyWordHashTable* TnameObject::sKeywordTable() {
    static TkeyWordHashTable table;
    return &table;
}

void TnameObject::registerKeywords(const char* const* keywords) {
    if (!keywords)
        return;
    TkeyWordHashTable* table = sKeywordTable();
    for (; *keywords; ++keywords)
        if (!table->find(*keywords))
            table->insert(*keywords);
}

bool TnameObject::isKeyword(const char* word) { return sKeywordTable()->find(word ? word : ""); }

void TnameObject::setUsingRelativeNames(bool on) noexcept {
    if (on)
        ++fsRelativeNames;
    else if (fsRelativeNames > 0)
        --fsRelativeNames;
}
