// Tcrc32::calc beside zlib's crc32 on 4 KiB and 1 MiB, and the portable
// table path that machines without carry-less multiplication take.

#include "grundel/core/Tcrc32.h"

#include "grundel/core/Tcrc32_p.h"

#include <benchmark/benchmark.h>

#include <vector>
#include <zlib.h>

namespace {

// 1 MiB of fixed pseudo-random bytes, made once outside the timed loops.
const unsigned char* bytes() {
    static const std::vector<unsigned char> data = [] {
        std::vector<unsigned char> v(1 << 20);
        TuInt32 x = 2463534242u; // xorshift: the same bytes on every run
        for (auto& b : v) {
            x ^= x << 13;
            x ^= x >> 17;
            x ^= x << 5;
            b = static_cast<unsigned char>(x);
        }
        return v;
    }();
    return data.data();
}

struct Tcrc32Calc {
    static TuInt32 run(const unsigned char* p, std::size_t n) { return Tcrc32::calc(p, n); }
};
// The portable path, which machines without carry-less multiplication take.
struct TablesPath {
    static TuInt32 run(const unsigned char* p, std::size_t n) {
        return grundel::detail::crc32Tables(Tcrc32::startingCRC(), p, n);
    }
};
struct Zlib {
    static TuInt32 run(const unsigned char* p, std::size_t n) {
        return static_cast<TuInt32>(crc32(0, p, static_cast<uInt>(n)));
    }
};

template <class Impl>
void BM_Crc32(benchmark::State& state) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    const unsigned char* p = bytes();
    for (auto _ : state)
        benchmark::DoNotOptimize(Impl::run(p, n));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

// The same, for the portable path beside zlib.
template <class Impl>
void BM_Crc32Portable(benchmark::State& state) {
    BM_Crc32<Impl>(state);
}

} // namespace

BENCHMARK_TEMPLATE(BM_Crc32, Tcrc32Calc)->Arg(4096)->Arg(1 << 20);
BENCHMARK_TEMPLATE(BM_Crc32, Zlib)->Arg(4096)->Arg(1 << 20);
BENCHMARK_TEMPLATE(BM_Crc32Portable, TablesPath)->Arg(4096)->Arg(1 << 20);
BENCHMARK_TEMPLATE(BM_Crc32Portable, Zlib)->Arg(4096)->Arg(1 << 20);
