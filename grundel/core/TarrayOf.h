#pragma once

// The three templates from which the generated array family is made, one
// per kind of member: plain (on Tarray), object (on TobjArray) and sorted (on
// TsortedArray). Each member is one line of Tarrays.h naming the class and
// its element type; the class is the Self parameter, so that copy, catenate
// and swap take the member itself.

#include "grundel/core/Tapi.h"
#include "grundel/core/Tarray.h"
#include "grundel/core/TobjArray.h"
#include "grundel/core/Ttypes.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <new>
#include <type_traits>

namespace grundel::detail {

/// True when the count elements at values overlap an array's storage:
/// arguments that are our own elements must be saved before they move.
template <class T>
bool overlapsElements(const T* values, TuInt32 count, const T* data, TuInt32 physicalSize) noexcept {
    const auto p = reinterpret_cast<std::uintptr_t>(values);
    const auto begin = reinterpret_cast<std::uintptr_t>(data);
    return data != nullptr && values != nullptr && p < begin + std::uintptr_t(physicalSize) * sizeof(T) &&
           begin < p + std::uintptr_t(count) * sizeof(T);
}

template <class T>
bool isElementOf(const T& value, const T* data, TuInt32 physicalSize) noexcept {
    return overlapsElements(&value, 1, data, physicalSize);
}

/// Element types whose objects may move to another address as plain bytes
/// (nothing points into them), so that growth need not copy and release
/// each one: the trivially copyable types, and those declared so.
template <class T>
struct TrelocatableElement : std::is_trivially_copyable<T> {};

/// The element hooks of the object and sorted members.
template <class T>
struct TelementHooks {
    static T* slots(void* storage) noexcept { return static_cast<T*>(storage); }

    static void construct(void* storage, TuInt32 from, TuInt32 to) {
        for (T* p = slots(storage) + from; p != slots(storage) + to; ++p)
            new (p) T();
    }
    static void destruct(void* storage, TuInt32 from, TuInt32 to) noexcept {
        if constexpr (!std::is_trivially_destructible<T>::value)
            for (T* p = slots(storage) + from; p != slots(storage) + to; ++p)
                p->~T();
    }
    /// Up: the count elements at the end come down to at. Down: the count
    /// elements at at go to the end. Either way as one rotation.
    static void shuffle(void* storage, TuInt32 length, TuInt32 at, int direction, TuInt32 count) {
        if (at >= length || count == 0 || count > length - at)
            return;
        T* p = slots(storage);
        if (direction)
            std::rotate(p + at, p + (length - count), p + length);
        else
            std::rotate(p + at, p + (at + count), p + length);
    }
    static void initialize(const void* source, void* destination, TuInt32 count) {
        if (!destination)
            return;
        const T* from = static_cast<const T*>(source);
        for (TuInt32 i = 0; i < count; ++i)
            new (slots(destination) + i) T(from[i]);
    }
    static void destroy(void* storage, TuInt32 count) noexcept { destruct(storage, 0, count); }
};

/// The element hooks of the object and sorted members, over Base (TobjArray
/// or TsortedArray) holding elements of type T. The destructor releases the
/// elements before Base frees the storage.
template <class Base, class T>
class GRUNDEL_API TelementArrayOf : public Base {
    using Hooks = TelementHooks<T>;

public:
    using Base::Base;
    ~TelementArrayOf() override {
        Hooks::destruct(this->fData, 0, this->fLength);
        this->fLength = 0;
    }

    void construct(TuInt32 from, TuInt32 to) override { Hooks::construct(this->fData, from, to); }
    void destruct(TuInt32 from, TuInt32 to) override { Hooks::destruct(this->fData, from, to); }
    void shuffle(TuInt32 at, int direction, TuInt32 count) override {
        Hooks::shuffle(this->fData, this->fLength, at, direction, count);
    }
    void initialize(const void* source, void* destination, TuInt32 count) override {
        Hooks::initialize(source, destination, count);
    }
    void destroy(void* storage, TuInt32 count) override { Hooks::destroy(storage, count); }
    void expandArray(TuInt32 n) override {
        if constexpr (TrelocatableElement<T>::value)
            this->expandRelocating(n);
        else
            Base::expandArray(n);
    }
};

/// Plain members: elements of plain bytes, moved and compared as bytes.
template <class Self, class T>
class GRUNDEL_API TarrayOf : public Tarray {
    static_assert(std::is_trivially_copyable<T>::value, "a plain member holds plain bytes");

public:
    using Element = T;

    explicit TarrayOf(TuInt32 sizeIncrement = kDefaultSizeIncrement) noexcept : Tarray(sizeof(T), sizeIncrement) {}

    /// n copies of value (which may be one of ours). Returns 0.
    int createAndSet(const T& value, TuInt32 n, TuInt32 sizeIncrement) {
        return createAndInitialise(&value, n, sizeIncrement);
    }

    /// No bounds check in release builds; debug builds assert i < length().
    T& operator[](TuInt32 i) noexcept {
        assert(i < fLength && "array index out of range");
        return data()[i];
    }
    const T& operator[](TuInt32 i) const noexcept {
        assert(i < fLength && "array index out of range");
        return data()[i];
    }
    /// The elements; null before the first storage.
    T* data() noexcept { return reinterpret_cast<T*>(fData); }
    const T* data() const noexcept { return reinterpret_cast<const T*>(fData); }
    /// The last element; not for an empty array (asserted in debug builds).
    T& last() noexcept {
        assert(fLength > 0 && "last() of an empty array");
        return data()[fLength - 1];
    }
    const T& last() const noexcept {
        assert(fLength > 0 && "last() of an empty array");
        return data()[fLength - 1];
    }
    /// The elements in order, for range-for and the standard algorithms.
    /// Valid until the array changes its length.
    T* begin() noexcept { return data(); }
    T* end() noexcept { return data() + fLength; }
    const T* begin() const noexcept { return data(); }
    const T* end() const noexcept { return data() + fLength; }

    /// Inserts at at (clamped to the length); the arguments may be our own
    /// elements. Return 0.
    int insert(const T& value, TuInt32 at) { return insertElement(&value, at, 1); }
    int insert(const T* values, TuInt32 count, TuInt32 at) { return insertElements(values, at, count); }
    int addLast(const T& value) {
        if (fLength < fPhysicalSize) {
            data()[fLength++] = value;
            return kArrayOk;
        }
        return insertElement(&value, fLength, 1);
    }
    int addLast(const T* values, TuInt32 count) { return insertElements(values, fLength, count); }

    /// 0 when an element has value's bytes, else kArrayNotFound; index is the
    /// first such element, or the length.
    [[nodiscard]] int find(const T& value) const noexcept {
        TuInt32 index;
        return findElement(&value, index);
    }
    [[nodiscard]] int find(const T& value, TuInt32& index) const noexcept { return findElement(&value, index); }
    /// Removes the first equal element; kArrayNotFound when there is none.
    int remove(const T& value) { return removeElement(&value); }

    /// Replace the contents by other's elements [from, from + count), both
    /// clamped to other's length (an empty range empties this array). other
    /// may be this array. Return 0.
    int copy(const Self& other) { return copyFrom(other, 0, other.fLength); }
    int copy(const Self& other, TuInt32 count) { return copyFrom(other, 0, count); }
    int copy(const Self& other, TuInt32 from, TuInt32 count) { return copyFrom(other, from, count); }
    /// Append other's elements, clamped in the same way. Return 0.
    int catenate(const Self& other) { return catenateFrom(other, 0, other.fLength); }
    int catenate(const Self& other, TuInt32 count) { return catenateFrom(other, 0, count); }
    int catenate(const Self& other, TuInt32 from, TuInt32 count) { return catenateFrom(other, from, count); }

    /// Exchanges length, physical size, increment and storage; no element is
    /// copied.
    void swap(Self& other) noexcept { swapWith(other); }
};

/// Object members: elements built, copied and released through their type.
template <class Self, class T>
class GRUNDEL_API TobjArrayOf : public TelementArrayOf<TobjArray, T> {
    using Base = TelementArrayOf<TobjArray, T>;

protected:
    // Names from the dependent base that the members below use.
    using Base::fData, Base::fLength, Base::fPhysicalSize, Base::swapWith;

public:
    using Element = T;
    using Base::create, Base::insertElement, Base::removeAt, Base::changeLogicalSizeTo;

    explicit TobjArrayOf(TuInt32 sizeIncrement = kDefaultSizeIncrement) noexcept : Base(sizeof(T), sizeIncrement) {}

    /// n copies of value (which may be one of ours). Returns 0.
    int createAndSet(const T& value, TuInt32 n, TuInt32 sizeIncrement) {
        const T saved(value);
        create(n, sizeIncrement);
        std::fill(data(), data() + fLength, saved);
        return kArrayOk;
    }

    /// No bounds check in release builds; debug builds assert i < length().
    T& operator[](TuInt32 i) noexcept {
        assert(i < fLength && "array index out of range");
        return data()[i];
    }
    const T& operator[](TuInt32 i) const noexcept {
        assert(i < fLength && "array index out of range");
        return data()[i];
    }
    T& element(TuInt32 i) noexcept { return (*this)[i]; }
    const T& element(TuInt32 i) const noexcept { return (*this)[i]; }
    T* data() noexcept { return reinterpret_cast<T*>(fData); }
    const T* data() const noexcept { return reinterpret_cast<const T*>(fData); }
    /// The last element; not for an empty array (asserted in debug builds).
    T& last() noexcept {
        assert(fLength > 0 && "last() of an empty array");
        return data()[fLength - 1];
    }
    const T& last() const noexcept {
        assert(fLength > 0 && "last() of an empty array");
        return data()[fLength - 1];
    }
    /// The elements in order, for range-for and the standard algorithms.
    /// Valid until the array changes its length.
    T* begin() noexcept { return data(); }
    T* end() noexcept { return data() + fLength; }
    const T* begin() const noexcept { return data(); }
    const T* end() const noexcept { return data() + fLength; }

    /// Inserts at at (clamped to the length); the arguments may be our own
    /// elements. Return 0.
    int insert(const T& value, TuInt32 at) {
        if (isElementOf(value, data(), fPhysicalSize)) {
            const T saved(value);
            return insertCopy(saved, at);
        }
        return insertCopy(value, at);
    }
    int insert(const T* values, TuInt32 count, TuInt32 at) {
        if (count == 0 || !values)
            return kArrayOk;
        if (overlapsElements(values, count, data(), fPhysicalSize)) {
            Self saved(1);
            saved.insert(values, count, 0);
            return insert(saved.data(), count, at);
        }
        if (at > fLength)
            at = fLength;
        insertElement(at, count);
        std::copy(values, values + count, data() + at);
        return kArrayOk;
    }
    int addLast(const T& value) {
        if (fLength < fPhysicalSize) {
            new (data() + fLength) T(value);
            ++fLength;
            return kArrayOk;
        }
        return insert(value, fLength);
    }
    int addLast(const T* values, TuInt32 count) { return insert(values, count, fLength); }

    /// 0 when an element equals value, else kArrayNotFound; index is the
    /// first equal element, or the length.
    [[nodiscard]] int find(const T& value) const noexcept {
        TuInt32 index;
        return find(value, index);
    }
    [[nodiscard]] int find(const T& value, TuInt32& index) const noexcept {
        for (index = 0; index < fLength; ++index)
            if (data()[index] == value)
                return kArrayOk;
        return kArrayNotFound;
    }
    /// Removes the first equal element; kArrayNotFound when there is none.
    int remove(const T& value) {
        TuInt32 index;
        if (find(value, index) != kArrayOk)
            return kArrayNotFound;
        return removeAt(index, 1);
    }

    /// Replace the contents by other's elements [from, from + count), both
    /// clamped to other's length (an empty range empties this array). other
    /// may be this array. Return 0.
    int copy(const Self& other) { return copy(other, 0, other.fLength); }
    int copy(const Self& other, TuInt32 count) { return copy(other, 0, count); }
    int copy(const Self& other, TuInt32 from, TuInt32 count) {
        other.clampRange(from, count);
        if (&other == this) {
            std::copy(data() + from, data() + from + count, data());
            changeLogicalSizeTo(count);
        } else {
            changeLogicalSizeTo(count);
            std::copy(other.data() + from, other.data() + from + count, data());
        }
        return kArrayOk;
    }
    /// Append other's elements, clamped in the same way; other may be this
    /// array. Return 0.
    int catenate(const Self& other) { return catenate(other, 0, other.fLength); }
    int catenate(const Self& other, TuInt32 count) { return catenate(other, 0, count); }
    int catenate(const Self& other, TuInt32 from, TuInt32 count) {
        other.clampRange(from, count);
        const TuInt32 at = fLength;
        insertElement(at, count);
        // Read other only now: growth moves our own elements.
        std::copy(other.data() + from, other.data() + from + count, data() + at);
        return kArrayOk;
    }

    /// Exchanges length, physical size, increment and storage; no element is
    /// copied.
    void swap(Self& other) noexcept { swapWith(other); }

private:
    int insertCopy(const T& value, TuInt32 at) {
        if (at > fLength)
            at = fLength;
        insertElement(at, 1);
        data()[at] = value;
        return kArrayOk;
    }
};

/// The order of the sorted members: negative, 0 or positive as a sorts
/// before, with or after b. Pointers are ordered by address.
template <class T>
struct TnaturalOrder {
    static int compare(const T& a, const T& b) noexcept {
        if constexpr (std::is_pointer<T>::value) {
            const auto x = reinterpret_cast<std::uintptr_t>(a), y = reinterpret_cast<std::uintptr_t>(b);
            return x < y ? -1 : y < x ? 1 : 0;
        } else {
            return a < b ? -1 : b < a ? 1 : 0;
        }
    }
};

/// Sorted members: a TsortedArray kept in Order.
template <class Self, class T, class Order = TnaturalOrder<T>>
class GRUNDEL_API TsortedArrayOf : public TelementArrayOf<TsortedArray, T> {
    using Base = TelementArrayOf<TsortedArray, T>;

protected:
    // Names from the dependent base that the members below use.
    using Base::fData, Base::fLength, Base::fPhysicalSize, Base::fAllowDuplicates;

public:
    using Element = T;
    using Base::insertElement, Base::removeAt, Base::changeLogicalSizeTo;

    explicit TsortedArrayOf(bool allowDuplicates = false, TuInt32 sizeIncrement = kDefaultSizeIncrement) noexcept
        : Base(sizeof(T), allowDuplicates, sizeIncrement) {}

    /// No bounds check in release builds; debug builds assert i < length().
    /// Elements change only through change().
    const T& operator[](TuInt32 i) const noexcept {
        assert(i < fLength && "array index out of range");
        return data()[i];
    }
    /// The elements in order, read-only (writing would break the order).
    const T* begin() const noexcept { return data(); }
    const T* end() const noexcept { return data() + fLength; }

    /// Inserts value in order: before an equal run when duplicates are
    /// allowed; kArrayRefused (nothing changed) when value is present and
    /// they are not. Returns 0 when inserted.
    int insert(const T& value) {
        if (fLength == 0 || Order::compare(value, data()[0]) < 0)
            return insertCopy(value, 0);
        if (Order::compare(value, data()[fLength - 1]) > 0)
            return insertCopy(value, fLength);
        TuInt32 index;
        if (find(value, index) == kArrayOk && !fAllowDuplicates)
            return kArrayRefused;
        return insertCopy(value, index);
    }
    /// Inserts value at at (clamped to the length) only where it keeps the
    /// order against its neighbours (equal neighbours only with duplicates
    /// allowed); otherwise kArrayRefused and nothing changes.
    int insert(const T& value, TuInt32 at) {
        if (at > fLength)
            at = fLength;
        if (!fits(value, at, at))
            return kArrayRefused;
        return insertCopy(value, at);
    }
    /// Replaces the element at at under the same rule; kArrayRefused also
    /// when at is past the last element.
    int change(TuInt32 at, const T& value) {
        if (at >= fLength || !fits(value, at, at + 1))
            return kArrayRefused;
        data()[at] = value;
        return kArrayOk;
    }

    /// Binary search: 0 and the index of value (the first of an equal run
    /// when duplicates are allowed), or kArrayRefused and the index where it
    /// would be inserted.
    [[nodiscard]] int find(const T& value) const noexcept {
        TuInt32 index;
        return find(value, index);
    }
    [[nodiscard]] int find(const T& value, TuInt32& index) const noexcept {
        Tint64 lo = 0;
        Tint64 hi = Tint64(fLength) - 1;
        while (lo <= hi) {
            const Tint64 mid = (lo + hi) / 2;
            const int c = Order::compare(value, data()[mid]);
            if (c == 0) {
                index = static_cast<TuInt32>(mid);
                if (fAllowDuplicates)
                    while (index > 0 && Order::compare(data()[index - 1], value) == 0)
                        --index;
                return kArrayOk;
            }
            if (c < 0)
                hi = mid - 1;
            else
                lo = mid + 1;
        }
        index = static_cast<TuInt32>(lo);
        return kArrayRefused;
    }
    /// find, and also count the equal elements from first (0 when absent).
    [[nodiscard]] int find(const T& value, TuInt32& first, TuInt32& count) const noexcept {
        count = 0;
        if (find(value, first) != kArrayOk)
            return kArrayRefused;
        while (first + count < fLength && Order::compare(data()[first + count], value) == 0)
            ++count;
        return kArrayOk;
    }
    /// Removes the element found by find; kArrayRefused when absent.
    int remove(const T& value) {
        TuInt32 index;
        if (find(value, index) != kArrayOk)
            return kArrayRefused;
        return removeAt(index, 1);
    }

    /// Restores the order after addLastUnsorted (equal elements keep their
    /// relative order; duplicates are kept).
    void sort() {
        std::stable_sort(data(), data() + fLength,
                         [](const T& a, const T& b) { return Order::compare(a, b) < 0; });
    }
    /// Appends without checking the order. Returns 0.
    int addLastUnsorted(const T& value) { return addLast(value); }

    /// Replaces the contents by other's (other may be this array). Returns 0.
    int copy(const Self& other) {
        if (&other == this)
            return kArrayOk;
        changeLogicalSizeTo(other.fLength);
        std::copy(other.data(), other.data() + other.fLength, data());
        return kArrayOk;
    }

protected:
    int addLast(const T& value) { return insertCopy(value, fLength); }

    const T* data() const noexcept { return reinterpret_cast<const T*>(fData); }
    T* data() noexcept { return reinterpret_cast<T*>(fData); }

    // A sorted member keeps its element hooks protected.
    using Base::construct, Base::destruct, Base::shuffle, Base::initialize, Base::destroy, Base::expandArray;

private:
    /// Whether value may sit between the elements before and after, the
    /// neighbours of a slot: strictly without duplicates, loosely with them.
    bool fits(const T& value, TuInt32 before, TuInt32 after) const noexcept {
        const int limit = fAllowDuplicates ? 0 : -1;
        if (before > 0 && Order::compare(data()[before - 1], value) > limit)
            return false;
        if (after < fLength && Order::compare(value, data()[after]) > limit)
            return false;
        return true;
    }
    int insertCopy(const T& value, TuInt32 at) {
        if (isElementOf(value, data(), fPhysicalSize)) {
            const T saved(value);
            return insertCopy(saved, at);
        }
        insertElement(at, 1);
        data()[at] = value;
        return kArrayOk;
    }
};

} // namespace grundel::detail

/// Declares a plain member Name of Element on Tarray.
#define GRUNDEL_PLAIN_ARRAY(Name, Element)                                                      \
    class GRUNDEL_API Name : public grundel::detail::TarrayOf<Name, Element> {                  \
    public:                                                                                     \
        using TarrayOf::TarrayOf;                                                               \
    }
/// Declares an object member Name of Element on TobjArray.
#define GRUNDEL_OBJECT_ARRAY(Name, Element)                                                     \
    class GRUNDEL_API Name : public grundel::detail::TobjArrayOf<Name, Element> {               \
    public:                                                                                     \
        using TobjArrayOf::TobjArrayOf;                                                         \
    }
/// Declares a sorted member Name of Element on TsortedArray, in the order
/// given by the remaining argument (a class with a static compare), if any.
#define GRUNDEL_SORTED_ARRAY(Name, ...)                                                         \
    class GRUNDEL_API Name : public grundel::detail::TsortedArrayOf<Name, __VA_ARGS__> {        \
    public:                                                                                     \
        using TsortedArrayOf::TsortedArrayOf;                                                   \
    }
