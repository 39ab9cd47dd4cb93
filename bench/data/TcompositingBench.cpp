// Compositing layers of spectra front to back, the hot loop of a renderer,
// with Tspectrum beside the plain struct of three floats and hand-written
// formulas a user would otherwise keep.

#include "grundel/data/TrgbSamples.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

struct PlainRGB {
    float r, g, b;
};

// The operations of each implementation, by the name the results carry.
template <class Impl>
struct Ops;

template <>
struct Ops<Tspectrum> {
    using Value = Tspectrum;
    static Value make(float r, float g, float b) { return Tspectrum::fromRGB(r, g, b); }
    static void accumulate(Value& s, const Value& a) { s.accumulate(a); }
    static void accumulate(Value& s, const Value& a, float f, const Value& b) { s.accumulate(a, f, b); }
    static void clip(Value& s) { s.clipSampleValues(); }
};

template <>
struct Ops<PlainRGB> {
    using Value = PlainRGB;
    static Value make(float r, float g, float b) { return {r, g, b}; }
    static void accumulate(Value& s, const Value& a) {
        s.r += (1.0f - s.r) * a.r;
        s.g += (1.0f - s.g) * a.g;
        s.b += (1.0f - s.b) * a.b;
    }
    static void accumulate(Value& s, const Value& a, float f, const Value& b) {
        s.r += (1.0f - a.r) * b.r * f;
        s.g += (1.0f - a.g) * b.g * f;
        s.b += (1.0f - a.b) * b.b * f;
    }
    static float clip1(float x) { return x >= 1.0f ? 1.0f : (x <= 0.0f ? 0.0f : x); }
    static void clip(Value& s) { s = {clip1(s.r), clip1(s.g), clip1(s.b)}; }
};

template <class Impl>
std::vector<typename Ops<Impl>::Value> samples(std::size_t n, unsigned seed, float lo, float hi) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> d(lo, hi);
    std::vector<typename Ops<Impl>::Value> v;
    v.reserve(n);
    for (std::size_t i = 0; i < n; ++i)
        v.push_back(Ops<Impl>::make(d(rng), d(rng), d(rng)));
    return v;
}

// Eight layers composited into each pixel.
template <class Impl>
void BM_Accumulate(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    const auto layer = samples<Impl>(n, 1, 0.0f, 0.2f);
    std::vector<typename Ops<Impl>::Value> image(n);
    for (auto _ : state) {
        std::fill(image.begin(), image.end(), Ops<Impl>::make(0, 0, 0));
        for (int k = 0; k < 8; ++k)
            for (std::size_t i = 0; i < n; ++i)
                Ops<Impl>::accumulate(image[i], layer[i]);
        benchmark::DoNotOptimize(image.data());
    }
    state.SetItemsProcessed(state.iterations() * 8 * state.range(0));
}

template <class Impl>
void BM_AccumulateWeighted(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    const auto cover = samples<Impl>(n, 2, 0.0f, 1.0f), light = samples<Impl>(n, 3, 0.0f, 4.0f);
    auto image = samples<Impl>(n, 4, 0.0f, 1.0f);
    for (auto _ : state) {
        for (std::size_t i = 0; i < n; ++i)
            Ops<Impl>::accumulate(image[i], cover[i], 0.125f, light[i]);
        benchmark::DoNotOptimize(image.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Each pass clips a fresh copy (the copy is timed for both: clipping is
// idempotent, and a second pass over clipped samples would measure less).
template <class Impl>
void BM_ClipSampleValues(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    const auto source = samples<Impl>(n, 5, -0.5f, 1.5f);
    auto image = source;
    for (auto _ : state) {
        image = source;
        for (auto& s : image)
            Ops<Impl>::clip(s);
        benchmark::DoNotOptimize(image.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

} // namespace

BENCHMARK_TEMPLATE(BM_Accumulate, Tspectrum)->Arg(1 << 16);
BENCHMARK_TEMPLATE(BM_Accumulate, PlainRGB)->Arg(1 << 16);
BENCHMARK_TEMPLATE(BM_AccumulateWeighted, Tspectrum)->Arg(1 << 16);
BENCHMARK_TEMPLATE(BM_AccumulateWeighted, PlainRGB)->Arg(1 << 16);
BENCHMARK_TEMPLATE(BM_ClipSampleValues, Tspectrum)->Arg(1 << 16);
BENCHMARK_TEMPLATE(BM_ClipSampleValues, PlainRGB)->Arg(1 << 16);
