#include "grundel/iff/FLpath.h"

#include "grundel/core/VornEnv.h"

#include <atomic>
#include <cstring>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::mutex gLock;
Tstring gSearchPath;
Tstring gTmpDirectory;
std::atomic<unsigned> gTmpCounter{0};

bool isExecutableFile(const char* path) {
    struct stat st;
    return ::stat(path, &st) == 0 && S_ISREG(st.st_mode) && ::access(path, X_OK) == 0;
}

bool isReadableFile(const char* path) {
    struct stat st;
    return ::stat(path, &st) == 0 && S_ISREG(st.st_mode) && ::access(path, R_OK) == 0;
}

// The first directory of list (":"-separated) holding name that passes
// accept (by default: an executable file); returns the directory with a
// trailing "/" or empty. An empty entry stands for the current directory;
// with absoluteOnly, it and every relative entry are passed over.
Tstring searchIn(const Tstring& list, const char* name, bool absoluteOnly,
                 bool (*accept)(const char*) = isExecutableFile) {
    const char* p = list.asC();
    while (*p) {
        const char* end = std::strchr(p, ':');
        if (!end)
            end = p + std::strlen(p);
        Tstring directory(p, static_cast<unsigned int>(end - p));
        p = *end ? end + 1 : end;
        if (absoluteOnly && directory.asC()[0] != '/')
            continue;
        if (directory.isEmpty())
            directory = ".";
        if (directory[directory.length() - 1] != '/')
            directory += '/';
        if (accept((directory + name).asC()))
            return directory;
    }
    return Tstring();
}

Tstring libraryPath() {
    std::lock_guard<std::mutex> guard(gLock);
    return gSearchPath;
}

} // namespace

void FLsetpath(const char* path) {
    std::lock_guard<std::mutex> guard(gLock);
    gSearchPath = path;
}

void FLaddpath(const char* directory) {
    if (!directory || !*directory)
        return;
    std::lock_guard<std::mutex> guard(gLock);
    if (!gSearchPath.isEmpty())
        gSearchPath += ':';
    gSearchPath += directory;
}

Tstring FLgetpath() {
    std::lock_guard<std::mutex> guard(gLock);
    return gSearchPath;
}

Tstring FLfindcmd(const char* name) {
    if (!name || !*name)
        return Tstring();
    if (std::strchr(name, '/'))
        return isExecutableFile(name) ? Tstring(name) : Tstring();
    Tstring directory = searchIn(libraryPath(), name, false);
    if (directory.isEmpty())
        directory = searchIn(Tstring(VornGetEnv("PATH")), name, false);
    return directory.isEmpty() ? directory : directory + name;
}

Tstring FLfinddriver(const char* name) {
    if (!name || !*name || std::strchr(name, '/'))
        return Tstring();
    return searchIn(libraryPath(), name, true);
}

void FLsettmp(const char* directory) {
    std::lock_guard<std::mutex> guard(gLock);
    gTmpDirectory = directory;
}

Tstring FLtmpname(const char* prefix) {
    Tstring directory;
    {
        std::lock_guard<std::mutex> guard(gLock);
        directory = gTmpDirectory;
    }
    if (directory.isEmpty())
        directory = VornGetEnv("TMPDIR");
    if (directory.isEmpty())
        directory = "/tmp";
    for (;;) {
        const Tstring name = Tstring::cformatString("%s/%s%ld_%u", directory.asC(), prefix ? prefix : "fl",
                                                    static_cast<long>(::getpid()), gTmpCounter++);
        struct stat st;
        if (::lstat(name.asC(), &st) != 0)
            return name;
    }
}

const char* FLbasename(const char* path) noexcept {
    if (!path)
        return "";
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

Tstring FLfindfile(const char* name, const char* path) {
    if (!name || !*name)
        return Tstring();
    if (std::strchr(name, '/'))
        return isReadableFile(name) ? Tstring(name) : Tstring();
    const Tstring directory = searchIn(path ? Tstring(path) : libraryPath(), name, false, isReadableFile);
    return directory.isEmpty() ? directory : directory + name;
}

Tstring FLmakepath(const char* directory, const char* name, const char* extension) {
    Tstring path;
    if (directory && *directory && !(name && name[0] == '/')) {
        path = directory;
        if (path[path.length() - 1] != '/')
            path += '/';
    }
    if (name)
        path += name;
    if (extension && *extension) {
        if (extension[0] != '.')
            path += '.';
        path += extension;
    }
    return path;
}

const char* FLgetext(const char* path) noexcept {
    const char* component = FLbasename(path);
    while (*component == '.')
        ++component;
    const char* dot = std::strrchr(component, '.');
    return dot ? dot + 1 : component + std::strlen(component);
}

bool FLcheckext(const char* path, const char* extension) noexcept {
    if (!extension)
        extension = "";
    if (*extension == '.')
        ++extension;
    return std::strcmp(FLgetext(path), extension) == 0;
}
