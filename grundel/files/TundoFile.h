#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/TarrayOf.h"
#include "grundel/core/Tstring.h"
#include "grundel/core/Ttypes.h"

/// One stored version of a user's file in an undo store: where the copy lies,
/// which file it came from, its size and the version number of the group
/// (command) that stored it.
struct GRUNDEL_API TundoFile {
    Tstring fUndoName;
    Tstring fSourceName;
    TuInt32 fSize = 0;
    TuInt32 fVersion = 0;
};

/// The stored versions of a TfileManager, oldest first.
GRUNDEL_OBJECT_ARRAY(TundoFileArray, TundoFile);
