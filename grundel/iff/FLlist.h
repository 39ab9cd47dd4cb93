#pragma once

#include "grundel/core/Tapi.h"

#include <cstddef>

struct FLlist;

/// A node of a doubly linked list: links, an owned copy of its name (null:
/// unnamed) and a type field for the caller. A caller that wants its own
/// payload makes FLnode the first member of a larger struct and passes that
/// struct's size to FLnewnode.
struct FLnode {
    FLnode* next = nullptr; ///< toward the tail; null at the tail
    FLnode* prev = nullptr; ///< toward the head; null at the head
    FLlist* list = nullptr; ///< the list that holds the node; null when unlinked
    char* name = nullptr;
    int type = 0;
};

/// A doubly linked list of FLnode. The list does not own its nodes until
/// FLclearlist/FLfreelist frees them; range-for walks head to tail (the
/// loop must not unlink the node it is on: the scans below allow that). One
/// list is used by one thread at a time.
struct FLlist {
    FLnode* head = nullptr;
    FLnode* tail = nullptr;
    size_t count = 0;

    struct iterator {
        FLnode* node;
        FLnode* operator*() const noexcept { return node; }
        iterator& operator++() noexcept {
            node = node->next;
            return *this;
        }
        bool operator!=(const iterator& other) const noexcept { return node != other.node; }
    };
    iterator begin() const noexcept { return {head}; }
    iterator end() const noexcept { return {nullptr}; }
};

/// Called for each node of a scan with the caller's data; a non-zero result
/// stops the scan at that node. It may unlink or free the node it is given
/// (the scan has already stepped past it), but no other node of the list.
using FLscanfunc = int (*)(FLnode* node, void* data);
/// Orders two nodes for FLmergelist: negative, zero or positive.
using FLcomparefunc = int (*)(const FLnode* a, const FLnode* b);

/// A new empty list; null and code 33 when memory runs out. FLfreelist frees it.
[[nodiscard]] GRUNDEL_API FLlist* FLnewlist() noexcept;
/// Makes list empty without looking at what it held (for a list in the
/// caller's own storage). Returns list.
GRUNDEL_API FLlist* FLinitlist(FLlist* list) noexcept;
/// Frees every node of list (FLfreenode) and leaves it empty.
GRUNDEL_API void FLclearlist(FLlist* list) noexcept;
/// FLclearlist, then frees list itself (made by FLnewlist). Null is accepted.
GRUNDEL_API void FLfreelist(FLlist* list) noexcept;

/// A new unlinked node of size bytes (at least sizeof(FLnode); smaller asks
/// for sizeof(FLnode)), zeroed beyond the header, with a copy of name (null:
/// unnamed) and the type. Null and code 33 when memory runs out.
[[nodiscard]] GRUNDEL_API FLnode* FLnewnode(const char* name, int type = 0,
                                            size_t size = sizeof(FLnode)) noexcept;
/// Unlinks node (when linked), frees its name and the node. Null is accepted.
GRUNDEL_API void FLfreenode(FLnode* node) noexcept;
/// Replaces node's name with a copy of name (null: unnamed). Returns 0, or
/// 33 with the old name kept when memory runs out.
[[nodiscard]] GRUNDEL_API int FLrenamenode(FLnode* node, const char* name) noexcept;

/// Links node into list after `after` (null: at the head). A node still in
/// a list is unlinked from it first; `after` must be in list and not be
/// node. Returns node.
GRUNDEL_API FLnode* FLinsnode(FLlist* list, FLnode* node, FLnode* after) noexcept;
/// Links node at the head / at the tail of list (unlinking it first from a
/// list it is in). Returns node.
GRUNDEL_API FLnode* FLheadnode(FLlist* list, FLnode* node) noexcept;
GRUNDEL_API FLnode* FLtailnode(FLlist* list, FLnode* node) noexcept;
/// Unlinks node from its list without freeing it; returns node. A node that
/// is in no list is returned unchanged.
GRUNDEL_API FLnode* FLdelnode(FLnode* node) noexcept;

/// The first node from the head (or, with `after`, the first after it) whose
/// name equals name byte for byte; null when none. Unnamed nodes and a null
/// name never match.
GRUNDEL_API FLnode* FLgetnodebyname(const FLlist* list, const char* name,
                                    const FLnode* after = nullptr) noexcept;
/// The same from the tail toward the head (`before`: start before that node).
GRUNDEL_API FLnode* FLrgetnodebyname(const FLlist* list, const char* name,
                                     const FLnode* before = nullptr) noexcept;
/// The first node from the head (after `after`) with that type; null when none.
GRUNDEL_API FLnode* FLgetnodebytype(const FLlist* list, int type, const FLnode* after = nullptr) noexcept;
/// The same from the tail toward the head.
GRUNDEL_API FLnode* FLrgetnodebytype(const FLlist* list, int type, const FLnode* before = nullptr) noexcept;

/// Calls func for every node from the head; returns the node at which func
/// returned non-zero, null when it never did.
GRUNDEL_API FLnode* FLscanlist(const FLlist* list, FLscanfunc func, void* data);
/// The same, from node (included) toward the tail.
GRUNDEL_API FLnode* FLscannode(FLnode* node, FLscanfunc func, void* data);
/// Reverse forms: from the tail / from node (included) toward the head.
GRUNDEL_API FLnode* FLrscanlist(const FLlist* list, FLscanfunc func, void* data);
GRUNDEL_API FLnode* FLrscannode(FLnode* node, FLscanfunc func, void* data);
/// Filtered forms: as above, but func sees only the nodes of that type.
GRUNDEL_API FLnode* FLfscanlist(const FLlist* list, int type, FLscanfunc func, void* data);
GRUNDEL_API FLnode* FLfscannode(FLnode* node, int type, FLscanfunc func, void* data);
GRUNDEL_API FLnode* FLrfscanlist(const FLlist* list, int type, FLscanfunc func, void* data);
GRUNDEL_API FLnode* FLrfscannode(FLnode* node, int type, FLscanfunc func, void* data);

/// Moves every node of from into to, leaving from empty. Without compare
/// they go after to's tail in their order; with compare both lists are taken
/// as sorted by it and the result is their stable merge (on ties, to's node
/// first). Linear in the two lengths. Returns to. Merging a list into
/// itself does nothing.
GRUNDEL_API FLlist* FLmergelist(FLlist* to, FLlist* from, FLcomparefunc compare = nullptr);
