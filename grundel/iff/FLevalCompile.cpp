// The evaluator's compiler: one pass of recursive descent, its depth bounded
// by kFLevalMaxNesting, from text to stored code. Operations on numbers known
// when compiling are folded into one number.
#include "grundel/iff/FLeval_p.h"

#include <charconv>
#include <cstring>
#include <unordered_map>

namespace grundel::detail {
namespace {

enum class Tok { End, Number, String, Name, Punct };
enum class Type { Num, Str };

class Compiler {
public:
    Compiler(std::string_view source, std::vector<std::uint8_t>& out) : fSrc(source), fOut(out) {}

    int run() {
        if (!next())
            return fError;
        while (fTok != Tok::End)
            if (!statement())
                return fError;
        return write() ? 0 : fError;
    }

private:
    struct Name {
        std::string text;
        NameKind kind;
        int argc;
        double value;
    };
    // An expression just compiled: its type, and, for a number known now,
    // its value and where its code begins (so that it can be folded).
    struct Expr {
        Type type = Type::Num;
        bool constant = false;
        double value = 0;
        std::size_t start = 0;
        // A bare name, as "=" needs on its left.
        bool bare = false;
        std::string_view name;
    };

    std::string_view fSrc;
    std::vector<std::uint8_t>& fOut;
    std::size_t fPos = 0;
    int fError = 0;

    Tok fTok = Tok::End;
    std::string_view fText; // the token's characters (names, punctuation)
    double fNumber = 0;
    std::string fString;
    int fLevel = -1; // of a binary operator token (see level())

    std::vector<std::uint8_t> fCode;
    std::vector<Name> fNames;
    std::unordered_map<std::string_view, std::size_t> fNameIndex;
    std::vector<std::string> fStrings;
    int fNum = 0, fStr = 0; // stack depths
    int fNesting = 0;
    int fOpen = 0;   // parentheses and brackets open
    int fBlocks = 0; // braces open
    int fFoldFault = 0; // why the last operation on constants was not folded

    bool fail(int code) {
        if (!fError)
            fError = code;
        return false;
    }

    // Tokens.

    // p is one or two characters.
    bool isPunct(const char* p) const {
        return fTok == Tok::Punct && fText[0] == p[0] && (fText.size() == 1 ? p[1] == '\0' : p[1] == fText[1]);
    }
    bool isName(const char* p) const { return fTok == Tok::Name && fText == p; }

    static bool nameChar(char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    }
    static bool digit(char c) { return c >= '0' && c <= '9'; }

    bool next() {
        const std::size_t n = fSrc.size();
        fLevel = -1;
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
            fTok = Tok::End;
            fText = {};
            return true;
        }
        const char c = fSrc[fPos];
        if (digit(c) || (c == '.' && fPos + 1 < n && digit(fSrc[fPos + 1])))
            return number();
        if (c == '"')
            return string();
        if (nameChar(c)) {
            std::size_t end = fPos;
            while (end < n && nameChar(fSrc[end]))
                ++end;
            if (end - fPos > 255)
                return fail(kFLsyntax); // a stored name has a one-byte length
            fTok = Tok::Name;
            fText = fSrc.substr(fPos, end - fPos);
            fPos = end;
            return true;
        }
        static const char* const kTwo[] = {"==", "!=", "<=", ">=", "&&", "||"};
        for (const char* two : kTwo)
            if (fPos + 1 < n && fSrc[fPos] == two[0] && fSrc[fPos + 1] == two[1]) {
                fTok = Tok::Punct;
                fText = fSrc.substr(fPos, 2);
                fLevel = level(fText);
                fPos += 2;
                return true;
            }
        if (!std::strchr("(){}[],;?:=+-*/%^!<>", c) || c == '\0')
            return fail(kFLsyntax);
        fTok = Tok::Punct;
        fText = fSrc.substr(fPos, 1);
        fLevel = level(fText);
        ++fPos;
        return true;
    }

    bool number() {
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
                return fail(kFLsyntax);
            for (; e < n && digit(fSrc[e]); ++e)
                if (exponent < 100000)
                    exponent = exponent * 10 + (fSrc[e] - '0');
            if (negative)
                exponent = -exponent;
            end = e;
        }
        if (end < n && (nameChar(fSrc[end]) || fSrc[end] == '.'))
            return fail(kFLsyntax);
        const auto [ptr, ec] = std::from_chars(fSrc.data() + fPos, fSrc.data() + end, fNumber);
        if (ec == std::errc::result_out_of_range || (ec == std::errc() && fNumber == 0 && seen))
            return fail(exponent + lead >= 0 ? kFLoverflow : kFLunderflow);
        if (ec != std::errc() || ptr != fSrc.data() + end)
            return fail(kFLsyntax);
        if (!(std::fabs(fNumber) <= DBL_MAX))
            return fail(kFLoverflow);
        fTok = Tok::Number;
        fPos = end;
        return true;
    }

    bool string() {
        const std::size_t n = fSrc.size();
        fString.clear();
        std::size_t p = fPos + 1;
        for (;;) {
            if (p >= n)
                return fail(kFLunterminatedString);
            char c = fSrc[p++];
            if (c == '"')
                break;
            if (c == '\n')
                return fail(kFLmissingQuotes);
            if (c == '\\') {
                if (p >= n)
                    return fail(kFLunterminatedString);
                switch (fSrc[p++]) {
                case 'n': c = '\n'; break;
                case 't': c = '\t'; break;
                case '\\': c = '\\'; break;
                case '"': c = '"'; break;
                case '\n': return fail(kFLmissingQuotes);
                default: return fail(kFLsyntax);
                }
            }
            if (fString.size() >= kFLevalMaxString)
                return fail(kFLstringTooLong);
            fString.push_back(c);
        }
        fTok = Tok::String;
        fPos = p;
        return true;
    }

    // Code.

    bool depth(int num, int str) {
        fNum += num;
        fStr += str;
        if (fNum + fStr > kFLevalMaxStack || fStr > kEvalMaxStrings)
            return fail(kFLoverflow);
        return true;
    }
    bool emit(EvalOp op) {
        fCode.push_back(static_cast<std::uint8_t>(op));
        const EvalOpInfo info = evalOpInfo(static_cast<std::uint8_t>(op));
        return depth(info.numOut - info.numIn, info.strOut - info.strIn);
    }
    void put16(std::uint32_t v) {
        fCode.push_back(static_cast<std::uint8_t>(v >> 8));
        fCode.push_back(static_cast<std::uint8_t>(v));
    }
    void put32(std::uint32_t v) {
        for (int s = 24; s >= 0; s -= 8)
            fCode.push_back(static_cast<std::uint8_t>(v >> s));
    }
    bool pushNumber(double v) {
        if (!emit(EvalOp::PushNum))
            return false;
        std::uint64_t bits;
        std::memcpy(&bits, &v, sizeof bits);
        put32(static_cast<std::uint32_t>(bits >> 32));
        put32(static_cast<std::uint32_t>(bits));
        return true;
    }
    std::size_t jump(EvalOp op) {
        emit(op);
        put32(0);
        return fCode.size() - 4;
    }
    void patch(std::size_t at) { patchTo(at, fCode.size()); }
    void patchTo(std::size_t at, std::size_t target) {
        for (int i = 0; i < 4; ++i)
            fCode[at + i] = static_cast<std::uint8_t>(target >> (24 - 8 * i));
    }

    // The index of name in the code's names, added with kind when new.
    bool nameIndex(std::string_view text, NameKind kind, int argc, std::size_t& index) {
        auto it = fNameIndex.find(text);
        if (it != fNameIndex.end()) {
            index = it->second;
            if (kind == kAssignVar && fNames[index].kind == kReadVar)
                fNames[index].kind = kAssignVar;
            return true;
        }
        if (fNames.size() >= 0xffff)
            return fail(kFLoverflow);
        index = fNames.size();
        fNames.push_back({std::string(text), kind, argc, 0});
        fNameIndex.emplace(text, index); // text is part of the source
        return true;
    }
    bool varOperand(EvalOp op, std::string_view text, NameKind kind) {
        std::size_t index;
        if (!nameIndex(text, kind, 0, index) || !emit(op))
            return false;
        put16(static_cast<std::uint32_t>(index));
        return true;
    }

    // Folds the operation on constant operands into one number.
    // An operation that would fail is left to fail when it runs, if it
    // ever does ("0 && 1 / 0" is 0).
    bool fold(EvalOp op, Expr& left, const Expr& right) {
        double r;
        if (int code = evalArith(op, left.value, right.value, r)) {
            fFoldFault = code;
            left.constant = false;
            left.bare = false;
            return emit(op);
        }
        fCode.resize(left.start);
        fNum -= op == EvalOp::Neg || op == EvalOp::Not || op == EvalOp::Bool ? 1 : 2;
        left.value = r;
        left.bare = false;
        return pushNumber(r);
    }

    // Grammar.

    struct Nest {
        Compiler& c;
        bool ok;
        explicit Nest(Compiler& compiler) : c(compiler), ok(++c.fNesting <= kFLevalMaxNesting) {
            if (!ok)
                c.fail(kFLoverflow);
        }
        ~Nest() { --c.fNesting; }
    };

    bool startsExpression() const {
        return fTok == Tok::Number || fTok == Tok::String || (fTok == Tok::Name && !isEvalKeyword(fText)) ||
               isPunct("(") || isPunct("-") || isPunct("+") || isPunct("!");
    }

    bool statement() {
        Nest nest(*this);
        if (!nest.ok)
            return false;
        if (isPunct(";"))
            return next();
        if (isPunct("{")) {
            ++fBlocks;
            if (!next())
                return false;
            while (!isPunct("}")) {
                if (fTok == Tok::End)
                    return fail(kFLsyntax);
                if (!statement())
                    return false;
            }
            --fBlocks;
            return next();
        }
        if (fTok == Tok::Name) {
            if (fText == "if")
                return ifStatement();
            if (fText == "while")
                return whileStatement();
            if (fText == "do")
                return doStatement();
            if (fText == "const")
                return constStatement();
            if (fText == "else")
                return fail(kFLelseWithoutIf);
        }
        Expr e;
        if (!expression(e) || !emit(e.type == Type::Num ? EvalOp::PopResult : EvalOp::DropStr))
            return false;
        return endStatement();
    }

    // After an expression statement: ";", or the end of its block or text.
    bool endStatement() {
        if (isPunct(";"))
            return next();
        if (fTok == Tok::End || (isPunct("}") && fBlocks > 0))
            return true;
        if (isPunct(")") || isPunct("}"))
            return fail(kFLunbalanced);
        return fail(kFLsyntax);
    }

    bool condition() {
        if (!next())
            return false;
        if (!isPunct("("))
            return fail(kFLmissingParenthesis);
        ++fOpen;
        Expr e;
        if (!next() || !expression(e))
            return false;
        if (e.type != Type::Num)
            return fail(kFLsyntax);
        if (!isPunct(")"))
            return fail(kFLmissingParenthesis);
        --fOpen;
        return next();
    }

    bool ifStatement() {
        if (!condition())
            return false;
        const std::size_t skip = jump(EvalOp::Jz);
        if (!statement())
            return false;
        if (isName("else")) {
            const std::size_t over = jump(EvalOp::Jmp);
            patch(skip);
            if (!next() || !statement())
                return false;
            patch(over);
        } else {
            patch(skip);
        }
        return true;
    }

    bool whileStatement() {
        const std::size_t top = fCode.size();
        if (!condition())
            return false;
        const std::size_t exit = jump(EvalOp::Jz);
        if (!statement())
            return false;
        patchTo(jump(EvalOp::Jmp), top);
        patch(exit);
        return true;
    }

    bool doStatement() {
        const std::size_t top = fCode.size();
        if (!next() || !statement())
            return false;
        if (!isName("while"))
            return fail(kFLdoWithoutWhile);
        if (!condition())
            return false;
        patchTo(jump(EvalOp::Jnz), top);
        return isPunct(";") ? next() : true;
    }

    bool constStatement() {
        if (!next())
            return false;
        if (fTok != Tok::Name || isEvalKeyword(fText))
            return fail(kFLconstName);
        const std::string_view name = fText;
        double known = 0;
        bool defined = false;
        if (auto it = fNameIndex.find(name); it != fNameIndex.end()) {
            if (fNames[it->second].kind != kDefineConst)
                return fail(kFLconstName);
            defined = true;
            known = fNames[it->second].value;
        } else if (const EvalSymbol* s = EvalSymbols::find(name)) {
            if (s->kind != EvalSymbol::Constant)
                return fail(kFLconstName);
            defined = true;
            known = s->value;
        }
        if (!next())
            return false;
        if (!isPunct("="))
            return fail(kFLsyntax);
        const std::size_t start = fCode.size();
        Expr e;
        fFoldFault = 0;
        if (!next() || !expression(e))
            return false;
        if (e.type != Type::Num)
            return fail(kFLsyntax);
        if (!e.constant)
            return fail(fFoldFault ? fFoldFault : kFLnotConstant);
        fCode.resize(start);
        fNum -= 1;
        if (defined && std::memcmp(&known, &e.value, sizeof known) != 0)
            return fail(kFLconstRedefined);
        std::size_t index;
        if (!nameIndex(name, kDefineConst, 0, index))
            return false;
        fNames[index].value = e.value;
        return endStatement();
    }

    bool expression(Expr& e) {
        Nest nest(*this);
        if (!nest.ok || !conditional(e))
            return false;
        if (!isPunct("="))
            return true;
        if (!e.bare)
            return fail(kFLbadAssignment);
        const std::string_view name = e.name;
        if (auto it = fNameIndex.find(name); it != fNameIndex.end() && fNames[it->second].kind == kDefineConst)
            return fail(kFLconstAssignment);
        if (const EvalSymbol* s = EvalSymbols::find(name)) {
            if (s->kind == EvalSymbol::Constant)
                return fail(kFLconstAssignment);
            if (s->kind == EvalSymbol::Function)
                return fail(kFLbadAssignment);
        }
        // The load of the name gives way to the store.
        fCode.resize(e.start);
        if (e.type == Type::Num)
            fNum -= 1;
        std::size_t index;
        if (!nameIndex(name, kAssignVar, 0, index))
            return false;
        Expr value;
        if (!next() || !expression(value))
            return false;
        if (value.type != Type::Num)
            return fail(kFLbadAssignment);
        if (!emit(EvalOp::StoreVar))
            return false;
        put16(static_cast<std::uint32_t>(index));
        e = Expr();
        e.start = value.start;
        return true;
    }

    bool conditional(Expr& e) {
        Nest nest(*this);
        if (!nest.ok || !binary(e, 0))
            return false;
        if (!isPunct("?"))
            return true;
        if (e.type != Type::Num)
            return fail(kFLsyntax);
        const std::size_t start = e.start;
        const std::size_t other = jump(EvalOp::Jz);
        Expr a, b;
        if (!next() || !expression(a))
            return false;
        if (!isPunct(":"))
            return fail(kFLmissingColon);
        const std::size_t over = jump(EvalOp::Jmp);
        patch(other);
        if (a.type == Type::Num)
            fNum -= 1;
        else
            fStr -= 1;
        if (!next() || !conditional(b))
            return false;
        if (a.type != b.type)
            return fail(kFLsyntax);
        patch(over);
        if (e.constant && a.constant && b.constant) {
            fCode.resize(start);
            fNum -= 1;
            const double v = e.value != 0 ? a.value : b.value;
            if (!pushNumber(v))
                return false;
            e.value = v;
        } else {
            e.constant = false;
        }
        e.type = a.type;
        e.bare = false;
        e.start = start;
        return true;
    }

    // Binary operators by precedence level, lowest first.
    static int level(std::string_view op) {
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

    bool binary(Expr& e, int lvl) {
        if (lvl > 5)
            return unary(e);
        if (!binary(e, lvl + 1))
            return false;
        while (fTok == Tok::Punct && fLevel == lvl) {
            const std::string_view op = fText;
            if (lvl <= 1) {
                if (!logical(e, op == "&&"))
                    return false;
                continue;
            }
            Expr r;
            if (!next() || !binary(r, lvl + 1) || !combine(op, e, r))
                return false;
        }
        return true;
    }

    bool logical(Expr& e, bool isAnd) {
        if (e.type != Type::Num)
            return fail(kFLsyntax);
        const std::size_t start = e.start;
        const std::size_t shortCut = jump(isAnd ? EvalOp::Jz : EvalOp::Jnz);
        Expr r;
        if (!next() || !binary(r, isAnd ? 2 : 1))
            return false;
        if (r.type != Type::Num)
            return fail(kFLsyntax);
        if (!emit(EvalOp::Bool))
            return false;
        const std::size_t over = jump(EvalOp::Jmp);
        patch(shortCut);
        fNum -= 1;
        if (!pushNumber(isAnd ? 0 : 1))
            return false;
        patch(over);
        if (e.constant && r.constant) {
            const double v = isAnd ? (e.value != 0 && r.value != 0) : (e.value != 0 || r.value != 0);
            fCode.resize(start);
            fNum -= 1;
            if (!pushNumber(v))
                return false;
            e.value = v;
        } else {
            e.constant = false;
        }
        e.bare = false;
        e.start = start;
        return true;
    }

    bool combine(std::string_view op, Expr& e, const Expr& r) {
        EvalOp code;
        if (e.type == Type::Str || r.type == Type::Str) {
            if (e.type != r.type)
                return fail(kFLsyntax);
            if (op == "+") code = EvalOp::Concat;
            else if (op == "==") code = EvalOp::StrEq;
            else if (op == "!=") code = EvalOp::StrNe;
            else if (op == "<") code = EvalOp::StrLt;
            else if (op == "<=") code = EvalOp::StrLe;
            else if (op == ">") code = EvalOp::StrGt;
            else if (op == ">=") code = EvalOp::StrGe;
            else return fail(kFLsyntax);
            if (!emit(code))
                return false;
            e.type = code == EvalOp::Concat ? Type::Str : Type::Num;
            e.bare = false;
            e.constant = false;
            return true;
        }
        if (op == "+") code = EvalOp::Add;
        else if (op == "-") code = EvalOp::Sub;
        else if (op == "*") code = EvalOp::Mul;
        else if (op == "/") code = EvalOp::Div;
        else if (op == "%") code = EvalOp::Mod;
        else if (op == "<") code = EvalOp::Lt;
        else if (op == "<=") code = EvalOp::Le;
        else if (op == ">") code = EvalOp::Gt;
        else if (op == ">=") code = EvalOp::Ge;
        else if (op == "==") code = EvalOp::Eq;
        else code = EvalOp::Ne;
        if (e.constant && r.constant)
            return fold(code, e, r);
        e.constant = false;
        e.bare = false;
        return emit(code);
    }

    bool unary(Expr& e) {
        if (isPunct("-") || isPunct("+") || isPunct("!")) {
            Nest nest(*this);
            if (!nest.ok)
                return false;
            const char op = fText[0];
            const std::size_t start = fCode.size();
            if (!next() || !unary(e))
                return false;
            if (e.type != Type::Num)
                return fail(kFLsyntax);
            e.start = start;
            e.bare = false;
            if (op == '+')
                return true;
            const EvalOp code = op == '-' ? EvalOp::Neg : EvalOp::Not;
            if (e.constant)
                return fold(code, e, e);
            return emit(code);
        }
        if (!postfix(e))
            return false;
        if (!isPunct("^"))
            return true;
        if (e.type != Type::Num)
            return fail(kFLsyntax);
        Nest nest(*this);
        Expr r;
        if (!nest.ok || !next() || !unary(r))
            return false;
        if (r.type != Type::Num)
            return fail(kFLsyntax);
        e.bare = false;
        if (e.constant && r.constant)
            return fold(EvalOp::Pow, e, r);
        e.constant = false;
        return emit(EvalOp::Pow);
    }

    bool postfix(Expr& e) {
        if (!primary(e))
            return false;
        while (isPunct("[")) {
            if (e.type != Type::Str)
                return fail(kFLsyntax);
            ++fOpen;
            Expr i;
            if (!next() || !expression(i))
                return false;
            if (i.type != Type::Num)
                return fail(kFLsyntax);
            if (!isPunct("]"))
                return fail(kFLmissingBracket);
            --fOpen;
            if (!emit(EvalOp::Index) || !next())
                return false;
            e.type = Type::Num;
            e.bare = false;
            e.constant = false;
        }
        return true;
    }

    bool primary(Expr& e) {
        e = Expr();
        e.start = fCode.size();
        switch (fTok) {
        case Tok::Number:
            e.constant = true;
            e.value = fNumber;
            return pushNumber(fNumber) && next();
        case Tok::String: {
            if (fStrings.size() >= 0xffff)
                return fail(kFLoverflow);
            fStrings.push_back(fString);
            e.type = Type::Str;
            if (!emit(EvalOp::PushStr))
                return false;
            put16(static_cast<std::uint32_t>(fStrings.size() - 1));
            return next();
        }
        case Tok::Name:
            return name(e);
        case Tok::End:
            return fail(fOpen > 0 ? kFLmissingParenthesis : kFLsyntax);
        case Tok::Punct:
            break;
        }
        if (isPunct("(")) {
            ++fOpen;
            if (!next() || !expression(e))
                return false;
            if (!isPunct(")"))
                return fail(kFLmissingParenthesis);
            --fOpen;
            e.bare = false;
            return next();
        }
        if ((isPunct(")") && fOpen == 0) || (isPunct("}") && fBlocks == 0))
            return fail(kFLunbalanced);
        return fail(kFLsyntax);
    }

    bool name(Expr& e) {
        const std::string_view text = fText;
        if (isEvalKeyword(text))
            return fail(text == "else" ? kFLelseWithoutIf : kFLsyntax);
        if (!next())
            return false;
        const bool assigned = isPunct("=");
        e.bare = true;
        e.name = text;
        if (isPunct("("))
            return call(e, text);
        auto it = fNameIndex.find(text);
        if (it != fNameIndex.end() && fNames[it->second].kind == kDefineConst) {
            e.constant = true;
            e.value = fNames[it->second].value;
            return pushNumber(e.value);
        }
        if (it != fNameIndex.end() && fNames[it->second].kind == kCallFunc)
            return fail(assigned ? kFLbadAssignment : kFLsyntax);
        const bool known = it != fNameIndex.end();
        if (const EvalSymbol* s = EvalSymbols::find(text)) {
            if (s->kind == EvalSymbol::Constant) {
                e.constant = true;
                e.value = s->value;
                return pushNumber(e.value);
            }
            if (s->kind == EvalSymbol::Function)
                return fail(assigned ? kFLbadAssignment : kFLsyntax);
        } else if (!known && !assigned) {
            return fail(kFLundefinedSymbol);
        }
        return varOperand(EvalOp::PushVar, text, kReadVar);
    }

    bool call(Expr& e, std::string_view text) {
        e.bare = false;
        int argc = -2;
        if (const EvalSymbol* s = EvalSymbols::find(text)) {
            if (s->kind != EvalSymbol::Function)
                return fail(kFLsyntax);
            argc = s->argc;
        } else {
            return fail(kFLundefinedSymbol);
        }
        ++fOpen;
        if (!next())
            return false;
        int count = 0;
        std::uint16_t mask = 0;
        if (!isPunct(")")) {
            for (;;) {
                Expr a;
                if (!expression(a))
                    return false;
                if (count >= kFLevalMaxArgs)
                    return fail(kFLargumentCount);
                if (a.type == Type::Str)
                    mask = static_cast<std::uint16_t>(mask | (1u << count));
                ++count;
                if (isPunct(")"))
                    break;
                if (isPunct(","))
                    ;
                else if (startsExpression())
                    return fail(kFLmissingComma);
                else
                    return fail(kFLmissingParenthesis);
                if (!next())
                    return false;
            }
        }
        --fOpen;
        if (argc >= 0 && argc != count)
            return fail(kFLargumentCount);
        std::size_t index;
        if (!nameIndex(text, kCallFunc, argc, index))
            return false;
        fNum -= count - callStrings(mask, count);
        fStr -= callStrings(mask, count);
        if (!emit(EvalOp::Call))
            return false;
        put16(static_cast<std::uint32_t>(index));
        fCode.push_back(static_cast<std::uint8_t>(count));
        put16(mask);
        return next();
    }

    // Stored code.

    void append(const void* data, std::size_t n) {
        if (n == 0)
            return;
        const std::size_t at = fOut.size();
        fOut.resize(at + n);
        std::memcpy(fOut.data() + at, data, n);
    }

    bool write() {
        fOut.clear();
        append(kUcodeMagic, 4);
        fOut.push_back(kUcodeVersion);
        auto out16 = [&](std::uint32_t v) {
            fOut.push_back(static_cast<std::uint8_t>(v >> 8));
            fOut.push_back(static_cast<std::uint8_t>(v));
        };
        out16(static_cast<std::uint32_t>(fNames.size()));
        for (const Name& n : fNames) {
            if (n.text.size() > 255)
                return fail(kFLoverflow);
            fOut.push_back(n.kind);
            fOut.push_back(static_cast<std::uint8_t>(n.argc));
            fOut.push_back(static_cast<std::uint8_t>(n.text.size()));
            append(n.text.data(), n.text.size());
            if (n.kind == kDefineConst) {
                std::uint64_t bits;
                std::memcpy(&bits, &n.value, sizeof bits);
                for (int s = 56; s >= 0; s -= 8)
                    fOut.push_back(static_cast<std::uint8_t>(bits >> s));
            }
        }
        out16(static_cast<std::uint32_t>(fStrings.size()));
        for (const std::string& s : fStrings) {
            fOut.push_back(static_cast<std::uint8_t>(s.size()));
            append(s.data(), s.size());
        }
        if (fCode.size() > 0xffffffffu)
            return fail(kFLoverflow);
        const auto length = static_cast<std::uint32_t>(fCode.size());
        for (int s = 24; s >= 0; s -= 8)
            fOut.push_back(static_cast<std::uint8_t>(length >> s));
        append(fCode.data(), fCode.size());
        return true;
    }
};

} // namespace

int compileEval(std::string_view source, std::vector<std::uint8_t>& code) {
    Compiler compiler(source, code);
    return compiler.run();
}

} // namespace grundel::detail
