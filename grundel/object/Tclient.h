#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/object/Tmetaclass.h"

class TclientServer;
class TserverMsg;

/// The root of everything that watches servers. A client registers with a
/// server for one message class at a time (TclientServer::addClient); the
/// default callbacks land in serverDeleted() and serverModified().
///
/// Servers hold plain pointers to their clients: a client that dies while
/// registered must first remove itself from its servers. Used on the
/// application's main thread only.
class GRUNDEL_API Tclient {
    GRUNDEL_ROOT_CLASS(Tclient)

public:
    Tclient() noexcept = default;
    Tclient(const Tclient&) noexcept = default;
    Tclient& operator=(const Tclient&) noexcept = default;
    virtual ~Tclient();

    /// The server is being destroyed (only for a registration for
    /// TserverDeletedMsg). Does nothing here.
    virtual void serverDeleted(TclientServer* server, const TserverMsg& msg);
    /// The server reports a message through the default callback. Does
    /// nothing here.
    virtual void serverModified(TclientServer* server, const TserverMsg& msg);
    /// The registrations on oldServer are moving to newServer (called once
    /// per registration, before it moves). Does nothing here.
    virtual void replaceServer(TclientServer* oldServer, TclientServer* newServer);

    /// Default callbacks: call client->serverDeleted() or serverModified().
    static void serverDeletedCB(Tclient* client, TclientServer* server, const TserverMsg& msg);
    static void serverModifiedCB(Tclient* client, TclientServer* server, const TserverMsg& msg);
};
