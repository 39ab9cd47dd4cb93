// The library's regular-expression engine, behind Tstring::matchesRegexp.
#pragma once

#include "grundel/core/Tapi.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace grundel::detail {

/// A compiled POSIX extended regular expression, run by a Pike machine: the
/// cost of a match is linear in the subject for a given pattern, and its
/// memory is linear in the compiled program, which has a hard size bound.
///
/// Syntax: literals, ".", bracket expressions (ranges, "[:class:]",
/// "[=c=]", "[.c.]", "]" first and "-" first or last are literal), groups,
/// "|" with empty alternatives, "*", "+", "?", "{n}", "{n,}", "{n,m}",
/// "{,m}" (bounds up to 32767), "^" and "$" anywhere as assertions, an
/// unmatched ")" as a literal, and the escapes "\w", "\W", "\s", "\S",
/// "\b", "\B", "\<", "\>", "\`", "\'"; any other escaped character stands
/// for itself. Refused: back-references "\1" to "\9", a repetition with
/// nothing to repeat or stacked on another ("a**", "a{2}*"), groups nested
/// deeper than kMaxNesting, and patterns whose program would exceed
/// kMaxProgram instructions (counted repetition is expanded in place).
///
/// Matching: the leftmost match wins, then the longest from there; among
/// the ways to match that span, repetitions take as much as they can and
/// earlier alternatives are preferred, which decides the groups. A group
/// repeated reports its last iteration. Bytes are matched as they are.
///
/// A compiled Regex is immutable: match() may run from several threads.
class GRUNDEL_API Regex {
public:
    static constexpr std::uint32_t kMaxProgram = 1u << 14; ///< instructions
    static constexpr int kMaxNesting = 128;                ///< group depth
    static constexpr int kMaxRepeat = 32767;               ///< largest bound

    enum class Status { ok, syntax, backReference, tooLarge, tooDeep };

    /// Compiles the NUL-terminated pattern; anything but ok leaves the
    /// Regex unusable.
    [[nodiscard]] Status compile(const char* pattern);

    /// Number of groups, "(" counted in the pattern.
    int groups() const noexcept { return fGroups; }
    /// Instructions in the compiled program.
    std::size_t programSize() const noexcept { return fProgram.size(); }

    /// Searches text[0, length) for the leftmost-longest match. On a match
    /// fills slots[2g] and slots[2g + 1] with the start and end of group g
    /// (group 0 the whole match, -1 for a group that took no part) for
    /// 2g < slotCount, and returns true. slotCount is even, 2 to 20.
    /// The engine is chosen by program and text size unless forced (for
    /// tests: both give the same results).
    enum class Engine { automatic, pike };
    [[nodiscard]] bool match(const char* text, std::size_t length, int* slots, int slotCount,
                             Engine engine = Engine::automatic) const;

    enum class Op : std::uint8_t { byte, any, set, split, jump, save, assert, match };
    enum Assertion : std::uint8_t {
        kTextStart, kTextEnd, kWordBoundary, kNotWordBoundary, kWordStart, kWordEnd
    };
    struct Inst {
        Op op;
        std::uint8_t byte; ///< byte, or the assertion
        std::uint32_t x;   ///< next (split: preferred), set index, save slot
        std::uint32_t y;   ///< split: the other branch
    };
    struct ByteSet {
        std::uint64_t bits[4] = {0, 0, 0, 0};
        bool has(unsigned char c) const noexcept { return (bits[c >> 6] >> (c & 63)) & 1; }
        void add(unsigned char c) noexcept { bits[c >> 6] |= std::uint64_t(1) << (c & 63); }
    };

private:
    class Parser;
    class Compiler;
    class Machine;
    class Backtracker;

    std::vector<Inst> fProgram;
    std::vector<ByteSet> fSets;
    int fGroups = 0;
    bool fAnchoredStart = false; ///< every match starts at 0
    // Literals every match holds, checked before the machine runs: after
    // a leading "^", before a trailing "$", and the longest run of plain
    // bytes at the top level.
    std::string fPrefix;
    std::string fSuffix;
    std::string fRequired;
};

} // namespace grundel::detail
