// The shared-object layer: intrusive counts, copy-on-write on request, the
// shared array holder, and the name table behind the typed-data registry.
#include <grundel/grundel.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

class Tcounted : public TmultiSharedObject {
public:
    explicit Tcounted(int value, int* live) noexcept : fValue(value), fLive(live) { ++*fLive; }
    Tcounted(const Tcounted& other) noexcept : TmultiSharedObject(other), fValue(other.fValue), fLive(other.fLive) {
        ++*fLive;
    }
    ~Tcounted() override { --*fLive; }
    Tcounted* copy() const override { return fValue < 0 ? nullptr : new Tcounted(*this); }
    Tmetaclass* typeof() const noexcept override { return nullptr; }
    void* cast(Tmetaclass*) noexcept override { return nullptr; }

    int fValue;
    int* fLive;
};

TEST(TmultiSharedObject, TheLastReferenceDeletesAndCopiesStartUnowned) {
    int live = 0;
    auto* object = new Tcounted(1, &live);
    EXPECT_EQ(object->referenceCount(), 0);
    EXPECT_EQ(object->reference(), 1);
    EXPECT_EQ(object->reference(), 2);
    EXPECT_TRUE(object->isShared());
    EXPECT_EQ(object->unreference(), 1);
    EXPECT_EQ(live, 1);
    std::unique_ptr<Tcounted> copied(object->copy());
    EXPECT_EQ(copied->referenceCount(), 0);
    EXPECT_EQ(copied->writerCount(), 0);
    EXPECT_EQ(object->unreference(), 0);
    EXPECT_EQ(live, 1); // only the copy is left
    copied.reset();
    EXPECT_EQ(live, 0);
}

TEST(TmultiSharedObject, MakeUniqueCopiesOnlyWhatOthersHold) {
    int live = 0;
    Tcounted* mine = new Tcounted(1, &live);
    mine->reference();
    Tcounted* same = mine;
    EXPECT_EQ(TmultiSharedObject::sMakeUnique(mine), same); // alone: kept
    Tcounted* theirs = mine;
    theirs->reference();
    ASSERT_NE(TmultiSharedObject::sMakeUnique(mine), theirs);
    EXPECT_EQ(mine->referenceCount(), 1);
    EXPECT_EQ(theirs->referenceCount(), 1);
    mine->fValue = 2;
    EXPECT_EQ(theirs->fValue, 1);
    mine->unreference();
    theirs->unreference();
    EXPECT_EQ(live, 0);

    Tcounted* stubborn = new Tcounted(-1, &live); // cannot copy
    stubborn->reference();
    stubborn->reference();
    Tcounted* held = stubborn;
    EXPECT_EQ(TmultiSharedObject::sMakeUnique(held), nullptr);
    EXPECT_EQ(held, stubborn);
    stubborn->unreference();
    stubborn->unreference();
    Tcounted* none = nullptr;
    EXPECT_EQ(TmultiSharedObject::sMakeUnique(none), nullptr);

}

TEST(TmultiSharedObject, ThreadsSharingOneObjectDeleteItOnce) {
    int live = 0;
    auto* object = new Tcounted(1, &live);
    object->reference();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([object] {
            for (int i = 0; i < 20000; ++i) {
                object->reference();
                object->unreference();
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(object->referenceCount(), 1);
    object->unreference();
    EXPECT_EQ(live, 0);
}

TEST(TsharedReference, CopiesShareUntilOneWrites) {
    TsharedReference<TuInt32Array> empty;
    EXPECT_FALSE(empty);
    EXPECT_EQ(empty.get(), nullptr);
    EXPECT_EQ(empty.referenceCount(), 0);

    TsharedReference<TuInt32Array> a;
    a.writable().addLast(7u); // made on first write
    TsharedReference<TuInt32Array> b(a);
    EXPECT_EQ(a.get(), b.get());
    EXPECT_EQ(a.referenceCount(), 2);
    b.writable().addLast(8u);
    EXPECT_NE(a.get(), b.get());
    EXPECT_EQ(a->length(), 1u);
    ASSERT_EQ(b->length(), 2u);
    EXPECT_EQ((*b)[0], 7u);
    EXPECT_EQ(a.referenceCount(), 1);
    TuInt32Array* own = &a.writable(); // alone: no copy
    EXPECT_EQ(own, a.get());

    TsharedReference<TuInt32Array> moved(std::move(b));
    EXPECT_FALSE(b);
    EXPECT_EQ(moved->length(), 2u);
    moved = a;
    EXPECT_EQ(moved.get(), a.get());
    moved.reset();
    EXPECT_EQ(a.referenceCount(), 1);

    TsharedReference<std::string> text(std::string("abc"));
    TsharedReference<std::string> other = text;
    other.writable() += "d";
    EXPECT_EQ(*text, "abc");
    EXPECT_EQ(*other, "abcd");
}

TEST(TnameTable, FirstUniqueNameWinsAndRemovalMatchesTheRecord) {
    TnameTable table(2);
    auto* r1 = reinterpret_cast<Tmetaclass*>(0x10);
    auto* r2 = reinterpret_cast<Tmetaclass*>(0x20);
    EXPECT_TRUE(table.insertUnique("double3", r1));
    EXPECT_FALSE(table.insertUnique("double3", r2));
    EXPECT_EQ(table.find("double3"), r1);
    EXPECT_EQ(table.find(std::string_view("double3x", 7)), r1); // not terminated
    EXPECT_EQ(table.find("Double3"), nullptr);
    EXPECT_EQ(table.find(""), nullptr);
    EXPECT_FALSE(table.remove("double3", r2));
    EXPECT_EQ(table.find("double3"), r1);
    for (int i = 0; i < 500; ++i)
        table.insert(Tstring(std::to_string(i)), r2);
    EXPECT_EQ(table.find("499"), r2);
    EXPECT_TRUE(table.remove("double3", r1));
    EXPECT_EQ(table.find("double3"), nullptr);
    int seen = 0;
    for (TnameTable::Iterator it(table); !it.isDone(); it.next())
        seen += it.data() == r2;
    EXPECT_EQ(seen, 500);
}

} // namespace
