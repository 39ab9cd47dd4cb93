#pragma once

// Every public header of the library.

#include "grundel/core/Tapi.h"
#include "grundel/core/TcharString.h"
#include "grundel/core/TdebugOutput.h"
#include "grundel/core/Texception.h"
#include "grundel/core/TfootprintInfo.h"
#include "grundel/core/TmtRefCounter.h"
#include "grundel/core/TnameString.h"
#include "grundel/core/Tstring.h"
#include "grundel/core/TstringEscape.h"
#include "grundel/core/TstringId.h"
#include "grundel/core/Ttypes.h"
#include "grundel/core/VornEnv.h"
