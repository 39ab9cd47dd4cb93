#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"

#include <cstdio>
#include <iosfwd>
#include <memory>

/// Writes a file so that its old contents survive until the new contents are
/// complete on disk. The caller writes into a fresh temporary file beside the
/// target (same directory, so the final rename never crosses file systems);
/// commitChanges() syncs it and renames it over the target in one atomic
/// step, then syncs the directory. At every moment the target's name refers
/// either to the complete old file or to the complete new one. abortWrite(),
/// or destroying the object without a commit, removes the temporary file and
/// leaves the target untouched.
///
/// The caller writes through a descriptor (fileDescriptor), a FILE*
/// (filePointer) or an output file stream (fileStream); commitChanges()
/// flushes and closes whichever of them is open. Once fileStream() is called
/// the stream is the only way in: the descriptor is closed.
///
/// A target that is a symbolic link is resolved: the new file is written
/// beside the file the link points to and replaces that file, so the link
/// keeps pointing at the new contents. The new file takes the permission bits
/// (mode & 0777) of the file it replaces; a new target gets 0666 under the
/// umask. Owner and group become the saver's.
///
/// One object is used by one thread at a time; different objects may save to
/// the same target at once (each gets its own temporary name, and the last
/// commit wins).
class GRUNDEL_API TsafeFileSave {
public:
    /// Stores the path; nothing is opened.
    explicit TsafeFileSave(const Tstring& path);
    TsafeFileSave(const TsafeFileSave&) = delete;
    TsafeFileSave& operator=(const TsafeFileSave&) = delete;
    /// Calls abortWrite(): an uncommitted save never touches the target.
    virtual ~TsafeFileSave();

    /// False for an empty path. True when the target (after following
    /// symbolic links) does not exist, or is a regular file that this process
    /// may write. A directory, a device or a read-only file gives false.
    bool isFileWritable() const;

    /// Creates and opens the temporary file: the target's name followed by six
    /// random characters, created exclusively with mode 0666 under the umask
    /// (another name is tried when one is taken). False when the path is
    /// empty, the target is not writable (nothing is created then), a save is
    /// already set up, or the file cannot be created.
    [[nodiscard]] bool setupForWrite();

    /// The temporary file's descriptor (-1 before setupForWrite or after the
    /// descriptor was handed to a stream by fileStream). Writes go straight to
    /// the file.
    int fileDescriptor();
    /// A FILE* on the temporary file's descriptor, opened "w" on first use and
    /// the same on later calls. Null when nothing is open.
    std::FILE* filePointer();
    /// Closes the descriptor (and the FILE*, flushing it) and opens an output
    /// file stream on the temporary path, truncating it: write everything
    /// through the stream. Null when nothing is set up. The stream belongs to
    /// this object and lives until the commit, abort or destruction.
    std::ofstream* fileStream();

    /// Flushes the writer in use, gives the file the replaced target's
    /// permission bits, syncs it to disk, closes it, renames it over the
    /// target and syncs the directory. Returns true when the new file now
    /// stands under the target's name; the temporary name is then forgotten.
    ///
    /// False, with the target as it was, when nothing is set up, the save was
    /// already committed, or a flush, sync or close fails (the temporary file
    /// stays until abortWrite or destruction removes it). When the rename
    /// itself fails the complete new contents stay under temporaryPath(),
    /// which this object no longer removes: the caller decides what to do.
    [[nodiscard]] bool commitChanges();

    /// Closes whatever is open and removes the temporary file, if any. The
    /// target is not touched. Safe to call at any time, and more than once.
    void abortWrite() noexcept;

    /// The target path as given.
    const Tstring& path() const noexcept { return fPath; }
    /// The temporary file's path: set by setupForWrite, empty after abort or a
    /// successful commit, kept after a failed rename.
    const Tstring& temporaryPath() const noexcept { return fTempPath; }

private:
    void closeWriters() noexcept;

    enum Mode : int { kDescriptor = 0, kPointer = 1, kStream = 2 };

    Tstring fPath;
    Tstring fWritePath; // the file actually replaced: fPath with links followed
    Tstring fTempPath;
    int fMode = kDescriptor;
    int fDescriptor = -1;
    bool fTargetExisted = false;
    bool fOwnsTemp = false; // fTempPath is ours to remove
    unsigned int fPermissions = 0;
    std::FILE* fFile = nullptr;
    std::unique_ptr<std::ofstream> fStream;
};
