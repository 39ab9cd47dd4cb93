// The splay tree against std::map, on shapes that break a recursive tree.
#include "grundel/iff/FLsplay.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

struct TreeDeleter {
    void operator()(FLsplay* tree) const { FLdelsplay(tree); }
};
using Tree = std::unique_ptr<FLsplay, TreeDeleter>;

int gFreed = 0;
void countFree(void* value) {
    ++gFreed;
    delete static_cast<int*>(value);
}

int appendKey(const char* key, void*, void* data) {
    auto* keys = static_cast<std::vector<std::string>*>(data);
    keys->push_back(key);
    return keys->size() == 3 ? 42 : 0;
}

int collectKey(const char* key, void* value, void* data) {
    static_cast<std::map<std::string, void*>*>(data)->emplace(key, value);
    return 0;
}

} // namespace

TEST(FLsplay, OneEntryPerKeyAndNullValuesTellFromAbsence) {
    gFreed = 0;
    {
        Tree tree(FLnewsplay(countFree));
        ASSERT_EQ(FLsplayadd(tree.get(), "k", new int(1)), 0);
        int* second = new int(2);
        ASSERT_EQ(FLsplayadd(tree.get(), "k", second), 0);
        EXPECT_EQ(gFreed, 1) << "the replaced value is freed";
        ASSERT_EQ(FLsplayadd(tree.get(), "k", second), 0);
        EXPECT_EQ(gFreed, 1) << "storing the same pointer again frees nothing";
        EXPECT_EQ(FLsplaycount(tree.get()), 1u);
        EXPECT_EQ(FLsplayfind(tree.get(), "k"), second);

        ASSERT_EQ(FLsplayadd(tree.get(), "", nullptr), 0);
        bool found = false;
        EXPECT_EQ(FLsplayfind(tree.get(), "", &found), nullptr);
        EXPECT_TRUE(found);
        EXPECT_EQ(FLsplayfind(tree.get(), "K", &found), nullptr);
        EXPECT_FALSE(found);
        EXPECT_EQ(FLsplayfind(tree.get(), nullptr, &found), nullptr);
        EXPECT_FALSE(found);
        EXPECT_EQ(FLsplayadd(tree.get(), nullptr, nullptr), 42);
    }
    EXPECT_EQ(gFreed, 3) << "deleting the tree frees every value (countFree accepts null)";
}

TEST(FLsplay, AgreesWithAMapUnderRandomWork) {
    Tree tree(FLnewsplay());
    std::map<std::string, void*> reference;
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        const std::string key = std::to_string(random() % 3000);
        if (random() % 2) {
            void* value = reinterpret_cast<void*>(static_cast<uintptr_t>(i + 1));
            ASSERT_EQ(FLsplayadd(tree.get(), key.c_str(), value), 0);
            reference[key] = value;
        } else {
            const auto it = reference.find(key);
            ASSERT_EQ(FLsplayfind(tree.get(), key.c_str()), it == reference.end() ? nullptr : it->second) << key;
        }
    }
    EXPECT_EQ(FLsplaycount(tree.get()), reference.size());
    std::map<std::string, void*> walked;
    std::vector<std::string> order;
    EXPECT_EQ(FLsplaywalk(tree.get(), collectKey, &walked), 0);
    EXPECT_EQ(walked, reference);
    // Stopping early returns the function's result and leaves the tree whole.
    EXPECT_EQ(FLsplaywalk(tree.get(), appendKey, &order), 42);
    EXPECT_EQ(order, (std::vector<std::string>{reference.begin()->first, std::next(reference.begin())->first,
                                               std::next(reference.begin(), 2)->first}));
    walked.clear();
    FLsplaywalk(tree.get(), collectKey, &walked);
    EXPECT_EQ(walked, reference);
}

TEST(FLsplay, SortedInsertionsMakeNoDeepRecursion) {
    // Ascending keys leave a path as long as the tree; a recursive walk or
    // delete would run off the stack here.
    Tree tree(FLnewsplay());
    char key[16];
    const int n = 300000;
    for (int i = 0; i < n; ++i) {
        std::snprintf(key, sizeof key, "%08d", i);
        ASSERT_EQ(FLsplayadd(tree.get(), key, nullptr), 0);
    }
    size_t count = 0;
    FLsplaywalk(
        tree.get(), [](const char*, void*, void* data) { return ++*static_cast<size_t*>(data), 0; }, &count);
    EXPECT_EQ(count, size_t(n));
    bool found = false;
    FLsplayfind(tree.get(), "00000000", &found);
    EXPECT_TRUE(found);
    FLsplayfind(tree.get(), "00150000", &found);
    EXPECT_TRUE(found);
    FLdelsplay(nullptr);
}
