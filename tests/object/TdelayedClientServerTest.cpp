#include "grundel/object/TdelayedClientServer.h"

#include "grundel/core/Tarrays.h"
#include "grundel/object/TobjectArrays.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

// Messages with a value: Note keeps the root's merge (the first content
// wins); Sum adds values up but refuses negative ones, which stay apart.
class NoteMsg : public TserverMsg {
    GRUNDEL_CLASS(NoteMsg)
    explicit NoteMsg(int value = 0) : fValue(value) {}
    void copy(const TserverMsg& other) override { fValue = static_cast<const NoteMsg&>(other).fValue; }
    int fValue;
};
class SumMsg : public NoteMsg {
    GRUNDEL_CLASS(SumMsg)
    using NoteMsg::NoteMsg;
    bool merge(const TserverMsg& later) override {
        const int v = static_cast<const SumMsg&>(later).fValue;
        if (v < 0 || fValue < 0)
            return false;
        fValue += v;
        return true;
    }
};
class DerivedNoteMsg : public NoteMsg {
    GRUNDEL_CLASS(DerivedNoteMsg)
};
// The root behind another polymorphic base, away from the object's start.
struct Front {
    virtual ~Front() = default;
    double fFront = 1.5;
};
class MixedMsg : public Front, public NoteMsg {
    GRUNDEL_CLASS(MixedMsg)
};

} // namespace

// Cannot be made through its record.
class FixedMsg : public TserverMsg {
    GRUNDEL_CLASS(FixedMsg)
    explicit FixedMsg(int) {}
};

GRUNDEL_DEFINE_CLASS(NoteMsg, "", TserverMsg)
GRUNDEL_DEFINE_CLASS(SumMsg, "", NoteMsg)
GRUNDEL_DEFINE_CLASS(DerivedNoteMsg, "", NoteMsg)
GRUNDEL_DEFINE_CLASS(MixedMsg, "", NoteMsg)
GRUNDEL_DEFINE_CLASS(FixedMsg, "", TserverMsg)

namespace {

using Log = std::vector<std::string>;

// Logs "Class" or "Class:value" for each message, and may act then.
class Listener : public Tclient {
public:
    void serverModified(TclientServer*, const TserverMsg& msg) override {
        std::string entry = msg.typeof()->name();
        if (msg.typeof()->isa(NoteMsg::sMetaclass()))
            entry += ":" + std::to_string(dynamic_cast<const NoteMsg&>(msg).fValue);
        log.push_back(entry);
        if (action)
            action();
    }
    Log log;
    std::function<void()> action;
};

Tmetaclass* const kAll = TserverMsg::sMetaclass();

class TdelayedClientServerTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (Tmetaclass* type : {TserverModifiedMsg::sMetaclass(), NoteMsg::sMetaclass(), SumMsg::sMetaclass(),
                                 DerivedNoteMsg::sMetaclass(), MixedMsg::sMetaclass(), FixedMsg::sMetaclass()})
            server.addClient(&client, type, nullptr);
    }
    TdelayedClientServer server;
    Listener client;
};

TEST_F(TdelayedClientServerTest, DelaysNestAndCoalesce) {
    Tmetaclass* modified = TserverModifiedMsg::sMetaclass();
    server.delayNotification(modified, true);
    server.delayNotification(modified, true);
    server.notifyClients(TserverModifiedMsg());
    server.notifyClients(TserverModifiedMsg());
    server.notifyClients(NoteMsg(1)); // not delayed
    server.delayNotification(modified, false);
    EXPECT_TRUE(server.delayed(modified));
    EXPECT_EQ(client.log, Log{"NoteMsg:1"});
    server.delayNotification(modified, false);
    EXPECT_EQ(client.log, (Log{"NoteMsg:1", "TserverModifiedMsg"}));

    // Turning off what is not on, or off once more, does nothing.
    server.delayNotification(modified, false);
    server.delayNotification(nullptr, false);
    EXPECT_FALSE(server.delayed(modified));

    // With notify off nothing is queued.
    server.delayNotification(modified, true);
    server.setClientNotify(false);
    server.notifyClients(TserverModifiedMsg());
    server.setClientNotify(true);
    server.delayNotification(modified, false);
    EXPECT_EQ(client.log.size(), 2u);
}

TEST_F(TdelayedClientServerTest, DerivedClassesStandBeforeTheirAncestors) {
    for (Tmetaclass* type : {kAll, NoteMsg::sMetaclass(), TserverModifiedMsg::sMetaclass(), SumMsg::sMetaclass()})
        server.delayNotification(type, true);
    const TdelayedMsgTypeArray& types = *server.delayedTypes();
    ASSERT_EQ(types.length(), 4u);
    EXPECT_EQ(types[0].fMessageClass, SumMsg::sMetaclass());
    EXPECT_EQ(types[1].fMessageClass, NoteMsg::sMetaclass());
    EXPECT_EQ(types[2].fMessageClass, TserverModifiedMsg::sMetaclass());
    EXPECT_EQ(types[3].fMessageClass, kAll);

    // Only an exact entry ends: the root's delay still covers notes.
    server.delayNotification(NoteMsg::sMetaclass(), false);
    server.delayNotification(DerivedNoteMsg::sMetaclass(), false);
    EXPECT_EQ(types.length(), 3u);
    EXPECT_TRUE(server.delayed(DerivedNoteMsg::sMetaclass()));
}

TEST_F(TdelayedClientServerTest, DeliversInTheOrderOfEachClassLatestOccurrence) {
    server.delayNotification(kAll, true);
    server.notifyClients(NoteMsg(1));
    server.notifyClients(SumMsg(2));
    server.notifyClients(NoteMsg(3)); // folded into the first, which moves last
    server.notifyClients(SumMsg(4));  // folded: 6
    server.notifyClients(SumMsg(-1)); // refused: kept apart
    server.notifyClients(TserverModifiedMsg());
    server.notifyClients(NoteMsg(5));
    DerivedNoteMsg derived;
    derived.fValue = 7;
    server.notifyClients(derived);
    MixedMsg mixed;
    mixed.fValue = 9;
    server.notifyClients(mixed);
    server.notifyClients(FixedMsg(0)); // cannot be copied: delivered at once
    EXPECT_EQ(client.log, Log{"FixedMsg"});
    server.delayNotification(kAll, false);
    EXPECT_EQ(client.log, (Log{"FixedMsg", "SumMsg:6", "SumMsg:-1", "TserverModifiedMsg", "NoteMsg:1",
                               "DerivedNoteMsg:7", "MixedMsg:9"}));
}

TEST_F(TdelayedClientServerTest, ForcedAndWaitingMessages) {
    server.delayNotification(kAll, true);
    server.notifyClients(SumMsg(-1));
    server.notifyClients(NoteMsg(2));
    server.notifyClients(SumMsg(-2));
    server.forceNotification(SumMsg::sMetaclass()); // the first one only
    server.forceNotification(TserverModifiedMsg::sMetaclass());
    server.forceNotification(nullptr);
    EXPECT_EQ(client.log, Log{"SumMsg:-1"});

    // Without clients when the delay ends, the messages wait.
    server.removeClient(&client);
    server.delayNotification(kAll, false);
    server.addClient(&client, NoteMsg::sMetaclass(), nullptr);
    server.forceNotification(NoteMsg::sMetaclass());
    EXPECT_EQ(client.log, (Log{"SumMsg:-1", "NoteMsg:2"}));
}

TEST_F(TdelayedClientServerTest, CallbacksMayReenterDuringTheFlush) {
    server.delayNotification(kAll, true);
    server.delayNotification(SumMsg::sMetaclass(), true);
    server.notifyClients(SumMsg(-1));
    server.notifyClients(NoteMsg(1));
    server.notifyClients(SumMsg(-2));
    server.notifyClients(TserverModifiedMsg());
    // The first delivery takes a message off the list the walk is on, then
    // ends the other delay (a nested flush).
    client.action = [&] {
        client.action = nullptr;
        server.forceNotification(TserverModifiedMsg::sMetaclass());
        server.delayNotification(SumMsg::sMetaclass(), false);
        server.notifyClients(NoteMsg(8)); // not delayed any more
    };
    server.delayNotification(kAll, false);
    EXPECT_EQ(client.log, (Log{"NoteMsg:1", "TserverModifiedMsg", "SumMsg:-1", "SumMsg:-2", "NoteMsg:8"}));
}

} // namespace
