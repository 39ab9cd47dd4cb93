#pragma once

#include "grundel/core/Tarrays.h"
#include "grundel/core/TsharedReference.h"
#include "grundel/data/TdataLetter.h"

#include <cassert>

/// What the three array letters share: elements of one number type held in
/// an array of the family through a shared reference, so that copies of a
/// letter share one element array until one of them writes (the writer
/// gets a private copy first). A new element array grows in steps of 8
/// elements, so its first storage has room for 8.
///
/// Binary form: the elements first to last, each big-endian; an empty
/// array writes nothing. Reading takes the whole rest of the chunk: the
/// count becomes the remaining bytes divided by the element size (rounded
/// down, the last partial element dropped), and every remaining byte is
/// consumed. Memory taken is bounded by the bytes present.
///
/// Text form: the element count, then each element, each followed by one
/// space ("3 1 2 3 "). Reading checks the count against the arguments
/// present before anything is allocated, and leaves the letter unchanged
/// (and returns -1) on a wrong count or a bad number.
template <class A>
class GRUNDEL_API TdataArrayLetter : public TdataLetter {
public:
    using Array = A;
    using Element = typename A::Element;
    /// Step of growth of a new element array.
    static constexpr TuInt32 kInitialRoom = 8;

    /// The elements in native byte order, contiguous, together with a
    /// reference on their array: valid for as long as this object lives,
    /// whatever happens to the letter meanwhile (a letter that writes while
    /// a Buffer is held copies its elements first). For handing the
    /// elements to code that must not copy them.
    class Buffer {
    public:
        const Element* data() const noexcept { return fElements ? fElements->data() : nullptr; }
        TuInt32 count() const noexcept { return fElements ? fElements->length() : 0; }
        std::size_t byteSize() const noexcept { return std::size_t(count()) * sizeof(Element); }

    private:
        friend class TdataArrayLetter;
        explicit Buffer(const TsharedReference<A>& elements) noexcept : fElements(elements) {}
        TsharedReference<A> fElements;
    };

    TdataArrayLetter() noexcept = default;

    /// The number of elements.
    TuInt32 count() const noexcept { return fElements ? fElements->length() : 0; }
    bool isEmpty() const noexcept { return count() == 0; }
    /// The elements for reading (null when there are none); valid until the
    /// letter changes. See buffer() for a lasting view.
    const Element* elements() const noexcept { return fElements ? fElements->data() : nullptr; }
    const Element* begin() const noexcept { return elements(); }
    const Element* end() const noexcept { return elements() + count(); }
    /// Element i; i must be below count().
    Element value(TuInt32 i) const noexcept {
        assert(i < count() && "array letter index out of range");
        return elements()[i];
    }
    /// The element array for reading, or null before the first element.
    const A* array() const noexcept { return fElements.get(); }
    /// The element array for writing (copied first when shared; made when
    /// missing).
    A& writableArray();
    /// Sets element i (below count()).
    void setValue(TuInt32 i, Element value);
    /// Appends one element.
    void addLast(Element value) { (void)writableArray().addLast(value); }
    /// Replaces the elements by n values.
    void assign(const Element* values, TuInt32 n);
    /// A lasting view of the elements (see Buffer).
    Buffer buffer() const noexcept { return Buffer(fElements); }
    /// Number of letters (and buffers) sharing this letter's element array.
    int sharingCount() const noexcept { return fElements.referenceCount(); }

    /// Lets go of the elements (count 0).
    void reset() override { fElements.reset(); }
    void _getFootprint(TfootprintInfo& info) const override;

    /// Same class and the same elements (doubles compare as numbers).
    bool operator==(const TdataLetter& other) const override;
    bool operator!=(const TdataLetter& other) const override { return !(*this == other); }

    [[nodiscard]] int readASCII(const TargList& args, int& index, unsigned int flags) override;
    [[nodiscard]] int readBinary(TiffTag tag, TuInt32& remaining, const char*& cursor) override;
    [[nodiscard]] int writeBinary(TiffFile& file) const override;

protected:
    TdataArrayLetter(const TdataArrayLetter& other) noexcept : TdataLetter(other), fElements(other.fElements) {}
    /// Writes the elements as "count e1 e2 ... " with putElement.
    template <class Put>
    int writeElements(Tfile& file, Put putElement) const;
    /// The debug listing: header, then "[i]\t= " and the element in format.
    void debugElements(TdebugOutput& out, const char* format) const;

private:
    TsharedReference<A> fElements;
};

extern template class TdataArrayLetter<Tint32Array>;
extern template class TdataArrayLetter<TdoubleArray>;
extern template class TdataArrayLetter<TuInt64Array>;

/// Signed 32-bit integers: type name "Int32Array", tag I32#, 4 bytes each.
/// Text: integers in decimal, whatever the hint.
class GRUNDEL_API TdataInt32Array : public TdataArrayLetter<Tint32Array> {
    GRUNDEL_CLASS(TdataInt32Array)

public:
    static constexpr TiffTag kTag = TiffTag('I', '3', '2', '#');
    TdataInt32Array() noexcept = default;
    void debug(TdebugOutput& out, unsigned int flags = 0) const override;
    [[nodiscard]] TdataLetter* copy() const override { return new TdataInt32Array(*this); }
    int writeASCII(Tfile& file, int hint) const override;
    Tstring typeName() const override { return "Int32Array"; }

protected:
    TdataInt32Array(const TdataInt32Array& other) noexcept = default;
};

/// Doubles: type name "doubleArray", tag DBL#, 8 bytes each. Text by hint
/// as the tuples write theirs: 0 and 4 the values as they stand, 6 and 7
/// converted from internal to user linear or angle units, 8 taken as ticks
/// and written in seconds as floats; hints 1, 2, 3 and 5 write nothing.
/// Only hints 0 and 4 read back to the same values.
class GRUNDEL_API TdataDoubleArray : public TdataArrayLetter<TdoubleArray> {
    GRUNDEL_CLASS(TdataDoubleArray)

public:
    static constexpr TiffTag kTag = TiffTag('D', 'B', 'L', '#');
    TdataDoubleArray() noexcept = default;
    void debug(TdebugOutput& out, unsigned int flags = 0) const override;
    [[nodiscard]] TdataLetter* copy() const override { return new TdataDoubleArray(*this); }
    int writeASCII(Tfile& file, int hint) const override;
    Tstring typeName() const override { return "doubleArray"; }

protected:
    TdataDoubleArray(const TdataDoubleArray& other) noexcept = default;
};

/// Unsigned 64-bit integers: type name "uInt64Array", tag U64#, 8 bytes
/// each. Text: integers in decimal, whatever the hint.
class GRUNDEL_API TdataUInt64Array : public TdataArrayLetter<TuInt64Array> {
    GRUNDEL_CLASS(TdataUInt64Array)

public:
    static constexpr TiffTag kTag = TiffTag('U', '6', '4', '#');
    TdataUInt64Array() noexcept = default;
    void debug(TdebugOutput& out, unsigned int flags = 0) const override;
    [[nodiscard]] TdataLetter* copy() const override { return new TdataUInt64Array(*this); }
    int writeASCII(Tfile& file, int hint) const override;
    Tstring typeName() const override { return "uInt64Array"; }

protected:
    TdataUInt64Array(const TdataUInt64Array& other) noexcept = default;
};
