#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/object/Tmetaclass.h"

/// The root of every message a server sends to its clients. A message class
/// is identified by its run-time record: clients register for one exact
/// record, and a registration for a base class does not receive messages of
/// a derived class. The root carries no data.
///
/// Each message class declares its own record (GRUNDEL_CLASS) and is
/// default-constructible, so that a delayed server can make a pending copy
/// of it through the record. A class that carries data overrides copy() to
/// take that data and merge() to fold a later message into a pending one.
class GRUNDEL_API TserverMsg {
    GRUNDEL_ROOT_CLASS(TserverMsg)

public:
    TserverMsg() noexcept = default;
    TserverMsg(const TserverMsg&) noexcept = default;
    TserverMsg& operator=(const TserverMsg&) noexcept = default;
    virtual ~TserverMsg();

    /// Folds later, a message of the same class sent while this one is
    /// pending, into this one. True when it was folded in (later is then
    /// dropped); false keeps both. The root folds everything and changes
    /// nothing, so the first occurrence's content is kept.
    virtual bool merge(const TserverMsg& later);
    /// Takes other's data (other is of this class). The root has none.
    virtual void copy(const TserverMsg& other);

    /// True when the message is exactly of the class of record (not a
    /// class derived from it).
    bool operator==(const Tmetaclass* record) const noexcept { return typeof() == record; }
    bool operator!=(const Tmetaclass* record) const noexcept { return typeof() != record; }
};

/// Sent by a server when it changes (what addClient(Tclient*) registers for).
class GRUNDEL_API TserverModifiedMsg : public TserverMsg {
    GRUNDEL_CLASS(TserverModifiedMsg)
};

/// Sent by a server's destructor; only clients registered for this class
/// hear of the server's death.
class GRUNDEL_API TserverDeletedMsg : public TserverMsg {
    GRUNDEL_CLASS(TserverDeletedMsg)
};

/// Sent when a trigger fires.
class GRUNDEL_API TtriggerMsg : public TserverMsg {
    GRUNDEL_CLASS(TtriggerMsg)
};

/// Sent by a condition that fires while on.
class GRUNDEL_API TconditionOnMsg : public TserverMsg {
    GRUNDEL_CLASS(TconditionOnMsg)
};

/// Sent by a condition that fires while off.
class GRUNDEL_API TconditionOffMsg : public TserverMsg {
    GRUNDEL_CLASS(TconditionOffMsg)
};

/// A condition's change of state, for servers that report it as one class.
class GRUNDEL_API TconditionChangedMsg : public TserverMsg {
    GRUNDEL_CLASS(TconditionChangedMsg)
};
