#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/object/TclientServer.h"

/// A server that only passes messages on: anyone may post() to it, and its
/// clients hear every message of the classes they registered for. The
/// process has one board, messageBoard(); main thread only.
class GRUNDEL_API TmessageCenter : public TclientServer {
    GRUNDEL_CLASS(TmessageCenter)

public:
    TmessageCenter() noexcept;
    ~TmessageCenter() override;

    /// The process-wide board, made on first use and kept until the
    /// process ends. Never null.
    static TmessageCenter* messageBoard();
    /// Delivers msg to the board's clients (notifyClients()).
    void post(const TserverMsg& msg) { notifyClients(msg); }
};
