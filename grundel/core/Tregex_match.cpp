// Two ways to run a program, with the same results. The Pike machine
// advances every live thread one byte at a time, at most one thread per
// instruction, so a match costs time linear in the text and memory linear
// in the program. For small programs on short texts a backtracker that
// visits each (instruction, position) at most once is faster: the same
// bound, with less bookkeeping per step.
#include "grundel/core/Tregex_p.h"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cstring>
#include <memory>

namespace grundel::detail {

namespace {

bool isWordByte(int c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

bool holds(std::uint8_t assertion, const char* text, int length, int pos) noexcept {
    const bool before = pos > 0 && isWordByte(static_cast<unsigned char>(text[pos - 1]));
    const bool after = pos < length && isWordByte(static_cast<unsigned char>(text[pos]));
    switch (assertion) {
    case Regex::kTextStart: return pos == 0;
    case Regex::kTextEnd: return pos == length;
    case Regex::kWordBoundary: return before != after;
    case Regex::kNotWordBoundary: return before == after;
    case Regex::kWordStart: return !before && after;
    case Regex::kWordEnd: return before && !after;
    default: return false;
    }
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
        int* p = fSmall;
        if (ints > kSmall) {
            fLarge.reset(new int[ints]());
            p = fLarge.get();
        } else {
            std::fill(p, p + ints, 0);
        }
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
                    if (!holds(in.byte, fText, fLength, pos))
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
    // Small programs need no allocation; a fixed size, whatever the pattern.
    static constexpr std::size_t kSmall = 1024;
    int fSmall[kSmall];
    std::unique_ptr<int[]> fLarge;
    List fLists[2];
    int* fJobs = nullptr;
    int* fBest = nullptr;
};

// Depth first in priority order; a visited (instruction, position) is not
// tried again, since the first visit came by the preferred path and found
// whatever could be found from there.
class Regex::Backtracker {
public:
    static constexpr std::size_t kMaxStates = 4096;

    Backtracker(const Regex& re, const char* text, int length, int slotCount)
        : fProgram(re.fProgram.data()), fSets(re.fSets.data()), fSize(re.fProgram.size()), fText(text),
          fLength(length), fSlots(slotCount) {
        std::fill(fVisited, fVisited + (fSize * std::size_t(length + 1) + 63) / 64, 0);
    }

    bool run(bool anchoredStart, int* slots) {
        for (int start = 0; start <= fLength; ++start) {
            std::fill(fCaps, fCaps + fSlots, -1);
            if (tryFrom(start, slots))
                return true;
            if (anchoredStart)
                break;
        }
        return false;
    }

private:
    bool visit(std::uint32_t pc, int pos) noexcept {
        const std::size_t bit = std::size_t(pos) * fSize + pc;
        std::uint64_t& word = fVisited[bit >> 6];
        const std::uint64_t mask = std::uint64_t(1) << (bit & 63);
        if (word & mask)
            return false;
        word |= mask;
        return true;
    }

    // Jobs are triples: a branch to explore (pc, pos, -1) or a capture to
    // restore (slot, value, 0).
    void push(int a, int b, int c) {
        if (fTop + 3 > fCapacity) {
            // At most one branch and one restore per state: bounded.
            std::vector<int> grown(2 * fCapacity);
            std::copy(fJobs, fJobs + fTop, grown.begin());
            fSpill.swap(grown);
            fJobs = fSpill.data();
            fCapacity = fSpill.size();
        }
        fJobs[fTop] = a;
        fJobs[fTop + 1] = b;
        fJobs[fTop + 2] = c;
        fTop += 3;
    }

    // Every match found from start, longest kept; returns true on any.
    bool tryFrom(int start, int* slots) {
        bool matched = false;
        int bestEnd = -1;
        fTop = 0;
        push(0, start, -1);
        while (fTop) {
            fTop -= 3;
            const int a = fJobs[fTop], b = fJobs[fTop + 1], c = fJobs[fTop + 2];
            if (c >= 0) {
                fCaps[a] = b;
                continue;
            }
            std::uint32_t pc = std::uint32_t(a);
            int pos = b;
            while (visit(pc, pos)) {
                const Inst& in = fProgram[pc];
                const int byte = pos < fLength ? static_cast<unsigned char>(fText[pos]) : -1;
                bool next = false;
                switch (in.op) {
                case Op::byte:
                    next = byte == in.byte;
                    break;
                case Op::any:
                    next = byte >= 0;
                    break;
                case Op::set:
                    next = byte >= 0 && fSets[in.x].has(static_cast<unsigned char>(byte));
                    break;
                case Op::jump:
                    pc = in.x;
                    continue;
                case Op::split:
                    push(int(in.y), pos, -1);
                    pc = in.x;
                    continue;
                case Op::save:
                    if (in.x < std::uint32_t(fSlots)) {
                        push(int(in.x), fCaps[in.x], 0);
                        fCaps[in.x] = pos;
                    }
                    ++pc;
                    continue;
                case Op::assert:
                    if (holds(in.byte, fText, fLength, pos)) {
                        ++pc;
                        continue;
                    }
                    break;
                case Op::match:
                    if (pos > bestEnd) {
                        std::copy(fCaps, fCaps + fSlots, slots);
                        bestEnd = pos;
                        matched = true;
                        if (pos == fLength)
                            return true; // nothing can be longer
                    }
                    break;
                }
                if (!next)
                    break;
                ++pc;
                ++pos;
            }
        }
        return matched;
    }

    const Inst* fProgram;
    const ByteSet* fSets;
    std::size_t fSize;
    const char* fText;
    int fLength;
    int fSlots;
    int fCaps[20];
    std::uint64_t fVisited[kMaxStates / 64 + 1];
    int fInline[192];
    std::vector<int> fSpill;
    int* fJobs = fInline;
    std::size_t fTop = 0;
    std::size_t fCapacity = 192;
};

bool Regex::match(const char* text, std::size_t length, int* slots, int slotCount, Engine engine) const {
    assert(slotCount >= 2 && slotCount <= 20 && slotCount % 2 == 0);
    if (fProgram.empty() || length > std::size_t(INT_MAX - 1))
        return false;
    if (length < fPrefix.size() + fSuffix.size() ||
        std::memcmp(text, fPrefix.data(), fPrefix.size()) != 0 ||
        std::memcmp(text + length - fSuffix.size(), fSuffix.data(), fSuffix.size()) != 0 ||
        (!fRequired.empty() && !::memmem(text, length, fRequired.data(), fRequired.size())))
        return false;
    if (engine != Engine::pike && fProgram.size() * (length + 1) <= Backtracker::kMaxStates) {
        Backtracker backtracker(*this, text, int(length), slotCount);
        return backtracker.run(fAnchoredStart, slots);
    }
    Machine machine(*this, text, int(length), slotCount);
    return machine.run(fAnchoredStart, slots);
}

} // namespace grundel::detail
