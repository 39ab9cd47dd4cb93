#pragma once

// The generated array family, core members: arrays of numbers, strings,
// pointers and the plain types of core. One line per member, made from the
// templates of TarrayOf.h. Every member of a kind has the same operations:
//
// - plain members (on Tarray): createAndSet, operator[], data, last, insert,
//   addLast, find, remove, copy, catenate, swap, begin/end; elements are
//   plain bytes, found by comparing bytes;
// - object members (on TobjArray): the same, plus element(i); elements are
//   built, copied and released through their type and found with ==;
// - sorted members (on TsortedArray): constructed with (allowDuplicates,
//   sizeIncrement); insert, change, find, remove, sort, addLastUnsorted, copy,
//   and const begin/end.
//
// The element type is the name without "Array"; a trailing "Ptr" means a
// pointer to that type. TTuInt32Array holds TuInt32 like TuInt32Array.
//
// Each later area declares the members of its own types beside them, in one
// header of that area: TmtArrays.h (threads), TiffArrays.h (iff),
// TobjectArrays.h (object), TtimeArrays.h (time), TmathArrays.h (math),
// TcolorArrays.h (color).

#include "grundel/core/TarrayElementTypes.h"
#include "grundel/core/TarrayOf.h"
#include "grundel/core/TnameString.h"
#include "grundel/core/Tstring.h"
#include "grundel/core/Ttypes.h"

// Classes that members hold by pointer only.
class TargList;
class TbdData;
class Tcomponent;
class TobjectGroup;
class TpoolAllocator;
class TpreferenceItem;
class TvaluesArray;

// Members that other members hold by pointer.
class TbooleanArray;
class TdoubleArray;
class TfloatArray;
class TfloatArrayPtrArray;
class Tint32Array;
class TuInt32Array;
class TuInt8Array;

namespace grundel::detail {
/// A string is one pointer to a shared block, and paths hold one string.
template <>
struct TrelocatableElement<Tstring> : std::true_type {};
template <>
struct TrelocatableElement<TfilePath> : std::true_type {};
template <>
struct TrelocatableElement<Tdirectory> : std::true_type {};

/// Natural order of names (TnameString::strnumcmp): "a9" before "a10".
struct TstringNameOrder {
    static int compare(const Tstring& a, const Tstring& b) noexcept {
        return TnameString::strnumcmp(a.asC(), b.asC());
    }
};
} // namespace grundel::detail

// -- Plain members ---------------------------------------------------------------

GRUNDEL_PLAIN_ARRAY(TvoidPtrArray, void*);
GRUNDEL_PLAIN_ARRAY(TdbTraceArray, TdbTrace);
GRUNDEL_PLAIN_ARRAY(TstringPtrArray, Tstring*);
GRUNDEL_PLAIN_ARRAY(TargTypeArray, TargType);
GRUNDEL_PLAIN_ARRAY(TdoubleArray, double);
GRUNDEL_PLAIN_ARRAY(Tint32Array, Tint32);
GRUNDEL_PLAIN_ARRAY(TuInt32Array, TuInt32);
GRUNDEL_PLAIN_ARRAY(TargListPtrArray, TargList*);
GRUNDEL_PLAIN_ARRAY(TuInt32ArrayPtrArray, TuInt32Array*);
GRUNDEL_PLAIN_ARRAY(TuInt64Array, TuInt64);
GRUNDEL_PLAIN_ARRAY(TbooleanArray, Tboolean);
GRUNDEL_PLAIN_ARRAY(Tint16Array, Tint16);
GRUNDEL_PLAIN_ARRAY(TindexArray, Tindex);
GRUNDEL_PLAIN_ARRAY(T2FloatArray, T2Float);
GRUNDEL_PLAIN_ARRAY(TfloatArray, float);
GRUNDEL_PLAIN_ARRAY(TbdDataPtrArray, TbdData*);
GRUNDEL_PLAIN_ARRAY(TsurfaceDirectionArray, TsurfaceDirection);
GRUNDEL_PLAIN_ARRAY(TselectedSrfDirectionsArray, TselectedSrfDirections);
GRUNDEL_PLAIN_ARRAY(TsurfSelectedBoundaryTypeArray, TsurfSelectedBoundaryType);
GRUNDEL_PLAIN_ARRAY(TobjectGroupIdArray, TobjectGroupId);
GRUNDEL_PLAIN_ARRAY(T3FloatArray, T3Float);
GRUNDEL_PLAIN_ARRAY(T3DoubleArray, T3Double);
GRUNDEL_PLAIN_ARRAY(TbooleanArrayPtrArray, TbooleanArray*);
GRUNDEL_PLAIN_ARRAY(TcharArray, char);
GRUNDEL_PLAIN_ARRAY(TcharPtrArray, char*);
GRUNDEL_PLAIN_ARRAY(TdoubleArrayPtrArray, TdoubleArray*);
GRUNDEL_PLAIN_ARRAY(TdoublePtrArray, double*);
GRUNDEL_PLAIN_ARRAY(TfloatArrayPtrArray, TfloatArray*);
GRUNDEL_PLAIN_ARRAY(TfloatArrayPtrArrayPtrArray, TfloatArrayPtrArray*);
GRUNDEL_PLAIN_ARRAY(TfloatPtrArray, float*);
GRUNDEL_PLAIN_ARRAY(Tint32ArrayPtrArray, Tint32Array*);
GRUNDEL_PLAIN_ARRAY(Tint64Array, Tint64);
GRUNDEL_PLAIN_ARRAY(TpointArray, Tpoint);
GRUNDEL_PLAIN_ARRAY(TrectArray, Trect);
GRUNDEL_PLAIN_ARRAY(TTuInt32Array, TuInt32);
GRUNDEL_PLAIN_ARRAY(TuInt16Array, TuInt16);
GRUNDEL_PLAIN_ARRAY(TuInt8Array, TuInt8);
GRUNDEL_PLAIN_ARRAY(TuInt8ArrayPtrArray, TuInt8Array*);
GRUNDEL_PLAIN_ARRAY(TvaluesArrayPtrArray, TvaluesArray*);
GRUNDEL_PLAIN_ARRAY(TpoolAllocatorPtrArray, TpoolAllocator*);

// -- Object members --------------------------------------------------------------

GRUNDEL_OBJECT_ARRAY(TstringArray, Tstring);
GRUNDEL_OBJECT_ARRAY(TpreferenceItemPtrArray, TpreferenceItem*);
GRUNDEL_OBJECT_ARRAY(TfilePathArray, TfilePath);
GRUNDEL_OBJECT_ARRAY(TdirectoryArray, Tdirectory);
GRUNDEL_OBJECT_ARRAY(TpolyTangentSetArray, TpolyTangentSet);
GRUNDEL_OBJECT_ARRAY(TpolyMapArray, TpolyMap);
GRUNDEL_OBJECT_ARRAY(TsurfaceIndexArray, TsurfaceIndex);
GRUNDEL_OBJECT_ARRAY(TobjectGroupPtrArray, TobjectGroup*);
GRUNDEL_OBJECT_ARRAY(TdoubleIndexLongArray, TdoubleIndexLong);
GRUNDEL_OBJECT_ARRAY(TcomponentPtrArray, Tcomponent*);
GRUNDEL_OBJECT_ARRAY(TdoubleRangeArray, TdoubleRange);

// -- Sorted members --------------------------------------------------------------

GRUNDEL_SORTED_ARRAY(TvoidPtrSortedArray, void*);
/// Strings in the natural order of names (TnameString::strnumcmp).
GRUNDEL_SORTED_ARRAY(TsortedStringArray, Tstring, grundel::detail::TstringNameOrder);
GRUNDEL_SORTED_ARRAY(TsortedObjectGroupIdArray, TobjectGroupId);
GRUNDEL_SORTED_ARRAY(TdoubleSortedArray, double);
GRUNDEL_SORTED_ARRAY(TuInt16SortedArray, TuInt16);
GRUNDEL_SORTED_ARRAY(TuInt32SortedArray, TuInt32);
GRUNDEL_SORTED_ARRAY(TuInt64SortedArray, TuInt64);
