#include "grundel/core/TcacheArray.h"

#include "grundel/core/TarrayStorage_p.h"

#include <cstring>

using namespace grundel::detail;

namespace {
constexpr const char* kCategory = "Arrays";
} // namespace

TcacheArray::TcacheArray(TuInt32 elementSize, TuInt32 sizeIncrement, void* cache, TuInt32 cacheCount) noexcept
    : Tarray(elementSize, sizeIncrement), fCache(cacheCount ? static_cast<char*>(cache) : nullptr),
      fCacheCount(cache ? cacheCount : 0) {}

TcacheArray::~TcacheArray() {
    if (usesCache()) {
        fData = nullptr;
        fLength = fPhysicalSize = 0;
    }
}

void TcacheArray::allocateArray(TuInt32 n) {
    if (!usesCache()) {
        if (n == 0 || n > fCacheCount) {
            Tarray::allocateArray(n);
            return;
        }
        arrayRelease(fData, bytesFor(fPhysicalSize));
        fData = fCache;
    } else if (n == 0 || n > fCacheCount) {
        // Leave the cache first, so that Tarray does not free it.
        void* p = n ? arrayAllocate(bytesFor(n), kCategory) : nullptr;
        fData = static_cast<char*>(p);
        fLength = fPhysicalSize = n;
        return;
    }
    fPhysicalSize = fCacheCount;
    fLength = n;
}

void TcacheArray::leaveCache(TuInt32 n) {
    void* p = arrayAllocate(bytesFor(n), kCategory);
    std::memcpy(p, fData, bytesFor(fLength));
    fData = static_cast<char*>(p);
    fPhysicalSize = n;
}

void TcacheArray::expandArray(TuInt32 n) {
    if (!usesCache() || n <= fPhysicalSize) {
        Tarray::expandArray(n);
        return;
    }
    leaveCache(grownPhysicalSize(n));
    fLength = n;
    adaptIncrement(n);
}

void TcacheArray::changePhysicalSizeTo(TuInt32 n) {
    if (!usesCache()) {
        Tarray::changePhysicalSizeTo(n);
        return;
    }
    if (n > fPhysicalSize)
        leaveCache(n);
    else if (fLength > n)
        fLength = n;
}
