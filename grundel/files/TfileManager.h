#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"
#include "grundel/core/Ttypes.h"
#include "grundel/files/TundoFile.h"

class TdebugOutput;

/// An undo store for user files. Before a command overwrites or deletes a
/// file it asks storeUndo() for a copy in the undo directory; undoing the
/// command copies it back with restoreUndo(). The store is bounded by a total
/// size in bytes and by a number of versions per file, and throws the oldest
/// versions away first. The versions stored between openUndoChunk() and
/// closeUndoChunk() share one version number, so one command's files are
/// trimmed together.
///
/// Trimming by size (storeUndo making room) deletes whole entries from the
/// oldest on and then the rest of the group it cut into, and keeps one old
/// quirk on purpose: the first entry kept is compared but may be dropped from
/// the list with its file left on disk and its size still counted, while the
/// last entry of the cut group loses its file and size but may stay listed.
/// Sizes subtracted twice that way stop at 0. sanityCheck() reports the
/// difference.
///
/// Undo files are named "undo-<pid>_<n>" in the undo directory, n a
/// process-wide counter, so several managers may share a directory. The
/// destructor leaves the undo files in place (flush() removes them). One
/// manager is used by one thread at a time; the static operations are safe
/// from any thread.
class GRUNDEL_API TfileManager {
public:
    /// Makes the undo directory (with its parents) when missing. When it
    /// cannot be made both limits become 0 and every store is refused.
    TfileManager(const Tstring& undoDirectory, TuInt32 sizeLimit, TuInt32 versionLimit);
    TfileManager(const TfileManager&) = delete;
    TfileManager& operator=(const TfileManager&) = delete;
    /// Forgets the list; the undo files stay on disk.
    virtual ~TfileManager();

    /// Copies file into the store and sets undoName to the copy's path.
    /// False, storing nothing, for a missing or empty file or a directory;
    /// false, and every stored version of file dropped, when the file is 4 GiB
    /// or larger, larger than the size limit, or cannot be copied.
    [[nodiscard]] bool storeUndo(const Tstring& file, Tstring& undoName);
    /// Copies the stored version undoName back over file through a temporary
    /// file and one rename (file is whole, old or new, at every moment).
    /// False when the copy fails; file is then unchanged. The entry stays.
    [[nodiscard]] bool restoreUndo(const Tstring& undoName, const Tstring& file);
    /// Drops the newest stored version of file (its undo file is removed).
    void removeUndoFile(const Tstring& file);
    /// True when the undo file exists with a size above 0.
    bool isUndoStillValid(const Tstring& undoName) const;

    /// From now until closeUndoChunk every stored version gets the same
    /// version number.
    void openUndoChunk() noexcept { fChunkOpen = true; }
    /// Ends the chunk: the next store starts a new version number.
    void closeUndoChunk() noexcept;
    /// Removes every stored version (files and entries); the total becomes 0.
    void flush();
    /// Writes the limits, the total and one line per entry to out (standard
    /// error by default).
    void print(TdebugOutput* out = nullptr) const;
    /// True when every listed undo file exists with its recorded size, the
    /// version numbers never decrease along the list, and the total equals
    /// the sum of the listed sizes. Each problem is written to out when given.
    bool sanityCheck(TdebugOutput* out = nullptr) const;

    /// Reports each store and removal on standard error.
    void setVerbose(bool verbose) noexcept { fVerbose = verbose; }

    TuInt32 sizeLimit() const noexcept { return fSizeLimit; }
    TuInt32 versionLimit() const noexcept { return fVersionLimit; }
    TuInt32 totalSize() const noexcept { return fTotalSize; }
    TuInt32 currentVersion() const noexcept { return fCurrentVersion; }
    /// The stored versions, oldest first.
    const TundoFileArray& entries() const noexcept { return fEntries; }

    /// Deletes the versions of file beyond the newest keep - 1 (keep = 0
    /// deletes all), so that one more makes keep.
    void removeUndoVersions(const Tstring& file, TuInt32 keep);
    /// Makes room for size more bytes by deleting the oldest entries, then the
    /// rest of the group cut into (see the class comment). False, deleting
    /// nothing, when size exceeds the size limit.
    bool freeSpace(TuInt32 size);

    // -- File operations -----------------------------------------------------
    // Each is given for Tstring and for C strings; true means it worked.

    /// Copies from over to (replacing it) with from's permission bits.
    [[nodiscard]] static bool copy(const char* from, const char* to);
    [[nodiscard]] static bool copy(const Tstring& from, const Tstring& to) { return copy(from.asC(), to.asC()); }
    /// Renames from to to, replacing to; across file systems a copy and a
    /// removal.
    [[nodiscard]] static bool rename(const char* from, const char* to);
    [[nodiscard]] static bool rename(const Tstring& from, const Tstring& to) { return rename(from.asC(), to.asC()); }
    /// Exchanges the names of two existing files.
    [[nodiscard]] static bool swap(const char* a, const char* b);
    [[nodiscard]] static bool swap(const Tstring& a, const Tstring& b) { return swap(a.asC(), b.asC()); }
    /// Removes one file (or empty directory).
    static bool remove(const char* path);
    static bool remove(const Tstring& path) { return remove(path.asC()); }
    /// Removes path and, for a directory, everything below it. True when
    /// nothing of that name is left.
    static bool removeAll(const char* path);
    static bool removeAll(const Tstring& path) { return removeAll(path.asC()); }
    /// Makes the directory and its missing parents; true when it exists as a
    /// directory afterwards.
    static bool mkdir(const char* path);
    static bool mkdir(const Tstring& path) { return mkdir(path.asC()); }
    /// Creates a new empty file; false when the name exists already.
    [[nodiscard]] static bool createNewEmpty(const char* path);
    [[nodiscard]] static bool createNewEmpty(const Tstring& path) { return createNewEmpty(path.asC()); }
    /// The size in bytes of a file (links followed); -1 when it is missing or
    /// not a regular file.
    static Tint64 fileSize(const char* path);
    static Tint64 fileSize(const Tstring& path) { return fileSize(path.asC()); }
    /// name when nothing of that name exists; otherwise name followed by "-0",
    /// "-1", ..., the first that does not exist.
    static Tstring uniqueFileName(const char* name);
    static Tstring uniqueFileName(const Tstring& name) { return uniqueFileName(name.asC()); }

private:
    void deleteEntryFile(const TundoFile& entry);
    void removeEntries(TuInt32 at, TuInt32 count);

    Tstring fNameTemplate;
    TuInt32 fSizeLimit;
    TuInt32 fVersionLimit;
    TundoFileArray fEntries;
    TuInt32 fTotalSize = 0;
    TuInt32 fCurrentVersion = 0;
    bool fChunkOpen = false;
    bool fVerbose = false;
};
