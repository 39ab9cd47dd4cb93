#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

#include <cstddef>
#include <new>
#include <utility>

/// Head of every entry of a ThashTable. A typed table derives its entry
/// from it, adds key and value, and allocates each entry with new.
struct ThashTableEntry {
    /// Next entry of the same bucket chain.
    ThashTableEntry* fNext = nullptr;
    /// The key's full hash, so that rehashing never touches a key and most
    /// unequal keys are rejected without comparing them.
    TuInt32 fHash = 0;
};

/// The chained hash table under every typed table of the library: a
/// power-of-two array of bucket chains that doubles when the entry count
/// passes three eighths of the bucket count and halves when it falls below
/// one eighth (the band between keeps a table from resizing back and forth),
/// always between a minimum and a maximum bucket count.
///
/// ThashTable handles buckets and sizes only; derived tables fix the entry
/// type, the key's hash and equality, own their entries and free them. A new
/// entry goes to the head of its chain, so the newest of equal keys is met
/// first; every rehash reverses the order inside each chain, and that order
/// is kept from then on.
///
/// lockSize() freezes the bucket array (locks nest) so that a walk stays
/// valid while entries are added or removed. It is not a thread lock: a table
/// is used by one thread at a time.
///
/// The bucket array is allocated with the first entry: an empty table holds
/// no memory beyond itself.
class GRUNDEL_API ThashTable {
public:
    /// Limits are rounded up to powers of two (at most 2^31); a minimum below
    /// 8 becomes 8 and a maximum below the minimum becomes the minimum. The
    /// table starts empty at the minimum size.
    explicit ThashTable(TuInt32 minimumSize = 8, TuInt32 maximumSize = kLargestSize) noexcept;
    virtual ~ThashTable();

    TuInt32 entryCount() const noexcept { return fEntryCount; }
    /// Number of buckets, a power of two.
    TuInt32 tableSize() const noexcept { return fTableSize; }
    /// The limits in force. While the size is locked both equal tableSize().
    TuInt32 minimumSize() const noexcept { return fMinimumSize; }
    TuInt32 maximumSize() const noexcept { return fMaximumSize; }
    /// Number of lockSize() calls not yet undone (0 when not locked).
    TuInt32 sizeLockDepth() const noexcept { return fLockDepth; }

    /// Brings the size in line with the count: halves while the count is
    /// below an eighth of the size, or doubles while it is above three
    /// eighths, within the limits. False while the size is locked, or when
    /// the new bucket array cannot be allocated (the old one stays in use).
    bool resize() noexcept;

    /// Freezes the bucket count: until the matching unlockSize() no insertion
    /// or removal resizes the table. Locks nest.
    void lockSize() noexcept;
    /// Undoes one lockSize(). The last one restores the limits and resizes at
    /// once. False when the size is not locked.
    bool unlockSize() noexcept;

    /// The bucket of a hash in a table of size buckets (a power of two).
    static TuInt32 tableIndex(TuInt32 hash, TuInt32 size) noexcept { return hash & (size - 1); }

    /// The largest bucket count: 2^31.
    static constexpr TuInt32 kLargestSize = 0x80000000u;

protected:
    /// Copies the limits and the size, not the entries: the derived table
    /// copies those with copyEntriesFrom(). The copy is not size-locked and
    /// has the limits the source has outside its lock.
    ThashTable(const ThashTable& other) noexcept;
    ThashTable& operator=(const ThashTable&) = delete;

    /// Stores hash in entry, links it at the head of its chain and counts it,
    /// then doubles the table when the count has passed the grow threshold.
    /// Returns false when that growth failed for want of memory; the entry is
    /// stored all the same. Call ensureBuckets() (or newEntry()) first: a
    /// table left without any bucket array returns false with the entry not
    /// stored.
    bool insertWithHash(ThashTableEntry* entry, TuInt32 hash) noexcept;

    /// Allocates the bucket array of an empty table. Derived tables call it
    /// before they allocate an entry; false when memory runs out.
    bool ensureBuckets() noexcept { return fTable || allocateBuckets(); }

    /// A default-constructed Entry, with the bucket array ready for it.
    /// Raises TmemoryException when memory runs out, with nothing changed.
    template <class Entry>
    Entry* newEntry() {
        if (!ensureBuckets())
            raiseOutOfMemory(sizeof(ThashTableEntry*) * std::size_t(fTableSize));
        Entry* e = new (std::nothrow) Entry();
        if (!e)
            raiseOutOfMemory(sizeof(Entry));
        return e;
    }

    /// Rehashes into n buckets (a power of two, not checked against the
    /// limits). False, with the table as it was, when n is not a power of two
    /// or the bucket array cannot be allocated.
    bool setTableSize(TuInt32 n) noexcept;

    /// Called after a removal by key: halves the table once when the count is
    /// below the shrink threshold and the half is not below the minimum.
    void shrinkTable() noexcept;

    /// Forgets every entry (without freeing them) and returns to the minimum
    /// size with an empty bucket array.
    void reinitializeTable() noexcept;

    /// Head of the chain of a hash (null when empty).
    ThashTableEntry* chainOf(TuInt32 hash) const noexcept {
        return fTable ? fTable[tableIndex(hash, fTableSize)] : nullptr;
    }

    /// First entry of hash's chain with that hash for which match(entry) is
    /// true, or null.
    template <class Entry, class Match>
    Entry* findEntry(TuInt32 hash, Match match) const {
        for (ThashTableEntry* e = chainOf(hash); e; e = e->fNext)
            if (e->fHash == hash && match(*static_cast<Entry*>(e)))
                return static_cast<Entry*>(e);
        return nullptr;
    }

    /// Unlinks the first entry that findEntry() would return and uncounts it,
    /// without shrinking. Returns it (the caller frees it), or null.
    template <class Entry, class Match>
    Entry* unlinkEntry(TuInt32 hash, Match match) {
        if (!fTable)
            return nullptr;
        for (ThashTableEntry** link = &fTable[tableIndex(hash, fTableSize)]; *link; link = &(*link)->fNext) {
            ThashTableEntry* e = *link;
            if (e->fHash == hash && match(*static_cast<Entry*>(e))) {
                *link = e->fNext;
                --fEntryCount;
                return static_cast<Entry*>(e);
            }
        }
        return nullptr;
    }

    /// Frees every entry as an Entry and empties the chains; the size and
    /// the bucket array stay.
    template <class Entry>
    void destroyEntries() noexcept {
        forgetEntries(&deleteAs<Entry>);
    }

    /// Copies other's entries (as Entry, by its copy constructor) into this
    /// empty table of the same size, chain by chain in the same order, so the
    /// copy finds and walks exactly as the source does. Raises
    /// TmemoryException when memory runs out, leaving this table empty.
    template <class Entry>
    void copyEntriesFrom(const ThashTable& other) {
        cloneEntries(other, &cloneAs<Entry>, &deleteAs<Entry>);
    }

    /// Exchanges everything with other (for copy-and-swap assignment).
    void swapTable(ThashTable& other) noexcept;

private:
    friend class ThashTableIterator;

    using TcloneEntry = ThashTableEntry* (*)(const ThashTableEntry&);
    using TdeleteEntry = void (*)(ThashTableEntry*);

    template <class Entry>
    static ThashTableEntry* cloneAs(const ThashTableEntry& e) {
        return new (std::nothrow) Entry(static_cast<const Entry&>(e));
    }
    template <class Entry>
    static void deleteAs(ThashTableEntry* e) noexcept {
        delete static_cast<Entry*>(e);
    }

    bool allocateBuckets() noexcept;
    [[noreturn]] static void raiseOutOfMemory(std::size_t bytes);
    void setThresholds() noexcept;
    void forgetEntries(TdeleteEntry destroy) noexcept;
    void cloneEntries(const ThashTable& other, TcloneEntry clone, TdeleteEntry destroy);

    TuInt32 fShrinkThreshold;
    TuInt32 fGrowThreshold;
    TuInt32 fMinimumSize;
    TuInt32 fMaximumSize;
    TuInt32 fEntryCount;
    TuInt32 fTableSize;
    // The size lock: depth, and the limits it replaced. Held in the table
    // itself so that taking a lock can never fail.
    TuInt32 fLockDepth;
    TuInt32 fSavedMinimum;
    TuInt32 fSavedMaximum;
    ThashTableEntry** fTable;
};

namespace grundel::detail {

/// What every typed table does alike, written once: Self is the table and E
/// its entry type. Copies keep the entries, their order and the limits, and
/// raise TmemoryException when memory runs out; a moved-from table is empty
/// with the default limits; assignment copies first, so that a failure
/// leaves the target as it was. The destructor frees the entries.
template <class Self, class E>
class GRUNDEL_API ThashTableOf : public ThashTable {
protected:
    using Entry = E;

    explicit ThashTableOf(TuInt32 minimumSize, TuInt32 maximumSize) noexcept
        : ThashTable(minimumSize, maximumSize) {}
    ThashTableOf(const ThashTableOf& other) : ThashTable(other) { copyEntriesFrom<Entry>(other); }
    ThashTableOf(ThashTableOf&& other) noexcept : ThashTable() { swapTable(other); }
    ThashTableOf& operator=(const ThashTableOf& other) {
        if (this != &other) {
            Self copy(static_cast<const Self&>(other));
            swapTable(copy);
        }
        return *this;
    }
    ThashTableOf& operator=(ThashTableOf&& other) noexcept {
        if (this != &other) {
            Self taken(std::move(static_cast<Self&>(other)));
            swapTable(taken);
        }
        return *this;
    }
    ~ThashTableOf() override { destroyEntries<Entry>(); }

    /// Frees every entry and returns to the minimum size.
    void reset() noexcept {
        destroyEntries<Entry>();
        reinitializeTable();
    }

    /// Unlinks and frees the first entry that findEntry() would return, then
    /// may shrink the table. False when there is none.
    template <class Match>
    bool removeEntry(TuInt32 hash, Match match) noexcept {
        Entry* e = unlinkEntry<Entry>(hash, match);
        if (!e)
            return false;
        delete e;
        shrinkTable();
        return true;
    }
};

} // namespace grundel::detail

/// Walks a ThashTable: bucket by bucket from index 0, and inside a bucket
/// newest entry first. The order changes whenever the table is resized, so
/// a walk that adds or removes entries runs under ThashTable::lockSize().
///
/// The walk remembers the entry after the current one before handing the
/// current one out, so the current entry may be removed and freed during
/// the walk, by _remove() or by the table; any other entry only by
/// _remove(). Entries added during a walk are met or not depending on where
/// they land.
///
/// Base of each typed table's Iterator.
class GRUNDEL_API ThashTableIterator {
protected:
    explicit ThashTableIterator(const ThashTable& table) noexcept : fHashTable(&table) {}

    /// First entry of the walk, or null when the table is empty.
    ThashTableEntry* _first() noexcept;
    /// Next entry of the walk, or null after the last.
    ThashTableEntry* _next() noexcept;
    /// Head of the chain hash falls in, remembering its bucket (see bucket()).
    /// Null when that chain is empty.
    ThashTableEntry* _first(TuInt32 hash) noexcept;
    /// Unlinks entry from the chain of bucket and uncounts it, without
    /// shrinking; the caller frees it. The table must not be const. False
    /// when the entry is not in that chain.
    bool _remove(ThashTableEntry* entry, TuInt32 bucket) noexcept;

    /// The bucket of the entry last handed out.
    TuInt32 bucket() const noexcept { return fBucket; }
    /// The entry last handed out (null before the walk and after its end).
    ThashTableEntry* current() const noexcept { return fCurrent; }
    /// current() as the table's entry type.
    template <class Entry>
    const Entry* currentAs() const noexcept {
        return static_cast<const Entry*>(fCurrent);
    }
    /// Copies field of the current entry into out: false, with out
    /// unchanged, when there is no current entry.
    template <class Entry, class Field, class Out>
    bool copyCurrent(Field Entry::*field, Out& out) const noexcept {
        if (!fCurrent)
            return false;
        out = currentAs<Entry>()->*field;
        return true;
    }
    const ThashTable& table() const noexcept { return *fHashTable; }

private:
    ThashTableEntry* scanFrom(TuInt32 bucket) noexcept;
    ThashTableEntry* take(ThashTableEntry* entry) noexcept {
        fCurrent = entry;
        fFollowing = entry ? entry->fNext : nullptr;
        return entry;
    }

    const ThashTable* fHashTable;
    TuInt32 fBucket = 0;
    ThashTableEntry* fCurrent = nullptr;
    ThashTableEntry* fFollowing = nullptr;
};
