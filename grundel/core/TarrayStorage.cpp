#include "grundel/core/TarrayStorage_p.h"

#include "grundel/core/Texception.h"
#include "grundel/core/TfootprintInfo.h"
#include "grundel/core/TobjArray.h"
#include "grundel/core/mmapAlloc.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace grundel::detail {

namespace {
// What the statistics count for the array object itself.
constexpr TuInt64 kFootprintHeaderBytes = 24;
} // namespace

void* arrayAllocate(std::size_t bytes, const char* category) {
    void* p = isMapped(bytes) ? mmapAllocUncleared(bytes, category) : std::malloc(bytes);
    if (!p)
        throw TmemoryException(bytes);
    return p;
}

void arrayRelease(void* storage, std::size_t bytes) noexcept {
    if (!storage)
        return;
    if (isMapped(bytes))
        mmapFree(storage);
    else
        std::free(storage);
}

void* arrayReallocate(std::size_t oldBytes, std::size_t newBytes, void* storage, const char* category) {
    void* p;
    if (!isMapped(oldBytes) && !isMapped(newBytes)) {
        p = std::realloc(storage, newBytes);
    } else if (!isMapped(oldBytes)) {
        p = mmapAllocUncleared(newBytes, category);
        if (p) {
            std::memcpy(p, storage, oldBytes);
            std::free(storage);
        }
    } else if (!isMapped(newBytes)) {
        p = std::malloc(newBytes);
        if (p) {
            std::memcpy(p, storage, newBytes);
            mmapFree(storage);
        }
    } else {
        p = mmapGrow(storage, newBytes) ? storage : mmapRealloc(storage, newBytes, category);
    }
    if (!p)
        throw TmemoryException(newBytes);
    return p;
}

TuInt32 checkedCount(TuInt64 count, TuInt32 elementSize) {
    if (count > UINT32_MAX) {
        const TuInt64 bytes = count > UINT64_MAX / elementSize ? UINT64_MAX : count * elementSize;
        throw TmemoryException(static_cast<std::size_t>(bytes));
    }
    return static_cast<TuInt32>(count);
}

// -- TarrayBase ---------------------------------------------------------------

template <class Self>
TarrayBase<Self>::~TarrayBase() {
    arrayRelease(fData, bytesFor(fPhysicalSize));
}

template <class Self>
void TarrayBase<Self>::replaceStorage(void* storage, TuInt32 n) noexcept {
    arrayRelease(fData, bytesFor(fPhysicalSize));
    fData = static_cast<char*>(storage);
    fLength = fPhysicalSize = n;
}

template <class Self>
void TarrayBase<Self>::pack() {
    if (fPhysicalSize > fLength)
        static_cast<Self*>(this)->changePhysicalSizeTo(fLength);
}

template <class Self>
void TarrayBase<Self>::buffer(TuInt32 n) {
    const TuInt64 wanted = TuInt64(fLength) + n;
    if (wanted > fPhysicalSize)
        static_cast<Self*>(this)->changePhysicalSizeTo(checkedCount(wanted, fElementSize));
}

template <class Self>
void TarrayBase<Self>::changeLogicalSizeBy(Tint32 delta) {
    const Tint64 n = Tint64(fLength) + delta;
    static_cast<Self*>(this)->changeLogicalSizeTo(n <= 0 ? 0 : checkedCount(TuInt64(n), fElementSize));
}

template <class Self>
int TarrayBase<Self>::setArray(void* storage, TuInt32 physicalSize, TuInt32 length) {
    static_cast<Self*>(this)->changePhysicalSizeTo(0);
    if (storage) {
        fData = static_cast<char*>(storage);
        fPhysicalSize = physicalSize;
        fLength = length < physicalSize ? length : physicalSize;
    }
    return kArrayOk;
}

template <class Self>
void TarrayBase<Self>::swapWith(Self& other) noexcept {
    TarrayBase& o = other;
    std::swap(fLength, o.fLength);
    std::swap(fPhysicalSize, o.fPhysicalSize);
    std::swap(fSizeIncrement, o.fSizeIncrement);
    std::swap(fData, o.fData);
}

template <class Self>
void TarrayBase<Self>::reportFootprint(TfootprintInfo& info, const char* label, bool followPointers) const {
    info.setSize(TuInt64(fElementSize) * fPhysicalSize + kFootprintHeaderBytes, label);
    if (!followPointers || fElementSize < sizeof(void*))
        return;
    for (TuInt32 i = 0; i < fLength; ++i) {
        const void* p;
        std::memcpy(&p, address(i), sizeof p);
        info.addPtr(p);
    }
}

template class TarrayBase<Tarray>;
template class TarrayBase<TobjArray>;

// The documented layout: the vtable pointer, then the five fields.
static_assert(sizeof(Tarray) == sizeof(void*) + 4 * sizeof(TuInt32) + sizeof(char*));
static_assert(sizeof(TobjArray) == sizeof(Tarray));

} // namespace grundel::detail
