#pragma once

#include "grundel/core/Tapi.h"

class Tmetaclass;
class TclientArray;

/// One entry of a server's message table: a message class and the table of
/// the clients registered for it. This holds the data layout.
struct GRUNDEL_API TmessageData {
    TmessageData() noexcept = default;
    TmessageData(Tmetaclass* messageClass, TclientArray* clients) noexcept
        : fMessageClass(messageClass), fClients(clients) {}

    friend bool operator==(const TmessageData& a, const TmessageData& b) noexcept {
        return a.fMessageClass == b.fMessageClass && a.fClients == b.fClients;
    }
    friend bool operator!=(const TmessageData& a, const TmessageData& b) noexcept { return !(a == b); }

    Tmetaclass* fMessageClass = nullptr;
    TclientArray* fClients = nullptr;
};
