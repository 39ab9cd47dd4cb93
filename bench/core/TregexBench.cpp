// The library's regular-expression engine beside glibc's regcomp/regexec and
// std::regex (extended syntax), on the same patterns and subjects:
// BM_Case<Grundel>/n, BM_Case<Regexec>/n, BM_Case<StdRegex>/n, where n picks
// the pattern. BM_MatchesRegexp compiles per call, as Tstring::matchesRegexp
// does; BM_CompiledMatch compiles once and matches every subject.
#include "grundel/core/Tregex_p.h"
#include "grundel/core/Tstring.h"

#include <benchmark/benchmark.h>

#include <regex.h>

#include <regex>
#include <string>
#include <vector>

namespace {

struct Grundel {};
struct Regexec {};
struct StdRegex {};

struct Workload {
    const char* pattern;
    std::vector<std::string> subjects;
};

std::vector<std::string> names() {
    std::vector<std::string> out;
    const char* stems[] = {"pCube", "pCubeShape", "pSphere", "pCube", "polySurface", "pCube", "nurbsCircle", "pCube"};
    for (int i = 0; i < 64; ++i)
        out.push_back(stems[i % 8] + std::to_string(i * 37 % 1000 + 1));
    out.push_back("pCube");
    out.push_back("pCube12a");
    return out;
}

std::vector<std::string> paths() {
    std::vector<std::string> out;
    const char* dirs[] = {"textures", "geometry", "textures/wood", "cache", "textures", "scenes"};
    const char* exts[] = {"tif", "png", "abc", "tif", "exr", "tif", "vrn"};
    for (int i = 0; i < 64; ++i)
        out.push_back("/home/artist/projects/harbor_v" + std::to_string(i % 7) + "/assets/" + dirs[i % 6] +
                      "/oak_planks_" + std::to_string(i) + "_diffuse_4k." + exts[i % 7]);
    return out;
}

const Workload& workload(int which) {
    static const Workload kWorkloads[] = {
        {"^pCube[0-9]+$", names()},
        {".*/textures/.*\\.tif$", paths()},
        {"^(.*)/([^/]*)\\.([a-z]+)$", paths()}, // with the groups asked for
    };
    return kWorkloads[which];
}

// Matches every subject, compiling once per call or once in all; returns
// how many matched.
template <class Impl>
struct Matcher;

template <>
struct Matcher<Grundel> {
    static int perCall(const Workload& w) {
        int hits = 0;
        Tstring a, b, c;
        for (const std::string& s : w.subjects)
            hits += Tstring(s.c_str()).matchesRegexp(w.pattern, &a, &b, &c) > 0;
        return hits;
    }
    grundel::detail::Regex re;
    explicit Matcher(const Workload& w) { (void)re.compile(w.pattern); }
    int all(const Workload& w) const {
        int hits = 0;
        int slots[8];
        for (const std::string& s : w.subjects)
            hits += re.match(s.data(), s.size(), slots, 2 * (1 + (re.groups() < 3 ? re.groups() : 3)));
        return hits;
    }
};

template <>
struct Matcher<Regexec> {
    static int perCall(const Workload& w) {
        int hits = 0;
        for (const std::string& s : w.subjects) {
            regex_t re;
            if (::regcomp(&re, w.pattern, REG_EXTENDED) != 0)
                return -1;
            regmatch_t m[10];
            hits += ::regexec(&re, s.c_str(), 10, m, 0) == 0;
            ::regfree(&re);
        }
        return hits;
    }
    regex_t re;
    explicit Matcher(const Workload& w) { (void)::regcomp(&re, w.pattern, REG_EXTENDED); }
    ~Matcher() { ::regfree(&re); }
    int all(const Workload& w) const {
        int hits = 0;
        regmatch_t m[4];
        for (const std::string& s : w.subjects)
            hits += ::regexec(&re, s.c_str(), re.re_nsub ? 4 : 1, m, 0) == 0;
        return hits;
    }
};

template <>
struct Matcher<StdRegex> {
    static int perCall(const Workload& w) {
        int hits = 0;
        std::smatch m;
        for (const std::string& s : w.subjects)
            hits += std::regex_search(s, m, std::regex(w.pattern, std::regex::extended));
        return hits;
    }
    std::regex re;
    explicit Matcher(const Workload& w) : re(w.pattern, std::regex::extended) {}
    int all(const Workload& w) const {
        int hits = 0;
        std::smatch m;
        for (const std::string& s : w.subjects)
            hits += std::regex_search(s, m, re);
        return hits;
    }
};

// All three must agree, or the comparison means nothing.
bool agree(const Workload& w, int hits) { return hits == Matcher<Regexec>::perCall(w); }

template <class Impl>
void BM_MatchesRegexp(benchmark::State& state) {
    const Workload& w = workload(static_cast<int>(state.range(0)));
    if (!agree(w, Matcher<Impl>::perCall(w)))
        state.SkipWithError("implementations disagree");
    for (auto _ : state)
        benchmark::DoNotOptimize(Matcher<Impl>::perCall(w));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(w.subjects.size()));
}

template <class Impl>
void BM_CompiledMatch(benchmark::State& state) {
    const Workload& w = workload(static_cast<int>(state.range(0)));
    const Matcher<Impl> matcher(w);
    if (!agree(w, matcher.all(w)))
        state.SkipWithError("implementations disagree");
    for (auto _ : state)
        benchmark::DoNotOptimize(matcher.all(w));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(w.subjects.size()));
}

} // namespace

BENCHMARK_TEMPLATE(BM_MatchesRegexp, Grundel)->DenseRange(0, 2);
BENCHMARK_TEMPLATE(BM_MatchesRegexp, Regexec)->DenseRange(0, 2);
BENCHMARK_TEMPLATE(BM_MatchesRegexp, StdRegex)->DenseRange(0, 2);
BENCHMARK_TEMPLATE(BM_CompiledMatch, Grundel)->DenseRange(0, 2);
BENCHMARK_TEMPLATE(BM_CompiledMatch, Regexec)->DenseRange(0, 2);
BENCHMARK_TEMPLATE(BM_CompiledMatch, StdRegex)->DenseRange(0, 2);
