#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

#include <cstddef>

class TfootprintInfo;

/// Results of the array family.
enum TarrayResult : int {
    kArrayOk = 0,          ///< done
    kArrayNotFound = 150,  ///< the library's "not found"
    kArrayRefused = -1,    ///< sorted arrays: absent, or the value would break the order
};

namespace grundel::detail {
/// Storage of this many bytes or more lives in mapped pages (mmapAlloc);
/// smaller storage on the general heap.
constexpr std::size_t kArrayMappedBytes = 64512;
/// The size increment of a generated array constructed without one.
constexpr TuInt32 kDefaultSizeIncrement = 16;

/// The five fields of Tarray and TobjArray, in their documented order, and
/// what the two do alike with them. Self is the array class: the members
/// that change sizes go through its changePhysicalSizeTo and
/// changeLogicalSizeTo. Not polymorphic, so that Self's vtable pointer stays
/// in front of the fields. The destructor frees the storage; Self releases
/// the elements first.
template <class Self>
class GRUNDEL_API TarrayBase {
public:
    TuInt32 length() const noexcept { return fLength; }
    TuInt32 physicalSize() const noexcept { return fPhysicalSize; }
    bool isEmpty() const noexcept { return fLength == 0; }
    TuInt32 sizeIncrement() const noexcept { return fSizeIncrement; }
    TuInt32 elementSize() const noexcept { return fElementSize; }
    /// A size increment of 0 is taken as 1 at the next growth.
    void setSizeIncrement(TuInt32 n) noexcept { fSizeIncrement = n; }

    /// Storage down to the length (released when the array is empty).
    void pack();
    /// Makes room for n more elements without changing the length.
    void buffer(TuInt32 n);
    /// changeLogicalSizeTo(length + delta); a result below 0 counts as 0.
    void changeLogicalSizeBy(Tint32 delta);
    /// Releases the elements and the storage (changePhysicalSizeTo(0)), then
    /// adopts storage unless it is null, holding length elements (built ones
    /// for a TobjArray); a length above physicalSize is cut to it. Storage of
    /// 64512 bytes or more must come from mmapAlloc, smaller storage from
    /// malloc. Returns 0.
    int setArray(void* storage, TuInt32 physicalSize, TuInt32 length);

protected:
    /// An empty array without storage. An element size of 0 is taken as 1.
    TarrayBase(TuInt32 elementSize, TuInt32 sizeIncrement) noexcept
        : fLength(0), fPhysicalSize(0), fSizeIncrement(sizeIncrement), fElementSize(elementSize ? elementSize : 1),
          fData(nullptr) {}
    TarrayBase(const TarrayBase&) = delete;
    TarrayBase& operator=(const TarrayBase&) = delete;
    ~TarrayBase();

    void* address(TuInt32 i) const noexcept { return fData + std::size_t(i) * fElementSize; }
    std::size_t bytesFor(TuInt32 n) const noexcept { return std::size_t(n) * fElementSize; }
    /// Clamps from to the length, then count to the elements from there on.
    void clampRange(TuInt32& from, TuInt32& count) const noexcept {
        if (from > fLength)
            from = fLength;
        if (count > fLength - from)
            count = fLength - from;
    }
    /// Frees the storage and takes storage (null or room for n elements) in
    /// its place, with length and physical size n. The elements must be
    /// released first.
    void replaceStorage(void* storage, TuInt32 n) noexcept;
    /// Exchanges everything but the element size.
    void swapWith(Self& other) noexcept;
    /// Reports elementSize × physicalSize + 24 bytes under label and, with
    /// followPointers, offers the first word of each element as a pointer
    /// (only when an element can hold one; null words are skipped).
    void reportFootprint(TfootprintInfo& info, const char* label, bool followPointers) const;

    TuInt32 fLength;
    TuInt32 fPhysicalSize;
    TuInt32 fSizeIncrement;
    TuInt32 fElementSize;
    char* fData;
};

} // namespace grundel::detail

/// A dynamic array of elements that are plain bytes (numbers, points,
/// pointers): elements are contiguous and are moved with memmove, never
/// through per-element code. The generated members (TuInt32Array, ...) give
/// it a typed face; see Tarrays.h.
///
/// Growth is linear in steps of the size increment, and the increment widens
/// by a quarter each time the array has grown past four steps; it never
/// doubles, trading a little copying for memory. Storage of 64512 bytes or
/// more lives in mapped pages ("Arrays" in the statistics) that usually grow
/// without copying.
///
/// The array owns its storage. Positions and counts past the ends are clamped
/// as each operation says; indexing does not check bounds. When storage
/// cannot be had, TmemoryException is raised and the array is left as it
/// was. Not locked: one thread at a time.
class GRUNDEL_API Tarray : public grundel::detail::TarrayBase<Tarray> {
public:
    /// An empty array without storage. An element size of 0 is taken as 1.
    Tarray(TuInt32 elementSize, TuInt32 sizeIncrement) noexcept;
    Tarray(const Tarray&) = delete;
    Tarray& operator=(const Tarray&) = delete;
    virtual ~Tarray();

    /// Sets the increment and replaces the storage by n uninitialised
    /// elements (length n). Returns 0.
    virtual int create(TuInt32 n, TuInt32 sizeIncrement);
    /// Brings the storage to n elements; 0 releases it. A longer length is cut
    /// to n.
    virtual void changePhysicalSizeTo(TuInt32 n);
    /// create(n, sizeIncrement), then n copies of the elementSize bytes at
    /// value (which may point into this array). Returns 0.
    virtual int createAndInitialise(const void* value, TuInt32 n, TuInt32 sizeIncrement);
    /// Replaces the storage by room for n elements, length n (0 releases it).
    virtual void allocateArray(TuInt32 n);
    /// Makes the length n, growing the storage by whole increments when n
    /// exceeds it. Never shrinks the storage.
    virtual void expandArray(TuInt32 n);

    /// Length to 0; the storage is kept.
    void reset() noexcept { fLength = 0; }
    /// Length n: 0 only sets the length; otherwise expandArray(n), so the
    /// storage may grow but never shrinks. New elements are uninitialised.
    void changeLogicalSizeTo(TuInt32 n);
    /// Removes count elements from at (count clamped to the end). At the last
    /// position exactly one element goes, whatever count; past the last
    /// nothing happens. Returns 0.
    int removeAt(TuInt32 at, TuInt32 count = 1);
    /// Removes the last count elements, or all of them. Returns 0.
    int removeLast(TuInt32 count = 1) noexcept;

    /// Reports elementSize × physicalSize + 24 bytes under label and offers
    /// the first word of each element as a pointer to follow (only when an
    /// element can hold a pointer; null words are skipped). A null array
    /// reports nothing.
    static void sGetArrayFootprint(const Tarray* array, TfootprintInfo& info, const char* label);

protected:
    /// count copies of the element at value, inserted at at (clamped to the
    /// length). value may point into this array. Returns 0.
    int insertElement(const void* value, TuInt32 at, TuInt32 count);
    /// count elements from values inserted at at (clamped to the length);
    /// values may point into this array. Returns 0.
    int insertElements(const void* values, TuInt32 at, TuInt32 count);
    /// Index of the first element whose bytes equal value's and 0, or the
    /// length and kArrayNotFound.
    [[nodiscard]] int findElement(const void* value, TuInt32& index) const noexcept;
    /// Removes the first equal element; kArrayNotFound when there is none.
    int removeElement(const void* value);
    /// Writes count elements from source into the slots from at (clamped to
    /// the length), growing the length as needed. source may point into this
    /// array. Returns 0.
    int copyElements(TuInt32 at, const void* source, TuInt32 count);
    /// Replaces the contents by count elements of source from from, or
    /// appends them (both clamped to source's length). Source may be this
    /// array. Returns 0.
    int copyFrom(const Tarray& source, TuInt32 from, TuInt32 count);
    int catenateFrom(const Tarray& source, TuInt32 from, TuInt32 count);
    /// Moves storage from oldBytes to newBytes between the heap and mapped
    /// pages as the sizes require. Returns the new storage; raises
    /// TmemoryException (storage untouched) when it cannot be had.
    void* reallocate(std::size_t oldBytes, std::size_t newBytes, void* storage);
    /// The physical size that growth to n elements reaches, by whole
    /// increments (an increment of 0 becomes 1).
    TuInt32 grownPhysicalSize(TuInt32 n);
    /// Widens the increment after a growth to n.
    void adaptIncrement(TuInt32 n) noexcept;
};

extern template class grundel::detail::TarrayBase<Tarray>;
