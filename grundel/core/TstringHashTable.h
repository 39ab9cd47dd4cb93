#pragma once

#include "grundel/core/ThashTable.h"
#include "grundel/core/Tstring.h"

namespace grundel::detail {
struct GRUNDEL_API TstringHashEntry : ThashTableEntry {
    Tstring fKey;
    Tstring fValue;
};
struct GRUNDEL_API TstringKeyHashEntry : ThashTableEntry {
    Tstring fKey;
};
} // namespace grundel::detail

/// A multimap from Tstring keys to Tstring values, hashed with keyHash().
/// Keys and values are shared with the caller's strings, never copied
/// character by character.
///
/// keyHash() is not Tstring::hash(): that one keeps its long-standing values,
/// which gather names that differ only in a running number ("pCube1" to
/// "pCube100000") into a few hundred values. The tables instead store and
/// bucket by a 32-bit hash of the whole text made with folded 64 x 64-bit
/// multiplications, in which every byte moves every bit of the result. The
/// order in which an Iterator visits the keys follows these hashes and the
/// table's history; nothing may depend on it.
///
/// Equal keys may be stored more than once: find() and remove() meet the
/// most recently added first, until the table is resized (see ThashTable).
/// Arguments may be strings held by the table itself.
///
/// Inserting raises TmemoryException when no memory is left for the entry
/// (nothing is added then); a table that merely cannot grow keeps working
/// with longer chains. One thread at a time.
class GRUNDEL_API TstringHashTable
    : public grundel::detail::ThashTableOf<TstringHashTable, grundel::detail::TstringHashEntry> {
public:
    explicit TstringHashTable(TuInt32 minimumSize = 8, TuInt32 maximumSize = kLargestSize) noexcept
        : ThashTableOf(minimumSize, maximumSize) {}
    /// Copies the entries (same order) and the limits. Raises
    /// TmemoryException when memory runs out.
    TstringHashTable(const TstringHashTable& other) = default;
    /// The moved-from table is left empty, with the default limits.
    TstringHashTable(TstringHashTable&& other) noexcept = default;
    /// As the copy constructor; on failure this table is unchanged.
    TstringHashTable& operator=(const TstringHashTable& other) = default;
    TstringHashTable& operator=(TstringHashTable&& other) noexcept = default;

    /// The hash the table stores for key and buckets it by (see above): a
    /// function of the text alone, the same for every table and every run.
    static TuInt32 keyHash(const Tstring& key) noexcept;

    /// Adds an entry even when the key is present. False only when the
    /// table could not grow (the entry is stored all the same).
    bool insert(const Tstring& key, const Tstring& value);
    /// Adds the entry only when the key is absent: false, and nothing
    /// added, when it is present; true when added.
    bool insertUnique(const Tstring& key, const Tstring& value);
    /// Replaces the value of the first entry with that key and returns true;
    /// without one, as insert().
    bool insertReplace(const Tstring& key, const Tstring& value);

    /// The value of the first entry with that key, or null. The pointer is
    /// valid until that entry is removed.
    [[nodiscard]] Tstring* find(const Tstring& key) noexcept;
    [[nodiscard]] const Tstring* find(const Tstring& key) const noexcept;
    /// Copies the value of the first entry with that key into value; false,
    /// with value unchanged, when the key is absent.
    [[nodiscard]] bool find(const Tstring& key, Tstring& value) const noexcept;

    /// Removes the first entry with that key and may shrink the table. False
    /// when the key is absent.
    bool remove(const Tstring& key) noexcept;
    /// Removes every entry and returns to the minimum size.
    using ThashTableOf::reset;

    /// Walks the pairs; see ThashTableIterator for the order. Under
    /// lockSize(), remove() of the current key is safe during a walk: it
    /// removes the current entry or an equal one met before it.
    class GRUNDEL_API Iterator : protected ThashTableIterator {
    public:
        explicit Iterator(const TstringHashTable& table) noexcept : ThashTableIterator(table) {}
        /// Moves to the first pair; false when the table is empty.
        bool first() noexcept { return _first() != nullptr; }
        /// Moves to the next pair; false after the last.
        bool next() noexcept { return _next() != nullptr; }
        /// Copies the current key out; false (key unchanged) without one.
        bool getKey(Tstring& key) const noexcept { return copyCurrent(&Entry::fKey, key); }
        /// Copies the current value out; false (value unchanged) without one.
        bool getData(Tstring& value) const noexcept { return copyCurrent(&Entry::fValue, value); }
        /// The current value, or null without a current pair.
        const Tstring* data() const noexcept;
        /// Inserts every pair of the table into other (a walk of its own: this
        /// iterator keeps its place). Each pair is inserted as by insert(), so
        /// equal keys arrive in walk order and the last of them shadows the
        /// others. other may be the table itself: each pair is then doubled.
        /// When memory runs out, raises TmemoryException with the pairs so
        /// far appended.
        void appendAllTo(TstringHashTable& other) const;
    };

private:
    Entry* firstWithKey(const Tstring& key) const noexcept;
};

/// A multiset of Tstring keys, hashed with keyHash() (the hash of
/// TstringHashTable, not Tstring::hash()). Keys are shared with the caller's
/// strings. The order of a walk is unspecified. Otherwise as TstringHashTable.
class GRUNDEL_API TstringKeyHashTable
    : public grundel::detail::ThashTableOf<TstringKeyHashTable, grundel::detail::TstringKeyHashEntry> {
public:
    explicit TstringKeyHashTable(TuInt32 minimumSize = 8, TuInt32 maximumSize = kLargestSize) noexcept
        : ThashTableOf(minimumSize, maximumSize) {}
    /// Copies the keys and the limits; raises TmemoryException when memory
    /// runs out.
    TstringKeyHashTable(const TstringKeyHashTable& other) = default;
    /// The moved-from table is left empty, with the default limits.
    TstringKeyHashTable(TstringKeyHashTable&& other) noexcept = default;
    /// On failure this table is unchanged.
    TstringKeyHashTable& operator=(const TstringKeyHashTable& other) = default;
    TstringKeyHashTable& operator=(TstringKeyHashTable&& other) noexcept = default;

    /// The hash the table stores for key: TstringHashTable::keyHash(key).
    static TuInt32 keyHash(const Tstring& key) noexcept { return TstringHashTable::keyHash(key); }

    /// Adds the key without looking for an equal one. False only when the
    /// table could not grow (the key is stored all the same).
    bool insert(const Tstring& key);
    /// True when the key is present.
    [[nodiscard]] bool find(const Tstring& key) const noexcept;
    /// Removes the most recent entry of that key; false when absent.
    bool remove(const Tstring& key) noexcept;
    /// Removes every key and returns to the minimum size.
    using ThashTableOf::reset;

    class GRUNDEL_API Iterator : protected ThashTableIterator {
    public:
        explicit Iterator(const TstringKeyHashTable& table) noexcept : ThashTableIterator(table) {}
        bool first() noexcept { return _first() != nullptr; }
        bool next() noexcept { return _next() != nullptr; }
        /// Copies the current key out; false (key unchanged) without one.
        bool getKey(Tstring& key) const noexcept { return copyCurrent(&Entry::fKey, key); }
    };
};
