#pragma once

#include "grundel/core/Tapi.h"

/// One process-wide answer that clients give back to the server notifying
/// them: the server sets it before it notifies, a client that objects
/// clears it, and the server reads it afterwards. True when made. Main
/// thread only.
class GRUNDEL_API TclientResult {
public:
    static TclientResult& instance() noexcept;

    bool get() const noexcept { return fResult; }
    void set(bool result) noexcept { fResult = result; }

private:
    TclientResult() noexcept = default;
    bool fResult = true;
};
