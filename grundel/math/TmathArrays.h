#pragma once

// The array-family members of the math area (see grundel/core/Tarrays.h).

#include "grundel/core/TarrayOf.h"
#include "grundel/math/T3dDblPoint.h"
#include "grundel/math/T3dFltPoint.h"
#include "grundel/math/T4dDblMatrix.h"
#include "grundel/math/T4dDblPoint.h"
#include "grundel/math/T4dDblVector.h"
#include "grundel/math/T4dFltPoint.h"
#include "grundel/math/T4dFltVector.h"
#include "grundel/math/TdblPoint.h"
#include "grundel/math/TfltPoint.h"
#include "grundel/math/Tline.h"
#include "grundel/math/Tquaternion.h"
#include "grundel/math/TrotateXYZ.h"
#include "grundel/math/TuvPoint.h"
#include "grundel/math/TxformMatrix.h"

class T3dDblPointArray;
class T4dDblPointArray;
class TquaternionArray;

GRUNDEL_PLAIN_ARRAY(T4dDblVectorArray, T4dDblVector);
GRUNDEL_PLAIN_ARRAY(T4dFltVectorArray, T4dFltVector);
GRUNDEL_PLAIN_ARRAY(T4dDblPointArray, T4dDblPoint);
GRUNDEL_PLAIN_ARRAY(T3dDblPointArray, T3dDblPoint);
GRUNDEL_PLAIN_ARRAY(T3dDblPointArrayPtrArray, T3dDblPointArray*);
GRUNDEL_PLAIN_ARRAY(T3dFltPointArray, T3dFltPoint);
GRUNDEL_PLAIN_ARRAY(T4dDblMatrixArray, T4dDblMatrix);
GRUNDEL_PLAIN_ARRAY(T4dDblPointArrayPtrArray, T4dDblPointArray*);
GRUNDEL_PLAIN_ARRAY(T4dFltPointArray, T4dFltPoint);
GRUNDEL_PLAIN_ARRAY(TquaternionArrayPtrArray, TquaternionArray*);
GRUNDEL_PLAIN_ARRAY(TrotateXYZArray, TrotateXYZ);
GRUNDEL_PLAIN_ARRAY(TuvPointArray, TuvPoint);
GRUNDEL_PLAIN_ARRAY(TxformMatrixPtrArray, TxformMatrix*);
GRUNDEL_PLAIN_ARRAY(TdblPointArray, TdblPoint);
GRUNDEL_PLAIN_ARRAY(TlineArray, Tline);
GRUNDEL_PLAIN_ARRAY(TfltLineArray, TfltLine);
GRUNDEL_PLAIN_ARRAY(TfltPointArray, TfltPoint);

GRUNDEL_OBJECT_ARRAY(TquaternionArray, Tquaternion);
GRUNDEL_OBJECT_ARRAY(TxformMatrixArray, TxformMatrix);
