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

struct Spare {
    void* pages;
    std::size_t mapped;
};

// Few enough to search by a scan under the lock.
constexpr std::size_t kMaxSpares = 8;

std::size_t defaultSpareLimit(std::size_t pageSize) noexcept {
    constexpr std::size_t kMost = std::size_t(64) << 20;
    const long pages = sysconf(_SC_PHYS_PAGES);
    if (pages <= 0)
        return kMost;
    const std::size_t sixteenth = std::size_t(pages) / 16 * pageSize;
    return sixteenth < kMost ? sixteenth : kMost;
}

// Mappings put aside to be returned to the system once the lock is released.
struct Unmapping {
    Spare spares[kMaxSpares + 1] = {};
    std::size_t count = 0;

    void add(Spare s) noexcept { spares[count++] = s; }
    ~Unmapping() {
        for (std::size_t i = 0; i < count; ++i)
            munmap(spares[i].pages, spares[i].mapped);
    }
};

// The blocks and their categories. Created on first use and never destroyed,
// so that arrays released by static destructors still find it.
struct Registry {
    std::mutex lock;
    std::unordered_map<const void*, Block> blocks;
    std::deque<Category> categories;
    std::size_t pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    // Released mappings kept for reuse, the most recent first.
    Spare spares[kMaxSpares] = {};
    std::size_t spareCount = 0;
    std::size_t spareBytes = 0;
    std::size_t spareLimit = defaultSpareLimit(pageSize);

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

    // Caller holds the lock. Drops the spare at i, keeping the order.
    Spare removeSpare(std::size_t i) noexcept {
        const Spare s = spares[i];
        for (std::size_t j = i + 1; j < spareCount; ++j)
            spares[j - 1] = spares[j];
        --spareCount;
        spareBytes -= s.mapped;
        return s;
    }

    // Caller holds the lock. Hands the oldest spares to out until those
    // left fit in room more bytes and one more mapping.
    void makeRoom(std::size_t room, std::size_t slots, Unmapping& out) noexcept {
        while (spareCount > 0 && (spareBytes + room > spareLimit || spareCount + slots > kMaxSpares))
            out.add(removeSpare(spareCount - 1));
    }

    // Caller holds the lock. Keeps s as the newest spare; false when it
    // alone exceeds the limit.
    bool keepSpare(Spare s, Unmapping& out) noexcept {
        if (s.mapped > spareLimit)
            return false;
        makeRoom(s.mapped, 1, out);
        for (std::size_t j = spareCount; j > 0; --j)
            spares[j] = spares[j - 1];
        spares[0] = s;
        ++spareCount;
        spareBytes += s.mapped;
        return true;
    }

    // Takes the spare for a block of mapped bytes: the smallest of those that
    // hold it (at most twice as large), else the largest of those at least
    // half its size. Null pages when none suits.
    Spare takeSpare(std::size_t mapped) noexcept {
        std::lock_guard<std::mutex> guard(lock);
        std::size_t best = kMaxSpares;
        for (std::size_t i = 0; i < spareCount; ++i) {
            const std::size_t size = spares[i].mapped;
            if (size / 2 > mapped || size < mapped / 2)
                continue;
            if (best == kMaxSpares) {
                best = i;
                continue;
            }
            const std::size_t chosen = spares[best].mapped;
            const bool holds = size >= mapped;
            if (holds ? chosen < mapped || size < chosen : chosen < mapped && size > chosen)
                best = i;
        }
        return best == kMaxSpares ? Spare{nullptr, 0} : removeSpare(best);
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

// A spare's pages made exactly mapped bytes long; null (and the spare
// released) when they cannot grow. With clear, the reused pages are zeroed;
// grown ones come zeroed from the kernel.
void* fitSpare(Spare s, std::size_t mapped, bool clear) noexcept {
    void* p = s.pages;
    if (s.mapped > mapped) {
        munmap(static_cast<char*>(p) + mapped, s.mapped - mapped);
    } else if (s.mapped < mapped) {
        p = mremap(p, s.mapped, mapped, MREMAP_MAYMOVE);
        if (p == MAP_FAILED) {
            munmap(s.pages, s.mapped);
            return nullptr;
        }
    }
    if (clear)
        std::memset(p, 0, s.mapped < mapped ? s.mapped : mapped);
    return p;
}

void* allocate(std::size_t bytes, const char* category, bool clear) noexcept {
    Registry& r = Registry::instance();
    const std::size_t mapped = r.pagesFor(bytes);
    if (mapped == 0)
        return nullptr;
    const Spare spare = r.takeSpare(mapped);
    void* p = spare.pages ? fitSpare(spare, mapped, clear) : nullptr;
    if (!p)
        p = mapPages(mapped);
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

} // namespace

void* mmapAlloc(std::size_t bytes, const char* category) noexcept { return allocate(bytes, category, true); }

void* mmapAllocUncleared(std::size_t bytes, const char* category) noexcept {
    return allocate(bytes, category, false);
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
    Unmapping released; // after the lock (declared first, destroyed last)
    std::lock_guard<std::mutex> guard(r.lock);
    auto it = r.blocks.find(storage);
    if (it == r.blocks.end())
        return false;
    const Block b = it->second;
    r.blocks.erase(it);
    Registry::count(b.category, b.bytes, 0, -1);
    if (!r.keepSpare(Spare{storage, b.mapped}, released))
        released.add(Spare{storage, b.mapped});
    return true;
}

std::size_t mmapSpareBytes() noexcept {
    Registry& r = Registry::instance();
    std::lock_guard<std::mutex> guard(r.lock);
    return r.spareBytes;
}

std::size_t mmapSetSpareLimit(std::size_t bytes) noexcept {
    Registry& r = Registry::instance();
    Unmapping released;
    std::lock_guard<std::mutex> guard(r.lock);
    const std::size_t previous = r.spareLimit;
    r.spareLimit = bytes;
    r.makeRoom(0, 0, released);
    return previous;
}

void mmapReleaseSpares() noexcept {
    Registry& r = Registry::instance();
    Unmapping released;
    std::lock_guard<std::mutex> guard(r.lock);
    while (r.spareCount > 0)
        released.add(r.removeSpare(r.spareCount - 1));
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
