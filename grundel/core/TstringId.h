#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"

/// A string given by number or by symbolic name: the text comes from the
/// library's string table (TstringTable) when a Tstring is made from it.
///
/// Kinds: 0 symbolic (a name and a number), 1 catalog (resolved by the
/// resource side; a Tstring made from it stays empty), 2 numeric.
class GRUNDEL_API TstringId {
public:
    enum Kind : int { kSymbolic = 0, kCatalog = 1, kNumeric = 2 };

    /// A symbolic id without a name, number 0.
    TstringId() noexcept = default;
    TstringId(TstringIdNumber number) noexcept : fKind(kNumeric), fNumber(number) {}
    /// A symbolic id: the name is copied (null leaves it without one).
    TstringId(const char* name, int number);
    TstringId(const TstringId& other);
    TstringId& operator=(const TstringId& other);
    ~TstringId();

    /// A numeric id; the name is freed.
    void set(TstringIdNumber number) noexcept;
    /// A symbolic id with a copy of name.
    void set(const char* name, int number);
    /// A catalog id for number; the name is freed.
    void setCatalog(int number) noexcept;

    bool isSymbolic() const noexcept { return fKind == kSymbolic; }
    bool isCatalog() const noexcept { return fKind == kCatalog; }
    bool isNumeric() const noexcept { return fKind == kNumeric; }
    int stringNumber() const noexcept { return fNumber; }
    /// The name, or null.
    const char* symbolicName() const noexcept { return fName; }

private:
    void freeName() noexcept;

    int fKind = kSymbolic;
    int fNumber = 0;
    char* fName = nullptr;
};

/// The library's numbered strings (English texts compiled in), which an
/// application may add to or replace. Numbered Tstrings read their text here.
/// Safe to use from several threads.
class GRUNDEL_API TstringTable {
public:
    /// The text of entry number, cut to 510 characters; false (and out
    /// emptied) when there is no such entry.
    static bool lookup(int number, Tstring& out) noexcept;
    /// Adds or replaces an entry (the text is copied); null removes it.
    static void set(int number, const char* text);
};
