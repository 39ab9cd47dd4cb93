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

void writeSmallGroups(TiffFile& out) {
    const char value[12] = "0123456789a";
    for (int g = 0; g < kSmallGroups; ++g) {
        out.beginWriteGroup(TiffTag("FOR4"), TiffTag("ITEM"));
        out.putChunk(TiffTag("NAME"), 5, "item!");
        out.putChunk(TiffTag("VALU"), 12, value);
        out.putChunk(TiffTag("FLAG"), 1, "y");
        out.endWriteGroup();
    }
}

template <class Mode>
void BM_WriteSmallGroups(benchmark::State& state) {
    const std::string path = tempPath("small");
    long bytes = 0;
    for (auto _ : state) {
        TiffFile::setBufferingMode(std::is_same<Mode, Buffered>::value);
        TiffFile out(path.c_str(), "w");
        out.beginWriteGroup(TiffTag("FOR4"), TiffTag("LIST"));
        writeSmallGroups(out);
        out.endWriteGroup();
        bytes = out.size();
        out.close();
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
        out.beginWriteGroup(TiffTag("FOR4"), TiffTag("ROOT"));
        for (int g = 0; g < 1000; ++g) {
            out.beginWriteGroup(TiffTag("FOR4"), TiffTag("GRUP"));
            for (int c = 0; c < 100; ++c)
                out.putChunk(TiffTag("DATA"), sizeof data, data);
            out.endWriteGroup();
        }
        out.endWriteGroup();
    }
    long size = 0;
    for (auto _ : state) {
        TiffFile in(path.c_str(), "r");
        size = in.size();
        in.setLeafCallback([](TiffFile& file, TiffTag, Tint32 length) {
            char data[64];
            if (length == 64)
                file.get(data, 64);
            benchmark::DoNotOptimize(data);
            return 0;
        });
        benchmark::DoNotOptimize(in.parse());
    }
    std::remove(path.c_str());
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK(BM_Parse)->Unit(benchmark::kMillisecond);

} // namespace
