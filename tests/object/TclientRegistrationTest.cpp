#include "grundel/object/TclientRegistration.h"

#include "grundel/object/Ttrigger.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace {

Tmetaclass* const kModified = TserverModifiedMsg::sMetaclass();
Tmetaclass* const kDeleted = TserverDeletedMsg::sMetaclass();

// A client that owns its registration, as a client should, and counts what
// reaches it. Its reaction, held by the test, may destroy clients, this one
// included: nothing of the client is touched after it.
class Viewer : public Tclient {
public:
    explicit Viewer(TclientServer* server, int* deliveries = nullptr)
        : fWatch(server, this), fDeliveries(deliveries) {}
    void serverModified(TclientServer*, const TserverMsg&) override {
        if (fDeliveries)
            ++*fDeliveries;
        if (fReact)
            (*fReact)();
    }
    TclientRegistration fWatch;
    int* fDeliveries;
    const std::function<void()>* fReact = nullptr;
};

TEST(TclientRegistration, ADeadClientLeavesNothingInTheServer) {
    TclientServer server;
    const Tint32 before = TclientServer::totalClients();
    int deliveries = 0;
    {
        Viewer viewer(&server, &deliveries);
        EXPECT_TRUE(viewer.fWatch.active());
        EXPECT_EQ(viewer.fWatch.server(), &server);
        EXPECT_TRUE(server.hasClient(&viewer, kModified));
        server.notifyClients(TserverModifiedMsg());
    }
    EXPECT_FALSE(server.hasClients());
    EXPECT_EQ(TclientServer::totalClients(), before);
    server.notifyClients(TserverModifiedMsg()); // the dead client is not called
    EXPECT_EQ(deliveries, 1);
}

TEST(TclientRegistration, HoldsNothingWhenTheServerRefuses) {
    TclientServer server;
    Tclient client;
    TclientRegistration none;
    EXPECT_FALSE(none);
    none.reset(); // harmless
    EXPECT_FALSE(TclientRegistration(nullptr, &client).active());
    EXPECT_FALSE(TclientRegistration(&server, nullptr).active());

    // A registration that exists already belongs to whoever made it.
    ASSERT_TRUE(server.addClient(&client, kDeleted));
    {
        TclientRegistration twice(&server, &client, kDeleted);
        EXPECT_FALSE(twice.active());
    }
    EXPECT_TRUE(server.hasClient(&client, kDeleted));
    server.removeClient(&client);
}

TEST(TclientRegistration, MovesResetsAndReleases) {
    TclientServer server;
    Tclient a, b;
    TclientRegistration first(&server, &a);
    TclientRegistration second(&server, &b);
    TclientRegistration moved(std::move(first));
    EXPECT_FALSE(first.active());
    EXPECT_EQ(moved.client(), &a);
    first = std::move(second); // first held nothing; now holds b
    EXPECT_TRUE(first.active());
    moved = std::move(first); // a's registration goes, b's comes
    EXPECT_FALSE(server.hasClient(&a));
    EXPECT_TRUE(server.hasClient(&b));
    TclientRegistration& alias = moved;
    moved = std::move(alias);
    EXPECT_TRUE(server.hasClient(&b));

    moved.release(); // b stays registered, by b's own responsibility
    EXPECT_FALSE(moved.active());
    EXPECT_TRUE(server.hasClient(&b));
    EXPECT_EQ(server.removeClient(&b), 0);

    TclientRegistration again(&server, &a);
    again.reset();
    EXPECT_FALSE(server.hasClients());
}

TEST(TclientRegistration, OutlivingTheServerIsSafe) {
    auto server = std::make_unique<TclientServer>();
    Tclient client;
    TclientRegistration modified(server.get(), &client);
    TclientRegistration deleted(server.get(), &client, kDeleted);
    server.reset();
    EXPECT_FALSE(modified.active());
    EXPECT_FALSE(deleted.active());
    EXPECT_EQ(modified.server(), nullptr);

    // A new server at the same address is not touched by the old objects.
    server = std::make_unique<TclientServer>();
    Tclient other;
    server->addClient(&other);
    modified.reset();
    EXPECT_TRUE(server->hasClient(&other));
}

// Clients that destroy each other (and themselves) inside a delivery: every
// destroyed client stops receiving at once, and nothing dangles.
TEST(TclientRegistration, ClientsDestroyedDuringDelivery) {
    TclientServer server;
    int deliveries = 0;
    std::vector<std::unique_ptr<Viewer>> viewers;
    for (int i = 0; i < 6; ++i)
        viewers.push_back(std::make_unique<Viewer>(&server, &deliveries));
    // Whoever is called first destroys every viewer, itself included.
    const std::function<void()> destroyAll = [&viewers] { viewers.clear(); };
    for (auto& v : viewers)
        v->fReact = &destroyAll;
    server.notifyClients(TserverModifiedMsg());
    EXPECT_EQ(deliveries, 1);
    EXPECT_FALSE(server.hasClients());
    server.notifyClients(TserverModifiedMsg());
    EXPECT_EQ(deliveries, 1);

    // Nested: a client destroyed inside a nested notification of the same
    // server is swept when the outer one ends.
    auto outer = std::make_unique<Viewer>(&server, &deliveries);
    auto inner = std::make_unique<Viewer>(&server, &deliveries);
    bool nested = false;
    const std::function<void()> nest = [&] {
        if (nested)
            return;
        nested = true;
        server.notifyClients(TserverModifiedMsg());
        outer.reset();
        inner.reset();
    };
    outer->fReact = inner->fReact = &nest;
    server.notifyClients(TserverModifiedMsg());
    EXPECT_FALSE(server.hasClients());
    EXPECT_FALSE(server.isNotifying());
}

TEST(TclientRegistration, FollowsClientsToTheTriggerThatTakesThemOver) {
    Tclient client;
    TclientRegistration watch(Ttrigger::find("registration test", true), &client, TtriggerMsg::sMetaclass());
    ASSERT_TRUE(watch.active());
    EXPECT_TRUE(static_cast<Ttrigger*>(watch.server())->isTemp());
    {
        Ttrigger permanent("registration test"); // takes the temporary's clients
        EXPECT_EQ(watch.server(), &permanent);
        EXPECT_TRUE(permanent.hasClient(&client, TtriggerMsg::sMetaclass()));
    } // its clients move to a new temporary trigger
    ASSERT_TRUE(watch.active());
    Ttrigger* standIn = Ttrigger::find("registration test");
    EXPECT_EQ(watch.server(), standIn);
    watch.reset();
    EXPECT_FALSE(standIn->hasClients());
}

} // namespace
