// The evaluator's tokens: names, numbers, strings and punctuation, read in
// one pass.
#include "grundel/iff/FLevalLex_p.h"

#include "grundel/iff/FLeval.h"

#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>

namespace grundel::detail {
namespace {

bool nameChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}
bool digit(char c) { return c >= '0' && c <= '9'; }

// The precedence of a binary operator, lowest first; -1 for other tokens.
int precedence(std::string_view op) {
    const char second = op.size() > 1 ? op[1] : '\0';
    switch (op[0]) {
    case '|': return 0;
    case '&': return 1;
    case '=': return second == '=' ? 2 : -1;
    case '!': return second == '=' ? 2 : -1;
    case '<': case '>': return 3;
    case '+': case '-': return 4;
    case '*': case '/': case '%': return 5;
    default: return -1;
    }
}

} // namespace

bool EvalLexer::isPunct(const char* p) const {
    return tok == EvalTok::Punct && text[0] == p[0] && (text.size() == 1 ? p[1] == '\0' : p[1] == text[1]);
}

int EvalLexer::next() {
    const std::size_t n = fSrc.size();
    level = -1;
    for (;;) {
        while (fPos < n && (fSrc[fPos] == ' ' || fSrc[fPos] == '\t' || fSrc[fPos] == '\n' || fSrc[fPos] == '\r'))
            ++fPos;
        if (fPos + 1 < n && fSrc[fPos] == '/' && fSrc[fPos + 1] == '/') {
            while (fPos < n && fSrc[fPos] != '\n')
                ++fPos;
            continue;
        }
        break;
    }
    if (fPos >= n) {
        tok = EvalTok::End;
        text = {};
        return 0;
    }
    const char c = fSrc[fPos];
    if (digit(c) || (c == '.' && fPos + 1 < n && digit(fSrc[fPos + 1])))
        return readNumber();
    if (c == '"')
        return readString();
    if (nameChar(c)) {
        std::size_t end = fPos;
        while (end < n && nameChar(fSrc[end]))
            ++end;
        if (end - fPos > 255)
            return kFLsyntax; // a stored name has a one-byte length
        tok = EvalTok::Name;
        text = fSrc.substr(fPos, end - fPos);
        fPos = end;
        return 0;
    }
    static const char* const kTwo[] = {"==", "!=", "<=", ">=", "&&", "||"};
    for (const char* two : kTwo)
        if (fPos + 1 < n && fSrc[fPos] == two[0] && fSrc[fPos + 1] == two[1]) {
            tok = EvalTok::Punct;
            text = fSrc.substr(fPos, 2);
            level = precedence(text);
            fPos += 2;
            return 0;
        }
    if (!std::strchr("(){}[],;?:=+-*/%^!<>", c) || c == '\0')
        return kFLsyntax;
    tok = EvalTok::Punct;
    text = fSrc.substr(fPos, 1);
    level = precedence(text);
    ++fPos;
    return 0;
}

int EvalLexer::readNumber() {
    const std::size_t n = fSrc.size();
    std::size_t end = fPos;
    // The decimal exponent of the first significant digit tells an
    // overflow from an underflow when the value is out of range.
    long lead = 0;
    bool seen = false, point = false;
    for (; end < n && (digit(fSrc[end]) || (fSrc[end] == '.' && !point)); ++end) {
        const char c = fSrc[end];
        if (c == '.')
            point = true;
        else if (!seen && c != '0')
            seen = true, lead = point ? lead - 1 : 0;
        else if (!seen && point)
            --lead; // a zero between the point and the first digit
        else if (seen && !point && lead < 100000)
            ++lead;
    }
    long exponent = 0;
    if (end < n && (fSrc[end] == 'e' || fSrc[end] == 'E')) {
        std::size_t e = end + 1;
        bool negative = false;
        if (e < n && (fSrc[e] == '+' || fSrc[e] == '-'))
            negative = fSrc[e++] == '-';
        if (e >= n || !digit(fSrc[e]))
            return kFLsyntax;
        for (; e < n && digit(fSrc[e]); ++e)
            if (exponent < 100000)
                exponent = exponent * 10 + (fSrc[e] - '0');
        if (negative)
            exponent = -exponent;
        end = e;
    }
    if (end < n && (nameChar(fSrc[end]) || fSrc[end] == '.'))
        return kFLsyntax;
    const auto [ptr, ec] = std::from_chars(fSrc.data() + fPos, fSrc.data() + end, number);
    if (ec == std::errc::result_out_of_range || (ec == std::errc() && number == 0 && seen))
        return exponent + lead >= 0 ? kFLoverflow : kFLunderflow;
    if (ec != std::errc() || ptr != fSrc.data() + end)
        return kFLsyntax;
    if (!(std::fabs(number) <= DBL_MAX))
        return kFLoverflow;
    tok = EvalTok::Number;
    fPos = end;
    return 0;
}

int EvalLexer::readString() {
    const std::size_t n = fSrc.size();
    string.clear();
    std::size_t p = fPos + 1;
    for (;;) {
        if (p >= n)
            return kFLunterminatedString;
        char c = fSrc[p++];
        if (c == '"')
            break;
        if (c == '\n')
            return kFLmissingQuotes;
        if (c == '\\') {
            if (p >= n)
                return kFLunterminatedString;
            switch (fSrc[p++]) {
            case 'n': c = '\n'; break;
            case 't': c = '\t'; break;
            case '\\': c = '\\'; break;
            case '"': c = '"'; break;
            case '\n': return kFLmissingQuotes;
            default: return kFLsyntax;
            }
        }
        if (string.size() >= kFLevalMaxString)
            return kFLstringTooLong;
        string.push_back(c);
    }
    tok = EvalTok::String;
    fPos = p;
    return 0;
}

} // namespace grundel::detail
