#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/TmtRefCounter.h"
#include "grundel/core/Ttypes.h"

#include <cstdarg>
#include <cstdlib>
#include <iosfwd>
#include <string_view>
#include <type_traits>

class TstringArray;
class TstringId;

/// Number of an entry of the library's string table (see TstringTable).
enum TstringIdNumber : int {};

/// Operating-system codes for Tstring::clean. Only the numeric values matter:
/// they pick the line-end convention that clean() writes.
enum Tsystem : int {
    kSystemNone = 0,       ///< CR kept, LF kept
    kSystemUnix = 1,       ///< CR and CR LF become LF
    kSystemLinux = 2,      ///< as kSystemUnix
    kSystemMacOSX = 3,     ///< as kSystemUnix, and the length drops by the LFs removed
    kSystemWindows = 8,    ///< every line end becomes CR LF
    kSystemMacClassic = 48 ///< LF becomes CR, and the length drops by the LFs removed
};

/// An 8-bit, NUL-terminated string held through one pointer to a shared,
/// reference-counted block (or null: the empty string allocates nothing).
///
/// Copies share the block: a copy is one atomic increment. Every operation
/// that changes the text first makes the block private when it is shared,
/// with two deliberate exceptions, collapseWhiteSpace() and formatToWidth(),
/// which edit the shared block in place and so change every sharer.
///
/// The reference count is atomic, so strings that share a block may be
/// copied and destroyed on different threads; one Tstring object is used by
/// one thread at a time. Nothing throws: when memory runs out a string stays
/// as it was (or empty, for a new one).
class GRUNDEL_API Tstring {
public:
    /// Header of a character block; the text follows it in the same
    /// allocation. Capacity is the block size minus 16.
    struct GRUNDEL_API TstringData {
        TmtRefCounter fCount;
        TuInt32 fLength;
        TuInt32 fCapacity;

        char* text() noexcept { return reinterpret_cast<char*>(this + 1); }
        const char* text() const noexcept { return reinterpret_cast<const char*>(this + 1); }

        /// A new block for n characters: ((n + 35) / 20) * 20 bytes, count 1,
        /// empty text. Null when the allocator fails or n is too large.
        static TstringData* create(TuInt32 n) noexcept;
        /// Makes block hold n characters and belong to the caller alone. A
        /// sole block is reallocated only when n exceeds its capacity, and
        /// then loses its text unless keep (with room to spare the text stays
        /// even without keep). A shared block is left to its other owners for
        /// a new one (with the old text when keep). Returns the block to use
        /// from now on, or null when memory runs out, leaving block as it was.
        static TstringData* growRealloc(TstringData* block, TuInt32 n, bool keep) noexcept;
        /// growRealloc, or create when block is null.
        static TstringData* grow(TstringData* block, TuInt32 n, bool keep) noexcept;
        /// Brings a block down to n characters (copying a shared one). Null
        /// when memory runs out; then block is untouched.
        static TstringData* shrink(TstringData* block, TuInt32 n, bool keep) noexcept;
        /// Drops one reference and frees the block at 0.
        static void release(TstringData* block) noexcept {
            if (block->fCount.remove() == 0)
                std::free(block);
        }
        /// Bytes the heap holds for a block of this capacity.
        static TuInt32 blockSize(TuInt32 capacity) noexcept { return capacity + 16; }
    };

    /// The static "" returned for the text of an empty string.
    static const char kNullStr[1];
    /// True for string types other than Tstring and std::string_view that view
    /// as std::string_view but do not decay to const char* (std::string).
    template <class S>
    static constexpr bool kIsStringLike =
        std::conjunction<std::negation<std::is_same<S, TstringId>>, // declared only: no traits of it here
                         std::negation<std::is_base_of<Tstring, S>>,
                         std::negation<std::is_same<S, std::string_view>>,
                         std::is_convertible<const S&, std::string_view>,
                         std::negation<std::is_convertible<const S&, const char*>>>::value;
    /// Default number of decimals of setDouble (6).
    static int fsPrecision;
    /// When true (the default), setDouble writes magnitudes below 1e-10 as 0.
    static bool fsFloatClampingOnConversion;

    // -- Construction and assignment ------------------------------------

    Tstring() noexcept : fData(nullptr) {}
    Tstring(const Tstring& other) noexcept : fData(other.fData) {
        if (fData)
            fData->fCount.add();
    }
    Tstring(Tstring&& other) noexcept : fData(other.fData) { other.fData = nullptr; }
    /// Copies the text up to its NUL; null and "" give the empty string.
    Tstring(const char* text) noexcept;
    /// Copies the first n bytes of text (which may hold NULs).
    Tstring(const char* text, unsigned int n) noexcept;
    /// Copies the characters of text (which may hold NULs). A view longer
    /// than a string can hold (4 GiB) gives the empty string.
    Tstring(std::string_view text) noexcept;
    /// Any other string type that views as std::string_view (std::string
    /// among them), so that it converts in initialisation and in calls.
    template <class S, class = std::enable_if_t<kIsStringLike<S>>>
    Tstring(const S& text) noexcept : Tstring(std::string_view(text)) {}
    /// An empty text with room for n characters.
    explicit Tstring(unsigned int n) noexcept;
    /// The string-table text of id (empty for a catalog id).
    Tstring(const TstringId& id) noexcept;
    Tstring(TstringIdNumber number) noexcept;
    ~Tstring() {
        if (fData)
            TstringData::release(fData);
    }

    Tstring& operator=(const Tstring& other) noexcept {
        set(other);
        return *this;
    }
    Tstring& operator=(Tstring&& other) noexcept {
        swap(other);
        return *this;
    }
    Tstring& operator=(const char* text) noexcept {
        set(text);
        return *this;
    }
    Tstring& operator=(const TstringId& id) noexcept {
        set(id);
        return *this;
    }
    Tstring& operator=(TstringIdNumber number) noexcept {
        set(number);
        return *this;
    }
    /// From std::string_view, std::string or another string type that views
    /// as std::string_view.
    template <class S, class = std::enable_if_t<kIsStringLike<S> || std::is_same<S, std::string_view>::value>>
    Tstring& operator=(const S& text) noexcept {
        *this = Tstring(std::string_view(text));
        return *this;
    }

    /// Shares other's block; nothing happens when both already hold the same
    /// block. The setters return 0.
    int set(const Tstring& other) noexcept;
    int set(const char* text) noexcept;
    /// Copies n bytes of text; text may point into this string.
    int set(const char* text, unsigned int n) noexcept;
    int set(const TstringId& id) noexcept;
    int set(TstringIdNumber number) noexcept;
    int copy(const Tstring& other) noexcept { return set(other); }
    int copy(const char* text) noexcept { return set(text); }
    int copy(const char* text, unsigned int n) noexcept { return set(text, n); }
    int copy(const TstringId& id) noexcept { return set(id); }
    int copy(TstringIdNumber number) noexcept { return set(number); }
    /// Sets the text to count raw characters (a null pointer gives "").
    int setChar(const char* chars, unsigned int count) noexcept;
    int copyChar(const char* chars, unsigned int count) noexcept { return setChar(chars, count); }

    void swap(Tstring& other) noexcept {
        TstringData* d = fData;
        fData = other.fData;
        other.fData = d;
    }

    // -- Appending ------------------------------------------------------
    // The sources may point into this string.

    int catenate(const Tstring& other) noexcept;
    int catenate(const char* text) noexcept;
    int catenate(const char* text, unsigned int n) noexcept;
    /// Appends c. A full block grows by the usual few bytes, and then
    /// takes as capacity whatever room the heap gave the block, so that
    /// most appends stay on this inline path.
    int catenate(char c) noexcept {
        // Inline only while the block is ours alone and has room: a block
        // that another string shares must never change.
        TstringData* d = fData;
        if (d && d->fLength < d->fCapacity && d->fCount.value() < 2) {
            const TuInt32 n = d->fLength;
            char* t = d->text();
            t[n] = c;
            t[n + 1] = '\0';
            d->fLength = n + 1;
            return 0;
        }
        return catenateGrowing(c);
    }
    int catenate(const TstringId& id) noexcept;
    int catenate(TstringIdNumber number) noexcept;
    int append(const Tstring& other) noexcept { return catenate(other); }
    int append(const char* text) noexcept { return catenate(text); }
    int append(const char* text, unsigned int n) noexcept { return catenate(text, n); }
    int append(char c) noexcept { return catenate(c); }
    int append(const TstringId& id) noexcept { return catenate(id); }
    int append(TstringIdNumber number) noexcept { return catenate(number); }
    /// Appends count raw characters; a null pointer appends nothing.
    int catenateChar(const char* chars, unsigned int count) noexcept;
    int appendChar(const char* chars, unsigned int count) noexcept { return catenateChar(chars, count); }
    int appendSpace() noexcept { return catenate(' '); }
    int appendNewline() noexcept { return catenate('\n'); }

    Tstring& operator+=(const Tstring& other) noexcept {
        catenate(other);
        return *this;
    }
    Tstring& operator+=(const char* text) noexcept {
        catenate(text);
        return *this;
    }
    Tstring& operator+=(char c) noexcept {
        catenate(c);
        return *this;
    }
    Tstring& operator+=(const TstringId& id) noexcept {
        catenate(id);
        return *this;
    }
    Tstring& operator+=(TstringIdNumber number) noexcept {
        catenate(number);
        return *this;
    }

    // -- Access ---------------------------------------------------------

    unsigned int length() const noexcept { return fData ? fData->fLength : 0; }
    unsigned int size() const noexcept { return length(); }
    bool isEmpty() const noexcept { return length() == 0; }
    /// Characters in the block beyond which the text cannot grow in place
    /// (0 without a block).
    unsigned int capacity() const noexcept { return fData ? fData->fCapacity : 0; }
    /// The characters, NUL-terminated. Never null: an empty string gives "".
    const char* asC() const noexcept { return fData ? fData->text() : kNullStr; }
    const char* operator*() const noexcept { return asC(); }
    const char* string() const noexcept { return asC(); }
    std::string_view view() const noexcept { return std::string_view(asC(), length()); }
    /// The text as a view; valid while this string is unchanged.
    operator std::string_view() const noexcept { return view(); }
    /// A copy of the text as a std::string.
    operator std::string() const;
    /// The characters for range-for and the standard algorithms, read-only:
    /// writing through them would bypass the sharing of the block.
    const char* begin() const noexcept { return asC(); }
    const char* end() const noexcept { return asC() + length(); }
    /// The character at i; NUL for an index at or past the end.
    char operator[](unsigned int i) const noexcept { return i < length() ? fData->text()[i] : '\0'; }
    /// The block itself (null for an empty string without one); for tests
    /// and for code that must know whether two strings share.
    const TstringData* data() const noexcept { return fData; }
    /// Number of strings sharing the block (0 without one).
    int shareCount() const noexcept { return fData ? fData->fCount.value() : 0; }

    // -- Comparison -----------------------------------------------------
    // Hidden friends: found only when a Tstring takes part, so that the
    // conversions from std::string_view and std::string never make other
    // types' comparisons ambiguous (a string_view against a literal).

    /// The same bytes (NULs included); a null text equals the empty string.
    static bool equal(const Tstring& a, const Tstring& b) noexcept;
    static bool equal(const Tstring& a, const char* b) noexcept;
    friend bool operator==(const Tstring& a, const Tstring& b) noexcept { return equal(a, b); }
    friend bool operator==(const Tstring& a, const char* b) noexcept { return equal(a, b); }
    friend bool operator==(const char* a, const Tstring& b) noexcept { return equal(b, a); }
    friend bool operator!=(const Tstring& a, const Tstring& b) noexcept { return !equal(a, b); }
    friend bool operator!=(const Tstring& a, const char* b) noexcept { return !equal(a, b); }
    friend bool operator!=(const char* a, const Tstring& b) noexcept { return !equal(b, a); }
    /// Order of compare(): byte order of the C text.
    friend bool operator<(const Tstring& a, const Tstring& b) noexcept { return a.compare(b) < 0; }
    friend bool operator<=(const Tstring& a, const Tstring& b) noexcept { return a.compare(b) <= 0; }
    friend bool operator>(const Tstring& a, const Tstring& b) noexcept { return a.compare(b) > 0; }
    friend bool operator>=(const Tstring& a, const Tstring& b) noexcept { return a.compare(b) >= 0; }
    friend bool operator<(const Tstring& a, const char* b) noexcept { return a.compare(b) < 0; }
    friend bool operator<=(const Tstring& a, const char* b) noexcept { return a.compare(b) <= 0; }
    friend bool operator>(const Tstring& a, const char* b) noexcept { return a.compare(b) > 0; }
    friend bool operator>=(const Tstring& a, const char* b) noexcept { return a.compare(b) >= 0; }
    /// With std::string_view, std::string and other types that view as
    /// std::string_view: the same bytes, NULs included.
    template <class S, class = std::enable_if_t<kIsStringLike<S> || std::is_same<S, std::string_view>::value>>
    friend bool operator==(const Tstring& a, const S& b) noexcept {
        return a.view() == std::string_view(b);
    }
    template <class S, class = std::enable_if_t<kIsStringLike<S> || std::is_same<S, std::string_view>::value>>
    friend bool operator==(const S& a, const Tstring& b) noexcept {
        return b.view() == std::string_view(a);
    }
    template <class S, class = std::enable_if_t<kIsStringLike<S> || std::is_same<S, std::string_view>::value>>
    friend bool operator!=(const Tstring& a, const S& b) noexcept {
        return a.view() != std::string_view(b);
    }
    template <class S, class = std::enable_if_t<kIsStringLike<S> || std::is_same<S, std::string_view>::value>>
    friend bool operator!=(const S& a, const Tstring& b) noexcept {
        return b.view() != std::string_view(a);
    }

    /// The library's string hash; 0xFFFFFFFF for an empty string. Its values
    /// are stable (callers may store them), but it depends only on the last
    /// 32 bytes and spreads numbered names poorly: the string-keyed tables
    /// bucket by their own keyHash instead.
    TuInt32 hash() const noexcept { return hashOf(asC(), length()); }
    static TuInt32 hashOf(const char* text, TuInt32 length) noexcept;

    /// A Pascal string: a length byte (at most 255), then the characters.
    /// With a null buffer, a buffer private to the calling thread is used.
    unsigned char* asPascal(unsigned char* buffer = nullptr) const noexcept;

    // -- Searching (positions; -1 when absent) ---------------------------

    /// First c at or after from.
    int index(char c, int from = 0) const noexcept;
    /// Last c before upTo (clamped to the length).
    int rindex(char c) const noexcept { return rindex(c, static_cast<int>(length())); }
    int rindex(char c, int upTo) const noexcept;
    /// First position at or after from of any character of chars.
    int findchr(const char* chars, int from = 0) const noexcept;
    /// Last position of any character of chars.
    int findrchr(const char* chars) const noexcept;
    /// First occurrence of text at or after from (an empty text is found at from).
    int findstr(const char* text, int from = 0) const noexcept;
    /// Last occurrence of text.
    int findrstr(const char* text) const noexcept;

    // -- Comparison ---------------------------------------------------------

    /// Byte order as strcmp: -1, 0 or 1.
    int compare(const Tstring& other) const noexcept { return compare(other.asC()); }
    int compare(const char* text) const noexcept;
    /// Byte order ignoring ASCII case: -1, 0 or 1.
    int caseCompare(const Tstring& other) const noexcept { return caseCompare(other.asC()); }
    int caseCompare(const char* text) const noexcept;

    // -- Editing ----------------------------------------------------------

    /// Characters start..end (end inclusive, clamped to the last) into out;
    /// out is cleared when the range is empty or start is negative. The whole
    /// text is shared, not copied. Returns 0.
    int substring(int start, int end, Tstring& out) const noexcept;
    Tstring substring(int start, int end) const noexcept;
    /// Replaces every occurrence of from (left to right, not overlapping) by
    /// to; returns the number of replacements.
    int substitute(const char* from, const char* to) noexcept;
    /// Appends to array each non-empty run between occurrences of c. Returns 0.
    int split(char c, TstringArray& array) const;
    /// Removes every character for which isspace is true.
    Tstring& removeSpaces() noexcept;
    /// Trims the space character (only 0x20) at both ends.
    Tstring& removeInitialAndFinalSpaces() noexcept;
    /// Trims white space and turns each inner run into one space. Works in
    /// the shared block: every sharer changes.
    Tstring& collapseWhiteSpace() noexcept;
    /// Breaks lines for a display width by turning white space into "\n".
    /// Works in the shared block: every sharer changes.
    Tstring& formatToWidth(int width) noexcept;
    /// Converts line ends for the conventions of system (see Tsystem).
    Tstring& clean(Tsystem system) noexcept;
    Tstring& toLowerCase() noexcept;
    Tstring& toUpperCase() noexcept;
    /// Upper-cases the first character.
    Tstring& capitalize() noexcept;
    /// C escapes for backslashes and non-printable bytes (bytes 0x80 and
    /// above all become "\377"); with quotes, '"' also becomes '\"'.
    Tstring& encodeEscapeSequences(bool quotes = false) noexcept;
    /// Decodes C escapes; a backslash before another character is dropped.
    Tstring& decodeEscapeSequences() noexcept;
    /// Releases the block: the string becomes empty and holds nothing.
    void clear() noexcept;
    /// Brings the block to n characters of room. Returns 0.
    int resize(unsigned int n, bool keep = true) noexcept;
    /// resize(length()).
    int shrink() noexcept { return resize(length()); }
    /// Makes room for n characters in a block of this string's own; with
    /// keep false the text may be dropped. Returns 0, or -1 without memory.
    int reserve(unsigned int n, bool keep = true) noexcept;
    Tstring toNative() const noexcept { return *this; }
    Tstring toRoman() const noexcept { return *this; }
    Tstring stripAccents() const noexcept { return *this; }

    // -- Paths held as text, separator "/" ----------------------------------

    /// The text after the last "/" (the whole text without one).
    Tstring tail() const noexcept;
    /// The tail without its extension: "/a/b.txt" gives "b".
    Tstring baseName() const noexcept;
    /// The text before the last "/": "/a/b" gives "/a", "/b" gives "/",
    /// "b" gives "".
    Tstring directoryPath() const noexcept;
    /// The tail's text after its last ".", without the dot; "" when the tail
    /// has none or only a leading one (".profile").
    Tstring extension() const noexcept;
    /// The whole path without its extension: "/a/b.txt" gives "/a/b".
    Tstring root() const noexcept;
    /// In place: keeps the tail.
    Tstring& stripPath() noexcept;
    /// In place: keeps the root.
    Tstring& stripExtension() noexcept;

    // -- Numbers -------------------------------------------------------------
    // Conversions read a leading number as strtol/strtod do; text that is not
    // a number gives 0. The is... tests accept the whole text only.

    Tint16 asInt16() const noexcept;
    Tint32 asInt32() const noexcept;
    TuInt32 asUInt32() const noexcept;
    TintPtrSz asIntPtrSz() const noexcept;
    TuIntPtrSz asUIntPtrSz() const noexcept;
    float asFloat() const noexcept;
    double asDouble() const noexcept;
    /// Optional sign, then decimal digits, in range of the type.
    bool isInt16() const noexcept;
    bool isInt32() const noexcept;
    /// Optional "+", then decimal digits, in range.
    bool isUInt32() const noexcept;
    /// A finite decimal floating-point number in range of the type.
    bool isFloat() const noexcept;
    bool isDouble() const noexcept;
    /// Decimal text of the value. Return 0.
    int setInt32(Tint32 value) noexcept;
    int setUInt32(TuInt32 value) noexcept;
    int setInt64(Tint64 value) noexcept;
    int setUInt64(TuInt64 value) noexcept;
    int setIntPtrSz(TintPtrSz value) noexcept;
    int setUIntPtrSz(TuIntPtrSz value) noexcept;
    /// setDouble(value, fsPrecision, true).
    int setDouble(double value) noexcept { return setDouble(value, fsPrecision, true); }
    /// Text of a double: with significant false, precision decimals and the
    /// trailing zeros removed; with significant true, precision significant
    /// digits after the integer part. See fsFloatClampingOnConversion. The
    /// precision is held to what a double carries: at most 17 digits after
    /// the integer part, or 27 fixed decimals.
    int setDouble(double value, int precision, bool significant) noexcept;

    // -- Formatting ----------------------------------------------------------

    /// printf into this string; the new length, or -1 when formatting fails or
    /// the result would need 2^30 bytes or more (the string is then emptied).
    /// The arguments may point into this string.
    int cformat(const char* format, ...) noexcept __attribute__((format(printf, 2, 3)));
    int vcformat(const char* format, std::va_list args) noexcept;
    static Tstring cformatString(const char* format, ...) noexcept
        __attribute__((format(printf, 1, 2)));
    /// Formats pattern with string arguments: "%1" to "%9" stand for the
    /// arguments, "%%" for "%"; a reference to a missing argument is kept as
    /// written. The arguments are const Tstring* and end with a null pointer.
    /// Returns the new length.
    int format(const char* pattern, ...) noexcept;
    /// format with the argument list already started.
    int formatArgList(const char* pattern, std::va_list args) noexcept;

    // -- Patterns ------------------------------------------------------------

    /// Wildcard match of the whole text: "?" one character, "*" any run,
    /// "\" makes the next character literal. An empty string matches only a
    /// null pattern; a non-empty string never matches an empty one.
    bool matches(const char* pattern) const noexcept;
    /// As above, but an empty string matches an empty Tstring pattern.
    bool matches(const Tstring& pattern) const noexcept;
    /// True when the text holds "*" or "?".
    bool isWildCard() const noexcept;
    /// POSIX extended regular expression, anchored with "^...$" unless it
    /// already starts with "^" or ends with "$". On a match, group i goes to
    /// the i-th output (stopping at the first null one; a group that took no
    /// part empties its output). Returns the number of groups (1 when there
    /// are none), or 0 when there is no match or the pattern is invalid.
    /// The leftmost-longest match counts; within it repetitions take as much
    /// as they can and earlier alternatives win. Besides the POSIX syntax:
    /// "{,m}", "\w", "\W", "\s", "\S" and the assertions "\b", "\B",
    /// "\<", "\>". Invalid: back-references, stacked repetitions ("a++",
    /// "a{2}*"), bounds over 32767, groups nested over 128 deep, and patterns
    /// that compile to more than 16384 instructions (counted repetitions are
    /// expanded: "(a{99}){99}" is too large). Time is linear in the text,
    /// memory linear in the pattern.
    int matchesRegexp(const char* pattern, Tstring* out1 = nullptr, Tstring* out2 = nullptr,
                      Tstring* out3 = nullptr, Tstring* out4 = nullptr, Tstring* out5 = nullptr,
                      Tstring* out6 = nullptr, Tstring* out7 = nullptr, Tstring* out8 = nullptr,
                      Tstring* out9 = nullptr) const noexcept;
    /// True exactly when the text holds "$" (not "~" nor "%").
    bool hasEnvOrTilde() const noexcept { return index('$') >= 0; }
    /// A copy with "$NAME", "${NAME}", "%NAME%" (and their mixed forms)
    /// replaced by the values of set variables. Unset references stay as
    /// written; "~" is not expanded. A result that would be longer than
    /// kExpandLimit is not built: the text comes back unexpanded, whole.
    Tstring expandEnvAndTilde() const noexcept;
    /// The longest text that expandEnvAndTilde builds: 1 MiB.
    static constexpr TuInt32 kExpandLimit = TuInt32(1) << 20;
    /// Looks up a variable for expandEnv: its value, or null when unset.
    using EnvLookup = const char* (*)(const char* name, void* context);
    /// The expansion of expandEnvAndTilde of text into out, each name
    /// looked up by lookup with context (null lookup: VornGetEnv). False,
    /// with out unchanged, when the result would be longer than limit bytes
    /// or memory runs out.
    static bool expandEnv(const Tstring& text, Tstring& out, TuInt32 limit = kExpandLimit,
                          EnvLookup lookup = nullptr, void* context = nullptr) noexcept;

private:
    friend class TnameString;

    char* text() noexcept { return fData->text(); }
    /// Makes the block private with room for n characters, keeping the text
    /// as asked. False when memory runs out (nothing changed).
    bool makeRoom(TuInt32 n, bool keep) noexcept;
    /// Makes the block private before an in-place edit of the current text.
    bool makeUnique() noexcept { return makeRoom(length(), true); }
    /// catenate(c) when the block is absent, shared or full.
    int catenateGrowing(char c) noexcept;
    /// Replaces the block by a new one (releasing the old one last).
    void adopt(TstringData* block) noexcept;
    int setFromTable(int number, bool catenateIt) noexcept;
    Tstring& mapCase(int (*map)(int)) noexcept;

    TstringData* fData;
};

static_assert(sizeof(Tstring) == sizeof(void*), "a string is one pointer wide");
static_assert(sizeof(Tstring::TstringData) == 12, "the block header is 12 bytes");

GRUNDEL_API Tstring operator+(const Tstring& a, const Tstring& b) noexcept;
GRUNDEL_API Tstring operator+(const Tstring& a, const char* b) noexcept;
GRUNDEL_API Tstring operator+(const char* a, const Tstring& b) noexcept;
GRUNDEL_API Tstring operator+(const Tstring& a, char b) noexcept;

/// The text as a std::string (the place of the framework string class).
GRUNDEL_API std::string Tstring_toStdString(const Tstring& s);

inline void swap(Tstring& a, Tstring& b) noexcept { a.swap(b); }

namespace std {
template <>
struct hash<Tstring> {
    size_t operator()(const Tstring& s) const noexcept { return s.hash(); }
};
} // namespace std
