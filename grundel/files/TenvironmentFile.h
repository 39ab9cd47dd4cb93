#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tarrays.h"
#include "grundel/core/Tstring.h"

#include <string>
#include <string_view>
#include <unordered_map>

/// The user's environment file: variables that complete the application's
/// environment at start-up (TVornEnvironment reads it from
/// vornEnvFileLocation()). One setting per line:
///
///     # a comment: the first non-blank character is "#"
///     VORN_PLUG_IN_PATH = $HOME/plug-ins:/shared/plug-ins
///     VORN_HELP_URL=file:///opt/help#start
///
/// The name is a letter or "_" followed by letters, digits and "_"; blanks
/// around it and around the value are dropped. The value is everything
/// after the first "=" (so it may hold "=" and "#"). "$NAME", "${NAME}"
/// and "%NAME%" in a value are replaced by the variable's value: the process environment
/// first, then the lines above in this file; unset and unterminated
/// references stay as written. A name given twice keeps its first place and
/// takes its last value. Blank lines are skipped; any other line that is not
/// of this form (no "=", a bad name, a NUL byte) is skipped and counted.
///
/// Reading costs time and memory linear in the file: expansion builds at
/// most kExpansionBudget bytes over the whole file; a value whose expansion
/// would pass that stays as written and is counted.
class GRUNDEL_API TenvironmentFile {
public:
    /// Files larger than this are not read.
    static constexpr TuInt32 kMaxFileBytes = TuInt32(4) << 20;
    /// The most bytes that expansion builds over the whole file.
    static constexpr TuInt32 kExpansionBudget = TuInt32(16) << 20;

    /// Looks up a variable of the process for expansion (null lookup:
    /// VornGetEnv); returns null when unset.
    using Lookup = Tstring::EnvLookup;

    TenvironmentFile() = default;

    /// Replaces the contents by the settings in text. Returns the number of
    /// malformed lines.
    int parse(std::string_view text, Lookup lookup = nullptr, void* context = nullptr);

    /// Reads the file at path. A missing file (or a missing directory on
    /// the way) is an empty file: true. False,
    /// with the contents emptied, when it cannot be read or is larger than
    /// kMaxFileBytes.
    [[nodiscard]] bool read(const char* path, Lookup lookup = nullptr, void* context = nullptr);

    /// The names in the order of their first line, and their values.
    const TstringArray& names() const noexcept { return fNames; }
    const TstringArray& values() const noexcept { return fValues; }
    /// The value given to name, or null when the file does not set it.
    const Tstring* find(const char* name) const noexcept;

    /// Lines skipped as malformed, and the number of the first (1-based; 0
    /// when there is none).
    int malformedLines() const noexcept { return fMalformed; }
    int firstMalformedLine() const noexcept { return fFirstMalformed; }
    /// Values kept as written because expansion ran out of budget.
    int unexpandedValues() const noexcept { return fUnexpanded; }

    /// Splits one line in place. 1: a setting, with *variable and *value
    /// pointing into line, each ended by a NUL written there. 0: a blank or
    /// comment line. -1: malformed. *variable and *value are set only for 1.
    static int extractVariableAndValue(char* line, char** variable, char** value) noexcept;

private:
    /// Expands value within the remaining budget; false when it stays as
    /// written.
    bool expandValue(Tstring& value, Lookup lookup, void* context);
    void clear();

    TstringArray fNames;
    TstringArray fValues;
    std::unordered_map<std::string, TuInt32> fIndex; // name -> position
    int fMalformed = 0;
    int fFirstMalformed = 0;
    int fUnexpanded = 0;
    TuInt32 fBudget = kExpansionBudget;
};
