#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tarrays.h"
#include "grundel/core/Tstring.h"

/// Process-wide facts about the running application: its name, its
/// command-line arguments and its version strings. The application sets them
/// once at start-up, on its main thread, before TVornEnvironment builds the
/// environment; afterwards any thread may read them.
class GRUNDEL_API TbatchGlobals {
public:
    TbatchGlobals() = delete;

    /// The application's name, as shown in messages and used in search
    /// paths. "Vorn" until setApplicationName is called. Never null.
    static const char* getApplicationName() noexcept;
    /// Sets the name; null or "" restores "Vorn".
    static void setApplicationName(const char* name);

    /// The command-line arguments, the program's name first. Empty until
    /// setArguments is called.
    static const TstringArray& getArgvArray() noexcept;
    /// Copies argc arguments of argv (null entries are taken as "").
    static void setArguments(int argc, const char* const* argv);

    /// The application's version strings, most specific first (the first one
    /// names the version's directories in search paths). Empty until set.
    static const TstringArray& getVersionNumberStrings() noexcept;
    static void setVersionNumberStrings(const TstringArray& versions);
};
