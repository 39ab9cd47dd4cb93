// Tstring beside std::string. Each case is a template over the string type,
// so that the two appear side by side: BM_Case<Tstring>/n, BM_Case<std::string>/n.
#include "grundel/core/Tstring.h"

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace {

template <class S>
S make(const std::string& text);
template <>
Tstring make<Tstring>(const std::string& text) { return Tstring(text.c_str()); }
template <>
std::string make<std::string>(const std::string& text) { return text; }

std::string sample(std::size_t n) {
    std::string s(n, ' ');
    for (std::size_t i = 0; i < n; ++i)
        s[i] = static_cast<char>('a' + (i * 7) % 26);
    return s;
}

template <class S>
void BM_CopyDestroy(benchmark::State& state) {
    const S source = make<S>(sample(static_cast<std::size_t>(state.range(0))));
    for (auto _ : state) {
        S copy(source);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK_TEMPLATE(BM_CopyDestroy, Tstring)->Arg(24)->Arg(200)->Arg(2000);
BENCHMARK_TEMPLATE(BM_CopyDestroy, std::string)->Arg(24)->Arg(200)->Arg(2000);

template <class S>
void appendChar(S& s, char c);
template <>
void appendChar<Tstring>(Tstring& s, char c) { s += c; }
template <>
void appendChar<std::string>(std::string& s, char c) { s += c; }

template <class S>
void BM_AppendChar(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    for (auto _ : state) {
        S s;
        for (int i = 0; i < n; ++i)
            appendChar(s, static_cast<char>('a' + i % 26));
        benchmark::DoNotOptimize(s);
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK_TEMPLATE(BM_AppendChar, Tstring)->Arg(1000);
BENCHMARK_TEMPLATE(BM_AppendChar, std::string)->Arg(1000);

inline std::size_t hashOf(const Tstring& s) { return s.hash(); }
inline std::size_t hashOf(const std::string& s) { return std::hash<std::string>()(s); }

template <class S>
void BM_Hash(benchmark::State& state) {
    const S s = make<S>(sample(static_cast<std::size_t>(state.range(0))));
    for (auto _ : state) {
        benchmark::DoNotOptimize(s);
        benchmark::DoNotOptimize(hashOf(s));
    }
}
BENCHMARK_TEMPLATE(BM_Hash, Tstring)->Arg(12)->Arg(16)->Arg(64);
BENCHMARK_TEMPLATE(BM_Hash, std::string)->Arg(12)->Arg(16)->Arg(64);

inline long indexOf(const Tstring& s, char c) { return s.index(c); }
inline long indexOf(const std::string& s, char c) { return static_cast<long>(s.find(c)); }

template <class S>
void BM_Index(benchmark::State& state) {
    std::string text = sample(static_cast<std::size_t>(state.range(0)));
    text.back() = '#';
    const S s = make<S>(text);
    for (auto _ : state) {
        benchmark::DoNotOptimize(s);
        benchmark::DoNotOptimize(indexOf(s, '#'));
    }
}
BENCHMARK_TEMPLATE(BM_Index, Tstring)->Arg(64)->Arg(4096);
BENCHMARK_TEMPLATE(BM_Index, std::string)->Arg(64)->Arg(4096);

inline Tstring middle(const Tstring& s, int n) { return s.substring(n / 4, n / 4 + n / 2 - 1); }
inline std::string middle(const std::string& s, int n) { return s.substr(n / 4, n / 2); }

template <class S>
void BM_Substring(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const S s = make<S>(sample(static_cast<std::size_t>(n)));
    for (auto _ : state) {
        S part = middle(s, n);
        benchmark::DoNotOptimize(part);
    }
}
BENCHMARK_TEMPLATE(BM_Substring, Tstring)->Arg(64)->Arg(1024);
BENCHMARK_TEMPLATE(BM_Substring, std::string)->Arg(64)->Arg(1024);

} // namespace
