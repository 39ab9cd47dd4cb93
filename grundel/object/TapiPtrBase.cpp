#include "grundel/object/TapiPtrBase.h"

TapiPtrBase::~TapiPtrBase() = default;

const char* TapiPtrBase::apiTypeString() const noexcept {
    switch (apiType()) {
    case kApiNamedObject: return "named object";
    case kApiNamespace: return "namespace";
    case kApiData: return "data";
    default: return "invalid";
    }
}
