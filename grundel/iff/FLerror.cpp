#include "grundel/iff/FLerror.h"

#include "grundel/iff/FLmessages_p.h"

#include <csignal>
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

Tstring FLgetprogname() {
    std::lock_guard<std::mutex> guard(gProgramNameLock);
    return Tstring(gProgramName.c_str());
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

namespace {

// The table's row (0 to 31) of a Linux signal, -1 for none. The table
// follows an older numbering, so it is never indexed by the Linux number.
int signalRow(int n) noexcept {
    switch (n) {
    case SIGHUP: return 0;
    case SIGINT: return 1;
    case SIGQUIT: return 2;
    case SIGILL: return 3;
    case SIGTRAP: return 4;
    case SIGABRT: return 5;
    case SIGFPE: return 7;
    case SIGKILL: return 8;
    case SIGBUS: return 9;
    case SIGSEGV: return 10;
    case SIGSYS: return 11;
    case SIGPIPE: return 12;
    case SIGALRM: return 13;
    case SIGTERM: return 14;
    case SIGUSR1: return 15;
    case SIGUSR2: return 16;
    case SIGCHLD: return 17;
    case SIGPWR: return 18;
    case SIGSTOP: return 19;
    case SIGTSTP: return 20;
    case SIGIO: return 22; // also SIGPOLL
    case SIGURG: return 23;
    case SIGWINCH: return 24;
    case SIGVTALRM: return 25;
    case SIGPROF: return 26;
    case SIGCONT: return 27;
    case SIGTTIN: return 28;
    case SIGTTOU: return 29;
    case SIGXCPU: return 30;
    case SIGXFSZ: return 31;
    default: return -1;
    }
}

} // namespace

const char* FLstrsignal(int n) noexcept {
    const int row = signalRow(n);
    return row >= 0 ? grundel::detail::kSignalNames[row] : "unknown signal";
}

int FLoserror() noexcept { return gOsError; }
void FLsetoserror(int error) noexcept { gOsError = error; }
void FLpushoserror() noexcept { gSavedOsError = gOsError; }
void FLpoposerror() noexcept { gOsError = gSavedOsError; }
