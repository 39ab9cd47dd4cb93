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

int run(const FLprogram::Impl& p, double* result) {
    double stack[kFLevalMaxStack];
    StrSlot strings[kEvalMaxStrings];
    char buffers[kEvalMaxStrings][kFLevalMaxString];
    double* sp = stack;
    StrSlot* ss = strings;
    double value = 0;
    TuInt64 steps = FLevalsteps();
    const LoadedInsn* const base = p.code.data();
    const LoadedInsn* ip = base;
    int code = 0;

#define GRUNDEL_ARITH(OP, A, B)                                     \
    if ((code = evalArith(EvalOp::OP, A, B, sp[-1])) != 0)          \
        return code;                                                \
    break

    for (;; ++ip) {
        switch (ip->op) {
        case EvalOp::PushNum: *sp++ = ip->number; break;
        case EvalOp::PushVar: *sp++ = *ip->var; break;
        case EvalOp::StoreVar: *ip->var = sp[-1]; break;
        case EvalOp::PushStr:
            *ss++ = {ip->string->data(), ip->string->size()};
            break;
        case EvalOp::PopResult: value = *--sp; break;
        case EvalOp::DropStr: --ss; break;
        case EvalOp::Add: --sp; GRUNDEL_ARITH(Add, sp[-1], sp[0]);
        case EvalOp::Sub: --sp; GRUNDEL_ARITH(Sub, sp[-1], sp[0]);
        case EvalOp::Mul: --sp; GRUNDEL_ARITH(Mul, sp[-1], sp[0]);
        case EvalOp::Div: --sp; GRUNDEL_ARITH(Div, sp[-1], sp[0]);
        case EvalOp::Mod: --sp; GRUNDEL_ARITH(Mod, sp[-1], sp[0]);
        case EvalOp::Pow: --sp; GRUNDEL_ARITH(Pow, sp[-1], sp[0]);
        case EvalOp::Lt: --sp; sp[-1] = sp[-1] < sp[0]; break;
        case EvalOp::Le: --sp; sp[-1] = sp[-1] <= sp[0]; break;
        case EvalOp::Gt: --sp; sp[-1] = sp[-1] > sp[0]; break;
        case EvalOp::Ge: --sp; sp[-1] = sp[-1] >= sp[0]; break;
        case EvalOp::Eq: --sp; sp[-1] = sp[-1] == sp[0]; break;
        case EvalOp::Ne: --sp; sp[-1] = sp[-1] != sp[0]; break;
        case EvalOp::Neg: sp[-1] = -sp[-1]; break;
        case EvalOp::Not: sp[-1] = sp[-1] == 0; break;
        case EvalOp::Bool: sp[-1] = sp[-1] != 0; break;
        case EvalOp::AddNum: GRUNDEL_ARITH(Add, sp[-1], ip->number);
        case EvalOp::SubNum: GRUNDEL_ARITH(Sub, sp[-1], ip->number);
        case EvalOp::MulNum: GRUNDEL_ARITH(Mul, sp[-1], ip->number);
        case EvalOp::DivNum: GRUNDEL_ARITH(Div, sp[-1], ip->number);
        case EvalOp::AddVar: GRUNDEL_ARITH(Add, sp[-1], *ip->var);
        case EvalOp::SubVar: GRUNDEL_ARITH(Sub, sp[-1], *ip->var);
        case EvalOp::MulVar: GRUNDEL_ARITH(Mul, sp[-1], *ip->var);
        case EvalOp::DivVar: GRUNDEL_ARITH(Div, sp[-1], *ip->var);
        case EvalOp::Concat: {
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
            break;
        }
        case EvalOp::StrEq: ss -= 2; *sp++ = compare(ss[0], ss[1]) == 0; break;
        case EvalOp::StrNe: ss -= 2; *sp++ = compare(ss[0], ss[1]) != 0; break;
        case EvalOp::StrLt: ss -= 2; *sp++ = compare(ss[0], ss[1]) < 0; break;
        case EvalOp::StrLe: ss -= 2; *sp++ = compare(ss[0], ss[1]) <= 0; break;
        case EvalOp::StrGt: ss -= 2; *sp++ = compare(ss[0], ss[1]) > 0; break;
        case EvalOp::StrGe: ss -= 2; *sp++ = compare(ss[0], ss[1]) >= 0; break;
        case EvalOp::Index: {
            const StrSlot& s = *--ss;
            const double i = sp[-1];
            // Past either end, or between characters: 0, as past a C string's end.
            sp[-1] = i >= 0 && i < static_cast<double>(s.size) && i == static_cast<double>(static_cast<std::size_t>(i))
                         ? static_cast<unsigned char>(s.data[static_cast<std::size_t>(i)])
                         : 0;
            break;
        }
        case EvalOp::Jz:
            if (*--sp != 0)
                break;
            [[fallthrough]];
        case EvalOp::Jmp:
            if (ip->argc && steps-- == 0)
                return kFLevalBreak;
            ip = base + ip->target - 1;
            break;
        case EvalOp::Jnz:
            if (*--sp == 0)
                break;
            if (ip->argc && steps-- == 0)
                return kFLevalBreak;
            ip = base + ip->target - 1;
            break;
        case EvalOp::Call: {
            FLvalue args[kFLevalMaxArgs];
            for (int i = ip->argc - 1; i >= 0; --i) {
                if ((ip->mask >> i) & 1) {
                    const StrSlot& s = *--ss;
                    args[i].string = std::string_view(s.data, s.size);
                    args[i].isString = true;
                } else {
                    args[i].number = *--sp;
                }
            }
            double r = 0;
            if ((code = ip->function->function(args, ip->argc, &r)) != 0)
                return code;
            if (!(std::fabs(r) <= DBL_MAX))
                return kFLoverflow;
            *sp++ = r;
            break;
        }
        case EvalOp::End:
            if (result)
                *result = value;
            return 0;
        default:
            return kFLbadUcode;
        }
    }
#undef GRUNDEL_ARITH
}

} // namespace

int FLuexec(const FLprogram& program, double* result) {
    if (!program.fImpl) {
        if (result)
            *result = 0;
        return 0;
    }
    if (int code = run(*program.fImpl, result))
        return FLseterror(code);
    return 0;
}

int FLeval(std::string_view source, double* result) {
    FLprogram program;
    if (int code = FLucode(source, program))
        return code;
    return FLuexec(program, result);
}
