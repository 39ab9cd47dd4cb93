#pragma once

// The evaluator's compiled code, its loaded form and the name table.
//
// Stored code (big-endian):
//   "FLuc" version:u8
//   nameCount:u16, each: kind:u8 argc:u8 length:u8 text [value:f64 for kDefineConst]
//   stringCount:u16, each: length:u8 text
//   codeLength:u32, instructions
// An instruction is an opcode byte and its operands (see kOperands). Jump
// targets are byte offsets into the instructions; the end of the code is a
// valid target. Numbers live on one stack, strings on another; the checker
// proves both depths on every path.

#include "grundel/iff/FLeval.h"

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace grundel::detail {

enum class EvalOp : std::uint8_t {
    PushNum = 0x01,   // f64
    PushVar = 0x02,   // name:u16
    StoreVar = 0x03,  // name:u16; the value stays on the stack
    PushStr = 0x04,   // string:u16
    PopResult = 0x05, // the number becomes the program's value
    DropStr = 0x06,
    Add = 0x10, Sub, Mul, Div, Mod, Pow, Neg, Not, Bool, Lt, Le, Gt, Ge, Eq, Ne,
    Concat = 0x20, StrEq, StrNe, StrLt, StrLe, StrGt, StrGe, Index,
    Jmp = 0x30,       // target:u32
    Jz = 0x31,        // target:u32; pops the condition
    Jnz = 0x32,       // target:u32; pops the condition
    Call = 0x40,      // name:u16 argc:u8 stringMask:u16 (bit i: argument i is a string)

    // Only in loaded code: a push fused with the operation after it, in the
    // order Add, Sub, Mul, Div, Lt, Le, Gt, Ge, Eq, Ne.
    AddNum = 0x80, SubNum, MulNum, DivNum, LtNum, LeNum, GtNum, GeNum, EqNum, NeNum,
    AddVar = 0x90, SubVar, MulVar, DivVar, LtVar, LeVar, GtVar, GeVar, EqVar, NeVar,
    Call1 = 0xa0,    // a call of one number
    Call1Var = 0xa1, // a call of one variable (aux)
    Return = 0xa2,   // PopResult, then End
    End = 0xa3,
};

// What an instruction of stored code takes and leaves: its operand bytes,
// and the numbers and strings it pops and pushes (Call: see callEffect).
struct EvalOpInfo {
    bool valid;
    std::uint8_t operandBytes;
    std::uint8_t numIn, strIn, numOut, strOut;
};

constexpr EvalOpInfo evalOpInfo(std::uint8_t op) noexcept {
    switch (static_cast<EvalOp>(op)) {
    case EvalOp::PushNum: return {true, 8, 0, 0, 1, 0};
    case EvalOp::PushVar: return {true, 2, 0, 0, 1, 0};
    case EvalOp::StoreVar: return {true, 2, 1, 0, 1, 0};
    case EvalOp::PushStr: return {true, 2, 0, 0, 0, 1};
    case EvalOp::PopResult: return {true, 0, 1, 0, 0, 0};
    case EvalOp::DropStr: return {true, 0, 0, 1, 0, 0};
    case EvalOp::Add: case EvalOp::Sub: case EvalOp::Mul: case EvalOp::Div: case EvalOp::Mod:
    case EvalOp::Pow: case EvalOp::Lt: case EvalOp::Le: case EvalOp::Gt: case EvalOp::Ge:
    case EvalOp::Eq: case EvalOp::Ne:
        return {true, 0, 2, 0, 1, 0};
    case EvalOp::Neg: case EvalOp::Not: case EvalOp::Bool: return {true, 0, 1, 0, 1, 0};
    case EvalOp::Concat: return {true, 0, 0, 2, 0, 1};
    case EvalOp::StrEq: case EvalOp::StrNe: case EvalOp::StrLt: case EvalOp::StrLe:
    case EvalOp::StrGt: case EvalOp::StrGe:
        return {true, 0, 0, 2, 1, 0};
    case EvalOp::Index: return {true, 0, 1, 1, 1, 0};
    case EvalOp::Jmp: return {true, 4, 0, 0, 0, 0};
    case EvalOp::Jz: case EvalOp::Jnz: return {true, 4, 1, 0, 0, 0};
    case EvalOp::Call: return {true, 5, 0, 0, 1, 0};
    default: return {false, 0, 0, 0, 0, 0};
    }
}

// The numbers and strings a call pops.
inline int callStrings(std::uint16_t mask, int argc) noexcept {
    int n = 0;
    for (int i = 0; i < argc; ++i)
        n += (mask >> i) & 1;
    return n;
}

// A number's arithmetic, the same when a constant is folded and when the
// code runs: 0, or the code of the failure with r unspecified.
inline int evalArith(EvalOp op, double a, double b, double& r) noexcept {
    switch (op) {
    case EvalOp::Add: r = a + b; break;
    case EvalOp::Sub: r = a - b; break;
    case EvalOp::Mul:
        r = a * b;
        if (r == 0 && a != 0 && b != 0)
            return kFLunderflow;
        break;
    case EvalOp::Div:
        if (b == 0)
            return kFLdivisionByZero;
        r = a / b;
        if (r == 0 && a != 0)
            return kFLunderflow;
        break;
    case EvalOp::Mod:
        if (b == 0)
            return kFLdivisionByZero;
        r = std::fmod(a, b);
        break;
    case EvalOp::Pow:
        if (a == 0 && b < 0)
            return kFLdivisionByZero;
        r = std::pow(a, b);
        if (r == 0 && a != 0)
            return kFLunderflow;
        break;
    case EvalOp::Lt: r = a < b; break;
    case EvalOp::Le: r = a <= b; break;
    case EvalOp::Gt: r = a > b; break;
    case EvalOp::Ge: r = a >= b; break;
    case EvalOp::Eq: r = a == b; break;
    case EvalOp::Ne: r = a != b; break;
    case EvalOp::Neg: r = -a; break;
    case EvalOp::Not: r = a == 0; break;
    case EvalOp::Bool: r = a != 0; break;
    default: return kFLbadUcode;
    }
    // Also NaN: not finite in either direction.
    return std::fabs(r) <= DBL_MAX ? 0 : kFLoverflow;
}

// Kinds of the names of a stored code.
enum NameKind : std::uint8_t {
    kReadVar = 0,     // a variable the code reads and never assigns: must exist
    kAssignVar = 1,   // a variable the code assigns: created when missing
    kCallFunc = 2,    // a function, with its argument count
    kDefineConst = 3, // a constant the code defines, with its value
};

// The most strings a program may hold at once while it runs.
constexpr int kEvalMaxStrings = 16;

constexpr char kUcodeMagic[4] = {'F', 'L', 'u', 'c'};
constexpr std::uint8_t kUcodeVersion = 1;

// One name of the process. Records never move or die.
struct EvalSymbol {
    enum Kind : std::uint8_t { Variable, Constant, Function };
    std::string name;
    Kind kind = Variable;
    int argc = 0;
    double value = 0;
    FLfunction function = nullptr;
    // The same function called directly on numbers, for those bound from
    // the start (cleared when the name is bound again).
    double (*direct1)(double) = nullptr;
    double (*direct2)(double, double) = nullptr;
};

struct LoadedInsn {
    const void* handler; // the code that runs it (evalHandlers())
    EvalOp op;
    std::uint8_t argc;
    std::uint16_t mask;
    std::uint32_t target; // instruction index
    union {
        double number;
        double* var;
        const EvalSymbol* function;
        const std::string* string;
    };
    const double* aux; // Call1Var: the variable
};

// True for letters, digits and "_", not starting with a digit, no keyword.
bool isEvalName(std::string_view text) noexcept;
bool isEvalKeyword(std::string_view text) noexcept;

// The name table, under one lock.
class EvalSymbols {
public:
    // The record of name, or null. Call only under the lock (lock()).
    static EvalSymbol* find(std::string_view name);
    // Adds a record; null when the table is full.
    static EvalSymbol* add(std::string_view name, EvalSymbol::Kind kind);
    // The number of records. Under the lock.
    static std::size_t count();
    static void lock();
    static void unlock();
};

struct EvalLock {
    EvalLock() { EvalSymbols::lock(); }
    ~EvalLock() { EvalSymbols::unlock(); }
    EvalLock(const EvalLock&) = delete;
    EvalLock& operator=(const EvalLock&) = delete;
};

// The address of each instruction's code, by opcode.
const void* const* evalHandlers() noexcept;

// Compiles source into stored code.
int compileEval(std::string_view source, std::vector<std::uint8_t>& code);

} // namespace grundel::detail

struct FLprogram::Impl {
    std::vector<std::uint8_t> bytes;
    std::vector<std::string> strings;
    std::vector<grundel::detail::LoadedInsn> code;
};
