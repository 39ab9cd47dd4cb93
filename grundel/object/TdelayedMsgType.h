#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

class Tmetaclass;

/// A message class whose delivery is held back, with the nesting count of the
/// delays in force. This holds the data layout.
struct GRUNDEL_API TdelayedMsgType {
    TdelayedMsgType() noexcept = default;
    TdelayedMsgType(Tmetaclass* messageClass, Tint32 count) noexcept : fMessageClass(messageClass), fCount(count) {}

    friend bool operator==(const TdelayedMsgType& a, const TdelayedMsgType& b) noexcept {
        return a.fMessageClass == b.fMessageClass && a.fCount == b.fCount;
    }
    friend bool operator!=(const TdelayedMsgType& a, const TdelayedMsgType& b) noexcept { return !(a == b); }

    Tmetaclass* fMessageClass = nullptr;
    Tint32 fCount = 0;
};
