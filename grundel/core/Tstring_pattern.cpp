// Wildcards, regular expressions and environment expansion for Tstring.
#include "grundel/core/Tstring.h"

#include "grundel/core/Tregex_p.h"
#include "grundel/core/VornEnv.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

namespace {

// Whole-text wildcard match. "*" runs are matched with one backtrack point
// (the latest star), which decides the same as trying every split and takes
// time proportional to text times pattern at worst.
bool wildcardMatch(const char* t, const char* p) noexcept {
    const char* starPattern = nullptr;
    const char* starText = nullptr;
    while (*t) {
        if (*p == '*') {
            while (*p == '*')
                ++p;
            if (!*p)
                return true; // a trailing "*" takes any rest
            starPattern = p;
            starText = t;
            continue;
        }
        bool ok = false;
        const char* next = p;
        if (*p == '?') {
            ok = true;
            next = p + 1;
        } else if (*p == '\\' && p[1]) {
            ok = p[1] == *t;
            next = p + 2;
        } else if (*p) {
            ok = *p == *t;
            next = p + 1;
        }
        if (ok) {
            p = next;
            ++t;
        } else if (starPattern) {
            p = starPattern;
            t = ++starText;
        } else {
            return false;
        }
    }
    while (*p == '*')
        ++p;
    return !*p;
}

inline bool isNameChar(char c) noexcept { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

} // namespace

bool Tstring::isWildCard() const noexcept { return findchr("*?") >= 0; }

bool Tstring::matches(const char* pattern) const noexcept {
    if (isEmpty())
        return pattern == nullptr;
    if (!pattern || !*pattern)
        return false;
    return wildcardMatch(asC(), pattern);
}

bool Tstring::matches(const Tstring& pattern) const noexcept {
    if (isEmpty())
        return pattern.isEmpty();
    if (pattern.isEmpty())
        return false;
    return wildcardMatch(asC(), pattern.asC());
}

int Tstring::matchesRegexp(const char* pattern, Tstring* out1, Tstring* out2, Tstring* out3,
                           Tstring* out4, Tstring* out5, Tstring* out6, Tstring* out7,
                           Tstring* out8, Tstring* out9) const noexcept {
    if (!pattern)
        return 0;
    const std::size_t n = std::strlen(pattern);
    const bool anchored = pattern[0] == '^' || (n > 0 && pattern[n - 1] == '$');
    const Tstring expression = anchored ? Tstring(pattern) : cformatString("^%s$", pattern);
    grundel::detail::Regex re;
    if (re.compile(expression.asC()) != grundel::detail::Regex::Status::ok)
        return 0;
    Tstring* outputs[9] = {out1, out2, out3, out4, out5, out6, out7, out8, out9};
    int wanted = 0;
    while (wanted < 9 && outputs[wanted])
        ++wanted;
    // Only the groups someone asked for are tracked.
    const int tracked = std::min(wanted, re.groups());
    int slots[20];
    // An output may be this string: keep the subject while the outputs change.
    const Tstring subject(*this);
    if (!re.match(subject.asC(), subject.length(), slots, 2 * (tracked + 1)))
        return 0;
    for (int i = 0; i < wanted; ++i) {
        const int start = i < tracked ? slots[2 * i + 2] : -1;
        if (start < 0)
            outputs[i]->clear();
        else
            outputs[i]->set(subject.asC() + start, static_cast<unsigned int>(slots[2 * i + 3] - start));
    }
    return re.groups() > 0 ? re.groups() : 1;
}

Tstring Tstring::expandEnvAndTilde() const noexcept {
    Tstring result;
    return expandEnv(*this, result) ? result : *this;
}

bool Tstring::expandEnv(const Tstring& text, Tstring& out, TuInt32 limit, EnvLookup lookup, void* context) noexcept {
    if (!lookup)
        lookup = [](const char* name, void*) { return VornGetEnv(name); };
    // Built in a buffer that grows geometrically, checked against the limit
    // before every piece, so that many references cost time linear in the
    // result and nothing is ever cut short.
    std::string result;
    const auto add = [&result, limit](const char* piece, std::size_t n) {
        if (n > limit - result.size())
            return false;
        result.append(piece, n);
        return true;
    };
    try {
        const char* p = text.asC();
        const char* const end = p + text.length();
        const char* run = p;
        while (p < end) {
            if (*p != '$' && *p != '%') {
                ++p;
                continue;
            }
            if (!add(run, static_cast<std::size_t>(p - run)))
                return false;
            // The reference's spelling: opener, "{", name, "}", "%", each
            // optional after the opener; braces need not balance.
            const char* reference = p++;
            if (p < end && *p == '{')
                ++p;
            const char* name = p;
            while (p < end && isNameChar(*p))
                ++p;
            const std::string variable(name, p);
            if (p < end && *p == '}')
                ++p;
            if (p < end && *p == '%')
                ++p;
            const char* value = lookup(variable.c_str(), context);
            if (!(value ? add(value, std::strlen(value)) : add(reference, static_cast<std::size_t>(p - reference))))
                return false;
            run = p;
        }
        if (!add(run, static_cast<std::size_t>(p - run)))
            return false;
    } catch (...) {
        return false;
    }
    Tstring expanded(result.data(), static_cast<unsigned int>(result.size()));
    if (expanded.length() != result.size())
        return false; // no memory for the string
    out.swap(expanded);
    return true;
}
