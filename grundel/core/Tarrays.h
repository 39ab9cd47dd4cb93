#pragma once

// The generated array family: one line per member, made from the templates
// of TarrayOf.h. Every member of a kind has the same set of operations:
//
// - plain members (on Tarray): createAndSet, operator[], data, last, insert,
//   addLast, find, remove, copy, catenate, swap; elements are plain bytes,
//   found by comparing bytes;
// - object members (on TobjArray): the same, plus element(i); elements are
//   built, copied and released through their type and found with ==;
// - sorted members (on TsortedArray): constructed with (allowDuplicates,
//   sizeIncrement); insert, change, find, remove, sort, addLastUnsorted, copy.
//
// The element type is the name without "Array"; a trailing "Ptr" means a
// pointer to that type. TTuInt32Array holds TuInt32 like TuInt32Array.

#include "grundel/core/TarrayElementTypes.h"
#include "grundel/core/TarrayOf.h"
#include "grundel/core/TnameString.h"
#include "grundel/core/Tstring.h"
#include "grundel/core/Ttypes.h"
#include "grundel/color/TportColor.h"
#include "grundel/iff/TiffTag.h"
#include "grundel/math/T3dDblPoint.h"
#include "grundel/math/T3dFltPoint.h"
#include "grundel/math/T4dDblMatrix.h"
#include "grundel/math/T4dDblPoint.h"
#include "grundel/math/T4dDblVector.h"
#include "grundel/math/T4dFltPoint.h"
#include "grundel/math/T4dFltVector.h"
#include "grundel/math/TdblPoint.h"
#include "grundel/math/TfltPoint.h"
#include "grundel/math/Tquaternion.h"
#include "grundel/math/TrotateXYZ.h"
#include "grundel/math/TuvPoint.h"
#include "grundel/math/TxformMatrix.h"
#include "grundel/object/TdelayedMsgType.h"
#include "grundel/object/TmessageData.h"
#include "grundel/time/TanimTime.h"
#include "grundel/time/TtimeValue.h"

#include <type_traits>

// Classes that members hold by pointer only.
class TargList;
class TbdData;
class TclientServer;
class Tcomponent;
class Tmetaclass;
class TmtThread;
class TnameObject;
class TobjectGroup;
class TpixelMap;
class TpoolAllocator;
class TpreferenceItem;
class Ttrigger;
class TvaluesArray;

// Members that other members hold by pointer.
class T3dDblPointArray;
class T4dDblPointArray;
class TbooleanArray;
class TdoubleArray;
class TfloatArray;
class TfloatArrayPtrArray;
class Tint32Array;
class TquaternionArray;
class TtimeValueArray;
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
/// Animation times by their ticks.
struct TanimTimeOrder {
    static int compare(TanimTime a, TanimTime b) noexcept {
        return a.inTicks() < b.inTicks() ? -1 : a.inTicks() > b.inTicks() ? 1 : 0;
    }
};
} // namespace grundel::detail

// -- Plain members ---------------------------------------------------------------

GRUNDEL_PLAIN_ARRAY(TvoidPtrArray, void*);
GRUNDEL_PLAIN_ARRAY(TdbTraceArray, TdbTrace);
GRUNDEL_PLAIN_ARRAY(TstringPtrArray, Tstring*);
GRUNDEL_PLAIN_ARRAY(TargTypeArray, TargType);
GRUNDEL_PLAIN_ARRAY(TtriggerPtrArray, Ttrigger*);
GRUNDEL_PLAIN_ARRAY(TdoubleArray, double);
GRUNDEL_PLAIN_ARRAY(Tint32Array, Tint32);
GRUNDEL_PLAIN_ARRAY(TiffTagArray, TiffTag);
GRUNDEL_PLAIN_ARRAY(TnameObjectPtrArray, TnameObject*);
GRUNDEL_PLAIN_ARRAY(TuInt32Array, TuInt32);
GRUNDEL_PLAIN_ARRAY(TargListPtrArray, TargList*);
GRUNDEL_PLAIN_ARRAY(TuInt32ArrayPtrArray, TuInt32Array*);
GRUNDEL_PLAIN_ARRAY(TuInt64Array, TuInt64);
GRUNDEL_PLAIN_ARRAY(T4dDblVectorArray, T4dDblVector);
GRUNDEL_PLAIN_ARRAY(TbooleanArray, Tboolean);
GRUNDEL_PLAIN_ARRAY(Tint16Array, Tint16);
GRUNDEL_PLAIN_ARRAY(TindexArray, Tindex);
GRUNDEL_PLAIN_ARRAY(T4dFltVectorArray, T4dFltVector);
GRUNDEL_PLAIN_ARRAY(T2FloatArray, T2Float);
GRUNDEL_PLAIN_ARRAY(TfloatArray, float);
GRUNDEL_PLAIN_ARRAY(TbdDataPtrArray, TbdData*);
GRUNDEL_PLAIN_ARRAY(TsurfaceDirectionArray, TsurfaceDirection);
GRUNDEL_PLAIN_ARRAY(TselectedSrfDirectionsArray, TselectedSrfDirections);
GRUNDEL_PLAIN_ARRAY(TsurfSelectedBoundaryTypeArray, TsurfSelectedBoundaryType);
GRUNDEL_PLAIN_ARRAY(TobjectGroupIdArray, TobjectGroupId);
GRUNDEL_PLAIN_ARRAY(T4dDblPointArray, T4dDblPoint);
GRUNDEL_PLAIN_ARRAY(T3dDblPointArray, T3dDblPoint);
GRUNDEL_PLAIN_ARRAY(T3dDblPointArrayPtrArray, T3dDblPointArray*);
GRUNDEL_PLAIN_ARRAY(T3dFltPointArray, T3dFltPoint);
GRUNDEL_PLAIN_ARRAY(T3FloatArray, T3Float);
GRUNDEL_PLAIN_ARRAY(T3DoubleArray, T3Double);
GRUNDEL_PLAIN_ARRAY(T4dDblMatrixArray, T4dDblMatrix);
GRUNDEL_PLAIN_ARRAY(T4dDblPointArrayPtrArray, T4dDblPointArray*);
GRUNDEL_PLAIN_ARRAY(T4dFltPointArray, T4dFltPoint);
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
GRUNDEL_PLAIN_ARRAY(TquaternionArrayPtrArray, TquaternionArray*);
GRUNDEL_PLAIN_ARRAY(TrectArray, Trect);
GRUNDEL_PLAIN_ARRAY(TrotateXYZArray, TrotateXYZ);
GRUNDEL_PLAIN_ARRAY(TTuInt32Array, TuInt32);
GRUNDEL_PLAIN_ARRAY(TuInt16Array, TuInt16);
GRUNDEL_PLAIN_ARRAY(TuInt8Array, TuInt8);
GRUNDEL_PLAIN_ARRAY(TuInt8ArrayPtrArray, TuInt8Array*);
GRUNDEL_PLAIN_ARRAY(TuvPointArray, TuvPoint);
GRUNDEL_PLAIN_ARRAY(TvaluesArrayPtrArray, TvaluesArray*);
GRUNDEL_PLAIN_ARRAY(TxformMatrixPtrArray, TxformMatrix*);
GRUNDEL_PLAIN_ARRAY(TdblPointArray, TdblPoint);
GRUNDEL_PLAIN_ARRAY(TlineArray, Tline);
GRUNDEL_PLAIN_ARRAY(TtimeValueArray, TtimeValue);
GRUNDEL_PLAIN_ARRAY(TtimeValuePtrArray, TtimeValue*);
GRUNDEL_PLAIN_ARRAY(TtimeValueArrayPtrArray, TtimeValueArray*);
GRUNDEL_PLAIN_ARRAY(TpoolAllocatorPtrArray, TpoolAllocator*);
GRUNDEL_PLAIN_ARRAY(TportColorArray, TportColor);
GRUNDEL_PLAIN_ARRAY(TpixelMapPtrArray, TpixelMap*);
GRUNDEL_PLAIN_ARRAY(TfltLineArray, TfltLine);
GRUNDEL_PLAIN_ARRAY(TfltPointArray, TfltPoint);
GRUNDEL_PLAIN_ARRAY(TmtThreadPtrArray, TmtThread*);

// -- Object members --------------------------------------------------------------

GRUNDEL_OBJECT_ARRAY(TstringArray, Tstring);
GRUNDEL_OBJECT_ARRAY(TdelayedMsgTypeArray, TdelayedMsgType);
GRUNDEL_OBJECT_ARRAY(TtypeidArray, Tmetaclass*);
GRUNDEL_OBJECT_ARRAY(TclientServerPtrArray, TclientServer*);
GRUNDEL_OBJECT_ARRAY(TmessageArray, TmessageData);
GRUNDEL_OBJECT_ARRAY(TpreferenceItemPtrArray, TpreferenceItem*);
GRUNDEL_OBJECT_ARRAY(TfilePathArray, TfilePath);
GRUNDEL_OBJECT_ARRAY(TdirectoryArray, Tdirectory);
GRUNDEL_OBJECT_ARRAY(TpolyTangentSetArray, TpolyTangentSet);
GRUNDEL_OBJECT_ARRAY(TpolyMapArray, TpolyMap);
GRUNDEL_OBJECT_ARRAY(TsurfaceIndexArray, TsurfaceIndex);
GRUNDEL_OBJECT_ARRAY(TobjectGroupPtrArray, TobjectGroup*);
GRUNDEL_OBJECT_ARRAY(TdoubleIndexLongArray, TdoubleIndexLong);
GRUNDEL_OBJECT_ARRAY(TcomponentPtrArray, Tcomponent*);
GRUNDEL_OBJECT_ARRAY(TquaternionArray, Tquaternion);
GRUNDEL_OBJECT_ARRAY(TxformMatrixArray, TxformMatrix);
GRUNDEL_OBJECT_ARRAY(TdoubleRangeArray, TdoubleRange);
GRUNDEL_OBJECT_ARRAY(TanimTimeArray, TanimTime);

// -- Sorted members --------------------------------------------------------------

GRUNDEL_SORTED_ARRAY(TvoidPtrSortedArray, void*);
/// Strings in the natural order of names (TnameString::strnumcmp).
GRUNDEL_SORTED_ARRAY(TsortedStringArray, Tstring, grundel::detail::TstringNameOrder);
GRUNDEL_SORTED_ARRAY(TsortedClientServerPtrArray, TclientServer*);
GRUNDEL_SORTED_ARRAY(TsortedObjectGroupIdArray, TobjectGroupId);
GRUNDEL_SORTED_ARRAY(TdoubleSortedArray, double);
GRUNDEL_SORTED_ARRAY(TuInt16SortedArray, TuInt16);
GRUNDEL_SORTED_ARRAY(TuInt32SortedArray, TuInt32);
GRUNDEL_SORTED_ARRAY(TuInt64SortedArray, TuInt64);
GRUNDEL_SORTED_ARRAY(TanimTimeSortedArray, TanimTime, grundel::detail::TanimTimeOrder);
