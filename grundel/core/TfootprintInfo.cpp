#include "grundel/core/TfootprintInfo.h"

void TfootprintInfo::setSize(TuInt64 bytes, const char* label) noexcept {
    fBytes += bytes;
    if (label)
        fLabel = label;
}

void TfootprintInfo::addPtr(const void* pointer) {
    if (pointer)
        fPointers.push_back(pointer);
}

void TfootprintInfo::clear() noexcept {
    fBytes = 0;
    fLabel = nullptr;
    fPointers.clear();
}
