#include "grundel/object/Tnamespace.h"

#include <cctype>
#include <vector>

GRUNDEL_DEFINE_CLASS(Tnamespace, "", TnameObject)

namespace {

struct Globals {
    Tnamespace* root = nullptr;
    Tnamespace* current = nullptr;
    Tnamespace* ui = nullptr;
};

Globals& globals() {
    static Globals g;
    return g;
}

Tnamespace* asNamespace(TnameObject* object) noexcept {
    return object ? static_cast<Tnamespace*>(object->cast(Tnamespace::sMetaclass())) : nullptr;
}

// The top of the tree that space is in.
Tnamespace* topOf(Tnamespace* space) noexcept {
    while (space->parent())
        space = space->parent();
    return space;
}

} // namespace

// -- Construction --------------------------------------------------------------------

Tnamespace::Tnamespace() noexcept = default;

Tnamespace::Tnamespace(const TnameString& name, Tnamespace* parent) : fParent(parent) {
    nameObj().setNamespace(parent);
    (void)setName(name);
    if (parent)
        reserveName();
}

Tnamespace::~Tnamespace() {
    Globals& g = globals();
    if (g.current == this)
        g.current = nullptr;
    if (g.root == this)
        g.root = nullptr;
    if (g.ui == this)
        g.ui = nullptr;
    // Objects that remain lose their namespace with this one.
    Table entries;
    entries.swap(fTable);
    for (auto& entry : entries) {
        TnameObject* object = entry.second;
        unregister(object);
        if (object->nameObj().nameSpace() == this)
            object->nameObj().setNamespace(nullptr);
        if (Tnamespace* child = asNamespace(object)) {
            child->fParent = nullptr;
            if (child->fOwner == this)
                delete child;
        }
    }
}

void Tnamespace::unregister(TnameObject* object) noexcept {
    Tname& name = object->nameObj();
    name.fRegistered = false;
    name.fRegisteredNamespace = nullptr;
    name.fNamespacePath.clear();
}

// -- The name table ------------------------------------------------------------------

bool Tnamespace::addObject(TnameObject* object) {
    if (!object)
        return false;
    const TnameString& key = object->nameObj().asString();
    if (key.isEmpty())
        return false;
    return fTable.emplace(key, object).second;
}

bool Tnamespace::removeObject(TnameObject* object) {
    if (!object)
        return false;
    const auto at = fTable.find(object->nameObj().asString());
    if (at == fTable.end() || at->second != object)
        return false;
    fTable.erase(at);
    unregister(object);
    return true;
}

void Tnamespace::reset() {
    Table entries;
    entries.swap(fTable);
    for (auto& entry : entries) {
        unregister(entry.second);
        Tnamespace* child = asNamespace(entry.second);
        if (child && child->fOwner == this) {
            child->fParent = nullptr;
            delete child;
        }
    }
}

bool Tnamespace::mapObject(const TnameString& from, const TnameString& to, Tnamespace* target) {
    if (!target)
        target = this;
    const auto at = fTable.find(from);
    if (at == fTable.end() || to.isEmpty() || target->fTable.count(to) != 0)
        return false;
    TnameObject* object = at->second;
    if (const Tnamespace* moving = asNamespace(object)) {
        for (const Tnamespace* level = target; level; level = level->fParent)
            if (level == moving)
                return false;
        if (target->depth() + 1 + moving->height() > maxDepth)
            return false;
    }
    fTable.erase(at);
    target->fTable.emplace(to, object);
    Tname& name = object->nameObj();
    name.fName = to;
    name.fNamespace = target;
    name.fRegisteredNamespace = target;
    name.buildNamespacePath();
    if (Tnamespace* moved = asNamespace(object)) {
        moved->fParent = target;
        if (moved->fOwner == this)
            moved->fOwner = target;
        moved->rebuildPaths();
    }
    return true;
}

bool Tnamespace::removeMapObject(const TnameString& from, const TnameString& to, Tnamespace* target) {
    return (target ? target : this)->mapObject(to, from, this);
}

TnameObject* Tnamespace::findName(const TnameString& name) const {
    const auto at = fTable.find(name);
    return at == fTable.end() ? nullptr : at->second;
}

TuInt64 Tnamespace::getNextIncrement(const Tstring& stem) const {
    // The last name that begins with the stem: "@" sorts after every digit.
    const auto above = fTable.lower_bound(TnameString(stem + "@"));
    if (above == fTable.begin())
        return 0;
    const auto found = std::prev(above);
    if (!found->second || !found->second->typeof()->isa(TnameObject::sMetaclass()))
        return 0;
    const TnameString& name = found->first;
    if (name.baseString() == stem)
        return static_cast<TuInt64>(name.versionNumber());
    const unsigned int n = stem.length();
    if (name.length() > n && name.substring(0, static_cast<int>(n) - 1) == stem) {
        unsigned int end = n;
        while (end < name.length() && std::isdigit(static_cast<unsigned char>(name[end])))
            ++end;
        const TnameString prefix(name.substring(0, static_cast<int>(end) - 1));
        if (prefix.baseString() == stem)
            return static_cast<TuInt64>(prefix.versionNumber());
    }
    return 0;
}

void Tnamespace::removeEmptyNamespaces() {
    std::vector<Tnamespace*> emptied;
    for (auto& entry : fTable) {
        Tnamespace* child = asNamespace(entry.second);
        if (!child || child->fOwner != this)
            continue;
        child->removeEmptyNamespaces();
        if (child->isEmpty())
            emptied.push_back(child);
    }
    for (Tnamespace* child : emptied)
        delete child; // leaves this table through its name
}

Tnamespace* Tnamespace::createChild(const TnameString& name) {
    Tstring valid;
    if (!Tname::validateNameForFileIO(name, valid) || valid.index(':') >= 0 || fTable.count(name) ||
        depth() >= maxDepth)
        return nullptr;
    auto* child = new Tnamespace(name, this);
    if (!child->nameObj().isRegistered()) {
        delete child;
        return nullptr;
    }
    child->fOwner = this;
    return child;
}

bool Tnamespace::owns(const Tnamespace* space) const noexcept { return space && space->fOwner == this; }

void Tnamespace::rebuildPaths() {
    for (auto& entry : fTable) {
        entry.second->nameObj().buildNamespacePath();
        if (Tnamespace* child = asNamespace(entry.second))
            child->rebuildPaths();
    }
}

TuInt32 Tnamespace::depth() const noexcept {
    TuInt32 levels = 0;
    for (const Tnamespace* up = fParent; up; up = up->fParent)
        ++levels;
    return levels;
}

TuInt32 Tnamespace::height() const {
    // Breadth first, one level at a time: no recursion however deep.
    TuInt32 levels = 0;
    std::vector<const Tnamespace*> level{this}, below;
    for (;;) {
        below.clear();
        for (const Tnamespace* space : level)
            for (const auto& entry : space->fTable)
                if (const Tnamespace* child = asNamespace(entry.second); child && child->fParent == space)
                    below.push_back(child);
        if (below.empty())
            return levels;
        ++levels;
        level.swap(below);
    }
}

// -- The global namespaces -------------------------------------------------------------

Tnamespace* Tnamespace::rootNamespace() {
    Globals& g = globals();
    if (!g.root)
        g.root = new Tnamespace();
    return g.root;
}

Tnamespace* Tnamespace::currentNamespace() {
    Globals& g = globals();
    if (!g.current)
        g.current = rootNamespace();
    return g.current;
}

void Tnamespace::setCurrentNamespace(Tnamespace* space) noexcept {
    if (space)
        globals().current = space;
}

Tnamespace* Tnamespace::UINamespace() {
    Globals& g = globals();
    if (!g.ui)
        g.ui = new Tnamespace(TnameString("UI"));
    return g.ui;
}

Tnamespace* Tnamespace::createNamespace(const TnameString& path) {
    Tnamespace* space = nullptr;
    return TfindNamespace::findAndCreateNamespace(path, &space, nullptr) ? space : nullptr;
}

void Tnamespace::cleanup() {
    Globals& g = globals();
    delete g.ui;
    delete g.root;
    g.ui = g.root = g.current = nullptr;
}

// -- NameIterator ----------------------------------------------------------------------

Tnamespace::NameIterator::NameIterator(const Tnamespace& space) noexcept
    : fSpace(&space), fAt(space.fTable.begin()) {}

bool Tnamespace::NameIterator::first(TnameString& name) {
    fAt = fSpace->fTable.begin();
    if (isDone())
        return false;
    name = fAt->first;
    return true;
}

void Tnamespace::NameIterator::next() noexcept {
    if (!isDone())
        ++fAt;
}

bool Tnamespace::NameIterator::isDone() const noexcept { return fAt == fSpace->fTable.end(); }

TnameObject* Tnamespace::NameIterator::item() const noexcept { return isDone() ? nullptr : fAt->second; }

const TnameString* Tnamespace::NameIterator::name() const noexcept { return isDone() ? nullptr : &fAt->first; }

// -- TnamespaceUtil ----------------------------------------------------------------------

Tnamespace* TnamespaceUtil::createNewNamespace(const TnameString& path) {
    return Tnamespace::createNamespace(path);
}

bool TnamespaceUtil::removeNamespace(Tnamespace* space, bool moveContents) {
    const Globals& g = globals();
    if (!space || space == g.root || space == g.ui || !space->parent())
        return false;
    Tnamespace* parent = space->parent();
    if (moveContents)
        moveAll(space, parent, kClashMakeUnique, kNamespaceMerge);
    if (parent->owns(space)) {
        delete space;
    } else {
        space->reset();
        space->releaseName();
        space->setParent(nullptr);
    }
    return true;
}

void TnamespaceUtil::moveAll(Tnamespace* space, Tnamespace* target, TclashResolution clash,
                                  TnamespaceResolution resolution) {
    const Tnamespace::Table entries = space->fTable; // the moves change the table
    for (const auto& entry : entries) {
        if (Tnamespace* child = asNamespace(entry.second))
            renameNamespace(child, target, entry.first, clash, resolution);
        else
            renameNameObject(entry.second, target, entry.first, clash);
    }
}

bool TnamespaceUtil::renameNameObject(TnameObject* object, Tnamespace* target, const TnameString& name,
                                      TclashResolution clash) {
    Tname& current = object->nameObj();
    Tnamespace* from = current.registeredNamespace();
    if (!from || !target)
        return false;
    TnameString to = name;
    if (target->findName(to)) {
        if (clash == kClashRefuse)
            return false;
        Tname numbered(to, target);
        numbered.makeUnique();
        to = numbered.asString();
    }
    return from->mapObject(current.asString(), to, target);
}

bool TnamespaceUtil::renameNamespace(Tnamespace* space, Tnamespace* target, const TnameString& name,
                                     TclashResolution clash, TnamespaceResolution resolution) {
    Tnamespace* existing = asNamespace(target->findName(name));
    if (existing && existing != space) {
        if (resolution == kNamespaceRefuse)
            return false;
        if (resolution == kNamespaceMerge) {
            moveAll(space, existing, clash, resolution);
            return true; // the emptied namespace goes with its parent
        }
        clash = kClashMakeUnique;
    }
    if (!renameNameObject(space, target, name, clash))
        return false;
    rebuildNamespacePaths(space);
    return true;
}

void TnamespaceUtil::rebuildNamespacePaths(Tnamespace* space) {
    if (space)
        space->rebuildPaths();
}

// -- TfindNamespace ------------------------------------------------------------------------

namespace {

// Walks path from start one level at a time, making missing levels when make.
bool walkPath(const Tstring& path, Tnamespace** result, Tnamespace* start, bool make) {
    Tnamespace* at = start ? start : Tnamespace::currentNamespace();
    const char* p = path.asC();
    if (*p == ':')
        at = topOf(at);
    while (*p) {
        while (*p == ':')
            ++p;
        const char* end = p;
        while (*end && *end != ':')
            ++end;
        if (end == p)
            break;
        const TnameString level(Tstring(p, static_cast<unsigned int>(end - p)));
        TnameObject* found = at->findName(level);
        Tnamespace* next = asNamespace(found);
        if (!next && !found && make)
            next = at->createChild(level);
        if (!next) {
            if (result)
                *result = nullptr;
            return false;
        }
        at = next;
        p = end;
    }
    if (result)
        *result = at;
    return true;
}

} // namespace

bool TfindNamespace::findNamespace(const Tstring& path, Tnamespace** result, Tnamespace* start) {
    return walkPath(path, result, start, false);
}

bool TfindNamespace::findAndCreateNamespace(const Tstring& path, Tnamespace** result, Tnamespace* start) {
    return walkPath(path, result, start, true);
}
