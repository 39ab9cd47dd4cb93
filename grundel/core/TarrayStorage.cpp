#include "grundel/core/TarrayStorage_p.h"

#include "grundel/core/Texception.h"
#include "grundel/core/mmapAlloc.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace grundel::detail {

void* arrayAllocate(std::size_t bytes, const char* category) {
    void* p = isMapped(bytes) ? mmapAlloc(bytes, category) : std::malloc(bytes);
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
        p = mmapAlloc(newBytes, category);
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

} // namespace grundel::detail
