// Editing operations of Tstring: ranges, substitution, spaces, case, line
// ends, escapes and explicit sizing.
#include "grundel/core/Tstring.h"

#include "grundel/core/TstringEscape.h"

#include <cctype>
#include <cstring>

using TstringData = Tstring::TstringData;

namespace {

inline bool isSpace(char c) noexcept { return std::isspace(static_cast<unsigned char>(c)) != 0; }

} // namespace

int Tstring::substring(int start, int end, Tstring& out) const noexcept {
    const int n = static_cast<int>(length());
    if (end > n - 1)
        end = n - 1;
    if (n == 0 || start < 0 || start > end || start > n) {
        out.clear();
        return 0;
    }
    if (start == 0 && end == n - 1) {
        out.set(*this);
        return 0;
    }
    // out may be this string: copy through a temporary.
    Tstring part(asC() + start, static_cast<unsigned int>(end - start + 1));
    out.swap(part);
    return 0;
}

Tstring Tstring::substring(int start, int end) const noexcept {
    Tstring out;
    substring(start, end, out);
    return out;
}

int Tstring::substitute(const char* from, const char* to) noexcept {
    if (!from || !*from)
        return 0;
    if (!to)
        to = kNullStr;
    const std::string_view text = view();
    const std::size_t fromLength = std::strlen(from);
    std::size_t at = text.find(from);
    if (at == std::string_view::npos)
        return 0;
    const std::size_t toLength = std::strlen(to);
    Tstring result;
    int count = 0;
    std::size_t done = 0;
    for (; at != std::string_view::npos; at = text.find(from, done)) {
        result.catenate(text.data() + done, static_cast<unsigned int>(at - done));
        result.catenate(to, static_cast<unsigned int>(toLength));
        done = at + fromLength;
        ++count;
    }
    result.catenate(text.data() + done, static_cast<unsigned int>(text.size() - done));
    swap(result);
    return count;
}

Tstring& Tstring::removeSpaces() noexcept {
    const unsigned int n = length();
    unsigned int i = 0;
    while (i < n && !isSpace(asC()[i]))
        ++i;
    if (i == n || !makeUnique())
        return *this;
    char* t = text();
    unsigned int kept = i;
    for (; i < n; ++i)
        if (!isSpace(t[i]))
            t[kept++] = t[i];
    t[kept] = '\0';
    fData->fLength = kept;
    return *this;
}

Tstring& Tstring::removeInitialAndFinalSpaces() noexcept {
    const char* t = asC();
    unsigned int first = 0;
    unsigned int last = length();
    while (first < last && t[first] == ' ')
        ++first;
    while (last > first && t[last - 1] == ' ')
        --last;
    if (first != 0 || last != length())
        set(t + first, last - first);
    return *this;
}

Tstring& Tstring::collapseWhiteSpace() noexcept {
    if (!fData)
        return *this;
    // Deliberately in the shared block: every sharer sees the change.
    char* t = text();
    const unsigned int n = fData->fLength;
    unsigned int kept = 0;
    bool pendingSpace = false;
    for (unsigned int i = 0; i < n; ++i) {
        if (isSpace(t[i])) {
            pendingSpace = kept > 0;
            continue;
        }
        if (pendingSpace)
            t[kept++] = ' ';
        pendingSpace = false;
        t[kept++] = t[i];
    }
    if (kept == 0) {
        if (fData->fCount.value() >= 2)
            clear();
        else {
            t[0] = '\0';
            fData->fLength = 0;
        }
        return *this;
    }
    t[kept] = '\0';
    fData->fLength = kept;
    return *this;
}

Tstring& Tstring::formatToWidth(int width) noexcept {
    if (!fData || width <= 0)
        return *this;
    // Deliberately in the shared block: every sharer sees the change.
    char* t = text();
    const int n = static_cast<int>(fData->fLength);
    int column = 0;
    for (int i = 0; i < n; ++i) {
        if (t[i] == '\n') {
            column = 0;
            continue;
        }
        if (++column != width)
            continue;
        if (i + 1 < n && isSpace(t[i + 1])) {
            t[i + 1] = '\n';
            continue; // the next step sees the "\n" and restarts the column
        }
        int j = i;
        while (j > i - width && j >= 0 && !isSpace(t[j]))
            --j;
        if (j > i - width && j >= 0) {
            t[j] = '\n';
            column = i - j;
        } else {
            // No room to break: run on to the next white space. The column
            // stays past the width, so no break comes before the next "\n".
            while (i + 1 < n && !isSpace(t[i + 1]))
                ++i;
        }
    }
    return *this;
}

Tstring& Tstring::clean(Tsystem system) noexcept {
    if (!fData || !makeUnique())
        return *this;
    const int code = static_cast<int>(system);
    TuInt32 n = fData->fLength;
    TuInt32 extra = 0;
    if (code == kSystemWindows) {
        // Count the lone CRs and LFs, then move the text right by that many
        // so that the rewrite below can expand in place.
        const char* t = text();
        for (TuInt32 i = 0; i < n; ++i) {
            if (t[i] == '\n' && (i == 0 || t[i - 1] != '\r'))
                ++extra;
            else if (t[i] == '\r' && (i + 1 >= n || t[i + 1] != '\n'))
                ++extra;
        }
        if (extra > 0) {
            if (!makeRoom(n + extra, true))
                return *this;
            std::memmove(text() + extra, text(), n);
        }
    }
    char* t = text();
    const char* src = t + extra;
    const char* end = src + n;
    char* dst = t;
    TuInt32 skipped = 0;
    while (src < end) {
        const char c = *src++;
        if (c == '\n') {
            if (code == kSystemWindows) {
                *dst++ = '\r';
                *dst++ = '\n';
            } else {
                *dst++ = code == kSystemMacClassic ? '\r' : '\n';
            }
        } else if (c == '\r') {
            if (code == kSystemWindows) {
                *dst++ = '\r';
                *dst++ = '\n';
            } else {
                *dst++ = code >= 1 && code <= 3 ? '\n' : '\r';
            }
            if (src < end && *src == '\n') {
                ++src;
                ++skipped;
            }
        } else {
            *dst++ = c;
        }
    }
    if (code == kSystemWindows) {
        n += extra;
        t[n] = '\0';
        fData->fLength = n;
    } else if ((code == kSystemMacOSX || code == kSystemMacClassic) && skipped > 0) {
        // Kept as the library has always done it: the terminator lands one
        // before the new end, while the length still counts that character.
        n -= skipped;
        t[n - 1] = '\0';
        fData->fLength = n;
    }
    // Other codes keep the old length, and with it any characters left
    // behind by removed LFs.
    return *this;
}

// Applies map from the first character it changes; a string it leaves as
// it was is never copied.
Tstring& Tstring::mapCase(int (*map)(int)) noexcept {
    const unsigned int n = length();
    for (unsigned int i = 0; i < n; ++i) {
        const unsigned char c = static_cast<unsigned char>(asC()[i]);
        if (map(c) == c)
            continue;
        if (!makeUnique())
            return *this;
        for (char* t = text(); i < n; ++i)
            t[i] = static_cast<char>(map(static_cast<unsigned char>(t[i])));
        break;
    }
    return *this;
}

Tstring& Tstring::toLowerCase() noexcept { return mapCase(&::tolower); }

Tstring& Tstring::toUpperCase() noexcept { return mapCase(&::toupper); }

Tstring& Tstring::capitalize() noexcept {
    const unsigned char c = static_cast<unsigned char>(asC()[0]);
    if (c && std::toupper(c) != c && makeUnique())
        text()[0] = static_cast<char>(std::toupper(c));
    return *this;
}

Tstring& Tstring::encodeEscapeSequences(bool quotes) noexcept {
    const TuInt32 n = length();
    if (n == 0 || n > (0xFFFFFFF0u - 40) / 4)
        return *this;
    TstringData* block = TstringData::create(4 * n);
    if (!block)
        return *this;
    const char* end = streadd(block->text(), asC(), nullptr);
    block->fLength = static_cast<TuInt32>(end - block->text());
    adopt(block);
    if (quotes)
        substitute("\"", "\\\"");
    return *this;
}

Tstring& Tstring::decodeEscapeSequences() noexcept {
    const TuInt32 n = length();
    if (n == 0)
        return *this;
    TstringData* block = TstringData::create(n);
    if (!block)
        return *this;
    // Decoding can yield NUL bytes ("\0"): the length counts them.
    const char* end = strcadd(block->text(), asC());
    block->fLength = static_cast<TuInt32>(end - block->text());
    adopt(block);
    return *this;
}

void Tstring::clear() noexcept {
    if (fData) {
        TstringData::release(fData);
        fData = nullptr;
    }
}

int Tstring::resize(unsigned int n, bool keep) noexcept {
    TstringData* block = fData;
    if (!block)
        block = TstringData::create(n);
    else if (n > block->fCapacity)
        block = TstringData::growRealloc(block, n, keep);
    else if (n < block->fCapacity)
        block = TstringData::shrink(block, n, keep);
    if (block)
        fData = block;
    return 0;
}

int Tstring::reserve(unsigned int n, bool keep) noexcept { return makeRoom(n, keep) ? 0 : -1; }
