#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

#include <memory>
#include <string_view>

/// The expression evaluator: a small C-like language of numbers (doubles)
/// and short strings, compiled to a compact code and run by FLuexec.
///
///     const scale = 2.5;
///     n = 0; total = 0;
///     while (n < 10) { total = total + n * scale; n = n + 1; }
///     total > 100 ? total : -total
///
/// Names are process-wide: variables hold numbers and live until the process
/// ends (their addresses never change), constants are folded into the code
/// that reads them, and functions are bound by the caller (a few of
/// <cmath>'s are bound from the start, with "pi" and "e"). A program's value
/// is that of the last expression statement it ran. The README describes
/// the language in full.
///
/// Every function returns 0 or one of the codes below (FLevalCode) and
/// leaves it in the calling thread's error variable (FLerror()).
///
/// Threads: defining names (FLputvar, FLputconst, FLbindfunc, compiling or
/// loading a program that assigns or defines them) is safe from any thread.
/// Running a program reads and writes its variables without a lock, so
/// programs that share a variable that one of them writes must not run at
/// the same time, nor beside FLputvar on that variable.

/// The evaluator's codes.
enum FLevalCode : int {
    kFLundefinedSymbol = 256,   ///< a name that is no variable, constant or function
    kFLdivisionByZero = 257,    ///< "/", "%" by zero, 0 ^ negative
    kFLoverflow = 258,          ///< a result that is not a finite number; nesting too deep
    kFLunderflow = 259,         ///< a product or quotient of non-zero numbers that is 0
    kFLunbalanced = 260,        ///< ")" or "}" without its opening one
    kFLsyntax = 261,            ///< anything else malformed, a string where a number goes
    kFLbadAssignment = 262,     ///< "=" after something that is not a variable's name
    kFLconstAssignment = 263,   ///< "=" after a constant's name
    kFLconstName = 264,         ///< "const" not followed by a free name
    kFLmissingColon = 265,      ///< "?" without its ":"
    kFLelseWithoutIf = 266,
    kFLdoWithoutWhile = 267,
    kFLmissingParenthesis = 268, ///< "(" never closed; "if", "while" without "("
    kFLmissingComma = 269,      ///< two arguments of a call without "," between them
    kFLargumentCount = 270,     ///< a call with another number of arguments than bound
    kFLconstRedefined = 271,    ///< a constant given another value
    kFLnotConstant = 272,       ///< a constant's value reads a variable or calls a function
    kFLbadUcode = 273,          ///< FLloaducode: the bytes are not a well-formed compiled code
    kFLmissingQuotes = 274,     ///< a string broken by the end of its line
    kFLmissingBracket = 275,    ///< "[" never closed
    kFLstringTooLong = 276,     ///< a string longer than kFLevalMaxString
    kFLunterminatedString = 277, ///< the text ends inside a string
    /// 47 "internal break": a run stopped after FLevalsteps() backward jumps.
    kFLevalBreak = 47,
};

/// The longest string, in bytes.
constexpr TuInt32 kFLevalMaxString = 255;
/// The most arguments of one call.
constexpr int kFLevalMaxArgs = 16;
/// The deepest nesting of parentheses, blocks and operators in a text.
constexpr int kFLevalMaxNesting = 128;
/// The most values a program may hold at once while it runs.
constexpr int kFLevalMaxStack = 256;
/// The most names (variables, constants, functions) the process may hold;
/// past it, defining or creating one more gives 33 "no memory".
constexpr TuInt32 kFLevalMaxSymbols = 1u << 16;

/// One argument of a bound function, filled by the evaluator: a number, or
/// (isString) a string, not NUL-terminated, that lives until the function
/// returns.
struct FLvalue {
    double number;
    std::string_view string;
    bool isString;
};

/// A bound function: computes *result from count arguments and returns 0, or
/// a code that stops the program and is reported by FLuexec (kFLsyntax for
/// an argument of the wrong kind is the convention). A result that is not
/// finite is reported as kFLoverflow.
using FLfunction = int (*)(const FLvalue* args, int count, double* result);

class FLprogram;
// Described below; declared here to be the program's friends.
[[nodiscard]] GRUNDEL_API int FLloaducode(const void* bytes, std::size_t size, FLprogram& program);
[[nodiscard]] GRUNDEL_API int FLuexec(const FLprogram& program, double* result);

/// A compiled program, ready to run. Its code is kept as the bytes that
/// FLloaducode reads back (in this or another process). Move-only.
class GRUNDEL_API FLprogram {
public:
    FLprogram() noexcept;
    FLprogram(FLprogram&& other) noexcept;
    FLprogram& operator=(FLprogram&& other) noexcept;
    ~FLprogram();

    /// True when the program holds no code (never compiled or loaded, or a
    /// failed attempt). An empty program runs to 0.
    bool empty() const noexcept { return fImpl == nullptr; }
    /// The compiled code, to store and to hand to FLloaducode; empty for an
    /// empty program. Big-endian, the same on every host.
    std::string_view bytes() const noexcept;

    struct Impl;

private:
    std::unique_ptr<Impl> fImpl;
    friend int FLloaducode(const void*, std::size_t, FLprogram&);
    friend int FLuexec(const FLprogram&, double*);
};

/// Compiles source into program. On failure program is left empty and the
/// code names the first fault. Constants that source defines are defined
/// when it compiles (as when its code is loaded); variables it assigns are
/// created, at 0.
[[nodiscard]] GRUNDEL_API int FLucode(std::string_view source, FLprogram& program);
/// Checks size bytes of compiled code in full (every instruction, operand,
/// jump and the depth of the stack on every path) and binds it to this
/// process's names, into program. kFLbadUcode for malformed bytes;
/// kFLundefinedSymbol for a variable read but never assigned, or a function
/// not bound here; kFLargumentCount when a function is bound here with
/// another number of arguments; kFLconstAssignment or kFLbadAssignment when
/// an assigned name is a constant or function here; kFLconstRedefined when a
/// constant it defines holds another value here. Nothing is defined or
/// created unless the whole code is accepted; program is empty on failure.
[[nodiscard]] GRUNDEL_API int FLloaducode(const void* bytes, std::size_t size, FLprogram& program);
/// Runs program; *result (when not null) gets the value of the last
/// expression statement that ran (0 when none). On a failure the run stops
/// there, with the assignments made so far kept, and *result is unchanged.
/// A run whose loops jump back more often than FLsetevalsteps() allows stops
/// with 47 "internal break".
[[nodiscard]] GRUNDEL_API int FLuexec(const FLprogram& program, double* result);
/// FLucode then FLuexec.
[[nodiscard]] GRUNDEL_API int FLeval(std::string_view source, double* result);

/// Sets the variable name to value, creating it. kFLconstAssignment when name
/// is a constant, kFLbadAssignment when it is a function, kFLsyntax when it is
/// not a name (up to 255 letters, digits and "_", not starting with a digit,
/// no keyword).
[[nodiscard]] GRUNDEL_API int FLputvar(const char* name, double value);
/// Defines the constant name. Defining it again with the same value is
/// accepted; kFLconstRedefined for another value; kFLconstName when name is a
/// variable or a function, or not a name.
[[nodiscard]] GRUNDEL_API int FLputconst(const char* name, double value);
/// The address of variable name's value, valid until the process ends; null
/// (kFLundefinedSymbol) when name is no variable.
[[nodiscard]] GRUNDEL_API double* FLgetvaraddr(const char* name);
/// Binds function to name, taking argCount arguments (-1: any number up to
/// kFLevalMaxArgs). A function may be bound again with the same count (code
/// already loaded calls the new one); kFLargumentCount for another count or
/// one out of range; kFLbadAssignment when name is a variable or constant;
/// kFLsyntax when it is not a name.
[[nodiscard]] GRUNDEL_API int FLbindfunc(const char* name, FLfunction function, int argCount);

/// The most backward jumps one run of FLuexec may make, for the calling
/// thread (default 100000000); 0 forbids loops that repeat.
GRUNDEL_API void FLsetevalsteps(TuInt64 steps) noexcept;
GRUNDEL_API TuInt64 FLevalsteps() noexcept;
