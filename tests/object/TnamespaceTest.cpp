#include "grundel/object/Tnamespace.h"

#include "grundel/core/Tarrays.h"
#include "grundel/object/TobjectArrays.h"
#include "grundel/object/TnameIterators.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

class Ball : public TnameObject {
    GRUNDEL_CLASS(Ball)
    using TnameObject::TnameObject;
};

} // namespace

GRUNDEL_DEFINE_CLASS(Ball, "BALL", TnameObject)

namespace {

// Every test starts from fresh global namespaces.
class Names : public ::testing::Test {
protected:
    void TearDown() override {
        objects.clear();
        Tnamespace::cleanup();
    }

    // A reserved object named name in the current namespace (or the one its
    // path names).
    Ball* make(const char* name) {
        objects.push_back(std::make_unique<Ball>(Tstring(name)));
        objects.back()->reserveName();
        return objects.back().get();
    }

    std::vector<std::unique_ptr<Ball>> objects;
};

Tstring unique(const char* name) {
    Tname n(name, Tnamespace::currentNamespace());
    n.makeUnique();
    return n.asString();
}

} // namespace

TEST(Tname, ConversionReportsChangedNames) {
    Tstring out;
    EXPECT_TRUE(Tname::validateNameAndReport("pCube_1", out));
    EXPECT_EQ(out, "pCube_1");
    EXPECT_FALSE(Tname::validateNameAndReport("my ball", out)); // a blank inside
    EXPECT_EQ(out, "my_ball");
    EXPECT_FALSE(Tname::validateNameAndReport("my-ball", out));
    EXPECT_EQ(out, "my_ball");
    EXPECT_FALSE(Tname::validateNameAndReport("3ball", out)); // may not start with a digit
    EXPECT_EQ(out, "ball");
    EXPECT_FALSE(Tname::validateNameAndReport("ba%l.l", out)); // other invalid bytes go
    EXPECT_EQ(out, "ball");
    EXPECT_TRUE(Tname::validateNameAndReport("ball  \t", out)); // trailing white space is cut
    EXPECT_EQ(out, "ball");
    EXPECT_TRUE(Tname::validateNameAndReport("\xe9t\xe9:_x", out)); // bytes 192 to 255 and ":"
    EXPECT_EQ(out, "\xe9t\xe9:_x");
    // Nothing left: reported as not valid.
    EXPECT_FALSE(Tname::validateNameAndReport("123-!", out));
    EXPECT_TRUE(out.isEmpty());
    EXPECT_FALSE(Tname::validateNameAndReport("", out));
    EXPECT_FALSE(Tname::validateNameAndReport("#", out));
    EXPECT_TRUE(out.isEmpty());
    // The file rules take "#" as an invalid character, not as a request.
    EXPECT_FALSE(Tname::validateNameForFileIO("ball#", out));
    EXPECT_EQ(out, "ball");
    EXPECT_TRUE(Tname::validateNameForFileIO("ball", out));
    EXPECT_FALSE(Tname::validateNameForFileIO("", out) && !out.isEmpty());
}

TEST_F(Names, TrailingHashAsksForARunningNumber) {
    make("ball4");
    Tstring out;
    EXPECT_TRUE(Tname::validateNameAndReport("ball#", out));
    EXPECT_EQ(out, "ball5");
    EXPECT_EQ(Tname::validateName("cube#"), "cube1");
    Ball* numbered = make("ball#");
    EXPECT_EQ(numbered->name(), "ball5");
}

TEST_F(Names, MakeUniqueContinuesTheHighestNumber) {
    EXPECT_EQ(unique("cube"), "cube1"); // an empty namespace
    make("cube12");
    EXPECT_EQ(unique("cube"), "cube13");
    make("ball1");
    make("ball7");
    EXPECT_EQ(unique("ball"), "ball8");
    EXPECT_EQ(unique("ball3"), "ball8");
    make("ball10"); // natural order: 10 is the highest, not 7
    EXPECT_EQ(unique("ball"), "ball11");
    make("tree2leaf");
    EXPECT_EQ(unique("tree"), "tree3");
    Tname nowhere("ball");
    nowhere.makeUnique(); // no namespace: nothing happens
    EXPECT_EQ(nowhere.asString(), "ball");
}

TEST_F(Names, ReserveAndReleaseMoveTheNameInAndOut) {
    Ball ball(Tstring("sphere"));
    Tnamespace* root = Tnamespace::currentNamespace();
    EXPECT_FALSE(ball.isReserved());
    EXPECT_EQ(root->findName(TnameString("sphere")), nullptr);
    EXPECT_TRUE(ball.reserveName());
    EXPECT_FALSE(ball.reserveName());
    EXPECT_TRUE(ball.isReserved());
    EXPECT_EQ(root->findName(TnameString("sphere")), &ball);
    EXPECT_TRUE(ball.hasUniqueName());

    Ball twin(Tstring("sphere"));
    EXPECT_FALSE(twin.hasUniqueName());
    twin.makeNameUnique();
    EXPECT_EQ(twin.name(), "sphere1");
    EXPECT_TRUE(twin.reserveName());

    EXPECT_TRUE(ball.setName("orb")); // a reserved object moves to its new name
    EXPECT_EQ(root->findName(TnameString("sphere")), nullptr);
    EXPECT_EQ(root->findName(TnameString("orb")), &ball);

    EXPECT_TRUE(ball.releaseName());
    EXPECT_FALSE(ball.releaseName());
    EXPECT_FALSE(ball.isReserved());
    EXPECT_EQ(ball.name(), "orb");
    EXPECT_EQ(root->findName(TnameString("orb")), nullptr);

    // A taken name: reserving fails and nothing is entered.
    Ball copy(Tstring("sphere1"));
    EXPECT_FALSE(copy.reserveName());
    EXPECT_EQ(root->findName(TnameString("sphere1")), &twin);
    {
        Ball brief(Tstring("brief"));
        brief.reserveName();
        EXPECT_EQ(root->size(), 2u);
    } // destroying a reserved object takes its name out
    EXPECT_EQ(root->size(), 1u);
}

TEST_F(Names, NamespacesFromPaths) {
    Tnamespace* made = Tnamespace::createNamespace(TnameString("a:b:c"));
    ASSERT_NE(made, nullptr);
    Tnamespace* found = nullptr;
    EXPECT_TRUE(TfindNamespace::findNamespace(":a:b:c", &found));
    EXPECT_EQ(found, made);
    EXPECT_TRUE(TfindNamespace::findNamespace("a:b", &found));
    EXPECT_EQ(made->parent(), found);
    EXPECT_TRUE(TfindNamespace::findNamespace("c", &found, found));
    EXPECT_EQ(found, made);
    EXPECT_TRUE(TfindNamespace::findNamespace("", &found, made));
    EXPECT_EQ(found, made);
    EXPECT_FALSE(TfindNamespace::findNamespace("a:missing", &found));
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(Tname::pathOf(made), ":a:b:c");

    // A name with a path lands in the namespace the path names.
    Ball* ball = make("a:b:ball");
    EXPECT_EQ(ball->name(), "ball");
    EXPECT_EQ(ball->fullName(), ":a:b:ball");
    EXPECT_EQ(made->parent()->findName(TnameString("ball")), ball);
    Tnamespace::setCurrentNamespace(made->parent()->parent()); // ":a"
    EXPECT_EQ(ball->relativeName(), "b:ball");
    Tnamespace::setCurrentNamespace(nullptr); // ignored
    EXPECT_EQ(Tnamespace::currentNamespace(), made->parent()->parent());

    // A path through an object that is not a namespace is refused.
    Tnamespace::setCurrentNamespace(Tnamespace::rootNamespace());
    make("plain");
    EXPECT_FALSE(TfindNamespace::findAndCreateNamespace("plain:x", &found));
    Ball* lost = make("nowhere:ball");
    EXPECT_FALSE(lost->nameObj().isRegistered());
}

TEST_F(Names, RemovingANamespaceMovesOrForgetsItsContents) {
    Tnamespace* a = Tnamespace::createNamespace(TnameString("a"));
    Ball* inner = make("a:ball");
    make("ball");
    Tnamespace::createNamespace(TnameString("a:sub"));
    Tnamespace* sub = Tnamespace::createNamespace(TnameString("sub"));
    Ball* deep = make("a:sub:deep");
    EXPECT_TRUE(TnamespaceUtil::removeNamespace(a, true));
    Tnamespace* root = Tnamespace::rootNamespace();
    EXPECT_EQ(root->findName(TnameString("ball1")), inner); // a clash takes a running number
    EXPECT_EQ(inner->fullName(), ":ball1");
    EXPECT_EQ(sub->findName(TnameString("deep")), deep); // namespaces of the same name merge
    EXPECT_EQ(deep->fullName(), ":sub:deep");
    EXPECT_FALSE(TnamespaceUtil::removeNamespace(root, false));
    EXPECT_FALSE(TnamespaceUtil::removeNamespace(nullptr, false));

    EXPECT_TRUE(TnamespaceUtil::removeNamespace(sub, false));
    EXPECT_FALSE(deep->nameObj().isRegistered());
    EXPECT_EQ(deep->nameObj().nameSpace(), nullptr);
}

TEST_F(Names, IteratorsVisitEveryObjectOnce) {
    Tnamespace::createNamespace(TnameString("x:y"));
    Tnamespace::createNamespace(TnameString("z"));
    for (const char* name : {"b1", "b2", "x:b3", "x:y:b4", "x:y:c5", "z:b6"})
        make(name);

    std::map<std::string, int> seen;
    for (TnameObjectIterator it(Tstring(), Ball::sMetaclass(), nullptr, true); !it.isDone(); it.next())
        ++seen[it.item()->fullName().asC()];
    EXPECT_EQ(seen.size(), 6u);
    for (const auto& entry : seen)
        EXPECT_EQ(entry.second, 1) << entry.first;

    int matches = 0;
    for (TnameObjectIterator it(Tstring("b*"), nullptr, nullptr, true); !it.isDone(); it.next())
        ++matches;
    EXPECT_EQ(matches, 5);
    int top = 0;
    for (TnameObjectIterator it(Tstring("b*")); !it.isDone(); it.next())
        ++top;
    EXPECT_EQ(top, 2);

    std::vector<std::string> spaces;
    for (TnamespaceIterator it; !it.isDone(); it.next())
        spaces.push_back(Tname::pathOf(it.item()).asC());
    EXPECT_EQ(spaces, (std::vector<std::string>{"", ":x", ":x:y", ":z"}));

    TnameObjectTypeIterator types(Tnamespace::sMetaclass());
    int namespaces = 0;
    for (; !types.isDone(); types.next())
        ++namespaces;
    EXPECT_EQ(namespaces, 2); // x and z
    types.setTraverseSubNamespaces(true);
    EXPECT_TRUE(types.traverseSubNamespaces());
    for (namespaces = 0; !types.isDone(); types.next())
        ++namespaces;
    EXPECT_EQ(namespaces, 3);

    TnameObjectPtrArray collection;
    collection.addLast(objects[0].get());
    collection.addLast(nullptr);
    collection.addLast(Tnamespace::rootNamespace());
    collection.addLast(objects[5].get());
    int balls = 0;
    for (TnameObjectCollectionIterator it(collection, Ball::sMetaclass()); !it.isDone(); it.next())
        balls += it.item()->typeof() == Ball::sMetaclass();
    EXPECT_EQ(balls, 2);

    Tnamespace::NameIterator names(*Tnamespace::rootNamespace());
    TnameString first;
    ASSERT_TRUE(names.first(first));
    EXPECT_EQ(first, TnameString("b1"));
}

TEST_F(Names, EmptyNamespacesCanBeSwept) {
    Tnamespace::createNamespace(TnameString("empty:deeper"));
    Tnamespace::createNamespace(TnameString("full"));
    make("full:thing");
    Tnamespace::rootNamespace()->removeEmptyNamespaces();
    Tnamespace* found = nullptr;
    EXPECT_FALSE(TfindNamespace::findNamespace("empty", &found));
    EXPECT_TRUE(TfindNamespace::findNamespace("full", &found));
}

TEST(TnameObject, RelativeNamesNest) {
    EXPECT_FALSE(TnameObject::isUsingRelativeNames());
    TnameObject::setUsingRelativeNames(false); // at 0 it stays 0
    TnameObject::setUsingRelativeNames(true);
    TnameObject::setUsingRelativeNames(true);
    TnameObject::setUsingRelativeNames(false);
    EXPECT_TRUE(TnameObject::isUsingRelativeNames());
    TnameObject::setUsingRelativeNames(false);
    EXPECT_FALSE(TnameObject::isUsingRelativeNames());
}

TEST(TnameObject, Keywords) {
    static const char* const keywords[] = {"select", "group", nullptr};
    TnameObject::registerKeywords(keywords);
    EXPECT_TRUE(TnameObject::isKeyword("group"));
    const std::string copy = "select"; // compared by characters, not by pointer
    EXPECT_TRUE(TnameObject::isKeyword(copy.c_str()));
    EXPECT_FALSE(TnameObject::isKeyword("ball"));
    EXPECT_FALSE(TnameObject::isKeyword(nullptr));
}

TEST_F(Names, RenameLandsWhereThePathSaysOrChangesNothing) {
    Tnamespace* scene = Tnamespace::createNamespace(TnameString("scene"));
    Ball* ball = make("scene:ball");
    ASSERT_EQ(ball->fullName(), ":scene:ball");
    const auto staysPut = [&](const Tstring& name) {
        EXPECT_FALSE(ball->setName(name)) << name.asC();
        EXPECT_EQ(ball->fullName(), ":scene:ball") << name.asC();
        EXPECT_TRUE(ball->isReserved());
        EXPECT_EQ(scene->findName(TnameString("ball")), ball) << name.asC();
    };

    // A path is read from the current namespace (the root), and a missing
    // level refuses the rename.
    staysPut("scene:lights:bulb");
    Tnamespace* lights = Tnamespace::createNamespace(TnameString("scene:lights"));
    EXPECT_TRUE(ball->setName("scene:lights:bulb"));
    EXPECT_EQ(ball->fullName(), ":scene:lights:bulb");
    EXPECT_EQ(lights->findName(TnameString("bulb")), ball);
    EXPECT_EQ(scene->findName(TnameString("ball")), nullptr);
    EXPECT_TRUE(ball->setName(":scene:ball"));  // and back, from the root
    Tnamespace::setCurrentNamespace(lights);
    EXPECT_EQ(Tname(Tstring(":x"), true).nameSpace(), Tnamespace::rootNamespace());
    EXPECT_TRUE(ball->setName(ball->relativeName()));  // a relative name names the object itself
    EXPECT_EQ(ball->fullName(), ":scene:ball");
    Tnamespace::setCurrentNamespace(Tnamespace::rootNamespace());
    // A simple name stays in the object's namespace.
    EXPECT_TRUE(ball->setName("orb"));
    EXPECT_EQ(ball->fullName(), ":scene:orb");
    EXPECT_TRUE(ball->setName("ball"));

    make("scene:taken");
    staysPut("taken");
    staysPut("");
    staysPut("   ");
    staysPut("123-!");            // nothing of it is a name
    staysPut("scene:");           // a path without a name
    staysPut("nowhere:ball");
    Tstring deep;
    for (int i = 0; i < 20000; ++i)
        deep += "scene:";
    staysPut(deep + "ball");      // far more levels than there are

    // A reserved object that no namespace took gets in when it can.
    Ball* twin = make("scene:ball");
    EXPECT_TRUE(twin->isReserved());
    EXPECT_FALSE(twin->nameObj().isRegistered());
    EXPECT_FALSE(twin->setName("taken"));
    EXPECT_FALSE(twin->nameObj().isRegistered());
    EXPECT_TRUE(twin->setName("twin#"));
    EXPECT_EQ(scene->findName(TnameString("twin1")), twin);
    EXPECT_EQ(twin->fullName(), ":scene:twin1");
}

TEST_F(Names, NamespacesMoveByRenameButNeverBelowThemselves) {
    Tnamespace* a = Tnamespace::createNamespace(TnameString("a"));
    Tnamespace* b = Tnamespace::createNamespace(TnameString("a:b"));
    Ball* ball = make("a:b:ball");
    EXPECT_FALSE(a->setName("a:b:a"));
    EXPECT_FALSE(a->setName("a:a"));
    EXPECT_EQ(Tname::pathOf(b), ":a:b");
    EXPECT_TRUE(b->setName(":c"));  // up to the root, with everything in it
    EXPECT_EQ(b->parent(), Tnamespace::rootNamespace());
    EXPECT_EQ(ball->fullName(), ":c:ball");
    EXPECT_TRUE(a->isEmpty());
}

TEST_F(Names, TheTreeHasABoundedDepth) {
    Tstring path;
    for (TuInt32 i = 0; i < Tnamespace::maxDepth; ++i)
        path += ":n";
    Tnamespace* deepest = Tnamespace::createNamespace(path);
    ASSERT_NE(deepest, nullptr);
    EXPECT_EQ(Tname::pathOf(deepest), path);
    EXPECT_EQ(Tnamespace::createNamespace(path + ":n"), nullptr);
    // Moving a subtree may not push it below the limit either.
    Tnamespace* two = Tnamespace::createNamespace(TnameString("x:y"));
    ASSERT_NE(two, nullptr);
    Tnamespace* x = two->parent();
    EXPECT_FALSE(x->setName(path.substring(0, int(path.length()) - 3) + ":x"));
    EXPECT_TRUE(x->setName(path.substring(0, int(path.length()) - 5) + ":x"));
    EXPECT_EQ(Tname::pathOf(two), path.substring(0, int(path.length()) - 5) + ":x:y");
}
