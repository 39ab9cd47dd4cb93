// Array letters of 1M elements written as one chunk through TiffFile and
// read back through the registry, beside the same values byte-swapped and
// written with one fwrite (read with one fread and swapped back), to and
// from the same kind of file.
#include "grundel/grundel.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <type_traits>
#include <unistd.h>
#include <vector>

namespace {

template <class Element>
struct Stdio {};

std::string tempPath(const char* what) {
    return "/tmp/grundel_tdataarraybench_" + std::string(what) + std::to_string(::getpid());
}

template <class Element>
Element valueAt(long i) {
    return std::is_floating_point<Element>::value ? Element(double(i) * 0.25 + 1.0) : Element(i * 7 - 3);
}

template <class Element>
void swapInto(const Element* in, Element* out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        if constexpr (sizeof(Element) == 8) {
            TuInt64 bits;
            std::memcpy(&bits, in + i, 8);
            bits = __builtin_bswap64(bits);
            std::memcpy(out + i, &bits, 8);
        } else {
            TuInt32 bits;
            std::memcpy(&bits, in + i, 4);
            bits = __builtin_bswap32(bits);
            std::memcpy(out + i, &bits, 4);
        }
    }
}

template <class Letter>
Tdata makeLetter(long n) {
    auto* letter = new Letter;
    auto& array = letter->writableArray();
    for (long i = 0; i < n; ++i)
        (void)array.addLast(valueAt<typename Letter::Element>(i));
    return Tdata(letter);
}

template <class Letter>
int writeLetter(const std::string& path, const Tdata& value) {
    TiffFile out(path.c_str(), "w");
    int code = out.beginWriteGroup(TiffTag("FORM"), TiffTag("ARRY"));
    code = code ? code : TdataChunk::write(out, value);
    code = code ? code : out.endWriteGroup();
    return out.close() != 0 ? -1 : code;
}

template <class Element>
int writeStdio(const std::string& path, const std::vector<Element>& values, std::vector<Element>& scratch) {
    std::FILE* out = std::fopen(path.c_str(), "wb");
    if (!out)
        return -1;
    scratch.resize(values.size());
    swapInto(values.data(), scratch.data(), values.size());
    const bool ok = std::fwrite(scratch.data(), sizeof(Element), scratch.size(), out) == scratch.size();
    return std::fclose(out) == 0 && ok ? 0 : -1;
}

template <class Letter>
long readLetter(const std::string& path) {
    TiffFile in(path.c_str(), "r");
    TiffTag id, type;
    if (in.beginReadGroup(id, type) != 0)
        return -1;
    Tdata value;
    if (TdataChunk::read(in, value) != TdataChunk::kRead)
        return -1;
    const auto* letter = static_cast<const Letter*>(value.cast(&Letter::fsMetaclass));
    benchmark::DoNotOptimize(letter ? letter->elements() : nullptr);
    return letter ? long(letter->count()) : -1;
}

template <class Element>
long readStdio(const std::string& path, std::vector<Element>& values) {
    std::FILE* in = std::fopen(path.c_str(), "rb");
    if (!in)
        return -1;
    long size = -1;
    if (std::fseek(in, 0, SEEK_END) == 0)
        size = std::ftell(in);
    std::rewind(in);
    if (size < 0) {
        std::fclose(in);
        return -1;
    }
    values.resize(std::size_t(size) / sizeof(Element));
    const std::size_t got = std::fread(values.data(), sizeof(Element), values.size(), in);
    std::fclose(in);
    swapInto(values.data(), values.data(), got);
    benchmark::DoNotOptimize(values.data());
    return long(got);
}

template <class Impl, class Letter>
void writeCase(benchmark::State& state) {
    using Element = typename Letter::Element;
    const long n = state.range(0);
    const std::string path = tempPath("write");
    const Tdata letter = makeLetter<Letter>(n);
    std::vector<Element> values(static_cast<std::size_t>(n));
    std::vector<Element> scratch;
    for (long i = 0; i < n; ++i)
        values[std::size_t(i)] = valueAt<Element>(i);
    for (auto _ : state) {
        const int code = std::is_same<Impl, Letter>::value ? writeLetter<Letter>(path, letter)
                                                            : writeStdio(path, values, scratch);
        if (code != 0) {
            state.SkipWithError("writing failed");
            break;
        }
    }
    std::remove(path.c_str());
    state.SetBytesProcessed(state.iterations() * n * long(sizeof(Element)));
}

template <class Impl, class Letter>
void readCase(benchmark::State& state) {
    using Element = typename Letter::Element;
    const bool ours = std::is_same<Impl, Letter>::value;
    const long n = state.range(0);
    const std::string path = tempPath("read");
    std::vector<Element> values(static_cast<std::size_t>(n));
    std::vector<Element> scratch;
    for (long i = 0; i < n; ++i)
        values[std::size_t(i)] = valueAt<Element>(i);
    if ((ours ? writeLetter<Letter>(path, makeLetter<Letter>(n)) : writeStdio(path, values, scratch)) != 0) {
        state.SkipWithError("writing the input failed");
        return;
    }
    for (auto _ : state) {
        // Each read makes a new array, as reading a new value does.
        std::vector<Element> read;
        const long count = ours ? readLetter<Letter>(path) : readStdio(path, read);
        if (count != n) {
            state.SkipWithError("reading failed");
            break;
        }
    }
    std::remove(path.c_str());
    state.SetBytesProcessed(state.iterations() * n * long(sizeof(Element)));
}

template <class Impl>
void BM_WriteDoubleArray(benchmark::State& state) { writeCase<Impl, TdataDoubleArray>(state); }
template <class Impl>
void BM_ReadDoubleArray(benchmark::State& state) { readCase<Impl, TdataDoubleArray>(state); }
template <class Impl>
void BM_WriteInt32Array(benchmark::State& state) { writeCase<Impl, TdataInt32Array>(state); }
template <class Impl>
void BM_ReadInt32Array(benchmark::State& state) { readCase<Impl, TdataInt32Array>(state); }

BENCHMARK_TEMPLATE(BM_WriteDoubleArray, TdataDoubleArray)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_WriteDoubleArray, Stdio<double>)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_ReadDoubleArray, TdataDoubleArray)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_ReadDoubleArray, Stdio<double>)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_WriteInt32Array, TdataInt32Array)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_WriteInt32Array, Stdio<Tint32>)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_ReadInt32Array, TdataInt32Array)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_ReadInt32Array, Stdio<Tint32>)->Arg(1000000)->Unit(benchmark::kMillisecond);

} // namespace
