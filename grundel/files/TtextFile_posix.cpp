#include "grundel/files/TtextFile_p.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace grundel::detail {

TextFileRead readTextFile(const char* path, std::size_t limit, std::string& text) {
    text.clear();
    const int fd = path ? ::open(path, O_RDONLY | O_CLOEXEC) : -1;
    if (fd < 0)
        return path && (errno == ENOENT || errno == ENOTDIR) ? TextFileRead::missing : TextFileRead::failed;
    struct stat st;
    bool ok = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && std::size_t(st.st_size) <= limit;
    std::size_t have = 0;
    if (ok) {
        // Room for one byte more than the file said, so that the end shows
        // without another read; growth stops one byte past the limit.
        text.resize(std::size_t(st.st_size) + 1);
        for (;;) {
            if (have == text.size()) {
                if (text.size() > limit) {
                    ok = false;
                    break;
                }
                text.resize(std::min(text.size() * 2, limit + 1));
            }
            const ssize_t n = ::read(fd, &text[have], text.size() - have);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0)
                ok = false;
            if (n <= 0)
                break;
            have += std::size_t(n);
        }
    }
    ::close(fd);
    text.resize(ok ? have : 0);
    return ok ? TextFileRead::ok : TextFileRead::failed;
}

} // namespace grundel::detail
