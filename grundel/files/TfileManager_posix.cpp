// The static file operations of TfileManager.

#include "grundel/files/TfileManager.h"

#include "grundel/files/TfileSync_p.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

bool copyBytes(int in, int out) {
    // copy_file_range shares or copies in the kernel; plain read/write where
    // it is refused (older kernels, some file systems).
    for (;;) {
        const ssize_t n = ::copy_file_range(in, nullptr, out, nullptr, 1 << 30, 0);
        if (n == 0)
            return true;
        if (n > 0)
            continue;
        if (errno == EINTR)
            continue;
        if (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP)
            break;
        return false;
    }
    std::vector<char> buffer(1 << 16);
    for (;;) {
        const ssize_t n = ::read(in, buffer.data(), buffer.size());
        if (n == 0)
            return true;
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        if (!grundel::detail::writeAll(out, buffer.data(), static_cast<std::size_t>(n)))
            return false;
    }
}

bool exists(const char* path) {
    struct stat st;
    return ::lstat(path, &st) == 0;
}

} // namespace

bool TfileManager::copy(const char* from, const char* to) {
    if (!from || !to)
        return false;
    const int in = ::open(from, O_RDONLY | O_CLOEXEC);
    if (in < 0)
        return false;
    struct stat st;
    if (::fstat(in, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(in);
        return false;
    }
    struct stat target;
    if (::stat(to, &target) == 0 && target.st_dev == st.st_dev && target.st_ino == st.st_ino) {
        ::close(in); // a file copied onto itself: truncating would lose it
        return true;
    }
    const int out = ::open(to, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, st.st_mode & 0777);
    if (out < 0) {
        ::close(in);
        return false;
    }
    // copy_file_range continues from the current offsets; from the start.
    bool ok = copyBytes(in, out);
    ::close(in);
    ok = (::close(out) == 0) && ok;
    return ok;
}

bool TfileManager::rename(const char* from, const char* to) {
    if (!from || !to)
        return false;
    if (::rename(from, to) == 0)
        return true;
    if (errno != EXDEV)
        return false;
    return copy(from, to) && ::unlink(from) == 0;
}

bool TfileManager::swap(const char* a, const char* b) {
    if (!a || !b || !exists(a) || !exists(b))
        return false;
    if (::renameat2(AT_FDCWD, a, AT_FDCWD, b, RENAME_EXCHANGE) == 0)
        return true;
    // File systems without the exchange: three renames through a free name
    // beside a.
    const Tstring spare = uniqueFileName(Tstring(a) + ".swap");
    if (::rename(a, spare.asC()) != 0)
        return false;
    if (::rename(b, a) != 0) {
        ::rename(spare.asC(), a);
        return false;
    }
    return ::rename(spare.asC(), b) == 0;
}

bool TfileManager::remove(const char* path) { return path && ::remove(path) == 0; }

bool TfileManager::removeAll(const char* path) {
    if (!path || !*path)
        return false;
    std::error_code ec;
    std::filesystem::remove_all(path, ec);
    return !ec && !exists(path);
}

bool TfileManager::mkdir(const char* path) {
    if (!path || !*path)
        return false;
    std::error_code ec;
    std::filesystem::create_directories(path, ec);
    return std::filesystem::is_directory(path, ec);
}

bool TfileManager::createNewEmpty(const char* path) {
    if (!path)
        return false;
    const int fd = ::open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0)
        return false;
    return ::close(fd) == 0;
}

Tint64 TfileManager::fileSize(const char* path) {
    struct stat st;
    if (!path || ::stat(path, &st) != 0 || !S_ISREG(st.st_mode))
        return -1;
    return static_cast<Tint64>(st.st_size);
}

Tstring TfileManager::uniqueFileName(const char* name) {
    const Tstring base(name);
    if (!exists(base.asC()))
        return base;
    for (TuInt32 i = 0;; ++i) {
        Tstring candidate = base + Tstring::cformatString("-%u", i);
        if (!exists(candidate.asC()))
            return candidate;
    }
}
