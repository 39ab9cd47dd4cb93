#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/TcharString.h"
#include "grundel/core/Ttypes.h"

#include <vector>

class Tmetaclass;

/// One entry of a TtypeDictionary: a class name and its record.
class GRUNDEL_API TtypeDictionaryNode {
public:
    TtypeDictionaryNode(const char* name, Tmetaclass* record) noexcept : fName(name), fClass(record) {}
    const char* name() const noexcept { return fName.value(); }
    Tmetaclass* metaclass() const noexcept { return fClass; }

private:
    TcharString fName;
    Tmetaclass* fClass;
};

/// A place in a TtypeDictionary's walk, to resume a search or a walk from.
class GRUNDEL_API Tbookmark {
public:
    Tbookmark() noexcept = default;
    void reset() noexcept { fPosition = 0; }

private:
    friend class TtypeDictionary;
    TuInt32 fPosition = 0;
};

/// Class records by name, in name order (byte order). Names are not copied:
/// they are the records' own names, which live as long as the records.
/// Pointers to nodes are valid until the next insert or remove.
class GRUNDEL_API TtypeDictionary {
public:
    /// Adds name; false (nothing added) when it is already there or null.
    bool insert(const char* name, Tmetaclass* record);
    /// The same, leaving bookmark on the new (or the existing) node.
    bool insert(const char* name, Tmetaclass* record, Tbookmark& bookmark);
    /// False when name is not there.
    bool remove(const char* name) noexcept;
    /// Removes the node at bookmark (which then stands on the next one).
    bool remove(Tbookmark& bookmark) noexcept;
    /// The node of name, or null.
    TtypeDictionaryNode* findNode(const char* name) noexcept;
    /// The same, leaving bookmark on it.
    TtypeDictionaryNode* findNode(const char* name, Tbookmark& bookmark) noexcept;
    /// The first node, in name order, whose name matches the wildcard
    /// pattern ("*", "?"), or null.
    TtypeDictionaryNode* search(const char* pattern) noexcept;
    /// The next match at or after bookmark; bookmark moves past it, so that
    /// calling again finds the following match.
    TtypeDictionaryNode* search(const char* pattern, Tbookmark& bookmark) noexcept;
    /// The first node (null when empty); bookmark stands on it.
    TtypeDictionaryNode* first(Tbookmark& bookmark) noexcept;
    /// The node after bookmark (null at the end); bookmark moves to it.
    TtypeDictionaryNode* next(Tbookmark& bookmark) noexcept;

    TuInt32 size() const noexcept { return static_cast<TuInt32>(fNodes.size()); }
    void clear() noexcept { fNodes.clear(); }

private:
    /// Position of the first node not below name.
    TuInt32 lowerBound(const char* name) const noexcept;
    TtypeDictionaryNode* at(TuInt32 position) noexcept;

    std::vector<TtypeDictionaryNode> fNodes;
};
