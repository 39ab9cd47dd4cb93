#include "grundel/iff/FLsignal.h"

#include "grundel/iff/FLerror.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <unistd.h>

namespace {

constexpr int kIntSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};
constexpr int kCoreSignals[] = {SIGILL, SIGTRAP, SIGABRT, SIGFPE, SIGBUS, SIGSEGV, SIGSYS, SIGXCPU, SIGXFSZ};
constexpr int kOtherSignals[] = {SIGPIPE, SIGALRM, SIGUSR1, SIGUSR2, SIGVTALRM, SIGPROF, SIGIO, SIGPWR, SIGSTKFLT};

std::atomic<FLsignalfunc> gFunction{nullptr};
std::atomic<bool> gSilent{false};

// The program name as it was when a catcher was installed: the handler
// cannot take the lock that guards the live one.
char gProgramName[256];
std::atomic<size_t> gProgramNameLength{0};

size_t append(char* buffer, size_t at, size_t size, const char* text) noexcept {
    while (*text && at < size)
        buffer[at++] = *text++;
    return at;
}

void onSignal(int signal) {
    const int savedErrno = errno;
    if (FLsignalfunc function = gFunction.load())
        function(signal);
    if (!gSilent.load()) {
        char message[sizeof gProgramName + 64];
        size_t length = 0;
        const size_t nameLength = gProgramNameLength.load();
        if (nameLength) {
            std::memcpy(message, gProgramName, nameLength);
            length = append(message, nameLength, sizeof message - 1, ": ");
        }
        length = append(message, length, sizeof message - 1, FLstrsignal(signal));
        message[length++] = '\n';
        ssize_t ignored = ::write(STDERR_FILENO, message, length);
        (void)ignored;
    }
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
    // Still blocked inside this handler: delivered, with the default
    // action, as soon as the handler returns.
    ::raise(signal);
    errno = savedErrno;
}

void keepProgramName() noexcept {
    const Tstring name = FLgetprogname();
    size_t length = name.length();
    if (length > sizeof gProgramName - 1)
        length = sizeof gProgramName - 1;
    gProgramNameLength.store(0);
    std::memcpy(gProgramName, name.asC(), length);
    gProgramNameLength.store(length);
}

template <size_t N>
int install(const int (&signals)[N]) noexcept {
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_ONSTACK | SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (int signal : signals) {
        if (::sigaction(signal, &action, nullptr) != 0) {
            FLsetoserror(errno);
            return FLseterror(kFLio), -1;
        }
    }
    return 0;
}

int installAll() noexcept {
    keepProgramName();
    if (install(kIntSignals) || install(kCoreSignals) || install(kOtherSignals))
        return -1;
    return 0;
}

} // namespace

int FLcatchint() noexcept {
    keepProgramName();
    gSilent.store(false);
    return install(kIntSignals);
}

int FLcatchcore() noexcept {
    keepProgramName();
    gSilent.store(false);
    return install(kCoreSignals);
}

int FLcatchall() noexcept {
    gSilent.store(false);
    return installAll();
}

int FLsilentcatch() noexcept {
    gSilent.store(true);
    return installAll();
}

FLsignalfunc FLcatchfunc(FLsignalfunc func) noexcept { return gFunction.exchange(func); }
