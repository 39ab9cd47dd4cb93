#include "grundel/iff/FLmemory.h"

#include "grundel/iff/FLerror.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>

namespace {

constexpr size_t kMinimumGrowth = 64;
// No object may be larger than this (pointer differences must fit); sizes
// beyond it are refused here, the same way under every allocator.
constexpr size_t kLargest = PTRDIFF_MAX;

void* noMemory() noexcept {
    FLseterror(kFLnoMemory);
    return nullptr;
}

// The capacity a growing buffer moves to: at least needed, at least twice
// the old one (so n appends cost O(n)), 0 when that overflows.
size_t grownCapacity(size_t capacity, size_t needed) noexcept {
    size_t target = capacity > kLargest / 2 ? needed : capacity * 2;
    if (target < needed)
        target = needed;
    if (target < kMinimumGrowth)
        target = kMinimumGrowth;
    return target;
}

} // namespace

void* FLmalloc(size_t size) noexcept {
    if (size > kLargest)
        return noMemory();
    void* block = std::malloc(size ? size : 1);
    return block ? block : noMemory();
}

void* FLcalloc(size_t count, size_t size) noexcept {
    if (size && count > kLargest / size)
        return noMemory();
    void* block = std::calloc(count ? count : 1, size ? size : 1);
    return block ? block : noMemory();
}

void* FLrealloc(void* block, size_t size) noexcept {
    if (size > kLargest)
        return noMemory();
    void* moved = std::realloc(block, size ? size : 1);
    return moved ? moved : noMemory();
}

void FLfree(void* block) noexcept { std::free(block); }

void* FLgrow(void* block, size_t* capacity, size_t needed) noexcept {
    if (block && needed <= *capacity)
        return block;
    const size_t target = grownCapacity(block ? *capacity : 0, needed);
    void* moved = FLrealloc(block, target);
    if (moved)
        *capacity = target;
    return moved;
}

void* FLrgrow(void* block, size_t* capacity, size_t needed) noexcept {
    if (block && needed <= *capacity)
        return block;
    const size_t old = block ? *capacity : 0;
    const size_t target = grownCapacity(old, needed);
    auto* moved = static_cast<unsigned char*>(FLmalloc(target));
    if (!moved)
        return nullptr;
    if (old)
        std::memcpy(moved + (target - old), block, old);
    std::free(block);
    *capacity = target;
    return moved;
}

void* FLinsbytes(void* block, size_t* length, size_t* capacity, size_t offset, const void* bytes,
                 size_t count) noexcept {
    const size_t held = block ? *length : 0;
    if (offset > held) {
        FLseterror(kFLbadSize);
        return nullptr;
    }
    if (count > SIZE_MAX - held)
        return noMemory();
    // Bytes that come from the block itself are found again by their offset
    // once the block may have moved.
    const auto* source = static_cast<const unsigned char*>(bytes);
    const auto* base = static_cast<const unsigned char*>(block);
    const bool inside = source && block &&
                        std::greater_equal<const unsigned char*>()(source, base) &&
                        std::less<const unsigned char*>()(source, base + *capacity);
    const size_t sourceOffset = inside ? static_cast<size_t>(source - base) : 0;
    if (inside && (sourceOffset > held || count > held - sourceOffset)) {
        FLseterror(kFLbadSize);
        return nullptr;
    }
    size_t newCapacity = block ? *capacity : 0;
    auto* grown = static_cast<unsigned char*>(FLgrow(block, &newCapacity, held + count));
    if (!grown)
        return nullptr;
    std::memmove(grown + offset + count, grown + offset, held - offset);
    if (!source) {
        std::memset(grown + offset, 0, count);
    } else if (!inside) {
        std::memcpy(grown + offset, source, count);
    } else {
        // The source range may straddle the gap just opened: its part at or
        // after offset now sits count bytes further on.
        for (size_t i = 0; i < count; ++i) {
            const size_t from = sourceOffset + i;
            grown[offset + i] = grown[from < offset ? from : from + count];
        }
    }
    *length = held + count;
    *capacity = newCapacity;
    return grown;
}
