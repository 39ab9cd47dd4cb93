#include "grundel/iff/FLlist.h"

#include "grundel/iff/FLerror.h"
#include "grundel/iff/FLmemory.h"

#include <cassert>
#include <cstring>
#include <new>

namespace {

char* copyName(const char* name) noexcept {
    if (!name)
        return nullptr;
    const size_t length = std::strlen(name) + 1;
    auto* copy = static_cast<char*>(FLmalloc(length));
    if (copy)
        std::memcpy(copy, name, length);
    return copy;
}

bool sameName(const FLnode* node, const char* name) noexcept {
    return node->name && std::strcmp(node->name, name) == 0;
}

// Links an unlinked node between prev and next (either may be null).
void link(FLlist* list, FLnode* node, FLnode* prev, FLnode* next) noexcept {
    node->prev = prev;
    node->next = next;
    node->list = list;
    (prev ? prev->next : list->head) = node;
    (next ? next->prev : list->tail) = node;
    ++list->count;
}

template <bool kForward, bool kFiltered>
FLnode* scan(FLnode* node, int type, FLscanfunc func, void* data) {
    while (node) {
        // Stepped past first: func may unlink or free the node it is given.
        FLnode* following = kForward ? node->next : node->prev;
        if ((!kFiltered || node->type == type) && func(node, data))
            return node;
        node = following;
    }
    return nullptr;
}

} // namespace

FLlist* FLnewlist() noexcept {
    void* block = FLmalloc(sizeof(FLlist));
    return block ? new (block) FLlist : nullptr;
}

FLlist* FLinitlist(FLlist* list) noexcept {
    assert(list);
    list->head = list->tail = nullptr;
    list->count = 0;
    return list;
}

void FLclearlist(FLlist* list) noexcept {
    if (!list)
        return;
    FLnode* node = list->head;
    while (node) {
        FLnode* next = node->next;
        node->list = nullptr;
        FLfreenode(node);
        node = next;
    }
    FLinitlist(list);
}

void FLfreelist(FLlist* list) noexcept {
    FLclearlist(list);
    FLfree(list);
}

FLnode* FLnewnode(const char* name, int type, size_t size) noexcept {
    if (size < sizeof(FLnode))
        size = sizeof(FLnode);
    void* block = FLcalloc(1, size);
    if (!block)
        return nullptr;
    auto* node = new (block) FLnode;
    node->type = type;
    if (name && !(node->name = copyName(name))) {
        FLfree(block);
        return nullptr;
    }
    return node;
}

void FLfreenode(FLnode* node) noexcept {
    if (!node)
        return;
    FLdelnode(node);
    FLfree(node->name);
    FLfree(node);
}

int FLrenamenode(FLnode* node, const char* name) noexcept {
    assert(node);
    char* copy = copyName(name);
    if (name && !copy)
        return kFLnoMemory;
    FLfree(node->name);
    node->name = copy;
    return kFLnoError;
}

FLnode* FLinsnode(FLlist* list, FLnode* node, FLnode* after) noexcept {
    assert(list && node && node != after);
    assert(!after || after->list == list);
    FLdelnode(node);
    link(list, node, after, after ? after->next : list->head);
    return node;
}

FLnode* FLheadnode(FLlist* list, FLnode* node) noexcept { return FLinsnode(list, node, nullptr); }

FLnode* FLtailnode(FLlist* list, FLnode* node) noexcept {
    assert(list && node);
    FLdelnode(node);
    link(list, node, list->tail, nullptr);
    return node;
}

FLnode* FLdelnode(FLnode* node) noexcept {
    if (!node || !node->list)
        return node;
    FLlist* list = node->list;
    (node->prev ? node->prev->next : list->head) = node->next;
    (node->next ? node->next->prev : list->tail) = node->prev;
    --list->count;
    node->next = node->prev = nullptr;
    node->list = nullptr;
    return node;
}

FLnode* FLgetnodebyname(const FLlist* list, const char* name, const FLnode* after) noexcept {
    if (!name)
        return nullptr;
    for (FLnode* node = after ? after->next : list->head; node; node = node->next)
        if (sameName(node, name))
            return node;
    return nullptr;
}

FLnode* FLrgetnodebyname(const FLlist* list, const char* name, const FLnode* before) noexcept {
    if (!name)
        return nullptr;
    for (FLnode* node = before ? before->prev : list->tail; node; node = node->prev)
        if (sameName(node, name))
            return node;
    return nullptr;
}

FLnode* FLgetnodebytype(const FLlist* list, int type, const FLnode* after) noexcept {
    for (FLnode* node = after ? after->next : list->head; node; node = node->next)
        if (node->type == type)
            return node;
    return nullptr;
}

FLnode* FLrgetnodebytype(const FLlist* list, int type, const FLnode* before) noexcept {
    for (FLnode* node = before ? before->prev : list->tail; node; node = node->prev)
        if (node->type == type)
            return node;
    return nullptr;
}

FLnode* FLscanlist(const FLlist* list, FLscanfunc func, void* data) {
    return scan<true, false>(list->head, 0, func, data);
}
FLnode* FLscannode(FLnode* node, FLscanfunc func, void* data) { return scan<true, false>(node, 0, func, data); }
FLnode* FLrscanlist(const FLlist* list, FLscanfunc func, void* data) {
    return scan<false, false>(list->tail, 0, func, data);
}
FLnode* FLrscannode(FLnode* node, FLscanfunc func, void* data) { return scan<false, false>(node, 0, func, data); }
FLnode* FLfscanlist(const FLlist* list, int type, FLscanfunc func, void* data) {
    return scan<true, true>(list->head, type, func, data);
}
FLnode* FLfscannode(FLnode* node, int type, FLscanfunc func, void* data) {
    return scan<true, true>(node, type, func, data);
}
FLnode* FLrfscanlist(const FLlist* list, int type, FLscanfunc func, void* data) {
    return scan<false, true>(list->tail, type, func, data);
}
FLnode* FLrfscannode(FLnode* node, int type, FLscanfunc func, void* data) {
    return scan<false, true>(node, type, func, data);
}

FLlist* FLmergelist(FLlist* to, FLlist* from, FLcomparefunc compare) {
    assert(to && from);
    if (to == from || !from->head)
        return to;
    if (!compare) {
        for (FLnode* node = from->head; node; node = node->next)
            node->list = to;
        from->head->prev = to->tail;
        (to->tail ? to->tail->next : to->head) = from->head;
        to->tail = from->tail;
        to->count += from->count;
        FLinitlist(from);
        return to;
    }
    // Each node of from goes in front of the first node of to that orders
    // after it; the walk over to never moves back, so the merge is linear.
    FLnode* place = to->head;
    while (FLnode* node = from->head) {
        while (place && compare(place, node) <= 0)
            place = place->next;
        FLdelnode(node);
        link(to, node, place ? place->prev : to->tail, place);
    }
    return to;
}
