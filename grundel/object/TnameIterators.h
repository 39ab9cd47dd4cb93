#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"
#include "grundel/object/Tnamespace.h"

#include <vector>

class Tmetaclass;
class TnameObjectPtrArray;

/// The namespaces of a tree, depth first: the start, then each namespace in
/// it (in name order) followed by everything below that one. Adding or
/// removing names in a namespace being walked ends the walk's validity.
class GRUNDEL_API TnamespaceIterator {
public:
    /// From start (the root when null).
    explicit TnamespaceIterator(Tnamespace* start = nullptr);
    void reset();
    void next();
    bool isDone() const noexcept { return fCurrent == nullptr; }
    /// The current namespace (null when done).
    Tnamespace* item() const noexcept { return fCurrent; }

private:
    struct Level {
        Tnamespace* space;
        Tnamespace::Table::const_iterator at;
    };
    Tnamespace* fStart;
    Tnamespace* fCurrent = nullptr;
    std::vector<Level> fStack;
};

/// The named objects of a namespace (and, when asked, of every namespace
/// below it) whose names match a wildcard pattern and whose class is a given
/// one or derives from it. Names are matched as simple names, or as names
/// relative to the current namespace when relative names are in use at
/// construction. Namespaces are named objects too, and are visited.
class GRUNDEL_API TnameObjectIterator {
public:
    /// pattern "" matches every name; type null accepts every class; space
    /// null is the current namespace.
    TnameObjectIterator(const Tstring& pattern, Tmetaclass* type = nullptr, Tnamespace* space = nullptr,
                        bool subNamespaces = false);
    /// Back to the first match.
    void reset();
    void next();
    bool isDone() const noexcept { return fItem == nullptr; }
    /// The current object (null when done).
    TnameObject* item() const noexcept { return fItem; }

protected:
    void setSubNamespaces(bool on);
    bool subNamespaces() const noexcept { return fSubNamespaces; }

private:
    bool accepts(TnameObject* object) const;
    /// From the entry at fAt on, the next accepted object (crossing into the
    /// following namespaces when asked).
    void settle();

    Tstring fPattern;
    Tmetaclass* fType;
    Tnamespace* fSpace;
    bool fSubNamespaces;
    bool fRelativeNames;
    TnamespaceIterator fSpaces;
    Tnamespace* fWalking = nullptr;
    Tnamespace::Table::const_iterator fAt;
    TnameObject* fItem = nullptr;
};

/// Every named object of a class (or derived from it) in a namespace.
class GRUNDEL_API TnameObjectTypeIterator : public TnameObjectIterator {
public:
    /// In the current namespace.
    explicit TnameObjectTypeIterator(Tmetaclass* type);
    TnameObjectTypeIterator(Tmetaclass* type, Tnamespace& space);
    /// Whether the walk goes into the namespaces below; restarts it.
    void setTraverseSubNamespaces(bool on) { setSubNamespaces(on); }
    bool traverseSubNamespaces() const noexcept { return subNamespaces(); }
};

/// The objects of a collection (an array of named objects), those of a class
/// (or derived from it) only when one is given; null elements are skipped.
/// The collection must outlive the iterator and not change during the walk.
class GRUNDEL_API TnameObjectCollectionIterator {
public:
    explicit TnameObjectCollectionIterator(const TnameObjectPtrArray& collection,
                                           Tmetaclass* type = nullptr);
    void reset();
    void next();
    bool isDone() const noexcept;
    TnameObject* item() const noexcept;

private:
    void settle();

    const TnameObjectPtrArray* fCollection;
    Tmetaclass* fType;
    TuInt32 fAt = 0;
};
