#include "grundel/iff/FLerror.h"

#include "grundel/iff/FLmessages_p.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

namespace {

// One error variable for the whole library; atomic so that files used on
// different threads do not race on it.
std::atomic<int> gError{0};
std::atomic<int> gOsError{0};
std::atomic<int> gSavedOsError{0};

std::mutex gProgramNameLock;
std::string gProgramName;

} // namespace

int FLerror() noexcept { return gError.load(std::memory_order_relaxed); }

int FLseterror(int code) noexcept {
    gError.store(code, std::memory_order_relaxed);
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

int FLoserror() noexcept { return gOsError.load(std::memory_order_relaxed); }
void FLsetoserror(int error) noexcept { gOsError.store(error, std::memory_order_relaxed); }
void FLpushoserror() noexcept { gSavedOsError.store(FLoserror(), std::memory_order_relaxed); }
void FLpoposerror() noexcept { FLsetoserror(gSavedOsError.load(std::memory_order_relaxed)); }
