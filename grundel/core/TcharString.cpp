#include "grundel/core/TcharString.h"

const char TcharString::gNil[1] = {'\0'};
