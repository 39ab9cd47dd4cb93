// TanimTime beside std::chrono durations of the same tick (1/6000 s), and
// its SMPTE text beside snprintf of the same fields:
// BM_Case<TanimTime>/n, BM_Case<peer>/n.
#include "grundel/time/TanimTime.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

using Ticks = std::chrono::duration<std::int32_t, std::ratio<1, 6000>>;
using Frames24 = std::chrono::duration<double, std::ratio<1, 24>>;

// Deterministic tick counts spread over a few hours, both signs.
std::vector<std::int32_t> sampleTicks(std::size_t n) {
    std::vector<std::int32_t> v(n);
    std::uint32_t x = 12345;
    for (auto& t : v) {
        x = x * 1664525u + 1013904223u;
        t = static_cast<std::int32_t>(x % 100000000u) - 50000000;
    }
    return v;
}

std::vector<double> sampleFrames(std::size_t n) {
    std::vector<double> v(n);
    const auto ticks = sampleTicks(n);
    for (std::size_t i = 0; i < n; ++i)
        v[i] = ticks[i] / 250.0 + 0.37;
    return v;
}

// The unit is read at run time, as a caller passing the current unit does.
TtimeUnitSystem runTimeUnit() {
    volatile int unit = kTime24fps;
    return TtimeUnitSystem(unit);
}

void BM_ValueInThisUnit_TanimTime(benchmark::State& state) {
    const auto raw = sampleTicks(std::size_t(state.range(0)));
    const std::vector<TanimTime> times(raw.begin(), raw.end());
    const TtimeUnitSystem unit = runTimeUnit();
    for (auto _ : state) {
        double sum = 0;
        for (TanimTime t : times)
            sum += t.valueInThisUnit(unit);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_ValueInThisUnit_chrono(benchmark::State& state) {
    const auto raw = sampleTicks(std::size_t(state.range(0)));
    std::vector<Ticks> times;
    for (std::int32_t t : raw)
        times.emplace_back(t);
    for (auto _ : state) {
        double sum = 0;
        for (Ticks t : times)
            sum += std::chrono::duration_cast<Frames24>(t).count();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_SetValue_TanimTime(benchmark::State& state) {
    const auto frames = sampleFrames(std::size_t(state.range(0)));
    std::vector<TanimTime> out(frames.size());
    const TtimeUnitSystem unit = runTimeUnit();
    for (auto _ : state) {
        for (std::size_t i = 0; i < frames.size(); ++i)
            out[i].setValue(frames[i], unit);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// std::chrono::round: halves to even, like setValue.
void BM_SetValue_chronoRound(benchmark::State& state) {
    const auto frames = sampleFrames(std::size_t(state.range(0)));
    std::vector<Ticks> out(frames.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < frames.size(); ++i)
            out[i] = std::chrono::round<Ticks>(Frames24(frames[i]));
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// duration_cast truncates: cheaper, but not the same result.
void BM_SetValue_chronoCast(benchmark::State& state) {
    const auto frames = sampleFrames(std::size_t(state.range(0)));
    std::vector<Ticks> out(frames.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < frames.size(); ++i)
            out[i] = std::chrono::duration_cast<Ticks>(Frames24(frames[i]));
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

constexpr std::size_t kTexts = 4096;

void BM_SmpteText_TanimTime(benchmark::State& state) {
    const auto raw = sampleTicks(kTexts);
    std::size_t i = 0;
    for (auto _ : state) {
        Tstring text = TanimTime(raw[i++ % kTexts]).valueInSmpteUnit();
        benchmark::DoNotOptimize(text);
    }
}

// The same split (positive times, 24 frames per second), then one snprintf.
void BM_SmpteText_snprintf(benchmark::State& state) {
    const auto raw = sampleTicks(kTexts);
    std::size_t i = 0;
    for (auto _ : state) {
        std::int32_t t = raw[i++ % kTexts];
        t = t < 0 ? -t : t;
        const int h = t / 21600000, m = t / 360000 % 60, s = t / 6000 % 60;
        const int f = (t % 6000 + 125) / 250;
        char text[32];
        std::snprintf(text, sizeof text, "%02d:%02d:%02d:%02d", h, m, s, f);
        benchmark::DoNotOptimize(text);
    }
}

} // namespace

BENCHMARK(BM_ValueInThisUnit_TanimTime)->Name("BM_ValueInThisUnit<TanimTime>")->Arg(10000000);
BENCHMARK(BM_ValueInThisUnit_chrono)->Name("BM_ValueInThisUnit<chrono::duration_cast>")->Arg(10000000);
BENCHMARK(BM_SetValue_TanimTime)->Name("BM_SetValue<TanimTime>")->Arg(10000000);
BENCHMARK(BM_SetValue_chronoRound)->Name("BM_SetValue<chrono::round>")->Arg(10000000);
BENCHMARK(BM_SetValue_chronoCast)->Name("BM_SetValue<chrono::duration_cast>")->Arg(10000000);
BENCHMARK(BM_SmpteText_TanimTime)->Name("BM_SmpteText<TanimTime>");
BENCHMARK(BM_SmpteText_snprintf)->Name("BM_SmpteText<snprintf>");
