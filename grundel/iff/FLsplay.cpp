#include "grundel/iff/FLsplay.h"

#include "grundel/iff/FLerror.h"
#include "grundel/iff/FLmemory.h"

#include <cstring>
#include <new>

namespace {

struct Entry {
    Entry* left;
    Entry* right;
    void* value;
    char key[1]; // the key's bytes follow, NUL-terminated
};

// Top-down splay: brings the entry with key, or the last entry on its search
// path, to the root, and returns the new root.
Entry* splay(Entry* root, const char* key) noexcept {
    if (!root)
        return nullptr;
    Entry header{};
    Entry* left = &header;  // right-most entry of the left tree
    Entry* right = &header; // left-most entry of the right tree
    for (;;) {
        const int order = std::strcmp(key, root->key);
        if (order < 0) {
            if (!root->left)
                break;
            if (std::strcmp(key, root->left->key) < 0) {
                Entry* child = root->left; // rotate right
                root->left = child->right;
                child->right = root;
                root = child;
                if (!root->left)
                    break;
            }
            right->left = root; // link right
            right = root;
            root = root->left;
        } else if (order > 0) {
            if (!root->right)
                break;
            if (std::strcmp(key, root->right->key) > 0) {
                Entry* child = root->right; // rotate left
                root->right = child->left;
                child->left = root;
                root = child;
                if (!root->right)
                    break;
            }
            left->right = root; // link left
            left = root;
            root = root->right;
        } else {
            break;
        }
    }
    left->right = root->left;
    right->left = root->right;
    root->left = header.right;
    root->right = header.left;
    return root;
}

} // namespace

struct FLsplay {
    Entry* root = nullptr;
    size_t count = 0;
    FLsplayfree freeValue = nullptr;
};

FLsplay* FLnewsplay(FLsplayfree freeValue) noexcept {
    void* block = FLmalloc(sizeof(FLsplay));
    if (!block)
        return nullptr;
    auto* tree = new (block) FLsplay;
    tree->freeValue = freeValue;
    return tree;
}

void* FLsplayfind(FLsplay* tree, const char* key, bool* found) noexcept {
    if (found)
        *found = false;
    if (!tree || !key)
        return nullptr;
    tree->root = splay(tree->root, key);
    if (!tree->root || std::strcmp(key, tree->root->key) != 0)
        return nullptr;
    if (found)
        *found = true;
    return tree->root->value;
}

int FLsplayadd(FLsplay* tree, const char* key, void* value) noexcept {
    if (!tree || !key)
        return FLseterror(kFLbadCall);
    Entry* root = splay(tree->root, key);
    tree->root = root;
    const int order = root ? std::strcmp(key, root->key) : 0;
    if (root && order == 0) {
        if (tree->freeValue && root->value != value)
            tree->freeValue(root->value);
        root->value = value;
        return kFLnoError;
    }
    const size_t length = std::strlen(key);
    auto* entry = static_cast<Entry*>(FLmalloc(sizeof(Entry) + length));
    if (!entry)
        return kFLnoMemory;
    std::memcpy(entry->key, key, length + 1);
    entry->value = value;
    if (!root) {
        entry->left = entry->right = nullptr;
    } else if (order < 0) {
        entry->left = root->left;
        entry->right = root;
        root->left = nullptr;
    } else {
        entry->right = root->right;
        entry->left = root;
        root->right = nullptr;
    }
    tree->root = entry;
    ++tree->count;
    return kFLnoError;
}

size_t FLsplaycount(const FLsplay* tree) noexcept { return tree ? tree->count : 0; }

int FLsplaywalk(const FLsplay* tree, int (*func)(const char* key, void* value, void* data), void* data) {
    if (!tree)
        return 0;
    // Morris traversal: in order, no stack, the tree restored as it goes.
    Entry* node = tree->root;
    int result = 0;
    while (node) {
        if (!node->left) {
            if (!result)
                result = func(node->key, node->value, data);
            node = node->right;
            continue;
        }
        Entry* before = node->left;
        while (before->right && before->right != node)
            before = before->right;
        if (!before->right) {
            before->right = node; // thread back to node, descend left
            node = node->left;
        } else {
            before->right = nullptr; // left side done: untie the thread
            if (!result)
                result = func(node->key, node->value, data);
            node = node->right;
        }
    }
    return result;
}

void FLdelsplay(FLsplay* tree) noexcept {
    if (!tree)
        return;
    // Rotating every left child up turns the tree into a right spine that
    // is freed as it is walked: linear, no stack.
    Entry* node = tree->root;
    while (node) {
        if (Entry* child = node->left) {
            node->left = child->right;
            child->right = node;
            node = child;
        } else {
            Entry* next = node->right;
            if (tree->freeValue)
                tree->freeValue(node->value);
            FLfree(node);
            node = next;
        }
    }
    tree->~FLsplay();
    FLfree(tree);
}
