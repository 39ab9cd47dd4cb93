#include "grundel/files/TfileSync_p.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace grundel::detail {

Tstring followLinks(const Tstring& path) {
    Tstring current = path;
    std::vector<char> buffer(4096);
    for (int hop = 0; hop < 40; ++hop) {
        struct stat st;
        if (::lstat(current.asC(), &st) != 0 || !S_ISLNK(st.st_mode))
            return current;
        const ssize_t n = ::readlink(current.asC(), buffer.data(), buffer.size());
        if (n <= 0 || static_cast<std::size_t>(n) >= buffer.size())
            return current;
        const Tstring link(buffer.data(), static_cast<unsigned int>(n));
        if (link[0] == '/') {
            current = link;
        } else {
            Tstring dir = current.directoryPath();
            if (dir.isEmpty()) {
                current = link;
            } else {
                if (dir[dir.length() - 1] != '/')
                    dir += '/';
                current = dir + link;
            }
        }
    }
    return current;
}

Tstring directoryOf(const Tstring& path) {
    Tstring dir = path.directoryPath();
    return dir.isEmpty() ? Tstring(".") : dir;
}

bool syncDirectoryOf(const Tstring& path) noexcept {
    const int fd = ::open(directoryOf(path).asC(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

void randomSuffix(char out[6]) noexcept {
    static std::atomic<std::uint64_t> counter{0};
    static const char kChars[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    // splitmix64 over a per-process counter, the pid and the clock.
    std::uint64_t x = counter.fetch_add(0x9E3779B97F4A7C15ull, std::memory_order_relaxed);
    x ^= static_cast<std::uint64_t>(::getpid()) << 32;
    x ^= static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    x += 0x9E3779B97F4A7C15ull;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    x ^= x >> 31;
    for (int i = 0; i < 6; ++i) {
        out[i] = kChars[x % 62];
        x /= 62;
    }
}

bool writeAll(int fd, const char* data, std::size_t n) noexcept {
    while (n > 0) {
        const ssize_t w = ::write(fd, data, n);
        if (w < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += w;
        n -= static_cast<std::size_t>(w);
    }
    return true;
}

} // namespace grundel::detail
