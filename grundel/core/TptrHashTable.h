#pragma once

#include "grundel/core/ThashTable.h"

namespace grundel::detail {
struct GRUNDEL_API TptrHashEntry : ThashTableEntry {
    const void* fKey = nullptr;
};
} // namespace grundel::detail

/// A multiset of pointers, hashed with Tcrc32 over all eight bytes of the
/// pointer value and compared by identity. The pointers are never followed;
/// null is a key like any other.
///
/// Insertion raises TmemoryException when no memory is left for the entry
/// (nothing is added then). One thread at a time.
class GRUNDEL_API TptrHashTable
    : public grundel::detail::ThashTableOf<TptrHashTable, grundel::detail::TptrHashEntry> {
public:
    explicit TptrHashTable(TuInt32 minimumSize = 8, TuInt32 maximumSize = kLargestSize) noexcept
        : ThashTableOf(minimumSize, maximumSize) {}
    /// Copies the keys and the limits; raises TmemoryException when memory
    /// runs out.
    TptrHashTable(const TptrHashTable& other) = default;
    /// The moved-from table is left empty, with the default limits.
    TptrHashTable(TptrHashTable&& other) noexcept = default;
    /// On failure this table is unchanged.
    TptrHashTable& operator=(const TptrHashTable& other) = default;
    TptrHashTable& operator=(TptrHashTable&& other) noexcept = default;

    /// Adds the key without looking for an equal one. False only when the
    /// table could not grow (the key is stored all the same).
    bool insert(const void* key);
    /// True when the pointer is present.
    [[nodiscard]] bool find(const void* key) const noexcept;
    /// Removes one entry of that pointer; false when absent.
    bool remove(const void* key) noexcept;
    /// Removes every key and returns to the minimum size.
    using ThashTableOf::reset;

    /// The hash of a pointer key.
    static TuInt32 hashOf(const void* key) noexcept;

    class GRUNDEL_API Iterator : protected ThashTableIterator {
    public:
        explicit Iterator(const TptrHashTable& table) noexcept : ThashTableIterator(table) {}
        bool first() noexcept { return _first() != nullptr; }
        bool next() noexcept { return _next() != nullptr; }
        /// Copies the current key out; false (key unchanged) without one.
        bool getKey(const void*& key) const noexcept { return copyCurrent(&Entry::fKey, key); }
    };
};
