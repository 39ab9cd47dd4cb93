// Classification of identifiers and the levels of nesting.
#include "grundel/iff/FLchunk_p.h"

#include "grundel/threads/TmtCriticalSection.h"

#include <cstdlib>
#include <cstring>

namespace grundel::detail {

namespace {

constexpr TuInt32 kGroup = kFLkindGroup | kFLkindTyped;
constexpr TuInt32 kFormFlags = kGroup | kFLkindRoot | kFLkindForm;
constexpr TuInt32 kCatFlags = kGroup | kFLkindRoot | kFLkindCat;
constexpr TuInt32 kListFlags = kGroup | kFLkindRoot | kFLkindHoldsProps | kFLkindList;
constexpr TuInt32 kPropFlags = kGroup | kFLkindInList;

struct Row {
    TuInt32 id;
    TuInt32 mask;
    TuInt32 flags;
};

// The reserved identifiers: the group rows by their 3-character prefix
// (4-, 2- and 8-byte variants), then the markers.
constexpr Row kGroups[4][3] = {
    {{FLmakeid("FOR4"), 3, kFormFlags}, {FLmakeid("FORM"), 1, kFormFlags}, {FLmakeid("FOR8"), 7, kFormFlags}},
    {{FLmakeid("CAT4"), 3, kCatFlags}, {FLmakeid("CAT "), 1, kCatFlags}, {FLmakeid("CAT8"), 7, kCatFlags}},
    {{FLmakeid("LIS4"), 3, kListFlags}, {FLmakeid("LIST"), 1, kListFlags}, {FLmakeid("LIS8"), 7, kListFlags}},
    {{FLmakeid("PRO4"), 3, kPropFlags}, {FLmakeid("PROP"), 1, kPropFlags}, {FLmakeid("PRO8"), 7, kPropFlags}},
};
constexpr TuInt32 prefix(const char (&text)[4]) noexcept {
    return TuInt32(static_cast<unsigned char>(text[0])) << 16 | TuInt32(static_cast<unsigned char>(text[1])) << 8 |
           TuInt32(static_cast<unsigned char>(text[2]));
}
constexpr TuInt32 kGroupPrefixes[4] = {prefix("FOR"), prefix("CAT"), prefix("LIS"), prefix("PRO")};
constexpr Row kMarkers[3] = {
    {kIdGEND, 3, kFLkindGroup},
    {kIdPATH, 3, kFLkindGroup},
    {kIdINCL, 3, 0},
};

// Contexts are recycled through one free list for all files.
TmtCriticalSection& contextLock() {
    static TmtCriticalSection lock;
    return lock;
}
_FLcontext* gFreeContexts = nullptr;

} // namespace

int classifyReserved(TuInt32 id, const _FLcontext* level, Tint32& size, FLkind& kind) noexcept {
    kind.flags = 0;
    kind.mask = level->mask ? level->mask : 1;
    const bool atRoot = level->parent == nullptr;
    bool matched = false;
    for (int row = 0; row < 4 && !matched; ++row) {
        if ((id & 0xFFFFFF00u) != kGroupPrefixes[row] << 8)
            continue;
        for (const Row& variant : kGroups[row])
            if (variant.id == id) {
                kind.flags = variant.flags;
                if (variant.mask > kind.mask)
                    kind.mask = variant.mask;
                if (size == 0)
                    size = static_cast<Tint32>(kFLsizePatched);
                matched = true;
            }
        const char fourth = static_cast<char>(id & 0xFF);
        if (!matched && fourth >= '0' && fourth <= '9')
            return flFail(kFLreservedId);
        break;
    }
    if (!matched) {
        for (const Row& marker : kMarkers)
            if (marker.id == id) {
                kind.flags = marker.flags;
                if (marker.mask > kind.mask)
                    kind.mask = marker.mask;
                matched = true;
            }
    }
    if (!matched)
        kind.flags = kFLkindData;
    if (atRoot && !(kind.flags & kFLkindRoot))
        return flFail(kFLbadRoot);
    if ((kind.flags & kFLkindInList) && !(level->parent->flags & kFLkindHoldsProps))
        return flFail(kFLunexpected);
    return kFLnoError;
}

int groupIdCode(TuInt32 id) noexcept {
    for (int row = 0; row < 4; ++row) {
        if ((id & 0xFFFFFF00u) != kGroupPrefixes[row] << 8)
            continue;
        for (const Row& variant : kGroups[row])
            if (variant.id == id)
                return kFLnoError;
        const char fourth = static_cast<char>(id & 0xFF);
        return fourth >= '0' && fourth <= '9' ? kFLreservedId : kFLbadId;
    }
    return kFLbadId;
}

_FLcontext* takeContext() noexcept {
    _FLcontext* context = nullptr;
    {
        auto guard = contextLock().acquire();
        if (gFreeContexts) {
            context = gFreeContexts;
            gFreeContexts = context->parent;
        }
    }
    if (!context)
        context = static_cast<_FLcontext*>(std::malloc(sizeof(_FLcontext)));
    if (context)
        std::memset(context, 0, sizeof *context);
    return context;
}

void giveContext(_FLcontext* context) noexcept {
    auto guard = contextLock().acquire();
    context->parent = gFreeContexts;
    gFreeContexts = context;
}

int pushLevel(_FLfile* file, TuInt64 levelStart, TuInt64 levelEnd) noexcept {
    _FLcontext* level = file->context;
    if (level->depth + 1 > kFLmaxDepth)
        return flFail(kFLcorrupted);
    _FLcontext* inner = takeContext();
    if (!inner)
        return flFail(kFLnoMemory);
    inner->parent = level;
    inner->depth = level->depth + 1;
    inner->mask = level->chunkMask;
    inner->levelStart = levelStart;
    inner->levelEnd = levelEnd;
    file->context = inner;
    return kFLnoError;
}

void popLevel(_FLfile* file) noexcept {
    _FLcontext* inner = file->context;
    if (!inner->parent)
        return;
    file->context = inner->parent;
    giveContext(inner);
    clearChunk(file->context);
}

} // namespace grundel::detail
