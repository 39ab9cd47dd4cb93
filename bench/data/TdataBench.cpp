// Typed values: 1M numbers written as chunks through TiffFile and read back
// through the registry, beside the same doubles written and read with stdio;
// and the envelope's construction and destruction beside
// std::variant<double, std::shared_ptr<...>>.
#include "grundel/grundel.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <variant>

namespace {

struct Stdio {};

std::string tempPath(const char* what) {
    return "/tmp/grundel_tdatabench_" + std::string(what) + std::to_string(::getpid());
}

double valueAt(long i) { return double(i) * 0.25 + 1.0; }

TuInt64 bigEndian(TuInt64 bits) { return __builtin_bswap64(bits); }

// -- 1M values to a file and back ------------------------------------------------

int writeChunks(const std::string& path, long count) {
    TiffFile out(path.c_str(), "w");
    int code = out.beginWriteGroup(TiffTag("FORM"), TiffTag("VALS"));
    for (long i = 0; i < count && code == 0; ++i)
        code = TdataChunk::write(out, Tdata(valueAt(i)));
    code = code ? code : out.endWriteGroup();
    return out.close() != 0 ? -1 : code;
}

int writeStdio(const std::string& path, long count) {
    std::FILE* out = std::fopen(path.c_str(), "wb");
    if (!out)
        return -1;
    for (long i = 0; i < count; ++i) {
        const double value = valueAt(i);
        TuInt64 bits = 0;
        std::memcpy(&bits, &value, 8);
        bits = bigEndian(bits);
        if (std::fwrite(&bits, 8, 1, out) != 1)
            break;
    }
    return std::fclose(out) == 0 ? 0 : -1;
}

template <class Impl>
void BM_WriteValues(benchmark::State& state) {
    const std::string path = tempPath("write");
    for (auto _ : state) {
        const int code = std::is_same<Impl, Tdata>::value ? writeChunks(path, state.range(0))
                                                           : writeStdio(path, state.range(0));
        if (code != 0) {
            state.SkipWithError("writing failed");
            break;
        }
    }
    std::remove(path.c_str());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK_TEMPLATE(BM_WriteValues, Tdata)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_WriteValues, Stdio)->Arg(1000000)->Unit(benchmark::kMillisecond);

double readChunks(const std::string& path, long& count) {
    TiffFile in(path.c_str(), "r");
    TiffTag id, type;
    double sum = 0.0;
    count = 0;
    if (in.beginReadGroup(id, type) != 0)
        return sum;
    Tdata value;
    while (TdataChunk::read(in, value) == TdataChunk::kRead) {
        sum += value.doubleValue();
        ++count;
    }
    (void)in.close();
    return sum;
}

double readStdio(const std::string& path, long& count) {
    std::FILE* in = std::fopen(path.c_str(), "rb");
    double sum = 0.0;
    count = 0;
    if (!in)
        return sum;
    TuInt64 bits = 0;
    while (std::fread(&bits, 8, 1, in) == 1) {
        bits = bigEndian(bits);
        double value = 0.0;
        std::memcpy(&value, &bits, 8);
        sum += value;
        ++count;
    }
    std::fclose(in);
    return sum;
}

template <class Impl>
void BM_ReadValues(benchmark::State& state) {
    const bool ours = std::is_same<Impl, Tdata>::value;
    const std::string path = tempPath("read");
    if ((ours ? writeChunks(path, state.range(0)) : writeStdio(path, state.range(0))) != 0) {
        state.SkipWithError("writing the input failed");
        return;
    }
    for (auto _ : state) {
        long count = 0;
        benchmark::DoNotOptimize(ours ? readChunks(path, count) : readStdio(path, count));
        if (count != state.range(0)) {
            state.SkipWithError("reading failed");
            break;
        }
    }
    std::remove(path.c_str());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK_TEMPLATE(BM_ReadValues, Tdata)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_ReadValues, Stdio)->Arg(1000000)->Unit(benchmark::kMillisecond);

// -- Construction and destruction ----------------------------------------------

struct Variant {};
struct SharedValue {
    double fValue = 0.0;
};
using TvariantValue = std::variant<double, std::shared_ptr<SharedValue>>;

// A number made, copied and dropped.
template <class Impl>
void BM_NumberValue(benchmark::State& state) {
    double x = 1.0;
    for (auto _ : state) {
        if constexpr (std::is_same<Impl, Tdata>::value) {
            Tdata value(x);
            Tdata copy(value);
            benchmark::DoNotOptimize(copy.privateData());
        } else {
            TvariantValue value(x);
            TvariantValue copy(value);
            benchmark::DoNotOptimize(&copy);
        }
        x += 1.0;
    }
}
BENCHMARK_TEMPLATE(BM_NumberValue, Tdata);
BENCHMARK_TEMPLATE(BM_NumberValue, Variant);

// A shared value referenced by a new handle and let go.
template <class Impl>
void BM_SharedValue(benchmark::State& state) {
    const Tdata letter(new TdataLetter());
    const TvariantValue shared(std::make_shared<SharedValue>());
    for (auto _ : state) {
        if constexpr (std::is_same<Impl, Tdata>::value) {
            Tdata copy(letter);
            benchmark::DoNotOptimize(copy.privateData());
        } else {
            TvariantValue copy(shared);
            benchmark::DoNotOptimize(&copy);
        }
    }
}
BENCHMARK_TEMPLATE(BM_SharedValue, Tdata);
BENCHMARK_TEMPLATE(BM_SharedValue, Variant);

// A number on the heap: Tdata's free list beside the general allocator.
template <class Impl>
void BM_HeapValue(benchmark::State& state) {
    double x = 1.0;
    for (auto _ : state) {
        if constexpr (std::is_same<Impl, Tdata>::value) {
            Tdata* value = new Tdata(x);
            benchmark::DoNotOptimize(value);
            delete value;
        } else {
            auto* value = new TvariantValue(x);
            benchmark::DoNotOptimize(value);
            delete value;
        }
        x += 1.0;
    }
}
BENCHMARK_TEMPLATE(BM_HeapValue, Tdata);
BENCHMARK_TEMPLATE(BM_HeapValue, Variant);

// A new shared value made and dropped: a letter beside make_shared.
template <class Impl>
void BM_NewSharedValue(benchmark::State& state) {
    for (auto _ : state) {
        if constexpr (std::is_same<Impl, Tdata>::value) {
            Tdata value(new TdataLetter());
            benchmark::DoNotOptimize(value.privateData());
        } else {
            TvariantValue value(std::make_shared<SharedValue>());
            benchmark::DoNotOptimize(&value);
        }
    }
}
BENCHMARK_TEMPLATE(BM_NewSharedValue, Tdata);
BENCHMARK_TEMPLATE(BM_NewSharedValue, Variant);

// The same two cases once a second thread has run. libstdc++'s shared_ptr
// counts without atomic instructions while the process has only ever had
// one thread; from the first thread on it uses them, as Tdata always does.
// Registered last, since the process stays multi-threaded afterwards.
template <class Impl>
void BM_SharedValueThreaded(benchmark::State& state) {
    std::thread([] {}).join();
    BM_SharedValue<Impl>(state);
}
BENCHMARK_TEMPLATE(BM_SharedValueThreaded, Tdata);
BENCHMARK_TEMPLATE(BM_SharedValueThreaded, Variant);

template <class Impl>
void BM_NewSharedValueThreaded(benchmark::State& state) {
    std::thread([] {}).join();
    BM_NewSharedValue<Impl>(state);
}
BENCHMARK_TEMPLATE(BM_NewSharedValueThreaded, Tdata);
BENCHMARK_TEMPLATE(BM_NewSharedValueThreaded, Variant);

} // namespace
