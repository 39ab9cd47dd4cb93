#include "grundel/iff/FLprocess.h"

#include "grundel/iff/FLerror.h"
#include "grundel/iff/FLmemory.h"
#include "grundel/iff/FLpath.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

extern char** environ;

namespace {

int systemFailure(int error) noexcept {
    FLsetoserror(error);
    FLseterror(kFLio);
    return -1;
}

int statusOf(int status) noexcept {
    if (WIFEXITED(status))
        return WEXITSTATUS(status);
    if (WIFSIGNALED(status))
        return 128 + WTERMSIG(status);
    return -1;
}

// Closes a descriptor once, when set.
class Fd {
public:
    Fd() = default;
    ~Fd() { reset(); }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    int get() const noexcept { return fFd; }
    int* set() noexcept { return &fFd; }
    int release() noexcept { return std::exchange(fFd, -1); }
    void reset() noexcept {
        if (fFd >= 0)
            ::close(fFd);
        fFd = -1;
    }

private:
    int fFd = -1;
};

bool makePipe(Fd& readEnd, Fd& writeEnd) noexcept {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return false;
    *readEnd.set() = ends[0];
    *writeEnd.set() = ends[1];
    return true;
}

// Starts program (a full path) with argv, its standard input and output
// taken from childIn / childOut when they are set. Returns the pid, or -1
// with the code set.
int start(const char* program, const char* const argv[], int childIn, int childOut) noexcept {
    posix_spawn_file_actions_t actions;
    if (int error = posix_spawn_file_actions_init(&actions))
        return systemFailure(error);
    int error = 0;
    if (childIn >= 0)
        error = posix_spawn_file_actions_adddup2(&actions, childIn, STDIN_FILENO);
    if (!error && childOut >= 0)
        error = posix_spawn_file_actions_adddup2(&actions, childOut, STDOUT_FILENO);
    pid_t pid = -1;
    if (!error)
        error = posix_spawn(&pid, program, &actions, nullptr, const_cast<char* const*>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    return error ? systemFailure(error) : static_cast<int>(pid);
}

int startProgram(const char* const argv[], int childIn, int childOut) {
    if (!argv || !argv[0] || !argv[0][0])
        return FLseterror(kFLbadCall), -1;
    const Tstring program = FLfindcmd(argv[0]);
    if (program.isEmpty())
        return FLseterror(kFLnoFilter), -1;
    return start(program.asC(), argv, childIn, childOut);
}

int startShell(const char* command, int childIn, int childOut) noexcept {
    if (!command || !*command)
        return FLseterror(kFLbadCall), -1;
    const char* const argv[] = {"sh", "-c", command, nullptr};
    return start("/bin/sh", argv, childIn, childOut);
}

// The streams FLpopen handed out, with their children.
std::mutex gStreamsLock;
std::vector<std::pair<std::FILE*, pid_t>> gStreams;

// While alive, SIGPIPE raised by this thread's writes to a pipe whose
// reader has gone is held back and then discarded; the write sees EPIPE.
class PipeSignalGuard {
public:
    PipeSignalGuard() noexcept {
        sigemptyset(&fSet);
        sigaddset(&fSet, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        fWasPending = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &fSet, &fOld);
    }
    ~PipeSignalGuard() {
        if (!fWasPending) {
            const timespec zero{};
            while (sigtimedwait(&fSet, nullptr, &zero) == SIGPIPE) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &fOld, nullptr);
    }

private:
    sigset_t fSet;
    sigset_t fOld;
    bool fWasPending = false;
};

} // namespace

int FLwait(int pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR)
            return systemFailure(errno);
    }
    return statusOf(status);
}

int FLsystem(const char* command) {
    const int pid = startShell(command, -1, -1);
    return pid < 0 ? -1 : FLwait(pid);
}

int FLexec(const char* const argv[]) {
    const int pid = startProgram(argv, -1, -1);
    return pid < 0 ? -1 : FLwait(pid);
}

int FLspawn(const char* const argv[]) { return startProgram(argv, -1, -1); }

std::FILE* FLpopen(const char* command, const char* mode) {
    if (!mode || (mode[0] != 'r' && mode[0] != 'w') || mode[1]) {
        FLseterror(kFLbadMode);
        return nullptr;
    }
    if (!command || !*command) {
        FLseterror(kFLbadCall);
        return nullptr;
    }
    const bool reading = mode[0] == 'r';
    Fd readEnd, writeEnd;
    if (!makePipe(readEnd, writeEnd)) {
        systemFailure(errno);
        return nullptr;
    }
    const int pid = reading ? startShell(command, -1, writeEnd.get()) : startShell(command, readEnd.get(), -1);
    if (pid < 0)
        return nullptr;
    (reading ? writeEnd : readEnd).reset();
    Fd& ours = reading ? readEnd : writeEnd;
    std::FILE* stream = ::fdopen(ours.get(), mode);
    if (stream) {
        ours.release();
        try {
            std::lock_guard<std::mutex> guard(gStreamsLock);
            gStreams.emplace_back(stream, pid);
            return stream;
        } catch (...) {
            std::fclose(stream);
            FLwait(pid);
            FLseterror(kFLnoMemory);
            return nullptr;
        }
    }
    const int error = errno;
    ours.reset();
    FLwait(pid);
    systemFailure(error);
    return nullptr;
}

int FLpclose(std::FILE* stream) {
    pid_t pid = -1;
    {
        std::lock_guard<std::mutex> guard(gStreamsLock);
        for (auto it = gStreams.begin(); it != gStreams.end(); ++it) {
            if (it->first == stream) {
                pid = it->second;
                gStreams.erase(it);
                break;
            }
        }
    }
    if (pid < 0)
        return FLseterror(kFLbadCall), -1;
    std::fclose(stream);
    return FLwait(pid);
}

int FLfilter(const char* const argv[], const void* input, size_t length, char** output, size_t* outputLength) {
    if (output)
        *output = nullptr;
    if (outputLength)
        *outputLength = 0;
    if (!output || !outputLength || (length && !input))
        return FLseterror(kFLbadCall), -1;
    Fd inRead, inWrite, outRead, outWrite;
    if (!makePipe(inRead, inWrite) || !makePipe(outRead, outWrite))
        return systemFailure(errno);
    const int pid = startProgram(argv, inRead.get(), outWrite.get());
    if (pid < 0)
        return -1;
    inRead.reset();
    outWrite.reset();
    ::fcntl(inWrite.get(), F_SETFL, O_NONBLOCK);

    const auto* bytes = static_cast<const unsigned char*>(input);
    size_t written = 0;
    char* buffer = nullptr;
    size_t capacity = 0;
    size_t held = 0;
    bool failed = false;
    int error = 0;
    {
        PipeSignalGuard guard;
        if (written == length)
            inWrite.reset();
        while (outRead.get() >= 0) {
            pollfd fds[2] = {{outRead.get(), POLLIN, 0}, {inWrite.get(), POLLOUT, 0}};
            const nfds_t count = inWrite.get() >= 0 ? 2 : 1;
            if (::poll(fds, count, -1) < 0) {
                if (errno == EINTR)
                    continue;
                error = errno;
                break;
            }
            if (count == 2 && fds[1].revents) {
                const ssize_t n = ::write(inWrite.get(), bytes + written, length - written);
                if (n > 0)
                    written += static_cast<size_t>(n);
                else if (n < 0 && errno != EAGAIN && errno != EINTR)
                    written = length; // the program stopped reading (EPIPE)
                if (written == length)
                    inWrite.reset();
            }
            if (fds[0].revents) {
                char* grown = static_cast<char*>(FLgrow(buffer, &capacity, held + 65536 + 1));
                if (!grown) {
                    failed = true;
                    break;
                }
                buffer = grown;
                const ssize_t n = ::read(outRead.get(), buffer + held, capacity - held - 1);
                if (n > 0)
                    held += static_cast<size_t>(n);
                else if (n == 0 || (errno != EINTR && errno != EAGAIN))
                    outRead.reset();
            }
        }
        // Closing both pipes first lets a program still writing or reading end.
        inWrite.reset();
        outRead.reset();
    }
    const int status = FLwait(pid);
    if (failed || error) {
        FLfree(buffer);
        if (failed)
            return FLseterror(kFLnoMemory), -1;
        return systemFailure(error);
    }
    if (!buffer && !(buffer = static_cast<char*>(FLmalloc(1))))
        return FLseterror(kFLnoMemory), -1;
    buffer[held] = '\0';
    *output = buffer;
    *outputLength = held;
    return status;
}
