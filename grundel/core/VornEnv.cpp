#include "grundel/core/VornEnv.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

const char* VornGetEnv(const char* name) noexcept {
    return name ? std::getenv(name) : nullptr;
}

int VornPutEnv(const char* assignment) noexcept {
    const char* eq = assignment ? std::strchr(assignment, '=') : nullptr;
    if (!eq || eq == assignment) {
        errno = EINVAL;
        return -1;
    }
    try {
        const std::string name(assignment, eq);
        if (eq[1] == '\0')
            return ::unsetenv(name.c_str());
        return ::setenv(name.c_str(), eq + 1, 1);
    } catch (...) {
        errno = ENOMEM;
        return -1;
    }
}
