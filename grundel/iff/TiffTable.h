#pragma once

#include "grundel/core/ThashTable.h"

class Tmetaclass;

namespace grundel::detail {
struct GRUNDEL_API TiffTableEntry : ThashTableEntry {
    TuInt32 fTag = 0;
    Tmetaclass* fRecord = nullptr;
};
} // namespace grundel::detail

/// Run-time classes by chunk tag value (TiffTag::value()): how the typed
/// data reader finds the class that reads a tag. Tags are hashed with
/// Tcrc32 over their four bytes. Insertion raises TmemoryException when no
/// memory is left for the entry. One thread at a time.
class GRUNDEL_API TiffTable : public grundel::detail::ThashTableOf<TiffTable, grundel::detail::TiffTableEntry> {
public:
    /// minimumSize: the initial bucket count; maximumSize: the largest it
    /// may grow to (both rounded up to powers of two).
    explicit TiffTable(TuInt32 minimumSize = 64, TuInt32 maximumSize = kLargestSize) noexcept
        : ThashTableOf(minimumSize, maximumSize) {}
    /// Copies the pairs (same order) and the limits; raises TmemoryException
    /// when memory runs out, leaving an assigned table as it was. A move
    /// copies too.
    TiffTable(const TiffTable& other) = default;
    TiffTable& operator=(const TiffTable& other) = default;

    /// Adds the pair even when the tag is present (the newest is found
    /// first). False only when the table could not grow.
    bool insert(TuInt32 tag, Tmetaclass* record);
    /// Adds the pair only when the tag is absent; false when present.
    bool insertUnique(TuInt32 tag, Tmetaclass* record);
    /// Replaces the record of the tag (true), or adds the pair.
    bool insertReplace(TuInt32 tag, Tmetaclass* record);
    /// The slot of the tag's record, or null.
    [[nodiscard]] Tmetaclass** find(TuInt32 tag) noexcept;
    [[nodiscard]] Tmetaclass* const* find(TuInt32 tag) const noexcept;
    /// The tag's record through record; false (unchanged) when absent.
    [[nodiscard]] bool find(TuInt32 tag, Tmetaclass*& record) const noexcept;
    /// Removes the newest entry of the tag; false when absent.
    bool remove(TuInt32 tag) noexcept;

    static TuInt32 hashOf(TuInt32 tag) noexcept;

    class GRUNDEL_API Iterator : protected ThashTableIterator {
    public:
        /// Stands on the first pair (if any).
        explicit Iterator(const TiffTable& table) noexcept : ThashTableIterator(table) { _first(); }
        bool first() noexcept { return _first() != nullptr; }
        bool next() noexcept { return _next() != nullptr; }
        bool isDone() const noexcept { return current() == nullptr; }
        /// False (unchanged) without a current pair.
        bool getKey(TuInt32& tag) const noexcept { return copyCurrent(&Entry::fTag, tag); }
        bool getData(Tmetaclass*& record) const noexcept { return copyCurrent(&Entry::fRecord, record); }
        Tmetaclass* data() const noexcept;
        /// Inserts every pair into other (by insert()).
        void appendAllTo(TiffTable& other) const;
    };

private:
    Entry* newest(TuInt32 tag) const noexcept;
};
