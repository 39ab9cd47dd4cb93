// Numbers to and from text, and formatted output, for Tstring.
#include "grundel/core/Tstring.h"

#include <cctype>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>

using TstringData = Tstring::TstringData;

namespace {

// A double carries 17 significant decimal digits. setDouble writes at most
// that many after the integer part, and with fixed decimals at most 27:
// enough for all 17 of a value as small as 1e-10, below which it writes 0.
constexpr int kMostSignificant = 17;
constexpr int kMostDecimals = 27;

// cformat gives up when its buffer would reach this size.
constexpr TuInt64 kFormatLimit = 0x7FFFFFFF;
constexpr unsigned int kFirstFormatSize = 256;

// vsnprintf that reports truncation as a negative result.
int boundedVsnprintf(char* buffer, std::size_t size, const char* format, std::va_list args) noexcept {
    const int n = std::vsnprintf(buffer, size, format, args);
    return n >= 0 && static_cast<std::size_t>(n) < size ? n : -1;
}

// Optional sign (only "+" when negative is false) and decimal digits, and
// the value within [low, high].
bool isDecimalInteger(const char* s, bool negative, long long low, unsigned long long high) noexcept {
    const char* p = s;
    bool minus = false;
    if (*p == '+' || (negative && *p == '-'))
        minus = *p++ == '-';
    if (!*p)
        return false;
    for (const char* q = p; *q; ++q)
        if (*q < '0' || *q > '9')
            return false;
    errno = 0;
    if (minus) {
        const long long v = std::strtoll(s, nullptr, 10);
        return errno == 0 && v >= low;
    }
    const unsigned long long v = std::strtoull(p, nullptr, 10);
    return errno == 0 && v <= high;
}

bool isDecimalReal(const char* s, double limit) noexcept {
    if (!*s || std::isspace(static_cast<unsigned char>(*s)))
        return false;
    char* end = nullptr;
    errno = 0;
    const double v = std::strtod(s, &end);
    return *end == '\0' && errno == 0 && std::isfinite(v) && std::fabs(v) <= limit;
}

// Decimal digits of v, backwards from end; returns the first digit.
char* decimalDigits(TuInt64 v, char* end) noexcept {
    do {
        *--end = static_cast<char>('0' + v % 10);
        v /= 10;
    } while (v);
    return end;
}

} // namespace

// -- Text to numbers ------------------------------------------------------------

Tint16 Tstring::asInt16() const noexcept { return static_cast<Tint16>(std::strtol(asC(), nullptr, 10)); }
Tint32 Tstring::asInt32() const noexcept { return static_cast<Tint32>(std::strtol(asC(), nullptr, 10)); }
TuInt32 Tstring::asUInt32() const noexcept { return static_cast<TuInt32>(std::strtoul(asC(), nullptr, 10)); }
TintPtrSz Tstring::asIntPtrSz() const noexcept { return static_cast<TintPtrSz>(std::strtoll(asC(), nullptr, 10)); }
TuIntPtrSz Tstring::asUIntPtrSz() const noexcept { return static_cast<TuIntPtrSz>(std::strtoull(asC(), nullptr, 10)); }
float Tstring::asFloat() const noexcept { return static_cast<float>(std::strtod(asC(), nullptr)); }
double Tstring::asDouble() const noexcept { return std::strtod(asC(), nullptr); }

bool Tstring::isInt16() const noexcept { return isDecimalInteger(asC(), true, INT16_MIN, INT16_MAX); }
bool Tstring::isInt32() const noexcept { return isDecimalInteger(asC(), true, INT32_MIN, INT32_MAX); }
bool Tstring::isUInt32() const noexcept { return isDecimalInteger(asC(), false, 0, UINT32_MAX); }
bool Tstring::isFloat() const noexcept { return isDecimalReal(asC(), 3.402823466e38); }
bool Tstring::isDouble() const noexcept { return isDecimalReal(asC(), 1.7976931348623157e308); }

// -- Numbers to text --------------------------------------------------------------

int Tstring::setInt64(Tint64 value) noexcept {
    char buffer[24];
    char* end = buffer + sizeof buffer;
    const TuInt64 magnitude = value < 0 ? 0 - static_cast<TuInt64>(value) : static_cast<TuInt64>(value);
    char* first = decimalDigits(magnitude, end);
    if (value < 0)
        *--first = '-';
    return set(first, static_cast<unsigned int>(end - first));
}

int Tstring::setUInt64(TuInt64 value) noexcept {
    char buffer[24];
    char* end = buffer + sizeof buffer;
    char* first = decimalDigits(value, end);
    return set(first, static_cast<unsigned int>(end - first));
}

int Tstring::setInt32(Tint32 value) noexcept { return setInt64(value); }
int Tstring::setUInt32(TuInt32 value) noexcept { return setUInt64(value); }
int Tstring::setIntPtrSz(TintPtrSz value) noexcept { return setInt64(value); }
int Tstring::setUIntPtrSz(TuIntPtrSz value) noexcept { return setUInt64(value); }

int Tstring::setDouble(double value, int precision, bool significant) noexcept {
    if (!fsFloatClampingOnConversion) {
        precision = 17;
    } else {
        if (precision == 0)
            precision = fsPrecision;
        if (precision <= 0) {
            cformat(significant ? "%lg" : "%lf", value);
            return 0;
        }
        if (std::fabs(value) < 1e-10)
            value = 0.0;
    }
    precision = std::min(precision, significant ? kMostSignificant : kMostDecimals);
    if (!significant) {
        cformat("%.*lf", precision, value);
        if (index('.') >= 0) {
            unsigned int n = length();
            while (n > 0 && asC()[n - 1] == '0')
                --n;
            if (n > 0 && asC()[n - 1] == '.')
                --n;
            set(asC(), n);
        }
        return 0;
    }
    const double whole = std::trunc(std::fabs(value));
    int digits = 0;
    if (whole != 0.0 && std::isfinite(whole))
        digits = static_cast<int>(std::trunc(std::log10(whole))) + 1;
    cformat("%.*lg", digits + precision, value);
    return 0;
}

// -- Formatting -------------------------------------------------------------------

int Tstring::cformat(const char* format, ...) noexcept {
    std::va_list args;
    va_start(args, format);
    const int n = vcformat(format, args);
    va_end(args);
    return n;
}

int Tstring::vcformat(const char* format, std::va_list args) noexcept {
    if (!format) {
        clear();
        return -1;
    }
    // The arguments may point into this string, so the text is built apart
    // and swapped in. A first try on the stack serves most calls.
    char first[kFirstFormatSize];
    std::va_list writing;
    va_copy(writing, args);
    const int needed = std::vsnprintf(first, sizeof first, format, args);
    int n = needed;
    if (needed >= 0 && needed < static_cast<int>(sizeof first)) {
        set(first, static_cast<unsigned int>(n));
    } else {
        // The size the doubling from 256 would reach; give up at 2^31.
        TuInt64 size = kFirstFormatSize;
        while (needed >= 0 && size <= static_cast<TuInt64>(needed))
            size *= 2;
        TstringData* block = nullptr;
        if (needed >= 0 && size < kFormatLimit)
            block = TstringData::create(static_cast<TuInt32>(size));
        n = block ? boundedVsnprintf(block->text(), size, format, writing) : -1;
        if (n >= 0) {
            block->fLength = static_cast<TuInt32>(n);
            adopt(block);
        } else {
            std::free(block);
            clear();
        }
    }
    va_end(writing);
    return n;
}

Tstring Tstring::cformatString(const char* format, ...) noexcept {
    Tstring s;
    std::va_list args;
    va_start(args, format);
    s.vcformat(format, args);
    va_end(args);
    return s;
}

int Tstring::format(const char* pattern, ...) noexcept {
    std::va_list args;
    va_start(args, pattern);
    const int n = formatArgList(pattern, args);
    va_end(args);
    return n;
}

int Tstring::formatArgList(const char* pattern, std::va_list args) noexcept {
    const Tstring* given[9] = {};
    int count = 0;
    while (count < 9) {
        const Tstring* arg = va_arg(args, const Tstring*);
        if (!arg)
            break;
        given[count++] = arg;
    }
    Tstring result;
    const char* p = pattern ? pattern : kNullStr;
    const char* run = p;
    for (; *p; ++p) {
        if (*p != '%')
            continue;
        const char next = p[1];
        if (next != '%' && (next < '1' || next > '0' + count))
            continue; // not a reference to a given argument: kept as written
        result.catenate(run, static_cast<unsigned int>(p - run));
        if (next == '%')
            result.catenate('%');
        else
            result.catenate(*given[next - '1']);
        ++p;
        run = p + 1;
    }
    result.catenate(run, static_cast<unsigned int>(p - run));
    swap(result);
    return static_cast<int>(length());
}
