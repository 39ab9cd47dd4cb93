// The sampling sequences beside a plain radical inverse computed on the
// spot: Thammersley2::next beside the usual bit reversal, Thammersley::value
// beside a digit-by-digit loop in the same base (run-time, as the
// selector is).

#include "grundel/color/Thammersley.h"

#include <benchmark/benchmark.h>

namespace {

constexpr unsigned kPrimes[Thammersley::baseCount] = {2,  3,  5,  7,  11, 13, 17, 19, 23,  29,  31,
                                                      37, 41, 43, 47, 53, 59, 61, 67, 71,  73,  79,
                                                      83, 89, 97, 101, 103, 107, 109, 113, 127, 131};
// Calls per timed iteration; also every index the value loops visit, all
// below maxEntry of the largest base (131² = 17161).
constexpr unsigned kCalls = 16384;

struct BitReversal {
    explicit BitReversal(unsigned bits) : fMask((1u << bits) - 1) {}
    float next() {
        fIndex = (fIndex + 1) & fMask;
        TuInt32 x = fIndex;
        x = (x << 16) | (x >> 16);
        x = ((x & 0x55555555u) << 1) | ((x & 0xAAAAAAAAu) >> 1);
        x = ((x & 0x33333333u) << 2) | ((x & 0xCCCCCCCCu) >> 2);
        x = ((x & 0x0F0F0F0Fu) << 4) | ((x & 0xF0F0F0F0u) >> 4);
        x = ((x & 0x00FF00FFu) << 8) | ((x & 0xFF00FF00u) >> 8);
        return static_cast<float>(x >> 8) * 0x1p-24f;
    }
    TuInt32 fMask;
    TuInt32 fIndex = 0;
};

struct RadicalInverse {
    RadicalInverse(unsigned selector, unsigned) : fBase(kPrimes[selector]) {}
    float value(unsigned i) const {
        const float inverse = 1.0f / static_cast<float>(fBase);
        float x = 0.0f, weight = inverse;
        for (; i; i /= fBase, weight *= inverse)
            x += static_cast<float>(i % fBase) * weight;
        return x;
    }
    unsigned fBase;
};

template <class Sequence>
void BM_Next(benchmark::State& state) {
    Sequence sequence(24);
    for (auto _ : state) {
        float sum = 0.0f;
        for (unsigned k = 0; k < kCalls; ++k)
            sum += sequence.next();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kCalls);
}

/// range(0): the base selector (1 is base 3, 8 base 23, 31 base 131).
template <class Sequence>
void BM_Value(benchmark::State& state) {
    const Sequence sequence(static_cast<unsigned>(state.range(0)), kCalls);
    for (auto _ : state) {
        float sum = 0.0f;
        for (unsigned i = 0; i < kCalls; ++i)
            sum += sequence.value(i);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kCalls);
}

} // namespace

BENCHMARK_TEMPLATE(BM_Next, Thammersley2);
BENCHMARK_TEMPLATE(BM_Next, BitReversal);
BENCHMARK_TEMPLATE(BM_Value, Thammersley)->Arg(1)->Arg(8)->Arg(31);
BENCHMARK_TEMPLATE(BM_Value, RadicalInverse)->Arg(1)->Arg(8)->Arg(31);
