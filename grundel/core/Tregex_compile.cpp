// Parsing a regular expression into a tree, and the tree into a program.
#include "grundel/core/Tregex_p.h"

#include <cassert>
#include <cstring>

namespace grundel::detail {

namespace {

constexpr std::uint32_t kNone = ~std::uint32_t(0);
constexpr std::uint32_t kTooLarge = Regex::kMaxProgram + 1;

enum class Kind : std::uint8_t { empty, byte, any, set, assertion, group, concat, alt, repeat };

// One node of the syntax tree. Sizes are the node's instruction count,
// saturated just past the bound, so that a refused pattern is refused
// before anything is expanded.
struct Node {
    Kind kind;
    std::uint8_t byte;  // byte, assertion
    std::uint32_t a;    // child, first kid, set index
    std::uint32_t b;    // group number, kid count
    int min;            // repeat
    int max;            // repeat; -1 for no upper bound
    std::uint32_t size;
};

std::uint32_t saturate(std::uint64_t n) noexcept { return n > Regex::kMaxProgram ? kTooLarge : std::uint32_t(n); }

bool isRepeat(char c) noexcept { return c == '*' || c == '+' || c == '?' || c == '{'; }

bool isWordByte(int c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// The POSIX classes over ASCII, the same in every locale.
bool classHas(const char* name, std::size_t n, int c) noexcept {
    const auto is = [&](const char* s) { return std::strlen(s) == n && std::memcmp(s, name, n) == 0; };
    const bool upper = c >= 'A' && c <= 'Z', lower = c >= 'a' && c <= 'z', digit = c >= '0' && c <= '9';
    const bool graph = c > 0x20 && c < 0x7F;
    if (is("alpha")) return upper || lower;
    if (is("digit")) return digit;
    if (is("alnum")) return upper || lower || digit;
    if (is("upper")) return upper;
    if (is("lower")) return lower;
    if (is("space")) return c == ' ' || (c >= '\t' && c <= '\r');
    if (is("blank")) return c == ' ' || c == '\t';
    if (is("punct")) return graph && !upper && !lower && !digit;
    if (is("print")) return graph || c == ' ';
    if (is("graph")) return graph;
    if (is("cntrl")) return c < 0x20 || c == 0x7F;
    if (is("xdigit")) return digit || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    return false;
}

bool isClassName(const char* name, std::size_t n) noexcept {
    static const char* const kNames[] = {"alpha", "digit", "alnum", "upper", "lower", "space",
                                         "blank", "punct", "print", "graph", "cntrl", "xdigit"};
    for (const char* k : kNames)
        if (std::strlen(k) == n && std::memcmp(k, name, n) == 0)
            return true;
    return false;
}

} // namespace

// Recursive descent over the pattern. Recursion goes through groups only,
// two frames per level, and the depth is capped.
class Regex::Parser {
public:
    Parser(const char* pattern, Regex& re) : fP(pattern), fRe(re) {}

    Status run() {
        fNodes.reserve(std::strlen(fP) + 1);
        if (!parseAlternation(fRoot))
            return fStatus;
        if (*fP) // a ")" closing nothing at the top is a literal, so only errors stop early
            return Status::syntax;
        return Status::ok;
    }

    // Literals at the top level that every match holds: after a leading
    // "^", before a trailing "$", and the longest run of plain bytes.
    void findLiterals() {
        fRe.fPrefix.clear();
        fRe.fSuffix.clear();
        fRe.fRequired.clear();
        const bool concat = fNodes[fRoot].kind == Kind::concat;
        const std::uint32_t* items = concat ? &fKids[fNodes[fRoot].a] : &fRoot;
        const std::uint32_t count = concat ? fNodes[fRoot].b : 1;
        const auto isAssertion = [&](std::uint32_t i, std::uint8_t which) {
            return fNodes[items[i]].kind == Kind::assertion && fNodes[items[i]].byte == which;
        };
        fRe.fAnchoredStart = isAssertion(0, kTextStart);
        std::string run;
        for (std::uint32_t i = 0; i <= count; ++i) {
            if (i < count && fNodes[items[i]].kind == Kind::byte) {
                run += char(fNodes[items[i]].byte);
                continue;
            }
            if (run.size() > fRe.fRequired.size())
                fRe.fRequired = run;
            if (i == run.size() + 1 && fRe.fAnchoredStart)
                fRe.fPrefix = run;
            else if (i == count - 1 && isAssertion(i, kTextEnd))
                fRe.fSuffix = run; // unless the same bytes are the prefix
            run.clear();
        }
        if (fRe.fRequired == fRe.fPrefix || fRe.fRequired == fRe.fSuffix)
            fRe.fRequired.clear();
    }

    std::vector<Node> fNodes;
    std::vector<std::uint32_t> fKids;
    std::uint32_t fRoot = kNone;

private:
    bool fail(Status s) {
        fStatus = s;
        return false;
    }

    std::uint32_t add(const Node& n) {
        fNodes.push_back(n);
        return std::uint32_t(fNodes.size() - 1);
    }
    std::uint32_t leaf(Kind kind, std::uint8_t byte = 0, std::uint32_t a = 0) {
        return add(Node{kind, byte, a, 0, 0, 0, 1});
    }
    std::uint32_t newSet(const ByteSet& set) {
        fRe.fSets.push_back(set);
        return leaf(Kind::set, 0, std::uint32_t(fRe.fSets.size() - 1));
    }

    // Moves the items above mark into the kid list as one concat or
    // alternation node (or returns the single item itself).
    std::uint32_t collect(std::size_t mark, Kind kind) {
        const std::size_t count = fStack.size() - mark;
        if (count == 1) {
            const std::uint32_t only = fStack.back();
            fStack.pop_back();
            return only;
        }
        std::uint64_t size = kind == Kind::alt ? 2 * (count - 1) : 0;
        const std::uint32_t first = std::uint32_t(fKids.size());
        for (std::size_t i = mark; i < fStack.size(); ++i) {
            fKids.push_back(fStack[i]);
            size += fNodes[fStack[i]].size;
        }
        fStack.resize(mark);
        return add(Node{count ? kind : Kind::empty, 0, first, std::uint32_t(count), 0, 0, saturate(size)});
    }

    bool parseAlternation(std::uint32_t& out) {
        const std::size_t altMark = fStack.size();
        for (;;) {
            const std::size_t concatMark = fStack.size();
            while (*fP && *fP != '|' && !(*fP == ')' && fDepth > 0)) {
                if (isRepeat(*fP))
                    return fail(Status::syntax); // nothing to repeat
                std::uint32_t atom;
                bool repeatable = true;
                if (!parseAtom(atom, repeatable))
                    return false;
                if (isRepeat(*fP)) {
                    if (!repeatable)
                        return fail(Status::syntax);
                    int min, max;
                    if (!parseRepeat(min, max))
                        return false;
                    if (isRepeat(*fP))
                        return fail(Status::syntax); // stacked repetitions
                    atom = repeat(atom, min, max);
                    if (fNodes[atom].size == 0)
                        continue; // "x{0}" leaves nothing to run
                }
                fStack.push_back(atom);
            }
            fStack.push_back(collect(concatMark, Kind::concat));
            if (*fP != '|')
                break;
            ++fP;
        }
        out = collect(altMark, Kind::alt);
        return true;
    }

    std::uint32_t repeat(std::uint32_t child, int min, int max) {
        const std::uint64_t s = fNodes[child].size;
        std::uint64_t size;
        if (max == 0)
            size = 0;
        else if (max < 0)
            size = min == 0 ? s + 2 : std::uint64_t(min) * s + 1;
        else
            size = std::uint64_t(min) * s + std::uint64_t(max - min) * (s + 1);
        return add(Node{Kind::repeat, 0, child, 0, min, max, saturate(size)});
    }

    bool parseAtom(std::uint32_t& out, bool& repeatable) {
        const char c = *fP++;
        switch (c) {
        case '(': {
            if (++fDepth > kMaxNesting)
                return fail(Status::tooDeep);
            const std::uint32_t group = std::uint32_t(++fRe.fGroups);
            std::uint32_t child;
            if (!parseAlternation(child))
                return false;
            if (*fP != ')')
                return fail(Status::syntax);
            ++fP;
            --fDepth;
            out = add(Node{Kind::group, 0, child, group, 0, 0, saturate(std::uint64_t(fNodes[child].size) + 2)});
            return true;
        }
        case '.':
            out = leaf(Kind::any);
            return true;
        case '[':
            return parseBracket(out);
        case '^':
        case '$':
            out = leaf(Kind::assertion, c == '^' ? kTextStart : kTextEnd);
            repeatable = false;
            return true;
        case '\\':
            return parseEscape(out, repeatable);
        default:
            out = leaf(Kind::byte, std::uint8_t(c));
            return true;
        }
    }

    bool parseEscape(std::uint32_t& out, bool& repeatable) {
        const char c = *fP;
        if (!c)
            return fail(Status::syntax);
        ++fP;
        if (c >= '1' && c <= '9')
            return fail(Status::backReference);
        if (c == 'w' || c == 'W' || c == 's' || c == 'S') {
            ByteSet set;
            const bool word = c == 'w' || c == 'W';
            for (int b = 0; b < 256; ++b)
                if ((word ? isWordByte(b) : classHas("space", 5, b)) == (c == 'w' || c == 's'))
                    set.add(std::uint8_t(b));
            out = newSet(set);
            return true;
        }
        static const char kAssertions[] = "`'bB<>";
        static const std::uint8_t kKinds[] = {kTextStart, kTextEnd, kWordBoundary, kNotWordBoundary, kWordStart, kWordEnd};
        if (const char* a = std::strchr(kAssertions, c)) {
            out = leaf(Kind::assertion, kKinds[a - kAssertions]);
            repeatable = false;
            return true;
        }
        out = leaf(Kind::byte, std::uint8_t(c));
        return true;
    }

    bool parseRepeat(int& min, int& max) {
        const char c = *fP++;
        if (c != '{') {
            min = c == '+' ? 1 : 0;
            max = c == '?' ? 1 : -1;
            return true;
        }
        bool low = false, high = false;
        min = parseNumber(low);
        max = min;
        if (*fP == ',') {
            ++fP;
            max = parseNumber(high);
            if (!high)
                max = -1;
        } else if (!low) {
            return fail(Status::syntax);
        }
        if (*fP++ != '}')
            return fail(Status::syntax);
        if (min > kMaxRepeat || max > kMaxRepeat)
            return fail(Status::tooLarge);
        if (max >= 0 && max < min)
            return fail(Status::syntax);
        return true;
    }

    int parseNumber(bool& any) {
        int n = 0;
        any = false;
        for (; *fP >= '0' && *fP <= '9'; ++fP) {
            any = true;
            n = n > kMaxRepeat ? n : n * 10 + (*fP - '0');
        }
        return n;
    }

    bool parseBracket(std::uint32_t& out) {
        ByteSet set;
        const bool negate = *fP == '^';
        if (negate)
            ++fP;
        for (bool first = true;; first = false) {
            if (!*fP)
                return fail(Status::syntax);
            if (*fP == ']' && !first) {
                ++fP;
                break;
            }
            int low;
            if (!parseBracketElement(set, low))
                return false;
            if (low < 0) { // a class, added already; it cannot start a range
                if (*fP == '-' && fP[1] && fP[1] != ']')
                    return fail(Status::syntax);
                continue;
            }
            int high = low;
            if (*fP == '-' && fP[1] && fP[1] != ']') {
                ++fP;
                ByteSet unused;
                if (!parseBracketElement(unused, high))
                    return false;
                if (high < low) // also a class as the end of a range
                    return fail(Status::syntax);
            }
            for (int b = low; b <= high; ++b)
                set.add(std::uint8_t(b));
        }
        if (negate)
            for (std::uint64_t& w : set.bits)
                w = ~w;
        out = newSet(set);
        return true;
    }

    // One element of a bracket expression: a byte (returned) or a class
    // (added to set; returns -1).
    bool parseBracketElement(ByteSet& set, int& byte) {
        if (fP[0] == '[' && (fP[1] == ':' || fP[1] == '=' || fP[1] == '.')) {
            const char kind = fP[1];
            const char* name = fP + 2;
            const char* end = name;
            while (*end && !(end[0] == kind && end[1] == ']'))
                ++end;
            if (!*end)
                return fail(Status::syntax);
            const std::size_t n = std::size_t(end - name);
            fP = end + 2;
            if (kind != ':') {
                if (n != 1) // only single characters collate here
                    return fail(Status::syntax);
                byte = static_cast<unsigned char>(*name);
                return true;
            }
            if (!isClassName(name, n))
                return fail(Status::syntax);
            for (int b = 0; b < 128; ++b)
                if (classHas(name, n, b))
                    set.add(std::uint8_t(b));
            byte = -1;
            return true;
        }
        byte = static_cast<unsigned char>(*fP++);
        return true;
    }

    const char* fP;
    Regex& fRe;
    Status fStatus = Status::syntax;
    int fDepth = 0;
    std::vector<std::uint32_t> fStack; // items of the concatenations and alternations being read
};

// Emits the program of a tree whose size is known to be within bounds.
// Recursion follows the tree, whose depth the parser capped.
class Regex::Compiler {
public:
    Compiler(const std::vector<Node>& nodes, const std::vector<std::uint32_t>& kids, std::vector<Inst>& program)
        : fNodes(nodes), fKids(kids), fProgram(program) {}

    void emit(std::uint32_t index) {
        const Node& n = fNodes[index];
        if (n.size == 0)
            return;
        switch (n.kind) {
        case Kind::empty:
            return;
        case Kind::byte:
            put(Op::byte, n.byte);
            return;
        case Kind::any:
            put(Op::any);
            return;
        case Kind::set:
            put(Op::set, 0, n.a);
            return;
        case Kind::assertion:
            put(Op::assert, n.byte);
            return;
        case Kind::group:
            put(Op::save, 0, 2 * n.b);
            emit(n.a);
            put(Op::save, 0, 2 * n.b + 1);
            return;
        case Kind::concat:
            for (std::uint32_t i = 0; i < n.b; ++i)
                emit(fKids[n.a + i]);
            return;
        case Kind::alt: {
            std::uint32_t jumps = kNone; // chained through x until the end is known
            for (std::uint32_t i = 0; i + 1 < n.b; ++i) {
                const std::uint32_t split = put(Op::split, 0, here() + 1);
                emit(fKids[n.a + i]);
                jumps = put(Op::jump, 0, jumps);
                fProgram[split].y = here();
            }
            emit(fKids[n.a + n.b - 1]);
            for (std::uint32_t j = jumps; j != kNone;) {
                const std::uint32_t next = fProgram[j].x;
                fProgram[j].x = here();
                j = next;
            }
            return;
        }
        case Kind::repeat:
            emitRepeat(n);
            return;
        }
    }

private:
    std::uint32_t here() const noexcept { return std::uint32_t(fProgram.size()); }
    std::uint32_t put(Op op, std::uint8_t byte = 0, std::uint32_t x = 0, std::uint32_t y = 0) {
        fProgram.push_back(Inst{op, byte, x, y});
        return here() - 1;
    }

    void emitRepeat(const Node& n) {
        if (n.max < 0) {
            // "x*" runs as "(x+)?": one pass through x may match empty,
            // so a group inside reports the empty iteration.
            const std::uint32_t skip = n.min == 0 ? put(Op::split, 0, here() + 1) : kNone;
            for (int i = 1; i < n.min; ++i)
                emit(n.a);
            const std::uint32_t loop = here();
            emit(n.a);
            put(Op::split, 0, loop, here() + 1);
            if (skip != kNone)
                fProgram[skip].y = here();
            return;
        }
        for (int i = 0; i < n.min; ++i)
            emit(n.a);
        std::uint32_t splits = kNone; // chained through y
        for (int i = n.min; i < n.max; ++i) {
            splits = put(Op::split, 0, here() + 1, splits);
            emit(n.a);
        }
        for (std::uint32_t s = splits; s != kNone;) {
            const std::uint32_t next = fProgram[s].y;
            fProgram[s].y = here();
            s = next;
        }
    }

    const std::vector<Node>& fNodes;
    const std::vector<std::uint32_t>& fKids;
    std::vector<Inst>& fProgram;
};

Regex::Status Regex::compile(const char* pattern) {
    fProgram.clear();
    fSets.clear();
    fGroups = 0;
    Parser parser(pattern, *this);
    const Status status = parser.run();
    if (status != Status::ok)
        return status;
    const Node& root = parser.fNodes[parser.fRoot];
    if (std::uint64_t(root.size) + 3 > kMaxProgram)
        return Status::tooLarge;
    fProgram.reserve(root.size + 3);
    Compiler compiler(parser.fNodes, parser.fKids, fProgram);
    fProgram.push_back(Inst{Op::save, 0, 0, 0});
    compiler.emit(parser.fRoot);
    fProgram.push_back(Inst{Op::save, 0, 1, 0});
    fProgram.push_back(Inst{Op::match, 0, 0, 0});
    assert(fProgram.size() == root.size + 3);

    parser.findLiterals();
    return Status::ok;
}

} // namespace grundel::detail
