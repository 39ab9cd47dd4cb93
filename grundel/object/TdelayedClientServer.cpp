#include "grundel/object/TdelayedClientServer.h"

#include "grundel/core/Tarrays.h"
#include "grundel/object/TobjectArrays.h"

#include <cstddef>
#include <memory>
#include <new>

GRUNDEL_DEFINE_CLASS(TdelayedClientServer, "", TclientServer)

/// The pending messages of a delayed server: owned copies in delivery
/// order, singly linked, with head and tail. Every unlink is counted so that
/// a walk that delivers can tell whether a callback changed the list behind
/// its back.
class TserverMsgPtrList {
public:
    struct Node {
        TserverMsg* fMsg;
        Node* fNext;
    };

    TserverMsgPtrList() noexcept = default;
    TserverMsgPtrList(const TserverMsgPtrList&) = delete;
    TserverMsgPtrList& operator=(const TserverMsgPtrList&) = delete;
    ~TserverMsgPtrList() {
        while (fHead) {
            Node* node = fHead;
            fHead = node->fNext;
            delete node->fMsg;
            delete node;
        }
    }

    Node* head() const noexcept { return fHead; }
    TuInt32 unlinks() const noexcept { return fUnlinks; }

    /// Takes ownership of msg.
    void append(TserverMsg* msg) {
        std::unique_ptr<TserverMsg> owned(msg);
        link(new Node{msg, nullptr});
        owned.release();
    }
    /// Takes node (whose predecessor is prev, null for the head) out of the
    /// list and hands back its message.
    std::unique_ptr<TserverMsg> take(Node* prev, Node* node) noexcept {
        unlink(prev, node);
        std::unique_ptr<TserverMsg> msg(node->fMsg);
        delete node;
        return msg;
    }
    void moveToTail(Node* prev, Node* node) noexcept {
        if (node == fTail)
            return;
        unlink(prev, node);
        link(node);
    }

private:
    void link(Node* node) noexcept {
        node->fNext = nullptr;
        if (fTail)
            fTail->fNext = node;
        else
            fHead = node;
        fTail = node;
    }
    void unlink(Node* prev, Node* node) noexcept {
        (prev ? prev->fNext : fHead) = node->fNext;
        if (fTail == node)
            fTail = prev;
        ++fUnlinks;
    }

    Node* fHead = nullptr;
    Node* fTail = nullptr;
    TuInt32 fUnlinks = 0;
};

namespace {

// A default-made message of msg's exact class, through its record, or null.
// The record gives the new object's address as its own class; the root
// subobject sits at the same offset in it as in msg.
std::unique_ptr<TserverMsg> makeLike(const TserverMsg& msg) {
    void* object = Tmetaclass::construct(msg.typeof());
    if (!object)
        return nullptr;
    const std::ptrdiff_t offset =
        reinterpret_cast<const char*>(&msg) - static_cast<const char*>(dynamic_cast<const void*>(&msg));
    return std::unique_ptr<TserverMsg>(
        std::launder(reinterpret_cast<TserverMsg*>(static_cast<char*>(object) + offset)));
}

} // namespace

TdelayedClientServer::TdelayedClientServer() noexcept = default;

TdelayedClientServer::TdelayedClientServer(const TdelayedClientServer& other) noexcept : TclientServer(other) {}

TdelayedClientServer& TdelayedClientServer::operator=(const TdelayedClientServer&) noexcept { return *this; }

TdelayedClientServer::~TdelayedClientServer() = default;

TserverMsgPtrList& TdelayedClientServer::pending() {
    if (!fPending)
        fPending = std::make_unique<TserverMsgPtrList>();
    return *fPending;
}

bool TdelayedClientServer::delayed(const Tmetaclass* type) const noexcept {
    if (!fDelayed || !type)
        return false;
    for (TuInt32 i = 0; i < fDelayed->length(); ++i)
        if ((*fDelayed)[i].delays(type))
            return true;
    return false;
}

void TdelayedClientServer::notifyClients(const TserverMsg& msg) {
    const Tmetaclass* type = msg.typeof();
    if (!fDelayed || !notifyOn() || !delayed(type)) {
        TclientServer::notifyClients(msg);
        return;
    }
    TserverMsgPtrList& list = pending();
    TserverMsgPtrList::Node* prev = nullptr;
    for (TserverMsgPtrList::Node* node = list.head(); node; prev = node, node = node->fNext) {
        if (node->fMsg->typeof() != type)
            continue;
        const TuInt32 unlinks = list.unlinks();
        const bool folded = node->fMsg->merge(msg);
        if (list.unlinks() != unlinks) {
            // merge() reached back into this server: the walk is void.
            if (folded)
                return;
            break;
        }
        if (folded) {
            list.moveToTail(prev, node);
            return;
        }
    }
    std::unique_ptr<TserverMsg> copy = makeLike(msg);
    if (!copy) {
        TclientServer::notifyClients(msg);
        return;
    }
    copy->copy(msg);
    list.append(copy.release());
}

void TdelayedClientServer::delayNotification(Tmetaclass* type, bool on) {
    if (!type)
        return;
    if (on) {
        if (!fDelayed)
            fDelayed = std::make_unique<TdelayedMsgTypeArray>();
        for (TuInt32 i = 0; i < fDelayed->length(); ++i)
            if (fDelayed->element(i).fMessageClass == type) {
                ++fDelayed->element(i).fCount;
                return;
            }
        TuInt32 at = fDelayed->length();
        for (TuInt32 i = 0; i < fDelayed->length(); ++i)
            if (type->istype(fDelayed->element(i).fMessageClass)) {
                at = i;
                break;
            }
        fDelayed->insert(TdelayedMsgType(type, 1), at);
        return;
    }
    if (!fDelayed)
        return;
    for (TuInt32 i = 0; i < fDelayed->length(); ++i) {
        TdelayedMsgType& entry = fDelayed->element(i);
        if (entry.fMessageClass != type)
            continue;
        if (entry.fCount <= 0 || --entry.fCount > 0)
            return;
        fDelayed->removeAt(i);
        if (hasClients())
            deliverUndelayed();
        return;
    }
}

void TdelayedClientServer::deliverUndelayed() {
    if (!fPending)
        return;
    TserverMsgPtrList& list = *fPending;
    TserverMsgPtrList::Node* prev = nullptr;
    TserverMsgPtrList::Node* node = list.head();
    while (node) {
        if (delayed(node->fMsg->typeof())) {
            prev = node;
            node = node->fNext;
            continue;
        }
        std::unique_ptr<TserverMsg> msg = list.take(prev, node);
        const TuInt32 unlinks = list.unlinks();
        TclientServer::notifyClients(*msg);
        // A callback that took messages off the list may have taken prev:
        // start again from the head (the messages before are still delayed).
        if (list.unlinks() != unlinks)
            prev = nullptr;
        node = prev ? prev->fNext : list.head();
    }
}

void TdelayedClientServer::forceNotification(const Tmetaclass* type) {
    if (!fPending || !type)
        return;
    TserverMsgPtrList::Node* prev = nullptr;
    for (TserverMsgPtrList::Node* node = fPending->head(); node; prev = node, node = node->fNext) {
        if (node->fMsg->typeof() == type) {
            std::unique_ptr<TserverMsg> msg = fPending->take(prev, node);
            TclientServer::notifyClients(*msg);
            return;
        }
    }
}
