#pragma once

#include "grundel/core/Tapi.h"

#include <cstddef>
#include <cstdio>

/// Running other programs. FLsystem and FLpopen take a shell command line
/// (run by "/bin/sh -c"); FLexec, FLspawn and FLfilter take an argument
/// list, null-terminated, whose first entry names the program, looked for as
/// FLfindcmd does (the library's search path, then PATH), with no shell in
/// between. The child inherits the environment, the working directory and
/// the standard streams not redirected.
///
/// A routine that waits returns the child's status: its exit code (0 to
/// 255), or 128 + n when signal n ended it (as shells report). Failing to
/// start gives -1 with a code: 42 "bad function call" for a null or empty
/// command or argument list, 43 "filter command not found" for a program
/// not found, 40 "IO error" (with FLoserror()) when the system refuses.

/// Runs command through the shell and waits for it.
GRUNDEL_API int FLsystem(const char* command);
/// Runs the program with its arguments and waits for it.
GRUNDEL_API int FLexec(const char* const argv[]);
/// Starts the program with its arguments and returns its process id at
/// once; FLwait collects it.
[[nodiscard]] GRUNDEL_API int FLspawn(const char* const argv[]);
/// Waits for a child started by FLspawn; its status, or -1 and code 40.
GRUNDEL_API int FLwait(int pid);

/// Runs command through the shell with a stream joined to its standard
/// output (mode "r") or standard input (mode "w"). Null and 24 "invalid
/// access mode" for another mode, 42 for a null command, 40 when the system
/// refuses. Close the stream with FLpclose.
[[nodiscard]] GRUNDEL_API std::FILE* FLpopen(const char* command, const char* mode);
/// Closes a stream from FLpopen and waits for its command; the command's
/// status, or -1 and 42 for a stream that FLpopen did not give.
GRUNDEL_API int FLpclose(std::FILE* stream);

/// Passes bytes through a program: runs it with its arguments, writes the
/// length bytes of input to its standard input (then closes it), and
/// collects all of its standard output into a new block that *output
/// receives (NUL-terminated, *outputLength bytes before the NUL; free it
/// with FLfree). Writing and reading interleave, so neither side can block
/// the other however much flows. A program that stops reading early is not
/// an error: the rest of the input is dropped. Returns the program's status;
/// -1 and a code as above, or 33 "no memory" (the output is then null).
GRUNDEL_API int FLfilter(const char* const argv[], const void* input, size_t length, char** output,
                         size_t* outputLength);
