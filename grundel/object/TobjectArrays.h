#pragma once

// The array-family members of the object area (see grundel/core/Tarrays.h).

#include "grundel/core/TarrayOf.h"
#include "grundel/object/TdelayedMsgType.h"
#include "grundel/object/TmessageData.h"

class TclientServer;
class Tmetaclass;
class TnameObject;
class Ttrigger;

GRUNDEL_PLAIN_ARRAY(TtriggerPtrArray, Ttrigger*);
GRUNDEL_PLAIN_ARRAY(TnameObjectPtrArray, TnameObject*);

GRUNDEL_OBJECT_ARRAY(TdelayedMsgTypeArray, TdelayedMsgType);
GRUNDEL_OBJECT_ARRAY(TtypeidArray, Tmetaclass*);
GRUNDEL_OBJECT_ARRAY(TclientServerPtrArray, TclientServer*);
GRUNDEL_OBJECT_ARRAY(TmessageArray, TmessageData);

GRUNDEL_SORTED_ARRAY(TsortedClientServerPtrArray, TclientServer*);
