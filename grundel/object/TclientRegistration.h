#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/object/TclientServer.h"

/// One registration of a client with a server, removed when this object
/// dies: a client that keeps its registrations in members of this type
/// cannot leave a pointer to itself in a server after it is gone.
///
///     class Viewer : public Tclient {
///         TclientRegistration fWatch;
///     public:
///         explicit Viewer(TclientServer* scene) : fWatch(scene, this) {}
///     };
///
/// The registration follows its server's life: when the server is destroyed
/// first, or moves its clients to another server (transferClients, as
/// triggers do), this object lets go of it or follows the move. Dying or
/// reset() inside a notification of that server is safe: the entry is only
/// marked and the client receives nothing more (see TclientServer).
///
/// It removes whatever registration the client has for that class on the
/// server when it ends, also one that was removed and made again by other
/// means meanwhile. Movable, not copyable. Main thread only, like servers.
class GRUNDEL_API TclientRegistration {
public:
    /// Holds no registration.
    TclientRegistration() noexcept = default;
    /// Registers client with server for messageClass, as
    /// TclientServer::addClient does (a null callback picks the default).
    /// When that registers nothing (null arguments, or a registration that
    /// already exists and so belongs to someone else), this object holds
    /// nothing: see active().
    TclientRegistration(TclientServer* server, Tclient* client,
                        Tmetaclass* messageClass = TserverModifiedMsg::sMetaclass(),
                        TclientCallback callback = nullptr);
    TclientRegistration(TclientRegistration&& other) noexcept;
    /// Removes this object's registration, then takes other's.
    TclientRegistration& operator=(TclientRegistration&& other) noexcept;
    TclientRegistration(const TclientRegistration&) = delete;
    TclientRegistration& operator=(const TclientRegistration&) = delete;
    /// Removes the registration (see reset()).
    ~TclientRegistration() { reset(); }

    /// Removes the registration from its server now, if the server is still
    /// alive; afterwards this object holds nothing.
    void reset() noexcept;
    /// Lets go of the registration without removing it: the client must
    /// then remove itself before it dies.
    void release() noexcept;

    /// True while this object holds a registration on a live server.
    bool active() const noexcept { return fServer != nullptr; }
    explicit operator bool() const noexcept { return active(); }
    /// The server (null when inactive; after a transfer, the new server).
    TclientServer* server() const noexcept { return fServer; }
    Tclient* client() const noexcept { return fClient; }
    Tmetaclass* messageClass() const noexcept { return fMessageClass; }

private:
    friend class TclientServer;

    void link(TclientServer* server);
    void unlink() noexcept;
    void take(TclientRegistration& other) noexcept;
    // For the server: it dies, or moves (client, class) to another server.
    static void serverDestroyed(TclientServer* server) noexcept;
    static void clientMoved(TclientServer* from, TclientServer* to, const Tclient* client,
                            const Tmetaclass* messageClass);

    TclientServer* fServer = nullptr;
    Tclient* fClient = nullptr;
    Tmetaclass* fMessageClass = nullptr;
    // The live registrations of one server, doubly linked.
    TclientRegistration* fPrev = nullptr;
    TclientRegistration* fNext = nullptr;
};
