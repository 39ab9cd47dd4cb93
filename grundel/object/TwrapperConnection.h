#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/object/Tmetaclass.h"

/// The polymorphic base of the objects that connect a plug-in wrapper to
/// what it watches. It holds nothing itself.
class GRUNDEL_API TwrapperConnection {
    GRUNDEL_ROOT_CLASS(TwrapperConnection)

public:
    TwrapperConnection() noexcept = default;
    TwrapperConnection(const TwrapperConnection&) noexcept = default;
    TwrapperConnection& operator=(const TwrapperConnection&) noexcept = default;
    virtual ~TwrapperConnection();
};
