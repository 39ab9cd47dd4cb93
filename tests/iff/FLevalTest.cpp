// The expression evaluator: values of a table of programs, the code of each
// malformed one, names shared between programs and the caller, and stored
// code that is checked before it runs.
#include "grundel/iff/FLeval.h"

#include "grundel/iff/FLerror.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <thread>
#include <vector>

using namespace std::string_literals;

namespace {

constexpr double kTolerance = 1e-10;

struct Case {
    const char* source;
    double value;
};

// Names the tables use; defined once for the process.
void defineNames() {
    static const bool done = [] {
        EXPECT_EQ(FLputvar("tv_a", 3), 0);
        EXPECT_EQ(FLputvar("tv_b", 4), 0);
        EXPECT_EQ(FLputconst("tv_k", 10), 0);
        return true;
    }();
    (void)done;
}

double evalOk(const std::string& source) {
    double r = -12345;
    const int code = FLeval(source, &r);
    EXPECT_EQ(code, 0) << source << ": " << FLstrerror(code);
    return r;
}

std::string bytesOf(const char* source) {
    FLprogram p;
    EXPECT_EQ(FLucode(source, p), 0) << source;
    return std::string(p.bytes());
}

int load(const std::string& bytes) {
    FLprogram p;
    return FLloaducode(bytes.data(), bytes.size(), p);
}

// The bytes with the name `from` replaced by `to` of the same length.
std::string renamed(std::string bytes, const std::string& from, const std::string& to) {
    const auto at = bytes.find(from);
    EXPECT_NE(at, std::string::npos);
    bytes.replace(at, from.size(), to);
    return bytes;
}

TEST(FLeval, TableOfValues) {
    defineNames();
    static const Case kCases[] = {
        {"", 0},
        {"1 + 2 * 3", 7},
        {"(1 + 2) * 3", 9},
        {"10 - 4 - 3", 3},
        {"2 ^ 3 ^ 2", 512},
        {"-2 ^ 2", -4},
        {"2 ^ -1", 0.5},
        {"7 % 3", 1},
        {"-7 % 3", -1},
        {"1.5e3 + .25 + 2.", 1502.25},
        {"1 < 2", 1}, {"2 <= 2", 1}, {"3 > 4", 0}, {"3 >= 4", 0}, {"1 == 1", 1}, {"1 != 1", 0},
        {"!0 + !5", 1},
        {"0 && 1/0", 0},
        {"1 || 1/0", 1},
        {"2 && 3", 1},
        {"0 || 0", 0},
        {"1 + 2 == 3 && 4 > 3", 1},
        {"tv_a ? 5 : 6", 5},
        {"0 ? 5 : 1 ? 7 : 8", 7},
        {"tv_a * tv_b + tv_k", 22},
        {"tv_a - tv_b / tv_a", 3 - 4.0 / 3},
        {"x1 = 2; x1 = x1 * x1 + 1; x1", 5},
        {"y1 = y2 = 4; y1 + y2", 8},
        {"const c1 = 2 * 3 + 1; c1 * c1", 49},
        {"const c1 = 7; c1", 7},
        {"pi", 3.14159265358979323846},
        {"sin(pi / 2) + max(2, 3) + abs(-1)", 5},
        {"atan2(1, 1) * 4", 3.14159265358979323846},
        {"if (tv_a > 2) 10; else 20", 10},
        {"if (tv_a > 5) 10; else if (tv_b > 3) 30; else 20", 30},
        {"if (0) 1", 0},
        {"n1 = 0; s1 = 0; while (n1 < 10) { s1 = s1 + n1; n1 = n1 + 1; } s1", 45},
        {"n2 = 0; do n2 = n2 + 3; while (n2 < 10); n2", 12},
        {"n3 = 5; do { n3 = n3 - 1; } while (0) n3", 4},
        {"{ 1; { 2; } } ; ;", 2},
        {"1; 2; 3", 3},
        {"len(\"hello\")", 5},
        {"len(\"ab\" + \"cde\" + \"\")", 5},
        {"\"abc\"[1]", 'b'},
        {"\"abc\"[3] + \"abc\"[-1] + \"abc\"[0.5]", 0},
        {"\"abc\" == \"abc\"", 1},
        {"\"abc\" < \"abd\"", 1},
        {"\"ab\" < \"abc\"", 1},
        {"\"b\" >= \"abc\"", 1},
        {"len(tv_a > 0 ? \"yes\" : \"no\")", 3},
        {"len(\"a\\\"b\\\\c\\n\")", 6},
        {"\"x\"; 4", 4},
        {"// a comment\n 6 // another", 6},
        {"1e-300 * 1e-5", 1e-305},
        // Jumps that land right after a push: the push must stay on its own.
        {"tv_a + (tv_b > 3 ? 1 : 2)", 4},
        {"tv_a + (tv_b < 3 ? 1 : 2)", 5},
        {"(tv_a > 5 || tv_b > 3) * 10 + (tv_a && 0) + (tv_a && tv_b)", 11},
        {"tv_b - (tv_a < tv_b) * 2 + (tv_a == 3) + (tv_b != 4)", 3},
        {"max(min(tv_a, 2), max(tv_b, 1)) * (tv_a ? tv_b : 0)", 16},
        {"\"ab\" + \"cd\" + \"ef\" == \"abcdef\"", 1},
        {"(\"a\" + \"bc\")[2] == \"c\"[0]", 1},
        {"(tv_a > 1 ? \"x\" + \"y\" : \"z\") < \"xz\"", 1},
        {"5; \"a string statement leaves the value\"", 5},
        {"5.e1 + 0.5e1", 55},
        {"sqrt(tv_b) + abs(-tv_a) + floor(tv_a / 2) + ceil(-tv_a / 2)", 2 + 3 + 1 - 1},
        {"tv_a ? sqrt(tv_b) : 0", 2},
    };
    for (const Case& c : kCases)
        EXPECT_NEAR(evalOk(c.source), c.value, kTolerance) << c.source;
}

TEST(FLeval, EveryCodeOfAMalformedProgram) {
    defineNames();
    struct Bad {
        const char* source;
        int code;
    };
    static const Bad kBad[] = {
        {"nowhere + 1", kFLundefinedSymbol},
        {"nofunc(1)", kFLundefinedSymbol},
        {"1 / 0", kFLdivisionByZero},
        {"tv_a / (tv_b - 4)", kFLdivisionByZero},
        {"tv_a % 0", kFLdivisionByZero},
        {"0 ^ -1", kFLdivisionByZero},
        {"1e999", kFLoverflow},
        {"1e300 * 1e300", kFLoverflow},
        {"tv_a * 1e308 * 10", kFLoverflow},
        {"sqrt(-1)", kFLoverflow},
        {"1e-999", kFLunderflow},
        {"0.00000001e-320", kFLunderflow},
        {"tv_a * 1e-300 * 1e-300", kFLunderflow},
        {"1 + 2)", kFLunbalanced},
        {"}", kFLunbalanced},
        {"1 +", kFLsyntax},
        {"1 2", kFLsyntax},
        {"1 @ 2", kFLsyntax},
        {"\"a\" * 2", kFLsyntax},
        {"sin(\"a\")", kFLsyntax},
        {"tv_a[0]", kFLsyntax},
        {"1.2.3", kFLsyntax},
        {"0x10", kFLsyntax},
        {"1e", kFLsyntax},
        {"1e+", kFLsyntax},
        {"\"\\q\"", kFLsyntax},
        {"if (\"a\") 1", kFLsyntax},
        {"{ 1", kFLsyntax},
        {"sin + 1", kFLsyntax},
        {"3 = 4", kFLbadAssignment},
        {"tv_a + tv_b = 1", kFLbadAssignment},
        {"(tv_a) = 1", kFLbadAssignment},
        {"sin = 1", kFLbadAssignment},
        {"tv_a = \"text\"", kFLbadAssignment},
        {"pi = 3", kFLconstAssignment},
        {"tv_k = 1", kFLconstAssignment},
        {"const c2 = 1; c2 = 2", kFLconstAssignment},
        {"const 3 = 4", kFLconstName},
        {"const if = 4", kFLconstName},
        {"const tv_a = 4", kFLconstName},
        {"tv_a ? 1", kFLmissingColon},
        {"tv_a ? 1 2", kFLmissingColon},
        {"else 3", kFLelseWithoutIf},
        {"if (1) 2; 3; else 4", kFLelseWithoutIf},
        {"do tv_a;", kFLdoWithoutWhile},
        {"do { tv_a; } tv_b", kFLdoWithoutWhile},
        {"(1 + 2", kFLmissingParenthesis},
        {"if tv_a 3", kFLmissingParenthesis},
        {"while (1 2", kFLmissingParenthesis},
        {"max(1, 2", kFLmissingParenthesis},
        {"max(1 2)", kFLmissingComma},
        {"max(1)", kFLargumentCount},
        {"sin(1, 2)", kFLargumentCount},
        {"const pi = 3", kFLconstRedefined},
        {"const c3 = 1; const c3 = 2", kFLconstRedefined},
        {"const c4 = tv_a + 1", kFLnotConstant},
        {"const c4 = sin(0)", kFLnotConstant},
        {"const c5 = 1 / 0", kFLdivisionByZero},
        {"\"abc\n\"", kFLmissingQuotes},
        {"\"abc", kFLunterminatedString},
        {"\"abc\\", kFLunterminatedString},
        {"\"abc\"[1", kFLmissingBracket},
    };
    for (const Bad& b : kBad) {
        double r = 99;
        EXPECT_EQ(FLeval(b.source, &r), b.code) << b.source;
        EXPECT_EQ(FLerror(), b.code) << b.source;
        EXPECT_EQ(r, 99) << "a failed run leaves the result alone: " << b.source;
    }
    const std::string tooLong = "\"" + std::string(kFLevalMaxString + 1, 'x') + "\"";
    EXPECT_EQ(FLeval(tooLong, nullptr), kFLstringTooLong);
    const std::string justFits = "len(\"" + std::string(kFLevalMaxString, 'x') + "\")";
    EXPECT_EQ(evalOk(justFits), kFLevalMaxString);
    const std::string half(128, 'y');
    EXPECT_EQ(FLeval("len(\"" + half + "\" + \"" + half + "\")", nullptr), kFLstringTooLong);
    // Each message is the library's own.
    EXPECT_STREQ(FLstrerror(kFLmissingBracket), "missing braket");
    EXPECT_STREQ(FLstrerror(kFLbadUcode), "internal, unknown ucode in compiled expression");
}

TEST(FLeval, NestingAndStackAreBounded) {
    const int deep = 10000;
    EXPECT_EQ(FLeval(std::string(deep, '(') + "1" + std::string(deep, ')'), nullptr), kFLoverflow);
    EXPECT_EQ(FLeval(std::string(deep, '-') + "1", nullptr), kFLoverflow);
    EXPECT_EQ(FLeval(std::string(deep, '{') + std::string(deep, '}'), nullptr), kFLoverflow);
    std::string chain = "1";
    for (int i = 0; i < deep; ++i)
        chain += "?1:1";
    EXPECT_EQ(FLeval(chain, nullptr), kFLoverflow);
    // Within the limits the same shapes work.
    EXPECT_EQ(evalOk(std::string(20, '(') + "1" + std::string(20, ')')), 1);
    EXPECT_EQ(evalOk(std::string(21, '-') + "1"), -1);
}

TEST(FLeval, LongTextsCompileInOnePass) {
    std::string sum = "1";
    for (int i = 0; i < 20000; ++i)
        sum += "+1";
    EXPECT_EQ(evalOk(sum), 20001);
    std::string statements;
    for (int i = 0; i < 5000; ++i)
        statements += "lt_x = lt_x + 2;\n";
    EXPECT_EQ(evalOk(statements + "lt_x"), 10000);
    // Past what one stored code can name.
    std::string strings;
    for (int i = 0; i < 0x10000; ++i)
        strings += "\"\";";
    EXPECT_EQ(FLeval(strings, nullptr), kFLoverflow);
    std::string names;
    for (int i = 0; i < 0x10000; ++i)
        names += "ln" + std::to_string(i) + "=0;";
    EXPECT_EQ(FLeval(names, nullptr), kFLoverflow);
    EXPECT_EQ(FLgetvaraddr("ln0"), nullptr) << "a program that does not compile creates nothing";
    EXPECT_EQ(FLeval("n" + std::string(256, 'x') + " = 1", nullptr), kFLsyntax);
}

TEST(FLeval, NonFiniteVariables) {
    ASSERT_EQ(FLputvar("nf_v", std::nan("")), 0);
    EXPECT_EQ(FLeval("nf_v + 1", nullptr), kFLoverflow);
    ASSERT_EQ(FLputvar("nf_v", HUGE_VAL), 0);
    EXPECT_EQ(FLeval("nf_v * 2", nullptr), kFLoverflow);
    EXPECT_EQ(evalOk("nf_v > 1"), 1) << "comparisons are not arithmetic";
}

TEST(FLeval, NamesAreSharedWithTheCaller) {
    EXPECT_EQ(FLputvar("sh_v", 2), 0);
    double* v = FLgetvaraddr("sh_v");
    ASSERT_NE(v, nullptr);
    FLprogram p;
    ASSERT_EQ(FLucode("sh_w = sh_v * 10", p), 0);
    double r = 0;
    for (int i = 1; i <= 3; ++i) {
        *v = i;
        ASSERT_EQ(FLuexec(p, &r), 0);
        EXPECT_EQ(r, i * 10);
    }
    double* w = FLgetvaraddr("sh_w");
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(*w, 30);
    EXPECT_EQ(FLgetvaraddr("sh_v"), v) << "a variable never moves";
    EXPECT_EQ(FLgetvaraddr("pi"), nullptr);
    EXPECT_EQ(FLerror(), kFLundefinedSymbol);
    EXPECT_EQ(FLgetvaraddr("sh_none"), nullptr);

    EXPECT_EQ(FLputvar("pi", 1), kFLconstAssignment);
    EXPECT_EQ(FLputvar("sin", 1), kFLbadAssignment);
    EXPECT_EQ(FLputvar("2x", 1), kFLsyntax);
    EXPECT_EQ(FLputvar("while", 1), kFLsyntax);
    EXPECT_EQ(FLputconst("sh_c", 5), 0);
    EXPECT_EQ(FLputconst("sh_c", 5), 0);
    EXPECT_EQ(FLputconst("sh_c", 6), kFLconstRedefined);
    EXPECT_EQ(FLputconst("sh_v", 6), kFLconstName);
    EXPECT_EQ(evalOk("sh_c + 1"), 6);
    // A constant defined by a program is defined for the caller too.
    EXPECT_EQ(evalOk("const sh_d = 4; sh_d"), 4);
    EXPECT_EQ(FLputconst("sh_d", 4), 0);
    EXPECT_EQ(FLputconst("sh_d", 5), kFLconstRedefined);
    // A program that fails to compile defines nothing.
    EXPECT_EQ(FLeval("const sh_e = 1; sh_f = 2; )", nullptr), kFLunbalanced);
    EXPECT_EQ(FLgetvaraddr("sh_f"), nullptr);
    EXPECT_EQ(FLputconst("sh_e", 2), 0);
}

int sumArgs(const FLvalue* args, int count, double* result) {
    double s = 0;
    for (int i = 0; i < count; ++i)
        s += args[i].isString ? static_cast<double>(args[i].string.size()) : args[i].number;
    *result = s;
    return 0;
}
int failing(const FLvalue*, int, double*) { return kFLdivisionByZero; }
int infinite(const FLvalue*, int, double* result) {
    *result = HUGE_VAL;
    return 0;
}
int twice(const FLvalue* args, int, double* result) {
    *result = 2 * args[0].number;
    return 0;
}
int thrice(const FLvalue* args, int, double* result) {
    *result = 3 * args[0].number;
    return 0;
}

TEST(FLeval, BoundFunctions) {
    ASSERT_EQ(FLbindfunc("bf_sum", sumArgs, -1), 0);
    ASSERT_EQ(FLbindfunc("bf_fail", failing, 0), 0);
    ASSERT_EQ(FLbindfunc("bf_inf", infinite, 0), 0);
    ASSERT_EQ(FLbindfunc("bf_k", twice, 1), 0);
    EXPECT_EQ(evalOk("bf_sum()"), 0);
    EXPECT_EQ(evalOk("bf_sum(1, \"abc\", 2, \"de\" + \"f\")"), 9) << "arguments keep their order";
    EXPECT_EQ(evalOk("bf_sum(1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16)"), 136);
    EXPECT_EQ(FLeval("bf_sum(1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17)", nullptr), kFLargumentCount);
    EXPECT_EQ(FLeval("bf_fail()", nullptr), kFLdivisionByZero);
    EXPECT_EQ(FLeval("bf_inf()", nullptr), kFLoverflow);

    FLprogram p;
    ASSERT_EQ(FLucode("bf_k(5)", p), 0);
    double r = 0;
    ASSERT_EQ(FLuexec(p, &r), 0);
    EXPECT_EQ(r, 10);
    ASSERT_EQ(FLputvar("bf_v", 7), 0);
    FLprogram q;
    ASSERT_EQ(FLucode("bf_k(bf_v)", q), 0);
    ASSERT_EQ(FLuexec(q, &r), 0);
    EXPECT_EQ(r, 14);
    EXPECT_EQ(FLbindfunc("bf_k", thrice, 1), 0);
    ASSERT_EQ(FLuexec(p, &r), 0);
    EXPECT_EQ(r, 15) << "loaded code calls the function bound now";
    ASSERT_EQ(FLuexec(q, &r), 0);
    EXPECT_EQ(r, 21);
    // A function bound from the start, bound again, is no longer called directly.
    // (No other test calls log10.)
    ASSERT_EQ(FLbindfunc("log10", thrice, 1), 0);
    EXPECT_EQ(evalOk("log10(bf_v) + log10(2)"), 27);
    EXPECT_EQ(FLbindfunc("bf_k", thrice, 2), kFLargumentCount);
    EXPECT_EQ(FLbindfunc("bf_x", thrice, kFLevalMaxArgs + 1), kFLargumentCount);
    EXPECT_EQ(FLbindfunc("pi", thrice, 1), kFLbadAssignment);
    EXPECT_EQ(FLbindfunc("do", thrice, 1), kFLsyntax);
}

TEST(FLeval, StepsBoundLoops) {
    const TuInt64 before = FLevalsteps();
    FLsetevalsteps(5);
    EXPECT_EQ(evalOk("st_n = 0; while (st_n < 5) st_n = st_n + 1; st_n"), 5);
    EXPECT_EQ(FLeval("st_n = 0; while (st_n < 6) st_n = st_n + 1; st_n", nullptr), kFLevalBreak);
    EXPECT_EQ(*FLgetvaraddr("st_n"), 6) << "the sixth pass ran; its jump back broke the run";
    FLsetevalsteps(0);
    EXPECT_EQ(evalOk("st_n = 0; do st_n = st_n + 1; while (0); st_n"), 1);
    EXPECT_EQ(FLeval("do ; while (1)", nullptr), kFLevalBreak);
    FLsetevalsteps(1000);
    EXPECT_EQ(FLeval("while (1) ;", nullptr), kFLevalBreak);
    EXPECT_EQ(FLerror(), kFLevalBreak);
    EXPECT_STREQ(FLstrerror(kFLevalBreak), "internal break");
    FLsetevalsteps(before);
}

TEST(FLucode, StoredCodeRoundTrips) {
    const char* source = "rt_n = 0; rt_s = 0; while (rt_n < 4) { rt_s = rt_s + (rt_n % 2 ? rt_n : -rt_n) * 1.5; "
                         "rt_n = rt_n + 1; } const rt_c = 3; len(\"ab\" + \"c\") * rt_c + rt_s";
    FLprogram compiled;
    ASSERT_EQ(FLucode(source, compiled), 0);
    const std::string bytes(compiled.bytes());
    EXPECT_EQ(bytes.substr(0, 4), "FLuc");
    FLprogram loaded;
    ASSERT_EQ(FLloaducode(bytes.data(), bytes.size(), loaded), 0);
    EXPECT_EQ(loaded.bytes(), compiled.bytes());
    double a = 0, b = 0;
    ASSERT_EQ(FLuexec(compiled, &a), 0);
    ASSERT_EQ(FLuexec(loaded, &b), 0);
    EXPECT_EQ(a, 9 + 3);
    EXPECT_EQ(a, b);

    FLprogram moved(std::move(loaded));
    EXPECT_TRUE(loaded.empty());
    ASSERT_EQ(FLuexec(moved, &b), 0);
    EXPECT_EQ(b, a);
    EXPECT_EQ(FLuexec(loaded, &b), 0);
    EXPECT_EQ(b, 0) << "an empty program runs to 0";
}

TEST(FLucode, StoredCodeIsExact) {
    // Big-endian throughout: the assigned name, no strings, then
    // push 2.0, store into name 0, pop into the result.
    const std::string expected = "FLuc\x01"
                                 "\0\x01" "\x01\0\x04gb_x"
                                 "\0\0"
                                 "\0\0\0\x0d"
                                 "\x01\x40\0\0\0\0\0\0\0" "\x03\0\0" "\x05"s;
    EXPECT_EQ(bytesOf("gb_x = 2"), expected);
    // Operations on constants fold into one number; "-" on a variable does not.
    EXPECT_EQ(bytesOf("2 * 3 - 5"), bytesOf("1"));
    EXPECT_NE(bytesOf("-gb_x"), bytesOf("gb_x"));
}

TEST(FLucode, BindingRefusesNamesOfAnotherKind) {
    defineNames();
    EXPECT_EQ(FLputvar("ld_v", 1), 0);
    ASSERT_EQ(FLbindfunc("ld_f2", sumArgs, 2), 0);
    ASSERT_EQ(FLbindfunc("ld_f1", sumArgs, 1), 0);
    // Same-length renames of the names inside stored code.
    EXPECT_EQ(load(renamed(bytesOf("ld_v + 1"), "ld_v", "ld_w")), kFLundefinedSymbol);
    EXPECT_EQ(load(renamed(bytesOf("ld_f2(1, 2)"), "ld_f2", "ld_f9")), kFLundefinedSymbol);
    EXPECT_EQ(load(renamed(bytesOf("ld_f2(1, 2)"), "ld_f2", "ld_f1")), kFLargumentCount);
    EXPECT_EQ(load(renamed(bytesOf("ld_z = 1"), "ld_z", "tv_k")), kFLconstAssignment);
    EXPECT_EQ(load(renamed(bytesOf("ld_zz = 1"), "ld_zz", "ld_f1")), kFLbadAssignment);
    EXPECT_EQ(load(renamed(bytesOf("const ld_c = 1"), "ld_c", "ld_v")), kFLconstName);
    EXPECT_EQ(load(renamed(bytesOf("const ld_d = 1"), "ld_d", "tv_k")), kFLconstRedefined);
}

// Appends a stored code with no names and no strings around instructions.
std::string codeOf(const std::string& instructions) {
    std::string b = "FLuc\x01\0\0\0\0"s;
    const auto n = static_cast<std::uint32_t>(instructions.size());
    for (int s = 24; s >= 0; s -= 8)
        b.push_back(static_cast<char>(n >> s));
    return b + instructions;
}

TEST(FLucode, MalformedCodeIsRefusedBeforeItRuns) {
    const std::string one = "\x01\x3f\xf0\0\0\0\0\0\0"s; // push 1
    ASSERT_EQ(load(codeOf(one + "\x05")), 0);
    const std::vector<std::string> bad = {
        codeOf(one),                                     // a number left at the end
        codeOf("\x05"),                                  // pops an empty stack
        codeOf(one + "\x7f\x05"),                        // no such instruction
        codeOf(one + "\x80\x05"),                        // fused forms are never stored
        codeOf(one + "\x30\0\0\0\x03\x05"s),              // a jump into an instruction
        codeOf(one + "\x30\0\0\0\x40\x05"s),              // a jump past the end
        codeOf(one + "\x31\0\0\0\x17"s + one + "\x05"), // two paths, two depths
        codeOf(one + "\x10\x05"),                        // an add with one operand
        codeOf("\x02\0\0\x05"s),                        // a name that is not there
        codeOf("\x04\0\0\x06"s),                        // a string that is not there
        codeOf("\x01\x7f\xf0\0\0\0\0\0\0\x05"s),          // an infinite number
        codeOf(one + "\x05") + "x",                      // a byte after the code
        "FLuc\x02\0\0\0\0\0\0\0\0"s,                  // another version
        "FLuc\x01\xff\xff"s,                            // more names than bytes
    };
    for (std::size_t i = 0; i < bad.size(); ++i)
        EXPECT_EQ(load(bad[i]), kFLbadUcode) << "case " << i;

    // Names: a call of "sin" (one argument) with the wrong count or a string
    // bit past its arguments; a kind, a keyword and a duplicate that no
    // compiler writes.
    const std::string sinName = "\0\x01\x02\x01\x03sin"s;
    auto withNames = [](const std::string& names, const std::string& code) {
        std::string b = "FLuc\x01"s + names + "\0\0"s;
        const auto n = static_cast<std::uint32_t>(code.size());
        for (int s = 24; s >= 0; s -= 8)
            b.push_back(static_cast<char>(n >> s));
        return b + code;
    };
    EXPECT_EQ(load(withNames(sinName, one + "\x40\0\0\x01\0\0\x05"s)), 0);
    EXPECT_EQ(load(withNames(sinName, one + one + "\x40\0\0\x02\0\0\x05"s)), kFLbadUcode);
    EXPECT_EQ(load(withNames(sinName, one + "\x40\0\0\x01\0\x02\x05"s)), kFLbadUcode);
    EXPECT_EQ(load(withNames("\0\x01\x04\0\x01x"s, "")), kFLbadUcode);
    EXPECT_EQ(load(withNames("\0\x01\x01\0\x02if"s, "")), kFLbadUcode);
    EXPECT_EQ(load(withNames("\0\x02\x01\0\x01x\x01\0\x01x"s, "")), kFLbadUcode);
    EXPECT_EQ(load(withNames("\0\x01\x01\0\x01x"s, std::string("\x02\0\0\x05", 4))), 0)
        << "an assigned name may be read";
    EXPECT_EQ(load(withNames("\0\x01\x00\0\x02pi"s, std::string("\x03\0\0\x05", 4))), kFLbadUcode)
        << "a name only read is never stored into";

    // A loop that keeps pushing: its depth differs on the way back.
    EXPECT_EQ(load(codeOf(one + "\x30\0\0\0\0"s)), kFLbadUcode);
    // More values than the stack holds.
    std::string many;
    for (int i = 0; i <= kFLevalMaxStack; ++i)
        many += one;
    EXPECT_EQ(load(codeOf(many)), kFLbadUcode);

    // Every prefix of a real code, and every single-byte change of it, is
    // refused or runs within its limits.
    const std::string real = bytesOf("mc_v = 1; while (mc_v < 3) mc_v = mc_v + 1; len(\"ab\") + max(mc_v, 2)");
    for (std::size_t n = 0; n < real.size(); ++n)
        EXPECT_EQ(load(real.substr(0, n)), kFLbadUcode) << n;
    FLsetevalsteps(1000);
    for (std::size_t i = 0; i < real.size(); ++i)
        for (int bit = 0; bit < 8; ++bit) {
            std::string changed = real;
            changed[i] = static_cast<char>(changed[i] ^ (1 << bit));
            FLprogram p;
            if (FLloaducode(changed.data(), changed.size(), p) == 0) {
                double r;
                const int code = FLuexec(p, &r);
                EXPECT_TRUE(code == 0 || (code >= 256 && code <= 277) || code == kFLevalBreak) << code;
            }
        }
    FLsetevalsteps(100000000);
}

} // namespace

namespace {

// Threads that compile, load and run their own programs and define names
// at the same time.
TEST(FLeval, ThreadsCompileAndRunSideBySide) {
    std::vector<std::thread> threads;
    std::vector<double> results(4, 0);
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t, &results] {
            const std::string v = "th_v" + std::to_string(t);
            const std::string source = v + " = 0; while (" + v + " < 100) " + v + " = " + v + " + 1; " + v + " * 2";
            double sum = 0;
            for (int i = 0; i < 50; ++i) {
                const std::string c = "th_c" + std::to_string(t) + "_" + std::to_string(i);
                FLprogram p;
                double r = 0;
                if (FLputconst(c.c_str(), i) == 0 && FLucode(source, p) == 0 && FLuexec(p, &r) == 0)
                    sum += r;
            }
            results[t] = sum;
        });
    for (auto& th : threads)
        th.join();
    for (double r : results)
        EXPECT_EQ(r, 50 * 200);
}

} // namespace
