#pragma once

#include "grundel/core/TmtRefCounter.h"

#include <new>
#include <type_traits>
#include <utility>

/// A shared holder of one array (an array of the family, copied with its
/// copy(), or any copy-assignable value): copies of the
/// reference share one block until one of them asks to write, which gives
/// it a private copy first (copy-on-write on request). The count is atomic,
/// so references on different threads may share a block; the array itself
/// is not locked. An empty reference holds nothing.
///
/// Copying the array may raise what the array's copy raises
/// (TmemoryException for the array family).
template <class A>
class TsharedReference {
public:
    TsharedReference() noexcept = default;
    /// Holds value alone.
    explicit TsharedReference(const A& value) : fBlock(new Block(value)) {}
    TsharedReference(const TsharedReference& other) noexcept : fBlock(other.fBlock) {
        if (fBlock)
            fBlock->fCount.add();
    }
    TsharedReference(TsharedReference&& other) noexcept : fBlock(std::exchange(other.fBlock, nullptr)) {}
    TsharedReference& operator=(TsharedReference other) noexcept {
        std::swap(fBlock, other.fBlock);
        return *this;
    }
    ~TsharedReference() { release(); }

    /// True when a block is held.
    bool isSet() const noexcept { return fBlock != nullptr; }
    explicit operator bool() const noexcept { return isSet(); }
    /// The array for reading, or null.
    const A* get() const noexcept { return fBlock ? &fBlock->fValue : nullptr; }
    const A* operator->() const noexcept { return get(); }
    /// Not for an empty reference.
    const A& operator*() const noexcept { return fBlock->fValue; }
    /// References sharing the block (0 when empty).
    int referenceCount() const noexcept { return fBlock ? fBlock->fCount.value() : 0; }
    bool isShared() const noexcept { return referenceCount() > 1; }

    /// The array for writing: a private copy first when the block is
    /// shared, a new default-made array when nothing is held.
    A& writable() {
        if (!fBlock) {
            fBlock = new Block();
        } else if (isShared()) {
            Block* own = new Block(fBlock->fValue);
            release();
            fBlock = own;
        }
        return fBlock->fValue;
    }
    /// Lets go of the block.
    void reset() noexcept {
        release();
        fBlock = nullptr;
    }

private:
    struct Block {
        Block() = default;
        explicit Block(const A& value) { assign(fValue, value); }
        TmtRefCounter fCount{1};
        A fValue;
    };

    // The array family copies through copy() rather than a copy constructor.
    static void assign(A& to, const A& from) {
        if constexpr (std::is_copy_assignable<A>::value)
            to = from;
        else
            to.copy(from);
    }

    void release() noexcept {
        if (fBlock && fBlock->fCount.remove() == 0)
            delete fBlock;
    }

    Block* fBlock = nullptr;
};
