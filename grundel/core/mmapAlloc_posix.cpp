#include "grundel/core/mmapAlloc.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <deque>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

namespace {

struct Category {
    const char* label;
    TmmapStatistics stats;
};

struct Block {
    std::size_t bytes;  // asked for
    std::size_t mapped; // whole pages
    Category* category;
};

// The blocks and their categories. Created on first use and never destroyed,
// so that arrays released by static destructors still find it.
struct Registry {
    std::mutex lock;
    std::unordered_map<const void*, Block> blocks;
    std::deque<Category> categories;
    std::size_t pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));

    static Registry& instance() noexcept {
        static Registry* registry = new Registry;
        return *registry;
    }

    // Whole pages for bytes; 0 when bytes is 0 or the rounding overflows.
    std::size_t pagesFor(std::size_t bytes) const noexcept {
        if (bytes == 0 || bytes > SIZE_MAX - pageSize)
            return 0;
        return (bytes + pageSize - 1) & ~(pageSize - 1);
    }

    // Caller holds the lock. Null only when memory for the record runs out.
    Category* categoryFor(const char* label) noexcept {
        if (!label)
            label = "";
        for (Category& c : categories)
            if (c.label == label || std::strcmp(c.label, label) == 0)
                return &c;
        try {
            categories.push_back(Category{label, {}});
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
        return &categories.back();
    }

    static void count(Category* c, std::size_t oldBytes, std::size_t newBytes, int blocks) noexcept {
        c->stats.blocks += static_cast<TuInt64>(static_cast<Tint64>(blocks));
        c->stats.bytes = c->stats.bytes - oldBytes + newBytes;
        if (c->stats.bytes > c->stats.peakBytes)
            c->stats.peakBytes = c->stats.bytes;
    }
};

void* mapPages(std::size_t mapped) noexcept {
    void* p = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return p == MAP_FAILED ? nullptr : p;
}

} // namespace

void* mmapAlloc(std::size_t bytes, const char* category) noexcept {
    Registry& r = Registry::instance();
    const std::size_t mapped = r.pagesFor(bytes);
    if (mapped == 0)
        return nullptr;
    void* p = mapPages(mapped);
    if (!p)
        return nullptr;
    std::lock_guard<std::mutex> guard(r.lock);
    Category* c = r.categoryFor(category);
    if (c) {
        try {
            r.blocks.emplace(p, Block{bytes, mapped, c});
            Registry::count(c, 0, bytes, 1);
            return p;
        } catch (const std::bad_alloc&) {
        }
    }
    munmap(p, mapped);
    return nullptr;
}

bool mmapGrow(void* storage, std::size_t bytes) noexcept {
    Registry& r = Registry::instance();
    std::lock_guard<std::mutex> guard(r.lock);
    auto it = r.blocks.find(storage);
    const std::size_t mapped = r.pagesFor(bytes);
    if (it == r.blocks.end() || mapped == 0)
        return false;
    Block& b = it->second;
    if (mapped != b.mapped) {
        // Without MREMAP_MAYMOVE the kernel either resizes in place or fails.
        if (mremap(storage, b.mapped, mapped, 0) == MAP_FAILED)
            return false;
        b.mapped = mapped;
    }
    Registry::count(b.category, b.bytes, bytes, 0);
    b.bytes = bytes;
    return true;
}

void* mmapRealloc(void* storage, std::size_t bytes, const char* category) noexcept {
    if (!storage)
        return mmapAlloc(bytes, category);
    Registry& r = Registry::instance();
    std::lock_guard<std::mutex> guard(r.lock);
    auto it = r.blocks.find(storage);
    const std::size_t mapped = r.pagesFor(bytes);
    if (it == r.blocks.end() || mapped == 0)
        return nullptr;
    Category* c = category ? r.categoryFor(category) : it->second.category;
    if (!c)
        return nullptr;
    Block b = it->second;
    void* moved = storage;
    if (mapped != b.mapped) {
        // The kernel moves the page table entries, not the bytes.
        moved = mremap(storage, b.mapped, mapped, MREMAP_MAYMOVE);
        if (moved == MAP_FAILED)
            return nullptr;
    }
    // Re-keying through the node allocates nothing, so it cannot fail once
    // the pages have moved (the size of the table does not change).
    auto node = r.blocks.extract(it);
    node.key() = moved;
    node.mapped() = Block{bytes, mapped, c};
    r.blocks.insert(std::move(node));
    Registry::count(b.category, b.bytes, 0, -1);
    Registry::count(c, 0, bytes, 1);
    return moved;
}

bool mmapFree(void* storage) noexcept {
    if (!storage)
        return true;
    Registry& r = Registry::instance();
    std::lock_guard<std::mutex> guard(r.lock);
    auto it = r.blocks.find(storage);
    if (it == r.blocks.end())
        return false;
    const Block b = it->second;
    r.blocks.erase(it);
    Registry::count(b.category, b.bytes, 0, -1);
    munmap(storage, b.mapped);
    return true;
}

std::size_t mmapSize(const void* storage) noexcept {
    Registry& r = Registry::instance();
    std::lock_guard<std::mutex> guard(r.lock);
    auto it = r.blocks.find(storage);
    return it == r.blocks.end() ? 0 : it->second.bytes;
}

TmmapStatistics mmapStatistics(const char* category) noexcept {
    Registry& r = Registry::instance();
    std::lock_guard<std::mutex> guard(r.lock);
    TmmapStatistics sum;
    for (const Category& c : r.categories) {
        if (category && std::strcmp(c.label, category) != 0)
            continue;
        sum.blocks += c.stats.blocks;
        sum.bytes += c.stats.bytes;
        sum.peakBytes += c.stats.peakBytes;
    }
    return sum;
}
