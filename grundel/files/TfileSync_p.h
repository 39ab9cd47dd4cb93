#pragma once

// POSIX helpers shared by the safe save and the undo store.

#include "grundel/core/Tstring.h"

namespace grundel::detail {

/// Follows symbolic links from path (up to 40 hops), resolving relative link
/// texts against the link's directory. The last path reached, which need not
/// exist; path itself when it is not a link or a hop cannot be read.
Tstring followLinks(const Tstring& path);

/// The directory holding path, "." for a bare name.
Tstring directoryOf(const Tstring& path);

/// fsync of the directory holding path; true when it succeeded.
bool syncDirectoryOf(const Tstring& path) noexcept;

/// Six characters from [A-Za-z0-9], different on every call of the process
/// and unlikely to repeat across processes.
void randomSuffix(char out[6]) noexcept;

/// Writes all of n bytes, retrying after interruptions and short writes.
bool writeAll(int fd, const char* data, std::size_t n) noexcept;

} // namespace grundel::detail
