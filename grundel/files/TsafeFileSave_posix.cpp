#include "grundel/files/TsafeFileSave.h"

#include "grundel/files/TfileSync_p.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

using namespace grundel::detail;

namespace {

// Name clashes are rare (six random characters); this only bounds a loop
// against a directory that refuses every name with EEXIST.
constexpr int kCreateAttempts = 100;

bool fsyncRetrying(int fd) noexcept {
    int rc;
    do
        rc = ::fsync(fd);
    while (rc != 0 && errno == EINTR);
    return rc == 0;
}

} // namespace

TsafeFileSave::TsafeFileSave(const Tstring& path) : fPath(path) {}

TsafeFileSave::~TsafeFileSave() { abortWrite(); }

bool TsafeFileSave::isFileWritable() const {
    if (fPath.isEmpty())
        return false;
    const Tstring target = followLinks(fPath);
    struct stat st;
    if (::stat(target.asC(), &st) != 0)
        return errno == ENOENT;
    return S_ISREG(st.st_mode) && ::access(target.asC(), W_OK) == 0;
}

bool TsafeFileSave::setupForWrite() {
    if (fPath.isEmpty() || !fTempPath.isEmpty() || fDescriptor >= 0 || !isFileWritable())
        return false;
    fWritePath = followLinks(fPath);
    Tstring name;
    for (int attempt = 0; attempt < kCreateAttempts; ++attempt) {
        char suffix[6];
        randomSuffix(suffix);
        name = fWritePath;
        name.catenate(suffix, 6);
        const int fd = ::open(name.asC(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            fDescriptor = fd;
            break;
        }
        if (errno != EEXIST && errno != EINTR)
            return false;
    }
    if (fDescriptor < 0)
        return false;
    fTempPath = name;
    fOwnsTemp = true;
    fMode = kDescriptor;
    struct stat st;
    fTargetExisted = ::stat(fWritePath.asC(), &st) == 0;
    fPermissions = fTargetExisted ? (st.st_mode & 0777) : 0;
    return true;
}

int TsafeFileSave::fileDescriptor() {
    fMode = kDescriptor;
    return fDescriptor;
}

std::FILE* TsafeFileSave::filePointer() {
    fMode = kPointer;
    if (!fFile && fDescriptor >= 0)
        fFile = ::fdopen(fDescriptor, "w");
    return fFile;
}

std::ofstream* TsafeFileSave::fileStream() {
    if (!fOwnsTemp)
        return nullptr;
    fMode = kStream;
    if (!fStream) {
        closeWriters();
        // std::ofstream creates nothing new here (the file exists), so its
        // 0666 creation mode never applies.
        fStream.reset(new std::ofstream(fTempPath.asC(), std::ios::out | std::ios::binary));
        if (!fStream->is_open()) {
            fStream.reset();
            return nullptr;
        }
    }
    return fStream.get();
}

void TsafeFileSave::closeWriters() noexcept {
    if (fFile) {
        std::fclose(fFile); // closes fDescriptor too
        fFile = nullptr;
        fDescriptor = -1;
    }
    if (fDescriptor >= 0) {
        ::close(fDescriptor);
        fDescriptor = -1;
    }
    if (fStream) {
        fStream->close();
        fStream.reset();
    }
}

bool TsafeFileSave::commitChanges() {
    if (!fOwnsTemp)
        return false;
    int fd = -1;
    if (fMode == kStream || fStream) {
        // Once a stream is handed out it holds the only handle: close it,
        // then reopen the path to give it the permission bits and sync it.
        if (!fStream)
            return false;
        fStream->flush();
        const bool written = fStream->good();
        fStream->close();
        const bool closed = !fStream->fail();
        fStream.reset();
        if (!written || !closed)
            return false;
        fd = ::open(fTempPath.asC(), O_WRONLY | O_CLOEXEC);
        if (fd < 0)
            return false;
    } else {
        if (fDescriptor < 0)
            return false;
        if (fFile && std::fflush(fFile) != 0)
            return false;
        fd = fDescriptor;
    }
    bool ok = !fTargetExisted || ::fchmod(fd, fPermissions) == 0;
    ok = ok && fsyncRetrying(fd);
    // Closing releases the descriptor even on failure; its result can still
    // report a late write error (on network file systems).
    int closed;
    if (fFile) {
        closed = std::fclose(fFile);
        fFile = nullptr;
    } else {
        closed = ::close(fd);
    }
    if (fd == fDescriptor)
        fDescriptor = -1;
    if (!ok || closed != 0)
        return false;

    // From here the temporary file is complete: whatever the rename does, it
    // is not ours to delete any more.
    fOwnsTemp = false;
    if (::rename(fTempPath.asC(), fWritePath.asC()) != 0)
        return false;
    fTempPath.clear();
    // The rename is done; a failed directory sync only weakens durability
    // across a crash, and the new file is in place either way.
    syncDirectoryOf(fWritePath);
    return true;
}

void TsafeFileSave::abortWrite() noexcept {
    closeWriters();
    if (fOwnsTemp) {
        ::unlink(fTempPath.asC());
        fTempPath.clear();
        fOwnsTemp = false;
    }
}
