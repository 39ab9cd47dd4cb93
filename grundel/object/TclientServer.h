#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/object/Tclient.h"
#include "grundel/object/TclientData.h"
#include "grundel/object/Tmetaclass.h"
#include "grundel/object/TserverMsg.h"

#include <functional>
#include <memory>

class TmessageArray;

/// Set once when the application is closing. While it is set no server
/// delivers anything and transferClients() does nothing.
extern GRUNDEL_API bool g_bClosing;

/// The root of every object that others watch. Clients register for one
/// message class at a time; notifyClients() calls the callback of every
/// client registered for the message's exact class.
///
/// Registrations live in two levels of sorted tables: the message table, by
/// class record, and one client table per class, by client address. A
/// notification costs one binary search and one pass over the clients of
/// that class, in ascending client address. Emptied client tables go to one
/// process-wide pool of at most 256 spare tables (each keeping room for up
/// to 64 clients), from which new classes take theirs.
///
/// Changing registrations inside a callback is safe:
/// - a removal during a notification of this server only marks the entry
///   (it no longer receives anything and no longer counts); the entries are
///   swept when the outermost notification of this server ends;
/// - a client removed and added again inside the same notification keeps
///   its first callback;
/// - a delivery walks the positions 0 to n - 1 of the client table, n being
///   its size when delivery began, reading each position when it reaches
///   it. A client added during delivery receives the current message only
///   if its entry lands at a position after the current one and below n.
///   Any insertion below n shifts the entries behind it: an insertion at or
///   before the current position brings the current entry round again, and
///   entries pushed to n or beyond miss the current message.
///
/// Servers hold plain pointers to their clients; a client that dies must
/// remove itself first, which a TclientRegistration member does for it. A server must not be destroyed inside one of its
/// own notifications. Servers, tables, the pool and the count are used on
/// the application's main thread only, without locks.
class GRUNDEL_API TclientServer {
    GRUNDEL_ROOT_CLASS(TclientServer)

public:
    /// A server without clients, notify on.
    TclientServer() noexcept;
    /// A new server: registrations are not copied, notify is on.
    TclientServer(const TclientServer& other) noexcept;
    /// Keeps this server's own registrations and switches.
    TclientServer& operator=(const TclientServer& other) noexcept;
    /// Sends TserverDeletedMsg through notifyClients() (so only clients
    /// registered for that class hear of it), then drops every registration.
    virtual ~TclientServer();

    /// Delivers msg to the enabled clients registered for msg's exact class.
    /// Nothing happens while g_bClosing is set, while notify is off, or in a
    /// notification nested 255 deep in this server.
    virtual void notifyClients(const TserverMsg& msg);
    /// Delivers msg to client alone, under the same conditions and only if
    /// it is registered (and enabled) for msg's exact class.
    virtual void notifyClient(Tclient* client, const TserverMsg& msg);
    /// Called after each registration is made or revived. Does nothing here.
    virtual void addClientHook(Tclient* client, Tmetaclass* messageClass);
    /// Called after each registration is removed, and once with a null class
    /// after removeClient(client) removed anything. Does nothing here.
    virtual void removeClientHook(Tclient* client, Tmetaclass* messageClass);

    /// Registers client for TserverModifiedMsg with the default callback.
    bool addClient(Tclient* client);
    /// Registers client for messageClass. A null callback stands for
    /// Tclient::serverDeletedCB for TserverDeletedMsg and for
    /// Tclient::serverModifiedCB for any other class. True when a
    /// registration was made (or a removal inside the current notification
    /// undone, the first callback kept); false, with nothing changed, for a
    /// null client or class or an existing registration.
    bool addClient(Tclient* client, Tmetaclass* messageClass, TclientCallback callback = nullptr);
    /// Up to five (class, callback) pairs, stopping at the first null class.
    /// Returns the number of registrations made.
    int addClient(Tclient* client, Tmetaclass* class1, TclientCallback callback1, Tmetaclass* class2,
                  TclientCallback callback2, Tmetaclass* class3 = nullptr, TclientCallback callback3 = nullptr,
                  Tmetaclass* class4 = nullptr, TclientCallback callback4 = nullptr,
                  Tmetaclass* class5 = nullptr, TclientCallback callback5 = nullptr);
    /// Removes client's registration for messageClass. 0 when removed, -1
    /// when there was none (unknown client or class, null arguments, or
    /// already removed in the current notification).
    int removeClient(Tclient* client, Tmetaclass* messageClass);
    /// Removes client from every class, last class first. 0 when anything
    /// was removed, -1 otherwise.
    int removeClient(Tclient* client);

    /// Queries: entries removed during the current notification do not
    /// count; disabled ones do.
    bool hasClient(const Tclient* client) const noexcept;
    bool hasClient(const Tclient* client, const Tmetaclass* messageClass) const noexcept;
    bool hasClients() const noexcept;
    /// The number of registrations (a client registered for two classes
    /// counts twice).
    TuInt32 numClients() const noexcept;
    /// True when some client is registered for exactly messageClass.
    bool hasMessage(const Tmetaclass* messageClass) const noexcept;

    /// Moves every registration to to, with its class and callback, calling
    /// client->replaceServer(this, to) before each. Returns the number of
    /// registrations moved: 0 while g_bClosing is set, for a null to, or
    /// for to == this. A client already registered on to for a class keeps
    /// its registration there and loses the one here.
    int transferClients(TclientServer* to);
    /// Calls visit for each registration (client, class), class by class.
    /// visit may change the registrations; removed entries are skipped.
    void debugIterate(const std::function<void(Tclient*, Tmetaclass*)>& visit);

    /// Turns delivery by this server on or off. Returns the old setting.
    bool setClientNotify(bool on) noexcept;
    bool notifyOn() const noexcept { return fNotifyOn != 0; }
    /// Enables or disables delivery to client in each of its registrations.
    /// Returns the previous setting of the last registration changed, false
    /// when the client has none.
    bool setClientNotify(Tclient* client, bool on) noexcept;
    /// True inside a notification of this server.
    bool isNotifying() const noexcept { return fDepth != 0; }

    /// Registrations in all servers.
    static Tint32 totalClients() noexcept { return fsTotalClients; }
    static Tint32 fsTotalClients;
    /// Client tables waiting in the process-wide pool (at most 256).
    static TuInt32 spareClientTables() noexcept;

protected:
    /// True when client is registered for exactly messageClass.
    bool hasClientMessage(Tclient* client, Tmetaclass* messageClass) const noexcept;
    /// True when a message of messageClass sent now would reach client:
    /// the registration exists and is enabled, notify is on and the
    /// application is not closing.
    bool acceptsMessage(Tclient* client, Tmetaclass* messageClass) const noexcept;

private:
    friend class TclientRegistration;
    class Notifying;
    static constexpr TuInt8 kMaxDepth = 255;

    TclientArray* clientsOf(const Tmetaclass* messageClass) const noexcept;
    const TclientData* entryOf(const Tclient* client, const Tmetaclass* messageClass) const noexcept;
    bool removeEntry(TuInt32 messageIndex, Tclient* client);
    void sweep();

    std::unique_ptr<TmessageArray> fMessages;
    TuInt8 fDepth = 0;
    TuInt8 fRemovalPending = 0;
    TuInt8 fNotifyOn = 1;
    // Set while TclientRegistration objects refer to this server.
    TuInt8 fScoped = 0;
};
