#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Texception.h"
#include "grundel/math/T3dFltPoint.h"

#include <cassert>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

template <class T>
class Toctree;

/// One cell of an adaptive octree over entries of type T (small, trivially
/// copyable values, typically an index into the caller's arrays).
///
/// The cell's box is closed and single precision. Octants are numbered by
/// bits: bit 0 set is the upper half in X (x >= centre x), bit 1 in Y, bit 2
/// in Z; octant 7 is the all-upper corner. A node owns its children and its
/// entry list; a leaf (not split) keeps every entry that reaches it, a split
/// node keeps only the entries that fit none of the octants it may have.
///
/// Nodes are created by their tree and are neither copied nor moved. Reading
/// from several threads is safe while nobody inserts.
template <class T>
class alignas(64) TotNode {
    static_assert(std::is_trivially_copyable<T>::value, "octree entries are copied as bytes");

public:
    TotNode(const TotNode&) = delete;
    TotNode& operator=(const TotNode&) = delete;
    /// Destroys the children and releases the entry list (the nodes' own
    /// storage belongs to the tree).
    virtual ~TotNode();

    Toctree<T>& tree() const noexcept { return *fTree; }
    /// Null for the root.
    TotNode* parent() const noexcept { return fParent; }
    /// This node's octant within its parent (0 for the root).
    int octant() const noexcept { return fOctant; }
    /// False while the node is a leaf.
    bool isSplit() const noexcept { return fSplit; }

    /// The dividing point. On an axis that is not split it equals the minimum,
    /// so the whole cell lies in the upper half on that axis.
    const T3dFltPoint& center() const noexcept { return fBox[0]; }
    const T3dFltPoint& minCorner() const noexcept { return fBox[1]; }
    const T3dFltPoint& maxCorner() const noexcept { return fBox[2]; }
    /// Centre, minimum and maximum corner, in that order: the box sortEntry takes.
    const T3dFltPoint* box() const noexcept { return fBox; }

    /// Null until the octant's child is first needed.
    TotNode* child(int octant) const noexcept {
        assert(octant >= 0 && octant < 8);
        return fChildren[octant];
    }
    /// The octants that may ever be created below this node (bit i for octant
    /// i); 0 when the node can never split.
    unsigned int childMask() const noexcept { return fChildMask; }

    /// This node's own entries (a leaf's all; a split node's unsorted rest).
    unsigned int entryCount() const noexcept { return fCount; }
    const T* entries() const noexcept { return fEntries; }
    const T& entry(unsigned int i) const noexcept {
        assert(i < fCount);
        return fEntries[i];
    }
    const T* begin() const noexcept { return fEntries; }
    const T* end() const noexcept { return fEntries + fCount; }
    /// The allocated length of the entry list.
    unsigned int capacity() const noexcept { return fCapacity; }

    /// Asks for the cache lines that a visit reads (walkers call it for the
    /// cells they are about to enter).
    void prefetch() const noexcept {
        __builtin_prefetch(this);
        __builtin_prefetch(reinterpret_cast<const char*>(this) + 64);
    }

protected:
    TotNode(Toctree<T>* tree, TotNode* parent, int octant) noexcept : fTree(tree), fParent(parent), fOctant(octant) {}

    /// Stores the corners (min and max per axis as given), the centre and the
    /// mask of the octants that may be split off; see Toctree for the rule.
    void setDimensions(const Toctree<T>& tree, const T3dFltPoint& min, const T3dFltPoint& max) noexcept;
    /// Inserts with a depth budget: 1 means this node may not split, 0 unlimited.
    void addEntry(const T& entry, unsigned int budget);
    /// Deletes the children and the entries; the box stays.
    void clearNode() noexcept;

private:
    friend class Toctree<T>;

    void append(const T& entry);
    void split(unsigned int budget);
    bool splitSeparates(const T& entry) const;
    TotNode* makeChild(int octant);

    // Laid out for the walkers: with the vtable pointer, the first cache line
    // holds what every visit reads (entries and box), the second the children.
    T* fEntries = nullptr;
    unsigned int fCount = 0;
    unsigned int fCapacity = 0;
    bool fSplit = false;
    unsigned char fChildMask = 0;
    T3dFltPoint fBox[3]; // centre, min, max
    TotNode* fChildren[8] = {};
    Toctree<T>* fTree;
    TotNode* fParent;
    int fOctant;
};

/// An adaptive octree: the root node plus the parameters fixed at
/// construction. Derived trees decide where an entry goes through sortEntry;
/// the subdivision below is shared by every entry kind.
///
/// Subdivision. A leaf that already holds getMaxEntries() entries splits when
/// the next entry arrives, unless it sits at the depth limit or can never
/// split; its entries are then sorted again into the octants that sortEntry
/// names (an entry may go into several). Entries that fit no allowed octant
/// stay in the split node itself. A leaf that cannot split keeps growing.
/// (A derived tree may ask for separating splits only; see
/// setSplitOnlyWhenSeparating.)
/// An axis is not split when its half-width is below the minimum cell size,
/// is 0 or less, or when the centre equals the minimum or maximum in single
/// precision (or any of these comparisons is unordered); a cell with no axis
/// left to split never splits. Coincident entries therefore stop at a finite
/// depth even with the depth unlimited: at most about 280 levels, where single
/// precision runs out.
///
/// Entry lists. The first allocation holds max(2, maxEntries / 2) entries and
/// each growth adds max(2, maxEntries / 4). A list already past maxEntries
/// (a leaf that cannot split) grows by at least half its capacity instead,
/// so that filling it costs linear time.
///
/// Without corners the root box is the single point at the origin: call
/// setDimensions before inserting. Not copyable or movable (nodes point to
/// their tree); hold trees by pointer where they must move.
template <class T>
class Toctree : public TotNode<T> {
public:
    /// maxEntries per leaf before it splits (0 counts as 1); maxDepth 0 means
    /// unlimited and 1 keeps everything in the root; minCellSize is the
    /// smallest half-width that may still be split; tolerance is used by the
    /// entry tests of derived trees.
    Toctree(unsigned int maxEntries, unsigned int maxDepth, float minCellSize, double tolerance) noexcept
        : TotNode<T>(this, nullptr, 0), fMaxEntries(maxEntries ? maxEntries : 1), fMaxDepth(maxDepth),
          fMinCellSize(minCellSize), fTolerance(tolerance) {
        TotNode<T>::setDimensions(*this, T3dFltPoint(), T3dFltPoint());
    }
    /// Destroys the nodes while their storage still exists.
    ~Toctree() override { clear(); }

    /// The octants of the cell given by box (centre, minimum, maximum corner)
    /// into which entry goes, as a mask (bit i for octant i); 0 keeps the
    /// entry in the cell itself.
    virtual int sortEntry(const T& entry, const T3dFltPoint* box) const = 0;

    /// Inserts into the root with the tree's depth budget. No box test: a
    /// derived tree's own addEntry checks its entries first.
    void addEntry(const T& entry) {
        ++fChanges;
        TotNode<T>::addEntry(entry, fMaxDepth);
    }
    /// Empties the tree and sets the root box. Corners are ordered per axis.
    void setDimensions(const T3dFltPoint& min, const T3dFltPoint& max) noexcept {
        clear();
        TotNode<T>::setDimensions(*this, min, max);
    }
    /// Removes every entry and node; the box and parameters stay.
    void clear() noexcept {
        ++fChanges;
        TotNode<T>::clearNode();
        fNodeBlocks.clear();
        fNodesLeft = 0;
    }

    unsigned int getMaxEntries() const noexcept { return fMaxEntries; }
    unsigned int getMaxDepth() const noexcept { return fMaxDepth; }
    float getMinCellSize() const noexcept { return fMinCellSize; }
    double tolerance() const noexcept { return fTolerance; }
    /// Grows with every addEntry, setDimensions and clear: whatever is built
    /// from the tree's contents compares it to tell whether it is stale.
    std::uint64_t changeCount() const noexcept { return fChanges; }

    /// Calls fn(node) for every node, parents before children, without recursion.
    template <class Fn>
    void forEachNode(Fn&& fn) const;
    unsigned int nodeCount() const {
        unsigned int n = 0;
        forEachNode([&n](const TotNode<T>&) { ++n; });
        return n;
    }

protected:
    /// For entries that may go into several octants: a full leaf splits only
    /// when no one octant would receive all its entries and the new one
    /// (otherwise the child would be as full, cell after cell, down to the
    /// smallest size: around a vertex shared by more triangles than a leaf
    /// holds, or for duplicate faces), or when they all fall into one and the
    /// same octant and no other (a cluster in a corner of a large cell, which
    /// smaller cells separate). Until then it keeps growing, and tests again
    /// each time its list must grow, so the tests cost linear time.
    void setSplitOnlyWhenSeparating(bool on) noexcept { fSplitOnlyWhenSeparating = on; }

private:
    friend class TotNode<T>;

    // Nodes come from blocks owned by the tree and are only ever released
    // all together, so one allocation serves many nodes.
    static constexpr unsigned int kNodesPerBlock = 64;
    struct BlockDeleter {
        void operator()(void* p) const noexcept { ::operator delete(p, std::align_val_t(alignof(TotNode<T>))); }
    };
    void* nodeStorage() {
        if (fNodesLeft == 0) {
            fNodeBlocks.emplace_back(
                ::operator new(sizeof(TotNode<T>) * kNodesPerBlock, std::align_val_t(alignof(TotNode<T>))));
            fNodesLeft = kNodesPerBlock;
        }
        return static_cast<char*>(fNodeBlocks.back().get()) + sizeof(TotNode<T>) * (kNodesPerBlock - fNodesLeft--);
    }
    std::vector<std::unique_ptr<void, BlockDeleter>> fNodeBlocks;
    unsigned int fNodesLeft = 0;

    unsigned int fMaxEntries;
    unsigned int fMaxDepth;
    float fMinCellSize;
    double fTolerance;
    bool fSplitOnlyWhenSeparating = false;
    std::uint64_t fChanges = 1;
};

// ---------------------------------------------------------------------------

template <class T>
TotNode<T>::~TotNode() {
    clearNode();
}

template <class T>
void TotNode<T>::clearNode() noexcept {
    for (TotNode*& c : fChildren) {
        if (c)
            c->~TotNode(); // the storage belongs to the tree
        c = nullptr;
    }
    std::free(fEntries);
    fEntries = nullptr;
    fCount = fCapacity = 0;
    fSplit = false;
}

template <class T>
void TotNode<T>::setDimensions(const Toctree<T>& tree, const T3dFltPoint& min, const T3dFltPoint& max) noexcept {
    unsigned int mask = 0xff;
    for (unsigned int k = 0; k < 3; ++k) {
        // Unordered corners are kept as given: nothing compares inside them.
        float lo = min[k], hi = max[k];
        if (hi < lo)
            std::swap(lo, hi);
        // The midpoint in double cannot overflow; rounded once to the cell's precision.
        const float centre = static_cast<float>((static_cast<double>(lo) + static_cast<double>(hi)) * 0.5);
        const float half = hi - centre;
        fBox[1][k] = lo;
        fBox[2][k] = hi;
        fBox[0][k] = centre;
        const bool splits = half >= tree.getMinCellSize() && half > 0 && centre != lo && centre != hi;
        if (!splits) {
            fBox[0][k] = lo;
            // Keep the octants whose bit k is set.
            mask &= k == 0 ? 0xaa : k == 1 ? 0xcc : 0xf0;
        }
    }
    fChildMask = static_cast<unsigned char>(mask == 0x80 ? 0 : mask);
}

template <class T>
void TotNode<T>::append(const T& entry) {
    if (fCount == fCapacity) {
        const unsigned int maxEntries = fTree->getMaxEntries();
        unsigned int grow = fCapacity == 0 ? maxEntries / 2 : maxEntries / 4;
        if (grow < 2)
            grow = 2;
        if (fCount >= maxEntries && grow < fCapacity / 2)
            grow = fCapacity / 2;
        if (grow > 0xffffffffu - fCapacity)
            throw TmemoryException(sizeof(T) * (static_cast<std::size_t>(fCapacity) + grow));
        const std::size_t bytes = sizeof(T) * (static_cast<std::size_t>(fCapacity) + grow);
        // The entry may live in this list: copy it before the list moves.
        const T copy = entry;
        void* p = std::realloc(fEntries, bytes);
        if (!p)
            throw TmemoryException(bytes);
        fEntries = static_cast<T*>(p);
        fCapacity += grow;
        std::memcpy(static_cast<void*>(fEntries + fCount++), &copy, sizeof(T));
        return;
    }
    std::memcpy(static_cast<void*>(fEntries + fCount++), &entry, sizeof(T));
}

template <class T>
TotNode<T>* TotNode<T>::makeChild(int octant) {
    TotNode* c = new (fTree->nodeStorage()) TotNode(fTree, this, octant);
    T3dFltPoint lo(TnoInit{}), hi(TnoInit{});
    for (unsigned int k = 0; k < 3; ++k) {
        if (octant & (1 << k)) {
            lo[k] = fBox[0][k];
            hi[k] = fBox[2][k];
        } else {
            lo[k] = fBox[1][k];
            hi[k] = fBox[0][k];
        }
    }
    c->setDimensions(*fTree, lo, hi);
    fChildren[octant] = c;
    return c;
}

template <class T>
void TotNode<T>::split(unsigned int budget) {
    fSplit = true;
    const unsigned int n = fCount;
    fCount = 0;
    // Entries that stay here are written back at or before the one being read.
    for (unsigned int i = 0; i < n; ++i)
        addEntry(fEntries[i], budget);
    if (fCount == 0) {
        std::free(fEntries);
        fEntries = nullptr;
        fCapacity = 0;
    }
}

template <class T>
bool TotNode<T>::splitSeparates(const T& entry) const {
    const unsigned int first = static_cast<unsigned int>(fTree->sortEntry(entry, fBox)) & fChildMask;
    unsigned int common = first, all = first;
    for (unsigned int i = 0; i < fCount && (common || (all & (all - 1)) == 0); ++i) {
        const unsigned int mask = static_cast<unsigned int>(fTree->sortEntry(fEntries[i], fBox)) & fChildMask;
        common &= mask;
        all |= mask;
    }
    // No octant shared by all, or one octant holding all (a cluster the
    // child's smaller cell separates further).
    return common == 0 || (all & (all - 1)) == 0;
}

template <class T>
void TotNode<T>::addEntry(const T& entry, unsigned int budget) {
    TotNode* node = this;
    // Single-octant entries descend in this loop; only an entry that goes
    // into several octants recurses, once per extra octant.
    for (;;) {
        if (!node->fSplit) {
            if (node->fCount < fTree->getMaxEntries() || budget == 1 || node->fChildMask == 0)
                return node->append(entry);
            if (fTree->fSplitOnlyWhenSeparating && (node->fCount < node->fCapacity || !node->splitSeparates(entry)))
                return node->append(entry);
            node->split(budget);
        }
        const unsigned int mask = static_cast<unsigned int>(fTree->sortEntry(entry, node->fBox)) & node->fChildMask;
        if (mask == 0)
            return node->append(entry);
        const unsigned int childBudget = budget == 0 ? 0 : budget - 1;
        if ((mask & (mask - 1)) == 0) {
            int i = 0;
            while (!(mask & (1u << i)))
                ++i;
            TotNode* c = node->fChildren[i];
            node = c ? c : node->makeChild(i);
            budget = childBudget;
            continue;
        }
        for (int i = 0; i < 8 && (1u << i) <= mask; ++i) {
            if (!(mask & (1u << i)))
                continue;
            TotNode* c = node->fChildren[i];
            (c ? c : node->makeChild(i))->addEntry(entry, childBudget);
        }
        return;
    }
}

template <class T>
template <class Fn>
void Toctree<T>::forEachNode(Fn&& fn) const {
    // Depth-first by parent links: no stack to size.
    const TotNode<T>* node = this;
    for (;;) {
        fn(*node);
        const TotNode<T>* next = nullptr;
        for (int i = 0; i < 8 && !next; ++i)
            next = node->child(i);
        while (!next && node != this) {
            const TotNode<T>* up = node->parent();
            for (int i = node->octant() + 1; i < 8 && !next; ++i)
                next = up->child(i);
            node = up;
        }
        if (!next)
            return;
        node = next;
    }
}
