#include "grundel/object/Ttrigger.h"

#include "grundel/object/Tcondition.h"
#include "grundel/object/TmessageCenter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

// Records the classes of the messages it hears.
class Counter : public Tclient {
public:
    void serverModified(TclientServer*, const TserverMsg& msg) override { heard.push_back(msg.typeof()); }
    long count(const Tmetaclass* type) const { return std::count(heard.begin(), heard.end(), type); }
    std::vector<const Tmetaclass*> heard;
};

Tmetaclass* const kTriggerMsg = TtriggerMsg::sMetaclass();
Tmetaclass* const kOn = TconditionOnMsg::sMetaclass();
Tmetaclass* const kOff = TconditionOffMsg::sMetaclass();

// The array is process-wide: each test uses its own names and leaves the
// array as it found it.
class TtriggerTest : public ::testing::Test {
protected:
    void SetUp() override { before = Ttrigger::numTriggers(); }
    void TearDown() override { EXPECT_EQ(Ttrigger::numTriggers(), before); }
    TuInt32 before = 0;
};

TEST_F(TtriggerTest, PermanentTriggerTakesOverATemporaryOneAndFiresOnce) {
    EXPECT_EQ(Ttrigger::find("t.take"), nullptr);
    Ttrigger* standIn = Ttrigger::find("t.take", true);
    ASSERT_TRUE(standIn && standIn->isTemp());
    EXPECT_EQ(Ttrigger::find("t.take", true), standIn);
    EXPECT_EQ(Ttrigger::triggerAtIndex(before), standIn);
    EXPECT_EQ(Ttrigger::triggerAtIndex(before + 1), nullptr);
    Counter c;
    standIn->addClient(&c, kTriggerMsg, nullptr);
    standIn->addClient(&c, TserverDeletedMsg::sMetaclass(), nullptr);
    {
        Ttrigger owner("t.take");
        EXPECT_EQ(Ttrigger::triggerAtIndex(before), &owner); // the same slot
        EXPECT_EQ(c.heard, std::vector<const Tmetaclass*>{kTriggerMsg});
        EXPECT_TRUE(owner.hasClient(&c, TserverDeletedMsg::sMetaclass()));

        Ttrigger twin("t.take"); // a second permanent one stays out
        EXPECT_EQ(Ttrigger::find("t.take"), &owner);
        EXPECT_EQ(Ttrigger::numTriggers(), before + 1);
    }
    // The owner left with clients: a new temporary one holds them, untold.
    Ttrigger* next = Ttrigger::find("t.take");
    ASSERT_TRUE(next && next->isTemp());
    EXPECT_TRUE(next->hasClient(&c, kTriggerMsg));
    EXPECT_EQ(c.heard.size(), 1u);
    next->removeClient(&c);
    { Ttrigger owner("t.take"); }
    EXPECT_EQ(Ttrigger::find("t.take"), nullptr); // left without clients

    Ttrigger direct("t.take", true); // made directly: never listed
    EXPECT_EQ(Ttrigger::find("t.take"), nullptr);
    delete Ttrigger::find("t.gone", true); // a listed temporary one leaves
    EXPECT_EQ(Ttrigger::find("t.gone"), nullptr);
}

TEST_F(TtriggerTest, ConditionSendsOneMessagePerChange) {
    Counter c;
    Tcondition cond("c.state");
    cond.addClient(&c, kOn, nullptr);
    cond.addClient(&c, kOff, nullptr);
    cond.setState(true);
    cond.setState(true);
    cond = true;
    EXPECT_EQ(c.count(kOn), 1);
    cond = false;
    cond.setState(false);
    EXPECT_EQ(c.count(kOff), 1);
    EXPECT_TRUE(!cond && cond == false && !(cond != false));
    cond.trigger(); // the current state, without a change
    EXPECT_EQ(c.count(kOff), 2);
    cond.removeClient(&c);
}

TEST_F(TtriggerTest, ConditionFindAndTakeOver) {
    Ttrigger plain("c.plain");
    EXPECT_EQ(Tcondition::find("c.plain", true), nullptr); // not a condition
    Tcondition* standIn = Tcondition::find("c.take", true);
    ASSERT_TRUE(standIn && standIn->isTemp() && !standIn->state());
    Counter c;
    standIn->addClient(&c, kOn, nullptr);
    {
        Tcondition owner("c.take", true); // fires its own state to the heirs
        EXPECT_EQ(c.count(kOn), 1);
        EXPECT_EQ(Tcondition::find("c.take"), &owner);
    }
    // Left behind with the clients: a temporary condition in the same state.
    Tcondition* heir = Tcondition::find("c.take");
    ASSERT_TRUE(heir && heir->isTemp() && heir->state() && heir->hasClient(&c));
    delete heir;
}

// A condition that turns on when a watched server reports a change.
class Follower : public TclientCondition {
public:
    using TclientCondition::TclientCondition;
    void serverModified(TclientServer*, const TserverMsg&) override { setState(true); }
};

TEST_F(TtriggerTest, ClientConditionWatchesServers) {
    Counter c;
    Follower follower("c.follow");
    EXPECT_FALSE(follower.isTemp());
    Tclient* asClient = static_cast<Tclient*>(follower.cast(Tclient::sMetaclass()));
    EXPECT_EQ(asClient, static_cast<Tclient*>(&follower));
    follower.addClient(&c, kOn, nullptr);
    TclientServer watched;
    watched.addClient(asClient);
    watched.notifyClients(TserverModifiedMsg());
    watched.notifyClients(TserverModifiedMsg());
    EXPECT_EQ(c.count(kOn), 1);
    watched.removeClient(asClient);
    follower.removeClient(&c);
}

TEST_F(TtriggerTest, MessageBoardPassesMessagesOn) {
    TmessageCenter* board = TmessageCenter::messageBoard();
    EXPECT_EQ(TmessageCenter::messageBoard(), board);
    Counter c;
    board->addClient(&c, kTriggerMsg, nullptr);
    board->post(TtriggerMsg());
    board->post(TserverModifiedMsg());
    EXPECT_EQ(c.heard, std::vector<const Tmetaclass*>{kTriggerMsg});
    board->removeClient(&c);
}

} // namespace
