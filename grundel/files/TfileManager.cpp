#include "grundel/files/TfileManager.h"

#include "grundel/core/TdebugOutput.h"
#include "grundel/files/TfileSync_p.h"
#include "grundel/files/TsafeFileSave.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

namespace {

// Numbers the undo files of the process; reserved before each copy so that
// concurrent managers never pick the same name.
std::atomic<TuInt32> gUndoFileCount{0};

constexpr Tint64 kMaxSourceSize = Tint64(1) << 32;

TdebugOutput& orStandardError(TdebugOutput* out) { return out ? *out : TdebugOutput::sStandardError(); }

} // namespace

TfileManager::TfileManager(const Tstring& undoDirectory, TuInt32 sizeLimit, TuInt32 versionLimit)
    : fSizeLimit(sizeLimit), fVersionLimit(versionLimit) {
    fNameTemplate = undoDirectory;
    if (fNameTemplate.isEmpty() || fNameTemplate[fNameTemplate.length() - 1] != '/')
        fNameTemplate += '/';
    fNameTemplate += "undo-^1d_^2d";
    if (undoDirectory.isEmpty() || !mkdir(undoDirectory)) {
        fSizeLimit = 0;
        fVersionLimit = 0;
    }
}

TfileManager::~TfileManager() = default;

void TfileManager::deleteEntryFile(const TundoFile& entry) {
    remove(entry.fUndoName);
    fTotalSize = entry.fSize > fTotalSize ? 0 : fTotalSize - entry.fSize;
    if (fVerbose)
        TdebugOutput::sStandardError().printf("undo: removed %s (%u bytes) of %s\n", entry.fUndoName.asC(),
                                              entry.fSize, entry.fSourceName.asC());
}

void TfileManager::removeEntries(TuInt32 at, TuInt32 count) {
    // removeAt takes one element at the last position whatever the count.
    if (count > 0 && at < fEntries.length())
        fEntries.removeAt(at, count);
}

bool TfileManager::storeUndo(const Tstring& file, Tstring& undoName) {
    undoName.clear();
    const Tint64 size = fileSize(file);
    if (size <= 0)
        return false;
    if (size >= kMaxSourceSize) {
        removeUndoVersions(file, 0);
        return false;
    }
    const TuInt32 size32 = static_cast<TuInt32>(size);
    removeUndoVersions(file, fVersionLimit);
    if (!freeSpace(size32)) {
        removeUndoVersions(file, 0);
        return false;
    }
    const TuInt32 number = gUndoFileCount.fetch_add(1, std::memory_order_relaxed);
    Tstring name = fNameTemplate;
    name.substitute("^1d", Tstring::cformatString("%d", static_cast<int>(::getpid())).asC());
    name.substitute("^2d", Tstring::cformatString("%u", number).asC());
    if (!copy(file, name)) {
        remove(name);
        removeUndoVersions(file, 0);
        return false;
    }
    TundoFile entry;
    entry.fUndoName = name;
    entry.fSourceName = file;
    entry.fSize = size32;
    entry.fVersion = fCurrentVersion;
    fEntries.addLast(entry);
    fTotalSize += size32;
    if (!fChunkOpen)
        ++fCurrentVersion;
    if (fVerbose)
        TdebugOutput::sStandardError().printf("undo: stored %s as %s (%u bytes, version %u)\n", file.asC(),
                                              name.asC(), size32, entry.fVersion);
    undoName = name;
    return true;
}

bool TfileManager::restoreUndo(const Tstring& undoName, const Tstring& file) {
    const int in = ::open(undoName.asC(), O_RDONLY | O_CLOEXEC);
    if (in < 0)
        return false;
    TsafeFileSave save(file);
    bool ok = save.setupForWrite();
    std::vector<char> buffer(1 << 16);
    while (ok) {
        const ssize_t n = ::read(in, buffer.data(), buffer.size());
        if (n == 0)
            break;
        if (n < 0) {
            if (errno == EINTR)
                continue;
            ok = false;
            break;
        }
        ok = grundel::detail::writeAll(save.fileDescriptor(), buffer.data(), static_cast<std::size_t>(n));
    }
    ::close(in);
    return ok && save.commitChanges();
}

void TfileManager::removeUndoFile(const Tstring& file) {
    for (TuInt32 i = fEntries.length(); i-- > 0;) {
        if (fEntries[i].fSourceName == file) {
            deleteEntryFile(fEntries[i]);
            removeEntries(i, 1);
            return;
        }
    }
}

bool TfileManager::isUndoStillValid(const Tstring& undoName) const { return fileSize(undoName) > 0; }

void TfileManager::closeUndoChunk() noexcept {
    if (fChunkOpen)
        ++fCurrentVersion;
    fChunkOpen = false;
}

void TfileManager::removeUndoVersions(const Tstring& file, TuInt32 keep) {
    TuInt32 count = 0;
    for (TuInt32 i = fEntries.length(); i-- > 0;) {
        if (!(fEntries[i].fSourceName == file))
            continue;
        if (++count >= keep) {
            deleteEntryFile(fEntries[i]);
            removeEntries(i, 1);
        }
    }
}

bool TfileManager::freeSpace(TuInt32 size) {
    if (size > fSizeLimit)
        return false;
    auto fits = [&] { return fTotalSize <= fSizeLimit && size <= fSizeLimit - fTotalSize; };
    if (fits())
        return true;
    const TuInt32 n = fEntries.length();
    TuInt32 k = 0;
    while (k < n && !fits())
        deleteEntryFile(fEntries[k++]);
    if (k == n) {
        // Nothing left to delete: the store is empty, whatever the total said.
        fEntries.reset();
        fTotalSize = 0;
        return true;
    }
    // Trim the rest of the group that was cut into (see the class comment
    // for what this does to entries k and j - 1).
    const TuInt32 version = fEntries[k].fVersion;
    TuInt32 j = k + 1;
    while (j < n && fEntries[j].fVersion == version)
        deleteEntryFile(fEntries[j++]);
    if (j < n)
        removeEntries(0, j - 1);
    else
        fEntries.reset();
    return true;
}

void TfileManager::flush() {
    for (const TundoFile& entry : fEntries)
        deleteEntryFile(entry);
    fEntries.reset();
    fTotalSize = 0;
}

void TfileManager::print(TdebugOutput* out) const {
    TdebugOutput& o = orStandardError(out);
    o.printf("undo store %s: %u of %u bytes, %u versions per file, version %u%s, %u entries\n",
             fNameTemplate.directoryPath().asC(), fTotalSize, fSizeLimit, fVersionLimit, fCurrentVersion,
             fChunkOpen ? " (chunk open)" : "", fEntries.length());
    for (const TundoFile& e : fEntries)
        o.printf("  version %u: %s <- %s (%u bytes)\n", e.fVersion, e.fUndoName.asC(), e.fSourceName.asC(),
                 e.fSize);
}

bool TfileManager::sanityCheck(TdebugOutput* out) const {
    bool ok = true;
    TuInt64 sum = 0;
    TuInt32 lastVersion = 0;
    for (const TundoFile& e : fEntries) {
        sum += e.fSize;
        const Tint64 size = fileSize(e.fUndoName);
        if (size != Tint64(e.fSize)) {
            ok = false;
            if (out)
                out->printf("undo store: %s has %lld bytes, %u expected\n", e.fUndoName.asC(),
                            static_cast<long long>(size), e.fSize);
        }
        if (e.fVersion < lastVersion) {
            ok = false;
            if (out)
                out->printf("undo store: version %u of %s follows version %u\n", e.fVersion, e.fUndoName.asC(),
                            lastVersion);
        }
        lastVersion = e.fVersion;
    }
    if (sum != fTotalSize) {
        ok = false;
        if (out)
            out->printf("undo store: total %u, entries hold %llu bytes\n", fTotalSize,
                        static_cast<unsigned long long>(sum));
    }
    return ok;
}
