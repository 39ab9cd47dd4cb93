// Loading compiled code: every byte checked before anything is bound, then
// the names bound to this process's records and pushes fused with the
// arithmetic after them.
#include "grundel/iff/FLeval_p.h"

#include "grundel/iff/FLerror.h"

#include <cstring>
#include <new>
#include <unordered_set>

namespace grundel::detail {
namespace {

struct StoredName {
    std::string_view text;
    NameKind kind;
    int argc; // -1: any
    double value;
};

struct Decoded {
    EvalOp op;
    std::uint8_t argc = 0;
    std::uint16_t mask = 0;
    std::uint32_t operand = 0; // name or string index, or jump target (byte offset, then index)
    double number = 0;
};

class Reader {
public:
    Reader(const std::uint8_t* p, std::size_t n) : fP(p), fN(n) {}
    bool has(std::size_t k) const { return fN - fPos >= k; }
    std::size_t left() const { return fN - fPos; }
    std::size_t pos() const { return fPos; }
    std::uint8_t u8() { return fP[fPos++]; }
    std::uint32_t u16() {
        const std::uint32_t v = std::uint32_t(fP[fPos]) << 8 | fP[fPos + 1];
        fPos += 2;
        return v;
    }
    std::uint32_t u32() {
        const std::uint32_t v = std::uint32_t(fP[fPos]) << 24 | std::uint32_t(fP[fPos + 1]) << 16 |
                                std::uint32_t(fP[fPos + 2]) << 8 | fP[fPos + 3];
        fPos += 4;
        return v;
    }
    double f64() {
        const std::uint64_t bits = std::uint64_t(u32()) << 32 | u32();
        double v;
        std::memcpy(&v, &bits, sizeof v);
        return v;
    }
    std::string_view text(std::size_t k) {
        std::string_view t(reinterpret_cast<const char*>(fP + fPos), k);
        fPos += k;
        return t;
    }

private:
    const std::uint8_t* fP;
    std::size_t fN;
    std::size_t fPos = 0;
};

bool readNames(Reader& r, std::vector<StoredName>& names) {
    if (!r.has(2))
        return false;
    const std::uint32_t count = r.u16();
    // Each name takes at least 4 bytes: a count past what is left is a lie.
    if (count > r.left() / 4)
        return false;
    names.reserve(count);
    std::unordered_set<std::string_view> seen;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!r.has(3))
            return false;
        StoredName n;
        const std::uint8_t kind = r.u8();
        const std::uint8_t argc = r.u8();
        const std::uint8_t length = r.u8();
        if (kind > kDefineConst || !r.has(length))
            return false;
        n.kind = static_cast<NameKind>(kind);
        n.argc = argc == 0xff ? -1 : argc;
        if (n.argc > kFLevalMaxArgs || (n.kind != kCallFunc && argc != 0))
            return false;
        n.text = r.text(length);
        if (!isEvalName(n.text) || !seen.insert(n.text).second)
            return false;
        n.value = 0;
        if (n.kind == kDefineConst) {
            if (!r.has(8))
                return false;
            n.value = r.f64();
            if (!(std::fabs(n.value) <= DBL_MAX))
                return false;
        }
        names.push_back(n);
    }
    return true;
}

bool readStrings(Reader& r, std::vector<std::string>& strings) {
    if (!r.has(2))
        return false;
    const std::uint32_t count = r.u16();
    if (count > r.left())
        return false;
    strings.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!r.has(1))
            return false;
        const std::uint8_t length = r.u8();
        if (!r.has(length))
            return false;
        strings.emplace_back(r.text(length));
    }
    return true;
}

// Decodes the instructions, checks their operands and turns jump targets
// into instruction indices (the end of the code is index code.size()).
bool decode(Reader& r, const std::vector<StoredName>& names, std::size_t stringCount, std::vector<Decoded>& code) {
    if (!r.has(4))
        return false;
    const std::uint32_t length = r.u32();
    if (r.left() != length)
        return false;
    const std::size_t base = r.pos();
    // Instruction index at each byte offset that starts one; -1 elsewhere.
    std::vector<std::int32_t> at(std::size_t(length) + 1, -1);
    while (r.pos() - base < length) {
        at[r.pos() - base] = static_cast<std::int32_t>(code.size());
        Decoded d;
        const std::uint8_t op = r.u8();
        const EvalOpInfo info = evalOpInfo(op);
        if (!info.valid || !r.has(info.operandBytes))
            return false;
        d.op = static_cast<EvalOp>(op);
        switch (d.op) {
        case EvalOp::PushNum:
            d.number = r.f64();
            if (!(std::fabs(d.number) <= DBL_MAX))
                return false;
            break;
        case EvalOp::PushVar:
        case EvalOp::StoreVar:
            d.operand = r.u16();
            if (d.operand >= names.size())
                return false;
            if (names[d.operand].kind != kAssignVar &&
                (d.op == EvalOp::StoreVar || names[d.operand].kind != kReadVar))
                return false;
            break;
        case EvalOp::PushStr:
            d.operand = r.u16();
            if (d.operand >= stringCount)
                return false;
            break;
        case EvalOp::Jmp:
        case EvalOp::Jz:
        case EvalOp::Jnz:
            d.operand = r.u32();
            if (d.operand > length)
                return false;
            break;
        case EvalOp::Call: {
            d.operand = r.u16();
            d.argc = r.u8();
            d.mask = static_cast<std::uint16_t>(r.u16());
            if (d.operand >= names.size() || names[d.operand].kind != kCallFunc || d.argc > kFLevalMaxArgs ||
                (names[d.operand].argc >= 0 && names[d.operand].argc != d.argc) || (d.mask >> d.argc) != 0)
                return false;
            break;
        }
        default:
            break;
        }
        code.push_back(d);
    }
    at[length] = static_cast<std::int32_t>(code.size());
    for (Decoded& d : code)
        if (d.op == EvalOp::Jmp || d.op == EvalOp::Jz || d.op == EvalOp::Jnz) {
            if (at[d.operand] < 0)
                return false;
            d.operand = static_cast<std::uint32_t>(at[d.operand]);
        }
    return true;
}

// Proves the depth of both stacks at every reachable instruction: the same
// on every path to it, never below what it pops nor above the limits, and
// both empty at the end.
bool checkDepths(const std::vector<Decoded>& code) {
    const std::size_t n = code.size();
    std::vector<std::int16_t> num(n + 1, -1), str(n + 1, -1);
    std::vector<std::uint32_t> work;
    auto reach = [&](std::size_t i, int nd, int sd) {
        if (num[i] < 0) {
            num[i] = static_cast<std::int16_t>(nd);
            str[i] = static_cast<std::int16_t>(sd);
            work.push_back(static_cast<std::uint32_t>(i));
            return true;
        }
        return num[i] == nd && str[i] == sd;
    };
    reach(0, 0, 0);
    while (!work.empty()) {
        const std::size_t i = work.back();
        work.pop_back();
        if (i == n)
            continue;
        const Decoded& d = code[i];
        const EvalOpInfo info = evalOpInfo(static_cast<std::uint8_t>(d.op));
        int numIn = info.numIn, strIn = info.strIn;
        if (d.op == EvalOp::Call) {
            strIn = callStrings(d.mask, d.argc);
            numIn = d.argc - strIn;
        }
        int nd = num[i], sd = str[i];
        if (nd < numIn || sd < strIn)
            return false;
        nd += info.numOut - numIn;
        sd += info.strOut - strIn;
        if (nd + sd > kFLevalMaxStack || sd > kEvalMaxStrings)
            return false;
        const bool isJump = d.op == EvalOp::Jmp || d.op == EvalOp::Jz || d.op == EvalOp::Jnz;
        if (isJump && !reach(d.operand, nd, sd))
            return false;
        if (d.op != EvalOp::Jmp && !reach(i + 1, nd, sd))
            return false;
    }
    return num[n] <= 0 && str[n] <= 0;
}

// Binds the names: checks every one first, then creates and defines.
int bind(const std::vector<StoredName>& names, std::vector<EvalSymbol*>& symbols) {
    symbols.assign(names.size(), nullptr);
    std::size_t missing = 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const StoredName& n = names[i];
        EvalSymbol* s = EvalSymbols::find(n.text);
        symbols[i] = s;
        switch (n.kind) {
        case kReadVar:
            if (!s || s->kind == EvalSymbol::Function)
                return kFLundefinedSymbol;
            break;
        case kAssignVar:
            if (s && s->kind == EvalSymbol::Constant)
                return kFLconstAssignment;
            if (s && s->kind == EvalSymbol::Function)
                return kFLbadAssignment;
            break;
        case kCallFunc:
            if (!s || s->kind != EvalSymbol::Function)
                return kFLundefinedSymbol;
            if (s->argc != n.argc)
                return kFLargumentCount;
            break;
        case kDefineConst:
            if (s && s->kind != EvalSymbol::Constant)
                return kFLconstName;
            if (s && std::memcmp(&s->value, &n.value, sizeof n.value) != 0)
                return kFLconstRedefined;
            break;
        }
        missing += s == nullptr;
    }
    // All or nothing: a table that cannot take every new name takes none.
    if (EvalSymbols::count() + missing > kFLevalMaxSymbols)
        return kFLnoMemory;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (symbols[i])
            continue;
        const bool isConst = names[i].kind == kDefineConst;
        symbols[i] = EvalSymbols::add(names[i].text, isConst ? EvalSymbol::Constant : EvalSymbol::Variable);
        if (!symbols[i])
            return kFLnoMemory;
        symbols[i]->value = isConst ? names[i].value : 0;
    }
    return 0;
}

EvalOp fusedWith(EvalOp push, EvalOp op) {
    const int k = static_cast<int>(op) - static_cast<int>(EvalOp::Add);
    static constexpr bool kFusable[] = {true, true, true, true, false, false, false, false, false,
                                        true, true, true, true, true, true};
    if (k < 0 || k >= 15 || !kFusable[k])
        return op;
    const int slot = k < 4 ? k : k - 5; // Lt follows Div in the fused order
    const int first = static_cast<int>(push == EvalOp::PushNum ? EvalOp::AddNum : EvalOp::AddVar);
    return static_cast<EvalOp>(first + slot);
}

// The loaded form: names and strings bound, pushes fused with the operation
// after them where no jump lands in between.
void build(const std::vector<Decoded>& code, const std::vector<EvalSymbol*>& symbols, FLprogram::Impl& p) {
    const std::size_t n = code.size();
    std::vector<bool> target(n + 1, false);
    for (const Decoded& d : code)
        if (d.op == EvalOp::Jmp || d.op == EvalOp::Jz || d.op == EvalOp::Jnz)
            target[d.operand] = true;
    std::vector<std::uint32_t> index(n + 1);
    p.code.clear();
    p.code.reserve(n + 1);
    for (std::size_t i = 0; i < n; ++i) {
        index[i] = static_cast<std::uint32_t>(p.code.size());
        const Decoded& d = code[i];
        LoadedInsn insn{};
        insn.op = d.op;
        insn.argc = d.argc;
        insn.mask = d.mask;
        insn.target = d.operand;
        switch (d.op) {
        case EvalOp::PushNum: insn.number = d.number; break;
        case EvalOp::PushVar:
        case EvalOp::StoreVar: insn.var = &symbols[d.operand]->value; break;
        case EvalOp::PushStr: insn.string = &p.strings[d.operand]; break;
        case EvalOp::Call:
            insn.function = symbols[d.operand];
            if (d.argc == 1 && d.mask == 0)
                insn.op = EvalOp::Call1;
            break;
        default: break;
        }
        if ((d.op == EvalOp::PushNum || d.op == EvalOp::PushVar) && i + 1 < n && !target[i + 1]) {
            const Decoded& after = code[i + 1];
            const EvalOp fused = fusedWith(d.op, after.op);
            if (fused != after.op) {
                insn.op = fused;
                index[++i] = static_cast<std::uint32_t>(p.code.size());
            } else if (d.op == EvalOp::PushVar && after.op == EvalOp::Call && after.argc == 1 && after.mask == 0) {
                // A function of one variable.
                insn.op = EvalOp::Call1Var;
                insn.aux = insn.var;
                insn.function = symbols[after.operand]; // over var, in the union
                index[++i] = static_cast<std::uint32_t>(p.code.size());
            }
        }
        p.code.push_back(insn);
    }
    index[n] = static_cast<std::uint32_t>(p.code.size());
    LoadedInsn end{};
    end.op = EvalOp::End;
    // The last statement's value goes straight out, unless a jump lands between.
    if (n > 0 && code[n - 1].op == EvalOp::PopResult && !target[n] && p.code.back().op == EvalOp::PopResult)
        p.code.back().op = EvalOp::Return;
    else
        p.code.push_back(end);
    const void* const* handlers = evalHandlers();
    for (std::size_t i = 0; i < p.code.size(); ++i) {
        LoadedInsn& insn = p.code[i];
        insn.handler = handlers[static_cast<int>(insn.op)];
        if (insn.op == EvalOp::Jmp || insn.op == EvalOp::Jz || insn.op == EvalOp::Jnz) {
            insn.target = index[insn.target];
            insn.argc = insn.target <= i; // a backward jump counts against the steps
        }
    }
}

int load(const void* bytes, std::size_t size, FLprogram::Impl& p) {
    if (!bytes && size)
        return kFLbadUcode;
    Reader r(static_cast<const std::uint8_t*>(bytes), size);
    if (!r.has(5) || std::memcmp(bytes, kUcodeMagic, 4) != 0)
        return kFLbadUcode;
    r.text(4);
    if (r.u8() != kUcodeVersion)
        return kFLbadUcode;
    std::vector<StoredName> names;
    std::vector<Decoded> code;
    if (!readNames(r, names) || !readStrings(r, p.strings) || !decode(r, names, p.strings.size(), code) ||
        !checkDepths(code))
        return kFLbadUcode;
    std::vector<EvalSymbol*> symbols;
    {
        EvalLock guard;
        if (int result = bind(names, symbols))
            return result;
    }
    build(code, symbols, p);
    p.bytes.assign(static_cast<const std::uint8_t*>(bytes), static_cast<const std::uint8_t*>(bytes) + size);
    return 0;
}

} // namespace
} // namespace grundel::detail

using namespace grundel::detail;

FLprogram::FLprogram() noexcept = default;
FLprogram::FLprogram(FLprogram&& other) noexcept = default;
FLprogram& FLprogram::operator=(FLprogram&& other) noexcept = default;
FLprogram::~FLprogram() = default;

std::string_view FLprogram::bytes() const noexcept {
    if (!fImpl)
        return {};
    return {reinterpret_cast<const char*>(fImpl->bytes.data()), fImpl->bytes.size()};
}

int FLloaducode(const void* bytes, std::size_t size, FLprogram& program) {
    program.fImpl.reset();
    try {
        auto impl = std::make_unique<FLprogram::Impl>();
        if (int code = load(bytes, size, *impl))
            return FLseterror(code);
        program.fImpl = std::move(impl);
        return 0;
    } catch (const std::bad_alloc&) {
        return FLseterror(kFLnoMemory);
    }
}

int FLucode(std::string_view source, FLprogram& program) {
    program = FLprogram();
    try {
        std::vector<std::uint8_t> code;
        int result;
        {
            EvalLock guard;
            result = compileEval(source, code);
        }
        if (result)
            return FLseterror(result);
        return FLloaducode(code.data(), code.size(), program);
    } catch (const std::bad_alloc&) {
        return FLseterror(kFLnoMemory);
    }
}
