#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/object/Tmetaclass.h"

/// A message class whose delivery a delayed server holds back, with the
/// nesting count of the delays in force for exactly that class.
struct GRUNDEL_API TdelayedMsgType {
    TdelayedMsgType() noexcept = default;
    TdelayedMsgType(Tmetaclass* messageClass, Tint32 count) noexcept : fMessageClass(messageClass), fCount(count) {}

    /// True when this entry holds back messages of type: type is the
    /// entry's class or derives from it. False for a null type.
    bool delays(const Tmetaclass* type) const noexcept {
        return type && (type == fMessageClass || type->istype(fMessageClass));
    }

    friend bool operator==(const TdelayedMsgType& a, const TdelayedMsgType& b) noexcept {
        return a.fMessageClass == b.fMessageClass && a.fCount == b.fCount;
    }
    friend bool operator!=(const TdelayedMsgType& a, const TdelayedMsgType& b) noexcept { return !(a == b); }

    Tmetaclass* fMessageClass = nullptr;
    Tint32 fCount = 0;
};
