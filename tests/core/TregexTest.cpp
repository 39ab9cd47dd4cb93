#include "grundel/core/Tregex_p.h"
#include "grundel/core/Tstring.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using grundel::detail::Regex;

namespace {

// The match as text: "0-3 1-2 -" gives the spans of group 0, 1, 2 (a "-"
// for a group that took no part), "no" when nothing matches, "invalid"
// when the pattern does not compile.
std::string run(const char* pattern, const std::string& subject) {
    Regex re;
    if (re.compile(pattern) != Regex::Status::ok)
        return "invalid";
    int slots[20];
    const int count = 2 * (1 + (re.groups() < 9 ? re.groups() : 9));
    if (!re.match(subject.data(), subject.size(), slots, count))
        return "no";
    std::string out;
    for (int i = 0; i < count; i += 2) {
        if (i)
            out += ' ';
        out += slots[i] < 0 ? "-" : std::to_string(slots[i]) + "-" + std::to_string(slots[i + 1]);
    }
    return out;
}

struct Case {
    const char* pattern;
    const char* subject;
    const char* expected;
};

void expectAll(std::initializer_list<Case> cases) {
    for (const Case& c : cases)
        EXPECT_EQ(run(c.pattern, c.subject), c.expected) << "/" << c.pattern << "/ on \"" << c.subject << "\"";
}

} // namespace

TEST(Tregex, LeftmostLongestMatch) {
    expectAll({
        {"abc", "xabcx", "1-4"},
        {"x*$", "abxx", "2-4"},      // the leftmost start where anything matches
        {"a|ab|abc", "abcd", "0-3"}, // then the longest from there
        {"b|abcd|bc", "abcd", "0-4"},
        {"^(a|ab)", "abc", "0-2 0-2"},
        {"", "abc", "0-0"},
        {"a", "", "no"},
        {"b+", "aaa", "no"},
        // Literals at the ends and in the middle are checked first.
        {"^abc$", "abc", "0-3"},
        {"^ab.*b$", "ab", "no"},
        {"^ab.*b$", "abb", "0-3"},
        {"x.*abc$", "xab", "no"},
        {"^a(b)cd.*e$", "abcde", "0-5 1-2"},
        {"[0-9]-rig", "a1-rig", "1-6"},
    });
}

TEST(Tregex, Groups) {
    expectAll({
        {"([a-z]+)=([a-z]+)", "key=value", "0-9 0-3 4-9"},
        {"(a)(x)?(b)", "ab", "0-2 0-1 - 1-2"},
        {"(.*)/(.*)", "a/b/c", "0-5 0-3 4-5"},   // repetitions take as much as they can
        {"(.*?)", "ab", "invalid"},             // no lazy repetitions
        {"(a|ab)(c|bcd)(d*)", "abcd", "0-4 0-1 1-4 4-4"}, // earlier alternatives win
        {"(a|ab)*", "abab", "0-4 2-4"},         // a repeated group reports its last pass
        {"(a*)*", "b", "0-0 0-0"},              // one empty pass
        {"(a){3}", "aaa", "0-3 2-3"},
        {"((a)|b)+", "ab", "0-2 1-2 0-1"},
        {"()", "", "0-0 0-0"},
        {"(a){0}b", "b", "0-1 -"},
    });
    // Groups past the ninth are counted but not reported.
    Regex re;
    ASSERT_EQ(re.compile("(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)(k)"), Regex::Status::ok);
    EXPECT_EQ(re.groups(), 11);
}

TEST(Tregex, Anchors) {
    expectAll({
        {"^ab", "abab", "0-2"},
        {"ab$", "abab", "2-4"},
        {"$a", "a", "no"},
        {"a^", "a", "no"},
        {"(^a|b)+", "aab", "0-1 0-1"},
        {"\\bfoo\\b", "a foo b", "2-5"},
        {"\\Boo", "foo", "1-3"},
        {"\\<b", "ab b", "3-4"},
        {"a\\>", "ab a", "3-4"},
        {"\\`a\\'", "a", "0-1"},
    });
}

TEST(Tregex, Classes) {
    expectAll({
        {"[abc]+", "xcabz", "1-4"},
        {"[^abc]+", "abxyc", "2-4"},
        {"[a-c]+", "zabcd", "1-4"},
        {"[]a]+", "]a]", "0-3"},      // "]" first is literal
        {"[a-]+", "-a-", "0-3"},      // so is "-" last
        {"[\\d]+", "\\d", "0-2"},     // no escapes in brackets
        {"[[:digit:]]+", "ab12c", "2-4"},
        {"[[:alpha:]_][[:alnum:]_]*", "9_x1 ", "1-4"},
        {"[[:space:]]", "a\tb", "1-2"},
        {"[[.-.]a]+", "a-", "0-2"},
        {"[[=e=]]", "e", "0-1"},
        {"\\w+", "--ab_1--", "2-6"},
        {"\\W+", "ab--cd", "2-4"},
        {"\\s\\S", "a b", "1-3"},
        {".", "\xff", "0-1"},
        {"[\x80-\xff]+", "a\x80\xfe", "1-3"},
        {"\\.", "a.", "1-2"},
        {"a)", "a)", "0-2"},          // ")" closing nothing is literal
    });
}

TEST(Tregex, RepetitionBounds) {
    expectAll({
        {"^a{3}$", "aaa", "0-3"},
        {"^a{3}$", "aa", "no"},
        {"^a{2,}$", "aaaaa", "0-5"},
        {"^a{2,}$", "a", "no"},
        {"^a{1,3}$", "aaaa", "no"},
        {"^a{,2}$", "aa", "0-2"},
        {"^a{0}$", "", "0-0"},
        {"^(ab){2}c?$", "ababc", "0-5 2-4"},
        {"^a+$", "", "no"},
        {"^a?b$", "b", "0-1"},
        {"^pCube[0-9]+$", "pCube12", "0-7"},
        {"^pCube[0-9]+$", "pCube", "no"},
    });
}

TEST(Tregex, InvalidPatterns) {
    struct Refusal {
        const char* pattern;
        Regex::Status status;
    };
    const Refusal refusals[] = {
        {"(a", Regex::Status::syntax},        {"[a", Regex::Status::syntax},
        {"a\\", Regex::Status::syntax},       {"*a", Regex::Status::syntax},
        {"(*a)", Regex::Status::syntax},      {"a|+", Regex::Status::syntax},
        {"^*", Regex::Status::syntax},        {"a**", Regex::Status::syntax},
        {"a{2}{3}", Regex::Status::syntax},   {"a+?", Regex::Status::syntax},
        {"a{", Regex::Status::syntax},        {"a{1", Regex::Status::syntax},
        {"a{x}", Regex::Status::syntax},      {"a{3,2}", Regex::Status::syntax},
        {"{1}a", Regex::Status::syntax},      {"[z-a]", Regex::Status::syntax},
        {"[[:foo:]]", Regex::Status::syntax}, {"[[:alpha:]-z]", Regex::Status::syntax},
        {"[[.ab.]]", Regex::Status::syntax},  {"a{32768}", Regex::Status::tooLarge},
        {"(a)\\1", Regex::Status::backReference},
    };
    for (const Refusal& r : refusals) {
        Regex re;
        EXPECT_EQ(re.compile(r.pattern), r.status) << r.pattern;
    }
}

// Patterns that cost gigabytes or exponential time in a backtracking or
// copying compiler: refused by size before anything is expanded, or run in
// time linear in the subject.
TEST(Tregex, HostilePatterns) {
    for (const char* p : {"((a{9999,}){9999,})", "((a{32767,}){32767,})", "(a{0,14000})*b",
                          "((a{200}){200}){200}", "(((((a{10}){10}){10}){10}){10})"}) {
        Regex re;
        EXPECT_EQ(re.compile(p), Regex::Status::tooLarge) << p;
        EXPECT_EQ(Tstring("aaaa").matchesRegexp(p), 0) << p;
    }
    const std::string deep = std::string(100000, '(') + "a" + std::string(100000, ')');
    Regex re;
    EXPECT_EQ(re.compile(deep.c_str()), Regex::Status::tooDeep);
    const std::string nested = std::string(Regex::kMaxNesting, '(') + "a" + std::string(Regex::kMaxNesting, ')');
    EXPECT_EQ(re.compile(nested.c_str()), Regex::Status::ok);
    EXPECT_EQ(re.compile(std::string(Regex::kMaxProgram, 'a').c_str()), Regex::Status::tooLarge);

    // Near the bound, where every instruction has a live thread at every
    // byte: the worst case, still linear.
    ASSERT_EQ(re.compile("(a|aa){0,1500}(a*)*b"), Regex::Status::ok);
    EXPECT_LE(re.programSize(), Regex::kMaxProgram);
    const std::string as(1000, 'a');
    int slots[6];
    EXPECT_FALSE(re.match(as.data(), as.size(), slots, 6));
    ASSERT_EQ(re.compile("(a*)*(a*)*(a*)*$"), Regex::Status::ok);
    EXPECT_TRUE(re.match(as.data(), as.size(), slots, 6));
    EXPECT_EQ(slots[3], 1000);
    // Back-references would need backtracking: refused.
    EXPECT_EQ(Tstring(std::string(200, 'a').c_str()).matchesRegexp("(a*)*\\1b"), 0);
}

TEST(Tregex, MatchesRegexpOutputs) {
    // Only as many groups as there are outputs are tracked; the count
    // reports them all.
    Tstring a("old"), b("old");
    EXPECT_EQ(Tstring("x1y22").matchesRegexp("x([0-9]+)y([0-9]+)", &a), 2);
    EXPECT_EQ(a, "1");
    EXPECT_EQ(Tstring("ab").matchesRegexp("(a)b", &a, &b), 1);
    EXPECT_EQ(a, "a");
    EXPECT_TRUE(b.isEmpty()); // asked for, but no such group
    // Automatic anchoring wraps the whole text, so "|" binds looser.
    EXPECT_EQ(Tstring("xb").matchesRegexp("a|b"), 1);
    EXPECT_EQ(Tstring("xa").matchesRegexp("a|b"), 0);
}

// Small programs on short texts run on a backtracker, the rest on the Pike
// machine; both must give the same groups, also where the backtracker's
// job stack outgrows its inline buffer.
TEST(Tregex, EnginesAgree) {
    std::string ab;
    for (int i = 0; i < 150; ++i)
        ab += i % 3 ? 'a' : 'b';
    const std::string subjects[] = {"", "abc", "aab ab_c", "xxabcab", ab, ab + "c"};
    for (const char* pattern : {"(a|b)*(a|ab)*c", "((a)|b)+", "^(.*)(b+)(.*)$", "\\<(a+)\\>|b", "(a|)*$", "(ab|a)(c|bcd)?"}) {
        Regex re;
        ASSERT_EQ(re.compile(pattern), Regex::Status::ok) << pattern;
        for (const std::string& s : subjects) {
            int automatic[20], pike[20];
            const bool matched = re.match(s.data(), s.size(), automatic, 20);
            ASSERT_EQ(re.match(s.data(), s.size(), pike, 20, Regex::Engine::pike), matched) << pattern << " " << s;
            if (matched) {
                EXPECT_EQ(std::vector<int>(automatic, automatic + 20), std::vector<int>(pike, pike + 20))
                    << pattern << " " << s;
            }
        }
    }
}
