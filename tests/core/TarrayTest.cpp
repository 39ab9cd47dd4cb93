#include "grundel/core/Tarray.h"

#include "grundel/core/TcacheArray.h"
#include "grundel/core/Tarrays.h"
#include "grundel/math/TmathArrays.h"
#include "grundel/core/Texception.h"
#include "grundel/core/TfootprintInfo.h"
#include "grundel/core/mmapAlloc.h"
#include "grundel/math/T3dFltPoint.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

// An element that counts what is done to it.
struct Counted {
    static int live;
    static int copies;
    int value = 0;

    Counted() noexcept { ++live; }
    explicit Counted(int v) noexcept : value(v) { ++live; }
    Counted(const Counted& other) noexcept : value(other.value) {
        ++live;
        ++copies;
    }
    Counted& operator=(const Counted&) noexcept = default;
    ~Counted() { --live; }
};
int Counted::live = 0;
int Counted::copies = 0;

GRUNDEL_OBJECT_ARRAY(TcountedArray, Counted);

// A plain array whose elements are too large for any storage to be had.
class Thuge : public Tarray {
public:
    Thuge() : Tarray(1u << 20, 1) {}
    using Tarray::address;
};

// A cache array of words whose elements the test can read.
class TcachedWords : public TcacheArray {
public:
    using TcacheArray::TcacheArray;
    TuInt32 at(TuInt32 i) const {
        TuInt32 v;
        std::memcpy(&v, address(i), sizeof v);
        return v;
    }
};

std::vector<TuInt32> physicalSizesWhileAdding(TuInt32Array& array, TuInt32 upTo) {
    std::vector<TuInt32> sizes;
    while (array.length() < upTo) {
        array.addLast(array.length());
        if (sizes.empty() || sizes.back() != array.physicalSize())
            sizes.push_back(array.physicalSize());
    }
    return sizes;
}

} // namespace

TEST(Tarray, GrowsByIncrementsThatWidenByAQuarter) {
    TuInt32Array array(10);
    array.addLast(7);
    EXPECT_EQ(array.physicalSize(), 10u);
    EXPECT_EQ(physicalSizesWhileAdding(array, 41), (std::vector<TuInt32>{10, 20, 30, 40, 50}));
    EXPECT_EQ(array.sizeIncrement(), 13u);
    EXPECT_EQ(physicalSizesWhileAdding(array, 400),
              (std::vector<TuInt32>{50, 63, 76, 93, 115, 143, 179, 215, 261, 319, 392, 484}));
    for (TuInt32 i = 1; i < 400; ++i)
        ASSERT_EQ(array[i], i);

    TuInt32Array jump(10);
    jump.addLast(1);
    jump.changeLogicalSizeTo(35); // the fewest whole increments that reach 35
    EXPECT_EQ(jump.physicalSize(), 40u);
    jump.setSizeIncrement(100);
    jump.changeLogicalSizeTo(41); // an increment of at least n is added once
    EXPECT_EQ(jump.physicalSize(), 140u);

    TuInt32Array zero(0);
    zero.addLast(1);
    zero.addLast(2);
    EXPECT_EQ(zero.physicalSize(), 2u);
    EXPECT_EQ(zero.sizeIncrement(), 1u);
}

template <class Array, class Make>
void expectFindsEveryPosition(Make make) {
    Array array;
    for (TuInt32 i = 0; i < 150; ++i)
        array.addLast(make(i + 1));
    for (TuInt32 i = 0; i < 150; ++i) {
        TuInt32 index = 0;
        ASSERT_EQ(array.find(make(i + 1), index), kArrayOk);
        ASSERT_EQ(index, i);
    }
    TuInt32 index = 0;
    EXPECT_EQ(array.find(make(200), index), kArrayNotFound);
    EXPECT_EQ(index, 150u);
    array.addLast(make(7)); // only the first equal element counts
    EXPECT_EQ(array.find(make(7), index), kArrayOk);
    EXPECT_EQ(index, 6u);
}

TEST(Tarray, FindScansEveryPosition) {
    expectFindsEveryPosition<TuInt8Array>([](TuInt32 i) { return TuInt8(i); });
    expectFindsEveryPosition<TuInt16Array>([](TuInt32 i) { return TuInt16(i << 8); });
    expectFindsEveryPosition<TuInt32Array>([](TuInt32 i) { return i << 16; });
    expectFindsEveryPosition<TuInt64Array>([](TuInt32 i) { return TuInt64(i) << 32 | 5; });
    expectFindsEveryPosition<T3dFltPointArray>([](TuInt32 i) { return T3dFltPoint(0, 0, float(i)); });
}

TEST(Tarray, LogicalAndPhysicalSizes) {
    TuInt32Array array(4);
    array.buffer(10);
    EXPECT_EQ(array.length(), 0u);
    EXPECT_EQ(array.physicalSize(), 10u);
    array.changeLogicalSizeBy(6);
    array.changeLogicalSizeBy(-2);
    EXPECT_EQ(array.length(), 4u);
    EXPECT_EQ(array.physicalSize(), 10u); // shrinking the length keeps the storage
    array.changeLogicalSizeBy(-100);
    EXPECT_EQ(array.length(), 0u);
    array.changeLogicalSizeTo(3);
    array.pack();
    EXPECT_EQ(array.physicalSize(), 3u);
    array.removeLast(5);
    EXPECT_TRUE(array.isEmpty());
    array.pack();
    EXPECT_EQ(array.data(), nullptr);
    EXPECT_EQ(array.physicalSize(), 0u);

    auto* storage = static_cast<TuInt32*>(std::malloc(8 * sizeof(TuInt32)));
    storage[0] = 42;
    array.setArray(storage, 8, 20);
    EXPECT_EQ(array.length(), 8u);
    EXPECT_EQ(array[0], 42u);
    EXPECT_EQ(array.find(42u), kArrayOk);
}

TEST(Tarray, StorageFromThresholdOnIsMapped) {
    const TmmapStatistics before = mmapStatistics("Arrays");
    TuInt8Array bytes(1);
    bytes.changePhysicalSizeTo(64511);
    EXPECT_EQ(mmapSize(bytes.data()), 0u);
    for (TuInt32 i = 0; i < 64511; ++i)
        bytes.addLast(TuInt8(i * 7));
    bytes.changePhysicalSizeTo(64512);
    EXPECT_EQ(mmapSize(bytes.data()), 64512u);
    EXPECT_EQ(mmapStatistics("Arrays").blocks, before.blocks + 1);
    bytes.changePhysicalSizeTo(200000);
    bytes.changePhysicalSizeTo(1000); // back to the heap, keeping what fits
    EXPECT_EQ(mmapSize(bytes.data()), 0u);
    EXPECT_EQ(mmapStatistics("Arrays").blocks, before.blocks);
    ASSERT_EQ(bytes.length(), 1000u);
    for (TuInt32 i = 0; i < 1000; ++i)
        ASSERT_EQ(bytes[i], TuInt8(i * 7));

    TstringArray strings;
    strings.buffer(64512 / sizeof(Tstring));
    EXPECT_EQ(mmapSize(strings.data()), 64512u);
    EXPECT_GE(mmapStatistics("Object Arrays").blocks, 1u);
}

TEST(Tarray, FailedAllocationLeavesTheArrayAsItWas) {
    Thuge huge;
    EXPECT_THROW(huge.changeLogicalSizeTo(0xFFFFFFFFu), TmemoryException);
    EXPECT_EQ(huge.length(), 0u);
    EXPECT_EQ(huge.physicalSize(), 0u);

    huge.changeLogicalSizeTo(1);
    std::memcpy(huge.address(0), "kept", 5);
    const void* storage = huge.address(0);
    EXPECT_THROW(huge.changeLogicalSizeTo(0xFFFFFFFFu), TmemoryException);
    EXPECT_EQ(huge.length(), 1u);
    EXPECT_EQ(huge.physicalSize(), 1u);
    EXPECT_EQ(huge.address(0), storage);
    EXPECT_STREQ(static_cast<const char*>(huge.address(0)), "kept");

    TuInt32Array array;
    array.addLast(5);
    const TuInt32 value = 1;
    EXPECT_THROW(array.insert(&value, 0xFFFFFFFFu, 0), TmemoryException); // the length would not fit
    EXPECT_THROW(array.buffer(0xFFFFFFFFu), TmemoryException);
    EXPECT_EQ(array.length(), 1u);
    EXPECT_EQ(array[0], 5u);

    TstringArray strings;
    strings.addLast("a");
    EXPECT_THROW(strings.insertElement(0, 0xFFFFFFFFu), TmemoryException);
    EXPECT_EQ(strings.length(), 1u);
}

TEST(Tarray, CacheArrayStaysInItsBufferUntilOutgrown) {
    TuInt32 cache[8] = {};
    {
        TcachedWords array(sizeof(TuInt32), 4, cache, 8);
        array.changeLogicalSizeTo(3);
        EXPECT_TRUE(array.usesCache());
        EXPECT_EQ(array.physicalSize(), 8u);
        cache[0] = 11;
        array.changeLogicalSizeTo(8);
        array.changePhysicalSizeTo(2); // on the cache: only cuts the length
        EXPECT_TRUE(array.usesCache());
        EXPECT_EQ(array.length(), 2u);
        array.changeLogicalSizeTo(9);
        EXPECT_FALSE(array.usesCache());
        EXPECT_EQ(array.physicalSize(), 12u);
        EXPECT_EQ(array.sizeIncrement(), 4u);
        EXPECT_EQ(array.at(0), 11u);
        array.changePhysicalSizeTo(0);
        array.changeLogicalSizeTo(2); // back into the cache
        EXPECT_TRUE(array.usesCache());
    } // the cache is never freed
    TcacheArray small(sizeof(TuInt32), 16, cache, 8);
    small.changeLogicalSizeTo(1); // the first growth takes 16, more than the cache holds
    EXPECT_FALSE(small.usesCache());
}

TEST(Tarray, FootprintCountsStorageAndOffersPointers) {
    int a = 0;
    int b = 0;
    TvoidPtrArray pointers(4);
    pointers.addLast(&a);
    pointers.addLast(nullptr);
    pointers.addLast(&b);
    TfootprintInfo info;
    Tarray::sGetArrayFootprint(&pointers, info, "pointers");
    EXPECT_EQ(info.totalBytes(), 4 * sizeof(void*) + 24);
    EXPECT_EQ(info.pointers(), (std::vector<const void*>{&a, &b}));
    EXPECT_STREQ(info.label(), "pointers");

    TuInt32Array words;
    words.addLast(12);
    info.clear();
    Tarray::sGetArrayFootprint(&words, info, nullptr);
    EXPECT_TRUE(info.pointers().empty()); // a word too small for a pointer

    TstringArray strings(2);
    strings.addLast("x");
    info.clear();
    TobjArray::sGetArrayFootprint(&strings, info, "strings", true);
    EXPECT_EQ(info.totalBytes(), 2 * sizeof(Tstring) + 24);
    EXPECT_EQ(info.pointers().size(), 1u);
}

TEST(TobjArray, BuildsCopiesAndReleasesEachElementOnce) {
    Counted::live = Counted::copies = 0;
    {
        TcountedArray array(2);
        for (int i = 0; i < 5; ++i)
            array.addLast(Counted(i));
        EXPECT_EQ(Counted::live, 5);
        // Moving to larger storage copies each live element exactly once.
        const TuInt32 before = array.physicalSize();
        Counted::copies = 0;
        array.buffer(before);
        EXPECT_EQ(Counted::copies, 5);
        EXPECT_EQ(Counted::live, 5);

        array.insertElement(1, 3);
        EXPECT_EQ(Counted::live, 8);
        EXPECT_EQ(array[1].value, 0); // new slots hold default elements
        EXPECT_EQ(array[4].value, 1);
        array.removeAt(2, 4);
        EXPECT_EQ(Counted::live, 4);
        EXPECT_EQ(array[2].value, 3);
        array.changeLogicalSizeTo(10);
        EXPECT_EQ(Counted::live, 10);
        array.changePhysicalSizeTo(3);
        EXPECT_EQ(Counted::live, 3);
        array.createAndSet(array[0], 6, 4);
        EXPECT_EQ(Counted::live, 6);
        array.reset();
        EXPECT_EQ(Counted::live, 0);
        array.create(4, 2);
        EXPECT_EQ(Counted::live, 4);
    }
    EXPECT_EQ(Counted::live, 0);

    {
        // Through mapped storage, growing element by element.
        TcountedArray large(1);
        for (int i = 0; i < 40000; ++i)
            large.addLast(Counted(i));
        EXPECT_GT(mmapSize(large.data()), 0u);
        EXPECT_EQ(Counted::live, 40000);
        EXPECT_EQ(large[39999].value, 39999);
        large.removeAt(0, 39990);
        large.pack();
        EXPECT_EQ(Counted::live, 10);
        EXPECT_EQ(large[0].value, 39990);
    }
    EXPECT_EQ(Counted::live, 0);
}
