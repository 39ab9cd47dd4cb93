#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/object/TclientServer.h"

#include <memory>

class TdelayedMsgTypeArray;
class TserverMsgPtrList;

/// A server that can hold back messages of chosen classes while a delay is
/// in force and deliver them, coalesced, when it ends.
///
/// While a class (or an ancestor of it) is delayed, notifyClients() keeps at
/// most one pending copy per message that merge() refuses: a message whose
/// pending copy of the same exact class accepts it through merge() is folded
/// in, and that copy moves to the end of the queue. With the root's merge()
/// one message per class is pending, with the content of its first
/// occurrence, and the queue is delivered in the order of each class's
/// latest occurrence.
///
/// Delays nest per class: n calls with true need n calls with false. The
/// delay entries are ordered so that a derived class stands before its
/// ancestors. Pending messages are owned copies, made through the message's
/// class record (a class that cannot be made that way is delivered at once)
/// and dropped when the server is destroyed. Main thread only.
class GRUNDEL_API TdelayedClientServer : public TclientServer {
    GRUNDEL_CLASS(TdelayedClientServer)

public:
    TdelayedClientServer() noexcept;
    /// A new server without clients, delays or pending messages.
    TdelayedClientServer(const TdelayedClientServer& other) noexcept;
    /// Keeps this server's own registrations, delays and pending messages.
    TdelayedClientServer& operator=(const TdelayedClientServer& other) noexcept;
    ~TdelayedClientServer() override;

    /// Queues msg when notify is on and its class is delayed; otherwise
    /// delivers it at once.
    void notifyClients(const TserverMsg& msg) override;
    /// on: one more delay of type. off: one delay less of exactly type (a
    /// delay never turned on, or of another class, changes nothing); when
    /// the last ends and the server has clients, every pending message no
    /// longer delayed is delivered and dropped, in queue order. A null type
    /// changes nothing.
    virtual void delayNotification(Tmetaclass* type, bool on);

    /// True when messages of type are held back: a delay is in force for
    /// type or for a class from which it derives.
    bool delayed(const Tmetaclass* type) const noexcept;
    /// Delivers and drops the first pending message of exactly type, if
    /// any, whether or not its class is still delayed.
    void forceNotification(const Tmetaclass* type);
    /// The delays in force, derived classes before their ancestors; null
    /// before the first delay.
    const TdelayedMsgTypeArray* delayedTypes() const noexcept { return fDelayed.get(); }

private:
    TserverMsgPtrList& pending();
    void deliverUndelayed();

    std::unique_ptr<TdelayedMsgTypeArray> fDelayed;
    std::unique_ptr<TserverMsgPtrList> fPending;
};
