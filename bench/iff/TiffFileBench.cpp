// TiffFile: 10k small groups written buffered (known sizes, written once)
// beside unbuffered (unknown sizes patched on close), and parse throughput.
#include "grundel/iff/TiffFile.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <unistd.h>

namespace {

constexpr int kSmallGroups = 10000;

struct Buffered {};
struct Unbuffered {};

std::string tempPath(const char* what) {
    return "/tmp/grundel_tiffbench_" + std::string(what) + std::to_string(::getpid()) + ".iff";
}

// 0, or the first failing code.
int writeSmallGroups(TiffFile& out) {
    const char value[12] = "0123456789a";
    int code = 0;
    for (int g = 0; g < kSmallGroups && !code; ++g) {
        code = out.beginWriteGroup(TiffTag("FOR4"), TiffTag("ITEM"));
        code = code ? code : out.putChunk(TiffTag("NAME"), 5, "item!");
        code = code ? code : out.putChunk(TiffTag("VALU"), 12, value);
        code = code ? code : out.putChunk(TiffTag("FLAG"), 1, "y");
        code = code ? code : out.endWriteGroup();
    }
    return code;
}

template <class Mode>
void BM_WriteSmallGroups(benchmark::State& state) {
    const std::string path = tempPath("small");
    long bytes = 0;
    for (auto _ : state) {
        TiffFile::setBufferingMode(std::is_same<Mode, Buffered>::value);
        TiffFile out(path.c_str(), "w");
        int code = out.beginWriteGroup(TiffTag("FOR4"), TiffTag("LIST"));
        code = code ? code : writeSmallGroups(out);
        code = code ? code : out.endWriteGroup();
        bytes = out.size();
        if (out.close() != 0 || code != 0) {
            state.SkipWithError("writing failed");
            break;
        }
    }
    TiffFile::setBufferingMode(false);
    std::remove(path.c_str());
    state.SetBytesProcessed(state.iterations() * bytes);
}
BENCHMARK_TEMPLATE(BM_WriteSmallGroups, Buffered)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_WriteSmallGroups, Unbuffered)->Unit(benchmark::kMillisecond);

// Parse of a file of 1000 groups of 100 chunks of 64 bytes, reading each chunk.
void BM_Parse(benchmark::State& state) {
    const std::string path = tempPath("parse");
    {
        TiffFile out(path.c_str(), "w");
        char data[64] = {};
        int code = out.beginWriteGroup(TiffTag("FOR4"), TiffTag("ROOT"));
        for (int g = 0; g < 1000 && !code; ++g) {
            code = out.beginWriteGroup(TiffTag("FOR4"), TiffTag("GRUP"));
            for (int c = 0; c < 100 && !code; ++c)
                code = out.putChunk(TiffTag("DATA"), sizeof data, data);
            code = code ? code : out.endWriteGroup();
        }
        code = code ? code : out.endWriteGroup();
        if (out.close() != 0 || code != 0)
            state.SkipWithError("writing failed");
    }
    long size = 0;
    for (auto _ : state) {
        TiffFile in(path.c_str(), "r");
        size = in.size();
        in.setLeafCallback([](TiffFile& file, TiffTag, Tint32 length) {
            char data[64];
            const int code = length == 64 ? file.get(data, 64) : 0;
            benchmark::DoNotOptimize(data);
            return code;
        });
        benchmark::DoNotOptimize(in.parse());
    }
    std::remove(path.c_str());
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK(BM_Parse)->Unit(benchmark::kMillisecond);

} // namespace
