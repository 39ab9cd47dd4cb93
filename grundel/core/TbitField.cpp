#include "grundel/core/TbitField.h"

#include <cassert>

#include "grundel/core/Texception.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace {

// The bits below position n of a word (n from 0 to 32).
inline TuInt32 lowMask(TuInt32 n) noexcept { return n >= 32 ? 0xFFFFFFFFu : (1u << n) - 1; }

TuInt32* newWords(TuInt32 count) {
    auto* words = new (std::nothrow) TuInt32[count];
    if (!words)
        throw TmemoryException(std::size_t(count) * 4);
    return words;
}

} // namespace

// -- TbitField128 -----------------------------------------------------------------

TbitField128& TbitField128::setBit(TuInt32 i, bool value) noexcept {
    if (i < 128) {
        TuInt64& half = i < 64 ? fLow : fHigh;
        const TuInt64 mask = TuInt64(1) << (i & 63);
        half = value ? half | mask : half & ~mask;
    }
    return *this;
}

// -- TbitFieldN ---------------------------------------------------------------------

TbitFieldN::TbitFieldN(const TbitFieldN& other) : fWords(1) { fWords.copy(other.fWords); }

TbitFieldN& TbitFieldN::operator=(const TbitFieldN& other) {
    fWords.copy(other.fWords);
    return *this;
}

bool TbitFieldN::testBit(TuInt32 i) const noexcept {
    const TuInt32 k = i / 32;
    return k < fWords.length() && ((fWords[k] >> (i & 31)) & 1u) != 0;
}

TbitFieldN& TbitFieldN::setBit(TuInt32 i, bool value) {
    const TuInt32 k = i / 32;
    if (k >= fWords.length()) {
        if (!value)
            return *this;
        const TuInt32 old = fWords.length();
        fWords.changeLogicalSizeTo(k + 1);
        std::memset(fWords.data() + old, 0, std::size_t(k + 1 - old) * 4);
    }
    const TuInt32 mask = 1u << (i & 31);
    fWords[k] = value ? fWords[k] | mask : fWords[k] & ~mask;
    return *this;
}

void TbitFieldN::setAll() noexcept {
    for (TuInt32 k = 0; k < fWords.length(); ++k)
        fWords[k] = 0xFFFFFFFFu;
}

void TbitFieldN::resetAll() noexcept {
    for (TuInt32 k = 0; k < fWords.length(); ++k)
        fWords[k] = 0;
}

bool TbitFieldN::anySet() const noexcept {
    for (TuInt32 k = 0; k < fWords.length(); ++k)
        if (fWords[k])
            return true;
    return false;
}

bool TbitFieldN::testBits(const TbitFieldN& other) const noexcept {
    if (fWords.length() < other.fWords.length())
        return false;
    for (TuInt32 k = 0; k < other.fWords.length(); ++k)
        if ((fWords[k] & other.fWords[k]) != other.fWords[k])
            return false;
    return true;
}

bool TbitFieldN::operator==(const TbitFieldN& other) const noexcept {
    if (fWords.length() == other.fWords.length())
        return false;
    for (TuInt32 k = 0; k < fWords.length(); ++k) {
        const TuInt32 theirs = k < other.fWords.length() ? other.fWords[k] : 0;
        if (fWords[k] != theirs)
            return false;
    }
    return true;
}

// -- TbitFieldFixedN ------------------------------------------------------------------

TbitFieldFixedN::TbitFieldFixedN(TuInt32 n, TuInt32* storage) : fBitCount(n), fBits(nullptr) {
    if (n == 0)
        return;
    fBits = storage ? storage : newWords(n / 32 + 1);
    std::memset(fBits, 0, std::size_t(n / 32 + 1) * 4);
    if (!storage)
        setMark(true);
}

TbitFieldFixedN::TbitFieldFixedN(const TbitFieldFixedN& other) : fBitCount(other.fBitCount), fBits(other.fBits) {
    if (other.ownBits()) {
        const TuInt32 words = other.elementCount();
        fBits = newWords(words);
        std::memcpy(fBits, other.fBits, std::size_t(words) * 4);
    }
}

TbitFieldFixedN& TbitFieldFixedN::operator=(const TbitFieldFixedN& other) {
    if (this != &other) {
        TbitFieldFixedN copy(other);
        swap(copy);
    }
    return *this;
}

bool TbitFieldFixedN::ownBits() const noexcept {
    return fBits && ((fBits[fBitCount >> 5] >> (fBitCount & 31)) & 1u) != 0;
}

void TbitFieldFixedN::releaseBits() noexcept {
    if (ownBits())
        delete[] fBits;
    fBits = nullptr;
    fBitCount = 0;
}

void TbitFieldFixedN::setMark(bool owned) noexcept {
    TuInt32& last = fBits[fBitCount >> 5];
    const TuInt32 position = fBitCount & 31;
    last = (last & lowMask(position)) | (owned ? 1u << position : 0);
}

TbitFieldFixedN& TbitFieldFixedN::setBit(TuInt32 i, bool value) noexcept {
    if (i < fBitCount) {
        const TuInt32 mask = 1u << (i & 31);
        fBits[i >> 5] = value ? fBits[i >> 5] | mask : fBits[i >> 5] & ~mask;
    }
    return *this;
}

void TbitFieldFixedN::setAll() noexcept {
    if (!fBits)
        return;
    const TuInt32 whole = fBitCount >> 5;
    for (TuInt32 k = 0; k < whole; ++k)
        fBits[k] = 0xFFFFFFFFu;
    fBits[whole] |= lowMask(fBitCount & 31);
}

void TbitFieldFixedN::resetAll() noexcept {
    if (!fBits)
        return;
    const TuInt32 whole = fBitCount >> 5;
    for (TuInt32 k = 0; k < whole; ++k)
        fBits[k] = 0;
    fBits[whole] &= ~lowMask(fBitCount & 31);
}

void TbitFieldFixedN::invertAll() noexcept {
    if (!fBits)
        return;
    const TuInt32 whole = fBitCount >> 5;
    for (TuInt32 k = 0; k < whole; ++k)
        fBits[k] = ~fBits[k];
    fBits[whole] ^= lowMask(fBitCount & 31);
}

bool TbitFieldFixedN::anySet() const noexcept {
    if (!fBits)
        return false;
    const TuInt32 whole = fBitCount >> 5;
    for (TuInt32 k = 0; k < whole; ++k)
        if (fBits[k])
            return true;
    return (fBits[whole] & lowMask(fBitCount & 31)) != 0;
}

void TbitFieldFixedN::combine(const TbitFieldFixedN& other, Op op) noexcept {
    if (!fBits || !other.fBits)
        return;
    const TuInt32 n = fBitCount < other.fBitCount ? fBitCount : other.fBitCount;
    const auto apply = [op](TuInt32 a, TuInt32 b) noexcept {
        return op == Op::And ? a & b : op == Op::Or ? a | b : a ^ b;
    };
    const TuInt32 whole = n >> 5;
    for (TuInt32 k = 0; k < whole; ++k)
        fBits[k] = apply(fBits[k], other.fBits[k]);
    const TuInt32 mask = lowMask(n & 31);
    fBits[whole] = (fBits[whole] & ~mask) | (apply(fBits[whole], other.fBits[whole]) & mask);
}

void TbitFieldFixedN::AND(const TbitFieldFixedN& other) noexcept { combine(other, Op::And); }
void TbitFieldFixedN::OR(const TbitFieldFixedN& other) noexcept { combine(other, Op::Or); }
void TbitFieldFixedN::XOR(const TbitFieldFixedN& other) noexcept { combine(other, Op::Xor); }

bool TbitFieldFixedN::insertBit(TuInt32 i, bool value) noexcept {
    if (i >= fBitCount)
        return false;
    const bool previous = testBit(i);
    const bool owned = ownBits();
    const TuInt32 first = i >> 5;
    const TuInt32 last = fBitCount >> 5;
    const TuInt32 keep = lowMask(i & 31);
    TuInt32 carry = fBits[first] >> 31;
    fBits[first] = (fBits[first] & keep) | ((fBits[first] & ~keep) << 1);
    for (TuInt32 k = first + 1; k <= last; ++k) {
        const TuInt32 out = fBits[k] >> 31;
        fBits[k] = (fBits[k] << 1) | carry;
        carry = out;
    }
    // The old highest bit now sits on the mark, which takes its place back.
    setBit(i, value);
    setMark(owned);
    return previous;
}

bool TbitFieldFixedN::removeBit(TuInt32 i) noexcept {
    if (i >= fBitCount)
        return false;
    const bool previous = testBit(i);
    const bool owned = ownBits();
    const TuInt32 first = i >> 5;
    const TuInt32 last = fBitCount >> 5;
    for (TuInt32 k = first; k <= last; ++k) {
        TuInt32 word = fBits[k];
        if (k == first) {
            const TuInt32 below = lowMask(i & 31);
            word = (word & below) | ((word & ~below & ~(1u << (i & 31))) >> 1);
        } else {
            word >>= 1;
        }
        if (k < last)
            word |= fBits[k + 1] << 31;
        fBits[k] = word;
    }
    // The mark came down to the highest bit: clear that one, restore the mark.
    setBit(fBitCount - 1, false);
    setMark(owned);
    return previous;
}

void TbitFieldFixedN::clone(const TbitFieldFixedN& other) {
    if (this == &other)
        return;
    if (fBitCount != other.fBitCount || !fBits)
        resizeArray(other.fBitCount, nullptr, false);
    if (!fBits || !other.fBits)
        return;
    const TuInt32 whole = fBitCount >> 5;
    std::memcpy(fBits, other.fBits, std::size_t(whole) * 4);
    const TuInt32 mask = lowMask(fBitCount & 31);
    fBits[whole] = (fBits[whole] & ~mask) | (other.fBits[whole] & mask);
}

void TbitFieldFixedN::resizeArray(TuInt32 n, TuInt32* storage, bool keep) {
    if (n == 0) {
        releaseBits();
        return;
    }
    if (storage == fBits)
        storage = nullptr;
    const TuInt32 words = n / 32 + 1;
    TuInt32* bits = storage ? storage : newWords(words);
    std::memset(bits, 0, std::size_t(words) * 4);
    if (keep && fBits) {
        const TuInt32 common = n < fBitCount ? n : fBitCount;
        const TuInt32 whole = common >> 5;
        std::memcpy(bits, fBits, std::size_t(whole) * 4);
        bits[whole] = fBits[whole] & lowMask(common & 31);
    }
    releaseBits();
    fBits = bits;
    fBitCount = n;
    setMark(storage == nullptr);
}

void TbitFieldFixedN::switchArray(TuInt32 n, TuInt32* storage) {
    if (!storage || n == 0) {
        resizeArray(n, nullptr, false);
        return;
    }
    if (storage != fBits)
        releaseBits();
    fBits = storage;
    fBitCount = n;
    setMark(false);
}

void TbitFieldFixedN::swap(TbitFieldFixedN& other) noexcept {
    std::swap(fBitCount, other.fBitCount);
    std::swap(fBits, other.fBits);
}

bool TbitFieldFixedN::operator==(const TbitFieldFixedN& other) const noexcept {
    if (this == &other)
        return true;
    if (fBitCount != other.fBitCount)
        return false;
    if (!fBits || !other.fBits)
        return fBits == other.fBits;
    const TuInt32 whole = fBitCount >> 5;
    if (std::memcmp(fBits, other.fBits, std::size_t(whole) * 4) != 0)
        return false;
    const TuInt32 mask = lowMask(fBitCount & 31);
    return (fBits[whole] & mask) == (other.fBits[whole] & mask);
}

// -- TbitMatrix ----------------------------------------------------------------------

namespace {

TuInt32 checkedBitCount(TuInt64 rows, TuInt64 columns) {
    const TuInt64 bits = rows * columns;
    if (bits > UINT32_MAX)
        throw TmemoryException(std::size_t(bits / 8));
    return static_cast<TuInt32>(bits);
}

} // namespace

TbitMatrix::TbitMatrix(TuInt32 rows, TuInt32 columns)
    : fRows(rows), fCols(columns), fBits(checkedBitCount(rows, columns), nullptr) {}

TuInt32 TbitMatrix::indexOf(TuInt32 row, TuInt32 column) const noexcept {
    const TuInt64 index = TuInt64(row) * fCols + column;
    return index < fBits.bitCount() ? static_cast<TuInt32>(index) : UINT32_MAX;
}

TbitMatrix& TbitMatrix::setBit(TuInt32 row, TuInt32 column, bool value) noexcept {
    fBits.setBit(indexOf(row, column), value);
    return *this;
}

bool TbitMatrix::testBit(TuInt32 row, TuInt32 column) const noexcept {
    return row < fRows && column < fCols && fBits.testBit(indexOf(row, column));
}

void TbitMatrix::grow(TuInt32, TuInt32 extraColumns) {
    const TuInt64 side = (TuInt64(fCols) + extraColumns + 31) / 32 * 32;
    TbitFieldFixedN grown(checkedBitCount(side, side), nullptr);
    const TuInt64 rows = fRows < side ? fRows : side;
    const TuInt64 columns = fCols < side ? fCols : side;
    for (TuInt32 r = 0; r < rows; ++r)
        for (TuInt32 c = 0; c < columns; ++c)
            if (testBit(r, c))
                grown.setBit(static_cast<TuInt32>(r * side + c), true);
    fBits.swap(grown);
    fRows = fCols = static_cast<TuInt32>(side);
}

TuInt32* TbitMatrix::rowPtr(TuInt32 row) const noexcept {
    const auto base = reinterpret_cast<std::uintptr_t>(fBits.currentArray());
    return reinterpret_cast<TuInt32*>(base + std::uintptr_t(fCols) * row * 128);
}

TbitRefFixedN TbitMatrixRow::operator[](TuInt32 column) noexcept {
    assert(fRow < fMatrix.fRows && column < fMatrix.fCols && "bit index out of range");
    return TbitRefFixedN(fMatrix.fBits, fMatrix.indexOf(fRow, column));
}

bool TbitMatrixRow::operator[](TuInt32 column) const noexcept {
    assert(fRow < fMatrix.fRows && column < fMatrix.fCols && "bit index out of range");
    return fMatrix.testBit(fRow, column);
}
