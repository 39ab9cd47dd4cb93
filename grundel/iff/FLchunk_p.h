#pragma once

// Shared by the FL files: classification of identifiers, the context free
// list, big-endian words and error helpers.

#include "grundel/iff/FLerror.h"
#include "grundel/iff/FLfile.h"
#include "grundel/iff/FLio_p.h"

namespace grundel::detail {

constexpr TuInt32 kIdGEND = FLmakeid("GEND");
constexpr TuInt32 kIdPATH = FLmakeid("PATH");
constexpr TuInt32 kIdINCL = FLmakeid("INCL");
constexpr TuInt32 kIdEOVC = FLmakeid("EOVC");
/// The room of the root level, as if it were a group of this size.
constexpr TuInt64 kRootRoom = 0x7ffffff0;

inline TuInt32 readBE32(const unsigned char* p) noexcept {
    return TuInt32(p[0]) << 24 | TuInt32(p[1]) << 16 | TuInt32(p[2]) << 8 | TuInt32(p[3]);
}
inline void writeBE32(unsigned char* p, TuInt32 v) noexcept {
    p[0] = static_cast<unsigned char>(v >> 24);
    p[1] = static_cast<unsigned char>(v >> 16);
    p[2] = static_cast<unsigned char>(v >> 8);
    p[3] = static_cast<unsigned char>(v);
}

/// Length padded to the mask: (n + mask) with the mask bits cleared.
inline TuInt64 padded(TuInt64 n, TuInt32 mask) noexcept { return (n + mask) & ~TuInt64(mask); }

inline bool isUnknownSize(Tint32 size) noexcept { return size < 0; }
inline bool isLegalUnknownSize(TuInt32 size) noexcept { return size >= kFLsizeUnknown && size <= kFLsizeUnknownLast; }

/// Sets the error variable and returns code.
inline int flFail(int code) noexcept { return FLseterror(code); }
/// 40 "IO error", keeping the system error of the file's last failure.
inline int flIoFail(_FLfile* file) noexcept {
    FLsetoserror(file->io->lastError());
    return FLseterror(kFLio);
}

/// The classification of an identifier at a level.
struct FLkind {
    TuInt32 flags = 0;
    TuInt32 mask = 1;
};

/// classify() for an identifier that mayBeReserved().
int classifyReserved(TuInt32 id, const _FLcontext* level, Tint32& size, FLkind& kind) noexcept;

/// True when id may be reserved: no reserved identifier starts with another
/// letter than these, so most data chunks are told apart by one compare.
inline bool mayBeReserved(TuInt32 id) noexcept {
    switch (static_cast<char>(id >> 24)) {
    case 'F':
    case 'C':
    case 'L':
    case 'P':
    case 'G':
    case 'I':
        return true;
    default:
        return false;
    }
}

/// Classifies id for a chunk at level: its kind flags and alignment mask,
/// and the checks made when a header is begun or read (12 at the root for a
/// chunk that may not stand there, 14 for a property group outside a list,
/// 34 for a reserved prefix with a digit). A group's size of 0 becomes
/// kFLsizePatched. Returns 0 or the code.
inline int classify(TuInt32 id, const _FLcontext* level, Tint32& size, FLkind& kind) noexcept {
    if (mayBeReserved(id))
        return classifyReserved(id, level, size, kind);
    kind.flags = kFLkindData;
    kind.mask = level->mask ? level->mask : 1;
    return level->parent ? kFLnoError : flFail(kFLbadRoot);
}

/// 0 when id is a group's identifier; 34 for a reserved group prefix with a
/// digit (FOR2); 3 for any other identifier. Sets nothing.
int groupIdCode(TuInt32 id) noexcept;

/// A context from the free list shared by all files (zeroed), or null.
_FLcontext* takeContext() noexcept;
/// Back to the free list.
void giveContext(_FLcontext* context) noexcept;
/// Pushes a level inside the group open at the file's current level; 6
/// beyond kFLmaxDepth, 33 without memory.
int pushLevel(_FLfile* file, TuInt64 levelStart, TuInt64 levelEnd) noexcept;
/// Pops the innermost level and clears the chunk open at the level it
/// returns to.
void popLevel(_FLfile* file) noexcept;

/// Forgets the chunk open at level.
inline void clearChunk(_FLcontext* level) noexcept {
    level->id = 0;
    level->size = 0;
    level->flags = 0;
    level->type = 0;
    level->start = 0;
}

inline bool isWriting(const _FLfile* file) noexcept { return (file->flags & kFLwriting) != 0; }

} // namespace grundel::detail
