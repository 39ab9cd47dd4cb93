#include "grundel/core/Tarray.h"

#include "grundel/core/TarrayStorage_p.h"
#include "grundel/core/Texception.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

constexpr const char* kCategory = "Arrays";

struct FreeDeleter {
    void operator()(void* p) const noexcept { std::free(p); }
};
using HeapCopy = std::unique_ptr<void, FreeDeleter>;

// A private copy of bytes that point into storage about to move.
HeapCopy saveCopy(const void* source, std::size_t bytes) {
    HeapCopy copy(std::malloc(bytes));
    if (!copy)
        throw TmemoryException(bytes);
    std::memcpy(copy.get(), source, bytes);
    return copy;
}

// Stores one element; sizes of up to 12 bytes as fixed-size copies that the
// compiler turns into plain moves.
inline void storeOne(void* slot, const void* value, TuInt32 size) noexcept {
    switch (size) {
    case 1: std::memcpy(slot, value, 1); break;
    case 2: std::memcpy(slot, value, 2); break;
    case 4: std::memcpy(slot, value, 4); break;
    case 8: std::memcpy(slot, value, 8); break;
    case 12: std::memcpy(slot, value, 12); break;
    default: std::memcpy(slot, value, size); break;
    }
}

#if defined(__SSE2__)
// True when one of the 16 bytes of a..d holds a match (all-ones lanes).
inline bool anyLane(__m128i a, __m128i b, __m128i c, __m128i d) noexcept {
    return _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d))) != 0;
}

// Equal 32-bit lanes; for 64-bit words both halves must match.
template <class Word>
inline __m128i equalLanes(const char* p, __m128i needle) noexcept {
    const __m128i eq = _mm_cmpeq_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), needle);
    if constexpr (sizeof(Word) == 8)
        return _mm_and_si128(eq, _mm_shuffle_epi32(eq, _MM_SHUFFLE(2, 3, 0, 1)));
    return eq;
}
#endif

// Index of the first word equal to value's, or length. Whole blocks of 64
// bytes are tested at once; the block with a match is then walked.
template <class Word>
TuInt32 scan(const char* data, TuInt32 length, const void* value) noexcept {
    Word v;
    std::memcpy(&v, value, sizeof v);
    TuInt32 i = 0;
#if defined(__SSE2__)
    if constexpr (sizeof(Word) >= 4) {
        constexpr TuInt32 kBlock = 64 / sizeof(Word);
        __m128i needle;
        if constexpr (sizeof(Word) == 4)
            needle = _mm_set1_epi32(static_cast<int>(v));
        else
            needle = _mm_set1_epi64x(static_cast<long long>(v));
        for (; length - i >= kBlock; i += kBlock) {
            const char* p = data + std::size_t(i) * sizeof(Word);
            if (anyLane(equalLanes<Word>(p, needle), equalLanes<Word>(p + 16, needle),
                        equalLanes<Word>(p + 32, needle), equalLanes<Word>(p + 48, needle)))
                break;
        }
    }
#endif
    for (; i < length; ++i) {
        Word w;
        std::memcpy(&w, data + std::size_t(i) * sizeof(Word), sizeof w);
        if (w == v)
            return i;
    }
    return length;
}

} // namespace


using namespace grundel::detail;

// -- Tarray ------------------------------------------------------------------

Tarray::Tarray(TuInt32 elementSize, TuInt32 sizeIncrement) noexcept : TarrayBase(elementSize, sizeIncrement) {}

Tarray::~Tarray() = default;

int Tarray::create(TuInt32 n, TuInt32 sizeIncrement) {
    allocateArray(n);
    fSizeIncrement = sizeIncrement;
    return kArrayOk;
}

void Tarray::allocateArray(TuInt32 n) {
    replaceStorage(n ? arrayAllocate(bytesFor(n), kCategory) : nullptr, n);
}

int Tarray::createAndInitialise(const void* value, TuInt32 n, TuInt32 sizeIncrement) {
    HeapCopy saved;
    if (overlaps(value, fElementSize, fData, bytesFor(fPhysicalSize)))
        value = (saved = saveCopy(value, fElementSize)).get();
    create(n, sizeIncrement);
    for (TuInt32 i = 0; i < n; ++i)
        storeOne(address(i), value, fElementSize);
    return kArrayOk;
}

TuInt32 Tarray::grownPhysicalSize(TuInt32 n) {
    return grundel::detail::grownPhysicalSize(fPhysicalSize, fSizeIncrement, n);
}

void Tarray::adaptIncrement(TuInt32 n) noexcept { fSizeIncrement = adaptedIncrement(fSizeIncrement, n); }

void Tarray::expandArray(TuInt32 n) {
    if (n <= fPhysicalSize) {
        fLength = n;
        return;
    }
    const TuInt32 grown = grownPhysicalSize(n);
    if (!fData) {
        allocateArray(grown);
        fLength = n;
        return;
    }
    fData = static_cast<char*>(reallocate(bytesFor(fPhysicalSize), bytesFor(grown), fData));
    fPhysicalSize = grown;
    fLength = n;
    adaptIncrement(n);
}

void* Tarray::reallocate(std::size_t oldBytes, std::size_t newBytes, void* storage) {
    return arrayReallocate(oldBytes, newBytes, storage, kCategory);
}

void Tarray::changePhysicalSizeTo(TuInt32 n) {
    if (n == 0) {
        replaceStorage(nullptr, 0);
        return;
    }
    if (fData && bytesFor(n) == bytesFor(fPhysicalSize))
        return;
    void* p = fData ? reallocate(bytesFor(fPhysicalSize), bytesFor(n), fData)
                    : arrayAllocate(bytesFor(n), kCategory);
    fData = static_cast<char*>(p);
    fPhysicalSize = n;
    if (fLength > n)
        fLength = n;
}

void Tarray::changeLogicalSizeTo(TuInt32 n) {
    if (n == 0)
        fLength = 0;
    else
        expandArray(n);
}

int Tarray::removeAt(TuInt32 at, TuInt32 count) {
    if (at >= fLength)
        return kArrayOk;
    if (at == fLength - 1) {
        --fLength;
        return kArrayOk;
    }
    if (count > fLength - at)
        count = fLength - at;
    std::memmove(address(at), address(at + count), bytesFor(fLength - at - count));
    fLength -= count;
    return kArrayOk;
}

int Tarray::removeLast(TuInt32 count) noexcept {
    fLength = count >= fLength ? 0 : fLength - count;
    return kArrayOk;
}

int Tarray::insertElement(const void* value, TuInt32 at, TuInt32 count) {
    if (count == 0)
        return kArrayOk;
    if (at > fLength)
        at = fLength;
    const TuInt32 newLength = checkedCount(TuInt64(fLength) + count, fElementSize);
    // Both growth and the move of the tail may overwrite an element of ours.
    alignas(std::max_align_t) unsigned char local[64];
    HeapCopy saved;
    if (overlaps(value, fElementSize, fData, bytesFor(fPhysicalSize))) {
        if (fElementSize <= sizeof local)
            value = std::memcpy(local, value, fElementSize);
        else
            value = (saved = saveCopy(value, fElementSize)).get();
    }
    const TuInt32 oldLength = fLength;
    expandArray(newLength);
    if (at < oldLength)
        std::memmove(address(at + count), address(at), bytesFor(oldLength - at));
    for (TuInt32 i = 0; i < count; ++i)
        storeOne(address(at + i), value, fElementSize);
    return kArrayOk;
}

int Tarray::insertElements(const void* values, TuInt32 at, TuInt32 count) {
    if (count == 0 || !values)
        return kArrayOk;
    if (at > fLength)
        at = fLength;
    const TuInt32 newLength = checkedCount(TuInt64(fLength) + count, fElementSize);
    HeapCopy saved;
    if (overlaps(values, bytesFor(count), fData, bytesFor(fPhysicalSize)))
        values = (saved = saveCopy(values, bytesFor(count))).get();
    const TuInt32 oldLength = fLength;
    expandArray(newLength);
    if (at < oldLength)
        std::memmove(address(at + count), address(at), bytesFor(oldLength - at));
    std::memcpy(address(at), values, bytesFor(count));
    return kArrayOk;
}

int Tarray::findElement(const void* value, TuInt32& index) const noexcept {
    switch (fElementSize) {
    case 1: index = scan<TuInt8>(fData, fLength, value); break;
    case 2: index = scan<TuInt16>(fData, fLength, value); break;
    case 4: index = scan<TuInt32>(fData, fLength, value); break;
    case 8: index = scan<TuInt64>(fData, fLength, value); break;
    default:
        index = 0;
        while (index < fLength && std::memcmp(address(index), value, fElementSize) != 0)
            ++index;
        break;
    }
    return index < fLength ? kArrayOk : kArrayNotFound;
}

int Tarray::removeElement(const void* value) {
    TuInt32 index;
    if (findElement(value, index) != kArrayOk)
        return kArrayNotFound;
    return removeAt(index, 1);
}

int Tarray::copyElements(TuInt32 at, const void* source, TuInt32 count) {
    if (count == 0 || !source)
        return kArrayOk;
    if (at > fLength)
        at = fLength;
    const TuInt32 end = checkedCount(TuInt64(at) + count, fElementSize);
    if (overlaps(source, bytesFor(count), fData, bytesFor(fPhysicalSize))) {
        // Growth keeps every element at its index, so the offset survives it.
        const std::size_t offset = static_cast<std::size_t>(static_cast<const char*>(source) - fData);
        if (end > fLength)
            expandArray(end);
        std::memmove(address(at), fData + offset, bytesFor(count));
        return kArrayOk;
    }
    if (end > fLength)
        expandArray(end);
    std::memcpy(address(at), source, bytesFor(count));
    return kArrayOk;
}

int Tarray::copyFrom(const Tarray& source, TuInt32 from, TuInt32 count) {
    source.clampRange(from, count);
    if (count == 0) {
        fLength = 0;
        return kArrayOk;
    }
    if (&source == this) {
        std::memmove(fData, address(from), bytesFor(count));
        fLength = count;
        return kArrayOk;
    }
    if (count > fPhysicalSize)
        expandArray(count);
    std::memcpy(fData, source.address(from), bytesFor(count));
    fLength = count;
    return kArrayOk;
}

int Tarray::catenateFrom(const Tarray& source, TuInt32 from, TuInt32 count) {
    source.clampRange(from, count);
    return copyElements(fLength, source.address(from), count);
}

void Tarray::sGetArrayFootprint(const Tarray* array, TfootprintInfo& info, const char* label) {
    if (array)
        array->reportFootprint(info, label, true);
}
