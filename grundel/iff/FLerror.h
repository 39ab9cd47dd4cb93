#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"

/// Result codes of the chunk library. Every FL function leaves the code of
/// its last failure in the error variable of the calling thread (FLerror()).
enum FLcode : int {
    kFLnoError = 0,
    kFLend = 1,                ///< "end of group or file"
    kFLparsed = 2,             ///< "parsing complete"
    kFLbadId = 3,              ///< "bad identifier"
    kFLaborted = 4,
    kFLbadBlock = 5,
    kFLcorrupted = 6,          ///< "corrupted file structure" (also: nesting too deep)
    kFLbrokenPipe = 7,
    kFLincomplete = 8,         ///< "file incomplete"
    kFLpartialIo = 9,
    kFLnotImplemented = 10,
    kFLnotAFile = 11,
    kFLbadRoot = 12,           ///< "bad root block"
    kFLpastBoundary = 13,      ///< "IO past block boundary"
    kFLunexpected = 14,        ///< "unexpected block"
    kFLnoEndMarker = 15,
    kFLbadSize = 16,           ///< "bad size"
    kFLbadPipe = 17,
    kFLbadEndMarker = 18,
    kFLbadBlockEnd = 19,       ///< "bad block end"
    kFLfifo = 20,              ///< "invalid function on a fifo"
    kFLbadName = 21,           ///< "bad file name"
    kFLalignment = 22,
    kFLcompression = 23,
    kFLbadMode = 24,           ///< "invalid access mode"
    kFLnoGroup = 25,           ///< "no current group"
    kFLnoChunk = 26,           ///< "no current chunk"
    kFLinUse = 27,
    kFLunknownSize = 28,
    kFLnestedWrite = 29,       ///< "nested write"
    kFLnestedRead = 30,
    kFLgroupHeader = 31,       ///< "group header read"
    kFLchunkHeader = 32,       ///< "chunk header read"
    kFLnoMemory = 33,          ///< "no memory"
    kFLreservedId = 34,        ///< "illegal use of a reserved id"
    kFLnoMarker = 35,          ///< "marker not defined"
    kFLio = 40,                ///< "IO error": the message is the saved system error's
    kFLhost = 41,              ///< "host error"
    kFLbadCall = 42,           ///< "bad function call"
    kFLnoFilter = 43,          ///< "filter command not found"
};

/// The calling thread's error variable: the code of its last failure (a
/// success does not reset it). Each thread has its own.
GRUNDEL_API int FLerror() noexcept;
/// Sets the error variable; returns code.
GRUNDEL_API int FLseterror(int code) noexcept;

/// The message of a code; "unknown error code" for a code without one. For
/// code 40 the message of the saved system error (FLoserror()).
GRUNDEL_API const char* FLstrerror(int code) noexcept;
/// Writes "prefix : (code) message\n" (or "Error code : message\n" without a
/// prefix) for the error variable to the standard error stream.
GRUNDEL_API void FLperror(const char* prefix) noexcept;
/// Nothing when the error variable is 0. Otherwise, when a program name is
/// set, writes it and ", file " (or " : " without a file name) first, then
/// FLperror with the file name's last component.
GRUNDEL_API void FLprgerror(const char* fileName) noexcept;
/// The name FLprgerror begins with (null: none). The text is copied.
GRUNDEL_API void FLsetprogname(const char* name) noexcept;
/// The name set by FLsetprogname; empty when none.
GRUNDEL_API Tstring FLgetprogname();
/// The library's word for the Linux signal n ("bus error" for SIGBUS,
/// "user defined signal 1" for SIGUSR1, "death of of child" for SIGCHLD);
/// "unknown signal" for a number without one (SIGSTKFLT, real-time signals,
/// 0, negatives). Async-signal-safe: the signal catchers print through it.
GRUNDEL_API const char* FLstrsignal(int n) noexcept;

/// The saved operating-system error (an errno value), per thread as well.
GRUNDEL_API int FLoserror() noexcept;
GRUNDEL_API void FLsetoserror(int error) noexcept;
/// Saves the saved error on a one-deep stack / restores it from there.
GRUNDEL_API void FLpushoserror() noexcept;
GRUNDEL_API void FLpoposerror() noexcept;
