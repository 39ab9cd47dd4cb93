#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tarrays.h"
#include "grundel/core/Tstring.h"

class TenvironmentFile;

/// Completes the application's environment at start-up: it establishes the
/// installation ("VORN_LOCATION") and the user's application directory
/// ("VORN_APP_DIR"), reads the user's environment file (TenvironmentFile)
/// and rebuilds the search-path variables of the process by joining the
/// current values and the user's settings with default templates. Every
/// search for files reads these variables afterwards, through VornGetEnv.
///
/// Path lists are joined and split with ":". Building a path variable never
/// leaves an empty entry: empty parts are left out, and so are default
/// entries that name a directory which is not known (an empty configuration,
/// module, version or application name, an unset application directory or
/// installation).
///
/// Start-up checks talk to the user through a replaceable prompt callback;
/// the library never ends the process itself. A class of statics, used on
/// the application's main thread before other threads start.
class GRUNDEL_API TVornEnvironment {
public:
    TVornEnvironment() = delete;

    /// Shows message to the user. For a question ("... Exit Program?")
    /// returns true when the user wants to exit; for a plain message the
    /// result is ignored.
    using Prompt = bool (*)(const char* message, bool question, void* context);

    /// Builds the environment, once: later calls return the first call's
    /// result and change nothing. With readUserFile false the user's
    /// environment file is not read (tools that must not depend on a user's
    /// settings). In this order: the command line, version and settings
    /// store placeholders (initData); "HOME" (from the password database
    /// when unset); "VORN_APP_DIR" (default "~/vorn"; "~" is expanded, a
    /// missing directory is created); the environment file; then
    /// "VORN_LOCATION", "VORN_SCRIPT_BASE", "VORN_HELP_URL" and the path
    /// variables. A variable set in the process beats the same name in the
    /// file; other names of the file are put as they are.
    ///
    /// Returns false when the environment is not usable: "~" in
    /// VORN_APP_DIR could not be expanded, or a check failed and the prompt
    /// answered that the application should exit. The caller then ends.
    [[nodiscard]] static bool initializeVornEnvironment(bool readUserFile = true);

    /// The user's environment file: "$VORN_APP_DIR/Vorn.env". Empty before
    /// the application directory is known.
    static const Tstring& vornEnvFileLocation() noexcept;

    /// Whether the user's environment file was read (a missing file counts
    /// as read; false when initializeVornEnvironment skipped it).
    static bool environmentFileIsRead() noexcept;

    /// Appends to entries each non-empty entry of a ":"-separated path list.
    static void splitPath(const Tstring& path, TstringArray& entries);

    /// Replaces the prompt callback; null restores the default, which
    /// writes the message and a line break to standard error and answers
    /// "continue". Returns the previous callback.
    static Prompt setPrompt(Prompt prompt, void* context = nullptr) noexcept;

    /// Whether "-default" was among the arguments: path variables are then
    /// built from their defaults alone (PATH keeps its current value).
    static bool defaultsOnly() noexcept;

    /// The default of "VORN_HELP_URL": "file://" followed by the
    /// installation and "/docs/index.html". "VORN_SCRIPT_BASE" defaults to
    /// the installation itself.
    static Tstring defaultHelpUrl(const char* location);

    /// Forgets what initializeVornEnvironment did (the variables it put stay
    /// in the environment), so that the next call builds the environment
    /// again from the process's current state.
    static void reset() noexcept;

private:
    static void initData();
    static void OpenEnvironmentFile(TenvironmentFile& file);
    static bool readVariables(bool readUserFile);
    static bool setEssentialVariables();
    static bool setVORN_LOCATION(bool validate);
    static bool validateVORN_LOCATION(const char* location);
    static bool validateVORN_APP_DIR(const char* appDir);
    static bool validateHOME();
    static bool validateDirectoryWritable(const char* path);
    static Tstring getNewPath(const char* const* entries, int count);
    static bool setEnvironmentVariable(const char* name, const char* value);
    static void setVornPathEnvironmentVariable(const char* name, const char* value, const char* appendDefaults,
                                               const char* prependDefaults);
};
