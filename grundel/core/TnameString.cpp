#include "grundel/core/TnameString.h"

#include <cstdint>
#include <cstring>

namespace {

inline bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

// Runs of digits shorter than this compare by value; longer ones by length
// and then digit by digit.
constexpr std::size_t kNumericRun = 16;

Tint64 runValue(const char* p, std::size_t n) noexcept {
    Tint64 v = 0;
    for (std::size_t i = 0; i < n; ++i)
        v = v * 10 + (p[i] - '0');
    return v;
}

} // namespace

unsigned int TnameString::baseLength() const noexcept {
    unsigned int n = length();
    while (n > 0 && isDigit(asC()[n - 1]))
        --n;
    return n;
}

Tstring TnameString::baseString() const noexcept {
    return substring(0, static_cast<int>(baseLength()) - 1);
}

Tstring TnameString::versionString() const noexcept {
    return substring(static_cast<int>(baseLength()), static_cast<int>(length()) - 1);
}

Tint64 TnameString::versionNumber() const noexcept {
    Tint64 v = 0;
    for (const char* p = asC() + baseLength(); *p; ++p) {
        const int digit = *p - '0';
        if (v > (INT64_MAX - digit) / 10)
            return INT64_MAX;
        v = v * 10 + digit;
    }
    return v;
}

int TnameString::strnumcmp(const char* a, const char* b) noexcept {
    if (!a)
        a = "";
    if (!b)
        b = "";
    for (;;) {
        if (*a >= '1' && *a <= '9' && *b >= '1' && *b <= '9') {
            const char* endA = a;
            const char* endB = b;
            while (isDigit(*endA))
                ++endA;
            while (isDigit(*endB))
                ++endB;
            const std::size_t lengthA = static_cast<std::size_t>(endA - a);
            const std::size_t lengthB = static_cast<std::size_t>(endB - b);
            if (lengthA < kNumericRun && lengthB < kNumericRun) {
                const Tint64 va = runValue(a, lengthA);
                const Tint64 vb = runValue(b, lengthB);
                if (va != vb)
                    return va < vb ? -1 : 1;
            }
            if (lengthA != lengthB)
                return lengthA < lengthB ? -1 : 1;
            const int c = std::memcmp(a, b, lengthA);
            if (c != 0)
                return c < 0 ? -1 : 1;
            a = endA;
            b = endB;
            continue;
        }
        if (!*a || !*b)
            return (*a != 0) - (*b != 0); // the shorter text sorts first
        const signed char ca = static_cast<signed char>(*a);
        const signed char cb = static_cast<signed char>(*b);
        if (ca != cb)
            return ca < cb ? -1 : 1;
        ++a;
        ++b;
    }
}
