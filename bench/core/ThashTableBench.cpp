// TstringHashTable beside std::unordered_map<std::string, std::string>:
// 100k keys of 12 characters, inserted, found, and missed.

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

// Names with a running number, as an application makes them.
Keys makeNumberedKeys() {
    Keys k;
    char buffer[32];
    for (int i = 0; i < kKeyCount; ++i) {
        std::snprintf(buffer, sizeof buffer, "object_%05d", i);
        k.hits.push_back(buffer);
        std::snprintf(buffer, sizeof buffer, "object_%05d", i + kKeyCount);
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

void BM_TstringHashTable_InsertAll(benchmark::State& state) {
    const Keys& k = keys(false);
    for (auto _ : state) {
        TstringHashTable t;
        for (const Tstring& s : k.tHits)
            t.insert(s, s);
        benchmark::DoNotOptimize(t.entryCount());
    }
    state.SetItemsProcessed(state.iterations() * kKeyCount);
}

void BM_StdUnorderedMap_InsertAll(benchmark::State& state) {
    const Keys& k = keys(false);
    for (auto _ : state) {
        std::unordered_map<std::string, std::string> m;
        for (const std::string& s : k.hits)
            m.emplace(s, s);
        benchmark::DoNotOptimize(m.size());
    }
    state.SetItemsProcessed(state.iterations() * kKeyCount);
}

// range(0): 1 looks up the misses; range(1): 1 uses the numbered names.
void BM_TstringHashTable_Find(benchmark::State& state) {
    const Keys& k = keys(state.range(1) != 0);
    TstringHashTable t;
    for (const Tstring& s : k.tHits)
        t.insert(s, s);
    const std::vector<Tstring>& probes = state.range(0) ? k.tMisses : k.tHits;
    for (auto _ : state) {
        int found = 0;
        for (const Tstring& s : probes)
            found += t.find(s) != nullptr;
        benchmark::DoNotOptimize(found);
    }
    state.SetItemsProcessed(state.iterations() * kKeyCount);
}

void BM_StdUnorderedMap_Find(benchmark::State& state) {
    const Keys& k = keys(state.range(1) != 0);
    std::unordered_map<std::string, std::string> m;
    for (const std::string& s : k.hits)
        m.emplace(s, s);
    const std::vector<std::string>& probes = state.range(0) ? k.misses : k.hits;
    for (auto _ : state) {
        int found = 0;
        for (const std::string& s : probes)
            found += m.find(s) != m.end();
        benchmark::DoNotOptimize(found);
    }
    state.SetItemsProcessed(state.iterations() * kKeyCount);
}

} // namespace

BENCHMARK(BM_TstringHashTable_InsertAll)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StdUnorderedMap_InsertAll)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TstringHashTable_Find)->ArgNames({"miss", "numbered"})->Args({0, 0})->Args({1, 0})->Args({0, 1})->Args({1, 1})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StdUnorderedMap_Find)->ArgNames({"miss", "numbered"})->Args({0, 0})->Args({1, 0})->Args({0, 1})->Args({1, 1})->Unit(benchmark::kMillisecond);
