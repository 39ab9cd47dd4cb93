#include "grundel/iff/FLnumber.h"

#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <algorithm>

namespace {

bool isSpace(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

// The position after white space and a sign; negative tells the sign.
size_t skipLead(std::string_view text, bool* negative) noexcept {
    size_t i = 0;
    while (i < text.size() && isSpace(text[i]))
        ++i;
    *negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        *negative = text[i++] == '-';
    return i;
}

double parseDouble(std::string_view text, size_t* used) noexcept {
    bool negative;
    const size_t start = skipLead(text, &negative);
    size_t i = start;
    size_t digits = 0;
    // Decimal exponent of the first significant digit, to tell overflow
    // from underflow when the conversion is out of range.
    int64_t magnitude = 0;
    bool significant = false;
    for (; i < text.size() && isDigit(text[i]); ++i, ++digits) {
        significant = significant || text[i] != '0';
        if (significant)
            ++magnitude;
    }
    if (i < text.size() && text[i] == '.') {
        ++i;
        for (; i < text.size() && isDigit(text[i]); ++i, ++digits) {
            if (!significant && text[i] == '0')
                --magnitude;
            significant = significant || text[i] != '0';
        }
    }
    if (digits == 0) {
        *used = 0;
        return 0.0;
    }
    size_t numberEnd = i;
    int64_t exponent = 0;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        size_t j = i + 1;
        bool exponentNegative = false;
        if (j < text.size() && (text[j] == '+' || text[j] == '-'))
            exponentNegative = text[j++] == '-';
        if (j < text.size() && isDigit(text[j])) {
            for (; j < text.size() && isDigit(text[j]); ++j)
                if (exponent < 100000000)
                    exponent = exponent * 10 + (text[j] - '0');
            if (exponentNegative)
                exponent = -exponent;
            numberEnd = j;
        }
    }
    *used = numberEnd;
    double value = 0.0;
    const char* first = text.data() + start;
    const char* last = text.data() + numberEnd;
    const auto result = std::from_chars(first, last, value, std::chars_format::general);
    if (result.ec == std::errc::result_out_of_range) {
        value = significant && magnitude + exponent > 0 ? HUGE_VAL : 0.0;
    }
    return negative ? -value : value;
}

int parseInt(std::string_view text, size_t* used) noexcept {
    bool negative;
    size_t i = skipLead(text, &negative);
    const size_t start = i;
    int64_t value = 0;
    const int64_t limit = negative ? -static_cast<int64_t>(INT_MIN) : INT_MAX;
    for (; i < text.size() && isDigit(text[i]); ++i)
        if (value < limit)
            value = std::min<int64_t>(value * 10 + (text[i] - '0'), limit);
    if (i == start) {
        *used = 0;
        return 0;
    }
    *used = i;
    return static_cast<int>(negative ? -value : value);
}

} // namespace

double FLatof(std::string_view text, size_t* used) noexcept {
    size_t taken;
    const double value = parseDouble(text, &taken);
    if (used)
        *used = taken;
    return value;
}

int FLatoi(std::string_view text, size_t* used) noexcept {
    size_t taken;
    const int value = parseInt(text, &taken);
    if (used)
        *used = taken;
    return value;
}

double FLatof(const char* text, const char** end) noexcept {
    if (end)
        *end = text;
    if (!text)
        return 0.0;
    size_t taken;
    const double value = parseDouble(text, &taken);
    if (end)
        *end = text + taken;
    return value;
}

int FLatoi(const char* text, const char** end) noexcept {
    if (end)
        *end = text;
    if (!text)
        return 0;
    size_t taken;
    const int value = parseInt(text, &taken);
    if (end)
        *end = text + taken;
    return value;
}
