#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"

/// The library's search path for commands and drivers: directories separated
/// by ":". Commands are looked for there first, then along PATH; drivers
/// only there. Safe to use from several threads.

/// Replaces the search path; null or "" empties it.
GRUNDEL_API void FLsetpath(const char* path);
/// Appends one directory to the search path.
GRUNDEL_API void FLaddpath(const char* directory);
/// The search path as set.
GRUNDEL_API Tstring FLgetpath();

/// The full path of the executable name: name itself when it holds a "/"
/// (and is executable); otherwise the first directory of the search path,
/// then of PATH, that holds it. Empty when there is none.
GRUNDEL_API Tstring FLfindcmd(const char* name);
/// The directory, with a trailing "/", that holds an executable driver
/// called name: the first absolute directory of the search path that has
/// it, never one of PATH nor the current directory. Empty when there is none.
GRUNDEL_API Tstring FLfinddriver(const char* name);

/// Sets the directory for temporary files (null: back to $TMPDIR, else /tmp).
GRUNDEL_API void FLsettmp(const char* directory);
/// A name for a new temporary file in that directory, starting with prefix
/// (null: "fl"), that no file has at the time of the call.
GRUNDEL_API Tstring FLtmpname(const char* prefix);

/// The last component of path: the text after its last "/" (the whole text
/// without one); "" for null. Points into path.
GRUNDEL_API const char* FLbasename(const char* path) noexcept;

/// The first readable regular file called name along path (":"-separated
/// directories; null: the library's search path; an empty entry is the
/// current directory), as directory + "/" + name. A name holding a "/" is
/// taken as it is. Empty when there is none, or for a null or empty name.
GRUNDEL_API Tstring FLfindfile(const char* name, const char* path = nullptr);

/// directory and name joined with one "/" (none added after a directory
/// ending in "/"), then extension after a "." (an extension that begins
/// with "." is used as it is). A null or empty directory, or an absolute
/// name, gives the name alone; a null or empty extension adds nothing.
GRUNDEL_API Tstring FLmakepath(const char* directory, const char* name, const char* extension = nullptr);

/// The extension of path's last component: the text after its last ".",
/// "" when there is none. Dots that begin the component do not count, so
/// ".profile" has no extension and ".profile.bak" has "bak". Points into
/// path; "" for null.
GRUNDEL_API const char* FLgetext(const char* path) noexcept;
/// Whether path's extension (as FLgetext finds it) is extension, compared
/// case-sensitively; a leading "." of extension is ignored. An empty
/// extension matches a path without one.
GRUNDEL_API bool FLcheckext(const char* path, const char* extension) noexcept;
