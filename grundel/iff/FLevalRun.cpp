// Running loaded code: one pass over an array of instructions with a stack
// of numbers and a small stack of strings, both on the machine stack with
// the depths the loader proved.
#include "grundel/iff/FLeval_p.h"

#include "grundel/iff/FLerror.h"

#include <cstring>

using namespace grundel::detail;

namespace {

// A string operand: a literal of the program or text built by "+" in the
// buffer of its stack slot.
struct StrSlot {
    const char* data;
    std::size_t size;
};

int compare(const StrSlot& a, const StrSlot& b) {
    const int c = std::memcmp(a.data, b.data, a.size < b.size ? a.size : b.size);
    return c ? c : (a.size < b.size ? -1 : a.size > b.size ? 1 : 0);
}

// Runs p, or with p null fills the table of handlers (the address of each
// instruction's code, by opcode) that the loader stores in every
// instruction: each handler ends by jumping straight to the next one's.
// There must be one copy of this function, whose labels the table holds:
// it is never inlined nor cloned.
#if defined(__clang__)
__attribute__((noinline))
#else
__attribute__((noinline, noclone))
#endif
int run(const FLprogram::Impl* p, double* result, const void** handlers) {
#define GRUNDEL_OP(OP) op_##OP
#define GRUNDEL_NEXT goto* (++ip)->handler
#define GRUNDEL_ARITH(OP, A, B)                                     \
    if ((code = evalArith(EvalOp::OP, A, B, sp[-1])) != 0)          \
        return code;                                                \
    GRUNDEL_NEXT
#define GRUNDEL_CMP(EXPR) sp[-1] = (EXPR); GRUNDEL_NEXT

    if (!p) {
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 12
// The addresses of labels are addresses of code, not of the frame.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-pointer"
#endif
#define GRUNDEL_HANDLER(OP) handlers[static_cast<int>(EvalOp::OP)] = &&op_##OP
        GRUNDEL_HANDLER(PushNum); GRUNDEL_HANDLER(PushVar); GRUNDEL_HANDLER(StoreVar);
        GRUNDEL_HANDLER(PushStr); GRUNDEL_HANDLER(PopResult); GRUNDEL_HANDLER(DropStr);
        GRUNDEL_HANDLER(Add); GRUNDEL_HANDLER(Sub); GRUNDEL_HANDLER(Mul); GRUNDEL_HANDLER(Div);
        GRUNDEL_HANDLER(Mod); GRUNDEL_HANDLER(Pow); GRUNDEL_HANDLER(Neg); GRUNDEL_HANDLER(Not);
        GRUNDEL_HANDLER(Bool); GRUNDEL_HANDLER(Lt); GRUNDEL_HANDLER(Le); GRUNDEL_HANDLER(Gt);
        GRUNDEL_HANDLER(Ge); GRUNDEL_HANDLER(Eq); GRUNDEL_HANDLER(Ne);
        GRUNDEL_HANDLER(Concat); GRUNDEL_HANDLER(StrEq); GRUNDEL_HANDLER(StrNe); GRUNDEL_HANDLER(StrLt);
        GRUNDEL_HANDLER(StrLe); GRUNDEL_HANDLER(StrGt); GRUNDEL_HANDLER(StrGe); GRUNDEL_HANDLER(Index);
        GRUNDEL_HANDLER(Jmp); GRUNDEL_HANDLER(Jz); GRUNDEL_HANDLER(Jnz); GRUNDEL_HANDLER(Call);
        GRUNDEL_HANDLER(Call1); GRUNDEL_HANDLER(Call1Var); GRUNDEL_HANDLER(Return);
        GRUNDEL_HANDLER(AddNum); GRUNDEL_HANDLER(SubNum); GRUNDEL_HANDLER(MulNum); GRUNDEL_HANDLER(DivNum);
        GRUNDEL_HANDLER(LtNum); GRUNDEL_HANDLER(LeNum); GRUNDEL_HANDLER(GtNum); GRUNDEL_HANDLER(GeNum);
        GRUNDEL_HANDLER(EqNum); GRUNDEL_HANDLER(NeNum);
        GRUNDEL_HANDLER(AddVar); GRUNDEL_HANDLER(SubVar); GRUNDEL_HANDLER(MulVar); GRUNDEL_HANDLER(DivVar);
        GRUNDEL_HANDLER(LtVar); GRUNDEL_HANDLER(LeVar); GRUNDEL_HANDLER(GtVar); GRUNDEL_HANDLER(GeVar);
        GRUNDEL_HANDLER(EqVar); GRUNDEL_HANDLER(NeVar); GRUNDEL_HANDLER(End);
#undef GRUNDEL_HANDLER
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 12
#pragma GCC diagnostic pop
#endif
        return 0;
    }

    double stack[kFLevalMaxStack];
    StrSlot strings[kEvalMaxStrings];
    char buffers[kEvalMaxStrings][kFLevalMaxString];
    double* sp = stack;
    StrSlot* ss = strings;
    double value = 0;
    TuInt64 steps = 0; // read at the first backward jump: most programs make none
    bool stepsRead = false;
    const LoadedInsn* const base = p->code.data();
    const LoadedInsn* ip = base;
    int code = 0;
    double r;
    goto* ip->handler;

op_PushNum: *sp++ = ip->number; GRUNDEL_NEXT;
op_PushVar: *sp++ = *ip->var; GRUNDEL_NEXT;
op_StoreVar: *ip->var = sp[-1]; GRUNDEL_NEXT;
op_PushStr: *ss++ = {ip->string->data(), ip->string->size()}; GRUNDEL_NEXT;
op_PopResult: value = *--sp; GRUNDEL_NEXT;
op_DropStr: --ss; GRUNDEL_NEXT;
op_Add: --sp; GRUNDEL_ARITH(Add, sp[-1], sp[0]);
op_Sub: --sp; GRUNDEL_ARITH(Sub, sp[-1], sp[0]);
op_Mul: --sp; GRUNDEL_ARITH(Mul, sp[-1], sp[0]);
op_Div: --sp; GRUNDEL_ARITH(Div, sp[-1], sp[0]);
op_Mod: --sp; GRUNDEL_ARITH(Mod, sp[-1], sp[0]);
op_Pow: --sp; GRUNDEL_ARITH(Pow, sp[-1], sp[0]);
op_Lt: --sp; GRUNDEL_CMP(sp[-1] < sp[0]);
op_Le: --sp; GRUNDEL_CMP(sp[-1] <= sp[0]);
op_Gt: --sp; GRUNDEL_CMP(sp[-1] > sp[0]);
op_Ge: --sp; GRUNDEL_CMP(sp[-1] >= sp[0]);
op_Eq: --sp; GRUNDEL_CMP(sp[-1] == sp[0]);
op_Ne: --sp; GRUNDEL_CMP(sp[-1] != sp[0]);
op_Neg: GRUNDEL_CMP(-sp[-1]);
op_Not: GRUNDEL_CMP(sp[-1] == 0);
op_Bool: GRUNDEL_CMP(sp[-1] != 0);
op_AddNum: GRUNDEL_ARITH(Add, sp[-1], ip->number);
op_SubNum: GRUNDEL_ARITH(Sub, sp[-1], ip->number);
op_MulNum: GRUNDEL_ARITH(Mul, sp[-1], ip->number);
op_DivNum: GRUNDEL_ARITH(Div, sp[-1], ip->number);
op_LtNum: GRUNDEL_CMP(sp[-1] < ip->number);
op_LeNum: GRUNDEL_CMP(sp[-1] <= ip->number);
op_GtNum: GRUNDEL_CMP(sp[-1] > ip->number);
op_GeNum: GRUNDEL_CMP(sp[-1] >= ip->number);
op_EqNum: GRUNDEL_CMP(sp[-1] == ip->number);
op_NeNum: GRUNDEL_CMP(sp[-1] != ip->number);
op_AddVar: GRUNDEL_ARITH(Add, sp[-1], *ip->var);
op_SubVar: GRUNDEL_ARITH(Sub, sp[-1], *ip->var);
op_MulVar: GRUNDEL_ARITH(Mul, sp[-1], *ip->var);
op_DivVar: GRUNDEL_ARITH(Div, sp[-1], *ip->var);
op_LtVar: GRUNDEL_CMP(sp[-1] < *ip->var);
op_LeVar: GRUNDEL_CMP(sp[-1] <= *ip->var);
op_GtVar: GRUNDEL_CMP(sp[-1] > *ip->var);
op_GeVar: GRUNDEL_CMP(sp[-1] >= *ip->var);
op_EqVar: GRUNDEL_CMP(sp[-1] == *ip->var);
op_NeVar: GRUNDEL_CMP(sp[-1] != *ip->var);
op_Concat: {
    --ss;
    StrSlot& a = ss[-1];
    const StrSlot& b = ss[0];
    if (a.size + b.size > kFLevalMaxString)
        return kFLstringTooLong;
    char* out = buffers[ss - 1 - strings];
    // a may already be this slot's own buffer; b never is.
    if (a.data != out)
        std::memcpy(out, a.data, a.size);
    std::memcpy(out + a.size, b.data, b.size);
    a = {out, a.size + b.size};
    GRUNDEL_NEXT;
}
op_StrEq: ss -= 2; *sp++ = compare(ss[0], ss[1]) == 0; GRUNDEL_NEXT;
op_StrNe: ss -= 2; *sp++ = compare(ss[0], ss[1]) != 0; GRUNDEL_NEXT;
op_StrLt: ss -= 2; *sp++ = compare(ss[0], ss[1]) < 0; GRUNDEL_NEXT;
op_StrLe: ss -= 2; *sp++ = compare(ss[0], ss[1]) <= 0; GRUNDEL_NEXT;
op_StrGt: ss -= 2; *sp++ = compare(ss[0], ss[1]) > 0; GRUNDEL_NEXT;
op_StrGe: ss -= 2; *sp++ = compare(ss[0], ss[1]) >= 0; GRUNDEL_NEXT;
op_Index: {
    const StrSlot& s = *--ss;
    const double i = sp[-1];
    // Past either end, or between characters: 0, as past a C string's end.
    sp[-1] = i >= 0 && i < static_cast<double>(s.size) && i == static_cast<double>(static_cast<std::size_t>(i))
                 ? static_cast<unsigned char>(s.data[static_cast<std::size_t>(i)])
                 : 0;
    GRUNDEL_NEXT;
}
op_Jz:
    if (*--sp != 0)
        GRUNDEL_NEXT;
    goto jump;
op_Jnz:
    if (*--sp == 0)
        GRUNDEL_NEXT;
    goto jump;
op_Jmp:
jump:
    if (ip->argc) {
        if (!stepsRead) {
            steps = FLevalsteps();
            stepsRead = true;
        }
        if (steps-- == 0)
            return kFLevalBreak;
    }
    ip = base + ip->target;
    goto* ip->handler;
op_Call1: {
    // One number: most often a function bound from the start.
    const EvalSymbol* f = ip->function;
    if (const auto direct = f->direct1) {
        r = direct(sp[-1]);
        if (!(std::fabs(r) <= DBL_MAX))
            return kFLoverflow;
        sp[-1] = r;
        GRUNDEL_NEXT;
    }
    goto op_Call;
}
op_Call1Var: {
    const EvalSymbol* f = ip->function;
    if (const auto direct = f->direct1) {
        r = direct(*ip->aux);
        if (!(std::fabs(r) <= DBL_MAX))
            return kFLoverflow;
        *sp++ = r;
        GRUNDEL_NEXT;
    }
    FLvalue arg{*ip->aux, {}, false};
    r = 0;
    if ((code = f->function(&arg, 1, &r)) != 0)
        return code;
    if (!(std::fabs(r) <= DBL_MAX))
        return kFLoverflow;
    *sp++ = r;
    GRUNDEL_NEXT;
}
op_Call: {
    const EvalSymbol* f = ip->function;
    if (ip->mask == 0 && ip->argc == 1 && f->direct1) {
        r = f->direct1(sp[-1]);
    } else if (ip->mask == 0 && ip->argc == 2 && f->direct2) {
        --sp;
        r = f->direct2(sp[-1], sp[0]);
    } else {
        FLvalue args[kFLevalMaxArgs];
        for (int i = ip->argc - 1; i >= 0; --i) {
            if ((ip->mask >> i) & 1) {
                const StrSlot& s = *--ss;
                args[i] = {0, std::string_view(s.data, s.size), true};
            } else {
                args[i] = {*--sp, {}, false};
            }
        }
        r = 0;
        if ((code = f->function(args, ip->argc, &r)) != 0)
            return code;
        ++sp;
    }
    if (!(std::fabs(r) <= DBL_MAX))
        return kFLoverflow;
    sp[-1] = r;
    GRUNDEL_NEXT;
}
op_Return:
    value = *--sp;
op_End:
    if (result)
        *result = value;
    return 0;
#undef GRUNDEL_CMP
#undef GRUNDEL_ARITH
#undef GRUNDEL_NEXT
#undef GRUNDEL_OP
}

} // namespace

int FLuexec(const FLprogram& program, double* result) {
    if (!program.fImpl) {
        if (result)
            *result = 0;
        return 0;
    }
    if (int code = run(program.fImpl.get(), result, nullptr))
        return FLseterror(code);
    return 0;
}

int FLeval(std::string_view source, double* result) {
    FLprogram program;
    if (int code = FLucode(source, program))
        return code;
    return FLuexec(program, result);
}

namespace grundel::detail {
const void* const* evalHandlers() noexcept {
    static const void* table[256];
    static const bool filled = (run(nullptr, nullptr, table), true);
    (void)filled;
    return table;
}
} // namespace grundel::detail
