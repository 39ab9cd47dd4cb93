#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// A fresh directory under the build's temporary area, removed afterwards.
// Under /tmp, which on this kind of machine is disk-backed; fsync still works
// on tmpfs, it just costs nothing.
class ScratchDirectory {
public:
    ScratchDirectory() {
        char pattern[] = "/tmp/grundel_files_XXXXXX";
        const char* made = ::mkdtemp(pattern);
        EXPECT_NE(made, nullptr);
        fPath = made ? made : "/tmp";
    }
    ~ScratchDirectory() {
        std::error_code ec;
        std::filesystem::remove_all(fPath, ec);
    }
    std::string file(const std::string& name) const { return fPath + "/" + name; }
    const std::string& path() const { return fPath; }

private:
    std::string fPath;
};

inline std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeFile(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
}
