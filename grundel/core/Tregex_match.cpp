// The Pike machine: every live thread of the program advances one byte at
// a time, at most one thread per instruction, so a match costs time linear
// in the text and memory linear in the program.
#include "grundel/core/Tregex_p.h"

#include <algorithm>
#include <cassert>
#include <climits>
#include <memory>

namespace grundel::detail {

namespace {

bool isWordByte(int c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

} // namespace

class Regex::Machine {
public:
    Machine(const Regex& re, const char* text, int length, int slotCount)
        : fProgram(re.fProgram.data()), fSets(re.fSets.data()), fText(text), fLength(length),
          fSlots(slotCount) {
        const std::size_t n = re.fProgram.size();
        // One block: two lists (sparse index, dense pcs, captures per entry),
        // the job stack and the best match so far.
        const std::size_t ints = 2 * (2 * n + n * fSlots) + 3 * (2 * n + 1) + fSlots;
        fMemory.reset(new int[ints]());
        int* p = fMemory.get();
        for (List& list : fLists) {
            list.sparse = reinterpret_cast<std::uint32_t*>(p);
            list.dense = reinterpret_cast<std::uint32_t*>(p + n);
            list.caps = p + 2 * n;
            p += 2 * n + n * fSlots;
        }
        fJobs = p;
        p += 3 * (2 * n + 1);
        fBest = p;
    }

    bool run(bool anchoredStart, int* slots) {
        List* current = &fLists[0];
        List* next = &fLists[1];
        bool matched = false;
        for (int pos = 0;; ++pos) {
            if (!matched && (pos == 0 || !anchoredStart)) {
                // A new start has the lowest priority of all threads, and it
                // needs its own captures: borrow the best's, which are unused.
                std::fill(fBest, fBest + fSlots, -1);
                addThread(*current, 0, pos, fBest);
            }
            if (current->size == 0 && (matched || anchoredStart))
                break;
            const int c = pos < fLength ? static_cast<unsigned char>(fText[pos]) : -1;
            next->size = 0;
            bool matchedHere = false;
            for (std::uint32_t i = 0; i < current->size; ++i) {
                int* caps = current->caps + std::size_t(i) * fSlots;
                if (matched && caps[0] > fBest[0])
                    continue; // starts right of the leftmost match
                const Inst& in = fProgram[current->dense[i]];
                bool advance = false;
                switch (in.op) {
                case Op::byte:
                    advance = c == in.byte;
                    break;
                case Op::any:
                    advance = c >= 0;
                    break;
                case Op::set:
                    advance = c >= 0 && fSets[in.x].has(static_cast<unsigned char>(c));
                    break;
                case Op::match:
                    // The first thread to match at this position has the
                    // leftmost start and the highest priority; a match at a
                    // later position from the same start is longer.
                    if (!matchedHere && (!matched || caps[0] <= fBest[0])) {
                        std::copy(caps, caps + fSlots, fBest);
                        matched = matchedHere = true;
                    }
                    break;
                default:
                    break;
                }
                if (advance)
                    addThread(*next, current->dense[i] + 1, pos + 1, caps);
            }
            std::swap(current, next);
            if (pos >= fLength)
                break;
        }
        if (matched)
            std::copy(fBest, fBest + fSlots, slots);
        return matched;
    }

private:
    struct List {
        std::uint32_t* sparse;
        std::uint32_t* dense;
        int* caps;
        std::uint32_t size = 0;
    };

    bool holds(std::uint8_t assertion, int pos) const noexcept {
        const bool before = pos > 0 && isWordByte(static_cast<unsigned char>(fText[pos - 1]));
        const bool after = pos < fLength && isWordByte(static_cast<unsigned char>(fText[pos]));
        switch (assertion) {
        case kTextStart: return pos == 0;
        case kTextEnd: return pos == fLength;
        case kWordBoundary: return before != after;
        case kNotWordBoundary: return before == after;
        case kWordStart: return !before && after;
        case kWordEnd: return before && !after;
        default: return false;
        }
    }

    // Follows jumps, splits, saves and assertions from pc in priority
    // order, adding every instruction reached to the list; those that
    // consume a byte or match keep a copy of the captures. caps is
    // modified on the way and restored before returning.
    void addThread(List& list, std::uint32_t pc, int pos, int* caps) {
        // Jobs are triples on the stack: a branch to explore (pc, -1, 0) or
        // a capture to restore (0, slot, value).
        std::size_t top = 0;
        push(top, int(pc), -1, 0);
        while (top) {
            top -= 3;
            if (fJobs[top + 1] >= 0) {
                caps[fJobs[top + 1]] = fJobs[top + 2];
                continue;
            }
            for (pc = std::uint32_t(fJobs[top]);;) {
                const std::uint32_t at = list.sparse[pc];
                if (at < list.size && list.dense[at] == pc)
                    break;
                list.sparse[pc] = list.size;
                list.dense[list.size] = pc;
                const std::size_t entry = list.size++;
                const Inst& in = fProgram[pc];
                if (in.op == Op::jump) {
                    pc = in.x;
                } else if (in.op == Op::split) {
                    push(top, int(in.y), -1, 0);
                    pc = in.x;
                } else if (in.op == Op::save) {
                    if (in.x < std::uint32_t(fSlots)) {
                        push(top, 0, int(in.x), caps[in.x]);
                        caps[in.x] = pos;
                    }
                    ++pc;
                } else if (in.op == Op::assert) {
                    if (!holds(in.byte, pos))
                        break;
                    ++pc;
                } else {
                    std::copy(caps, caps + fSlots, list.caps + entry * fSlots);
                    break;
                }
            }
        }
    }

    void push(std::size_t& top, int a, int b, int c) noexcept {
        fJobs[top] = a;
        fJobs[top + 1] = b;
        fJobs[top + 2] = c;
        top += 3;
    }

    const Inst* fProgram;
    const ByteSet* fSets;
    const char* fText;
    int fLength;
    int fSlots;
    std::unique_ptr<int[]> fMemory;
    List fLists[2];
    int* fJobs = nullptr;
    int* fBest = nullptr;
};

bool Regex::match(const char* text, std::size_t length, int* slots, int slotCount) const {
    assert(slotCount >= 2 && slotCount <= 20 && slotCount % 2 == 0);
    if (fProgram.empty() || length > std::size_t(INT_MAX - 1))
        return false;
    Machine machine(*this, text, int(length), slotCount);
    return machine.run(fAnchoredStart, slots);
}

} // namespace grundel::detail
