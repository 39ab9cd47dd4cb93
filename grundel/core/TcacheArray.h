#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tarray.h"
#include "grundel/core/Ttypes.h"

/// A Tarray that starts out in a buffer supplied by its owner (typically on
/// the stack) and moves to storage of its own only when it outgrows it. The
/// buffer is never freed and must outlive the array.
class GRUNDEL_API TcacheArray : public Tarray {
public:
    /// cache holds cacheCount elements; a null cache or a count of 0 means
    /// there is none.
    TcacheArray(TuInt32 elementSize, TuInt32 sizeIncrement, void* cache, TuInt32 cacheCount) noexcept;
    ~TcacheArray() override;

    /// On the cache, only growth past it does anything (moving the elements
    /// out); anything else cuts the length. Off the cache, as Tarray.
    void changePhysicalSizeTo(TuInt32 n) override;
    /// Uses the cache when n fits in it (the physical size is then the cache's).
    void allocateArray(TuInt32 n) override;
    void expandArray(TuInt32 n) override;

    /// True while the elements live in the owner's buffer.
    bool usesCache() const noexcept { return fData != nullptr && fData == fCache; }

private:
    /// Moves the live elements out of the cache into storage for n elements.
    void leaveCache(TuInt32 n);

    char* fCache;
    TuInt32 fCacheCount;
};
