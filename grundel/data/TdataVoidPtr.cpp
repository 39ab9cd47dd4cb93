#include "grundel/data/TdataVoidPtr.h"

#include "grundel/core/TdebugOutput.h"
#include "grundel/core/TfootprintInfo.h"
#include "grundel/data/TdataBuiltins_p.h"
#include "grundel/data/TmetaLetter.h"

GRUNDEL_DEFINE_CLASS(TdataVoidPtr, "VOID", TdataLetter)

void TdataVoidPtr::debug(TdebugOutput& out, unsigned int) const {
    out.printf("void %p: %p\n", static_cast<const void*>(this), fPointer);
}

void TdataVoidPtr::_getFootprint(TfootprintInfo& info) const { info.setSize(sizeof(TdataVoidPtr), "TdataVoidPtr"); }

bool TdataVoidPtr::operator==(const TdataLetter& other) const {
    return other.typeof() == typeof() && static_cast<const TdataVoidPtr&>(other).fPointer == fPointer;
}

namespace grundel::detail {

void registerVoidPtrLetter() { static const TmetaLetter registration(&TdataVoidPtr::fsMetaclass, TdataVoidPtr::kTypeName); }

} // namespace grundel::detail
