#include "grundel/object/TclientServer.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace {

class DerivedMsg : public TserverModifiedMsg {
    GRUNDEL_CLASS(DerivedMsg)
};
class OtherMsg : public TserverMsg {
    GRUNDEL_CLASS(OtherMsg)
};

} // namespace

GRUNDEL_DEFINE_CLASS(DerivedMsg, "", TserverModifiedMsg)
GRUNDEL_DEFINE_CLASS(OtherMsg, "", TserverMsg)

namespace {

Tmetaclass* const kModified = TserverModifiedMsg::sMetaclass();
Tmetaclass* const kDeleted = TserverDeletedMsg::sMetaclass();
Tmetaclass* const kOther = OtherMsg::sMetaclass();

// Every delivery in order: (client, class). Logged by both callbacks.
using Log = std::vector<std::pair<const Tclient*, const Tmetaclass*>>;
Log gLog, gOtherLog;

// Logs what reaches it through the default callbacks, and may act then.
class Watcher : public Tclient {
public:
    void serverModified(TclientServer* s, const TserverMsg& m) override { received(s, m); }
    void serverDeleted(TclientServer* s, const TserverMsg& m) override { received(s, m); }
    void replaceServer(TclientServer* from, TclientServer* to) override { replaced.emplace_back(from, to); }
    std::function<void(TclientServer*)> action;
    std::vector<std::pair<TclientServer*, TclientServer*>> replaced;

private:
    void received(TclientServer* s, const TserverMsg& m) {
        gLog.emplace_back(this, m.typeof());
        if (action)
            action(s);
    }
};

void otherCallback(Tclient* c, TclientServer*, const TserverMsg& m) { gOtherLog.emplace_back(c, m.typeof()); }

// Opens the protected queries and counts the hooks.
class Server : public TclientServer {
public:
    using TclientServer::acceptsMessage;
    void addClientHook(Tclient* c, Tmetaclass* t) override { added.emplace_back(c, t); }
    void removeClientHook(Tclient* c, Tmetaclass* t) override { removed.emplace_back(c, t); }
    Log added, removed;
};

class TclientServerTest : public ::testing::Test {
protected:
    void SetUp() override {
        gLog.clear();
        gOtherLog.clear();
        baseline = TclientServer::totalClients();
    }
    void TearDown() override { g_bClosing = false; }
    Tint32 registrations() const { return TclientServer::totalClients() - baseline; }

    Tint32 baseline = 0;
    Watcher w[4]; // ascending addresses: the delivery order
};

TEST_F(TclientServerTest, DeliversToTheExactClassInClientOrder) {
    Server s;
    EXPECT_TRUE(s.addClient(&w[2]));
    EXPECT_TRUE(s.addClient(&w[0], kModified, nullptr));
    EXPECT_TRUE(s.addClient(&w[1], DerivedMsg::sMetaclass(), nullptr));
    s.notifyClients(TserverModifiedMsg());
    s.notifyClients(TserverMsg());
    EXPECT_EQ(gLog, (Log{{&w[0], kModified}, {&w[2], kModified}}));
    gLog.clear();
    s.notifyClients(DerivedMsg()); // not for the base class's clients
    s.notifyClient(&w[0], TserverModifiedMsg());
    s.notifyClient(&w[1], TserverModifiedMsg()); // registered for another class
    EXPECT_EQ(gLog, (Log{{&w[1], DerivedMsg::sMetaclass()}, {&w[0], kModified}}));
}

TEST_F(TclientServerTest, RegistrationsRemovalsHooksAndQueries) {
    Server s;
    EXPECT_EQ(s.removeClient(&w[0]), -1); // no table yet
    // The pair form stops at the first null class; a null callback is the
    // deleted callback for the deleted class only.
    EXPECT_EQ(s.addClient(&w[0], kOther, &otherCallback, kDeleted, nullptr, nullptr, &otherCallback, kModified,
                          nullptr),
              2);
    EXPECT_TRUE(s.addClient(&w[1], kOther, nullptr));
    EXPECT_FALSE(s.addClient(&w[0], kOther, nullptr)); // exists: first callback kept
    EXPECT_FALSE(s.addClient(nullptr, kOther, nullptr));
    EXPECT_FALSE(s.addClient(&w[0], nullptr, nullptr));
    EXPECT_EQ(s.added.size(), 3u);
    EXPECT_EQ(registrations(), 3);
    s.notifyClients(OtherMsg());
    EXPECT_EQ(gOtherLog, (Log{{&w[0], kOther}}));
    EXPECT_EQ(gLog, (Log{{&w[1], kOther}}));
    EXPECT_EQ(s.numClients(), 3u);

    EXPECT_EQ(s.removeClient(&w[2]), -1);
    EXPECT_EQ(s.removeClient(&w[1], kModified), -1);
    EXPECT_EQ(s.removeClient(&w[1], nullptr), -1);
    EXPECT_EQ(s.removeClient(nullptr), -1);
    EXPECT_TRUE(s.removed.empty());
    EXPECT_EQ(s.removeClient(&w[0]), 0);
    ASSERT_EQ(s.removed.size(), 3u); // each class, then once without one
    EXPECT_EQ(s.removed[2], (std::pair<const Tclient*, const Tmetaclass*>(&w[0], nullptr)));
    EXPECT_FALSE(s.hasClient(&w[0]) || s.hasMessage(kDeleted));
    EXPECT_EQ(registrations(), 1);

    std::vector<std::pair<Tclient*, Tmetaclass*>> seen;
    s.debugIterate([&](Tclient* c, Tmetaclass* t) {
        seen.emplace_back(c, t);
        s.removeClient(c); // changes are safe here
    });
    EXPECT_EQ(seen, (std::vector<std::pair<Tclient*, Tmetaclass*>>{{&w[1], kOther}}));
    EXPECT_FALSE(s.hasClients());
    EXPECT_EQ(registrations(), 0);
}

TEST_F(TclientServerTest, CallbackRemovingItselfAgainInANestedNotification) {
    Server s;
    s.addClient(&w[0]);
    s.addClient(&w[0], kOther, nullptr);
    s.addClient(&w[1]);
    s.addClient(&w[3]);
    const TuInt32 spare = TclientServer::spareClientTables();
    int again = 0;
    w[0].action = [&](TclientServer*) {
        EXPECT_EQ(s.removeClient(&w[0]), 0);
        EXPECT_EQ(s.removeClient(&w[3]), 0); // not yet reached: skipped
        s.notifyClients(OtherMsg()); // nobody left for it
        s.notifyClients(TserverModifiedMsg());
        again = s.removeClient(&w[0]);
    };
    s.notifyClients(TserverModifiedMsg());
    EXPECT_EQ(again, -1);
    EXPECT_EQ(gLog, (Log{{&w[0], kModified}, {&w[1], kModified}, {&w[1], kModified}}));
    EXPECT_FALSE(s.isNotifying());
    EXPECT_EQ(s.numClients(), 1u);
    EXPECT_EQ(registrations(), 1);
    // Swept when the outer notification ended: kOther's table is spare.
    EXPECT_FALSE(s.hasMessage(kOther));
    EXPECT_EQ(TclientServer::spareClientTables(), std::min<TuInt32>(spare + 1, 256));
}

TEST_F(TclientServerTest, AddingDuringANotification) {
    Server s;
    s.addClient(&w[0], kOther, &otherCallback);
    s.addClient(&w[1], kOther, nullptr);
    s.addClient(&w[3], kOther, nullptr);
    // Removed and added again at once: revived with its first callback.
    // Added behind the current entry (w[2]): reached, pushing w[3] out.
    w[1].action = [&](TclientServer*) {
        s.removeClient(&w[0], kOther);
        EXPECT_TRUE(s.addClient(&w[0], kOther, nullptr));
        EXPECT_TRUE(s.addClient(&w[2], kOther, nullptr));
    };
    s.notifyClients(OtherMsg());
    EXPECT_EQ(gLog, (Log{{&w[1], kOther}, {&w[2], kOther}}));
    w[1].action = nullptr;
    gLog.clear();
    gOtherLog.clear();
    s.notifyClients(OtherMsg());
    EXPECT_EQ(gOtherLog, (Log{{&w[0], kOther}}));
    EXPECT_EQ(registrations(), 4);

    // Added before the current entry: the current entry comes round again.
    Server t;
    t.addClient(&w[2]);
    t.addClient(&w[3]);
    w[2].action = [&](TclientServer*) { t.addClient(&w[1]); };
    gLog.clear();
    t.notifyClients(TserverModifiedMsg());
    EXPECT_EQ(gLog, (Log{{&w[2], kModified}, {&w[2], kModified}}));

    // Enough additions to move the table's storage in the middle of a walk.
    std::vector<Watcher> crowd(40);
    Server u;
    u.addClient(&w[0]);
    u.addClient(&w[1]);
    w[0].action = [&](TclientServer*) {
        for (Watcher& c : crowd)
            u.addClient(&c);
    };
    gLog.clear();
    u.notifyClients(TserverModifiedMsg());
    EXPECT_EQ(gLog.size(), 2u);
    EXPECT_EQ(u.numClients(), 42u);
}

TEST_F(TclientServerTest, DestructionTellsOnlyClientsOfTheDeletedClass) {
    auto s = std::make_unique<Server>();
    s->addClient(&w[0]);
    s->addClient(&w[1], kDeleted, nullptr);
    s->addClient(&w[2], kOther, nullptr);
    w[1].action = [&](TclientServer* server) { server->removeClient(&w[2]); };
    s.reset();
    EXPECT_EQ(gLog, (Log{{&w[1], kDeleted}}));
    EXPECT_EQ(registrations(), 0);
}

TEST_F(TclientServerTest, TransferMovesEveryRegistration) {
    Server from, to;
    from.addClient(&w[0]);
    from.addClient(&w[0], kOther, &otherCallback);
    from.addClient(&w[1], kOther, nullptr);
    to.addClient(&w[1], kOther, &otherCallback); // kept on to
    EXPECT_EQ(from.transferClients(&from) + from.transferClients(nullptr), 0);
    EXPECT_EQ(from.transferClients(&to), 3);
    EXPECT_FALSE(from.hasClients());
    EXPECT_EQ(registrations(), 3);
    EXPECT_EQ(w[0].replaced.size(), 2u);
    EXPECT_EQ(w[1].replaced, (std::vector<std::pair<TclientServer*, TclientServer*>>{{&from, &to}}));
    to.notifyClients(OtherMsg());
    EXPECT_EQ(gOtherLog, (Log{{&w[0], kOther}, {&w[1], kOther}}));
    EXPECT_TRUE(gLog.empty());

    // From inside a notification: the rest move before their turn.
    w[2].action = [&](TclientServer*) { to.transferClients(&from); };
    to.addClient(&w[2]);
    to.addClient(&w[3]);
    gLog.clear();
    to.notifyClients(TserverModifiedMsg());
    EXPECT_EQ(gLog, (Log{{&w[0], kModified}, {&w[2], kModified}}));
    EXPECT_FALSE(to.hasClients());
    EXPECT_EQ(from.numClients(), 5u);
}

TEST_F(TclientServerTest, NotifySwitchesAndClosing) {
    Server s, to;
    s.addClient(&w[0]);
    s.addClient(&w[0], kOther, nullptr);
    s.addClient(&w[1]);
    EXPECT_TRUE(s.setClientNotify(false));
    EXPECT_FALSE(s.setClientNotify(false));
    s.notifyClients(TserverModifiedMsg());
    s.notifyClient(&w[0], TserverModifiedMsg());
    EXPECT_TRUE(gLog.empty());
    s.setClientNotify(true);

    // Per client: each of its registrations, the others untouched.
    EXPECT_TRUE(s.setClientNotify(&w[0], false));
    EXPECT_FALSE(s.setClientNotify(&w[0], false));
    EXPECT_FALSE(s.setClientNotify(&w[3], true)); // not registered
    EXPECT_FALSE(s.acceptsMessage(&w[0], kOther));
    EXPECT_TRUE(s.hasClient(&w[0])); // disabled still counts
    s.notifyClients(TserverModifiedMsg());
    s.notifyClients(OtherMsg());
    s.notifyClient(&w[0], TserverModifiedMsg());
    EXPECT_EQ(gLog, (Log{{&w[1], kModified}}));

    g_bClosing = true;
    auto doomed = std::make_unique<Server>();
    doomed->addClient(&w[2], kDeleted, nullptr);
    s.notifyClients(TserverModifiedMsg());
    EXPECT_EQ(s.transferClients(&to), 0);
    EXPECT_FALSE(s.acceptsMessage(&w[1], kModified));
    doomed.reset(); // not even the deleted message
    EXPECT_EQ(gLog.size(), 1u);
    EXPECT_EQ(registrations(), 3);
}

TEST_F(TclientServerTest, SparePoolHoldsAtMost256Tables) {
    std::vector<std::unique_ptr<TclientServer>> servers(300);
    for (auto& s : servers) {
        s = std::make_unique<TclientServer>();
        s->addClient(&w[0]);
    }
    servers.clear();
    EXPECT_EQ(TclientServer::spareClientTables(), 256u);
    TclientServer s;
    s.addClient(&w[0]);
    EXPECT_EQ(TclientServer::spareClientTables(), 255u); // taken from the pool
}

#ifndef NDEBUG
TEST(TclientServerDeathTest, DestroyedInsideItsOwnNotification) {
    EXPECT_DEATH(
        {
            auto* s = new TclientServer;
            Watcher c;
            c.action = [s](TclientServer*) { delete s; };
            s->addClient(&c);
            s->notifyClients(TserverModifiedMsg());
        },
        "own notification");
}
#endif

} // namespace
