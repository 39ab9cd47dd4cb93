// Feeds arbitrary patterns and subjects to the regular-expression engine.
// Input: pattern, a NUL byte, then the subject. Checks that a compiled
// program stays within its bound, that every match is well formed, and
// that the backtracker and the Pike machine agree.
#include <grundel/grundel.h>

#include "grundel/core/Tregex_p.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using grundel::detail::Regex;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const char* bytes = reinterpret_cast<const char*>(data);
    const char* nul = static_cast<const char*>(std::memchr(bytes, 0, size));
    const std::string pattern(bytes, nul ? static_cast<std::size_t>(nul - bytes) : size);
    const std::string subject = nul ? std::string(nul + 1, size - pattern.size() - 1) : std::string();

    // The expression matchesRegexp compiles: anchored unless it says otherwise.
    const bool anchored = !pattern.empty() && (pattern.front() == '^' || pattern.back() == '$');
    const std::string expression = anchored ? pattern : "^" + pattern + "$";
    Regex re;
    const bool valid = re.compile(expression.c_str()) == Regex::Status::ok;
    if (valid && (re.programSize() > Regex::kMaxProgram || re.groups() < 0))
        std::abort();
    // The cost is program size times subject length; keep each run short.
    if (valid && re.programSize() * (subject.size() + 1) > (std::size_t(1) << 22))
        return 0;

    const int result = Tstring(subject.c_str()).matchesRegexp(pattern.c_str());
    if (result < 0 || (!valid && result != 0) || (valid && result > (re.groups() ? re.groups() : 1)))
        std::abort();
    if (!valid)
        return 0;

    // Tracking the groups never changes whether or where the text matches,
    // and every group lies inside the whole match.
    // Both engines give the same groups.
    int whole[2];
    int slots[20];
    int pike[20];
    const bool matched = re.match(subject.data(), subject.size(), whole, 2);
    if (re.match(subject.data(), subject.size(), slots, 20) != matched ||
        re.match(subject.data(), subject.size(), pike, 20, Regex::Engine::pike) != matched ||
        (matched && std::memcmp(slots, pike, sizeof slots) != 0))
        std::abort();
    if (!matched)
        return 0;
    if (slots[0] != whole[0] || slots[1] != whole[1] || whole[0] > whole[1] || whole[1] > int(subject.size()))
        std::abort();
    for (int g = 1; g < 10; ++g) {
        const int start = slots[2 * g], end = slots[2 * g + 1];
        if (g > re.groups() ? start != -1 : start >= 0 && (start < whole[0] || end < start || end > whole[1]))
            std::abort();
    }
    return 0;
}
