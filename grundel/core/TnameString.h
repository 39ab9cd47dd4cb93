#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"

/// A Tstring seen as a name that may end in a version number ("pCube12"),
/// compared in natural order: "a9" sorts before "a10".
class GRUNDEL_API TnameString : public Tstring {
public:
    using Tstring::Tstring;
    TnameString() noexcept = default;
    TnameString(const Tstring& s) noexcept : Tstring(s) {}

    /// The name without its trailing digits.
    Tstring baseString() const noexcept;
    /// The trailing digits as a number; 0 when there are none (or they do not
    /// fit 64 bits, in which case the value saturates).
    Tint64 versionNumber() const noexcept;
    /// The trailing digits as text ("" when there are none).
    Tstring versionString() const noexcept;

    /// Natural order: runs of digits starting with 1 to 9 compare as numbers;
    /// elsewhere bytes compare as signed characters and a prefix sorts first.
    /// Negative, 0 or positive; null is "".
    static int strnumcmp(const char* a, const char* b) noexcept;

    friend bool operator==(const TnameString& a, const TnameString& b) noexcept { return strnumcmp(a.asC(), b.asC()) == 0; }
    friend bool operator!=(const TnameString& a, const TnameString& b) noexcept { return strnumcmp(a.asC(), b.asC()) != 0; }
    friend bool operator<(const TnameString& a, const TnameString& b) noexcept { return strnumcmp(a.asC(), b.asC()) < 0; }
    friend bool operator<=(const TnameString& a, const TnameString& b) noexcept { return strnumcmp(a.asC(), b.asC()) <= 0; }
    friend bool operator>(const TnameString& a, const TnameString& b) noexcept { return strnumcmp(a.asC(), b.asC()) > 0; }
    friend bool operator>=(const TnameString& a, const TnameString& b) noexcept { return strnumcmp(a.asC(), b.asC()) >= 0; }

private:
    /// Length of the text without its trailing digits.
    unsigned int baseLength() const noexcept;
};
