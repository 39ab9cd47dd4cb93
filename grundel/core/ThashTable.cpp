#include "grundel/core/ThashTable.h"

#include "grundel/core/ThashTable_p.h"
#include "grundel/core/Texception.h"

#include <atomic>
#include <utility>

namespace grundel::detail {

namespace {
std::atomic<int> gFailBucketAllocations{0};
} // namespace

void failNextBucketAllocations(int count) noexcept {
    gFailBucketAllocations.store(count, std::memory_order_relaxed);
}

} // namespace grundel::detail

namespace {

// Doubling from 1 until reaching value, stopping at 2^31 rather than overflow.
TuInt32 roundUpToPowerOfTwo(TuInt32 value) noexcept {
    TuInt32 p = 1;
    while (p < value && p < ThashTable::kLargestSize)
        p <<= 1;
    return p;
}

bool isPowerOfTwo(TuInt32 n) noexcept { return n && !(n & (n - 1)); }

ThashTableEntry** newBuckets(TuInt32 n) noexcept {
    auto& failures = grundel::detail::gFailBucketAllocations;
    if (failures.load(std::memory_order_relaxed) > 0) {
        failures.fetch_sub(1, std::memory_order_relaxed);
        return nullptr;
    }
    return new (std::nothrow) ThashTableEntry*[n]();
}

} // namespace

ThashTable::ThashTable(TuInt32 minimumSize, TuInt32 maximumSize) noexcept
    : fEntryCount(0), fLockDepth(0), fSavedMinimum(0), fSavedMaximum(0), fTable(nullptr) {
    fMinimumSize = roundUpToPowerOfTwo(minimumSize);
    if (fMinimumSize < 8)
        fMinimumSize = 8;
    fMaximumSize = roundUpToPowerOfTwo(maximumSize);
    if (fMaximumSize < fMinimumSize)
        fMaximumSize = fMinimumSize;
    fTableSize = fMinimumSize;
    setThresholds();
}

ThashTable::ThashTable(const ThashTable& other) noexcept
    : fEntryCount(0), fTableSize(other.fTableSize), fLockDepth(0), fSavedMinimum(0),
      fSavedMaximum(0), fTable(nullptr) {
    const bool locked = other.fLockDepth > 0;
    fMinimumSize = locked ? other.fSavedMinimum : other.fMinimumSize;
    fMaximumSize = locked ? other.fSavedMaximum : other.fMaximumSize;
    setThresholds();
}

ThashTable::~ThashTable() { delete[] fTable; }

void ThashTable::setThresholds() noexcept {
    fShrinkThreshold = fTableSize / 8;
    fGrowThreshold = static_cast<TuInt32>(TuInt64(fTableSize) * 3 / 8);
}

bool ThashTable::allocateBuckets() noexcept {
    fTable = newBuckets(fTableSize);
    return fTable != nullptr;
}

void ThashTable::raiseOutOfMemory(std::size_t bytes) { throw TmemoryException(bytes); }

bool ThashTable::insertWithHash(ThashTableEntry* entry, TuInt32 hash) noexcept {
    if (!fTable && !allocateBuckets())
        return false; // not reached by tables that call ensureBuckets() first
    entry->fHash = hash;
    ThashTableEntry*& head = fTable[tableIndex(hash, fTableSize)];
    entry->fNext = head;
    head = entry;
    ++fEntryCount;
    if (fEntryCount > fGrowThreshold && TuInt64(fTableSize) * 2 <= fMaximumSize)
        return setTableSize(fTableSize * 2);
    return true;
}

bool ThashTable::setTableSize(TuInt32 n) noexcept {
    if (n == fTableSize)
        return true;
    if (!isPowerOfTwo(n))
        return false;
    if (fTable) {
        ThashTableEntry** buckets = newBuckets(n);
        if (!buckets)
            return false;
        // Pushing each entry at the head of its new chain reverses the order
        // inside a chain; equal keys keep that reversed order.
        for (TuInt32 i = 0; i < fTableSize; ++i) {
            for (ThashTableEntry* e = fTable[i]; e;) {
                ThashTableEntry* next = e->fNext;
                ThashTableEntry*& head = buckets[tableIndex(e->fHash, n)];
                e->fNext = head;
                head = e;
                e = next;
            }
        }
        delete[] fTable;
        fTable = buckets;
    }
    fTableSize = n;
    setThresholds();
    return true;
}

void ThashTable::shrinkTable() noexcept {
    if (fEntryCount < fShrinkThreshold && fTableSize / 2 >= fMinimumSize)
        setTableSize(fTableSize / 2);
}

bool ThashTable::resize() noexcept {
    if (fLockDepth > 0)
        return false;
    TuInt32 size = fTableSize;
    if (fEntryCount < fShrinkThreshold && size / 2 >= fMinimumSize) {
        size /= 2;
        while (fEntryCount < size / 8 && size / 2 >= fMinimumSize)
            size /= 2;
    } else if (fEntryCount > fGrowThreshold && TuInt64(size) * 2 <= fMaximumSize) {
        size *= 2;
        while (fEntryCount > TuInt64(size) * 3 / 8 && TuInt64(size) * 2 <= fMaximumSize)
            size *= 2;
    }
    return setTableSize(size);
}

void ThashTable::lockSize() noexcept {
    if (fLockDepth++ == 0) {
        fSavedMinimum = fMinimumSize;
        fSavedMaximum = fMaximumSize;
        fMinimumSize = fMaximumSize = fTableSize;
    }
}

bool ThashTable::unlockSize() noexcept {
    if (fLockDepth == 0)
        return false;
    if (--fLockDepth == 0) {
        fMinimumSize = fSavedMinimum;
        fMaximumSize = fSavedMaximum;
        resize();
    }
    return true;
}

void ThashTable::reinitializeTable() noexcept {
    fEntryCount = 0;
    if (fTable && fTableSize == fMinimumSize) {
        for (TuInt32 i = 0; i < fTableSize; ++i)
            fTable[i] = nullptr;
    } else {
        delete[] fTable;
        fTable = nullptr;
        fTableSize = fMinimumSize;
    }
    setThresholds();
}

void ThashTable::forgetEntries(TdeleteEntry destroy) noexcept {
    if (!fTable)
        return;
    for (TuInt32 i = 0; i < fTableSize; ++i) {
        for (ThashTableEntry* e = fTable[i]; e;) {
            ThashTableEntry* next = e->fNext;
            destroy(e);
            e = next;
        }
        fTable[i] = nullptr;
    }
    fEntryCount = 0;
}

void ThashTable::cloneEntries(const ThashTable& other, TcloneEntry clone, TdeleteEntry destroy) {
    if (other.fEntryCount == 0 || !other.fTable)
        return;
    if (!ensureBuckets())
        raiseOutOfMemory(sizeof(ThashTableEntry*) * std::size_t(fTableSize));
    for (TuInt32 i = 0; i < fTableSize; ++i) {
        ThashTableEntry** tail = &fTable[i];
        for (const ThashTableEntry* e = other.fTable[i]; e; e = e->fNext) {
            ThashTableEntry* copy = clone(*e);
            if (!copy) {
                forgetEntries(destroy);
                raiseOutOfMemory(sizeof(ThashTableEntry));
            }
            copy->fNext = nullptr;
            *tail = copy;
            tail = &copy->fNext;
            ++fEntryCount;
        }
    }
}

void ThashTable::swapTable(ThashTable& other) noexcept {
    std::swap(fShrinkThreshold, other.fShrinkThreshold);
    std::swap(fGrowThreshold, other.fGrowThreshold);
    std::swap(fMinimumSize, other.fMinimumSize);
    std::swap(fMaximumSize, other.fMaximumSize);
    std::swap(fEntryCount, other.fEntryCount);
    std::swap(fTableSize, other.fTableSize);
    std::swap(fLockDepth, other.fLockDepth);
    std::swap(fSavedMinimum, other.fSavedMinimum);
    std::swap(fSavedMaximum, other.fSavedMaximum);
    std::swap(fTable, other.fTable);
}

// -- Iterator -----------------------------------------------------------------

ThashTableEntry* ThashTableIterator::scanFrom(TuInt32 bucket) noexcept {
    const ThashTable& t = *fHashTable;
    if (t.fTable) {
        for (; bucket < t.fTableSize; ++bucket) {
            if (t.fTable[bucket]) {
                fBucket = bucket;
                return take(t.fTable[bucket]);
            }
        }
    }
    fBucket = t.fTableSize;
    return take(nullptr);
}

ThashTableEntry* ThashTableIterator::_first() noexcept { return scanFrom(0); }

ThashTableEntry* ThashTableIterator::_next() noexcept {
    if (fFollowing)
        return take(fFollowing);
    if (!fCurrent)
        return nullptr; // before the walk or after its end
    return scanFrom(fBucket + 1);
}

ThashTableEntry* ThashTableIterator::_first(TuInt32 hash) noexcept {
    fBucket = ThashTable::tableIndex(hash, fHashTable->fTableSize);
    return take(fHashTable->chainOf(hash));
}

bool ThashTableIterator::_remove(ThashTableEntry* entry, TuInt32 bucket) noexcept {
    auto& t = const_cast<ThashTable&>(*fHashTable);
    if (!entry || !t.fTable || bucket >= t.fTableSize)
        return false;
    for (ThashTableEntry** link = &t.fTable[bucket]; *link; link = &(*link)->fNext) {
        if (*link == entry) {
            *link = entry->fNext;
            --t.fEntryCount;
            if (fFollowing == entry)
                fFollowing = entry->fNext;
            return true;
        }
    }
    return false;
}
