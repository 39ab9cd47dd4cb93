#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

#include <atomic>

/// Thread-specific storage: keys under which every thread keeps its own
/// pointer (null until the thread sets one).
///
/// A collection remembers the keys it handed out and refuses any other, so
/// a stale or foreign key reads null and cannot be set. Destroying a
/// collection releases the keys it still holds; the process-wide one
/// (getCollection, and the static forms) lives until the process ends. Keys
/// are safe to use from any thread; acquiring and releasing them is too.
class GRUNDEL_API TmtTSSCollection {
public:
    /// No key: what acquireKey returns when the system has none left.
    static constexpr TuInt32 kInvalidKey = 0xFFFFFFFFu;

    TmtTSSCollection() noexcept = default;
    ~TmtTSSCollection();
    TmtTSSCollection(const TmtTSSCollection&) = delete;
    TmtTSSCollection& operator=(const TmtTSSCollection&) = delete;

    /// A new key, or kInvalidKey when none is left.
    TuInt32 acquireKey() noexcept;
    /// Gives key back; false when this collection does not hold it. Values
    /// threads stored under it are forgotten, not freed.
    bool releaseKey(TuInt32 key) noexcept;
    /// The calling thread's value under key; null when it set none or this
    /// collection does not hold key.
    void* getValue(TuInt32 key) const noexcept;
    /// Sets the calling thread's value under key; false when this collection
    /// does not hold key or the system refuses.
    bool setValue(TuInt32 key, void* value) noexcept;
    /// Whether this collection holds key.
    bool holds(TuInt32 key) const noexcept;

    /// The process-wide collection.
    static TmtTSSCollection& getCollection() noexcept;
    static TuInt32 sAcquireKey() noexcept { return getCollection().acquireKey(); }
    static bool sReleaseKey(TuInt32 key) noexcept { return getCollection().releaseKey(key); }
    static void* sGetValue(TuInt32 key) noexcept { return getCollection().getValue(key); }
    static bool sSetValue(TuInt32 key, void* value) noexcept { return getCollection().setValue(key, value); }

private:
    // One bit per system key (the system has at most 1024).
    static constexpr TuInt32 kMaxKeys = 1024;
    std::atomic<TuInt64> fHeld[kMaxKeys / 64] = {};
};
