#include "grundel/core/TobjArray.h"

#include "grundel/core/TarrayStorage_p.h"
#include "grundel/core/mmapAlloc.h"

using namespace grundel::detail;

namespace {

constexpr const char* kCategory = "Object Arrays";

} // namespace

TobjArray::TobjArray(TuInt32 elementSize, TuInt32 sizeIncrement) noexcept : TarrayBase(elementSize, sizeIncrement) {}

TobjArray::~TobjArray() = default;

void TobjArray::construct(TuInt32, TuInt32) {}
void TobjArray::destruct(TuInt32, TuInt32) {}
void TobjArray::shuffle(TuInt32, int, TuInt32) {}
void TobjArray::initialize(const void*, void*, TuInt32) {}
void TobjArray::destroy(void*, TuInt32) {}

int TobjArray::create(TuInt32 n, TuInt32 sizeIncrement) {
    allocateArray(n);
    fSizeIncrement = sizeIncrement;
    fLength = 0;
    construct(0, n);
    fLength = n;
    return kArrayOk;
}

void TobjArray::allocateArray(TuInt32 n) {
    // The new storage first, so that a failure leaves the elements alone.
    void* p = n ? arrayAllocate(bytesFor(n), kCategory) : nullptr;
    destruct(0, fLength);
    replaceStorage(p, n);
}

void TobjArray::expandArray(TuInt32 n) { expand(n, false); }

void TobjArray::expandRelocating(TuInt32 n) { expand(n, true); }

void TobjArray::expand(TuInt32 n, bool relocateBytes) {
    if (n <= fPhysicalSize) {
        fLength = n;
        return;
    }
    const TuInt32 physical = grownPhysicalSize(fPhysicalSize, fSizeIncrement, n);
    if (!fData) {
        allocateArray(physical);
        fLength = n;
        return;
    }
    const std::size_t oldBytes = bytesFor(fPhysicalSize);
    const std::size_t newBytes = bytesFor(physical);
    fData = static_cast<char*>(relocateBytes ? arrayReallocate(oldBytes, newBytes, fData, kCategory)
                                             : reallocate(oldBytes, newBytes, fData));
    fPhysicalSize = physical;
    fLength = n;
    fSizeIncrement = adaptedIncrement(fSizeIncrement, n);
}

void* TobjArray::reallocate(std::size_t oldBytes, std::size_t newBytes, void* storage) {
    if (isMapped(oldBytes) && isMapped(newBytes) && mmapGrow(storage, newBytes))
        return storage;
    void* p = arrayAllocate(newBytes, kCategory);
    const std::size_t fits = newBytes / fElementSize;
    const TuInt32 live = fLength < fits ? fLength : static_cast<TuInt32>(fits);
    initialize(storage, p, live);
    destroy(storage, live);
    arrayRelease(storage, oldBytes);
    return p;
}

void TobjArray::changePhysicalSizeTo(TuInt32 n) {
    if (n == 0) {
        destruct(0, fLength);
        replaceStorage(nullptr, 0);
        return;
    }
    if (fData && bytesFor(n) == bytesFor(fPhysicalSize))
        return;
    if (fLength > n) {
        destruct(n, fLength);
        fLength = n;
    }
    void* p = fData ? reallocate(bytesFor(fPhysicalSize), bytesFor(n), fData)
                    : arrayAllocate(bytesFor(n), kCategory);
    fData = static_cast<char*>(p);
    fPhysicalSize = n;
}

int TobjArray::insertElement(TuInt32 at, TuInt32 count) {
    if (count == 0)
        return kArrayOk;
    if (at > fLength)
        at = fLength;
    const TuInt32 newLength = checkedCount(TuInt64(fLength) + count, fElementSize);
    const TuInt32 oldLength = fLength;
    expandArray(newLength);
    construct(oldLength, newLength);
    if (at < oldLength)
        shuffle(at, 1, count);
    return kArrayOk;
}

int TobjArray::removeAt(TuInt32 at, TuInt32 count) {
    if (at >= fLength)
        return kArrayOk;
    if (at == fLength - 1)
        count = 1;
    else if (count > fLength - at)
        count = fLength - at;
    if (count == 0)
        return kArrayOk;
    if (at + count < fLength)
        shuffle(at, 0, count);
    destruct(fLength - count, fLength);
    fLength -= count;
    return kArrayOk;
}

void TobjArray::changeLogicalSizeTo(TuInt32 n) {
    if (n < fLength) {
        destruct(n, fLength);
        fLength = n;
    } else if (n > fLength) {
        const TuInt32 oldLength = fLength;
        expandArray(n);
        construct(oldLength, n);
    }
}

void TobjArray::reset() {
    destruct(0, fLength);
    fLength = 0;
}

void TobjArray::sGetArrayFootprint(const TobjArray* array, TfootprintInfo& info, const char* label,
                                   bool followPointers) {
    if (array)
        array->reportFootprint(info, label, followPointers);
}
