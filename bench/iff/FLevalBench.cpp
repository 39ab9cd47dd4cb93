// Evaluating a compiled expression 10 million times, its variables changed
// before each evaluation: the library's compiled code beside muParser (when
// installed) and beside a tree of nodes walked recursively, the form a
// hand-written evaluator usually takes.
#include "grundel/iff/FLeval.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <type_traits>
#include <vector>

#ifdef GRUNDEL_BENCH_HAVE_MUPARSER
#include <muParser.h>
#endif

namespace {

constexpr int kEvaluations = 10'000'000;

// The two expressions, in the library's language and in muParser's (the same text).
const char* const kArith = "a*b + c/(d+1) - (a > b ? a : b)*2.5";
const char* const kFunctions = "sin(a)*cos(b) + sqrt(c*c + d*d)";

struct Vars {
    double a = 1.5, b = 2.0, c = 3.0, d = 4.0;
    void step(int i) {
        a = 1.5 + (i & 1023) * 1e-3;
        b = 2.0 - (i & 511) * 1e-3;
    }
};

// The tree walker.
struct Node {
    enum Kind { Num, Var, Add, Sub, Mul, Div, Gt, Cond, Sin, Cos, Sqrt } kind;
    double number = 0;
    const double* var = nullptr;
    std::unique_ptr<Node> a, b, c;

    double eval() const {
        switch (kind) {
        case Num: return number;
        case Var: return *var;
        case Add: return a->eval() + b->eval();
        case Sub: return a->eval() - b->eval();
        case Mul: return a->eval() * b->eval();
        case Div: return a->eval() / b->eval();
        case Gt: return a->eval() > b->eval();
        case Cond: return a->eval() != 0 ? b->eval() : c->eval();
        case Sin: return std::sin(a->eval());
        case Cos: return std::cos(a->eval());
        case Sqrt: return std::sqrt(a->eval());
        }
        return 0;
    }
};

std::unique_ptr<Node> num(double v) {
    auto n = std::make_unique<Node>();
    n->kind = Node::Num;
    n->number = v;
    return n;
}
std::unique_ptr<Node> var(const double& v) {
    auto n = std::make_unique<Node>();
    n->kind = Node::Var;
    n->var = &v;
    return n;
}
std::unique_ptr<Node> op(Node::Kind k, std::unique_ptr<Node> a, std::unique_ptr<Node> b = nullptr,
                         std::unique_ptr<Node> c = nullptr) {
    auto n = std::make_unique<Node>();
    n->kind = k;
    n->a = std::move(a);
    n->b = std::move(b);
    n->c = std::move(c);
    return n;
}

std::unique_ptr<Node> arithTree(const Vars& v) {
    using N = Node;
    return op(N::Sub,
              op(N::Add, op(N::Mul, var(v.a), var(v.b)), op(N::Div, var(v.c), op(N::Add, var(v.d), num(1)))),
              op(N::Mul, op(N::Cond, op(N::Gt, var(v.a), var(v.b)), var(v.a), var(v.b)), num(2.5)));
}

std::unique_ptr<Node> functionTree(const Vars& v) {
    using N = Node;
    return op(N::Add, op(N::Mul, op(N::Sin, var(v.a)), op(N::Cos, var(v.b))),
              op(N::Sqrt, op(N::Add, op(N::Mul, var(v.c), var(v.c)), op(N::Mul, var(v.d), var(v.d)))));
}

void grundel(benchmark::State& state, const char* source) {
    double* vars[4];
    const char* names[4] = {"a", "b", "c", "d"};
    Vars v;
    const double initial[4] = {v.a, v.b, v.c, v.d};
    for (int i = 0; i < 4; ++i) {
        if (FLputvar(names[i], initial[i]) != 0 || !(vars[i] = FLgetvaraddr(names[i]))) {
            state.SkipWithError("the variables cannot be defined");
            return;
        }
    }
    FLprogram program;
    if (FLucode(source, program) != 0) {
        state.SkipWithError("the expression does not compile");
        return;
    }
    for (auto _ : state) {
        double sum = 0;
        for (int i = 0; i < kEvaluations; ++i) {
            v.step(i);
            *vars[0] = v.a;
            *vars[1] = v.b;
            double r = 0;
            if (FLuexec(program, &r) != 0) {
                state.SkipWithError("the evaluation failed");
                return;
            }
            sum += r;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kEvaluations);
}

void treeWalk(benchmark::State& state, std::unique_ptr<Node> (*build)(const Vars&)) {
    Vars v;
    const auto tree = build(v);
    for (auto _ : state) {
        double sum = 0;
        for (int i = 0; i < kEvaluations; ++i) {
            v.step(i);
            benchmark::DoNotOptimize(v);
            sum += tree->eval();
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kEvaluations);
}

#ifdef GRUNDEL_BENCH_HAVE_MUPARSER
void muparser(benchmark::State& state, const char* source) {
    Vars v;
    mu::Parser parser;
    try {
        parser.DefineVar("a", &v.a);
        parser.DefineVar("b", &v.b);
        parser.DefineVar("c", &v.c);
        parser.DefineVar("d", &v.d);
        parser.SetExpr(source);
        parser.Eval(); // compiles to its bytecode
    } catch (const mu::Parser::exception_type& e) {
        state.SkipWithError(e.GetMsg().c_str());
        return;
    }
    for (auto _ : state) {
        double sum = 0;
        for (int i = 0; i < kEvaluations; ++i) {
            v.step(i);
            benchmark::DoNotOptimize(v);
            sum += parser.Eval();
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kEvaluations);
}
#else
void muparser(benchmark::State& state, const char*) {
    state.SkipWithError("muParser is not installed (libmuparser-dev)");
}
#endif

struct Fl {};
struct MuParser {};
struct TreeWalk {};

template <class Impl>
void evaluate(benchmark::State& s, const char* source, std::unique_ptr<Node> (*tree)(const Vars&)) {
    if constexpr (std::is_same_v<Impl, Fl>)
        grundel(s, source);
    else if constexpr (std::is_same_v<Impl, MuParser>)
        muparser(s, source);
    else
        treeWalk(s, tree);
}

template <class Impl>
void BM_EvalArith(benchmark::State& s) { evaluate<Impl>(s, kArith, arithTree); }
template <class Impl>
void BM_EvalFunctions(benchmark::State& s) { evaluate<Impl>(s, kFunctions, functionTree); }

} // namespace

BENCHMARK_TEMPLATE(BM_EvalArith, Fl)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_EvalArith, MuParser)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_EvalArith, TreeWalk)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_EvalFunctions, Fl)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_EvalFunctions, MuParser)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_EvalFunctions, TreeWalk)->Unit(benchmark::kMillisecond);
