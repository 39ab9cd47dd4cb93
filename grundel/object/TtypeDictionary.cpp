#include "grundel/object/TtypeDictionary.h"

#include "grundel/core/Tstring.h"

#include <cstring>

TuInt32 TtypeDictionary::lowerBound(const char* name) const noexcept {
    TuInt32 lo = 0;
    TuInt32 hi = size();
    while (lo < hi) {
        const TuInt32 mid = (lo + hi) / 2;
        if (std::strcmp(fNodes[mid].name(), name) < 0)
            lo = mid + 1;
        else
            hi = mid;
    }
    return lo;
}

TtypeDictionaryNode* TtypeDictionary::at(TuInt32 position) noexcept {
    return position < size() ? &fNodes[position] : nullptr;
}

bool TtypeDictionary::insert(const char* name, Tmetaclass* record) {
    Tbookmark ignored;
    return insert(name, record, ignored);
}

bool TtypeDictionary::insert(const char* name, Tmetaclass* record, Tbookmark& bookmark) {
    if (!name)
        return false;
    const TuInt32 position = lowerBound(name);
    bookmark.fPosition = position;
    if (position < size() && std::strcmp(fNodes[position].name(), name) == 0)
        return false;
    fNodes.insert(fNodes.begin() + position, TtypeDictionaryNode(name, record));
    return true;
}

bool TtypeDictionary::remove(const char* name) noexcept {
    Tbookmark bookmark;
    return findNode(name, bookmark) && remove(bookmark);
}

bool TtypeDictionary::remove(Tbookmark& bookmark) noexcept {
    if (bookmark.fPosition >= size())
        return false;
    fNodes.erase(fNodes.begin() + bookmark.fPosition);
    return true;
}

TtypeDictionaryNode* TtypeDictionary::findNode(const char* name) noexcept {
    Tbookmark ignored;
    return findNode(name, ignored);
}

TtypeDictionaryNode* TtypeDictionary::findNode(const char* name, Tbookmark& bookmark) noexcept {
    if (!name)
        return nullptr;
    const TuInt32 position = lowerBound(name);
    TtypeDictionaryNode* node = at(position);
    if (!node || std::strcmp(node->name(), name) != 0)
        return nullptr;
    bookmark.fPosition = position;
    return node;
}

TtypeDictionaryNode* TtypeDictionary::search(const char* pattern) noexcept {
    Tbookmark bookmark;
    return search(pattern, bookmark);
}

TtypeDictionaryNode* TtypeDictionary::search(const char* pattern, Tbookmark& bookmark) noexcept {
    for (TuInt32 position = bookmark.fPosition; position < size(); ++position)
        if (Tstring(fNodes[position].name()).matches(pattern)) {
            bookmark.fPosition = position + 1;
            return &fNodes[position];
        }
    bookmark.fPosition = size();
    return nullptr;
}

TtypeDictionaryNode* TtypeDictionary::first(Tbookmark& bookmark) noexcept {
    bookmark.fPosition = 0;
    return at(0);
}

TtypeDictionaryNode* TtypeDictionary::next(Tbookmark& bookmark) noexcept {
    if (bookmark.fPosition < size())
        ++bookmark.fPosition;
    return at(bookmark.fPosition);
}
