#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"
#include "grundel/core/Ttypes.h"

#include <memory>
#include <string_view>

/// The application's settings: named string values grouped under key paths
/// such as "Software\Stellwork\Common" (backslashes kept). Key paths and
/// value names are matched without regard to ASCII case; the spelling of
/// their first appearance is kept.
///
/// On disk the store is a text file of "[key path]" section lines, each
/// followed by "name=value" lines:
///
///     # comment (also ";")
///     [Software\Stellwork\Common]
///     KZ_USER_CONFIG = /opt/stellwork/config
///
/// Blanks around the name and around the value are dropped, so a value
/// keeps everything between its first and last non-blank character,
/// including "=", "#" and ";". A later value of the same name replaces an
/// earlier one. Lines that fit none of these forms (no "=", an empty name, a
/// value before the first section, an empty key path, a NUL byte) are
/// skipped and counted.
///
/// Every operation locks the store, so any thread may use it.
class GRUNDEL_API TsettingsStore {
public:
    /// Files larger than this are not read.
    static constexpr TuInt32 kMaxFileBytes = TuInt32(16) << 20;

    TsettingsStore();
    ~TsettingsStore();
    TsettingsStore(const TsettingsStore&) = delete;
    TsettingsStore& operator=(const TsettingsStore&) = delete;

    /// The process-wide store, read from sDefaultLocation() on first use (a
    /// file that is missing or cannot be read gives an empty store).
    static TsettingsStore& sSettings();

    /// Where the process-wide store lives: $VORN_SETTINGS_FILE when set and
    /// not empty, else "$XDG_CONFIG_HOME/Stellwork/settings.ini", else
    /// "$HOME/.config/Stellwork/settings.ini"; empty when none of these
    /// variables is set.
    static Tstring sDefaultLocation();

    /// Replaces the contents by the values in text. Returns the number of
    /// lines skipped as malformed. Time and memory are linear in the text.
    int parse(std::string_view text);

    /// Replaces the contents by the file at path. A missing file (or a
    /// missing directory on the way) gives an empty store and true. False,
    /// with the store emptied, when the file cannot be read or is larger
    /// than kMaxFileBytes.
    [[nodiscard]] bool load(const char* path);

    /// Writes the store to path with a safe save (the old file survives any
    /// failure). False when the file cannot be written.
    [[nodiscard]] bool save(const char* path) const;

    /// The text that save writes: sections in the order of their first
    /// appearance, values in the order they were first set.
    Tstring text() const;

    /// Lines skipped by the last parse or load.
    int malformedLines() const;

    /// The value of name under key into value. False, with value unchanged,
    /// when the key or the name is absent.
    [[nodiscard]] bool readValue(const char* key, const char* name, Tstring& value) const;

    /// Sets name under key to value, creating both as needed. False, with
    /// nothing changed, when something could not be read back from the file
    /// as written: an empty or null key or name, a key with "]" or a line
    /// break, a name with "=" or a line break or starting with "[", "#" or
    /// ";", a value with a line break or with blanks at either end, or any
    /// NUL byte.
    [[nodiscard]] bool setValue(const char* key, const char* name, const char* value);

    /// Removes one value; false when it was not there.
    bool removeValue(const char* key, const char* name);

    /// Removes every value.
    void clear();

private:
    struct Data;
    std::unique_ptr<Data> fData;
};
