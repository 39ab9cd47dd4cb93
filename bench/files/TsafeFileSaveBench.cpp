// Saving a file safely (temporary file, fsync, rename, directory fsync)
// beside a plain truncating write without and with fsync, for 1 KB and
// 100 MB; storing 1,000 small undo copies beside std::filesystem::copy_file.
// Run on a disk-backed directory: GRUNDEL_BENCH_DIR, else /tmp (fsync costs
// nothing on tmpfs, which would hide the price of durability).
#include "grundel/files/TfileManager.h"
#include "grundel/files/TsafeFileSave.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

struct Safe {};
struct Plain {};
struct PlainFsync {};
struct Manager {};
struct CopyFile {};

const std::string& benchDir() {
    static const std::string dir = [] {
        const char* base = std::getenv("GRUNDEL_BENCH_DIR");
        std::string pattern = std::string(base && *base ? base : "/tmp") + "/grundel_filesbench_XXXXXX";
        std::vector<char> buffer(pattern.begin(), pattern.end());
        buffer.push_back('\0');
        const char* made = ::mkdtemp(buffer.data());
        return std::string(made ? made : "/tmp");
    }();
    return dir;
}

// Removes the scratch directory at exit.
struct Cleanup {
    ~Cleanup() {
        std::error_code ec;
        std::filesystem::remove_all(benchDir(), ec);
    }
} gCleanup;

bool writeAll(int fd, const std::vector<char>& data) {
    std::size_t at = 0;
    while (at < data.size()) {
        const ssize_t n = ::write(fd, data.data() + at, data.size() - at);
        if (n <= 0)
            return false;
        at += static_cast<std::size_t>(n);
    }
    return true;
}

bool save(Safe, const std::string& path, const std::vector<char>& data) {
    TsafeFileSave s{Tstring(path)};
    return s.setupForWrite() && writeAll(s.fileDescriptor(), data) && s.commitChanges();
}

bool plainWrite(const std::string& path, const std::vector<char>& data, bool sync) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0)
        return false;
    bool ok = writeAll(fd, data) && (!sync || ::fsync(fd) == 0);
    return ::close(fd) == 0 && ok;
}
bool save(Plain, const std::string& path, const std::vector<char>& data) { return plainWrite(path, data, false); }
bool save(PlainFsync, const std::string& path, const std::vector<char>& data) { return plainWrite(path, data, true); }

template <class Impl>
void BM_SaveFile(benchmark::State& state) {
    const std::vector<char> data(static_cast<std::size_t>(state.range(0)), 'v');
    const std::string path = benchDir() + "/save.bin";
    for (auto _ : state) {
        if (!save(Impl{}, path, data)) {
            state.SkipWithError("save failed");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

constexpr int kUndoFiles = 1000;

const std::vector<std::string>& undoSources() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> v;
        const std::string dir = benchDir() + "/sources";
        std::filesystem::create_directories(dir);
        const std::vector<char> data(1024, 's');
        for (int i = 0; i < kUndoFiles; ++i) {
            v.push_back(dir + "/file" + std::to_string(i));
            plainWrite(v.back(), data, false);
        }
        return v;
    }();
    return names;
}

void storeAll(Manager, const std::vector<std::string>& sources) {
    TfileManager manager(Tstring(benchDir() + "/undo"), 0xFFFFFFFFu, 10);
    Tstring name;
    for (const std::string& s : sources)
        if (!manager.storeUndo(Tstring(s), name))
            std::abort();
}

void storeAll(CopyFile, const std::vector<std::string>& sources) {
    const std::string dir = benchDir() + "/copies";
    std::filesystem::create_directories(dir);
    int i = 0;
    for (const std::string& s : sources)
        std::filesystem::copy_file(s, dir + "/copy" + std::to_string(i++),
                                   std::filesystem::copy_options::overwrite_existing);
}

template <class Impl>
void BM_StoreUndo(benchmark::State& state) {
    const std::vector<std::string>& sources = undoSources();
    for (auto _ : state) {
        storeAll(Impl{}, sources);
        state.PauseTiming();
        std::filesystem::remove_all(benchDir() + "/undo");
        std::filesystem::remove_all(benchDir() + "/copies");
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kUndoFiles);
}

} // namespace

BENCHMARK_TEMPLATE(BM_SaveFile, Safe)->Arg(1024)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_SaveFile, Plain)->Arg(1024)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_SaveFile, PlainFsync)->Arg(1024)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_SaveFile, Safe)->Arg(100 << 20)->Iterations(2)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_SaveFile, Plain)->Arg(100 << 20)->Iterations(2)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_SaveFile, PlainFsync)->Arg(100 << 20)->Iterations(2)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_StoreUndo, Manager)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_StoreUndo, CopyFile)->Unit(benchmark::kMillisecond);
