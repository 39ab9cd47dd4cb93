#include "grundel/object/TnameIterators.h"

#include "grundel/core/Tarrays.h"
#include "grundel/object/TobjectArrays.h"

namespace {

Tnamespace* asNamespace(TnameObject* object) noexcept {
    return object ? static_cast<Tnamespace*>(object->cast(Tnamespace::sMetaclass())) : nullptr;
}

} // namespace

// -- TnamespaceIterator ------------------------------------------------------------

TnamespaceIterator::TnamespaceIterator(Tnamespace* start)
    : fStart(start ? start : Tnamespace::rootNamespace()) {
    reset();
}

void TnamespaceIterator::reset() {
    fStack.clear();
    fCurrent = fStart;
}

void TnamespaceIterator::next() {
    if (!fCurrent)
        return;
    fStack.push_back(Level{fCurrent, fCurrent->table().begin()});
    while (!fStack.empty()) {
        Level& top = fStack.back();
        while (top.at != top.space->table().end()) {
            TnameObject* object = (top.at++)->second;
            if (Tnamespace* space = asNamespace(object)) {
                fCurrent = space;
                return;
            }
        }
        fStack.pop_back();
    }
    fCurrent = nullptr;
}

// -- TnameObjectIterator -------------------------------------------------------------

TnameObjectIterator::TnameObjectIterator(const Tstring& pattern, Tmetaclass* type, Tnamespace* space,
                                         bool subNamespaces)
    : fPattern(pattern.isEmpty() ? Tstring("*") : pattern), fType(type),
      fSpace(space ? space : Tnamespace::currentNamespace()), fSubNamespaces(subNamespaces),
      fRelativeNames(TnameObject::isUsingRelativeNames()), fSpaces(fSpace) {
    reset();
}

void TnameObjectIterator::setSubNamespaces(bool on) {
    fSubNamespaces = on;
    reset();
}

void TnameObjectIterator::reset() {
    fSpaces.reset();
    fWalking = fSpace;
    fAt = fWalking->table().begin();
    settle();
}

void TnameObjectIterator::next() {
    if (!fItem)
        return;
    ++fAt;
    settle();
}

bool TnameObjectIterator::accepts(TnameObject* object) const {
    if (!object || (fType && !object->typeof()->isa(fType)))
        return false;
    return (fRelativeNames ? object->relativeName() : object->name()).matches(fPattern);
}

void TnameObjectIterator::settle() {
    for (;;) {
        for (; fAt != fWalking->table().end(); ++fAt)
            if (accepts(fAt->second)) {
                fItem = fAt->second;
                return;
            }
        if (!fSubNamespaces)
            break;
        fSpaces.next();
        if (fSpaces.isDone())
            break;
        fWalking = fSpaces.item();
        fAt = fWalking->table().begin();
    }
    fItem = nullptr;
}

TnameObjectTypeIterator::TnameObjectTypeIterator(Tmetaclass* type)
    : TnameObjectIterator(Tstring(), type, nullptr, false) {}

TnameObjectTypeIterator::TnameObjectTypeIterator(Tmetaclass* type, Tnamespace& space)
    : TnameObjectIterator(Tstring(), type, &space, false) {}

// -- TnameObjectCollectionIterator ---------------------------------------------------

TnameObjectCollectionIterator::TnameObjectCollectionIterator(const TnameObjectPtrArray& collection,
                                                             Tmetaclass* type)
    : fCollection(&collection), fType(type) {
    settle();
}

void TnameObjectCollectionIterator::reset() {
    fAt = 0;
    settle();
}

void TnameObjectCollectionIterator::next() {
    if (isDone())
        return;
    ++fAt;
    settle();
}

bool TnameObjectCollectionIterator::isDone() const noexcept { return fAt >= fCollection->length(); }

TnameObject* TnameObjectCollectionIterator::item() const noexcept {
    return isDone() ? nullptr : (*fCollection)[fAt];
}

void TnameObjectCollectionIterator::settle() {
    for (; fAt < fCollection->length(); ++fAt) {
        TnameObject* object = (*fCollection)[fAt];
        if (object && (!fType || object->typeof()->isa(fType)))
            return;
    }
}
