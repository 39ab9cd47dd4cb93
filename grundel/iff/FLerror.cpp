#include "grundel/iff/FLerror.h"

#include "grundel/iff/FLmessages_p.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

namespace {

// The error variables belong to each thread: two threads working on two
// files never see each other's codes.
thread_local int gError = 0;
thread_local int gOsError = 0;
thread_local int gSavedOsError = 0;

std::mutex gProgramNameLock;
std::string gProgramName;

} // namespace

int FLerror() noexcept { return gError; }

int FLseterror(int code) noexcept {
    gError = code;
    return code;
}

const char* FLstrerror(int code) noexcept {
    if (code == kFLio) {
        thread_local char buffer[256];
        const int os = FLoserror();
        return os ? strerror_r(os, buffer, sizeof buffer) : "IO error";
    }
    for (const auto& message : grundel::detail::kMessages)
        if (message.code == code)
            return message.text;
    return "unknown error code";
}

void FLperror(const char* prefix) noexcept {
    const int code = FLerror();
    if (prefix)
        std::fprintf(stderr, "%s : (%d) %s\n", prefix, code, FLstrerror(code));
    else
        std::fprintf(stderr, "Error %d : %s\n", code, FLstrerror(code));
}

void FLsetprogname(const char* name) noexcept {
    std::lock_guard<std::mutex> guard(gProgramNameLock);
    try {
        gProgramName = name ? name : "";
    } catch (...) {
        gProgramName.clear();
    }
}

void FLprgerror(const char* fileName) noexcept {
    if (FLerror() == 0)
        return;
    {
        std::lock_guard<std::mutex> guard(gProgramNameLock);
        if (!gProgramName.empty())
            std::fprintf(stderr, "%s%s", gProgramName.c_str(), fileName ? ", file " : " : ");
    }
    if (!fileName) {
        FLperror(nullptr);
        return;
    }
    const char* slash = std::strrchr(fileName, '/');
    FLperror(slash ? slash + 1 : fileName);
}

const char* FLstrsignal(int n) noexcept {
    return n >= 1 && n <= 32 ? grundel::detail::kSignalNames[n - 1] : "unknown signal";
}

int FLoserror() noexcept { return gOsError; }
void FLsetoserror(int error) noexcept { gOsError = error; }
void FLpushoserror() noexcept { gSavedOsError = gOsError; }
void FLpoposerror() noexcept { gOsError = gSavedOsError; }
