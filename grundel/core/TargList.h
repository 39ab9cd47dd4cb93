#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tarrays.h"
#include "grundel/core/Tstring.h"

#include <string_view>

/// The arguments of one line of text, in order.
///
/// parse() splits a line at blanks (space, tab, CR, LF). An argument that
/// begins with a double quote runs to the next unescaped double quote and
/// loses its quotes; inside it, \" stands for a quote and \\ for a
/// backslash (any other backslash is kept). An unterminated quote runs to
/// the end of the line. quote() is the inverse: joining quote() of every
/// argument with spaces gives a line that parses back to the same
/// arguments. One thread at a time.
class GRUNDEL_API TargList {
public:
    TargList() noexcept = default;
    /// The arguments of line.
    explicit TargList(std::string_view line) { parse(line); }

    /// Replaces the arguments by those of line; returns their count.
    int parse(std::string_view line);
    /// Appends one argument as it is.
    void add(const Tstring& argument);
    void clear() noexcept { fArgs.reset(); }

    int count() const noexcept { return static_cast<int>(fArgs.length()); }
    bool isEmpty() const noexcept { return fArgs.length() == 0; }
    /// Argument i; the empty string outside 0 to count() - 1.
    const Tstring& operator[](int i) const noexcept;
    const Tstring& arg(int i) const noexcept { return (*this)[i]; }
    const Tstring* begin() const noexcept { return fArgs.begin(); }
    const Tstring* end() const noexcept { return fArgs.end(); }

    /// The arguments from first on (clamped), each through quote(), joined
    /// by single spaces.
    Tstring join(int first = 0) const;
    /// argument as it stands when it needs no quotes (not empty, no blank,
    /// no double quote at its start) and always is false; otherwise in
    /// double quotes with its quotes and backslashes escaped.
    static Tstring quote(std::string_view argument, bool always = false);

private:
    TstringArray fArgs;
};
