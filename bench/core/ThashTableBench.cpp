// TstringHashTable beside std::unordered_map<std::string, std::string>:
// 100k keys, random ones of 12 characters or numbered names, inserted,
// found and missed: BM_Case<TstringHashTable>, BM_Case<StdMap>.

#include "grundel/core/TstringHashTable.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr int kKeyCount = 100000;

struct Keys {
    std::vector<std::string> hits, misses;
    std::vector<Tstring> tHits, tMisses;
};

// Random letters and digits, the same on every run. Misses start with a
// character no hit has.
Keys makeRandomKeys() {
    static const char kAlphabet[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    std::mt19937 rng(12345);
    Keys k;
    auto key = [&](char first) {
        std::string s(12, ' ');
        for (char& c : s)
            c = kAlphabet[rng() % 62];
        if (first)
            s[0] = first;
        return s;
    };
    for (int i = 0; i < kKeyCount; ++i) {
        k.hits.push_back(key(0));
        k.misses.push_back(key('#'));
    }
    for (const auto& s : k.hits)
        k.tHits.emplace_back(s.c_str());
    for (const auto& s : k.misses)
        k.tMisses.emplace_back(s.c_str());
    return k;
}

// The names scenes are made of: a base and a running number ("pCube1" to
// "pCube100000"); the misses continue the count.
Keys makeNumberedKeys() {
    Keys k;
    char buffer[32];
    for (int i = 1; i <= kKeyCount; ++i) {
        std::snprintf(buffer, sizeof buffer, "pCube%d", i);
        k.hits.push_back(buffer);
        std::snprintf(buffer, sizeof buffer, "pCube%d", i + kKeyCount);
        k.misses.push_back(buffer);
    }
    for (const auto& s : k.hits)
        k.tHits.emplace_back(s.c_str());
    for (const auto& s : k.misses)
        k.tMisses.emplace_back(s.c_str());
    return k;
}

const Keys& keys(bool numbered) {
    static const Keys random = makeRandomKeys();
    static const Keys names = makeNumberedKeys();
    return numbered ? names : random;
}

using StdMap = std::unordered_map<std::string, std::string>;

// The same operations on both tables, so that each case is one template.
void insert(TstringHashTable& t, const Tstring& s) { t.insert(s, s); }
void insert(StdMap& m, const std::string& s) { m.emplace(s, s); }
bool has(const TstringHashTable& t, const Tstring& s) { return t.find(s) != nullptr; }
bool has(const StdMap& m, const std::string& s) { return m.find(s) != m.end(); }
const std::vector<Tstring>& hits(const Keys& k, const TstringHashTable*) { return k.tHits; }
const std::vector<std::string>& hits(const Keys& k, const StdMap*) { return k.hits; }
const std::vector<Tstring>& misses(const Keys& k, const TstringHashTable*) { return k.tMisses; }
const std::vector<std::string>& misses(const Keys& k, const StdMap*) { return k.misses; }

// range(0): 1 uses the numbered names.
template <class Table>
void BM_InsertAll(benchmark::State& state) {
    const Keys& k = keys(state.range(0) != 0);
    for (auto _ : state) {
        Table t;
        for (const auto& s : hits(k, &t))
            insert(t, s);
        benchmark::DoNotOptimize(&t);
    }
    state.SetItemsProcessed(state.iterations() * kKeyCount);
}

// range(0): 1 looks up the misses; range(1): 1 uses the numbered names.
template <class Table>
void BM_Find(benchmark::State& state) {
    const Keys& k = keys(state.range(1) != 0);
    Table t;
    for (const auto& s : hits(k, &t))
        insert(t, s);
    const auto& probes = state.range(0) ? misses(k, &t) : hits(k, &t);
    for (auto _ : state) {
        int found = 0;
        for (const auto& s : probes)
            found += has(t, s);
        benchmark::DoNotOptimize(found);
    }
    state.SetItemsProcessed(state.iterations() * kKeyCount);
}

} // namespace

BENCHMARK_TEMPLATE(BM_InsertAll, TstringHashTable)->ArgName("numbered")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_InsertAll, StdMap)->ArgName("numbered")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Find, TstringHashTable)->ArgNames({"miss", "numbered"})->Args({0, 0})->Args({1, 0})->Args({0, 1})->Args({1, 1})->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Find, StdMap)->ArgNames({"miss", "numbered"})->Args({0, 0})->Args({1, 0})->Args({0, 1})->Args({1, 1})->Unit(benchmark::kMillisecond);
