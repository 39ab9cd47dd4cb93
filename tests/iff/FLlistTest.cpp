// Lists of named nodes: linking, lookups in both directions, scans that
// free what they visit, merging.
#include "grundel/iff/FLlist.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

struct ListDeleter {
    void operator()(FLlist* list) const { FLfreelist(list); }
};
using List = std::unique_ptr<FLlist, ListDeleter>;

List newList() { return List(FLnewlist()); }

// The names head to tail, after checking that every link agrees with its
// neighbour, with the list's ends and with the count.
std::string names(const FLlist* list) {
    std::string text;
    const FLnode* prev = nullptr;
    size_t count = 0;
    for (FLnode* node : *list) {
        EXPECT_EQ(node->prev, prev);
        EXPECT_EQ(node->list, list);
        text += node->name ? node->name : "-";
        prev = node;
        ++count;
    }
    EXPECT_EQ(list->tail, prev);
    EXPECT_EQ(list->count, count);
    return text;
}

FLnode* add(FLlist* list, const char* name, int type = 0) { return FLtailnode(list, FLnewnode(name, type)); }

List fromLetters(const char* letters, int type = 0) {
    List list = newList();
    for (const char* p = letters; *p; ++p) {
        const char name[2] = {*p, 0};
        add(list.get(), name, type);
    }
    return list;
}

} // namespace

TEST(FLlist, LinksAtHeadTailAndAfterANode) {
    List list = newList();
    FLnode* b = add(list.get(), "b");
    FLheadnode(list.get(), FLnewnode("a"));
    add(list.get(), "d");
    FLinsnode(list.get(), FLnewnode("c"), b);
    FLinsnode(list.get(), FLnewnode("0"), nullptr);
    EXPECT_EQ(names(list.get()), "0abcd");

    FLfreenode(FLdelnode(b));
    EXPECT_EQ(names(list.get()), "0acd");
    FLfreenode(list->head);
    FLfreenode(list->tail);
    EXPECT_EQ(names(list.get()), "ac");
    FLnode* a = FLdelnode(FLdelnode(list->head));
    EXPECT_EQ(a->list, nullptr) << "a second unlink is harmless";
    EXPECT_EQ(names(list.get()), "c");
    FLfreenode(a);
}

TEST(FLlist, LinkingANodeElsewhereTakesItOutOfItsList) {
    List first = fromLetters("abc");
    List second = fromLetters("xy");
    FLnode* b = FLgetnodebyname(first.get(), "b");
    FLtailnode(second.get(), b);
    EXPECT_EQ(names(first.get()), "ac");
    EXPECT_EQ(names(second.get()), "xyb");
    FLheadnode(second.get(), second->tail); // moving within one list
    EXPECT_EQ(names(second.get()), "bxy");
}

TEST(FLlist, NodesCarryTheCallersPayloadAndType) {
    struct Item {
        FLnode node;
        double weight;
        char tag[8];
    };
    FLnode* node = FLnewnode("item", 7, sizeof(Item));
    auto* item = reinterpret_cast<Item*>(node);
    EXPECT_EQ(item->weight, 0.0);
    EXPECT_EQ(item->tag[7], 0);
    EXPECT_EQ(node->type, 7);
    EXPECT_EQ(FLrenamenode(node, "renamed"), 0);
    EXPECT_STREQ(node->name, "renamed");
    EXPECT_EQ(FLrenamenode(node, nullptr), 0);
    EXPECT_EQ(node->name, nullptr);
    FLfreenode(node);
    FLfreenode(nullptr);
}

TEST(FLlist, LookupsByNameAndTypeInBothDirections) {
    List list = newList();
    FLnode* a1 = add(list.get(), "a", 1);
    FLnode* unnamed = add(list.get(), nullptr, 2);
    FLnode* b = add(list.get(), "b", 1);
    FLnode* a2 = add(list.get(), "a", 2);

    EXPECT_EQ(FLgetnodebyname(list.get(), "a"), a1);
    EXPECT_EQ(FLgetnodebyname(list.get(), "a", a1), a2);
    EXPECT_EQ(FLgetnodebyname(list.get(), "a", a2), nullptr);
    EXPECT_EQ(FLrgetnodebyname(list.get(), "a"), a2);
    EXPECT_EQ(FLrgetnodebyname(list.get(), "a", a2), a1);
    EXPECT_EQ(FLgetnodebyname(list.get(), "A"), nullptr) << "names compare case-sensitively";
    EXPECT_EQ(FLgetnodebyname(list.get(), nullptr), nullptr) << "unnamed nodes are not found by null";
    EXPECT_EQ(FLgetnodebyname(list.get(), ""), nullptr);

    EXPECT_EQ(FLgetnodebytype(list.get(), 2), unnamed);
    EXPECT_EQ(FLgetnodebytype(list.get(), 2, unnamed), a2);
    EXPECT_EQ(FLrgetnodebytype(list.get(), 1), b);
    EXPECT_EQ(FLrgetnodebytype(list.get(), 1, b), a1);
    EXPECT_EQ(FLgetnodebytype(list.get(), 3), nullptr);

    FLlist empty;
    FLinitlist(&empty);
    EXPECT_EQ(FLgetnodebyname(&empty, "a"), nullptr);
    EXPECT_EQ(FLrgetnodebytype(&empty, 0), nullptr);
}

namespace {

int collect(FLnode* node, void* data) {
    *static_cast<std::string*>(data) += node->name;
    return 0;
}

int stopAtC(FLnode* node, void* data) {
    *static_cast<std::string*>(data) += node->name;
    return node->name[0] == 'c';
}

int freeIt(FLnode* node, void*) {
    FLfreenode(node);
    return 0;
}

} // namespace

TEST(FLlist, ScansInEveryDirectionAndFilter) {
    List list = fromLetters("abcde");
    FLgetnodebyname(list.get(), "b")->type = 5;
    FLgetnodebyname(list.get(), "d")->type = 5;
    std::string seen;
    EXPECT_EQ(FLscanlist(list.get(), collect, &seen), nullptr);
    EXPECT_EQ(seen, "abcde");
    seen.clear();
    EXPECT_EQ(FLrscanlist(list.get(), collect, &seen), nullptr);
    EXPECT_EQ(seen, "edcba");

    seen.clear();
    FLnode* c = FLscanlist(list.get(), stopAtC, &seen);
    ASSERT_NE(c, nullptr);
    EXPECT_STREQ(c->name, "c");
    EXPECT_EQ(seen, "abc");
    seen.clear();
    EXPECT_EQ(FLrscannode(c, stopAtC, &seen), c) << "the starting node is included";
    seen.clear();
    FLscannode(c, collect, &seen);
    EXPECT_EQ(seen, "cde");

    seen.clear();
    FLfscanlist(list.get(), 5, collect, &seen);
    EXPECT_EQ(seen, "bd");
    seen.clear();
    FLrfscanlist(list.get(), 5, collect, &seen);
    EXPECT_EQ(seen, "db");
    seen.clear();
    FLfscannode(c, 5, collect, &seen);
    EXPECT_EQ(seen, "d");
    seen.clear();
    FLrfscannode(c, 5, collect, &seen);
    EXPECT_EQ(seen, "b");
}

TEST(FLlist, AScanMayFreeTheNodesItVisits) {
    List list = fromLetters("abcdef");
    for (const char* name : {"a", "c", "f"})
        FLgetnodebyname(list.get(), name)->type = 9;
    FLfscanlist(list.get(), 9, freeIt, nullptr);
    EXPECT_EQ(names(list.get()), "bde");
    FLrscanlist(list.get(), freeIt, nullptr);
    EXPECT_EQ(names(list.get()), "");
    EXPECT_EQ(list->head, nullptr);
}

namespace {

int byName(const FLnode* a, const FLnode* b) { return a->name[0] - b->name[0]; }

} // namespace

TEST(FLlist, MergesByAppendingOrInOrder) {
    List to = fromLetters("ab");
    List from = fromLetters("cd");
    FLmergelist(to.get(), from.get());
    EXPECT_EQ(names(to.get()), "abcd");
    EXPECT_EQ(names(from.get()), "");
    FLmergelist(to.get(), to.get());
    EXPECT_EQ(names(to.get()), "abcd");
    FLmergelist(to.get(), from.get());
    EXPECT_EQ(names(to.get()), "abcd");

    // Sorted merge is stable: of equal keys, to's come first.
    List left = fromLetters("bdfh", 1);
    List right = fromLetters("abdgz", 2);
    FLmergelist(left.get(), right.get(), byName);
    EXPECT_EQ(names(left.get()), "abbddfghz");
    std::string types;
    for (FLnode* node : *left)
        types += char('0' + node->type);
    EXPECT_EQ(types, "212121212");
    EXPECT_EQ(right->count, 0u);

    List empty = newList();
    List some = fromLetters("ca");
    FLmergelist(empty.get(), some.get(), byName);
    EXPECT_EQ(names(empty.get()), "ca") << "an empty list takes the other as it is";
}
