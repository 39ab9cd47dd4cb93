// Writing and reading back 100k chunks of 24 bytes in 1000 nested groups,
// to a file and to memory, beside the same bytes through stdio and, in
// memory, memcpy (the limit).
#include "grundel/iff/FLfile.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kGroups = 1000;
constexpr int kChunksPerGroup = 100;
constexpr std::size_t kChunkBytes = 24;
constexpr TuInt32 kRoot = FLmakeid("FOR4");
constexpr TuInt32 kData = FLmakeid("DATA");
// Each group: type + chunks with headers.
constexpr TuInt32 kGroupSize = 4 + kChunksPerGroup * (8 + kChunkBytes);
constexpr TuInt32 kRootSize = 4 + kGroups * (8 + kGroupSize);
constexpr std::size_t kFileBytes = 8 + kRootSize;

struct Fl {};
struct Stdio {};
struct Memcpy {};

const unsigned char* payload() {
    static unsigned char bytes[kChunkBytes];
    for (std::size_t i = 0; i < kChunkBytes; ++i)
        bytes[i] = static_cast<unsigned char>(i * 7 + 1);
    return bytes;
}

std::string tempPath() { return "/tmp/grundel_flbench_" + std::to_string(::getpid()) + ".iff"; }

void putHeader(unsigned char* p, TuInt32 id, TuInt32 size) {
    for (int i = 0; i < 4; ++i) {
        p[i] = static_cast<unsigned char>(id >> (24 - 8 * i));
        p[4 + i] = static_cast<unsigned char>(size >> (24 - 8 * i));
    }
}

// 0, or the first failing code.
int writeFl(_FLfile* file) {
    int code = FLbgnwgroup(file, kRoot, FLmakeid("BNCH"));
    for (int g = 0; g < kGroups && !code; ++g) {
        code = FLbgnwgroup(file, kRoot, FLmakeid("GRUP"));
        for (int c = 0; c < kChunksPerGroup && !code; ++c)
            code = FLputchunk(file, kData, kChunkBytes, payload());
        if (!code)
            code = FLendwgroup(file);
    }
    return code ? code : FLendwgroup(file);
}

// Writes the sample into file and closes it; false when anything failed.
bool writeAndClose(_FLfile* file) {
    const int code = file ? writeFl(file) : -1;
    return FLclose(file) == 0 && code == 0;
}

// The same bytes, piece by piece, with known sizes.
template <class Put>
void writePieces(Put put) {
    unsigned char header[12];
    putHeader(header, kRoot, kRootSize);
    std::memcpy(header + 8, "BNCH", 4);
    put(header, 12);
    for (int g = 0; g < kGroups; ++g) {
        putHeader(header, kRoot, kGroupSize);
        std::memcpy(header + 8, "GRUP", 4);
        put(header, 12);
        for (int c = 0; c < kChunksPerGroup; ++c) {
            putHeader(header, kData, kChunkBytes);
            put(header, 8);
            put(payload(), kChunkBytes);
        }
    }
}

long readFl(_FLfile* file) {
    long sum = 0;
    TuInt32 type = 0, id = 0;
    Tint32 size = 0;
    unsigned char data[kChunkBytes];
    if (FLbgnrgroup(file, &type, &size) != 0)
        return -1;
    while (FLbgnrgroup(file, &type, &size) == 0) {
        while (FLbgnget(file, &id, &size) == 0) {
            if (FLget(file, data, kChunkBytes) != 0 || FLendget(file) != 0)
                return -1;
            sum += data[3];
        }
        if (FLendrgroup(file) != 0)
            return -1;
    }
    return sum;
}

template <class Impl>
void BM_WriteFile(benchmark::State& state) {
    const std::string path = tempPath();
    for (auto _ : state) {
        if constexpr (std::is_same<Impl, Fl>::value) {
            if (!writeAndClose(FLopen(path.c_str(), "w"))) {
                state.SkipWithError("writing failed");
                break;
            }
        } else {
            std::FILE* file = std::fopen(path.c_str(), "wb");
            writePieces([file](const void* p, std::size_t n) { std::fwrite(p, 1, n, file); });
            std::fclose(file);
        }
    }
    std::remove(path.c_str());
    state.SetBytesProcessed(state.iterations() * static_cast<long>(kFileBytes));
}
BENCHMARK_TEMPLATE(BM_WriteFile, Fl)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_WriteFile, Stdio)->Unit(benchmark::kMillisecond);

template <class Impl>
void BM_ReadFile(benchmark::State& state) {
    const std::string path = tempPath();
    if (!writeAndClose(FLopen(path.c_str(), "w")))
        state.SkipWithError("writing failed");
    for (auto _ : state) {
        long sum = 0;
        if constexpr (std::is_same<Impl, Fl>::value) {
            _FLfile* file = FLopen(path.c_str(), "r");
            sum = file ? readFl(file) : -1;
            if (FLclose(file) != 0 || sum < 0) {
                state.SkipWithError("reading failed");
                break;
            }
        } else {
            std::FILE* file = std::fopen(path.c_str(), "rb");
            unsigned char header[12];
            unsigned char data[kChunkBytes];
            std::fread(header, 1, 12, file);
            for (int g = 0; g < kGroups; ++g) {
                std::fread(header, 1, 12, file);
                for (int c = 0; c < kChunksPerGroup; ++c) {
                    std::fread(header, 1, 8, file);
                    const std::size_t n = std::size_t(header[4]) << 24 | std::size_t(header[5]) << 16 |
                                          std::size_t(header[6]) << 8 | header[7];
                    std::fread(data, 1, n < kChunkBytes ? n : kChunkBytes, file);
                    sum += data[3];
                }
            }
            std::fclose(file);
        }
        benchmark::DoNotOptimize(sum);
    }
    std::remove(path.c_str());
    state.SetBytesProcessed(state.iterations() * static_cast<long>(kFileBytes));
}
BENCHMARK_TEMPLATE(BM_ReadFile, Fl)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_ReadFile, Stdio)->Unit(benchmark::kMillisecond);

template <class Impl>
void BM_WriteMemory(benchmark::State& state) {
    const TiffSpecialNames names; // blocks of memory by name
    std::vector<unsigned char> target(kFileBytes);
    for (auto _ : state) {
        if constexpr (std::is_same<Impl, Fl>::value) {
            _FLfile* file = FLopen("mem:", "w");
            const int code = writeFl(file);
            void* data = nullptr;
            std::size_t size = 0;
            const int closed = FLclosemem(file, &data, &size);
            std::free(data);
            if (code || closed) {
                state.SkipWithError("writing failed");
                break;
            }
        } else {
            unsigned char* at = target.data();
            writePieces([&at](const void* p, std::size_t n) {
                std::memcpy(at, p, n);
                at += n;
            });
            benchmark::DoNotOptimize(target.data());
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long>(kFileBytes));
}
BENCHMARK_TEMPLATE(BM_WriteMemory, Fl)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_WriteMemory, Memcpy)->Unit(benchmark::kMillisecond);

template <class Impl>
void BM_ReadMemory(benchmark::State& state) {
    const TiffSpecialNames names; // blocks of memory by name
    _FLfile* out = FLopen("mem:", "w");
    const int code = writeFl(out);
    void* block = nullptr;
    std::size_t size = 0;
    if (FLclosemem(out, &block, &size) != 0 || code != 0)
        state.SkipWithError("writing failed");
    char name[64];
    std::snprintf(name, sizeof name, "mem:%p,%zu", block, size);
    for (auto _ : state) {
        long sum = 0;
        if constexpr (std::is_same<Impl, Fl>::value) {
            _FLfile* file = FLopen(name, "r");
            sum = file ? readFl(file) : -1;
            if (FLclose(file) != 0 || sum < 0) {
                state.SkipWithError("reading failed");
                break;
            }
        } else {
            const unsigned char* at = static_cast<const unsigned char*>(block) + 12;
            unsigned char data[kChunkBytes];
            for (int g = 0; g < kGroups; ++g) {
                at += 12;
                for (int c = 0; c < kChunksPerGroup; ++c) {
                    std::memcpy(data, at + 8, kChunkBytes);
                    sum += data[3];
                    at += 8 + kChunkBytes;
                }
            }
        }
        benchmark::DoNotOptimize(sum);
    }
    std::free(block);
    state.SetBytesProcessed(state.iterations() * static_cast<long>(kFileBytes));
}
BENCHMARK_TEMPLATE(BM_ReadMemory, Fl)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_ReadMemory, Memcpy)->Unit(benchmark::kMillisecond);

} // namespace
