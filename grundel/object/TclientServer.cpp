#include "grundel/object/TclientServer.h"

#include "grundel/core/Tarrays.h"
#include "grundel/object/TobjectArrays.h"
#include "grundel/object/TclientRegistration.h"

#include <algorithm>
#include <cassert>

GRUNDEL_DEFINE_CLASS(TclientServer, "")

bool g_bClosing = false;
Tint32 TclientServer::fsTotalClients = 0;

namespace {

constexpr TuInt32 kMaxSpareTables = 256;
// A spare table keeps its storage up to this many entries, so that the pool
// stays small however crowded its tables once were.
constexpr TuInt32 kMaxSpareEntries = 64;
constexpr TuInt32 kMessageTableIncrement = 8;

// Emptied client tables, kept with their storage for the next class entry
// of any server. Plain data with no destructor, so that servers destroyed
// during exit still find it.
struct SparePool {
    TclientArray* tables[kMaxSpareTables];
    TuInt32 count;
};

SparePool& sparePool() noexcept {
    static SparePool pool;
    return pool;
}

TclientArray* takeTable() {
    SparePool& pool = sparePool();
    if (pool.count > 0)
        return pool.tables[--pool.count];
    return new TclientArray();
}

void releaseTable(TclientArray* table) noexcept {
    SparePool& pool = sparePool();
    if (pool.count < kMaxSpareTables) {
        table->reset();
        if (table->physicalSize() > kMaxSpareEntries)
            table->changePhysicalSizeTo(0);
        pool.tables[pool.count++] = table;
    } else {
        delete table;
    }
}

TclientData keyFor(const Tclient* client) noexcept {
    TclientData key;
    key.fClient = const_cast<Tclient*>(client);
    return key;
}

// The position of messageClass's entry, or where it would go.
bool findMessage(const TmessageArray& messages, const Tmetaclass* messageClass, TuInt32& index) noexcept {
    const TmessageData* begin = messages.data();
    const TmessageData* end = begin + messages.length();
    const TmessageData* at = std::lower_bound(begin, end, messageClass, TmessageData::before);
    index = static_cast<TuInt32>(at - begin);
    return at != end && at->fMessageClass == messageClass;
}

// The entries of a table whose storage moved during delivery. Out of line,
// so that the test for a move stays a branch.
[[gnu::noinline, gnu::cold]] const TclientData* movedEntries(const TclientArray& clients) noexcept {
    return &clients[0];
}

TuInt32 countActive(const TclientArray& clients) noexcept {
    TuInt32 n = 0;
    for (TuInt32 i = 0; i < clients.length(); ++i)
        n += clients[i].fRemoved ? 0 : 1;
    return n;
}

} // namespace

// Counts one level of notification of a server; the outermost level sweeps
// the entries removed meanwhile, also when a callback throws.
class TclientServer::Notifying {
public:
    explicit Notifying(TclientServer& server) noexcept : fServer(server) { ++fServer.fDepth; }
    ~Notifying() {
        if (--fServer.fDepth == 0 && fServer.fRemovalPending)
            fServer.sweep();
    }
    Notifying(const Notifying&) = delete;
    Notifying& operator=(const Notifying&) = delete;

private:
    TclientServer& fServer;
};

TclientServer::TclientServer() noexcept = default;

TclientServer::TclientServer(const TclientServer&) noexcept {}

TclientServer& TclientServer::operator=(const TclientServer&) noexcept { return *this; }

TclientServer::~TclientServer() {
    assert(fDepth == 0 && "a server is destroyed inside its own notification");
    if (fMessages) {
        TclientServer::notifyClients(TserverDeletedMsg());
        for (TuInt32 i = 0; i < fMessages->length(); ++i) {
            TclientArray* clients = (*fMessages)[i].fClients;
            fsTotalClients -= static_cast<Tint32>(countActive(*clients));
            releaseTable(clients);
        }
    }
    // Registration objects that outlive this server let go of it.
    if (fScoped)
        TclientRegistration::serverDestroyed(this);
}

TclientArray* TclientServer::clientsOf(const Tmetaclass* messageClass) const noexcept {
    TuInt32 index;
    if (!fMessages || !findMessage(*fMessages, messageClass, index))
        return nullptr;
    return (*fMessages)[index].fClients;
}

const TclientData* TclientServer::entryOf(const Tclient* client, const Tmetaclass* messageClass) const noexcept {
    const TclientArray* clients = client ? clientsOf(messageClass) : nullptr;
    TuInt32 index;
    if (!clients || clients->find(keyFor(client), index) != kArrayOk)
        return nullptr;
    const TclientData& entry = (*clients)[index];
    return entry.fRemoved ? nullptr : &entry;
}

void TclientServer::notifyClients(const TserverMsg& msg) {
    if (g_bClosing || !fMessages || !fNotifyOn || fDepth == kMaxDepth)
        return;
    TuInt32 index;
    if (!findMessage(*fMessages, msg.typeof(), index))
        return;
    TclientArray* clients = (*fMessages)[index].fClients;
    // While this server notifies, its tables stay where they are and only
    // grow (removals just mark), so n positions remain valid.
    const TuInt32 n = clients->length();
    if (n == 0)
        return;
    Notifying level(*this);
    const TclientData* entries = &(*clients)[0];
    for (TuInt32 i = 0; i < n; ++i) {
        const TclientData& entry = entries[i];
        if (!entry.isActive())
            continue;
        // The default callback only forwards: call its target directly.
        if (entry.fCallback == &Tclient::serverModifiedCB)
            entry.fClient->serverModified(this, msg);
        else
            entry.fCallback(entry.fClient, this, msg);
        // A callback that added clients may have moved the storage. Testing
        // for that, rather than reading each position through the table,
        // keeps the next entry's loads off the callback's path (a quarter
        // less time on long tables).
        if (&(*clients)[0] != entries)
            entries = movedEntries(*clients);
    }
}

void TclientServer::notifyClient(Tclient* client, const TserverMsg& msg) {
    if (g_bClosing || !fNotifyOn)
        return;
    const TclientData* entry = entryOf(client, msg.typeof());
    if (entry && entry->fEnabled)
        entry->fCallback(entry->fClient, this, msg);
}

void TclientServer::addClientHook(Tclient*, Tmetaclass*) {}

void TclientServer::removeClientHook(Tclient*, Tmetaclass*) {}

bool TclientServer::addClient(Tclient* client) {
    return addClient(client, TserverModifiedMsg::sMetaclass(), &Tclient::serverModifiedCB);
}

bool TclientServer::addClient(Tclient* client, Tmetaclass* messageClass, TclientCallback callback) {
    if (!client || !messageClass)
        return false;
    if (!callback)
        callback = messageClass == TserverDeletedMsg::sMetaclass() ? &Tclient::serverDeletedCB
                                                                     : &Tclient::serverModifiedCB;
    if (!fMessages)
        fMessages = std::make_unique<TmessageArray>(kMessageTableIncrement);
    TuInt32 messageIndex;
    if (!findMessage(*fMessages, messageClass, messageIndex)) {
        TclientArray* table = takeTable();
        try {
            fMessages->insert(TmessageData(messageClass, table), messageIndex);
        } catch (...) {
            releaseTable(table);
            throw;
        }
    }
    TclientArray* clients = (*fMessages)[messageIndex].fClients;
    TclientData entry = keyFor(client);
    TuInt32 index;
    if (clients->find(entry, index) == kArrayOk) {
        entry = (*clients)[index];
        if (fDepth == 0 || !entry.fRemoved)
            return false;
        entry.fRemoved = 0;
        clients->change(index, entry);
    } else {
        entry.fCallback = callback;
        clients->insert(entry, index);
    }
    addClientHook(client, messageClass);
    ++fsTotalClients;
    return true;
}

int TclientServer::addClient(Tclient* client, Tmetaclass* class1, TclientCallback callback1, Tmetaclass* class2,
                             TclientCallback callback2, Tmetaclass* class3, TclientCallback callback3,
                             Tmetaclass* class4, TclientCallback callback4, Tmetaclass* class5,
                             TclientCallback callback5) {
    Tmetaclass* const classes[] = {class1, class2, class3, class4, class5};
    const TclientCallback callbacks[] = {callback1, callback2, callback3, callback4, callback5};
    int added = 0;
    for (int i = 0; i < 5 && classes[i]; ++i)
        added += addClient(client, classes[i], callbacks[i]) ? 1 : 0;
    return added;
}

bool TclientServer::removeEntry(TuInt32 messageIndex, Tclient* client) {
    TclientArray* clients = (*fMessages)[messageIndex].fClients;
    TuInt32 index;
    if (clients->find(keyFor(client), index) != kArrayOk || (*clients)[index].fRemoved)
        return false;
    if (fDepth > 0) {
        TclientData entry = (*clients)[index];
        entry.fRemoved = 1;
        clients->change(index, entry);
        fRemovalPending = 1;
    } else {
        clients->removeAt(index);
        if (clients->isEmpty()) {
            releaseTable(clients);
            fMessages->removeAt(messageIndex);
        }
    }
    --fsTotalClients;
    return true;
}

int TclientServer::removeClient(Tclient* client, Tmetaclass* messageClass) {
    TuInt32 messageIndex;
    if (!client || !messageClass || !fMessages || !findMessage(*fMessages, messageClass, messageIndex) ||
        !removeEntry(messageIndex, client))
        return -1;
    removeClientHook(client, messageClass);
    return 0;
}

int TclientServer::removeClient(Tclient* client) {
    if (!client || !fMessages)
        return -1;
    bool removed = false;
    for (TuInt32 i = fMessages->length(); i-- > 0;) {
        // A hook may have changed the table meanwhile.
        if (i >= fMessages->length())
            continue;
        Tmetaclass* messageClass = (*fMessages)[i].fMessageClass;
        if (removeEntry(i, client)) {
            removed = true;
            removeClientHook(client, messageClass);
        }
    }
    if (!removed)
        return -1;
    removeClientHook(client, nullptr);
    return 0;
}

void TclientServer::sweep() {
    fRemovalPending = 0;
    if (!fMessages)
        return;
    for (TuInt32 i = fMessages->length(); i-- > 0;) {
        TclientArray* clients = (*fMessages)[i].fClients;
        for (TuInt32 j = clients->length(); j-- > 0;)
            if ((*clients)[j].fRemoved)
                clients->removeAt(j);
        if (clients->isEmpty()) {
            releaseTable(clients);
            fMessages->removeAt(i);
        }
    }
}

bool TclientServer::hasClient(const Tclient* client) const noexcept {
    if (!client || !fMessages)
        return false;
    for (TuInt32 i = 0; i < fMessages->length(); ++i) {
        const TclientArray& clients = *(*fMessages)[i].fClients;
        TuInt32 index;
        if (clients.find(keyFor(client), index) == kArrayOk && !clients[index].fRemoved)
            return true;
    }
    return false;
}

bool TclientServer::hasClient(const Tclient* client, const Tmetaclass* messageClass) const noexcept {
    return entryOf(client, messageClass) != nullptr;
}

bool TclientServer::hasClients() const noexcept {
    if (!fMessages)
        return false;
    if (!fRemovalPending)
        return !fMessages->isEmpty();
    for (TuInt32 i = 0; i < fMessages->length(); ++i)
        if (countActive(*(*fMessages)[i].fClients) > 0)
            return true;
    return false;
}

TuInt32 TclientServer::numClients() const noexcept {
    if (!fMessages)
        return 0;
    TuInt32 n = 0;
    for (TuInt32 i = 0; i < fMessages->length(); ++i) {
        const TclientArray& clients = *(*fMessages)[i].fClients;
        n += fRemovalPending ? countActive(clients) : clients.length();
    }
    return n;
}

bool TclientServer::hasMessage(const Tmetaclass* messageClass) const noexcept {
    const TclientArray* clients = clientsOf(messageClass);
    return clients && (!fRemovalPending || countActive(*clients) > 0);
}

bool TclientServer::hasClientMessage(Tclient* client, Tmetaclass* messageClass) const noexcept {
    return entryOf(client, messageClass) != nullptr;
}

bool TclientServer::acceptsMessage(Tclient* client, Tmetaclass* messageClass) const noexcept {
    if (g_bClosing || !fNotifyOn)
        return false;
    const TclientData* entry = entryOf(client, messageClass);
    return entry && entry->fEnabled;
}

int TclientServer::transferClients(TclientServer* to) {
    if (g_bClosing || !fMessages || !to || to == this || fDepth == kMaxDepth)
        return 0;
    // Counted as a notification: replaceServer() and the hooks of to may
    // change our tables, which then only mark and grow until we are done.
    Notifying level(*this);
    int moved = 0;
    for (TuInt32 i = fMessages->length(); i-- > 0;) {
        if (i >= fMessages->length())
            continue;
        const TmessageData message = (*fMessages)[i];
        TclientArray* clients = message.fClients;
        for (TuInt32 j = clients->length(); j-- > 0;) {
            if (j >= clients->length())
                continue;
            const TclientData entry = (*clients)[j];
            if (entry.fRemoved)
                continue;
            entry.fClient->replaceServer(this, to);
            to->addClient(entry.fClient, message.fMessageClass, entry.fCallback);
            // The entry may have moved meanwhile (or been removed).
            TuInt32 index;
            if (clients->find(entry, index) != kArrayOk || (*clients)[index].fRemoved)
                continue;
            TclientData removed = (*clients)[index];
            removed.fRemoved = 1;
            clients->change(index, removed);
            fRemovalPending = 1;
            --fsTotalClients;
            ++moved;
            if (fScoped)
                TclientRegistration::clientMoved(this, to, entry.fClient, message.fMessageClass);
        }
    }
    return moved;
}

void TclientServer::debugIterate(const std::function<void(Tclient*, Tmetaclass*)>& visit) {
    if (!fMessages || !visit || fDepth == kMaxDepth)
        return;
    Notifying level(*this);
    for (TuInt32 i = 0; i < fMessages->length(); ++i) {
        const TmessageData message = (*fMessages)[i];
        for (TuInt32 j = 0; j < message.fClients->length(); ++j) {
            const TclientData& entry = (*message.fClients)[j];
            if (!entry.fRemoved)
                visit(entry.fClient, message.fMessageClass);
        }
    }
}

bool TclientServer::setClientNotify(bool on) noexcept {
    const bool old = fNotifyOn != 0;
    fNotifyOn = on ? 1 : 0;
    return old;
}

bool TclientServer::setClientNotify(Tclient* client, bool on) noexcept {
    bool previous = false;
    if (!client || !fMessages)
        return previous;
    for (TuInt32 i = 0; i < fMessages->length(); ++i) {
        TclientArray& clients = *(*fMessages)[i].fClients;
        TuInt32 index;
        if (clients.find(keyFor(client), index) != kArrayOk || clients[index].fRemoved)
            continue;
        TclientData entry = clients[index];
        previous = entry.fEnabled != 0;
        entry.fEnabled = on ? 1 : 0;
        clients.change(index, entry);
    }
    return previous;
}

TuInt32 TclientServer::spareClientTables() noexcept { return sparePool().count; }
