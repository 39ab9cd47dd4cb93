#include "grundel/color/TcolorArrays.h"
#include "grundel/core/Tarrays.h"
#include "grundel/iff/TiffArrays.h"
#include "grundel/math/TmathArrays.h"
#include "grundel/object/TobjectArrays.h"
#include "grundel/threads/TmtArrays.h"
#include "grundel/time/TtimeArrays.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <type_traits>
#include <deque>
#include <vector>

// One suite over every plain and object member of the family, checked
// against a std::vector model, and one over the sorted members.

namespace {

template <class Array>
constexpr bool kPlain = std::is_base_of<Tarray, Array>::value;

// A distinct value for k (values repeat after 64). Byte patterns stay below
// 0x40, so that no float or double among them is a NaN.
template <class T>
T makeValue(unsigned k) {
    if constexpr (std::is_same<T, bool>::value) {
        return (k & 1) != 0;
    } else if constexpr (std::is_pointer<T>::value) {
        return reinterpret_cast<T>(std::uintptr_t(k % 64 + 1) * 16);
    } else if constexpr (std::is_same<T, Tstring>::value) {
        Tstring s;
        s.setUInt32(k % 64);
        return s;
    } else if constexpr (std::is_same<T, TfilePath>::value || std::is_same<T, Tdirectory>::value) {
        T t;
        t.fPath.setUInt32(k % 64);
        return t;
    } else if constexpr (std::is_same<T, TtimeValue>::value) {
        return TtimeValue(TanimTime(Tint32(k % 64)));
    } else if constexpr (std::is_same<T, TxformMatrix>::value) {
        return T(); // no value constructor yet: all equal
    } else if constexpr (std::is_arithmetic<T>::value || std::is_enum<T>::value) {
        return static_cast<T>(k % 64 + 1);
    } else {
        static_assert(std::is_trivially_copyable<T>::value, "needs its own case");
        unsigned char bytes[sizeof(T)];
        for (std::size_t i = 0; i < sizeof bytes; ++i)
            bytes[i] = static_cast<unsigned char>((k + i * 13) & 0x3F);
        T t;
        std::memcpy(static_cast<void*>(&t), bytes, sizeof t);
        return t;
    }
}

// Plain members compare bytes; object members use ==.
template <class Array, class T>
bool same(const T& a, const T& b) {
    if constexpr (kPlain<Array>)
        return std::memcmp(&a, &b, sizeof(T)) == 0;
    else
        return a == b;
}

// The model of an array (a deque, which unlike vector<bool> holds real bools).
template <class T>
using Model = std::deque<T>;

template <class Array>
void expectMatches(const Array& array, const Model<typename Array::Element>& model) {
    ASSERT_EQ(array.length(), model.size());
    for (TuInt32 i = 0; i < array.length(); ++i)
        ASSERT_TRUE(same<Array>(array[i], model[i])) << "at " << i;
}

template <class Array>
class TarrayFamily : public ::testing::Test {};

using Members = ::testing::Types<
    TvoidPtrArray, TdbTraceArray, TstringPtrArray, TargTypeArray, TtriggerPtrArray, TdoubleArray, Tint32Array,
    TiffTagArray, TnameObjectPtrArray, TuInt32Array, TargListPtrArray, TuInt32ArrayPtrArray, TuInt64Array,
    T4dDblVectorArray, TbooleanArray, Tint16Array, TindexArray, T4dFltVectorArray, T2FloatArray, TfloatArray,
    TbdDataPtrArray, TsurfaceDirectionArray, TselectedSrfDirectionsArray, TsurfSelectedBoundaryTypeArray,
    TobjectGroupIdArray, T4dDblPointArray, T3dDblPointArray, T3dDblPointArrayPtrArray, T3dFltPointArray,
    T3FloatArray, T3DoubleArray, T4dDblMatrixArray, T4dDblPointArrayPtrArray, T4dFltPointArray,
    TbooleanArrayPtrArray, TcharArray, TcharPtrArray, TdoubleArrayPtrArray, TdoublePtrArray, TfloatArrayPtrArray,
    TfloatArrayPtrArrayPtrArray, TfloatPtrArray, Tint32ArrayPtrArray, Tint64Array, TpointArray,
    TquaternionArrayPtrArray, TrectArray, TrotateXYZArray, TTuInt32Array, TuInt16Array, TuInt8Array,
    TuInt8ArrayPtrArray, TuvPointArray, TvaluesArrayPtrArray, TxformMatrixPtrArray, TdblPointArray, TlineArray,
    TtimeValueArray, TtimeValuePtrArray, TtimeValueArrayPtrArray, TpoolAllocatorPtrArray, TportColorArray,
    TpixelMapPtrArray, TfltLineArray, TfltPointArray, TmtThreadPtrArray,
    // object members
    TstringArray, TdelayedMsgTypeArray, TtypeidArray, TclientServerPtrArray, TmessageArray,
    TpreferenceItemPtrArray, TfilePathArray, TdirectoryArray, TpolyTangentSetArray, TpolyMapArray,
    TsurfaceIndexArray, TobjectGroupPtrArray, TdoubleIndexLongArray, TcomponentPtrArray, TquaternionArray,
    TxformMatrixArray, TdoubleRangeArray, TanimTimeArray>;
TYPED_TEST_SUITE(TarrayFamily, Members);

TYPED_TEST(TarrayFamily, MatchesVectorUnderRandomOperations) {
    using T = typename TypeParam::Element;
    std::mt19937 random(12345);
    TypeParam array(3);
    TypeParam other(5);
    Model<T> model;
    for (int step = 0; step < 600; ++step) {
        const unsigned k = random();
        const TuInt32 at = model.empty() ? 0 : random() % (model.size() + 2);
        const TuInt32 end = static_cast<TuInt32>(model.size());
        switch (random() % 9) {
        case 0:
        case 1:
            array.addLast(makeValue<T>(k));
            model.push_back(makeValue<T>(k));
            break;
        case 2:
            array.insert(makeValue<T>(k), at);
            model.insert(model.begin() + std::min(at, end), makeValue<T>(k));
            break;
        case 3: {
            const T values[3] = {makeValue<T>(k), makeValue<T>(k + 1), makeValue<T>(k + 2)};
            array.insert(values, 3, at);
            model.insert(model.begin() + std::min(at, end), values, values + 3);
            break;
        }
        case 4: {
            const TuInt32 count = random() % 4;
            array.removeAt(at, count);
            if (at + 1 == end)
                model.pop_back();
            else if (at < end)
                model.erase(model.begin() + at, model.begin() + std::min(at + count, end));
            break;
        }
        case 5: {
            const T value = makeValue<T>(k);
            TuInt32 index;
            const int result = array.find(value, index);
            TuInt32 expected = 0;
            while (expected < end && !same<TypeParam>(model[expected], value))
                ++expected;
            EXPECT_EQ(index, expected);
            EXPECT_EQ(result, expected < end ? kArrayOk : kArrayNotFound);
            EXPECT_EQ(array.remove(value), result);
            if (expected < end)
                model.erase(model.begin() + expected);
            break;
        }
        case 6:
            other.addLast(makeValue<T>(k));
            array.catenate(other, 1, 2);
            model.insert(model.end(), other.data() + std::min(1u, other.length()),
                         other.data() + std::min(3u, other.length()));
            break;
        case 7:
            if (random() % 4 == 0) {
                array.copy(array, 1, 40);
                model.erase(model.begin(), model.begin() + std::min(1u, end));
                if (model.size() > 40)
                    model.resize(40);
            }
            break;
        case 8:
            if (end > 30) {
                array.changeLogicalSizeTo(end / 2);
                model.resize(end / 2);
            }
            break;
        }
        expectMatches(array, model);
        ASSERT_GE(array.physicalSize(), array.length());
    }
}

TYPED_TEST(TarrayFamily, TakesItsOwnElementsWhileGrowing) {
    using T = typename TypeParam::Element;
    TypeParam array(4);
    for (unsigned k = 0; k < 4; ++k)
        array.addLast(makeValue<T>(k));
    ASSERT_EQ(array.physicalSize(), array.length());
    Model<T> model(array.data(), array.data() + 4);

    array.addLast(array[0]);
    model.push_back(model[0]);
    while (array.length() < array.physicalSize()) {
        array.addLast(array.last());
        model.push_back(model.back());
    }
    array.insert(array.last(), 0);
    model.insert(model.begin(), model.back());
    while (array.length() < array.physicalSize()) {
        array.addLast(makeValue<T>(9));
        model.push_back(makeValue<T>(9));
    }
    array.insert(array.data() + 1, 3, 2);
    const Model<T> moved(model.begin() + 1, model.begin() + 4);
    model.insert(model.begin() + 2, moved.begin(), moved.end());
    expectMatches(array, model);

    while (array.length() < array.physicalSize())
        array.addLast(makeValue<T>(10));
    model.resize(array.length(), makeValue<T>(10));
    array.catenate(array);
    const Model<T> doubled(model);
    model.insert(model.end(), doubled.begin(), doubled.end());
    expectMatches(array, model);

    array.createAndSet(array[3], 7, 2);
    expectMatches(array, Model<T>(7, model[3]));
}

TYPED_TEST(TarrayFamily, ClampsRangesAtTheEnds) {
    using T = typename TypeParam::Element;
    TypeParam empty;
    TuInt32 index = 99;
    EXPECT_EQ(empty.find(makeValue<T>(1), index), kArrayNotFound);
    EXPECT_EQ(index, 0u);
    EXPECT_EQ(empty.remove(makeValue<T>(1)), kArrayNotFound);

    TypeParam source;
    for (unsigned k = 0; k < 5; ++k)
        source.addLast(makeValue<T>(k));
    TypeParam array;
    array.copy(source, 3, 100);
    expectMatches(array, {makeValue<T>(3), makeValue<T>(4)});
    array.catenate(source, 7, 1);
    array.catenate(empty);
    EXPECT_EQ(array.length(), 2u);
    array.copy(source, 2);
    expectMatches(array, {makeValue<T>(0), makeValue<T>(1)});
    array.copy(empty);
    EXPECT_EQ(array.length(), 0u);

    array.copy(source);
    array.removeAt(4, 5);
    array.removeAt(4, 1);
    EXPECT_EQ(array.length(), 4u);
    array.removeAt(3, 0); // the last element goes whatever the count
    EXPECT_EQ(array.length(), 3u);
}

TYPED_TEST(TarrayFamily, SwapExchangesStorageWithoutCopying) {
    using T = typename TypeParam::Element;
    TypeParam a(3);
    TypeParam b(7);
    for (unsigned k = 0; k < 5; ++k)
        a.addLast(makeValue<T>(k));
    b.addLast(makeValue<T>(9));
    const T* aData = a.data();
    const T* bData = b.data();
    const TuInt32 aPhysical = a.physicalSize();
    a.swap(b);
    EXPECT_EQ(a.data(), bData);
    EXPECT_EQ(b.data(), aData);
    EXPECT_EQ(a.length(), 1u);
    EXPECT_EQ(b.length(), 5u);
    EXPECT_EQ(b.physicalSize(), aPhysical);
    EXPECT_EQ(a.sizeIncrement(), 7u);
}

// -- Sorted members ------------------------------------------------------------------

template <class T>
T sortedValue(unsigned k) {
    if constexpr (std::is_pointer<T>::value) {
        return reinterpret_cast<T>(std::uintptr_t(k + 1) * 16);
    } else if constexpr (std::is_same<T, Tstring>::value) {
        Tstring s("n");
        s += Tstring::cformatString("%u", k); // natural order: n9 < n10
        return s;
    } else if constexpr (std::is_same<T, TanimTime>::value) {
        return TanimTime(Tint32(k) - 50);
    } else {
        return static_cast<T>(k);
    }
}

template <class Array>
class TsortedArrayFamily : public ::testing::Test {};

using SortedMembers =
    ::testing::Types<TvoidPtrSortedArray, TsortedStringArray, TsortedClientServerPtrArray, TsortedObjectGroupIdArray,
                     TdoubleSortedArray, TuInt16SortedArray, TuInt32SortedArray, TuInt64SortedArray,
                     TanimTimeSortedArray>;
TYPED_TEST_SUITE(TsortedArrayFamily, SortedMembers);

TYPED_TEST(TsortedArrayFamily, DuplicatesGoBeforeTheirEqualRunOrAreRefused) {
    using T = typename TypeParam::Element;
    const auto v = [](unsigned k) { return sortedValue<T>(k); };
    TypeParam unique(false, 2);
    TypeParam repeated(true, 2);
    for (unsigned k : {5u, 1u, 9u, 3u, 7u, 10u}) {
        EXPECT_EQ(unique.insert(v(k)), kArrayOk);
        EXPECT_EQ(repeated.insert(v(k)), kArrayOk);
    }
    EXPECT_EQ(unique.insert(v(5)), kArrayRefused);
    EXPECT_EQ(unique.insert(v(1)), kArrayRefused);
    EXPECT_EQ(unique.length(), 6u);
    for (TuInt32 i = 0; i < 6; ++i)
        EXPECT_TRUE(unique[i] == v(std::vector<unsigned>{1, 3, 5, 7, 9, 10}[i]));

    EXPECT_EQ(repeated.insert(v(5)), kArrayOk);
    EXPECT_EQ(repeated.insert(v(5)), kArrayOk);
    TuInt32 first = 0;
    TuInt32 count = 0;
    EXPECT_EQ(repeated.find(v(5), first, count), kArrayOk);
    EXPECT_EQ(first, 2u);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(repeated.find(v(6), first, count), kArrayRefused);
    EXPECT_EQ(first, 5u); // where it would go
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(repeated.remove(v(5)), kArrayOk);
    EXPECT_EQ(repeated.remove(v(4)), kArrayRefused);
    EXPECT_EQ(repeated.length(), 7u);
}

TYPED_TEST(TsortedArrayFamily, PlacedInsertAndChangeKeepTheOrder) {
    using T = typename TypeParam::Element;
    const auto v = [](unsigned k) { return sortedValue<T>(k); };
    TypeParam unique(false);
    TypeParam repeated(true);
    for (unsigned k : {2u, 4u, 6u}) {
        unique.insert(v(k));
        repeated.insert(v(k));
    }
    EXPECT_EQ(unique.insert(v(3), 2), kArrayRefused);
    EXPECT_EQ(unique.insert(v(4), 1), kArrayRefused); // equal neighbour
    EXPECT_EQ(repeated.insert(v(4), 1), kArrayOk);
    EXPECT_EQ(unique.insert(v(5), 2), kArrayOk);
    EXPECT_EQ(unique.insert(v(8), 99), kArrayOk); // clamped to the end
    EXPECT_EQ(unique.length(), 5u);

    EXPECT_EQ(unique.change(1, v(5)), kArrayRefused);
    EXPECT_EQ(repeated.change(1, v(2)), kArrayOk);
    EXPECT_EQ(unique.change(1, v(3)), kArrayOk);
    EXPECT_EQ(unique.change(5, v(9)), kArrayRefused);
    TuInt32 index = 0;
    EXPECT_EQ(unique.find(v(3), index), kArrayOk);
    EXPECT_EQ(index, 1u);
}

TYPED_TEST(TsortedArrayFamily, SortRestoresTheOrderOfUncheckedAppends) {
    using T = typename TypeParam::Element;
    std::mt19937 random(7);
    TypeParam array(true, 3);
    std::vector<unsigned> model;
    for (int i = 0; i < 200; ++i) {
        const unsigned k = random() % 90;
        array.addLastUnsorted(sortedValue<T>(k));
        model.push_back(k);
    }
    array.sort();
    std::sort(model.begin(), model.end());
    TypeParam copy(true);
    copy.copy(array);
    ASSERT_EQ(copy.length(), model.size());
    for (TuInt32 i = 0; i < copy.length(); ++i)
        ASSERT_TRUE(copy[i] == sortedValue<T>(model[i])) << i;
    for (unsigned k = 0; k < 90; ++k) {
        TuInt32 first = 0;
        TuInt32 count = 0;
        const auto run = std::equal_range(model.begin(), model.end(), k);
        const int result = copy.find(sortedValue<T>(k), first, count);
        EXPECT_EQ(first, TuInt32(run.first - model.begin()));
        EXPECT_EQ(count, TuInt32(run.second - run.first));
        EXPECT_EQ(result, count ? kArrayOk : kArrayRefused);
    }
}

} // namespace
