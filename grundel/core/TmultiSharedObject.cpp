#include "grundel/core/TmultiSharedObject.h"

#include "grundel/core/TdebugOutput.h"
#include "grundel/core/TfootprintInfo.h"

#include <cassert>

TmultiSharedObject::~TmultiSharedObject() = default;

void TmultiSharedObject::debug(TdebugOutput& out, unsigned int) const {
    out.printf("TmultiSharedObject %p: %d references, %d writers\n", static_cast<const void*>(this),
               referenceCount(), writerCount());
}

void TmultiSharedObject::reset() {}

void TmultiSharedObject::_getFootprint(TfootprintInfo& info) const {
    info.setSize(sizeof(TmultiSharedObject), "TmultiSharedObject");
}

int TmultiSharedObject::unreference() const noexcept {
    const int left = fReferences.remove();
    assert(left >= 0 && "unreference() without a reference");
    if (left == 0)
        delete this;
    return left < 0 ? 0 : left;
}

int TmultiSharedObject::removeWriter() noexcept {
    const int left = fWriters.remove();
    if (left < 0) {
        fWriters = 0;
        return 0;
    }
    return left;
}
