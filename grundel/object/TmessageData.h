#pragma once

#include "grundel/core/Tapi.h"

#include <cstdint>

class Tmetaclass;
class TclientArray;

/// One entry of a server's message table: a message class and the table of
/// the clients registered for it (owned by the server). A message table is
/// kept sorted by class record address, one entry per class, so that a
/// notification finds its clients with one binary search.
struct GRUNDEL_API TmessageData {
    TmessageData() noexcept = default;
    TmessageData(Tmetaclass* messageClass, TclientArray* clients) noexcept
        : fMessageClass(messageClass), fClients(clients) {}

    /// The order of a message table: true when entry sorts before the
    /// entry of messageClass.
    static bool before(const TmessageData& entry, const Tmetaclass* messageClass) noexcept {
        // Addresses as integers: a total order, as std::less gives pointers.
        return reinterpret_cast<std::uintptr_t>(entry.fMessageClass) < reinterpret_cast<std::uintptr_t>(messageClass);
    }

    friend bool operator==(const TmessageData& a, const TmessageData& b) noexcept {
        return a.fMessageClass == b.fMessageClass && a.fClients == b.fClients;
    }
    friend bool operator!=(const TmessageData& a, const TmessageData& b) noexcept { return !(a == b); }

    Tmetaclass* fMessageClass = nullptr;
    TclientArray* fClients = nullptr;
};
