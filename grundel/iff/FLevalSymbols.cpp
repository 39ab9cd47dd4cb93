// The evaluator's names: the process-wide table and the functions bound
// from the start.
#include "grundel/iff/FLeval_p.h"

#include "grundel/iff/FLerror.h"

#include <cassert>
#include <cmath>
#include <cstring>
#include <deque>
#include <mutex>
#include <new>
#include <unordered_map>

namespace grundel::detail {
namespace {

constexpr std::string_view kKeywords[] = {"const", "do", "else", "if", "while"};

int numberArgs(const FLvalue* args, int count) {
    for (int i = 0; i < count; ++i)
        if (args[i].isString)
            return kFLsyntax;
    return 0;
}

template <double (*F)(double)>
int unary(const FLvalue* args, int count, double* result) {
    if (int code = numberArgs(args, count))
        return code;
    *result = F(args[0].number);
    return 0;
}

template <double (*F)(double, double)>
int binary(const FLvalue* args, int count, double* result) {
    if (int code = numberArgs(args, count))
        return code;
    *result = F(args[0].number, args[1].number);
    return 0;
}

double minOf(double a, double b) { return b < a ? b : a; }
// These compile to single instructions here rather than calls into libm.
double sqrtOf(double x) { return std::sqrt(x); }
double absOf(double x) { return std::fabs(x); }
double floorOf(double x) { return std::floor(x); }
double ceilOf(double x) { return std::ceil(x); }
double maxOf(double a, double b) { return a < b ? b : a; }

int length(const FLvalue* args, int, double* result) {
    if (!args[0].isString)
        return kFLsyntax;
    *result = static_cast<double>(args[0].string.size());
    return 0;
}

struct Table {
    std::mutex lock;
    std::deque<EvalSymbol> records;
    std::unordered_map<std::string_view, EvalSymbol*> byName;

    EvalSymbol* add(std::string_view name, EvalSymbol::Kind kind) {
        if (records.size() >= kFLevalMaxSymbols)
            return nullptr;
        EvalSymbol& record = records.emplace_back();
        record.name = std::string(name);
        record.kind = kind;
        byName.emplace(record.name, &record);
        return &record;
    }
    void bind(std::string_view name, FLfunction function, int argc) {
        EvalSymbol* s = add(name, EvalSymbol::Function);
        s->function = function;
        s->argc = argc;
    }
    template <double (*F)(double)>
    void bind(std::string_view name) {
        bind(name, unary<F>, 1);
        records.back().direct1 = F;
    }
    template <double (*F)(double, double)>
    void bind(std::string_view name) {
        bind(name, binary<F>, 2);
        records.back().direct2 = F;
    }

    Table() {
        add("pi", EvalSymbol::Constant)->value = 3.14159265358979323846;
        add("e", EvalSymbol::Constant)->value = 2.71828182845904523536;
        bind<std::sin>("sin");
        bind<std::cos>("cos");
        bind<std::tan>("tan");
        bind<std::asin>("asin");
        bind<std::acos>("acos");
        bind<std::atan>("atan");
        bind<std::atan2>("atan2");
        bind<sqrtOf>("sqrt");
        bind<std::exp>("exp");
        bind<std::log>("log");
        bind<std::log10>("log10");
        bind<absOf>("abs");
        bind<floorOf>("floor");
        bind<ceilOf>("ceil");
        bind<minOf>("min");
        bind<maxOf>("max");
        bind<std::pow>("pow");
        bind("len", length, 1);
    }
};

Table& table() {
    static Table t;
    return t;
}

thread_local TuInt64 tSteps = 100000000;

} // namespace

bool isEvalKeyword(std::string_view text) noexcept {
    for (std::string_view k : kKeywords)
        if (text == k)
            return true;
    return false;
}

bool isEvalName(std::string_view text) noexcept {
    if (text.empty() || text.size() > 255 || (text[0] >= '0' && text[0] <= '9'))
        return false;
    for (char c : text)
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_'))
            return false;
    return !isEvalKeyword(text);
}

EvalSymbol* EvalSymbols::find(std::string_view name) {
    auto& t = table();
    auto it = t.byName.find(name);
    return it == t.byName.end() ? nullptr : it->second;
}

EvalSymbol* EvalSymbols::add(std::string_view name, EvalSymbol::Kind kind) {
    try {
        return table().add(name, kind);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

std::size_t EvalSymbols::count() { return table().records.size(); }

void EvalSymbols::lock() { table().lock.lock(); }
void EvalSymbols::unlock() { table().lock.unlock(); }

} // namespace grundel::detail

using namespace grundel::detail;

int FLputvar(const char* name, double value) {
    if (!name || !isEvalName(name))
        return FLseterror(kFLsyntax);
    EvalLock guard;
    EvalSymbol* s = EvalSymbols::find(name);
    if (!s && !(s = EvalSymbols::add(name, EvalSymbol::Variable)))
        return FLseterror(kFLnoMemory);
    if (s->kind == EvalSymbol::Constant)
        return FLseterror(kFLconstAssignment);
    if (s->kind == EvalSymbol::Function)
        return FLseterror(kFLbadAssignment);
    s->value = value;
    return 0;
}

int FLputconst(const char* name, double value) {
    if (!name || !isEvalName(name))
        return FLseterror(kFLconstName);
    EvalLock guard;
    EvalSymbol* s = EvalSymbols::find(name);
    if (!s) {
        if (!(s = EvalSymbols::add(name, EvalSymbol::Constant)))
            return FLseterror(kFLnoMemory);
        s->value = value;
        return 0;
    }
    if (s->kind != EvalSymbol::Constant)
        return FLseterror(kFLconstName);
    // The same bits: a constant's value was folded into code compiled with it.
    if (std::memcmp(&s->value, &value, sizeof value) != 0)
        return FLseterror(kFLconstRedefined);
    return 0;
}

double* FLgetvaraddr(const char* name) {
    if (!name) {
        FLseterror(kFLundefinedSymbol);
        return nullptr;
    }
    EvalLock guard;
    EvalSymbol* s = EvalSymbols::find(name);
    if (!s || s->kind != EvalSymbol::Variable) {
        FLseterror(kFLundefinedSymbol);
        return nullptr;
    }
    return &s->value;
}

int FLbindfunc(const char* name, FLfunction function, int argCount) {
    assert(function);
    if (!name || !isEvalName(name))
        return FLseterror(kFLsyntax);
    if (argCount < -1 || argCount > kFLevalMaxArgs || !function)
        return FLseterror(kFLargumentCount);
    EvalLock guard;
    EvalSymbol* s = EvalSymbols::find(name);
    if (!s) {
        if (!(s = EvalSymbols::add(name, EvalSymbol::Function)))
            return FLseterror(kFLnoMemory);
        s->argc = argCount;
    }
    if (s->kind != EvalSymbol::Function)
        return FLseterror(kFLbadAssignment);
    if (s->argc != argCount)
        return FLseterror(kFLargumentCount);
    s->function = function;
    s->direct1 = nullptr;
    s->direct2 = nullptr;
    return 0;
}

void FLsetevalsteps(TuInt64 steps) noexcept { tSteps = steps; }
TuInt64 FLevalsteps() noexcept { return tSteps; }
