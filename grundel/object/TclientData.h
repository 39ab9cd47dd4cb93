#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/TarrayOf.h"
#include "grundel/core/Ttypes.h"

#include <functional>

class Tclient;
class TclientServer;
class TserverMsg;

/// What a server calls to deliver a message to one client.
using TclientCallback = void (*)(Tclient* client, TclientServer* server, const TserverMsg& msg);

/// One client's registration for one message class: the client, its
/// callback, whether it was removed while the server was notifying (the
/// entry stays until the outermost notification ends), and whether delivery
/// to it is enabled.
struct TclientData {
    Tclient* fClient = nullptr;
    TclientCallback fCallback = nullptr;
    TuInt8 fRemoved = 0;
    TuInt8 fEnabled = 1;

    /// Enabled and not removed. Both flags hold 0 or 1, so that this is
    /// one comparison in the delivery loop.
    bool isActive() const noexcept { return fEnabled > fRemoved; }

    friend bool operator==(const TclientData& a, const TclientData& b) noexcept {
        return a.fClient == b.fClient && a.fCallback == b.fCallback && a.fRemoved == b.fRemoved &&
               a.fEnabled == b.fEnabled;
    }
    friend bool operator!=(const TclientData& a, const TclientData& b) noexcept { return !(a == b); }
};

namespace grundel::detail {
/// Client tables are ordered by client address alone.
struct TclientDataOrder {
    static int compare(const TclientData& a, const TclientData& b) noexcept {
        std::less<const Tclient*> less;
        return less(a.fClient, b.fClient) ? -1 : less(b.fClient, a.fClient) ? 1 : 0;
    }
};
} // namespace grundel::detail

/// The clients of one message class of one server, one entry per client,
/// sorted by client address.
GRUNDEL_SORTED_ARRAY(TclientArray, TclientData, grundel::detail::TclientDataOrder);
