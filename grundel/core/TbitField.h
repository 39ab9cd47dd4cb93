#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tarrays.h"
#include "grundel/core/Ttypes.h"

#include <cassert>
#include <cstddef>
// The iterator tags alone: all of <iterator> (stream iterators included)
// triples the parse time of this header.
#if __has_include(<bits/stl_iterator_base_types.h>)
#include <bits/stl_iterator_base_types.h>
#else
#include <iterator>
#endif

// Sets of flags indexed by small integers: fields of 16, 32, 64 and 128 bits
// held in one value, a growable field (TbitFieldN), a field of a fixed bit
// count over owned or borrowed words (TbitFieldFixedN) and a matrix of bits
// (TbitMatrix). operator[] gives a proxy that writes one bit and a bool when
// read. Bit i of a word field is 1 << i; in the word arrays bit i sits at
// position i AND 31 of word i / 32. Not locked: one thread at a time.
//
// testBit and setBit define what happens past the last bit (see each class);
// operator[] is an index like an array's, asserted in debug builds. begin()
// and end() walk the bits as bools, bit 0 first.

namespace grundel::detail {

/// One bit of a field: assigning a bool sets it, reading tests it.
template <class Field>
class TbitRef {
public:
    TbitRef(Field& field, TuInt32 bit) noexcept : fField(field), fBit(bit) {}
    TbitRef(const TbitRef&) noexcept = default;
    TbitRef& operator=(bool value) {
        fField.setBit(fBit, value);
        return *this;
    }
    TbitRef& operator=(const TbitRef& other) { return *this = bool(other); }
    operator bool() const noexcept { return fField.testBit(fBit); }

private:
    Field& fField;
    TuInt32 fBit;
};

/// Walks the bits of a field as bools: bit 0 first, up to the field's size.
template <class Field>
class TbitIterator {
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = bool;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = bool;

    TbitIterator() noexcept : fField(nullptr), fBit(0) {}
    TbitIterator(const Field* field, TuInt32 bit) noexcept : fField(field), fBit(bit) {}
    bool operator*() const noexcept { return fField->testBit(fBit); }
    TbitIterator& operator++() noexcept {
        ++fBit;
        return *this;
    }
    TbitIterator operator++(int) noexcept {
        TbitIterator before = *this;
        ++fBit;
        return before;
    }
    /// The index of the bit this iterator stands on.
    TuInt32 index() const noexcept { return fBit; }
    friend bool operator==(const TbitIterator& a, const TbitIterator& b) noexcept { return a.fBit == b.fBit; }
    friend bool operator!=(const TbitIterator& a, const TbitIterator& b) noexcept { return a.fBit != b.fBit; }

private:
    const Field* fField;
    TuInt32 fBit;
};

/// A field held in one unsigned word. Bits at and past the width test false
/// and are not set.
template <class Self, class Word>
class TbitWordField {
public:
    static constexpr TuInt32 kBits = sizeof(Word) * 8;

    TbitWordField() noexcept : fBits(0) {}
    explicit TbitWordField(Word bits) noexcept : fBits(bits) {}

    bool testBit(TuInt32 i) const noexcept { return i < kBits && ((fBits >> i) & 1u) != 0; }
    Self& setBit(TuInt32 i, bool value) noexcept {
        if (i < kBits) {
            const Word mask = Word(Word(1) << i);
            fBits = value ? Word(fBits | mask) : Word(fBits & Word(~mask));
        }
        return self();
    }
    void setAll() noexcept { fBits = Word(~Word(0)); }
    void resetAll() noexcept { fBits = 0; }
    bool anySet() const noexcept { return fBits != 0; }
    TbitRef<Self> operator[](TuInt32 i) noexcept {
        assert(i < kBits && "bit index out of range");
        return TbitRef<Self>(self(), i);
    }
    bool operator[](TuInt32 i) const noexcept {
        assert(i < kBits && "bit index out of range");
        return testBit(i);
    }
    TbitIterator<Self> begin() const noexcept { return {static_cast<const Self*>(this), 0}; }
    TbitIterator<Self> end() const noexcept { return {static_cast<const Self*>(this), kBits}; }
    /// The whole word.
    Word bits() const noexcept { return fBits; }

    /// The word masked with, joined with or inverted from mask.
    Word operator&(Word mask) const noexcept { return Word(fBits & mask); }
    Word operator|(Word mask) const noexcept { return Word(fBits | mask); }
    Word operator~() const noexcept { return Word(~fBits); }
    Self& operator&=(Word mask) noexcept {
        fBits = Word(fBits & mask);
        return self();
    }
    Self& operator|=(Word mask) noexcept {
        fBits = Word(fBits | mask);
        return self();
    }

    friend bool operator==(const Self& a, const Self& b) noexcept { return a.fBits == b.fBits; }
    friend bool operator!=(const Self& a, const Self& b) noexcept { return a.fBits != b.fBits; }

private:
    Self& self() noexcept { return static_cast<Self&>(*this); }

    Word fBits;
};

} // namespace grundel::detail

/// 16 flags in one word; all clear by default.
class GRUNDEL_API TbitField16 : public grundel::detail::TbitWordField<TbitField16, TuInt16> {
public:
    using TbitWordField::TbitWordField;
};
/// 32 flags in one word; all clear by default.
class GRUNDEL_API TbitField32 : public grundel::detail::TbitWordField<TbitField32, TuInt32> {
public:
    using TbitWordField::TbitWordField;
};
/// 64 flags in one word; all clear by default.
class GRUNDEL_API TbitField64 : public grundel::detail::TbitWordField<TbitField64, TuInt64> {
public:
    using TbitWordField::TbitWordField;
};

using TbitRef32 = grundel::detail::TbitRef<TbitField32>;

/// 128 flags in two 64-bit halves (bits 0 to 63 in the low half); all clear
/// by default. The word operators take and give whole fields.
class GRUNDEL_API TbitField128 {
public:
    TbitField128() noexcept : fLow(0), fHigh(0) {}
    TbitField128(TuInt64 low, TuInt64 high) noexcept : fLow(low), fHigh(high) {}

    bool testBit(TuInt32 i) const noexcept {
        return i < 64 ? ((fLow >> i) & 1u) != 0 : i < 128 && ((fHigh >> (i - 64)) & 1u) != 0;
    }
    TbitField128& setBit(TuInt32 i, bool value) noexcept;
    void setAll() noexcept { fLow = fHigh = ~TuInt64(0); }
    void resetAll() noexcept { fLow = fHigh = 0; }
    bool anySet() const noexcept { return (fLow | fHigh) != 0; }
    grundel::detail::TbitRef<TbitField128> operator[](TuInt32 i) noexcept {
        assert(i < 128 && "bit index out of range");
        return {*this, i};
    }
    bool operator[](TuInt32 i) const noexcept {
        assert(i < 128 && "bit index out of range");
        return testBit(i);
    }
    grundel::detail::TbitIterator<TbitField128> begin() const noexcept { return {this, 0}; }
    grundel::detail::TbitIterator<TbitField128> end() const noexcept { return {this, 128}; }
    TuInt64 low() const noexcept { return fLow; }
    TuInt64 high() const noexcept { return fHigh; }

    TbitField128 operator&(const TbitField128& mask) const noexcept { return {fLow & mask.fLow, fHigh & mask.fHigh}; }
    TbitField128 operator|(const TbitField128& mask) const noexcept { return {fLow | mask.fLow, fHigh | mask.fHigh}; }
    TbitField128 operator~() const noexcept { return {~fLow, ~fHigh}; }
    TbitField128& operator&=(const TbitField128& mask) noexcept { return *this = *this & mask; }
    TbitField128& operator|=(const TbitField128& mask) noexcept { return *this = *this | mask; }

    friend bool operator==(const TbitField128& a, const TbitField128& b) noexcept {
        return a.fLow == b.fLow && a.fHigh == b.fHigh;
    }
    friend bool operator!=(const TbitField128& a, const TbitField128& b) noexcept { return !(a == b); }

private:
    TuInt64 fLow;
    TuInt64 fHigh;
};

/// A growable field in an array of 32-bit words; the number of words is all
/// it knows of its size. Setting a bit past the words grows it (zeroing the
/// new words); testing or clearing one there changes nothing. Raises
/// TmemoryException when words cannot be had.
class GRUNDEL_API TbitFieldN {
public:
    TbitFieldN() noexcept : fWords(1) {}
    TbitFieldN(const TbitFieldN& other);
    TbitFieldN& operator=(const TbitFieldN& other);

    bool testBit(TuInt32 i) const noexcept;
    TbitFieldN& setBit(TuInt32 i, bool value);
    /// Sets or clears every bit of the words held.
    void setAll() noexcept;
    void resetAll() noexcept;
    bool anySet() const noexcept;
    /// A proxy for bit i; writing a bit past the words grows the field, as
    /// setBit does, so any index is allowed here.
    grundel::detail::TbitRef<TbitFieldN> operator[](TuInt32 i) noexcept { return {*this, i}; }
    /// Bit i; asserted in debug builds to lie within the words held.
    bool operator[](TuInt32 i) const noexcept {
        assert(i / 32 < wordCount() && "bit index out of range");
        return testBit(i);
    }
    /// The bits of the words held.
    grundel::detail::TbitIterator<TbitFieldN> begin() const noexcept { return {this, 0}; }
    grundel::detail::TbitIterator<TbitFieldN> end() const noexcept { return {this, wordCount() * 32}; }

    /// True when this field has at least other's words and holds every bit
    /// set in other.
    bool testBits(const TbitFieldN& other) const noexcept;

    /// Deliberately inverted: fields with the same number of words are
    /// unequal at once; otherwise this field's words are compared with
    /// other's (words that other lacks count as 0), equal when all match.
    bool operator==(const TbitFieldN& other) const noexcept;
    bool operator!=(const TbitFieldN& other) const noexcept { return !(*this == other); }

    TuInt32 wordCount() const noexcept { return fWords.length(); }
    const TuInt32Array& words() const noexcept { return fWords; }

private:
    TuInt32Array fWords;
};

using TbitRefN = grundel::detail::TbitRef<TbitFieldN>;

/// A field of n bits over (n + 32) / 32 words, owned or borrowed. Bit n, one
/// past the last, is the ownership mark: set when the field allocated its
/// words itself (and frees them), clear over caller storage, which the caller
/// keeps alive as long as the field. Every whole-field operation keeps the
/// mark; single-bit operations reach only bits below n (others test false
/// and are not set). Raises TmemoryException when words cannot be had.
class GRUNDEL_API TbitFieldFixedN {
public:
    TbitFieldFixedN() noexcept : fBitCount(0), fBits(nullptr) {}
    /// n bits, all clear: in words of its own when storage is null, else in
    /// storage (bytesNeeded(n) bytes, cleared here). n = 0 holds no storage.
    explicit TbitFieldFixedN(TuInt32 n, TuInt32* storage = nullptr);
    /// A field that owns its words is copied into words of the copy's own;
    /// one over caller storage gives a copy over the same storage.
    TbitFieldFixedN(const TbitFieldFixedN& other);
    /// As the copy constructor, after releasing this field's words.
    TbitFieldFixedN& operator=(const TbitFieldFixedN& other);
    ~TbitFieldFixedN() { releaseBits(); }

    /// Bytes of the words for n bits: ((n + 32) / 32) × 4.
    static TuInt64 bytesNeeded(TuInt32 n) noexcept { return (TuInt64(n) / 32 + 1) * 4; }
    /// Words held (0 without storage).
    TuInt32 elementCount() const noexcept { return fBits ? fBitCount / 32 + 1 : 0; }
    TuInt32 bitCount() const noexcept { return fBitCount; }
    TuInt32* currentArray() noexcept { return fBits; }
    const TuInt32* currentArray() const noexcept { return fBits; }
    /// The ownership mark.
    bool ownBits() const noexcept;
    /// Frees the words when the mark is set; the field is then empty (0 bits).
    void releaseBits() noexcept;

    bool testBit(TuInt32 i) const noexcept {
        return i < fBitCount && ((fBits[i >> 5] >> (i & 31)) & 1u) != 0;
    }
    TbitFieldFixedN& setBit(TuInt32 i, bool value) noexcept;
    void setAll() noexcept;
    void resetAll() noexcept;
    /// True when a bit below n is set.
    bool anySet() const noexcept;
    void invertAll() noexcept;
    grundel::detail::TbitRef<TbitFieldFixedN> operator[](TuInt32 i) noexcept {
        assert(i < fBitCount && "bit index out of range");
        return {*this, i};
    }
    bool operator[](TuInt32 i) const noexcept {
        assert(i < fBitCount && "bit index out of range");
        return testBit(i);
    }
    grundel::detail::TbitIterator<TbitFieldFixedN> begin() const noexcept { return {this, 0}; }
    grundel::detail::TbitIterator<TbitFieldFixedN> end() const noexcept { return {this, fBitCount}; }

    /// Combine with other over the shorter bit count; bits at and past it
    /// (the mark among them) stay as they were.
    void AND(const TbitFieldFixedN& other) noexcept;
    void OR(const TbitFieldFixedN& other) noexcept;
    void XOR(const TbitFieldFixedN& other) noexcept;
    /// Moves bits i and above up by one (the highest falls off) and stores
    /// value at i; returns the previous bit i (false, nothing done, when i is
    /// past the last bit).
    bool insertBit(TuInt32 i, bool value) noexcept;
    /// Moves the bits above i down by one and clears the highest; returns the
    /// previous bit i (false, nothing done, when i is past the last bit).
    bool removeBit(TuInt32 i) noexcept;
    /// Takes other's bits: with a different bit count this field first gets
    /// words of its own for it. The mark stays this field's.
    void clone(const TbitFieldFixedN& other);

    /// Replaces the words by n cleared bits in storage (or words of its own
    /// when storage is null or the current words), freeing owned words; with
    /// keep, the old bits up to the smaller count are copied. n = 0 leaves
    /// the field empty.
    void resizeArray(TuInt32 n, TuInt32* storage, bool keep);
    void resizeArrayWithCopy(TuInt32 n, TuInt32* storage) { resizeArray(n, storage, true); }
    /// Adopts storage as it is (its bits are kept; the mark is cleared), or
    /// n cleared bits of its own when storage is null; owned words are freed.
    void switchArray(TuInt32 n, TuInt32* storage);
    /// Exchanges the two fields' counts and words.
    void swap(TbitFieldFixedN& other) noexcept;

    /// The same object, or the same bit count and the same bits below it.
    bool operator==(const TbitFieldFixedN& other) const noexcept;
    bool operator!=(const TbitFieldFixedN& other) const noexcept { return !(*this == other); }

private:
    enum class Op { And, Or, Xor };
    void combine(const TbitFieldFixedN& other, Op op) noexcept;
    /// Sets bit n (the mark) as given, clearing the bits above it.
    void setMark(bool owned) noexcept;

    TuInt32 fBitCount;
    TuInt32* fBits;
};

using TbitRefFixedN = grundel::detail::TbitRef<TbitFieldFixedN>;

class TbitMatrix;

/// One row of a TbitMatrix: operator[](column) writes through a proxy and
/// reads as a bool.
class GRUNDEL_API TbitMatrixRow {
public:
    TbitMatrixRow(TbitMatrix& matrix, TuInt32 row) noexcept : fMatrix(matrix), fRow(row) {}
    TbitRefFixedN operator[](TuInt32 column) noexcept;
    bool operator[](TuInt32 column) const noexcept;

private:
    TbitMatrix& fMatrix;
    TuInt32 fRow;
};

/// A rows × columns matrix of bits over one TbitFieldFixedN, bit (r, c) at
/// r × columns + c. Raises TmemoryException when the bits cannot be had or
/// their count does not fit 32 bits.
class GRUNDEL_API TbitMatrix {
public:
    TbitMatrix() noexcept : fRows(0), fCols(0) {}
    TbitMatrix(TuInt32 rows, TuInt32 columns);

    TuInt32 rows() const noexcept { return fRows; }
    TuInt32 cols() const noexcept { return fCols; }
    /// Indices are not checked: a column past the last reaches into the next
    /// row; a bit past the whole field is ignored.
    TbitMatrix& setBit(TuInt32 row, TuInt32 column, bool value) noexcept;
    /// False when row or column is out of range.
    bool testBit(TuInt32 row, TuInt32 column) const noexcept;
    void setAll() noexcept { fBits.setAll(); }
    void resetAll() noexcept { fBits.resetAll(); }
    /// Makes the matrix square, deliberately: both counts become
    /// (columns + extraColumns) rounded up to a multiple of 32 (extraRows is
    /// overwritten), and every old bit (r, c) that fits keeps its row and
    /// column.
    void grow(TuInt32 extraRows, TuInt32 extraColumns);
    /// The bit storage plus (columns × row) × 128 bytes: the scaling is
    /// deliberate and kept as it stands.
    TuInt32* rowPtr(TuInt32 row) const noexcept;
    TbitFieldFixedN& bitField() noexcept { return fBits; }
    const TbitFieldFixedN& bitField() const noexcept { return fBits; }
    TbitMatrixRow operator[](TuInt32 row) noexcept { return TbitMatrixRow(*this, row); }
    const TbitMatrixRow operator[](TuInt32 row) const noexcept {
        return TbitMatrixRow(const_cast<TbitMatrix&>(*this), row);
    }

    friend bool operator==(const TbitMatrix& a, const TbitMatrix& b) noexcept {
        return a.fRows == b.fRows && a.fCols == b.fCols && a.fBits == b.fBits;
    }
    friend bool operator!=(const TbitMatrix& a, const TbitMatrix& b) noexcept { return !(a == b); }

private:
    friend class TbitMatrixRow;
    /// The field index of (row, column), or past the field when it does not
    /// fit 32 bits.
    TuInt32 indexOf(TuInt32 row, TuInt32 column) const noexcept;

    TuInt32 fRows;
    TuInt32 fCols;
    TbitFieldFixedN fBits;
};
