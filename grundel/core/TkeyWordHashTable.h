#pragma once

#include "grundel/core/ThashTable.h"
#include "grundel/core/TcharString.h"

namespace grundel::detail {
struct GRUNDEL_API TkeyWordHashEntry : ThashTableEntry {
    TcharString fKey;
};
} // namespace grundel::detail

/// A multiset of constant character keys (key words), hashed with
/// Tcrc32::calc over the characters up to the NUL and compared character by
/// character. Only the pointer is stored: the characters must outlive the
/// entry and stay unchanged while it is in the table. A null key is the empty key word "" (as TcharString makes it), so
/// it equals every other empty key.
///
/// Insertion raises TmemoryException when no memory is left for the entry
/// (nothing is added then). One thread at a time.
class GRUNDEL_API TkeyWordHashTable
    : public grundel::detail::ThashTableOf<TkeyWordHashTable, grundel::detail::TkeyWordHashEntry> {
public:
    explicit TkeyWordHashTable(TuInt32 minimumSize = 8, TuInt32 maximumSize = kLargestSize) noexcept
        : ThashTableOf(minimumSize, maximumSize) {}
    /// Copies the keys (the pointers) and the limits; raises
    /// TmemoryException when memory runs out.
    TkeyWordHashTable(const TkeyWordHashTable& other) = default;
    /// The moved-from table is left empty, with the default limits.
    TkeyWordHashTable(TkeyWordHashTable&& other) noexcept = default;
    /// On failure this table is unchanged.
    TkeyWordHashTable& operator=(const TkeyWordHashTable& other) = default;
    TkeyWordHashTable& operator=(TkeyWordHashTable&& other) noexcept = default;

    /// Adds the key without looking for an equal one. False only when the
    /// table could not grow (the key is stored all the same).
    bool insert(TcharString key);
    /// True when a key with the same characters is present.
    [[nodiscard]] bool find(TcharString key) const noexcept;
    /// Removes the most recent entry with the same characters; false when
    /// absent.
    bool remove(TcharString key) noexcept;
    /// Removes every key and returns to the minimum size.
    using ThashTableOf::reset;

    /// The hash of a key: Tcrc32::calc over its characters (0xFFFFFFFF for
    /// the empty key).
    static TuInt32 hashOf(TcharString key) noexcept;

    class GRUNDEL_API Iterator : protected ThashTableIterator {
    public:
        explicit Iterator(const TkeyWordHashTable& table) noexcept : ThashTableIterator(table) {}
        bool first() noexcept { return _first() != nullptr; }
        bool next() noexcept { return _next() != nullptr; }
        /// Copies the current key (the pointer) out; false (key unchanged)
        /// without one.
        bool getKey(TcharString& key) const noexcept { return copyCurrent(&Entry::fKey, key); }
    };
};
