#include "grundel/object/Tmetaclass.h"

#include "grundel/core/Tarrays.h"
#include "grundel/object/TobjectArrays.h"
#include "grundel/core/TdebugOutput.h"
#include "grundel/object/TtypeDictionary.h"

#include <cstring>
#include <vector>

TconstructorClass::~TconstructorClass() = default;

namespace {

// The global class list: made by the first registration (room for 4,
// growing by 8), a function-local static so that registrations from static
// initialisers of any file find it ready.
TtypeidArray& classes() {
    static TtypeidArray list(8);
    return list;
}

bool gClassListMade = false;

// Type ids are handed out in registration order, from 0.
TuInt32 gNextTypeId = 0;

// A malformed record chain (a cycle) must not recurse forever.
constexpr int kMaxDepth = 64;

template <class Visit>
void visitAncestors(const Tmetaclass* record, Visit& visit, int depth) {
    if (depth > kMaxDepth)
        return;
    for (int i = 0; i < Tmetaclass::kMaxParents; ++i) {
        const Tmetaclass* parent = record->super(i);
        if (!parent)
            continue;
        visit(parent);
        visitAncestors(parent, visit, depth + 1);
    }
}

bool namesParent(const Tmetaclass* record, const Tmetaclass* parent) {
    for (int i = 0; i < Tmetaclass::kMaxParents; ++i)
        if (record->super(i) == parent)
            return true;
    return false;
}

} // namespace

// -- Construction and registration -------------------------------------------------

Tmetaclass::Tmetaclass(Tmetaclass** self, const char* name, TuInt16 size, Tcreator creator,
                       TiffTag tag, bool forceId, Tmetaclass** const (&parents)[kMaxParents]) noexcept
    : fName(name), fTag(tag), fCreator(creator) {
    if (self)
        *self = this;
    registerClass(forceId);
    storeParents(size, parents);
}

Tmetaclass::Tmetaclass(Tmetaclass** self, const char* name, TuInt16 size, Tcreator creator,
                       TiffTag tag, bool forceId, Tmetaclass** parent1, Tmetaclass** parent2,
                       Tmetaclass** parent3, Tmetaclass** parent4) noexcept
    : Tmetaclass(self, name, size, creator, tag, forceId, {parent1, parent2, parent3, parent4}) {}

Tmetaclass::Tmetaclass(Tmetaclass** self, const char* name, TuInt16 size,
                       TconstructorClass* creator, TiffTag tag, bool forceId,
                       Tmetaclass** parent1, Tmetaclass** parent2, Tmetaclass** parent3,
                       Tmetaclass** parent4) noexcept
    : Tmetaclass(self, name, size, Tcreator(nullptr), tag, forceId,
                 {parent1, parent2, parent3, parent4}) {
    fCreatorObject = creator;
}

Tmetaclass::Tmetaclass(const Tmetaclass& other) noexcept
    : fName(other.fName), fTag(other.fTag), fCreator(other.fCreator),
      fCreatorObject(other.fCreatorObject) {
    registerClass(false);
    storeParents(other.fSize, other.fParents);
}

Tmetaclass& Tmetaclass::operator=(const Tmetaclass& other) noexcept {
    if (this != &other) {
        fName = other.fName;
        fTag = other.fTag;
        fCreator = other.fCreator;
        fCreatorObject = other.fCreatorObject;
        delete[] fTypeTable.exchange(nullptr);
        storeParents(other.fSize, other.fParents);
    }
    return *this;
}

Tmetaclass::~Tmetaclass() {
    unregister();
    delete[] fTypeTable.load();
}

void Tmetaclass::registerClass(bool forceId) noexcept {
    TtypeidArray& list = classes();
    if (!gClassListMade) {
        list.buffer(4);
        gClassListMade = true;
    }
    list.addLast(this);
    // Tested before the size is stored, so every record takes a fresh id.
    if (forceId || fSize == 0)
        fTypeId = static_cast<TuInt16>(gNextTypeId++);
}

void Tmetaclass::storeParents(TuInt16 size, Tmetaclass** const (&parents)[kMaxParents]) noexcept {
    fSize = size;
    fParentCount = 0;
    for (int i = 0; i < kMaxParents; ++i)
        fParents[i] = parents[i];
    while (fParentCount < kMaxParents && fParents[fParentCount])
        ++fParentCount;
}

void Tmetaclass::unregister() noexcept {
    TtypeidArray& list = classes();
    for (TuInt32 i = list.length(); i-- > 0;)
        if (list[i] == this) {
            list.removeAt(i, 1);
            break;
        }
}

const TtypeidArray* Tmetaclass::classList() noexcept { return gClassListMade ? &classes() : nullptr; }

// -- Queries -----------------------------------------------------------------------

Tmetaclass* Tmetaclass::super(int i) const noexcept {
    if (i < 0 || i >= kMaxParents || !fParents[i])
        return nullptr;
    return *fParents[i];
}

int Tmetaclass::extraSize() const noexcept {
    int extra = fSize;
    for (int i = 0; i < fParentCount; ++i)
        if (const Tmetaclass* parent = super(i))
            extra -= parent->fSize;
    return extra;
}

void Tmetaclass::setCreator(TconstructorClass* creator) noexcept {
    fCreatorObject = creator;
    fCreator = nullptr;
}

void* Tmetaclass::construct() noexcept {
    if (fCreator)
        return fCreator(this);
    if (fCreatorObject)
        return fCreatorObject->construct(this);
    return nullptr;
}

const TuInt32* Tmetaclass::buildTypeTable() const noexcept {
    // Every ancestor, depth first through every parent slot (repeats allowed).
    std::vector<TuInt16> ids;
    auto collect = [&ids](const Tmetaclass* ancestor) { ids.push_back(ancestor->fTypeId); };
    visitAncestors(this, collect, 0);
    TuInt32 min = ids.empty() ? 0 : ids.front();
    TuInt32 max = min;
    for (TuInt16 id : ids) {
        if (id < min)
            min = id;
        else if (id > max)
            max = id;
    }
    const TuInt32 words = (max - min + 32) / 32 + 1;
    auto* table = new TuInt32[words]();
    table[0] = min | max << 16;
    for (TuInt16 id : ids)
        table[1 + (id - min) / 32] |= 1u << ((id - min) % 32);
    // Another thread may have built it meanwhile: keep the first one.
    const TuInt32* expected = nullptr;
    if (!fTypeTable.compare_exchange_strong(expected, table, std::memory_order_acq_rel)) {
        delete[] table;
        return expected;
    }
    return table;
}

bool Tmetaclass::isa(const char* name) const noexcept {
    if (!name)
        return false;
    const Tmetaclass* current = this;
    for (int depth = 0; current && depth <= kMaxDepth; ++depth) {
        if (std::strcmp(current->fName, name) == 0)
            return true;
        for (int i = 1; i < kMaxParents; ++i)
            if (const Tmetaclass* other = current->super(i))
                if (other->isa(name))
                    return true;
        current = current->super(0);
    }
    return false;
}

bool Tmetaclass::isexactlya(const char* name) const noexcept {
    return name && std::strcmp(fName, name) == 0;
}

// -- Class list lookups ------------------------------------------------------------

Tmetaclass* Tmetaclass::findClass(const char* name) noexcept {
    if (!name || !gClassListMade)
        return nullptr;
    const TtypeidArray& list = classes();
    for (TuInt32 i = 0; i < list.length(); ++i)
        if (std::strcmp(list[i]->fName, name) == 0)
            return list[i];
    return nullptr;
}

Tmetaclass* Tmetaclass::findClass(const char* name, Tmetaclass* base) noexcept {
    if (!name || !base || !gClassListMade)
        return nullptr;
    const TtypeidArray& list = classes();
    for (TuInt32 i = 0; i < list.length(); ++i)
        if (list[i]->isa(base) && std::strcmp(list[i]->fName, name) == 0)
            return list[i];
    return nullptr;
}

Tmetaclass* Tmetaclass::findClass(TiffTag tag) noexcept {
    if (!gClassListMade)
        return nullptr;
    const TtypeidArray& list = classes();
    for (TuInt32 i = 0; i < list.length(); ++i)
        if (list[i]->fTag == tag)
            return list[i];
    return nullptr;
}

void Tmetaclass::getDerivedClasses(Tmetaclass* base, TtypeidArray& out) {
    out.changeLogicalSizeTo(0);
    if (!base)
        return;
    out.addLast(base);
    const TtypeidArray& list = classes();
    for (TuInt32 i = 0; i < list.length(); ++i)
        if (list[i] != base && list[i]->istype(base))
            out.addLast(list[i]);
}

void Tmetaclass::generateDictionaryFor(Tmetaclass* base, TtypeDictionary& out) {
    TtypeidArray derived;
    getDerivedClasses(base, derived);
    for (TuInt32 i = 0; i < derived.length(); ++i)
        out.insert(derived[i]->fName, derived[i]);
}

// -- Diagnostics ---------------------------------------------------------------------

void Tmetaclass::dumpAllClasses() { dumpAllClasses(TdebugOutput::sStandardError()); }

void Tmetaclass::dumpAllClasses(TdebugOutput& out) {
    if (!gClassListMade)
        return;
    const TtypeidArray& list = classes();
    for (TuInt32 i = 0; i < list.length(); ++i)
        if (list[i]->fParentCount == 0)
            dumpAllClassesDerivedFrom(out, list[i], 0);
}

void Tmetaclass::dumpAllClassesDerivedFrom(Tmetaclass* base, int depth) {
    dumpAllClassesDerivedFrom(TdebugOutput::sStandardError(), base, depth);
}

void Tmetaclass::dumpAllClassesDerivedFrom(TdebugOutput& out, Tmetaclass* base, int depth) {
    if (!base || depth > kMaxDepth)
        return;
    for (int i = 0; i < depth; ++i)
        out.printf(". ");
    out.printf("%s:  +%d = %u%s\n", base->fName, base->extraSize(), unsigned(base->fSize),
               base->isAbstract() ? "    (abstract)" : "");
    const TtypeidArray& list = classes();
    for (TuInt32 i = 0; i < list.length(); ++i)
        if (namesParent(list[i], base))
            dumpAllClassesDerivedFrom(out, list[i], depth + 1);
}

void Tmetaclass::debug(TdebugOutput& out, unsigned int) const {
    char tag[5];
    out.printf("class %s [%s] id %u size %u%s", fName, fTag.valueTchar(tag), unsigned(fTypeId),
               unsigned(fSize), isAbstract() ? " abstract" : "");
    for (int i = 0; i < fParentCount; ++i)
        if (const Tmetaclass* parent = super(i))
            out.printf("%s%s", i == 0 ? " : " : ", ", parent->fName);
    out.printf("\n");
}

void Tmetaclass::debugMe(const Tmetaclass& record, unsigned int flags) {
    record.debug(TdebugOutput::sStandardError(), flags);
}
