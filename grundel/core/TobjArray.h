#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tarray.h"
#include "grundel/core/Ttypes.h"

#include <cstddef>

class TfootprintInfo;

/// A dynamic array of elements that need construction, copying and
/// destruction (strings, paths, objects held by value). It grows and stores
/// exactly as Tarray does ("Object Arrays" in the statistics), but handles
/// its elements only through five hooks that each member class overrides:
/// construct, destruct, shuffle, initialize and destroy. Here they do
/// nothing, so TobjArray alone holds raw bytes.
///
/// A member class's destructor releases its elements (the hooks cannot be
/// reached from this destructor); TobjArray's frees the storage. Raises
/// TmemoryException, leaving the array as it was, when storage cannot be had.
/// Not locked: one thread at a time.
class GRUNDEL_API TobjArray : public grundel::detail::TarrayBase<TobjArray> {
public:
    /// An empty array without storage. An element size of 0 is taken as 1.
    TobjArray(TuInt32 elementSize, TuInt32 sizeIncrement) noexcept;
    TobjArray(const TobjArray&) = delete;
    TobjArray& operator=(const TobjArray&) = delete;
    virtual ~TobjArray();

    /// Sets the increment and replaces the contents by n default elements.
    /// Returns 0.
    virtual int create(TuInt32 n, TuInt32 sizeIncrement);
    /// Builds default elements in the slots [from, to).
    virtual void construct(TuInt32 from, TuInt32 to);
    /// Releases the elements in [from, to).
    virtual void destruct(TuInt32 from, TuInt32 to);
    /// Moves elements by count places: with direction non-zero the elements
    /// from at go up and the count elements at the end come down to at; with
    /// direction 0 the elements after at + count come down and the count
    /// elements from at go to the end.
    virtual void shuffle(TuInt32 at, int direction, TuInt32 count);
    /// Copy-constructs count elements of source into the raw slots of
    /// destination.
    virtual void initialize(const void* source, void* destination, TuInt32 count);
    /// Releases count elements in storage.
    virtual void destroy(void* storage, TuInt32 count);
    /// Replaces the storage by room for n elements, length n, without
    /// building elements (0 releases it). The caller releases the elements.
    virtual void allocateArray(TuInt32 n);
    /// Sets the length to n, growing the storage by whole increments as
    /// Tarray does; it builds and releases no elements.
    virtual void expandArray(TuInt32 n);

    /// count default elements at at (clamped to the length). Returns 0.
    int insertElement(TuInt32 at, TuInt32 count = 1);
    /// Releases count elements from at (count clamped to the end). At the last
    /// position exactly one element goes, whatever count; past the last
    /// nothing happens. Returns 0.
    int removeAt(TuInt32 at, TuInt32 count = 1);
    /// Length n: elements beyond it are released, new ones built.
    void changeLogicalSizeTo(TuInt32 n);
    /// Brings the storage to n elements (0 releases it), releasing the
    /// elements beyond n.
    void changePhysicalSizeTo(TuInt32 n);
    /// Releases every element; the storage is kept.
    void reset();
    /// The same as reset().
    void resetLogicalSize() { reset(); }

    /// Reports elementSize × physicalSize + 24 bytes under label and, with
    /// followPointers, offers the first word of each element as a pointer
    /// (only when an element can hold one; null words are skipped).
    static void sGetArrayFootprint(const TobjArray* array, TfootprintInfo& info, const char* label,
                                   bool followPointers);

protected:
    /// Moves the storage from oldBytes to newBytes, relocating the live
    /// elements (up to the new size) through initialize and destroy unless
    /// the mapped pages can change size in place. Returns the new storage;
    /// raises TmemoryException (nothing changed) when it cannot be had.
    void* reallocate(std::size_t oldBytes, std::size_t newBytes, void* storage);
    /// expandArray for elements that may move to another address as plain
    /// bytes (nothing points into them): their storage then moves as Tarray's
    /// does, without copying and releasing each element.
    void expandRelocating(TuInt32 n);

private:
    void expand(TuInt32 n, bool relocateBytes);
};

extern template class grundel::detail::TarrayBase<TobjArray>;

/// The parent of the sorted members: a TobjArray kept in ascending order,
/// with or without equal elements. The order itself belongs to each member.
class GRUNDEL_API TsortedArray : public TobjArray {
public:
    TsortedArray(TuInt32 elementSize, bool allowDuplicates, TuInt32 sizeIncrement) noexcept
        : TobjArray(elementSize, sizeIncrement), fAllowDuplicates(allowDuplicates) {}

    bool allowsDuplicates() const noexcept { return fAllowDuplicates; }

protected:
    bool fAllowDuplicates;
};
