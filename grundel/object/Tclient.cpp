#include "grundel/object/Tclient.h"

GRUNDEL_DEFINE_CLASS(Tclient, "")

Tclient::~Tclient() = default;

void Tclient::serverDeleted(TclientServer*, const TserverMsg&) {}

void Tclient::serverModified(TclientServer*, const TserverMsg&) {}

void Tclient::replaceServer(TclientServer*, TclientServer*) {}

void Tclient::serverDeletedCB(Tclient* client, TclientServer* server, const TserverMsg& msg) {
    client->serverDeleted(server, msg);
}

void Tclient::serverModifiedCB(Tclient* client, TclientServer* server, const TserverMsg& msg) {
    client->serverModified(server, msg);
}
