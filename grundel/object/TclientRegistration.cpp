#include "grundel/object/TclientRegistration.h"

#include <unordered_map>

namespace {

// The first live registration object of each server that has any. Never
// destroyed, so that servers destroyed during exit still find it; servers
// without registration objects never look (TclientServer::fScoped).
using Theads = std::unordered_map<const TclientServer*, TclientRegistration*>;

Theads& heads() {
    static Theads* table = new Theads;
    return *table;
}

} // namespace

TclientRegistration::TclientRegistration(TclientServer* server, Tclient* client, Tmetaclass* messageClass,
                                         TclientCallback callback)
    : fClient(client), fMessageClass(messageClass) {
    if (!server || !server->addClient(client, messageClass, callback))
        return;
    try {
        link(server);
    } catch (...) {
        server->removeClient(client, messageClass);
        throw;
    }
}

TclientRegistration::TclientRegistration(TclientRegistration&& other) noexcept { take(other); }

TclientRegistration& TclientRegistration::operator=(TclientRegistration&& other) noexcept {
    if (this != &other) {
        reset();
        take(other);
    }
    return *this;
}

void TclientRegistration::reset() noexcept {
    if (!fServer)
        return;
    TclientServer* server = fServer;
    unlink();
    server->removeClient(fClient, fMessageClass);
}

void TclientRegistration::release() noexcept {
    if (fServer)
        unlink();
}

void TclientRegistration::link(TclientServer* server) {
    TclientRegistration*& head = heads()[server];
    fServer = server;
    fPrev = nullptr;
    fNext = head;
    if (head)
        head->fPrev = this;
    head = this;
    server->fScoped = 1;
}

void TclientRegistration::unlink() noexcept {
    if (fNext)
        fNext->fPrev = fPrev;
    if (fPrev) {
        fPrev->fNext = fNext;
    } else {
        const auto at = heads().find(fServer);
        if (fNext) {
            at->second = fNext;
        } else {
            heads().erase(at);
            fServer->fScoped = 0;
        }
    }
    fServer = nullptr;
    fPrev = fNext = nullptr;
}

void TclientRegistration::take(TclientRegistration& other) noexcept {
    fServer = other.fServer;
    fClient = other.fClient;
    fMessageClass = other.fMessageClass;
    fPrev = other.fPrev;
    fNext = other.fNext;
    if (fServer) {
        (fPrev ? fPrev->fNext : heads().find(fServer)->second) = this;
        if (fNext)
            fNext->fPrev = this;
    }
    other.fServer = nullptr;
    other.fPrev = other.fNext = nullptr;
}

void TclientRegistration::serverDestroyed(TclientServer* server) noexcept {
    const auto at = heads().find(server);
    if (at == heads().end())
        return;
    for (TclientRegistration* r = at->second; r;) {
        TclientRegistration* next = r->fNext;
        r->fServer = nullptr;
        r->fPrev = r->fNext = nullptr;
        r = next;
    }
    heads().erase(at);
    server->fScoped = 0;
}

void TclientRegistration::clientMoved(TclientServer* from, TclientServer* to, const Tclient* client,
                                      const Tmetaclass* messageClass) {
    const auto at = heads().find(from);
    if (at == heads().end())
        return;
    for (TclientRegistration* r = at->second; r;) {
        TclientRegistration* next = r->fNext;
        if (r->fClient == client && r->fMessageClass == messageClass) {
            r->unlink(); // may end the list of from, and so invalidate at
            r->link(to);
        }
        r = next;
    }
}
