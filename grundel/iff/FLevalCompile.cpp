// The evaluator's compiler: one pass of recursive descent over the tokens, its depth bounded
// by kFLevalMaxNesting, from text to stored code. Operations on numbers known
// when compiling are folded into one number.
#include "grundel/iff/FLeval_p.h"
#include "grundel/iff/FLevalLex_p.h"

#include <cstring>
#include <unordered_map>

namespace grundel::detail {
namespace {

enum class Type { Num, Str };

class Compiler {
public:
    Compiler(std::string_view source, std::vector<std::uint8_t>& out) : fLex(source), fOut(out) {}

    int run() {
        if (!next())
            return fError;
        while (fLex.tok != EvalTok::End)
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

    EvalLexer fLex;
    std::vector<std::uint8_t>& fOut;
    int fError = 0;

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

    bool next() {
        if (int code = fLex.next())
            return fail(code);
        return true;
    }
    bool isPunct(const char* p) const { return fLex.isPunct(p); }
    bool isName(const char* p) const { return fLex.isName(p); }

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
        return fLex.tok == EvalTok::Number || fLex.tok == EvalTok::String || (fLex.tok == EvalTok::Name && !isEvalKeyword(fLex.text)) ||
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
                if (fLex.tok == EvalTok::End)
                    return fail(kFLsyntax);
                if (!statement())
                    return false;
            }
            --fBlocks;
            return next();
        }
        if (fLex.tok == EvalTok::Name) {
            if (fLex.text == "if")
                return ifStatement();
            if (fLex.text == "while")
                return whileStatement();
            if (fLex.text == "do")
                return doStatement();
            if (fLex.text == "const")
                return constStatement();
            if (fLex.text == "else")
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
        if (fLex.tok == EvalTok::End || (isPunct("}") && fBlocks > 0))
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
        if (fLex.tok != EvalTok::Name || isEvalKeyword(fLex.text))
            return fail(kFLconstName);
        const std::string_view name = fLex.text;
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

    bool binary(Expr& e, int lvl) {
        if (lvl > 5)
            return unary(e);
        if (!binary(e, lvl + 1))
            return false;
        while (fLex.tok == EvalTok::Punct && fLex.level == lvl) {
            const std::string_view op = fLex.text;
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
            const char op = fLex.text[0];
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
        switch (fLex.tok) {
        case EvalTok::Number:
            e.constant = true;
            e.value = fLex.number;
            return pushNumber(fLex.number) && next();
        case EvalTok::String: {
            if (fStrings.size() >= 0xffff)
                return fail(kFLoverflow);
            fStrings.push_back(fLex.string);
            e.type = Type::Str;
            if (!emit(EvalOp::PushStr))
                return false;
            put16(static_cast<std::uint32_t>(fStrings.size() - 1));
            return next();
        }
        case EvalTok::Name:
            return name(e);
        case EvalTok::End:
            return fail(fOpen > 0 ? kFLmissingParenthesis : kFLsyntax);
        case EvalTok::Punct:
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
        const std::string_view text = fLex.text;
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
