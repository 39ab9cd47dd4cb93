#include "grundel/threads/TmtTSSCollection.h"

#include "ThreadTestSupport.h"

#include <gtest/gtest.h>

namespace {
int gMine, gTheirs;
} // namespace

TEST(TmtTSSCollection, EachThreadSeesItsOwnValue) {
    TmtTSSCollection tss;
    const TuInt32 key = tss.acquireKey();
    ASSERT_NE(key, TmtTSSCollection::kInvalidKey);
    EXPECT_EQ(tss.getValue(key), nullptr);
    EXPECT_TRUE(tss.setValue(key, &gMine));
    void* before = &gMine;
    void* after = nullptr;
    TmtThread* t = threadtest::launch([&](TmtThreadInfo*) {
        before = tss.getValue(key);
        tss.setValue(key, &gTheirs);
        after = tss.getValue(key);
    });
    ASSERT_TRUE(t->join(threadtest::kBoundMs));
    t->shutdown(true);
    EXPECT_EQ(before, nullptr);
    EXPECT_EQ(after, &gTheirs);
    EXPECT_EQ(tss.getValue(key), &gMine);
}

TEST(TmtTSSCollection, RefusesKeysItDoesNotHold) {
    TmtTSSCollection a, b;
    const TuInt32 key = a.acquireKey();
    EXPECT_FALSE(b.setValue(key, &gMine));
    EXPECT_FALSE(b.releaseKey(key));
    EXPECT_TRUE(a.setValue(key, &gMine));
    EXPECT_EQ(b.getValue(key), nullptr);
    EXPECT_TRUE(a.releaseKey(key));
    EXPECT_FALSE(a.releaseKey(key));
    EXPECT_EQ(a.getValue(key), nullptr);
    EXPECT_FALSE(a.setValue(TmtTSSCollection::kInvalidKey, &gMine));

    // The process-wide collection, through the static forms.
    const TuInt32 shared = TmtTSSCollection::sAcquireKey();
    EXPECT_TRUE(TmtTSSCollection::getCollection().holds(shared));
    EXPECT_TRUE(TmtTSSCollection::sSetValue(shared, &gMine));
    EXPECT_EQ(TmtTSSCollection::sGetValue(shared), &gMine);
    EXPECT_TRUE(TmtTSSCollection::sReleaseKey(shared));
    EXPECT_EQ(TmtTSSCollection::sGetValue(shared), nullptr);
}
